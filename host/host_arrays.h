#pragma once

// The elements of host arrays. Reading and writing takes two steps: the host's provider, given an
// array, names the procedure that handles its elements, and that procedure does the work. For a
// host without providers there are built-in ones that reach the element storage directly; an
// overload that has settled for its built-in never asks the host again. Indexes are the caller's
// duty: nothing here tests them.

#include "host/export.h"
#include "host/host_types.h"

// Plain forwards: 0 or null when the host lacks the entry. A new array, and a string or object that
// is read, comes with one reference for the caller.

/// The index of the last element, so the 0 of a host that lacks the entry reads as one element.
VEL_EXPORT long REALGetArrayUBound(void* array);
VEL_EXPORT REALarrayStruct* REALCreateArray(REALArrayType type, long upperBound);
VEL_EXPORT long REALGetArrayInt(REALintArrayStruct* array, int index);
VEL_EXPORT REALstringStruct* REALGetArrayString(REALstringArrayStruct* array, int index);
VEL_EXPORT REALobjectStruct* REALGetArrayObject(REALobjectArrayStruct* array, int index);

// Inserts `value` so that it becomes element `index`; of a string or object the array takes a
// reference of its own. No built-in: without the host's provider, or where that names no procedure,
// nothing happens.

VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, long long value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, unsigned long long value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, long value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, unsigned long value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, unsigned short value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, float value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, double value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, REALstringStruct* value);
VEL_EXPORT void REALInsertArrayValue(REALarrayStruct* array, long index, REALobjectStruct* value);

// Reads element `index` into *out; a string or object comes with a reference for the caller. *out
// keeps its value when there is no procedure. A null `out` still asks the provider, and no more.

VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, long long* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, unsigned long long* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, long* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, unsigned long* out);
/// The one reader without a built-in.
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, unsigned short* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, unsigned char* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, float* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, double* out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, REALstringStruct** out);
VEL_EXPORT void REALGetArrayValue(REALarrayStruct* array, long index, REALobjectStruct** out);

// Replaces element `index`; the array takes a reference of its own on a string or object, and gives
// back the one on what it held before. Where the built-in can add no reference, it gives none back
// either, except when null replaces an element.

VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, long long value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, unsigned long long value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, long value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, unsigned long value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, double value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, REALstringStruct* value);
VEL_EXPORT void REALSetArrayValue(REALarrayStruct* array, long index, REALobjectStruct* value);
