#pragma once

#include "host/export.h"
#include "host/host_types.h"

/// "RotateVel(angle as double, background as color) as picture": the picture turned by `angle`
/// degrees, positive counter-clockwise.
///
/// Quarter turns bring the angle to at most 45 degrees either way; three shears do the rest (A.
/// Paeth, "A Fast Algorithm for General Raster Rotation", Graphics Interface 1986), on an upright
/// canvas just large enough for it: (floor(H|sin| + W cos) + 1) x (floor(W|sin| + H cos) + 1)
/// pixels, of the sides and the angle that the turns leave. `background` (alpha in bits 24 to 31,
/// red, green, blue below) fills what the picture does not cover, and its edges blend into it. Each
/// intermediate is a host picture, released as soon as the next one stands; that of the quarter
/// turns stays until the end. The result has an alpha channel when the picture has one.
///
/// Exact multiples of 90 degrees show no background: a quarter, half or three-quarter turn is
/// rbRotate90, rbRotate180 or rbRotate270. A whole number of full turns, 0 included, is
/// ClonePicture: an opaque picture that the host draws, and blank where it offers no Graphics.
///
/// One reference for the caller; null when the angle is not finite or a picture cannot be had. The
/// source stays as it is.
VEL_EXPORT REALpictureStruct* rbRotate(REALpictureStruct* picture, double angle,
                                       unsigned long background);
