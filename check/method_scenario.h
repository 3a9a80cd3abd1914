#pragma once

// What the check has a plugin do: start, and its methods called.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "check/case_name.h"
#include "check/sweep.h"
#include "simulator/plugin.h"

namespace check {

/// The plugin's file and those of the plugins that it is linked with, loaded but not started.
struct LoadedPlugin {
  /// Throws sim::PluginError.
  explicit LoadedPlugin(const std::string& path);
  void StartIn(sim::Host& host);

  std::vector<std::unique_ptr<sim::Plugin>> neighbours;
  sim::Plugin plugin;
};

/// What start-up registered.
struct MethodNote {
  std::string label;     ///< the name, with the types of the parameters where it is overloaded
  std::string obstacle;  ///< why it cannot be tried; empty when it can
  bool hasParameters = false;
};

/// What methods gave, by their names.
using Outcomes = std::map<std::string, std::string>;
/// What is wrong with the outcome of a case of all methods together, which has a line for each,
/// where it is not the former one; `when` ends what is said.
std::vector<Finding> CompareEach(const std::string& text, const Outcomes& former,
                                 const std::string& when);

/// Runs a case in this process, in which none ran before. `usual` is what the undisturbed case of
/// the same method, host, size and arguments showed; null for that one itself. `echo` gets the
/// host's log, if any; `methods` what start-up registered.
CaseReport RunCase(LoadedPlugin& loaded, const Case& each, const Usual* usual,
                   std::FILE* echo = nullptr, std::vector<MethodNote>* methods = nullptr);

}  // namespace check
