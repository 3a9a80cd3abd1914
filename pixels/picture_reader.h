#pragma once

// Opening a PictureEditor on an existing picture. The storages are tried in a fixed order: a Cairo
// surface, a copy of a GDK drawable, a console pixel block, a temporary copy of the picture; the
// kind of application narrows it down and is remembered once it is known.
//
// Each function clears the editor first and returns whether it was opened. An opened editor holds
// one lock on the picture's description, one reference on the picture and, for kPixelRgb24, one
// pixbuf; all are given back by closing it. A failed one holds nothing.

#include "pixels/picture_editor.h"

/// Opens `picture`. With `allowCopy`, an opaque picture whose storage cannot be locked is, in all
/// but console applications, read through a temporary 32-bit copy, which lives until the editor is
/// closed; a copy is never copied again. `writable` rules the copy out and makes closing clear the
/// picture's cache.
VEL_EXPORT bool GetPictureReader(PictureEditor& editor, REALpictureStruct* picture,
                                 signed char allowCopy, signed char writable);

/// For reading: a temporary copy is welcome.
VEL_EXPORT bool GetPictureReader(PictureEditor& editor, REALpictureStruct* picture);

/// For changing the picture in place. Refuses a picture whose pixels could only be copied out.
VEL_EXPORT bool GetPictureEditor(PictureEditor& editor, REALpictureStruct* picture);
