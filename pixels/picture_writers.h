#pragma once

// Writers: PictureEditors on fresh pixels that will become a new picture. A writer is opened on a
// new host picture, or, where the host would only give a copy of its pixels, on a zero-filled
// three-byte buffer of our own that the host copies into a picture at the end.
//
// Each opening function clears the editor (except where noted) and returns whether it was opened; a
// failed one holds nothing. An opened writer is rendered once with RenderPictureWriter or given up
// once with FreePictureWriter. Sizes are in pixels. A writer on a host picture has the size that
// the host gave that, whatever was asked for.

#include "pixels/picture_editor.h"

/// An opaque writer of width x height, 1 to 32767 each.
VEL_EXPORT bool NewPictureWriter(PictureEditor& editor, int width, int height);

/// Writes into `picture` itself, covering all of it, when it is at least width x height and can be
/// written to; into an own buffer of width x height when the host would only give a copy of its
/// pixels; else as the opaque writer.
VEL_EXPORT bool NewPictureWriter(PictureEditor& editor, REALpictureStruct* picture, int width,
                                 int height);

/// A writer on a new picture with alpha channel; on hosts from version 2011.04 on. Sides have no
/// upper limit but the host's.
VEL_EXPORT bool NewPictureWriterWithAlphaChannel(PictureEditor& editor, int width, int height);

/// With alpha channel exactly when `like` has one: there is no opaque second attempt.
VEL_EXPORT bool NewPictureWriter(PictureEditor& editor, PictureEditor& like, int width, int height);
/// The same, of the size of `like`.
VEL_EXPORT bool NewPictureWriter(PictureEditor& editor, PictureEditor& like);

/// With alpha channel when `alpha` is set and the host can, else opaque.
VEL_EXPORT bool NewPictureWriter(PictureEditor& editor, int width, int height, signed char alpha);

/// Makes the editor an own-buffer writer; fields that do not describe the buffer keep their values.
VEL_EXPORT bool NewPictureWriterLinux(PictureEditor& editor, long width, long height);

/// Closes the writer and returns the picture it made, with one reference for the caller, or null.
VEL_EXPORT REALpictureStruct* RenderPictureWriter(PictureEditor& editor);
