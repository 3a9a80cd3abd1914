// The kernels for processors with AVX-512: sixteen words in a vector.

#define VEL_VARIANT_NAME avx512
#include "transforms/kernels/vector_avx512.h"

namespace velpicture::avx512 {
namespace {
using Vector = Avx512Vector;
}
}  // namespace velpicture::avx512

#include "transforms/kernels/kernels_impl.h"
