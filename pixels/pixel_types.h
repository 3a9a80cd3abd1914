#pragma once

// What a pixel is: the codes of the formats that picture storages use, and one pixel's channels.

#include <cstdint>

/// The codes of the formats that occur, as PictureEditor::pixelType holds them.
enum PixelType : uint32_t {
  kPixelConsole = 8,  ///< 32-bit word, 7-bit alpha in bits 24 to 30, bit 31 written as 0
  kPixelRgb24 = 11,   ///< three bytes: red, green, blue
  kPixelArgb32 = 14,  ///< 32-bit word, alpha in bits 24 to 31
  kPixelRgb32 = 15,   ///< 32-bit word, bits 24 to 31 read as opaque and written as 0xFF
};

namespace velpicture {

/// Red, green, blue and alpha, 0 to 255 each.
struct Rgba {
  int red;
  int green;
  int blue;
  int alpha;
};

}  // namespace velpicture
