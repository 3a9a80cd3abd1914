#pragma once

// The six mirroring methods of Picture. H mirrors left to right (column x to width - 1 - x), V top
// to bottom (row y to height - 1 - y), the plain name both, which is half a turn.

#include "host/export.h"
#include "host/host_types.h"

// In place: whole 32-bit pixels move, so alpha travels unchanged. False, with the picture
// unchanged, when its own pixels cannot be reached. No memory is needed.

/// True with the picture unchanged when it has no pixels, or when the bytes of a console picture's
/// rows are a negative 32-bit number.
VEL_EXPORT bool MirrorPictureVel(REALpictureStruct* picture);
VEL_EXPORT bool HMirrorPictureVel(REALpictureStruct* picture);
/// Rows change places whole: what lies between a row's pixels and its stride moves along. False
/// where a row's bytes are negative.
VEL_EXPORT bool VMirrorPictureVel(REALpictureStruct* picture);

// Into a new picture of the same size, with alpha channel when the source has one; one reference
// for the caller, null on failure. The source stays as it is.

VEL_EXPORT REALpictureStruct* MirrorVel(REALpictureStruct* picture);
VEL_EXPORT REALpictureStruct* HMirrorVel(REALpictureStruct* picture);
/// Rows of the same four-byte format move whole, with as much behind their pixels as both strides
/// hold.
VEL_EXPORT REALpictureStruct* VMirrorVel(REALpictureStruct* picture);
