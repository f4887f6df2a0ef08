// mercato rights: who may see and order what.
#include <algorithm>
#include <iostream>
#include <set>

#include "frame/lib_general.h"
#include "tools/cli/catalog/catalog_tree.h"
#include "tools/cli/catalog/rights_walk.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace rights_commands {

constexpr const char* kWriter = "Mercato.TCatalog";

struct Holder {
  std::string id;
  bool is_profile = false;
};
struct Assignment {
  Holder holder;
  std::vector<std::string> catalogs;
};
struct LaidOutUser {
  std::string user;
};
struct Question {
  std::string user;
  std::int32_t node = 0;
};

std::string described(const Holder& holder) { return (holder.is_profile ? "profile " : "") + shown(holder.id); }

// Those that the holder's rows are compared with: the store passes over blanks behind, and over case.
Sql of_holder(const Holder& holder) {
  Sql condition;
  condition << " FROM CATALOGNODEBYUSER WHERE USERID = N'" << value(Gen_QuoteSql(holder.id)) << "' AND ISPROFILE = ";
  holder.is_profile ? condition << "1" : condition << "0";
  return condition;
}

std::size_t count_entries(const Holder& holder) {
  Sql sql;
  sql << "SELECT COUNT(*) AS N" << of_holder(holder);
  return static_cast<std::size_t>(query_rows(sql).at(0)->Item("N").to_long());
}

const char* words_for(RightsWalk::Entry entry) {
  switch (entry) {
    case RightsWalk::Entry::order:
      return "may order";
    case RightsWalk::Entry::view_only:
      return "view only";
    default:
      return "-";
  }
}

// show

