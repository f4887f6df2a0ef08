// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/cursor.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/failures.h"
#include "platform/store/postgres/postgres_failure.h"
#include "platform/store/postgres/postgres_values.h"
#include "platform/store/postgres/session.h"

namespace mercato::store::postgres {

PostgresCursor::PostgresCursor(std::shared_ptr<CachedStatement> statement)
    : session_(nullptr), statement_(std::move(statement)), layout_(statement_->layout) {}

PostgresCursor::PostgresCursor(PostgresSession& session, std::shared_ptr<CachedStatement> statement)
    : PostgresCursor(std::move(statement)) {
  session_ = &session;
  session.streaming_ = this;
  row_ahead_ = step();
}

PostgresCursor::~PostgresCursor() { abandon(); }

bool PostgresCursor::step() {
  PostgresSession& session = *session_;
  try {
    row_ = session.connection_.next();
    const ExecStatusType status = row_ ? PQresultStatus(row_.get()) : PGRES_FATAL_ERROR;
    if (status == PGRES_SINGLE_TUPLE) return true;
    leave_session();
    if (status != PGRES_TUPLES_OK) session.fail_command(row_.get(), {});
    // The connection is free with the last row, not with the cursor.
    row_.reset();
    session.end_command();
    return false;
  } catch (const Raised& failed) {
    leave_session();
    detached_ = true;
    session.note_lost_connection(failed);
    throw;
  }
}

bool PostgresCursor::advance() {
  if (detached_) throw Raised(of_this_store(rows_closed()));
  if (kept_at_ < kept_.size()) return ++kept_at_, true;
  if (std::exchange(row_ahead_, false)) return true;
  if (session_) return step();
  kept_.clear();
  kept_at_ = 0;
  return false;
}

void PostgresCursor::read(std::vector<Variant>& row) {
  if (kept_at_ > 0)
    row = kept_[kept_at_ - 1].values;
  else
    read_row(row);
}

RowIdentity PostgresCursor::identity() { return kept_at_ > 0 ? kept_[kept_at_ - 1].identity : read_identity(); }

void PostgresCursor::value_at(int column, ColumnType type, Variant& out) const {
  if (PQgetisnull(row_.get(), 0, column) != 0) {
    out = kNull;
    return;
  }
  const std::string_view text(PQgetvalue(row_.get(), 0, column),
                              static_cast<std::size_t>(PQgetlength(row_.get(), 0, column)));
  read_value(text, type, PQftype(row_.get(), column), out);
}

void PostgresCursor::read_row(std::vector<Variant>& row) const {
  const std::vector<Column>& columns = layout_->columns();
  row.resize(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) value_at(static_cast<int>(i), columns[i].type, row[i]);
}

RowIdentity PostgresCursor::read_identity() const {
  RowIdentity identity;
  const int first = static_cast<int>(layout_->size());
  if (statement_->translation.identity == IdentityKind::number) {
    const char* const digits = PQgetvalue(row_.get(), 0, first);
    std::from_chars(digits, digits + PQgetlength(row_.get(), 0, first), identity.number);
    return identity;
  }
  for (const ColumnType type : statement_->key_types) {
    const int column = first + static_cast<int>(identity.key.size());
    value_at(column, type, identity.key.emplace_back());
  }
  return identity;
}

void PostgresCursor::drain() {
  const auto keep = [this] {
    KeptRow row;
    read_row(row.values);
    if (statement_->translation.common.identified) row.identity = read_identity();
    kept_.push_back(std::move(row));
  };
  try {
    // The current row stays where it is, unless it is still ahead.
    keep();
    kept_at_ = std::exchange(row_ahead_, false) ? 0 : 1;
    while (session_ && step()) keep();
  } catch (const std::bad_alloc&) {
    detach();  // the row that found no room must not be missed in silence
    throw;
  }
}

void PostgresCursor::detach() noexcept {
  abandon();
  detached_ = true;
}

void PostgresCursor::leave_session() noexcept {
  if (!session_) return;
  session_->streaming_ = nullptr;
  session_ = nullptr;
}

// A few rows are read to their end; of more the server is told to stop, where that undoes nothing.
void PostgresCursor::abandon() noexcept {
  if (!session_) return;
  constexpr int kFew = 1000;
  PostgresSession& session = *session_;
  try {
    for (int rows = 0; session_; ++rows) {
      if (rows == kFew && !session.begun_ && session.foreseen_.empty()) session.connection_.cancel();
      step();
    }
  } catch (...) {
    // Nobody asked for these rows. A connection that is lost shows at the next statement.
  }
}

}  // namespace mercato::store::postgres
