// mercato catalog migrate: rights and favourites on their way from one catalogue to its successor, both or none of
// them.
#include <algorithm>
#include <iostream>
#include <map>

#include "frame/lib_general.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/catalog/catalog_tree.h"
#include "tools/cli/catalog/rights_walk.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

constexpr const char* kWriter = "Mercato.TCatalog";
constexpr const char* kReader = "Mercato.Catalog";

std::size_t count_of(const Sql& sql) { return static_cast<std::size_t>(query_rows(sql).at(0)->Item("N").to_long()); }

// What goes, and why.
struct Loss {
  std::size_t count = 0;
  std::string what;  // "on node 7 Office\Paper", "of ann: product 2 (QM-1)"
  std::string why;
};
using Losses = std::vector<Loss>;

// Rights

std::size_t rights_on(std::int32_t catalog) {
  Sql sql;
  sql << "SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE CATALOGID = " << catalog;
  return count_of(sql);
}
std::size_t rights_on_node(std::int32_t catalog, std::int32_t node) {
  Sql sql;
  sql << "SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE CATALOGID = " << catalog << " AND NODEID = " << node;
  return count_of(sql);
}

std::string described(NodeTree& tree, std::int32_t node) {
  return "node " + std::to_string(node) + " " + shown(tree.path(node), 200);
}

// The nodes whose rights go, and the reasons for which the library's call would fail, or never end.
struct RightsPlan {
  Losses losses;
  Reasons obstacles;
};

RightsPlan plan_rights(NodeTree& tree, const CatalogName& from, const CatalogName& to) {
  const store::CallLimit limit = call_limit();
  RightsPlan plan;
  Sql sql;
  sql << "SELECT DISTINCT CN.NODEID, CN.NODENAME FROM CATALOGNODE CN "
         " INNER JOIN CATALOGNODEBYUSER CU ON CU.NODEID = CN.NODEID "
         " WHERE CN.CATALOGID = "
      << from.id;
  for (const DictionaryPtr& row : query_rows(sql)) {
    const std::int32_t node = row->Item("NODEID").to_long();
    // The library looks at the first node of this name only.
    sql = LiteralPiece(" SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  NODENAME = '");
    sql << value(Gen_QuoteSql(text_of(*row, "NODENAME"))) << "' AND CATALOGID = " << to.id;
    const Rows candidates = query_rows(sql);
    if (candidates.empty()) {
      if (const std::size_t count = rights_on_node(from.id, node); count > 0)
        plan.losses.push_back({count, "on " + described(tree, node), "catalogue " + shown(to) + " has no such node"});
      continue;
    }
    const std::int32_t twin = candidates.front()->Item("NODEID").to_long();
    bool has_paths = true;
    for (const std::int32_t end : {node, twin}) {
      const WayUp way = tree.way_up(end);
      if (way.end == WayUp::End::root) continue;
      has_paths = false;
      plan.obstacles.push_back(way.end == WayUp::End::circle
                                   ? *tree.endless(end)
                                   : "above " + described(tree, end) + " a parent is missing, node " +
                                         std::to_string(way.nodes.back()->parent.value_or(0)));
    }
    if (has_paths && text::to_upper(tree.path(node)) != text::to_upper(tree.path(twin)))
      plan.obstacles.push_back("for " + described(tree, node) + " the first of its name in catalogue " + shown(to) +
                               " is " + described(tree, twin) +
                               ", and the library looks at no other; rename one of them");
  }
  return plan;
}

// Favourites

struct Offer {
  std::int32_t product;
  std::int32_t node;
};

// " FROM ..." of the products that a catalogue shows on its category nodes.
Sql products_of(std::int32_t catalog) {
  Sql sql;
  sql << " FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID INNER JOIN CATALOGNODE N ON "
         "N.CATALOGID = "
      << catalog << " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1 ";
  return sql;
}

