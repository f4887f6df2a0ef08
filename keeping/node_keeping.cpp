// SPDX-License-Identifier: Apache-2.0
#include "keeping/node_keeping.h"

#include <algorithm>
#include <set>
#include <span>

#include "catalog/node_loading.h"
#include "catalog/node_tree.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "keeping/store_calls.h"
#include "mercato/catalog.h"
#include "mercato/raised_error.h"
#include "mercato/recordset.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

[[noreturn]] void refuse_act(const std::string& words) { raise(error_number::kInvalidArgument, {}, words); }

std::string called(std::int32_t node) { return "node " + std::to_string(node); }

struct Below {
  std::int32_t node;
  std::size_t level;
};

// The node and all below it, level by level; each once, so that a circle comes to an end. `level` is the node's own.
std::vector<Below> with_all_below(std::int32_t node, std::size_t level) {
  std::vector<Below> nodes = {{node, level}};
  std::set<std::int32_t> seen = {node};
  std::vector<std::int32_t> parents = {node};
  while (!parents.empty()) {
    std::vector<std::int32_t> children;
    for_each_list(parents, [&](const Sql& list) {
      for (const std::int32_t child : ids_by(Sql("SELECT NODEID FROM CATALOGNODE WHERE PARENTNODEID IN ") << list))
        if (seen.insert(child).second) children.push_back(child);
    });
    ++level;
    for (const std::int32_t child : children) nodes.push_back({child, level});
    parents = std::move(children);
  }
  return nodes;
}

std::vector<std::int32_t> ids_of_nodes(const std::vector<Below>& nodes) {
  std::vector<std::int32_t> ids;
  for (const Below& below : nodes) ids.push_back(below.node);
  return ids;
}

Sql among_siblings(std::int32_t catalog, const std::optional<std::int32_t>& parent) {
  Sql sql = Sql(" FROM CATALOGNODE WHERE CATALOGID = ") << catalog << " AND PARENTNODEID";
  return parent ? sql << " = " << *parent : sql << " IS NULL";
}

void expect_free_name(std::int32_t catalog, const std::optional<std::int32_t>& parent, const std::string& name,
                      const std::optional<std::int32_t>& but) {
  if (text::trim(name).empty()) refuse_act("A node needs a name");
  if (const std::size_t length = text::length(name); length > kLongestNodeName)
    refuse_act("The name of a node takes at most " + std::to_string(kLongestNodeName) + " characters, not " +
               std::to_string(length));
  Sql sql = Sql("SELECT NODEID") << among_siblings(catalog, parent) << " AND NODENAME = N'" << value(Gen_QuoteSql(name))
                                 << "'";
  for (const std::int32_t taken : ids_by(sql))
    if (taken != but)
      refuse_act("Its parent has a node " + name + " already, " + called(taken) +
                 "; two of one name could not be told apart");
}

std::int32_t next_place(std::int32_t catalog, const std::optional<std::int32_t>& parent) {
  const std::vector<DictionaryPtr> rows =
      rows_of(Sql("SELECT MAX(SEQUENCE) AS PLACE") << among_siblings(catalog, parent));
  const Variant& place = rows.front()->Item("PLACE");
  return place.is_null() ? 1 : place.to_long() + 1;
}

// Deletes all that is about these nodes. Rights on the whole catalogue stay.
DeletedNodes delete_nodes(std::span<const std::int32_t> nodes) {
  DeletedNodes deleted;
  for_each_list(nodes, [&](const Sql& list) {
    const auto run = [&](LiteralPiece statement) {
      return static_cast<std::size_t>(run_statement(Sql(statement) << list));
    };
    deleted.rights += run("DELETE FROM CATALOGNODEBYUSER WHERE NODEID IN ");
    run("DELETE FROM USERNODE WHERE NODEID IN ");
    deleted.ties += run("DELETE FROM CATALOGNODEBYBP WHERE NODEID IN ");
    deleted.nodes += run("DELETE FROM CATALOGNODE WHERE NODEID IN ");
  });
  return deleted;
}

