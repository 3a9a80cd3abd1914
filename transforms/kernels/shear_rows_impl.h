#pragma once

// Rows. Included inside a variant, see shear_kernels_impl.h.
//
// A row is the background up to the first source pixel that lands in it, the blend of that pixel
// with what precedes it, the run of all others, the trailing pixel, and the background again. Where
// pixels have as many bytes on both sides, the run is blended straight from one picture to the
// other: the previous channel is the byte one pixel back. Everything else goes through words on the
// stack.

#include "transforms/kernels/shear_formats_impl.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

constexpr int kChunkPixels = 512;  ///< a multiple of a line in every format

/// How far ahead to ask for source bytes. The processor itself stops at the end of a page.
constexpr int kPrefetchBytes = 2048;

/// How a run goes straight from one picture to the other.
template <class Source, bool kNarrow>
struct DirectRun {
  typename Vector::Weights weights;
  typename Vector::Type set;

  static auto Load(const uint8_t* at) { return Source::Widened(Vector::Load(at)); }
  auto Blend(typename Vector::Type current, typename Vector::Type previous) const {
    const auto blended = Vector::Or(Vector::Blend(current, previous, weights), set);
    return kNarrow ? Vector::NarrowAlpha(blended) : blended;
  }

  /// Blends bytes with those one pixel back; two lines of them at least are there to be read.
  template <bool kStreaming>
  void Write(uint8_t* target, const uint8_t* source, int bytes) const {
    int done = BytesToLine(target);
    if (done > 0) WritePart(target, source, 0, 0, done);
    // Of a last vector, only its last word counts.
    auto last = Source::Widened(Vector::Broadcast(LoadWord(source + done - Source::kBytes)));
    for (; bytes - done >= kLineBytes; done += kLineBytes) {
      Prefetch(source + done + kPrefetchBytes);
      for (int i = done; i < done + kLineBytes; i += Vector::kBytes) {
        const auto current = Load(source + i);
        auto previous = last;
        if constexpr (Source::kBytes == 4) {
          previous = Vector::template Previous<Source>(source + i, current, last);
        } else {
          previous = Load(source + i - Source::kBytes);
        }
        const auto blended = Blend(current, previous);
        last = current;
        if constexpr (kStreaming) {
          Vector::Stream(target + i, blended);
        } else {
          Vector::Store(target + i, blended);
        }
      }
    }
    if (done < bytes) WritePart(target, source, bytes - kLineBytes, done, bytes - done);
  }

  /// Writes `count` bytes from `offset` on, blending the line from `readFrom` on, which holds them.
  void WritePart(uint8_t* target, const uint8_t* source, int readFrom, int offset,
                 int count) const {
    alignas(kLineBytes) uint8_t part[2 * kLineBytes];
    for (int i = 0; i < kLineBytes; i += Vector::kBytes) {
      const uint8_t* const at = source + readFrom + i;
      Vector::Store(part + i, Blend(Load(at), Load(at - Source::kBytes)));
    }
    CopyPart(target + offset, part + (offset - readFrom), count);
  }
};

template <class Source, bool kStreaming>
class RowOf {
 public:
  explicit RowOf(const RowShear& row)
      : row_(row),
        set_(SetMask(row.sourceType, row.destinationType)),
        background_(BackgroundFor(row.background, row.destinationType)),
        pixelBytes_(PixelBytes(row.destinationType)) {}

  void Shear() {
    const int64_t width = row_.destinationWidth;
    const int64_t offset = row_.offset;
    const int64_t trailing = offset + row_.sourceWidth;
    Fill(0, offset < width ? offset : width);
    int64_t x = offset;
    if (row_.sourceWidth > 0 && x >= 0 && x < width) PutBlend(x++, SourceWord(0), background_);
    if (x < 0) x = 0;
    const int64_t end = trailing < width ? trailing : width;
    if (x < end) Run(static_cast<int>(x), static_cast<int>(end - x));
    if (trailing >= 0 && trailing < width) {
      const int last = row_.sourceWidth - 1;
      PutBlend(trailing, background_, last >= 0 ? SourceWord(last) : background_);
    }
    Fill(trailing + 1 > 0 ? trailing + 1 : 0, width);
  }

 private:
  const uint8_t* SourcePixel(int64_t i) const { return row_.source + i * Source::kBytes; }
  uint8_t* DestinationPixel(int64_t x) const { return row_.destination + x * pixelBytes_; }
  uint32_t SourceWord(int64_t i) const { return Source::Load(SourcePixel(i)) | set_; }

