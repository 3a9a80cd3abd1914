#pragma once

// The way into the host: the resolver it hands over at start-up, and its version. Both are set once
// by REALPluginMain, before anything is registered, and never change afterwards.

#include "host/export.h"

/// The host's resolver: the address of the host function of that name, or null.
VEL_EXPORT extern void* (*gResolver)(const char* name);

/// The host's version, compared as a double with fixed thresholds such as 2011.04. It is 0.0 when
/// the host cannot report it; a NaN is neither below nor at least any threshold.
VEL_EXPORT extern double rbversion_rbversion;

/// What the resolver returns for `name`, neither cached nor tested.
VEL_EXPORT void* HCallResolver(const char* name);
