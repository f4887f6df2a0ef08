// SPDX-License-Identifier: Apache-2.0
// The tables of a store as its own catalogue describes them. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/store/known_tables.h"
#include "platform/store/sqlite/database.h"

namespace mercato::store::sqlite {

class Tables final : public KnownTables {
 public:
  explicit Tables(Database& database) : database_(database) {}

  // Asks the engine each time.
  bool has_index(std::string_view table, std::string_view name) const;
  // Whether anybody defined or dropped something since the last time; what is known is forgotten then.
  bool refresh();

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const override;

  Database& database_;
  StatementHandle schema_version_;
  std::int64_t version_ = -1;
};

}  // namespace mercato::store::sqlite
