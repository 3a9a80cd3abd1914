// The planner of the shears: offsets and rows of lines, handed to the selected kernels.

#include "transforms/shear.h"

#include "pixels/pixel_formats.h"
#include "transforms/kernels/shear_multiplier.h"
#include "transforms/shear_blocks.h"

namespace velpicture {
namespace {

/// Rows of a picture that columns are sheared in at a time, and the most that the offsets of one
/// call's columns may lie apart: they bound the row tables, which are on the stack.
constexpr int kBandRows = 512;
constexpr int kMaxOffsetSpread = 768;

/// The line's offset; a line whose pixels all land outside the destination may as well start right
/// beside it.
int NearOffset(const ShearLine& line, int length, int targetLength) {
  const int64_t least = -static_cast<int64_t>(length) - 1;
  if (line.offset < least) return static_cast<int>(least);
  return line.offset < targetLength ? line.offset : targetLength;
}

/// The background as the target can show it.
uint32_t BackgroundWord(const Rgba& background, const PictureEditor& target) {
  const int alpha = target.pixelType == kPixelRgb32 ? 0xFF : background.alpha;
  return PackColor(background, static_cast<uint32_t>(alpha));
}

bool IsStored(const PictureEditor& editor) {
  return VisitFormat(editor.pixelType, [](auto) {});
}

/// The plain kernels alone know formats that no storage uses.
const Kernels& KernelsFor(const PictureEditor& source, const PictureEditor& target) {
  const bool isUsual = IsStored(source) && IsStored(target);
  return isUsual ? SelectedKernels() : plain::kKernels;
}

/// One block of neighbouring columns whose offsets lie near each other, sheared a band of rows at a
/// time.
class ColumnBlock {
 public:
  ColumnBlock(const PictureEditor& source, PictureEditor& target, const Rgba& background)
      : source_(source),
        target_(target),
        kernels_(KernelsFor(source, target)),
        background_(BackgroundWord(background, target)) {}

  /// Shears as many of the columns as one block takes, at least one; returns their number.
  int Shear(int firstColumn, ShearLine* lines, int count) {
    const int taken = Plan(lines, count);
    columns_ = lines;
    for (int y = 0; y < target_.height; y += kBandRows) {
      const int remaining = target_.height - y;
      ShearBand(firstColumn, taken, y, remaining < kBandRows ? remaining : kBandRows);
    }
    return taken;
  }

 private:
  int Plan(ShearLine* lines, int count) {
    int taken = 0;
    for (; taken < count; ++taken) {
      const int offset = NearOffset(lines[taken], source_.height, target_.height);
      const int64_t low = taken > 0 && least_ < offset ? least_ : offset;
      const int64_t high = taken > 0 && greatest_ > offset ? greatest_ : offset;
      if (high - low > kMaxOffsetSpread) break;
      least_ = static_cast<int>(low);
      greatest_ = static_cast<int>(high);
      lines[taken].offset = offset;
      lines[taken].multiplier = Multiplier(lines[taken].weight);
    }
    return taken;
  }

  void ShearBand(int firstColumn, int count, int y, int rowCount) {
    const uint8_t* sourceRows[kBandRows + kMaxOffsetSpread + 1 + kMostExtraLag];
    uint8_t* targetRows[kBandRows];
    const ptrdiff_t sourceBytes = static_cast<ptrdiff_t>(firstColumn) * source_.bytesPerPixel;
    const ptrdiff_t targetBytes = static_cast<ptrdiff_t>(firstColumn) * target_.bytesPerPixel;
    // The tables begin one row before the first pixel of the column that lies lowest.
    const int64_t firstRow = static_cast<int64_t>(y) - greatest_ - 1;
    const int sourceRowCount = rowCount + (greatest_ - least_) + 1 + kMostExtraLag;
    int begin = sourceRowCount, end = 0;
    for (int i = 0; i < sourceRowCount; ++i) {
      const int64_t row = firstRow + i;
      sourceRows[i] = nullptr;
      if (row < 0 || row >= source_.height) continue;
      sourceRows[i] = RowAddress(source_, static_cast<int>(row)) + sourceBytes;
      if (begin > i) begin = i;
      end = i + 1;
    }
    for (int t = 0; t < rowCount; ++t) {
      targetRows[t] = RowAddress(target_, y + t) + targetBytes;
    }
    kernels_.shearColumns({sourceRows,
                           begin,
                           end,
                           targetRows,
                           rowCount,
                           {source_.pixelType, target_.pixelType},
                           columns_,
                           count,
                           greatest_,
                           background_});
  }

  const PictureEditor& source_;
  PictureEditor& target_;
  const Kernels& kernels_;
  const uint32_t background_;
  int least_ = 0;
  int greatest_ = 0;
  const ShearLine* columns_ = nullptr;
};

}  // namespace

void SkewRows(const PictureEditor& source, PictureEditor& target, int firstRow, ShearLine* lines,
              int count, const Rgba& background) {
  const Kernels& kernels = KernelsFor(source, target);
  for (int i = 0; i < count; ++i) {
    kernels.shearRow({RowAddress(source, firstRow + i),
                      source.width,
                      RowAddress(target, firstRow + i),
                      target.width,
                      {source.pixelType, target.pixelType},
                      NearOffset(lines[i], source.width, target.width),
                      lines[i].weight,
                      Multiplier(lines[i].weight),
                      BackgroundWord(background, target)});
  }
}

void SkewColumns(const PictureEditor& source, PictureEditor& target, int firstColumn,
                 ShearLine* lines, int count, const Rgba& background) {
  ColumnBlock block(source, target, background);
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
  velpicture::ShearLine shear = {offset, weight, 0};
  velpicture::SkewRows(source, destination, line, &shear, 1, {red, green, blue, alpha});
  LeaveCursor(source, line);
  LeaveCursor(destination, line);
}

void SkewColumn(PictureEditor& source, PictureEditor& destination, int line, int offset,
                double weight, int red, int green, int blue, int alpha) {
  velpicture::ShearLine shear = {offset, weight, 0};
  velpicture::SkewColumns(source, destination, line, &shear, 1, {red, green, blue, alpha});
  // The pixel behind the last source pixel comes last, after background down to the end.
  const int64_t trailing = static_cast<int64_t>(source.height) + offset;
  const bool isInside = trailing >= 0 && trailing < destination.height;
  LeaveCursor(source, source.height - 1);
  LeaveCursor(destination, isInside ? trailing : destination.height - 1);
}
