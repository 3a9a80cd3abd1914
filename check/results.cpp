#include "check/results.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "check/case_name.h"
#include "check/places.h"

namespace check {
namespace {

constexpr const char* kVerdictNames[] = {"passed", "failed", "crashed", "timed out", "skipped"};

size_t Count(const Telling& telling, const std::vector<CaseResult>& results, Verdict verdict) {
  return static_cast<size_t>(std::count_if(
      results.begin(), results.end(),
      [&](const CaseResult& result) { return VerdictOf(result, telling.level) == verdict; }));
}

std::string MethodOf(const std::string& name) { return name.substr(0, name.find('/')); }

/// As a shell takes it.
std::string Quoted(const std::string& text) {
  const bool plain = std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || (c != 0 && std::strchr("/._-+,:@%", c) != nullptr);
  });
  if (plain && !text.empty()) return text;
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string CommandFor(const Telling& telling, const std::string& name) {
  return telling.command + " --check " + Quoted(telling.plugin) + " --case " + Quoted(name);
}

/// "Sign.so+0x11d3 (Sign.cpp:21)"
std::string PlaceOf(const Telling& telling, const Finding& finding) {
  const std::string line = SourceLine(telling.plugin, finding.place);
  return finding.place + (line.empty() ? "" : " (" + line + ")");
}

/// What findings of one fault have in common: all except the numbers in their texts.
std::string FaultOf(const CaseResult& result, const Finding& finding) {
  std::string text = finding.text;
  std::erase_if(text, [](unsigned char c) { return std::isdigit(c) != 0; });
  return MethodOf(result.name) + "|" + NameOf(finding.kind) + "|" + finding.place + "|" + text;
}

/// One fault, and all the cases that it was found in.
struct Fault {
  const CaseResult* first;
  Finding finding;
  std::vector<const CaseResult*> cases;
};

/// The worst first; else in the order of their first cases.
std::vector<Fault> Faults(const std::vector<CaseResult>& results) {
  std::vector<Fault> faults;
  std::map<std::string, size_t> places;
  for (const CaseResult& result : results) {
    for (const Finding& finding : result.findings) {
      const auto [place, isNew] = places.emplace(FaultOf(result, finding), faults.size());
      if (isNew) faults.push_back({&result, finding, {}});
      Fault& fault = faults[place->second];
      fault.finding.level = std::max(fault.finding.level, finding.level);
      if (fault.cases.empty() || fault.cases.back() != &result) fault.cases.push_back(&result);
    }
  }
  std::stable_sort(faults.begin(), faults.end(), [](const Fault& left, const Fault& right) {
    return left.finding.level > right.finding.level;
  });
  return faults;
}

/// "console, web; 2012.01; 5x3, call 1, call 2 …": the set-ups, versions and details.
std::string WhereFound(const std::vector<const CaseResult*>& cases) {
  constexpr size_t kMostOfEach = 6;
  std::vector<std::string> parts[3];
  for (const CaseResult* const each : cases) {
    std::istringstream name(each->name);
    std::string word;
    std::getline(name, word, '/');  // The method, which they have in common.
    for (auto& words : parts) {
      const char end = &words == &parts[2] ? '\n' : '/';
      if (!std::getline(name, word, end)) break;
      if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
    }
  }
  std::string text;
  for (const auto& words : parts) {
    if (!text.empty() && !words.empty()) text += "; ";
    for (size_t i = 0; i < std::min(words.size(), kMostOfEach); ++i) {
      text += (i == 0 ? "" : ", ") + words[i];
    }
    if (words.size() > kMostOfEach) text += " …";
  }
  return text;
}

std::string TextOf(const Telling& telling, const Fault& fault) {
  const Finding& finding = fault.finding;
  std::string text = std::string(NameOf(finding.level)) + ": " + MethodOf(fault.first->name) +
                     ": " + finding.text + " [" + NameOf(finding.kind) + "]\n";
  if (!finding.place.empty()) text += "    at " + PlaceOf(telling, finding) + "\n";
  if (!finding.when.empty()) text += "    " + finding.when + "\n";
  if (fault.cases.size() > 1) {
    text += "    in " + std::to_string(fault.cases.size()) + " cases: " + WhereFound(fault.cases) +
            "\n";
  }
  return text + "    " + CommandFor(telling, fault.first->name) + "\n";
}

std::string SkippedAsText(const std::vector<CaseResult>& results) {
  std::map<std::string, size_t> more;
  std::vector<const CaseResult*> firsts;
  for (const CaseResult& result : results) {
    if (result.skipped.empty()) continue;
    if (more[MethodOf(result.name) + "|" + result.skipped]++ == 0) firsts.push_back(&result);
  }
  std::string text;
  for (const CaseResult* const first : firsts) {
    const size_t count = more[MethodOf(first->name) + "|" + first->skipped] - 1;
    text += "skipped: " + first->name + ": " + first->skipped;
    if (count > 0) text += " (and " + std::to_string(count) + " more)";
    text += "\n";
  }
  return text;
}

std::string XmlText(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&' || c == '<' || c == '"') {
      escaped += "&#" + std::to_string(c) + ";";
    } else if (static_cast<unsigned char>(c) >= ' ') {
      escaped += c;
    } else {
      escaped += c == '\n' ? ' ' : '?';
    }
  }
  return escaped;
}

}  // namespace

