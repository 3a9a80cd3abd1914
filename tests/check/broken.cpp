// A plugin that does one thing that is wrong, or right but unusual: what the environment variable
// FAULT names. Each fault is a row of one of two tables.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include "host/host_types.h"

namespace {

using Picture = REALpictureStruct;

void* (*resolve)(const char*);
double version = 0;
int calls = 0;

bool Is(const char* fault) {
  const char* const wanted = std::getenv("FAULT");
  return wanted != nullptr && std::strcmp(wanted, fault) == 0;
}

template <class Result = bool, class... Args>
Result Host(const char* entry, Args... args) {
  auto* const function = reinterpret_cast<uint32_t (*)(Args...)>(resolve(entry));
  if (function == nullptr && !Is("missing")) return Result();
  if constexpr (std::is_pointer_v<Result>) {
    return reinterpret_cast<Result>(function(args...));
  } else {
    return static_cast<Result>(function(args...) & 0xFF);
  }
}

/// Locks the picture and calls use(its description). False when it cannot lock.
template <class Use>
bool WithDescription(Picture* picture, Use use) {
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) {
    if (!Is("owed") && version < 2012) Host("unlockPictureDescription", picture);
    return false;
  }
  use(description);
  if (!Is("lock")) Host("unlockPictureDescription", picture);
  return true;
}
/// use(block), where it is a console picture.
template <class Use>
bool WithBlock(Picture* picture, Use use) {
  return WithDescription(picture, [use](const REALpictureDescription& description) {
    if (description.type == kStorageConsoleBlock) {
      use(*static_cast<ConsolePixelBlock*>(description.data));
    }
  });
}
/// use(rows), where it is a console picture.
template <class Use>
bool WithRows(Picture* picture, Use use) {
  return WithBlock(picture, [use](ConsolePixelBlock& block) {
    use(reinterpret_cast<uint32_t**>(block.rowTable));
  });
}
/// Calls an entry of Cairo on the context, where it is a picture of Cairo's.
template <class... Args>
bool CallCairo(Picture* picture, const char* name, Args... args) {
  return WithDescription(picture, [=](const REALpictureDescription& description) {
    if (description.type != kStorageCairoContext) return;
    void* const library = dlopen("libcairo.so.2", RTLD_LAZY);
    auto* const call = reinterpret_cast<void (*)(void*, Args...)>(dlsym(library, name));
    if (call != nullptr) call(description.data, args...);
    if (library != nullptr) dlclose(library);
  });
}

void* AskVersion(void*) { return Host<void*>("REALGetRBVersion"); }

bool WriteCleared(Picture* picture, uint32_t word) {
  const bool done = WithRows(picture, [word](uint32_t** rows) { rows[0][0] ^= word; });
  if (done) Host("REALPictureClearCache", picture);
  return done;
}

Picture* NewPicture() { return Host<Picture*>("newPicture", 2, 2, 32); }
bool Release(Picture* picture) {
  if (picture != nullptr) Host("REALUnlockObject", picture);
  return picture != nullptr;
}

bool CrashHere() {
  volatile int* volatile nowhere = nullptr;
  *nowhere = 1;
  return true;
}

extern "C" bool ClobberEdi(Picture*);
asm("ClobberEdi: movl $1, %edi\n movl $1, %eax\n ret");
/// As a compiler spills a vector that takes the stack for aligned to 16 bytes in front of the call.
extern "C" bool StoreAligned(Picture*);
asm("StoreAligned: movaps %xmm0, -28(%esp)\n movl $1, %eax\n ret");

__attribute__((noinline)) bool OldStack(Picture*) {
  int numbers[100];
  int* volatile number = numbers;
  return number[50] != 0;
}
bool NotDeclared(Picture*, int parameter) { return parameter != 0; }
double Number(Picture*) { return 1; }

