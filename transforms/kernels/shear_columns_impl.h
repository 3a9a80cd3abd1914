#pragma once

// Columns to shear. Included inside a variant, see kernels_impl.h.
//
// Transposing, shearing rows and transposing back gives the same bytes in 400 lines less, and takes
// 1.4 to 4 times as long.
//
// Down one column every pixel would cost a line of the cache. So neighbouring columns go down
// together, sixteen of them, a group, making a line; and a tile of 64 rows at a time, so that the
// lines are still there when the next group needs what is left of them. The columns of a group lag
// behind each other by 0 or 1:
//
//      source rows     columns 0123 4567 …     lags 1100 2211 …
//            k - 1             aa.. ....       In the tile's first row, columns 0 and 1 blend the
//            k                 AAbb cc..       pixels A with a, columns 2 and 3 B with b, and so
//            k + 1             ..BB CCdd       on: each its source pixel with the one above.
//            k + 2             .... ..DD
//
// A lane, four columns, is loaded from the row that the least of its lags names. A column that lags
// one to three rows more takes its pixel from the vectors that follow; these few stay in registers
// from one row of the tile to the next, and only one new vector is loaded for each.
//
// Pixels come from the source's rows themselves. Where some of these are missing, at the picture's
// edges, and where a group has fewer columns, they come from a window: the rows as words, the
// background standing in. Blends go straight to the target; those of groups with fewer columns and
// of weights without multipliers go to a buffer first.

#include "transforms/kernels/blends_impl.h"
#include "transforms/kernels/pixels_impl.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

constexpr int kTileRows = 64;
constexpr int kGroupColumns = kBlockPixels;
constexpr int kLaneColumns = 4;
constexpr int kGroupLanes = kGroupColumns / kLaneColumns;

/// Neighbouring columns that are blended together, as they lie in every tile. What is missing from
/// a group repeats its last column.
struct ColumnGroup {
  int first;
  int size;
  int leastLag;
  int greatestLag;
  int laneLags[kGroupLanes];            ///< the least lag of each lane
  uint32_t extraLags[kGroupColumns];    ///< how much more a column lags: 0 to kMostExtraLag
  uint16_t multipliers[kGroupColumns];  ///< 0, which leaves pixels alone, in lanes inDoubles
  bool inDoubles[kGroupLanes];          ///< some column of the lane has no multiplier

  int ColumnAt(int i) const { return i < size ? i : size - 1; }
  bool NeedsDoubles() const { return inDoubles[0] || inDoubles[1] || inDoubles[2] || inDoubles[3]; }
};

/// The group of at most `limit` columns from `first` on.
ColumnGroup PlanGroup(const ColumnShear& columns, int first, int limit) {
  const int remaining = columns.columnCount - first;
  ColumnGroup group;
  group.first = first;
  group.size = 1;
  while (group.size < limit && group.size < remaining) {
    const int last = first + group.size - 1;
    const int step = columns.LagOf(last + 1) - columns.LagOf(last);
    if (step < -1 || step > 1) break;
    ++group.size;
  }
  group.leastLag = group.greatestLag = columns.LagOf(first);
  for (int lane = 0; lane < kGroupLanes; ++lane) {
    int lags[kLaneColumns];
    bool inDoubles = false;
    for (int j = 0; j < kLaneColumns; ++j) {
      const int column = first + group.ColumnAt(lane * kLaneColumns + j);
      lags[j] = columns.LagOf(column);
      const uint16_t multiplier = columns.columns[column].multiplier;
      group.multipliers[lane * kLaneColumns + j] = multiplier;
      inDoubles = inDoubles || multiplier == kNoMultiplier;
    }
    int least = lags[0];
    int greatest = lags[0];
    for (const int lag : lags) {
      if (lag < least) least = lag;
      if (lag > greatest) greatest = lag;
    }
    for (int j = 0; j < kLaneColumns; ++j) {
      group.extraLags[lane * kLaneColumns + j] = static_cast<uint32_t>(lags[j] - least);
      if (inDoubles) group.multipliers[lane * kLaneColumns + j] = 0;
    }
    group.laneLags[lane] = least;
    group.inDoubles[lane] = inDoubles;
    if (least < group.leastLag) group.leastLag = least;
    if (greatest > group.greatestLag) group.greatestLag = greatest;
  }
  return group;
}

