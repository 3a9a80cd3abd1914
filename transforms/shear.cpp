// The planner of the shears: offsets and rows of lines, handed to the selected kernels.

#include "transforms/shear.h"

#include <emmintrin.h>

#include "pixels/pixel_formats.h"
#include "transforms/kernels/kernels.h"
#include "transforms/shear_blocks.h"
#include "transforms/streaming.h"

namespace velpicture {
namespace {

/// Rows of a picture that columns are sheared in at a time, and the most that the offsets of one
/// call's columns may lie apart: they bound the row tables, which are on the stack.
constexpr int kBandRows = 512;
constexpr int kMaxOffsetSpread = 1024;

/// The line's offset; a line whose pixels all land outside the destination may as well start right
/// beside it.
int NearOffset(const ShearLine& line, int length, int destinationLength) {
  const int64_t least = -static_cast<int64_t>(length) - 1;
  if (line.offset < least) return static_cast<int>(least);
  return line.offset < destinationLength ? line.offset : destinationLength;
}

uint32_t BackgroundWord(const Rgba& background) {
  return PackColor(background, static_cast<uint32_t>(background.alpha));
}

bool IsStored(const PictureEditor& editor) {
  return VisitFormat(editor.pixelType, [](auto) {});
}

/// The plain kernels alone know formats that no storage uses.
const ShearKernels& KernelsFor(const PictureEditor& source, const PictureEditor& destination) {
  const bool isUsual = IsStored(source) && IsStored(destination);
  return isUsual ? SelectedKernels().shears : plain::kShearKernels;
}

/// Whether to write past the cache; what was written so is in order when the scope ends.
class StreamingScope {
 public:
  explicit StreamingScope(const PictureEditor& destination)
      : streaming_(IsStreamed(destination, kStreamedBytes)) {}
  StreamingScope(const StreamingScope&) = delete;
  StreamingScope& operator=(const StreamingScope&) = delete;
  ~StreamingScope() {
    if (streaming_) _mm_sfence();
  }
  bool streaming() const { return streaming_; }

 private:
  bool streaming_;
};

/// Lines that no stream fills alone are written through the cache, and streams wait behind a line
/// that is missing there. These lie where the background meets pixels or the row ends; the next
/// row's offset differs by one at most.
void PrefetchEdges(const uint8_t* row, const PictureEditor& source,
                   const PictureEditor& destination, int offset) {
  const int width = destination.width;
  const int64_t end = static_cast<int64_t>(offset) + source.width;
  const auto prefetch = [&](int x) {
    _mm_prefetch(
        reinterpret_cast<const char*>(row + static_cast<ptrdiff_t>(x) * destination.bytesPerPixel),
        _MM_HINT_T0);
  };
  prefetch(0);
  if (offset > 0) prefetch(offset);
  if (end > 0 && end < width) prefetch(static_cast<int>(end));
  prefetch(width);
}

/// One block of neighbouring columns whose offsets lie near each other, sheared a band of rows at a
/// time.
class ColumnBlock {
 public:
  ColumnBlock(const PictureEditor& source, PictureEditor& destination, const Rgba& background,
              bool streaming)
      : source_(source),
        destination_(destination),
        kernels_(KernelsFor(source, destination)),
        background_(BackgroundWord(background)),
        streaming_(streaming) {}

  /// Shears as many of the columns as one block takes, at least one; returns their number.
  int Shear(int firstColumn, const ShearLine* lines, int count) {
    const int taken = Take(lines, count);
    for (int y = 0; y < destination_.height; y += kBandRows) {
      const int remaining = destination_.height - y;
      ShearBand(firstColumn, lines, taken, y, remaining < kBandRows ? remaining : kBandRows);
    }
    return taken;
  }

 private:
  int Take(const ShearLine* lines, int count) {
    int taken = 0;
    for (; taken < count && taken < kShearBlockLines; ++taken) {
      const int offset = NearOffset(lines[taken], source_.height, destination_.height);
      const int64_t low = taken > 0 && least_ < offset ? least_ : offset;
      const int64_t high = taken > 0 && greatest_ > offset ? greatest_ : offset;
      if (high - low > kMaxOffsetSpread) break;
      least_ = static_cast<int>(low);
      greatest_ = static_cast<int>(high);
      delays_[taken] = offset;
      multipliers_[taken] = kernels_.multiplier(lines[taken].weight);
    }
    // The tables begin one row before the first pixel of the column that lies lowest.
    for (int j = 0; j < taken; ++j) delays_[j] = greatest_ - delays_[j] + 1;
    return taken;
  }

