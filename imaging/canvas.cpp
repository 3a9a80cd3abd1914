#include "imaging/canvas.h"

#include <stb/stb_easy_font.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace imaging {
namespace {

// A corner of one of the font's rectangles, as the font's code writes it.
struct FontVertex {
  float x, y, z;
  uint8_t color[4];
};
using FontRectangle = std::array<FontVertex, 4>;

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

void DrawText(Image& target, int x, int y, int scale, const std::string& text, sim::Rgba color) {
  constexpr size_t kMostRectanglesPerLetter = 20;
  std::vector<FontRectangle> rectangles(text.size() * kMostRectanglesPerLetter + 1);
  std::string writable = text;  // The font's code takes its text by a pointer to char.
  const int count =
      stb_easy_font_print(0, 0, writable.data(), nullptr, rectangles.data(),
                          static_cast<int>(rectangles.size() * sizeof(FontRectangle)));
  const auto scaled = [scale](float at) {
    return static_cast<int>(std::lround(at * static_cast<float>(scale)));
  };
  for (int i = 0; i < count; ++i) {
    const FontVertex& from = rectangles[i][0];
    const FontVertex& to = rectangles[i][2];
    FillRectangle(target, x + scaled(from.x), y + scaled(from.y), scaled(to.x - from.x),
                  scaled(to.y - from.y), color);
  }
}

int TextWidth(int scale, const std::string& text) {
  std::string writable = text;
  return stb_easy_font_width(writable.data()) * scale;
}

Image Flattened(Image image, sim::Rgba background) {
  for (sim::Rgba& pixel : image.pixels) pixel = sim::Over(pixel, background);
  image.hasAlpha = false;
  return image;
}

}  // namespace imaging
