#pragma once

// Host values made from plain data, and a code read from one. Every new string or block comes with
// one reference for the caller; failure is a null result.

#include "host/export.h"
#include "host/host_types.h"

/// `length` bytes of `data` in `encoding`; null for null data or a length below 1. UTF-32 is
/// narrowed to UTF-16 by keeping the low half of each whole unit.
VEL_EXPORT REALstringStruct* REALBuildUnicodeString(const void* data, int length,
                                                    unsigned long encoding);
/// The text up to its terminator, but if `max` is 1 or more at most `max` bytes, and none after
/// them is read; null for null or empty text.
VEL_EXPORT REALstringStruct* CString2RBmax(const char* text, unsigned long encoding, int max);
/// The text up to its terminator, as UTF-16, wide characters narrowed like UTF-32; null for null or
/// empty text.
VEL_EXPORT REALstringStruct* UnicodeCString2RB(const unsigned short* text);
VEL_EXPORT REALstringStruct* UnicodeCString2RB(const wchar_t* text);

/// The four characters of a code, most significant byte first: ASCII if all are, else Mac Roman.
VEL_EXPORT REALstringStruct* REALBuildOSTypeString(unsigned long code);
/// The code of the first four characters in Mac Roman, or of the bytes as they are where the host
/// cannot convert them. Short text is followed by spaces; null is empty text.
VEL_EXPORT unsigned long REALstringToOSType(REALstringStruct* string);

/// A block holding a copy of the data; null for null data or a length below 1.
VEL_EXPORT REALmemoryBlockStruct* REALBuildMemoryblock(const void* data, int length);