// No call of the library lists them.
int show(const Holder& given, const OutputOptions& output) {
  const store::CallLimit limit = call_limit();
  Sql sql;
  sql << "SELECT E.CATALOGID, C.CATALOGNAME, E.NODEID, E.LEVEL, E.VIEWONLY FROM (SELECT *" << of_holder(given)
      << ") E LEFT JOIN CATALOG C ON C.CATALOGID = E.CATALOGID ORDER BY E.CATALOGID, E.LEVEL, E.NODEID";
  NodeTree tree;
  gateway::Json json = gateway::Json::array();
  Table table({"CATALOGUE", "LEVEL", "NODE", "RIGHT"});
  for (const DictionaryPtr& row : query_rows(sql)) {
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
  // The library takes catalogues that are not there, and one twice.
  Array ids;
  std::set<std::int32_t> wanted;
  for (const std::string& which : given.catalogs)
    if (const CatalogName catalog = find_catalog(which); wanted.insert(catalog.id).second)
      ids.items.emplace_back(catalog.id);
  const Holder& holder = given.holder;
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

int clear(const Holder& given, const OutputOptions& output) {
  OneTransaction transaction;
  const std::size_t before = count_entries(given);
  if (!transaction.call(kWriter, "ClearUserCatalogIDs", {given.id, given.is_profile}).to_boolean())
    return refuse(output, {{"cleared", false}}, "the rights stay as they were; the library does not say why.", {});
  transaction.commit();
  return answer(output, {{"cleared", true}, {"removed", before}},
                counted(before, "right") + " of " + described(given) + " removed.");
}

// populate

// What the library would fail at, or never come to an end with: the parents of the nodes that the user has.
struct WrongParents {
  Reasons circles;
  Reasons missing;
};
WrongParents wrong_parents(const std::string& user) {
  Sql sql;
  sql << "SELECT DISTINCT NODEID, CATALOGID" << of_holder({user, false}) << " AND NODEID IS NOT NULL ORDER BY NODEID";
  const store::CallLimit limit = call_limit();
  NodeTree tree;
  WrongParents wrong;
  for (const DictionaryPtr& row : query_rows(sql)) {
    const std::int32_t node = row->Item("NODEID").to_long();
    if (auto endless = tree.endless(node)) {
      wrong.circles.push_back(std::move(*endless));
      continue;
    }
    const std::string catalog = text_of(*row, "CATALOGID");
    const auto in_catalog = [&](const CatalogNode* above) {
      return above->catalog && std::to_string(*above->catalog) == catalog;
    };
    const WayUp way = tree.way_up(node);
    if (way.end != WayUp::End::root || !std::ranges::all_of(way.nodes, in_catalog))
      wrong.missing.push_back("node " + std::to_string(node) + " or one above it is not in catalogue " + catalog);
  }
  return wrong;
}

int populate(const LaidOutUser& given, const OutputOptions& output) {
  const WrongParents wrong = wrong_parents(given.user);
  if (!wrong.circles.empty())
    return refuse(output, {{"populated", false}}, "the nodes cannot be laid out; nothing was changed.", wrong.circles);
  OneTransaction transaction;
  const bool populated = explaining(
      [&](const RaisedError&) {
        Reasons reasons = reasons_against_user(given.user);
        reasons.insert(reasons.end(), wrong.missing.begin(), wrong.missing.end());
        return reasons;
      },
      [&] { return transaction.call(kWriter, "PopulateUserNodes", {given.user}).to_boolean(); });
  if (!populated)
    return refuse(output, {{"populated", false}}, "no node was laid out; the library does not say why.", {});
  Sql sql;
  sql << "SELECT COUNT(*) AS N, COUNT(DISTINCT NODEID) AS NODES FROM USERNODE WHERE USERID = N'"
      << value(Gen_QuoteSql(given.user)) << "'";
  const DictionaryPtr counts = query_rows(sql).at(0);
  transaction.commit();
  const auto rows = static_cast<std::size_t>(counts->Item("N").to_long());
  const auto nodes = static_cast<std::size_t>(counts->Item("NODES").to_long());
  std::string words = counted(nodes, "node") + " laid out for " + shown(given.user) + ".";
  if (rows > nodes)
    words += " " + counted(rows - nodes, "row") +
             " more: rights that overlap lay a node out several times, and the "
             "library cannot list these nodes.";
  return answer(output, {{"populated", true}, {"nodes", nodes}, {"rows", rows}}, words);
}

// explain

const char* words_for(RightsWalk::Place place) {
  switch (place) {
    case RightsWalk::Place::catalog:
      return "catalogue";
    case RightsWalk::Place::node:
      return "node";
    default:
      return "above it";
  }
}

std::string named(const RightsWalk::Step& step) {
  return (step.place == RightsWalk::Place::catalog ? "catalogue " : "node ") + std::to_string(step.id) + " " +
         shown(step.name);
}

// What the entry of a step comes to.
std::string effect(const RightsWalk& walk, std::size_t position) {
  const RightsWalk::Step& step = walk.steps[position];
  if (walk.decisive == position)
    return step.entry == RightsWalk::Entry::view_only ? "decides: nothing lifts it" : "decides";
  if (step.entry != RightsWalk::Entry::order) return "";
  return step.place == RightsWalk::Place::ancestor ? "lets order from that node only, not from those below it"
         : walk.is_view_only()                     ? "is overruled"
                                                   : "is not needed: the node's own entry says the same";
}

struct Verdict {
  const char* question;
  bool answer;
  std::string because;
};

std::vector<Verdict> verdicts_of(const RightsWalk& walk) {
  std::string because = "no entry on the node or the catalogue says so, and none restricts";
  if (walk.decisive)
    because = "by the entry on " + named(walk.steps[*walk.decisive]);
  else if (walk.steps.empty())
    because = "the node has no catalogue";
  const bool sees = *walk.seen != RightsWalk::Seen::nowhere;
  return {{"sees", sees,
           !sees                                      ? "not laid out (`mercato rights populate`), nor has the user "
                                                        "the whole catalogue"
           : *walk.seen == RightsWalk::Seen::laid_out ? "the node is laid out"
                                                      : "the user has the whole catalogue"},
          {"orders", walk.may_order(), because},
          {"view only", walk.is_view_only(), because}};
}

int explain(const Question& given, const OutputOptions& output) {
  const store::CallLimit limit = call_limit();
  NodeTree tree;
  const RightsWalk walk = explaining([&](const RaisedError&) { return reasons_against_user(given.user); },
                                     [&] { return walk_rights(tree, given.user, given.node); });
  const std::string node = "node " + std::to_string(given.node);
  if (!walk.node) raise(error_number::kInvalidArgument, {}, "There is no " + node);
  gateway::Json json = {{"user", given.user}, {"node", given.node}};
  if (walk.endless) return refuse(output, json, "the library would ask until its time is up.", {*walk.endless});
  if (!walk.seen)
    return refuse(output, json, "the library cannot say whether the user sees it.", {node + " has no catalogue"});

  const std::string path = tree.path(given.node);
  const std::vector<Verdict> verdicts = verdicts_of(walk);
  json["path"] = path;
  json["steps"] = gateway::Json::array();
  Table table({"LOOKED AT", "ID", "NAME", "ENTRY", "WHAT IT DOES"});
  for (std::size_t position = 0; position < walk.steps.size(); ++position) {
    const RightsWalk::Step& step = walk.steps[position];
    json["steps"].push_back({{"place", words_for(step.place)},
                             {"id", step.id},
                             {"name", step.name},
                             {"entry", step.entry == RightsWalk::Entry::none ? gateway::Json(nullptr)
                                                                             : gateway::Json(words_for(step.entry))},
                             {"decides", walk.decisive == position}});
    table.add({words_for(step.place), std::to_string(step.id), shown(step.name), words_for(step.entry),
               effect(walk, position)});
  }
  json["sees"] = verdicts[0].answer;
  json["orders"] = verdicts[1].answer;
  json["viewOnly"] = verdicts[2].answer;
  if (output.json) return answer(output, json, {});

  std::cout << bold(shown(given.user) + " and " + node + " " + shown(path, 200)) << '\n';
  table.print(std::cout);
  for (const Verdict& verdict : verdicts)
    std::cout << verdict.question << ": " << (verdict.answer ? good("yes") : "no") << ", " << verdict.because << '\n';
  return kDone;
}

void add_holder(Command& command, Holder& holder) {
  command.add_option("USER", holder.id, "The user's id, or the profile's with --profile")
      ->required()
      ->check(is_no_blank());
  command.add_flag("--profile", holder.is_profile, "USER is a profile");
}

}  // namespace rights_commands

void add_rights_commands(Menu& menu) {
  using namespace rights_commands;
  Menu::Group group = menu.group("rights", "Show, explain and assign who may see and order what");
  {
    const auto [command, given] = group.add("show", "List the rights of a user or a profile",
                                            "  mercato rights show CHLOE.MERCIER\n"
                                            "  mercato rights show BUYERS --profile\n",
                                            show);
    add_holder(command, given);
  }
  {
    const auto [command, given] =
        group.add("explain", "Say which entry decides what a user may do with a node",
                  "  mercato rights explain CHLOE.MERCIER 12\n"
                  "A restriction on the catalogue, the node or any node above it wins. Else the node's own entry, or "
                  "that on the\n"
                  "catalogue, lets the user order. Profiles do not count. Node ids are those of `catalog tree`.\n",
                  explain);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
    command.add_option("NODE", given.node, "The node's id")->required()->check(is_whole_number());
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
  }
  {
    const auto [command, given] = group.add("populate", "Lay out the nodes that a user sees, as his rights are now",
                                            "  mercato rights populate BEN.OKORO\n", populate);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
  }
  {
    const auto [command, given] =
        group.add("clear", "Take all rights from a user or a profile",
                  "  mercato rights clear BEN.OKORO\n"
                  "  mercato rights clear BUYERS --profile\n"
                  "What was laid out stays until `rights populate`. His accounts of shop-out folders go along.\n",
                  clear);
    add_holder(command, given);
  }
}

}  // namespace mercato::cli
