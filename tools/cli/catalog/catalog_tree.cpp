#include "tools/cli/catalog/catalog_tree.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "platform/transactions/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/listing.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

Sql all_nodes() {
  return LiteralPiece("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID FROM CATALOGNODE ");
}

std::optional<std::int32_t> number(const Dictionary& row, const char* column) {
  const Variant* value = row.find(column);
  if (!value || value->is_null()) return std::nullopt;
  return value->to_long();
}

std::unique_ptr<CatalogNode> node_of(const Dictionary& row) {
  auto node = std::make_unique<CatalogNode>();
  node->id = number(row, "NODEID").value_or(0);
  node->catalog = number(row, "CATALOGID");
  node->parent = number(row, "PARENTNODEID");
  node->name = text_of(row, "NODENAME");
  node->type = number(row, "NODETYPE").value_or(0);
  node->category = number(row, "CATEGORYID");
  return node;
}

}  // namespace

std::string shown(const CatalogName& catalog) { return std::to_string(catalog.id) + " " + shown(catalog.name); }

CatalogName find_catalog(const std::string& id_or_name) {
  std::int32_t id = 0;
  const auto [end, problem] = std::from_chars(id_or_name.data(), id_or_name.data() + id_or_name.size(), id);
  const bool is_id = problem == std::errc() && end == id_or_name.data() + id_or_name.size();
  std::vector<CatalogName> of_this_name;
  std::optional<CatalogName> of_this_id;
  call(create_root("Mercato.Catalog"), "GetAllCatalogs", {})
      .to<Dictionary>()
      ->for_each([&](const Variant& key, const Variant& name) {
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

std::string WayUp::circle() const {
  // The way ends where it would come to a node for the second time.
  const std::int32_t first = nodes.back()->parent.value_or(0);
  const auto begin =
      std::find_if(nodes.begin(), nodes.end(), [&](const CatalogNode* node) { return node->id == first; });
  std::string circle;
  for (auto node = begin; node != nodes.end(); ++node) circle += std::to_string((*node)->id) + " > ";
  return circle + std::to_string(first);
}

std::vector<const CatalogNode*> NodeTree::nodes_of(std::int32_t catalog) {
  Sql sql = all_nodes();
  sql << "WHERE CATALOGID = " << catalog << " ORDER BY SEQUENCE, NODEID";
  std::vector<const CatalogNode*> nodes;
  for (const DictionaryPtr& row : query_rows(sql)) {
    auto node = node_of(*row);
    auto& known = known_[node->id];
    if (!known) known = std::move(node);
    nodes.push_back(known.get());
  }
  return nodes;
}

const CatalogNode* NodeTree::find(std::int32_t node) {
  const auto known = known_.find(node);
  if (known != known_.end()) return known->second.get();
  Sql sql = all_nodes();
  sql << "WHERE NODEID = " << node;
  const Rows rows = query_rows(sql);
  auto& added = known_[node];
  if (!rows.empty()) added = node_of(*rows.front());
  return added.get();
}

WayUp NodeTree::way_up(std::int32_t node) {
  WayUp way;
  std::set<std::int32_t> seen;
  for (std::optional<std::int32_t> next = node; next;) {
    store::check_call_limit();
    if (!seen.insert(*next).second) {
      way.end = WayUp::End::circle;
      return way;
    }
    const CatalogNode* found = find(*next);
    if (!found) {
      way.end = WayUp::End::missing_parent;
      return way;
    }
    way.nodes.push_back(found);
    next = found->parent;
  }
  return way;
}

std::string NodeTree::path(std::int32_t node) {
  const WayUp way = way_up(node);
  std::string path;
  for (auto above = way.nodes.rbegin(); above != way.nodes.rend(); ++above) {
    if (!path.empty()) path += "\\";
    path += text::trim((*above)->name);
  }
  return path;
}

std::optional<std::string> NodeTree::endless(std::int32_t node) {
  const WayUp way = way_up(node);
  if (way.end != WayUp::End::circle) return std::nullopt;
  return "the parents of node " + std::to_string(node) + " go in a circle: " + way.circle();
}

}  // namespace mercato::cli
