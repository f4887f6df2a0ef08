// SPDX-License-Identifier: Apache-2.0
// Catalogues and their nodes, a level at a time, as somebody sees them. Reads only, casts no vote, logs nothing. Any
// thread. Every function raises what the store raises.
//
// What a user sees is what mercato/search.h says: nodes that are laid out for him, or all of a catalogue that he has an
// entry for, in active catalogues. His tree begins at the nodes that he sees and whose parent he does not see.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mercato::keeping {

struct CatalogEntry {
  std::int32_t id = 0;
  std::string name;
  std::string description;
  bool active = false;
};

// By name; with `seen_by` those of which this user sees a node.
std::vector<CatalogEntry> catalogs(const std::optional<std::string>& seen_by);

struct LevelNode {
  std::int32_t id = 0;
  std::optional<std::int32_t> parent;
  std::string name;
  std::int32_t type = 0;
  std::optional<std::int32_t> category;
  std::int32_t children = 0;  // of those that are seen
};

// The nodes right below the parent, or the first ones, in the order of the catalogue. Nothing when catalogue or parent
// is not there, or not seen.
std::optional<std::vector<LevelNode>> catalog_level(std::int32_t catalog, std::optional<std::int32_t> parent,
                                                    const std::optional<std::string>& seen_by);

// Whether the user sees the node.
bool sees_node(const std::string& user, std::int32_t node);

}  // namespace mercato::keeping
