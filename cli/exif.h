#pragma once

// What a camera notes in a picture file about how it was held.

#include <string_view>

namespace velhost {

/// The EXIF orientation of a picture file, 1 (upright) to 8; 1 where nothing is noted.
int ExifOrientation(std::string_view file);

}  // namespace velhost
