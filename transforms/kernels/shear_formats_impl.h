#pragma once

// What rows and columns share: pixels on their way into and out of words, and bytes on their way to
// a picture. Included inside a variant, see shear_kernels_impl.h.

#include "transforms/kernels/shear_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

// The codes of PixelType. Its own header is for code that is built without wider flags.
constexpr uint32_t kConsole = 8;
constexpr uint32_t kRgb24 = 11;
constexpr uint32_t kArgb32 = 14;
constexpr uint32_t kRgb32 = 15;

constexpr uint32_t kOpaque = 0xFF000000;
constexpr int kLineBytes = 64;    ///< of the cache
constexpr int kGroupPixels = 16;  ///< as words they fill a line

uint32_t LoadWord(const uint8_t* bytes) {
  uint32_t word;
  __builtin_memcpy(&word, bytes, sizeof word);
  return word;
}

void StoreWord(uint8_t* bytes, uint32_t word) { __builtin_memcpy(bytes, &word, sizeof word); }

/// Any address will do, even one where nothing is.
void Prefetch(const void* address) { _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0); }

/// The rule in doubles, for a word of four channels.
uint32_t BlendInDouble(uint32_t current, uint32_t previous, double weight) {
  const __m128i zero = _mm_setzero_si128();
  const auto widened = [zero](uint32_t word) {
    const __m128i bytes = _mm_cvtsi32_si128(static_cast<int>(word));
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero);
  };
  const __m128i currents = widened(current);
  const __m128i previouses = widened(previous);
  const __m128d factor = _mm_set1_pd(weight);
  const auto step = [factor](__m128i c, __m128i p) {
    return _mm_cvttpd_epi32(
        _mm_sub_pd(_mm_mul_pd(_mm_cvtepi32_pd(c), factor), _mm_mul_pd(_mm_cvtepi32_pd(p), factor)));
  };
  const __m128i low = step(currents, previouses);
  const __m128i high = step(_mm_shuffle_epi32(currents, 0xEE), _mm_shuffle_epi32(previouses, 0xEE));
  const __m128i blended = _mm_sub_epi32(currents, _mm_unpacklo_epi64(low, high));
  const __m128i packed = _mm_packs_epi32(blended, zero);
  return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(packed, zero)));
}

// Sources: Load gives one pixel as a word, LoadGroup stores sixteen of them as words, Widened does
// what a vector of them needs to be blended, nothing where kKeepsWords says so. All leave alpha as
// it is where the format has none: what they give is combined with a set mask.

struct WordSource {
  static constexpr int kBytes = 4;
  static constexpr bool kKeepsWords = true;
  static auto Widened(typename Vector::Type bytes) { return bytes; }
  static uint32_t Load(const uint8_t* pixel) { return LoadWord(pixel); }
  static void LoadGroup(uint8_t* words, const uint8_t* pixels, typename Vector::Type set) {
    for (int i = 0; i < kLineBytes; i += Vector::kBytes) {
      Vector::Store(words + i, Vector::Or(Vector::Load(pixels + i), set));
    }
  }
};

struct ConsoleSource {
  static constexpr int kBytes = 4;
  static constexpr bool kKeepsWords = false;
  static auto Widened(typename Vector::Type bytes) { return Vector::WidenAlpha(bytes); }
  /// Bits 24 to 30 move up by one, and bit 24 stays.
  static uint32_t Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return (word & 0x01FFFFFF) | (word << 1 & 0xFE000000);
  }
  static void LoadGroup(uint8_t* words, const uint8_t* pixels, typename Vector::Type set) {
    for (int i = 0; i < kLineBytes; i += Vector::kBytes) {
      Vector::Store(words + i, Vector::Or(Vector::WidenAlpha(Vector::Load(pixels + i)), set));
    }
  }
};

struct RgbSource {
  static constexpr int kBytes = 3;
  static auto Widened(typename Vector::Type bytes) { return bytes; }
  static uint32_t Load(const uint8_t* pixel) {
    return static_cast<uint32_t>(pixel[0]) << 16 | static_cast<uint32_t>(pixel[1]) << 8 | pixel[2];
  }
  static void LoadGroup(uint8_t* words, const uint8_t* pixels, typename Vector::Type set) {
    Vector::LoadRgbGroup(words, pixels, set);
  }
};

/// Calls visit with the source type of a format.
template <class Visitor>
void VisitSource(uint32_t type, Visitor visit) {
  if (type == kConsole) {
    visit(ConsoleSource{});
  } else if (type == kRgb24) {
    visit(RgbSource{});
  } else {
    visit(WordSource{});
  }
}

