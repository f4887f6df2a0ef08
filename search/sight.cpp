// SPDX-License-Identifier: Apache-2.0
#include "search/sight.h"

#include <unordered_set>
#include <utility>

#include "frame/lib_general.h"
#include "search/id_list.h"

namespace mercato::search {
namespace {

std::set<std::int32_t> ids_of(const Sql& sql, const ConnectionPtr& connection) {
  std::set<std::int32_t> ids;
  const RecordsetPtr rows = open_read_only(sql, connection);
  for (; !rows->Eof(); rows->MoveNext())
    if (const Variant& id = rows->Value(0); !id.is_null()) ids.insert(id.to_long());
  rows->Close();
  return ids;
}

}  // namespace

Sight::Sight(ConnectionPtr connection, const ProductSearch& search)
    : connection_(std::move(connection)), search_(search) {}

std::vector<std::int32_t> Sight::shown(std::vector<std::int32_t> products) {
  if (!search_.user && !search_.catalog && !search_.category) return products;
  std::vector<std::pair<std::int32_t, std::int32_t>> links;
  for_each_row(
      connection_, products,
      [&](const Sql& ids) {
        Sql sql = Sql("SELECT PRODUCTID, CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID IN ") << ids;
        if (search_.category) sql << " AND CATEGORYID = " << *search_.category;
        return sql;
      },
      [&](const Recordset& row) { links.emplace_back(row.Value(0).to_long(), row.Value(1).to_long()); });

  Ids unknown;
  for (const auto& [product, category] : links)
    if (categories_.emplace(category, !search_.user && !search_.catalog).second) unknown.push_back(category);
  if (search_.user || search_.catalog) learn(std::move(unknown));

  std::unordered_set<std::int32_t> seen;
  for (const auto& [product, category] : links)
    if (categories_.at(category)) seen.insert(product);
  std::erase_if(products, [&](std::int32_t product) { return !seen.contains(product); });
  return products;
}

// A category may be shown when one of its nodes may.
void Sight::learn(Ids categories) {
  const auto for_each_node = [&](const Sql& of_catalogs, auto take) {
    for_each_row(
        connection_, categories,
        [&](const Sql& ids) {
          Sql sql = Sql("SELECT CATEGORYID, NODEID, CATALOGID FROM CATALOGNODE WHERE NODETYPE = 1 AND CATEGORYID IN ")
                    << ids << of_catalogs;
          if (search_.catalog) sql << " AND CATALOGID = " << *search_.catalog;
          return sql;
        },
        take);
  };
  const auto show = [&](const Recordset& node) { categories_[node.Value(0).to_long()] = true; };
  if (!search_.user) return for_each_node({}, show);

  if (!rights_) learn_rights();
  if (!rights_->whole_catalogs.empty()) {
    Sql whole(" AND CATALOGID IN (0");
    for (const std::int32_t catalog : rights_->whole_catalogs) whole << "," << catalog;
    for_each_node(whole << ")", show);
    std::erase_if(categories, [&](std::int32_t category) { return categories_.at(category); });
  }

  std::unordered_map<std::int32_t, std::int32_t> category_of;  // by node, of those that may be laid out
  Ids nodes;
  for_each_node({}, [&](const Recordset& node) {
    if (node.Value(2).is_null() || !rights_->active_catalogs.contains(node.Value(2).to_long())) return;
    nodes.push_back(node.Value(1).to_long());
    category_of[nodes.back()] = node.Value(0).to_long();
  });
  for_each_row(
      connection_, nodes,
      [&](const Sql& ids) {
        return Sql("SELECT NODEID FROM USERNODE WHERE USERID = N'")
               << value(Gen_QuoteSql(*search_.user)) << "' AND NODEID IN " << ids;
      },
      [&](const Recordset& row) { categories_[category_of.at(row.Value(0).to_long())] = true; });
}

void Sight::learn_rights() {
  rights_.emplace();
  rights_->active_catalogs = ids_of(Sql("SELECT CATALOGID FROM CATALOG WHERE ACTIVE = 1"), connection_);
  rights_->whole_catalogs =
      ids_of(Sql("SELECT DISTINCT CATALOGID FROM CATALOGNODEBYUSER WHERE USERID = N'")
                 << value(Gen_QuoteSql(*search_.user)) << "' AND NODEID IS NULL AND ISPROFILE = 0",
             connection_);
  std::erase_if(rights_->whole_catalogs,
                [&](std::int32_t catalog) { return !rights_->active_catalogs.contains(catalog); });
}

}  // namespace mercato::search
