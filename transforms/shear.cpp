// The rule, line by line and pixel by pixel.
#include "transforms/shear.h"

namespace velpicture {
namespace {

int Blend(int current, int previous, double weight) {
  return current - static_cast<int>(current * weight - previous * weight);
}

template <class Get, class Set>
void SkewLine(int sourceCount, int count, const ShearLine& line, const Rgba& background, Get get,
              Set set) {
  for (int i = 0; i < count; ++i) set(i, background);
  Rgba previous = background;
  for (int i = 0; i <= sourceCount; ++i) {
    const Rgba current = i < sourceCount ? get(i) : background;
    const long long x = static_cast<long long>(i) + line.offset;
    if (x >= 0 && x < count) {
      set(static_cast<int>(x), Rgba{Blend(current.red, previous.red, line.weight),
                                    Blend(current.green, previous.green, line.weight),
                                    Blend(current.blue, previous.blue, line.weight),
                                    Blend(current.alpha, previous.alpha, line.weight)});
    }
    previous = current;
  }
}

}  // namespace

void SkewRows(const PictureEditor& source, PictureEditor& destination, int firstRow,
              const ShearLine* lines, int count, const Rgba& background) {
  auto& from = const_cast<PictureEditor&>(source);
  for (int i = 0; i < count; ++i) {
    const int y = firstRow + i;
    SkewLine(
        source.width, destination.width, lines[i], background,
        [&](int x) { return GetPixel(from, x, y); },
        [&](int x, const Rgba& p) {
          SetPixel(destination, x, y, p.red, p.green, p.blue, p.alpha);
        });
  }
}

void SkewColumns(const PictureEditor& source, PictureEditor& destination, int firstColumn,
                 const ShearLine* lines, int count, const Rgba& background) {
  auto& from = const_cast<PictureEditor&>(source);
  for (int i = 0; i < count; ++i) {
    const int x = firstColumn + i;
    SkewLine(
        source.height, destination.height, lines[i], background,
        [&](int y) { return GetPixel(from, x, y); },
        [&](int y, const Rgba& p) {
          SetPixel(destination, x, y, p.red, p.green, p.blue, p.alpha);
        });
  }
}

}  // namespace velpicture

void SkewRow(PictureEditor& source, PictureEditor& destination, int line, int offset, double weight,
             int red, int green, int blue, int alpha) {
  const velpicture::ShearLine one{offset, weight};
  velpicture::SkewRows(source, destination, line, &one, 1, {red, green, blue, alpha});
}

void SkewColumn(PictureEditor& source, PictureEditor& destination, int line, int offset,
                double weight, int red, int green, int blue, int alpha) {
  const velpicture::ShearLine one{offset, weight};
  velpicture::SkewColumns(source, destination, line, &one, 1, {red, green, blue, alpha});
}
