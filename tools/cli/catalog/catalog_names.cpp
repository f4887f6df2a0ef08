// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/catalog/catalog_names.h"

#include <utility>

#include "keeping/catalog_resolver.h"
#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {
namespace {

DictionaryPtr all_catalogs() { return call(create_root("Mercato.Catalog"), "GetAllCatalogs", {}).to<Dictionary>(); }

}  // namespace

std::string shown(const CatalogName& catalog) { return std::to_string(catalog.id) + " " + shown(catalog.name); }

CatalogName find_catalog(const std::string& id_or_name) {
  keeping::NamedCatalog catalog = keeping::catalog_named(id_or_name);
  return {catalog.id, std::move(catalog.name)};
}

std::string name_of_catalog(std::int32_t catalog) {
  const DictionaryPtr names = all_catalogs();
  const Variant* name = names->find(Variant(catalog));
  return name ? name->text_or_empty() : std::string();
}

std::string circle_of(const WayUp& way) {
  std::string circle;
  for (const std::int32_t node : way.circle()) circle += (circle.empty() ? "" : " > ") + std::to_string(node);
  return circle;
}

std::optional<std::string> endless(NodeTree& tree, std::int32_t node) {
  const WayUp way = tree.way_up(node);
  if (way.end != WayUp::End::circle) return std::nullopt;
  return "the parents of node " + std::to_string(node) + " go in a circle: " + circle_of(way);
}

}  // namespace mercato::cli
