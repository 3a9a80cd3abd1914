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

/// The value that so many of a hundred are below.
std::optional<double> Percentile(std::vector<double>& values, int percent) {
  if (values.empty()) return std::nullopt;
  std::sort(values.begin(), values.end());
  return values[values.size() * percent / 100];
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
  for (const Column& column : columns)
    medians.push_back(Percentile(collector.seconds[column.name], 50));
  return medians;
}

std::vector<std::optional<double>> TimeByTurns(const std::vector<Column>& columns,
                                               const Effort& effort) {
  constexpr size_t kLeastTurns = 20;
  const double budget = effort.repetitions * effort.secondsPerRepetition;
  std::vector<std::vector<double>> seconds(columns.size());
  double spent = 0;
  for (size_t turn = 0; turn < kLeastTurns || spent < budget * columns.size(); ++turn) {
    for (size_t i = 0; i < columns.size(); ++i) {
      const size_t column = turn % 2 == 0 ? i : columns.size() - 1 - i;
      const auto time = columns[column].work();
      if (!time) return std::vector<std::optional<double>>(columns.size());
      seconds[column].push_back(*time);
      spent += *time;
    }
  }
  std::vector<std::optional<double>> tenths;
  for (std::vector<double>& times : seconds) tenths.push_back(Percentile(times, 10));
  return tenths;
}

}  // namespace velbench