  void Fill(int64_t from, int64_t to) {
    FillPixels<kStreaming>(DestinationPixel(from), static_cast<int>(to - from), background_,
                           row_.destinationType);
  }

  void PutBlend(int64_t x, uint32_t current, uint32_t previous) {
    alignas(kLineBytes) uint8_t words[2 * kLineBytes] = {};
    StoreWord(words, BlendInDouble(current, previous, row_.weight));
    WordsToPixels(words, 1, row_.destinationType);
    CopyPart(DestinationPixel(x), words, pixelBytes_);
  }

  /// Blends `count` source pixels, none of them the first, to x on.
  void Run(int x, int count) {
    const int64_t i = static_cast<int64_t>(x) - row_.offset;
    uint8_t* const target = DestinationPixel(x);
    const int bytes = count * pixelBytes_;
    if (row_.multiplier == kNoMultiplier || bytes < 2 * kLineBytes || !BytesFit(target)) {
      RunThroughWords(target, SourcePixel(i), count);
    } else if (row_.destinationType == kConsole) {
      RunDirectly<true>(target, SourcePixel(i), bytes);
    } else {
      RunDirectly<false>(target, SourcePixel(i), bytes);
    }
  }

  /// Whether the source's bytes can be blended where they are. Words must not straddle the target's
  /// lines, since their alpha is treated by itself.
  bool BytesFit(const uint8_t* target) const {
    return pixelBytes_ == Source::kBytes && (pixelBytes_ == 3 || BytesToLine(target) % 4 == 0);
  }

  template <bool kNarrow>
  void RunDirectly(uint8_t* target, const uint8_t* source, int bytes) const {
    const DirectRun<Source, kNarrow && Source::kBytes == 4> run{
        Vector::WeightsOf(row_.multiplier), Vector::Broadcast(Source::kBytes == 4 ? set_ : 0)};
    run.template Write<kStreaming>(target, source, bytes);
  }

  void RunThroughWords(uint8_t* target, const uint8_t* source, int count) {
    alignas(kLineBytes) uint8_t words[kLineBytes + kChunkPixels * 4];
    alignas(kLineBytes) uint8_t blends[kLineBytes + kChunkPixels * 4];
    uint32_t previous = Source::Load(source - Source::kBytes) | set_;
    // The first chunk ends where a line does, if any pixel does; 43 is the inverse of 3.
    int chunk =
        pixelBytes_ == 3 ? (BytesToLine(target) * 43) % kLineBytes : BytesToLine(target) / 4;
    if (chunk == 0) chunk = kChunkPixels;
    while (count > 0) {
      if (chunk > count) chunk = count;
      for (int i = 0; i < chunk * Source::kBytes; i += kLineBytes) {
        Prefetch(source + kPrefetchBytes + i);
      }
      StoreWord(words + kLineBytes - 4, previous);
      LoadWords<Source>(words + kLineBytes, source, chunk, set_);
      previous = LoadWord(words + kLineBytes + (chunk - 1) * 4);
      BlendWords(blends, words + kLineBytes, chunk);
      WordsToPixels(blends, chunk, row_.destinationType);
      CopyOut(target, blends, chunk * pixelBytes_, kStreaming);
      target += chunk * pixelBytes_;
      source += chunk * Source::kBytes;
      count -= chunk;
      chunk = kChunkPixels;
    }
  }

  void BlendWords(uint8_t* blends, const uint8_t* words, int count) {
    if (row_.multiplier == kNoMultiplier) {
      for (int i = 0; i < count * 4; i += 4) {
        StoreWord(blends + i,
                  BlendInDouble(LoadWord(words + i), LoadWord(words + i - 4), row_.weight));
      }
      return;
    }
    const Vector::Weights weights = Vector::WeightsOf(row_.multiplier);
    for (int i = 0; i < count * 4; i += Vector::kBytes) {
      Vector::Store(blends + i,
                    Vector::Blend(Vector::Load(words + i), Vector::Load(words + i - 4), weights));
    }
  }

  const RowShear& row_;
  const uint32_t set_;
  const uint32_t background_;
  const int pixelBytes_;
};

void ShearRow(const RowShear& row) {
  VisitSource(row.sourceType, [&](auto source) {
    using Source = decltype(source);
    if (row.streaming) {
      RowOf<Source, true>(row).Shear();
    } else {
      RowOf<Source, false>(row).Shear();
    }
  });
  Vector::Leave();
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
