#pragma once

// Rows of pixels that move. Included inside a variant, see kernels_impl.h.
//
// Blocks of sixteen. The tail is one more block that overlaps the last: cheaper than single pixels.

#include "transforms/kernels/pixels_impl.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

template <class Source, class Target, bool kReverse>
struct MovedRow {
  explicit MovedRow(const RowMove& move) : row(move), convert(move.formats) {}

  /// Where pixels i to i + count − 1 go.
  uint8_t* TargetAt(ptrdiff_t i, int count) const {
    return row.target + (kReverse ? row.count - i - count : i) * Target::kBytes;
  }

  void MovePixel(ptrdiff_t i) const { convert(TargetAt(i, 1), row.source + i * Source::kBytes); }

  /// Moves pixels i to i + 15. All are loaded before any is stored: loads at the same place of a
  /// page as stores just before them have to wait.
  template <bool kStream>
  void MoveBlock(ptrdiff_t i) const {
    const PixelBlock loaded = ConvertedBlock(row.source + i * Source::kBytes, convert);
    PixelBlock block;
    for (int v = 0; v < kBlockVectors; ++v) {
      block.vectors[v] =
          kReverse ? Vector::Reverse(loaded.vectors[kBlockVectors - 1 - v]) : loaded.vectors[v];
    }
    uint8_t* const to = TargetAt(i, kBlockPixels);
    if constexpr (kStream) {
      for (int v = 0; v < kBlockVectors; ++v) {
        Vector::Stream(to + v * Vector::kBytes, block.vectors[v]);
      }
    } else {
      StoreBlock<Target::kBytes>(to, block);
    }
  }

  void Move() const {
    ptrdiff_t i = 0;
    if (row.count < kBlockPixels) {
      for (; i < row.count; ++i) MovePixel(i);
      return;
    }
    const uint8_t* const start = TargetAt(0, 0);
    if (Target::kBytes == 4 && BytesToLine(start) % 4 == 0) {
      // From here on each block is a line of the cache.
      const int toLine = BytesToLine(start) / 4;
      i = kReverse ? -toLine & (kBlockPixels - 1) : toLine;
      if (i > 0) MoveBlock<false>(0);
      if (row.stores == Stores::kStreaming) {
        if constexpr (Target::kBytes == 4) {
          for (; i + kBlockPixels <= row.count; i += kBlockPixels) MoveBlock<true>(i);
        }
      }
    }
    for (; i + kBlockPixels <= row.count; i += kBlockPixels) {
      // Where a row ends, the hardware's own foresight ends too.
      Prefetch(row.source + i * Source::kBytes, row.sourceAhead);
      MoveBlock<false>(i);
    }
    if (i < row.count) MoveBlock<false>(row.count - kBlockPixels);
  }

  const RowMove& row;
  const Conversion<Source, Target> convert;
};

template <bool kReverse>
void MoveRow(const RowMove& row) {
  VisitLayouts(row.formats, [&](auto source, auto target) {
    MovedRow<decltype(source), decltype(target), kReverse>(row).Move();
  });
}

template <bool kReverse>
void Exchange(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
              const uint8_t* rightAhead) {
  uint8_t* other = kReverse ? right + count * 4 : right;
  for (ptrdiff_t ahead = 0; count >= kBlockPixels; count -= kBlockPixels, ahead += kLineBytes) {
    Prefetch(leftAhead, ahead);
    Prefetch(rightAhead, ahead);
    for (int i = 0; i < kBlockVectors; ++i) {
      if constexpr (kReverse) other -= Vector::kBytes;
      const Words fromLeft = Vector::Load(left);
      const Words fromRight = Vector::Load(other);
      Vector::Store(left, kReverse ? Vector::Reverse(fromRight) : fromRight);
      Vector::Store(other, kReverse ? Vector::Reverse(fromLeft) : fromLeft);
      if constexpr (!kReverse) other += Vector::kBytes;
      left += Vector::kBytes;
    }
  }
  for (; count > 0; --count, left += 4) {
    if constexpr (kReverse) other -= 4;
    const uint32_t word = LoadWord(left);
    StoreWord(left, LoadWord(other));
    StoreWord(other, word);
    if constexpr (!kReverse) other += 4;
  }
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
