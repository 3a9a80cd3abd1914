#pragma once

// Which code moves and blends the pixels. All of it gives the same bytes, so this is for tests and
// for measuring; left alone, the plugin takes the widest that the processor has.

#include "host/export.h"

/// Selects the kernels of that name (docs/support.md has them) from now on; false, with nothing
/// changed, for any other name, for null, and for a set that this machine lacks.
VEL_EXPORT bool SelectKernels(const char* name);
