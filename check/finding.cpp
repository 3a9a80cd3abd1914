#include "check/finding.h"

#include <cstddef>

namespace check {
namespace {

struct Traits {
  const char* name;
  Level level;
};

// In the order of Kind; docs/check.md has the same table for its readers.
constexpr Traits kTraits[] = {
    {"crash", Level::kError},       {"alignment", Level::kPedantic},  {"exit", Level::kError},
    {"time-out", Level::kError},    {"misuse", Level::kError},        {"exception", Level::kError},
    {"swallowed", Level::kWarning}, {"references", Level::kWarning},  {"lock", Level::kWarning},
    {"bounds", Level::kError},      {"memory", Level::kWarning},      {"cache", Level::kWarning},
    {"repeat", Level::kWarning},    {"other result", Level::kNote},   {"litter", Level::kWarning},
    {"aftermath", Level::kWarning}, {"partial", Level::kWarning},     {"size", Level::kWarning},
    {"receiver", Level::kNote},     {"declaration", Level::kWarning}, {"nothing", Level::kWarning},
    {"class", Level::kWarning},     {"process", Level::kWarning},     {"output", Level::kNote},
    {"name", Level::kNote},
};

}  // namespace

const char* NameOf(Kind kind) { return kTraits[static_cast<size_t>(kind)].name; }

const char* NameOf(Level level) {
  constexpr const char* kNames[] = {"note", "pedantic", "warning", "error"};
  return kNames[static_cast<size_t>(level)];
}

Level LevelOf(Kind kind) { return kTraits[static_cast<size_t>(kind)].level; }

}  // namespace check
