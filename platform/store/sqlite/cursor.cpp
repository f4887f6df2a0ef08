// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/cursor.h"

#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/session.h"
#include "platform/store/sqlite/values.h"

namespace mercato::store::sqlite {

SqliteCursor::SqliteCursor(SqliteSession& session, RunningStatement statement)
    : DrainingCursor(statement.cached().layout, statement.cached().translation.identified, kFailureSource),
      session_(&session),
      running_(std::move(statement)) {
  step_ahead();
  if (!running_) return;
  session.cursors_.push_back(this);
}

SqliteCursor::~SqliteCursor() { leave_session(); }

bool SqliteCursor::step() {
  const int code = sqlite3_step(running_->get());
  if (sqlite3_stmt_status(running_->get(), SQLITE_STMTSTATUS_REPREPARE, 1) > 0) reprepared_ = true;
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) {
    // The read lock goes with the last row, not with the cursor.
    leave_session();
    return false;
  }
  SqliteSession& session = *session_;
  RaisedError failure = session.failure(code);
  detach();
  throw Raised(std::move(failure));
}

void SqliteCursor::read_row(std::vector<Variant>& row) const {
  const std::vector<Column>& columns = layout()->columns();
  row.resize(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i)
    read_value(running_->get(), static_cast<int>(i), columns[i].type, row[i]);
}

RowIdentity SqliteCursor::read_identity() const {
  return {sqlite3_column_int64(running_->get(), static_cast<int>(layout()->size())), {}};
}

void SqliteCursor::leave_session() noexcept {
  if (!session_) return;
  std::erase(session_->cursors_, this);
  session_ = nullptr;
  running_.reset();
}

}  // namespace mercato::store::sqlite
