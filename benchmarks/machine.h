#pragma once

// The machine that the figures are of.

#include <string>

namespace velbench {

struct Machine {
  /// As the processor calls itself.
  std::string processor;
  /// Why the figures are not those of the plugin as it ships; empty when they are.
  std::string caveat;
};

Machine ThisMachine();

}  // namespace velbench
