// SPDX-License-Identifier: Apache-2.0
// mercato catalog list, show, new, copy, expire, activate, rename and delete. The other commands of the group have files of their own.
#include "tools/cli/catalog/catalog_commands.h"

#include <optional>

#include "catalog/catalog_lists.h"
#include "keeping/node_keeping.h"
#include "keeping/succession.h"
#include "mercato/collection.h"
#include "mercato/object_context.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/catalog/node_deletion.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"
#include "values/text.h"

namespace mercato::cli {
namespace catalog_commands {

constexpr const char* kReader = "Mercato.Catalog";
constexpr const char* kWriter = "Mercato.TCatalog";
constexpr const char* kTable = "CATALOG";

struct NoOptions {};
struct WhichCatalog {
  std::string which;
};
struct RenamedCatalog {
  std::string which;
  std::string name;
};
struct DeletedCatalog {
  std::string which;
  bool dry_run = false;
  bool yes = false;
};
struct ExpiredCatalog {
  std::string which;
  bool keep_shared = false;
  bool dry_run = false;
};
struct NewCatalog {
  std::string name;
  std::vector<std::string> pairs;
};
struct CopiedCatalog {
  std::string which;
  std::string name;
  bool without_nodes = false;
};

// The catalogue record, as columns and values.
DictionaryPtr record_of(const ComponentPtr& catalogs, std::int32_t id) {
  const auto record = call(catalogs, "GetCatalog", {id}).to<Collection>();
  auto row = std::make_shared<Dictionary>();
  for (const char* column :
       {"CATALOGID", "CATALOGNAME", "ACTIVE", "APPROVALCATALOG", "SUPPLIERCATALOGID", "VERSION", "CATALOGLAYOUT"})
    row->Add(column, record->Item(std::string_view(column)));
  return row;
}

std::string yes_or_no(const Dictionary& row, const char* column) {
  const std::string flag = text_of(row, column);
  return flag.empty() ? "" : flag == "0" ? "no" : "yes";
}

int list(const NoOptions&, const OutputOptions& output) {
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "NAME", "ACTIVE", "APPROVAL", "VERSION"});
  const ComponentPtr catalogs = create_root(kReader);
  call(catalogs, "GetAllCatalogs", {}).to<Dictionary>()->for_each([&](const Variant& id, const Variant&) {
    const DictionaryPtr row = record_of(catalogs, id.to_long());
    json.push_back(to_json(*row));
    table.add({text_of(*row, "CATALOGID"), shown(text_of(*row, "CATALOGNAME")), yes_or_no(*row, "ACTIVE"),
               yes_or_no(*row, "APPROVALCATALOG"), shown(text_of(*row, "VERSION"))});
  });
  return answer_list(output, "catalogs", std::move(json), table, "There are no catalogues.");
}

int show(const WhichCatalog& given, const OutputOptions& output) {
  const std::int32_t id = find_catalog(given.which).id;
  const CatalogCounts found = counts_of_catalog(id);
  const struct {
    const char* name;
    std::size_t count;
  } counts[] = {
      {"nodes", found.nodes}, {"products", found.products}, {"users", found.users}, {"profiles", found.profiles}};
  const DictionaryPtr record = record_of(create_root(kReader), id);
  gateway::Json json = to_json(*record);
  std::string words;
  record->for_each([&](const Variant& column, const Variant&) {
    words += column.to_text() + " = " + shown(text_of(*record, column.to_text()), 200) + "\n";
  });
  const std::string description = description_of_catalog(id);
  json["CATALOGDESCRIPTION"] = description;
  words += "CATALOGDESCRIPTION = " + shown(description, 200) + "\n";
  for (const auto& [name, number] : counts) {
    json[name] = number;
    words += std::string(name) + ": " + std::to_string(number) + "\n";
  }
  words.pop_back();
  return answer(output, json, words);
}

int insert(const NewCatalog& given, const OutputOptions& output) {
  Array fields{"CATALOGNAME"};
  Array values{given.name};
  for (const std::string& pair : given.pairs) {
    const std::size_t equals = pair.find('=');
    fields.items.emplace_back(text::to_upper(pair.substr(0, equals)));
    const std::string value = pair.substr(equals + 1);
    // The library would write the empty text as it is.
    values.items.push_back(value.empty() ? Variant(kNull) : Variant(value));
  }
  expect_no_assigned_field(kTable, fields);
  const std::int32_t id = explaining([&](const RaisedError&) { return reasons_against_write(kTable, fields, values); },
                                     [&] {
                                       return call(create_root(kWriter), "InsertCatalog", {fields, values}).to_long();
                                     });
  return answer(output, {{"id", id}}, "catalogue " + std::to_string(id) + " created.");
}

