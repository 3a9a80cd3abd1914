#include "check/check.h"

#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "check/groups.h"
#include "check/isolation.h"
#include "check/refused.h"
#include "check/workers.h"
#include "simulator/storage.h"

namespace check {
namespace {

namespace fs = std::filesystem;

/// At each of these some host behaves differently, or a plugin may take it that one does.
constexpr double kStartVersions[] = {0,       2010.028, 2010.029, 2011.03,
                                     2011.04, 2011.5,   2012,     2012.01};
constexpr double kCallVersions[] = {2012.01, 2011.5, 2011.03};

/// The kinds of application, each with one kind of picture.
constexpr const char* kStartSetups[] = {"console", "web", "cairo", "unknown_kind"};

void CheckFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Refused("there is no plugin " + path + ": name a plugin's file");
  if (fs::is_directory(path)) throw Refused(path + " is a folder: name a plugin's file");
  Elf32_Ehdr header = {};
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  if (!file || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN) {
    throw Refused(path + " is no shared library: name a plugin's file");
  }
  if (header.e_ident[EI_CLASS] != ELFCLASS32 || header.e_machine != EM_386) {
    throw Refused(path +
                  " is no 32-bit i386 library, as this host's plugins are: build it with -m32");
  }
}

const sim::PictureSetup& SetupNamed(const char* name) {
  const auto setups = sim::PictureSetups();
  return *std::find_if(setups.begin(), setups.end(), [name](const sim::PictureSetup& setup) {
    return std::strcmp(setup.name, name) == 0;
  });
}

class Check {
 public:
  Check(const CheckOptions& options, const std::string& path, const Watcher& watcher)
      : loaded_(path),
        watcher_(watcher),
        limits_{options.seconds, options.exceptions},
        processes_(options.processes > 0
                       ? options.processes
                       : std::max(1, static_cast<int>(std::thread::hardware_concurrency()))) {
    // Opened once for all children. Displays are theirs: a connection cannot be shared.
    sim::InstallStorage(sim::StorageKind::kCairo);
    dlopen("libgtk-x11-2.0.so.0", RTLD_LAZY);
  }

  std::vector<CaseResult> Run() {
    StartUps();
    // The first group of each method shows whether there is a point in the others.
    std::vector<Group> firsts, others;
    for (const std::string& method : methods_) {
      for (const Group& group : GroupsOf(method)) {
        (firsts.empty() || firsts.back().method != method ? firsts : others).push_back(group);
      }
    }
    RunGroups(firsts, "methods");
    std::erase_if(others, [this](const Group& group) { return hangs_.contains(group.method); });
    RunGroups(others, "hosts");
    return std::move(results_);
  }

 private:
  using Start = std::pair<sim::AppKind, double>;

  std::vector<GroupResult> RunGroups(const std::vector<Group>& groups, const char* what) {
    size_t done = 0;
    watcher_(what, done, groups.size());
    const auto work = [&](size_t i) { return Packed(RunGroup(loaded_, groups[i], limits_)); };
    const auto packed =
        RunShared(groups.size(), processes_, work, [&] { watcher_(what, ++done, groups.size()); });
    std::vector<GroupResult> all;
    for (size_t i = 0; i < groups.size(); ++i) {
      all.push_back(Unpacked(packed[i]));
      const auto& cases = all.back().cases;
      results_.insert(results_.end(), cases.begin(), cases.end());
      if (cases.front().verdict == Verdict::kTimedOut) hangs_.insert(groups[i].method);
    }
    return all;
  }

  void StartUps() {
    std::vector<Group> groups;
    for (const char* setup : kStartSetups) {
      for (const double version : kStartVersions) {
        groups.push_back({kStartUp, &SetupNamed(setup), version});
      }
    }
    const std::vector<Group> first(groups.begin(), groups.begin() + 1);
    auto all = RunGroups(first, kStartUp);
    groups.erase(groups.begin());
    if (hangs_.empty()) {
      for (GroupResult& result : RunGroups(groups, kStartUp)) all.push_back(std::move(result));
      groups.insert(groups.begin(), first.begin(), first.end());
    }
    for (size_t i = 0; i < all.size(); ++i) NoteMethods(groups[i], all[i]);
  }

