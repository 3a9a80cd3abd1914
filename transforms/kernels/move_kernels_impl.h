// The vector kernels of the pixel moves, written once over the type Vector: 4, 8 or 16 words. A
// variant defines VEL_VARIANT, Vector and Rgb, and then includes this file; everything lands in the
// namespace velpicture::VEL_VARIANT, so that no code built with wide flags can be taken for a
// shared function. No templates of the standard library, for the same reason.
//
// Streaming stores are worth having only as whole aligned cache lines, and rows are aligned to four
// bytes only. A row is therefore written as a head up to the next line (through the cache), whole
// lines, and a tail.

#include "transforms/kernels/move_kernels.h"

namespace velpicture::VEL_VARIANT {
namespace {

constexpr ptrdiff_t kLineBytes = 64;
constexpr ptrdiff_t kLineWords = kLineBytes / 4;
constexpr ptrdiff_t kVectorBytes = Vector::kWords * 4;

inline uint32_t LoadWord(const uint8_t* bytes) {
  uint32_t word;
  __builtin_memcpy(&word, bytes, sizeof word);
  return word;
}

inline void StoreWord(uint8_t* bytes, uint32_t word) {
  __builtin_memcpy(bytes, &word, sizeof word);
}

/// Asks for the line `offset` bytes from `address`, which may be anywhere, even outside memory.
inline void Prefetch(const uint8_t* address, ptrdiff_t offset) {
  __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(address) +
                                                   static_cast<uintptr_t>(offset)));
}

template <class V>
struct MaskPair {
  explicit MaskPair(WordMask mask) : keep(V::Broadcast(mask.keep)), set(V::Broadcast(mask.set)) {}
  typename V::Type operator()(typename V::Type words) const {
    return V::Or(V::And(words, keep), set);
  }
  typename V::Type keep;
  typename V::Type set;
};

/// Words from the address to the next line of the cache; −1 where the address is no multiple of 4.
inline ptrdiff_t WordsToLine(const uint8_t* address) {
  const auto value = reinterpret_cast<uintptr_t>(address);
  if (value % 4 != 0) return -1;
  return static_cast<ptrdiff_t>(-value % kLineBytes) / 4;
}

/// A move of words from a source that is read upwards to a target that is written upwards, or
/// downwards and reversed: in both, memory is read in the order that the hardware foresees best.
template <bool kReverse>
struct WordMove {
  template <class V>
  typename V::Type Next() {
    const auto words = V::Load(from);
    from += V::kWords * 4;
    return kReverse ? V::Reverse(words) : words;
  }
  /// Where the next `bytes` go.
  uint8_t* Place(ptrdiff_t bytes) {
    if constexpr (kReverse) return to -= bytes;
    uint8_t* const place = to;
    to += bytes;
    return place;
  }

  /// Any count of words, through the cache.
  void Few(ptrdiff_t count) {
    const MaskPair<Sse2Words> masked(mask);
    for (; count >= 4; count -= 4) {
      const auto words = masked(Next<Sse2Words>());
      Sse2Words::Store(Place(16), words);
    }
    for (; count > 0; --count, from += 4)
      StoreWord(Place(4), (LoadWord(from) & mask.keep) | mask.set);
  }

  /// Whole lines. Four vectors are loaded before any is stored: loads at the same place of a page
  /// as stores just before them have to wait.
  template <bool kStream>
  void Lines(ptrdiff_t lines) {
    constexpr ptrdiff_t kBatch = 4 * kVectorBytes;
    constexpr ptrdiff_t kPrefetchBytes = 1024;
    const MaskPair<Vector> masked(mask);
    const auto store = [&](typename Vector::Type words) {
      if constexpr (kStream) {
        Vector::Stream(Place(kVectorBytes), masked(words));
      } else {
        Vector::Store(Place(kVectorBytes), masked(words));
      }
    };
    ptrdiff_t bytes = lines * kLineBytes;
    for (; bytes >= kBatch; bytes -= kBatch) {
      for (ptrdiff_t i = 0; i < kBatch; i += kLineBytes) Prefetch(from, kPrefetchBytes + i);
      const auto words0 = Next<Vector>();
      const auto words1 = Next<Vector>();
      const auto words2 = Next<Vector>();
      const auto words3 = Next<Vector>();
      store(words0);
      store(words1);
      store(words2);
      store(words3);
    }
    for (; bytes > 0; bytes -= kVectorBytes) store(Next<Vector>());
  }

  uint8_t* to;  ///< start of the target, or its end
  const uint8_t* from;
  WordMask mask;
};

/// Any count of words, through the cache. The target may be the source.
inline void MoveFew(uint8_t* to, const uint8_t* from, ptrdiff_t count, WordMask mask) {
  WordMove<false>{to, from, mask}.Few(count);
}