// The catalogue whose id the store gave out last.
CatalogName newest_of(const Dictionary& catalogs) {
  CatalogName newest;
  catalogs.for_each([&](const Variant& id, const Variant& name) {
    if (id.to_long() > newest.id) newest = {id.to_long(), name.text_or_empty()};
  });
  return newest;
}

int copy(const CopiedCatalog& given, const OutputOptions& output) {
  const CatalogName original = find_catalog(given.which);
  const std::int32_t level = given.without_nodes ? 0 : 1;
  OneTransaction transaction;
  // Each node is written twice: the second time for its parent.
  const std::size_t nodes = given.without_nodes ? 0 : count_nodes(original.id);
  explaining([&](const RaisedError&) { return reasons_against_write(kTable, {"CATALOGNAME"}, {given.name}); },
             [&] {
               const RowProgress progress(1 + 2 * nodes);
               return transaction.call(kWriter, "CopyCatalog", {original.id, level, given.name});
             });
  // The library does not say which it is. Nobody else has written since: it is the newest.
  const CatalogName twin = newest_of(*transaction.call(kReader, "GetAllCatalogs", {}).to<Dictionary>());
  const std::size_t count = count_nodes(twin.id);
  transaction.commit();
  return answer(
      output, {{"id", twin.id}, {"name", twin.name}, {"nodes", count}},
      "catalogue " + shown(twin) + " created as a copy with " + counted(count, "node") + "; it is not active.");
}

int expire(const ExpiredCatalog& given, const OutputOptions& output) {
  const CatalogName catalog = find_catalog(given.which);
  OneTransaction transaction;
  const keeping::Expiry plan = keeping::plan_expiry(catalog.id);
  std::size_t disabled = plan.disabled.size();
  std::optional<RowProgress> progress;
  if (!given.dry_run) progress.emplace(1 + disabled + (given.keep_shared ? 0 : plan.shared));
  if (given.keep_shared) {
    if (!given.dry_run) keeping::expire_keeping_shared(catalog.id);
  } else {
    disabled += plan.shared;
    if (!given.dry_run) transaction.call(kWriter, "ExpireCatalog", {catalog.id});
  }
  progress.reset();
  gateway::Json json = {{"expired", !given.dry_run}, {"disabled", disabled}};
  if (given.keep_shared) json["kept"] = plan.shared;
  std::string words = counted(disabled, "product") + (given.dry_run ? " would be disabled" : " disabled");
  if (given.keep_shared)
    words += ", " + std::to_string(plan.shared) + " that other active catalogues show stay";
  else if (given.dry_run)
    words += "; of these " + std::to_string(plan.shared) +
             " are shown by other active catalogues, and stay with --keep-shared";
  if (given.dry_run) {
    json["dryRun"] = true;
    json["shared"] = plan.shared;
    return answer(output, json, words + ". A dry run: nothing was changed.");
  }
  transaction.commit();
  return answer(output, json, "catalogue " + shown(catalog) + " is no longer active; " + words + ".");
}

int set_active(const WhichCatalog& given, bool active, const OutputOptions& output) {
  const CatalogName catalog = find_catalog(given.which);
  OneTransaction transaction;
  keeping::set_active(catalog.id, active);
  transaction.commit();
  return answer(
      output, {{"id", catalog.id}, {"active", active}},
      "catalogue " + shown(catalog) + (active ? " is active." : " is not active; its products stay as they are."));
}
int activate(const WhichCatalog& given, const OutputOptions& output) { return set_active(given, true, output); }
int deactivate(const WhichCatalog& given, const OutputOptions& output) { return set_active(given, false, output); }

int rename(const RenamedCatalog& given, const OutputOptions& output) {
  const CatalogName catalog = find_catalog(given.which);
  OneTransaction transaction;
  keeping::rename_catalog(catalog.id, given.name);
  transaction.commit();
  return answer(output, {{"id", catalog.id}, {"name", given.name}},
                "catalogue " + std::to_string(catalog.id) + " is called " + shown(given.name, 255) + " now.");
}

