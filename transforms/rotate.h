#pragma once

#include "host/export.h"
#include "host/host_types.h"

/// "RotateVel(angle as double, background as color) as picture": the picture turned by `angle`
/// degrees, positive counter-clockwise, on an upright canvas just large enough for it:
/// (floor(H|sin| + W cos) + 1) x (floor(W|sin| + H cos) + 1) pixels. `background` (alpha in bits 24
/// to 31, red, green, blue below) fills what the picture does not cover, and its edges blend into
/// it. Exact multiples of 90 degrees move pixels unchanged and show no background.
///
/// A quarter turn brings the angle to at most 45 degrees either way; three shears do the rest (A.
/// Paeth, "A Fast Algorithm for General Raster Rotation", Graphics Interface 1986). Each
/// intermediate is a host picture, released as soon as the next one stands.
///
/// The result has an alpha channel when the picture has one, and one reference for the caller. Null
/// when the angle is not finite or a picture cannot be had; the source stays as it is.
VEL_EXPORT REALpictureStruct* rbRotate(REALpictureStruct* picture, double angle,
                                       unsigned long background);
