// The vector kernels of the pixel moves, written once over the type Vector: 4, 8 or 16 words. A
// variant defines VEL_VARIANT, Vector and FourWords (the best vector of four words), and then
// includes this file; everything lands in the namespace velpicture::VEL_VARIANT, so that no code
// built with wide flags can be taken for a shared function. No templates of the standard library,
// for the same reason.
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

/// The pixels of a path as vectors V of words, changed as the path wants it.
template <PixelPath kPath, class V>
class Pixels {
 public:
  using Type = typename V::Type;

  explicit Pixels(WordMask mask)
      : keep_(V::Broadcast(kPath == kWidenAlpha    ? 0x01FFFFFF
                           : kPath == kNarrowAlpha ? 0x00FFFFFF
                                                   : mask.keep)),
        other_(V::Broadcast(kPath == kWidenAlpha    ? 0xFE000000
                            : kPath == kNarrowAlpha ? 0x7F000000
                            : kPath == kRgbToWord   ? mask.set | (mask.keep & 0xFF000000)
                                                    : mask.set)) {}

  Type Load(const uint8_t* from) const {
    if constexpr (SourceBytes(kPath) == 3) return Changed(V::LoadRgb(from));
    return Changed(V::Load(from));
  }
  /// Words as loaded, three-byte pixels without alpha.
  Type Changed(Type words) const {
    if constexpr (TargetBytes(kPath) == 3) return words;
    const Type kept = V::And(words, keep_);
    if constexpr (kPath == kWidenAlpha) return V::Or(kept, V::And(V::Doubled(words), other_));
    if constexpr (kPath == kNarrowAlpha) return V::Or(kept, V::And(V::Halved(words), other_));
    return V::Or(kept, other_);
  }
  static void Store(uint8_t* to, Type words) {
    if constexpr (TargetBytes(kPath) == 3) return V::StoreRgb(to, words);
    V::Store(to, words);
  }

 private:
  Type keep_;
  Type other_;
};

/// One pixel.
template <PixelPath kPath>
inline void MovePixel(uint8_t* to, const uint8_t* from, WordMask mask) {
  const uint32_t loaded =
      SourceBytes(kPath) == 3
          ? static_cast<uint32_t>(from[0]) << 16 | static_cast<uint32_t>(from[1]) << 8 | from[2]
          : LoadWord(from);
  const auto changed = Pixels<kPath, FourWords>(mask).Changed(FourWords::Broadcast(loaded));
  const auto word = static_cast<uint32_t>(_mm_cvtsi128_si32(changed));
  if constexpr (TargetBytes(kPath) == 3) {
    to[0] = static_cast<uint8_t>(word >> 16);
    to[1] = static_cast<uint8_t>(word >> 8);
    to[2] = static_cast<uint8_t>(word);
  } else {
    StoreWord(to, word);
  }
}

/// Words from the address to the next line of the cache; −1 where the address is no multiple of 4.
inline ptrdiff_t WordsToLine(const uint8_t* address) {
  const auto value = reinterpret_cast<uintptr_t>(address);
  if (value % 4 != 0) return -1;
  return static_cast<ptrdiff_t>(-value % kLineBytes) / 4;
}

/// A move of pixels from a source that is read upwards to a target that is written upwards, or
/// downwards and reversed: in both, memory is read in the order that the hardware foresees best.
template <PixelPath kPath, bool kReverse>
struct PixelMove {
  static constexpr ptrdiff_t kFrom = SourceBytes(kPath);
  static constexpr ptrdiff_t kTo = TargetBytes(kPath);
  /// Pixels that must follow any vector of three-byte pixels, as it is loaded with more bytes than
  /// its own: a third of the widest one's.
  static constexpr ptrdiff_t kBehind = kFrom == 3 ? (kLineWords + 2) / 3 : 0;

  template <class V>
  typename V::Type Next(const Pixels<kPath, V>& pixels) {
    const auto words = pixels.Load(from);
    from += V::kWords * kFrom;
    return kReverse ? V::Reverse(words) : words;
  }
  /// Where the next `count` pixels go.
  uint8_t* Place(ptrdiff_t count) {
    if constexpr (kReverse) return to -= count * kTo;
    uint8_t* const place = to;
    to += count * kTo;
    return place;
  }

