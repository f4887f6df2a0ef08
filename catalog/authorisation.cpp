// Who may see and order what: questions about the user's entries, and the walks up the tree of nodes.
#include <optional>
#include <span>

#include "catalog/catalog.h"
#include "catalog/catalog_internal.h"
#include "frame/voted_method.h"

namespace mercato {
namespace {

Sql roots(std::int32_t catalog) {
  Sql sql;
  sql << "SELECT NODEID, NODENAME FROM CATALOGNODE WHERE "
         "CATALOGID ="
      << catalog << " AND PARENTNODEID IS NULL ORDER BY NODEID";
  return sql;
}

// Of all catalogues: none is asked for.
Sql entries_of_level(const std::string& user, std::int16_t level) {
  Sql sql;
  sql << "SELECT CNU.NODEID as NODEID, CN.NODENAME AS NODENAME FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
         "CNU.USERID='"
      << value(user) << "' AND LEVEL=" << level
      << " AND CNU.NODEID = CN.NODEID AND CNU.ISPROFILE = 0 ORDER BY CN.SEQUENCE";
  return sql;
}

// What an entry says.
enum class Right { none, order, view_only };

Sql entry_of_catalog(const std::string& user, std::int32_t catalog) {
  Sql sql;
  sql << "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" << value(user) << "' AND CATALOGID=" << catalog
      << " AND NODEID IS NULL AND ISPROFILE = 0";
  return sql;
}

Sql entry_of_node(const std::string& user, const Variant& node) {
  Sql sql;
  sql << "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" << value(user)
      << "' AND NODEID=" << value(node.to_text()) << " AND ISPROFILE = 0";
  return sql;
}

// Among several entries for one thing a restriction counts, in whatever order they come. Where none restricts, one with
// a Null raises 94.
Right right_of(const RecordsetPtr& entries) {
  Right right = Right::none;
  bool has_null = false;
  for (; !entries->Eof(); entries->MoveNext()) {
    const Variant& view_only = entries->Value("VIEWONLY");
    if (view_only.is_null())
      has_null = true;
    else if (view_only.to_boolean())
      return Right::view_only;
    else
      right = Right::order;
  }
  if (has_null) raise(error_number::kInvalidUseOfNull);
  return right;
}

// The rule, on the way from a node up to its root. A restriction wins from anywhere on that way, and nothing below
// lifts it. A grant counts on the node itself or on its catalogue: one on a node in between is none.
//
// Nothing for a node that is not there or has no catalogue. A parent that is not there ends the way as a root does;
// only the call's time ends a circle. `read` gives the rows of a statement, `on_catalog` what the catalogue's entry
// says; `end_of_parent` is the end that the caller's statement for a parent has.
template <class OnCatalog, class Read>
std::optional<Right> right_on_node(const std::string& user, std::int32_t node_id, OnCatalog on_catalog, Read read,
                                   LiteralPiece end_of_parent) {
  Sql first;
  first << "SELECT CATALOGID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " << node_id << " ";
  RecordsetPtr node = read(first);
  if (node->Eof() || node->Value("CATALOGID").is_null()) return std::nullopt;

  Right right = on_catalog(node->Value("CATALOGID").to_long());
  if (right == Right::view_only) return right;
  const Right own = right_of(read(entry_of_node(user, node_id)));
  if (own != Right::none) right = own;
  if (right == Right::view_only) return right;

  while (!node->Value("PARENTNODEID").is_null()) {
    const Variant parent = node->Value("PARENTNODEID");
    Sql sql;
    sql << "SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " << parent.to_long() << end_of_parent;
    node = read(sql);
    if (node->Eof()) break;
    if (right_of(read(entry_of_node(user, parent))) == Right::view_only) return Right::view_only;
  }
  return right;
}

// A node with its ancestors, the root left out, and the root.
struct Path {
  Sql below_root;
  Variant root;
};

// Raises kNoCurrentRow when one of them is not in the catalogue; only the call's time ends a circle.
Path path_in_catalog(std::int32_t catalog, const Variant& entry, Opened& opened) {
  Path path;
  Variant id = entry;
  while (true) {
    Sql sql;
    sql << "SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE "
           " CATALOGID ="
        << catalog << " AND NODEID = " << id.to_long() << " ";
    opened.rows = open_read_only(sql, opened.connection);
    const Variant parent = opened.rows->Value("PARENTNODEID");
    path.root = opened.rows->Value("NODEID");
    if (parent.is_null()) return path;
    if (!path.below_root.text().empty()) path.below_root << ",";
    path.below_root << path.root.to_long();
    id = parent;
  }
}

std::int16_t read_level(const RecordsetPtr& aggregate) { return aggregate->Value(std::size_t{0}).to_short(); }

}  // namespace

DictionaryPtr Catalog::GetAllUserAuthorizedCatalogNodes(const std::string& i_sUserID, const Variant& i_aCatalogIDs) {
  return read_and_close(
      "Mercato.Catalog.GetAllUserAuthorizedCatalogNodes", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT UN.NODEID as NODEID, CN.NODENAME AS NODENAME FROM USERNODE UN,"
               " CATALOGNODE CN WHERE UN.USERID='"
            << value(i_sUserID) << "' ";
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
      Tail{"Mercato.Catalog.GetUserCatalogNodesByLevel", [&] { opened.close(); }});
}

DictionaryPtr Catalog::GetUserTopLevelCatalogNodes(const std::string& i_sUserID, std::int32_t i_lCatalogID) {
  Opened entries;
  Opened ancestors;
  Opened highest;
  const auto close = [&] {
    entries.close();
    ancestors.close();
    highest.close();
  };
  // The highest of the user's entries on a path.
  const auto highest_entry = [&](const Path& path) {
    Sql sql;
    sql << "SELECT TOP 1 CNU.NODEID AS NODEID, CN.NODENAME AS NODENAME "
           " FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
           " CNU.CATALOGID ="
        << i_lCatalogID << " AND CNU.NODEID IN (" << path.below_root << ") "
        << " AND CNU.USERID = '" << value(i_sUserID) << "' "
        << " AND CNU.NODEID = CN.NODEID"
           " AND CNU.ISPROFILE = 0 "
           " ORDER BY CNU.LEVEL ";
    return open_read_only(sql, highest.connection);
  };
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
          Sql deeper;
          deeper << "SELECT NODEID FROM CATALOGNODEBYUSER WHERE "
                    " CATALOGID ="
                 << i_lCatalogID << " AND USERID = '" << value(i_sUserID) << "' "
                 << " AND ISPROFILE = 0 "
                    " AND LEVEL > "
                 << top << " ";
          entries.rows = open_read_only(deeper, entries.connection);
          for (; !entries.rows->Eof(); entries.rows->MoveNext()) {
            const Path path = path_in_catalog(i_lCatalogID, entries.rows->Value("NODEID"), ancestors);
            if (nodes->Exists(path.root) || path.below_root.text().empty()) continue;
            highest.rows = highest_entry(path);
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
        Sql sql;
        sql << "SELECT MIN(LEVEL) AS MINLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=" << i_lCatalogID << "AND USERID='"
            << value(i_sUserID) << "' AND ISPROFILE = 0";
        return sql;
      },
      read_level);
}

