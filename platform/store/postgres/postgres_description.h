// SPDX-License-Identifier: Apache-2.0
// What a store on a server is, and what its user may not do there. Any thread.
#pragma once

#include <string>

#include "platform/store/store_description.h"

namespace mercato::store::postgres {

// Raises what opening the store raises.
StoreDescription describe_store(const std::string& connection_string);

}  // namespace mercato::store::postgres
