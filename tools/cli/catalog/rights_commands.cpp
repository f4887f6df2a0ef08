// SPDX-License-Identifier: Apache-2.0
// mercato rights: who may see and order what.
#include <algorithm>
#include <iostream>
#include <set>

#include "catalog/node_rights.h"
#include "catalog/rights_entries.h"
#include "frame/lib_sql.h"
#include "keeping/rights_keeping.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace rights_commands {

constexpr const char* kWriter = "Mercato.TCatalog";

struct Assignment {
  RightsHolder holder;
  std::vector<std::string> catalogs;
  bool force = false;
};
struct Grant {
  RightsHolder holder;
  std::string place;
  bool view_only = false;
  bool force = false;
};
struct LaidOutUser {
  std::string user;
};
struct ClearedHolder {
  RightsHolder holder;
  bool yes = false;
};
struct Question {
  std::string user;
  std::string node;
};

std::string described(const RightsHolder& holder) { return (holder.is_profile ? "profile " : "") + shown(holder.id); }

const char* words_for(Right entry) {
  switch (entry) {
    case Right::order:
      return "may order";
    case Right::view_only:
      return "view only";
    default:
      return "-";
  }
}

// A profile is known by its rights alone.
void expect_holder(const RightsHolder& holder, bool force) {
  if (!holder.is_profile) expect_user(holder.id, force);
}
// A user who is gone may have left rights behind.
void expect_holder_or_rows(const RightsHolder& holder) {
  if (!holder.is_profile && count_entries(holder) == 0) expect_row("USERS", holder.id);
}

// show

int show(const RightsHolder& given, const OutputOptions& output) {
  const store::CallLimit limit = call_limit();
  NodeTree tree;
  expect_holder_or_rows(given);
  gateway::Json json = gateway::Json::array();
  Table table({"CATALOGUE", "LEVEL", "NODE", "RIGHT"});
  for (const DictionaryPtr& row : rows_left(entries_of(given))) {
    const Variant& node = row->Item("NODEID");
    const std::string path = node.is_null() ? std::string() : tree.path(node.to_long());
    gateway::Json entry = to_json(*row);
    entry["PATH"] = node.is_null() ? gateway::Json(nullptr) : gateway::Json(path);
    json.push_back(std::move(entry));
    const std::string flag = text_of(*row, "VIEWONLY");
    table.add({text_of(*row, "CATALOGID") + " " + shown(text_of(*row, "CATALOGNAME"), 40), text_of(*row, "LEVEL"),
               node.is_null() ? "all" : text_of(*row, "NODEID") + " " + shown(path, 80),
               flag.empty()  ? "says neither"
               : flag == "0" ? "may order"
                             : "view only"});
  }
  return answer_list(output, "rights", std::move(json), table, described(given) + " has no rights.");
}

// assign, clear

int assign(const Assignment& given, const OutputOptions& output) {
  // The library would take catalogues that are not there, and one twice.
  Array ids;
  std::set<std::int32_t> wanted;
  for (const std::string& which : given.catalogs)
    if (const CatalogName catalog = find_catalog(which); wanted.insert(catalog.id).second)
      ids.items.emplace_back(catalog.id);
  const RightsHolder& holder = given.holder;
  expect_holder(holder, given.force);
  OneTransaction transaction;
  const std::size_t replaced = count_entries(holder);
  const bool assigned =
      explaining(
          [&](const RaisedError&) {
            return reasons_against_write("CATALOGNODEBYUSER", {"USERID"}, {std::string(text::trim(holder.id))});
          },
          [&] {
            return transaction.call(kWriter, "UpdateUserCatalogIDs", {holder.id, ids, holder.is_profile});
          })
          .to_boolean();
  if (!assigned)
    return refuse(output, {{"assigned", false}}, "the rights stay as they were; the library does not say why.", {});
  transaction.commit();
  std::string words = described(holder) + " has " + counted(ids.items.size(), "catalogue") + " now; " +
                      counted(replaced, "earlier right") + " replaced.";
  if (!holder.is_profile) words += " `mercato rights populate` lays the nodes out.";
  return answer(output, {{"assigned", true}, {"catalogs", ids.items.size()}, {"replaced", replaced}}, words);
}

