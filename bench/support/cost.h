// SPDX-License-Identifier: Apache-2.0
// What a piece of work costs that has a process of its own. Main thread.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace mercato::bench {

// `Contents` is what the work leaves behind; it has to travel through a pipe.
template <class Contents>
struct Cost {
  double seconds = 0;
  double cpu_seconds = 0;
  double start_bytes = 0;  // of memory, before the work
  double peak_bytes = 0;
  double calls = 0;
  Contents contents;
};

inline double cpu_seconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// A line of the process's own account of its memory, such as VmHWM.
inline double memory_bytes(const std::string& what) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(what + ":")) return 1024 * std::stod(line.substr(what.size() + 1));
  throw std::runtime_error("the system does not tell " + what);
}

// The work gets the cost to note its calls in.
template <class Contents, class Work>
Cost<Contents> measure(Work work) {
  Cost<Contents> cost;
  cost.start_bytes = memory_bytes("VmRSS");
  const double cpu_before = cpu_seconds();
  const auto before = std::chrono::steady_clock::now();
  work(cost);
  cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
  cost.cpu_seconds = cpu_seconds() - cpu_before;
  cost.peak_bytes = memory_bytes("VmHWM");
  return cost;
}

template <class Value>
double median(std::vector<Value> costs, double Value::*figure) {
  std::ranges::sort(costs, {}, figure);
  return costs[costs.size() / 2].*figure;
}

}  // namespace mercato::bench
