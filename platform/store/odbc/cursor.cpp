// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/cursor.h"

#include <utility>

#include "platform/store/odbc/session.h"

namespace mercato::store::odbc {

OdbcCursor::OdbcCursor(RowLayoutPtr layout, const Command& command)
    : DrainingCursor(std::move(layout), command.identified, kFailureSource),
      identified_(command.identified),
      identity_columns_(command.identity) {}

OdbcCursor::OdbcCursor(OdbcSession& session, RowLayoutPtr layout, const Command& command)
    : OdbcCursor(std::move(layout), command) {
  session_ = &session;
  session.streaming_ = this;
  step_ahead();
}

OdbcCursor::~OdbcCursor() { let_go(); }

bool OdbcCursor::step() {
  OdbcSession& session = *session_;
  Connection& connection = session.connection_;
  try {
    if (!connection.fetch()) {
      // What failed behind the last row.
      while (connection.next_answer()) {
      }
      connection.close();
      leave_session();
      return false;
    }
    const std::vector<Column>& columns = layout()->columns();
    values_.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) connection.read(i, columns[i].type, values_[i]);
    if (!identified_) return true;
    std::size_t behind = columns.size();
    if (identity_columns_.is_number) {
      Variant number;
      connection.read(behind, ColumnType::long_integer, number);
      identity_.number = static_cast<std::int64_t>(number.to_double());
      return true;
    }
    identity_.key.resize(identity_columns_.types.size());
    for (std::size_t i = 0; i < identity_.key.size(); ++i)
      connection.read(behind++, identity_columns_.types[i], identity_.key[i]);
    return true;
  } catch (const Raised& failed) {
    leave_session();
    close_rows();
    session.take_back(failed);
    throw;
  }
}

void OdbcCursor::leave_session() noexcept {
  if (!session_) return;
  session_->streaming_ = nullptr;
  session_ = nullptr;
}

void OdbcCursor::let_go() noexcept {
  if (!session_) return;
  session_->connection_.cancel();
  leave_session();
}

}  // namespace mercato::store::odbc
