#include "transforms/rotate_memory.h"

#include <cmath>

#include "pixels/whole_pictures.h"
#include "transforms/floating_point_scope.h"
#include "transforms/rotation_angle.h"

using namespace velpicture;

namespace {

/// Bytes of width x height pixels. Unsigned, so that sizes no picture has wrap instead of being
/// undefined.
uint64_t PictureBytes(int64_t width, int64_t height) {
  return static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 4;
}

int64_t Truncated(double size) { return static_cast<int64_t>(size); }

uint64_t Estimate(int64_t sourceWidth, int64_t sourceHeight, const AngleReduction& reduction) {
  const uint64_t sourceBytes = PictureBytes(sourceWidth, sourceHeight);
  if (reduction.isExact) return sourceBytes;

  const bool sidesSwapped = reduction.quarterTurns % 2 != 0;
  const int64_t width = sidesSwapped ? sourceHeight : sourceWidth;
  const int64_t height = sidesSwapped ? sourceWidth : sourceHeight;
  const ShearFactors factors = FactorsOf(reduction.angleDegrees);
  const double sine = std::fabs(factors.sine);
  const double cosine = factors.cosine;

  const auto h = static_cast<double>(height);
  const int64_t width1 = width + Truncated(h * std::fabs(factors.halfTangent));
  const auto w1 = static_cast<double>(width1);
  const int64_t height2 = Truncated(h * cosine + w1 * sine) + 1;
  const auto h2 = static_cast<double>(height2);
  const int64_t width3 = Truncated(w1 * sine + h2 * cosine) + 1;
  const int64_t height3 = Truncated(w1 * cosine + h2 * sine) + 1;

  const uint64_t turnedBytes = reduction.quarterTurns != 0 ? sourceBytes : 0;
  return turnedBytes + PictureBytes(width1, height) + PictureBytes(width1, height2) +
         PictureBytes(width3, height3);
}

}  // namespace

long long rbRotateMemory(REALpictureStruct* picture, double angle) {
  AngleReduction reduction;
  if (!ReduceAngle(angle, reduction)) return 0;
  const int width = GetPictureWidth(picture);
  const int height = GetPictureHeight(picture);
  return ComputeInScope([&] { return static_cast<long long>(Estimate(width, height, reduction)); });
}
