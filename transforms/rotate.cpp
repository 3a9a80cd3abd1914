#include "transforms/rotate.h"

#include <climits>
#include <cmath>

#include "host/host_references.h"
#include "pixels/picture_helpers.h"
#include "pixels/pixel_formats.h"
#include "transforms/floating_point_scope.h"
#include "transforms/picture_scopes.h"
#include "transforms/quarter_turns.h"
#include "transforms/rotation_angle.h"
#include "transforms/shear_blocks.h"

using namespace velpicture;

namespace {

/// A side length from a real one, truncated, plus `extra`; 0, which every writer refuses, when it
/// is no int.
int SideLength(double length, int extra) {
  const double pixels = std::trunc(length) + extra;
  return pixels >= 0.0 && pixels <= INT_MAX ? static_cast<int>(pixels) : 0;
}

ShearLine SplitOffset(double offset) {
  const double whole = std::floor(offset);
  return {static_cast<int>(whole), offset - whole};
}

/// Calls skew(first line, lines, count) for blocks of lines, whose real offsets come from
/// nextOffset(line) in order.
template <class NextOffset, class Skew>
void ShearLines(int lineCount, NextOffset nextOffset, Skew skew) {
  ShearLine lines[kShearBlockLines];
  for (int first = 0; first < lineCount; first += kShearBlockLines) {
    const int remaining = lineCount - first;
    const int count = remaining < kShearBlockLines ? remaining : kShearBlockLines;
    for (int i = 0; i < count; ++i) lines[i] = SplitOffset(nextOffset(first + i));
    skew(first, lines, count);
  }
}

/// MakeFrom(picture, make), which also takes over the caller's reference on the picture.
template <class Make>
REALpictureStruct* MakeFromTaken(PictureReference& taken, Make make) {
  PictureReference result(MakeFrom(taken.get(), make));
  taken.Reset();
  return result.Release();
}

/// MakePicture(model, width, height, fill), fill computing apart from what the host is called for.
template <class Fill>
REALpictureStruct* MakeSheared(PictureEditor& model, int width, int height, Fill fill) {
  return MakePicture(model, width, height,
                     [&](PictureEditor& target) { ComputeInScope([&] { fill(target); }); });
}

/// The three shears of one picture: sizes and offsets, decided once from its size and the angle.
/// Offsets are carried from line to line where the recurrence is given, since recomputing them
/// would round differently.
class ThreeShears {
 public:
  ThreeShears(PictureEditor& picture, double angleDegrees, Rgba background)
      : picture_(picture),
        background_(background),
        width_(picture.width),
        height_(picture.height),
        factors_(FactorsOf(angleDegrees)),
        firstWidth_(SideLength(width_ + std::trunc(height_ * std::fabs(factors_.halfTangent)), 0)),
        finalWidth_(SideLength(height_ * std::fabs(factors_.sine) + width_ * factors_.cosine, 1)),
        finalHeight_(SideLength(width_ * std::fabs(factors_.sine) + height_ * factors_.cosine, 1)) {
  }

  /// The rows sheared by the half tangent.
  REALpictureStruct* ShearRows() {
    const double t = factors_.halfTangent;
    return MakeSheared(picture_, firstWidth_, picture_.height, [&](PictureEditor& target) {
      const double origin = t >= 0.0 ? 0.0 : height_;
      ShearLines(
          picture_.height, [&](int row) { return (row - origin + 0.5) * t; },
          [&](int first, const ShearLine* lines, int count) {
            SkewRows(picture_, target, first, lines, count, background_);
          });
    });
  }

  /// The columns of `sheared` sheared by the sine. Takes over the reference.
  REALpictureStruct* ShearColumns(PictureReference& sheared) {
    return MakeFromTaken(sheared, [&](PictureEditor& pixels) {
      return MakeSheared(picture_, pixels.width, finalHeight_, [&](PictureEditor& target) {
        const double sine = factors_.sine;
        double offset = sine > 0.0 ? (width_ - 1.0) * sine : -sine * (width_ - pixels.width);
        ShearLines(
            pixels.width,
            [&](int) {
              const double current = offset;
              offset -= sine;
              return current;
            },
            [&](int first, const ShearLine* lines, int count) {
              SkewColumns(pixels, target, first, lines, count, background_);
            });
      });
    });
  }

  /// The rows of `sheared` sheared by the half tangent again. Takes over the reference.
  REALpictureStruct* ShearRowsBack(PictureReference& sheared) {
    return MakeFromTaken(sheared, [&](PictureEditor& pixels) {
      return MakeSheared(picture_, finalWidth_, finalHeight_, [&](PictureEditor& target) {
        const double sine = factors_.sine;
        const double t = factors_.halfTangent;
        double offset = sine >= 0.0 ? (width_ - 1.0) * sine * -t
                                    : ((1.0 - finalHeight_) - (width_ - 1.0) * sine) * t;
        const int rowCount = pixels.height < finalHeight_ ? pixels.height : finalHeight_;
        ShearLines(
            rowCount,
            [&](int) {
              const double current = offset;
              offset += t;
              return current;
            },
            [&](int first, const ShearLine* lines, int count) {
              SkewRows(pixels, target, first, lines, count, background_);
            });
      });
    });
  }

 private:
  PictureEditor& picture_;
  Rgba background_;
  double width_;
  double height_;
  ShearFactors factors_;
  int firstWidth_;
  int finalWidth_;
  int finalHeight_;
};

REALpictureStruct* QuarterTurned(REALpictureStruct* picture, int quarterTurns) {
  switch (quarterTurns) {
    case 1:
      return rbRotate90(picture);
    case 2:
      return rbRotate180(picture);
    default:
      return rbRotate270(picture);
  }
}

/// Takes over the reference on the picture.
REALpictureStruct* ShearRotated(PictureReference& picture, double angleDegrees, Rgba background) {
  return MakeFromTaken(picture, [&](PictureEditor& source) -> REALpictureStruct* {
    ThreeShears shears =
        ComputeInScope([&] { return ThreeShears(source, angleDegrees, background); });
    PictureReference first(shears.ShearRows());
    if (!first) return nullptr;
    PictureReference second(shears.ShearColumns(first));
    if (!second) return nullptr;
    return shears.ShearRowsBack(second);
  });
}

}  // namespace

REALpictureStruct* rbRotate(REALpictureStruct* picture, double angle, unsigned long background) {
  AngleReduction reduction;
  if (!ReduceAngle(angle, reduction)) return nullptr;
  if (reduction.isExact) {
    return reduction.quarterTurns == 0 ? ClonePicture(picture)
                                       : QuarterTurned(picture, reduction.quarterTurns);
  }
  if (picture == nullptr) return nullptr;
  PictureReference working = reduction.quarterTurns == 0
                                 ? PictureReference::Retained(picture)
                                 : PictureReference(QuarterTurned(picture, reduction.quarterTurns));
  if (!working) return nullptr;
  const Rgba color = UnpackColor(background, static_cast<int>(background >> 24));
  return ShearRotated(working, reduction.angleDegrees, color);
}
