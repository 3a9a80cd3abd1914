#pragma once

// Bands of columns that become rows. Included inside a variant, see kernels_impl.h.
//
// Four columns of as many rows as a vector has words are transposed at a time: rows k, k + 4,
// k + 8 … go to the lanes of one vector, so that two rounds of unpacking within lanes are enough,
// and four registers. What is left at the ends of rows and columns is transposed once more with
// pixels that have gone already.

#include "transforms/kernels/pixels_impl.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

/// A strip of columns is a line of source words wide: the fewer target rows grow at a time, the
/// longer the lines that are being written stay in the first level of the cache.
constexpr int kStripColumns = kLineWords;
/// How many rows ahead a strip's lines are asked for: no processor foresees rows that are read
/// towards lower addresses.
constexpr int kAheadRows = 32;

template <class Source, class Target>
struct TransposeOf {
  explicit TransposeOf(const TransposeBand& transposeBand)
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
    // Everything is at hand before the first byte is stored: who knows what that may change.
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

  /// Columns `first` to end − 1, at least four, of sixteen rows: a vector's rows at a time, of
  /// which even rows that collide in the cache leave each other their lines.
  void TransposeStep(int firstRow, int first, int end) const {
    const ptrdiff_t stride = band.sourceStride;
    uint8_t* const* const targetRows = band.targetRows;
    const Conversion<Source, Target> conversion = convert;
    for (int row = firstRow; row < firstRow + kLineWords; row += kVectorWords) {
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
    if (band.rowCount < kLineWords || band.columnCount < (Source::kBytes == 3 ? 6 : 4)) {
      for (int column = 0; column < band.columnCount; ++column) {
        for (int row = 0; row < band.rowCount; ++row) MovePixel(row, column);
      }
      return;
    }
    int column = 0;
    int end = FirstStripEnd();
    while (column < band.columnCount) {
      if (band.columnCount - end < 4) end = band.columnCount;
      int row = 0;
      for (; row + kLineWords <= band.rowCount; row += kLineWords) {
        for (int ahead = 0; ahead < kLineWords; ++ahead) {
          Prefetch(band.source + column * Source::kBytes,
                   (row + kAheadRows + ahead) * band.sourceStride);
        }
        TransposeStep(row, column, end);
      }
      if (row < band.rowCount) TransposeStep(band.rowCount - kLineWords, column, end);
      column = end;
      end += kStripColumns;
    }
  }

  /// Where lines begin at the same column in all source rows, strips do so too.
  int FirstStripEnd() const {
    const int toLine = BytesToLine(band.source);
    const bool isEven = band.sourceStride % kLineBytes == 0 && toLine % 4 == 0;
    return isEven && Source::kBytes == 4 && toLine >= 16 ? toLine / 4 : kStripColumns;
  }

  const TransposeBand& band;
  const Conversion<Source, Target> convert;
};

// What is larger than the cache is gathered, so that several lines at a stretch go to each target
// row past the cache: memory, too, has pages that it opens slowly.
constexpr int kStageColumns = 128;
constexpr int kStageRows = 64;

/// Target rows are aligned to single bytes, each in its own way, so what a block leaves of a line
/// waits in the stage, in front of the next block.
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
  const int linesPerRow = (band.columnCount * Source::kBytes + kLineBytes - 1) / kLineBytes;
  const int blockCount = band.rowCount / kStageRows;
  for (int b = 0; b < blockCount; ++b) {
    // Of rows a power of two apart, a set of the cache holds few lines: as few as a step needs.
    for (int row = 0; row < kStageRows; row += kLineWords) {
      TransposeOf<Source, Target>(block).TransposeStep(row, 0, band.columnCount);
    }
    block.source += kStageRows * band.sourceStride;
    // While the lines go out, the next block comes in.
    int aheadLine = 0;
    ptrdiff_t aheadRow = b + 1 < blockCount ? 0 : kStageRows * band.sourceStride;
    for (int column = 0; column < band.columnCount; ++column) {
      uint8_t* const row = band.targetRows[column];
      const int head = BytesToLine(row);
      uint8_t* to = row + head + b * kBlockBytes;
      const uint8_t* from = stage[column] + kLineBytes + head;
      const uint8_t* const end = stage[column] + kBlockBytes;
      if (b == 0) {
        __builtin_memcpy(row, stageRows[column], static_cast<size_t>(head));
      } else if (head > 0) {
        to -= kLineBytes;
        from -= kLineBytes;
      }
      for (; from <= end; from += kLineBytes, to += kLineBytes) {
        for (int i = 0; i < kLineBytes; i += Vector::kBytes) {
          Vector::Stream(to + i, Vector::Load(from + i));
        }
        if (aheadRow == kStageRows * band.sourceStride) continue;
        Prefetch(block.source, aheadRow + aheadLine * kLineBytes);
        if (++aheadLine == linesPerRow) {
          aheadLine = 0;
          aheadRow += band.sourceStride;
        }
      }
      if (b + 1 == blockCount) {
        __builtin_memcpy(to, from, static_cast<size_t>(end + kLineBytes - from));
      }
      __builtin_memcpy(stage[column], end, kLineBytes);
    }
  }
  block.rowCount = band.rowCount - blockCount * kStageRows;
  if (block.rowCount == 0) return;
  if (blockCount > 0 && block.rowCount < kLineWords) block.rowCount = kLineWords;
  const int firstRow = band.rowCount - block.rowCount;
  block.source = band.source + firstRow * band.sourceStride;
  for (int column = 0; column < band.columnCount; ++column) {
    stageRows[column] = band.targetRows[column] + firstRow * Target::kBytes;
  }
  TransposeOf<Source, Target>(block).Transpose();
}

void Transpose(const TransposeBand& band) {
  VisitKinds(band.formats, [&](auto source, auto target) {
    using Source = decltype(source);
    using Target = decltype(target);
    // A stage of fewer columns than a strip is not worth its filling.
    if (band.stores == Stores::kCached || band.columnCount < kLineWords) {
      TransposeOf<Source, Target>(band).Transpose();
      return;
    }
    TransposeBand part = band;
    for (int done = 0; done < band.columnCount; done += part.columnCount) {
      const int remaining = band.columnCount - done;
      // None of the parts has fewer than sixteen columns.
      part.columnCount = remaining <= kStageColumns               ? remaining
                         : remaining < kStageColumns + kLineWords ? kStageColumns - kLineWords
                                                                  : kStageColumns;
      part.source = band.source + done * Source::kBytes;
      part.targetRows = band.targetRows + done;
      TransposeThroughStage<Source, Target>(part);
    }
  });
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
