#pragma once

// The plugin's own memory: every function of the C and C++ libraries that gives some or takes it
// back, with the current host between. It is counted in the ledger, shown in the log, failed by the
// faults. Where memory bites it has a fence behind it, and what nobody wrote is litter.

#include <span>
#include <string_view>

namespace sim {

/// A function that the plugin imports, and what it gets instead.
struct Hook {
  std::string_view name;
  void* function;
};
template <class Function>
Hook HookOf(const char* name, Function* function) {
  return {name, reinterpret_cast<void*>(function)};
}

std::span<const Hook> MemoryHooks();

}  // namespace sim
