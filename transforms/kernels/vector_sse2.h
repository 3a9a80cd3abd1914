#pragma once

// Four words in a vector, and the vocabulary of all vectors. A variant's file names its namespace
// (VEL_VARIANT_NAME) before it includes its vector. Everything here and in kernels_impl.h has
// internal linkage and uses no templates of the standard library: built with wide flags, it must
// not stand in for the same function of another file.

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace velpicture::VEL_VARIANT_NAME {
namespace {

struct Sse2Vector {
  using Type = __m128i;
  static constexpr int kBytes = 16;

  static Type Load(const void* bytes) { return _mm_loadu_si128(static_cast<const Type*>(bytes)); }
  static void Store(void* bytes, Type value) { _mm_storeu_si128(static_cast<Type*>(bytes), value); }
  /// To an address that is a multiple of the vector's size.
  static void Stream(void* bytes, Type value) {
    _mm_stream_si128(static_cast<Type*>(bytes), value);
  }
  /// Sixteen bytes from at(i) to 128-bit lane i.
  template <class At>
  static Type LoadLanes(At at) {
    return Load(at(0));
  }
  static Type Broadcast(uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm_and_si128(a, b); }
  static Type Or(Type a, Type b) { return _mm_or_si128(a, b); }
  static Type Reverse(Type words) { return _mm_shuffle_epi32(words, 0x1B); }
  // Within each lane.
  static Type Low32(Type a, Type b) { return _mm_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm_unpackhi_epi64(a, b); }

  /// Marks words.
  using Flags = Type;
  static Flags Equal(Type a, Type b) { return _mm_cmpeq_epi32(a, b); }
  static bool IsAny(Flags flags) { return _mm_movemask_epi8(flags) != 0; }
  static Type Select(Flags flags, Type where, Type otherwise) {
    return _mm_or_si128(_mm_and_si128(flags, where), _mm_andnot_si128(flags, otherwise));
  }

  /// Multipliers per channel in 16 bits, for the lower and the upper half of each lane's bytes.
  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  /// One multiplier for each word.
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type four = _mm_loadl_epi64(reinterpret_cast<const Type*>(multipliers));
    const Type pairs = _mm_unpacklo_epi16(four, four);
    return {_mm_unpacklo_epi32(pairs, pairs), _mm_unpackhi_epi32(pairs, pairs)};
  }
  /// current − trunc((current − previous) · weight), channel by channel.
  static Type Blend(Type current, Type previous, const Weights& weights) {
    const Type zero = _mm_setzero_si128();
    const Type greater = _mm_max_epu8(current, previous);
    const Type difference = _mm_sub_epi8(greater, _mm_min_epu8(current, previous));
    const Type step =
        _mm_packus_epi16(_mm_mulhi_epu16(_mm_unpacklo_epi8(difference, zero), weights.low),
                         _mm_mulhi_epu16(_mm_unpackhi_epi8(difference, zero), weights.high));
    const Type upwards = _mm_cmpeq_epi8(greater, previous);  // −step where current < previous
    return _mm_sub_epi8(current, _mm_sub_epi8(_mm_xor_si128(step, upwards), upwards));
  }

  /// A pixel's four channels as doubles.
  struct Channels {
    __m128d low;
    __m128d high;
  };
  static Type Unpacked(uint32_t word) {
    const Type zero = _mm_setzero_si128();
    const Type bytes = _mm_cvtsi32_si128(static_cast<int>(word));
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero);
  }
  static Channels Times(Type channels, double weight) {
    const __m128d factor = _mm_set1_pd(weight);
    return {_mm_mul_pd(_mm_cvtepi32_pd(channels), factor),
            _mm_mul_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(channels, 0xEE)), factor)};
  }
  /// trunc(current − previous) as 32-bit integers.
  static Type Difference(const Channels& current, const Channels& previous) {
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(_mm_sub_pd(current.low, previous.low)),
                              _mm_cvttpd_epi32(_mm_sub_pd(current.high, previous.high)));
  }

  /// Console pixels to words with an alpha of 8 bits: bits 24 to 30 move up, and bit 24 stays.
  static Type WidenAlpha(Type words) {
    const Type alpha = Broadcast(0xFE000000);
    return _mm_or_si128(_mm_andnot_si128(alpha, words),
                        _mm_and_si128(alpha, _mm_slli_epi32(words, 1)));
  }
  static Type NarrowAlpha(Type words) {
    // What is left without half of it, rounded up, is half of it, rounded down.
    const Type alpha = _mm_and_si128(words, Broadcast(0xFF000000));
    return _mm_sub_epi8(words, _mm_avg_epu8(alpha, _mm_setzero_si128()));
  }

  /// In each lane, four three-byte pixels become words without alpha. They begin behind kSkip bytes
  /// (0 or 4), in the last lane behind kLastSkip.
  template <int kSkip, int kLastSkip>
  static Type WidenRgb(Type bytes) {
    const Type first =
        _mm_unpacklo_epi32(_mm_srli_si128(bytes, kLastSkip), _mm_srli_si128(bytes, kLastSkip + 3));
    const Type second = _mm_unpacklo_epi32(_mm_srli_si128(bytes, kLastSkip + 6),
                                           _mm_srli_si128(bytes, kLastSkip + 9));
    return SwapRedAndBlue(_mm_unpacklo_epi64(first, second));
  }
  /// In each lane: the three-byte pixels of four words, and four bytes of no meaning.
  static Type NarrowRgb(Type words) {
    const Type swapped = SwapRedAndBlue(words);
    const Type pairs =
        _mm_or_si128(_mm_and_si128(swapped, _mm_set1_epi64x(0xFFFFFF)),
                     _mm_and_si128(_mm_srli_epi64(swapped, 8), _mm_set1_epi64x(0xFFFFFF000000)));
    return _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
  }
  /// put(i, lane i)
  template <class Put>
  static void VisitLanes(Type value, Put put) {
    put(0, value);
  }

 private:
  static Type SwapRedAndBlue(Type words) {
    const Type low = _mm_set1_epi32(0xFF);
    return _mm_or_si128(_mm_and_si128(words, _mm_set1_epi32(0xFF00)),
                        _mm_or_si128(_mm_slli_epi32(_mm_and_si128(words, low), 16),
                                     _mm_and_si128(_mm_srli_epi32(words, 16), low)));
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