  void NoteMethods(const Group& group, const GroupResult& result) {
    for (const MethodNote& method : result.methods) {
      if (std::find(methods_.begin(), methods_.end(), method.label) == methods_.end()) {
        if (method.obstacle.empty()) {
          methods_.push_back(method.label);
          if (method.hasParameters) withParameters_.insert(method.label);
        } else {
          SkipOnce(method.label, method.obstacle);
        }
      }
      starts_[method.label].insert({group.setup->application, group.version});
    }
    for (const std::string& other : result.registered) {
      SkipOnce(other, "methods of Picture are all that is tried");
    }
  }

  void SkipOnce(const std::string& name, const std::string& why) {
    if (skipped_.insert(name).second) results_.push_back({name, Verdict::kSkipped, {why}});
  }

  /// In the hosts in which it is registered.
  std::vector<Group> GroupsOf(const std::string& method) {
    std::vector<Group> groups;
    for (const double version : kCallVersions) {
      for (const sim::PictureSetup& setup : sim::PictureSetups()) {
        if (starts_[method].contains({setup.application, version})) {
          groups.push_back({method, &setup, version, withParameters_.contains(method)});
        }
      }
    }
    return groups;
  }

  LoadedPlugin loaded_;
  const Watcher& watcher_;
  const CaseLimits limits_;
  const int processes_;
  std::vector<CaseResult> results_;
  std::vector<std::string> methods_;
  std::map<std::string, std::set<Start>> starts_;
  std::set<std::string> withParameters_;
  std::set<std::string> hangs_;
  std::set<std::string> skipped_;
};

/// Loads the plugin, away from here first: its constructors may do anything. What they do wrong is
/// a result of its own.
std::vector<CaseResult> TryLoading(const CheckOptions& options, const std::string& path) {
  const Ending ending = RunIsolated(
      [&path]() -> std::string {
        Enter("loading");
        try {
          const LoadedPlugin loaded(path);
        } catch (const sim::PluginError& error) {
          return error.what();
        }
        return "loaded";
      },
      options.seconds);
  if (ending.kind != Ending::kReturned) {
    return {{"loading",
             ending.kind == Ending::kTimedOut ? Verdict::kTimedOut : Verdict::kCrashed,
             {ending.text}}};
  }
  if (ending.text != "loaded") throw Refused(ending.text);
  return {};
}

}  // namespace

bool RunOneCase(const CheckOptions& options, const std::string& name) {
  CheckFile(options.plugin);
  const Trial trial = Trial::Parse(name);
  LoadedPlugin loaded(fs::absolute(options.plugin));
  const bool isDisturbed = Variant::Parse(trial.variant)->fault != FaultKind::kNone;
  TrialReport usual;
  if (isDisturbed && trial.method != kStartUp) {
    Trial undisturbed = trial;
    undisturbed.variant = kUndisturbed;
    usual = Learn(loaded, undisturbed, options.seconds);
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  ExplainCrashes();
  const TrialReport report = RunTrial(loaded, trial, isDisturbed ? &usual : nullptr, stdout);
  std::printf("%s: %s\n", trial.Name().c_str(),
              !report.skipped.empty()   ? ("skipped: " + report.skipped).c_str()
              : report.findings.empty() ? "passed"
                                        : "failed");
  for (const std::string& finding : report.findings) std::printf("%s\n", finding.c_str());
  return report.findings.empty();
}

std::vector<CaseResult> RunCheck(const CheckOptions& options, const Watcher& watcher) {
  CheckFile(options.plugin);
  const std::string path = fs::absolute(options.plugin);
  std::vector<CaseResult> results = TryLoading(options, path);
  return results.empty() ? Check(options, path, watcher).Run() : results;
}

}  // namespace check
