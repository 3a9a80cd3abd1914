#include "check/trial.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>

#include "check/isolation.h"
#include "check/refused.h"

namespace check {
namespace {

using sim::Type;

constexpr const char* kChanged = ", changed to ";

std::string LabelOf(const sim::Method& method, const std::vector<sim::Method>& all) {
  const auto count = std::count_if(all.begin(), all.end(), [&method](const sim::Method& each) {
    return each.name == method.name;
  });
  if (count == 1) return method.name;
  std::string types;
  for (const sim::Parameter& parameter : method.parameters) {
    types += (types.empty() ? "" : ",") + std::string(sim::TypeName(parameter.type));
  }
  return method.name + "(" + types + ")";
}

/// "5 x 3" in the text of a picture that was returned; empty for anything else.
std::string SizeIn(const std::string& outcome) {
  const size_t end = outcome.find(" pixels ");
  return end == std::string::npos || outcome.find(',') < end ? "" : outcome.substr(0, end);
}

/// What was returned, whatever became of the picture.
std::string WithoutChange(const std::string& outcome) {
  return outcome.substr(0, outcome.find(kChanged));
}

/// A host with the plugin in it and what a method is called on and with.
class Fixture {
 public:
  /// Never taken down: what a plugin left locked or lost would be misuse then, of which the report
  /// has told already.
  static Fixture& Make(LoadedPlugin& loaded, const Trial& trial, std::FILE* echo) {
    static Fixture* fixture = nullptr;
    return *(fixture = new Fixture(loaded, trial, echo));
  }

  TrialReport Run(const TrialReport* usual) {
    const bool isStartUp = trial_.method == kStartUp;
    if (!isStartUp) report_.skipped = Install(*trial_.setup);
    if (!report_.skipped.empty()) return std::move(report_);
    try {
      if (isStartUp) {
        StartUp();
      } else {
        CallMethod(usual);
      }
    } catch (const sim::PluginError& error) {
      Find(error.what());
    }
    return std::move(report_);
  }

 private:
  Fixture(LoadedPlugin& loaded, const Trial& trial, std::FILE* echo)
      : loaded_(loaded),
        trial_(trial),
        variant_(*Variant::Parse(trial.variant)),
        host_(SettingsOf(trial, variant_)) {
    host_.log.echo = echo;
  }

  static sim::Settings SettingsOf(const Trial& trial, const Variant& variant) {
    sim::Settings settings = trial.setup->SettingsAt(trial.version);
    settings.allowLeaks = true;
    settings.bites = true;
    if (!variant.missing.empty()) settings.missing = {variant.missing};
    return settings;
  }

  void Find(const std::string& finding) { report_.findings.push_back(finding); }

  void Arm() {
    if (variant_.fault == FaultKind::kCall) host_.faults.FailNth(variant_.number);
    if (variant_.fault == FaultKind::kFromCall) host_.faults.FailFrom(variant_.number);
    if (variant_.fault == FaultKind::kException) host_.faults.ThrowNth(variant_.number);
    if (variant_.fault == FaultKind::kNone) host_.faults.Clear();
  }

  /// The references, locks and borrowed data that a call, or start-up, left behind.
  void CheckBalance(const std::string& what) {
    if (sim::GivesBack(variant_.missing)) return;
    std::istringstream lines(host_.HostImbalance());
    for (std::string line; std::getline(lines, line);) {
      // Once, after the call that left it.
      if (left_.insert(line).second) Find("after " + what + ", " + line);
    }
  }

  void CheckMemory(const std::string& what, size_t held) {
    if (host_.ledger.pluginAllocations.size() <= held) return;
    std::istringstream lines(host_.HeldByPlugin());
    for (std::string line; std::getline(lines, line);) Find("after " + what + ", " + line);
  }

  /// What was called and looked up since the log was cleared.
  void Learn() {
    report_.fallible = host_.faults.fallible();
    report_.calls = host_.faults.calls();
    std::set<std::string> names;
    for (const sim::LogLine& line : host_.log.lines) {
      if (line.kind == sim::LogLine::kLookup && !line.failed) names.insert(line.name);
      if (line.kind == sim::LogLine::kLibrary && !line.failed) names.insert(line.arguments);
      if (line.kind != sim::LogLine::kCall) continue;
      // Classes, properties and methods of the host that are asked for by name.
      const size_t first = line.arguments.find('"'), last = line.arguments.rfind('"');
      if (first < last) names.insert(line.arguments.substr(first + 1, last - first - 1));
    }
    report_.names.assign(names.begin(), names.end());
  }

