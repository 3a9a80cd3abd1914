// The kernels for processors with AVX2: eight words in a vector.

#define VEL_VARIANT_NAME avx2
#include "transforms/kernels/vector_avx2.h"

namespace velpicture::avx2 {
namespace {
using Vector = Avx2Vector;
}
}  // namespace velpicture::avx2

#include "transforms/kernels/kernels_impl.h"
