#include "check/results.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

namespace check {
namespace {

constexpr const char* kVerdictNames[] = {"passed", "failed", "crashed", "timed out", "skipped"};

const char* NameOf(Verdict verdict) { return kVerdictNames[static_cast<size_t>(verdict)]; }

size_t Count(const std::vector<CaseResult>& results, Verdict verdict) {
  return static_cast<size_t>(
      std::count_if(results.begin(), results.end(),
                    [verdict](const CaseResult& result) { return result.verdict == verdict; }));
}

std::string CommandFor(const std::string& plugin, const std::string& name) {
  return "velhost --check " + plugin + " --case '" + name + "'";
}

/// A finding without what makes it one of many alike: numbers and names of what is missing.
std::string KindOf(const CaseResult& result, const std::string& finding) {
  std::string kind =
      NameOf(result.verdict) + result.name.substr(0, result.name.find('/')) + finding;
  const size_t missing = result.name.rfind("/without ");
  if (missing != std::string::npos) {
    const std::string name = result.name.substr(missing + 9);
    for (size_t at; !name.empty() && (at = kind.find(name)) != std::string::npos;) {
      kind.erase(at, name.size());
    }
  }
  kind.erase(std::remove_if(kind.begin(), kind.end(),
                            [](unsigned char c) { return std::isxdigit(c) != 0; }),
             kind.end());
  return kind;
}

struct Alike {
  const CaseResult* first;
  std::string finding;
  size_t more = 0;
};

/// The different findings, in the order of their first cases.
std::vector<Alike> Different(const std::vector<CaseResult>& results) {
  std::vector<Alike> all;
  std::map<std::string, size_t> places;
  for (const CaseResult& result : results) {
    for (const std::string& finding : result.findings) {
      const auto [place, isNew] = places.emplace(KindOf(result, finding), all.size());
      if (isNew) {
        all.push_back({&result, finding});
      } else {
        ++all[place->second].more;
      }
    }
  }
  return all;
}

}  // namespace

void PrintResults(const std::string& plugin, const std::vector<CaseResult>& results) {
  for (const Alike& alike : Different(results)) {
    const CaseResult& first = *alike.first;
    std::printf("%s: %s: %s", NameOf(first.verdict), first.name.c_str(), alike.finding.c_str());
    if (alike.more > 0) std::printf(" (and %zu more like it)", alike.more);
    std::puts("");
    if (first.verdict != Verdict::kSkipped) {
      std::printf("    %s\n", CommandFor(plugin, first.name).c_str());
    }
  }
  std::printf("%s:", plugin.c_str());
  for (size_t i = 0; i < std::size(kVerdictNames); ++i) {
    std::printf("%s %zu %s", i == 0 ? "" : ",", Count(results, static_cast<Verdict>(i)),
                kVerdictNames[i]);
  }
  std::puts("");
}

std::string ResultsAsJson(const std::string& plugin, const std::vector<CaseResult>& results) {
  nlohmann::ordered_json json = {{"plugin", plugin}};
  for (size_t i = 0; i < std::size(kVerdictNames); ++i) {
    json["summary"][kVerdictNames[i]] = Count(results, static_cast<Verdict>(i));
  }
  json["cases"] = nlohmann::ordered_json::array();
  for (const CaseResult& result : results) {
    nlohmann::ordered_json one = {{"case", result.name}, {"verdict", NameOf(result.verdict)}};
    if (!result.findings.empty()) {
      one["findings"] = result.findings;
      one["repeat"] = CommandFor(plugin, result.name);
    }
    json["cases"].push_back(std::move(one));
  }
  return json.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

bool AllWell(const std::vector<CaseResult>& results) {
  return Count(results, Verdict::kPassed) + Count(results, Verdict::kSkipped) == results.size();
}

}  // namespace check
