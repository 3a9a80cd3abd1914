#pragma once

// The host's functions as free functions of the same names and types. Each is looked up by a fixed
// entry name on first use and then called directly; arguments and result pass through unchanged.
// The wrappers do not test their arguments. When the host lacks the entry, a wrapper returns zero
// in its result's form (null, false, 0) and writes nothing; exceptions to all this stand beside the
// declaration. A string, object, picture, Graphics or memory block that is returned comes with one
// reference for the caller, who gives it back with REALUnlockString or REALUnlockObject; arguments
// keep theirs.

#include "host/export.h"
#include "host/host_types.h"

// Registration and runtime. The host keeps the address of a record that it registers: the record
// and all that it points to (tables, names, declarations) must live unchanged as long as the
// process.

VEL_EXPORT void REALRegisterClass(REALclassDefinition* definition);
VEL_EXPORT void REALRegisterClassExtension(REALclassDefinition* definition);
VEL_EXPORT void REALRegisterControl(REALcontrol* control);
VEL_EXPORT void REALRegisterModule(REALmoduleDefinition* module);
VEL_EXPORT void REALRegisterMethod(REALmethodDefinition* method);
/// -1 when the host lacks the entry.
VEL_EXPORT long REALRegisterBackgroundTask(void (*task)(void*), unsigned long period,
                                           void* argument);
VEL_EXPORT void REALUnregisterBackgroundTask(long task);
/// Calls function(argument) unguarded and returns 0 when the host lacks the entry.
VEL_EXPORT long REALCallFunctionWithExceptionHandler(void (*function)(void*), void* argument);
VEL_EXPORT bool REALinRuntime();
VEL_EXPORT bool REALInDebugMode();
VEL_EXPORT void REALYieldToRB();
/// The address of a global method, by its declaration; null when there is none.
VEL_EXPORT void* REALLoadFrameworkMethod(const char* declaration);
/// The address of an object's method, by its declaration; null when there is none.
VEL_EXPORT void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration);
/// The class of that name, null when there is none. It is the host's and never counted: nothing is
/// to be given back.
VEL_EXPORT REALclassRefStruct* REALGetClassRef(const char* name);
/// A new instance. A null class gives null without a call.
VEL_EXPORT REALobjectStruct* REALnewInstance(REALclassRefStruct* classRef);
VEL_EXPORT REALobjectStruct* REALnewInstance(const char* className);
/// The plugin's own data inside an instance of its class: valid as long as the instance.
VEL_EXPORT void* REALGetPluginData(REALobjectStruct* object, REALclassRefStruct* classRef);
VEL_EXPORT bool REALObjectIsA(REALobjectStruct* object, REALclassRefStruct* classRef);
/// The host is given the event's instance key, not the record. What it answers stays its own.
VEL_EXPORT void* REALGetEventInstance(REALcontrolInstanceStruct* instance, REALevent* event);
/// The exception's reference passes to the host.
VEL_EXPORT void REALRaiseException(REALobjectStruct* exception);
VEL_EXPORT void REALMessageBox(REALstringStruct* message);

// Objects and strings. Each lock adds one reference, and is paired with one unlock of the same
// kind.

VEL_EXPORT void REALLockObject(REALobjectStruct* object);
VEL_EXPORT void REALUnlockObject(REALobjectStruct* object);
VEL_EXPORT void REALLockString(REALstringStruct* string);
VEL_EXPORT void REALUnlockString(REALstringStruct* string);
/// A new string of `length` bytes.
VEL_EXPORT REALstringStruct* originalREALBuildString(const char* bytes, int length);
VEL_EXPORT int REALCompareStrings(REALstringStruct* left, REALstringStruct* right);
/// A new string, the right one's text after the left one's.
VEL_EXPORT REALstringStruct* REALAddStrings(REALstringStruct* left, REALstringStruct* right);
/// The 0 of a host that lacks the entry reads as kEncodingMacRoman.
VEL_EXPORT unsigned long REALGetStringEncoding(REALstringStruct* string);
VEL_EXPORT void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding);
/// A new string: the same text in `encoding`.
VEL_EXPORT REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding);
VEL_EXPORT unsigned long REALGetFontEncoding(const char* fontName);
/// A new string.
VEL_EXPORT REALstringStruct* REALpathFromFolderItem(REALfolderItemStruct* item);

// Properties: true when the named property was read into *out, or written. A string or object that
// is read comes with a reference for the caller; of one that is written the host takes its own. The
// overloads for unsigned char are the host's booleans, not its bytes.

VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, long* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned long* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, long long* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name,
                                 unsigned long long* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, short* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned short* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, char* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned char* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, float* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name, double* out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name,
                                 REALstringStruct** out);
VEL_EXPORT bool REALGetPropValue(REALobjectStruct* object, const char* name,
                                 REALobjectStruct** out);

VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name, long value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name, unsigned long value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name, long long value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name,
                                 unsigned long long value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name, unsigned char value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name, double value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name,
                                 REALstringStruct* value);
VEL_EXPORT bool REALSetPropValue(REALobjectStruct* object, const char* name,
                                 REALobjectStruct* value);

// Variants: a new host variant.

VEL_EXPORT REALobjectStruct* REALNewVariantString(REALstringStruct* value);
VEL_EXPORT REALobjectStruct* REALNewVariantInteger(long value);
VEL_EXPORT REALobjectStruct* REALNewVariantUInt32(unsigned long value);
VEL_EXPORT REALobjectStruct* REALNewVariantInt64(long long value);
VEL_EXPORT REALobjectStruct* REALNewVariantUInt64(unsigned long long value);
VEL_EXPORT REALobjectStruct* REALNewVariantSingle(float value);
VEL_EXPORT REALobjectStruct* REALNewVariantDouble(double value);
VEL_EXPORT REALobjectStruct* REALNewVariantBoolean(unsigned char value);
VEL_EXPORT REALobjectStruct* REALNewVariantColor(unsigned int value);

// Pictures, graphics and controls.

/// A new picture of `depth` bits a pixel; the host fills it.
VEL_EXPORT REALpictureStruct* REALNewPicture(long width, long height, long depth);
/// A new picture of a copy of the pixels in `buffer`, which stays the caller's.
VEL_EXPORT REALpictureStruct* REALBuildPictureFromBuffer(long width, long height, RBPixelType type,
                                                         void* buffer, long rowBytes);
/// A new picture.
VEL_EXPORT REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char transparent);
VEL_EXPORT REALgraphicsStruct* REALGetPictureGraphics(REALpictureStruct* picture);
/// The picture's mask; made when missing if `create` is 1.
VEL_EXPORT REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char create);
VEL_EXPORT void REALPictureClearCache(REALpictureStruct* picture);
/// Two host entries of their own: the reader locks with the three-argument one. Each lock that
/// succeeded is paired with one unlock; of one that failed see pixels/picture_lock.h.
VEL_EXPORT bool REALLockPictureDescription(REALpictureStruct* picture,
                                           REALpictureDescription* description);
VEL_EXPORT bool REALLockPictureDescription(REALpictureStruct* picture,
                                           REALpictureDescription* description, long type);
VEL_EXPORT void REALUnlockPictureDescription(REALpictureStruct* picture);
VEL_EXPORT void REALDrawPicturePrimitive(REALgraphicsStruct* graphics, REALpictureStruct* picture,
                                         const RB::Rect* bounds, int transparent);
VEL_EXPORT void GraphicsDrawLine(REALgraphicsStruct* graphics, int x1, int y1, int x2, int y2);
VEL_EXPORT void REALGraphicsDrawString(REALgraphicsStruct* graphics, REALstringStruct* text, long x,
                                       long y, long wrapWidth);
/// The native context that the Graphics draws with; it stays the host's.
VEL_EXPORT void* REALGraphicsDC(REALgraphicsStruct* graphics);
VEL_EXPORT void REALGetGraphicsOrigin(REALgraphicsStruct* graphics, long* x, long* y);
VEL_EXPORT void REALSetGraphicsOrigin(REALgraphicsStruct* graphics, long x, long y);
VEL_EXPORT void REALGetControlBounds(REALcontrolInstanceStruct* control, RB::Rect* bounds);
/// With a reference for the caller, as said above; so is the window.
VEL_EXPORT REALgraphicsStruct* REALGetControlGraphics(REALcontrolInstanceStruct* control);
VEL_EXPORT REALobjectStruct* REALGetControlWindow(REALcontrolInstanceStruct* control);
VEL_EXPORT bool REALGetTabPanelVisible(REALcontrolInstanceStruct* control);

// Memory blocks.

VEL_EXPORT REALmemoryBlockStruct* REALNewMemoryBlock(int size);
/// The address of the first byte: valid as long as the block keeps its size.
VEL_EXPORT void* REALMemoryBlockGetPtr(REALmemoryBlockStruct* block);
VEL_EXPORT long REALMemoryBlockGetSize(REALmemoryBlockStruct* block);
/// A block on memory that stays the caller's, and whose size the block may not know.
VEL_EXPORT REALmemoryBlockStruct* REALPtrToMemoryBlock(void* address);
