// Entry names are spelled exactly as the host spells them, case included.

#include "host/host_calls.h"

#include "host/host_entry.h"
#include "host/shared_entries.h"

using velpicture::HostBool;
using velpicture::hostEntry;

// Registration and runtime.

void REALRegisterClass(REALclassDefinition* definition) {
  hostEntry<"PluginRegisterClass", void(REALclassDefinition*)>(definition);
}
void REALRegisterClassExtension(REALclassDefinition* definition) {
  hostEntry<"PluginRegisterClassExtension", void(REALclassDefinition*)>(definition);
}
void REALRegisterControl(REALcontrol* control) {
  hostEntry<"PluginRegisterControl", void(REALcontrol*)>(control);
}
void REALRegisterModule(REALmoduleDefinition* module) {
  hostEntry<"PluginRegisterModule", void(REALmoduleDefinition*)>(module);
}
void REALRegisterMethod(REALmethodDefinition* method) {
  hostEntry<"PluginRegisterMethod", void(REALmethodDefinition*)>(method);
}
long REALRegisterBackgroundTask(void (*task)(void*), unsigned long period, void* argument) {
  auto& entry =
      hostEntry<"PluginRegisterBackgroundTask", long(void (*)(void*), unsigned long, void*)>;
  // 0 is a task's number, so a missing entry has a result of its own.
  if (entry.Address() == nullptr) return -1;
  return entry(task, period, argument);
}
void REALUnregisterBackgroundTask(long task) {
  hostEntry<"PluginUnregisterBackgroundTask", void(long)>(task);
}
long REALCallFunctionWithExceptionHandler(void (*function)(void*), void* argument) {
  auto& entry = hostEntry<"PluginCallFunctionWithExceptionHandler", long(void (*)(void*), void*)>;
  if (entry.Address() != nullptr) return entry(function, argument);
  function(argument);
  return 0;
}
bool REALinRuntime() { return hostEntry<"REALinRuntime", HostBool()>() != 0; }
bool REALInDebugMode() { return hostEntry<"REALInDebugMode", HostBool()>() != 0; }
void REALYieldToRB() { hostEntry<"REALYieldToRB", void()>(); }
void* REALLoadFrameworkMethod(const char* declaration) {
  return hostEntry<"REALLoadGlobalMethod", void*(REALobjectStruct*, const char*)>(nullptr,
                                                                                  declaration);
}
void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
  return hostEntry<"REALLoadObjectMethod", void*(REALobjectStruct*, const char*)>(object,
                                                                                  declaration);
}
REALclassRefStruct* REALGetClassRef(const char* name) {
  return hostEntry<"pluginObjectType", REALclassRefStruct*(const char*)>(name);
}
REALobjectStruct* REALnewInstance(REALclassRefStruct* classRef) {
  auto& entry = hostEntry<"CreateInstance", REALobjectStruct*(REALclassRefStruct*)>;
  // The look-up comes first: a null class still asks the resolver.
  if (entry.Address() == nullptr || classRef == nullptr) return nullptr;
  return entry(classRef);
}
REALobjectStruct* REALnewInstance(const char* className) {
  return hostEntry<"PluginNewInstance", REALobjectStruct*(const char*)>(className);
}
void* REALGetPluginData(REALobjectStruct* object, REALclassRefStruct* classRef) {
  return hostEntry<"PluginGetPluginData", void*(REALobjectStruct*, REALclassRefStruct*)>(object,
                                                                                         classRef);
}
bool REALObjectIsA(REALobjectStruct* object, REALclassRefStruct* classRef) {
  return hostEntry<"RuntimeObjectIsa", HostBool(REALobjectStruct*, REALclassRefStruct*)>(
             object, classRef) != 0;
}
void* REALGetEventInstance(REALcontrolInstanceStruct* instance, REALevent* event) {
  auto& entry = hostEntry<"GetEventInstance", void*(REALcontrolInstanceStruct*, uint32_t)>;
  // The record is read only when there is somebody to hand it to.
  if (entry.Address() == nullptr) return nullptr;
  return entry(instance, event->instanceKey);
}
void REALRaiseException(REALobjectStruct* exception) { velpicture::raiseExceptionEntry(exception); }
void REALMessageBox(REALstringStruct* message) {
  hostEntry<"RuntimeMsgBox", void(REALstringStruct*)>(message);
}

