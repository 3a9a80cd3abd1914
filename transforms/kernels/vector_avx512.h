#pragma once

// Sixteen words, a whole line of the cache, in a vector; the vocabulary is explained in
// vector_sse2.h.

#include "transforms/kernels/vector_avx2.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

struct Avx512Vector {
  using Type = __m512i;
  static constexpr int kBytes = 64;

  static Type Load(const void* bytes) { return _mm512_loadu_si512(bytes); }
  static void Store(void* bytes, Type value) { _mm512_storeu_si512(bytes, value); }
  static void Stream(void* bytes, Type value) {
    _mm512_stream_si512(static_cast<Type*>(bytes), value);
  }
  template <class At>
  static Type LoadLanes(At at) {
    const auto half = [at](int first) {
      return Avx2Vector::LoadLanes([=](int lane) { return at(first + lane); });
    };
    return _mm512_inserti64x4(_mm512_castsi256_si512(half(0)), half(2), 1);
  }
  static Type Broadcast(uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm512_and_si512(a, b); }
  static Type Or(Type a, Type b) { return _mm512_or_si512(a, b); }
  static Type Reverse(Type words) {
    return _mm512_permutexvar_epi32(
        _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), words);
  }
  static Type Low32(Type a, Type b) { return _mm512_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm512_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm512_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm512_unpackhi_epi64(a, b); }

  using Flags = __mmask16;
  static Flags Equal(Type a, Type b) { return _mm512_cmpeq_epi32_mask(a, b); }
  static bool IsAny(Flags flags) { return flags != 0; }
  static Type Select(Flags flags, Type where, Type otherwise) {
    return _mm512_mask_mov_epi32(otherwise, flags, where);
  }

  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm512_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type sixteen =
        _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3),
                                 _mm512_castsi256_si512(Avx2Vector::Load(multipliers)));
    const Type pairs = _mm512_unpacklo_epi16(sixteen, sixteen);
    return {_mm512_unpacklo_epi32(pairs, pairs), _mm512_unpackhi_epi32(pairs, pairs)};
  }
  static Type Blend(Type current, Type previous, const Weights& weights) {
    const Type zero = _mm512_setzero_si512();
    const Type difference =
        _mm512_sub_epi8(_mm512_max_epu8(current, previous), _mm512_min_epu8(current, previous));
    const Type step = _mm512_packus_epi16(
        _mm512_mulhi_epu16(_mm512_unpacklo_epi8(difference, zero), weights.low),
        _mm512_mulhi_epu16(_mm512_unpackhi_epi8(difference, zero), weights.high));
    return _mm512_mask_sub_epi8(_mm512_add_epi8(current, step),
                                _mm512_cmpgt_epu8_mask(current, previous), current, step);
  }

  using Channels = Avx2Vector::Channels;
  static constexpr auto Widened = Avx2Vector::Widened;
  static constexpr auto Times = Avx2Vector::Times;
  static constexpr auto Difference = Avx2Vector::Difference;

  /// The bits of b where the mask has ones, else those of a.
  static Type MixBits(Type a, Type b, uint32_t mask) {
    return _mm512_ternarylogic_epi32(Broadcast(mask), b, a, 0xCA);
  }
  static Type WidenAlpha(Type words) {
    return MixBits(words, _mm512_slli_epi32(words, 1), 0xFE000000);
  }
  static Type NarrowAlpha(Type words) {
    return MixBits(words, _mm512_srli_epi32(words, 1), 0xFF000000);
  }

  template <int kSkip, int kLastSkip>
  static Type WidenRgb(Type bytes) {
    const Type order = _mm512_broadcast_i32x4(Avx2Vector::WideningOrder<kSkip>());
    return _mm512_shuffle_epi8(
        bytes, _mm512_inserti32x4(order, Avx2Vector::WideningOrder<kLastSkip>(), 3));
  }
  static Type NarrowRgb(Type words) {
    return _mm512_shuffle_epi8(words, _mm512_broadcast_i32x4(Avx2Vector::NarrowingOrder()));
  }
  template <class Put>
  static void VisitLanes(Type value, Put put) {
    put(0, _mm512_castsi512_si128(value));
    put(1, _mm512_extracti32x4_epi32(value, 1));
    put(2, _mm512_extracti32x4_epi32(value, 2));
    put(3, _mm512_extracti32x4_epi32(value, 3));
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
