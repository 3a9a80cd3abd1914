// A failure at every call: each scenario is run with its first, second, third … host
// call or allocation failing, with that one and all after it failing, and with each host call
// throwing, until nothing is left to fail. Whatever happens, the outcome is one that is documented,
// the picture is as it was (or completely mirrored), nothing is lost, and the scenario run once
// more without failures has its usual end.

#include "tests/failures/scenarios.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace {

const auto kSetups = sim::PictureSetups();
constexpr double kVersions[] = {0.0, 2011.03, 2012.0};

enum class Kind { kOne, kFrom, kThrow };
constexpr std::pair<Kind, const char*> kKinds[] = {{Kind::kOne, "failing call "},
                                                   {Kind::kFrom, "failing from call "},
                                                   {Kind::kThrow, "throwing at call "}};

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

int Complaints() {
  return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
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

class FailureTest : public testing::Test {
 protected:
  sim::Settings settings_;

  void SetUpOn(const PictureSetup& setup, double version) {
    if (const std::string why = Install(setup); !why.empty()) GTEST_SKIP() << why;
    setup_ = &setup;
    settings_ = setup.SettingsAt(version);
  }

  void TearDown() override {
    if (!IsSkipped()) std::printf("%d failures, %d states checked\n", failures_, states_);
  }

  /// The scenario as it usually goes, and whatever names the plugin looked up for it.
  std::set<std::string> Learn(const Scenario& scenario) {
    Fixture fixture(*setup_, settings_);
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
    const int complaints = Complaints();
    for (const auto& [kind, title] : kKinds) {
      bool fired = true;
      for (int number = 1; fired && Complaints() == complaints; ++number) {
        SCOPED_TRACE(title + std::to_string(number));
        Fixture fixture(*setup_, settings_);
        sim::Faults& faults = fixture.host.faults;
        if (kind == Kind::kOne) faults.FailNth(number);
        if (kind == Kind::kFrom) faults.FailFrom(number);
        if (kind == Kind::kThrow) faults.ThrowNth(number);
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
        EXPECT_EQ(outcome == "thrown", fired && kind == Kind::kThrow)
            << "an exception was swallowed";
        Check(scenario, fixture, outcome, failed);
        // What failed once is no matter to the next call, but what it drew is.
        fixture.other->Fill({});
        EXPECT_EQ(scenario.Run(fixture), usual_);
        failures_ += fired ? 1 : 0;
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
      sim::Settings settings = settings_;
      settings.missing.insert(name);
      Fixture fixture(*setup_, settings);
      Check(scenario, fixture, scenario.Run(fixture), {name});
      ++failures_;
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
    ++states_;
    sim::Host& host = fixture.host;
    std::string names;
    for (const std::string& name : failed) names += " " + name;
    EXPECT_TRUE(IsDocumented(scenario, outcome, failed))
        << outcome << " instead of " << usual_ << "; failed:" << names;
    const std::string now = fixture.picture->Describe();
    EXPECT_TRUE(now == before_ || (now == after_ && outcome != "false"))
        << "the picture is neither as it was nor mirrored";
    EXPECT_EQ(host.Imbalance(), "") << host.log.Text();
    host.CheckGuards();
  }

  const PictureSetup* setup_ = nullptr;
  std::string before_, usual_, after_;
  int failures_ = 0;
  int states_ = 0;
};

using Where = std::tuple<PictureSetup, double>;

class PictureFailures : public FailureTest, public testing::WithParamInterface<Where> {
 protected:
  void SetUp() override { SetUpOn(std::get<0>(GetParam()), std::get<1>(GetParam())); }
};

TEST_P(PictureFailures, AreSurvivedAtEveryCall) {
  for (const Scenario& scenario : PictureScenarios()) FailEveryCall(scenario);
}

TEST_P(PictureFailures, AreSurvivedOnHostsThatLackOneThing) {
  for (const Scenario& scenario : PictureScenarios()) LackEverything(scenario);
}

INSTANTIATE_TEST_SUITE_P(On, PictureFailures,
                         testing::Combine(testing::ValuesIn(kSetups.begin(), kSetups.end()),
                                          testing::ValuesIn(kVersions)),
                         [](const auto& where) {
                           return std::string(std::get<0>(where.param).name) +
                                  std::to_string(static_cast<int>(std::get<1>(where.param)));
                         });

class TextFailures : public FailureTest,
                     public testing::WithParamInterface<std::tuple<double, bool>> {
 protected:
  void SetUp() override {
    SetUpOn(kSetups[0], std::get<0>(GetParam()));
    if (!std::get<1>(GetParam())) {
      settings_.missing = {"PluginGetStringData", "PluginDisposeStringData",
                           "RuntimeArrayDirectGetGetProc", "RuntimeArrayDirectGetSetProc"};
    }
  }
};

TEST_P(TextFailures, AreSurvivedAtEveryCall) {
  for (const Scenario& scenario : TextScenarios()) FailEveryCall(scenario);
}

TEST_P(TextFailures, AreSurvivedOnHostsThatLackOneThing) {
  for (const Scenario& scenario : TextScenarios()) LackEverything(scenario);
}

INSTANTIATE_TEST_SUITE_P(On, TextFailures,
                         testing::Combine(testing::ValuesIn(kVersions), testing::Bool()),
                         [](const auto& where) {
                           return std::string(std::get<1>(where.param) ? "New" : "Old") +
                                  std::to_string(static_cast<int>(std::get<0>(where.param)));
                         });

}  // namespace
