// SPDX-License-Identifier: Apache-2.0
// The engine's failures in the library's words and numbers. Any thread.
#pragma once

#include <libpq-fe.h>

#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/postgres_dialect/server_failure.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

inline constexpr std::string_view kFailureSource = "PostgreSQL store";

// The engine's five signs for what went wrong: "23505". Empty when there are none.
std::string_view state_of(const PGresult* failed);

// What the engine reports; `table` is the one that the statement wrote, if it is known. `server`: its label.
RaisedError failure_of(const PGresult* failed, const std::string& server, const TableInfo* table);

// Why a connection could not be opened, and what to do: `words` are libpq's.
RaisedError opening_failure(const std::string& server, std::string words);

// A server of a version before the oldest one; `version`: 140011 for 14.11.
RaisedError too_old(const std::string& server, int version);

RaisedError of_this_store(RaisedError failure);
[[noreturn]] void raise_store_failure(std::string description);

}  // namespace mercato::store::postgres
