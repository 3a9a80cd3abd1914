// Plans the moves, row by row or band by band, and leaves the pixels to the kernels. Those move
// words. Where a format has three bytes, or alpha changes its width, pixels pass in blocks through
// small buffers of words.

#include "transforms/pixel_moves.h"

#include <algorithm>
#include <cstring>

#include "transforms/kernels/kernels.h"

namespace velpicture {
namespace {

// Targets larger than this go past the cache. The stores of a turn jump from row to row, so that
// they gain by it only where the target leaves the last cache for certain.
constexpr int64_t kStreamedMirrorBytes = int64_t{4} << 20;
constexpr int64_t kStreamedTurnBytes = int64_t{16} << 20;

Stores StoresFor(const PictureEditor& target, int64_t leastStreamedBytes) {
  const int64_t bytes = int64_t{target.width} * target.height * target.bytesPerPixel;
  return bytes >= leastStreamedBytes ? Stores::kStreaming : Stores::kCached;
}

/// How a pixel of one format becomes a pixel of another: convertFirst (or nothing) gives a word,
/// the mask completes it, narrow (or nothing) makes three bytes of it.
struct Path {
  using Convert = void (*)(uint8_t* target, const uint8_t* source, ptrdiff_t count);

  Path(const MoveKernels& kernels, uint32_t from, uint32_t to) {
    if (from == kPixelRgb24) {
      sourceBytes = 3;
      convertFirst = kernels.widenRgb;
    } else if (from == kPixelConsole && to == kPixelArgb32) {
      convertFirst = kernels.widenAlpha;
    } else if (from == kPixelArgb32 && to == kPixelConsole) {
      convertFirst = kernels.narrowAlpha;
    }
    if (to == kPixelRgb24) {
      targetBytes = 3;
      narrow = kernels.narrowRgb;
    } else if (to == kPixelRgb32 || (to == kPixelArgb32 && from == kPixelRgb32)) {
      mask.set = 0xFF000000;
    } else if (to == kPixelConsole && from == kPixelConsole) {
      mask.keep = 0x7FFFFFFF;
    } else if (to == kPixelConsole && from != kPixelArgb32) {
      mask = {0x00FFFFFF, 0x7F000000};
    }
  }

  bool MovesWords() const { return convertFirst == nullptr && narrow == nullptr; }

  Convert convertFirst = nullptr;
  Convert narrow = nullptr;
  WordMask mask = kUnchanged;
  int sourceBytes = 4;
  int targetBytes = 4;

  static constexpr WordMask kUnchanged = {0xFFFFFFFF, 0};
};

/// Moves rows of pixels, forwards or reversed.
class RowMover {
 public:
  RowMover(const PictureEditor& source, const PictureEditor& target, bool reverse)
      : kernels_(SelectedKernels().moves),
        path_(kernels_, source.pixelType, target.pixelType),
        stores_(StoresFor(target, kStreamedMirrorBytes)),
        reverse_(reverse),
        moveWords_(reverse ? kernels_.reverseWords : kernels_.copyWords) {}
  ~RowMover() { kernels_.finishStreaming(); }
  RowMover(const RowMover&) = delete;
  RowMover& operator=(const RowMover&) = delete;

  void Move(uint8_t* target, const uint8_t* source, ptrdiff_t width) {
    if (path_.MovesWords()) return moveWords_(target, source, width, path_.mask, stores_);
    if (!reverse_ && path_.sourceBytes == path_.targetBytes && path_.narrow != nullptr) {
      std::memcpy(target, source, static_cast<size_t>(width) * 3);
      return;
    }
    for (ptrdiff_t done = 0; done < width;) {
      const ptrdiff_t count = std::min(width - done, kBlockPixels);
      uint8_t* const to = target + (reverse_ ? width - done - count : done) * path_.targetBytes;
      MoveBlock(to, source + done * path_.sourceBytes, count);
      done += count;
    }
  }

 private:
  static constexpr ptrdiff_t kBlockPixels = 1024;

  void MoveBlock(uint8_t* target, const uint8_t* source, ptrdiff_t count) {
    const uint8_t* words = source;
    if (path_.convertFirst != nullptr) {
      path_.convertFirst(words_, source, count);
      words = words_;
    }
    if (path_.narrow == nullptr) return moveWords_(target, words, count, path_.mask, stores_);
    if (reverse_) {
      kernels_.reverseWords(reversed_, words, count, Path::kUnchanged, Stores::kCached);
      words = reversed_;
    }
    path_.narrow(target, words, count);
  }

  const MoveKernels& kernels_;
  const Path path_;
  const Stores stores_;
  const bool reverse_;
  void (*const moveWords_)(uint8_t*, const uint8_t*, ptrdiff_t, WordMask, Stores);
  alignas(64) uint8_t words_[kBlockPixels * 4];
  alignas(64) uint8_t reversed_[kBlockPixels * 4];
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
      if (Distance(y) != Distance(1)) return false;
    }
    return true;
  }

  ptrdiff_t Stride() const { return source_.height > 1 ? Distance(1) : 0; }

 private:
  ptrdiff_t Distance(int index) const {
    return static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(Row(index)) -
                                  reinterpret_cast<uintptr_t>(Row(index - 1)));
  }

  const PictureEditor& source_;
  const bool upwards_;
};

