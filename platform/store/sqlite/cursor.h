// SPDX-License-Identifier: Apache-2.0
// A running query of a session. Its session can take the rest of the rows into memory, or end it.
#pragma once

#include <optional>
#include <vector>

#include "platform/store/draining_cursor.h"
#include "platform/store/sqlite/running_statement.h"

namespace mercato::store::sqlite {

class SqliteSession;

class SqliteCursor final : public DrainingCursor {
 public:
  // Takes the first step, so that what is wrong with the statement fails now.
  SqliteCursor(SqliteSession& session, RunningStatement statement);
  ~SqliteCursor() override;

  // For the session: whether the engine translated the statement anew when it began to run.
  bool was_reprepared() const { return reprepared_; }

 private:
  bool runs() const noexcept override { return running_.has_value(); }
  bool step() override;
  void let_go() noexcept override { leave_session(); }
  void read_row(std::vector<Variant>& row) const override;
  RowIdentity read_identity() const override;
  void leave_session() noexcept;

  SqliteSession* session_;                   // null once the engine is let go of
  std::optional<RunningStatement> running_;  // the only hold on the engine, so that a session can close
  bool reprepared_ = false;
};

}  // namespace mercato::store::sqlite
