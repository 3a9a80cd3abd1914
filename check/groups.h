#pragma once

// A group is all the cases of one method (or of start-up) in one host. Its undisturbed case comes
// first and teaches what there is to disturb.

#include <string>
#include <vector>

#include "check/results.h"
#include "check/trial.h"

namespace check {

struct CaseLimits {
  double seconds;   ///< for one case
  bool exceptions;  ///< let the host's calls throw, too
};

struct Group {
  std::string method;
  const sim::PictureSetup* setup;
  double version;
  bool hasParameters = false;
};

struct GroupResult {
  std::vector<CaseResult> cases;
  /// What start-up registered; empty for other groups.
  std::vector<MethodNote> methods;
  std::vector<std::string> registered;
};

/// Runs the cases of a group one after the other, each in a process of its own.
GroupResult RunGroup(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits);

/// What an undisturbed case shows; throws Refused when it does not come to its end.
TrialReport Learn(LoadedPlugin& loaded, const Trial& trial, double seconds);

/// For the way from one process to another.
std::string Packed(const GroupResult& result);
GroupResult Unpacked(const std::string& text);

}  // namespace check
