// velhost: the command-line front of the simulated host. Exit status 0 when all went well, 1 when a
// picture or a check failed, 2 when the command line is not right or would replace a file, 130
// after Ctrl-C.

#include <cstdio>
#include <exception>

#include "cli/batch.h"
#include "cli/check_command.h"
#include "cli/method_runner.h"
#include "cli/options.h"
#include "cli/test_card.h"
#include "imaging/output_file.h"

namespace velhost {
namespace {

int Run(const Options& options) {
  if (!options.check.plugin.empty()) return CheckPlugin(options);
  if (options.output == imaging::kStandardOutput) imaging::KeepStandardOutput();
  if (options.testCard) {
    SaveImage(options, options.output, TestCard());
    return kDone;
  }
  MethodRunner runner(options);
  if (options.list) {
    for (const sim::Method& method : runner.plugin().methods()) {
      std::puts(method.declaration.c_str());
    }
    return kDone;
  }
  std::vector<PreparedCall> calls;
  for (const std::string& text : options.calls) calls.push_back(runner.Prepare(text));
  return RunBatch(runner, options, calls);
}

}  // namespace

int Main(int argc, const char* const* argv) {
  try {
    const auto options = ParseOptions(argc, argv);
    return options ? Run(*options) : kDone;
  } catch (const std::exception& problem) {
    PrintError(problem.what());
    return kWrong;
  }
}

}  // namespace velhost

int main(int argc, char** argv) { return velhost::Main(argc, argv); }