/// What the method Break does wrong.
struct Fault {
  const char* name;
  bool (*run)(Picture*);
};
const Fault kFaults[] = {
    // Ends of the process.
    {"crash", [](Picture*) { return CrashHere(); }},
    {"hang", [](Picture*) { return pause() == 0; }},
    {"hang_without_picture",
     [](Picture*) {
       Picture* const made = NewPicture();
       while (made == nullptr) pause();
       return Release(made);
     }},
    {"exit", [](Picture*) -> bool { std::exit(0); }},
    {"exit_97", [](Picture*) -> bool { _exit(97); }},
    {"kill_group", [](Picture*) { return kill(0, SIGTERM) == 0; }},
    {"double_free",
     [](Picture*) {
       void* volatile block = std::malloc(40);
       std::free(block);
       std::free(block);
       return true;
     }},
    {"throw", [](Picture*) -> bool { throw std::runtime_error("of its own"); }},
    {"stack", StoreAligned},
    // Things not given back.
    {"reference", [](Picture* picture) { return Host("REALLockObject", picture) || true; }},
    {"memory",
     [](Picture*) {
       *static_cast<volatile char*>(std::malloc(77)) = 0;
       return true;
     }},
    {"file", [](Picture*) { return open("/dev/null", O_RDONLY) >= 0; }},
    {"mapped",
     [](Picture*) {
       void* const pages = mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       return pages != MAP_FAILED && munmap(pages, 4096) == 0;
     }},
    // Memory of its own.
    {"aligned",
     [](Picture*) {
       void* bytes = nullptr;
       posix_memalign(&bytes, 64, 64);
       *static_cast<volatile char*>(bytes) = 0;
       std::free(bytes);
       return true;
     }},
    {"printed",
     [](Picture*) {
       char* text = nullptr;
       if (asprintf(&text, "%d", 5) < 0) text = nullptr;
       *const_cast<volatile char*>(text) = 0;
       std::free(text);
       return true;
     }},
    {"nothrow",
     [](Picture*) {
       auto* const number = new (std::nothrow) volatile int;
       *number = 0;
       delete number;
       return true;
     }},
    {"behind",
     [](Picture*) {
       volatile size_t five = 5;
       auto* const bytes = static_cast<volatile char*>(std::malloc(five));
       if (bytes == nullptr) return false;
       bytes[five] = 0;
       std::free(const_cast<char*>(bytes));
       return true;
     }},
    {"fresh",
     [](Picture*) {
       auto* const bytes = static_cast<volatile char*>(std::malloc(5));
       const bool isSet = bytes != nullptr && bytes[3] != 0;
       std::free(const_cast<char*>(bytes));
       return isSet;
     }},
    {"old_stack", OldStack},
    // The caller's state, and the process's.
    {"control",
     [](Picture*) {
       const uint16_t single = 0x007F;
       asm volatile("fldcw %0" : : "m"(single));
       return true;
     }},
    {"locale", [](Picture*) { return std::setlocale(LC_NUMERIC, "C.UTF-8") != nullptr; }},
    {"folder", [](Picture*) { return chdir("/") == 0; }},
    {"umask", [](Picture*) { return umask(0777) < 0777; }},
    {"environment", [](Picture*) { return setenv("LANG", "xx", 1) == 0; }},
    {"handler", [](Picture*) { return signal(SIGINT, SIG_IGN) != SIG_ERR; }},
    {"output", [](Picture*) { return std::puts("hello") >= 0; }},
    {"name", [](Picture*) { return resolve("lockPictureDescriptions") == nullptr; }},
    // Pictures.
    {"owed", [](Picture* picture) { return WithRows(picture, [](uint32_t**) {}); }},
    {"lock", [](Picture* picture) { return WithRows(picture, [](uint32_t**) {}); }},
    {"fence",
     [](Picture* picture) { return WithRows(picture, [](uint32_t** rows) { rows[0][-1] = 0; }); }},
    {"cache",
     [](Picture* picture) { return WithRows(picture, [](uint32_t** rows) { rows[0][0] ^= 1; }); }},
    {"cache_before",
     [](Picture* picture) {
       Host("REALPictureClearCache", picture);
       return WithRows(picture, [](uint32_t** rows) { rows[0][0] ^= 1; });
     }},
    {"part",
     [](Picture* picture) {
       // Where there is no room, half the work is done.
       void* const room = std::malloc(8);
       const bool done = WriteCleared(picture, room == nullptr ? 3 : 1);
       std::free(room);
       return room != nullptr && done;
     }},
    {"repeat", [](Picture* picture) { return WriteCleared(picture, calls == 1 ? 1 : 2); }},
    {"overread",
     [](Picture* picture) {
       return WithBlock(picture, [](ConsolePixelBlock& block) {
         static_cast<void>(
             *static_cast<volatile uint8_t*>(block.rowTable[block.height - 1] + 4 * block.width));
       });
     }},
    {"underread",
     [](Picture* picture) {
       return WithBlock(picture, [](ConsolePixelBlock& block) {
         static_cast<void>(*static_cast<volatile uint8_t*>(block.rowTable[0] - 1));
       });
     }},
    {"kept_pixels",
     [](Picture* picture) {
       static volatile uint8_t* kept = nullptr;
       return WithBlock(picture, [](ConsolePixelBlock& block) {
         if (kept != nullptr) static_cast<void>(*kept);
         kept = block.rowTable[0];
       });
     }},
    {"width",
     [](Picture* picture) {
       return WithBlock(picture, [](ConsolePixelBlock& block) { --block.width; });
     }},
    {"table",
     [](Picture* picture) {
       return WithBlock(picture, [](ConsolePixelBlock& block) {
         block.rowTable[0] = block.rowTable[block.height - 1];
       });
     }},
    {"late",
     [](Picture* picture) {
       static volatile uint8_t* pixels = nullptr;
       const bool done =
           WithBlock(picture, [](ConsolePixelBlock& block) { pixels = block.rowTable[0]; });
       if (pixels != nullptr) *pixels = 0;
       return done;
     }},
    {"cairo_reference", [](Picture* picture) { return CallCairo(picture, "cairo_reference"); }},
    {"cairo_save", [](Picture* picture) { return CallCairo(picture, "cairo_save"); }},
    {"cairo_translate",
     [](Picture* picture) { return CallCairo(picture, "cairo_translate", 2.0, 3.0); }},
    {"surface",
     [](Picture* picture) {
       return WithDescription(picture, [](const REALpictureDescription& description) {
         if (description.type != kStorageCairoContext) return;
         void* const library = dlopen("libcairo.so.2", RTLD_LAZY);
         using Of = void* (*)(void*);
         auto* const target = reinterpret_cast<Of>(dlsym(library, "cairo_get_target"));
         reinterpret_cast<Of>(dlsym(library, "cairo_surface_reference"))(target(description.data));
         dlclose(library);
       });
     }},
    {"thread",
     [](Picture*) {
       pthread_t thread;
       return pthread_create(&thread, nullptr, AskVersion, nullptr) == 0 &&
              pthread_join(thread, nullptr) == 0;
     }},
    {"deep",
     [](Picture*) {
       // The way around a failure is not looked at.
       Picture* made = NewPicture();
       if (made == nullptr) {
         auto* const clone =
             reinterpret_cast<Picture* (*)(int, int, int)>(resolve("REALBuildPictureFromBuffer"));
         if (clone == nullptr) CrashHere();
       }
       return Release(made) || true;
     }},
    // Right, if unusual.
    {"keeps_picture",
     [](Picture* picture) {
       static Picture* kept = nullptr;
       Host("REALLockObject", picture);
       if (kept != nullptr) Host("REALUnlockObject", kept);
       kept = picture;
       return true;
     }},
    {"keeps_memory",
     [](Picture*) {
       static void* kept = nullptr;
       if (kept == nullptr) kept = std::malloc(100);
       return true;
     }},
    {"own_pages",
     [](Picture*) {
       constexpr size_t kSize = 1 << 16;
       void* const pages =
           mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       if (pages == MAP_FAILED) return false;
       madvise(pages, kSize, MADV_DONTNEED);
       return munmap(pages, kSize) == 0;
     }},
    {"counts", [](Picture*) { return calls % 2 == 1; }},
};

