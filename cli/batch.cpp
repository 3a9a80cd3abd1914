#include "cli/batch.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <new>

#include "cli/exif.h"
#include "cli/progress.h"
#include "cli/sheet.h"
#include "cli/test_card.h"
#include "cli/user_error.h"
#include "imaging/file_error.h"
#include "imaging/image_file.h"
#include "imaging/output_file.h"

namespace velhost {
namespace {

namespace fs = std::filesystem;

volatile std::sig_atomic_t caughtSignal = 0;

// The batch then ends before the next file is written; a second signal ends it at once.
void Catch(int signal) {
  caughtSignal = signal;
  std::signal(signal, SIG_DFL);
}

void CatchSignals() {
  for (const int signal : {SIGINT, SIGTERM}) {
    if (std::signal(signal, Catch) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

void PrintSteps(const std::vector<PreparedCall>& calls, const std::vector<Step>& steps,
                bool stats) {
  for (size_t i = 0; i < steps.size(); ++i) {
    std::printf("%s: %s in %.2f ms", calls[i].text.c_str(), steps[i].result.c_str(),
                steps[i].milliseconds);
    if (stats) std::printf(", %d host calls", steps[i].hostCalls);
    std::puts("");
  }
}

struct Job {
  std::string input;
  std::string output;  ///< empty for none
};

// What can be seen to be wrong with an output before any work is done.
void CheckOutput(const Options& options, const std::string& path) {
  if (path.empty()) return;
  imaging::CheckImageName(path, options.format);
  imaging::CheckOutputPath(path, options.force);
}

std::vector<Job> PlanJobs(const Options& options) {
  const bool intoFolder = options.output.ends_with('/') ||
                          (!options.output.empty() && fs::is_directory(options.output));
  if (!intoFolder && options.inputs.size() > 1) {
    throw UserError("several pictures need a folder to go to: -o FOLDER/");
  }
  std::vector<Job> jobs;
  std::map<std::string, std::string> inputOfOutput;
  for (const std::string& input : options.inputs) {
    std::string output = options.output;
    if (intoFolder) {
      fs::path name = fs::path(input).filename();
      output = fs::path(output) /
               (options.format.empty() ? name : name.replace_extension(options.format));
    }
    const auto [other, isNew] = inputOfOutput.emplace(output, input);
    if (!isNew) {
      throw UserError(input + " and " + other->second + " would both become " + output +
                      ": run them into different folders");
    }
    jobs.push_back({input, output});
  }
  if (intoFolder) {
    std::error_code error;
    fs::create_directories(options.output, error);
    if (error) throw UserError(options.output + " cannot be made: " + error.message());
  }
  for (const Job& job : jobs) CheckOutput(options, job.output);
  return jobs;
}

// A picture as it is meant to be seen.
Image LoadImage(MethodRunner& runner, const Options& options, const std::string& path) {
  constexpr const char* kUpright[][2] = {{},
                                         {"HMirrorVel"},
                                         {"Rotate180Vel"},
                                         {"VMirrorVel"},
                                         {"Rotate270Vel", "HMirrorVel"},
                                         {"Rotate270Vel"},
                                         {"Rotate90Vel", "HMirrorVel"},
                                         {"Rotate90Vel"}};
  if (path == kTestCardInput) return TestCard();
  const std::string file = imaging::ReadImageFile(path);
  Image image = imaging::DecodeImage(path, file);
  if (image.sixteenBits) PrintError("note: " + path + " has 16 bits a channel, 8 are kept");
  const int orientation = options.orient ? ExifOrientation(file) : 1;
  if (orientation == 1) return image;
  std::vector<PreparedCall> calls;
  for (const char* method : kUpright[orientation - 1]) {
    if (method != nullptr) calls.push_back(runner.Prepare(method));
  }
  if (options.stats) {
    PrintError("note: " + path + " is turned upright, EXIF orientation " +
               std::to_string(orientation));
  }
  return runner.Run(std::move(image), calls);
}

// False when a signal came before the result could be written.
bool RunJob(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls,
            const Job& job) {
  const bool detailed = options.inputs.size() == 1;
  if (caughtSignal != 0) return false;
  Image image = LoadImage(runner, options, job.input);
  if (detailed) {
    std::printf("%s: %d x %d%s\n", job.input.c_str(), image.width, image.height,
                !image.hasAlpha       ? ""
                : runner.KeepsAlpha() ? ", with alpha channel"
                                      : ", shown on white (this host's pictures have no alpha)");
  }
  std::vector<Step> steps;
  image = options.sheet ? ContactSheet(runner, image, calls, options.times)
                        : runner.Run(std::move(image), calls, &steps);
  if (caughtSignal != 0) return false;
  if (detailed) PrintSteps(calls, steps, options.stats);
  if (job.output.empty()) {
    std::puts("nothing written: no -o FILE");
  } else {
    SaveImage(options, job.output, std::move(image), detailed);
  }
  return true;
}

}  // namespace

void PrintError(const std::string& text) {
  std::fflush(stdout);
  std::fprintf(stderr, "%svelhost: %s\n", isatty(STDERR_FILENO) != 0 ? kClearLine : "",
               text.c_str());
}

void SaveImage(const Options& options, const std::string& path, Image image, bool told) {
  CheckOutput(options, path);  // Others may write there, too.
  const int width = image.width, height = image.height;
  imaging::WriteImage(path, std::move(image), options.format);
  if (told) std::printf("%s: written, %d x %d\n", path.c_str(), width, height);
}

int RunBatch(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls) {
  const std::vector<Job> jobs = PlanJobs(options);
  std::printf("%s: %zu methods registered, %s\n",
              fs::path(runner.plugin().path()).filename().c_str(), runner.plugin().methods().size(),
              runner.HostName().c_str());
  CatchSignals();
  size_t written = 0, tried = 0;
  Progress progress(jobs.size());
  for (const Job& job : jobs) {
    progress.Show(job.input);
    try {
      if (!RunJob(runner, options, calls, job)) break;
      ++written;
    } catch (const imaging::FileError& problem) {
      PrintError(problem.what());
    } catch (const std::bad_alloc&) {
      PrintError(job.input + ": memory is short: give a smaller picture");
    } catch (const std::exception& reason) {
      PrintError(job.input + ": " + reason.what());
    }
    progress.Step();
    ++tried;
  }
  progress.Clear();
  if (jobs.size() > 1 || caughtSignal != 0) {
    std::printf("%zu of %zu pictures written to %s, %zu failed\n", written, jobs.size(),
                options.output.c_str(), tried - written);
  }
  if (options.stats) {
    std::printf("peak picture memory: %.1f MB\n",
                static_cast<double>(runner.host().memory.peakBytes) / 1e6);
  }
  const std::string left = runner.host().Imbalance();
  std::printf("references and locks left: %s\n", left.empty() ? "none" : left.c_str());
  if (caughtSignal != 0) return kSignal + caughtSignal;
  return written == jobs.size() && left.empty() ? kDone : kFailed;
}

}  // namespace velhost
