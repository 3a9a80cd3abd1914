#pragma once

// Columns. Included inside a variant, see shear_kernels_impl.h.
//
// Neighbouring columns go down together, a tile of rows at a time, for down one column every pixel
// would cost a cache line. Up to sixteen columns whose delays differ by 0 or 1 from one to the next
// are a group. Their source pixels come into a window: words, one line per source row, in which the
// background stands for rows outside the picture. One row of blends then merges the few window rows
// that the delays name. The blends gather in a tile and leave for the picture a line at a time;
// what does not fill a line waits in front of the next strip.

#include "transforms/kernels/shear_formats_impl.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

constexpr int kTileRows = 64;
constexpr int kStripPixels = 128;
constexpr int kTilePitch = kLineBytes + (kStripPixels + kGroupPixels) * 4;
constexpr int kBlockPixels = 4;
constexpr int kBlocks = kGroupPixels / kBlockPixels;
constexpr int kBlockBytes = kBlockPixels * 4;
constexpr int kWindowMargin = kGroupPixels;
constexpr int kWindowRows = kWindowMargin + kTileRows + 1 + kGroupPixels;
constexpr int kMaxGroups = 66;  ///< planned at a time: 1024 columns, the first group cut short

/// Neighbouring columns that are blended together, as they lie in every tile.
struct ColumnGroup {
  int first;
  int size;
  int leastDelay;
  int greatestDelay;
  int blockDelays[kBlocks];  ///< each block of four comes into the window by its least delay
  int steps[kGroupPixels];   ///< what is left to a column's delay: 0 to 3
  uint16_t multipliers[kGroupPixels];  ///< 0, which leaves the current pixel, where there is none
  bool allExact;
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

/// One tile of rows of a run of groups.
class ColumnTile {
 public:
  explicit ColumnTile(const ColumnShear& columns)
      : columns_(columns),
        set_(SetMask(columns.sourceType, columns.destinationType)),
        background_(BackgroundFor(columns.background, columns.destinationType)),
        pixelBytes_(PixelBytes(columns.destinationType)) {}

