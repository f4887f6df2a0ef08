// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/catalog/catalog_names.h"

#include <charconv>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"
#include "values/same_text.h"

namespace mercato::cli {
namespace {

DictionaryPtr all_catalogs() { return call(create_root("Mercato.Catalog"), "GetAllCatalogs", {}).to<Dictionary>(); }

}  // namespace

std::string shown(const CatalogName& catalog) { return std::to_string(catalog.id) + " " + shown(catalog.name); }

CatalogName find_catalog(const std::string& id_or_name) {
  std::int32_t id = 0;
  const auto [end, problem] = std::from_chars(id_or_name.data(), id_or_name.data() + id_or_name.size(), id);
  const bool is_id = problem == std::errc() && end == id_or_name.data() + id_or_name.size();
  std::vector<CatalogName> of_this_name;
  std::optional<CatalogName> of_this_id;
  all_catalogs()->for_each([&](const Variant& key, const Variant& name) {
    const CatalogName catalog{key.to_long(), name.to_text()};
    if (is_id && catalog.id == id) of_this_id = catalog;
    if (text::same(catalog.name, id_or_name)) of_this_name.push_back(catalog);
  });
  if (of_this_id) return *of_this_id;
  if (of_this_name.empty()) raise(error_number::kInvalidArgument, {}, "There is no catalogue " + id_or_name);
  if (of_this_name.size() > 1)
    raise(error_number::kInvalidArgument, {},
          "The name " + id_or_name + " stands for more than one catalogue: use the id");
  return of_this_name.front();
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
