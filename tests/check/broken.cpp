// A plugin with one method, Break, that does one thing wrong: what the environment variable FAULT
// names.

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "host/host_types.h"

namespace {

void* (*resolve)(const char*);
double version = 0;

bool Is(const char* fault) {
  const char* const wanted = std::getenv("FAULT");
  return wanted != nullptr && std::strcmp(wanted, fault) == 0;
}

template <class... Args>
bool Host(const char* entry, Args... args) {
  auto* const function = reinterpret_cast<uint32_t (*)(Args...)>(resolve(entry));
  return (function != nullptr || Is("missing")) && (function(args...) & 0xFF) != 0;
}

extern "C" bool BreakRegister(REALpictureStruct*);
asm("BreakRegister: movl $1, %edi\n movl $1, %eax\n ret");

bool Break(REALpictureStruct* picture) {
  static int calls = 0;
  bool isWhole = true;
  ++calls;
  int* volatile nowhere = nullptr;
  if (Is("crash")) *nowhere = calls;
  if (Is("hang")) pause();
  if (Is("exit")) std::exit(0);
  if (Is("reference")) Host("REALLockObject", picture);
  if (Is("memory")) *static_cast<volatile char*>(std::malloc(77)) = 0;
  const uint16_t single = 0x007F;
  if (Is("control")) asm volatile("fldcw %0" : : "m"(single));
  if (Is("repeat")) return calls == 1;
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) {
    if (!Is("owed") && version < 2012) Host("unlockPictureDescription", picture);
    return false;
  }
  if (description.type == kStorageConsoleBlock) {
    auto** const rows = static_cast<ConsolePixelBlock*>(description.data)->rowTable;
    if (Is("fence")) rows[0][-1] = 0;
    if (Is("cache")) rows[0][0] ^= 1;
    void* const room = Is("part") ? std::malloc(8) : description.data;
    if (room == nullptr) rows[0][0] ^= 1;
    if (Is("part")) std::free(room);
    isWhole = room != nullptr;
  }
  if (!Is("lock")) Host("unlockPictureDescription", picture);
  return isWhole;
}

REALmethodDefinition methods[2] = {
    {reinterpret_cast<void*>(Break), nullptr, "Break as boolean", 0},
    {reinterpret_cast<void*>(Break), nullptr, "Untried(item as FolderItem)", 0}};
REALclassDefinition extension;

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(
    void* (*resolver)(const char*)) {
  resolve = resolver;
  extension.version = 9;
  extension.name = "Picture";
  extension.methods = methods;
  extension.methodCount = 2;
  if (Is("register")) methods[0].function = reinterpret_cast<void*>(BreakRegister);
  if (Is("declaration")) methods[0].declaration = "Break as";
  if (Is("flags")) methods[0].flags = 1;
  if (Is("size")) extension.size = 20;
  auto* const ask = reinterpret_cast<double (*)()>(resolve("REALGetRBVersion"));
  if (ask != nullptr) version = ask();
  Host("RegisterPluginVersion", 9);
  Host("PluginRegisterClassExtension", &extension);
}
