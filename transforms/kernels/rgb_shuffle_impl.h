// Four words in a vector, as Sse2Words, for variants that can shuffle bytes; and the orders in
// which three-byte pixels are shuffled, for wider vectors. Included inside a variant: see
// move_kernels_impl.h.

#include <tmmintrin.h>

#include "transforms/kernels/words_sse2_impl.h"

namespace velpicture::VEL_VARIANT {
namespace {

struct ShuffledWords : Sse2Words {
  static constexpr bool kShufflesBytes = true;

  /// Where the bytes of four words come from: twelve bytes behind the first kSkip ones.
  template <int kSkip>
  static Type WideningOrder() {
    constexpr char s = kSkip;
    return _mm_setr_epi8(s + 2, s + 1, s, -1, s + 5, s + 4, s + 3, -1, s + 8, s + 7, s + 6, -1,
                         s + 11, s + 10, s + 9, -1);
  }
  /// Where the twelve bytes of four pixels come from.
  static Type NarrowingOrder() {
    return _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  }

  template <int kSkip>
  static Type WidenLanes(Type bytes) {
    return _mm_shuffle_epi8(bytes, WideningOrder<kSkip>());
  }
  static Type LoadRgb(const void* bytes) { return WidenLanes<0>(Load(bytes)); }
  static void StoreRgb(uint8_t* bytes, Type words) {
    StoreTwelveBytes(bytes, _mm_shuffle_epi8(words, NarrowingOrder()));
  }
};

}  // namespace
}  // namespace velpicture::VEL_VARIANT
