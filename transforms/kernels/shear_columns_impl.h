#pragma once

// Columns. Included inside a variant, see shear_kernels_impl.h.
//
// Neighbouring columns go down together, a tile of rows at a time, for down one column every pixel
// would cost a cache line. Up to sixteen columns whose delays differ by 0 or 1 from one to the next
// are a group, whose rows of blends make a cache line (shear_column_blend_impl.h). A whole group is
// blended from the source's rows themselves. At the picture's edges, and with three-byte pixels,
// source pixels come into a window first: words, one line per source row, in which the background
// stands for rows outside the picture.
//
// Blends go straight to the picture. Where it is streamed, or takes three bytes a pixel, they
// gather in a tile and leave for the picture a line at a time; what does not fill a line waits in
// front of the next strip.

#include "transforms/kernels/shear_column_blend_impl.h"
#include "transforms/kernels/shear_column_groups_impl.h"
#include "transforms/kernels/shear_formats_impl.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

constexpr int kTileRows = 64;
constexpr int kStripPixels = 128;
constexpr int kTilePitch = kLineBytes + (kStripPixels + kGroupPixels) * 4;
constexpr int kWindowMargin = kGroupPixels;
constexpr int kWindowRows = kWindowMargin + kTileRows + 1 + kGroupPixels;
constexpr int kMaxGroups = 66;  ///< planned at a time: 1024 columns, the first group cut short

/// One tile of rows of a run of groups.
class ColumnTile {
 public:
  explicit ColumnTile(const ColumnShear& columns)
      : columns_(columns),
        set_(SetMask(columns.sourceType, columns.destinationType)),
        background_(BackgroundFor(columns.background, columns.destinationType)),
        pixelBytes_(PixelBytes(columns.destinationType)) {
    for (int t = 0; t < kTileRows; ++t) tileRows_[t] = Row(t);
    for (int j = 0; j < columns.columnCount; ++j) {
      const int end = columns.rowCount + columns.delays[j];
      if (end > sourceRowsEnd_) sourceRowsEnd_ = end;
    }
  }

  template <class Source>
  void Shear(const ColumnGroup* groups, int groupCount, int firstRow, int rowCount) {
    firstRow_ = firstRow;
    rowCount_ = rowCount;
    if (columns_.streaming || columns_.destinationType == kRgb24) {
      ShearInStrips<Source>(groups, groupCount);
      return;
    }
    for (int i = 0; i < groupCount; ++i) {
      const int first = i;
      while (i < groupCount && IsBackground(groups[i])) ++i;
      if (i > first) FillColumns(groups[first].first, groups[i - 1].first + groups[i - 1].size);
      if (i < groupCount) {
        ShearStraight<Source>(groups[i], groups[i + 1 < groupCount ? i + 1 : i]);
      }
    }
  }

 private:
  static constexpr int kLanes = Vector::kBytes / 4;

  uint8_t* DestinationPixel(int t, int column) const {
    return columns_.destinationRows[firstRow_ + t] + column * pixelBytes_;
  }

  /// Where a tile row's strip begins. What waits for the rest of its line lies in front.
  uint8_t* Row(int t) { return tile_ + t * kTilePitch + kLineBytes; }

  template <class Source>
  void ShearStraight(const ColumnGroup& group, const ColumnGroup& next) {
    if (group.IsWhole()) {
      BlendToRows<Source>(group, next, {columns_.destinationRows + firstRow_, group.first * 4});
      return;
    }
    BlendToRows<Source>(group, next, {tileRows_, 0});
    for (int t = 0; t < rowCount_; ++t) {
      CopyOut(DestinationPixel(t, group.first), Row(t), group.size * 4, false);
    }
  }

