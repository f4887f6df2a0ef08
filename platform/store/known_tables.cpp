// SPDX-License-Identifier: Apache-2.0
#include "platform/store/known_tables.h"

#include <utility>

#include "values/text.h"

namespace mercato::store {

const TableInfo* KnownTables::find(std::string_view name) const {
  std::string key = text::to_upper(name);
  if (const auto known = known_.find(key); known != known_.end()) return known->second.get();
  std::unique_ptr<TableInfo> table = load(name);
  // What does not exist is not kept: the next statement may be the one after its creation.
  return table ? known_.emplace(std::move(key), std::move(table)).first->second.get() : nullptr;
}

const TableInfo* KnownTables::known(std::string_view name) const {
  const auto known = known_.find(text::to_upper(name));
  return known == known_.end() ? nullptr : known->second.get();
}

}  // namespace mercato::store
