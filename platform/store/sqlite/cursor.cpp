// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/cursor.h"

#include <new>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/failures.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/session.h"
#include "platform/store/sqlite/values.h"

namespace mercato::store::sqlite {

SqliteCursor::SqliteCursor(SqliteSession& session, RunningStatement statement)
    : session_(&session),
      layout_(statement.cached().layout),
      identified_(statement.cached().translation.identified),
      running_(std::move(statement)) {
  row_ahead_ = step();
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

bool SqliteCursor::advance() {
  if (detached_) throw Raised(of_this_store(rows_closed()));
  if (kept_at_ < kept_.size()) return ++kept_at_, true;
  if (std::exchange(row_ahead_, false)) return true;
  if (running_) return step();
  kept_.clear();
  kept_at_ = 0;
  return false;
}

void SqliteCursor::read(std::vector<Variant>& row) {
  if (kept_at_ > 0)
    row = kept_[kept_at_ - 1].values;
  else
    read_row(row);
}

RowIdentity SqliteCursor::identity() { return kept_at_ > 0 ? kept_[kept_at_ - 1].identity : read_identity(); }

void SqliteCursor::read_row(std::vector<Variant>& row) const {
  const std::vector<Column>& columns = layout_->columns();
  row.resize(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i)
    read_value(running_->get(), static_cast<int>(i), columns[i].type, row[i]);
}

RowIdentity SqliteCursor::read_identity() const {
  return {sqlite3_column_int64(running_->get(), static_cast<int>(layout_->size())), {}};
}

void SqliteCursor::drain() {
  const auto keep = [this] {
    KeptRow row;
    read_row(row.values);
    if (identified_) row.identity = read_identity();
    kept_.push_back(std::move(row));
  };
  try {
    // The engine stands on the current row, unless that one is still ahead.
    keep();
    kept_at_ = std::exchange(row_ahead_, false) ? 0 : 1;
    while (running_ && step()) keep();
  } catch (const std::bad_alloc&) {
    detach();  // the row that found no room must not be missed in silence
    throw;
  }
}

void SqliteCursor::detach() noexcept {
  leave_session();
  detached_ = true;
}

void SqliteCursor::leave_session() noexcept {
  if (!session_) return;
  std::erase(session_->cursors_, this);
  session_ = nullptr;
  running_.reset();
}

}  // namespace mercato::store::sqlite
