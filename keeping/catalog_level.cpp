// SPDX-License-Identifier: Apache-2.0
#include "keeping/catalog_level.h"

#include <map>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"

namespace mercato::keeping {
namespace {

using User = std::optional<std::string>;

std::optional<std::int32_t> number_in(const Recordset& row, const char* column) {
  const Variant& value = row.Value(column);
  return value.is_null() ? std::nullopt : std::optional(value.to_long());
}

template <class Take>
void for_each_row(const ConnectionPtr& connection, const Sql& sql, Take take) {
  const RecordsetPtr rows = open_read_only(sql, connection);
  for (; !rows->Eof(); rows->MoveNext()) take(*rows);
  rows->Close();
}

bool has_row(const ConnectionPtr& connection, const Sql& sql) {
  bool found = false;
  for_each_row(connection, sql, [&](const Recordset&) { found = true; });
  return found;
}

Sql of_user(const std::string& user) { return Sql("USERID = N'") << value(Gen_QuoteSql(user)) << "'"; }

bool has_whole(const ConnectionPtr& connection, const std::string& user, std::int32_t catalog) {
  return has_row(connection, Sql("SELECT TOP 1 CATALOGID FROM CATALOGNODEBYUSER WHERE CATALOGID = ")
                                 << catalog << " AND NODEID IS NULL AND ISPROFILE = 0 AND " << of_user(user));
}

}  // namespace

std::vector<CatalogEntry> catalogs(const User& seen_by) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  std::vector<CatalogEntry> found;
  for_each_row(
      connection,
      LiteralPiece(
          "SELECT CATALOGID, CATALOGNAME, CATALOGDESCRIPTION, ACTIVE FROM CATALOG ORDER BY CATALOGNAME, CATALOGID"),
      [&](const Recordset& row) {
        const Variant& active = row.Value("ACTIVE");
        found.push_back({row.Value("CATALOGID").to_long(), row.Value("CATALOGNAME").text_or_empty(),
                         row.Value("CATALOGDESCRIPTION").text_or_empty(), !active.is_null() && active.to_long() == 1});
      });
  if (!seen_by) return found;
  std::erase_if(found, [&](const CatalogEntry& catalog) {
    if (!catalog.active) return true;
    if (has_whole(connection, *seen_by, catalog.id)) return false;
    return !has_row(connection, Sql("SELECT TOP 1 N.NODEID FROM CATALOGNODE N INNER JOIN USERNODE U ON U.NODEID = "
                                    "N.NODEID WHERE N.CATALOGID = ")
                                    << catalog.id << " AND U." << of_user(*seen_by));
  });
  return found;
}

std::optional<std::vector<LevelNode>> catalog_level(std::int32_t catalog, std::optional<std::int32_t> parent,
                                                    const User& seen_by) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  Sql of_catalog = Sql("SELECT CATALOGID FROM CATALOG WHERE CATALOGID = ") << catalog;
  if (seen_by) of_catalog << " AND ACTIVE = 1";
  if (!has_row(connection, of_catalog)) return std::nullopt;
  const bool by_rows = seen_by && !has_whole(connection, *seen_by, catalog);  // of USERNODE
  if (parent) {
    Sql of_parent = Sql("SELECT N.NODEID FROM CATALOGNODE N");
    if (by_rows) of_parent << " INNER JOIN USERNODE U ON U.NODEID = N.NODEID AND U." << of_user(*seen_by);
    if (!has_row(connection, of_parent << " WHERE N.NODEID = " << *parent << " AND N.CATALOGID = " << catalog))
      return std::nullopt;
  }

  Sql level(
      "SELECT DISTINCT N.NODEID, N.PARENTNODEID, N.NODENAME, N.NODETYPE, N.CATEGORYID, N.SEQUENCE FROM "
      "CATALOGNODE N");
  if (by_rows) {
    level << " INNER JOIN USERNODE U ON U.NODEID = N.NODEID AND U." << of_user(*seen_by);
    if (!parent) level << " LEFT JOIN USERNODE P ON P.NODEID = N.PARENTNODEID AND P." << of_user(*seen_by);
  }
  level << " WHERE N.CATALOGID = " << catalog;
  if (parent)
    level << " AND N.PARENTNODEID = " << *parent;
  else if (by_rows)
    level << " AND P.NODEID IS NULL";
  else
    level << " AND N.PARENTNODEID IS NULL";
  std::vector<LevelNode> nodes;
  for_each_row(connection, level << " ORDER BY N.SEQUENCE, N.NODEID", [&](const Recordset& row) {
    nodes.push_back({row.Value("NODEID").to_long(), number_in(row, "PARENTNODEID"),
                     row.Value("NODENAME").text_or_empty(), number_in(row, "NODETYPE").value_or(0),
                     number_in(row, "CATEGORYID"), 0});
  });
  // A user without any node of the catalogue is told what one that is not there is told.
  if (by_rows && !parent && nodes.empty()) return std::nullopt;

  Sql counts("SELECT C.PARENTNODEID, COUNT(DISTINCT C.NODEID) AS CHILDREN FROM CATALOGNODE C");
  if (by_rows) counts << " INNER JOIN USERNODE U ON U.NODEID = C.NODEID AND U." << of_user(*seen_by);
  if (parent) counts << " INNER JOIN CATALOGNODE N ON N.NODEID = C.PARENTNODEID AND N.PARENTNODEID = " << *parent;
  std::map<std::int32_t, std::int32_t> children;
  for_each_row(
      connection,
      counts << " WHERE C.CATALOGID = " << catalog << " AND C.PARENTNODEID IS NOT NULL GROUP BY C.PARENTNODEID",
      [&](const Recordset& row) { children[row.Value("PARENTNODEID").to_long()] = row.Value("CHILDREN").to_long(); });
  for (LevelNode& node : nodes)
    if (const auto found = children.find(node.id); found != children.end()) node.children = found->second;
  return nodes;
}

bool sees_node(const std::string& user, std::int32_t node) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  std::optional<std::int32_t> catalog;
  for_each_row(connection,
               Sql("SELECT C.CATALOGID FROM CATALOGNODE N INNER JOIN CATALOG C ON C.CATALOGID = N.CATALOGID WHERE "
                   "C.ACTIVE = 1 AND N.NODEID = ")
                   << node,
               [&](const Recordset& row) { catalog = row.Value("CATALOGID").to_long(); });
  if (!catalog) return false;
  return has_whole(connection, user, *catalog) ||
         has_row(connection, Sql("SELECT TOP 1 NODEID FROM USERNODE WHERE NODEID = ")
                                 << node << " AND " << of_user(user));
}

}  // namespace mercato::keeping
