// SPDX-License-Identifier: Apache-2.0
// The tables of a store as the server's catalogue describes them. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/store/known_tables.h"
#include "platform/store/postgres_dialect/postgres_server.h"

namespace mercato::store::postgres {

class Tables final : public KnownTables {
 public:
  explicit Tables(PostgresServer& server) : server_(server) {}

  // Asks the server each time.
  bool has_index(std::string_view table, std::string_view name) const;
  // Whether a session of the library defined or dropped something since the last time; what is known is forgotten then.
  bool refresh();

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const override;

  PostgresServer& server_;
  bool is_prepared_ = false;  // the store has the objects of functions.sql
  std::string definitions_;   // how many there were
};

}  // namespace mercato::store::postgres
