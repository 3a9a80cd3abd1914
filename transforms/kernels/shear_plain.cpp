// The rule itself, pixel by pixel in doubles: what every other kernel has to equal.

#include <cstddef>

#include "pixels/pixel_formats.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture::plain {
namespace {

/// Reads as transparent black: a format that no storage uses.
struct BlankFormat {
  static constexpr int kBytesPerPixel = 0;
  static Rgba Load(const uint8_t*) { return {}; }
};

/// Calls shear(source format, destination format) with the formats' types. A destination that no
/// storage uses ignores what is written.
template <class Shear>
void VisitFormats(uint32_t sourceType, uint32_t destinationType, Shear&& shear) {
  VisitFormat(destinationType, [&](auto to) {
    if (!VisitFormat(sourceType, [&](auto from) { shear(from, to); })) shear(BlankFormat{}, to);
  });
}

uint16_t NoMultiplier(double) { return kNoMultiplier; }

int BlendChannel(int current, int previous, double weight) {
  return current - static_cast<int>(current * weight - previous * weight);
}

Rgba Blend(const Rgba& current, const Rgba& previous, double weight) {
  return {BlendChannel(current.red, previous.red, weight),
          BlendChannel(current.green, previous.green, weight),
          BlendChannel(current.blue, previous.blue, weight),
          BlendChannel(current.alpha, previous.alpha, weight)};
}

Rgba Unpack(uint32_t color) { return UnpackColor(color, static_cast<int>(color >> 24)); }

template <class Format>
auto* PixelAt(Format, auto* row, int x) {
  return row + static_cast<ptrdiff_t>(x) * Format::kBytesPerPixel;
}

void ShearRow(const RowShear& row) {
  const Rgba background = Unpack(row.background);
  VisitFormats(row.sourceType, row.destinationType, [&](auto from, auto to) {
    Rgba previous = background;
    const auto load = [&](int64_t i) {
      return i >= 0 && i < row.sourceWidth
                 ? from.Load(PixelAt(from, row.source, static_cast<int>(i)))
                 : background;
    };
    for (int x = 0; x < row.destinationWidth; ++x) {
      const int64_t i = static_cast<int64_t>(x) - row.offset;
      if (x == 0) previous = load(i - 1);
      const Rgba current = load(i);
      to.Store(PixelAt(to, row.destination, x), Blend(current, previous, row.weight));
      previous = current;
    }
  });
}

void ShearColumns(const ColumnShear& columns) {
  const Rgba background = Unpack(columns.background);
  VisitFormats(columns.sourceType, columns.destinationType, [&](auto from, auto to) {
    for (int j = 0; j < columns.columnCount; ++j) {
      const uint8_t* const* const sourceRows = columns.sourceRows + columns.delays[j];
      const auto load = [&](int t) {
        return sourceRows[t] != nullptr ? from.Load(PixelAt(from, sourceRows[t], j)) : background;
      };
      Rgba previous = load(-1);
      for (int t = 0; t < columns.rowCount; ++t) {
        const Rgba current = load(t);
        to.Store(PixelAt(to, columns.destinationRows[t], j),
                 Blend(current, previous, columns.lines[j].weight));
        previous = current;
      }
    }
  });
}

}  // namespace

const ShearKernels kShearKernels = {NoMultiplier, ShearRow, ShearColumns};

}  // namespace velpicture::plain
