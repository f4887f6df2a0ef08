// SPDX-License-Identifier: Apache-2.0
// The rows of a query, one by one as the server sends them, and in memory from when the session needs its connection for
// something else. One thread at a time.
#pragma once

#include <memory>
#include <vector>

#include "platform/store/driver.h"
#include "platform/store/postgres/postgres_printer.h"
#include "platform/store/postgres/server_connection.h"

namespace mercato::store::postgres {

class PostgresSession;
struct CachedStatement;

class PostgresCursor final : public Cursor {
 public:
  // One without rows.
  explicit PostgresCursor(std::shared_ptr<CachedStatement> statement);
  // Its statement has been sent; reads the first row ahead. Raises what the statement raises.
  PostgresCursor(PostgresSession& session, std::shared_ptr<CachedStatement> statement);
  ~PostgresCursor() override;
  PostgresCursor(const PostgresCursor&) = delete;
  PostgresCursor& operator=(const PostgresCursor&) = delete;

  const RowLayoutPtr& layout() const override { return layout_; }
  void read(std::vector<Variant>& row) override;
  RowIdentity identity() override;

  // Takes the rest into memory; the session is free after it.
  void drain();
  // Ends it: the next move raises kObjectClosed. What the server still sends is passed over.
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
  void value_at(int column, ColumnType type, Variant& out) const;
  void leave_session() noexcept;
  void abandon() noexcept;

  PostgresSession* session_;  // while the server still has rows for it
  std::shared_ptr<CachedStatement> statement_;
  RowLayoutPtr layout_;
  ResultHandle row_;  // the current one, or the one ahead
  bool row_ahead_ = false;
  bool detached_ = false;
  std::vector<KeptRow> kept_;
  std::size_t kept_at_ = 0;
};

}  // namespace mercato::store::postgres
