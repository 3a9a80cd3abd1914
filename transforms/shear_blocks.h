#pragma once

// Many lines of a shear in one call, by the rule in transforms/shear.h.

#include "pixels/picture_editor.h"
#include "transforms/kernels/kernels.h"

namespace velpicture {

/// Lines to hand over at a time: columns are sheared fastest in blocks that are wide and whose
/// offsets change little from one to the next.
constexpr int kShearBlockLines = 1024;

/// Shears `count` neighbouring lines, firstRow or firstColumn taking lines[0]. These get their
/// multipliers on the way, and offsets of the same effect.
void SkewRows(const PictureEditor& source, PictureEditor& target, int firstRow, ShearLine* lines,
              int count, const Rgba& background);
void SkewColumns(const PictureEditor& source, PictureEditor& target, int firstColumn,
                 ShearLine* lines, int count, const Rgba& background);

}  // namespace velpicture
