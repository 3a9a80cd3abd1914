#pragma once

// The pixel formats that picture storages use, one small type each: how a pixel is loaded from its
// bytes as red, green, blue and alpha (0 to 255 each), and stored back. 32-bit words are
// little-endian, with blue in the lowest byte.

#include <cstdint>
#include <cstring>

#include "pixels/pixel_types.h"

namespace velpicture {

inline uint32_t LoadWord(const uint8_t* bytes) {
  uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

inline void StoreWord(uint8_t* bytes, uint32_t word) { std::memcpy(bytes, &word, sizeof word); }

inline Rgba UnpackColor(uint32_t word, int alpha) {
  return {static_cast<int>(word >> 16 & 0xFF), static_cast<int>(word >> 8 & 0xFF),
          static_cast<int>(word & 0xFF), alpha};
}

inline uint32_t PackColor(const Rgba& pixel, uint32_t alphaBits) {
  return static_cast<uint32_t>(pixel.blue) | static_cast<uint32_t>(pixel.green) << 8 |
         static_cast<uint32_t>(pixel.red) << 16 | alphaBits << 24;
}

struct ConsoleFormat {
  static constexpr int kBytesPerPixel = 4;
  static Rgba Load(const uint8_t* bytes) {
    const uint32_t word = LoadWord(bytes);
    const int alpha7 = static_cast<int>(word >> 24 & 0x7F);
    return UnpackColor(word, alpha7 * 2 + (alpha7 & 1));
  }
  static void Store(uint8_t* bytes, const Rgba& pixel) {
    StoreWord(bytes, PackColor(pixel, static_cast<uint32_t>(pixel.alpha) >> 1));
  }
};

struct Rgb24Format {
  static constexpr int kBytesPerPixel = 3;
  static Rgba Load(const uint8_t* bytes) { return {bytes[0], bytes[1], bytes[2], 255}; }
  static void Store(uint8_t* bytes, const Rgba& pixel) {
    bytes[0] = static_cast<uint8_t>(pixel.red);
    bytes[1] = static_cast<uint8_t>(pixel.green);
    bytes[2] = static_cast<uint8_t>(pixel.blue);
  }
};

struct Argb32Format {
  static constexpr int kBytesPerPixel = 4;
  static Rgba Load(const uint8_t* bytes) {
    const uint32_t word = LoadWord(bytes);
    return UnpackColor(word, static_cast<int>(word >> 24));
  }
  static void Store(uint8_t* bytes, const Rgba& pixel) {
    StoreWord(bytes, PackColor(pixel, static_cast<uint32_t>(pixel.alpha)));
  }
};

struct Rgb32Format {
  static constexpr int kBytesPerPixel = 4;
  static Rgba Load(const uint8_t* bytes) { return UnpackColor(LoadWord(bytes), 255); }
  static void Store(uint8_t* bytes, const Rgba& pixel) { StoreWord(bytes, PackColor(pixel, 0xFF)); }
};

/// Calls visit(Format{}) with the type of the format of that code; returns false, calling nothing,
/// for a code that no storage uses.
template <class Visitor>
inline bool VisitFormat(uint32_t format, Visitor&& visit) {
  switch (format) {
    case kPixelConsole:
      visit(ConsoleFormat{});
      return true;
    case kPixelRgb24:
      visit(Rgb24Format{});
      return true;
    case kPixelArgb32:
      visit(Argb32Format{});
      return true;
    case kPixelRgb32:
      visit(Rgb32Format{});
      return true;
    default:
      return false;
  }
}

}  // namespace velpicture