// Objects and strings.

void REALLockObject(REALobjectStruct* object) { velpicture::lockObjectEntry(object); }
void REALUnlockObject(REALobjectStruct* object) {
  hostEntry<"REALUnlockObject", void(REALobjectStruct*)>(object);
}
void REALLockString(REALstringStruct* string) { velpicture::lockStringEntry(string); }
void REALUnlockString(REALstringStruct* string) {
  hostEntry<"REALUnlockString", void(REALstringStruct*)>(string);
}
REALstringStruct* originalREALBuildString(const char* bytes, int length) {
  return hostEntry<"REALBuildString", REALstringStruct*(const char*, int)>(bytes, length);
}
int REALCompareStrings(REALstringStruct* left, REALstringStruct* right) {
  return hostEntry<"RuntimeStringCompare", int(REALstringStruct*, REALstringStruct*)>(left, right);
}
REALstringStruct* REALAddStrings(REALstringStruct* left, REALstringStruct* right) {
  return hostEntry<"RuntimeAddString", REALstringStruct*(REALstringStruct*, REALstringStruct*)>(
      left, right);
}
unsigned long REALGetStringEncoding(REALstringStruct* string) {
  return hostEntry<"REALGetStringEncoding", unsigned long(REALstringStruct*)>(string);
}
void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding) {
  hostEntry<"REALSetStringEncoding", void(REALstringStruct*, unsigned long)>(string, encoding);
}
REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding) {
  return hostEntry<"REALConvertString", REALstringStruct*(REALstringStruct*, unsigned long)>(
      string, encoding);
}
unsigned long REALGetFontEncoding(const char* fontName) {
  return hostEntry<"REALGetFontEncoding", unsigned long(const char*)>(fontName);
}
REALstringStruct* REALpathFromFolderItem(REALfolderItemStruct* item) {
  return hostEntry<"REALpathFromFolderItem", REALstringStruct*(REALfolderItemStruct*)>(item);
}

// Properties.

