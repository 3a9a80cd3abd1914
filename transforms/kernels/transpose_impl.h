#pragma once

// Bands of columns that become rows. Included inside a variant, see kernels_impl.h.
//
// Four columns of as many rows as a vector has words are transposed at a time: rows k, k + 4,
// k + 8 … go to the lanes of one vector, so that two rounds of unpacking within lanes are enough,
// and four registers. What is left at the ends of rows and columns goes in a step that overlaps the
// one before.

#include "transforms/kernels/pixels_impl.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

/// A strip of columns is a line of source words wide: the fewer target rows grow at a time, the
/// longer the lines that are being written stay in the first level of the cache.
constexpr int kStripColumns = kBlockPixels;
/// How many rows ahead a strip's lines are asked for: no processor foresees rows that are read
/// towards lower addresses.
constexpr int kAheadRows = 32;

template <class Source, class Target>
struct BandTranspose {
  explicit BandTranspose(const TransposeBand& transposeBand)
      : band(transposeBand), convert(band.formats) {}

  void MovePixel(int row, int column) const {
    convert(band.targetRows[column] + row * Target::kBytes,
            band.source + row * band.sourceStride + column * Source::kBytes);
  }

  /// Transposes four columns of a vector's rows, of which `source` is the first pixel. Three-byte
  /// pixels are loaded with the four bytes in front of them where kSkip says so, else with the four
  /// behind them.
  template <int kSkip>
  static void TransposeFour(const uint8_t* source, ptrdiff_t stride, uint8_t* const* targetRows,
                            int targetBytes, Conversion<Source, Target> convert) {
    // Addresses first: byte stores may alias the table, which would be reloaded.
    uint8_t* const to[] = {targetRows[0] + targetBytes, targetRows[1] + targetBytes,
                           targetRows[2] + targetBytes, targetRows[3] + targetBytes};
    source -= kSkip;
    const auto load = [=](int row) {
      const Words words =
          Vector::LoadLanes([=](int lane) { return source + (row + 4 * lane) * stride; });
      if constexpr (Source::kBytes == 3) return Vector::template WidenRgb<kSkip, kSkip>(words);
      return words;
    };
    const Words row0 = load(0);
    const Words row1 = load(1);
    const Words low01 = Vector::Low32(row0, row1);
    const Words high01 = Vector::High32(row0, row1);
    const Words row2 = load(2);
    const Words row3 = load(3);
    const Words low23 = Vector::Low32(row2, row3);
    const Words high23 = Vector::High32(row2, row3);
    const auto store = [=](int which, Words words) {
      StoreVector<Target::kBytes, false>(to[which], convert(words));
    };
    store(0, Vector::Low64(low01, low23));
    store(1, Vector::High64(low01, low23));
    store(2, Vector::Low64(high01, high23));
    store(3, Vector::High64(high01, high23));
  }

  /// Columns `first` to end − 1, at least four, of sixteen rows, a vector's rows at a time: rows a
  /// power of two apart share a set of the cache, which holds no more of them.
  void TransposeStep(int firstRow, int first, int end) const {
    const ptrdiff_t stride = band.sourceStride;
    uint8_t* const* const targetRows = band.targetRows;
    const Conversion<Source, Target> conversion = convert;
    for (int row = firstRow; row < firstRow + kBlockPixels; row += kVectorWords) {
      const uint8_t* const source = band.source + row * stride;
      for (int column = first; column < end; column += 4) {
        const int four = column + 4 <= end ? column : end - 4;
        const uint8_t* const pixels = source + four * Source::kBytes;
        if (Source::kBytes == 3 && four > 0) {
          TransposeFour<4>(pixels, stride, targetRows + four, row * Target::kBytes, conversion);
        } else {
          TransposeFour<0>(pixels, stride, targetRows + four, row * Target::kBytes, conversion);
        }
      }
    }
  }

  void Transpose() const {
    // Three-byte pixels need something behind the first four.
    if (band.rowCount < kBlockPixels || band.columnCount < (Source::kBytes == 3 ? 6 : 4)) {
      for (int column = 0; column < band.columnCount; ++column) {
        for (int row = 0; row < band.rowCount; ++row) MovePixel(row, column);
      }
      return;
    }
    int column = 0;
    const int toLine = ColumnsToLine<Source::kBytes>(band.source, band.sourceStride);
    int end = toLine >= 4 ? toLine : kStripColumns;
    while (column < band.columnCount) {
      if (band.columnCount - end < 4) end = band.columnCount;
      int row = 0;
      for (; row + kBlockPixels <= band.rowCount; row += kBlockPixels) {
        for (int ahead = 0; ahead < kBlockPixels; ++ahead) {
          Prefetch(band.source + column * Source::kBytes,
                   (row + kAheadRows + ahead) * band.sourceStride);
        }
        TransposeStep(row, column, end);
      }
      if (row < band.rowCount) TransposeStep(band.rowCount - kBlockPixels, column, end);
      column = end;
      end += kStripColumns;
    }
  }