std::int16_t Catalog::GetBottomAuthorizedLevel(std::int32_t i_lCatalogID, const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.GetBottomAuthorizedLevel", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT MAX(LEVEL) AS MAXLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=" << i_lCatalogID << "AND USERID='"
            << value(i_sUserID) << "' AND ISPROFILE = 0";
        return sql;
      },
      read_level);
}

bool Catalog::IsEntireCatalogAuthorized(std::int32_t i_lCatalogID, const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.IsEntireCatalogAuthorized", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql;
        sql << "SELECT * FROM CATALOGNODEBYUSER WHERE CATALOGID=" << i_lCatalogID << "AND USERID='" << value(i_sUserID)
            << "' AND NODEID IS NULL AND ISPROFILE = 0";
        return sql;
      },
      [](const RecordsetPtr& entry) { return !entry->Eof(); });
}

bool Catalog::IsAuthorizedCatalogNode(const std::string& i_sUserID, std::int32_t i_lNodeID) {
  Opened opened;
  return method(
      [&]() -> Answer<bool> {
        opened.connection = GetConnection();
        Sql laid_out;
        laid_out << "SELECT * FROM USERNODE WHERE USERID = '" << value(i_sUserID) << "' "
                 << " AND NODEID = " << i_lNodeID << " ";
        opened.rows = open_read_only(laid_out, opened.connection);
        if (!opened.rows->Eof()) {
          opened.close();
          return true;
        }
        Sql_CloseRecordset(opened.rows);
        Sql catalog_of_node;
        catalog_of_node << "SELECT CATALOGID FROM CATALOGNODE WHERE NODEID = " << i_lNodeID << " ";
        opened.rows = open_read_only(catalog_of_node, opened.connection);
        if (opened.rows->Eof()) return refused;
        const std::int32_t catalog = opened.rows->Value("CATALOGID").to_long();
        opened.close();
        return IsEntireCatalogAuthorized(catalog, i_sUserID);
      },
      Tail{"Mercato.Catalog.IsAuthorizedCatalogNode", [&] { opened.close(); }});
}

