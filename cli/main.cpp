// velhost: the command-line front of the simulated host. Exit status 0 when all went well, 1 when a
// method or one of several pictures failed, 2 when the command line or its files are not right.

#include <cstdio>
#include <exception>
#include <filesystem>

#include "cli/batch.h"
#include "cli/image_file.h"
#include "cli/options.h"
#include "cli/output_file.h"
#include "cli/problem.h"
#include "cli/session.h"
#include "cli/sheet.h"
#include "cli/test_card.h"

namespace velhost {
namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kWrong = 2 };

constexpr const char* kDefaultSheet = "out/sheet.png";

bool IntoFolder(const Options& options) {
  return options.output.ends_with('/') ||
         (!options.output.empty() && std::filesystem::is_directory(options.output));
}

// What can be seen to be wrong before any work is done.
void CheckOptions(const Options& options) {
  if (options.list || options.testCard || options.sheet) {
    if (options.inputs.size() > 1) throw Problem("give one picture only");
  } else if (options.inputs.empty()) {
    throw Problem("no picture given: velhost photo.jpg -m Rotate90Vel -o turned.png");
  } else if (options.calls.empty()) {
    throw Problem("no method given: add -m Rotate90Vel, or see velhost --list");
  } else if (IntoFolder(options)) {
    return;
  } else if (options.inputs.size() > 1) {
    throw Problem("several pictures need a folder to go to: -o FOLDER/");
  }
  if (options.output.empty()) return;
  CheckImageName(options.output);
  CheckOutputPath(options.output);
}

void WriteTestCard(const Options& options) {
  if (options.output.empty()) throw Problem("--test-card needs a file to write: -o FILE");
  WriteImage(options.output, TestCard());
}

void WriteSheet(Session& session, const Options& options, const std::vector<PreparedCall>& calls) {
  const Image image = options.inputs.empty() ? TestCard() : ReadImage(options.inputs.front());
  const Image sheet = ContactSheet(session, image, calls, options.times);
  std::string output = options.output;
  if (output.empty()) {
    output = kDefaultSheet;
    std::filesystem::create_directories(std::filesystem::path(output).parent_path());
  }
  WriteImage(output, sheet);
  std::printf("%s: written, %d x %d\n", output.c_str(), sheet.width, sheet.height);
}

void PrintMethods(const Session& session) {
  for (const sim::Method& method : session.plugin().methods()) {
    std::puts(method.declaration.c_str());
  }
}

void PrintError(const std::exception& error) {
  std::fflush(stdout);
  std::fprintf(stderr, "velhost: %s\n", error.what());
}

ExitStatus Run(const Options& options) {
  CheckOptions(options);
  if (options.testCard) {
    WriteTestCard(options);
    return kDone;
  }

  Session session(options);
  std::vector<PreparedCall> calls;
  for (const std::string& text : options.calls) calls.push_back(session.Prepare(text));

  if (options.list) {
    PrintMethods(session);
    return kDone;
  }
  bool good = true;
  try {
    if (options.sheet) {
      WriteSheet(session, options, calls);
    } else if (IntoFolder(options)) {
      good = RunOnMany(session, options, calls);
    } else {
      RunOnFile(session, options, calls);
    }
  } catch (const MethodFailed& failed) {
    PrintError(failed);
    good = false;
  }
  return ReportBalance(session) && good ? kDone : kFailed;
}

}  // namespace

int Main(int argc, const char* const* argv) {
  try {
    const auto options = ParseOptions(argc, argv);
    return options ? Run(*options) : kDone;
  } catch (const std::bad_alloc&) {
    std::fputs("velhost: memory is short: give a smaller picture\n", stderr);
    return kFailed;
  } catch (const std::exception& problem) {
    PrintError(problem);
    return kWrong;
  }
}

}  // namespace velhost

int main(int argc, char** argv) { return velhost::Main(argc, argv); }
