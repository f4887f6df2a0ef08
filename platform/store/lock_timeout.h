// SPDX-License-Identifier: Apache-2.0
// How long a session on a server waits for what another transaction holds. A pure function; any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::store {

// Milliseconds by the connection string's Lock Timeout, 10,000 unless said, at least 1: to engines 0 is something else.
// Raises kStoreFailure with that source for what is no number.
int lock_timeout_of(const std::string& connection_string, std::string_view failure_source);

}  // namespace mercato::store
