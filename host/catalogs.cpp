// SPDX-License-Identifier: Apache-2.0
// Catalogues, their nodes a level at a time, and why a user may do with a node what he may.
#include "catalog/node_rights.h"
#include "catalog/node_tree.h"
#include "host/host.h"
#include "keeping/catalog_level.h"

namespace mercato::host {
namespace {

Json or_null(const std::optional<std::int32_t>& number) { return number ? Json(*number) : Json(nullptr); }

[[noreturn]] void refuse_place() { refuse(404, "There is no such catalogue, or no such node in it."); }

// The library asks for the rights of a user whose id has no quote only.
bool can_be_asked(const std::string& user) { return user.find('\'') == std::string::npos; }

Response list(Call& call) {
  Json items = Json::array();
  for (const keeping::CatalogEntry& catalog : keeping::catalogs(call.caller.user))
    items.push_back(
        {{"id", catalog.id}, {"name", catalog.name}, {"description", catalog.description}, {"active", catalog.active}});
  return json_response({{"items", std::move(items)}});
}

Response list_nodes(Call& call) {
  const auto nodes = keeping::catalog_level(call.integer("id"), call.integer_if_given("parent"), call.caller.user);
  if (!nodes) refuse_place();
  const auto user = call.sight();
  Json items = Json::array();
  for (const keeping::LevelNode& node : *nodes) {
    Json item = {{"id", node.id},     {"parent", or_null(node.parent)},     {"name", node.name},
                 {"type", node.type}, {"category", or_null(node.category)}, {"children", node.children}};
    if (user && can_be_asked(*user)) {
      const RightsTrace trace = trace_rights(*user, node.id);
      item["sees"] = trace.sight == Sight::laid_out || trace.sight == Sight::whole_catalog;
      item["orders"] = trace.may_order();
      item["viewOnly"] = trace.is_view_only();
    }
    items.push_back(std::move(item));
  }
  return json_response({{"items", std::move(items)}});
}

const char* name_of(EntryPlace place) {
  switch (place) {
    case EntryPlace::catalog:
      return "catalog";
    case EntryPlace::node:
      return "node";
    default:
      return "ancestor";
  }
}

const char* name_of(Right right) {
  switch (right) {
    case Right::order:
      return "order";
    case Right::view_only:
      return "viewOnly";
    default:
      return "none";
  }
}

const char* name_of(Sight sight) {
  switch (sight) {
    case Sight::laid_out:
      return "laidOut";
    case Sight::whole_catalog:
      return "wholeCatalog";
    default:
      return "nowhere";
  }
}

// Every place is named, so that the answer can be read without another question.
std::string name_of_place(NodeTree& tree, const RightsTrace::Step& step) {
  if (step.place != EntryPlace::catalog) {
    const CatalogNode* node = tree.find(step.id);
    return node ? node->name : std::string();
  }
  for (const keeping::CatalogEntry& catalog : keeping::catalogs(std::nullopt))
    if (catalog.id == step.id) return catalog.name;
  return {};
}

Response explain(Call& call) {
  const std::string user = *call.sight();
  const std::int32_t id = call.integer("node");
  if (call.caller.user && !keeping::sees_node(user, id)) refuse_place();
  if (!can_be_asked(user)) refuse(422, "The rights of a user whose id has a quote cannot be asked.");
  const RightsTrace trace = trace_rights(user, id);
  if (trace.sight == Sight::no_node) refuse_place();
  NodeTree tree;
  Json steps = Json::array();
  for (std::size_t number = 0; number < trace.steps.size(); ++number) {
    const RightsTrace::Step& step = trace.steps[number];
    steps.push_back({{"place", name_of(step.place)},
                     {"id", step.id},
                     {"name", name_of_place(tree, step)},
                     {"entry", name_of(step.entry)},
                     {"decides", trace.decisive == number}});
  }
  const bool sees = trace.sight == Sight::laid_out || trace.sight == Sight::whole_catalog;
  return json_response({{"user", user},
                        {"node", id},
                        {"sight", name_of(trace.sight)},
                        {"steps", std::move(steps)},
                        {"endless", trace.endless},
                        {"sees", sees},
                        {"orders", trace.may_order()},
                        {"viewOnly", trace.is_view_only()}});
}

}  // namespace

std::vector<Route> catalog_routes() {
  using Kind = Parameter::Kind;
  return {
      {.method = "GET",
       .path = "/api/v1/catalogs",
       .role = Role::reader,
       .summary = "The catalogues, by name",
       .parameters = {},
       .handler = list,
       .answer = "Catalogs"},
      {.method = "GET",
       .path = "/api/v1/catalogs/{id}/nodes",
       .role = Role::reader,
       .summary = "The nodes of a catalogue, a level at a time",
       .parameters = {{.name = "id",
                       .kind = Kind::integer,
                       .required = true,
                       .description = "The catalogue's id",
                       .example = "1"},
                      {.name = "parent",
                       .kind = Kind::integer,
                       .description = "The node above; without it the first level"},
                      {.name = "user", .description = "Tell for each node what this user may"}},
       .handler = list_nodes,
       .answer = "Nodes"},
      {.method = "GET",
       .path = "/api/v1/rights/explain",
       .role = Role::reader,
       .summary = "Why a user may do with a node what he may: each place looked at, its entry, what decided",
       .parameters =
           {{.name = "user", .required = true, .description = "The user", .example = "ANN"},
            {.name = "node", .kind = Kind::integer, .required = true, .description = "The node's id", .example = "1"}},
       .handler = explain,
       .answer = "Rights"}};
}

}  // namespace mercato::host
