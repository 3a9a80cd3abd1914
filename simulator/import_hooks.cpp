#include "simulator/import_hooks.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>

#include <algorithm>
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
      std::memset(states, 0, WholePages(byteCount) / kPageBytes);
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

const Hook kOtherHooks[] = {HookOf("madvise", HookedMadvise), HookOf("mincore", HookedMincore),
                            HookOf("dlopen", HookedDlopen), HookOf("dlsym", HookedDlsym)};

/// What the plugin gets for a function of that name; null for what it imports.
void* HookFor(std::string_view name) {
  for (const auto& hooks : {MemoryHooks(), std::span<const Hook>(kOtherHooks)}) {
    const auto found = std::ranges::find(hooks, name, &Hook::name);
    if (found != hooks.end()) return found->function;
  }
  return nullptr;
}

/// What a loaded object's dynamic section has of that kind; 0 for nothing.
uintptr_t Dynamic(const link_map& map, ElfW(Sword) tag) {
  const ElfW(Dyn)* entry = map.l_ld;
  while (entry->d_tag != tag && entry->d_tag != DT_NULL) ++entry;
  return entry->d_tag == tag ? entry->d_un.d_ptr : 0;
}

std::span<const ElfW(Rel)> Relocations(const link_map& map, int first, int byteCount) {
  return {reinterpret_cast<const ElfW(Rel)*>(Dynamic(map, first)),
          Dynamic(map, byteCount) / sizeof(ElfW(Rel))};
}

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
  const auto* const symbols = reinterpret_cast<const ElfW(Sym)*>(Dynamic(*map, DT_SYMTAB));
  const auto* const names = reinterpret_cast<const char*>(Dynamic(*map, DT_STRTAB));
  for (const auto& relocations :
       {Relocations(*map, DT_REL, DT_RELSZ), Relocations(*map, DT_JMPREL, DT_PLTRELSZ)}) {
    for (const ElfW(Rel) & relocation : relocations) {
      if (!HoldsSymbolAddress(ELF32_R_TYPE(relocation.r_info))) continue;
      void* const hook = HookFor(names + symbols[ELF32_R_SYM(relocation.r_info)].st_name);
      if (hook != nullptr) Overwrite(map->l_addr + relocation.r_offset, hook);
    }
  }
}

}  // namespace sim
