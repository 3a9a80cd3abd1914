#include "check/places.h"

#include <link.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>

#include "simulator/host.h"

namespace check {
namespace {

struct Range {
  uintptr_t begin, end;
  bool Holds(uintptr_t address) const { return address >= begin && address < end; }
};
Range code = {};

int FindCode(dl_phdr_info* object, size_t, void* data) {
  const auto inside = reinterpret_cast<uintptr_t>(data);
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = object->dlpi_phdr[i];
    if (header.p_type != PT_LOAD || (header.p_flags & PF_X) == 0) continue;
    const uintptr_t begin = object->dlpi_addr + header.p_vaddr;
    const Range range{begin, begin + header.p_memsz};
    if (!range.Holds(inside)) continue;
    code = range;
    return 1;
  }
  return 0;
}

/// Whether a call stands in front of the address: with a displacement, or through a register or
/// memory, which takes two to seven bytes.
bool FollowsCall(uintptr_t address) {
  if (!code.Holds(address - 7) || !code.Holds(address)) return false;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(address);
  if (bytes[-5] == 0xE8) return true;
  for (int length = 2; length <= 7; ++length) {
    if (bytes[-length] == 0xFF && (bytes[-length + 1] & 0x38) == 0x10) return true;
  }
  return false;
}

/// Copies what can be read of these bytes; returns how many.
size_t ReadMemory(const void* from, void* to, size_t size) {
  const iovec target{to, size}, source{const_cast<void*>(from), size};
  const ssize_t count = process_vm_readv(getpid(), &target, 1, &source, 1, 0);
  return count < 0 ? 0 : static_cast<size_t>(count);
}

/// SourceLine, asked of addr2line.
std::string AskForLine(const std::string& file, const std::string& place) {
  const size_t offset = place.rfind('+');
  if (offset == std::string::npos) return "";
  int ends[2];
  if (pipe(ends) != 0) return "";
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(STDERR_FILENO);
    execlp("addr2line", "addr2line", "-s", "-e", file.c_str(), place.c_str() + offset + 1, nullptr);
    _exit(1);
  }
  close(ends[1]);
  char text[256] = {};
  const ssize_t count = read(ends[0], text, sizeof text - 1);
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  std::string line(text, static_cast<size_t>(std::max<ssize_t>(count, 0)));
  line.erase(std::min(line.find_first_of(" \n"), line.size()));
  return line.find('?') == std::string::npos ? line : "";
}

}  // namespace

void WatchCode(const void* inside) { dl_iterate_phdr(FindCode, const_cast<void*>(inside)); }

std::string PlaceOfCall(const void* returnAddress) {
  // The byte before still belongs to the call, and so to its source line.
  return sim::PlaceInLibrary(static_cast<const char*>(returnAddress) - 1);
}

std::string PlaceOnStack(const void* instruction, const void* stack) {
  if (code.Holds(reinterpret_cast<uintptr_t>(instruction))) {
    return sim::PlaceInLibrary(instruction);
  }
  // Page by page, since the stack may end on any.
  constexpr size_t kPage = 4096;
  constexpr int kMostPages = 16;
  const char* from = static_cast<const char*>(stack);
  for (int i = 0; i < kMostPages; ++i) {
    uintptr_t words[kPage / sizeof(uintptr_t)];
    const size_t size = kPage - reinterpret_cast<uintptr_t>(from) % kPage;
    const size_t count = ReadMemory(from, words, size) / sizeof(uintptr_t);
    for (size_t word = 0; word < count; ++word) {
      if (FollowsCall(words[word])) return PlaceOfCall(reinterpret_cast<const void*>(words[word]));
    }
    if (count == 0) break;
    from += size;
  }
  return "";
}

std::string SourceLine(const std::string& file, const std::string& place) {
  // Many findings share few places, and each question starts a program.
  static std::map<std::pair<std::string, std::string>, std::string> known;
  const auto [line, isNew] = known.try_emplace({file, place});
  if (isNew) line->second = AskForLine(file, place);
  return line->second;
}

bool NeedsAlignment(const void* instruction) {
  uint8_t bytes[2] = {};
  if (ReadMemory(instruction, bytes, sizeof bytes) < sizeof bytes) return false;
  // Instructions on whole vectors begin so; scalar ones, which need no alignment, do not.
  return bytes[0] == 0x0F || (bytes[0] == 0x66 && bytes[1] == 0x0F);
}

}  // namespace check
