#include "simulator/plugin_snapshot.h"

#include <link.h>

#include <algorithm>
#include <stdexcept>

#include "simulator/fenced_bytes.h"

namespace sim {
namespace {

struct Segments {
  uintptr_t inside;  ///< an address in the object that is looked for
  std::vector<std::pair<uintptr_t, uintptr_t>> writable;
};

/// What the loader made read-only after relocation is no state: it is left out.
int CollectWritable(dl_phdr_info* object, size_t, void* data) {
  auto& wanted = *static_cast<Segments*>(data);
  bool found = false;
  std::vector<std::pair<uintptr_t, uintptr_t>> writable;
  uintptr_t relroEnd = 0;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = object->dlpi_phdr[i];
    const uintptr_t first = object->dlpi_addr + header.p_vaddr;
    const uintptr_t end = first + header.p_memsz;
    if (header.p_type == PT_LOAD && wanted.inside >= first && wanted.inside < end) found = true;
    if (header.p_type == PT_LOAD && (header.p_flags & PF_W) != 0) writable.emplace_back(first, end);
    if (header.p_type == PT_GNU_RELRO) relroEnd = WholePages(end);
  }
  if (!found) return 0;
  for (auto& [first, end] : writable) {
    if (first < relroEnd) first = std::min(relroEnd, end);
    if (first < end) wanted.writable.emplace_back(first, end);
  }
  return 1;
}

using Block = uint32_t __attribute__((vector_size(16), aligned(1), may_alias));

// The data has red zones of the address sanitizer between its variables: nobody but this may step
// over them, and it must not be turned into a memcpy that the sanitizer watches, hence volatile.
// Blocks, since with the sanitizers' own records it is a megabyte.
__attribute__((no_sanitize("address"))) void CopyBytes(const uint8_t* from, uint8_t* to,
                                                       size_t count) {
  size_t done = 0;
  for (; count - done >= sizeof(Block); done += sizeof(Block)) {
    *reinterpret_cast<volatile Block*>(to + done) =
        *reinterpret_cast<const volatile Block*>(from + done);
  }
  for (; done < count; ++done) {
    const_cast<volatile uint8_t*>(to)[done] = const_cast<const volatile uint8_t*>(from)[done];
  }
}

}  // namespace

PluginSnapshot::PluginSnapshot(const Plugin& plugin) {
  Segments segments{reinterpret_cast<uintptr_t>(plugin.Address("REALPluginMain")), {}};
  if (dl_iterate_phdr(CollectWritable, &segments) != 1) {
    throw std::runtime_error("the plugin's data cannot be found");
  }
  for (const auto& [first, end] : segments.writable) {
    Range range{reinterpret_cast<uint8_t*>(first), std::vector<uint8_t>(end - first)};
    CopyBytes(range.first, range.bytes.data(), range.bytes.size());
    ranges_.push_back(std::move(range));
  }
}

void PluginSnapshot::Restore() const {
  for (const Range& range : ranges_) {
    CopyBytes(range.bytes.data(), range.first, range.bytes.size());
  }
}

}  // namespace sim
