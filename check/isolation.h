#pragma once

// A process of its own for whatever may crash, hang or end the process it runs in.

#include <functional>
#include <string>

namespace check {

/// How a process ended that ran something.
struct Ending {
  enum Kind { kReturned, kMisuse, kCrashed, kTimedOut };
  Kind kind;
  /// What was returned; else what happened, and where.
  std::string text;
};

/// Runs `work` in a child of this process (which must have no threads) for at most that long.
/// Output of the child goes nowhere; it ends when its parent does.
Ending RunIsolated(const std::function<std::string()>& work, double seconds);

/// Says what is done from now on, for the case that it does not end well.
void Enter(const std::string& phase);

/// Lets a crash of this process say where it happened before it does.
void ExplainCrashes();

}  // namespace check
