#pragma once

// The machine that the figures are of.

#include <string>

namespace velbench {

struct Machine {
  /// As the processor calls itself.
  std::string processor;
  /// Our instructions are translated by an emulator: its figures say nothing of a real machine.
  bool emulated;
};

Machine ThisMachine();

}  // namespace velbench
