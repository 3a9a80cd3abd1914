#pragma once

// The kernels in use: one set per instruction set, picked once, all giving the same bytes.

#include "host/export.h"
#include "transforms/kernels/move_kernels.h"
#include "transforms/kernels/shear_kernels.h"

namespace velpicture {

struct KernelSet {
  const char* name;
  MoveKernels moves;
  ShearKernels shears;
};

/// The selected set; at first use the widest that the processor and its system support.
const KernelSet& SelectedKernels();

}  // namespace velpicture

/// Selects "plain", "sse2", "avx2" or "avx512" from now on; false, with nothing changed, for any
/// other name, for null, and for a set that this machine lacks.
VEL_EXPORT bool SelectKernels(const char* name);