int clear(const ClearedHolder& given, const OutputOptions& output) {
  const RightsHolder& holder = given.holder;
  expect_holder_or_rows(holder);
  if (const std::size_t there = count_entries(holder); there > 0 && !given.yes)
    expect_consent(counted(there, "right") + " of " + described(holder) + " will be removed");
  OneTransaction transaction;
  const std::size_t before = count_entries(holder);
  if (!transaction.call(kWriter, "ClearUserCatalogIDs", {holder.id, holder.is_profile}).to_boolean())
    return refuse(output, {{"cleared", false}}, "the rights stay as they were; the library does not say why.", {});
  transaction.commit();
  return answer(output, {{"cleared", true}, {"removed", before}},
                counted(before, "right") + " of " + described(holder) + " removed.");
}

// grant, revoke

std::string described(const keeping::CatalogPlace& place) {
  return place.node ? "node " + std::to_string(*place.node) + " " + shown(NodeTree().path(*place.node), 200)
                    : "catalogue " + std::to_string(place.catalog.id) + " " + shown(place.catalog.name);
}

constexpr const char* kToLayOut = " `mercato rights populate` lays the nodes out.";

int grant(const Grant& given, const OutputOptions& output) {
  expect_holder(given.holder, given.force);
  const keeping::CatalogPlace place = keeping::place_named(given.place);
  OneTransaction transaction;
  const keeping::Granted granted = keeping::grant(given.holder, place, given.view_only);
  const std::string what =
      described(given.holder) + (given.view_only ? " may only view " : " may order from ") + described(place);
  const gateway::Json json = {{"granted", granted != keeping::Granted::same}};
  if (granted == keeping::Granted::same) return refuse(output, json, "no right was changed.", {what + " already"});
  transaction.commit();
  return answer(output, json, what + " now." + (given.holder.is_profile ? "" : kToLayOut));
}

int revoke(const Grant& given, const OutputOptions& output) {
  expect_holder_or_rows(given.holder);
  const keeping::CatalogPlace place = keeping::place_named(given.place);
  OneTransaction transaction;
  const std::size_t revoked = keeping::revoke(given.holder, place);
  const gateway::Json json = {{"revoked", revoked}};
  if (revoked == 0)
    return refuse(output, json, described(given.holder) + " has no right on " + described(place) + " itself.", {});
  transaction.commit();
  return answer(output, json,
                counted(revoked, "right") + " of " + described(given.holder) + " on " + described(place) + " removed." +
                    (given.holder.is_profile ? "" : kToLayOut));
}

// populate

Reasons circles_above(NodeTree& tree, const WrongParents& wrong) {
  Reasons reasons;
  for (const std::int32_t node : wrong.below_circles) reasons.push_back(*endless(tree, node));
  return reasons;
}

Reasons reasons_against_laying_out(const std::string& user, const WrongParents& wrong) {
  Reasons reasons = reasons_against_user(user);
  for (const auto& [node, catalog] : wrong.outside)
    reasons.push_back("node " + std::to_string(node) + " or one above it is not in catalogue " +
                      (catalog ? std::to_string(*catalog) : std::string()));
  return reasons;
}

int populate(const LaidOutUser& given, const OutputOptions& output) {
  // What was laid out for a user who is gone goes with this.
  if (count_laid_out_nodes(given.user).rows == 0) expect_holder_or_rows({given.user, false});
  WrongParents wrong;
  {
    const store::CallLimit limit = call_limit();
    NodeTree tree;
    wrong = wrong_parents(tree, given.user);
    if (!wrong.below_circles.empty())
      return refuse(output, {{"populated", false}}, "the nodes cannot be laid out; nothing was changed.",
                    circles_above(tree, wrong));
  }
  OneTransaction transaction;
  const bool populated =
      explaining([&](const RaisedError&) { return reasons_against_laying_out(given.user, wrong); },
                 [&] { return transaction.call(kWriter, "PopulateUserNodes", {given.user}).to_boolean(); });
  if (!populated)
    return refuse(output, {{"populated", false}}, "no node was laid out; the library does not say why.", {});
  const auto [rows, nodes] = count_laid_out_nodes(given.user);
  transaction.commit();
  std::string words = counted(nodes, "node") + " laid out for " + shown(given.user) + ".";
  if (rows > nodes)
    words += " " + counted(rows - nodes, "row") +
             " more: rights that overlap lay a node out several times, and the "
             "library cannot list these nodes.";
  return answer(output, {{"populated", true}, {"nodes", nodes}, {"rows", rows}}, words);
}

