#include "check/check.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <thread>

#include "check/groups.h"
#include "check/isolation.h"
#include "check/plugin_file.h"
#include "check/workers.h"
#include "simulator/storage.h"

namespace check {
namespace {

namespace fs = std::filesystem;

constexpr double kNewest = 2012.01;
/// Versions at which hosts begin to behave in another way, or at which plugins may think so.
constexpr double kStartVersions[] = {0,       2010.028, 2010.029, 2011.03,
                                     2011.04, 2011.5,   2012,     kNewest};
constexpr double kCallVersions[] = {kNewest, 2011.5, 2011.03};

/// One set-up for each kind of application. Those that a quick check looks at come first.
constexpr const char* kStartSetups[] = {"console", "cairo", "web", "unknown_kind"};
constexpr size_t kQuickSetups = 2;

class Check {
 public:
  Check(const CheckOptions& options, const std::string& path, const Watcher& watcher)
      : path_(path),
        watcher_(watcher),
        limits_{options.seconds, options.exceptions, options.only, options.listed},
        quick_(options.quick),
        processes_(options.processes > 0
                       ? options.processes
                       : std::max(1, static_cast<int>(std::thread::hardware_concurrency()))) {}

  std::vector<CaseResult> Run() {
    RunByHost(StartGroups(), kStartUp, kStartUp);
    std::vector<Group> groups;
    for (const std::string& method : methods_) AddGroupsOf(method, groups);
    RunByHost(groups, "methods", "hosts");
    std::vector<Group> together = Together();
    if (methods_.size() > 1) RunGroups(together, "methods together");
    return std::move(results_);
  }

 private:
  using HostOfGroup = std::pair<const sim::PictureSetup*, double>;

  static bool NeedsDesktop(const Group& group) {
    const sim::AppKind kind = group.setup->application;
    return kind == sim::AppKind::kDesktop || kind == sim::AppKind::kUnknown;
  }

  /// The first group of each method shows whether there is a point in the others.
  void RunByHost(const std::vector<Group>& groups, const char* first, const char* then) {
    std::vector<Group> firsts, others;
    for (const Group& group : groups) {
      const bool isFirst = firsts.empty() || firsts.back().method != group.method;
      (isFirst ? firsts : others).push_back(group);
    }
    RunGroups(firsts, first);
    for (const Group& group : firsts) {
      if (!hangs_.contains(group.method)) continue;
      results_.push_back({group.method, {}, "other hosts: the undisturbed case takes too long"});
    }
    std::erase_if(others, [this](const Group& group) { return hangs_.contains(group.method); });
    RunGroups(others, then);
  }

  void RunGroups(std::vector<Group>& groups, const char* what) {
    // Last those that need the desktop's libraries: until they are loaded, processes fork faster.
    std::stable_partition(groups.begin(), groups.end(), std::not_fn(NeedsDesktop));
    size_t done = 0;
    watcher_(what, done, groups.size());
    const auto work = [&](size_t i) {
      if (NeedsDesktop(groups[i])) LoadDesktop();
      return Packed(RunGroup(Loaded(), groups[i], limits_));
    };
    const auto packed =
        RunShared(groups.size(), processes_, work, [&] { watcher_(what, ++done, groups.size()); });
    for (size_t i = 0; i < groups.size(); ++i) {
      const GroupResult result = Unpacked(packed[i]);
      results_.insert(results_.end(), result.cases.begin(), result.cases.end());
      if (result.timedOut) hangs_.insert(groups[i].method);
      if (groups[i].method != kStartUp && !result.outcome.empty()) {
        outcomes_[{groups[i].setup, groups[i].version}][groups[i].method] = result.outcome;
      }
      NoteMethods(groups[i], result);
    }
  }

  std::vector<Group> StartGroups() const {
    std::vector<Group> groups;
    for (size_t i = 0; i < (quick_ ? kQuickSetups : std::size(kStartSetups)); ++i) {
      for (const double version : kStartVersions) {
        if (quick_ && version != kNewest) continue;
        groups.push_back({kStartUp, SetupNamed(kStartSetups[i]), version});
      }
    }
    return groups;
  }

  void NoteMethods(const Group& group, const GroupResult& result) {
    for (const MethodNote& method : result.methods) {
      if (!method.obstacle.empty()) {
        if (skipped_.insert(method.label).second) {
          results_.push_back({method.label, {}, method.obstacle});
        }
        continue;
      }
      if (std::find(methods_.begin(), methods_.end(), method.label) == methods_.end()) {
        methods_.push_back(method.label);
        if (method.hasParameters) withParameters_.insert(method.label);
      }
      starts_[method.label].insert({group.setup->application, group.version});
    }
  }

