#include "check/sweep.h"

#include <algorithm>
#include <map>

#include "check/isolation.h"
#include "check/places.h"
#include "simulator/entry_table.h"

namespace check {
namespace {

template <class Key>
using Counts = std::map<Key, int>;

template <class Key>
int Total(const Counts<Key>& counts) {
  int total = 0;
  for (const auto& [key, count] : counts) total += count;
  return total;
}

/// Those that are more than before.
template <class Key>
std::vector<Key> Grown(const Counts<Key>& now, const Counts<Key>& before) {
  std::vector<Key> grown;
  for (const auto& [key, count] : now) {
    const auto former = before.find(key);
    if (former == before.end() || former->second < count) grown.push_back(key);
  }
  return grown;
}

/// What is kept between calls. Some of it may be; more with every call may not.
struct Kept {
  Counts<const void*> blocks;  ///< of the plugin's own memory, by where it was got
  Counts<std::string> references;
  std::map<std::string, const void*> places;  ///< where such a reference was taken
};

/// How much may be kept.
struct Limits {
  int blocks, references;
};
Limits MostOf(const Kept& one, const Kept& other) {
  return {std::max(Total(one.blocks), Total(other.blocks)),
          std::max(Total(one.references), Total(other.references))};
}
bool Exceeds(const Kept& kept, const Limits& limits) {
  return Total(kept.blocks) > limits.blocks || Total(kept.references) > limits.references;
}

Kept WhatIsKept(const sim::Host& host) {
  Kept kept;
  for (const auto& [address, block] : host.ledger.pluginAllocations) ++kept.blocks[block.site];
  for (const sim::Discrepancy& each : host.Account()) {
    if (each.aspect != sim::Discrepancy::kReferences || each.count < 0) continue;
    kept.references[each.text] += each.count;
    kept.places[each.text] = each.site;
  }
  return kept;
}

std::string PlaceOf(const void* site) { return site == nullptr ? "" : PlaceOfCall(site); }

class CaseRun {
 public:
  CaseRun(Scenario& scenario, const Disturbance& disturbance, const Usual* usual)
      : scenario_(scenario), host_(scenario.host()), disturbance_(disturbance), usual_(usual) {}

  CaseReport Run() {
    shown_.before = scenario_.Subject();
    if (usual_ == nullptr) {
      Undisturbed();
    } else {
      Disturbed();
    }
    return std::move(report_);
  }

 private:
  void Find(const std::vector<Finding>& findings) {
    for (Finding finding : findings) {
      if (finding.when.empty()) finding.when = when_;
      report_.findings.push_back(std::move(finding));
    }
  }

  /// Runs the scenario; everything that can be seen at once to be wrong then is found.
  std::string Once() {
    Enter(when_);
    host_.raised.clear();
    host_.log.lines.clear();
    std::string outcome = "thrown";
    try {
      outcome = scenario_.Run();
    } catch (const sim::HostException&) {
    } catch (const std::exception& error) {
      Find({{Kind::kException, std::string("an exception of its own: ") + error.what()}});
    }
    Enter("after " + scenario_.Title());
    LookAtAccount();
    Find(scenario_.LookRound());
    return outcome;
  }

  void LookAtAccount() {
    if (sim::GivesBack(disturbance_.missing)) return;
    for (const sim::Discrepancy& each : host_.Account()) {
      Kind kind = Kind::kLock;
      if (each.aspect == sim::Discrepancy::kBounds) kind = Kind::kBounds;
      if (each.aspect == sim::Discrepancy::kReferences) {
        if (each.count > 0) continue;  // Perhaps it is one that may be kept.
        kind = Kind::kReferences;
      }
      // Once, after the call that left it.
      if (left_.insert(each.text).second) Find({{kind, each.text, PlaceOf(each.site)}});
    }
  }

  void Learn(const std::string& outcome) {
    shown_.outcome = outcome;
    shown_.after = scenario_.Subject();
    shown_.calls = host_.log.Sequence();
    shown_.fallible = host_.faults.fallible();
    shown_.all = host_.faults.calls();
    LearnNames();
  }

  void LearnNames() {
    for (const sim::LogLine& line : host_.log.lines) {
      if (line.kind == sim::LogLine::kLookup && !line.failed) shown_.names.insert(line.name);
      if (line.kind == sim::LogLine::kLibrary && !line.failed) shown_.names.insert(line.arguments);
      if (line.kind != sim::LogLine::kCall) continue;
      // Perhaps it was looked up before, in start-up: where it is missing, what was kept is null.
      if (sim::EntryAddress(line.name) != nullptr) shown_.names.insert(line.name);
      // Classes, properties and methods of the host that are asked for by name.
      const size_t first = line.arguments.find('"'), last = line.arguments.rfind('"');
      if (first < last) shown_.names.insert(line.arguments.substr(first + 1, last - first - 1));
    }
  }