// explain

const char* words_for(EntryPlace place) {
  switch (place) {
    case EntryPlace::catalog:
      return "catalogue";
    case EntryPlace::node:
      return "node";
    default:
      return "above it";
  }
}

// A step of the trace, with the name of the thing.
struct NamedStep {
  RightsTrace::Step step;
  std::string name;
};

std::vector<NamedStep> named_steps(const RightsTrace& trace, NodeTree& tree) {
  std::vector<NamedStep> steps;
  for (const RightsTrace::Step& step : trace.steps) {
    const CatalogNode* node = step.place == EntryPlace::catalog ? nullptr : tree.find(step.id);
    const std::string name = step.place == EntryPlace::catalog ? name_of_catalog(step.id) : node ? node->name : "";
    steps.push_back({step, std::string(text::trim(name))});
  }
  return steps;
}

std::string named(const NamedStep& named) {
  return (named.step.place == EntryPlace::catalog ? "catalogue " : "node ") + std::to_string(named.step.id) + " " +
         shown(named.name);
}

// What the entry of a step does.
std::string effect(const RightsTrace& trace, std::size_t position) {
  const RightsTrace::Step& step = trace.steps[position];
  if (trace.decisive == position) return step.entry == Right::view_only ? "decides: nothing lifts it" : "decides";
  if (step.entry != Right::order) return "";
  return step.place == EntryPlace::ancestor ? "lets order from that node only, not from those below it"
         : trace.is_view_only()             ? "is overruled"
                                            : "is not needed: the node's own entry says the same";
}

struct Verdict {
  const char* question;
  bool answer;
  std::string because;
};

std::vector<Verdict> verdicts_of(const RightsTrace& trace, const std::vector<NamedStep>& steps) {
  std::string because = "no entry on the node or the catalogue says so, and none restricts";
  if (trace.decisive)
    because = "by the entry on " + named(steps[*trace.decisive]);
  else if (steps.empty())
    because = "the node has no catalogue";
  const bool sees = trace.sight == Sight::laid_out || trace.sight == Sight::whole_catalog;
  return {{"sees", sees,
           !sees                            ? "not laid out (`mercato rights populate`), nor has the user "
                                              "the whole catalogue"
           : trace.sight == Sight::laid_out ? "the node is laid out"
                                            : "the user has the whole catalogue"},
          {"orders", trace.may_order(), because},
          {"view only", trace.is_view_only(), because}};
}

int tell(const std::string& user, std::int32_t node, const RightsTrace& trace, NodeTree& tree,
         const OutputOptions& output) {
  const std::vector<NamedStep> steps = named_steps(trace, tree);
  const std::vector<Verdict> verdicts = verdicts_of(trace, steps);
  const std::string path = tree.path(node);
  gateway::Json json = {{"user", user}, {"node", node}, {"path", path}, {"steps", gateway::Json::array()}};
  Table table({"LOOKED AT", "ID", "NAME", "ENTRY", "WHAT IT DOES"});
  for (std::size_t position = 0; position < steps.size(); ++position) {
    const auto& [step, name] = steps[position];
    json["steps"].push_back(
        {{"place", words_for(step.place)},
         {"id", step.id},
         {"name", name},
         {"entry", step.entry == Right::none ? gateway::Json(nullptr) : gateway::Json(words_for(step.entry))},
         {"decides", trace.decisive == position}});
    table.add(
        {words_for(step.place), std::to_string(step.id), shown(name), words_for(step.entry), effect(trace, position)});
  }
  json["sees"] = verdicts[0].answer;
  json["orders"] = verdicts[1].answer;
  json["viewOnly"] = verdicts[2].answer;
  if (output.json) return answer(output, json, {});

  std::cout << bold(shown(user) + " and node " + std::to_string(node) + " " + shown(path, 200)) << '\n';
  table.print(std::cout);
  for (const Verdict& verdict : verdicts)
    std::cout << verdict.question << ": " << (verdict.answer ? good("yes") : "no") << ", " << verdict.because << '\n';
  return kDone;
}

