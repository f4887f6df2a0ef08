// SPDX-License-Identifier: Apache-2.0
#include "keeping/rights_keeping.h"

#include <algorithm>

#include "catalog/node_tree.h"
#include "frame/lib_general.h"
#include "keeping/store_calls.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

Sql of_entry(const RightsHolder& holder, const CatalogPlace& place) {
  Sql sql = Sql(" WHERE USERID = N'") << value(Gen_QuoteSql(holder.id)) << "' AND CATALOGID = " << place.catalog.id
                                      << " AND ISPROFILE = ";
  holder.is_profile ? sql << "1" : sql << "0";
  sql << " AND NODEID";
  return place.node ? sql << " = " << *place.node : sql << " IS NULL";
}

// A flag of 16 bits as it stands in a statement.
Sql flag(bool is_set) { return is_set ? Sql("1") : Sql("0"); }

struct NodeInTree {
  std::int32_t level = 0;
  std::optional<std::int32_t> parent;
};

NodeInTree where_it_stands(const CatalogPlace& place) {
  if (!place.node) return {};
  NodeTree tree;
  const WayUp way = tree.way_up(*place.node);
  const auto is_of_catalog = [&](const CatalogNode* node) { return node->catalog == place.catalog.id; };
  if (way.end != WayUp::End::root || !std::ranges::all_of(way.nodes, is_of_catalog))
    raise(error_number::kInvalidArgument, {},
          "The way up from node " + std::to_string(*place.node) + " does not end at a root of catalogue " +
              std::to_string(place.catalog.id) + ", so no right on it could be laid out");
  return {static_cast<std::int32_t>(way.nodes.size()), way.nodes.front()->parent};
}

}  // namespace

Granted grant(const RightsHolder& holder, const CatalogPlace& place, bool view_only) {
  const NodeInTree stands = where_it_stands(place);
  const std::vector<DictionaryPtr> present =
      rows_of(Sql("SELECT VIEWONLY FROM CATALOGNODEBYUSER") << of_entry(holder, place));
  if (!present.empty()) {
    const bool same = std::ranges::all_of(present, [&](const DictionaryPtr& row) {
      const Variant& is = row->Item("VIEWONLY");
      return !is.is_null() && (is.to_long() != 0) == view_only;
    });
    if (same) return Granted::same;
    run_statement(Sql("UPDATE CATALOGNODEBYUSER SET VIEWONLY = ") << flag(view_only) << of_entry(holder, place));
    return Granted::changed;
  }
  Sql sql = Sql("INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, PARENTNODEID, LEVEL, VIEWONLY) "
                "VALUES (N'")
            << value(Gen_QuoteSql(text::trim(holder.id))) << "', " << flag(holder.is_profile) << ", "
            << place.catalog.id << ", ";
  const auto add_id = [&](const std::optional<std::int32_t>& id) { id ? sql << *id : sql << "NULL"; };
  add_id(place.node);
  sql << ", ";
  add_id(stands.parent);
  run_statement(sql << ", " << stands.level << ", " << flag(view_only) << ")");
  return Granted::added;
}

std::size_t revoke(const RightsHolder& holder, const CatalogPlace& place) {
  return static_cast<std::size_t>(run_statement(Sql("DELETE FROM CATALOGNODEBYUSER") << of_entry(holder, place)));
}

std::vector<std::string> users_with_rights(std::int32_t catalog) {
  std::vector<std::string> users;
  for (const DictionaryPtr& row :
       rows_of(Sql("SELECT DISTINCT USERID FROM CATALOGNODEBYUSER WHERE ISPROFILE = 0 AND USERID IS NOT NULL AND "
                   "CATALOGID = ")
               << catalog << " ORDER BY USERID"))
    users.push_back(row->Item("USERID").to_text());
  return users;
}

}  // namespace mercato::keeping
