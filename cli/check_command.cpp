#include "cli/check_command.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "check/check.h"
#include "cli/batch.h"
#include "cli/print.h"
#include "cli/progress.h"
#include "cli/user_error.h"
#include "imaging/output_file.h"

namespace velhost {
namespace {

/// What started this program, as a line that starts it again begins.
std::string CommandName() {
  const char* const script = std::getenv("VEL_COMMAND");
  return script != nullptr ? script : program_invocation_name;
}

int CheckOneCase(const Options& options) {
  const check::CaseResult result = check::RunOneCase(options.check, options.checkedCase);
  if (!result.skipped.empty()) throw UserError("nothing could be tried: " + result.skipped);
  const bool isWell = check::AllWell({result}, options.telling.level);
  std::printf("%s: %s\n", result.name.c_str(), isWell ? "passed" : "failed");
  for (const check::Finding& finding : result.findings) {
    std::printf("%s: %s [%s]%s%s%s%s\n", check::NameOf(finding.level), finding.text.c_str(),
                check::NameOf(finding.kind), finding.place.empty() ? "" : ", at ",
                finding.place.c_str(), finding.when.empty() ? "" : ", ", finding.when.c_str());
  }
  return isWell ? kDone : kFailed;
}

/// kWrong, and says so, where nothing was tried: a check that looks at nothing must not pass.
int Tried(const Options& options, const std::vector<check::CaseResult>& results) {
  const std::string& only = options.check.only;
  const auto isTried = [](const check::CaseResult& result) { return result.skipped.empty(); };
  const bool isEnough = only.empty() ? options.check.listed || !check::NothingTried(results)
                                     : std::any_of(results.begin(), results.end(), isTried);
  if (isEnough) return kDone;
  PrintError(only.empty() ? "nothing could be tried: see what was skipped, and why"
                          : "--only '" + only +
                                "' is in no case that can be tried: --list-cases names them");
  return kWrong;
}

}  // namespace

int CheckPlugin(const Options& options) {
  if (!options.checkedCase.empty()) return CheckOneCase(options);
  const bool jsonToOutput = options.json == imaging::kStandardOutput;
  const bool junitToOutput = options.junit == imaging::kStandardOutput;
  if (jsonToOutput && junitToOutput) {
    throw UserError("--json and --junit cannot both be -: give one of them a file");
  }
  for (const std::string& file : {options.json, options.junit}) {
    if (!file.empty()) imaging::CheckOutputPath(file, true);
  }
  if ((jsonToOutput || junitToOutput) && !options.check.listed) imaging::KeepStandardOutput();
  std::optional<Progress> progress;
  const auto watch = [&progress](const char* what, size_t done, size_t all) {
    if (done == 0) {
      progress.emplace(all);
    } else {
      progress->Step();
    }
    progress->Show(what);
    if (done == all) progress->Clear();
  };
  const std::vector<check::CaseResult> results = check::RunCheck(options.check, watch);
  if (options.check.listed) {
    for (const check::CaseResult& result : results) std::puts(result.name.c_str());
    return Tried(options, results);
  }
  check::Telling telling = options.telling;
  telling.plugin = options.check.plugin;
  telling.command = CommandName();
  std::fputs(check::AsText(telling, results).c_str(), stdout);
  if (!options.json.empty()) {
    imaging::ReplaceFile(options.json, check::AsJson(telling, results));
  }
  if (!options.junit.empty()) {
    imaging::ReplaceFile(options.junit, check::AsJUnit(telling, results));
  }
  if (!check::AllWell(results, telling.level)) return kFailed;
  return Tried(options, results);
}

}  // namespace velhost
