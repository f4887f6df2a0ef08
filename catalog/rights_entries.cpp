// SPDX-License-Identifier: Apache-2.0
#include "catalog/rights_entries.h"

#include <algorithm>

#include "catalog/catalog_internal.h"
#include "frame/lib_general.h"

namespace mercato {
namespace {

Sql of_holder(const RightsHolder& holder) {
  Sql sql = Sql(" FROM CATALOGNODEBYUSER WHERE USERID = N'") << value(Gen_QuoteSql(holder.id)) << "' AND ISPROFILE = ";
  return holder.is_profile ? sql << "1" : sql << "0";
}

}  // namespace

RecordsetPtr entries_of(const RightsHolder& holder) {
  return held_rows(Sql("SELECT E.CATALOGID, C.CATALOGNAME, E.NODEID, E.LEVEL, E.VIEWONLY FROM (SELECT *")
                   << of_holder(holder)
                   << ") E LEFT JOIN CATALOG C ON C.CATALOGID = E.CATALOGID ORDER BY E.CATALOGID, E.LEVEL, E.NODEID");
}

std::size_t count_entries(const RightsHolder& holder) {
  return count_of(Sql("SELECT COUNT(*) AS N") << of_holder(holder));
}

WrongParents wrong_parents(NodeTree& tree, const std::string& user) {
  WrongParents wrong;
  const RecordsetPtr entries = held_rows(Sql("SELECT DISTINCT NODEID, CATALOGID")
                                         << of_holder({user, false}) << " AND NODEID IS NOT NULL ORDER BY NODEID");
  for (; !entries->Eof(); entries->MoveNext()) {
    WrongParents::Entry entry{entries->Value("NODEID").to_long(), std::nullopt};
    if (const Variant& catalog = entries->Value("CATALOGID"); !catalog.is_null()) entry.catalog = catalog.to_long();
    const WayUp way = tree.way_up(entry.node);
    const auto is_in_catalog = [&](const CatalogNode* above) {
      return above->catalog && above->catalog == entry.catalog;
    };
    if (way.end == WayUp::End::circle)
      wrong.below_circles.push_back(entry.node);
    else if (way.end != WayUp::End::root || !std::ranges::all_of(way.nodes, is_in_catalog))
      wrong.outside.push_back(entry);
  }
  return wrong;
}

LaidOutCounts count_laid_out_nodes(const std::string& user) {
  const RecordsetPtr counts =
      held_rows(Sql("SELECT COUNT(*) AS N, COUNT(DISTINCT NODEID) AS NODES FROM USERNODE WHERE USERID = N'")
                << value(Gen_QuoteSql(user)) << "'");
  return {static_cast<std::size_t>(counts->Value("N").to_long()),
          static_cast<std::size_t>(counts->Value("NODES").to_long())};
}

}  // namespace mercato
