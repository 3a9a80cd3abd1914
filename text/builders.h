#pragma once

// Host values made from plain data, and small recognisers of host objects. Every new string, block
// or object comes with one reference for the caller; failure is a null, false or zero result.

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

/// Raises an exception of that class, or a NilObjectException if the host has none such, with that
/// ASCII message. Without either class it does nothing.
VEL_EXPORT void RaiseException(const char* className, const char* message);
/// Writes the string as one line of UTF-8 to standard error.
VEL_EXPORT void DebugLog(REALstringStruct* string);

VEL_EXPORT bool IsMemoryBlock(REALobjectStruct* object);
VEL_EXPORT bool IsFolderItem(REALobjectStruct* object);
/// False for a null object and for a class the host does not know.
VEL_EXPORT bool REALObjectIsA(REALobjectStruct* object, const char* className);
/// ASCII when the string holds nothing beyond it (UTF-16 is not examined), else its own encoding.
VEL_EXPORT unsigned long REALGetLowestStringEncoding(REALstringStruct* string);
/// Sixtieths of a second, in steps of whole seconds; wraps.
VEL_EXPORT unsigned long TickCount();