Verdict VerdictOf(const CaseResult& result, Level level) {
  if (!result.skipped.empty()) return Verdict::kSkipped;
  Verdict verdict = Verdict::kPassed;
  for (const Finding& finding : result.findings) {
    if (finding.level < level) continue;
    if (finding.kind == Kind::kTimeOut) return Verdict::kTimedOut;
    const bool ended = finding.kind == Kind::kCrash || finding.kind == Kind::kAlignment ||
                       finding.kind == Kind::kExit;
    if (ended) return Verdict::kCrashed;
    verdict = Verdict::kFailed;
  }
  return verdict;
}

std::string AsText(const Telling& telling, const std::vector<CaseResult>& results) {
  std::string text;
  for (const Fault& fault : Faults(results)) text += TextOf(telling, fault);
  text += SkippedAsText(results) + telling.plugin + ":";
  for (size_t i = 0; i < std::size(kVerdictNames); ++i) {
    text += (i == 0 ? " " : ", ") +
            std::to_string(Count(telling, results, static_cast<Verdict>(i))) + " " +
            kVerdictNames[i];
  }
  return text + "\n";
}

std::string AsJson(const Telling& telling, const std::vector<CaseResult>& results) {
  nlohmann::ordered_json json = {{"velhost", VELPICTURE_VERSION},
                                 {"plugin", telling.plugin},
                                 {"level", NameOf(telling.level)}};
  for (size_t i = 0; i < std::size(kVerdictNames); ++i) {
    json["summary"][kVerdictNames[i]] = Count(telling, results, static_cast<Verdict>(i));
  }
  json["cases"] = nlohmann::ordered_json::array();
  for (const CaseResult& result : results) {
    nlohmann::ordered_json one = {
        {"case", result.name},
        {"verdict", kVerdictNames[static_cast<size_t>(VerdictOf(result, telling.level))]},
        {"seconds", result.seconds}};
    if (!result.skipped.empty()) one["skipped"] = result.skipped;
    for (const Finding& finding : result.findings) {
      one["findings"].push_back({{"level", NameOf(finding.level)},
                                 {"kind", NameOf(finding.kind)},
                                 {"text", finding.text},
                                 {"place", finding.place},
                                 {"source", SourceLine(telling.plugin, finding.place)},
                                 {"when", finding.when}});
    }
    if (!result.findings.empty()) one["repeat"] = CommandFor(telling, result.name);
    json["cases"].push_back(std::move(one));
  }
  return json.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string AsJUnit(const Telling& telling, const std::vector<CaseResult>& results) {
  const size_t skipped = Count(telling, results, Verdict::kSkipped);
  const size_t well = Count(telling, results, Verdict::kPassed) + skipped;
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" +
                    XmlText(telling.plugin) + "\" tests=\"" + std::to_string(results.size()) +
                    "\" failures=\"" + std::to_string(results.size() - well) + "\" skipped=\"" +
                    std::to_string(skipped) + "\">\n";
  for (const CaseResult& result : results) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", result.seconds);
    xml += "<testcase classname=\"" + XmlText(MethodOf(result.name)) + "\" name=\"" +
           XmlText(result.name) + "\" time=\"" + seconds + "\">";
    if (!result.skipped.empty()) {
      xml += "<skipped message=\"" + XmlText(result.skipped) + "\"/>";
    }
    for (const Finding& finding : result.findings) {
      if (finding.level < telling.level) continue;
      xml += "<failure type=\"" + XmlText(NameOf(finding.kind)) + "\" message=\"" +
             XmlText(finding.text + " " + PlaceOf(telling, finding) + " " + finding.when) + "\"/>";
    }
    xml += "</testcase>\n";
  }
  return xml + "</testsuite>\n";
}

bool AllWell(const std::vector<CaseResult>& results, Level level) {
  return std::all_of(results.begin(), results.end(), [level](const CaseResult& result) {
    const Verdict verdict = VerdictOf(result, level);
    return verdict == Verdict::kPassed || verdict == Verdict::kSkipped;
  });
}

bool NothingTried(const std::vector<CaseResult>& results) {
  return std::none_of(results.begin(), results.end(), [](const CaseResult& result) {
    const std::string method = MethodOf(result.name);
    return result.skipped.empty() && method != kLoading && method != kStartUp;
  });
}

}  // namespace check
