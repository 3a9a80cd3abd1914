#include "host/console_flags.h"
#include "host/entry.h"

static void* (*host)(const char* name);
static double version;

// The colour of the top left pixel; 0 where it cannot be told.
static uint32_t TopLeft(REALpictureStruct* picture) {
  using Lock = bool (*)(REALpictureStruct*, REALpictureDescription*);
  using Unlock = void (*)(REALpictureStruct*);
  const Lock lock = reinterpret_cast<Lock>(host("lockPictureDescription"));
  const Unlock unlock = reinterpret_cast<Unlock>(host("unlockPictureDescription"));
  if (!lock || !unlock) return 0;
  REALpictureDescription pixels;
  if (!lock(picture, &pixels)) {
    if (version < 2012.0) unlock(picture);
    return 0;
  }
  if (pixels.type != kStorageConsoleBlock) return 0;
  const ConsolePixelBlock* block = static_cast<ConsolePixelBlock*>(pixels.data);
  const uint32_t word = *reinterpret_cast<const uint32_t*>(block->rowTable[0]);
  unlock(picture);
  return word & 0xFFFFFF;
}

static REALmethodDefinition method = {reinterpret_cast<void*>(TopLeft), nullptr, "TopLeft as color",
                                      velpicture::kFlagConsoleSafe};
static REALclassDefinition extension;

void REALPluginMain(void* (*resolver)(const char*)) {
  host = resolver;
  if (void* entry = host("REALGetRBVersion")) version = reinterpret_cast<double (*)()>(entry)();
  extension.version = velpicture::kPluginInterfaceVersion;
  extension.name = "Picture";
  extension.methods = &method;
  extension.methodCount = 1;
  extension.flags = velpicture::kFlagConsoleSafe;
  if (void* entry = host("RegisterPluginVersion")) {
    reinterpret_cast<void (*)(int)>(entry)(extension.version);
  }
  if (void* entry = host("PluginRegisterClassExtension")) {
    reinterpret_cast<void (*)(REALclassDefinition*)>(entry)(&extension);
  }
}