  void StartUp() {
    Enter(kStartUp);
    Arm();
    try {
      loaded_.plugin.Start(host_);
    } catch (const sim::HostException&) {
      if (variant_.fault != FaultKind::kException) throw;
    }
    Learn();
    host_.faults.Clear();
    CheckBalance(kStartUp);
    for (const sim::UnreadableRow& row : loaded_.plugin.unreadable()) Find(row.Text());
    const auto& methods = loaded_.plugin.methods();
    for (const sim::Method& method : methods) {
      report_.methods.push_back(
          {LabelOf(method, methods), method.Obstacle(), !method.parameters.empty()});
    }
    report_.registered = host_.registered;
  }

  sim::Ref<sim::Picture> MakePicture() {
    auto picture =
        host_.MakePicture(sim::PatternImage(variant_.width, variant_.height),
                          {trial_.setup->source, trial_.setup->alpha, trial_.setup->rows});
    if (picture) picture->mask = host_.NewPicture(variant_.width, variant_.height, false);
    return picture;
  }

  std::vector<sim::Argument> MakeArguments(const sim::Method& method) {
    if (!string_) string_ = host_.MakeString("caf\xC3\xA9 text", kEncodingUtf8);
    const bool isUsual = variant_.arguments == ArgumentSet::kUsual;
    const bool isZero = variant_.arguments == ArgumentSet::kZero;
    std::vector<sim::Argument> arguments;
    for (const sim::Parameter& parameter : method.parameters) {
      switch (parameter.type) {
        case Type::kDouble:
        case Type::kSingle:
          arguments.emplace_back(isUsual ? 30.0 : isZero ? 0.0 : -120.5);
          break;
        case Type::kColor:
          arguments.emplace_back(sim::Color{isUsual ? 0x80FF4020 : isZero ? 0 : 0xFFFFFFFF});
          break;
        case Type::kBoolean:
          arguments.emplace_back(int64_t{isZero ? 0 : 1});
          break;
        case Type::kString:
          arguments.emplace_back(isZero ? nullptr : string_.get());
          break;
        case Type::kPicture:
          arguments.emplace_back(isZero ? nullptr : pictures_[2].get());
          break;
        default:
          arguments.emplace_back(int64_t{isUsual ? 7 : isZero ? 0 : -1});
      }
    }
    return arguments;
  }

  bool LockedByPlugin(const sim::Picture& picture) const {
    const auto& lines = host_.log.lines;
    return std::any_of(lines.begin(), lines.end(), [&picture](const sim::LogLine& line) {
      return line.kind == sim::LogLine::kCall && !line.failed &&
             line.arguments.starts_with(picture.Name() + ",") &&
             (line.name == "lockPictureDescription" || line.name == "REALLockPictureDescription");
    });
  }

  /// Calls the method; what comes back is kept alive. Returns what it did, or "thrown".
  std::string Call(const sim::Method& method, sim::Picture& picture, const std::string& what) {
    Enter(what);
    std::string outcome = "thrown";
    const std::string before = picture.Describe();
    const int clears = picture.cacheClears;
    host_.raised.clear();
    host_.log.lines.clear();
    try {
      results_.push_back(loaded_.plugin.Call(method, &picture, MakeArguments(method)));
      outcome = results_.back().Describe();
    } catch (const sim::HostException&) {
    } catch (const sim::PluginError&) {
      throw;
    } catch (const std::exception& error) {
      Find("after " + what + ", an exception of the plugin's own: " + error.what());
    }
    for (const auto& exception : host_.raised) {
      outcome += ", raised " + exception->classRef->info().name;
    }
    host_.raised.clear();
    const std::string after = picture.Describe();
    if (after != before) {
      outcome += kChanged + after;
      if (picture.cacheClears == clears && LockedByPlugin(picture) &&
          !host_.Missing("REALPictureClearCache") && outcome.find("thrown") != 0) {
        Find("after " + what + ", " + picture.Name() +
             ": pixels written, but the picture's cache not cleared");
      }
    }
    CheckBalance(what);
    return outcome;
  }

