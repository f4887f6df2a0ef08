// SPDX-License-Identifier: Apache-2.0
// mercato shopout: nodes that lead to a partner's own shop, the accounts of users there, and the partners that are tied
// to nodes and catalogues.
#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "catalog/catalog_lists.h"
#include "catalog/node_tree.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "keeping/catalog_resolver.h"
#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace shopout_commands {

constexpr const char* kReader = "Mercato.Catalog";
constexpr const char* kWriter = "Mercato.TCatalog";
constexpr std::int32_t kNoNode = 0;          // the whole catalogue
constexpr std::int32_t kGreatestId = 32767;  // these calls take ids of 16 bits

struct NoOptions {};
struct WhichFolder {
  std::string node;
};
struct WhichAccount {
  std::string user;
  std::string node;
  bool password = false;
};
struct WhichPlace {
  std::string catalog;
  std::string node;  // empty: the whole catalogue
};
struct UntiedPlace {
  WhichPlace place;
  bool yes = false;
};
struct Partners {
  WhichPlace place;
  std::vector<std::int32_t> partners;
};
struct Place {
  std::int32_t catalog = 0;
  std::int32_t node = kNoNode;
};

// Ids of what may be gone are taken, too: what it left behind is still here.
std::int32_t small_id(std::int32_t id) {
  if (id < 1 || id > kGreatestId)
    raise(
        error_number::kInvalidArgument, {},
        "Shop-out folders and ties have ids from 1 to " + std::to_string(kGreatestId) + ", not " + std::to_string(id));
  return id;
}
std::int32_t node_of(const std::string& named) { return small_id(keeping::node_id_named(named)); }
Place place_of(const WhichPlace& named) {
  return {small_id(keeping::catalog_id_named(named.catalog)), named.node.empty() ? kNoNode : node_of(named.node)};
}

// Reading

// The folder with its partners in one row: the library gives a row for each partner. The row is null when there is
// none.
struct Folder {
  DictionaryPtr row;
  std::vector<std::int32_t> partners;
};
Folder folder_at(const ComponentPtr& catalogs, std::int32_t node) {
  Folder folder;
  for (const DictionaryPtr& row : rows_left(call(catalogs, "GetShopOutFolderDetails", {node}).to<Recordset>())) {
    folder.partners.push_back(row->Item("BUSINESSPARTNERID").to_long());
    folder.row = row;
  }
  if (folder.row) folder.row->Remove("BUSINESSPARTNERID");
  std::sort(folder.partners.begin(), folder.partners.end());
  return folder;
}

gateway::Json json_of(const Folder& folder) {
  gateway::Json json = to_json(*folder.row);
  json["PARTNERS"] = folder.partners;
  return json;
}

// What the store knows of the partners, by id.
std::map<std::int32_t, DictionaryPtr> known_partners() {
  std::map<std::int32_t, DictionaryPtr> partners;
  for (const DictionaryPtr& row : rows_left(all_business_partners()))
    partners[row->Item("BUSINESSPARTNERID").to_long()] = row;
  return partners;
}

std::string joined_names(const std::vector<std::int32_t>& ids) {
  const auto known = known_partners();
  std::string names;
  for (const std::int32_t id : ids) {
    const auto partner = known.find(id);
    if (!names.empty()) names += ", ";
    names += std::to_string(id);
    if (partner != known.end()) names += " " + shown(text_of(*partner->second, "BUSINESSID"));
  }
  return names;
}

int list(const NoOptions&, const OutputOptions& output) {
  const ComponentPtr catalogs = create_root(kReader);
  std::set<std::int32_t> ids;  // the library names a folder once for each partner
  const Variant found = call(catalogs, "GetAllShopOutCatalogFolders", {});
  for (const Variant& id : found.to_array().items) ids.insert(id.to_long());
  gateway::Json json = gateway::Json::array();
  Table table({"NODE", "CATALOG", "NAME", "ADDRESS", "PARTNERS"});
  for (const std::int32_t id : ids) {
    const Folder folder = folder_at(catalogs, id);
    json.push_back(json_of(folder));
    table.add({std::to_string(id), text_of(*folder.row, "CATALOGID"), shown(text_of(*folder.row, "NODENAME"), 40),
               shown(text_of(*folder.row, "NODEURL"), 80), joined_names(folder.partners)});
  }
  return answer_list(output, "folders", std::move(json), table, "There are no shop-out folders with a partner.");
}

