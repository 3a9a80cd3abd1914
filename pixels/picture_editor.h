#pragma once

// PictureEditor: one locked pixel buffer of a host picture, or one buffer of our own that will
// become a picture, with its geometry, format and rows. It is a plain value that lives for the
// length of one host method: cleared, opened by the reader or a writer, used, and closed (or
// rendered) exactly once. A record that failed to open holds nothing to release.
//
// Origin is the top left pixel, y grows downwards. Rows are always found with RowAddress: a console
// picture's rows may lie anywhere.

#include <cstddef>
#include <cstdint>

#include "host/export.h"
#include "host/host_types.h"
#include "pixels/pixel_types.h"

struct PictureEditor {
  int32_t rowBytes;            ///< stride: bytes from one row's first byte to the next row's
  int32_t width;               ///< pixels
  int32_t height;              ///< rows
  int32_t bytesPerPixel;       ///< 4, or 3 for kPixelRgb24
  uint32_t pixelType;          ///< the format, a PixelType
  uint8_t* baseAddress;        ///< first byte of the row on which the row cursor stands
  uint8_t* pixels;             ///< first byte of row 0
  uint8_t* ownedBuffer;        ///< pixels allocated by the 24-bit writer; null otherwise
  REALpictureStruct* picture;  ///< locked, with one reference; null for an own-buffer writer
  REALpictureDescription description;
  void* pixbuf;        ///< our copy of a GDK drawable, with one reference; null otherwise
  uint8_t** rowTable;  ///< kPixelConsole only: one row address per row; null otherwise
  int32_t accessX;     ///< column of the row cursor, always 0
  int32_t accessY;     ///< row of the row cursor
  bool hasAlpha;       ///< the picture's HasAlphaChannel property was read and is true
  bool allowCopy;      ///< the picture may be read through a temporary copy
  bool writable;       ///< the pixels will change: closing clears the picture's cache
  bool unreferenced;   ///< the host let nobody add the reference on `picture`
};
static_assert(IsHostLayout(offsetof(PictureEditor, description), 36), "");
static_assert(IsHostLayout(offsetof(PictureEditor, pixbuf), 36 + sizeof(REALpictureDescription)),
              "");

/// Entries of the format tables for the editor's format: bytes per pixel, and the byte offset of
/// a channel inside a pixel. 0 for a code outside 0 to 16.
VEL_EXPORT int GetBytesPerPixel(PictureEditor& editor);
VEL_EXPORT int GetRedOffset(PictureEditor& editor);
VEL_EXPORT int GetGreenOffset(PictureEditor& editor);
VEL_EXPORT int GetBlueOffset(PictureEditor& editor);

/// First byte of row y; row 0 for y at or beyond the height. Negative y is the caller's mistake.
VEL_EXPORT inline uint8_t* RowAddress(const PictureEditor& editor, int y) {
  if (y >= editor.height) return editor.pixels;
  if (editor.pixelType == kPixelConsole) return editor.rowTable[y];
  return editor.pixels + static_cast<ptrdiff_t>(y) * editor.rowBytes;
}

// One pixel, 0 <= x < width, in the row that RowAddress gives for y. Both move the row cursor to
// (0, y), except for its baseAddress.

/// The pixel's channels; transparent black for a format that no storage uses.
VEL_EXPORT velpicture::Rgba GetPixel(PictureEditor& editor, int x, int y);

/// Stores channels of 0 to 255 as the format keeps them; nothing in a format that no storage uses.
VEL_EXPORT void SetPixel(PictureEditor& editor, int x, int y, int red, int green, int blue,
                         int alpha);

/// Steps the row cursor one row down; past the last row its address is row 0 again.
VEL_EXPORT void NextRow(PictureEditor& editor);

/// Three names for one operation, which gives back what an editor holds: the pixbuf, the lock on
/// the description (clearing the picture's cache where it was writable), the reference. Closing
/// twice is harmless.
VEL_EXPORT void ClosePictureReader(PictureEditor& editor);
VEL_EXPORT void ClosePictureEditor(PictureEditor& editor);
/// Also frees the own buffer of a writer that is given up.
VEL_EXPORT void FreePictureWriter(PictureEditor& editor);
