// Catalogues by id or name, and their nodes as they stand in the store. Where the library would walk in a circle of
// parents until the time of its call is up, these walks end and say so. Main thread.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mercato::cli {

struct CatalogName {
  std::int32_t id = 0;
  std::string name;
};
// "1 House catalogue 2026"
std::string shown(const CatalogName& catalog);

// The catalogue with this id, else the only one of this name, in any case. Raises 5 when there is none or several.
CatalogName find_catalog(const std::string& id_or_name);

// NODETYPE of a node that shows the products of its category.
inline constexpr std::int32_t kCategoryNode = 1;

struct CatalogNode {
  std::int32_t id = 0;
  std::optional<std::int32_t> catalog;
  std::optional<std::int32_t> parent;
  std::string name;
  std::int32_t type = 0;
  std::optional<std::int32_t> category;
};

// A node and what is above it, the nearest first.
struct WayUp {
  enum class End { root, missing_parent, circle };

  std::vector<const CatalogNode*> nodes;  // each once
  End end = End::root;

  // "5 > 6 > 5" of a way that ends in a circle: its nodes from the one that the way comes to first.
  std::string circle() const;
};

class NodeTree {
 public:
  // The nodes of a catalogue, in the order in which a level shows them.
  std::vector<const CatalogNode*> nodes_of(std::int32_t catalog);
  // Null when there is none.
  const CatalogNode* find(std::int32_t node);
  // Goes through other catalogues and nodes without one, as the library does. Of a node that is not there: no nodes,
  // missing_parent. Asks the call limit at each step.
  WayUp way_up(std::int32_t node);
  // The names from the root down, trimmed, with backslashes between them: what the library calls its hierarchy. For a
  // way that does not end at a root it begins where the way ends.
  std::string path(std::int32_t node);
  // Why the library's walk up from this node does not end; nothing when it does.
  std::optional<std::string> endless(std::int32_t node);

 private:
  std::map<std::int32_t, std::unique_ptr<CatalogNode>> known_;  // null: not there
};

}  // namespace mercato::cli
