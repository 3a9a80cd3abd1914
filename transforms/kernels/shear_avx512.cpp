// The shears for processors with AVX-512 (F, BW, VL): sixteen words in a vector.

#include <immintrin.h>

#include <cstdint>

#define VEL_VARIANT avx512

namespace velpicture::avx512 {
namespace {

struct Vector {
  using Type = __m512i;
  static constexpr int kBytes = 64;

  static Type Load(const void* bytes) { return _mm512_loadu_si512(bytes); }
  static void Store(void* bytes, Type value) { _mm512_storeu_si512(bytes, value); }
  static void Stream(void* bytes, Type value) {
    _mm512_stream_si512(static_cast<Type*>(bytes), value);
  }
  template <class At>
  static Type LoadBlocks(At at) {
    const __m256i low =
        _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(at(0))), Load16(at(1)), 1);
    const __m256i high =
        _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(at(2))), Load16(at(3)), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
  }
  static Type Or(Type a, Type b) { return _mm512_or_si512(a, b); }
  static Type Broadcast(uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  template <class Source>
  static Type Previous(const uint8_t*, Type current, Type last) {
    return _mm512_alignr_epi32(current, last, 15);
  }
  static void Leave() { _mm256_zeroupper(); }

  using Flags = __mmask16;
  static Type Add(Type a, Type b) { return _mm512_add_epi32(a, b); }
  static Flags Less(Type a, Type b) { return _mm512_cmplt_epi32_mask(a, b); }
  static Flags Equal(Type a, Type b) { return _mm512_cmpeq_epi32_mask(a, b); }
  static Type Select(Flags flags, Type a, Type b) { return _mm512_mask_mov_epi32(b, flags, a); }
  static bool IsAny(Flags flags) { return flags != 0; }

  /// Per channel in 16 bits, for the lower and the upper half of each 128-bit lane.
  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm512_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type sixteen = _mm512_permutexvar_epi64(
        _mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3),
        _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(multipliers))));
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

  static Type WidenAlpha(Type words) {
    return MixBits(words, _mm512_slli_epi32(words, 1), 0xFE000000);
  }
  static Type NarrowAlpha(Type words) {
    return MixBits(words, _mm512_srli_epi32(words, 1), 0xFF000000);
  }

  static void LoadRgbGroup(uint8_t* words, const uint8_t* pixels, Type set) {
    // Twelve bytes, four pixels, to each 128-bit lane.
    const Type spread = _mm512_permutexvar_epi32(
        _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11),
        _mm512_maskz_loadu_epi8(kRgbGroup, pixels));
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    Store(words, Or(_mm512_shuffle_epi8(spread, _mm512_broadcast_i32x4(order)), set));
  }
  static void StoreRgbGroup(uint8_t* pixels, const uint8_t* words) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const Type packed = _mm512_permutexvar_epi32(
        _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 3, 3, 3),
        _mm512_shuffle_epi8(Load(words), _mm512_broadcast_i32x4(order)));
    _mm512_mask_storeu_epi8(pixels, kRgbGroup, packed);
  }

 private:
  static __m128i Load16(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  }
  static constexpr __mmask64 kRgbGroup = 0xFFFFFFFFFFFF;

  /// The bits of b where the mask has ones, else those of a.
  static Type MixBits(Type a, Type b, uint32_t mask) {
    return _mm512_ternarylogic_epi32(Broadcast(mask), b, a, 0xCA);
  }
};

}  // namespace
}  // namespace velpicture::avx512

#include "transforms/kernels/shear_kernels_impl.h"