  template <class Source>
  void ShearInStrips(const ColumnGroup* groups, int groupCount) {
    const ColumnGroup& last = groups[groupCount - 1];
    const int end = last.first + last.size;
    Begin(groups[0].first, end);
    int stripStart = groups[0].first;
    for (int i = 0; i < groupCount; ++i) {
      const ColumnGroup& group = groups[i];
      const int place = group.first - stripStart;
      if (!IsBackground(group)) {
        BlendToRows<Source>(group, groups[i + 1 < groupCount ? i + 1 : i], {tileRows_, place * 4});
        if (place < filledPixels_) filledPixels_ = place;
      } else if (place + kGroupPixels > filledPixels_) {
        FillTile(place);
      }
      const int next = group.first + group.size;
      if (next == end || next - stripStart + kGroupPixels > kStripPixels) {
        WriteStrip(stripStart, next - stripStart);
        stripStart = next;
      }
    }
    for (int t = 0; t < rowCount_; ++t) {
      CopyPart(DestinationPixel(t, end) - waiting_[t], Row(t) - waiting_[t], waiting_[t]);
    }
  }

  /// Lines at both ends are written through the cache, and streams wait behind one that is missing
  /// there.
  void Begin(int first, int end) {
    filledPixels_ = 0;
    for (int t = 0; t < rowCount_; ++t) {
      waiting_[t] = 0;
      Prefetch(DestinationPixel(t, first));
      Prefetch(DestinationPixel(t, end) - 1);
    }
  }

  /// Whether a group shows nothing but background.
  bool IsBackground(const ColumnGroup& group) const {
    const uint8_t* const* const rows = columns_.sourceRows + firstRow_;
    for (int i = group.leastDelay - 1; i < rowCount_ + group.greatestDelay; ++i) {
      if (rows[i] != nullptr) return false;
    }
    return true;
  }

  /// Fills a group's place in the tile.
  void FillTile(int place) {
    alignas(kLineBytes) uint8_t line[kLineBytes];
    for (int b = 0; b < kLineBytes; b += 4) StoreWord(line + b, background_);
    if (columns_.destinationType == kConsole) WordsToPixels(line, kGroupPixels, kConsole);
    for (int t = 0; t < rowCount_; ++t) StoreLine<false>(Row(t) + place * 4, line);
    if (place <= filledPixels_) filledPixels_ = place + kGroupPixels;
  }

  /// Fills columns of the picture.
  void FillColumns(int first, int end) {
    for (int t = 0; t < rowCount_; ++t) {
      FillPixels<false>(DestinationPixel(t, first), end - first, background_,
                        columns_.destinationType);
    }
  }

  /// The group's source rows, from the one on by which its least delay leads the tile.
  const uint8_t* const* SourceRows(const ColumnGroup& group) const {
    return columns_.sourceRows + firstRow_ + group.leastDelay - 1;
  }
  /// How many of them its columns lie across.
  int SourceRowCount(const ColumnGroup& group) const {
    return rowCount_ + 1 + group.greatestDelay - group.leastDelay;
  }

  /// Blends a group to the tile or, when it is whole, to the picture: pixels of four bytes as they
  /// are to be, three-byte ones as words. Up to a group of pixels is written.
  template <class Source>
  void BlendToRows(const ColumnGroup& group, const ColumnGroup& next, ColumnTarget target) {
    const bool narrow = columns_.destinationType == kConsole;
    if (narrow && group.IsWhole()) {
      BlendGroup<Source, true>(group, next, target);
      return;
    }
    BlendGroup<Source, false>(group, next, target);
    if (!narrow) return;
    for (int t = 0; t < rowCount_; ++t) {
      WordsToPixels(target.rows[t] + target.offset, group.size, kConsole);
    }
  }

