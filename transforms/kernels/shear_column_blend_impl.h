#pragma once

// The blends of a group of columns, a vector's width of columns at a time, down a tile of rows.
// Included inside a variant, see shear_kernels_impl.h.
//
// Four neighbouring pixels of one source row are a block. A vector of blocks, each from the row
// that its delay names, holds most pixels where they are needed; a lane that is some steps behind
// its block takes its pixel from the vector as many rows further down. So only one new vector is
// loaded for each row of blends, and the few before it stay in registers.

#include "transforms/kernels/shear_column_groups_impl.h"
#include "transforms/kernels/shear_formats_impl.h"

namespace velpicture::VEL_VARIANT {
namespace {

/// Blocks as they lie in a window of lines, one for each row.
struct WindowRows {
  const uint8_t* window;

  auto Row(int i) const { return Vector::Load(window + i * kLineBytes); }
};

/// Blocks straight from the source's rows. Meanwhile one line of each row of the group that comes
/// next is asked for, where kAhead says so.
template <class Source, bool kAhead>
struct DirectRows {
  static constexpr int kVectorBlocks = Vector::kBytes / kBlockBytes;

  typename Vector::Type set;
  const uint8_t* const* blockRows[kVectorBlocks];
  intptr_t bytes;
  const uint8_t* const* nextRows;
  intptr_t nextBytes;

  auto Row(int i) const {
    if constexpr (kAhead) PrefetchNext(i);
    const auto blocks =
        Vector::LoadBlocks([&](int b) { return blockRows[b][i] + bytes + b * kBlockBytes; });
    return Vector::Or(Source::Widened(blocks), set);
  }
  void PrefetchNext(int i) const {
    Prefetch(reinterpret_cast<const void*>(reinterpret_cast<intptr_t>(nextRows[i]) + nextBytes));
  }
};

/// Where blends go: `offset` bytes into the rows.
struct ColumnTarget {
  uint8_t* const* rows;
  intptr_t offset;
};

/// Of each lane, the pixel of the row that its steps name: flags[i] are the lanes of i steps.
template <int kSteps>
auto Merge(const typename Vector::Type* rows, const typename Vector::Flags* flags) {
  if constexpr (kSteps == 0) {
    return rows[0];
  } else {
    return Vector::Select(flags[kSteps], rows[kSteps], Merge<kSteps - 1>(rows, flags));
  }
}

template <int kSteps, bool kNarrow, class Rows>
void BlendRows(const Rows& rows, const typename Vector::Flags* flags,
               const typename Vector::Weights& weights, ColumnTarget target, int rowCount) {
  typename Vector::Type held[kSteps + 1];
  for (int i = 0; i <= kSteps; ++i) held[i] = rows.Row(i);
  auto previous = Merge<kSteps>(held, flags);
  for (int t = 0; t < rowCount; ++t) {
    for (int i = 0; i < kSteps; ++i) held[i] = held[i + 1];
    held[kSteps] = rows.Row(t + 1 + kSteps);
    const auto current = Merge<kSteps>(held, flags);
    auto blended = Vector::Blend(current, previous, weights);
    if constexpr (kNarrow) blended = Vector::NarrowAlpha(blended);
    uint8_t* const to = target.rows[t] + target.offset;
    Vector::Store(to, blended);
    // The next group will write here.
    Prefetch(to + 2 * kLineBytes - 1);
    previous = current;
  }
}

/// A vector's width of columns; `steps` and `multipliers` are theirs.
template <bool kNarrow, class Rows>
void BlendColumns(const Rows& rows, const int* steps, const uint16_t* multipliers,
                  ColumnTarget target, int rowCount) {
  const auto lanes = Vector::Load(steps);
  typename Vector::Flags flags[kMostSteps + 1];
  int most = 0;
  for (int i = 1; i <= kMostSteps; ++i) {
    flags[i] = Vector::Equal(lanes, Vector::Broadcast(static_cast<uint32_t>(i)));
    if (Vector::IsAny(flags[i])) most = i;
  }
  const auto weights = Vector::WeightsOf(multipliers);
  switch (most) {
    case 0:
      return BlendRows<0, kNarrow>(rows, flags, weights, target, rowCount);
    case 1:
      return BlendRows<1, kNarrow>(rows, flags, weights, target, rowCount);
    case 2:
      return BlendRows<2, kNarrow>(rows, flags, weights, target, rowCount);
    default:
      return BlendRows<3, kNarrow>(rows, flags, weights, target, rowCount);
  }
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
