// SPDX-License-Identifier: Apache-2.0
#include "keeping/catalog_resolver.h"

#include <charconv>
#include <vector>

#include "frame/lib_general.h"
#include "keeping/store_calls.h"
#include "mercato/raised_error.h"
#include "values/same_text.h"

namespace mercato::keeping {
namespace {

std::optional<std::int32_t> number_in(const std::string& text) {
  std::int32_t number = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::vector<std::string> names_of_path(const std::string& path) {
  std::vector<std::string> names(1);
  for (std::size_t at = 0; at < path.size(); ++at) {
    if (path[at] == '\\' && at + 1 < path.size() && path[at + 1] == '/')
      names.back() += path[++at];
    else if (path[at] == '/')
      names.emplace_back();
    else
      names.back() += path[at];
  }
  if (names.size() > 1 && names.back().empty()) names.pop_back();
  return names;
}

std::vector<std::int32_t> children_called(const CatalogPlace& parent, const std::string& name) {
  Sql sql = Sql("SELECT NODEID FROM CATALOGNODE WHERE CATALOGID = ")
            << parent.catalog.id << " AND NODENAME = N'" << value(Gen_QuoteSql(name)) << "' AND PARENTNODEID";
  parent.node ? sql << " = " << *parent.node : sql << " IS NULL";
  return ids_by(sql << " ORDER BY NODEID");
}

[[noreturn]] void raise_no_place(const std::string& text, const std::string& missing) {
  raise(error_number::kInvalidArgument, {}, "There is no node " + missing + " on the way " + text);
}

}  // namespace

NamedCatalog catalog_named(const std::string& text) {
  const std::optional<std::int32_t> id = number_in(text);
  std::vector<NamedCatalog> of_this_name;
  std::optional<NamedCatalog> of_this_id;
  call_library("Mercato.Catalog", "GetAllCatalogs", {})
      .to<Dictionary>()
      ->for_each([&](const Variant& key, const Variant& name) {
        const NamedCatalog catalog{key.to_long(), name.to_text()};
        if (catalog.id == id) of_this_id = catalog;
        if (text::same(catalog.name, text)) of_this_name.push_back(catalog);
      });
  if (of_this_id) return *of_this_id;
  if (of_this_name.empty()) raise(error_number::kInvalidArgument, {}, "There is no catalogue " + text);
  if (of_this_name.size() > 1)
    raise(error_number::kInvalidArgument, {}, "The name " + text + " stands for more than one catalogue: use the id");
  return of_this_name.front();
}

CatalogPlace place_named(const std::string& text) {
  if (const auto id = number_in(text)) {
    const std::vector<DictionaryPtr> rows = rows_of(Sql("SELECT CATALOGID FROM CATALOGNODE WHERE NODEID = ") << *id);
    if (rows.empty()) raise(error_number::kInvalidArgument, {}, "There is no node " + text);
    const Variant& catalog = rows.front()->Item("CATALOGID");
    if (catalog.is_null()) raise(error_number::kInvalidArgument, {}, "Node " + text + " is of no catalogue");
    return {catalog_named(catalog.to_text()), id};
  }
  const std::vector<std::string> names = names_of_path(text);
  CatalogPlace place{catalog_named(names.front()), std::nullopt};
  for (std::size_t level = 1; level < names.size(); ++level) {
    const std::vector<std::int32_t> nodes = children_called(place, names[level]);
    if (nodes.empty()) raise_no_place(text, names[level]);
    if (nodes.size() > 1) {
      std::string ids;
      for (const std::int32_t node : nodes) ids += (ids.empty() ? "" : ", ") + std::to_string(node);
      raise(error_number::kInvalidArgument, {},
            "Several nodes on the way " + text + " are called " + names[level] + "; name one by its id: " + ids);
    }
    place.node = nodes.front();
  }
  return place;
}

std::int32_t node_named(const std::string& text) {
  const CatalogPlace place = place_named(text);
  if (!place.node)
    raise(error_number::kInvalidArgument, {},
          text + " is a catalogue; a node is named by its id, or as CATALOGUE/NAME/NAME");
  return *place.node;
}

std::int32_t catalog_id_named(const std::string& text) {
  const std::optional<std::int32_t> id = number_in(text);
  return id ? *id : catalog_named(text).id;
}

std::int32_t node_id_named(const std::string& text) {
  const std::optional<std::int32_t> id = number_in(text);
  return id ? *id : node_named(text);
}

}  // namespace mercato::keeping
