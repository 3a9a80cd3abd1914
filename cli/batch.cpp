#include "cli/batch.h"

#include <unistd.h>

#include <biosoup/progress_bar.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>

#include "cli/image_file.h"
#include "cli/problem.h"

namespace velhost {
namespace {

namespace fs = std::filesystem;

void PrintHost(const Session& session) {
  std::printf("%s: %zu methods registered, %s\n",
              fs::path(session.plugin().path()).filename().c_str(),
              session.plugin().methods().size(), session.HostName().c_str());
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

void PrintPeakMemory(Session& session) {
  std::printf("peak picture memory: %.1f MB\n",
              static_cast<double>(session.host().memory.peakBytes) / 1e6);
}

// Drawn on a terminal only; elsewhere it would be noise.
class Progress {
 public:
  explicit Progress(size_t count)
      : bar_(static_cast<uint32_t>(count), 40), shown_(isatty(STDERR_FILENO) != 0) {
    Draw();
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (shown_) std::cerr << '\n';
  }
  void Step() {
    ++bar_;
    Draw();
  }

 private:
  void Draw() const {
    if (!shown_) return;
    std::cerr << "\r[" << bar_ << "] " << bar_.event_counter() << " of " << bar_.num_events()
              << std::flush;
  }

  biosoup::ProgressBar bar_;
  bool shown_;
};

struct Job {
  std::string input;
  std::string output;
};

std::vector<Job> PlanJobs(const Options& options) {
  std::vector<Job> jobs;
  std::map<fs::path, std::string> inputOfOutput;
  for (const std::string& input : options.inputs) {
    const fs::path output = fs::path(options.output) / fs::path(input).stem().concat(".png");
    const auto [other, isNew] = inputOfOutput.emplace(output, input);
    if (!isNew) {
      throw Problem(input + " and " + other->second + " would both become " + output.string() +
                    ": run them into different folders");
    }
    for (const std::string& original : options.inputs) {
      std::error_code error;
      if (fs::equivalent(output, original, error)) {
        throw Problem(output.string() + " would replace an input: give another folder");
      }
    }
    jobs.push_back({input, output.string()});
  }
  return jobs;
}

void RunJob(Session& session, const Job& job, const std::vector<PreparedCall>& calls) {
  const Image result = session.Run(ReadImage(job.input), calls);
  const fs::path folder = fs::path(job.output).parent_path();
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Problem(folder.string() + " cannot be made: " + error.message());
  WriteImage(job.output, result);
}

}  // namespace

void RunOnFile(Session& session, const Options& options, const std::vector<PreparedCall>& calls) {
  const std::string& input = options.inputs.front();
  const Image image = ReadImage(input);
  PrintHost(session);
  std::printf("%s: %d x %d%s\n", input.c_str(), image.width, image.height,
              !image.hasAlpha        ? ""
              : session.KeepsAlpha() ? ", with alpha channel"
                                     : ", shown on white (this host's pictures have no alpha)");
  std::vector<Step> steps;
  const Image result = session.Run(image, calls, &steps);
  PrintSteps(calls, steps, options.stats);
  if (options.stats) PrintPeakMemory(session);
  if (options.output.empty()) {
    std::puts("nothing written: no -o FILE");
  } else {
    WriteImage(options.output, result);
    std::printf("%s: written, %d x %d\n", options.output.c_str(), result.width, result.height);
  }
}

bool RunOnMany(Session& session, const Options& options, const std::vector<PreparedCall>& calls) {
  const std::vector<Job> jobs = PlanJobs(options);
  PrintHost(session);
  std::vector<std::string> failures;
  {
    Progress progress(jobs.size());
    for (const Job& job : jobs) {
      try {
        RunJob(session, job, calls);
      } catch (const Problem& problem) {
        failures.emplace_back(problem.what());
      } catch (const MethodFailed& failed) {
        failures.push_back(job.input + ": " + failed.what());
      }
      progress.Step();
    }
  }
  std::printf("%zu of %zu pictures written to %s\n", jobs.size() - failures.size(), jobs.size(),
              options.output.c_str());
  for (const std::string& failure : failures) std::printf("failed: %s\n", failure.c_str());
  if (options.stats) PrintPeakMemory(session);
  return failures.empty();
}

bool ReportBalance(Session& session) {
  const std::string left = session.host().Imbalance();
  std::printf("references and locks left: %s\n", left.empty() ? "none" : left.c_str());
  return left.empty();
}

}  // namespace velhost
