// velhost: the command-line front of the simulated host. Its exit statuses stand in its help.

#include <dlfcn.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "cli/batch.h"
#include "cli/check_command.h"
#include "cli/method_runner.h"
#include "cli/options.h"
#include "cli/print.h"
#include "imaging/output_file.h"

namespace velhost {
namespace {

// This program has its C++ run-time library within, plugins may bring the shared one. Opened along
// with a plugin, that would take names from it, stay, and so keep the plugin from being unloaded.
void OpenSharedRunTime() { dlopen("libstdc++.so.6", RTLD_LAZY | RTLD_GLOBAL); }

int Run(const Options& options) {
  OpenSharedRunTime();
  if (!options.check.plugin.empty()) return CheckPlugin(options);
  if (options.output == imaging::kStandardOutput) imaging::KeepStandardOutput();
  MethodRunner runner(options);
  if (options.list) {
    for (const sim::Method& method : runner.plugin().methods()) {
      Print(method.declaration);
    }
    return kDone;
  }
  std::vector<PreparedCall> calls;
  for (const std::string& text : options.calls) calls.push_back(runner.Prepare(text));
  return RunBatch(runner, options, calls);
}

// A full disk may tell only now that what was said never arrived.
int Finished(int status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  PrintError(std::string("standard output cannot be written: ") + std::strerror(errno));
  return status == kDone ? kFailed : status;
}

}  // namespace

int Main(int argc, const char* const* argv) {
  try {
    const auto options = ParseOptions(argc, argv);
    return Finished(options ? Run(*options) : kDone);
  } catch (const std::exception& problem) {
    PrintError(problem.what());
    return kWrong;
  }
}

}  // namespace velhost

int main(int argc, char** argv) { return velhost::Main(argc, argv); }
