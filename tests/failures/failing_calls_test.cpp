// A failure at every call: the sweep over scenarios of our own. Whatever fails, throws or is
// missing, the outcome is one that is documented, the picture is as it was (or completely
// mirrored), nothing is lost, and the scenario run once more without failures has its usual end.

#include "check/sweep.h"
#include "tests/failures/scenarios.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace {

/// Without an answer from these there may still be a result of the usual size: drawn blank, read
/// as if it had no alpha channel, or made afresh instead of drawn over.
const std::set<std::string> kDegrading = {"pluginPictureGraphicsGetter",
                                          "REALLoadObjectMethod",
                                          "REALGetPropValueBool",
                                          "HasAlphaChannel",
                                          "REALGetPictureMask",
                                          "newPicture",
                                          "PluginNewInstance",
                                          "DrawPicture",
                                          "Constructor"};

bool IsFailure(const std::string& outcome) {
  return outcome.empty() || outcome == "null" || outcome == "false" || outcome == "0" ||
         outcome == "thrown" || outcome.starts_with("false, ");
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream rest(text + "|");
  for (std::string part; std::getline(rest, part, '|');) parts.push_back(part);
  return parts;
}

/// A host, and what goes wrong on it.
struct Where {
  std::string name;
  PictureSetup setup;
  sim::Settings settings;
  std::span<const Scenario> scenarios;
};
void PrintTo(const Where& where, std::ostream* out) { *out << where.name; }

std::vector<Where> Hosts() {
  std::vector<Where> hosts;
  for (const double version : {0.0, 2011.03, 2012.0}) {
    const std::string year = std::to_string(static_cast<int>(version));
    for (const PictureSetup& setup : sim::PictureSetups()) {
      hosts.push_back({setup.name + year, setup, setup.SettingsAt(version), PictureScenarios()});
    }
    const sim::Settings settings = kConsole.SettingsAt(version);
    hosts.push_back({"New" + year, kConsole, settings, TextScenarios()});
    hosts.push_back({"Old" + year, kConsole, settings, TextScenarios()});
    hosts.back().settings.missing = {"PluginGetStringData", "PluginDisposeStringData",
                                     "RuntimeArrayDirectGetGetProc",
                                     "RuntimeArrayDirectGetSetProc"};
  }
  return hosts;
}

/// A scenario in a host of its own, for the sweep.
class ScenarioRun final : public check::Scenario {
 public:
  ScenarioRun(const Where& where, const ::Scenario& scenario, const std::string& missing)
      : scenario_(scenario), fixture_(where.setup, SettingsOf(where, missing)) {}

  sim::Host& host() override { return fixture_.host; }
  std::string Title() const override { return scenario_.name; }
  std::string Subject() override { return fixture_.picture->Describe(); }
  std::string Run() override {
    before_ = Subject();
    return scenario_.Run(fixture_);
  }
  bool Renew() override {
    // What failed once is no matter to the next call, but what it drew is.
    fixture_.other->Fill({});
    return true;
  }

  std::vector<check::Finding> Judge(const std::string& outcome, const check::Usual& usual,
                                    const std::set<std::string>& failed) override {
    if (outcome == "false" && Subject() != before_) return Wrong("false, but the picture changed");
    if (IsDocumented(outcome, usual.outcome, failed)) return {};
    return Wrong(outcome + " instead of " + usual.outcome);
  }
  std::vector<check::Finding> Compare(const std::string& outcome,
                                      const check::Usual& usual) override {
    return Wrong(outcome + " instead of " + usual.outcome);
  }
  std::vector<check::Finding> LookRound() override {
    fixture_.host.CheckGuards();
    const std::string imbalance = fixture_.host.Imbalance();
    return imbalance.empty() ? std::vector<check::Finding>() : Wrong(imbalance);
  }

 private:
  static sim::Settings SettingsOf(const Where& where, const std::string& missing) {
    sim::Settings settings = where.settings;
    if (!missing.empty()) settings.missing.insert(missing);
    return settings;
  }

  static std::vector<check::Finding> Wrong(const std::string& text) {
    return {{check::Kind::kAftermath, text}};
  }

  bool IsDocumented(const std::string& outcome, const std::string& usual,
                    const std::set<std::string>& failed) const {
    // Nothing needs a reference of its own.
    const std::set<std::string> locks = {"REALLockObject", "REALLockString"};
    if (!failed.empty() && std::ranges::includes(locks, failed)) return false;
    if (IsFailure(outcome)) return true;
    const auto size = [](const std::string& text) { return text.substr(0, text.find(" pixels")); };
    if (std::ranges::count(scenario_.alternatives, size(outcome)) > 0) return true;
    // A view hands out each of its texts, or an empty one, or (not knowing the string's encoding)
    // its bytes as they are.
    const auto texts = Split(usual), parts = Split(outcome);
    if (texts.size() > 1 && texts.size() == parts.size()) {
      for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] != texts[i] && parts[i] != texts[0] && !IsFailure(parts[i])) return false;
      }
      return true;
    }
    const bool degraded = std::any_of(failed.begin(), failed.end(), [](const auto& name) {
      return kDegrading.contains(name.substr(0, name.find('(')));
    });
    // A picture read as if it had no alpha channel can be turned where none with one can be made.
    return degraded && (IsFailure(usual) || size(outcome) == size(usual));
  }

  const ::Scenario& scenario_;
  Fixture fixture_;
  std::string before_;
};

class Failures : public testing::TestWithParam<Where> {
 protected:
  void SetUp() override {
    if (const std::string why = Install(GetParam().setup); !why.empty()) GTEST_SKIP() << why;
  }

  static check::CaseReport Try(const ::Scenario& scenario, const check::Disturbance& disturbance,
                               const check::Usual* usual) {
    ScenarioRun run(GetParam(), scenario, disturbance.missing);
    const check::CaseReport report = check::TryCase(run, disturbance, usual);
    for (const check::Finding& finding : report.findings) {
      ADD_FAILURE() << scenario.name << ", " << disturbance.Name() << ": " << finding.text << " "
                    << finding.when << "\n"
                    << run.host().log.Text();
    }
    return report;
  }
};

TEST_P(Failures, AreSurvived) {
  for (const ::Scenario& scenario : GetParam().scenarios) {
    const check::Usual usual = Try(scenario, {}, nullptr).shown;
    std::vector<check::Disturbance> all = check::Disturbances(usual, true);
    for (size_t i = 0; i < all.size() && !HasFailure(); ++i) {
      if (sim::GivesBack(all[i].missing)) continue;
      const check::CaseReport report = Try(scenario, all[i], &usual);
      for (const auto& deeper : check::Deeper(all[i], report, usual)) all.push_back(deeper);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(On, Failures, testing::ValuesIn(Hosts()),
                         [](const auto& where) { return where.param.name; });

}  // namespace
