#pragma once

// Pixels on their way into and out of words of 8-bit channels (0xAARRGGBB). Included inside a
// variant, see kernels_impl.h.
//
// Formats are told apart by their layout: words as they are, console words, whose alpha has 7 bits,
// and three bytes. A pixel goes from its source's layout to a word, bits are set where alpha is to
// be opaque, and from the word to its target's layout.

#include "pixels/pixel_types.h"
#include "transforms/kernels/kernels.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

constexpr uint32_t kOpaque = 0xFF000000;
constexpr int kLineBytes = 64;                ///< of the cache
constexpr int kBlockPixels = kLineBytes / 4;  ///< a line of words, or 48 bytes
constexpr int kLanes = Vector::kBytes / 16;
constexpr int kVectorWords = Vector::kBytes / 4;
constexpr int kBlockVectors = kLineBytes / Vector::kBytes;

using Words = typename Vector::Type;

// As in pixel_formats.h, whose functions must not be used here: the linker keeps one copy of those
// for all files, and that may be the one with wide code.

inline uint32_t LoadWord(const void* bytes) {
  uint32_t word;
  __builtin_memcpy(&word, bytes, sizeof word);
  return word;
}

inline void StoreWord(void* bytes, uint32_t word) { __builtin_memcpy(bytes, &word, sizeof word); }

/// Asks for the line `offset` bytes from `address`, which may be anywhere, even outside memory.
inline void Prefetch(const uint8_t* address, intptr_t offset) {
  __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<intptr_t>(address) + offset));
}

/// Bytes from the address to the next line of the cache.
inline int BytesToLine(const uint8_t* address) {
  return static_cast<int>(-reinterpret_cast<uintptr_t>(address) & (kLineBytes - 1));
}

/// How many columns go first, so that in all rows the next ones begin with a line of the cache:
/// with rows a power of two apart, a line that two groups of columns share would not last from one
/// to the next. A line's worth where lines begin at other columns in other rows, or already here.
template <int kBytes>
inline int ColumnsToLine(const uint8_t* row, ptrdiff_t stride) {
  const int columns = BytesToLine(row) / 4;
  return kBytes == 4 && stride % kLineBytes == 0 && columns > 0 ? columns : kBlockPixels;
}

struct WordPixels {
  static constexpr int kBytes = 4;
  static constexpr int kAlphaBits = 8;
  static uint32_t Load(const uint8_t* pixel) { return LoadWord(pixel); }
  static void Store(uint8_t* pixel, uint32_t word) { StoreWord(pixel, word); }
  static Words Widened(Words words) { return words; }
  static Words Narrowed(Words words) { return words; }
};

struct ConsolePixels {
  static constexpr int kBytes = 4;
  static constexpr int kAlphaBits = 7;
  static uint32_t Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return (word & 0x01FFFFFF) | (word << 1 & 0xFE000000);
  }
  static void Store(uint8_t* pixel, uint32_t word) {
    StoreWord(pixel, (word & 0x00FFFFFF) | (word >> 1 & 0x7F000000));
  }
  static Words Widened(Words words) { return Vector::WidenAlpha(words); }
  static Words Narrowed(Words words) { return Vector::NarrowAlpha(words); }
};

struct RgbPixels {
  static constexpr int kBytes = 3;
  static constexpr int kAlphaBits = 0;
  static uint32_t Load(const uint8_t* pixel) {
    return static_cast<uint32_t>(pixel[0]) << 16 | static_cast<uint32_t>(pixel[1]) << 8 | pixel[2];
  }
  static void Store(uint8_t* pixel, uint32_t word) {
    pixel[0] = static_cast<uint8_t>(word >> 16);
    pixel[1] = static_cast<uint8_t>(word >> 8);
    pixel[2] = static_cast<uint8_t>(word);
  }
  static Words Widened(Words words) { return words; }
  static Words Narrowed(Words words) { return words; }
};

/// Calls visit with the layout of a format.
template <class Visitor>
inline void VisitLayout(uint32_t format, Visitor visit) {
  if (format == kPixelConsole) {
    visit(ConsolePixels{});
  } else if (format == kPixelRgb24) {
    visit(RgbPixels{});
  } else {
    visit(WordPixels{});
  }
}

template <class Visitor>
inline void VisitLayouts(const FormatPair& formats, Visitor visit) {
  VisitLayout(formats.source, [&](auto source) {
    VisitLayout(formats.target, [&](auto target) { visit(source, target); });
  });
}

/// The bits to set in every word on its way: those of alpha, where the source is opaque and where
/// the target keeps no alpha and stores 255.
inline uint32_t SetBits(const FormatPair& formats) {
  const bool isOpaque = formats.source == kPixelRgb24 || formats.source == kPixelRgb32 ||
                        formats.target == kPixelRgb32;
  return isOpaque ? kOpaque : 0;
}

