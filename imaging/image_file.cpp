#include "imaging/image_file.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <set>
#include <string_view>
#include <utility>

#include "imaging/file_error.h"
#include "imaging/output_file.h"

namespace {

// The memory of decoder and encoder. When it runs short an exception leaves them, since not all of
// their code would notice; what they hold goes back when the CodecMemory of their user ends.
std::set<void*> codecBlocks;

void* Resize(void* block, size_t size) {
  codecBlocks.erase(block);
  void* const resized = size == 0 ? nullptr : std::realloc(block, size);
  if (resized == nullptr) std::free(block);
  if (resized == nullptr && size != 0) throw std::bad_alloc();
  if (resized != nullptr) codecBlocks.insert(resized);
  return resized;
}

struct CodecMemory {
  ~CodecMemory() {
    while (!codecBlocks.empty()) Resize(*codecBlocks.begin(), 0);
  }
};

}  // namespace

#define STBI_MALLOC(size) Resize(nullptr, size)
#define STBI_REALLOC(block, size) Resize(block, size)
#define STBI_FREE(block) Resize(block, 0)
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
#define STBIW_MALLOC STBI_MALLOC
#define STBIW_REALLOC STBI_REALLOC
#define STBIW_FREE STBI_FREE
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace imaging {
namespace {

constexpr std::string_view kPngStart("\x89PNG\r\n\x1a\n", 8);
constexpr std::string_view kJpegStart("\xff\xd8\xff", 3);
constexpr std::string_view kBmpStart("BM", 2);

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

// Goes from marker to marker up to the picture's end, past the pictures and films that cameras put
// into a file and behind it. In coded data, FF is followed by 00 or by the number of a restart.
bool JpegIsWhole(std::string_view bytes) {
  bool scanned = false;
  size_t at = 2;
  while ((at = bytes.find('\xff', at)) != bytes.npos && bytes.size() - at >= 2) {
    const int marker = static_cast<uint8_t>(bytes[at + 1]);
    if (marker == 0xD9) return scanned;
    const bool segment = marker != 0 && marker != 0xFF && (marker & 0xF8) != 0xD0;
    if (segment && bytes.size() - at < 4) return false;
    at += segment ? 2 + (BigEndian32(bytes, at) & 0xFFFF) : 1;
    scanned = scanned || marker == 0xDA;
  }
  return false;
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
  throw FileError(path + " is no picture: give a PNG, JPEG or BMP file");
}

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

void Append(void* context, void* data, int size) {
  static_cast<std::string*>(context)->append(static_cast<const char*>(data), size);
}

std::string Encode(Image image, Format format) {
  const int channels = image.hasAlpha && format == Format::kPng ? 4 : 3;
  // Packed where they are: a large picture's pixels fit into 32 bits only so many times.
  auto* const pixels = reinterpret_cast<uint8_t*>(image.pixels.data());
  uint8_t* at = pixels;
  for (const sim::Rgba& pixel : image.pixels) {
    const uint8_t bytes[] = {pixel.red, pixel.green, pixel.blue, pixel.alpha};
    at = std::copy_n(bytes, channels, at);
  }
  constexpr int kJpegQuality = 95;
  const int width = image.width, height = image.height;
  std::string bytes;
  int done = 0;
  const CodecMemory memory;
  switch (format) {
    case Format::kPng:
      done = stbi_write_png_to_func(Append, &bytes, width, height, channels, pixels, 0);
      break;
    case Format::kJpeg:
      done = stbi_write_jpg_to_func(Append, &bytes, width, height, channels, pixels, kJpegQuality);
      break;
    case Format::kBmp:
      done = stbi_write_bmp_to_func(Append, &bytes, width, height, channels, pixels);
      break;
  }
  return done ? bytes : std::string();
}

}  // namespace

std::string ReadImageFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw FileError(path + " is a folder: give a PNG, JPEG or BMP file");
  }
  std::ifstream file;
  std::istream& input = path == "-" ? std::cin : file;
  if (path != "-") file.open(path, std::ios::binary);
  if (!input) {
    throw FileError(path + ": " + std::strerror(errno) + ": give a PNG, JPEG or BMP file");
  }
  std::string bytes(std::istreambuf_iterator<char>(input), {});
  if (input.bad()) throw FileError(path + " cannot be read to its end: " + std::strerror(errno));
  if (!IsWhole(path, bytes)) throw FileError(path + " is cut off or damaged: give a whole picture");
  return bytes;
}

Image DecodeImage(const std::string& path, const std::string& bytes) {
  int width = 0, height = 0, channels = 0;
  const CodecMemory memory;
  const auto* const file = reinterpret_cast<const stbi_uc*>(bytes.data());
  const int size = static_cast<int>(bytes.size());
  const stbi_uc* from = stbi_load_from_memory(file, size, &width, &height, &channels, 4);
  if (from == nullptr) {
    const std::string reason = stbi_failure_reason();
    throw FileError(path + (reason == "too large" || reason == "outofmem"
                                ? " is too large to decode in 32 bits: give 16384 x 16384 at most"
                                : " cannot be decoded (" + reason + "): give a whole picture"));
  }
  Image image(width, height);
  image.hasAlpha = channels == 2 || channels == 4;
  image.sixteenBits = stbi_is_16_bit_from_memory(file, size);
  for (sim::Rgba& pixel : image.pixels) {
    pixel = {from[0], from[1], from[2], from[3]};
    from += 4;
  }
  return image;
}

void CheckImageName(const std::string& path, const std::string& format) { FormatOf(path, format); }

void WriteImage(const std::string& path, Image image, const std::string& format) {
  const std::string bytes = Encode(std::move(image), FormatOf(path, format));
  if (bytes.empty()) throw FileError(path + " cannot be written: the picture cannot be encoded");
  ReplaceFile(path, bytes);
}

}  // namespace imaging
