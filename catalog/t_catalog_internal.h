// SPDX-License-Identifier: Apache-2.0
// What several files of TCatalog share. One thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "frame/contracts.h"
#include "mercato/recordset.h"

namespace mercato {

// The reading half, which the writing half asks as a component of its own in the same transaction.
class ReadingHalf : public ComponentContract {
 public:
  ReadingHalf() : ComponentContract("Mercato.Catalog") {}
  std::string GetUserCatalogIDs(const std::string& user) { return call("GetUserCatalogIDs", {user}).to_text(); }
  std::int16_t GetTopAuthorizedLevel(std::int32_t catalog, const std::string& user) {
    return call("GetTopAuthorizedLevel", {catalog, user}).to_short();
  }
  DictionaryPtr GetUserTopLevelCatalogNodes(const std::string& user, std::int32_t catalog) {
    return call("GetUserTopLevelCatalogNodes", {user, catalog}).to<Dictionary>();
  }
  std::string GetCatalogNodeHierarchy(const Variant& node) { return call("GetCatalogNodeHierarchy", {node}).to_text(); }
  bool IsOrderCatalogNodeEx(const Variant& user, const Variant& node) {
    return call("IsOrderCatalogNodeEx", {user, node}).to_boolean();
  }
};

// An updatable recordset whose changes wait in memory for UpdateBatch.
inline RecordsetPtr open_batch(const Sql& sql, const ConnectionPtr& connection) {
  auto rows = Recordset::create();
  rows->Open(sql, connection, CursorType::keyset, LockType::batch_optimistic, -1);
  return rows;
}

}  // namespace mercato
