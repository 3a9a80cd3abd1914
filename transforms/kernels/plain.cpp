// The kernels a pixel at a time: what the other variants must equal, byte for byte.

#include "pixels/pixel_formats.h"
#include "transforms/kernels/kernels.h"

namespace velpicture::plain {
namespace {

/// Reads as transparent black: a format that no storage uses.
struct BlankFormat {
  static constexpr int kBytesPerPixel = 0;
  static Rgba Load(const uint8_t*) { return {}; }
};

/// Calls visit(source format, target format) with the formats' types. A target that no storage uses
/// ignores what is written.
template <class Visitor>
void VisitFormats(const FormatPair& formats, Visitor&& visit) {
  VisitFormat(formats.target, [&](auto to) {
    if (!VisitFormat(formats.source, [&](auto from) { visit(from, to); })) visit(BlankFormat{}, to);
  });
}

template <class Format>
auto* PixelAt(Format, auto* row, ptrdiff_t x) {
  return row + x * Format::kBytesPerPixel;
}

template <bool kReverse>
void MoveRow(const RowMove& row) {
  VisitFormats(row.formats, [&](auto from, auto to) {
    for (ptrdiff_t i = 0; i < row.count; ++i) {
      to.Store(PixelAt(to, row.target, kReverse ? row.count - 1 - i : i),
               from.Load(PixelAt(from, row.source, i)));
    }
  });
}

void Transpose(const TransposeBand& band) {
  VisitFormats(band.formats, [&](auto from, auto to) {
    for (ptrdiff_t row = 0; row < band.rowCount; ++row) {
      for (ptrdiff_t column = 0; column < band.columnCount; ++column) {
        to.Store(PixelAt(to, band.targetRows[column], row),
                 from.Load(PixelAt(from, band.source + row * band.sourceStride, column)));
      }
    }
  });
}

template <bool kReverse>
void Exchange(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t*, const uint8_t*) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    uint8_t* const other = right + (kReverse ? count - 1 - i : i) * 4;
    const uint32_t word = LoadWord(left + i * 4);
    StoreWord(left + i * 4, LoadWord(other));
    StoreWord(other, word);
  }
}

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

void ShearRow(const RowShear& row) {
  const Rgba background = Unpack(row.background);
  VisitFormats(row.formats, [&](auto from, auto to) {
    const auto load = [&](int64_t i) {
      return i >= 0 && i < row.sourceWidth
                 ? from.Load(PixelAt(from, row.source, static_cast<ptrdiff_t>(i)))
                 : background;
    };
    Rgba previous = load(-1 - int64_t{row.offset});
    for (int x = 0; x < row.targetWidth; ++x) {
      const Rgba current = load(int64_t{x} - row.offset);
      to.Store(PixelAt(to, row.target, x), Blend(current, previous, row.weight));
      previous = current;
    }
  });
}

void ShearColumns(const ColumnShear& columns) {
  const Rgba background = Unpack(columns.background);
  VisitFormats(columns.formats, [&](auto from, auto to) {
    for (int j = 0; j < columns.columnCount; ++j) {
      const int lag = columns.LagOf(j);
      const auto load = [&](int t) {
        const uint8_t* const row = columns.sourceRows[lag + t];
        return row != nullptr ? from.Load(PixelAt(from, row, j)) : background;
      };
      Rgba previous = load(-1);
      for (int t = 0; t < columns.rowCount; ++t) {
        const Rgba current = load(t);
        to.Store(PixelAt(to, columns.targetRows[t], j),
                 Blend(current, previous, columns.columns[j].weight));
        previous = current;
      }
    }
  });
}

}  // namespace

const Kernels kKernels = {
    .name = "plain",
    .copyRow = MoveRow<false>,
    .reverseRow = MoveRow<true>,
    .transpose = Transpose,
    .exchange = Exchange<false>,
    .exchangeReversed = Exchange<true>,
    .shearRow = ShearRow,
    .shearColumns = ShearColumns,
};

}  // namespace velpicture::plain