  void Undisturbed() {
    host_.faults.Clear();
    Learn(Once());
    std::vector<Kept> kept = {WhatIsKept(host_)};
    for (const char* const time : {"the second time", "the third time"}) {
      if (!scenario_.Renew()) break;
      when_ = time;
      host_.log.Mark(time);
      const std::string outcome = Once();
      if (outcome != shown_.outcome) Find(scenario_.Compare(outcome, shown_));
      kept.push_back(WhatIsKept(host_));
    }
    // A cache of some entries has all of them at some time; a leak goes on.
    constexpr int kMostTimes = 40;
    const auto grows = [&kept] {
      return kept.size() == 3 && Exceeds(kept[2], MostOf(kept[0], kept[1]));
    };
    for (int time = 0; time < kMostTimes && grows() && scenario_.Renew(); ++time) {
      Once();
      kept = {kept[1], kept[2], WhatIsKept(host_)};
    }
    if (grows()) FindMore(kept[2], kept[1], MostOf(kept[0], kept[1]));
    for (const Kept& each : kept) {
      shown_.memory = std::max(shown_.memory, Total(each.blocks));
      shown_.references = std::max(shown_.references, Total(each.references));
    }
  }

  /// What `now` has more than `before`, where it has more than may be.
  void FindMore(const Kept& now, const Kept& before, const Limits& limits) {
    if (Total(now.blocks) > limits.blocks) {
      for (const void* const site : Grown(now.blocks, before.blocks)) {
        Find({{Kind::kMemory, "memory is got and not freed, more with every call", PlaceOf(site)}});
      }
    }
    if (Total(now.references) > limits.references && !sim::GivesBack(disturbance_.missing)) {
      for (const std::string& text : Grown(now.references, before.references)) {
        Find({{Kind::kReferences, text, PlaceOf(now.places.at(text))}});
      }
    }
  }

  std::set<std::string> Failed() const {
    std::set<std::string> failed;
    for (const sim::LogLine& line : host_.log.lines) {
      if (line.failed) failed.insert(line.name);
    }
    if (!disturbance_.missing.empty()) failed.insert(disturbance_.missing);
    return failed;
  }

  /// "when malloc (call 2, at Sign.so+0x11d3) failed"
  std::string WhatStruck() const { return DescribeFault(host_, disturbance_.missing); }

  void Disturbed() {
    when_ = WhatStruck();
    const bool again = disturbance_.fault == FaultKind::kCall;
    for (int time = 1; time <= (again ? 2 : 1); ++time) {
      if (time == 2 && !scenario_.Renew()) return;
      disturbance_.Arm(host_.faults);
      const size_t former = report_.findings.size();
      const std::string outcome = Once();
      const bool fired = host_.faults.fired();
      when_ = WhatStruck();
      host_.faults.Clear();
      for (size_t i = former; i < report_.findings.size(); ++i) report_.findings[i].when = when_;
      if (time == 1) LearnNames();
      JudgeFailure(outcome, fired);
      FindMore(WhatIsKept(host_), {}, {usual_->memory, usual_->references});
    }
    if (!scenario_.Renew()) return;
    when_ = "in the call after that, " + when_;
    host_.log.Mark("the call after that");
    const std::string next = Once();
    // What is missing stays missing.
    if (disturbance_.missing.empty() && next != usual_->outcome) {
      Find(AsAftermath(scenario_.Compare(next, *usual_)));
    }
    FindMore(WhatIsKept(host_), {}, {usual_->memory, usual_->references});
  }

  void JudgeFailure(const std::string& outcome, bool fired) {
    const bool throws = disturbance_.fault == FaultKind::kException;
    if (throws && fired && outcome != "thrown") {
      Find({{Kind::kSwallowed, "the host's exception does not come back"}});
    }
    if (outcome == usual_->outcome) return;
    Find(scenario_.Judge(outcome, *usual_, Failed()));
    const std::string now = scenario_.Subject();
    if (now != usual_->before && now != usual_->after) {
      Find({{Kind::kPartial, "the receiver is left changed in part"}});
    }
  }

  static std::vector<Finding> AsAftermath(std::vector<Finding> findings) {
    for (Finding& finding : findings) {
      if (finding.kind == Kind::kRepeat) finding.kind = Kind::kAftermath;
    }
    return findings;
  }

  Scenario& scenario_;
  sim::Host& host_;
  const Disturbance& disturbance_;
  const Usual* const usual_;
  CaseReport report_;
  Usual& shown_ = report_.shown;
  std::string when_;
  std::set<std::string> left_;
};

}  // namespace

CaseReport TryCase(Scenario& scenario, const Disturbance& disturbance, const Usual* usual) {
  return CaseRun(scenario, disturbance, usual).Run();
}

std::vector<Disturbance> Disturbances(const Usual& usual, bool exceptions) {
  std::vector<Disturbance> all;
  const auto number = [&all](FaultKind fault, int count) {
    for (int i = 1; i <= count; ++i) all.push_back({fault, i});
  };
  number(FaultKind::kCall, usual.fallible);
  number(FaultKind::kFromCall, usual.fallible);
  if (exceptions) number(FaultKind::kException, usual.all);
  for (const std::string& name : usual.names) all.push_back({FaultKind::kNone, 0, name});
  return all;
}

std::vector<Disturbance> Deeper(const Disturbance& disturbance, const CaseReport& report,
                                const Usual& usual) {
  std::vector<Disturbance> all;
  if (!disturbance.missing.empty()) return all;
  for (const std::string& name : report.shown.names) {
    if (!usual.names.contains(name)) {
      all.push_back({disturbance.fault, disturbance.number, name});
    }
  }
  return all;
}

}  // namespace check
