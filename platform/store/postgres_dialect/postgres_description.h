// SPDX-License-Identifier: Apache-2.0
// What a store on a server is, and what its user may not do there.
#pragma once

#include <string>

#include "platform/store/postgres_dialect/postgres_server.h"
#include "platform/store/store_description.h"

namespace mercato::store::postgres {

// `address`: where the server is.
StoreDescription describe_store(PostgresServer& server, const std::string& address);

}  // namespace mercato::store::postgres
