// SPDX-License-Identifier: Apache-2.0
// What such a server reports, in the library's words and numbers. Pure functions, but for the call limit, which is
// asked; any thread.
#pragma once

#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

struct ServerFailure {
  std::string state;  // the engine's five signs for what went wrong: "23505"
  std::string words;  // in one line, without the stop at its end
  // What it is about; empty where nobody says.
  std::string constraint;
  std::string table;
  std::string column;
};

// Without a source. `server`: its label; `table`: the one that the statement wrote, if it is known.
RaisedError failure_of(const ServerFailure& failed, const std::string& server, const TableInfo* table);

// Whether the engine wants the whole transaction undone: its locks are what others wait for.
bool undoes_transaction(std::string_view state);

// Whether the engine refused for what it knows of the tables: they may be others by now.
bool is_about_tables(std::string_view state);

}  // namespace mercato::store::postgres
