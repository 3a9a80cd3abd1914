// A failure at every call: each scenario is run with its first, second, third … host
// call or allocation failing, with that one and all after it failing, and with each host call
// throwing, until nothing is left to fail. Whatever happens, the outcome is one that is documented,
// the picture is as it was (or completely mirrored), nothing is lost, and the scenario run once
// more without failures has its usual end.

#include "tests/failures/scenarios.h"

#include <algorithm>
#include <set>

namespace {

struct Kind {
  const char* title;
  void (sim::Faults::*fail)(int);
  bool throws;
};
constexpr Kind kKinds[] = {{"failing call ", &sim::Faults::FailNth, false},
                           {"failing from call ", &sim::Faults::FailFrom, false},
                           {"throwing at call ", &sim::Faults::ThrowNth, true}};

/// Without an answer from these there may still be a result of the usual size: drawn blank, read
/// as if it had no alpha channel, or made afresh instead of drawn over.
const std::set<std::string> kDegrading = {"pluginPictureGraphicsGetter",
                                          "REALLoadObjectMethod",
                                          "REALGetPropValueBool",
                                          "HasAlphaChannel",
                                          "REALGetPictureMask",
                                          "newPicture",
                                          "PluginNewInstance"};

bool IsFailure(const std::string& outcome) {
  return outcome.empty() || outcome == "null" || outcome == "false" || outcome == "0" ||
         outcome == "thrown" || outcome.starts_with("false, ");
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts{""};
  for (const char c : text) {
    if (c == '|')
      parts.emplace_back();
    else
      parts.back() += c;
  }
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

class Failures : public testing::TestWithParam<Where> {
 protected:
  void SetUp() override {
    if (const std::string why = Install(GetParam().setup); !why.empty()) GTEST_SKIP() << why;
  }

  /// The scenario as it usually goes, and whatever names the plugin looked up for it.
  std::set<std::string> Learn(const Scenario& scenario) {
    Fixture fixture(GetParam().setup, GetParam().settings);
    before_ = fixture.picture->Describe();
    usual_ = scenario.Run(fixture);
    after_ = fixture.picture->Describe();
    std::set<std::string> names;
    for (const sim::LogLine& line : fixture.host.log.lines) {
      if (line.kind != sim::LogLine::kCall && !line.failed) {
        names.insert(line.kind == sim::LogLine::kLookup ? line.name : line.arguments);
      }
    }
    return names;
  }

  void FailEveryCall(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    Learn(scenario);
    for (const Kind& kind : kKinds) {
      bool fired = true;
      for (int number = 1; fired && !HasFailure(); ++number) {
        SCOPED_TRACE(kind.title + std::to_string(number));
        Fixture fixture(GetParam().setup, GetParam().settings);
        sim::Faults& faults = fixture.host.faults;
        (faults.*kind.fail)(number);
        std::string outcome = "thrown";
        try {
          outcome = scenario.Run(fixture);
        } catch (const sim::HostException&) {
        }
        fired = faults.fired();
        faults.Clear();
        std::set<std::string> failed;
        for (const sim::LogLine& line : fixture.host.log.lines) {
          if (line.failed) failed.insert(line.name);
        }
        EXPECT_TRUE(fired || outcome == usual_) << outcome;
        EXPECT_EQ(outcome == "thrown", fired && kind.throws) << "an exception was swallowed";
        Check(scenario, fixture, outcome, failed);
        // What failed once is no matter to the next call, but what it drew is.
        fixture.other->Fill({});
        EXPECT_EQ(scenario.Run(fixture), usual_);
      }
    }
  }

  /// The scenario on hosts that lack one thing from the start.
  void LackEverything(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    std::set<std::string> names = Learn(scenario);
    names.insert({"Picture", "Width", "Height", "HasAlphaChannel", "NilObjectException"});
    for (const std::string& name : names) {
      if (sim::GivesBack(name)) continue;
      SCOPED_TRACE("without " + name);
      sim::Settings settings = GetParam().settings;
      settings.missing.insert(name);
      Fixture fixture(GetParam().setup, settings);
      Check(scenario, fixture, scenario.Run(fixture), {name});
    }
  }

 private:
  bool IsDocumented(const Scenario& scenario, const std::string& outcome,
                    const std::set<std::string>& failed) const {
    // Nothing needs a reference of its own.
    if (failed.contains("REALLockObject") || failed.contains("REALLockString")) {
      return outcome == usual_;
    }
    if (outcome == usual_ || IsFailure(outcome)) return true;
    const auto size = [](const std::string& text) { return text.substr(0, text.find(" pixels")); };
    if (std::string_view(scenario.alternatives).find("[" + size(outcome) + "]") !=
        std::string::npos) {
      return true;
    }
    // A view hands out each of its texts, or an empty one, or (not knowing the string's encoding)
    // its bytes as they are.
    const auto usual = Split(usual_), parts = Split(outcome);
    if (usual.size() > 1 && usual.size() == parts.size()) {
      for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] != usual[i] && parts[i] != usual[0] && !IsFailure(parts[i])) return false;
      }
      return true;
    }
    const bool degraded = std::any_of(failed.begin(), failed.end(),
                                      [](const auto& name) { return kDegrading.contains(name); });
    // A picture read as if it had no alpha channel can be turned where none with one can be made.
    return degraded && (IsFailure(usual_) || size(outcome) == size(usual_));
  }

  void Check(const Scenario& scenario, Fixture& fixture, const std::string& outcome,
             const std::set<std::string>& failed) {
    sim::Host& host = fixture.host;
    EXPECT_TRUE(IsDocumented(scenario, outcome, failed))
        << outcome << " instead of " << usual_ << "; failed: " << testing::PrintToString(failed);
    const std::string now = fixture.picture->Describe();
    EXPECT_TRUE(now == before_ || (now == after_ && outcome != "false"))
        << "the picture is neither as it was nor mirrored";
    EXPECT_EQ(host.Imbalance(), "") << host.log.Text();
    host.CheckGuards();
  }

  std::string before_, usual_, after_;
};

TEST_P(Failures, AreSurvivedAtEveryCall) {
  for (const Scenario& scenario : GetParam().scenarios) FailEveryCall(scenario);
}

TEST_P(Failures, AreSurvivedOnHostsThatLackOneThing) {
  for (const Scenario& scenario : GetParam().scenarios) LackEverything(scenario);
}

INSTANTIATE_TEST_SUITE_P(On, Failures, testing::ValuesIn(Hosts()),
                         [](const auto& where) { return where.param.name; });

}  // namespace
