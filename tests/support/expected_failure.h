// What a failure leaves behind on its way up through the tails of methods.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

// The description and the log entries of a failure that passes through these methods, the innermost first.
struct ExpectedFailure {
  std::string description;
  std::vector<LogEntry> log;
  ExpectedFailure(const std::string& number, const std::string& source, std::string innermost,
                  const std::vector<std::string>& methods)
      : description(std::move(innermost)) {
    for (const std::string& method : methods) {
      description = message(number, method, description);
      log.push_back({source, message(number, method, description), 0});
    }
  }
};

}  // namespace mercato::test
