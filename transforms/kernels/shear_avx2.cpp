// The shears for processors with AVX2: eight words in a vector.

#include <immintrin.h>

#include <cstdint>

#define VEL_VARIANT avx2

namespace velpicture::avx2 {
namespace {

struct Vector {
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
  static Type LoadBlocks(At at) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(at(0))), Load16(at(1)), 1);
  }
  static Type Or(Type a, Type b) { return _mm256_or_si256(a, b); }
  static Type Broadcast(uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  template <class Source>
  static Type Previous(const uint8_t* pixels, Type current, Type last) {
    if constexpr (Source::kKeepsWords) return Load(pixels - 4);
    return _mm256_alignr_epi8(current, _mm256_permute2x128_si256(last, current, 0x21), 12);
  }
  static void Leave() { _mm256_zeroupper(); }

  using Flags = Type;
  static Type Add(Type a, Type b) { return _mm256_add_epi32(a, b); }
  static Flags Less(Type a, Type b) { return _mm256_cmpgt_epi32(b, a); }
  static Flags Equal(Type a, Type b) { return _mm256_cmpeq_epi32(a, b); }
  static Type Select(Flags flags, Type a, Type b) { return _mm256_blendv_epi8(b, a, flags); }
  static bool IsAny(Flags flags) { return _mm256_movemask_epi8(flags) != 0; }

  /// Per channel in 16 bits, for the lower and the upper half of each 128-bit lane.
  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm256_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type eight = _mm256_permute4x64_epi64(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(multipliers))),
        0x50);
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
    const Type upwards = _mm256_cmpeq_epi8(greater, previous);  // −step where current < previous
    return _mm256_sub_epi8(current, _mm256_sub_epi8(_mm256_xor_si256(step, upwards), upwards));
  }

  static Type WidenAlpha(Type words) {
    return MixBits(words, _mm256_slli_epi32(words, 1), 0xFE000000);
  }
  static Type NarrowAlpha(Type words) {
    // Half of it, rounded down, is what is left without the half that is rounded up.
    const Type alpha = _mm256_and_si256(words, Broadcast(0xFF000000));
    return _mm256_sub_epi8(words, _mm256_avg_epu8(alpha, _mm256_setzero_si256()));
  }

  static void LoadRgbGroup(uint8_t* words, const uint8_t* pixels, Type set) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    // The last four pixels are read together with the four bytes before them, not after.
    const __m128i lastOrder =
        _mm_setr_epi8(6, 5, 4, -1, 9, 8, 7, -1, 12, 11, 10, -1, 15, 14, 13, -1);
    const auto load = [pixels](int low, int high) {
      return LoadBlocks([&](int b) { return pixels + (b == 0 ? low : high); });
    };
    Store(words, Or(_mm256_shuffle_epi8(load(0, 12), _mm256_set_m128i(order, order)), set));
    Store(words + kBytes,
          Or(_mm256_shuffle_epi8(load(24, 32), _mm256_set_m128i(lastOrder, order)), set));
  }
  static void StoreRgbGroup(uint8_t* pixels, const uint8_t* words) {
    const Type order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    const Type first = _mm256_shuffle_epi8(Load(words), order);
    const Type second = _mm256_shuffle_epi8(Load(words + kBytes), order);
    const auto store = [pixels](int offset, __m128i value) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + offset), value);
    };
    store(0, _mm256_castsi256_si128(first));
    store(12, _mm256_extracti128_si256(first, 1));
    store(24, _mm256_castsi256_si128(second));
    store(36, _mm256_extracti128_si256(second, 1));
  }

 private:
  static __m128i Load16(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  }
  /// The bits of b where the mask has ones, else those of a.
  static Type MixBits(Type a, Type b, uint32_t mask) {
    const Type bits = Broadcast(mask);
    return _mm256_or_si256(_mm256_andnot_si256(bits, a), _mm256_and_si256(bits, b));
  }
};

}  // namespace
}  // namespace velpicture::avx2

#include "transforms/kernels/shear_kernels_impl.h"
