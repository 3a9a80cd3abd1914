#include "check/method_scenario.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>
#include <utility>

#include "check/interface_names.h"
#include "check/isolation.h"
#include "check/places.h"
#include "check/process_state.h"

namespace check {
namespace {

constexpr const char* kChanged = ", changed to ";

std::string LabelOf(const sim::Method& method, const std::vector<sim::Method>& all) {
  const auto count = std::count_if(all.begin(), all.end(), [&method](const sim::Method& each) {
    return each.name == method.name;
  });
  if (count == 1) return method.name;
  std::string types;
  for (const sim::Parameter& parameter : method.parameters) {
    types += (types.empty() ? "" : ",") + parameter.typeText;
  }
  return method.name + "(" + types + ")";
}

/// "5 x 3" in the text of a picture that was returned; empty for anything else.
std::string SizeIn(const std::string& outcome) {
  const size_t end = outcome.find(" pixels ");
  return end == std::string::npos || outcome.find(',') < end ? "" : outcome.substr(0, end);
}

/// What became of the receiver, where it was changed.
std::string ChangeIn(const std::string& outcome) {
  const size_t at = outcome.find(kChanged);
  return at == std::string::npos ? "" : outcome.substr(at);
}

/// What each of several methods gave, by its name, from lines such as "Break: true".
Outcomes OutcomesIn(const std::string& text) {
  Outcomes outcomes;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const size_t colon = line.find(": ");
    if (colon != std::string::npos) outcomes[line.substr(0, colon)] = line.substr(colon + 2);
  }
  return outcomes;
}

/// A plugin in a host. Whatever it is made to do, its process is looked at.
class PluginScenario : public Scenario {
 public:
  PluginScenario(LoadedPlugin& loaded, const Case& each)
      : loaded_(loaded), case_(each), host_(SettingsOf(each)) {
    loaded_.plugin.habits.misalignment = each.details.aligned ? 0 : 12;
  }

  sim::Host& host() override { return host_; }

  std::vector<Finding> LookRound() override {
    // What the first time keeps is allowed, as memory is; what every time adds is not.
    std::vector<Finding> findings =
        ProcessState::Now().Changes(process_, std::exchange(isFirst_, false));
    if (TakeOutput()) findings.push_back({Kind::kOutput, "prints to standard output"});
    for (const sim::LogLine& line : host_.log.lines) {
      const bool unknown = line.kind == sim::LogLine::kLookup && line.failed &&
                           !host_.Missing(line.name) && !IsInterfaceName(line.name);
      if (!unknown || !namesTold_.insert(line.name).second) continue;
      findings.push_back({Kind::kName, "looks up " + line.name +
                                           ", which no host has; the nearest is " +
                                           NearestInterfaceName(line.name)});
    }
    return findings;
  }

 protected:
  void WatchProcess() {
    process_ = ProcessState::Now();
    TakeOutput();
  }

  LoadedPlugin& loaded_;
  const Case& case_;
  sim::Host host_;

 private:
  static sim::Settings SettingsOf(const Case& each) {
    sim::Settings settings = each.setup->SettingsAt(each.version);
    settings.allowLeaks = true;
    settings.watchesCaches = true;
    settings.bites = true;
    settings.firstLitter = each.details.litter;
    if (const std::string& missing = each.details.disturbance.missing; !missing.empty()) {
      settings.missing = {missing};
    }
    return settings;
  }

  ProcessState process_;
  bool isFirst_ = true;
  std::set<std::string> namesTold_;
};

class StartScenario final : public PluginScenario {
 public:
  using PluginScenario::PluginScenario;

  std::string Title() const override { return kStartUp; }
  std::string Run() override {
    WatchProcess();
    loaded_.plugin.Start(host_);
    return "started";
  }

  std::vector<Finding> LookRound() override {
    std::vector<Finding> findings = PluginScenario::LookRound();
    // Notes: start-up may keep what the plugin needs for as long as it is loaded.
    const auto note = [&findings](Kind kind, const std::string& text, const void* site) {
      findings.push_back({kind, text, site == nullptr ? "" : PlaceOfCall(site), "", Level::kNote});
    };
    for (const sim::Discrepancy& each : host_.Account()) {
      if (each.count > 0) note(Kind::kReferences, "keeps " + each.text, each.site);
    }
    for (const auto& [address, block] : host_.ledger.pluginAllocations) {
      note(Kind::kMemory, "keeps memory", block.site);
    }
    return findings;
  }

