// SPDX-License-Identifier: Apache-2.0
#include "host/metrics.h"

#include <algorithm>

#include "values/text.h"

namespace mercato::host {

void Metrics::count_request(const std::string& route, int status, std::chrono::nanoseconds time) {
  const double seconds = std::chrono::duration<double>(time).count();
  const auto bound = std::ranges::lower_bound(kBounds, seconds) - kBounds.begin();
  const std::lock_guard lock(mutex_);
  ++requests_[{route, status}];
  Times& times = times_[route];
  ++times.counts[static_cast<std::size_t>(bound)];
  times.sum += seconds;
}

void Metrics::count_call(const std::string& class_name, const std::string& outcome) {
  const std::lock_guard lock(mutex_);
  ++calls_[{class_name, outcome}];
}

std::string Metrics::text(const std::map<std::string, std::pair<std::string, double>>& gauges) const {
  const std::lock_guard lock(mutex_);
  std::string out =
      "# HELP mercato_requests_total Requests by route and status.\n# TYPE mercato_requests_total counter\n";
  for (const auto& [of, count] : requests_)
    out += "mercato_requests_total{route=\"" + of.first + "\",status=\"" + std::to_string(of.second) + "\"} " +
           std::to_string(count) + "\n";
  out +=
      "# HELP mercato_request_seconds The time from the head of a request to its answer.\n"
      "# TYPE mercato_request_seconds histogram\n";
  for (const auto& [route, times] : times_) {
    std::uint64_t total = 0;
    for (std::size_t place = 0; place < times.counts.size(); ++place) {
      total += times.counts[place];
      const std::string bound = place < kBounds.size() ? text::number_text(kBounds[place]) : "+Inf";
      out += "mercato_request_seconds_bucket{route=\"" + route + "\",le=\"" + bound + "\"} " + std::to_string(total) +
             "\n";
    }
    out += "mercato_request_seconds_sum{route=\"" + route + "\"} " + text::number_text(times.sum) + "\n";
    out += "mercato_request_seconds_count{route=\"" + route + "\"} " + std::to_string(total) + "\n";
  }
  out += "# HELP mercato_calls_total Calls of the library by class and outcome.\n# TYPE mercato_calls_total counter\n";
  for (const auto& [of, count] : calls_)
    out +=
        "mercato_calls_total{class=\"" + of.first + "\",outcome=\"" + of.second + "\"} " + std::to_string(count) + "\n";
  for (const auto& [name, gauge] : gauges)
    out += "# HELP " + name + " " + gauge.first + "\n# TYPE " + name + " gauge\n" + name + " " +
           text::number_text(gauge.second) + "\n";
  return out;
}

}  // namespace mercato::host
