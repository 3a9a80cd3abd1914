#include "simulator/import_hooks.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "simulator/host.h"

namespace sim {
namespace {

// Allocations: counted in the ledger, failed by the faults. Without a host, as in the plugin's
// static initialisation, they just happen.

void* Track(void* address, size_t size, const void* site) {
  if (address != nullptr && Host::Exists()) {
    Host::Current().ledger.pluginAllocations[address] = {size, site};
  }
  return address;
}

void Forget(void* address) {
  if (Host::Exists()) Host::Current().ledger.pluginAllocations.erase(address);
}

bool AllocationFails(const char* name) {
  return Host::Exists() && Host::Current().faults.Fails(name);
}

void* HookedMalloc(size_t size) {
  if (AllocationFails("malloc")) return nullptr;
  void* const address = Track(std::malloc(size), size, __builtin_return_address(0));
  // Whatever was there before: not the zeros that fresh memory has.
  if (address != nullptr) std::memset(address, 0xA5, size);
  return address;
}

void* HookedCalloc(size_t count, size_t size) {
  if (AllocationFails("calloc")) return nullptr;
  return Track(std::calloc(count, size), count * size, __builtin_return_address(0));
}

void* HookedRealloc(void* address, size_t size) {
  if (AllocationFails("realloc")) return nullptr;
  if (!Host::Exists()) return std::realloc(address, size);
  auto& allocations = Host::Current().ledger.pluginAllocations;
  auto former = allocations.extract(address);
  void* const moved = std::realloc(address, size);
  if (moved == nullptr && size != 0 && former) allocations.insert(std::move(former));
  return Track(moved, size, __builtin_return_address(0));
}

char* HookedStrdup(const char* text) {
  if (AllocationFails("strdup")) return nullptr;
  return static_cast<char*>(
      Track(strdup(text), std::strlen(text) + 1, __builtin_return_address(0)));
}

void* HookedNew(size_t size) {
  if (AllocationFails("new")) throw std::bad_alloc();
  return Track(operator new(size), size, __builtin_return_address(0));
}

// What some function of the C library allocated is free to be freed; whether it is an allocation at
// all, the C library looks itself.
void HookedFree(void* address) {
  Forget(address);
  std::free(address);
}

void HookedDelete(void* address) {
  Forget(address);
  operator delete(address);
}

void HookedSizedDelete(void* address, size_t) { HookedDelete(address); }

// Advice about pages: only about pixels, refused by the faults.

constexpr size_t kPageBytes = 4096;

template <class Call>
int Ask(const char* name, void* begin, size_t byteCount, int advice, Call call) {
  if (!Host::Exists() || Host::Current().AdmitPageCall(name, begin, byteCount, advice)) {
    return call();
  }
  errno = EPERM;
  return -1;
}

int HookedMadvise(void* begin, size_t byteCount, int advice) {
  return Ask("madvise", begin, byteCount, advice,
             [&] { return madvise(begin, byteCount, advice); });
}

int HookedMincore(void* begin, size_t byteCount, unsigned char* states) {
  return Ask("mincore", begin, byteCount, PageCall::kAsk, [&] {
    const int result = mincore(begin, byteCount, states);
    if (result == 0 && Host::Exists() && Host::Current().settings.pagesMissing) {
      std::memset(states, 0, (byteCount + kPageBytes - 1) / kPageBytes);
    }
    return result;
  });
}

// Libraries: logged, and missing where the settings say so.

template <class Find>
void* LookUp(const char* function, const char* name, Find find) {
  if (!Host::Exists()) return find();
  Host& host = Host::Current();
  void* const found = host.Missing(name) ? nullptr : find();
  host.log.Add({LogLine::kLibrary, function, name, found == nullptr});
  return found;
}

void* HookedDlopen(const char* name, int mode) {
  return LookUp("dlopen", name == nullptr ? "" : name, [&] { return dlopen(name, mode); });
}

void* HookedDlsym(void* library, const char* name) {
  return LookUp("dlsym", name, [&] { return dlsym(library, name); });
}

struct Hook {
  const char* name;
  void* function;
};
const Hook kHooks[] = {{"malloc", reinterpret_cast<void*>(HookedMalloc)},
                       {"calloc", reinterpret_cast<void*>(HookedCalloc)},
                       {"realloc", reinterpret_cast<void*>(HookedRealloc)},
                       {"strdup", reinterpret_cast<void*>(HookedStrdup)},
                       {"free", reinterpret_cast<void*>(HookedFree)},
                       {"_Znwj", reinterpret_cast<void*>(HookedNew)},
                       {"_Znaj", reinterpret_cast<void*>(HookedNew)},
                       {"_ZdlPv", reinterpret_cast<void*>(HookedDelete)},
                       {"_ZdaPv", reinterpret_cast<void*>(HookedDelete)},
                       {"_ZdlPvj", reinterpret_cast<void*>(HookedSizedDelete)},
                       {"_ZdaPvj", reinterpret_cast<void*>(HookedSizedDelete)},
                       {"madvise", reinterpret_cast<void*>(HookedMadvise)},
                       {"mincore", reinterpret_cast<void*>(HookedMincore)},
                       {"dlopen", reinterpret_cast<void*>(HookedDlopen)},
                       {"dlsym", reinterpret_cast<void*>(HookedDlsym)}};

/// The parts of a loaded object's dynamic section that lead from relocations to symbol names.
struct Imports {
  explicit Imports(const link_map& map) {
    for (const ElfW(Dyn)* entry = map.l_ld; entry->d_tag != DT_NULL; ++entry) {
      switch (entry->d_tag) {
        case DT_SYMTAB:
          symbols = reinterpret_cast<const ElfW(Sym)*>(entry->d_un.d_ptr);
          break;
        case DT_STRTAB:
          names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
          break;
        case DT_REL:
          tables[0].first = reinterpret_cast<const ElfW(Rel)*>(entry->d_un.d_ptr);
          break;
        case DT_RELSZ:
          tables[0].count = entry->d_un.d_val / sizeof(ElfW(Rel));
          break;
        case DT_JMPREL:
          tables[1].first = reinterpret_cast<const ElfW(Rel)*>(entry->d_un.d_ptr);
          break;
        case DT_PLTRELSZ:
          tables[1].count = entry->d_un.d_val / sizeof(ElfW(Rel));
          break;
        default:
          break;
      }
    }
  }

