#pragma once

// A process of its own for whatever may crash, hang or end the process it runs in.

#include <functional>
#include <string>

#include "check/finding.h"
#include "simulator/host.h"

namespace check {

/// How a process ended that ran something.
struct Ending {
  bool returned;
  std::string text;  ///< what was returned
  Finding finding;   ///< else what happened, and where
};

/// Runs `work` in a child of this process (which must have no threads) for at most that long. The
/// child leads a process group of its own, which ends with it, and it ends when its parent does.
Ending RunIsolated(const std::function<std::string()>& work, double seconds);

/// Says what is done from now on, to be told should it not end well: "in the second call".
void Enter(const std::string& when);

/// Whether something was printed to standard output since it was asked last. Only in a child.
bool TakeOutput();

/// Lets a crash of this process say where it happened before it does.
void ExplainCrashes();

/// "when malloc (call 2, at Sign.so+0x11d3) failed", "without newPicture", or nothing.
std::string DescribeFault(const sim::Host& host, const std::string& missing);

}  // namespace check
