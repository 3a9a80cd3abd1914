#pragma once

// The bytes of a host string in a chosen encoding, borrowed as a flat buffer. Newer hosts lend them
// themselves; for others the plugin converts the string with older calls and keeps a private copy.

#include "host/export.h"
#include "host/host_types.h"

/// Fills `out` with the bytes of `string` in `encoding`; kEncodingUndefined asks for the bytes as
/// they are. After true the caller hands the record to REALDisposeStringData exactly once, with
/// `data` unchanged. Takes no reference on `string`. A host that lends is handed all arguments as
/// they are, a null string too, and what it makes of `out` when it refuses is up to it. A copy made
/// here is followed by four zero bytes and outlives the string; a null string has none, and a copy
/// that failed leaves `out` untouched.
VEL_EXPORT bool REALGetStringData(REALstringStruct* string, unsigned long encoding,
                                  REALstringData* out);

/// Releases what a true REALGetStringData put into the record, without clearing its fields. On a
/// host that can lend but not take back, what it lent stays with it. A host is taken to lend from
/// its start or never: one that began to while a copy is out would be handed the copy.
VEL_EXPORT void REALDisposeStringData(REALstringData* data);
