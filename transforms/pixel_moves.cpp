// Plans the moves, row by row or band by band, and leaves the pixels to the kernels.

#include "transforms/pixel_moves.h"

#include <algorithm>
#include <cstring>

#include "transforms/kernels/kernels.h"
#include "transforms/streaming.h"

namespace velpicture {
namespace {

Stores StoresFor(const PictureEditor& target, int64_t streamedBytes) {
  return IsStreamed(target, streamedBytes) ? Stores::kStreaming : Stores::kCached;
}

/// From one address to another; they need not lie in the same block of memory.
ptrdiff_t Distance(const uint8_t* from, const uint8_t* to) {
  return static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(to) -
                                reinterpret_cast<uintptr_t>(from));
}

/// How pixels of one format become pixels of another. A console picture keeps 7 bits of alpha.
struct Change {
  Change(uint32_t from, uint32_t to) {
    if (from == kPixelRgb24 && to == kPixelRgb24) {
      path = kRgbToRgb;
    } else if (to == kPixelRgb24) {
      path = kWordToRgb;
    } else if (from == kPixelConsole && to == kPixelArgb32) {
      path = kWidenAlpha;
    } else if (from == kPixelArgb32 && to == kPixelConsole) {
      path = kNarrowAlpha;
    } else {
      if (from == kPixelRgb24) path = kRgbToWord;
      if (to == kPixelConsole) {
        mask = from == kPixelConsole ? WordMask{0x7FFFFFFF, 0} : WordMask{0x00FFFFFF, 0x7F000000};
      } else if (to == kPixelRgb32 || from == kPixelRgb32) {
        mask.set = 0xFF000000;
      }
    }
  }

  PixelPath path = kWordToWord;
  WordMask mask = {0xFFFFFFFF, 0};
};

/// Source rows in the order in which they become columns of the target.
class RowWalk {
 public:
  RowWalk(const PictureEditor& source, bool upwards) : source_(source), upwards_(upwards) {}

  const uint8_t* Row(int index) const {
    return RowAddress(source_, upwards_ ? source_.height - 1 - index : index);
  }

  /// Whether all rows lie equally far apart, as a console picture's need not.
  bool IsEven() const {
    if (source_.pixelType != kPixelConsole) return true;
    for (int y = 2; y < source_.height; ++y) {
      if (Step(y) != Step(1)) return false;
    }
    return true;
  }

  ptrdiff_t Stride() const { return source_.height > 1 ? Step(1) : 0; }

 private:
  ptrdiff_t Step(int index) const { return Distance(Row(index - 1), Row(index)); }

  const PictureEditor& source_;
  const bool upwards_;
};

/// Turns rows that lie at any distance, a block at a time: evened out in a buffer.
class BlockTurner {
 public:
  static constexpr int kColumns = 128;

  /// Turns as many columns as the band names, from `column` on, of all rows.
  static void Turn(const MoveKernels& kernels, PixelPath path, const RowWalk& rows,
                   TransposeBand band, int column, int rowCount) {
    alignas(64) uint8_t block[kRows * kStride];
    uint8_t* targetRows[kColumns];
    std::copy_n(band.targetRows, band.columnCount, targetRows);
    band.targetRows = targetRows;
    band.source = block;
    band.sourceStride = kStride;
    for (int first = 0; first < rowCount; first += kRows) {
      band.rowCount = std::min(rowCount - first, kRows);
      for (int i = 0; i < band.rowCount; ++i) {
        std::memcpy(block + i * kStride,
                    rows.Row(first + i) + static_cast<ptrdiff_t>(column) * SourceBytes(path),
                    static_cast<size_t>(band.columnCount) * SourceBytes(path));
      }
      kernels.transpose[path](band);
      for (int i = 0; i < band.columnCount; ++i) targetRows[i] += kRows * TargetBytes(path);
    }
  }

 private:
  static constexpr int kRows = 64;
  // A line more than the pixels: rows a power of two apart would fall into few sets of the cache.
  static constexpr ptrdiff_t kStride = kColumns * 4 + 64;
};

}  // namespace