std::size_t favorites_on(std::int32_t catalog) {
  Sql sql;
  sql << "SELECT COUNT(*) AS N FROM FAVORITES WHERE PRODUCTID IN (SELECT P.PRODUCTID" << products_of(catalog) << ")";
  return count_of(sql);
}
std::size_t all_favorites() { return count_of(LiteralPiece("SELECT COUNT(*) AS N FROM FAVORITES")); }

// By part number, exactly, as the library compares them.
std::map<std::string, std::vector<Offer>> offers_in(std::int32_t catalog) {
  Sql sql;
  sql << "SELECT P.PRODUCTID, P.PARTNUMBER, N.NODEID FROM CATALOGNODE N, PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON "
         "P.PRODUCTID = C.PRODUCTID WHERE N.CATEGORYID = C.CATEGORYID AND N.CATALOGID = "
      << catalog;
  std::map<std::string, std::vector<Offer>> offers;
  for (const DictionaryPtr& row : query_rows(sql))
    offers[text_of(*row, "PARTNUMBER")].push_back({row->Item("PRODUCTID").to_long(), row->Item("NODEID").to_long()});
  return offers;
}

struct FavoritesPlan {
  Losses losses;
  Reasons obstacles;
};

// Asks as the library will, so that the rights have to be moved before.
FavoritesPlan plan_favorites(NodeTree& tree, OneTransaction& transaction, const CatalogName& from,
                             const CatalogName& to) {
  const store::CallLimit limit = call_limit();
  FavoritesPlan plan;
  Sql sql;
  sql << "SELECT F.USERID, P.PRODUCTID, P.PARTNUMBER, COUNT(*) AS N FROM FAVORITES F INNER JOIN PRODUCT P ON "
         "P.PRODUCTID = F.PRODUCTID WHERE P.PRODUCTID IN (SELECT P.PRODUCTID"
      << products_of(from.id) << ") GROUP BY F.USERID, P.PRODUCTID, P.PARTNUMBER ORDER BY F.USERID, P.PRODUCTID";
  const Rows favorites = query_rows(sql);
  if (favorites.empty()) return plan;
  const auto offers = offers_in(to.id);
  for (const DictionaryPtr& row : favorites) {
    const std::string user = text_of(*row, "USERID");
    const std::string part = text_of(*row, "PARTNUMBER");
    const auto lose = [&](const std::string& why) {
      plan.losses.push_back({static_cast<std::size_t>(row->Item("N").to_long()),
                             "of " + shown(user) + ": product " + text_of(*row, "PRODUCTID") + " (" + shown(part) + ")",
                             why});
    };
    const auto same_part = offers.find(part);
    if (same_part == offers.end()) {
      lose("catalogue " + shown(to) + " has no product of this part number");
      continue;
    }
    bool may_order = false;
    bool may_view = false;
    for (const Offer& offer : same_part->second) {
      if (const auto endless = tree.endless(offer.node)) {
        plan.obstacles.push_back(*endless);
        break;
      }
      const auto ask = [&](const char* question) {
        return explaining([&](const RaisedError&) { return reasons_against_user(user); },
                          [&] {
                            return transaction.call(kReader, question, {user, offer.node}).to_boolean();
                          });
      };
      if ((may_order = ask("IsOrderCatalogNodeEx"))) break;
      may_view |= ask("IsViewOnlyCatalogNodeEx");
    }
    if (!may_order)
      lose(may_view ? "the user may only view the product in catalogue " + shown(to)
                    : "no entry of the user lets him order the product in catalogue " + shown(to));
  }
  std::ranges::sort(plan.obstacles);
  plan.obstacles.erase(std::unique(plan.obstacles.begin(), plan.obstacles.end()), plan.obstacles.end());
  return plan;
}

// What was done

gateway::Json to_json(const Losses& losses) {
  gateway::Json json = gateway::Json::array();
  for (const Loss& loss : losses) json.push_back({{"count", loss.count}, {"what", loss.what}, {"why", loss.why}});
  return json;
}

