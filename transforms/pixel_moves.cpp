// Plans the moves, row by row or band by band, and leaves the pixels to the kernels.

#include "transforms/pixel_moves.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "transforms/kernels/kernels.h"

namespace velpicture {
namespace {

/// Pictures of so many bytes are written past the cache: in it they would only push out something
/// else. Smaller ones are often still there for whoever looks at them next, and streams would wait
/// for memory. Turns gain from streams sooner than mirrors: up to half of their time where the last
/// level of the cache is shared with other virtual machines.
constexpr int64_t kStreamedMirrorBytes = int64_t{12} << 20;
constexpr int64_t kStreamedTurnBytes = int64_t{5} << 20;

bool HasBytes(const PictureEditor& picture, int64_t bytes) {
  return int64_t{picture.width} * picture.height * picture.bytesPerPixel >= bytes;
}

/// Writes past the cache where that is wanted, and in order when the scope ends.
class StoresScope {
 public:
  explicit StoresScope(bool stream) : stores_(stream ? Stores::kStreaming : Stores::kCached) {}
  StoresScope(const StoresScope&) = delete;
  StoresScope& operator=(const StoresScope&) = delete;
  ~StoresScope() { _mm_sfence(); }
  Stores stores() const { return stores_; }

 private:
  Stores stores_;
};

/// From one address to another; they need not lie in the same block of memory.
ptrdiff_t ByteOffset(const uint8_t* from, const uint8_t* to) {
  return static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(to) -
                                reinterpret_cast<uintptr_t>(from));
}

/// Whether rows lie a multiple of 4096 bytes apart, where all their lines fall into one set of the
/// first level of the cache. Turns, which write sixteen rows at a time, take twice as long then as
/// past the cache, however small the picture is.
bool HasCollidingRows(const PictureEditor& picture) {
  return picture.height > 1 &&
         ByteOffset(RowAddress(picture, 0), RowAddress(picture, 1)) % 4096 == 0;
}

/// Source rows in the order in which they become columns of the target.
class RowWalk {
 public:
  RowWalk(const PictureEditor& source, bool upwards) : source_(source), upwards_(upwards) {}

  const uint8_t* Row(int index) const {
    return RowAddress(source_, upwards_ ? source_.height - 1 - index : index);
  }

  /// Whether all rows lie equally far apart, as a console picture's need not.
  bool HasConstantStride() const {
    if (source_.pixelType != kPixelConsole) return true;
    for (int y = 2; y < source_.height; ++y) {
      if (Step(y) != Step(1)) return false;
    }
    return true;
  }

  ptrdiff_t Stride() const { return source_.height > 1 ? Step(1) : 0; }

 private:
  ptrdiff_t Step(int index) const { return ByteOffset(Row(index - 1), Row(index)); }

  const PictureEditor& source_;
  const bool upwards_;
};

constexpr int kBandColumns = 512;
constexpr int kGatheredColumns = 128;

/// Turns a band, of at most kGatheredColumns, of rows that lie anywhere: a block at a time is
/// copied to a buffer, one row behind the other. The buffer stays out of the caller's frame: where
/// rows are steady, the kernel needs the room for one of its own.
[[gnu::noinline]] void TransposeGathered(const Kernels& kernels, const RowWalk& rows,
                                         TransposeBand band, ptrdiff_t sourceBytes,
                                         int bytesPerPixel, int targetBytesPerPixel) {
  constexpr int kRows = 64;
  // A line more than the pixels: rows a power of two apart would fall into few sets of the cache.
  constexpr ptrdiff_t kStride = kGatheredColumns * 4 + 64;
  alignas(64) uint8_t block[kRows * kStride];
  uint8_t* targetRows[kGatheredColumns];
  std::copy_n(band.targetRows, band.columnCount, targetRows);
  band.targetRows = targetRows;
  band.source = block;
  band.sourceStride = kStride;
  band.stores = Stores::kCached;
  const int rowCount = band.rowCount;
  for (int first = 0; first < rowCount; first += kRows) {
    band.rowCount = std::min(rowCount - first, kRows);
    for (int i = 0; i < band.rowCount; ++i) {
      std::memcpy(block + i * kStride, rows.Row(first + i) + sourceBytes,
                  static_cast<size_t>(band.columnCount) * bytesPerPixel);
    }
    kernels.transpose(band);
    for (int i = 0; i < band.columnCount; ++i) targetRows[i] += kRows * targetBytesPerPixel;
  }
}

}  // namespace