int remove(const DeletedCatalog& given, const OutputOptions& output) {
  const CatalogName catalog = find_catalog(given.which);
  return delete_nodes([&] { return keeping::delete_catalog(catalog.id); },
                      [&](const keeping::DeletedNodes& deleted) {
                        return "catalogue " + shown(catalog) + " with " + counted(deleted.nodes, "node");
                      },
                      {given.dry_run, given.yes}, output);
}

// What the command line takes

constexpr const char* kWhich = "The catalogue's id, or its name when only one has it";

void add_show(Menu::Group& group) {
  const auto [command, given] = group.add("show", "Print one catalogue, and how much there is in it",
                                          "  mercato catalog show 1\n", catalog_commands::show);
  command.add_option("CATALOG", given.which, kWhich)->required();
}

void add_tree(Menu::Group& group) {
  const auto [command, given] =
      group.add("tree", "Draw the tree of a catalogue",
                "  mercato catalog tree 1\n"
                "  mercato catalog tree 'House catalogue 2026' --depth 1\n"
                "  mercato catalog tree 1 --user CHLOE.MERCIER\n"
                "Each node has its id, and the products of its category. With --user: [sees] where the node was laid "
                "out for\n"
                "the user or he has the whole catalogue, [orders] and [view only] as the entries say. Exit status 3 "
                "when nodes\n"
                "hang in a circle or on a node that is not of the catalogue.\n",
                draw_catalog);
  command.add_option("CATALOG", given.catalog, kWhich)->required();
  command.add_option("--user", given.user, "Show what this user may do")->type_name("USER")->check(is_no_blank());
  command.add_option("--depth", given.depth, "The most levels")
      ->type_name("N")
      ->check(is_whole_number())
      ->check(is_positive());
}

void add_new(Menu::Group& group) {
  const auto [command, given] =
      group.add("new", "Create a catalogue without nodes and print its id",
                "  mercato catalog new 'Spring 2027'\n"
                "  mercato catalog new 'Spring 2027' ACTIVE=1 VERSION=2 'CATALOGDESCRIPTION=From March on'\n"
                "A FIELD is a column of CATALOG, in any case.\n",
                insert);
  command.add_option("NAME", given.name, "The name; several catalogues may have it")->required()->check(is_no_blank());
  command.add_option("PAIRS", given.pairs, "FIELD=VALUE")->check(is_pair());
}

void add_load(Menu::Group& group) {
  const auto [command, given] = group.add(
      "load", "Create a catalogue with the nodes of a file of comma-separated values",
      "  mercato catalog load nodes.csv --name 'Spring 2027'\n"
      "  mercato catalog load themes.csv --name Themes --id-column code --parent-column above --name-column title\n"
      "The first line names the columns: id, parent (or parent_id), name, and category if there is one. A node "
      "without a\n"
      "parent is a root; a parent may stand behind its children. A category is an id or a name of `category list`. "
      "Other\n"
      "columns are passed over. All of the file is loaded, or nothing: faults are told with their lines.\n",
      load_catalog);
  command.add_option("FILE", given.file, "The file, in UTF-8")->required();
  command.add_option("--name", given.name, "The name of the catalogue")
      ->type_name("NAME")
      ->required()
      ->check(is_no_blank());
  command.add_option("--description", given.description, "Its description")->type_name("TEXT");
  command.add_flag("--active", given.active, "Make it active at once");
  command.add_flag("--no-journal", given.without_journal, "Keep nothing that could take it back");
  command.add_option("--id-column", given.id_column, "The header of the ids")->type_name("HEADER");
  command.add_option("--parent-column", given.parent_column, "The header of the parents' ids")->type_name("HEADER");
  command.add_option("--name-column", given.name_column, "The header of the names")->type_name("HEADER");
  command.add_option("--category-column", given.category_column, "The header of the categories")->type_name("HEADER");
}

void add_copy(Menu::Group& group) {
  const auto [command, given] =
      group.add("copy", "Copy a catalogue with its nodes",
                "  mercato catalog copy 1 --name 'House catalogue 2027'\n"
                "  mercato catalog copy 1 --without-nodes\n"
                "The copy is not active. Rights, favourites and the partners of shop-out folders are not copied.\n",
                copy);
  command.add_option("CATALOG", given.which, kWhich)->required();
  command.add_option("--name", given.name, "The name of the copy; else \"Copy Of\" and the name")->type_name("NAME");
  command.add_flag("--without-nodes", given.without_nodes, "The catalogue's own row only");
}

