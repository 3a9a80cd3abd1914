#pragma once

// The plugin's own state (kind of application, entries found so far, libraries opened) lives as
// long as the process. Loading it afresh for every input would cost more than most inputs, and
// coverage counters must not move; so its writable data is copied once and put back before each
// input.

#include <cstdint>
#include <vector>

#include "simulator/plugin.h"

namespace sim {

class PluginSnapshot {
 public:
  /// Copies the state of a plugin that is loaded and not started yet.
  explicit PluginSnapshot(const Plugin& plugin);

  /// The plugin is as it was: not started, knowing nothing.
  void Restore() const;

 private:
  struct Range {
    uint8_t* first;
    std::vector<uint8_t> bytes;
  };
  std::vector<Range> ranges_;
};

}  // namespace sim
