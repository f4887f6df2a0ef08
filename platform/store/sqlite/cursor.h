// SPDX-License-Identifier: Apache-2.0
// A running query of a session. Its session can take the rest of the rows into memory, or end it.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/store/driver.h"
#include "platform/store/sqlite/running_statement.h"

namespace mercato::store::sqlite {

class SqliteSession;

class SqliteCursor final : public Cursor {
 public:
  // Takes the first step, so that what is wrong with the statement fails now.
  SqliteCursor(SqliteSession& session, RunningStatement statement);
  ~SqliteCursor() override;

  const RowLayoutPtr& layout() const override { return layout_; }
  void read(std::vector<Variant>& row) override;
  RowIdentity identity() override;

  // For the session.
  // Whether the engine translated the statement anew when it began to run.
  bool was_reprepared() const { return reprepared_; }
  // Reads what is left, the current row included, and lets go of the engine.
  void drain();
  // Lets go of the engine and of the session.
  void detach() noexcept;

 private:
  struct KeptRow {
    std::vector<Variant> values;
    RowIdentity identity;
  };

  bool advance() override;
  bool step();
  void read_row(std::vector<Variant>& row) const;
  RowIdentity read_identity() const;
  void leave_session() noexcept;

  SqliteSession* session_;  // null once the engine is let go of
  RowLayoutPtr layout_;
  bool identified_;
  std::optional<RunningStatement> running_;  // the only hold on the engine, so that a session can close
  bool row_ahead_ = false;                   // the engine stands on a row that `next` has not delivered yet
  bool reprepared_ = false;
  bool detached_ = false;
  std::vector<KeptRow> kept_;
  std::size_t kept_at_ = 0;  // one past the current row
};

}  // namespace mercato::store::sqlite
