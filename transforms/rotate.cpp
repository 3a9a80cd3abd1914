#include "transforms/rotate.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "host/host_references.h"
#include "pixels/pixel_formats.h"
#include "pixels/whole_pictures.h"
#include "transforms/floating_point_scope.h"
#include "transforms/make_picture.h"
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
  return {static_cast<int>(whole), offset - whole, 0};
}

/// The first pass: row y moves by (y - origin + 0.5) * tangent, computed afresh for each row.
void ShearRowsAround(double origin, double tangent, const PictureEditor& source,
                     PictureEditor& target, const Rgba& background) {
  ShearLine lines[kShearBlockLines];
  for (int first = 0; first < source.height; first += kShearBlockLines) {
    const int count = std::min(kShearBlockLines, source.height - first);
    for (int i = 0; i < count; ++i) lines[i] = SplitOffset((first + i - origin + 0.5) * tangent);
    SkewRows(source, target, first, lines, count, background);
  }
}

/// The other passes: line 0 moves by `offset`, every line by `step` more than the one before. The
/// offset is carried from line to line: recomputing it would round differently.
void ShearLinesFrom(double offset, double step, int lineCount, decltype(SkewRows)& skew,
                    const PictureEditor& source, PictureEditor& target, const Rgba& background) {
  ShearLine lines[kShearBlockLines];
  for (int first = 0; first < lineCount; first += kShearBlockLines) {
    const int count = std::min(kShearBlockLines, lineCount - first);
    for (int i = 0; i < count; ++i) {
      lines[i] = SplitOffset(offset);
      offset += step;
    }
    skew(source, target, first, lines, count, background);
  }
}

/// MakePicture(model, width, height, fill), fill computing apart from what the host is called for.
template <class Fill>
REALpictureStruct* MakeSheared(PictureEditor& model, int width, int height, Fill fill) {
  return MakePicture(model, width, height,
                     [&](PictureEditor& target) { ComputeInScope([&] { fill(target); }); });
}

/// The three shears of one picture: sizes and offsets, decided from its size and the angle. Each
/// makes a new picture of its source, with alpha like the one picture, or null.
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

  /// The picture's rows by the half tangent.
  REALpictureStruct* ShearRows() {
    return MakeSheared(picture_, firstWidth_, picture_.height, [&](PictureEditor& target) {
      const double t = factors_.halfTangent;
      ShearRowsAround(t >= 0.0 ? 0.0 : height_, t, picture_, target, background_);
    });
  }

  /// The columns of what ShearRows made, by the sine.
  REALpictureStruct* ShearColumns(const PictureEditor& source) {
    return MakeSheared(picture_, source.width, finalHeight_, [&](PictureEditor& target) {
      const double sine = factors_.sine;
      const double offset = sine > 0.0 ? (width_ - 1.0) * sine : -sine * (width_ - source.width);
      ShearLinesFrom(offset, -sine, source.width, SkewColumns, source, target, background_);
    });
  }

  /// The rows of what ShearColumns made, by the half tangent again.
  REALpictureStruct* ShearRowsBack(const PictureEditor& source) {
    return MakeSheared(picture_, finalWidth_, finalHeight_, [&](PictureEditor& target) {
      const double sine = factors_.sine;
      const double t = factors_.halfTangent;
      const double offset = sine >= 0.0 ? (width_ - 1.0) * sine * -t
                                        : ((1.0 - finalHeight_) - (width_ - 1.0) * sine) * t;
      const int rowCount = std::min(source.height, finalHeight_);
      ShearLinesFrom(offset, t, rowCount, SkewRows, source, target, background_);
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

/// MakeFrom(picture, make), which also takes over the caller's reference on the picture.
template <class Make>
REALpictureStruct* MakeFromOwned(PictureReference& picture, Make make) {
  PictureReference result(MakeFrom(picture.get(), make));
  picture.Reset();
  return result.Release();
}

/// What turns a picture by so many quarters.
constexpr REALpictureStruct* (*kQuarterTurn[])(REALpictureStruct*) = {ClonePicture, rbRotate90,
                                                                      rbRotate180, rbRotate270};

/// Takes over the reference on the picture.
REALpictureStruct* ShearRotated(PictureReference& picture, double angleDegrees, Rgba background) {
  return MakeFromOwned(picture, [&](PictureEditor& upright) -> REALpictureStruct* {
    ThreeShears shears =
        ComputeInScope([&] { return ThreeShears(upright, angleDegrees, background); });
    PictureReference first(shears.ShearRows());
    if (!first) return nullptr;
    PictureReference second(
        MakeFromOwned(first, [&](PictureEditor& source) { return shears.ShearColumns(source); }));
    if (!second) return nullptr;
    return MakeFromOwned(second,
                         [&](PictureEditor& source) { return shears.ShearRowsBack(source); });
  });
}

}  // namespace

REALpictureStruct* rbRotate(REALpictureStruct* picture, double angle, unsigned long background) {
  AngleReduction reduction;
  if (!ReduceAngle(angle, reduction)) return nullptr;
  const auto turn = kQuarterTurn[reduction.quarterTurns];
  if (reduction.isExact) return turn(picture);
  if (picture == nullptr) return nullptr;
  PictureReference working = reduction.quarterTurns == 0 ? PictureReference::Retained(picture)
                                                         : PictureReference(turn(picture));
  if (!working) return nullptr;
  const Rgba color = UnpackColor(background, static_cast<int>(background >> 24));
  return ShearRotated(working, reduction.angleDegrees, color);
}