int explain(const Question& given, const OutputOptions& output) {
  const std::int32_t node = keeping::node_id_named(given.node);
  const store::CallLimit limit = call_limit();
  NodeTree tree;
  const RightsTrace trace = explaining([&](const RaisedError&) { return reasons_against_user(given.user); },
                                       [&] { return trace_rights(given.user, node); });
  const std::string named = "node " + std::to_string(node);
  if (!tree.find(node)) raise(error_number::kInvalidArgument, {}, "There is no " + named);
  const gateway::Json json = {{"user", given.user}, {"node", node}};
  if (trace.endless) return refuse(output, json, "the library would ask until its time is up.", {*endless(tree, node)});
  if (trace.sight == Sight::no_catalog)
    return refuse(output, json, "the library cannot say whether the user sees it.", {named + " has no catalogue"});
  return tell(given.user, node, trace, tree, output);
}

void add_holder(Command& command, RightsHolder& holder) {
  command.add_option("USER", holder.id, "The user's id, or the profile's with --profile")
      ->required()
      ->check(is_no_blank());
  command.add_flag("--profile", holder.is_profile, "USER is a profile");
}

void add_place(Command& command, std::string& place) {
  command.add_option("PLACE", place, "A node, by id or as CATALOGUE/NAME, or a catalogue, by name or as ID/")
      ->required()
      ->check(is_no_blank());
}

}  // namespace rights_commands

void add_rights_commands(Menu& menu) {
  using namespace rights_commands;
  Menu::Group group = menu.group("rights", "Show, explain and assign who may see and order what");
  {
    const auto [command, given] = group.add("show", "List the rights of a user or a profile",
                                            "  mercato rights show CHLOE.MERCIER\n"
                                            "  mercato rights show BUYERS --profile\n",
                                            rights_commands::show);
    add_holder(command, given);
  }
  {
    const auto [command, given] =
        group.add("explain", "Say which entry decides what a user may do with a node",
                  "  mercato rights explain CHLOE.MERCIER 'House catalogue 2026/Office/Paper'\n"
                  "  mercato rights explain CHLOE.MERCIER 12\n"
                  "A restriction on the catalogue, the node or any node above it wins. Else the node's own entry, or "
                  "that on the\n"
                  "catalogue, lets the user order. Profiles do not count.\n",
                  explain);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
    command.add_option("NODE", given.node, "The node, by id or as CATALOGUE/NAME/NAME")
        ->required()
        ->check(is_no_blank());
  }
  {
    const auto [command, given] =
        group.add("assign", "Replace all rights of a user or a profile by whole catalogues",
                  "  mercato rights assign BEN.OKORO 1\n"
                  "  mercato rights assign BUYERS 'House catalogue 2026' --profile\n"
                  "The user may order from all of them. A user has no part in what a profile has.\n",
                  assign);
    add_holder(command, given.holder);
    command.add_option("CATALOG", given.catalogs, "Catalogues, by id or name")->required();
    command.add_flag("--force", given.force, kForceHelp);
  }
  {
    const auto [command, given] =
        group.add("grant", "Give a user or a profile a right on a catalogue or a node, beside those that he has",
                  "  mercato rights grant BEN.OKORO 'House catalogue 2026/Office'\n"
                  "  mercato rights grant BEN.OKORO 12 --view-only\n"
                  "On a node he sees it and all below, and may order from the node itself; on a catalogue he may order "
                  "from all of\n"
                  "it. --view-only restricts everything below, whatever entries stand there. A right that is there is "
                  "changed.\n",
                  grant);
    add_holder(command, given.holder);
    add_place(command, given.place);
    command.add_flag("--view-only", given.view_only, "He may not order there, nor anywhere below");
    command.add_flag("--force", given.force, kForceHelp);
  }
  {
    const auto [command, given] = group.add("revoke", "Take one right from a user or a profile",
                                            "  mercato rights revoke BEN.OKORO 'House catalogue 2026/Office'\n"
                                            "Rights on nodes below it stay.\n",
                                            revoke);
    add_holder(command, given.holder);
    add_place(command, given.place);
  }
  {
    const auto [command, given] = group.add("populate", "Lay out the nodes that a user sees, as his rights are now",
                                            "  mercato rights populate BEN.OKORO\n", populate);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
  }
  {
    const auto [command, given] =
        group.add("clear", "Take all rights from a user or a profile",
                  "  mercato rights clear BEN.OKORO --yes\n"
                  "  mercato rights clear BUYERS --profile --yes\n"
                  "What was laid out stays until `rights populate`. His accounts of shop-out folders go along.\n",
                  clear);
    add_holder(command, given.holder);
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
