// SPDX-License-Identifier: Apache-2.0
// What the host counts, as text that Prometheus reads. Any thread.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace mercato::host {

class Metrics {
 public:
  void count_request(const std::string& route, int status, std::chrono::nanoseconds time);
  // A call of a class by name. `outcome`: committed, rolledback, none, or failed.
  void count_call(const std::string& class_name, const std::string& outcome);
  // Prometheus' text form. `gauges`: what is measured at this moment, with its help, by name.
  std::string text(const std::map<std::string, std::pair<std::string, double>>& gauges) const;

 private:
  static constexpr std::array<double, 11> kBounds = {0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025,
                                                     0.05,   0.1,   0.5,    1.0,   5.0};
  struct Times {
    std::array<std::uint64_t, kBounds.size() + 1> counts{};
    double sum = 0;
  };

  mutable std::mutex mutex_;
  std::map<std::pair<std::string, int>, std::uint64_t> requests_;
  std::map<std::string, Times> times_;
  std::map<std::pair<std::string, std::string>, std::uint64_t> calls_;
};

}  // namespace mercato::host
