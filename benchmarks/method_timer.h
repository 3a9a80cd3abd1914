#pragma once

// The plugin in a host for one group of cases: a picture of its size and storage, and the time that
// methods take on it. One timer at a time; each loads the plugin anew, since a plugin that has
// seen one kind of application expects no other.

#include <optional>
#include <string>

#include "benchmarks/cases.h"
#include "simulator/host.h"
#include "simulator/plugin.h"

namespace velbench {

class MethodTimer {
 public:
  /// `kernels` is a name that ResolveKernels gave. Throws std::runtime_error when memory is short.
  MethodTimer(const Group& group, const std::string& kernels);

  /// Seconds that one call takes, result released again, without what the host does to convert
  /// three-byte pixels. Empty when the method fails.
  std::optional<double> Run(const MethodCase& method);

 private:
  bool inThreeBytes_;
  sim::Host host_;
  sim::Plugin plugin_;
  sim::Ref<sim::Picture> picture_;
};

/// `kernels` itself, or for an empty name the widest that this machine has. Throws
/// std::runtime_error when the plugin does not know kernels of that name, or the machine lacks
/// them.
std::string ResolveKernels(const std::string& kernels);

/// Makes a storage of the host available. Returns what is missing, empty when nothing is.
std::string PrepareStorage(sim::StorageKind kind);

}  // namespace velbench
