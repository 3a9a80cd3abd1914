// Entry names are spelled exactly as the host spells them, case included.

#include "host/host_calls.h"

#include "host/host_entry.h"
#include "host/shared_entries.h"

using velpicture::CallHost;
using velpicture::hostEntry;

// Registration and runtime.

void REALRegisterClass(REALclassDefinition* definition) {
  CallHost<"PluginRegisterClass">(definition);
}
void REALRegisterClassExtension(REALclassDefinition* definition) {
  CallHost<"PluginRegisterClassExtension">(definition);
}
void REALRegisterControl(REALcontrol* control) { CallHost<"PluginRegisterControl">(control); }
void REALRegisterModule(REALmoduleDefinition* module) { CallHost<"PluginRegisterModule">(module); }
void REALRegisterMethod(REALmethodDefinition* method) { CallHost<"PluginRegisterMethod">(method); }
long REALRegisterBackgroundTask(void (*task)(void*), unsigned long period, void* argument) {
  auto& entry =
      hostEntry<"PluginRegisterBackgroundTask", long(void (*)(void*), unsigned long, void*)>;
  // 0 is a task's number, so a missing entry has a result of its own.
  if (entry.Address() == nullptr) return -1;
  return entry(task, period, argument);
}
void REALUnregisterBackgroundTask(long task) { CallHost<"PluginUnregisterBackgroundTask">(task); }
long REALCallFunctionWithExceptionHandler(void (*function)(void*), void* argument) {
  auto& entry = hostEntry<"PluginCallFunctionWithExceptionHandler", long(void (*)(void*), void*)>;
  if (entry.Address() != nullptr) return entry(function, argument);
  function(argument);
  return 0;
}
bool REALinRuntime() { return CallHost<"REALinRuntime", bool>(); }
bool REALInDebugMode() { return CallHost<"REALInDebugMode", bool>(); }
void REALYieldToRB() { CallHost<"REALYieldToRB">(); }
void* REALLoadFrameworkMethod(const char* declaration) {
  return hostEntry<"REALLoadGlobalMethod", void*(REALobjectStruct*, const char*)>(nullptr,
                                                                                  declaration);
}
void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
  return CallHost<"REALLoadObjectMethod", void*>(object, declaration);
}
REALclassRefStruct* REALGetClassRef(const char* name) {
  return CallHost<"pluginObjectType", REALclassRefStruct*>(name);
}
REALobjectStruct* REALnewInstance(REALclassRefStruct* classRef) {
  auto& entry = hostEntry<"CreateInstance", REALobjectStruct*(REALclassRefStruct*)>;
  // The look-up comes first: a null class still asks the resolver.
  if (entry.Address() == nullptr || classRef == nullptr) return nullptr;
  return entry(classRef);
}
REALobjectStruct* REALnewInstance(const char* className) {
  return CallHost<"PluginNewInstance", REALobjectStruct*>(className);
}
void* REALGetPluginData(REALobjectStruct* object, REALclassRefStruct* classRef) {
  return CallHost<"PluginGetPluginData", void*>(object, classRef);
}
bool REALObjectIsA(REALobjectStruct* object, REALclassRefStruct* classRef) {
  return CallHost<"RuntimeObjectIsa", bool>(object, classRef);
}
void* REALGetEventInstance(REALcontrolInstanceStruct* instance, REALevent* event) {
  auto& entry = hostEntry<"GetEventInstance", void*(REALcontrolInstanceStruct*, uint32_t)>;
  // The record is read only when there is somebody to hand it to.
  if (entry.Address() == nullptr) return nullptr;
  return entry(instance, event->instanceKey);
}
void REALRaiseException(REALobjectStruct* exception) { velpicture::raiseExceptionEntry(exception); }
void REALMessageBox(REALstringStruct* message) { CallHost<"RuntimeMsgBox">(message); }

// Objects and strings.