  /// In the hosts in which it is registered.
  void AddGroupsOf(const std::string& method, std::vector<Group>& groups) {
    for (const double version : kCallVersions) {
      if (quick_ && version != kNewest) continue;
      for (const sim::PictureSetup& setup : sim::PictureSetups()) {
        constexpr auto kEnd = kStartSetups + kQuickSetups;
        const bool isQuick = std::find(kStartSetups, kEnd, std::string_view(setup.name)) != kEnd;
        if (quick_ && !isQuick) continue;
        if (starts_[method].contains({setup.application, version})) {
          groups.push_back({method, &setup, version, withParameters_.contains(method)});
        }
      }
    }
  }

  /// All methods in one process, at the newest version.
  std::vector<Group> Together() const {
    std::vector<Group> groups;
    for (const auto& [host, outcomes] : outcomes_) {
      const auto& [setup, version] = host;
      if (version != kNewest || outcomes.size() < 2) continue;
      groups.push_back({kTogether, setup, version, false, outcomes});
    }
    return groups;
  }

  /// Once in each process that shares the work, for all its cases. Each case opens a display of its
  /// own: processes cannot share a connection.
  static void LoadDesktop() {
    sim::InstallStorage(sim::StorageKind::kCairo);
    dlopen("libgtk-x11-2.0.so.0", RTLD_LAZY);
  }
  /// Only for the processes that share the work, so that the plugin's constructors do nothing to
  /// this one. Its destructors never run: those processes end without them.
  LoadedPlugin& Loaded() const {
    static LoadedPlugin* const loaded = new LoadedPlugin(path_);
    return *loaded;
  }

  const std::string path_;
  const Watcher& watcher_;
  const CaseLimits limits_;
  const bool quick_;
  const int processes_;
  std::vector<CaseResult> results_;
  std::vector<std::string> methods_;
  std::map<std::string, std::set<std::pair<sim::AppKind, double>>> starts_;
  std::map<HostOfGroup, Outcomes> outcomes_;
  std::set<std::string> withParameters_;
  std::set<std::string> hangs_;
  std::set<std::string> skipped_;
};

struct Loading {
  CaseResult result = {kLoading, {}};
  bool isLoaded = true;
};

/// Loads the plugin in a child first: its constructors and destructors may do anything.
Loading TryLoading(const std::string& path, double seconds) {
  const Ending ending = RunIsolated(
      [&path]() -> std::string {
        Enter("while it is loaded");
        try {
          const LoadedPlugin loaded(path);
          Enter("while it is unloaded");
        } catch (const sim::PluginError& error) {
          return error.what();
        }
        return "loaded";
      },
      seconds);
  if (!ending.returned) {
    return {{kLoading, {ending.finding}},
            ending.finding.when.find("unloaded") != std::string::npos};
  }
  if (ending.text != "loaded") throw sim::PluginError(ending.text);
  return {};
}

/// Ends this process when a case takes too long.
void LimitTime(double seconds) {
  std::signal(SIGALRM, [](int) {
    static constexpr char kText[] = "\ntimed out\n";
    if (write(STDOUT_FILENO, kText, sizeof kText - 1) < 0) std::abort();
    _exit(1);
  });
  alarm(static_cast<unsigned>(std::max(1.0, seconds)));
}

}  // namespace

std::vector<CaseResult> RunCheck(const CheckOptions& options, const Watcher& watcher) {
  CheckFile(options.plugin);
  const std::string path = fs::absolute(options.plugin);
  const Loading loading = TryLoading(path, options.seconds);
  if (!loading.isLoaded) return {loading.result};
  std::vector<CaseResult> results = Check(options, path, watcher).Run();
  if (!loading.result.findings.empty()) results.insert(results.begin(), loading.result);
  return results;
}

CaseResult RunOneCase(const CheckOptions& options, const std::string& name) {
  CheckFile(options.plugin);
  const Case each = Case::Parse(name);
  const std::string path = fs::absolute(options.plugin);
  if (each.method == kLoading) return TryLoading(path, options.seconds).result;
  // Never unloaded: what its destructors do belongs to the case of loading.
  LoadedPlugin& loaded = *new LoadedPlugin(path);
  const bool isDisturbed = !each.details.disturbance.IsNone();
  Usual usual;
  if (isDisturbed && each.method != kStartUp) {
    Case undisturbed = each;
    undisturbed.details.disturbance = {};
    usual = UsualOf(loaded, undisturbed, options.seconds);
  }
  // Asked before this process has the plugin started.
  const bool isLitter =
      !isDisturbed && each.method != kStartUp && DependsOnLitter(loaded, each, options.seconds);
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  ExplainCrashes();
  LimitTime(options.seconds);
  CaseReport report = RunCase(loaded, each, isDisturbed ? &usual : nullptr, stdout);
  alarm(0);
  if (isLitter) BlameLitter(report.findings);
  return {each.Name(), report.findings, report.skipped};
}

}  // namespace check