  /// Blends a group, and asks for the next one's pixels. A vector may reach beyond the group.
  template <class Source, bool kNarrow>
  void BlendGroup(const ColumnGroup& group, const ColumnGroup& next, ColumnTarget target) {
    if constexpr (Source::kBytes == 4) {
      if (HoldsDirectRows(group)) {
        BlendDirectly<Source, kNarrow, true>(group, next, target, 0);
        for (int j = kLanes; j < kGroupPixels; j += kLanes) {
          BlendDirectly<Source, kNarrow, false>(group, next, target, j);
        }
        return;
      }
    }
    LoadWindow<Source>(group, next);
    const uint8_t* const window = window_ + kWindowMargin * kLineBytes;
    for (int j = 0; j < group.size; j += kLanes) {
      BlendColumns<kNarrow>(WindowRows{window + j * 4}, group.steps + j, group.multipliers + j,
                            {target.rows, target.offset + j * 4}, rowCount_);
    }
    if (group.allExact) return;
    for (int j = 0; j < group.size; ++j) {
      if (columns_.multipliers[group.first + j] == kNoMultiplier) {
        BlendColumnInDouble({target.rows, target.offset + j * 4},
                            LoadWord(window + group.steps[j] * kLineBytes + j * 4),
                            columns_.lines[group.first + j].weight);
      }
    }
  }

  /// Whether every row that blocks of the group may name is there. Blocks may name a few more rows
  /// than columns do.
  bool HoldsDirectRows(const ColumnGroup& group) const {
    const int end = firstRow_ + rowCount_ + group.greatestDelay + kMostSteps;
    return group.IsWhole() && end <= sourceRowsEnd_ && SourceRows(group)[0] != nullptr &&
           columns_.sourceRows[end - 1] != nullptr;
  }

  /// Columns `first` and on of a group that holds direct rows.
  template <class Source, bool kNarrow, bool kAhead>
  void BlendDirectly(const ColumnGroup& group, const ColumnGroup& next, ColumnTarget target,
                     int first) const {
    const bool hasNext = firstRow_ + rowCount_ + next.leastDelay + kMostSteps <= sourceRowsEnd_;
    DirectRows<Source, kAhead> rows;
    for (int b = 0; b < rows.kVectorBlocks; ++b) {
      rows.blockRows[b] =
          columns_.sourceRows + firstRow_ + group.blockDelays[first / kBlockPixels + b] - 1;
    }
    rows.bytes = (group.first + first) * 4;
    rows.set = Vector::Broadcast(set_);
    rows.nextRows = SourceRows(hasNext ? next : group);
    rows.nextBytes = (next.first + next.size) * 4 - 1;
    BlendColumns<kNarrow>(rows, group.steps + first, group.multipliers + first,
                          {target.rows, target.offset + first * 4}, rowCount_);
    if (!kAhead || !hasNext) return;
    // The next group also lies across rows that have no counterpart here.
    const int nextRowCount = SourceRowCount(next);
    for (int i = rowCount_ + 1; i < nextRowCount; ++i) rows.PrefetchNext(i);
  }

