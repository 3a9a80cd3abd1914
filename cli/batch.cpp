#include "cli/batch.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <new>

#include "cli/print.h"
#include "cli/progress.h"
#include "cli/sheet.h"
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
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, Catch) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

// Of a batch and a quiet run only the numbers.
void PrintSteps(const Options& options, const std::string& input,
                const std::vector<PreparedCall>& calls, const std::vector<Step>& steps) {
  const bool single = options.inputs.size() == 1;
  for (size_t i = 0; i < steps.size(); ++i) {
    if ((!single || options.quiet) && !calls[i].MakesNumber()) continue;
    std::string line = (single ? "" : input + ": ") + calls[i].text + ": " + steps[i].result;
    char figures[64] = "";
    if (!options.quiet) {
      std::snprintf(figures, sizeof figures, " in %.2f ms", steps[i].milliseconds);
      line += figures;
    }
    if (options.stats) line += ", " + std::to_string(steps[i].hostCalls) + " host calls";
    Print(line);
  }
}

void Note(const Options& options, const std::string& text) {
  if (!options.quiet) PrintError("note: " + text);
}

struct Job {
  std::string input;
  std::string output;  ///< empty for none
};

// What can be seen to be wrong with an output before any work is done.
void CheckOutput(const Options& options, const std::string& path) {
  if (path.empty()) return;
  imaging::CheckImageName(path, options.write.format);
  imaging::CheckOutputPath(path, options.force);
}

// Something that is not what it was given for.
void CheckInput(const MethodRunner& runner, const std::string& input, bool intoFolder) {
  std::error_code error;
  const bool exists = fs::exists(input, error);
  if (!exists && runner.HasMethod(input.substr(0, input.find('(')))) {
    throw UserError(input + " is a method: give it an -m of its own");
  }
  if (!intoFolder) return;
  if (input == imaging::kStandardOutput) throw UserError("- has no name to keep: -o FILE");
  if (fs::is_directory(input, error)) throw UserError(input + " is a folder: give " + input + "/*");
}

std::vector<Job> PlanJobs(const MethodRunner& runner, const Options& options,
                          const std::vector<PreparedCall>& calls) {
  std::error_code error;
  const bool nowhere = options.output.empty();
  const bool intoFolder = options.output.ends_with('/') || fs::is_directory(options.output, error);
  for (const std::string& input : options.inputs) CheckInput(runner, input, intoFolder);
  if (nowhere && (options.sheet || !calls.back().MakesNumber())) {
    throw UserError("no output given: add -o FILE");
  }
  if (!nowhere && !intoFolder && options.inputs.size() > 1) {
    throw UserError("several pictures need a folder to go to: -o FOLDER/");
  }
  std::vector<Job> jobs;
  std::map<std::string, std::string> inputOfOutput;
  for (const std::string& input : options.inputs) {
    std::string output = options.output;
    if (intoFolder) {
      const std::string& format = options.write.format;
      fs::path name = fs::path(input).filename();
      output = fs::path(output) / (format.empty() ? name : name.replace_extension(format));
    }
    const auto [other, isNew] = inputOfOutput.emplace(output, input);
    if (!isNew && !nowhere) {
      throw UserError(input + " and " + other->second + " would both become " + output +
                      ": run them into different folders");
    }
    jobs.push_back({input, output});
  }
  if (intoFolder) {
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
  Image image = imaging::ReadImage(path);
  if (image.sixteenBits) Note(options, path + " has 16 bits a channel, 8 are kept");
  if (image.hasAlpha && !runner.KeepsAlpha()) {
    Note(options, path + " is laid over --background: this host's pictures have no alpha");
  } else if (runner.RoundsAlpha(image)) {
    Note(options, path + " keeps 7 of its 8 bits of alpha on this host: --host cairo keeps all");
  }
  const int orientation = options.orient ? imaging::Orientation(image.metadata.exif) : 1;
  if (orientation == 1) return image;
  imaging::NoteUpright(image.metadata.exif);
  std::vector<PreparedCall> calls;
  for (const char* method : kUpright[orientation - 1]) {
    if (method != nullptr) calls.push_back(runner.Prepare(method));
  }
  if (options.stats) {
    Note(options, path + " is turned upright, EXIF orientation " + std::to_string(orientation));
  }
  return runner.Run(std::move(image), calls);
}

// False when a signal came before the result could be written.
bool RunJob(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls,
            const Job& job) {
  const bool detailed = options.inputs.size() == 1 && !options.quiet;
  if (caughtSignal != 0) return false;
  Image image = LoadImage(runner, options, job.input);
  if (detailed) {
    Print(job.input + ": " + SizeText(image.width, image.height) +
          (image.hasAlpha ? ", with alpha channel" : ""));
  }
  std::vector<Step> steps;
  image = options.sheet ? ContactSheet(runner, image, calls, options.times)
                        : runner.Run(std::move(image), calls, &steps);
  if (caughtSignal != 0) return false;
  PrintSteps(options, job.input, calls, steps);
  if (job.output.empty()) return true;
  CheckOutput(options, job.output);  // Others may write there, too.
  const std::string size = SizeText(image.width, image.height);
  const auto notes = imaging::WriteImage(job.output, std::move(image), options.write);
  for (const std::string& note : notes) Note(options, note);
  if (detailed) Print(job.output + ": written, " + size);
  return true;
}

std::string BytesText(size_t bytes) {
  if (bytes < 1'000'000) return std::to_string(bytes) + " bytes";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
}

}  // namespace

int RunBatch(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls) {
  const std::vector<Job> jobs = PlanJobs(runner, options, calls);
  if (options.stats) {
    Print(fs::path(runner.plugin().path()).filename().string() + ": " +
          std::to_string(runner.plugin().methods().size()) + " methods registered, " +
          runner.HostName());
  }
  CatchSignals();
  size_t written = 0, tried = 0;
  Progress progress(jobs.size(), options.quiet);
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
  if ((jobs.size() > 1 && !options.quiet) || caughtSignal != 0) {
    Print(std::to_string(written) + " of " + std::to_string(jobs.size()) + " pictures " +
          (options.output.empty() ? "done" : "written to " + options.output) + ", " +
          std::to_string(tried - written) + " failed");
  }
  if (options.stats) Print("peak picture memory: " + BytesText(runner.host().memory.peakBytes));
  const std::string left = runner.host().Imbalance();
  if (options.stats || !left.empty()) {
    Print("references and locks left: " + (left.empty() ? "none" : left));
  }
  if (caughtSignal != 0) return kSignal + caughtSignal;
  return written == jobs.size() && left.empty() ? kDone : kFailed;
}

}  // namespace velhost