void REALLockObject(REALobjectStruct* object) { velpicture::lockObjectEntry(object); }
void REALUnlockObject(REALobjectStruct* object) { CallHost<"REALUnlockObject">(object); }
void REALLockString(REALstringStruct* string) { velpicture::lockStringEntry(string); }
void REALUnlockString(REALstringStruct* string) { CallHost<"REALUnlockString">(string); }
REALstringStruct* originalREALBuildString(const char* bytes, int length) {
  return CallHost<"REALBuildString", REALstringStruct*>(bytes, length);
}
int REALCompareStrings(REALstringStruct* left, REALstringStruct* right) {
  return CallHost<"RuntimeStringCompare", int>(left, right);
}
REALstringStruct* REALAddStrings(REALstringStruct* left, REALstringStruct* right) {
  return CallHost<"RuntimeAddString", REALstringStruct*>(left, right);
}
unsigned long REALGetStringEncoding(REALstringStruct* string) {
  return CallHost<"REALGetStringEncoding", unsigned long>(string);
}
void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding) {
  CallHost<"REALSetStringEncoding">(string, encoding);
}
REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding) {
  return CallHost<"REALConvertString", REALstringStruct*>(string, encoding);
}
unsigned long REALGetFontEncoding(const char* fontName) {
  return CallHost<"REALGetFontEncoding", unsigned long>(fontName);
}
REALstringStruct* REALpathFromFolderItem(REALfolderItemStruct* item) {
  return CallHost<"REALpathFromFolderItem", REALstringStruct*>(item);
}

// Properties.

#define VEL_GET(Type, entry)                                                     \
  bool REALGetPropValue(REALobjectStruct* object, const char* name, Type* out) { \
    return CallHost<entry, bool>(object, name, out);                             \
  }
VEL_GET(long, "REALGetPropValueInt")
VEL_GET(unsigned long, "REALGetPropValueUInt32")
VEL_GET(long long, "REALGetPropValueInt64")
VEL_GET(unsigned long long, "REALGetPropValueUInt64")
VEL_GET(short, "REALGetPropValueInt16")
VEL_GET(unsigned short, "REALGetPropValueUInt16")
VEL_GET(char, "REALGetPropValueInt8")
VEL_GET(unsigned char, "REALGetPropValueBool")
VEL_GET(float, "REALGetPropValueSingle")
VEL_GET(double, "REALGetPropValueDouble")
VEL_GET(REALstringStruct*, "REALGetPropValueString")
VEL_GET(REALobjectStruct*, "REALGetPropValueObject")
#undef VEL_GET

#define VEL_SET(Type, entry)                                                      \
  bool REALSetPropValue(REALobjectStruct* object, const char* name, Type value) { \
    return CallHost<entry, bool>(object, name, value);                            \
  }
VEL_SET(long, "REALSetPropValueInt")
VEL_SET(unsigned long, "REALSetPropValueUInt32")
VEL_SET(long long, "REALSetPropValueInt64")
VEL_SET(unsigned long long, "REALSetPropValueUInt64")
VEL_SET(unsigned char, "REALSetPropValueBoolean")
VEL_SET(double, "REALSetPropValueDouble")
VEL_SET(REALstringStruct*, "REALSetPropValueString")
VEL_SET(REALobjectStruct*, "REALSetPropValueObject")
#undef VEL_SET

// Variants.

#define VEL_NEW_VARIANT(Name, Type, entry)             \
  REALobjectStruct* REALNewVariant##Name(Type value) { \
    return CallHost<entry, REALobjectStruct*>(value);  \
  }
VEL_NEW_VARIANT(String, REALstringStruct*, "StringToVariant")
VEL_NEW_VARIANT(Integer, long, "Int32ToVariant")
VEL_NEW_VARIANT(UInt32, unsigned long, "UInt32ToVariant")
VEL_NEW_VARIANT(Int64, long long, "Int64ToVariant")
VEL_NEW_VARIANT(UInt64, unsigned long long, "UInt64ToVariant")
VEL_NEW_VARIANT(Single, float, "SingleToVariant")
VEL_NEW_VARIANT(Double, double, "DoubleToVariant")
VEL_NEW_VARIANT(Boolean, unsigned char, "BooleanToVariant")
VEL_NEW_VARIANT(Color, unsigned int, "ColorToVariant")
#undef VEL_NEW_VARIANT

