// SPDX-License-Identifier: Apache-2.0
// What a failure looks like after it has passed some tails: what the caller receives, and what the log has.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

// One tail that logs and raises, with its information when it has any.
struct Level {
  Level(const char* own_label) : label(own_label) {}             // NOLINT: a label is a level
  Level(std::string own_label) : label(std::move(own_label)) {}  // NOLINT: the same
  Level(std::string own_label, std::optional<std::string> own_info)
      : label(std::move(own_label)), info(std::move(own_info)) {}
  std::string label;
  std::optional<std::string> info;
};

struct FailureTrail {
  RaisedError raised;
  std::vector<LogEntry> log;
  bool operator==(const FailureTrail&) const = default;
};

// From the innermost tail to the outermost.
inline FailureTrail trail(RaisedError failure, const std::vector<Level>& levels) {
  char number[9];
  std::snprintf(number, sizeof number, "%X", static_cast<unsigned>(failure.Number));
  FailureTrail trail{std::move(failure), {}};
  for (const Level& level : levels) {
    const auto wrap = [&](const std::string& text) {
      return level.info ? message(number, level.label, text, *level.info) : message(number, level.label, text);
    };
    trail.raised.Description = wrap(trail.raised.Description);
    trail.log.push_back({trail.raised.Source, wrap(trail.raised.Description), 0});
  }
  return trail;
}

// The failure that a Recorder makes of the statement in its `fail_on`.
inline RaisedError refused_on_request() {
  return {error_number::kStatementRefused, "Test", "refused on request", "", 0};
}
// What a recordset factory knows of it.
inline std::string refused_while_executing(const std::string& statement) {
  return "Error(s) from connection object:  (1)refused on request[-2147217900] executing: '" + statement + "'";
}

}  // namespace mercato::test
