// SPDX-License-Identifier: Apache-2.0
// The tables of a store as the catalogue of a T-SQL server describes them. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/store/known_tables.h"
#include "platform/store/odbc/odbc_connection.h"

namespace mercato::store::odbc {

class TsqlTables final : public KnownTables {
 public:
  explicit TsqlTables(Connection& connection) : connection_(connection) {}

  // Asks the server each time.
  bool has_index(std::string_view table, std::string_view name) const;

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const override;

  Connection& connection_;
};

// N'...'
std::string text_literal(std::string_view text);

}  // namespace mercato::store::odbc
