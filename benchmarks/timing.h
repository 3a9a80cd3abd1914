#pragma once

// Timing several pieces of work that are to be compared: each is repeated, in turns with the others
// and in random order, so that all share the machine's noise.

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velbench {

struct Column {
  std::string name;
  /// Does the work once and returns the seconds it took; empty when it cannot be done.
  std::function<std::optional<double>()> work;
};

struct Effort {
  int repetitions;
  double secondsPerRepetition;
};

/// Median seconds of one piece of work, column by column; empty where it could not be done.
std::vector<std::optional<double>> TimeColumns(const std::vector<Column>& columns,
                                               const Effort& effort);

/// For columns that differ by little: call by call, each column once a turn and every other turn in
/// reverse order. What a tenth of the calls stay below, since on a busy machine most calls may be
/// interrupted, and always those of one column.
std::vector<std::optional<double>> TimeByTurns(const std::vector<Column>& columns,
                                               const Effort& effort);

}  // namespace velbench