// Pictures, graphics and controls.

REALpictureStruct* REALNewPicture(long width, long height, long depth) {
  return CallHost<"newPicture", REALpictureStruct*>(width, height, depth);
}
REALpictureStruct* REALBuildPictureFromBuffer(long width, long height, RBPixelType type,
                                              void* buffer, long rowBytes) {
  return CallHost<"REALBuildPictureFromBuffer", REALpictureStruct*>(width, height, type, buffer,
                                                                    rowBytes);
}
REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char transparent) {
  return CallHost<"REALBuildPictureFromGWorld", REALpictureStruct*>(world, transparent);
}
REALgraphicsStruct* REALGetPictureGraphics(REALpictureStruct* picture) {
  return CallHost<"pluginPictureGraphicsGetter", REALgraphicsStruct*>(picture);
}
REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char create) {
  return CallHost<"REALGetPictureMask", REALpictureStruct*>(picture, create);
}
void REALPictureClearCache(REALpictureStruct* picture) {
  CallHost<"REALPictureClearCache">(picture);
}
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description) {
  return CallHost<"lockPictureDescription", bool>(picture, description);
}
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                                long type) {
  return CallHost<"REALLockPictureDescription", bool>(picture, description, type);
}
void REALUnlockPictureDescription(REALpictureStruct* picture) {
  CallHost<"unlockPictureDescription">(picture);
}
void REALDrawPicturePrimitive(REALgraphicsStruct* graphics, REALpictureStruct* picture,
                              const RB::Rect* bounds, int transparent) {
  CallHost<"REALDrawPicturePrimitive">(graphics, picture, bounds, transparent);
}
void GraphicsDrawLine(REALgraphicsStruct* graphics, int x1, int y1, int x2, int y2) {
  CallHost<"RuntimeGraphicsDrawLine">(graphics, x1, y1, x2, y2);
}
void REALGraphicsDrawString(REALgraphicsStruct* graphics, REALstringStruct* text, long x, long y,
                            long wrapWidth) {
  CallHost<"RuntimeGraphicsDrawString">(graphics, text, x, y, wrapWidth);
}
void* REALGraphicsDC(REALgraphicsStruct* graphics) {
  return CallHost<"REALGraphicsDC", void*>(graphics);
}
void REALGetGraphicsOrigin(REALgraphicsStruct* graphics, long* x, long* y) {
  CallHost<"REALGetGraphicsOrigin">(graphics, x, y);
}
void REALSetGraphicsOrigin(REALgraphicsStruct* graphics, long x, long y) {
  CallHost<"REALSetGraphicsOrigin">(graphics, x, y);
}
void REALGetControlBounds(REALcontrolInstanceStruct* control, RB::Rect* bounds) {
  CallHost<"GetControlBounds">(control, bounds);
}
REALgraphicsStruct* REALGetControlGraphics(REALcontrolInstanceStruct* control) {
  return CallHost<"REALGetControlGraphics", REALgraphicsStruct*>(control);
}
REALobjectStruct* REALGetControlWindow(REALcontrolInstanceStruct* control) {
  return CallHost<"getControlWindow", REALobjectStruct*>(control);
}
bool REALGetTabPanelVisible(REALcontrolInstanceStruct* control) {
  return CallHost<"GetTabPanelVisible", bool>(control);
}

// Memory blocks.

REALmemoryBlockStruct* REALNewMemoryBlock(int size) {
  return CallHost<"newMemoryBlock", REALmemoryBlockStruct*>(size);
}
void* REALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  return CallHost<"memoryBlockGetPtr", void*>(block);
}
long REALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  return CallHost<"memoryBlockGetSize", long>(block);
}
REALmemoryBlockStruct* REALPtrToMemoryBlock(void* address) {
  return CallHost<"PtrToMemoryBlock", REALmemoryBlockStruct*>(address);
}
