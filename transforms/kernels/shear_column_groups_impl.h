#pragma once

// Groups of columns that are blended together. Included inside a variant, see shear_kernels_impl.h.

#include "transforms/kernels/shear_formats_impl.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

constexpr int kBlockPixels = 4;
constexpr int kBlocks = kGroupPixels / kBlockPixels;
constexpr int kBlockBytes = kBlockPixels * 4;
constexpr int kMostSteps = kBlockPixels - 1;

/// Neighbouring columns that are blended together, as they lie in every tile.
struct ColumnGroup {
  int first;
  int size;
  int leastDelay;
  int greatestDelay;
  int blockDelays[kBlocks];            ///< the least of each block of four, by which it is loaded
  int steps[kGroupPixels];             ///< what is left to a column's delay: 0 to 3
  uint16_t multipliers[kGroupPixels];  ///< 0, which leaves the current pixel, where there is none
  bool allExact;

  bool IsWhole() const { return size == kGroupPixels && allExact; }
};

ColumnGroup PlanGroup(const ColumnShear& columns, int first, int size) {
  ColumnGroup group;
  group.first = first;
  group.size = size;
  group.leastDelay = group.greatestDelay = columns.delays[first];
  group.allExact = true;
  for (int j = 0; j < kGroupPixels; ++j) {
    // What is missing from a group repeats its last column.
    const int column = first + (j < size ? j : size - 1);
    const int delay = columns.delays[column];
    group.steps[j] = delay;
    int& blockDelay = group.blockDelays[j / kBlockPixels];
    if (j % kBlockPixels == 0 || delay < blockDelay) blockDelay = delay;
    if (delay < group.leastDelay) group.leastDelay = delay;
    if (delay > group.greatestDelay) group.greatestDelay = delay;
    const bool isExact = columns.multipliers[column] != kNoMultiplier;
    group.multipliers[j] = isExact ? columns.multipliers[column] : 0;
    group.allExact = group.allExact && isExact;
  }
  for (int j = 0; j < kGroupPixels; ++j) group.steps[j] -= group.blockDelays[j / kBlockPixels];
  return group;
}

/// How many columns from `first` on make a group, at most `limit`.
int GroupSize(const ColumnShear& columns, int first, int limit) {
  const int remaining = columns.columnCount - first;
  if (limit > remaining) limit = remaining;
  const int* const delays = columns.delays + first;
  int size = 1;
  while (size < limit) {
    const int64_t step = static_cast<int64_t>(delays[size]) - delays[size - 1];
    if (step < -1 || step > 1) break;
    ++size;
  }
  return size;
}

/// Where lines begin at the same column in all source rows, groups had better do so too: with rows
/// a power of two apart, a line shared by two groups would not last from one to the next.
int FirstGroupLimit(const ColumnShear& columns) {
  const uint8_t* const* const rows = columns.sourceRows + columns.delays[0] + columns.rowCount / 2;
  if (columns.sourceType == kRgb24 || rows[0] == nullptr || rows[-1] == nullptr) {
    return kGroupPixels;
  }
  const int bytes = BytesToLine(rows[0]);
  return (rows[0] - rows[-1]) % kLineBytes == 0 && bytes >= 4 ? bytes / 4 : kGroupPixels;
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
