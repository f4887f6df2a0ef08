// SPDX-License-Identifier: Apache-2.0
// mercato node: the nodes of catalogues, by id or by the names on the way to them.
#include "keeping/node_keeping.h"
#include "tools/cli/catalog/node_deletion.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace node_commands {

struct WhichNode {
  std::string node;
};
struct NewNodeOf {
  std::string parent;
  std::string name;
  std::string category;
};
struct NodeMove {
  std::string node;
  std::string parent;
};
struct NodeName {
  std::string node;
  std::string name;
};
struct NodeDeletion {
  std::string node;
  bool dry_run = false;
  bool yes = false;
};

std::string named(std::int32_t node) { return "node " + std::to_string(node); }

std::string named(const keeping::CatalogPlace& place) {
  return place.node ? named(*place.node) : "catalogue " + std::to_string(place.catalog.id);
}

constexpr const char* kStaleNodes = " What was laid out for users is as before: `mercato rights populate USER`.";

int show(const WhichNode& given, const OutputOptions& output) {
  const keeping::NodeFacts facts = keeping::facts_of_node(keeping::node_named(given.node));
  const gateway::Json category = facts.category ? gateway::Json(*facts.category) : gateway::Json(nullptr);
  const gateway::Json json = {
      {"id", facts.id},       {"catalog", facts.catalog}, {"path", facts.path},         {"level", facts.level},
      {"type", facts.type},   {"category", category},     {"products", facts.products}, {"children", facts.children},
      {"below", facts.below}, {"rights", facts.rights}};
  std::string words = bold(named(facts.id) + " " + shown(facts.path, 200)) +
                      "\ncatalogue: " + std::to_string(facts.catalog) + "\nlevel: " + std::to_string(facts.level) +
                      "\ncategory: ";
  words += facts.category ? std::to_string(*facts.category) + " " + shown(facts.category_name) : "none";
  words += "\nproducts: " + std::to_string(facts.products) + "\nchildren: " + std::to_string(facts.children) +
           "\nnodes below: " + std::to_string(facts.below) +
           "\nrights on it and below: " + std::to_string(facts.rights);
  return answer(output, json, words);
}

int insert(const NewNodeOf& given, const OutputOptions& output) {
  const keeping::CatalogPlace parent = keeping::place_named(given.parent);
  std::optional<std::int32_t> category;
  if (!given.category.empty())
    category = one_of(kCategories, id_of(kCategories, given.category))->Item("CATEGORYID").to_long();
  OneTransaction transaction;
  const std::int32_t id = keeping::new_node(parent, given.name, category);
  transaction.commit();
  return answer(output, {{"id", id}}, named(id) + " created below " + named(parent) + "." + kStaleNodes);
}

int rename(const NodeName& given, const OutputOptions& output) {
  const std::int32_t id = keeping::node_named(given.node);
  OneTransaction transaction;
  keeping::rename_node(id, given.name);
  transaction.commit();
  return answer(output, {{"id", id}, {"name", given.name}},
                named(id) + " is called " + shown(given.name, 255) + " now.");
}

int move(const NodeMove& given, const OutputOptions& output) {
  const std::int32_t id = keeping::node_named(given.node);
  const keeping::CatalogPlace parent = keeping::place_named(given.parent);
  OneTransaction transaction;
  keeping::move_node(id, parent);
  transaction.commit();
  return answer(output, {{"id", id}, {"parent", parent.node ? gateway::Json(*parent.node) : gateway::Json(nullptr)}},
                named(id) + " moved below " + named(parent) + "." + kStaleNodes);
}

int remove(const NodeDeletion& given, const OutputOptions& output) {
  const std::int32_t id = keeping::node_named(given.node);
  return delete_nodes([&] { return keeping::delete_node(id); },
                      [&](const keeping::DeletedNodes& deleted) {
                        return named(id) + " with " + counted(deleted.nodes - 1, "node") + " below it";
                      },
                      {given.dry_run, given.yes}, output);
}

constexpr const char* kNode = "The node, by id or as CATALOGUE/NAME/NAME";
constexpr const char* kParent = "Where: a node, by id or as CATALOGUE/NAME, or a catalogue, by name or as ID/";

}  // namespace node_commands

void add_node_commands(Menu& menu) {
  using namespace node_commands;
  Menu::Group group = menu.group("node", "Show, create, move, rename and delete the nodes of catalogues");
  {
    const auto [command, given] = group.add("show", "Print one node, and how much there is on it and below",
                                            "  mercato node show 'House catalogue 2026/Office/Paper'\n"
                                            "  mercato node show 12\n"
                                            "A stroke in a name is written \\/.\n",
                                            node_commands::show);
    command.add_option("NODE", given.node, kNode)->required()->check(is_no_blank());
  }
  {
    const auto [command, given] = group.add("new", "Create a node and print its id",
                                            "  mercato node new 'House catalogue 2026/Office' Pens --category Writing\n"
                                            "  mercato node new 1/ Garden\n"
                                            "It becomes the last of its parent, below which its name has to be free.\n",
                                            insert);
    command.add_option("PARENT", given.parent, kParent)->required()->check(is_no_blank());
    command.add_option("NAME", given.name, "The name")->required()->check(is_no_blank());
    command.add_option("--category", given.category, "The category whose products it shows, by id or name")
        ->type_name("CATEGORY");
  }
  {
    const auto [command, given] =
        group.add("move", "Move a node with all below it within its catalogue",
                  "  mercato node move 'House catalogue 2026/Office/Pens' 'House catalogue 2026/Workshop'\n"
                  "  mercato node move 'House catalogue 2026/Workshop/Pens' 1/   # to the top\n"
                  "The entries of rights follow.\n",
                  move);
    command.add_option("NODE", given.node, kNode)->required()->check(is_no_blank());
    command.add_option("PARENT", given.parent, kParent)->required()->check(is_no_blank());
  }
  {
    const auto [command, given] = group.add(
        "rename", "Rename a node", "  mercato node rename 'House catalogue 2026/Pens' 'Pens and pencils'\n", rename);
    command.add_option("NODE", given.node, kNode)->required()->check(is_no_blank());
    command.add_option("NAME", given.name, "The new name")->required()->check(is_no_blank());
  }
  {
    const auto [command, given] = group.add("delete", "Delete a node with all below it, their rights and ties",
                                            "  mercato node delete 'House catalogue 2026/Pens and pencils' --dry-run\n"
                                            "  mercato node delete 'House catalogue 2026/Pens and pencils' --yes\n"
                                            "Categories and products stay.\n",
                                            remove);
    command.add_option("NODE", given.node, kNode)->required()->check(is_no_blank());
    command.add_flag("--dry-run", given.dry_run, "Say what would go, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
