// SPDX-License-Identifier: Apache-2.0
// What a user may do with a catalogue and with a node. right_on_node is the rule; the calls of the class and the trace
// go by it.
#include "catalog/node_rights.h"

#include <span>
#include <unordered_set>

#include "catalog/catalog_internal.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

Sql entry_for_whole_catalog(const std::string& user, std::int32_t catalog) {
  return Sql("SELECT * FROM CATALOGNODEBYUSER WHERE CATALOGID=")
         << catalog << "AND USERID='" << value(user) << "' AND NODEID IS NULL AND ISPROFILE = 0";
}

// The same entry, asked for what it says.
Sql entry_of_catalog(const std::string& user, std::int32_t catalog) {
  return Sql("SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='")
         << value(user) << "' AND CATALOGID=" << catalog << " AND NODEID IS NULL AND ISPROFILE = 0";
}

Sql entry_of_node(const std::string& user, const Variant& node) {
  return Sql("SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='")
         << value(user) << "' AND NODEID=" << value(node.to_text()) << " AND ISPROFILE = 0";
}

// Of several entries on one thing a restriction counts, in whatever order they come. Where none restricts, an entry
// with a Null raises 94.
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

// A restriction counts wherever it stands. A grant counts on the catalogue and on the node itself, but
// not on an ancestor.
bool counts(EntryPlace place, Right entry) {
  return entry == Right::view_only || (entry == Right::order && place != EntryPlace::ancestor);
}

// For a walk that nobody traces.
struct Untraced {
  void look_at(EntryPlace, std::int32_t, Right, bool) {}
  bool comes_again(std::int32_t) { return false; }
};

// Keeps the steps of a walk.
class Tracer {
 public:
  explicit Tracer(RightsTrace& trace) : trace_(trace) {}

  void look_at(EntryPlace place, std::int32_t id, Right entry, bool counted) {
    trace_.steps.push_back({place, id, entry});
    if (counted) trace_.decisive = trace_.steps.size() - 1;
    if (place != EntryPlace::catalog) nodes_.insert(id);
  }
  bool comes_again(std::int32_t node) { return trace_.endless = nodes_.contains(node); }

 private:
  RightsTrace& trace_;
  std::unordered_set<std::int32_t> nodes_;
};

// The rule, on the way from a node up to its root: a restriction wins from anywhere on that way, and nothing below
// lifts it; else the node's own entry decides, else that on its catalogue.
//
// Returns nothing for a node that is not there or has no catalogue. A parent that is not there ends the way as a root
// does. A circle ends with the time of the call, unless the trace ends it. `read` gives the rows of a statement,
// `on_catalog` what the catalogue's entry says; `end_of_parent` is the end of the caller's statement for a parent.
template <class OnCatalog, class Read, class Trace = Untraced>
std::optional<Right> right_on_node(const std::string& user, std::int32_t node_id, OnCatalog on_catalog, Read read,
                                   LiteralPiece end_of_parent, Trace trace = {}) {
  RecordsetPtr node = read(Sql("SELECT CATALOGID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = ") << node_id << " ");
  if (node->Eof() || node->Value("CATALOGID").is_null()) return std::nullopt;

  Right right = Right::none;
  const auto restricts = [&](EntryPlace place, std::int32_t id, Right entry) {
    const bool counted = counts(place, entry);
    if (counted) right = entry;
    trace.look_at(place, id, entry, counted);
    return right == Right::view_only;
  };
  const std::int32_t catalog = node->Value("CATALOGID").to_long();
  if (restricts(EntryPlace::catalog, catalog, on_catalog(catalog))) return right;
  if (restricts(EntryPlace::node, node_id, right_of(read(entry_of_node(user, node_id))))) return right;
  while (!node->Value("PARENTNODEID").is_null()) {
    const std::int32_t parent = node->Value("PARENTNODEID").to_long();
    if (trace.comes_again(parent)) break;
    node = read(Sql("SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = ") << parent << end_of_parent);
    if (node->Eof()) break;
    if (restricts(EntryPlace::ancestor, parent, right_of(read(entry_of_node(user, parent))))) break;
  }
  return right;
}

