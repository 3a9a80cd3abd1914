#include "imaging/image_file.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>
#include <utility>

#include "imaging/canvas.h"
#include "imaging/codecs.h"
#include "imaging/file_error.h"
#include "imaging/output_file.h"

namespace imaging {
namespace {

using Decode = Image (*)(std::string_view);

struct FileKind {
  size_t at;
  std::string_view start;
  Decode decode;
  const char* name = nullptr;  ///< of what is known, but not decoded
};

constexpr FileKind kKinds[] = {
    {0, {"\x89PNG\r\n\x1a\n", 8}, DecodePng},
    {0, {"\xff\xd8\xff", 3}, DecodeJpeg},
    {0, {"BM", 2}, DecodeBmp},
    {0, {"II*\0", 4}, nullptr, "a TIFF"},
    {0, {"MM\0*", 4}, nullptr, "a TIFF"},
    {0, {"GIF8", 4}, nullptr, "a GIF"},
    {8, {"WEBP", 4}, nullptr, "a WebP"},
    {4, {"ftypavif", 8}, nullptr, "an AVIF"},
    {4, {"ftyphei", 7}, nullptr, "a HEIC"},
    {4, {"ftypmif1", 8}, nullptr, "a HEIC"},
    {0, {"<svg", 4}, nullptr, "an SVG"},
    {0, {"<?xml", 5}, nullptr, "an SVG"},
};

constexpr int kSrgbGamma = 45455;

enum class Format { kPng, kJpeg, kBmp };

Format FormatOf(const std::string& path, const std::string& asked) {
  constexpr std::pair<const char*, Format> kEndings[] = {{".png", Format::kPng},
                                                         {".jpg", Format::kJpeg},
                                                         {".jpeg", Format::kJpeg},
                                                         {".bmp", Format::kBmp}};
  std::string ending = std::filesystem::path(path).extension();
  if (path == kStandardOutput) ending = ".png";
  if (!asked.empty()) ending = "." + asked;
  for (auto [known, format] : kEndings) {
    if (strcasecmp(ending.c_str(), known) == 0) return format;
  }
  throw FileError("the output " + path + " has an unknown ending: use .png, .jpg or .bmp");
}

std::string Encode(Image& image, Format format, int quality) {
  switch (format) {
    case Format::kJpeg:
      return EncodeJpeg(image, quality);
    case Format::kBmp:
      return EncodeBmp(image);
    default:
      return EncodePng(image);
  }
}

std::string ReadFile(const std::string& path) {
  constexpr const char* kGive = ": give a PNG, JPEG or BMP file";
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw FileError(path + " is a folder: give " + path + "/*");
  }
  std::ifstream file;
  const bool standard = path == "-";
  std::istream& input = standard ? std::cin : file;
  if (!standard) file.open(path, std::ios::binary);
  if (!input) throw FileError(path + ": " + std::strerror(errno) + kGive);
  std::string bytes;
  char block[1 << 16];
  while (input.read(block, sizeof block), input.gcount() > 0) bytes.append(block, input.gcount());
  if (input.bad()) throw FileError(path + " cannot be read to its end: " + std::strerror(errno));
  if (bytes.empty()) throw FileError((standard ? "standard input" : path) + " is empty" + kGive);
  return bytes;
}

bool IsGrey(const Image& image) {
  return std::all_of(image.pixels.begin(), image.pixels.end(), [](const sim::Rgba& pixel) {
    return pixel.red == pixel.green && pixel.green == pixel.blue;
  });
}

bool IsOpaque(const Image& image) {
  return !image.hasAlpha || std::all_of(image.pixels.begin(), image.pixels.end(),
                                        [](const sim::Rgba& pixel) { return pixel.alpha == 255; });
}

// What a file was to hold and does not.
std::string Missing(const Metadata& asked, const Metadata& held) {
  const std::pair<const char*, bool> kParts[] = {
      {"colour profile", asked.icc != held.icc},
      {"EXIF data", asked.exif != held.exif},
      {"resolution", held.density.unit == DensityUnit::kNone &&
                         asked.density.unit != DensityUnit::kNone &&
                         asked.density.unit != DensityUnit::kAspect},
      {"gamma", asked.gamma != held.gamma && asked.gamma != kSrgbGamma && asked.icc.empty()}};
  std::string missing;
  for (const auto& [name, isMissing] : kParts) {
    if (isMissing) missing += (missing.empty() ? "" : ", ") + std::string(name);
  }
  return missing;
}

}  // namespace

Image ReadImage(const std::string& path) {
  const std::string bytes = ReadFile(path);
  const std::string_view file = bytes;
  const auto* const kind = std::find_if(kKinds, std::end(kKinds), [file](const FileKind& each) {
    return file.substr(std::min(each.at, file.size())).starts_with(each.start);
  });
  if (kind == std::end(kKinds)) {
    throw FileError(path + " is no picture: give a PNG, JPEG or BMP file");
  }
  if (kind->decode == nullptr) {
    throw FileError(path + " is " + kind->name + " file: convert it to PNG first");
  }
  try {
    Image image = kind->decode(file);
    DropPreview(image.metadata.exif);
    return image;
  } catch (const TooLarge&) {
    throw FileError(path + " is too large to decode in 32 bits: give 268 million pixels at most");
  } catch (const CodecError& error) {
    throw FileError(path + " is cut off or damaged (" + error.what() + "): give a whole picture");
  }
}

void CheckImageName(const std::string& path, const std::string& format) { FormatOf(path, format); }

std::vector<std::string> WriteImage(const std::string& path, Image image,
                                    const WriteOptions& options) {
  const Format format = FormatOf(path, options.format);
  std::vector<std::string> notes;
  if (format != Format::kPng && !IsOpaque(image)) {
    image = Flattened(std::move(image), options.background);
    char color[16];
    const sim::Rgba& under = options.background;
    std::snprintf(color, sizeof color, "&c%02X%02X%02X", under.red, under.green, under.blue);
    notes.push_back(path + " cannot hold transparency: laid over " + color + " (--background)");
  }
  if (image.metadata.jpeg.components.size() == 1 && !IsGrey(image)) image.metadata.jpeg = {};
  const Metadata asked = image.metadata;
  std::string bytes;
  try {
    bytes = Encode(image, format, options.quality);
  } catch (const CodecError& error) {
    throw FileError(path + " cannot be written: " + error.what());
  }
  const std::string missing = Missing(asked, image.metadata);
  if (!missing.empty()) notes.push_back(path + " cannot hold this of the picture: " + missing);
  ReplaceFile(path, bytes);
  return notes;
}

}  // namespace imaging
