// The kernels for every processor that this library runs on: four words in a vector.

#define VEL_VARIANT_NAME sse2
#include "transforms/kernels/vector_sse2.h"

namespace velpicture::sse2 {
namespace {
using Vector = Sse2Vector;
}
}  // namespace velpicture::sse2

#include "transforms/kernels/kernels_impl.h"