// How a user sees the node. `laid_out` has a row when it was laid out for him, `has_whole_catalog` says whether he has
// the catalogue; what is open is closed before it is asked.
template <class HasWholeCatalog>
Sight sight_of(std::int32_t node, const Sql& laid_out, Opened& opened, HasWholeCatalog has_whole_catalog) {
  opened.rows = open_read_only(laid_out, opened.connection);
  if (!opened.rows->Eof()) {
    opened.close();
    return Sight::laid_out;
  }
  Sql_CloseRecordset(opened.rows);
  opened.rows =
      open_read_only(Sql("SELECT CATALOGID FROM CATALOGNODE WHERE NODEID = ") << node << " ", opened.connection);
  if (opened.rows->Eof()) return Sight::no_node;
  if (opened.rows->Value("CATALOGID").is_null()) return Sight::no_catalog;
  const std::int32_t catalog = opened.rows->Value("CATALOGID").to_long();
  opened.close();
  return has_whole_catalog(catalog) ? Sight::whole_catalog : Sight::nowhere;
}

}  // namespace

bool Catalog::IsEntireCatalogAuthorized(std::int32_t i_lCatalogID, const std::string& i_sUserID) {
  return read_and_close(
      "Mercato.Catalog.IsEntireCatalogAuthorized", CursorType::forward_only, GetConnection,
      [&] { return entry_for_whole_catalog(i_sUserID, i_lCatalogID); },
      [](const RecordsetPtr& entry) { return !entry->Eof(); });
}

bool Catalog::IsAuthorizedCatalogNode(const std::string& i_sUserID, std::int32_t i_lNodeID) {
  Opened opened;
  return method(
      [&]() -> Answer<bool> {
        opened.connection = GetConnection();
        const Sql laid_out = Sql("SELECT * FROM USERNODE WHERE USERID = '") << value(i_sUserID) << "' "
                                                                            << " AND NODEID = " << i_lNodeID << " ";
        const Sight sight = sight_of(i_lNodeID, laid_out, opened, [&](std::int32_t catalog) {
          return IsEntireCatalogAuthorized(catalog, i_sUserID);
        });
        if (sight == Sight::no_node) return refused;
        if (sight == Sight::no_catalog) raise(error_number::kInvalidUseOfNull);
        return sight != Sight::nowhere;
      },
      Tail{"Mercato.Catalog.IsAuthorizedCatalogNode", closing(opened)});
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
          opened.rows = open_read_only(Sql("SELECT VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='")
                                           << value(i_sUserID) << "' AND NODEID in (" << ancestors << ")"
                                           << " AND ISPROFILE = 0 AND VIEWONLY=1",
                                       opened.connection);
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
      Tail{"Mercato.Catalog.IsViewOnlyCatalogNode", closing(opened)});
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
      Tail{"Mercato.Catalog.IsViewOnlyCatalogNodeEx", closing(opened)});
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

RightsTrace trace_rights(const std::string& user, std::int32_t node) {
  RightsTrace trace;
  Opened opened;
  opened.connection = open_connection(shared_connection_string());
  const Sql laid_out = Sql("SELECT NODEID FROM USERNODE WHERE USERID = '") << value(user) << "' AND NODEID = " << node;
  trace.sight = sight_of(node, laid_out, opened, [&](std::int32_t catalog) {
    return !held_rows(entry_for_whole_catalog(user, catalog))->Eof();
  });
  right_on_node(
      user, node, [&](std::int32_t catalog) { return right_of(held_rows(entry_of_catalog(user, catalog))); }, held_rows,
      "", Tracer(trace));
  return trace;
}

}  // namespace mercato
