// SPDX-License-Identifier: Apache-2.0
// Several turns of each piece of work in random order, and the median time of each: shown as they come, and kept.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace mercato::bench {

class Medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) throw std::runtime_error(run.benchmark_name() + ": " + run.error_message);
      if (run.aggregate_name != "median") continue;
      processor_[run.run_name.function_name] = run.GetAdjustedCPUTime();
      clock_[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
  }
  // Of work on the benchmark's own thread: what else the machine does is not in it.
  double processor_us(const std::string& name) const { return processor_.at(name) / 1000; }
  double clock_us(const std::string& name) const { return clock_.at(name) / 1000; }

 private:
  std::map<std::string, double> processor_;  // nanoseconds
  std::map<std::string, double> clock_;
};

// To be measured by the next call below.
template <class Work>
void measure(const char* name, Work work) {
  benchmark::RegisterBenchmark(name, std::move(work))->Repetitions(5)->ReportAggregatesOnly();
}

// Once in a process.
inline Medians measure_in_random_order(std::string program) {
  std::string in_random_order = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {program.data(), in_random_order.data(), nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments);
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  return medians;
}

}  // namespace mercato::bench