void MirrorPixels(const PictureEditor& source, PictureEditor& target, bool flipColumns,
                  bool flipRows) {
  const Kernels& kernels = SelectedKernels();
  const StoresScope scope(HasBytes(target, kStreamedMirrorBytes));
  RowMove row = {};
  row.count = source.width;
  row.formats = {source.pixelType, target.pixelType};
  row.stores = scope.stores();
  size_t restBytes = 0;
  if (!flipColumns && source.pixelType == target.pixelType) {
    // Byte by byte: four at a time as words that stay what they are.
    const int bytes = source.bytesPerPixel == 4 ? std::min(source.rowBytes, target.rowBytes)
                                                : source.width * source.bytesPerPixel;
    row.count = bytes / 4;
    row.formats = {kPixelArgb32, kPixelArgb32};
    restBytes = static_cast<size_t>(bytes % 4);
  }
  for (int y = 0; y < source.height; ++y) {
    const int next = std::min(y + 1, source.height - 1);
    row.target = RowAddress(target, flipRows ? source.height - 1 - y : y);
    row.source = RowAddress(source, y);
    row.sourceAhead = ByteOffset(row.source, RowAddress(source, next));
    (flipColumns ? kernels.reverseRow : kernels.copyRow)(row);
    if (restBytes != 0) {
      std::memcpy(row.target + row.count * 4, row.source + row.count * 4, restBytes);
    }
  }
}

void TurnPixels(const PictureEditor& source, PictureEditor& target, QuarterTurn turn) {
  const bool clockwise = turn == QuarterTurn::kClockwise;
  if (source.height < 1) return;
  const Kernels& kernels = SelectedKernels();
  const StoresScope scope(HasBytes(target, kStreamedTurnBytes) || HasCollidingRows(target));
  const RowWalk rows(source, clockwise);
  const bool isSteady = rows.HasConstantStride();

  uint8_t* targetRows[kBandColumns];
  TransposeBand band = {};
  band.sourceStride = rows.Stride();
  band.rowCount = source.height;
  band.formats = {source.pixelType, target.pixelType};
  band.stores = scope.stores();
  band.targetRows = targetRows;
  const int bandColumns = isSteady ? kBandColumns : kGatheredColumns;
  for (int x = 0; x < source.width; x += bandColumns) {
    band.columnCount = std::min(bandColumns, source.width - x);
    for (int i = 0; i < band.columnCount; ++i) {
      targetRows[i] = RowAddress(target, clockwise ? x + i : source.width - 1 - x - i);
    }
    const ptrdiff_t sourceBytes = static_cast<ptrdiff_t>(x) * source.bytesPerPixel;
    if (isSteady) {
      band.source = rows.Row(0) + sourceBytes;
      kernels.transpose(band);
    } else {
      TransposeGathered(kernels, rows, band, sourceBytes, source.bytesPerPixel,
                        target.bytesPerPixel);
    }
  }
}

void ReverseRowsInPlace(PictureEditor& picture) {
  // The row two below is asked for meanwhile. Behind the last row RowAddress names the first.
  const Kernels& kernels = SelectedKernels();
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
  const Kernels& kernels = SelectedKernels();
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
  SelectedKernels().exchangeReversed(middle, right, half, middle, right);
}

}  // namespace velpicture