void print_losses(const char* noun, const Losses& losses) {
  constexpr std::size_t kMost = 20;
  for (std::size_t position = 0; position < std::min(losses.size(), kMost); ++position)
    std::cout << "  " << bad("lost: ") << counted(losses[position].count, noun) << " " << losses[position].what << "; "
              << losses[position].why << '\n';
  if (losses.size() > kMost)
    std::cout << "  and " << losses.size() - kMost << " more lines like these; --json has them all\n";
}

int refuse_migration(const OutputOptions& output, const std::string& result, const Reasons& reasons) {
  return refuse(output, {{"migrated", false}}, result, reasons);
}

}  // namespace

int migrate_catalog(const CatalogMigration& given, const OutputOptions& output) {
  const CatalogName from = find_catalog(given.from);
  const CatalogName to = find_catalog(given.to);
  if (from.id == to.id)
    return refuse_migration(output, "a catalogue is no successor of its own.",
                            {"both are catalogue " + shown(from) + ", whose rights would be deleted"});
  NodeTree tree;
  OneTransaction transaction;

  const RightsPlan rights = plan_rights(tree, from, to);
  if (!rights.obstacles.empty())
    return refuse_migration(output, "the rights cannot be moved; nothing was changed.", rights.obstacles);
  const std::size_t rights_before = rights_on(from.id);
  const std::size_t replaced = rights_on(to.id);
  // As after a migration that is repeated.
  if (rights_before == 0 && replaced > 0 && !given.only_if_empty && !given.replace)
    return refuse_migration(output, "there are no rights to move; nothing was changed.",
                            {"catalogue " + shown(from) + " has none, and the " + counted(replaced, "right") +
                             " of catalogue " + shown(to) + " would be deleted; --replace does so"});
  if (!transaction.call(kWriter, "ChangeAuthorizationsForUser", {from.id, to.id, !given.only_if_empty}).to_boolean())
    return refuse_migration(output, "nothing was migrated.",
                            {"catalogue " + shown(to) + " has " + counted(replaced, "right") +
                             " already; without --only-if-empty they are replaced"});
  const std::size_t rights_moved = rights_on(to.id);
  const std::size_t rights_left = rights_on(from.id);

  const FavoritesPlan favorites = plan_favorites(tree, transaction, from, to);
  if (!favorites.obstacles.empty())
    return refuse_migration(output, "the favourites cannot be moved; nothing was changed.", favorites.obstacles);
  const std::size_t favorites_before = favorites_on(from.id);
  const std::size_t all_before = all_favorites();
  if (!transaction.call(kWriter, "ChangeFavorites", {from.id, to.id}).to_boolean())
    return refuse_migration(output, "nothing was migrated; the library does not say why.", {});
  const std::size_t favorites_lost = all_before - all_favorites();
  if (!given.dry_run) transaction.commit();

  const std::size_t rights_lost = rights_before - rights_moved - rights_left;
  const std::size_t favorites_moved = favorites_before - favorites_lost;
  if (output.json)
    return answer(
        output,
        {{"migrated", !given.dry_run},
         {"dryRun", given.dry_run},
         {"rights",
          {{"moved", rights_moved},
           {"lost", rights_lost},
           {"replaced", replaced},
           {"left", rights_left},
           {"losses", to_json(rights.losses)}}},
         {"favorites", {{"moved", favorites_moved}, {"lost", favorites_lost}, {"losses", to_json(favorites.losses)}}}},
        {});
  std::cout << bold("catalogue " + shown(from) + " to " + shown(to)) << '\n'
            << "rights: " << rights_moved << " moved, " << rights_lost << " lost, " << replaced << " replaced\n";
  print_losses("right", rights.losses);
  if (rights_left > 0)
    std::cout << "  left: " << counted(rights_left, "right") << " on nodes that are not of the catalogue\n";
  std::cout << "favourites: " << favorites_moved << " moved, " << favorites_lost << " lost\n";
  print_losses("favourite", favorites.losses);
  std::cout << (given.dry_run ? "A dry run: nothing was changed.\n"
                              : "The nodes laid out for users are as before: `mercato rights populate USER`.\n");
  return kDone;
}

}  // namespace mercato::cli