template <bool kReverse>
void MoveWords(uint8_t* target, const uint8_t* source, ptrdiff_t count, WordMask mask,
               Stores stores) {
  WordMove<kReverse> move{kReverse ? target + count * 4 : target, source, mask};
  if (count >= 2 * kLineWords) {
    ptrdiff_t toLine = WordsToLine(move.to);
    const bool aligned = toLine >= 0;
    if (kReverse && toLine > 0) toLine = kLineWords - toLine;
    if (toLine > 0) {
      move.Few(toLine);
      count -= toLine;
    }
    const ptrdiff_t lines = count / kLineWords;
    if (stores == Stores::kStreaming && aligned) {
      move.template Lines<true>(lines);
    } else {
      move.template Lines<false>(lines);
    }
    count -= lines * kLineWords;
  }
  move.Few(count);
}

void FinishStreaming() { _mm_sfence(); }

template <bool kReverse>
void Exchange(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
              const uint8_t* rightAhead) {
  uint8_t* other = kReverse ? right + count * 4 : right;
  for (ptrdiff_t ahead = 0; count >= kLineWords; count -= kLineWords, ahead += kLineBytes) {
    Prefetch(leftAhead, ahead);
    Prefetch(rightAhead, ahead);
    for (ptrdiff_t i = 0; i < kLineBytes; i += kVectorBytes) {
      if constexpr (kReverse) other -= kVectorBytes;
      const auto fromLeft = Vector::Load(left);
      const auto fromRight = Vector::Load(other);
      Vector::Store(left, kReverse ? Vector::Reverse(fromRight) : fromRight);
      Vector::Store(other, kReverse ? Vector::Reverse(fromLeft) : fromLeft);
      if constexpr (!kReverse) other += kVectorBytes;
      left += kVectorBytes;
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

void WidenRgb(uint8_t* words, const uint8_t* rgb, ptrdiff_t count) {
  // Four pixels are loaded with four bytes of what follows, so as long as that is pixels too.
  for (; count >= 6; count -= 4, words += 16, rgb += 12) {
    Sse2Words::Store(words, Rgb::Widen(Sse2Words::Load(rgb)));
  }
  for (; count > 0; --count, words += 4, rgb += 3) {
    StoreWord(words, 0xFF000000U | static_cast<uint32_t>(rgb[0]) << 16 |
                         static_cast<uint32_t>(rgb[1]) << 8 | rgb[2]);
  }
}

void NarrowRgb(uint8_t* rgb, const uint8_t* words, ptrdiff_t count) {
  // Four bytes too many are stored, and then overwritten by the pixels that belong there.
  for (; count >= 6; count -= 4, words += 16, rgb += 12) {
    Sse2Words::Store(rgb, Rgb::Narrow(Sse2Words::Load(words)));
  }
  for (; count > 0; --count, words += 4, rgb += 3) {
    rgb[0] = words[2];
    rgb[1] = words[1];
    rgb[2] = words[0];
  }
}

/// One word to one word: convert<V> does so for vectors.
template <class Convert>
inline void ConvertWords(uint8_t* words, const uint8_t* source, ptrdiff_t count, Convert convert) {
  for (; count >= Vector::kWords; count -= Vector::kWords) {
    Vector::Store(words, convert(Vector{}, Vector::Load(source)));
    words += kVectorBytes;
    source += kVectorBytes;
  }
  for (; count > 0; --count, words += 4, source += 4) {
    const auto word = convert(Sse2Words{}, Sse2Words::Broadcast(LoadWord(source)));
    StoreWord(words, static_cast<uint32_t>(_mm_cvtsi128_si32(word)));
  }
}

void WidenAlpha(uint8_t* words, const uint8_t* source, ptrdiff_t count) {
  ConvertWords(words, source, count, []<class V>(V, typename V::Type word) {
    return V::Or(V::And(word, V::Broadcast(0x01FFFFFF)),
                 V::And(V::Doubled(word), V::Broadcast(0xFE000000)));
  });
}

void NarrowAlpha(uint8_t* words, const uint8_t* source, ptrdiff_t count) {
  ConvertWords(words, source, count, []<class V>(V, typename V::Type word) {
    return V::Or(V::And(word, V::Broadcast(0x00FFFFFF)),
                 V::And(V::Halved(word), V::Broadcast(0x7F000000)));
  });
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT

#include "transforms/kernels/transpose_impl.h"

namespace velpicture::VEL_VARIANT {

const MoveKernels kMoveKernels = {
    .copyWords = MoveWords<false>,
    .reverseWords = MoveWords<true>,
    .transpose = Transpose,
    .finishStreaming = FinishStreaming,
    .exchange = Exchange<false>,
    .exchangeReversed = Exchange<true>,
    .widenRgb = WidenRgb,
    .narrowRgb = NarrowRgb,
    .widenAlpha = WidenAlpha,
    .narrowAlpha = NarrowAlpha,
};

}  // namespace velpicture::VEL_VARIANT
