#pragma once

// What plugin code tells others: exceptions for the host's programs, lines for whoever watches the
// standard error stream, and the clock that such lines are stamped with.

#include "host/export.h"
#include "host/host_types.h"

/// Raises an exception of that class, or a NilObjectException if the host has none such, with that
/// ASCII message. Without either class it does nothing.
VEL_EXPORT void RaiseException(const char* className, const char* message);
/// Writes the string as one line of UTF-8 to standard error.
VEL_EXPORT void DebugLog(REALstringStruct* string);
/// Sixtieths of a second, in steps of whole seconds; wraps.
VEL_EXPORT unsigned long TickCount();
