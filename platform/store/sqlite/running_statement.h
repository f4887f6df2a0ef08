// SPDX-License-Identifier: Apache-2.0
// A translated statement as a session keeps it, and its use. One thread at a time.
#pragma once

#include <memory>

#include "platform/store/dialect/dialect.h"
#include "platform/store/shape_cache.h"
#include "platform/store/sqlite/database.h"
#include "platform/store/sqlite/statement_printer.h"

namespace mercato::store::sqlite {

struct CachedStatement : ShapedStatement {
  Translation translation;
  RowLayoutPtr layout;                      // of a query
  StatementHandle idle;                     // prepared, when no one runs it
  const TableInfo* text_indexed = nullptr;  // the table that it writes, when that has a text index
};

using CachedStatementPtr = std::shared_ptr<CachedStatement>;

// A prepared statement in use: reset and put back when it dies, so that it is prepared once however often it runs.
class RunningStatement {
 public:
  RunningStatement(Database& database, CachedStatementPtr statement);
  RunningStatement(RunningStatement&&) noexcept = default;
  RunningStatement& operator=(RunningStatement&&) = delete;
  ~RunningStatement();

  sqlite3_stmt* get() const { return handle_.get(); }
  const CachedStatement& cached() const { return *statement_; }

 private:
  CachedStatementPtr statement_;
  StatementHandle handle_;
};

}  // namespace mercato::store::sqlite
