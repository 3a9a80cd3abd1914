#include "check/groups.h"

#include <nlohmann/json.hpp>

#include "check/isolation.h"
#include "check/refused.h"

namespace check {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MethodNote, label, obstacle, hasParameters)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrialReport, findings, skipped, outcome, pictureBefore,
                                   pictureAfter, held, fallible, calls, names, methods, registered)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CaseResult, name, verdict, findings)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(GroupResult, cases, methods, registered)

namespace {

constexpr const char* kOtherSizes[] = {"1x1", "1x7", "17x1", "33x16"};
constexpr const char* kOtherArguments[] = {"5x3 zero", "5x3 negative"};

/// Text that a plugin made may be no UTF-8; what it is compared with later must not be changed.
std::string Dumped(const nlohmann::json& json) {
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

class GroupRun {
 public:
  GroupRun(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits)
      : loaded_(loaded), group_(group), limits_(limits) {}

  GroupResult Run() {
    const bool isStartUp = group_.method == kStartUp;
    TrialReport usual;
    const Verdict first = Try(isStartUp ? "" : kUndisturbed, nullptr, usual);
    result_.methods = usual.methods;
    result_.registered = usual.registered;
    if (first == Verdict::kSkipped) return std::move(result_);
    if (first == Verdict::kCrashed || first == Verdict::kTimedOut) {
      return Skip("the undisturbed case did not come to its end");
    }
    if (!isStartUp && !TryOthers()) return std::move(result_);
    if (first == Verdict::kFailed) return Skip("the undisturbed case fails already");
    Disturb(usual);
    return std::move(result_);
  }

 private:
  Verdict Try(const std::string& variant, const TrialReport* usual, TrialReport& report) {
    const Trial trial{group_.method, group_.setup, group_.version, variant};
    CaseResult result{trial.Name(), Verdict::kPassed, {}};
    const Ending ending =
        RunIsolated([&] { return Dumped(RunTrial(loaded_, trial, usual)); }, limits_.seconds);
    if (ending.kind == Ending::kReturned) {
      report = nlohmann::json::parse(ending.text);
      result.findings = report.findings;
      if (!result.findings.empty()) result.verdict = Verdict::kFailed;
      if (!report.skipped.empty()) {
        result.verdict = Verdict::kSkipped;
        result.findings = {report.skipped};
      }
    } else {
      result.findings = {ending.text};
      result.verdict = ending.kind == Ending::kMisuse    ? Verdict::kFailed
                       : ending.kind == Ending::kCrashed ? Verdict::kCrashed
                                                         : Verdict::kTimedOut;
    }
    result_.cases.push_back(result);
    return result.verdict;
  }

  GroupResult Skip(const std::string& why) {
    const std::string name = Trial{group_.method, group_.setup, group_.version, "..."}.Name();
    result_.cases.push_back({name, Verdict::kSkipped, {"other cases: " + why}});
    return std::move(result_);
  }

  bool TryAll(const std::vector<std::string>& variants, const TrialReport* usual) {
    for (const std::string& variant : variants) {
      TrialReport report;
      if (Try(variant, usual, report) != Verdict::kTimedOut) continue;
      Skip("one took too long");
      return false;
    }
    return true;
  }

  bool TryOthers() {
    std::vector<std::string> variants(std::begin(kOtherSizes), std::end(kOtherSizes));
    if (group_.hasParameters) {
      variants.insert(variants.end(), std::begin(kOtherArguments), std::end(kOtherArguments));
    }
    return TryAll(variants, nullptr);
  }

  void Disturb(const TrialReport& usual) {
    std::vector<std::string> variants;
    const auto number = [&variants](const std::string& text, int count) {
      for (int i = 1; i <= count; ++i) variants.push_back(text + std::to_string(i));
    };
    number("call ", usual.fallible);
    number("from call ", usual.fallible);
    if (limits_.exceptions) number("exception ", usual.calls);
    for (const std::string& name : usual.names) variants.push_back("without " + name);
    TryAll(variants, &usual);
  }

  LoadedPlugin& loaded_;
  const Group& group_;
  const CaseLimits& limits_;
  GroupResult result_;
};

}  // namespace

GroupResult RunGroup(LoadedPlugin& loaded, const Group& group, const CaseLimits& limits) {
  return GroupRun(loaded, group, limits).Run();
}

TrialReport Learn(LoadedPlugin& loaded, const Trial& trial, double seconds) {
  const Ending ending =
      RunIsolated([&] { return Dumped(RunTrial(loaded, trial, nullptr)); }, seconds);
  if (ending.kind == Ending::kReturned) return nlohmann::json::parse(ending.text);
  throw Refused("the undisturbed case does not come to its end: --case '" + trial.Name() + "'");
}

std::string Packed(const GroupResult& result) { return Dumped(result); }

GroupResult Unpacked(const std::string& text) { return nlohmann::json::parse(text); }

}  // namespace check