bool Break(Picture* picture) {
  ++calls;
  for (const Fault& fault : kFaults) {
    if (Is(fault.name)) return fault.run(picture);
  }
  return true;
}

// Methods with parameters, for what only some arguments show.
bool Narrow(Picture* picture) {
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) return false;
  if (description.width > 255 || description.height > 255) CrashHere();
  return Host("unlockPictureDescription", picture) || true;
}
bool Divide(Picture*, double number) { return number == number || CrashHere(); }
bool Index(Picture*, int32_t index) {
  static volatile int table[512];
  return table[index < 0 ? 0 : index & 511] + (index > 1000 ? CrashHere() : 0) == 0;
}
bool Label(Picture*, REALstringStruct* text) {
  // A string is null where it is empty.
  const auto* const layout = reinterpret_cast<const REALstringLegacyLayout*>(text);
  return *reinterpret_cast<const volatile uint32_t*>(&layout->lengthBytes) < 0x7FFFFFFF;
}
bool Scribble(Picture*, REALstringStruct* text) {
  if (text == nullptr) return false;
  auto* const get = reinterpret_cast<char* (*)(REALstringStruct*)>(resolve("StringGetCString"));
  if (get != nullptr) get(text)[0] = 'x';
  return true;
}
bool Combine(Picture* picture, Picture* other) {
  if (other == nullptr) return false;
  if (other == picture && Is("itself")) return CrashHere();
  // Of the pictures that it writes, the other's cache is forgotten.
  if (Is("other_cache")) return WithRows(other, [](uint32_t** rows) { rows[0][0] ^= 1; });
  return true;
}
Picture* Painted(Picture* picture) {
  WriteCleared(picture, 1);
  return NewPicture();
}
/// Forgets what it was told when another method runs in between.
bool After(Picture* picture) { return WriteCleared(picture, calls == 0 ? 1 : 2); }

