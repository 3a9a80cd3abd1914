#include "simulator/import_hooks.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>

#include "simulator/host.h"
#include "simulator/plugin_memory.h"

namespace sim {
namespace {

// Advice about pages: only about pixels, refused by the faults.

template <class Call>
int Ask(const char* name, void* begin, size_t byteCount, int advice, const void* site, Call call) {
  if (!Host::Exists() || Host::Current().AdmitPageCall(name, begin, byteCount, advice, site)) {
    return call();
  }
  errno = EPERM;
  return -1;
}

int HookedMadvise(void* begin, size_t byteCount, int advice) {
  return Ask("madvise", begin, byteCount, advice, __builtin_return_address(0),
             [&] { return madvise(begin, byteCount, advice); });
}

int HookedMincore(void* begin, size_t byteCount, unsigned char* states) {
  return Ask("mincore", begin, byteCount, PageCall::kAsk, __builtin_return_address(0), [&] {
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

const Hook kOtherHooks[] = {{"madvise", reinterpret_cast<void*>(HookedMadvise)},
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
      for (const auto& hooks : {MemoryHooks(), std::span<const Hook>(kOtherHooks)}) {
        for (const Hook& hook : hooks) {
          if (std::strcmp(hook.name, name) == 0) {
            Overwrite(map->l_addr + relocation.r_offset, hook.function);
          }
        }
      }
    }
  }
}

}  // namespace sim