void add_successor(Command& command, CatalogMigration& given) {
  command.add_option("OLD", given.from, kWhich)->required();
  command.add_option("NEW", given.to, "Its successor, by id or name")->required();
  command.add_flag("--only-if-empty", given.only_if_empty, "Refuse when the new catalogue has rights already");
  command.add_flag("--replace", given.replace,
                   "Delete its rights also when the old one has none to put in their place");
}

void add_migrate(Menu::Group& group) {
  const auto [command, given] =
      group.add("migrate", "Move the rights and favourites of all users to another catalogue",
                "  mercato catalog migrate 1 'House catalogue 2027' --dry-run\n"
                "  mercato catalog migrate 1 'House catalogue 2027'\n"
                "A right on a node goes to the node of the same names all the way up; a favourite to the product of "
                "the same\n"
                "part number, when the user may order it there. All others are deleted, and so are the rights that "
                "the new\n"
                "catalogue had. All of it or nothing.\n",
                migrate_catalog);
  add_successor(command, given);
  command.add_flag("--dry-run", given.dry_run, "Say what would be moved and lost, and change nothing");
}

void add_expire(Menu::Group& group) {
  const auto [command, given] =
      group.add("expire", "Make a catalogue inactive and disable its products everywhere",
                "  mercato catalog expire 1 --dry-run\n"
                "  mercato catalog expire 1 --keep-shared\n"
                "Without --keep-shared its products are disabled though another catalogue shows them; `product enable` "
                "brings\n"
                "them back.\n",
                expire);
  command.add_option("CATALOG", given.which, kWhich)->required();
  command.add_flag("--keep-shared", given.keep_shared, "Products that another active catalogue shows stay enabled");
  command.add_flag("--dry-run", given.dry_run, "Say what would be disabled, and change nothing");
}

void add_succeed(Menu::Group& group) {
  const auto [command, given] = group.add(
      "succeed", "Put a catalogue in the place of another: the whole succession",
      "  mercato catalog succeed 'House catalogue 2026' 'House catalogue 2027' --dry-run\n"
      "  mercato catalog succeed 1 2 --yes\n"
      "Rights and favourites move as `catalog migrate` moves them, the new catalogue becomes active, the old one "
      "expires as\n"
      "with --keep-shared, and the nodes of all users of the new one are laid out. All of it or nothing.\n",
      succeed_catalog);
  add_successor(command, given);
  command.add_flag("--dry-run", given.dry_run, "Say what would be done, and change nothing");
  command.add_flag("--yes", given.yes, "Do not ask");
}

void add_states(Menu::Group& group) {
  const auto add_state = [&](const char* name, const char* description, const char* examples, auto body) {
    const auto [command, given] = group.add(name, description, examples, body);
    command.add_option("CATALOG", given.which, kWhich)->required();
  };
  add_state("activate", "Make a catalogue active", "  mercato catalog activate 'House catalogue 2027'\n", activate);
  add_state("deactivate", "Make a catalogue inactive, and leave its products as they are",
            "  mercato catalog deactivate 1\n`catalog expire` disables its products, too.\n", deactivate);
  {
    const auto [command, given] =
        group.add("rename", "Rename a catalogue", "  mercato catalog rename 1 'House catalogue 2026'\n", rename);
    command.add_option("CATALOG", given.which, kWhich)->required();
    command.add_option("NAME", given.name, "The new name")->required()->check(is_no_blank());
  }
  {
    const auto [command, given] = group.add("delete", "Delete an inactive catalogue with its nodes, rights and ties",
                                            "  mercato catalog delete 1 --dry-run\n"
                                            "  mercato catalog delete 1 --yes\n"
                                            "Categories and products stay.\n",
                                            remove);
    command.add_option("CATALOG", given.which, kWhich)->required();
    command.add_flag("--dry-run", given.dry_run, "Say what would go, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace catalog_commands

void add_catalog_commands(Menu& menu) {
  using namespace catalog_commands;
  Menu::Group group = menu.group("catalog", "List, draw, create, load, copy, succeed and delete catalogues");
  group.add("list", "List the catalogues", "  mercato catalog list\n", list);
  add_show(group);
  add_tree(group);
  add_new(group);
  add_load(group);
  add_copy(group);
  add_migrate(group);
  add_expire(group);
  add_succeed(group);
  add_states(group);
}

}  // namespace mercato::cli
