#include "simulator/plugin_memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "simulator/entry_table.h"

namespace sim {
namespace {

using Site = const void*;
using Allocation = Ledger::Allocation;

constexpr size_t kOwnFence = 16;

// Threads of the plugin's own may allocate, too.
std::recursive_mutex busy;
using Busy = std::lock_guard<std::recursive_mutex>;

// Without a host, as in the plugin's static initialisation, all just happens.

size_t FenceBytes() {
  return Host::Exists() && Host::Current().settings.bites ? kOwnFence : size_t{0};
}

/// With room for a fence; what is too large for one is too large for the C library.
size_t WithFence(size_t size) {
  return size > SIZE_MAX - kOwnFence ? SIZE_MAX : size + FenceBytes();
}

std::string NameOf(const Allocation& allocation) {
  return "memory#" + std::to_string(allocation.number);
}

std::string Describe(const void* address) {
  if (address == nullptr) return "null";
  const auto& all = Host::Current().ledger.pluginAllocations;
  const auto found = all.find(const_cast<void*>(address));
  return found == all.end() ? "*" : NameOf(found->second);
}

void Show(const char* name, std::string arguments, bool failed, std::string result) {
  Log& log = Host::Current().log;
  if (!log.TakesMemory()) return;
  log.Add({LogLine::kMemory, name, std::move(arguments), failed, std::move(result)});
}

/// Fills `size` bytes with what nobody could mean.
void Litter(void* bytes, size_t size) {
  if (Host::Current().settings.bites) {
    std::memset(bytes, static_cast<int>(Host::Current().litter & 0xFF), size);
  }
}

bool Fails(const char* name, const std::string& arguments, Site site) {
  if (!Host::Exists() || !Host::Current().faults.Fails(name, site)) return false;
  Show(name, arguments, true, "");
  errno = ENOMEM;
  return true;
}

/// Keeps account of what a function gave (null for nothing). Returns it.
template <class T>
T* Made(const char* name, const std::string& arguments, T* address, size_t size, size_t fence,
        Site site) {
  if (!Host::Exists()) return address;
  Ledger& ledger = Host::Current().ledger;
  if (address != nullptr) {
    std::memset(reinterpret_cast<uint8_t*>(address) + size, kGuardByte, fence);
    ledger.pluginAllocations[address] = {size, site, fence, ++ledger.allocationsMade};
  }
  Show(name, arguments, false, Describe(address));
  return address;
}

/// `make` gets the size with its fence.
template <class Make>
void* Allocate(const char* name, size_t size, Site site, bool isZero, Make make) {
  const Busy lock(busy);
  const std::string arguments = std::to_string(size);
  if (Fails(name, arguments, site)) return nullptr;
  void* const address = make(WithFence(size));
  if (address != nullptr && Host::Exists() && !isZero) Litter(address, size);
  return Made(name, arguments, address, size, FenceBytes(), site);
}

/// Strikes it off the account. What another library allocated may be freed, too; the C library
/// notices itself what is no allocation.
void Forget(const char* name, void* address, Site site) {
  if (!Host::Exists()) return;
  Host& host = Host::Current();
  const CallScope scope(host, name, site, /*anyThread=*/true);
  Show(name, Describe(address), false, "");
  const auto former = host.ledger.pluginAllocations.extract(address);
  if (!former) return;
  host.CheckFence(address, former.mapped());
  if (former.mapped().isMapped) host.Misuse("was given memory that was mapped");
  Litter(address, former.mapped().size);
}

#define SITE __builtin_return_address(0)

void* HookedMalloc(size_t size) { return Allocate("malloc", size, SITE, false, std::malloc); }

size_t Product(size_t count, size_t size) {
  return size != 0 && count > SIZE_MAX / size ? SIZE_MAX : count * size;
}

void* HookedCalloc(size_t count, size_t size) {
  return Allocate("calloc", Product(count, size), SITE, true,
                  [](size_t padded) { return std::calloc(1, padded); });
}

void* Reallocate(const char* name, void* address, size_t size, Site site) {
  const Busy lock(busy);
  const std::string arguments =
      (Host::Exists() ? Describe(address) : "") + ", " + std::to_string(size);
  if (Fails(name, arguments, site)) return nullptr;
  if (!Host::Exists()) return std::realloc(address, size);
  Host& host = Host::Current();
  const CallScope scope(host, name, site, /*anyThread=*/true);
  auto former = host.ledger.pluginAllocations.extract(address);
  if (former) host.CheckFence(address, former.mapped());
  const size_t kept = former               ? former.mapped().size
                      : address != nullptr ? malloc_usable_size(address)
                                           : 0;
  // For no bytes at all, the C library frees.
  const bool frees = size == 0 && address != nullptr;
  void* const moved = std::realloc(address, frees ? 0 : WithFence(size));
  if (moved == nullptr && !frees && former) {
    host.ledger.pluginAllocations.insert(std::move(former));
  }
  if (moved != nullptr && size > kept) Litter(static_cast<uint8_t*>(moved) + kept, size - kept);
  return Made(name, arguments, moved, size, moved == nullptr ? 0 : FenceBytes(), site);
}

void* HookedRealloc(void* address, size_t size) {
  return Reallocate("realloc", address, size, SITE);
}

void* HookedReallocarray(void* address, size_t count, size_t size) {
  return Reallocate("reallocarray", address, Product(count, size), SITE);
}

char* CopyText(const char* name, const char* text, size_t length, Site site) {
  auto* const copy = static_cast<char*>(Allocate(name, length + 1, site, false, std::malloc));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

char* HookedStrdup(const char* text) { return CopyText("strdup", text, std::strlen(text), SITE); }

char* HookedStrndup(const char* text, size_t most) {
  return CopyText("strndup", text, strnlen(text, most), SITE);
}

int PrintText(const char* name, char** text, const char* format, va_list arguments, Site site) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  *text = length < 0 ? nullptr
                     : static_cast<char*>(Allocate(name, static_cast<size_t>(length) + 1, site,
                                                   false, std::malloc));
  return *text == nullptr
             ? -1
             : std::vsnprintf(*text, static_cast<size_t>(length) + 1, format, arguments);
}

// Those that a compiler calls to have buffers checked take a flag, too.

template <class... Flag>
int HookedVasprintf(char** text, Flag..., const char* format, va_list arguments) {
  return PrintText("vasprintf", text, format, arguments, SITE);
}

template <class... Flag>
int HookedAsprintf(char** text, Flag..., const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = PrintText("asprintf", text, format, arguments, SITE);
  va_end(arguments);
  return length;
}

/// The C library makes the buffer as large as it needs, without a fence.
ssize_t ReadPart(const char* name, char** line, size_t* size, int end, FILE* file, Site site) {
  const Busy lock(busy);
  if (Fails(name, "*", site)) return -1;
  if (!Host::Exists()) return getdelim(line, size, end, file);
  Host& host = Host::Current();
  const CallScope scope(host, name, site, /*anyThread=*/true);
  if (const auto former = host.ledger.pluginAllocations.extract(*line)) {
    host.CheckFence(*line, former.mapped());
  }
  const ssize_t length = getdelim(line, size, end, file);
  Made(name, "*", *line, *size, 0, site);
  return length;
}

ssize_t HookedGetline(char** line, size_t* size, FILE* file) {
  return ReadPart("getline", line, size, '\n', file, SITE);
}

ssize_t HookedGetdelim(char** line, size_t* size, int end, FILE* file) {
  return ReadPart("getdelim", line, size, end, file, SITE);
}

void* Aligned(const char* name, size_t alignment, size_t size, Site site) {
  return Allocate(name, size, site, false,
                  [alignment](size_t padded) { return memalign(alignment, padded); });
}

int HookedPosixMemalign(void** address, size_t alignment, size_t size) {
  void* const made = Aligned("posix_memalign", alignment, size, SITE);
  if (made == nullptr) return ENOMEM;
  *address = made;
  return 0;
}

void* HookedAlignedAlloc(size_t alignment, size_t size) {
  return Aligned("aligned_alloc", alignment, size, SITE);
}

void* HookedMemalign(size_t alignment, size_t size) {
  return Aligned("memalign", alignment, size, SITE);
}

void HookedFree(void* address) {
  const Busy lock(busy);
  Forget("free", address, SITE);
  std::free(address);
}

// new and delete, plain and for arrays alike.

void* New(size_t size, Site site) {
  return Allocate("new", size, site, false,
                  [](size_t padded) { return operator new(padded, std::nothrow); });
}

void* OrThrow(void* address) {
  if (address == nullptr) throw std::bad_alloc();
  return address;
}

void* HookedNew(size_t size) { return OrThrow(New(size, SITE)); }
void* HookedNewNothrow(size_t size, const std::nothrow_t&) { return New(size, SITE); }
void* HookedNewAligned(size_t size, std::align_val_t alignment) {
  return OrThrow(Aligned("new", static_cast<size_t>(alignment), size, SITE));
}
void* HookedNewAlignedNothrow(size_t size, std::align_val_t alignment, const std::nothrow_t&) {
  return Aligned("new", static_cast<size_t>(alignment), size, SITE);
}

// Those that take a size, an alignment or std::nothrow take it behind the address: one function
// serves for all. Aligned blocks come from the C library, here as in the C++ library itself.
void HookedDelete(void* address) {
  const Busy lock(busy);
  Forget("delete", address, SITE);
  operator delete(address);
}

void HookedDeleteAligned(void* address) {
  const Busy lock(busy);
  Forget("delete", address, SITE);
  std::free(address);
}

// Mapped pages. Whatever part of them is unmapped, the rest stays the plugin's.
void ForgetPages(void* address, size_t size) {
  if (!Host::Exists()) return;
  auto& all = Host::Current().ledger.pluginAllocations;
  auto* const begin = static_cast<uint8_t*>(address);
  uint8_t* const end = begin + WholePages(size);
  std::vector<std::pair<void*, Allocation>> rests;
  const auto keep = [&rests](uint8_t* first, const uint8_t* last, Allocation rest) {
    if (first >= last) return;
    rest.size = static_cast<size_t>(last - first);
    rests.emplace_back(first, rest);
  };
  std::erase_if(all, [&](const auto& each) {
    auto* const first = static_cast<uint8_t*>(each.first);
    uint8_t* const last = first + each.second.size;
    if (!each.second.isMapped || first >= end || last <= begin) return false;
    keep(first, begin, each.second);
    keep(end, last, each.second);
    return true;
  });
  all.insert(rests.begin(), rests.end());
}

void* MadePages(const char* name, void* pages, size_t size, Site site) {
  if (!Host::Exists()) return pages;
  if (pages == MAP_FAILED) {
    Made(name, std::to_string(size), static_cast<void*>(nullptr), size, 0, site);
    return pages;
  }
  ForgetPages(pages, size);
  Made(name, std::to_string(size), pages, WholePages(size), 0, site);
  Host::Current().ledger.pluginAllocations[pages].isMapped = true;
  return pages;
}

template <class Offset>
void* HookedMmap(void* wish, size_t size, int access, int flags, int file, Offset offset) {
  const Busy lock(busy);
  if (Fails("mmap", std::to_string(size), SITE)) return MAP_FAILED;
  return MadePages("mmap", mmap64(wish, size, access, flags, file, offset), size, SITE);
}

int HookedMunmap(void* address, size_t size) {
  const Busy lock(busy);
  if (Host::Exists()) Show("munmap", Describe(address), false, "");
  const int result = munmap(address, size);
  if (result == 0) ForgetPages(address, size);
  return result;
}

void* HookedMremap(void* address, size_t former, size_t size, int flags, void* wish) {
  const Busy lock(busy);
  if (Fails("mremap", std::to_string(size), SITE)) return MAP_FAILED;
  void* const moved = mremap(address, former, size, flags, wish);
  if (moved != MAP_FAILED) ForgetPages(address, former);
  return MadePages("mremap", moved, size, SITE);
}

}  // namespace

std::span<const Hook> MemoryHooks() {
  static const Hook hooks[] = {
      HookOf("malloc", HookedMalloc),
      HookOf("calloc", HookedCalloc),
      HookOf("realloc", HookedRealloc),
      HookOf("reallocarray", HookedReallocarray),
      HookOf("strdup", HookedStrdup),
      HookOf("strndup", HookedStrndup),
      HookOf("asprintf", HookedAsprintf<>),
      HookOf("__asprintf_chk", HookedAsprintf<int>),
      HookOf("vasprintf", HookedVasprintf<>),
      HookOf("__vasprintf_chk", HookedVasprintf<int>),
      HookOf("getline", HookedGetline),
      HookOf("getdelim", HookedGetdelim),
      HookOf("__getdelim", HookedGetdelim),
      HookOf("posix_memalign", HookedPosixMemalign),
      HookOf("aligned_alloc", HookedAlignedAlloc),
      HookOf("memalign", HookedMemalign),
      HookOf("free", HookedFree),
      HookOf("_Znwj", HookedNew),
      HookOf("_Znaj", HookedNew),
      HookOf("_ZnwjRKSt9nothrow_t", HookedNewNothrow),
      HookOf("_ZnajRKSt9nothrow_t", HookedNewNothrow),
      HookOf("_ZnwjSt11align_val_t", HookedNewAligned),
      HookOf("_ZnajSt11align_val_t", HookedNewAligned),
      HookOf("_ZnwjSt11align_val_tRKSt9nothrow_t", HookedNewAlignedNothrow),
      HookOf("_ZnajSt11align_val_tRKSt9nothrow_t", HookedNewAlignedNothrow),
      HookOf("_ZdlPv", HookedDelete),
      HookOf("_ZdaPv", HookedDelete),
      HookOf("_ZdlPvj", HookedDelete),
      HookOf("_ZdaPvj", HookedDelete),
      HookOf("_ZdlPvRKSt9nothrow_t", HookedDelete),
      HookOf("_ZdaPvRKSt9nothrow_t", HookedDelete),
      HookOf("_ZdlPvSt11align_val_t", HookedDeleteAligned),
      HookOf("_ZdaPvSt11align_val_t", HookedDeleteAligned),
      HookOf("_ZdlPvjSt11align_val_t", HookedDeleteAligned),
      HookOf("_ZdaPvjSt11align_val_t", HookedDeleteAligned),
      HookOf("mmap", HookedMmap<off_t>),
      HookOf("mmap64", HookedMmap<off64_t>),
      HookOf("munmap", HookedMunmap),
      HookOf("mremap", HookedMremap),
  };
  return hooks;
}

}  // namespace sim