// The node with a way to a root: the levels of what is below a circle or a missing parent mean nothing.
WayUp way_to_root(NodeTree& tree, std::int32_t node) {
  WayUp way = tree.way_up(node);
  if (way.nodes.empty()) refuse_act("There is no " + called(node));
  if (way.end == WayUp::End::circle) refuse_act("The parents of " + called(node) + " go in a circle");
  if (way.end == WayUp::End::missing_parent)
    refuse_act("Above " + called(node) + " a parent is missing: node " +
               std::to_string(way.nodes.back()->parent.value_or(0)));
  return way;
}

}  // namespace

NodeFacts facts_of_node(std::int32_t node) {
  NodeTree tree;
  const WayUp way = way_to_root(tree, node);
  const CatalogNode& row = *way.nodes.front();
  const std::vector<Below> below = with_all_below(node, way.nodes.size());
  NodeFacts facts;
  facts.id = node;
  facts.catalog = row.catalog.value_or(0);
  facts.path = tree.path(node);
  facts.level = way.nodes.size();
  facts.type = row.type;
  facts.category = row.category;
  if (row.category)
    facts.category_name = call_library("Mercato.Product", "GetCategoryName", {*row.category}).text_or_empty();
  if (const auto shown = row.shown_category())
    facts.products = count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = ") << *shown);
  facts.children = static_cast<std::size_t>(std::ranges::count(below, facts.level + 1, &Below::level));
  facts.below = below.size() - 1;
  std::size_t rights = 0;
  const std::vector<std::int32_t> ids = ids_of_nodes(below);
  for_each_list(ids, [&](const Sql& list) {
    rights += count_by(Sql("SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE NODEID IN ") << list);
  });
  facts.rights = rights;
  return facts;
}

std::int32_t new_node(const CatalogPlace& parent, const std::string& name,
                      const std::optional<std::int32_t>& category) {
  expect_free_name(parent.catalog.id, parent.node, name, std::nullopt);
  const std::int32_t place = next_place(parent.catalog.id, parent.node);
  const NodeType type = category ? NodeType::ProductCategory : NodeType::catalognode;
  const ConnectionPtr connection = open_connection(shared_connection_string());
  const RecordsetPtr rows = open_updatable(
      LiteralPiece("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID FROM CATALOGNODE "
                   "WHERE 0=1"),
      connection, CursorType::keyset);
  rows->AddNew();
  rows->SetValue("CATALOGID", parent.catalog.id);
  rows->SetValue("PARENTNODEID", parent.node ? Variant(*parent.node) : Variant(kNull));
  rows->SetValue("NODENAME", name);
  rows->SetValue("SEQUENCE", place);
  rows->SetValue("NODETYPE", static_cast<std::int32_t>(type));
  rows->SetValue("CATEGORYID", category ? Variant(*category) : Variant(kNull));
  rows->Update();
  const std::int32_t id = rows->Value("NODEID").to_long();
  rows->Close();
  connection->Close();
  return id;
}

void rename_node(std::int32_t node, const std::string& name) {
  NodeTree tree;
  const CatalogNode* row = tree.find(node);
  if (!row) refuse_act("There is no " + called(node));
  expect_free_name(row->catalog.value_or(0), row->parent, name, node);
  run_statement(Sql("UPDATE CATALOGNODE SET NODENAME = N'")
                << value(Gen_QuoteSql(name)) << "' WHERE NODEID = " << node);
}

