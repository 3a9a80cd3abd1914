// The pixel moves for processors with AVX-512: sixteen words, a whole cache line, in a vector.

#include <immintrin.h>

#define VEL_VARIANT avx512
#include "transforms/kernels/rgb_shuffle_impl.h"

namespace velpicture::avx512 {
namespace {

struct Vector {
  using Type = __m512i;
  static constexpr bool kShufflesBytes = true;
  static constexpr int kWords = 16;

  static Type Load(const void* bytes) { return _mm512_loadu_si512(bytes); }
  static void Store(void* bytes, Type words) { _mm512_storeu_si512(bytes, words); }
  static void Stream(void* bytes, Type words) {
    _mm512_stream_si512(static_cast<Type*>(bytes), words);
  }
  static Type Broadcast(uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm512_and_si512(a, b); }
  static Type Or(Type a, Type b) { return _mm512_or_si512(a, b); }
  static Type Doubled(Type words) { return _mm512_add_epi32(words, words); }
  static Type Halved(Type words) { return _mm512_srli_epi32(words, 1); }
  static Type Reverse(Type words) {
    return _mm512_permutexvar_epi32(
        _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), words);
  }
  static Type LoadRows(const uint8_t* row, ptrdiff_t fourRows) {
    Type words = _mm512_castsi128_si512(Sse2Words::Load(row));
    words = _mm512_inserti32x4(words, Sse2Words::Load(row + fourRows), 1);
    words = _mm512_inserti32x4(words, Sse2Words::Load(row + 2 * fourRows), 2);
    return _mm512_inserti32x4(words, Sse2Words::Load(row + 3 * fourRows), 3);
  }
  static Type Low32(Type a, Type b) { return _mm512_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm512_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm512_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm512_unpackhi_epi64(a, b); }

  /// Three-byte pixels behind one another become four to a lane, and back.
  template <int kSkip>
  static Type WidenLanes(Type bytes) {
    return _mm512_shuffle_epi8(bytes,
                               _mm512_broadcast_i32x4(ShuffledWords::WideningOrder<kSkip>()));
  }
  static Type LoadRgb(const void* bytes) {
    const Type order = _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11);
    return WidenLanes<0>(_mm512_permutexvar_epi32(order, Load(bytes)));
  }
  static void StoreRgb(uint8_t* bytes, Type words) {
    const Type narrowed =
        _mm512_shuffle_epi8(words, _mm512_broadcast_i32x4(ShuffledWords::NarrowingOrder()));
    const Type order = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 14, 14, 14, 14);
    constexpr __mmask16 kTwelveWords = 0x0FFF;
    _mm512_mask_storeu_epi32(bytes, kTwelveWords, _mm512_permutexvar_epi32(order, narrowed));
  }

  /// Sixteen words of `first` and `second` one behind the other, from byte `begin` of `first` on;
  /// `begin` is a multiple of 4 below 64.
  static Type Join(Type first, Type second, ptrdiff_t begin) {
    alignas(64) static constexpr int kCounting[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                                      11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                                                      22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
    const char* const order = reinterpret_cast<const char*>(kCounting) + begin;
    return _mm512_permutex2var_epi32(first, Load(order), second);
  }
};
using FourWords = ShuffledWords;

}  // namespace
}  // namespace velpicture::avx512

#include "transforms/kernels/move_kernels_impl.h"
