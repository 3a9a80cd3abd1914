#pragma once

// Images in files: PNG, JPEG and BMP, by content on the way in and by file name on the way out.
// A file that is cut off or damaged is refused rather than shown as far as it goes.

#include <string>

#include "cli/image.h"

namespace velhost {

/// Reads a picture file. Throws Problem when there is none at `path` or it cannot be read whole.
Image ReadImage(const std::string& path);

/// Throws Problem unless the name ends in one of the formats that WriteImage can write.
void CheckImageName(const std::string& path);

/// Writes `image` in the format that the name asks for; alpha goes into PNG only. The file appears,
/// or replaces an older one, complete or not at all; throws Problem in the latter case.
void WriteImage(const std::string& path, const Image& image);

}  // namespace velhost
