// What the method Break does wrong, or unusually: a row for each fault.

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <utility>

#include "tests/check/broken_host.h"

namespace {

/// As a compiler spills a vector that takes the stack for aligned to 16 bytes in front of the call.
extern "C" bool StoreAligned(Picture*);
asm("StoreAligned: movaps %xmm0, -28(%esp)\n movl $1, %eax\n ret");

__attribute__((noinline)) bool OldStack(Picture*) {
  int numbers[100];
  int* volatile number = numbers;
  return number[50] != 0;
}

bool InThread(void* (*work)(void*), void* argument) {
  pthread_t thread;
  return pthread_create(&thread, nullptr, work, argument) == 0 &&
         pthread_join(thread, nullptr) == 0;
}

void Read(const volatile uint8_t* byte) { static_cast<void>(*byte); }

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
    {"kept_entry",
     [](Picture* picture) {
       reinterpret_cast<void (*)(Picture*)>(clearCache)(picture);
       return true;
     }},
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
         Read(block.rowTable[block.height - 1] + 4 * block.width);
       });
     }},
    {"underread",
     [](Picture* picture) {
       return WithBlock(picture, [](ConsolePixelBlock& block) { Read(block.rowTable[0] - 1); });
     }},
    {"kept_picture",
     [](Picture* picture) {
       static Picture* kept = nullptr;
       Picture* const former = std::exchange(kept, picture);
       return former == nullptr || WithRows(former, [](uint32_t**) {});
     }},
    {"kept_pixels",
     [](Picture* picture) {
       static uint8_t* kept = nullptr;
       return WithBlock(picture, [](ConsolePixelBlock& block) {
         if (kept != nullptr) Read(kept);
         kept = block.rowTable[0];
       });
     }},
    {"header", [](Picture* picture) { return ++reinterpret_cast<int32_t*>(picture)[3] > 0; }},
    {"meaningless",
     [](Picture* picture) {
       bool isSet = false;
       WithBlock(picture,
                 [&isSet](ConsolePixelBlock& block) { isSet = block.rowTable[0][3] >= 0x80; });
       return isSet;
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
    {"cairo_reference", [](Picture* picture) { return CallOnContext(picture, "cairo_reference"); }},
    {"cairo_save", [](Picture* picture) { return CallOnContext(picture, "cairo_save"); }},
    {"cairo_translate",
     [](Picture* picture) { return CallOnContext(picture, "cairo_translate", 2.0, 3.0); }},
    {"surface",
     [](Picture* picture) {
       return WithContext(picture, [](void* context) {
         CallCairo("cairo_surface_reference", CallCairo("cairo_get_target", context));
       });
     }},
    {"thread", [](Picture*) { return InThread(AskVersion, nullptr); }},
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
    {"keeps_some",
     [](Picture*) {
       static void* ring[6];
       void*& oldest = ring[calls % 6];
       std::free(oldest);
       oldest = std::malloc(100);
       return true;
     }},
    {"keeps_file",
     [](Picture*) {
       static const int file = open("/dev/null", O_RDONLY);
       return file >= 0;
     }},
    {"frees_in_thread",
     [](Picture*) {
       const auto release = [](void* block) -> void* {
         std::free(block);
         return nullptr;
       };
       return InThread(release, std::malloc(9));
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

}  // namespace

bool Break(Picture* picture) {
  ++calls;
  for (const Fault& fault : kFaults) {
    if (Is(fault.name)) return fault.run(picture);
  }
  return true;
}
