#include "check/groups.h"

#include <fnmatch.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "check/isolation.h"

namespace check {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Finding, kind, text, place, when, level)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MethodNote, label, obstacle, hasParameters)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Usual, outcome, before, after, calls, fallible, all, names,
                                   memory, references)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CaseReport, findings, skipped, shown)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CaseResult, name, findings, skipped, seconds)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(GroupResult, cases, methods, outcome, timedOut)

namespace {

constexpr int kMostTimeOuts = 2;

/// What is no UTF-8 in a plugin's text is replaced; outcomes, which are compared later, are ASCII.
std::string Dumped(const nlohmann::json& json) {
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// A part of the name, or a pattern for all of it.
bool Matches(const std::string& name, const std::string& pattern) {
  if (pattern.find_first_of("*?[") == std::string::npos) {
    return name.find(pattern) != std::string::npos;
  }
  return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

/// A way that an undisturbed case took.
struct Way {
  Details details;
  Usual usual;
};

class GroupRun {
 public:
  GroupRun(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits)
      : loaded_(loaded), group_(group), limits_(limits) {}

  GroupResult Run() {
    Details first;
    Try(first, nullptr);
    if (last_.findings.size() == 1 && last_.findings[0].kind == Kind::kAlignment) {
      // All else is looked for with a stack that the plugin gets along with.
      first.aligned = true;
      Try(first, nullptr);
    }
    if (group_.method == kTogether) {
      CompareWithAlone();
      first.reversed = true;
      Try(first, nullptr);
      CompareWithAlone();
      return Done();
    }
    if (!last_.skipped.empty()) return Done();
    result_.timedOut = timeOuts_ > 0;
    if (!returned_) return Skip("the undisturbed case does not come to its end");
    result_.outcome = report_.shown.outcome;
    ways_.push_back({first, report_.shown});
    const bool isWell = IsWell();
    if (group_.method != kStartUp) TryOthers(first);
    if (!isWell) return Skip("the undisturbed case fails already");
    for (const Way& way : ways_) {
      if (!Disturb(way)) return Skip("some take too long");
    }
    return Done();
  }

 private:
  Case CaseOf(const Details& details) const {
    return {group_.method, group_.setup, group_.version, details};
  }

  GroupResult Done() {
    std::erase_if(result_.cases, [this](const CaseResult& each) {
      return !limits_.only.empty() && !Matches(each.name, limits_.only);
    });
    return std::move(result_);
  }

  GroupResult Skip(const std::string& why) {
    std::string name = CaseOf({}).Name();
    name.erase(name.rfind('/'));
    result_.cases.push_back({name, {}, "other cases: " + why});
    return Done();
  }

  bool IsWell() const {
    return std::none_of(last_.findings.begin(), last_.findings.end(),
                        [](const Finding& finding) { return finding.level > Level::kNote; });
  }

  /// Runs a case; afterwards last_ is its result, and report_ what it showed if it returned.
  void Try(const Details& details, const Usual* usual) {
    const Case each = CaseOf(details);
    last_ = {each.Name(), {}};
    const auto start = std::chrono::steady_clock::now();
    const Ending ending = RunIsolated(
        [&] {
          std::vector<MethodNote> methods;
          const CaseReport report = RunCase(loaded_, each, usual, nullptr, &methods);
          return Dumped({report, methods});
        },
        limits_.seconds);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    last_.seconds = time.count();
    returned_ = ending.returned;
    if (returned_) {
      const auto json = nlohmann::json::parse(ending.text);
      report_ = json[0];
      last_.findings = report_.findings;
      last_.skipped = report_.skipped;
      if (result_.methods.empty()) result_.methods = json[1];
    } else {
      last_.findings = {ending.finding};
    }
    if (details.disturbance.IsOfNoRealHost()) {
      for (Finding& finding : last_.findings) {
        finding.level = std::min(finding.level, Level::kPedantic);
      }
    }
    if (!returned_ && ending.finding.kind == Kind::kTimeOut) ++timeOuts_;
    result_.cases.push_back(last_);
    if (usual == nullptr && returned_) LookForLitter(details);
  }

  void LookForLitter(const Details& details) {
    const bool differs =
        std::any_of(last_.findings.begin(), last_.findings.end(),
                    [](const Finding& finding) { return finding.kind == Kind::kOtherResult; });
    if (!differs || !DependsOnLitter(loaded_, CaseOf(details), limits_.seconds)) return;
    BlameLitter(last_.findings);
    result_.cases.back() = last_;
  }

  /// Other sizes, and other arguments. Those that lead to other calls are ways of their own.
  void TryOthers(const Details& first) {
    std::vector<Details> others;
    for (const Size size : kOtherSizes) others.emplace_back(first).size = size;
    if (group_.hasParameters) {
      for (const ArgumentSet& set : ArgumentSets().subspan(1)) {
        others.emplace_back(first).arguments = &set;
      }
    }
    for (const Details& details : others) {
      if (timeOuts_ >= kMostTimeOuts) return;
      Try(details, nullptr);
      if (!returned_ || !last_.skipped.empty() || !IsWell()) continue;
      const bool isKnown = std::any_of(ways_.begin(), ways_.end(), [this](const Way& way) {
        return way.usual.calls == report_.shown.calls;
      });
      if (!isKnown) ways_.push_back({details, report_.shown});
    }
  }

  /// False when too many took too long.
  bool Disturb(const Way& way) {
    std::vector<Disturbance> all = Disturbances(way.usual, limits_.exceptions);
    // Grows while it is worked on: what failures lead to is disturbed, too.
    for (size_t i = 0; i < all.size(); ++i) {
      if (timeOuts_ >= kMostTimeOuts) return false;
      Details details = way.details;
      details.disturbance = all[i];
      const std::string name = CaseOf(details).Name();
      if (!limits_.only.empty() && !Matches(name, limits_.only)) continue;
      if (limits_.listed) {
        result_.cases.push_back({name, {}});
        continue;
      }
      Try(details, &way.usual);
      if (!returned_) continue;
      for (const Disturbance& deeper : Deeper(all[i], report_, way.usual)) {
        if (deeperTold_.insert(deeper.missing).second) all.push_back(deeper);
      }
    }
    return true;
  }

  void CompareWithAlone() {
    if (!returned_) return;
    for (Finding& finding :
         CompareEach(report_.shown.outcome, group_.outcomes, " after other methods than alone")) {
      result_.cases.back().findings.push_back(std::move(finding));
    }
  }

  LoadedPlugin& loaded_;
  const Group& group_;
  const CaseLimits& limits_;
  GroupResult result_;
  CaseResult last_;
  CaseReport report_;
  bool returned_ = false;
  std::vector<Way> ways_;
  std::set<std::string> deeperTold_;
  int timeOuts_ = 0;
};

}  // namespace

GroupResult RunGroup(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits) {
  return GroupRun(loaded, group, limits).Run();
}

Usual UsualOf(LoadedPlugin& loaded, const Case& each, double seconds) {
  const Ending ending =
      RunIsolated([&] { return Dumped(RunCase(loaded, each, nullptr)); }, seconds);
  if (!ending.returned) {
    throw sim::PluginError("the undisturbed case does not come to its end: --case '" + each.Name() +
                           "'");
  }
  return nlohmann::json::parse(ending.text).get<CaseReport>().shown;
}

bool DependsOnLitter(LoadedPlugin& loaded, Case each, double seconds) {
  const auto outcome = [&](unsigned litter) {
    each.details.litter = litter;
    const Ending ending =
        RunIsolated([&] { return RunCase(loaded, each, nullptr).shown.outcome; }, seconds);
    return ending.returned ? ending.text : "";
  };
  const std::string first = outcome(0);
  return outcome(0) == first && (outcome(1) != first || outcome(2) != first);
}

void BlameLitter(std::vector<Finding>& findings) {
  for (Finding& finding : findings) {
    if (finding.kind != Kind::kOtherResult) continue;
    finding.kind = Kind::kLitter;
    finding.text = "depends on what nobody wrote";
    finding.level = LevelOf(Kind::kLitter);
  }
}

std::string Packed(const GroupResult& result) { return Dumped(result); }

GroupResult Unpacked(const std::string& text) { return nlohmann::json::parse(text); }

}  // namespace check
