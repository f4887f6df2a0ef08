// SPDX-License-Identifier: Apache-2.0
#include "platform/store/lock_timeout.h"

#include <algorithm>

#include "mercato/raised_error.h"
#include "platform/store/driver.h"

namespace mercato::store {

int lock_timeout_of(const std::string& connection_string, std::string_view failure_source) {
  constexpr int kDefault = 10000;
  const auto given = connection_property(connection_string, "Lock Timeout");
  if (!given) return kDefault;
  const bool is_number =
      !given->empty() && given->size() <= 9 && std::ranges::all_of(*given, [](char c) { return c >= '0' && c <= '9'; });
  if (!is_number)
    raise(error_number::kStoreFailure, std::string(failure_source),
          "Lock Timeout is '" + *given + "'. It has to be a number of milliseconds");
  return std::max(std::stoi(*given), 1);
}

}  // namespace mercato::store
