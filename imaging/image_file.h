#pragma once

// Images in files: PNG, JPEG and BMP, by content on the way in and by file name on the way out.
// A file that is cut off or damaged is refused rather than shown as far as it goes.

#include <string>

#include "imaging/image.h"

namespace imaging {

/// The bytes of a picture file, or of standard input for "-". Throws FileError when there is none,
/// or when it is not whole; what follows the picture in the file is nobody's business.
std::string ReadImageFile(const std::string& path);

/// The picture of a file read so. Throws FileError, which names `path`, when it cannot be decoded.
Image DecodeImage(const std::string& path, const std::string& bytes);

/// Throws FileError unless WriteImage can write `format` (or what the name asks for, if empty).
void CheckImageName(const std::string& path, const std::string& format = "");

/// Writes `image` as `format`, or as the name asks for; alpha goes into PNG only. The file appears,
/// or replaces an older one, complete or not at all; throws FileError in the latter case.
void WriteImage(const std::string& path, Image image, const std::string& format = "");

}  // namespace imaging
