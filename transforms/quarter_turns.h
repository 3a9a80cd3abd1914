#pragma once

// The quarter-turn methods of Picture. Angles count counter-clockwise on the screen (x to the
// right, y downwards). Each moves every pixel once into a new picture, with alpha channel when the
// source has one, and returns it with one reference for the caller, or null. W and H are the
// source's size.

#include "host/export.h"
#include "host/host_types.h"

/// H x W; pixel (x, y) goes to (y, W - 1 - x).
VEL_EXPORT REALpictureStruct* rbRotate90(REALpictureStruct* picture);
/// W x H; pixel (x, y) goes to (W - 1 - x, H - 1 - y).
VEL_EXPORT REALpictureStruct* rbRotate180(REALpictureStruct* picture);
/// H x W; pixel (x, y) goes to (H - 1 - y, x).
VEL_EXPORT REALpictureStruct* rbRotate270(REALpictureStruct* picture);
