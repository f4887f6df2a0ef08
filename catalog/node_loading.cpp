// SPDX-License-Identifier: Apache-2.0
#include "catalog/node_loading.h"

#include <algorithm>
#include <map>

#include "frame/lib_sql.h"
#include "mercato/catalog.h"

namespace mercato {
namespace {

// In the order of the list, but every parent before its children.
std::vector<std::size_t> parents_first(const std::vector<NewNode>& nodes) {
  std::vector<std::size_t> order;
  std::vector<bool> placed(nodes.size(), false);
  for (std::size_t start = 0; start < nodes.size(); ++start) {
    std::vector<std::size_t> way;
    for (std::optional<std::size_t> at = start; at && !placed[*at]; at = nodes[*at].parent) {
      placed[*at] = true;
      way.push_back(*at);
    }
    order.insert(order.end(), way.rbegin(), way.rend());
  }
  return order;
}

std::vector<std::int32_t> numbers_among_siblings(const std::vector<NewNode>& nodes) {
  std::vector<std::int32_t> numbers;
  std::map<std::optional<std::size_t>, std::int32_t> children;
  for (const NewNode& node : nodes) numbers.push_back(++children[node.parent]);
  return numbers;
}

}  // namespace

std::vector<std::vector<std::size_t>> circles_among(const std::vector<NewNode>& nodes) {
  std::vector<std::vector<std::size_t>> circles;
  std::vector<std::optional<std::size_t>> walk_of(nodes.size());  // the start of the walk that came to the node first
  for (std::size_t start = 0; start < nodes.size(); ++start) {
    std::optional<std::size_t> at = start;
    for (; at && !walk_of[*at]; at = nodes[*at].parent) walk_of[*at] = start;
    if (!at || walk_of[*at] != start) continue;
    std::vector<std::size_t>& circle = circles.emplace_back(1, *at);
    for (std::size_t next = *nodes[*at].parent; next != *at; next = *nodes[next].parent) circle.push_back(next);
    std::rotate(circle.begin(), std::ranges::min_element(circle), circle.end());
  }
  return circles;
}

void write_nodes(std::int32_t catalog, const std::vector<NewNode>& nodes, const std::function<void()>& written) {
  const RecordsetPtr rows = open_updatable(
      LiteralPiece("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID FROM CATALOGNODE "
                   "WHERE 0=1"),
      open_connection(shared_connection_string()), CursorType::keyset);
  const std::vector<std::int32_t> sequence = numbers_among_siblings(nodes);
  std::vector<std::int32_t> ids(nodes.size());
  for (const std::size_t place : parents_first(nodes)) {
    const NewNode& node = nodes[place];
    const NodeType type = node.category ? NodeType::ProductCategory : NodeType::catalognode;
    rows->AddNew();
    rows->SetValue("CATALOGID", catalog);
    rows->SetValue("PARENTNODEID", node.parent ? Variant(ids[*node.parent]) : Variant(kNull));
    rows->SetValue("NODENAME", node.name);
    rows->SetValue("SEQUENCE", sequence[place]);
    rows->SetValue("NODETYPE", static_cast<std::int32_t>(type));
    rows->SetValue("CATEGORYID", node.category ? Variant(*node.category) : Variant(kNull));
    rows->Update();
    ids[place] = rows->Value("NODEID").to_long();
    written();
  }
  rows->Close();
}

}  // namespace mercato
