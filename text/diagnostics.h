#pragma once

// What plugin code tells others: exceptions for the host's programs, lines for whoever watches the
// standard error stream, and the clock that such lines are stamped with.

#include "host/export.h"
#include "host/host_types.h"

/// Raises an exception of that class, or a NilObjectException if the host has none such, and
/// returns to its caller, for the host to deal with it later. The message, in ASCII, is set after
/// raising; a null or an empty one is a null string. Without either class nothing happens; where
/// the host cannot raise, the exception is made and released.
VEL_EXPORT void RaiseException(const char* className, const char* message);
/// Writes the string in UTF-8, up to its first NUL, and a line end to standard error at once. A
/// null string is an empty line.
VEL_EXPORT void DebugLog(REALstringStruct* string);
/// Sixtieths of a second, in steps of whole seconds; wraps.
VEL_EXPORT unsigned long TickCount();
