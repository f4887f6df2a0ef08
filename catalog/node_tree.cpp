// SPDX-License-Identifier: Apache-2.0
#include "catalog/node_tree.h"

#include <algorithm>
#include <set>

#include "catalog/catalog_internal.h"
#include "frame/upload_run.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

Sql all_nodes() {
  return LiteralPiece("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID FROM CATALOGNODE ");
}

std::optional<std::int32_t> number_in(const Recordset& row, const char* column) {
  const Variant& value = row.Value(column);
  if (value.is_null()) return std::nullopt;
  return value.to_long();
}

std::unique_ptr<CatalogNode> node_of(const Recordset& row) {
  auto node = std::make_unique<CatalogNode>();
  node->id = row.Value("NODEID").to_long();
  node->catalog = number_in(row, "CATALOGID");
  node->parent = number_in(row, "PARENTNODEID");
  node->name = row.Value("NODENAME").text_or_empty();
  node->type = number_in(row, "NODETYPE").value_or(0);
  node->category = number_in(row, "CATEGORYID");
  return node;
}

}  // namespace

std::optional<std::int32_t> CatalogNode::shown_category() const {
  return type == static_cast<std::int32_t>(NodeType::ProductCategory) ? category : std::nullopt;
}

std::vector<std::int32_t> WayUp::circle() const {
  // The way ends where it would come to a node for the second time.
  const std::int32_t first = nodes.back()->parent.value_or(0);
  auto node = std::ranges::find(nodes, first, &CatalogNode::id);
  std::vector<std::int32_t> ids;
  for (; node != nodes.end(); ++node) ids.push_back((*node)->id);
  ids.push_back(first);
  return ids;
}

std::vector<const CatalogNode*> NodeTree::nodes_of(std::int32_t catalog) {
  std::vector<const CatalogNode*> nodes;
  const RecordsetPtr rows = held_rows(all_nodes() << "WHERE CATALOGID = " << catalog << " ORDER BY SEQUENCE, NODEID");
  for (; !rows->Eof(); rows->MoveNext()) {
    auto node = node_of(*rows);
    auto& known = known_[node->id];
    if (!known) known = std::move(node);
    nodes.push_back(known.get());
  }
  return nodes;
}

const CatalogNode* NodeTree::find(std::int32_t node) {
  const auto known = known_.find(node);
  if (known != known_.end()) return known->second.get();
  const RecordsetPtr rows = held_rows(all_nodes() << "WHERE NODEID = " << node);
  auto read = rows->Eof() ? nullptr : node_of(*rows);
  return (known_[node] = std::move(read)).get();
}

WayUp NodeTree::way_up(std::int32_t node) {
  WayUp way;
  std::set<std::int32_t> seen;
  for (std::optional<std::int32_t> next = node; next;) {
    check_call_limit();
    if (!seen.insert(*next).second) {
      way.end = WayUp::End::circle;
      return way;
    }
    const CatalogNode* found = find(*next);
    if (!found) {
      way.end = WayUp::End::missing_parent;
      return way;
    }
    way.nodes.push_back(found);
    next = found->parent;
  }
  return way;
}

std::string NodeTree::path(std::int32_t node) {
  std::vector<std::string> names;
  for (const CatalogNode* above : way_up(node).nodes) names.push_back(above->name);
  return hierarchy_of(names);
}

}  // namespace mercato
