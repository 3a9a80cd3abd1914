#pragma once

// Puts the simulated host between a loaded plugin and the C library: the plugin's own allocations
// (plugin_memory.h), madvise, mincore, dlopen and dlsym then go through the current host, which
// counts what is not freed, fails allocations and advice as its Faults say, keeps advice off what
// is the host's besides pixels, and logs the libraries that are opened. Only the plugin's import
// table is changed; everybody else keeps the C library.

namespace sim {

class ImportHooks {
 public:
  /// `library` is a dlopen handle; the hooks go with it when it is unloaded.
  explicit ImportHooks(void* library);
};

}  // namespace sim
