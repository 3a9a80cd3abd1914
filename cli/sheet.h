#pragma once

// The contact sheet: what the methods do, seen at a glance.

#include "cli/image.h"
#include "cli/session.h"

namespace velhost {

/// Methods on one picture: `image` itself, then for each of the calls (where none is given, for
/// each method of the plugin) what it makes of it, with size and (if `times`) milliseconds. Large
/// pictures are shown smaller.
Image ContactSheet(Session& session, const Image& image, std::vector<PreparedCall> calls,
                   bool times);

}  // namespace velhost
