// Three-byte pixels for variants that can shuffle bytes, as Sse2Rgb. Included inside a variant: see
// move_kernels_impl.h.

#include <tmmintrin.h>

namespace velpicture::VEL_VARIANT {
namespace {

struct ShuffleRgb {
  static __m128i Widen(__m128i bytes) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    return _mm_or_si128(_mm_shuffle_epi8(bytes, order),
                        _mm_set1_epi32(static_cast<int>(0xFF000000)));
  }
  static __m128i Narrow(__m128i words) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    return _mm_shuffle_epi8(words, order);
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT
