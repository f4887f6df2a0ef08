// SPDX-License-Identifier: Apache-2.0
// What users take along from a catalogue to its successor: the two calls, and the plans of what they would do.
#include "catalog/migration.h"

#include <optional>

#include "catalog/catalog_internal.h"
#include "catalog/node_rights.h"
#include "catalog/t_catalog_internal.h"
#include "frame/lib_general.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "mercato/t_catalog.h"
#include "values/text.h"

namespace mercato {
namespace {

RecordsetPtr read_committed(const Sql& sql) {
  return Sql_GetDisconnectedRecordset(sql, shared_connection_string(), true);
}

bool has_rows(const Sql& sql) { return !read_committed(sql)->Eof(); }

// Rights

Sql on_whole_catalog(std::int32_t catalog) {
  return Sql(" WHERE CATALOGID = ") << catalog << " AND NODEID IS NULL AND PARENTNODEID IS NULL";
}

// The catalogue's nodes on which somebody has a right.
Sql nodes_with_rights(std::int32_t catalog) {
  return Sql("SELECT DISTINCT CN.NODEID, CN.NODENAME FROM CATALOGNODE CN "
             " INNER JOIN CATALOGNODEBYUSER CU ON CU.NODEID = CN.NODEID "
             " WHERE CN.CATALOGID = ")
         << catalog;
}

// The nodes of this name, of which only the first is looked at.
Sql twins_of(const Variant& node_name, std::int32_t catalog) {
  return Sql(" SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  NODENAME = '")
         << value(Gen_QuoteSql(node_name.to_text())) << "' AND CATALOGID = " << catalog;
}

// Whether two nodes have the same names all the way up, in any case.
bool are_equal_paths(const std::string& path, const std::string& other) {
  return text::to_upper(path) == text::to_upper(other);
}

bool have_equal_paths(ReadingHalf& catalogs, const Variant& node, const Variant& other) {
  const std::string path = catalogs.GetCatalogNodeHierarchy(node);
  return are_equal_paths(path, catalogs.GetCatalogNodeHierarchy(other));
}

Sql deletion_of_rights(std::int32_t catalog, std::int32_t node) {
  return Sql(" DELETE FROM CATALOGNODEBYUSER   WHERE CATALOGID = ") << catalog << " AND NODEID = " << node;
}

Sql move_of_rights(std::int32_t catalog, std::int32_t node, std::int32_t new_catalog, const Recordset& twin) {
  Sql sql(" UPDATE CATALOGNODEBYUSER SET  CATALOGID = ");
  sql << new_catalog << " , NODEID = " << twin.Value("NODEID").to_long();
  if (const Variant& parent = twin.Value("PARENTNODEID"); parent.is_null())
    sql << " , PARENTNODEID = NULL ";
  else
    sql << " , PARENTNODEID = " << parent.to_long();
  return sql << " WHERE CATALOGID = " << catalog << " AND NODEID = " << node;
}

// Favourites

// The favourites (F) of products (P) that the catalogue shows on its nodes of type 1.
Sql favorites_in(std::int32_t catalog) {
  return Sql(" FROM  FAVORITES F, PRODUCT P "
             " INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
             " INNER JOIN CATALOGNODE N ON N.CATALOGID = ")
         << catalog
         << " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1 "
            " WHERE P.PRODUCTID = F.PRODUCTID";
}

// By user, in the order in which the call moves them.
Sql marked_in(std::int32_t catalog) {
  return Sql(" SELECT distinct P.PRODUCTID, P.PARTNUMBER, F.USERID") << favorites_in(catalog) << " ORDER BY F.USERID";
}

// The products of the new catalogue with the part numbers of these favourites. Nodes of every type count there.
Sql offers_of(std::int32_t catalog, std::int32_t new_catalog) {
  return Sql(" SELECT P.PRODUCTID, P.PARTNUMBER, N.NODEID FROM  CATALOGNODE N ,PRODUCT P "
             " INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
             " Where N.CATEGORYID = C.CATEGORYID And N.CatalogID = ")
         << new_catalog
         << " AND P.PARTNUMBER IN "
            "(SELECT distinct P1.PARTNUMBER FROM  FAVORITES F1, PRODUCT P1  "
            " INNER JOIN PRODUCTSBYCATEGORY C1 ON P1.PRODUCTID = C1.PRODUCTID "
            " INNER JOIN CATALOGNODE N1 ON N1.CATALOGID = "
         << catalog
         << " AND N1.CATEGORYID = C1.CATEGORYID AND "
            " N1.NODETYPE = 1  WHERE P1.PRODUCTID = F1.PRODUCTID )";
}

Offers offers_in(Recordset& rows) {
  Offers offers;
  for (; !rows.Eof(); rows.MoveNext())
    offers[rows.Value("PARTNUMBER").to_text()].push_back({rows.Value("PRODUCTID"), rows.Value("NODEID")});
  return offers;
}

// The first offer of the part from whose node the user may order; null when there is none.
template <class MayOrder>
const Offer* orderable_offer(const Offers& offers, const std::string& part_number, MayOrder may_order) {
  const auto same_part = offers.find(part_number);
  if (same_part == offers.end()) return nullptr;
  for (const Offer& offer : same_part->second)
    if (may_order(offer.node)) return &offer;
  return nullptr;
}

Sql of_user(const std::string& user) { return Sql(" AND USERID = '") << value(Gen_QuoteSql(user)) << "'"; }

void move_favorites(Recordset& marked, const Offers& offers, Connection& connection) {
  ReadingHalf catalogs;
  for (; !marked.Eof(); marked.MoveNext()) {
    const std::int32_t product = marked.Value("PRODUCTID").to_long();
    const Variant& user = marked.Value("USERID");
    const Offer* const offer = orderable_offer(offers, marked.Value("PARTNUMBER").to_text(), [&](const Variant& node) {
      return catalogs.IsOrderCatalogNodeEx(user, node);
    });
    if (offer)
      connection.Execute(Sql("UPDATE FAVORITES SET PRODUCTID = ")
                         << offer->product.to_long() << " WHERE PRODUCTID = " << product << of_user(user.to_text()));
    else if (!offers.empty())
      connection.Execute(Sql("DELETE FROM FAVORITES WHERE PRODUCTID = ") << product << of_user(user.to_text()));
    else  // when the new catalogue has none of the parts, the favourites of all users go
      connection.Execute(Sql("DELETE FROM FAVORITES WHERE PRODUCTID = ") << product);
  }
}

}  // namespace

bool TCatalog::ChangeAuthorizationsForUser(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID, bool bDelete) {
  ConnectionPtr connection;
  const auto execute = [&](const Sql& sql) {
    if (!connection) connection = GetConnection();
    connection->Execute(sql);
  };
  return method(
      [&] {
        if (has_rows(Sql("SELECT CATALOGID FROM CATALOGNODEBYUSER WHERE CATALOGID = ") << lNewCatalogID)) {
          if (!bDelete) return false;  // without a vote
          execute(Sql("DELETE FROM CATALOGNODEBYUSER WHERE CATALOGID = ") << lNewCatalogID);
        }
        if (has_rows(Sql("SELECT CATALOGID FROM CATALOGNODEBYUSER") << on_whole_catalog(lCurrentCatalogID)))
          execute(Sql("UPDATE CATALOGNODEBYUSER SET CATALOGID = ")
                  << lNewCatalogID << on_whole_catalog(lCurrentCatalogID));
        const RecordsetPtr nodes = read_committed(nodes_with_rights(lCurrentCatalogID));
        ReadingHalf catalogs;
        if (!nodes->Eof()) catalogs.create();
        for (; !nodes->Eof(); nodes->MoveNext()) {
          const std::int32_t node = nodes->Value("NODEID").to_long();
          const RecordsetPtr twin = read_committed(twins_of(nodes->Value("NODENAME"), lNewCatalogID));
          if (twin->Eof()) {
            execute(deletion_of_rights(lCurrentCatalogID, node));
            continue;
          }
          // A first node of the name at another path is compared again and again until the call's time is up. Callers
          // see to it that none stands there.
          while (!have_equal_paths(catalogs, node, twin->Value("NODEID"))) continue;
          execute(move_of_rights(lCurrentCatalogID, node, lNewCatalogID, *twin));
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ChangeAuthorizationsForUser", closing_and_aborting(connection)});
}

bool TCatalog::ChangeFavorites(std::int32_t& lCurrentCatalogID, std::int32_t& lNewCatalogID) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = GetConnection();
        const RecordsetPtr marked = read_committed(marked_in(lCurrentCatalogID));
        if (!marked->Eof())
          move_favorites(*marked, offers_in(*read_committed(offers_of(lCurrentCatalogID, lNewCatalogID))), *connection);
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ChangeFavorites", closing_and_aborting(connection)});
}

std::vector<RightsMove> plan_rights(NodeTree& tree, std::int32_t from, std::int32_t to) {
  std::vector<RightsMove> moves;
  for (const RecordsetPtr nodes = held_rows(nodes_with_rights(from)); !nodes->Eof(); nodes->MoveNext()) {
    RightsMove& move = moves.emplace_back();
    move.node = nodes->Value("NODEID").to_long();
    const RecordsetPtr twin = held_rows(twins_of(nodes->Value("NODENAME"), to));
    if (twin->Eof()) {
      move.lost = count_of(Sql("SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE CATALOGID = ")
                           << from << " AND NODEID = " << move.node);
      continue;
    }
    move.twin_node = twin->Value("NODEID").to_long();
    const auto has_path = [&](std::int32_t node) { return tree.way_up(node).end == WayUp::End::root; };
    move.twin = !has_path(move.node) || !has_path(move.twin_node)                  ? RightsMove::Twin::no_path
                : are_equal_paths(tree.path(move.node), tree.path(move.twin_node)) ? RightsMove::Twin::same_path
                                                                                   : RightsMove::Twin::other_path;
  }
  return moves;
}

std::size_t count_rights(std::int32_t catalog) {
  return count_of(Sql("SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE CATALOGID = ") << catalog);
}

std::vector<MarkedProduct> marked_products(std::int32_t catalog) {
  std::vector<MarkedProduct> products;
  const RecordsetPtr rows = held_rows(marked_in(catalog) << ", P.PRODUCTID");
  for (; !rows->Eof(); rows->MoveNext())
    products.push_back({rows->Value("USERID").text_or_empty(), rows->Value("PRODUCTID").to_long(),
                        rows->Value("PARTNUMBER").text_or_empty()});
  return products;
}

std::size_t count_marks(const MarkedProduct& marked) {
  return count_of(Sql("SELECT COUNT(*) AS N FROM FAVORITES WHERE PRODUCTID = ")
                  << marked.product << of_user(marked.user));
}

std::size_t count_favorites(std::int32_t catalog) {
  return count_of(Sql("SELECT COUNT(*) AS N FROM FAVORITES WHERE PRODUCTID IN (SELECT P.PRODUCTID")
                  << favorites_in(catalog) << ")");
}

std::size_t count_all_favorites() { return count_of(LiteralPiece("SELECT COUNT(*) AS N FROM FAVORITES")); }

Offers offers_for(std::int32_t from, std::int32_t to) { return offers_in(*held_rows(offers_of(from, to))); }

FavoriteFate fate_of(const MarkedProduct& marked, const Offers& offers, NodeTree& tree) {
  using Kind = FavoriteFate::Kind;
  if (!offers.contains(marked.part_number)) return {Kind::no_such_part};
  bool may_view = false;
  std::optional<std::int32_t> below_circle;
  const Offer* const offer = orderable_offer(offers, marked.part_number, [&](const Variant& node_id) {
    const std::int32_t node = node_id.to_long();
    if (tree.way_up(node).end == WayUp::End::circle) {
      below_circle = node;
      return true;  // no further offer is asked about
    }
    const RightsTrace rights = trace_rights(marked.user, node);
    may_view |= rights.is_view_only();
    return rights.may_order();
  });
  if (below_circle) return {Kind::endless, *below_circle};
  if (offer) return {Kind::moved};
  return {may_view ? Kind::view_only : Kind::no_right};
}

}  // namespace mercato
