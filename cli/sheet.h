#pragma once

// The contact sheet: what the methods do, seen at a glance.

#include "cli/method_runner.h"
#include "imaging/image.h"

namespace velhost {

using imaging::Image;

/// Methods on one picture: `image` itself, then for each of the calls (where none is given, for
/// each method of the plugin) what it makes of it, with size and (if `times`) milliseconds. What
/// was changed in place has a frame. Large pictures are shown smaller, tiny ones larger.
Image ContactSheet(MethodRunner& runner, const Image& image, std::vector<PreparedCall> calls,
                   bool times);

}  // namespace velhost
