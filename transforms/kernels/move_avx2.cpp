// The pixel moves for processors with AVX2: eight words in a vector.

#include <immintrin.h>

#define VEL_VARIANT avx2
#include "transforms/kernels/rgb_shuffle_impl.h"

namespace velpicture::avx2 {
namespace {

struct Vector {
  using Type = __m256i;
  static constexpr bool kShufflesBytes = true;
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

  /// Three-byte pixels behind one another become four to a lane, and back.
  template <int kSkip>
  static Type WidenLanes(Type bytes) {
    return _mm256_shuffle_epi8(bytes,
                               _mm256_broadcastsi128_si256(ShuffledWords::WideningOrder<kSkip>()));
  }
  static Type LoadRgb(const void* bytes) {
    const Type order = _mm256_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5);
    return WidenLanes<0>(_mm256_permutevar8x32_epi32(Load(bytes), order));
  }
  static void StoreRgb(uint8_t* bytes, Type words) {
    const Type narrowed =
        _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(ShuffledWords::NarrowingOrder()));
    const Type order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 6, 6);
    const Type joined = _mm256_permutevar8x32_epi32(narrowed, order);
    Sse2Words::Store(bytes, _mm256_castsi256_si128(joined));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + 16), _mm256_extracti128_si256(joined, 1));
  }
};
using FourWords = ShuffledWords;

}  // namespace
}  // namespace velpicture::avx2

#include "transforms/kernels/move_kernels_impl.h"
