#pragma once

// What one input calls of the plugin.

#include "fuzz/fuzz_case.h"

/// One picture and up to three methods called on it.
void FuzzPictures(FuzzCase& fuzzCase);
/// One call of the text and data functions.
void FuzzText(FuzzCase& fuzzCase);
