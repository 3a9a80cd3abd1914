#pragma once

// Host values made from plain data, and a code read from one. Every new string or block comes with
// one reference for the caller; failure is a null result.

#include "host/export.h"
#include "host/host_types.h"

/// `length` bytes of `data` in `encoding`; null for null data or a length below 1. UTF-32 is
/// narrowed to UTF-16 by keeping the low half of each unit.
VEL_EXPORT REALstringStruct* REALBuildUnicodeString(const void* data, int length,
                                                    unsigned long encoding);
/// The text up to its terminator, or its first `max` bytes if `max` is 1 or more; null for null or
/// empty text.
VEL_EXPORT REALstringStruct* CString2RBmax(const char* text, unsigned long encoding, int max);
/// The text up to its terminator, as UTF-16; null for null or empty text.
VEL_EXPORT REALstringStruct* UnicodeCString2RB(const unsigned short* text);
VEL_EXPORT REALstringStruct* UnicodeCString2RB(const wchar_t* text);

/// The four characters of a code, most significant byte first.
VEL_EXPORT REALstringStruct* REALBuildOSTypeString(unsigned long code);
/// The code of the first four Mac Roman characters; short text is followed by spaces.
VEL_EXPORT unsigned long REALstringToOSType(REALstringStruct* string);

/// A block holding a copy of the data; null for null data or a length below 1.
VEL_EXPORT REALmemoryBlockStruct* REALBuildMemoryblock(const void* data, int length);
