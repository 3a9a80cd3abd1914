// A plugin with one method, Break, that does one thing wrong: what the environment variable FAULT
// names.

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

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

/// What the plugin does wrong, or only unusually, with memory of its own. False where it had none.
bool UseOwnMemory() {
  if (Is("aligned")) {
    void* bytes = nullptr;
    posix_memalign(&bytes, 64, 64);
    *static_cast<volatile char*>(bytes) = 0;
    std::free(bytes);
  }
  if (Is("printed")) {
    char* text = nullptr;
    if (asprintf(&text, "%d", 5) < 0) text = nullptr;
    *const_cast<volatile char*>(text) = 0;
    std::free(text);
  }
  if (Is("nothrow")) {
    auto* const number = new (std::nothrow) volatile int;
    *number = 0;
    delete number;
  }
  if (Is("mapped") || Is("advice")) {
    void* const pages = mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) return false;
    madvise(pages, 8192, MADV_DONTNEED);
    munmap(pages, Is("mapped") ? 4096 : 8192);
  }
  if (Is("behind")) {
    volatile size_t five = 5;
    auto* const bytes = static_cast<volatile char*>(std::malloc(five));
    if (bytes == nullptr) return false;
    bytes[five] = 0;
    std::free(const_cast<char*>(bytes));
  }
  if (Is("fresh")) {
    auto* const bytes = static_cast<volatile char*>(std::malloc(5));
    const bool isSet = bytes != nullptr && bytes[3] != 0;
    std::free(const_cast<char*>(bytes));
    return isSet;
  }
  return true;
}

void* AskInThread(void*) {
  Host("REALGetRBVersion");
  return nullptr;
}

bool BreakText(REALpictureStruct*, REALstringStruct* text) {
  if (text == nullptr) return false;
  auto* const get = reinterpret_cast<char* (*)(REALstringStruct*)>(resolve("StringGetCString"));
  if (get != nullptr) get(text)[0] = 'x';
  return true;
}

bool BreakParameter(REALpictureStruct*, int notDeclared) { return notDeclared != 0; }

double BreakNumber(REALpictureStruct*) { return 1; }

__attribute__((noinline)) bool BreakStack(REALpictureStruct*) {
  int numbers[100];
  int* volatile number = numbers;
  return number[50] != 0;
}

extern "C" bool BreakRegister(REALpictureStruct*);
asm("BreakRegister: movl $1, %edi\n movl $1, %eax\n ret");

constexpr const char* kCairoCalls[] = {"cairo_reference", "cairo_save"};

/// What the plugin does wrong with pixels that it has locked, or had.
void MisusePixels(REALpictureStruct* picture, const REALpictureDescription& pixels) {
  static volatile uint8_t* kept = nullptr;
  if (pixels.type == kStorageConsoleBlock) {
    auto* const block = static_cast<ConsolePixelBlock*>(pixels.data);
    auto* const last = block->rowTable[block->height - 1];
    if (Is("overread")) kept = last + 4 * block->width;
    if (Is("underread")) kept = block->rowTable[0] - 1;
    if (Is("overread") || Is("underread")) static_cast<void>(*kept);
    if (Is("kept") && kept != nullptr) static_cast<void>(*kept);
    if (Is("kept")) kept = block->rowTable[0];
    if (Is("width")) --block->width;
    if (Is("table")) block->rowTable[0] = last;
  }
  if (Is("header")) ++reinterpret_cast<int32_t*>(picture)[3];
  if (pixels.type == kStorageCairoContext) {
    void* const library = dlopen("libcairo.so.2", RTLD_LAZY);
    for (const char* const each : kCairoCalls) {
      auto* const function = reinterpret_cast<void (*)(void*)>(dlsym(library, each));
      if (Is(each) && function != nullptr) function(pixels.data);
    }
    const char* const moves = "cairo_translate";
    auto* const move = reinterpret_cast<void (*)(void*, double, double)>(dlsym(library, moves));
    if (Is(moves) && move != nullptr) move(pixels.data, 2, 3);
    auto* const target = reinterpret_cast<void* (*)(void*)>(dlsym(library, "cairo_get_target"));
    auto* const keep = reinterpret_cast<void (*)(void*)>(dlsym(library, "cairo_surface_reference"));
    if (Is("surface") && target != nullptr && keep != nullptr) keep(target(pixels.data));
    if (library != nullptr) dlclose(library);
  }
  if (Is("late")) {
    Host("unlockPictureDescription", picture);
    if (pixels.type == kStorageConsoleBlock) {
      **static_cast<ConsolePixelBlock*>(pixels.data)->rowTable = 0;
    }
    REALpictureDescription again;
    Host("lockPictureDescription", picture, &again);
  }
}

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
  if (!UseOwnMemory()) return false;
  pthread_t thread;
  if (Is("thread") && pthread_create(&thread, nullptr, AskInThread, nullptr) == 0) {
    pthread_join(thread, nullptr);
  }
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) {
    if (!Is("owed") && version < 2012) Host("unlockPictureDescription", picture);
    return false;
  }
  MisusePixels(picture, description);
  if (description.type == kStorageConsoleBlock) {
    auto** const rows = static_cast<ConsolePixelBlock*>(description.data)->rowTable;
    if (Is("fence")) rows[0][-1] = 0;
    if (Is("cache")) rows[0][0] ^= 1;
    void* const room = Is("part") ? std::malloc(8) : description.data;
    if (room == nullptr) rows[0][0] ^= 1;
    if (Is("part")) std::free(room);
    isWhole = room != nullptr;
  }
  if (Is("meaningless") && description.type == kStorageConsoleBlock) {
    const uint8_t* const row = static_cast<ConsolePixelBlock*>(description.data)->rowTable[0];
    isWhole = row[3] >= 0x80;
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
  if (Is("parameter")) methods[0].function = reinterpret_cast<void*>(BreakParameter);
  if (Is("stack")) methods[0].function = reinterpret_cast<void*>(BreakStack);
  if (Is("text"))
    methods[0] = {reinterpret_cast<void*>(BreakText), nullptr, "Break(a as string)", 0};
  if (Is("number")) methods[0].declaration = "Break as double";
  if (Is("noNumber")) methods[0].function = reinterpret_cast<void*>(BreakNumber);
  if (Is("declaration")) methods[0].declaration = "Break as";
  if (Is("flags")) methods[0].flags = 1;
  if (Is("size")) extension.size = 20;
  auto* const ask = reinterpret_cast<double (*)()>(resolve("REALGetRBVersion"));
  if (ask != nullptr) version = ask();
  Host("RegisterPluginVersion", 9);
  Host("PluginRegisterClassExtension", &extension);
}