void MirrorPixels(const PictureEditor& source, PictureEditor& target, bool flipColumns,
                  bool flipRows) {
  const MoveKernels& kernels = SelectedKernels().moves;
  const Change change(source.pixelType, target.pixelType);
  const auto moveRow = (flipColumns ? kernels.reverseRow : kernels.copyRow)[change.path];
  const auto targetRow = [&](int y) {
    return RowAddress(target, flipRows ? source.height - 1 - y : y);
  };
  RowMove row = {};
  row.count = source.width;
  row.mask = change.mask;
  row.stores = StoresFor(target, kStreamedBytes);
  size_t restBytes = 0;
  if (!flipColumns && source.pixelType == target.pixelType && change.path == kWordToWord) {
    const int rowBytes = std::min(source.rowBytes, target.rowBytes);
    row.count = rowBytes / 4;
    restBytes = static_cast<size_t>(rowBytes % 4);
    row.mask = {0xFFFFFFFF, 0};
  }
  for (int y = 0; y < source.height; ++y) {
    const int next = std::min(y + 1, source.height - 1);
    row.target = targetRow(y);
    row.source = RowAddress(source, y);
    row.targetAhead = Distance(row.target, targetRow(next));
    row.sourceAhead = Distance(row.source, RowAddress(source, next));
    moveRow(row);
    if (restBytes != 0) {
      std::memcpy(row.target + row.count * 4, row.source + row.count * 4, restBytes);
    }
  }
  kernels.finishStreaming();
}

void TurnPixels(const PictureEditor& source, PictureEditor& target, QuarterTurn turn) {
  const bool clockwise = turn == QuarterTurn::kClockwise;
  if (source.height < 1) return;
  const MoveKernels& kernels = SelectedKernels().moves;
  const Change change(source.pixelType, target.pixelType);
  const RowWalk rows(source, clockwise);
  const bool even = rows.IsEven();

  TransposeBand band;
  band.mask = change.mask;
  band.stores = StoresFor(target, kStreamedTurnBytes);
  uint8_t* targetRows[TransposeBand::kMaxColumns];
  band.targetRows = targetRows;
  const int bandColumns = even ? TransposeBand::kMaxColumns : BlockTurner::kColumns;
  for (int x = 0; x < source.width; x += bandColumns) {
    band.columnCount = std::min(bandColumns, source.width - x);
    for (int i = 0; i < band.columnCount; ++i) {
      targetRows[i] = RowAddress(target, clockwise ? x + i : source.width - 1 - x - i);
    }
    if (even) {
      band.source = rows.Row(0) + static_cast<ptrdiff_t>(x) * SourceBytes(change.path);
      band.sourceStride = rows.Stride();
      band.rowCount = source.height;
      kernels.transpose[change.path](band);
    } else {
      BlockTurner::Turn(kernels, change.path, rows, band, x, source.height);
    }
  }
  kernels.finishStreaming();
}

void ReverseRowsInPlace(PictureEditor& picture) {
  // Two rows ahead, and never beyond the picture: the rows that are asked for in good time.
  const MoveKernels& kernels = SelectedKernels().moves;
  const ptrdiff_t half = picture.width / 2;
  const ptrdiff_t rightBytes = (picture.width - half) * 4;
  for (int y = 0; y < picture.height; ++y) {
    uint8_t* const row = RowAddress(picture, y);
    const uint8_t* const ahead = RowAddress(picture, y + 2);
    kernels.exchangeReversed(row, row + rightBytes, half, ahead, ahead + rightBytes);
  }
}

namespace {

/// Exchanges so many words of each row with those of the row opposite.
void ExchangeRows(PictureEditor& picture, int wordCount, bool reverse) {
  const MoveKernels& kernels = SelectedKernels().moves;
  const auto exchange = reverse ? kernels.exchangeReversed : kernels.exchange;
  for (int y = 0; y < picture.height / 2; ++y) {
    const int mirrored = picture.height - 1 - y;
    exchange(RowAddress(picture, y), RowAddress(picture, mirrored), wordCount,
             RowAddress(picture, y + 1), RowAddress(picture, std::max(mirrored - 1, 0)));
  }
}

}  // namespace

void FlipRowsInPlace(PictureEditor& picture) {
  ExchangeRows(picture, picture.rowBytes / 4, false);
  const ptrdiff_t wordBytes = picture.rowBytes / 4 * 4;
  for (int y = 0; wordBytes < picture.rowBytes && y < picture.height / 2; ++y) {
    uint8_t* const row = RowAddress(picture, y);
    std::swap_ranges(row + wordBytes, row + picture.rowBytes,
                     RowAddress(picture, picture.height - 1 - y) + wordBytes);
  }
}

void MirrorInPlace(PictureEditor& picture) {
  ExchangeRows(picture, picture.width, true);
  if (picture.height % 2 == 0) return;
  uint8_t* const middle = RowAddress(picture, picture.height / 2);
  const ptrdiff_t half = picture.width / 2;
  uint8_t* const right = middle + (picture.width - half) * 4;
  SelectedKernels().moves.exchangeReversed(middle, right, half, middle, right);
}

}  // namespace velpicture
