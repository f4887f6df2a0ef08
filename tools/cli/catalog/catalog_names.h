// SPDX-License-Identifier: Apache-2.0
// Catalogues by id or name, and what is said of nodes above which the library would not come to an end. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "catalog/node_tree.h"

namespace mercato::cli {

struct CatalogName {
  std::int32_t id = 0;
  std::string name;
};
// "1 House catalogue 2026"
std::string shown(const CatalogName& catalog);

// The catalogue with this id, else the only one of this name, in any case. Raises 5 when there is none or several.
CatalogName find_catalog(const std::string& id_or_name);
// "" when there is no such catalogue.
std::string name_of_catalog(std::int32_t catalog);

// "5 > 6 > 5" of a way that ends in a circle.
std::string circle_of(const WayUp& way);
// Why the library's walk up from this node does not end; nothing when it does.
std::optional<std::string> endless(NodeTree& tree, std::int32_t node);

}  // namespace mercato::cli
