#pragma once

// The kernels in use: one set per instruction set, picked once, all giving the same bytes.

#include "transforms/kernels/move_kernels.h"
#include "transforms/kernels/shear_kernels.h"
#include "transforms/select_kernels.h"

namespace velpicture {

struct KernelSet {
  const char* name;
  MoveKernels moves;
  ShearKernels shears;
};

/// The selected set; at first use the widest that the processor and its system support.
const KernelSet& SelectedKernels();

}  // namespace velpicture
