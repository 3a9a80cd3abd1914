#pragma once

// The check: what a strict host makes of a plugin. Nothing about any plugin is built in: what is
// tried follows from what it registers.

#include <functional>
#include <string>
#include <vector>

#include "check/results.h"

namespace check {

struct CheckOptions {
  std::string plugin;
  double seconds = 10;  ///< that one case may take
  int processes = 0;    ///< at a time; 0 for as many as there are processors
  bool exceptions = false;
  bool quick = false;   ///< one console and one desktop set-up at the newest version
  bool listed = false;  ///< name the cases instead of running them
  std::string only;     ///< a part of the cases' names, or a pattern for all of it; empty for all
};

/// Told what is tried now, and how much of it is done.
using Watcher = std::function<void(const char* what, size_t done, size_t all)>;

/// All cases of a plugin. Throws sim::PluginError when the file cannot be checked.
std::vector<CaseResult> RunCheck(const CheckOptions& options, const Watcher& watcher);

/// The one case of that name, in this process, printing every call into the host. Throws
/// sim::PluginError.
CaseResult RunOneCase(const CheckOptions& options, const std::string& name);

}  // namespace check
