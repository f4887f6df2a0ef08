// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/cursor.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/postgres/postgres_failure.h"
#include "platform/store/postgres/session.h"
#include "platform/store/postgres_dialect/postgres_values.h"

namespace mercato::store::postgres {

PostgresCursor::PostgresCursor(std::shared_ptr<CachedStatement> statement)
    : DrainingCursor(statement->layout, statement->translation.common.identified, kFailureSource),
      statement_(std::move(statement)) {}

PostgresCursor::PostgresCursor(PostgresSession& session, std::shared_ptr<CachedStatement> statement)
    : PostgresCursor(std::move(statement)) {
  session_ = &session;
  session.streaming_ = this;
  step_ahead();
}

PostgresCursor::~PostgresCursor() { let_go(); }

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
    close_rows();
    session.note_lost_connection(failed);
    throw;
  }
}

void PostgresCursor::value_at(int column, ColumnType type, Variant& out) const {
  if (PQgetisnull(row_.get(), 0, column) != 0) {
    out = kNull;
    return;
  }
  const std::string_view text(PQgetvalue(row_.get(), 0, column),
                              static_cast<std::size_t>(PQgetlength(row_.get(), 0, column)));
  read_value(text, type, given_type(PQftype(row_.get(), column)), out);
}

void PostgresCursor::read_row(std::vector<Variant>& row) const {
  const std::vector<Column>& columns = layout()->columns();
  row.resize(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) value_at(static_cast<int>(i), columns[i].type, row[i]);
}

RowIdentity PostgresCursor::read_identity() const {
  RowIdentity identity;
  const int first = static_cast<int>(layout()->size());
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

void PostgresCursor::leave_session() noexcept {
  if (!session_) return;
  session_->streaming_ = nullptr;
  session_ = nullptr;
}

// A few rows are read to their end; of more the server is told to stop, where that undoes nothing.
void PostgresCursor::let_go() noexcept {
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
