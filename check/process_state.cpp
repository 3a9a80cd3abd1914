#include "check/process_state.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>

namespace check {
namespace {

namespace fs = std::filesystem;

int CountOf(const char* folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& each : fs::directory_iterator(folder)) ++count;
  return count;
}

template <class T>
std::string BytesOf(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string Environment() {
  std::string all;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    all += *variable;
    all += '\n';
  }
  return all;
}

struct Limit {
  __rlimit_resource resource;
  const char* name;
};
constexpr Limit kLimits[] = {{RLIMIT_STACK, "the limit of the stack"},
                             {RLIMIT_DATA, "the limit of memory"},
                             {RLIMIT_AS, "the limit of address space"},
                             {RLIMIT_NOFILE, "the limit of open files"},
                             {RLIMIT_CORE, "the limit of core files"}};

}  // namespace

ProcessState ProcessState::Now() {
  ProcessState now;
  auto& settings = now.settings_;
  settings["the locale"] = std::setlocale(LC_ALL, nullptr);
  const mode_t mask = umask(0);
  umask(mask);
  settings["the mask of new files' modes"] = std::to_string(mask);
  std::error_code error;
  settings["the working folder"] = fs::current_path(error);
  settings["the environment"] = Environment();
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    const char* const name = sigabbrev_np(number);
    if (name == nullptr) continue;
    settings["the handler of SIG" + std::string(name)] = BytesOf(action.sa_sigaction);
  }
  sigset_t blocked = {};  // The kernel fills as much of it as it has signals.
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  settings["the mask of signals"] = BytesOf(blocked);
  for (const Limit& limit : kLimits) {
    rlimit values = {};
    getrlimit(limit.resource, &values);
    settings[limit.name] = BytesOf(values);
  }
  now.descriptors_ = CountOf("/proc/self/fd");
  now.threads_ = CountOf("/proc/self/task");
  return now;
}

std::vector<Finding> ProcessState::Changes(const ProcessState& before, bool mayKeepMore) const {
  std::vector<Finding> findings;
  for (const auto& [what, value] : settings_) {
    if (before.settings_.at(what) != value)
      findings.push_back({Kind::kProcess, what + " is changed"});
  }
  if (mayKeepMore) return findings;
  if (descriptors_ > before.descriptors_)
    findings.push_back({Kind::kProcess, "a file is left open"});
  if (threads_ > before.threads_) findings.push_back({Kind::kProcess, "a thread is left running"});
  return findings;
}

}  // namespace check
