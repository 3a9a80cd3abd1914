#pragma once

// How the cases of a check ended, and what is said about it.

#include <string>
#include <vector>

namespace check {

enum class Verdict { kPassed, kFailed, kCrashed, kTimedOut, kSkipped };

struct CaseResult {
  std::string name;
  Verdict verdict;
  /// What is wrong, or why the case was skipped.
  std::vector<std::string> findings;
};

/// Prints the findings, what was skipped and the counts. Findings of the same method that differ in
/// numbers only are one line, which tells where the first was and how many more there are.
void PrintResults(const std::string& plugin, const std::vector<CaseResult>& results);

/// All findings and the counts, for machines.
std::string ResultsAsJson(const std::string& plugin, const std::vector<CaseResult>& results);

/// True when nothing failed, crashed or took too long.
bool AllWell(const std::vector<CaseResult>& results);

}  // namespace check