  /// What is wrong with what start-up registered.
  std::vector<Finding> LookAtDeclarations() const {
    std::vector<Finding> findings;
    for (const sim::UnreadableRow& row : loaded_.plugin.unreadable()) {
      findings.push_back({Kind::kDeclaration, row.Text()});
    }
    std::set<std::string> rows;
    for (const auto* methods : {&loaded_.plugin.methods(), &loaded_.plugin.others()}) {
      for (const sim::Method& method : *methods) {
        LookAtTypes(method, findings);
        if (rows.insert(RowOf(method)).second) continue;
        findings.push_back(
            {Kind::kDeclaration, "\"" + method.declaration + "\" stands there twice"});
      }
    }
    for (const REALclassDefinition* extension : host_.extensions) {
      const std::string near = host_.NearestClass(extension->name);
      if (host_.FindClass(extension->name) != nullptr || near.empty()) continue;
      findings.push_back({Kind::kClass, "extends " + std::string(extension->name) +
                                            ", which no host has; did you mean " + near + "?"});
    }
    if (host_.extensions.empty() && host_.registered.empty()) {
      findings.push_back({Kind::kNothing, "registers nothing"});
    }
    return findings;
  }

 private:
  /// Classes may be called as they like, even nearly as a type of the host's language is: a note.
  void LookAtTypes(const sim::Method& method, std::vector<Finding>& findings) const {
    std::vector<std::string> types = {method.resultText};
    for (const sim::Parameter& parameter : method.parameters) types.push_back(parameter.typeText);
    for (const std::string& type : types) {
      const std::string near = sim::NearestType(type);
      const bool isOwn = std::ranges::count(host_.registered, "the class " + type) != 0;
      if (near.empty() || sim::SameWord(near, type) || isOwn) continue;
      findings.push_back({Kind::kDeclaration,
                          "\"" + method.declaration + "\": there may be no type " + type +
                              "; did you mean " + near + "?",
                          "", "", Level::kNote});
    }
  }
  /// What the host's language tells methods apart by, which takes capitals for small letters.
  static std::string RowOf(const sim::Method& method) {
    std::string row = method.owner + "." + method.name + "(";
    for (const sim::Parameter& parameter : method.parameters) {
      row += parameter.typeText + ",";
    }
    std::transform(row.begin(), row.end(), row.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return row;
  }
};

/// One or more methods, each called on a picture of its own.
class MethodScenario final : public PluginScenario {
 public:
  MethodScenario(LoadedPlugin& loaded, const Case& each)
      : PluginScenario(loaded, each), inputs_(host_, *each.setup, each.details.size) {}

  /// Starts the plugin and finds the methods. Returns why nothing can be tried, or nothing.
  std::string Prepare() {
    Enter("in start-up");
    loaded_.StartIn(host_);
    const auto& all = loaded_.plugin.methods();
    for (const sim::Method& method : all) {
      const bool wanted = case_.method == kTogether || LabelOf(method, all) == case_.method;
      if (!wanted || method.owner != "Picture") continue;
      const std::string obstacle = method.Obstacle();
      if (obstacle.empty()) methods_.push_back(&method);
      if (case_.method != kTogether && !obstacle.empty()) return obstacle;
    }
    if (case_.details.reversed) std::reverse(methods_.begin(), methods_.end());
    if (methods_.empty()) return "the plugin registers no " + case_.method + " here";
    receiver_ = inputs_.NewReceiver();
    return receiver_ == nullptr ? "there are no such pictures" : "";
  }

  std::string Title() const override { return case_.method; }
  std::string Subject() override { return receiver_->Describe(); }
  bool Renew() override {
    // A picture that was left locked, as a finding says, cannot be released.
    if (host_.Account().empty()) {
      results_.clear();
      inputs_.Release();
    }
    return (receiver_ = inputs_.NewReceiver()) != nullptr;
  }

  std::string Run() override {
    threw_ = true;
    WatchProcess();
    std::string outcome;
    for (const sim::Method* const method : methods_) {
      if (methods_.size() > 1) {
        outcome += LabelOf(*method, loaded_.plugin.methods()) + ": ";
        receiver_ = inputs_.NewReceiver();
      }
      outcome += Call(*method);
      if (methods_.size() > 1) outcome += "\n";
    }
    threw_ = false;
    return outcome;
  }

  std::vector<Finding> Judge(const std::string& outcome, const Usual& usual,
                             const std::set<std::string>&) override {
    const std::string size = SizeIn(outcome), usualSize = SizeIn(usual.outcome);
    if (size.empty() || usualSize.empty() || size == usualSize) return {};
    return {{Kind::kSize, "gives a picture of another size", "",
             outcome + " instead of " + usual.outcome}};
  }

  std::vector<Finding> Compare(const std::string& outcome, const Usual& usual) override {
    if (methods_.size() > 1) return CompareEach(outcome, OutcomesIn(usual.outcome), "");
    const std::string when = outcome + " instead of " + usual.outcome;
    if (ChangeIn(outcome) != ChangeIn(usual.outcome)) {
      return {{Kind::kRepeat, "changes its picture in another way", "", when}};
    }
    if (GivesPicture()) return {{Kind::kRepeat, "gives another picture", "", when}};
    return {{Kind::kOtherResult, "gives another result", "", when}};
  }

