// Four words in a vector. Included inside a variant: see move_kernels_impl.h.

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace velpicture::VEL_VARIANT {
namespace {

struct Sse2Words {
  using Type = __m128i;
  static constexpr int kWords = 4;
  static constexpr bool kShufflesBytes = false;

  static Type Load(const void* bytes) { return _mm_loadu_si128(static_cast<const Type*>(bytes)); }
  static void Store(void* bytes, Type words) { _mm_storeu_si128(static_cast<Type*>(bytes), words); }
  /// To an address that is a multiple of the vector's size.
  static void Stream(void* bytes, Type words) {
    _mm_stream_si128(static_cast<Type*>(bytes), words);
  }
  static Type Broadcast(uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
  static Type And(Type a, Type b) { return _mm_and_si128(a, b); }
  static Type Or(Type a, Type b) { return _mm_or_si128(a, b); }
  static Type Doubled(Type words) { return _mm_add_epi32(words, words); }
  static Type Halved(Type words) { return _mm_srli_epi32(words, 1); }
  static Type Reverse(Type words) { return _mm_shuffle_epi32(words, 0x1B); }

  /// Four words each of rows 0, 4, 8 … in the 128-bit lanes; `fourRows` is the way to row 4.
  static Type LoadRows(const uint8_t* row, ptrdiff_t) { return Load(row); }
  // Within each 128-bit lane.
  static Type Low32(Type a, Type b) { return _mm_unpacklo_epi32(a, b); }
  static Type High32(Type a, Type b) { return _mm_unpackhi_epi32(a, b); }
  static Type Low64(Type a, Type b) { return _mm_unpacklo_epi64(a, b); }
  static Type High64(Type a, Type b) { return _mm_unpackhi_epi64(a, b); }

  /// In each 128-bit lane: the four three-byte pixels behind its first kSkip bytes (0 or 4) as
  /// words without alpha.
  template <int kSkip>
  static Type WidenLanes(Type bytes) {
    const Type first =
        _mm_unpacklo_epi32(_mm_srli_si128(bytes, kSkip), _mm_srli_si128(bytes, kSkip + 3));
    const Type second =
        _mm_unpacklo_epi32(_mm_srli_si128(bytes, kSkip + 6), _mm_srli_si128(bytes, kSkip + 9));
    return SwapRedAndBlue(_mm_unpacklo_epi64(first, second));
  }
  /// As many three-byte pixels as words, without alpha. As many bytes are read as words have.
  static Type LoadRgb(const void* bytes) { return WidenLanes<0>(Load(bytes)); }
  /// Words as three-byte pixels; not a byte more is written.
  static void StoreRgb(uint8_t* bytes, Type words) {
    const Type swapped = SwapRedAndBlue(words);
    const Type pairs =
        _mm_or_si128(_mm_and_si128(swapped, _mm_set1_epi64x(0xFFFFFF)),
                     _mm_and_si128(_mm_srli_epi64(swapped, 8), _mm_set1_epi64x(0xFFFFFF000000)));
    StoreTwelveBytes(
        bytes, _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6)));
  }

 protected:
  static void StoreTwelveBytes(uint8_t* bytes, Type vector) {
    _mm_storel_epi64(reinterpret_cast<Type*>(bytes), vector);
    const int last = _mm_cvtsi128_si32(_mm_srli_si128(vector, 8));
    __builtin_memcpy(bytes + 8, &last, sizeof last);
  }

 private:
  static Type SwapRedAndBlue(Type words) {
    const Type low = _mm_set1_epi32(0xFF);
    return _mm_or_si128(_mm_and_si128(words, _mm_set1_epi32(0xFF00)),
                        _mm_or_si128(_mm_slli_epi32(_mm_and_si128(words, low), 16),
                                     _mm_and_si128(_mm_srli_epi32(words, 16), low)));
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT
