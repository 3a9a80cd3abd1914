#pragma once

// A group is all the cases of one method (or of start-up, or of all methods together) in one host.
// Its undisturbed case comes first and teaches what there is to disturb.

#include <map>
#include <string>
#include <vector>

#include "check/method_scenario.h"
#include "check/results.h"

namespace check {

struct CaseLimits {
  double seconds;       ///< for one case
  bool exceptions;      ///< let the host's calls throw, too
  std::string only;     ///< of the cases' names; empty for all
  bool listed = false;  ///< names are all that is wanted
};

struct Group {
  std::string method;
  const sim::PictureSetup* setup;
  double version;
  bool hasParameters = false;
  /// For all methods together: what each gave alone.
  Outcomes outcomes = {};
};

struct GroupResult {
  std::vector<CaseResult> cases;
  /// What start-up registered; empty for other groups.
  std::vector<MethodNote> methods;
  /// Of the undisturbed case, when it came to its end.
  std::string outcome;
  bool timedOut = false;  ///< the undisturbed case
};

/// Runs the cases of a group one after the other, each in a process of its own.
GroupResult RunGroup(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits);

/// What an undisturbed case shows; throws sim::PluginError when it does not come to its end.
Usual UsualOf(LoadedPlugin& loaded, const Case& each, double seconds);

/// Whether the outcome of an undisturbed case depends on litter: with the same litter it is the
/// same in two processes (so that no clock makes it), with other litter another.
bool DependsOnLitter(LoadedPlugin& loaded, Case each, double seconds);
/// Says so in the findings that a result differs.
void BlameLitter(std::vector<Finding>& findings);

/// As text, which passes from one process to another.
std::string Packed(const GroupResult& result);
GroupResult Unpacked(const std::string& text);

}  // namespace check
