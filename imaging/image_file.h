#pragma once

// Images in files: PNG, JPEG and BMP, by content on the way in and by file name on the way out.
// A file that is cut off or damaged is refused rather than shown as far as it goes. What a file
// says beside its pixels (colour profile, resolution, gamma, EXIF data) goes with the image.

#include <string>
#include <vector>

#include "imaging/image.h"

namespace imaging {

/// The picture in a file, or in standard input for "-". Throws FileError when there is none, or
/// when it is not whole; what follows the picture in the file is nobody's business.
Image ReadImage(const std::string& path);

/// How an image is to be written.
struct WriteOptions {
  std::string format;  ///< "png", "jpg", "bmp"; empty for what the file's name asks for
  int quality = 0;     ///< of JPEG, 1 to 100; 0 for that of the file which the image comes from
  sim::Rgba background{255, 255, 255};  ///< under transparent pixels where a format has none
};

/// Throws FileError unless WriteImage can write `format` (or what the name asks for, if empty).
void CheckImageName(const std::string& path, const std::string& format = "");

/// The file appears, or replaces an older one, complete or not at all; throws FileError in the
/// latter case. Returns what the format could not hold, a line each.
std::vector<std::string> WriteImage(const std::string& path, Image image,
                                    const WriteOptions& options = {});

}  // namespace imaging