/// What is to be set in every word on its way from one format to the other: neither side's alpha
/// counts where the target keeps none, and an opaque source's is 255.
uint32_t SetMask(uint32_t sourceType, uint32_t destinationType) {
  return sourceType == kRgb24 || sourceType == kRgb32 || destinationType == kRgb32 ? kOpaque : 0;
}

uint32_t BackgroundFor(uint32_t background, uint32_t destinationType) {
  return destinationType == kRgb32 ? background | kOpaque : background;
}

template <class Source>
void LoadWords(uint8_t* words, const uint8_t* pixels, int count, uint32_t set) {
  const auto setMask = Vector::Broadcast(set);
  for (; count >= kGroupPixels; count -= kGroupPixels) {
    Source::LoadGroup(words, pixels, setMask);
    words += kLineBytes;
    pixels += kGroupPixels * Source::kBytes;
  }
  for (; count > 0; --count) {
    StoreWord(words, Source::Load(pixels) | set);
    words += 4;
    pixels += Source::kBytes;
  }
}

int PixelBytes(uint32_t type) { return type == kRgb24 ? 3 : 4; }

/// Turns words into pixels of a format where they lie. Up to a group more than `count` may be
/// turned: there is room for whole groups.
void WordsToPixels(uint8_t* words, int count, uint32_t type) {
  if (type == kConsole) {
    for (int i = 0; i < count * 4; i += Vector::kBytes) {
      Vector::Store(words + i, Vector::NarrowAlpha(Vector::Load(words + i)));
    }
  } else if (type == kRgb24) {
    for (int i = 0; i < count; i += kGroupPixels) {
      Vector::StoreRgbGroup(words + i * 3, words + i * 4);
    }
  }
}

/// Copies fewer bytes than a line; reads up to a line.
void CopyPart(uint8_t* target, const uint8_t* bytes, int count) {
  for (; count >= 16; count -= 16, target += 16, bytes += 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
  }
  if (count & 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target),
                     _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)));
    target += 8;
    bytes += 8;
  }
  for (count &= 7; count >= 4; count -= 4, target += 4, bytes += 4) {
    StoreWord(target, LoadWord(bytes));
  }
  for (; count > 0; --count) *target++ = *bytes++;
}

template <bool kStreaming>
void StoreLine(uint8_t* target, const uint8_t* bytes) {
  for (int i = 0; i < kLineBytes; i += Vector::kBytes) {
    if constexpr (kStreaming) {
      Vector::Stream(target + i, Vector::Load(bytes + i));
    } else {
      Vector::Store(target + i, Vector::Load(bytes + i));
    }
  }
}

int BytesToLine(const uint8_t* address) {
  return static_cast<int>(-reinterpret_cast<uintptr_t>(address) & (kLineBytes - 1));
}

/// Writes `count` bytes to `target`, the lines that they fill as streams. line(offset, store) gives
/// a line of bytes from an offset on to store(const uint8_t*), and may be asked for more than the
/// count.
template <bool kStreaming, class Line>
void WriteLines(uint8_t* target, int count, Line line) {
  int done = BytesToLine(target);
  if (done > count) done = count;
  if (done > 0) line(0, [&](const uint8_t* bytes) { CopyPart(target, bytes, done); });
  for (; count - done >= kLineBytes; done += kLineBytes) {
    line(done, [&](const uint8_t* bytes) { StoreLine<kStreaming>(target + done, bytes); });
  }
  if (done < count) {
    line(done, [&](const uint8_t* bytes) { CopyPart(target + done, bytes, count - done); });
  }
}

/// Writes `count` pixels of a format, all of the same word.
template <bool kStreaming>
void FillPixels(uint8_t* target, int count, uint32_t word, uint32_t type) {
  if (count <= 0) return;
  const int pixelBytes = PixelBytes(type);
  alignas(kLineBytes) uint8_t pattern[3 * kLineBytes];
  for (int i = 0; i < 2 * kGroupPixels; ++i) StoreWord(pattern + i * 4, word);
  WordsToPixels(pattern, 2 * kGroupPixels, type);
  WriteLines<kStreaming>(target, count * pixelBytes, [&](int offset, auto store) {
    store(pattern + (pixelBytes == 4 ? offset & 3 : offset % 3));
  });
}

/// Copies bytes to a picture; reads up to a line more than `count`.
void CopyOut(uint8_t* target, const uint8_t* bytes, int count, bool streaming) {
  const auto line = [bytes](int offset, auto store) { store(bytes + offset); };
  if (streaming) {
    WriteLines<true>(target, count, line);
  } else {
    WriteLines<false>(target, count, line);
  }
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