  std::vector<Finding> LookRound() override {
    std::vector<Finding> findings = PluginScenario::LookRound();
    const std::vector<std::string> stale = host_.TakeStaleCaches();
    if (!threw_ && !host_.Missing("REALPictureClearCache")) {
      for (const std::string& picture : stale) {
        findings.push_back(
            {Kind::kCache, picture + ": pixels written, and its cache not cleared afterwards"});
      }
    }
    if (std::exchange(receiverChanged_, false) && methods_.size() == 1 && GivesPicture()) {
      findings.push_back({Kind::kReceiver, "gives a new picture and changes its receiver, too"});
    }
    return findings;
  }

 private:
  bool GivesPicture() const { return methods_.front()->result == sim::Type::kPicture; }

  /// Calls the method; what comes back is kept alive.
  std::string Call(const sim::Method& method) {
    const std::vector<sim::Argument> arguments =
        inputs_.Arguments(method, *case_.details.arguments);
    const std::string before = receiver_->Describe();
    results_.push_back(loaded_.plugin.Call(method, receiver_, arguments));
    if (const auto& picture = results_.back().picture; picture && picture->title.empty()) {
      picture->title = "the result";
    }
    std::string outcome = results_.back().Describe();
    for (const auto& exception : host_.raised) {
      outcome += ", raised " + exception->classRef->info().name;
    }
    host_.raised.clear();
    const std::string after = receiver_->Describe();
    receiverChanged_ = after != before;
    return receiverChanged_ ? outcome + kChanged + after : outcome;
  }

  Inputs inputs_;
  std::vector<const sim::Method*> methods_;
  sim::Picture* receiver_ = nullptr;
  std::vector<sim::Result> results_;
  bool threw_ = false;
  bool receiverChanged_ = false;
};

CaseReport Start(LoadedPlugin& loaded, const Case& each, const Usual* usual, std::FILE* echo,
                 std::vector<MethodNote>* methods) {
  // Never destroyed: what the plugin left locked or lost is in the report, and would be misuse
  // then.
  auto& scenario = *new StartScenario(loaded, each);
  scenario.host().log.echo = echo;
  const Usual none;
  const bool disturbed = !each.details.disturbance.IsNone();
  CaseReport report =
      TryCase(scenario, each.details.disturbance, disturbed && usual == nullptr ? &none : usual);
  if (disturbed) return report;
  for (const Finding& finding : scenario.LookAtDeclarations()) report.findings.push_back(finding);
  if (methods == nullptr) return report;
  const auto& all = loaded.plugin.methods();
  for (const sim::Method& method : all) {
    methods->push_back({LabelOf(method, all), method.Obstacle(), !method.parameters.empty()});
    if (method.owner != "Picture") {
      methods->back() = {method.owner + "." + method.name,
                         "methods of Picture are all that is tried"};
    }
  }
  for (const std::string& other : scenario.host().registered) {
    methods->push_back({other, "methods of Picture are all that is tried"});
  }
  return report;
}

}  // namespace

std::vector<Finding> CompareEach(const std::string& text, const Outcomes& former,
                                 const std::string& when) {
  std::vector<Finding> findings;
  for (const auto& [method, outcome] : OutcomesIn(text)) {
    const auto before = former.find(method);
    if (before == former.end() || before->second == outcome) continue;
    const bool isPicture = outcome.find(" pixels ") != std::string::npos;
    findings.push_back({isPicture ? Kind::kRepeat : Kind::kOtherResult,
                        method + " gives another " + (isPicture ? "picture" : "result") + when, "",
                        outcome + " instead of " + before->second});
  }
  return findings;
}

LoadedPlugin::LoadedPlugin(const std::string& path) : plugin(path) {
  for (const std::string& neighbour : plugin.Neighbours()) {
    neighbours.push_back(std::make_unique<sim::Plugin>(neighbour));
  }
  WatchCode(plugin.Address("REALPluginMain"));
}

void LoadedPlugin::StartIn(sim::Host& host) {
  for (const auto& neighbour : neighbours) neighbour->Start(host);
  plugin.Start(host);
}

CaseReport RunCase(LoadedPlugin& loaded, const Case& each, const Usual* usual, std::FILE* echo,
                   std::vector<MethodNote>* methods) {
  if (each.method == kStartUp) return Start(loaded, each, usual, echo, methods);
  CaseReport report;
  report.skipped = Install(*each.setup);
  if (!report.skipped.empty()) return report;
  auto& scenario = *new MethodScenario(loaded, each);
  scenario.host().log.echo = echo;
  report.skipped = scenario.Prepare();
  if (!report.skipped.empty()) return report;
  return TryCase(scenario, each.details.disturbance, usual);
}

}  // namespace check
