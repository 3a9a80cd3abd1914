#pragma once

// What an angle means: its reduction to quarter turns and a remainder, and the factors of the three
// shears. Shared by the rotation and its memory estimate, so that both decide alike.
//
// Angles are in degrees, positive counter-clockwise on the screen.

namespace velpicture {

struct AngleReduction {
  int quarterTurns;     ///< 0 to 3, counter-clockwise
  bool isExact;         ///< the quarter turns are the whole angle
  double angleDegrees;  ///< what is left for the shears: (-45, 45], or (315, 360] without a turn
};

/// Splits an angle; false, with nothing told, for one that is not finite. It is brought to [0, 360]
/// first, 360 itself coming from negative angles too small to change it; at once for every double,
/// since the remainder is exact: what repeated subtraction would give below 2^56, from where on
/// that rounds. Comparisons are exact; 45, 135, 225 and 315 are sheared by 45.
bool ReduceAngle(double angleDegrees, AngleReduction& reduction);

/// The factors of a rotation by three shears: by the tangent of half the angle along the rows, by
/// the sine along the columns, by the tangent again (A. Paeth, "A Fast Algorithm for General Raster
/// Rotation", Graphics Interface 1986).
struct ShearFactors {
  double sine;
  double cosine;
  double halfTangent;
};

ShearFactors FactorsOf(double angleDegrees);

}  // namespace velpicture