  struct Table {
    const ElfW(Rel) * first = nullptr;
    size_t count = 0;
  };
  const ElfW(Sym) * symbols = nullptr;
  const char* names = nullptr;
  Table tables[2];
};

bool HoldsSymbolAddress(uint32_t relocationType) {
  return relocationType == R_386_JMP_SLOT || relocationType == R_386_GLOB_DAT ||
         relocationType == R_386_32;
}

/// Writes one slot of the import table, which the loader has made read-only.
void Overwrite(uintptr_t slot, void* function) {
  auto* const page = reinterpret_cast<void*>(slot & ~(kPageBytes - 1));
  mprotect(page, kPageBytes, PROT_READ | PROT_WRITE);
  std::memcpy(reinterpret_cast<void*>(slot), &function, sizeof function);
}

}  // namespace

ImportHooks::ImportHooks(void* library) {
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) return;
  const Imports imports(*map);
  for (const Imports::Table& table : imports.tables) {
    for (size_t i = 0; i < table.count; ++i) {
      const ElfW(Rel)& relocation = table.first[i];
      if (!HoldsSymbolAddress(ELF32_R_TYPE(relocation.r_info))) continue;
      const char* const name =
          imports.names + imports.symbols[ELF32_R_SYM(relocation.r_info)].st_name;
      for (const Hook& hook : kHooks) {
        if (std::strcmp(hook.name, name) == 0) {
          Overwrite(map->l_addr + relocation.r_offset, hook.function);
        }
      }
    }
  }
}

}  // namespace sim
