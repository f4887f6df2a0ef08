// SPDX-License-Identifier: Apache-2.0
// The rows of a query, one by one as the server sends them, and in memory from when the session needs its connection for
// something else. One thread at a time.
#pragma once

#include <memory>
#include <vector>

#include "platform/store/draining_cursor.h"
#include "platform/store/postgres/server_connection.h"
#include "platform/store/postgres_dialect/postgres_printer.h"

namespace mercato::store::postgres {

class PostgresSession;
struct CachedStatement;

class PostgresCursor final : public DrainingCursor {
 public:
  // One without rows.
  explicit PostgresCursor(std::shared_ptr<CachedStatement> statement);
  // Its statement has been sent; reads the first row ahead. Raises what the statement raises.
  PostgresCursor(PostgresSession& session, std::shared_ptr<CachedStatement> statement);
  ~PostgresCursor() override;
  PostgresCursor(const PostgresCursor&) = delete;
  PostgresCursor& operator=(const PostgresCursor&) = delete;

 private:
  bool runs() const noexcept override { return session_ != nullptr; }
  bool step() override;
  // What the server still sends is passed over.
  void let_go() noexcept override;
  void read_row(std::vector<Variant>& row) const override;
  RowIdentity read_identity() const override;
  void value_at(int column, ColumnType type, Variant& out) const;
  void leave_session() noexcept;

  PostgresSession* session_ = nullptr;  // while the server still has rows for it
  std::shared_ptr<CachedStatement> statement_;
  ResultHandle row_;  // the one that was read last
};

}  // namespace mercato::store::postgres
