// Recorders' functions: a recorder's entry may have any signature, so its function looks at the
// caller's stack itself. One small piece of machine code per recorded name hands its number and the
// address of the arguments to RecordCall. Numbers belong to names for the life of the process,
// since plugins keep addresses.

#include <algorithm>
#include <utility>

#include "simulator/entry_table.h"

namespace sim {
namespace {

constexpr size_t kMaxRecorded = 128;

std::vector<std::string> recordedNames;

// eax and edx: where a cdecl caller finds 64-bit results, and narrower ones in the lower part.
extern "C" __attribute__((visibility("hidden"), used, no_sanitize("address"))) uint64_t
simRecordCall(uint32_t number, const uint32_t* words) {
  // The caller's return address lies below its arguments.
  const auto* const site = reinterpret_cast<const void*>(words[-1]);
  Host& host = Host::Current();
  const std::string& name = recordedNames[number];
  const CallScope scope(host, name.c_str(), site);
  Recorder* const recorder = host.FindRecorder(name);
  if (recorder == nullptr || host.Missing(name)) host.Misuse("called on a host that lacks it");
  const bool fails = host.faults.Fails(name, host.now.site);
  host.log.Add({LogLine::kCall, name, "", fails});
  // Word by word: a copying function would make sanitizers look at what lies behind few arguments.
  auto& copy = recorder->calls.emplace_back();
  for (size_t i = 0; i < copy.size(); ++i) copy[i] = words[i];
  if (host.faults.Throws(name, host.now.site)) throw HostException{host.faults.calls()};
  return fails ? 0 : recorder->result;
}

// On entry the arguments start 4 bytes above the stack pointer, which is 12 past a multiple of 16.
template <size_t kNumber>
__attribute__((naked)) void Thunk() {
  asm("leal 4(%%esp), %%eax\n\t"
      "subl $4, %%esp\n\t"
      ".cfi_adjust_cfa_offset 4\n\t"
      "pushl %%eax\n\t"
      ".cfi_adjust_cfa_offset 4\n\t"
      "pushl %0\n\t"
      ".cfi_adjust_cfa_offset 4\n\t"
      "call simRecordCall\n\t"
      "addl $12, %%esp\n\t"
      ".cfi_adjust_cfa_offset -12\n\t"
      "ret"
      :
      : "i"(kNumber));
}

template <size_t... kNumbers>
constexpr std::array<void (*)(), sizeof...(kNumbers)> MakeThunks(std::index_sequence<kNumbers...>) {
  return {Thunk<kNumbers>...};
}

}  // namespace

void* RecorderAddress(std::string_view name) {
  static constexpr auto thunks = MakeThunks(std::make_index_sequence<kMaxRecorded>());
  const auto found = std::find(recordedNames.begin(), recordedNames.end(), name);
  const auto number = static_cast<size_t>(found - recordedNames.begin());
  if (found == recordedNames.end()) {
    if (number == kMaxRecorded) Host::Current().Misuse("too many recorders");
    recordedNames.emplace_back(name);
  }
  return reinterpret_cast<void*>(thunks[number]);
}

}  // namespace sim