/// The last byte, in a row, of the pixel in front of column `end`.
template <class Pixels>
inline intptr_t LastByte(int end) {
  return end * Pixels::kBytes - 1;
}

/// A vector's width of columns: the source rows of each lane, and where in these its pixels lie.
template <class Source>
struct LaneRows {
  /// Three-byte pixels are loaded with the four bytes in front of them.
  Words Row(int i) const {
    constexpr int kLaneBytes = kLaneColumns * Source::kBytes;
    constexpr int kSkip = 16 - kLaneBytes;
    const Words pixels = Vector::LoadLanes(
        [&](int lane) { return rows[lane][i] + bytes + lane * kLaneBytes - kSkip; });
    if constexpr (kSkip == 0) return Vector::Or(Source::Widened(pixels), set);
    return Vector::Or(Vector::template WidenRgb<4, 4>(pixels), set);
  }

  const uint8_t* const* rows[kLanes];
  intptr_t bytes;
  Words set;
  /// What the next group will read and write, to be asked for meanwhile: rows, and where in them.
  const uint8_t* const* sourceAhead;
  intptr_t sourceAheadBytes;
  uint8_t* const* targetAhead;
  intptr_t targetAheadBytes;
};

/// Of each column, the pixel in rows[its extra lag]; flags[i] marks the columns that lag i more.
template <int kExtraLag>
inline Words Merge(const Words* rows, const typename Vector::Flags* flags) {
  if constexpr (kExtraLag == 0) {
    return rows[0];
  } else {
    return Vector::Select(flags[kExtraLag], rows[kExtraLag], Merge<kExtraLag - 1>(rows, flags));
  }
}

template <int kExtraLag, class Target, class Source>
void BlendRows(const LaneRows<Source>& rows, const typename Vector::Flags* flags,
               const typename Vector::Weights& weights, uint8_t* const* targetRows,
               intptr_t targetBytes, int rowCount) {
  Words held[kExtraLag + 1];
  for (int i = 0; i <= kExtraLag; ++i) held[i] = rows.Row(i);
  Words previous = Merge<kExtraLag>(held, flags);
  for (int t = 0; t < rowCount; ++t) {
    if (rows.sourceAhead != nullptr) {
      Prefetch(rows.sourceAhead[t], rows.sourceAheadBytes);
      Prefetch(rows.targetAhead[t], rows.targetAheadBytes);
    }
    for (int i = 0; i < kExtraLag; ++i) held[i] = held[i + 1];
    held[kExtraLag] = rows.Row(t + 1 + kExtraLag);
    const Words current = Merge<kExtraLag>(held, flags);
    uint8_t* const to = targetRows[t] + targetBytes;
    StoreVector<Target::kBytes, false>(to,
                                       Target::Narrowed(Vector::Blend(current, previous, weights)));
    previous = current;
  }
}

template <class Target, class Source>
void BlendLanes(const LaneRows<Source>& rows, const ColumnGroup& group, int column,
                uint8_t* const* targetRows, intptr_t targetBytes, int rowCount) {
  const Words extraLags = Vector::Load(group.extraLags + column);
  typename Vector::Flags flags[kMostExtraLag + 1];
  uint32_t most = 0;
  for (uint32_t i = 1; i <= kMostExtraLag; ++i) {
    flags[i] = Vector::Equal(extraLags, Vector::Broadcast(i));
    if (Vector::IsAny(flags[i])) most = i;
  }
  const auto weights = Vector::WeightsOf(group.multipliers + column);
  switch (most) {
    case 0:
      return BlendRows<0, Target>(rows, flags, weights, targetRows, targetBytes, rowCount);
    case 1:
      return BlendRows<1, Target>(rows, flags, weights, targetRows, targetBytes, rowCount);
    case 2:
      return BlendRows<2, Target>(rows, flags, weights, targetRows, targetBytes, rowCount);
    default:
      return BlendRows<3, Target>(rows, flags, weights, targetRows, targetBytes, rowCount);
  }
}

