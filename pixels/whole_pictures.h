#pragma once

// Whole host pictures: their sizes, new ones, copies, drawing one into another, and the three
// Picture methods that are no more than that. Returned pictures carry one reference for the caller;
// every failure is null, false or 0.

#include "host/export.h"
#include "host/host_types.h"

/// The picture's size in pixels; 0 for null or when the host does not tell.
VEL_EXPORT int GetPictureWidth(REALpictureStruct* picture);
VEL_EXPORT int GetPictureHeight(REALpictureStruct* picture);
/// False also when the host does not tell. Null is handed to it like any picture.
VEL_EXPORT bool PictureHasAlphaChannel(REALpictureStruct* picture);

/// A new picture with alpha channel, one reference for the caller; null below version 2011.04.
VEL_EXPORT REALpictureStruct* NewPictureWithAlphaChannel(int width, int height);

/// A new picture, with alpha channel when `alpha` is set and the host can, else opaque.
VEL_EXPORT REALpictureStruct* NewPicture(int width, int height, signed char alpha);

/// A new opaque 32-bit picture of the same size, or of width x height, with the picture drawn into
/// it unscaled from the top left. It stays blank where the host offers no Graphics for it.
VEL_EXPORT REALpictureStruct* ClonePicture(REALpictureStruct* picture);
VEL_EXPORT REALpictureStruct* ClonePicture(REALpictureStruct* picture, int width, int height);

/// The same, with the picture's mask, where it has one, drawn into the new picture's mask. Without
/// a Graphics both are copied by OwnCopy, where that is possible.
VEL_EXPORT REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture);
VEL_EXPORT REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture, int width,
                                                   int height);

/// The same picture with one more reference.
VEL_EXPORT REALpictureStruct* BitmapPicture(REALpictureStruct* picture);

/// Draws source's rectangle (sx, sy, sw, sh) into `graphics`, which draws into `target`, at
/// (x, y, w, h): by the host's DrawPicture, or else by OwnCopy.
VEL_EXPORT bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* target,
                                    REALpictureStruct* source, long x, long y, long w, long h,
                                    long sx, long sy, long sw, long sh);
/// The same, with the Graphics that the host gives for `target`.
VEL_EXPORT bool GraphicsDrawPicture(REALpictureStruct* target, REALpictureStruct* source, long x,
                                    long y, long w, long h, long sx, long sy, long sw, long sh);

/// Copies the pixels of a console picture into another of the same size; false for anything else.
/// The rectangles must be unscaled and start at the origin; the whole picture is copied. Once the
/// source was locked, the target's cache is cleared, copied or not.
VEL_EXPORT bool OwnCopy(REALpictureStruct* target, REALpictureStruct* source, long x, long y,
                        long w, long h, long sx, long sy, long sw, long sh);

// The Picture methods.

/// "CloneVel as picture"
VEL_EXPORT REALpictureStruct* rbClonePicture(REALpictureStruct* picture);
/// "CloneVel(width as integer, height as integer) as picture"
VEL_EXPORT REALpictureStruct* rbClonePicture2(REALpictureStruct* picture, long width, long height);
/// "BitmapVel as picture"
VEL_EXPORT REALpictureStruct* rbBitmapPicture(REALpictureStruct* picture);