int show(const WhichFolder& given, const OutputOptions& output) {
  const std::int32_t node = node_of(given.node);
  const Folder folder = folder_at(create_root(kReader), node);
  if (!folder.row)
    raise(error_number::kInvalidArgument, {}, "Node " + std::to_string(node) + " is no shop-out folder with a partner");
  Table table({"FIELD", "VALUE"});
  folder.row->for_each([&](const Variant& column, const Variant& value) {
    if (!value.is_null()) table.add({column.to_text(), shown(text_of(value), 200)});
  });
  table.add({"PARTNERS", joined_names(folder.partners)});
  if (output.json) return answer(output, json_of(folder), {});
  table.print(std::cout);
  return kDone;
}

int account(const WhichAccount& given, const OutputOptions& output) {
  const std::int32_t node = node_of(given.node);
  // The library puts the user's id into its statement as it stands.
  const Variant accounts =
      call(create_root(kReader), "GetFolderAuthenticationDetails", {Gen_QuoteSql(given.user), node});
  gateway::Json json = gateway::Json::array();
  Table table(given.password ? std::vector<std::string>{"ACCOUNT", "PASSWORD"} : std::vector<std::string>{"ACCOUNT"});
  for (const DictionaryPtr& row : rows_left(accounts.to<Recordset>())) {
    if (row->Item("SHAREDID").is_null()) continue;  // a right without an account
    if (!given.password) row->Remove("SHAREDPWD");
    json.push_back(to_json(*row));
    std::vector<std::string> cells = {shown(text_of(*row, "SHAREDID"))};
    if (given.password) cells.push_back(shown(text_of(*row, "SHAREDPWD")));
    table.add(std::move(cells));
  }
  return answer_list(output, "accounts", std::move(json), table,
                     given.user + " has no account at node " + std::to_string(node) + ".");
}

// Ties

std::string named(const Place& place) {
  const std::string catalog = "catalogue " + std::to_string(place.catalog);
  return place.node == kNoNode ? catalog : "node " + std::to_string(place.node) + " of " + catalog;
}

std::vector<std::int32_t> partners_at(const Place& place) {
  std::vector<std::int32_t> partners;
  const std::string ids = call(create_root(kReader), "GetBPFromCatalogNodeByBP", {place.node, place.catalog}).to_text();
  for (const std::string& id : text::split(ids, ";")) partners.push_back(Variant(id).to_long());
  return partners;
}

// The library ties whatever it is given.
Reasons reasons_against_ties(const Place& place, const std::vector<std::int32_t>& partners) {
  expect_row("CATALOG", place.catalog);
  Reasons reasons;
  if (place.node != kNoNode) {
    NodeTree tree;
    const CatalogNode* node = tree.find(place.node);
    if (!node || node->catalog != place.catalog)
      reasons.push_back("there is no node " + std::to_string(place.node) + " in catalogue " +
                        std::to_string(place.catalog));
  }
  const auto known = known_partners();
  std::set<std::int32_t> once;
  for (const std::int32_t partner : partners) {
    const std::string id = std::to_string(partner);
    if (!known.contains(partner)) reasons.push_back("there is no business partner " + id);
    if (!once.insert(partner).second) reasons.push_back("partner " + id + " is named twice");
  }
  return reasons;
}

std::string joined(const std::vector<std::int32_t>& ids) {
  std::string list;
  for (const std::int32_t id : ids) list += (list.empty() ? "" : ";") + std::to_string(id);
  return list;
}

int partners(const WhichPlace& given, const OutputOptions& output) {
  const Place place = place_of(given);
  const auto known = known_partners();
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "PARTNER", "NAME"});
  for (const std::int32_t id : partners_at(place)) {
    const auto partner = known.find(id);
    const bool is_known = partner != known.end();
    json.push_back(is_known ? to_json(*partner->second) : gateway::Json{{"BUSINESSPARTNERID", id}});
    table.add({std::to_string(id), is_known ? shown(text_of(*partner->second, "BUSINESSID"), 30) : "",
               is_known ? shown(text_of(*partner->second, "PARTNERNAME")) : ""});
  }
  if (table.empty()) expect_row("CATALOG", place.catalog);
  return answer_list(output, "partners", std::move(json), table, "No partner is tied to " + named(place) + ".");
}

int tie(const Partners& given, const OutputOptions& output) {
  const Place place = place_of(given.place);
  Reasons reasons = reasons_against_ties(place, given.partners);
  const auto present = partners_at(place);
  for (const std::int32_t partner : given.partners)
    if (std::find(present.begin(), present.end(), partner) != present.end())
      reasons.push_back("partner " + std::to_string(partner) + " is tied to " + named(place) + " already");
  if (!reasons.empty()) return refuse(output, {{"tied", false}}, "no partner was tied.", reasons);
  const bool tied =
      call(create_root(kWriter), "InsertCatalogNodeByBP", {place.node, place.catalog, joined(given.partners)})
          .to_boolean();
  return answer(output, {{"tied", tied}}, counted(given.partners.size(), "partner") + " tied to " + named(place) + ".");
}

