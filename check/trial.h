#pragma once

// One case of the check: a fresh plugin is started in a strict host, and (unless it is start-up
// that is looked at) one of its methods is called there, perhaps with something failing or missing.
// Afterwards everything must be even again, and the next call must do what it usually does.

#include <memory>
#include <string>
#include <vector>

#include "check/case_name.h"
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

struct MethodNote {
  std::string label;  ///< the name, with the types of the parameters where it is overloaded
  std::string obstacle;
  bool hasParameters = false;
};

/// What a trial showed. The rest of it is what an undisturbed one teaches about the disturbed ones.
struct TrialReport {
  std::vector<std::string> findings;
  std::string skipped;  ///< why nothing was tried

  std::string outcome;                      ///< of the call, down to the last pixel
  std::string pictureBefore, pictureAfter;  ///< the picture that it was called on
  size_t held = 0;                          ///< allocations that the plugin keeps between calls
  int fallible = 0, calls = 0;              ///< of the host and the allocator, to make fail
  std::vector<std::string> names;           ///< looked up, to be missing
  std::vector<MethodNote> methods;          ///< that start-up registered
  std::vector<std::string> registered;      ///< by start-up, besides
};

/// Runs a trial in this process, in which none ran before. `usual` is what the undisturbed trial of
/// the same method and host showed; null for that one itself. `echo` gets the host's log, if any.
TrialReport RunTrial(LoadedPlugin& loaded, const Trial& trial, const TrialReport* usual,
                     std::FILE* echo = nullptr);

}  // namespace check