double Sum(Picture*, double a, double b, double c, double d, double e) { return a + b + c + d + e; }
REALstringStruct* Long(Picture*) {
  static char text[300000];
  std::memset(text, 'x', sizeof text);
  return Host<REALstringStruct*>("REALBuildString", text, static_cast<int>(sizeof text));
}

REALmethodDefinition methods[3] = {
    {reinterpret_cast<void*>(Break), nullptr, "Break as boolean", 0},
    {reinterpret_cast<void*>(Break), nullptr, "Untried(item as FolderItem)", 0},
    {reinterpret_cast<void*>(Break), nullptr, nullptr, 0}};
REALclassDefinition extension;

void Declare(const char* declaration, void* function = reinterpret_cast<void*>(Break)) {
  methods[2] = {function, nullptr, declaration, 0};
  extension.methodCount = 3;
}

/// What is wrong with what it registers.
struct Registration {
  const char* name;
  void (*change)();
};
const Registration kRegistrations[] = {
    {"register", [] { methods[0].function = reinterpret_cast<void*>(ClobberEdi); }},
    {"parameter", [] { methods[0].function = reinterpret_cast<void*>(NotDeclared); }},
    {"number", [] { methods[0].declaration = "Break as double"; }},
    {"no_declared_number", [] { methods[0].function = reinterpret_cast<void*>(Number); }},
    {"declaration", [] { Declare("Broken as"); }},
    {"twice", [] { Declare("break as boolean"); }},
    {"flags", [] { methods[0].flags = 1; }},
    {"size", [] { extension.size = 20; }},
    {"pitcure", [] { extension.name = "Pitcure"; }},
    {"untried", [] { methods[0].declaration = "Break(item as FolderItem)"; }},
    {"start_memory", [] { *static_cast<volatile char*>(std::malloc(78)) = 0; }},
    // What only some inputs show.
    {"narrow", [] { Declare("Narrow as boolean", reinterpret_cast<void*>(Narrow)); }},
    {"no_number",
     [] { Declare("Divide(number as double) as boolean", reinterpret_cast<void*>(Divide)); }},
    {"index", [] { Declare("Index(at as integer) as boolean", reinterpret_cast<void*>(Index)); }},
    {"null_text",
     [] { Declare("Label(text as string) as boolean", reinterpret_cast<void*>(Label)); }},
    {"scribble",
     [] { Declare("Scribble(text as string) as boolean", reinterpret_cast<void*>(Scribble)); }},
    {"itself",
     [] { Declare("Combine(other as picture) as boolean", reinterpret_cast<void*>(Combine)); }},
    {"other_cache",
     [] { Declare("Combine(other as picture) as boolean", reinterpret_cast<void*>(Combine)); }},
    {"receiver", [] { Declare("Painted as picture", reinterpret_cast<void*>(Painted)); }},
    {"together", [] { Declare("After as boolean", reinterpret_cast<void*>(After)); }},
    // Right, if unusual.
    {"defaults", [] { Declare("Other(a as string = \"(a, b)\", b as Module1.Kind = &hFF)"); }},
    {"sum",
     [] {
       Declare("Sum(a as double, b as double, c as double, d as double, e as double) as double",
               reinterpret_cast<void*>(Sum));
     }},
    {"long", [] { Declare("Long as string", reinterpret_cast<void*>(Long)); }},
};

struct Unloaded {
  ~Unloaded() {
    if (Is("destructor")) std::abort();
  }
} unloaded;

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(
    void* (*resolver)(const char*)) {
  resolve = resolver;
  if (Is("nothing")) return;
  extension.version = 9;
  extension.name = "Picture";
  extension.methods = methods;
  extension.methodCount = 2;
  for (const Registration& registration : kRegistrations) {
    if (Is(registration.name)) registration.change();
  }
  auto* const ask = reinterpret_cast<double (*)()>(resolve("REALGetRBVersion"));
  if (ask != nullptr) version = ask();
  Host("RegisterPluginVersion", 9);
  Host("PluginRegisterClassExtension", &extension);
}
