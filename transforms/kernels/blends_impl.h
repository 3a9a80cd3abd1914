#pragma once

// Blends whose products have to be formed in double. Included inside a variant, see kernels_impl.h.
//
// A pixel's products with the weight are needed twice: as the current pixel's, and then as the
// previous one's of the pixel that follows. They are formed once.

#include "transforms/kernels/pixels_impl.h"
#include "transforms/kernels/shear_multiplier.h"

namespace velpicture::VEL_VARIANT_NAME {
namespace {

/// Of words that are blended already: nothing is left to set in them.
constexpr FormatPair kUnchanged = {kPixelArgb32, kPixelArgb32};

using Channels = typename Vector::Channels;

inline Channels Products(uint32_t word, double weight) {
  return Vector::Times(Vector::Unpacked(word), weight);
}

/// The blend of a pixel as four 32-bit integers; `products` are those of the pixel before, and then
/// those of this one.
inline __m128i BlendStep(uint32_t word, double weight, Channels& products) {
  const __m128i channels = Vector::Unpacked(word);
  const Channels current = Vector::Times(channels, weight);
  const __m128i step = Vector::Difference(current, products);
  products = current;
  return _mm_sub_epi32(channels, step);
}

inline __m128i Packed(__m128i a, __m128i b, __m128i c, __m128i d) {
  return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
}

inline uint32_t BlendInDoubles(uint32_t current, uint32_t previous, double weight) {
  Channels products = Products(previous, weight);
  const __m128i blend = BlendStep(current, weight, products);
  return static_cast<uint32_t>(_mm_cvtsi128_si32(Packed(blend, blend, blend, blend)));
}

/// Blends words 1 to `count` with the word in front of each.
inline void BlendRowInDoubles(uint8_t* blends, const uint8_t* words, int count, double weight) {
  Channels products = Products(LoadWord(words), weight);
  const auto step = [&](int i) { return BlendStep(LoadWord(words + 4 + i * 4), weight, products); };
  int i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i a = step(i), b = step(i + 1), c = step(i + 2), d = step(i + 3);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(blends + i * 4), Packed(a, b, c, d));
  }
  for (; i < count; ++i) {
    const __m128i blend = step(i);
    StoreWord(blends + i * 4,
              static_cast<uint32_t>(_mm_cvtsi128_si32(Packed(blend, blend, blend, blend))));
  }
}

/// Blends four columns of words where they lie, each with the word above; `above` are the words
/// above the first row.
inline void BlendColumnsInDoubles(uint8_t* words, ptrdiff_t stride, int rowCount,
                                  const uint32_t* above, const double* weights) {
  Channels products[4];
  for (int i = 0; i < 4; ++i) products[i] = Products(above[i], weights[i]);
  for (int row = 0; row < rowCount; ++row, words += stride) {
    const auto step = [&](int i) {
      return BlendStep(LoadWord(words + i * 4), weights[i], products[i]);
    };
    const __m128i a = step(0), b = step(1), c = step(2), d = step(3);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(words), Packed(a, b, c, d));
  }
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT_NAME
