// SPDX-License-Identifier: Apache-2.0
// The nodes of catalogues as they stand in the store, for hosts that draw a catalogue or look where a call of the
// library would lead. Where the library walks up a circle of parents until the time of its call is up, the walks here
// end and say so. They stay within the time of the call in which they are made.
// One tree is used by one thread at a time, and keeps the nodes that it has read: make a new one to see changes.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mercato {

/// A node as it is stored.
struct CatalogNode {
  std::int32_t id = 0;
  std::optional<std::int32_t> catalog;
  std::optional<std::int32_t> parent;
  std::string name;
  std::int32_t type = 0;  // a NodeType
  std::optional<std::int32_t> category;

  /// The category whose products the node shows. A node of another type shows none, though it may have kept a category.
  std::optional<std::int32_t> shown_category() const;
};

/// A node and what is above it, the nearest first.
struct WayUp {
  enum class End { root, missing_parent, circle };

  std::vector<const CatalogNode*> nodes;  // each once
  End end = End::root;

  /// For a way that ends in a circle: the ids of its nodes, from the one that the way comes to first back to this one.
  std::vector<std::int32_t> circle() const;
};

/// Each method raises what the store raises. The nodes that they return live as long as the tree.
class NodeTree {
 public:
  /// The nodes of a catalogue, in the order in which a level shows them.
  std::vector<const CatalogNode*> nodes_of(std::int32_t catalog);
  /// The node with this id, or null when there is none.
  const CatalogNode* find(std::int32_t node);
  /// The node and those above it, through other catalogues and nodes without one, as the library goes.
  /// For a node that is not there: no nodes, and missing_parent as the end.
  WayUp way_up(std::int32_t node);
  /// What GetCatalogNodeHierarchy answers. For a way that does not end at a root it begins where the way ends.
  std::string path(std::int32_t node);

 private:
  std::map<std::int32_t, std::unique_ptr<CatalogNode>> known_;  // null: not there
};

}  // namespace mercato
