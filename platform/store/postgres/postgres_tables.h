// SPDX-License-Identifier: Apache-2.0
// The tables of a store as the server's catalogue describes them. One thread at a time; the
// connection must be between two batches.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/store/known_tables.h"
#include "platform/store/postgres/server_connection.h"

namespace mercato::store::postgres {

class Tables final : public KnownTables {
 public:
  explicit Tables(Connection& connection) : connection_(connection) {}

  // Asks the server each time.
  bool has_index(std::string_view table, std::string_view name) const;
  // Whether a session of the library defined or dropped something since the last time; what is known is forgotten then.
  bool refresh();

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const override;

  Connection& connection_;
  bool is_prepared_ = false;  // the store has the objects of functions.sql
  std::string definitions_;   // how many there were
};

// All rows of a query, outside of a statement of the library.
ResultHandle rows_of(Connection& connection, const char* text, const SentValues& values = {});

}  // namespace mercato::store::postgres
