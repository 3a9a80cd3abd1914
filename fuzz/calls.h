#pragma once

// What one input calls of the plugin.

#include "fuzz/session.h"

/// One picture and up to three methods called on it.
void FuzzPictures(FuzzSession& session);
/// One call of the text and data functions.
void FuzzText(FuzzSession& session);
