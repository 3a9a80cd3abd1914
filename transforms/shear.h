#pragma once

// Shear lines: every line of a picture, a row or a column, moved along itself by an offset of its
// own. An arbitrary rotation is three of these (A. Paeth, "A Fast Algorithm for General Raster
// Rotation", Graphics Interface 1986).
//
// A line moves by `offset` whole places, towards higher x or y, and `weight` of one place more. The
// pixel written at i + offset is, channel by channel,
//   current − trunc(current · weight − previous · weight),
// current and previous being source pixels i and i − 1, both products formed in double. The
// background stands for the pixels before the first and after the last, so what the line does not
// reach shows the background. Every kernel gives exactly these bytes.
//
// Formats may differ between source and destination: channels are read as GetPixel reads them and
// stored as SetPixel stores them. Lines are found in both pictures at the same index, which lies
// inside both; the two share no memory. Destination lines may be longer or shorter than the
// source's; nothing but their pixels is written, and all of these, the last ones perhaps twice.

#include "host/export.h"
#include "pixels/picture_editor.h"

/// Shears one row, or one column. 0 <= weight <= 1; the background's channels are 0 to 255. The row
/// cursors of both editors end up where reading and writing pixel by pixel would leave them.
VEL_EXPORT void SkewRow(PictureEditor& source, PictureEditor& destination, int line, int offset,
                        double weight, int red, int green, int blue, int alpha);
VEL_EXPORT void SkewColumn(PictureEditor& source, PictureEditor& destination, int line, int offset,
                           double weight, int red, int green, int blue, int alpha);
