// SPDX-License-Identifier: Apache-2.0
// The texts of failures as callers and the log receive them, put together here once more so that tests do not ask the
// library what to expect.
#pragma once

#include <string>

namespace mercato::test {

// What a reading call sets first.
inline const std::string kIsolation = "set TRANSACTION ISOLATION LEVEL READ COMMITTED";
// Why a statement that a test has refused fails.
inline const std::string kRefused = "refused on request";

// One wrapping: `number` in capital hexadecimal digits, such as "800400CB".
inline std::string message(const std::string& number, const std::string& method, const std::string& description) {
  return "\r\nERROR 0x" + number + "\r\n METHOD: " + method + "\r\n DESC: " + description + ".\r\n";
}
inline std::string message(const std::string& number, const std::string& method, const std::string& description,
                           const std::string& info) {
  return message(number, method, description) + " INFO: " + info + ".\r\n";
}

}  // namespace mercato::test
