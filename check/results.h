#pragma once

// How the cases of a check ended, and what is said about it.

#include <string>
#include <vector>

#include "check/finding.h"

namespace check {

struct CaseResult {
  std::string name;
  std::vector<Finding> findings;
  std::string skipped = {};  ///< why it was not tried; empty when it was
  double seconds = 0;
};

/// How results are told.
struct Telling {
  std::string plugin;             ///< its file, as it was named
  std::string command;            ///< that starts velhost
  Level level = Level::kWarning;  ///< from which on a finding counts
};

enum class Verdict { kPassed, kFailed, kCrashed, kTimedOut, kSkipped };
/// Findings below the level do not count.
Verdict VerdictOf(const CaseResult& result, Level level);

/// What was found, each fault once: the same thing found at the same place of a method, wherever
/// that was. Then what was skipped, and the counts.
std::string AsText(const Telling& telling, const std::vector<CaseResult>& results);

/// All cases, for machines: as JSON, and as JUnit's XML, which CI systems read.
std::string AsJson(const Telling& telling, const std::vector<CaseResult>& results);
std::string AsJUnit(const Telling& telling, const std::vector<CaseResult>& results);

/// True when there is no finding that counts.
bool AllWell(const std::vector<CaseResult>& results, Level level);
/// True when no method of the plugin was tried.
bool NothingTried(const std::vector<CaseResult>& results);

}  // namespace check