bool REALGetPropValue(REALobjectStruct* object, const char* name, long* out) {
  return hostEntry<"REALGetPropValueInt", HostBool(REALobjectStruct*, const char*, long*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned long* out) {
  return hostEntry<"REALGetPropValueUInt32", HostBool(REALobjectStruct*, const char*,
                                                      unsigned long*)>(object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, long long* out) {
  return hostEntry<"REALGetPropValueInt64", HostBool(REALobjectStruct*, const char*, long long*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned long long* out) {
  return hostEntry<"REALGetPropValueUInt64", HostBool(REALobjectStruct*, const char*,
                                                      unsigned long long*)>(object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, short* out) {
  return hostEntry<"REALGetPropValueInt16", HostBool(REALobjectStruct*, const char*, short*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned short* out) {
  return hostEntry<"REALGetPropValueUInt16", HostBool(REALobjectStruct*, const char*,
                                                      unsigned short*)>(object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, char* out) {
  return hostEntry<"REALGetPropValueInt8", HostBool(REALobjectStruct*, const char*, char*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, unsigned char* out) {
  return hostEntry<"REALGetPropValueBool", HostBool(REALobjectStruct*, const char*,
                                                    unsigned char*)>(object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, float* out) {
  return hostEntry<"REALGetPropValueSingle", HostBool(REALobjectStruct*, const char*, float*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, double* out) {
  return hostEntry<"REALGetPropValueDouble", HostBool(REALobjectStruct*, const char*, double*)>(
             object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, REALstringStruct** out) {
  return hostEntry<"REALGetPropValueString", HostBool(REALobjectStruct*, const char*,
                                                      REALstringStruct**)>(object, name, out) != 0;
}
bool REALGetPropValue(REALobjectStruct* object, const char* name, REALobjectStruct** out) {
  return hostEntry<"REALGetPropValueObject", HostBool(REALobjectStruct*, const char*,
                                                      REALobjectStruct**)>(object, name, out) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, long value) {
  return hostEntry<"REALSetPropValueInt", HostBool(REALobjectStruct*, const char*, long)>(
             object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, unsigned long value) {
  return hostEntry<"REALSetPropValueUInt32", HostBool(REALobjectStruct*, const char*,
                                                      unsigned long)>(object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, long long value) {
  return hostEntry<"REALSetPropValueInt64", HostBool(REALobjectStruct*, const char*, long long)>(
             object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, unsigned long long value) {
  return hostEntry<"REALSetPropValueUInt64",
                   HostBool(REALobjectStruct*, const char*, unsigned long long)>(object, name,
                                                                                 value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, unsigned char value) {
  return hostEntry<"REALSetPropValueBoolean", HostBool(REALobjectStruct*, const char*,
                                                       unsigned char)>(object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, double value) {
  return hostEntry<"REALSetPropValueDouble", HostBool(REALobjectStruct*, const char*, double)>(
             object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, REALstringStruct* value) {
  return hostEntry<"REALSetPropValueString", HostBool(REALobjectStruct*, const char*,
                                                      REALstringStruct*)>(object, name, value) != 0;
}
bool REALSetPropValue(REALobjectStruct* object, const char* name, REALobjectStruct* value) {
  return hostEntry<"REALSetPropValueObject", HostBool(REALobjectStruct*, const char*,
                                                      REALobjectStruct*)>(object, name, value) != 0;
}

// Variants.

REALobjectStruct* REALNewVariantString(REALstringStruct* value) {
  return hostEntry<"StringToVariant", REALobjectStruct*(REALstringStruct*)>(value);
}
REALobjectStruct* REALNewVariantInteger(long value) {
  return hostEntry<"Int32ToVariant", REALobjectStruct*(long)>(value);
}
REALobjectStruct* REALNewVariantUInt32(unsigned long value) {
  return hostEntry<"UInt32ToVariant", REALobjectStruct*(unsigned long)>(value);
}
REALobjectStruct* REALNewVariantInt64(long long value) {
  return hostEntry<"Int64ToVariant", REALobjectStruct*(long long)>(value);
}
REALobjectStruct* REALNewVariantUInt64(unsigned long long value) {
  return hostEntry<"UInt64ToVariant", REALobjectStruct*(unsigned long long)>(value);
}
REALobjectStruct* REALNewVariantSingle(float value) {
  return hostEntry<"SingleToVariant", REALobjectStruct*(float)>(value);
}
REALobjectStruct* REALNewVariantDouble(double value) {
  return hostEntry<"DoubleToVariant", REALobjectStruct*(double)>(value);
}
REALobjectStruct* REALNewVariantBoolean(unsigned char value) {
  return hostEntry<"BooleanToVariant", REALobjectStruct*(unsigned char)>(value);
}
REALobjectStruct* REALNewVariantColor(unsigned int value) {
  return hostEntry<"ColorToVariant", REALobjectStruct*(unsigned int)>(value);
}

// Pictures, graphics and controls.

REALpictureStruct* REALNewPicture(long width, long height, long depth) {
  return hostEntry<"newPicture", REALpictureStruct*(long, long, long)>(width, height, depth);
}
REALpictureStruct* REALBuildPictureFromBuffer(long width, long height, RBPixelType type,
                                              void* buffer, long rowBytes) {
  return hostEntry<"REALBuildPictureFromBuffer",
                   REALpictureStruct*(long, long, RBPixelType, void*, long)>(width, height, type,
                                                                             buffer, rowBytes);
}
REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char transparent) {
  return hostEntry<"REALBuildPictureFromGWorld", REALpictureStruct*(void*, unsigned char)>(
      world, transparent);
}
REALgraphicsStruct* REALGetPictureGraphics(REALpictureStruct* picture) {
  return hostEntry<"pluginPictureGraphicsGetter", REALgraphicsStruct*(REALpictureStruct*)>(picture);
}
REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char create) {
  return hostEntry<"REALGetPictureMask", REALpictureStruct*(REALpictureStruct*, unsigned char)>(
      picture, create);
}
void REALPictureClearCache(REALpictureStruct* picture) {
  hostEntry<"REALPictureClearCache", void(REALpictureStruct*)>(picture);
}
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description) {
  return hostEntry<"lockPictureDescription", HostBool(REALpictureStruct*, REALpictureDescription*)>(
             picture, description) != 0;
}
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                                long type) {
  return hostEntry<"REALLockPictureDescription",
                   HostBool(REALpictureStruct*, REALpictureDescription*, long)>(
             picture, description, type) != 0;
}
void REALUnlockPictureDescription(REALpictureStruct* picture) {
  hostEntry<"unlockPictureDescription", void(REALpictureStruct*)>(picture);
}
void REALDrawPicturePrimitive(REALgraphicsStruct* graphics, REALpictureStruct* picture,
                              const RB::Rect* bounds, int transparent) {
  hostEntry<"REALDrawPicturePrimitive",
            void(REALgraphicsStruct*, REALpictureStruct*, const RB::Rect*, int)>(
      graphics, picture, bounds, transparent);
}
void GraphicsDrawLine(REALgraphicsStruct* graphics, int x1, int y1, int x2, int y2) {
  hostEntry<"RuntimeGraphicsDrawLine", void(REALgraphicsStruct*, int, int, int, int)>(graphics, x1,
                                                                                      y1, x2, y2);
}
void REALGraphicsDrawString(REALgraphicsStruct* graphics, REALstringStruct* text, long x, long y,
                            long wrapWidth) {
  hostEntry<"RuntimeGraphicsDrawString", void(REALgraphicsStruct*, REALstringStruct*, long, long,
                                              long)>(graphics, text, x, y, wrapWidth);
}
void* REALGraphicsDC(REALgraphicsStruct* graphics) {
  return hostEntry<"REALGraphicsDC", void*(REALgraphicsStruct*)>(graphics);
}
void REALGetGraphicsOrigin(REALgraphicsStruct* graphics, long* x, long* y) {
  hostEntry<"REALGetGraphicsOrigin", void(REALgraphicsStruct*, long*, long*)>(graphics, x, y);
}
void REALSetGraphicsOrigin(REALgraphicsStruct* graphics, long x, long y) {
  hostEntry<"REALSetGraphicsOrigin", void(REALgraphicsStruct*, long, long)>(graphics, x, y);
}
void REALGetControlBounds(REALcontrolInstanceStruct* control, RB::Rect* bounds) {
  hostEntry<"GetControlBounds", void(REALcontrolInstanceStruct*, RB::Rect*)>(control, bounds);
}
REALgraphicsStruct* REALGetControlGraphics(REALcontrolInstanceStruct* control) {
  return hostEntry<"REALGetControlGraphics", REALgraphicsStruct*(REALcontrolInstanceStruct*)>(
      control);
}
REALobjectStruct* REALGetControlWindow(REALcontrolInstanceStruct* control) {
  return hostEntry<"getControlWindow", REALobjectStruct*(REALcontrolInstanceStruct*)>(control);
}
bool REALGetTabPanelVisible(REALcontrolInstanceStruct* control) {
  return hostEntry<"GetTabPanelVisible", HostBool(REALcontrolInstanceStruct*)>(control) != 0;
}

// Memory blocks.

REALmemoryBlockStruct* REALNewMemoryBlock(int size) {
  return hostEntry<"newMemoryBlock", REALmemoryBlockStruct*(int)>(size);
}
void* REALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  return hostEntry<"memoryBlockGetPtr", void*(REALmemoryBlockStruct*)>(block);
}
long REALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  return hostEntry<"memoryBlockGetSize", long(REALmemoryBlockStruct*)>(block);
}
REALmemoryBlockStruct* REALPtrToMemoryBlock(void* address) {
  return hostEntry<"PtrToMemoryBlock", REALmemoryBlockStruct*(void*)>(address);
}
