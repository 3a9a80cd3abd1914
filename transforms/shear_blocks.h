#pragma once

// Many lines of a shear in one call, by the rule in transforms/shear.h.

#include "pixels/picture_editor.h"

namespace velpicture {

struct ShearLine {
  int offset;     ///< whole places
  double weight;  ///< fraction of a place, 0 to 1
};

/// Lines to hand over at a time: columns are sheared fastest in blocks that are wide and whose
/// offsets change little from one to the next.
constexpr int kShearBlockLines = 1024;

/// Shears `count` neighbouring lines, firstRow or firstColumn taking lines[0].
void SkewRows(const PictureEditor& source, PictureEditor& target, int firstRow,
              const ShearLine* lines, int count, const Rgba& background);
void SkewColumns(const PictureEditor& source, PictureEditor& target, int firstColumn,
                 const ShearLine* lines, int count, const Rgba& background);

}  // namespace velpicture
