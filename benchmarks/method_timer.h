#pragma once

// The plugin in a host for one group of cases: a picture of its size and storage, and the time that
// methods take on it. One timer at a time; each loads the plugin anew, since a plugin that has
// seen one kind of application expects no other. Two builds of it share the host and the picture:
// what a plugin remembers it keeps in itself.

#include <optional>
#include <string>
#include <vector>

#include "benchmarks/cases.h"
#include "simulator/host.h"
#include "simulator/plugin.h"

namespace velbench {

/// A build of the plugin, and the kernels that it shall use.
struct Build {
  std::string path;
  std::string kernels;
};

class MethodTimer {
 public:
  /// The builds are such as FindBuild gave. Throws std::runtime_error when memory is short.
  MethodTimer(const Group& group, const std::vector<Build>& builds);

  /// Seconds that one call takes, result released again, without what the host does to convert
  /// three-byte pixels. Empty when the method fails.
  std::optional<double> Run(const MethodCase& method, size_t build);

 private:
  sim::Host host_;
  std::vector<std::unique_ptr<sim::Plugin>> plugins_;
  sim::Ref<sim::Picture> picture_;
};

/// The build in that file (the one that belongs to the benchmark where it is empty), with those
/// kernels, or for an empty name the widest that this machine has. Throws std::runtime_error when
/// that is no plugin or knows no such kernels, or the machine lacks them.
Build FindBuild(const std::string& file, const std::string& kernels);

/// Makes a storage of the host available. Returns what is missing, empty when nothing is.
std::string PrepareStorage(sim::StorageKind kind);

}  // namespace velbench