  void ShearBand(int firstColumn, const ShearLine* lines, int count, int y, int rowCount) {
    const uint8_t* sourceRows[kBandRows + kMaxOffsetSpread + 1];
    uint8_t* destinationRows[kBandRows];
    const ptrdiff_t sourceBytes = static_cast<ptrdiff_t>(firstColumn) * source_.bytesPerPixel;
    const ptrdiff_t destinationBytes =
        static_cast<ptrdiff_t>(firstColumn) * destination_.bytesPerPixel;
    const int64_t firstRow = static_cast<int64_t>(y) - greatest_ - 1;
    const int sourceRowCount = rowCount + (greatest_ - least_) + 1;
    for (int i = 0; i < sourceRowCount; ++i) {
      const int64_t row = firstRow + i;
      sourceRows[i] = row >= 0 && row < source_.height
                          ? RowAddress(source_, static_cast<int>(row)) + sourceBytes
                          : nullptr;
    }
    for (int t = 0; t < rowCount; ++t) {
      destinationRows[t] = RowAddress(destination_, y + t) + destinationBytes;
    }
    kernels_.shearColumns({sourceRows, source_.pixelType, destinationRows, destination_.pixelType,
                           rowCount, count, delays_, lines, multipliers_, background_, streaming_});
  }

  const PictureEditor& source_;
  PictureEditor& destination_;
  const ShearKernels& kernels_;
  const uint32_t background_;
  const bool streaming_;
  int least_ = 0;
  int greatest_ = 0;
  int delays_[kShearBlockLines];
  uint16_t multipliers_[kShearBlockLines];
};

}  // namespace

void SkewRows(const PictureEditor& source, PictureEditor& destination, int firstRow,
              const ShearLine* lines, int count, const Rgba& background) {
  const ShearKernels& kernels = KernelsFor(source, destination);
  const StreamingScope scope(destination);
  for (int i = 0; i < count; ++i) {
    const int offset = NearOffset(lines[i], source.width, destination.width);
    if (scope.streaming() && i + 1 < count) {
      PrefetchEdges(RowAddress(destination, firstRow + i + 1), source, destination, offset);
    }
    kernels.shearRow({RowAddress(source, firstRow + i), source.width, source.pixelType,
                      RowAddress(destination, firstRow + i), destination.width,
                      destination.pixelType, offset, lines[i].weight,
                      kernels.multiplier(lines[i].weight), BackgroundWord(background),
                      scope.streaming()});
  }
}

void SkewColumns(const PictureEditor& source, PictureEditor& destination, int firstColumn,
                 const ShearLine* lines, int count, const Rgba& background) {
  const StreamingScope scope(destination);
  ColumnBlock block(source, destination, background, scope.streaming());
  for (int done = 0; done < count;) {
    done += block.Shear(firstColumn + done, lines + done, count - done);
  }
}

}  // namespace velpicture

namespace {

/// Leaves the row cursor as GetPixel and SetPixel would, y being the last row with such a pixel.
void LeaveCursor(PictureEditor& editor, int64_t y) {
  if (editor.width < 1 || editor.height < 1) return;
  editor.accessX = 0;
  editor.accessY = static_cast<int32_t>(y);
}

}  // namespace

void SkewRow(PictureEditor& source, PictureEditor& destination, int line, int offset, double weight,
             int red, int green, int blue, int alpha) {
  const velpicture::ShearLine shear{offset, weight};
  velpicture::SkewRows(source, destination, line, &shear, 1, {red, green, blue, alpha});
  LeaveCursor(source, line);
  LeaveCursor(destination, line);
}

void SkewColumn(PictureEditor& source, PictureEditor& destination, int line, int offset,
                double weight, int red, int green, int blue, int alpha) {
  const velpicture::ShearLine shear{offset, weight};
  velpicture::SkewColumns(source, destination, line, &shear, 1, {red, green, blue, alpha});
  // The pixel behind the last source pixel comes last, after background down to the end.
  const int64_t trailing = static_cast<int64_t>(source.height) + offset;
  const bool isInside = trailing >= 0 && trailing < destination.height;
  LeaveCursor(source, source.height - 1);
  LeaveCursor(destination, isInside ? trailing : destination.height - 1);
}