  template <class Source>
  void LoadWindow(const ColumnGroup& group, const ColumnGroup& next) {
    const int rowCount = SourceRowCount(group);
    const uint8_t* const* const rows = SourceRows(group);
    const uint8_t* const* const nextRows = SourceRows(next);
    const int nextRowCount = SourceRowCount(next);
    const intptr_t nextEnd = (next.first + next.size) * Source::kBytes - 1;
    const int bytes = group.first * Source::kBytes;
    // Rows that a block does not need land in the margins of the window.
    uint8_t* blocks[kBlocks];
    for (int b = 0; b < kBlocks; ++b) {
      const int margin = kWindowMargin + group.leastDelay - group.blockDelays[b];
      blocks[b] = window_ + margin * kLineBytes + b * kBlockBytes;
    }
    const auto set = Vector::Broadcast(set_);
    const __m128i backgroundBlock = _mm_set1_epi32(static_cast<int>(background_));
    for (int i = 0; i < rowCount; ++i) {
      const int at = i * kLineBytes;
      if (i < nextRowCount) {
        Prefetch(reinterpret_cast<const void*>(reinterpret_cast<intptr_t>(nextRows[i]) + nextEnd));
      }
      if (rows[i] == nullptr) {
        StoreBlocks(blocks, at, [&](int) { return backgroundBlock; });
        continue;
      }
      const uint8_t* const pixels = rows[i] + bytes;
      alignas(kLineBytes) uint8_t words[kLineBytes];
      if (group.size == kGroupPixels) {
        Source::LoadGroup(words, pixels, set);
      } else {
        LoadWords<Source>(words, pixels, group.size, set_);
      }
      StoreBlocks(blocks, at, [&](int b) {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(words + b));
      });
    }
  }

  template <class Block>
  static void StoreBlocks(uint8_t* const* blocks, int at, Block block) {
    for (int b = 0; b < kBlocks; ++b) {
      _mm_store_si128(reinterpret_cast<__m128i*>(blocks[b] + at), block(b * kBlockBytes));
    }
  }

  /// Blends a column that still holds its current pixels.
  void BlendColumnInDouble(ColumnTarget target, uint32_t previous, double weight) const {
    for (int t = 0; t < rowCount_; ++t) {
      uint8_t* const pixel = target.rows[t] + target.offset;
      const uint32_t current = LoadWord(pixel);
      StoreWord(pixel, BlendInDouble(current, previous, weight));
      previous = current;
    }
  }

  void WriteStrip(int first, int size) {
    const bool packs = columns_.destinationType == kRgb24;
    if (packs) filledPixels_ = 0;
    for (int t = 0; t < rowCount_; ++t) {
      uint8_t* const words = Row(t);
      if (packs) WordsToPixels(words, size, kRgb24);
      const int waiting = waiting_[t];
      uint8_t* const target = DestinationPixel(t, first) - waiting;
      const int bytes = waiting + size * pixelBytes_;
      const int rest = (bytes - BytesToLine(target)) & (kLineBytes - 1);
      const int leaving = bytes > rest ? bytes - rest : 0;
      CopyOut(target, words - waiting, leaving, columns_.streaming);
      // The source lies further on, if by less than a line, and is copied from its start: what a
      // vector writes has been read.
      StoreLine<false>(words - kLineBytes, words - waiting + bytes - kLineBytes);
      waiting_[t] = static_cast<uint8_t>(bytes - leaving);
    }
  }

  const ColumnShear& columns_;
  const uint32_t set_;
  const uint32_t background_;
  const int pixelBytes_;
  int sourceRowsEnd_ = 0;  ///< of the table of source rows
  int firstRow_ = 0;
  int rowCount_ = 0;
  int filledPixels_ = 0;  ///< of every tile row, from the strip's start on, that are background
  uint8_t* tileRows_[kTileRows];
  uint8_t waiting_[kTileRows];  ///< bytes in front of each row's strip
  alignas(kLineBytes) uint8_t window_[kWindowRows * kLineBytes];
  alignas(kLineBytes) uint8_t tile_[kTileRows * kTilePitch + kLineBytes];
};

void ShearColumns(const ColumnShear& columns) {
  VisitSource(columns.sourceType, [&](auto source) {
    ColumnTile tile(columns);
    ColumnGroup groups[kMaxGroups];
    int limit = FirstGroupLimit(columns);
    for (int first = 0; first < columns.columnCount;) {
      int groupCount = 0;
      while (groupCount < kMaxGroups && first < columns.columnCount) {
        groups[groupCount] = PlanGroup(columns, first, GroupSize(columns, first, limit));
        first += groups[groupCount++].size;
        limit = kGroupPixels;
      }
      for (int t = 0; t < columns.rowCount; t += kTileRows) {
        const int remaining = columns.rowCount - t;
        tile.template Shear<decltype(source)>(groups, groupCount, t,
                                              remaining < kTileRows ? remaining : kTileRows);
      }
    }
  });
  Vector::Leave();
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
