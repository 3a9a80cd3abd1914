#include "cli/image_file.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/output_file.h"
#include "cli/problem.h"

#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STB_IMAGE_STATIC
#ifndef __clang_analyzer__  // The decoder's own code is not ours to analyse.
#define STB_IMAGE_IMPLEMENTATION
#endif
#include <stb/stb_image.h>
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace velhost {
namespace {

constexpr std::string_view kPngStart("\x89PNG\r\n\x1a\n", 8);
constexpr std::string_view kJpegStart("\xff\xd8\xff", 3);
constexpr std::string_view kBmpStart("BM", 2);

std::string ReadFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw Problem(path + " is a folder: give a PNG, JPEG or BMP file");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Problem(path + ": " + std::strerror(errno) + ": give a PNG, JPEG or BMP file");
  std::string bytes(std::istreambuf_iterator<char>(file), {});
  if (file.bad()) throw Problem(path + " cannot be read to its end: " + std::strerror(errno));
  return bytes;
}

uint32_t BigEndian32(std::string_view bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = at; i < at + 4; ++i) value = value << 8 | static_cast<uint8_t>(bytes[i]);
  return value;
}

constexpr auto kCrcTable = [] {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < table.size(); ++i) {
    table[i] = i;
    for (int bit = 0; bit < 8; ++bit) table[i] = table[i] >> 1 ^ (table[i] & 1 ? 0xEDB88320u : 0);
  }
  return table;
}();

uint32_t Crc32(std::string_view bytes) {
  uint32_t crc = ~0u;
  for (char byte : bytes) crc = crc >> 8 ^ kCrcTable[(crc ^ static_cast<uint8_t>(byte)) & 0xFF];
  return ~crc;
}

// The decoder neither checks the sums of a PNG nor minds a JPEG or BMP that ends early; these do.
bool PngIsWhole(std::string_view bytes) {
  size_t at = kPngStart.size();
  while (bytes.size() - at >= 12) {
    const size_t length = BigEndian32(bytes, at);
    if (length > bytes.size() - at - 12) return false;
    const std::string_view tagAndData = bytes.substr(at + 4, length + 4);
    if (Crc32(tagAndData) != BigEndian32(bytes, at + 8 + length)) return false;
    if (tagAndData.starts_with("IEND")) return true;
    at += length + 12;
  }
  return false;
}

bool JpegIsWhole(std::string_view bytes) {
  const size_t end = bytes.rfind("\xff\xd9");
  const size_t lastScan = bytes.rfind("\xff\xda");
  return end != bytes.npos && lastScan != bytes.npos && end > lastScan;
}

bool BmpIsWhole(std::string_view bytes) {
  if (bytes.size() < 6) return false;
  uint32_t size;
  std::memcpy(&size, bytes.data() + 2, sizeof size);
  return size <= bytes.size();
}

bool IsWhole(const std::string& path, std::string_view bytes) {
  if (bytes.starts_with(kPngStart)) return PngIsWhole(bytes);
  if (bytes.starts_with(kJpegStart)) return JpegIsWhole(bytes);
  if (bytes.starts_with(kBmpStart)) return BmpIsWhole(bytes);
  throw Problem(path + " is no picture: give a PNG, JPEG or BMP file");
}

enum class Format { kPng, kJpeg, kBmp };

Format FormatOf(const std::string& path) {
  constexpr std::pair<const char*, Format> kEndings[] = {{".png", Format::kPng},
                                                         {".jpg", Format::kJpeg},
                                                         {".jpeg", Format::kJpeg},
                                                         {".bmp", Format::kBmp}};
  const std::string ending = std::filesystem::path(path).extension().string();
  for (auto [known, format] : kEndings) {
    if (strcasecmp(ending.c_str(), known) == 0) return format;
  }
  throw Problem("the output " + path + " has an unknown ending: use .png, .jpg or .bmp");
}

void Append(void* context, void* data, int size) {
  static_cast<std::string*>(context)->append(static_cast<const char*>(data), size);
}

std::string Encode(const Image& image, Format format) {
  const int channels = image.hasAlpha && format == Format::kPng ? 4 : 3;
  std::vector<uint8_t> pixels(image.pixels.size() * channels);
  uint8_t* at = pixels.data();
  for (const sim::Rgba& pixel : image.pixels) {
    const uint8_t bytes[] = {pixel.red, pixel.green, pixel.blue, pixel.alpha};
    at = std::copy_n(bytes, channels, at);
  }
  constexpr int kJpegQuality = 95;
  const int width = image.width, height = image.height;
  std::string bytes;
  int done = 0;
  switch (format) {
    case Format::kPng:
      done = stbi_write_png_to_func(Append, &bytes, width, height, channels, pixels.data(), 0);
      break;
    case Format::kJpeg:
      done = stbi_write_jpg_to_func(Append, &bytes, width, height, channels, pixels.data(),
                                    kJpegQuality);
      break;
    case Format::kBmp:
      done = stbi_write_bmp_to_func(Append, &bytes, width, height, channels, pixels.data());
      break;
  }
  return done ? bytes : std::string();
}

}  // namespace

Image ReadImage(const std::string& path) {
  const std::string bytes = ReadFile(path);
  if (!IsWhole(path, bytes)) throw Problem(path + " is cut off or damaged: give a whole picture");

  int width = 0, height = 0, channels = 0;
  const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
      stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()),
                            static_cast<int>(bytes.size()), &width, &height, &channels, 4),
      stbi_image_free);
  if (!pixels) {
    throw Problem(path + " cannot be decoded (" + stbi_failure_reason() +
                  "): give a whole PNG, JPEG or BMP picture");
  }
  Image image(width, height);
  image.hasAlpha = channels == 2 || channels == 4;
  const stbi_uc* from = pixels.get();
  for (sim::Rgba& pixel : image.pixels) {
    pixel = {from[0], from[1], from[2], from[3]};
    from += 4;
  }
  return image;
}

void CheckImageName(const std::string& path) { FormatOf(path); }

void WriteImage(const std::string& path, const Image& image) {
  const std::string bytes = Encode(image, FormatOf(path));
  if (bytes.empty()) throw Problem(path + " cannot be written: the picture cannot be encoded");
  ReplaceFile(path, bytes);
}

}  // namespace velhost
