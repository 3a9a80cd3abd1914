#pragma once

// The kernels' variants by name, widest first, for those who force one or try them all.

namespace velpicture {

#define VEL_VARIANT(name, flags, runsHere) #name,
constexpr const char* kVariantNames[] = {
#include "transforms/kernels/variants.def"
};
#undef VEL_VARIANT

/// All of them in one text.
#define VEL_VARIANT(name, flags, runsHere) " " #name
constexpr char kVariantList[] =
#include "transforms/kernels/variants.def"
    ;
#undef VEL_VARIANT

}  // namespace velpicture
