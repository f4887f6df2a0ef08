// SPDX-License-Identifier: Apache-2.0
// The nodes of catalogues: making, moving, renaming and deleting them, so that the entries of rights go on agreeing
// with the tree. What is written belongs to the caller's transaction. Refusals raise 5 with a sentence; every function
// raises what the store raises. The nodes that were laid out for users stay as they are: Mercato.TCatalog's
// PopulateUserNodes lays them out anew. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "keeping/catalog_resolver.h"

namespace mercato::keeping {

struct NodeFacts {
  std::int32_t id = 0;
  std::int32_t catalog = 0;
  std::string path;       // with backslashes, as GetCatalogNodeHierarchy gives it
  std::size_t level = 0;  // 1: a root
  std::int32_t type = 0;
  std::optional<std::int32_t> category;
  std::string category_name;
  std::size_t products = 0;  // that it shows
  std::size_t children = 0;
  std::size_t below = 0;   // nodes, the children included
  std::size_t rights = 0;  // entries on it and on those below
};
NodeFacts facts_of_node(std::int32_t node);

// At the end of its parent, which is the catalogue itself for a root. With a category it shows its products. Returns
// the id. Refused when the parent has a node of the name: a successor's nodes are found by their names.
std::int32_t new_node(const CatalogPlace& parent, const std::string& name, const std::optional<std::int32_t>& category);
void rename_node(std::int32_t node, const std::string& name);
// To the end of its new parent, which has to be of the same catalogue and may not lie below the node. The levels and
// parents in the entries of rights follow.
void move_node(std::int32_t node, const CatalogPlace& parent);

struct DeletedNodes {
  std::size_t nodes = 0;
  std::size_t rights = 0;  // entries of users and profiles
  std::size_t ties = 0;    // of business partners
};
// With all nodes below it, their rights, the ties of partners, and what was laid out of them. Categories and products
// stay.
DeletedNodes delete_node(std::int32_t node);

// A catalogue

void set_active(std::int32_t catalog, bool active);
void rename_catalog(std::int32_t catalog, const std::string& name);
// With its nodes, as delete_node. Refused while it is active.
DeletedNodes delete_catalog(std::int32_t catalog);

}  // namespace mercato::keeping