/// A run of groups, a tile of rows at a time.
template <class Source, class Target>
class ColumnTile {
 public:
  explicit ColumnTile(const ColumnShear& columns)
      : columns_(columns), set_(SetBits(columns.formats)) {
    for (int i = 0; i < kWindowRows; ++i) windowRows_[i] = window_[i];
    for (int t = 0; t < kTileRows; ++t) blendRows_[t] = blends_[t];
  }

  void Shear(const ColumnGroup* groups, int groupCount, int firstRow, int rowCount) {
    firstRow_ = firstRow;
    rowCount_ = rowCount;
    for (int i = 0; i < groupCount; ++i) {
      const int first = i;
      while (i < groupCount && IsBackground(groups[i])) ++i;
      if (i > first) FillColumns(groups[first].first, groups[i - 1].first + groups[i - 1].size);
      if (i < groupCount) ShearGroup(groups[i], groups[i + 1 < groupCount ? i + 1 : i]);
    }
  }

 private:
  static constexpr int kWindowRows = kTileRows + kGroupColumns + kMostExtraLag;

  uint8_t* TargetPixel(int t, int column) const {
    return columns_.targetRows[firstRow_ + t] + column * Target::kBytes;
  }

  // A group's source rows: the row above its first pixels, and one behind its last.
  int BeginRow(const ColumnGroup& group) const { return firstRow_ + group.leastLag - 1; }
  int EndRow(const ColumnGroup& group) const { return firstRow_ + rowCount_ + group.greatestLag; }

  bool IsBackground(const ColumnGroup& group) const {
    return EndRow(group) <= columns_.sourceRowsBegin || BeginRow(group) >= columns_.sourceRowsEnd;
  }

  void FillColumns(int first, int end) const {
    for (int t = 0; t < rowCount_; ++t) {
      FillPixels<Target>(TargetPixel(t, first), end - first, columns_.background);
    }
  }

  void ShearGroup(const ColumnGroup& group, const ColumnGroup& next) {
    const bool isWhole = group.size == kGroupColumns;
    // A lane may name a few more rows than its columns do.
    const bool isInside = BeginRow(group) >= columns_.sourceRowsBegin &&
                          EndRow(group) + kMostExtraLag <= columns_.sourceRowsEnd;
    const int end = next.first + next.size;
    const uint8_t* const* const nextRows = columns_.sourceRows + BeginRow(next);
    const intptr_t nextBytes = LastByte<Source>(end);
    const auto rowsOf = [&](auto source, intptr_t bytes, uint32_t set) {
      return LaneRows<decltype(source)>{{},
                                        bytes,
                                        Vector::Broadcast(set),
                                        nextRows,
                                        nextBytes,
                                        columns_.targetRows + firstRow_,
                                        LastByte<Target>(end)};
    };
    // Four bytes in front of three-byte pixels are loaded, too.
    if (isWhole && isInside && (Source::kBytes == 4 || group.first > 1)) {
      BlendGroup(group, columns_.sourceRows + BeginRow(group),
                 rowsOf(Source{}, group.first * Source::kBytes, set_));
    } else {
      LoadWindow(group);
      BlendGroup(group, windowRows_, rowsOf(WordPixels{}, 0, 0));
    }
    // Each row written has asked for one source row of the next group, which needs some more.
    for (int i = rowCount_; i < EndRow(next) - BeginRow(next); ++i) {
      Prefetch(nextRows[i], nextBytes);
    }
  }

  void LoadWindow(const ColumnGroup& group) {
    const int begin = BeginRow(group);
    const int rowCount = EndRow(group) - begin;
    for (int i = 0; i < rowCount; ++i) {
      const int row = begin + i;
      if (row >= columns_.sourceRowsBegin && row < columns_.sourceRowsEnd) {
        ConvertPixels<Source, WordPixels>(window_[i],
                                          columns_.sourceRows[row] + group.first * Source::kBytes,
                                          group.size, columns_.formats);
      } else {
        FillPixels<WordPixels>(window_[i], kGroupColumns, columns_.background);
      }
    }
  }

