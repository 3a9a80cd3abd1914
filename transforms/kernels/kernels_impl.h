// The kernels of every vector variant, written once over the type Vector. A variant's file defines
// VEL_VARIANT_NAME, the namespace in which all of this lands, and Vector in it (see vector_sse2.h).

#include "transforms/kernels/kernels.h"
#include "transforms/kernels/moves_impl.h"
#include "transforms/kernels/pixels_impl.h"
#include "transforms/kernels/shear_columns_impl.h"
#include "transforms/kernels/shear_rows_impl.h"
#include "transforms/kernels/transpose_impl.h"

#define VEL_TEXT(name) #name
#define VEL_NAME_OF(variant) VEL_TEXT(variant)

namespace velpicture::VEL_VARIANT_NAME {

const Kernels kKernels = {
    .name = VEL_NAME_OF(VEL_VARIANT_NAME),
    .copyRow = MoveRow<false>,
    .reverseRow = MoveRow<true>,
    .transpose = Transpose,
    .exchange = Exchange<false>,
    .exchangeReversed = Exchange<true>,
    .shearRow = ShearRow,
    .shearColumns = ShearColumns,
};

}  // namespace velpicture::VEL_VARIANT_NAME
