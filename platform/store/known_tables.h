// SPDX-License-Identifier: Apache-2.0
// Descriptions of tables, read from a store's own catalogue when they are first asked for, and kept. A driver says how
// one is read, and forgets them when the tables may be others. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/store/dialect/dialect.h"

namespace mercato::store {

class KnownTables : public dialect::TableDirectory {
 public:
  // Valid until `forget`. Raises what reading raises.
  const TableInfo* find(std::string_view name) const override;
  // The same when it was asked for before, else null; the engine is left alone.
  const TableInfo* known(std::string_view name) const;
  void forget() { known_.clear(); }

 private:
  // By name in any case; null when there is none.
  virtual std::unique_ptr<TableInfo> load(std::string_view name) const = 0;

  mutable std::unordered_map<std::string, std::unique_ptr<TableInfo>> known_;  // by upper-cased name
};

}  // namespace mercato::store
