#pragma once

// The shears of every vector variant. The file of a variant defines VEL_VARIANT, the namespace in
// which all of this lands, and Vector in it: bytes of the variant's width, with
// - Load, Store, Stream, Or, Broadcast(word)
// - LoadBlocks(at): blocks of sixteen bytes, block b from address at(b)
// - Add of 32-bit words; Less, Equal: Flags of words; IsAny(flags), Select(flags, where set, else)
// - Blend(current, previous, weights): current − trunc((current − previous)·weight)
// - WeightsOf(multiplier), WeightsOf(multipliers of a vector's words)
// - Previous<Source>(pixels, current, last): the words that lie one before current, which is what
//   lies at pixels, loaded again or made from the vector before it, whichever is faster
// - WidenAlpha, NarrowAlpha: console pixels to words and back
// - LoadRgbGroup, StoreRgbGroup: sixteen three-byte pixels to words and back
// - Leave(), last of all: other code is slow while the upper halves of registers are in use
//
// Everything has internal linkage: built with wide flags, it must not stand in for the same
// function of another file.

#include "transforms/kernels/shear_columns_impl.h"
#include "transforms/kernels/shear_kernels.h"
#include "transforms/kernels/shear_multiplier_impl.h"
#include "transforms/kernels/shear_rows_impl.h"

namespace velpicture::VEL_VARIANT {

const ShearKernels kShearKernels = {Multiplier, ShearRow, ShearColumns};

}  // namespace velpicture::VEL_VARIANT
