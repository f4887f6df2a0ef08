// SPDX-License-Identifier: Apache-2.0
// The drivers of this build, and the one that a connection string means. Any thread.
#pragma once

#include <string>

#include "platform/store/driver.h"

namespace mercato::store {

// The driver that the connection string's Provider names ("SQLite", also when none is named).
// Raises kStoreFailure for an unknown provider, naming the known ones; for a blank string too.
Driver& driver_for(const std::string& connection_string);

}  // namespace mercato::store
