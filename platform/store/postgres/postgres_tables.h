// SPDX-License-Identifier: Apache-2.0
// The tables of a store as the server's catalogue describes them, read when first asked for. One thread at a time; the
// connection must be between two batches.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/store/dialect/dialect.h"
#include "platform/store/postgres/server_connection.h"

namespace mercato::store::postgres {

class Tables final : public dialect::TableDirectory {
 public:
  explicit Tables(Connection& connection) : connection_(connection) {}

  // Valid until `forget`.
  const TableInfo* find(std::string_view name) const override;
  // The same when it was asked for before, else null; the server is left alone.
  const TableInfo* known(std::string_view name) const;
  // Asks the server each time.
  bool has_index(std::string_view table, std::string_view name) const;
  // Whether a session of the library defined or dropped something since the last time; what is known is forgotten then.
  bool refresh();
  void forget() { known_.clear(); }

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const;

  Connection& connection_;
  mutable std::unordered_map<std::string, std::unique_ptr<TableInfo>> known_;  // by upper-cased name
  bool is_prepared_ = false;  // the store has the objects of functions.sql
  std::string definitions_;   // how many there were
};

// All rows of a query, outside of a statement of the library.
ResultHandle rows_of(Connection& connection, const char* text, const SentValues& values = {});

}  // namespace mercato::store::postgres
