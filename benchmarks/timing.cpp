#include "benchmarks/timing.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>

namespace velbench {
namespace {

// Keeps the repetitions' times by the name of their column.
class Collector final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      seconds[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
    }
  }

  std::map<std::string, std::vector<double>> seconds;
};

void TakeTurns() {
  char name[] = "velbench", option[] = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {name, option, nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments);
}

void Repeat(benchmark::State& state, const Column& column) {
  for ([[maybe_unused]] auto _ : state) {
    const auto seconds = column.work();
    if (!seconds) {
      state.SkipWithError("failed");
      break;
    }
    state.SetIterationTime(*seconds);
  }
}

}  // namespace

std::vector<std::optional<double>> TimeColumns(const std::vector<Column>& columns,
                                               const Effort& effort) {
  static const bool initialized = (TakeTurns(), true);
  (void)initialized;
  for (const Column& column : columns) {
    benchmark::RegisterBenchmark(column.name.c_str(), Repeat, column)
        ->UseManualTime()
        ->Unit(benchmark::kSecond)
        ->Repetitions(effort.repetitions)
        ->MinTime(effort.secondsPerRepetition);
  }
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::ClearRegisteredBenchmarks();

  std::vector<std::optional<double>> medians;
  for (const Column& column : columns) {
    std::vector<double>& seconds = collector.seconds[column.name];
    std::sort(seconds.begin(), seconds.end());
    medians.push_back(seconds.empty() ? std::nullopt : std::optional(seconds[seconds.size() / 2]));
  }
  return medians;
}

}  // namespace velbench
