#include "transforms/rotation_angle.h"

#include <cmath>
#include <limits>

namespace velpicture {

double NormalizedAngle(double angleDegrees) {
  if (!std::isfinite(angleDegrees)) return std::numeric_limits<double>::quiet_NaN();
  const double remainder = std::fmod(angleDegrees, 360.0);
  return remainder < 0.0 ? remainder + 360.0 : remainder;
}

AngleReduction ReduceAngle(double normalizedDegrees) {
  const double a = normalizedDegrees;
  if (a == 0.0) return {0, true, 0.0};
  if (a <= 45.0 || a > 315.0) return {0, false, a};
  if (a <= 135.0) return {1, a == 90.0, a - 90.0};
  if (a <= 225.0) return {2, a == 180.0, a - 180.0};
  return {3, a == 270.0, a - 270.0};
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
