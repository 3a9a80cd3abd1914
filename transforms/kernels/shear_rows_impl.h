#pragma once

// Rows to shear. Included inside a variant, see kernels_impl.h.
//
// A row is the background up to the first source pixel that lands in it, the blend of that pixel
// with what precedes it, the run of all others, the trailing pixel, and the background again. Where
// pixels have as many bytes on both sides, the run is blended straight from one picture to the
// other: the previous channel is the byte one pixel back. Everything else goes through words on the
// stack.

#include "transforms/kernels/blends_impl.h"
#include "transforms/kernels/pixels_impl.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

constexpr int kChunkPixels = 512;

/// How far ahead to ask for source bytes. The processor itself stops at the end of a page.
constexpr int kPrefetchBytes = 2048;

template <class Source, class Target>
class ShearedRow {
 public:
  explicit ShearedRow(const RowShear& row) : row_(row), set_(SetBits(row.formats)) {}

  void Shear() const {
    const int64_t width = row_.targetWidth;
    const int64_t offset = row_.offset;
    const int64_t trailing = offset + row_.sourceWidth;
    Fill(0, offset < width ? offset : width);
    int64_t x = offset;
    if (row_.sourceWidth > 0 && x >= 0 && x < width) PutBlend(x++, SourceWord(0), row_.background);
    if (x < 0) x = 0;
    const int64_t end = trailing < width ? trailing : width;
    if (x < end) Run(TargetPixel(x), SourcePixel(x - offset), static_cast<int>(end - x));
    if (trailing >= 0 && trailing < width) {
      const int last = row_.sourceWidth - 1;
      PutBlend(trailing, row_.background, last >= 0 ? SourceWord(last) : row_.background);
    }
    Fill(trailing + 1 > 0 ? trailing + 1 : 0, width);
  }

 private:
  const uint8_t* SourcePixel(int64_t i) const { return row_.source + i * Source::kBytes; }
  uint8_t* TargetPixel(int64_t x) const { return row_.target + x * Target::kBytes; }
  uint32_t SourceWord(int64_t i) const { return Source::Load(SourcePixel(i)) | set_; }

  void Fill(int64_t from, int64_t to) const {
    FillPixels<Target>(TargetPixel(from), to - from, row_.background);
  }

  void PutBlend(int64_t x, uint32_t current, uint32_t previous) const {
    Target::Store(TargetPixel(x), BlendInDoubles(current, previous, row_.weight));
  }

  /// Blends `count` source pixels, none of them the first.
  void Run(uint8_t* target, const uint8_t* source, int count) const {
    if constexpr (Source::kBytes == Target::kBytes) {
      if (row_.multiplier != kNoMultiplier && count * Source::kBytes >= Vector::kBytes) {
        return RunDirectly(target, source, count * Source::kBytes);
      }
    }
    RunThroughWords(target, source, count);
  }

  /// A vector's bytes at a time; the last vector overlaps the one before. Three-byte pixels have no
  /// alpha to set.
  void RunDirectly(uint8_t* target, const uint8_t* source, int bytes) const {
    const auto weights = Vector::WeightsOf(row_.multiplier);
    const Words set = Vector::Broadcast(Source::kBytes == 4 ? set_ : 0);
    const auto blend = [=](int i) {
      const Words current = Source::Widened(Vector::Load(source + i));
      const Words previous = Source::Widened(Vector::Load(source + i - Source::kBytes));
      const Words blended = Vector::Or(Vector::Blend(current, previous, weights), set);
      Vector::Store(target + i, Target::Narrowed(blended));
    };
    int i = 0;
    for (; i + kLineBytes <= bytes; i += kLineBytes) {
      Prefetch(source, i + kPrefetchBytes);
      for (int v = 0; v < kLineBytes; v += Vector::kBytes) blend(i + v);
    }
    for (; i + Vector::kBytes <= bytes; i += Vector::kBytes) blend(i);
    if (i < bytes) blend(bytes - Vector::kBytes);
  }

  void RunThroughWords(uint8_t* target, const uint8_t* source, int count) const {
    // The first word is the pixel in front of the chunk.
    uint8_t words[(1 + kChunkPixels) * 4];
    uint8_t blends[kChunkPixels * 4];
    StoreWord(words, Source::Load(source - Source::kBytes) | set_);
    for (int done = 0; done < count; done += kChunkPixels) {
      const int chunk = count - done < kChunkPixels ? count - done : kChunkPixels;
      ConvertPixels<Source, WordPixels>(words + 4, source + done * Source::kBytes, chunk,
                                        row_.formats);
      if (row_.multiplier == kNoMultiplier) {
        BlendRowInDoubles(blends, words, chunk, row_.weight);
      } else {
        const auto weights = Vector::WeightsOf(row_.multiplier);
        int i = 0;
        for (; i + kVectorWords <= chunk; i += kVectorWords) {
          Vector::Store(blends + i * 4, Vector::Blend(Vector::Load(words + 4 + i * 4),
                                                      Vector::Load(words + i * 4), weights));
        }
        for (; i < chunk; ++i) {
          StoreWord(blends + i * 4, BlendInDoubles(LoadWord(words + 4 + i * 4),
                                                   LoadWord(words + i * 4), row_.weight));
        }
      }
      ConvertPixels<WordPixels, Target>(target + done * Target::kBytes, blends, chunk, kUnchanged);
      StoreWord(words, LoadWord(words + chunk * 4));
    }
  }

  const RowShear& row_;
  const uint32_t set_;
};

void ShearRow(const RowShear& row) {
  VisitLayouts(row.formats, [&](auto source, auto target) {
    ShearedRow<decltype(source), decltype(target)>(row).Shear();
  });
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