void move_node(std::int32_t node, const CatalogPlace& parent) {
  NodeTree tree;
  const CatalogNode row = *way_to_root(tree, node).nodes.front();
  if (row.catalog != parent.catalog.id)
    refuse_act("A node stays in its catalogue: " + called(node) + " is of catalogue " +
               std::to_string(row.catalog.value_or(0)) + ", not of " + std::to_string(parent.catalog.id));
  std::size_t level = 1;
  if (parent.node) {
    const WayUp way = way_to_root(tree, *parent.node);
    if (std::ranges::find(way.nodes, node, &CatalogNode::id) != way.nodes.end())
      refuse_act("A node cannot lie below itself: " + called(*parent.node) + " is below " + called(node));
    level = way.nodes.size() + 1;
  }
  if (row.parent == parent.node) refuse_act("It is there already");
  expect_free_name(parent.catalog.id, parent.node, row.name, node);

  const std::int32_t place = next_place(parent.catalog.id, parent.node);
  const auto set_parent = [&](LiteralPiece statement) {
    Sql sql = Sql(statement) << " PARENTNODEID = ";
    parent.node ? sql << *parent.node : sql << "NULL";
    return sql;
  };
  run_statement(set_parent("UPDATE CATALOGNODE SET") << ", SEQUENCE = " << place << " WHERE NODEID = " << node);
  run_statement(set_parent("UPDATE CATALOGNODEBYUSER SET") << " WHERE NODEID = " << node);
  const std::vector<Below> below = with_all_below(node, level);
  for (std::size_t begin = 0; begin < below.size();) {
    std::size_t end = begin;
    std::vector<std::int32_t> of_level;
    for (; end < below.size() && below[end].level == below[begin].level; ++end) of_level.push_back(below[end].node);
    for_each_list(of_level, [&](const Sql& list) {
      run_statement(Sql("UPDATE CATALOGNODEBYUSER SET LEVEL = ")
                    << static_cast<std::int32_t>(below[begin].level) << " WHERE NODEID IN " << list);
    });
    begin = end;
  }
}

DeletedNodes delete_node(std::int32_t node) { return delete_nodes(ids_of_nodes(with_all_below(node, 1))); }

void set_active(std::int32_t catalog, bool active) {
  Sql sql("UPDATE CATALOG SET ACTIVE = ");
  active ? sql << "1" : sql << "0";
  run_statement(sql << " WHERE CATALOGID = " << catalog);
}

void rename_catalog(std::int32_t catalog, const std::string& name) {
  constexpr std::size_t kLongest = 255;
  if (text::trim(name).empty()) refuse_act("A catalogue needs a name");
  if (text::length(name) > kLongest)
    refuse_act("The name of a catalogue takes at most " + std::to_string(kLongest) + " characters, not " +
               std::to_string(text::length(name)));
  run_statement(Sql("UPDATE CATALOG SET CATALOGNAME = N'")
                << value(Gen_QuoteSql(name)) << "' WHERE CATALOGID = " << catalog);
}

DeletedNodes delete_catalog(std::int32_t catalog) {
  if (count_by(Sql("SELECT COUNT(*) AS N FROM CATALOG WHERE ACTIVE = 1 AND CATALOGID = ") << catalog) > 0)
    refuse_act("Catalogue " + std::to_string(catalog) +
               " is active; `mercato catalog deactivate` or `mercato catalog expire` comes first");
  const std::vector<std::int32_t> nodes = ids_by(Sql("SELECT NODEID FROM CATALOGNODE WHERE CATALOGID = ") << catalog);
  std::size_t strangers = 0;
  for_each_list(nodes, [&](const Sql& list) {
    strangers += count_by(Sql("SELECT COUNT(*) AS N FROM CATALOGNODE WHERE (CATALOGID <> ")
                          << catalog << " OR CATALOGID IS NULL) AND PARENTNODEID IN " << list);
  });
  if (strangers > 0)
    refuse_act(std::to_string(strangers) + " nodes that are not of catalogue " + std::to_string(catalog) +
               " hang on its nodes; `mercato node move` or `mercato node delete` comes first");
  DeletedNodes deleted = delete_nodes(nodes);
  const auto run = [&](LiteralPiece statement) {
    return static_cast<std::size_t>(run_statement(Sql(statement) << catalog));
  };
  deleted.rights += run("DELETE FROM CATALOGNODEBYUSER WHERE CATALOGID = ");
  run("DELETE FROM USERNODE WHERE CATALOGID = ");
  deleted.ties += run("DELETE FROM CATALOGNODEBYBP WHERE CATALOGID = ");
  run("DELETE FROM CATALOG WHERE CATALOGID = ");
  return deleted;
}

}  // namespace mercato::keeping