/// Turns through buffers what the transpose cannot take as it is, a block at a time.
class BlockTurner {
 public:
  static constexpr int kColumns = 64;

  BlockTurner(const MoveKernels& kernels, const Path& path, const RowWalk& rows)
      : kernels_(kernels), path_(path), rows_(rows) {}

  /// As many columns as the band names, from `column` on, of all rows.
  void Turn(TransposeBand band, int column, int rowCount) {
    band.source = words_;
    band.sourceStride = kColumns * 4;
    uint8_t* targetRows[kColumns];
    std::copy_n(band.targetRows, band.columnCount, targetRows);
    for (int first = 0; first < rowCount; first += kRows) {
      band.rowCount = std::min(rowCount - first, kRows);
      for (int i = 0; i < band.rowCount; ++i) {
        Load(words_ + i * band.sourceStride,
             rows_.Row(first + i) + static_cast<ptrdiff_t>(column) * path_.sourceBytes,
             band.columnCount);
      }
      for (int i = 0; i < band.columnCount; ++i) {
        band.targetRows[i] = path_.narrow != nullptr
                                 ? turned_ + i * (kRows * 4)
                                 : targetRows[i] + static_cast<ptrdiff_t>(first) * 4;
      }
      kernels_.transpose(band);
      if (path_.narrow == nullptr) continue;
      for (int i = 0; i < band.columnCount; ++i) {
        path_.narrow(targetRows[i] + static_cast<ptrdiff_t>(first) * 3, band.targetRows[i],
                     band.rowCount);
      }
    }
  }

 private:
  static constexpr int kRows = 128;

  void Load(uint8_t* words, const uint8_t* source, int count) {
    if (path_.convertFirst != nullptr) {
      path_.convertFirst(words, source, count);
    } else {
      std::memcpy(words, source, static_cast<size_t>(count) * 4);
    }
  }

  const MoveKernels& kernels_;
  const Path& path_;
  const RowWalk& rows_;
  alignas(64) uint8_t words_[kRows * kColumns * 4];
  alignas(64) uint8_t turned_[kColumns * kRows * 4];
};

}  // namespace

void MirrorPixels(const PictureEditor& source, PictureEditor& target, bool flipColumns,
                  bool flipRows) {
  RowMover mover(source, target, flipColumns);
  for (int y = 0; y < source.height; ++y) {
    mover.Move(RowAddress(target, flipRows ? source.height - 1 - y : y), RowAddress(source, y),
               source.width);
  }
}

void TurnPixels(const PictureEditor& source, PictureEditor& target, QuarterTurn turn) {
  const bool clockwise = turn == QuarterTurn::kClockwise;
  if (source.height < 1) return;
  const MoveKernels& kernels = SelectedKernels().moves;
  const Path path(kernels, source.pixelType, target.pixelType);
  const RowWalk rows(source, clockwise);
  // A pass over the turned rows costs less than buffers before them: they come one after another.
  const bool convertsAfter = path.convertFirst != nullptr && path.sourceBytes == path.targetBytes &&
                             path.narrow == nullptr;
  const bool directly = (path.MovesWords() || convertsAfter) && rows.IsEven();
  const int bandColumns = directly ? TransposeBand::kMaxColumns : BlockTurner::kColumns;

  TransposeBand band;
  band.mask = path.mask;
  band.stores = path.narrow == nullptr ? StoresFor(target, kStreamedTurnBytes) : Stores::kCached;
  for (int x = 0; x < source.width; x += bandColumns) {
    band.columnCount = std::min(bandColumns, source.width - x);
    for (int i = 0; i < band.columnCount; ++i) {
      band.targetRows[i] = RowAddress(target, clockwise ? x + i : source.width - 1 - x - i);
    }
    if (directly) {
      band.source = rows.Row(0) + static_cast<ptrdiff_t>(x) * 4;
      band.sourceStride = rows.Stride();
      band.rowCount = source.height;
      kernels.transpose(band);
      for (int i = 0; convertsAfter && i < band.columnCount; ++i) {
        path.convertFirst(band.targetRows[i], band.targetRows[i], target.width);
      }
    } else {
      BlockTurner(kernels, path, rows).Turn(band, x, source.height);
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

void ExchangeRows(PictureEditor& picture, bool reverse) {
  const MoveKernels& kernels = SelectedKernels().moves;
  const auto exchange = reverse ? kernels.exchangeReversed : kernels.exchange;
  for (int y = 0; y < picture.height / 2; ++y) {
    const int mirrored = picture.height - 1 - y;
    exchange(RowAddress(picture, y), RowAddress(picture, mirrored), picture.width,
             RowAddress(picture, y + 1), RowAddress(picture, std::max(mirrored - 1, 0)));
  }
}

}  // namespace

void FlipRowsInPlace(PictureEditor& picture) { ExchangeRows(picture, false); }

void MirrorInPlace(PictureEditor& picture) {
  ExchangeRows(picture, true);
  if (picture.height % 2 == 0) return;
  uint8_t* const middle = RowAddress(picture, picture.height / 2);
  const ptrdiff_t half = picture.width / 2;
  uint8_t* const right = middle + (picture.width - half) * 4;
  SelectedKernels().moves.exchangeReversed(middle, right, half, middle, right);
}

}  // namespace velpicture