int replace(const Partners& given, const OutputOptions& output) {
  const Place place = place_of(given.place);
  const Reasons reasons = reasons_against_ties(place, given.partners);
  if (!reasons.empty()) return refuse(output, {{"replaced", false}}, "the partners stay as they were.", reasons);
  const bool replaced =
      call_without_vote(kWriter, "UpdateCatalogNodeByBP", {place.node, place.catalog, joined(given.partners)})
          .to_boolean();
  return answer(output, {{"replaced", replaced}},
                named(place) + " has " + counted(given.partners.size(), "partner") + " now.");
}

int untie(const UntiedPlace& given, const OutputOptions& output) {
  const Place place = place_of(given.place);
  const std::size_t present = partners_at(place).size();
  // Ties that a catalogue left behind when it went can still be untied.
  if (present == 0) expect_row("CATALOG", place.catalog);
  if (present > 0 && !given.yes) expect_consent(counted(present, "partner") + " will be untied from " + named(place));
  const bool deleted = call_without_vote(kWriter, "DeleteCatalogNodeByBP", {place.node, place.catalog}).to_boolean();
  const gateway::Json json = {{"untied", deleted ? present : 0}};
  if (!deleted) return refuse(output, json, "the partners stay tied; the library does not say why.", {});
  if (present == 0) return refuse(output, json, "no partner is tied to " + named(place) + ".", {});
  return answer(output, json, counted(present, "partner") + " untied from " + named(place) + ".");
}

void add_node(Command& command, std::string& node) {
  command.add_option("NODE", node, "The folder's node, by id or as CATALOGUE/NAME/NAME")
      ->required()
      ->check(is_no_blank());
}

void add_place(Command& command, WhichPlace& place) {
  command.add_option("CATALOG", place.catalog, "The catalogue's id, or its name when only one has it")
      ->required()
      ->check(is_no_blank());
  command
      .add_option("--node", place.node, "One of its nodes, by id or as CATALOGUE/NAME; else the catalogue as a whole")
      ->type_name("NODE")
      ->check(is_no_blank());
}

void add_partners(Command& command, Partners& given) {
  add_place(command, given.place);
  command.add_option("PARTNERS", given.partners, "The ids of the partners")->required()->between(1, kGreatestId);
}

}  // namespace shopout_commands

void add_shopout_commands(Menu& menu) {
  using namespace shopout_commands;
  Menu::Group group =
      menu.group("shopout", "Shop-out folders, their accounts, and the partners of nodes and catalogues");
  group.add("list", "List the shop-out folders that have a partner", "  mercato shopout list\n", list);
  {
    const auto [command, given] =
        group.add("show", "Print one shop-out folder", "  mercato shopout show 'House catalogue 2026/Bytegrove shop'\n",
                  shopout_commands::show);
    add_node(command, given.node);
  }
  {
    const auto [command, given] = group.add("account", "Print the account that a user has at a shop-out folder",
                                            "  mercato shopout account CHLOE.MERCIER 11\n"
                                            "  mercato shopout account CHLOE.MERCIER 11 --password\n",
                                            account);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
    add_node(command, given.node);
    command.add_flag("--password", given.password, "Print the password, too");
  }
  {
    const auto [command, given] = group.add("partners", "List the partners of a catalogue or of one of its nodes",
                                            "  mercato shopout partners 1\n"
                                            "  mercato shopout partners 1 --node 11\n",
                                            partners);
    add_place(command, given);
  }
  {
    const auto [command, given] = group.add("tie", "Tie partners to a catalogue or to one of its nodes",
                                            "  mercato shopout tie 1 2 3\n"
                                            "  mercato shopout tie 1 --node 11 4\n",
                                            tie);
    add_partners(command, given);
  }
  {
    const auto [command, given] = group.add("replace", "Tie these partners, and no others",
                                            "  mercato shopout replace 1 4\n"
                                            "  mercato shopout replace 1 --node 11 7\n",
                                            replace);
    add_partners(command, given);
  }
  {
    const auto [command, given] = group.add("untie", "Take all partners from a catalogue or from one of its nodes",
                                            "  mercato shopout untie 1 --yes\n"
                                            "  mercato shopout untie 1 --node 11 --yes\n",
                                            untie);
    add_place(command, given.place);
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
