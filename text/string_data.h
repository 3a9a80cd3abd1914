#pragma once

// The bytes of a host string in a chosen encoding, borrowed as a flat buffer. Newer hosts lend them
// themselves; for others the plugin converts the string with older calls and keeps a private copy.

#include "host/export.h"
#include "host/host_types.h"

/// Fills `out` with the bytes of `string` in `encoding`; kEncodingUndefined asks for the bytes as
/// they are. After true the caller hands the record to REALDisposeStringData exactly once, with
/// `data` unchanged. After false `out` is untouched. Takes no reference on `string`. A copy made
/// here, not by the host, is followed by four zero bytes and outlives the string.
VEL_EXPORT bool REALGetStringData(REALstringStruct* string, unsigned long encoding,
                                  REALstringData* out);

/// Releases what a true REALGetStringData put into the record, without clearing its fields. On a
/// host that can lend but not take back, what it lent stays with it.
VEL_EXPORT void REALDisposeStringData(REALstringData* data);