  /// Blends a group, whose source rows begin at `sourceRows` and are read as `rows` says.
  template <class From>
  void BlendGroup(const ColumnGroup& group, const uint8_t* const* sourceRows, LaneRows<From> rows) {
    const intptr_t groupBytes = rows.bytes;
    const auto blend = [&](auto target, uint8_t* const* targetRows, intptr_t targetBytes) {
      for (int j = 0; j < kGroupColumns; j += kVectorWords) {
        for (int lane = 0; lane < kLanes; ++lane) {
          rows.rows[lane] = sourceRows + (group.laneLags[j / kLaneColumns + lane] - group.leastLag);
        }
        rows.bytes = groupBytes + j * From::kBytes;
        BlendLanes<decltype(target)>(rows, group, j, targetRows,
                                     targetBytes + j * decltype(target)::kBytes, rowCount_);
        rows.sourceAhead = nullptr;
      }
    };
    if (group.size == kGroupColumns && !group.NeedsDoubles()) {
      return blend(Target{}, columns_.targetRows + firstRow_, group.first * Target::kBytes);
    }
    blend(WordPixels{}, blendRows_, 0);
    for (int lane = 0; lane < kGroupLanes; ++lane) {
      if (!group.inDoubles[lane]) continue;
      const int j = lane * kLaneColumns;
      uint32_t above[kLaneColumns];
      double weights[kLaneColumns];
      for (int i = 0; i < kLaneColumns; ++i) {
        const int row =
            group.laneLags[lane] - group.leastLag + static_cast<int>(group.extraLags[j + i]);
        above[i] = From::Load(sourceRows[row] + groupBytes + (j + i) * From::kBytes) |
                   (sourceRows != windowRows_ ? set_ : 0);
        weights[i] = columns_.columns[group.first + group.ColumnAt(j + i)].weight;
      }
      BlendColumnsInDoubles(blends_[0] + j * 4, sizeof blends_[0], rowCount_, above, weights);
    }
    for (int t = 0; t < rowCount_; ++t) {
      ConvertPixels<WordPixels, Target>(TargetPixel(t, group.first), blends_[t], group.size,
                                        kUnchanged);
    }
  }

  const ColumnShear& columns_;
  const uint32_t set_;
  int firstRow_ = 0;
  int rowCount_ = 0;
  const uint8_t* windowRows_[kWindowRows];
  uint8_t* blendRows_[kTileRows];
  alignas(kLineBytes) uint8_t window_[kWindowRows][kLineBytes];
  alignas(kLineBytes) uint8_t blends_[kTileRows][kLineBytes];
};

void ShearColumns(const ColumnShear& columns) {
  constexpr int kMostGroups = 66;  // Enough for 1024 columns, the first group cut short.
  VisitLayouts(columns.formats, [&](auto source, auto target) {
    ColumnTile<decltype(source), decltype(target)> tile(columns);
    ColumnGroup groups[kMostGroups];
    const uint8_t* const* const rows = columns.sourceRows + columns.sourceRowsBegin;
    int limit = columns.sourceRowsEnd - columns.sourceRowsBegin < 2
                    ? kGroupColumns
                    : ColumnsToLine<decltype(source)::kBytes>(rows[0], rows[1] - rows[0]);
    for (int first = 0; first < columns.columnCount;) {
      int groupCount = 0;
      while (groupCount < kMostGroups && first < columns.columnCount) {
        groups[groupCount] = PlanGroup(columns, first, limit);
        first += groups[groupCount++].size;
        limit = kGroupColumns;
      }
      for (int t = 0; t < columns.rowCount; t += kTileRows) {
        const int remaining = columns.rowCount - t;
        tile.Shear(groups, groupCount, t, remaining < kTileRows ? remaining : kTileRows);
      }
    }
  });
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
