// SPDX-License-Identifier: Apache-2.0
// What a driver of ODBC's reports, in the library's words and numbers. Pure functions, but for the call limit, which is
// asked; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/row_layout.h"

namespace mercato::store::odbc {

inline constexpr std::string_view kFailureSource = "ODBC store";

struct Diagnosis {
  std::string state;        // five signs, the standard's or the engine's
  std::int32_t native = 0;  // the engine's own number
  std::string words;        // in one line, without the names of the programs that passed it on
};

// How a dialect reads one. `server`: its label; `table`: the one that the statement wrote, if it is known.
using FailureReader = RaisedError (*)(const Diagnosis& told, const std::string& server, const TableInfo* table);
RaisedError failure_of_tsql(const Diagnosis& told, const std::string& server, const TableInfo* table);
RaisedError failure_of_postgresql(const Diagnosis& told, const std::string& server, const TableInfo* table);

// Why a connection could not be opened, and what to do.
RaisedError opening_failure(const Diagnosis& told, const std::string& server);

// What stands in quotes in the engine's words, in their order.
std::vector<std::string> quoted_in(const std::string& words, char quote);

// "[Maker][Driver]ERROR: Words\nDETAIL: ...;\n..." is "Words": values stand in the details.
std::string words_of_server(std::string_view message);

RaisedError of_this_store(RaisedError failure);
[[noreturn]] void raise_store_failure(std::string description);

}  // namespace mercato::store::odbc