bool Catalog::IsViewOnlyCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID) {
  return read_and_close(
      "Mercato.Catalog.IsViewOnlyCatalog", CursorType::forward_only, GetConnection,
      [&] { return entry_of_catalog(i_sUserID, i_lCatalogID); },
      [](const RecordsetPtr& entry) { return right_of(entry) == Right::view_only; });
}

bool Catalog::IsOrderCatalog(const std::string& i_sUserID, std::int32_t i_lCatalogID) {
  return read_and_close(
      "Mercato.Catalog.IsOrderCatalog", CursorType::forward_only, GetConnection,
      [&] { return entry_of_catalog(i_sUserID, i_lCatalogID); },
      [](const RecordsetPtr& entry) { return right_of(entry) == Right::order; });
}

bool Catalog::IsViewOnlyCatalogNode(const std::string& i_sUserID, const Variant& i_aIDs) {
  Opened opened;
  return method(
      [&]() -> Answer<bool> {
        if (i_aIDs.is_null()) return refused;
        const std::span<const Variant> ids = i_aIDs.to_array().items;
        if (ids.size() < 2) return refused;
        const Sql ancestors = joined(ids.subspan(1, ids.size() - 2));
        if (IsViewOnlyCatalog(i_sUserID, ids.front().to_long())) return true;
        opened.connection = GetConnection();
        const bool has_list = !ancestors.text().empty() && ancestors.text() != ",";
        if (has_list) {
          Sql sql;
          sql << "SELECT VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" << value(i_sUserID) << "' AND NODEID in ("
              << ancestors << ")"
              << " AND ISPROFILE = 0 AND VIEWONLY=1";
          opened.rows = open_read_only(sql, opened.connection);
          if (!opened.rows->Eof()) {
            opened.close();
            return true;
          }
          Sql_CloseRecordset(opened.rows);
        }
        opened.rows = open_read_only(entry_of_node(i_sUserID, ids.back()), opened.connection);
        const bool is_view_only = right_of(opened.rows) == Right::view_only;
        opened.close();
        return is_view_only;
      },
      Tail{"Mercato.Catalog.IsViewOnlyCatalogNode", [&] { opened.close(); }});
}

bool Catalog::IsViewOnlyCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID) {
  Opened opened;
  return method(
      [&]() -> Answer<bool> {
        opened.connection = GetConnection();
        const std::optional<Right> right = right_on_node(
            i_sUserID, i_lNodeID,
            // A grant is no answer to this question: it is not looked for.
            [&](std::int32_t catalog) {
              return IsViewOnlyCatalog(i_sUserID, catalog) ? Right::view_only : Right::none;
            },
            [&](const Sql& sql) { return open_read_only(sql, opened.connection); }, " ");
        if (!right) return refused;
        opened.close();
        return *right == Right::view_only;
      },
      Tail{"Mercato.Catalog.IsViewOnlyCatalogNodeEx", [&] { opened.close(); }});
}

bool Catalog::IsOrderCatalogNodeEx(const std::string& i_sUserID, std::int32_t i_lNodeID) {
  return method(
      [&]() -> Answer<bool> {
        const std::optional<Right> right = right_on_node(
            i_sUserID, i_lNodeID,
            [&](std::int32_t catalog) {
              if (IsViewOnlyCatalog(i_sUserID, catalog)) return Right::view_only;
              return IsOrderCatalog(i_sUserID, catalog) ? Right::order : Right::none;
            },
            [](const Sql& sql) { return Sql_GetDisconnectedRecordset(sql, shared_connection_string(), true); }, "");
        if (!right) return refused;
        return *right == Right::order;
      },
      Tail{"Mercato.Catalog.IsOrderCatalogNodeEx", no_steps});
}

}  // namespace mercato