  template <class Source>
  void Shear(const ColumnGroup* groups, int groupCount, int firstRow, int rowCount) {
    firstRow_ = firstRow;
    rowCount_ = rowCount;
    const ColumnGroup& last = groups[groupCount - 1];
    const int end = last.first + last.size;
    Begin(groups[0].first, end);
    int stripStart = groups[0].first;
    for (int i = 0; i < groupCount; ++i) {
      const ColumnGroup& group = groups[i];
      const int place = group.first - stripStart;
      if (IsBackground(group)) {
        FillGroup(place);
      } else {
        LoadWindow<Source>(group, groups[i + 1 < groupCount ? i + 1 : i]);
        BlendGroup(group, Row(0) + place * 4);
        if (place < filledPixels_) filledPixels_ = place;
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

 private:
  uint8_t* DestinationPixel(int t, int column) const {
    return columns_.destinationRows[firstRow_ + t] + column * pixelBytes_;
  }

  /// Where a tile row's strip begins. What waits for the rest of its line lies in front.
  uint8_t* Row(int t) { return tile_ + t * kTilePitch + kLineBytes; }

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

  void FillGroup(int place) {
    if (place + kGroupPixels <= filledPixels_) return;
    const auto background = Vector::Broadcast(background_);
    uint8_t* target = Row(0) + place * 4;
    for (int t = 0; t < rowCount_; ++t, target += kTilePitch) {
      for (int b = 0; b < kLineBytes; b += Vector::kBytes) Vector::Store(target + b, background);
    }
    if (place <= filledPixels_) filledPixels_ = place + kGroupPixels;
  }

  template <class Source>
  void LoadWindow(const ColumnGroup& group, const ColumnGroup& next) {
    // Row i of the group's source rows is the one by which its least delay leads the tile.
    const int rowCount = rowCount_ + 1 + group.greatestDelay - group.leastDelay;
    const uint8_t* const* const rows = columns_.sourceRows + firstRow_ + group.leastDelay - 1;
    const uint8_t* const* const nextRows = columns_.sourceRows + firstRow_ + next.leastDelay - 1;
    const int nextRowCount = rowCount_ + 1 + next.greatestDelay - next.leastDelay;
    const intptr_t nextEnd = (next.first + next.size) * Source::kBytes - 1;
    const int bytes = group.first * Source::kBytes;
    // Rows that a block does not need land in the margins of the window.
    uint8_t* blocks[kBlocks];
    for (int b = 0; b < kBlocks; ++b) {
      const int margin = kWindowMargin + group.leastDelay - group.blockDelays[b];
      blocks[b] = window_ + margin * kLineBytes + b * kBlockBytes;
    }
    const auto set = Vector::Broadcast(set_);
    const __m128i setBlock = _mm_set1_epi32(static_cast<int>(set_));
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
      if (Source::kIsWords && group.size == kGroupPixels) {
        StoreBlocks(blocks, at,
                    [&](int b) { return _mm_or_si128(LoadBlock(pixels + b), setBlock); });
      } else {
        alignas(kLineBytes) uint8_t words[kLineBytes];
        if (group.size == kGroupPixels) {
          Source::LoadGroup(words, pixels, set);
        } else {
          LoadWords<Source>(words, pixels, group.size, set_);
        }
        StoreBlocks(blocks, at, [&](int b) { return LoadBlock(words + b); });
      }
    }
  }

  static __m128i LoadBlock(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  }

  template <class Block>
  static void StoreBlocks(uint8_t* const* blocks, int at, Block block) {
    for (int b = 0; b < kBlocks; ++b) {
      _mm_store_si128(reinterpret_cast<__m128i*>(blocks[b] + at), block(b * kBlockBytes));
    }
  }

  void BlendGroup(const ColumnGroup& group, uint8_t* target) {
    const uint8_t* const window = window_ + kWindowMargin * kLineBytes;
    constexpr int kLanes = Vector::kBytes / 4;
    for (int j = 0; j < group.size; j += kLanes) {
      Vector::BlendColumns(target + j * 4, kTilePitch, window + j * 4, group.steps + j,
                           Vector::WeightsOf(group.multipliers + j), rowCount_);
    }
    if (group.allExact) return;
    for (int j = 0; j < group.size; ++j) {
      if (columns_.multipliers[group.first + j] == kNoMultiplier) {
        BlendColumnInDouble(target + j * 4, LoadWord(window + group.steps[j] * kLineBytes + j * 4),
                            columns_.lines[group.first + j].weight);
      }
    }
  }

  /// Blends a column of the tile that still holds its current pixels.
  void BlendColumnInDouble(uint8_t* target, uint32_t previous, double weight) {
    for (int t = 0; t < rowCount_; ++t, target += kTilePitch) {
      const uint32_t current = LoadWord(target);
      StoreWord(target, BlendInDouble(current, previous, weight));
      previous = current;
    }
  }

  void WriteStrip(int first, int size) {
    if (!KeepsWords(columns_.destinationType)) filledPixels_ = 0;
    for (int t = 0; t < rowCount_; ++t) {
      uint8_t* const words = Row(t);
      WordsToPixels(words, size, columns_.destinationType);
      const int waiting = waiting_[t];
      uint8_t* const target = DestinationPixel(t, first) - waiting;
      const int bytes = waiting + size * pixelBytes_;
      const int rest = (bytes - BytesToLine(target)) & (kLineBytes - 1);
      const int leaving = bytes > rest ? bytes - rest : 0;
      CopyOut(target, words - waiting, leaving, columns_.streaming);
      // Upwards or downwards by less than a line: the line is read before it is written.
      StoreLine<false>(words - kLineBytes, words - waiting + bytes - kLineBytes);
      waiting_[t] = static_cast<uint8_t>(bytes - leaving);
    }
  }

  const ColumnShear& columns_;
  const uint32_t set_;
  const uint32_t background_;
  const int pixelBytes_;
  int firstRow_ = 0;
  int rowCount_ = 0;
  int filledPixels_ = 0;  ///< of every tile row, from the strip's start on, that are background
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
