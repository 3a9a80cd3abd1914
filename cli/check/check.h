#pragma once

// velhost --check: what a strict host makes of a plugin. Nothing about any plugin is built in: what
// is tried follows from what it registers.

#include <string>

namespace velhost {

struct CheckOptions {
  std::string plugin;
  std::string caseName;  ///< empty for all
  std::string json;      ///< file to write the results to; empty for none
  double seconds = 10;   ///< that one case may take
  int processes = 0;     ///< at a time; 0 for as many as there are processors
  bool exceptions = false;
};

/// Checks the plugin and prints what was found. Returns an exit status: all is well, or something
/// was found. Throws UserError when the file cannot be checked.
int RunCheck(const CheckOptions& options);

}  // namespace velhost
