// The pixel moves for any processor that this library runs on: four words in a vector.

#define VEL_VARIANT sse2
#include "transforms/kernels/words_sse2_impl.h"

namespace velpicture::sse2 {
namespace {

using Vector = Sse2Words;
using FourWords = Sse2Words;

}  // namespace
}  // namespace velpicture::sse2

#include "transforms/kernels/move_kernels_impl.h"
