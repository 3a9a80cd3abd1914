#include "cli/check_command.h"

#include <optional>

#include "check/check.h"
#include "cli/batch.h"
#include "cli/progress.h"
#include "imaging/output_file.h"

namespace velhost {

int CheckPlugin(const Options& options) {
  if (!options.checkedCase.empty()) {
    return check::RunOneCase(options.check, options.checkedCase) ? kDone : kFailed;
  }
  if (!options.json.empty()) imaging::CheckOutputPath(options.json, true);
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
  const std::string& plugin = options.check.plugin;
  check::PrintResults(plugin, results);
  if (!options.json.empty()) {
    imaging::ReplaceFile(options.json, check::ResultsAsJson(plugin, results));
  }
  return check::AllWell(results) ? kDone : kFailed;
}

}  // namespace velhost
