// SPDX-License-Identifier: Apache-2.0
// The catalogue and the node that somebody means. A catalogue is named by id, or by name when only one has it; a node
// by id, or by the names on the way to it: "House/Office/Paper", where a stroke of a name is written "\/". Case and
// trailing blanks do not count. Nothing is changed. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mercato::keeping {

struct NamedCatalog {
  std::int32_t id = 0;
  std::string name;
};
// Raises 5 when there is none or several.
NamedCatalog catalog_named(const std::string& text);

// A catalogue as a whole, or one of its nodes.
struct CatalogPlace {
  NamedCatalog catalog;
  std::optional<std::int32_t> node;
};
// A number is the id of a node; a text without a stroke, or with one at its end only ("1/"), is a catalogue. Raises 5 when there is no such place, when a
// node has no catalogue, and when several nodes of one parent have the name: the failure lists their ids.
CatalogPlace place_named(const std::string& text);
// The same for what has to be a node.
std::int32_t node_named(const std::string& text);
// The ids of what may be gone, or may hang nowhere: a number is taken as it stands, and not looked up.
std::int32_t catalog_id_named(const std::string& text);
std::int32_t node_id_named(const std::string& text);

}  // namespace mercato::keeping
