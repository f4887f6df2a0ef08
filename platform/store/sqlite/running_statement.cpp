// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/running_statement.h"

#include <utility>

namespace mercato::store::sqlite {

RunningStatement::RunningStatement(Database& database, CachedStatementPtr statement)
    : statement_(std::move(statement)), handle_(std::move(statement_->idle)) {
  if (!handle_) handle_ = database.prepare(statement_->translation.statements.front());
}

RunningStatement::~RunningStatement() {
  if (!handle_) return;
  sqlite3_reset(handle_.get());
  sqlite3_clear_bindings(handle_.get());
  if (!statement_->idle) statement_->idle = std::move(handle_);
}

}  // namespace mercato::store::sqlite