  void CallMethod(const TrialReport* usual) {
    Enter(kStartUp);
    loaded_.StartIn(host_);
    const auto& methods = loaded_.plugin.methods();
    const auto method = std::find_if(methods.begin(), methods.end(), [&](const sim::Method& each) {
      return LabelOf(each, methods) == trial_.method;
    });
    if (method == methods.end()) {
      const std::string why = "the plugin registers no " + trial_.method + " here";
      if (variant_.fault != FaultKind::kWithout) throw Refused(why);
      report_.skipped = why;
      return;
    }
    report_.skipped = method->Obstacle();
    if (!report_.skipped.empty()) return;
    for (sim::Ref<sim::Picture>& picture : pictures_) picture = MakePicture();
    const auto& [first, second, other] = pictures_;
    if (!first || !second || !other) {
      report_.skipped = "there are no such pictures";
      return;
    }
    report_.pictureBefore = first->Describe();
    if (usual == nullptr) {
      CallTwice(*method, *first, *second);
    } else {
      CallDisturbed(*method, *first, *second, *usual);
    }
  }

  void CallTwice(const sim::Method& method, sim::Picture& first, sim::Picture& second) {
    host_.faults.Clear();
    report_.outcome = Call(method, first, method.name);
    Learn();
    report_.pictureAfter = first.Describe();
    report_.held = host_.ledger.pluginAllocations.size();
    const std::string what = "a second call of " + method.name;
    const std::string outcome = Call(method, second, what);
    if (outcome != report_.outcome) {
      Find(what + " gave " + outcome + " instead of " + report_.outcome);
    }
    CheckMemory(what, report_.held);
  }

  void CallDisturbed(const sim::Method& method, sim::Picture& first, sim::Picture& second,
                     const TrialReport& usual) {
    Arm();
    const std::string what = method.name + " " + trial_.variant;
    const std::string outcome = Call(method, first, what);
    const bool fired = host_.faults.fired();
    host_.faults.Clear();
    if (variant_.fault == FaultKind::kException && fired && !outcome.starts_with("thrown")) {
      Find("after " + what + ", the host's exception did not come back");
    }
    if (!SizeIn(usual.outcome).empty() && !SizeIn(outcome).empty() &&
        SizeIn(outcome) != SizeIn(usual.outcome)) {
      Find("after " + what + ", " + outcome + " instead of " + usual.outcome);
    }
    const std::string now = first.Describe();
    if (WithoutChange(outcome) != WithoutChange(usual.outcome) && now != usual.pictureBefore &&
        now != usual.pictureAfter) {
      Find("after " + what + ", " + first.Name() + ": changed in part");
    }
    const std::string then = "the call after " + what;
    const std::string next = Call(method, second, then);
    // What is missing stays missing.
    if (variant_.fault != FaultKind::kWithout && next != usual.outcome) {
      Find(then + " gave " + next + " instead of " + usual.outcome);
    }
    CheckMemory(then, usual.held);
  }

  LoadedPlugin& loaded_;
  const Trial& trial_;
  const Variant variant_;
  TrialReport report_;
  sim::Host host_;
  /// To call the method on, once and once more, and as an argument.
  sim::Ref<sim::Picture> pictures_[3];
  sim::Ref<sim::String> string_;
  std::vector<sim::Result> results_;
  std::set<std::string> left_;
};

}  // namespace

LoadedPlugin::LoadedPlugin(const std::string& path) : plugin(path) {
  for (const std::string& neighbour : plugin.Neighbours()) {
    neighbours.push_back(std::make_unique<sim::Plugin>(neighbour));
  }
}

void LoadedPlugin::StartIn(sim::Host& host) {
  for (const auto& neighbour : neighbours) neighbour->Start(host);
  plugin.Start(host);
}

TrialReport RunTrial(LoadedPlugin& loaded, const Trial& trial, const TrialReport* usual,
                     std::FILE* echo) {
  return Fixture::Make(loaded, trial, echo).Run(usual);
}

}  // namespace check
