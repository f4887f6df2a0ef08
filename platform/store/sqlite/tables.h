// SPDX-License-Identifier: Apache-2.0
// The tables of a store as its own catalogue describes them, read when first asked for. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/store/dialect/dialect.h"
#include "platform/store/sqlite/database.h"

namespace mercato::store::sqlite {

class Tables final : public dialect::TableDirectory {
 public:
  explicit Tables(Database& database) : database_(database) {}

  // Valid until `forget`.
  const TableInfo* find(std::string_view name) const override;
  // The same when it was asked for before, else null; the engine is left alone.
  const TableInfo* known(std::string_view name) const;
  // Asks the engine each time.
  bool has_index(std::string_view table, std::string_view name) const;
  // Whether anybody defined or dropped something since the last time; what is known is forgotten then.
  bool refresh();
  void forget() { known_.clear(); }

 private:
  std::unique_ptr<TableInfo> load(std::string_view name) const;

  Database& database_;
  mutable std::unordered_map<std::string, std::unique_ptr<TableInfo>> known_;  // by upper-cased name
  StatementHandle schema_version_;
  std::int64_t version_ = -1;
};

}  // namespace mercato::store::sqlite