/// How pixels are converted that are not blended.
template <class Source, class Target>
struct Conversion {
  explicit Conversion(const FormatPair& formats)
      : set(SetBits(formats)), bits(Vector::Broadcast(kKeepsAlpha ? 0x7FFFFFFF : set)) {}

  /// Words as loaded, three-byte pixels widened.
  Words operator()(Words loaded) const {
    if constexpr (kKeepsAlpha) return Vector::And(loaded, bits);
    return Target::Narrowed(Vector::Or(Source::Widened(loaded), bits));
  }
  void operator()(uint8_t* to, const uint8_t* from) const {
    Target::Store(to, Source::Load(from) | set);
  }

  static constexpr bool kKeepsAlpha = Source::kAlphaBits == 7 && Target::kAlphaBits == 7;
  const uint32_t set;
  const Words bits;
};

/// Sixteen pixels as words.
struct PixelBlock {
  Words vectors[kBlockVectors];
};

/// Sixteen pixels of so many bytes as they are, three-byte ones as words without alpha. Not a byte
/// more is read.
template <int kBytes>
inline PixelBlock LoadBlock(const uint8_t* pixels) {
  PixelBlock block;
  for (int i = 0; i < kBlockVectors; ++i) {
    if constexpr (kBytes == 4) {
      block.vectors[i] = Vector::Load(pixels + i * Vector::kBytes);
    } else {
      // Sixteen bytes are loaded for four pixels and the four bytes behind them; for the last four
      // pixels, and the four bytes in front of them.
      const Words bytes = Vector::LoadLanes([=](int lane) {
        const int fours = i * kLanes + lane;
        return pixels + fours * 12 - (fours == 3 ? 4 : 0);
      });
      block.vectors[i] = i + 1 == kBlockVectors ? Vector::template WidenRgb<0, 4>(bytes)
                                                : Vector::template WidenRgb<0, 0>(bytes);
    }
  }
  return block;
}

/// A vector of pixels of so many bytes; of three-byte ones, four bytes more are written where
/// kSpills says so.
template <int kBytes, bool kSpills>
inline void StoreVector(uint8_t* pixels, Words words) {
  if constexpr (kBytes == 4) {
    Vector::Store(pixels, words);
  } else {
    Vector::VisitLanes(Vector::NarrowRgb(words), [=](int lane, __m128i bytes) {
      uint8_t* const to = pixels + lane * 12;
      if (kSpills || lane + 1 < kLanes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        return;
      }
      _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
      StoreWord(to + 8, static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(bytes, 8))));
    });
  }
}

/// Sixteen pixels of so many bytes. Not a byte more is written.
template <int kBytes>
inline void StoreBlock(uint8_t* pixels, const PixelBlock& block) {
  for (int i = 0; i + 1 < kBlockVectors; ++i) {
    StoreVector<kBytes, true>(pixels + i * kVectorWords * kBytes, block.vectors[i]);
  }
  StoreVector<kBytes, false>(pixels + (kBlockPixels - kVectorWords) * kBytes,
                             block.vectors[kBlockVectors - 1]);
}

/// Sixteen pixels, converted.
template <class Source, class Target>
inline PixelBlock ConvertedBlock(const uint8_t* pixels, const Conversion<Source, Target>& convert) {
  PixelBlock block = LoadBlock<Source::kBytes>(pixels);
  for (Words& words : block.vectors) words = convert(words);
  return block;
}

/// Converts `count` pixels.
template <class Source, class Target>
void ConvertPixels(uint8_t* to, const uint8_t* from, int count, const FormatPair& formats) {
  const Conversion<Source, Target> convert(formats);
  int i = 0;
  for (; i + kBlockPixels <= count; i += kBlockPixels) {
    StoreBlock<Target::kBytes>(to + i * Target::kBytes,
                               ConvertedBlock(from + i * Source::kBytes, convert));
  }
  for (; i < count; ++i) convert(to + i * Target::kBytes, from + i * Source::kBytes);
}

/// `count` pixels of one word.
template <class Target>
void FillPixels(uint8_t* pixels, int64_t count, uint32_t word) {
  PixelBlock block;
  for (Words& words : block.vectors) words = Target::Narrowed(Vector::Broadcast(word));
  int64_t i = 0;
  for (; i + kBlockPixels <= count; i += kBlockPixels) {
    StoreBlock<Target::kBytes>(pixels + i * Target::kBytes, block);
  }
  for (; i < count; ++i) Target::Store(pixels + i * Target::kBytes, word);
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
