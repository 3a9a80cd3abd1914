// The pixel moves for processors with AVX2: eight words in a vector.

#include <immintrin.h>

#define VEL_VARIANT avx2
#include "transforms/kernels/rgb_shuffle_impl.h"
#include "transforms/kernels/words_sse2_impl.h"

namespace velpicture::avx2 {
namespace {

struct Vector {
  using Type = __m256i;
  static constexpr int kWords = 8;

  static Type Load(const void* bytes) {
    return _mm256_loadu_si256(static_cast<const Type*>(bytes));
  }
  static void Store(void* bytes, Type words) {
    _mm256_storeu_si256(static_cast<Type*>(bytes), words);
  }
  static void Stream(void* bytes, Type words) {
    _mm256_stream_si256(static_cast<Type*>(bytes), words);
  }
  static Type Broadcast(uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm256_and_si256(a, b); }
  static Type Or(Type a, Type b) { return _mm256_or_si256(a, b); }
  static Type Doubled(Type words) { return _mm256_add_epi32(words, words); }
  static Type Halved(Type words) { return _mm256_srli_epi32(words, 1); }
  static Type Reverse(Type words) {
    return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  }
  static Type LoadRows(const uint8_t* row, ptrdiff_t fourRows) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(Sse2Words::Load(row)),
                                   Sse2Words::Load(row + fourRows), 1);
  }
  static Type Low32(Type a, Type b) { return _mm256_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm256_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm256_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm256_unpackhi_epi64(a, b); }
};
using Rgb = ShuffleRgb;

}  // namespace
}  // namespace velpicture::avx2

#include "transforms/kernels/move_kernels_impl.h"