  const TransposeBand& band;
  const Conversion<Source, Target> convert;
};

// What is larger than the cache goes through a stage: a block of rows is gathered there, so that
// several lines at a stretch go to each target row past the cache: memory opens its pages slowly.
// Each target row may begin anywhere in a line of the cache, so the line that a block leaves
// unfinished waits in the stage, in front of the next block.
constexpr int kStageColumns = 128;
constexpr int kStageRows = 64;  // four or three lines at a stretch, with which the stage is 40 KB

/// The lines of so many source rows, to be asked for one by one.
struct SourceLines {
  void PrefetchNext() {
    if (rowCount == 0) return;
    Prefetch(source, offset);
    offset += kLineBytes;
    if (offset < rowBytes) return;
    offset = 0;
    source += stride;
    --rowCount;
  }

  const uint8_t* source;
  ptrdiff_t stride;
  int rowCount;
  int rowBytes;
  int offset;
};

/// Writes the lines that a target row's next block completes, `staged` being its pixels. Meanwhile
/// the source lines are asked for.
template <int kBlockBytes>
inline void PutBlock(uint8_t* target, uint8_t* staged, bool isFirst, bool isLast,
                     SourceLines& lines) {
  int i = BytesToLine(target);
  if (isFirst) {
    __builtin_memcpy(target, staged, static_cast<size_t>(i));
  } else if (i > 0) {
    i -= kLineBytes;
  }
  for (; i + kLineBytes <= kBlockBytes; i += kLineBytes) {
    for (int v = i; v < i + kLineBytes; v += Vector::kBytes) {
      Vector::Stream(target + v, Vector::Load(staged + v));
    }
    lines.PrefetchNext();
  }
  if (isLast) __builtin_memcpy(target + i, staged + i, static_cast<size_t>(kBlockBytes - i));
  __builtin_memcpy(staged - kLineBytes, staged + kBlockBytes - kLineBytes, kLineBytes);
}

/// For at most kStageColumns columns.
template <class Source, class Target>
void TransposeThroughStage(const TransposeBand& band) {
  constexpr int kBlockBytes = kStageRows * Target::kBytes;
  static_assert(kBlockBytes % kLineBytes == 0);
  alignas(kLineBytes) uint8_t stage[kStageColumns][kLineBytes + kBlockBytes];
  uint8_t* stageRows[kStageColumns];
  for (int column = 0; column < band.columnCount; ++column) {
    stageRows[column] = stage[column] + kLineBytes;
  }
  TransposeBand block = band;
  block.rowCount = kStageRows;
  block.targetRows = stageRows;
  int row = 0;
  for (; row + kStageRows <= band.rowCount; row += kStageRows) {
    for (int step = 0; step < kStageRows; step += kBlockPixels) {
      BandTranspose<Source, Target>(block).TransposeStep(step, 0, band.columnCount);
    }
    block.source += kStageRows * band.sourceStride;
    const bool isLast = row + 2 * kStageRows > band.rowCount;
    SourceLines next = {block.source, band.sourceStride, isLast ? 0 : kStageRows,
                        band.columnCount * Source::kBytes, 0};
    for (int column = 0; column < band.columnCount; ++column) {
      PutBlock<kBlockBytes>(band.targetRows[column] + row * Target::kBytes,
                            stage[column] + kLineBytes, row == 0, isLast, next);
    }
  }
  if (row == band.rowCount) return;
  // The rest goes without the stage, and some of that once more where it is little.
  if (row > 0 && band.rowCount - row < kBlockPixels) row = band.rowCount - kBlockPixels;
  block.source = band.source + row * band.sourceStride;
  block.rowCount = band.rowCount - row;
  for (int column = 0; column < band.columnCount; ++column) {
    stageRows[column] = band.targetRows[column] + row * Target::kBytes;
  }
  BandTranspose<Source, Target>(block).Transpose();
}

void Transpose(const TransposeBand& band) {
  VisitLayouts(band.formats, [&](auto source, auto target) {
    using Source = decltype(source);
    using Target = decltype(target);
    // A stage of fewer columns than a strip is not worth its filling.
    if (band.stores == Stores::kCached || band.columnCount < kStripColumns) {
      BandTranspose<Source, Target>(band).Transpose();
      return;
    }
    TransposeBand part = band;
    for (int done = 0; done < band.columnCount; done += part.columnCount) {
      const int remaining = band.columnCount - done;
      // None of the parts has fewer columns than a strip.
      part.columnCount = remaining <= kStageColumns                  ? remaining
                         : remaining < kStageColumns + kStripColumns ? kStageColumns - kStripColumns
                                                                     : kStageColumns;
      part.source = band.source + done * Source::kBytes;
      part.targetRows = band.targetRows + done;
      TransposeThroughStage<Source, Target>(part);
    }
  });
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
