#include "imaging/canvas.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#define STBTT_STATIC
#ifndef __clang_analyzer__  // The rasteriser's own code is not ours to analyse.
#define STB_TRUETYPE_IMPLEMENTATION
#endif
#include <stb/stb_truetype.h>

// The font's file, a part of the program.
asm(".pushsection .rodata\nvel_font: .incbin \"" VEL_FONT "\"\n.popsection");
extern "C" const uint8_t vel_font[];

namespace imaging {
namespace {

const stbtt_fontinfo& Font() {
  static const stbtt_fontinfo font = [] {
    stbtt_fontinfo info;
    stbtt_InitFont(&info, vel_font, 0);
    return info;
  }();
  return font;
}

float ScaleOf(int size) {
  return stbtt_ScaleForMappingEmToPixels(&Font(), static_cast<float>(size));
}

// Takes the first character off text in UTF-8. What was cut off is none that a font has.
char32_t TakeCharacter(std::string_view& text) {
  const auto lead = static_cast<uint8_t>(text.front());
  text.remove_prefix(1);
  int following = std::max(std::countl_one(lead) - 1, 0);
  char32_t character = following == 0 ? lead : lead & (0x3Fu >> following);
  for (; following > 0 && !text.empty() && (text.front() & 0xC0) == 0x80; --following) {
    character = character << 6 | (text.front() & 0x3Fu);
    text.remove_prefix(1);
  }
  return following == 0 ? character : 0xFFFD;
}

// Calls draw(glyph, x) for each glyph of a line; x, and the line's width, in the font's own unit.
template <typename Draw>
int SetLine(std::string_view text, Draw draw) {
  int x = 0, before = 0;
  while (!text.empty()) {
    const int glyph = stbtt_FindGlyphIndex(&Font(), static_cast<int>(TakeCharacter(text)));
    int advance = 0, bearing = 0;
    stbtt_GetGlyphHMetrics(&Font(), glyph, &advance, &bearing);
    x += stbtt_GetGlyphKernAdvance(&Font(), before, glyph);
    draw(glyph, x);
    x += advance;
    before = glyph;
  }
  return x;
}

void DrawGlyph(Image& target, int glyph, float scale, float x, int baseline, sim::Rgba color) {
  const float whole = std::floor(x);
  int left = 0, top = 0, right = 0, bottom = 0;
  stbtt_GetGlyphBitmapBoxSubpixel(&Font(), glyph, scale, scale, x - whole, 0, &left, &top, &right,
                                  &bottom);
  Image image(right - left, bottom - top);
  std::vector<uint8_t> coverage(image.pixels.size());
  stbtt_MakeGlyphBitmapSubpixel(&Font(), coverage.data(), image.width, image.height, image.width,
                                scale, scale, x - whole, 0, glyph);
  for (size_t i = 0; i < coverage.size(); ++i) {
    image.pixels[i] = {color.red, color.green, color.blue, coverage[i]};
  }
  DrawImage(target, image, static_cast<int>(whole) + left, baseline + top);
}

}  // namespace

void FillRectangle(Image& target, int x, int y, int width, int height, sim::Rgba color) {
  const int right = std::min(x + width, target.width);
  const int bottom = std::min(y + height, target.height);
  for (int row = std::max(y, 0); row < bottom; ++row) {
    for (int column = std::max(x, 0); column < right; ++column) target.At(column, row) = color;
  }
}

void FillCheckerboard(Image& target, int x, int y, int width, int height) {
  constexpr int kSquare = 8;
  for (int row = 0; row < height; row += kSquare) {
    for (int column = 0; column < width; column += kSquare) {
      const bool dark = (row / kSquare + column / kSquare) % 2 != 0;
      FillRectangle(target, x + column, y + row, std::min(kSquare, width - column),
                    std::min(kSquare, height - row),
                    dark ? sim::Rgba{204, 204, 204} : sim::Rgba{238, 238, 238});
    }
  }
}

void DrawImage(Image& target, const Image& source, int x, int y) {
  const int right = std::min(source.width, target.width - x);
  const int bottom = std::min(source.height, target.height - y);
  for (int row = std::max(0, -y); row < bottom; ++row) {
    for (int column = std::max(0, -x); column < right; ++column) {
      sim::Rgba& under = target.At(x + column, y + row);
      under = sim::Over(source.At(column, row), under);
    }
  }
}

void DrawText(Image& target, int x, int y, int size, const std::string& text, sim::Rgba color) {
  int ascent = 0, descent = 0, gap = 0;
  stbtt_GetFontVMetrics(&Font(), &ascent, &descent, &gap);
  const float scale = ScaleOf(size);
  const int baseline = y + static_cast<int>(std::lround(static_cast<float>(ascent) * scale));
  SetLine(text, [&](int glyph, int units) {
    DrawGlyph(target, glyph, scale, static_cast<float>(x) + static_cast<float>(units) * scale,
              baseline, color);
  });
}

int TextWidth(int size, const std::string& text) {
  const int units = SetLine(text, [](int, int) {});
  return static_cast<int>(std::ceil(static_cast<float>(units) * ScaleOf(size)));
}

Image Flattened(Image image, sim::Rgba background) {
  for (sim::Rgba& pixel : image.pixels) pixel = sim::Over(pixel, background);
  image.hasAlpha = false;
  return image;
}

}  // namespace imaging
