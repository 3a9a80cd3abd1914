// The shears for every processor: four words in a vector.

#include <emmintrin.h>

#include <cstdint>

#define VEL_VARIANT sse2

namespace velpicture::sse2 {
namespace {

struct Vector {
  using Type = __m128i;
  static constexpr int kBytes = 16;

  static Type Load(const void* bytes) { return _mm_loadu_si128(static_cast<const Type*>(bytes)); }
  static void Store(void* bytes, Type value) { _mm_storeu_si128(static_cast<Type*>(bytes), value); }
  static void Stream(void* bytes, Type value) {
    _mm_stream_si128(static_cast<Type*>(bytes), value);
  }
  template <class At>
  static Type LoadBlocks(At at) {
    return Load(at(0));
  }
  static Type Or(Type a, Type b) { return _mm_or_si128(a, b); }
  static Type Broadcast(uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
  template <class Source>
  static Type Previous(const uint8_t* pixels, Type current, Type last) {
    if constexpr (Source::kKeepsWords) return Load(pixels - 4);
    // The last word of the vector before, and the first three of this one.
    const __m128 currentWords = _mm_castsi128_ps(current);
    const __m128 seam = _mm_shuffle_ps(_mm_castsi128_ps(last), currentWords, 0x0F);
    return _mm_castps_si128(_mm_shuffle_ps(seam, currentWords, 0x98));
  }
  static void Leave() {}

  using Flags = Type;
  static Type Add(Type a, Type b) { return _mm_add_epi32(a, b); }
  static Flags Less(Type a, Type b) { return _mm_cmplt_epi32(a, b); }
  static Flags Equal(Type a, Type b) { return _mm_cmpeq_epi32(a, b); }
  static Type Select(Flags flags, Type a, Type b) {
    return _mm_or_si128(_mm_and_si128(flags, a), _mm_andnot_si128(flags, b));
  }
  static bool IsAny(Flags flags) { return _mm_movemask_epi8(flags) != 0; }

  /// Per channel in 16 bits, for the lower and the upper half of the bytes.
  struct Weights {
    Type low;
    Type high;
  };
  static Weights WeightsOf(uint16_t multiplier) {
    const Type all = _mm_set1_epi16(static_cast<short>(multiplier));
    return {all, all};
  }
  static Weights WeightsOf(const uint16_t* multipliers) {
    const Type four = _mm_loadl_epi64(reinterpret_cast<const Type*>(multipliers));
    const Type pairs = _mm_unpacklo_epi16(four, four);
    return {_mm_unpacklo_epi32(pairs, pairs), _mm_unpackhi_epi32(pairs, pairs)};
  }
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

  static Type WidenAlpha(Type words) {
    return MixBits(words, _mm_slli_epi32(words, 1), 0xFE000000);
  }
  static Type NarrowAlpha(Type words) {
    // Half of it, rounded down, is what is left without the half that is rounded up.
    const Type alpha = _mm_and_si128(words, Broadcast(0xFF000000));
    return _mm_sub_epi8(words, _mm_avg_epu8(alpha, _mm_setzero_si128()));
  }

  static void LoadRgbGroup(uint8_t* words, const uint8_t* pixels, Type set) {
    const auto setWord = static_cast<uint32_t>(_mm_cvtsi128_si32(set));
    const auto load = [pixels](int offset) {
      uint32_t word;
      __builtin_memcpy(&word, pixels + offset, sizeof word);
      return __builtin_bswap32(word);
    };
    const auto store = [words, setWord](int i, uint32_t word) {
      word |= setWord;
      __builtin_memcpy(words + i * 4, &word, sizeof word);
    };
    for (int i = 0; i < 15; ++i) store(i, load(i * 3) >> 8);
    store(15, load(44) & 0xFFFFFF);
  }
  static void StoreRgbGroup(uint8_t* pixels, const uint8_t* words) {
    for (int i = 0; i < 16; ++i) {
      uint32_t word;
      __builtin_memcpy(&word, words + i * 4, sizeof word);
      word = __builtin_bswap32(word) >> 8;
      __builtin_memcpy(pixels + i * 3, &word, sizeof word);
    }
  }

 private:
  /// The bits of b where the mask has ones, else those of a.
  static Type MixBits(Type a, Type b, uint32_t mask) {
    const Type bits = Broadcast(mask);
    return _mm_or_si128(_mm_andnot_si128(bits, a), _mm_and_si128(bits, b));
  }
};

}  // namespace
}  // namespace velpicture::sse2

#include "transforms/kernels/shear_kernels_impl.h"
