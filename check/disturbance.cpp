#include "check/disturbance.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "simulator/entry_table.h"

namespace check {
namespace {

struct Word {
  FaultKind fault;
  std::string_view text;
  void (sim::Faults::*arm)(int number);
};
constexpr Word kWords[] = {{FaultKind::kCall, "call ", &sim::Faults::FailNth},
                           {FaultKind::kFromCall, "from call ", &sim::Faults::FailFrom},
                           {FaultKind::kException, "exception ", &sim::Faults::ThrowNth}};
constexpr std::string_view kWithout = "without ";

// Entries that only some versions or kinds of host have. Of the others, every real host has all,
// except where it lacks some along with one of these.
constexpr std::string_view kOptionalEntries[] = {
    "REALGetRBVersion",
    "REALLockPictureDescription",
    "RuntimeGraphicsDrawPicture",
    "PluginGetStringData",
    "StringGetCString",
    "RuntimeArrayDirectGetInsertProc",
    "RuntimeArrayDirectGetGetProc",
    "RuntimeArrayDirectGetSetProc",
};

}  // namespace

std::string Disturbance::Name() const {
  std::string name;
  for (const Word& word : kWords) {
    if (word.fault == fault) name = std::string(word.text) + std::to_string(number);
  }
  if (missing.empty()) return name;
  return name + (name.empty() ? "" : ", ") + std::string(kWithout) + missing;
}

std::optional<Disturbance> Disturbance::Parse(std::string_view text) {
  Disturbance disturbance;
  for (const Word& word : kWords) {
    if (!text.starts_with(word.text)) continue;
    disturbance.fault = word.fault;
    text.remove_prefix(word.text.size());
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), disturbance.number);
    if (error != std::errc() || disturbance.number < 1) return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    if (text.empty()) return disturbance;
    if (!text.starts_with(", ")) return std::nullopt;
    text.remove_prefix(2);
  }
  // What is missing may hold commas, and so comes last.
  if (!text.starts_with(kWithout)) return std::nullopt;
  text.remove_prefix(kWithout.size());
  if (text.empty()) return std::nullopt;
  disturbance.missing = text;
  return disturbance;
}

void Disturbance::Arm(sim::Faults& faults) const {
  faults.Clear();
  for (const Word& word : kWords) {
    if (word.fault == fault) (faults.*word.arm)(number);
  }
}

bool Disturbance::IsOfNoRealHost() const {
  const bool isOptional = std::find(std::begin(kOptionalEntries), std::end(kOptionalEntries),
                                    missing) != std::end(kOptionalEntries);
  return !isOptional && sim::EntryAddress(missing) != nullptr;
}

}  // namespace check
