#pragma once

// What a method should leave alone, since the whole application shares it.

#include <map>
#include <string>
#include <vector>

#include "check/finding.h"

namespace check {

class ProcessState {
 public:
  /// As things are now.
  static ProcessState Now();
  /// What is no longer as it was. With `mayKeepMore`, more files and threads are allowed.
  std::vector<Finding> Changes(const ProcessState& before, bool mayKeepMore) const;

 private:
  /// By what it is called: "the locale", "the working folder", "the handler of SIGINT".
  std::map<std::string, std::string> settings_;
  int descriptors_ = 0;
  int threads_ = 0;
};

}  // namespace check
