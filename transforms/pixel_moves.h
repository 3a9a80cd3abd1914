#pragma once

// Pixel moves: every pixel of one picture goes to another place, in the same picture or in another
// one, and nothing is blended. The mirrors and the quarter turns are made of these.
//
// Origin is the top left pixel, y grows downwards. Rows are found with RowAddress. A target may be
// larger than what is moved into it, which then lies at its top left. Only pixels are read and
// written, padding stays. Exception: rows that move whole. Formats (kPixelConsole, kPixelRgb24,
// kPixelArgb32, kPixelRgb32) may differ between source and target; a pixel is converted as GetPixel
// and SetPixel would, which leave bits that mean nothing as the target's format wants them.

#include <cstdint>

#include "pixels/picture_editor.h"

namespace velpicture {

/// Copies every pixel of `source` to `target`, which is at least as large and shares no memory with
/// it: column x goes to width − 1 − x where `flipColumns`, row y to height − 1 − y where
/// `flipRows`. Rows of one four-byte format in both that keep their columns move whole, byte by
/// byte: as much of them, padding included, as the smaller stride holds.
void MirrorPixels(const PictureEditor& source, PictureEditor& target, bool flipColumns,
                  bool flipRows);

enum class QuarterTurn {
  kCounterClockwise,  ///< (x, y) goes to (y, width − 1 − x)
  kClockwise,         ///< (x, y) goes to (height − 1 − y, x)
};

/// Copies every pixel of `source` to `target`, whose sides are at least the source's swapped and
/// which shares no memory with it.
void TurnPixels(const PictureEditor& source, PictureEditor& target, QuarterTurn turn);

/// Mirrors a picture of a four-byte format left to right where it stands. It has pixels, and words
/// move unchanged, here and below.
void ReverseRowsInPlace(PictureEditor& picture);

/// Mirrors a picture of a four-byte format top to bottom where it stands. Rows change places whole,
/// padding included, word by word and without a buffer.
void FlipRowsInPlace(PictureEditor& picture);

/// Turns a picture of a four-byte format by a half turn where it stands, without a buffer. Padding
/// stays.
void MirrorInPlace(PictureEditor& picture);

}  // namespace velpicture
