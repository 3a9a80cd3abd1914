#pragma once

// The contact sheet: what the methods do, seen at a glance.

#include "cli/image.h"
#include "cli/session.h"

namespace velhost {

/// All methods of the plugin on one picture: `image` itself, then for each method what it makes of
/// it, with size and (if `times`) milliseconds. Large pictures are shown smaller.
Image ContactSheet(Session& session, const Image& image, bool times);

}  // namespace velhost
