// SPDX-License-Identifier: Apache-2.0
// What a store on such a server keeps beside the library's tables: the functions that translated statements call, and a
// count by which all sessions notice definitions. One thread at a time.
#pragma once

#include <span>
#include <string>

#include "platform/store/postgres_dialect/postgres_server.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

// What a session sets when it opens: what the texts that are sent, and the readings of what comes back, rely on.
// `lock_timeout`: milliseconds.
std::string settings_of_session(int lock_timeout);

// Carries out a definition, inside of a transaction. Definitions go one after the other, so that several callers may
// create the same tables at once; the first one brings the functions. Raises kStoreFailure when there is no schema to create tables in.
void define(PostgresServer& server, std::span<const std::string> statements);

// Rows with given keys (data that is taken over): nobody else is given a number that is about to be taken, and the server
// goes on numbering behind the highest. Both inside of a transaction.
void lock_for_given_keys(PostgresServer& server, const TableInfo& table);
void count_given_keys(PostgresServer& server, const TableInfo& table);

}  // namespace mercato::store::postgres
