#pragma once

#include "host/export.h"
#include "host/host_types.h"

/// "RotateMemoryVel(angle as double) as Int64": an estimate, in bytes at four bytes a pixel, of the
/// pictures that a rotation by this angle makes. It reads the picture's size and nothing else. The
/// second and third picture are estimated from the first one's width, so the sum is somewhat larger
/// than what the rotation really makes. 0 for an angle that is not finite.
VEL_EXPORT long long rbRotateMemory(REALpictureStruct* picture, double angle);
