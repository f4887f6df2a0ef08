// SPDX-License-Identifier: Apache-2.0
// A statement that goes to a T-SQL server: what it does, that it is one, and its text. A server of this dialect needs no
// sign between two statements, so what no reader has read is looked through word by word. Pure functions; any thread.
#pragma once

#include <string>

#include "platform/store/dialect/dialect.h"

namespace mercato::store::odbc {

// Raises kStatementRefused for more than one statement, and for those that change what a session relies on: settings,
// transactions, procedures.
dialect::StatementKind kind_of(const dialect::LexedStatement& lexed);

// The text as it is sent: as it is, but with quotes around the name of a column that servers reserve since 2005, and of
// which the library's statements know nothing.
std::string sent_text(const dialect::LexedStatement& lexed);

// The one table that a query reads, as it is spelled there; nothing for any other statement.
std::string table_read_by(const dialect::LexedStatement& statement);

// The query with `columns` (", a, b") behind what it shows.
std::string with_columns(const dialect::LexedStatement& query, const std::string& columns);

}  // namespace mercato::store::odbc
