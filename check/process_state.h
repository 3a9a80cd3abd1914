#pragma once

// What a method should leave alone, since all of the application has it in common.

#include <map>
#include <string>
#include <vector>

#include "check/finding.h"

namespace check {

class ProcessState {
 public:
  /// As things are now.
  static ProcessState Now();
  /// What is no longer as it was; of open files and threads only where more are not allowed.
  std::vector<Finding> Changes(const ProcessState& before, bool mayKeepMore) const;

 private:
  /// By what it is called: "the locale", "the working folder", "the handler of SIGINT".
  std::map<std::string, std::string> settings_;
  int descriptors_ = 0;
  int threads_ = 0;
};

}  // namespace check
