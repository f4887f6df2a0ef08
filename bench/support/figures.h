// SPDX-License-Identifier: Apache-2.0
// The figures of a benchmark, one line each: shown at once, and appended to a file of tab-separated fields
// from which bench/run makes its table.
#pragma once

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

namespace mercato::bench {

// What a figure has to keep.
struct Goal {
  enum class Kind { at_most, at_least };
  Kind kind;
  double limit;
};
inline Goal at_most(double limit) { return {Goal::Kind::at_most, limit}; }
inline Goal at_least(double limit) { return {Goal::Kind::at_least, limit}; }

class Figures {
 public:
  // An empty path: only shown.
  explicit Figures(const std::string& path) : file_(path.empty() ? nullptr : std::fopen(path.c_str(), "a")) {
    if (!path.empty() && !file_) throw std::runtime_error("cannot write " + path);
  }
  ~Figures() {
    if (file_) std::fclose(file_);
  }
  Figures(const Figures&) = delete;
  Figures& operator=(const Figures&) = delete;

  void add(const std::string& name, double value, const std::string& unit, std::optional<Goal> goal = std::nullopt) {
    char number[64];
    std::snprintf(number, sizeof number, value >= 1000 ? "%.0f" : "%.3g", value);
    std::string limit;
    const char* verdict = "";
    if (goal) {
      char text[64];
      const bool at_most = goal->kind == Goal::Kind::at_most;
      std::snprintf(text, sizeof text, "%s %g", at_most ? "<=" : ">=", goal->limit);
      limit = text;
      verdict = (at_most ? value <= goal->limit : value >= goal->limit) ? "pass" : "FAIL";
    }
    std::printf("  %-72s %12s %-10s %-10s %s\n", name.c_str(), number, unit.c_str(), limit.c_str(), verdict);
    std::fflush(stdout);
    if (!file_) return;
    std::fprintf(file_, "%s\t%s\t%s\t%s\t%s\n", name.c_str(), number, unit.c_str(), limit.c_str(), verdict);
    std::fflush(file_);
  }

 private:
  std::FILE* file_;
};

}  // namespace mercato::bench
