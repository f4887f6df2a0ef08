// SPDX-License-Identifier: Apache-2.0
// The entries that a user has: their levels, the nodes where his view of a catalogue begins, and the nodes that were
// laid out for him. What he may do with one node is in node_rights.cpp.
#include "catalog/catalog_internal.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

Sql roots(std::int32_t catalog) {
  return Sql("SELECT NODEID, NODENAME FROM CATALOGNODE WHERE "
             "CATALOGID =")
         << catalog << " AND PARENTNODEID IS NULL ORDER BY NODEID";
}

// The user's entries of this level. The statement does not name the catalogue, so entries of all catalogues come along.
Sql entries_of_level(const std::string& user, std::int16_t level) {
  return Sql("SELECT CNU.NODEID as NODEID, CN.NODENAME AS NODENAME FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
             "CNU.USERID='")
         << value(user) << "' AND LEVEL=" << level
         << " AND CNU.NODEID = CN.NODEID AND CNU.ISPROFILE = 0 ORDER BY CN.SEQUENCE";
}

// The user's entries below his top level.
Sql deeper_entries(const std::string& user, std::int32_t catalog, std::int16_t top) {
  return Sql("SELECT NODEID FROM CATALOGNODEBYUSER WHERE "
             " CATALOGID =")
         << catalog << " AND USERID = '" << value(user) << "' "
         << " AND ISPROFILE = 0 "
            " AND LEVEL > "
         << top << " ";
}

// The way from an entry's node up to the root of its tree.
struct Path {
  Sql below_root;  // the ids of all nodes on the way but the root, with commas between them
  Variant root;
};

// Raises kNoCurrentRow when a node of the way is not in the catalogue. Only the call's time ends a circle.
Path path_in_catalog(std::int32_t catalog, const Variant& entry, Opened& opened) {
  Path path;
  Variant id = entry;
  while (true) {
    opened.rows = open_read_only(Sql("SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE "
                                     " CATALOGID =")
                                     << catalog << " AND NODEID = " << id.to_long() << " ",
                                 opened.connection);
    const Variant parent = opened.rows->Value("PARENTNODEID");
    path.root = opened.rows->Value("NODEID");
    if (parent.is_null()) return path;
    if (!path.below_root.text().empty()) path.below_root << ",";
    path.below_root << path.root.to_long();
    id = parent;
  }
}

// The highest of the user's entries on the way, with its name.
Sql highest_entry(const std::string& user, std::int32_t catalog, const Path& path) {
  return Sql("SELECT TOP 1 CNU.NODEID AS NODEID, CN.NODENAME AS NODENAME "
             " FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
             " CNU.CATALOGID =")
         << catalog << " AND CNU.NODEID IN (" << path.below_root << ") "
         << " AND CNU.USERID = '" << value(user) << "' "
         << " AND CNU.NODEID = CN.NODEID"
            " AND CNU.ISPROFILE = 0 "
            " ORDER BY CNU.LEVEL ";
}

std::int16_t read_level(const RecordsetPtr& aggregate) { return aggregate->Value(std::size_t{0}).to_short(); }

}  // namespace

DictionaryPtr Catalog::GetAllUserAuthorizedCatalogNodes(const std::string& i_sUserID, const Variant& i_aCatalogIDs) {
  return read_and_close(
      "Mercato.Catalog.GetAllUserAuthorizedCatalogNodes", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql(
            "SELECT UN.NODEID as NODEID, CN.NODENAME AS NODENAME FROM USERNODE UN,"
            " CATALOGNODE CN WHERE UN.USERID='");
        sql << value(i_sUserID) << "' ";
        if (!i_aCatalogIDs.is_missing())
          sql << " AND UN.CATALOGID IN (" << joined(i_aCatalogIDs.to_array().items) << ") ";
        sql << " AND UN.NODEID = CN.NODEID ORDER BY NODENAME";
        return sql;
      },
      names_by_id);
}

DictionaryPtr Catalog::GetUserCatalogNodesByLevel(const std::string& i_sUserID, std::int32_t i_lCatalogID,
                                                  std::int16_t i_iLevel) {
  Opened opened;
  return method(
      [&]() -> DictionaryPtr {
        if (i_iLevel < 0) return nullptr;
        if (i_iLevel == 0 && !IsEntireCatalogAuthorized(i_lCatalogID, i_sUserID)) return nullptr;
        opened.connection = GetConnection();
        opened.rows = open_read_only(i_iLevel > 0 ? entries_of_level(i_sUserID, i_iLevel) : roots(i_lCatalogID),
                                     opened.connection);
        DictionaryPtr nodes = names_by_id(opened.rows);
        opened.close();
        return nodes;
      },
      Tail{"Mercato.Catalog.GetUserCatalogNodesByLevel", closing(opened)});
}

DictionaryPtr Catalog::GetUserTopLevelCatalogNodes(const std::string& i_sUserID, std::int32_t i_lCatalogID) {
  Opened entries;
  Opened ancestors;
  Opened highest;
  const auto close = closing(entries, ancestors, highest);
  return method(
      [&] {
        for (Opened* opened : {&entries, &ancestors, &highest}) opened->connection = GetConnection();
        auto nodes = std::make_shared<Dictionary>();
        const std::int16_t top = GetTopAuthorizedLevel(i_lCatalogID, i_sUserID);
        if (top == 0) {
          entries.rows = open_read_only(roots(i_lCatalogID), entries.connection);
          nodes = names_by_id(entries.rows);
        } else if (top > 0) {
          nodes = GetUserCatalogNodesByLevel(i_sUserID, i_lCatalogID, top);
          entries.rows = open_read_only(deeper_entries(i_sUserID, i_lCatalogID, top), entries.connection);
          for (; !entries.rows->Eof(); entries.rows->MoveNext()) {
            const Path path = path_in_catalog(i_lCatalogID, entries.rows->Value("NODEID"), ancestors);
            if (nodes->Exists(path.root) || path.below_root.text().empty()) continue;
            highest.rows = open_read_only(highest_entry(i_sUserID, i_lCatalogID, path), highest.connection);
            const Variant& id = highest.rows->Value("NODEID");
            if (!nodes->Exists(id)) nodes->Add(id, highest.rows->Value("NODENAME"));
          }
        }
        close();
        return nodes;
      },
      Tail{"Mercato.Catalog.GetUserTopLevelCatalogNodes", close});
}

std::int16_t Catalog::GetTopAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.GetTopAuthorizedLevel", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT MIN(LEVEL) AS MINLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=")
               << i_lCatalogID << "AND USERID='" << value(i_sUserID) << "' AND ISPROFILE = 0";
      },
      read_level);
}

std::int16_t Catalog::GetBottomAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.GetBottomAuthorizedLevel", CursorType::forward_only, GetConnection,
      [&] {
        return Sql("SELECT MAX(LEVEL) AS MAXLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=")
               << i_lCatalogID << "AND USERID='" << value(i_sUserID) << "' AND ISPROFILE = 0";
      },
      read_level);
}

}  // namespace mercato
