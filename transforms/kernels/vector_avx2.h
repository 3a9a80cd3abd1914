#pragma once

// Eight words in a vector; the vocabulary is explained in vector_sse2.h.

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace velpicture::VEL_VARIANT_NAME {
namespace {

struct Avx2Vector {
  using Type = __m256i;
  static constexpr int kBytes = 32;

  static Type Load(const void* bytes) {
    return _mm256_loadu_si256(static_cast<const Type*>(bytes));
  }
  static void Store(void* bytes, Type value) {
    _mm256_storeu_si256(static_cast<Type*>(bytes), value);
  }
  static void Stream(void* bytes, Type value) {
    _mm256_stream_si256(static_cast<Type*>(bytes), value);
  }
  template <class At>
  static Type LoadLanes(At at) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(at(0))), Load16(at(1)), 1);
  }
  static Type Broadcast(uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm256_and_si256(a, b); }
  static Type Or(Type a, Type b) { return _mm256_or_si256(a, b); }
  static Type Reverse(Type words) {
    return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  }
  static Type Low32(Type a, Type b) { return _mm256_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm256_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm256_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm256_unpackhi_epi64(a, b); }

  using Flags = Type;
  static Flags Equal(Type a, Type b) { return _mm256_cmpeq_epi32(a, b); }
  static bool IsAny(Flags flags) { return _mm256_movemask_epi8(flags) != 0; }
  static Type Select(Flags flags, Type where, Type otherwise) {
    return _mm256_blendv_epi8(otherwise, where, flags);
  }

  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm256_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type eight = _mm256_permute4x64_epi64(_mm256_castsi128_si256(Load16(multipliers)), 0x50);
    const Type pairs = _mm256_unpacklo_epi16(eight, eight);
    return {_mm256_unpacklo_epi32(pairs, pairs), _mm256_unpackhi_epi32(pairs, pairs)};
  }
  static Type Blend(Type current, Type previous, const Weights& weights) {
    const Type zero = _mm256_setzero_si256();
    const Type greater = _mm256_max_epu8(current, previous);
    const Type difference = _mm256_sub_epi8(greater, _mm256_min_epu8(current, previous));
    const Type step = _mm256_packus_epi16(
        _mm256_mulhi_epu16(_mm256_unpacklo_epi8(difference, zero), weights.low),
        _mm256_mulhi_epu16(_mm256_unpackhi_epi8(difference, zero), weights.high));
    const Type upwards = _mm256_cmpeq_epi8(greater, previous);
    return _mm256_sub_epi8(current, _mm256_sub_epi8(_mm256_xor_si256(step, upwards), upwards));
  }

  using Channels = __m256d;
  static __m128i Unpacked(uint32_t word) {
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(word)));
  }
  static Channels Times(__m128i channels, double weight) {
    return _mm256_mul_pd(_mm256_cvtepi32_pd(channels), _mm256_set1_pd(weight));
  }
  static __m128i Difference(Channels current, Channels previous) {
    return _mm256_cvttpd_epi32(_mm256_sub_pd(current, previous));
  }

  static Type WidenAlpha(Type words) {
    const Type alpha = Broadcast(0xFE000000);
    return _mm256_or_si256(_mm256_andnot_si256(alpha, words),
                           _mm256_and_si256(alpha, _mm256_slli_epi32(words, 1)));
  }
  static Type NarrowAlpha(Type words) {
    const Type alpha = _mm256_and_si256(words, Broadcast(0xFF000000));
    return _mm256_sub_epi8(words, _mm256_avg_epu8(alpha, _mm256_setzero_si256()));
  }

  template <int kSkip>
  static __m128i WideningOrder() {
    constexpr char s = kSkip;
    return _mm_setr_epi8(s + 2, s + 1, s, -1, s + 5, s + 4, s + 3, -1, s + 8, s + 7, s + 6, -1,
                         s + 11, s + 10, s + 9, -1);
  }
  static __m128i NarrowingOrder() {
    return _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  }
  template <int kSkip, int kLastSkip>
  static Type WidenRgb(Type bytes) {
    return _mm256_shuffle_epi8(
        bytes, _mm256_set_m128i(WideningOrder<kLastSkip>(), WideningOrder<kSkip>()));
  }
  static Type NarrowRgb(Type words) {
    return _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(NarrowingOrder()));
  }
  template <class Put>
  static void VisitLanes(Type value, Put put) {
    put(0, _mm256_castsi256_si128(value));
    put(1, _mm256_extracti128_si256(value, 1));
  }

 private:
  static __m128i Load16(const void* bytes) {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
