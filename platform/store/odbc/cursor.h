// SPDX-License-Identifier: Apache-2.0
// The rows of a query, one by one as the driver gives them, and in memory from when the session needs its connection for
// something else: a connection answers one statement at a time. One thread at a time.
#pragma once

#include <vector>

#include "platform/store/draining_cursor.h"
#include "platform/store/odbc/engine.h"

namespace mercato::store::odbc {

class OdbcSession;

class OdbcCursor final : public DrainingCursor {
 public:
  // One without rows.
  OdbcCursor(RowLayoutPtr layout, const Command& command);
  // Its statement has been executed; reads the first row ahead.
  OdbcCursor(OdbcSession& session, RowLayoutPtr layout, const Command& command);
  ~OdbcCursor() override;
  OdbcCursor(const OdbcCursor&) = delete;
  OdbcCursor& operator=(const OdbcCursor&) = delete;

 private:
  bool runs() const noexcept override { return session_ != nullptr; }
  bool step() override;
  void let_go() noexcept override;
  void read_row(std::vector<Variant>& row) const override { row = values_; }
  RowIdentity read_identity() const override { return identity_; }
  void leave_session() noexcept;

  OdbcSession* session_ = nullptr;  // while the connection stands at its rows
  bool identified_;
  IdentityColumns identity_columns_;
  // The current row: a driver gives each value once.
  std::vector<Variant> values_;
  RowIdentity identity_;
};

}  // namespace mercato::store::odbc
