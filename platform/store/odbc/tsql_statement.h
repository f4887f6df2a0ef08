// SPDX-License-Identifier: Apache-2.0
// A statement that goes to a T-SQL server as it is: what it does, and that it is one. A server of this dialect needs no
// sign between two statements, so what no reader has read is looked through word by word. Pure functions; any thread.
#pragma once

#include <string>

#include "platform/store/dialect/dialect.h"

namespace mercato::store::odbc {

// Raises kStatementRefused for more than one statement, and for those that change what a session relies on: settings,
// transactions, procedures.
dialect::StatementKind kind_of(const dialect::LexedStatement& lexed);

// The query with `columns` (", a, b") behind what it shows.
std::string with_columns(const dialect::LexedStatement& query, const std::string& columns);

}  // namespace mercato::store::odbc
