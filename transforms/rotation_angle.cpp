#include "transforms/rotation_angle.h"

#include <cmath>

#include "transforms/floating_point_scope.h"

namespace velpicture {
namespace {

double NormalizedAngle(double angleDegrees) {
  const double remainder = std::fmod(angleDegrees, 360.0);
  return remainder < 0.0 ? remainder + 360.0 : remainder;
}

AngleReduction ReduceNormalized(double a) {
  if (a == 0.0) return {0, true, 0.0};
  if (a <= 45.0 || a > 315.0) return {0, false, a};
  if (a <= 135.0) return {1, a == 90.0, a - 90.0};
  if (a <= 225.0) return {2, a == 180.0, a - 180.0};
  return {3, a == 270.0, a - 270.0};
}

}  // namespace

bool ReduceAngle(double angleDegrees, AngleReduction& reduction) {
  return ComputeInScope([&] {
    if (!std::isfinite(angleDegrees)) return false;
    reduction = ReduceNormalized(NormalizedAngle(angleDegrees));
    return true;
  });
}

ShearFactors FactorsOf(double angleDegrees) {
  constexpr double kPi = 3.141592653589793;
  const double radians = angleDegrees * kPi / 180.0;
  ShearFactors factors;
  sincos(radians, &factors.sine, &factors.cosine);
  factors.halfTangent = std::tan(radians * 0.5);
  return factors;
}

}  // namespace velpicture