  /// Any count of pixels, through the cache.
  void Few(ptrdiff_t count, WordMask mask) {
    const Pixels<kPath, FourWords> pixels(mask);
    for (; count >= 4 + kBehind; count -= 4) {
      const auto words = Next<FourWords>(pixels);
      pixels.Store(Place(4), words);
    }
    for (; count > 0; --count, from += kFrom) MovePixel<kPath>(Place(1), from, mask);
  }

  /// As many vectors. All are loaded before any is stored: loads at the same place of a page as
  /// stores just before them have to wait.
  template <bool kStream, int kVectors>
  void Line(const Pixels<kPath, Vector>& pixels) {
    const auto words = Next<Vector>(pixels);
    uint8_t* const place = Place(Vector::kWords);
    if constexpr (kVectors > 1) Line<kStream, kVectors - 1>(pixels);
    if constexpr (kStream) {
      Vector::Stream(place, words);
    } else {
      pixels.Store(place, words);
    }
  }

  /// Sixteen pixels at a time: whole lines where they are words.
  template <bool kStream>
  void Lines(ptrdiff_t lines, const RowMove& row) {
    const Pixels<kPath, Vector> pixels(row.mask);
    for (; lines > 0; --lines) {
      // Where a row ends, the hardware's own foresight ends too.
      if constexpr (!kStream) {
        Prefetch(from, row.sourceAhead);
        Prefetch(kReverse ? to - kLineWords * kTo : to, row.targetAhead);
      }
      Line<kStream, kLineWords / Vector::kWords>(pixels);
    }
  }

  uint8_t* to;  ///< start of the target, or its end
  const uint8_t* from;
};

/// Three-byte pixels reversed without shuffles, each with a fourth byte: loaded with the byte in
/// front of it, and stored with a byte that the next pixel takes the place of.
inline void ReverseRgb(const RowMove& row) {
  uint8_t* to = row.target;
  const uint8_t* from = row.source + row.count * 3;
  for (ptrdiff_t i = 1; i < row.count; ++i, to += 3) StoreWord(to, LoadWord((from -= 3) - 1) >> 8);
  if (row.count > 0) __builtin_memcpy(to, row.source, 3);
}

template <PixelPath kPath, bool kReverse>
void MoveRow(const RowMove& row) {
  if constexpr (kPath == kRgbToRgb) {
    if constexpr (!kReverse) {
      __builtin_memcpy(row.target, row.source, static_cast<size_t>(row.count) * 3);
      return;
    }
    if constexpr (!Vector::kShufflesBytes) return ReverseRgb(row);
  }
  using Move = PixelMove<kPath, kReverse>;
  ptrdiff_t count = row.count;
  Move move{kReverse ? row.target + count * Move::kTo : row.target, row.source};
  if (count >= 3 * kLineWords) {
    ptrdiff_t toLine = Move::kTo == 4 ? WordsToLine(move.to) : -1;
    const bool aligned = toLine >= 0;
    if (kReverse && toLine > 0) toLine = kLineWords - toLine;
    if (toLine > 0) {
      move.Few(toLine, row.mask);
      count -= toLine;
    }
    const ptrdiff_t lines = (count - Move::kBehind) / kLineWords;
    if (Move::kTo == 4 && row.stores == Stores::kStreaming && aligned) {
      move.template Lines<true>(lines, row);
    } else {
      move.template Lines<false>(lines, row);
    }
    count -= lines * kLineWords;
  }
  move.Few(count, row.mask);
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

}  // namespace
}  // namespace velpicture::VEL_VARIANT

#include "transforms/kernels/transpose_impl.h"

namespace velpicture::VEL_VARIANT {

namespace {

template <PixelPath... kPaths>
constexpr MoveKernels KernelsFor() {
  return {
      .copyRow = {MoveRow<kPaths, false>...},
      .reverseRow = {MoveRow<kPaths, true>...},
      .transpose = {Transpose<kPaths>...},
      .finishStreaming = FinishStreaming,
      .exchange = Exchange<false>,
      .exchangeReversed = Exchange<true>,
  };
}

}  // namespace

// In the order of the enumeration.
const MoveKernels kMoveKernels =
    KernelsFor<kWordToWord, kWidenAlpha, kNarrowAlpha, kRgbToWord, kWordToRgb, kRgbToRgb>();

}  // namespace velpicture::VEL_VARIANT
