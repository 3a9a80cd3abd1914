#pragma once

// What a host object or string is, as the host tells: by the methods that an object has, by its
// class, by a string's encoding and bytes.

#include "host/export.h"
#include "host/host_types.h"

// By a method that only such objects have. Null is handed to the host like any other object; false
// when the host cannot tell.

VEL_EXPORT bool IsMemoryBlock(REALobjectStruct* object);
VEL_EXPORT bool IsFolderItem(REALobjectStruct* object);

/// False for a null object and for a class the host does not know.
VEL_EXPORT bool REALObjectIsA(REALobjectStruct* object, const char* className);
/// ASCII when the string holds nothing beyond it, else its own encoding. Only Mac Roman, UTF-8,
/// Windows Latin-1 and bytes without a defined encoding are examined.
VEL_EXPORT unsigned long REALGetLowestStringEncoding(REALstringStruct* string);
