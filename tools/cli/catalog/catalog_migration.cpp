// SPDX-License-Identifier: Apache-2.0
// mercato catalog migrate: rights and favourites on their way from one catalogue to its successor, both or none of
// them.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <vector>

#include "catalog/migration.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace {

constexpr const char* kWriter = "Mercato.TCatalog";

// What goes, and why.
struct Loss {
  std::size_t count = 0;
  std::string what;  // "on node 7 Office\Paper", "of ann: product 2 (QM-1)"
  std::string why;
};
// A plan in words: what goes, and why the library's call would fail or never end.
struct Plan {
  std::vector<Loss> losses;
  Reasons obstacles;
};

// Rights

std::string described(NodeTree& tree, std::int32_t node) {
  return "node " + std::to_string(node) + " " + shown(tree.path(node), 200);
}

// Why the way up from the node does not lead to a root; nothing when it does.
Reasons obstacles_above(NodeTree& tree, std::int32_t node) {
  if (const auto circle = endless(tree, node)) return {*circle};
  const WayUp way = tree.way_up(node);
  if (way.end == WayUp::End::root) return {};
  return {"above " + described(tree, node) + " a parent is missing, node " +
          std::to_string(way.nodes.back()->parent.value_or(0))};
}

Plan told_rights(NodeTree& tree, const CatalogName& from, const CatalogName& to) {
  const store::CallLimit limit = call_limit();
  Plan plan;
  for (const RightsMove& move : plan_rights(tree, from.id, to.id)) {
    switch (move.twin) {
      case RightsMove::Twin::none:
        if (move.lost > 0)
          plan.losses.push_back(
              {move.lost, "on " + described(tree, move.node), "catalogue " + shown(to) + " has no such node"});
        break;
      case RightsMove::Twin::no_path:
        for (const std::int32_t end : {move.node, move.twin_node})
          std::ranges::copy(obstacles_above(tree, end), std::back_inserter(plan.obstacles));
        break;
      case RightsMove::Twin::other_path:
        plan.obstacles.push_back("for " + described(tree, move.node) + " the first of its name in catalogue " +
                                 shown(to) + " is " + described(tree, move.twin_node) +
                                 ", and the library looks at no other; rename one of them");
        break;
      case RightsMove::Twin::same_path:
        break;
    }
  }
  return plan;
}

// Favourites

std::string why_lost(FavoriteFate::Kind fate, const CatalogName& to) {
  switch (fate) {
    case FavoriteFate::Kind::no_such_part:
      return "catalogue " + shown(to) + " has no product of this part number";
    case FavoriteFate::Kind::view_only:
      return "the user may only view the product in catalogue " + shown(to);
    default:
      return "no entry of the user lets him order the product in catalogue " + shown(to);
  }
}

// The library asks for the rights in the new catalogue, and so does this: the rights have to be moved before.
Plan told_favorites(NodeTree& tree, const CatalogName& from, const CatalogName& to) {
  const store::CallLimit limit = call_limit();
  Plan plan;
  const std::vector<MarkedProduct> products = marked_products(from.id);
  if (products.empty()) return plan;
  const Offers offers = offers_for(from.id, to.id);
  for (const MarkedProduct& marked : products) {
    const FavoriteFate fate = explaining([&](const RaisedError&) { return reasons_against_user(marked.user); },
                                         [&] { return fate_of(marked, offers, tree); });
    if (fate.kind == FavoriteFate::Kind::endless)
      plan.obstacles.push_back(*endless(tree, fate.node));
    else if (fate.kind != FavoriteFate::Kind::moved)
      plan.losses.push_back({count_marks(marked),
                             "of " + shown(marked.user) + ": product " + std::to_string(marked.product) + " (" +
                                 shown(marked.part_number) + ")",
                             why_lost(fate.kind, to)});
  }
  std::ranges::sort(plan.obstacles);
  plan.obstacles.erase(std::unique(plan.obstacles.begin(), plan.obstacles.end()), plan.obstacles.end());
  return plan;
}

// What was done

struct Moved {
  std::size_t moved = 0;
  std::size_t lost = 0;
  std::size_t replaced = 0;
  std::size_t left = 0;  // rights on nodes that are not of the catalogue
  std::vector<Loss> losses;
};

gateway::Json to_json(const std::vector<Loss>& losses) {
  gateway::Json json = gateway::Json::array();
  for (const Loss& loss : losses) json.push_back({{"count", loss.count}, {"what", loss.what}, {"why", loss.why}});
  return json;
}

void print_losses(const char* noun, const std::vector<Loss>& losses) {
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

int tell_migration(const CatalogName& from, const CatalogName& to, const Moved& rights, const Moved& favorites,
                   bool dry_run, const OutputOptions& output) {
  if (output.json)
    return answer(
        output,
        {{"migrated", !dry_run},
         {"dryRun", dry_run},
         {"rights",
          {{"moved", rights.moved},
           {"lost", rights.lost},
           {"replaced", rights.replaced},
           {"left", rights.left},
           {"losses", to_json(rights.losses)}}},
         {"favorites", {{"moved", favorites.moved}, {"lost", favorites.lost}, {"losses", to_json(favorites.losses)}}}},
        {});
  std::cout << bold("catalogue " + shown(from) + " to " + shown(to)) << '\n'
            << "rights: " << rights.moved << " moved, " << rights.lost << " lost, " << rights.replaced << " replaced\n";
  print_losses("right", rights.losses);
  if (rights.left > 0)
    std::cout << "  left: " << counted(rights.left, "right") << " on nodes that are not of the catalogue\n";
  std::cout << "favourites: " << favorites.moved << " moved, " << favorites.lost << " lost\n";
  print_losses("favourite", favorites.losses);
  std::cout << (dry_run ? "A dry run: nothing was changed.\n"
                        : "The nodes laid out for users are as before: `mercato rights populate USER`.\n");
  return kDone;
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

  Plan rights_plan = told_rights(tree, from, to);
  if (!rights_plan.obstacles.empty())
    return refuse_migration(output, "the rights cannot be moved; nothing was changed.", rights_plan.obstacles);
  const std::size_t rights_before = count_rights(from.id);
  const std::size_t replaced = count_rights(to.id);
  // A migration that is repeated finds no rights to move.
  if (rights_before == 0 && replaced > 0 && !given.only_if_empty && !given.replace)
    return refuse_migration(output, "there are no rights to move; nothing was changed.",
                            {"catalogue " + shown(from) + " has none, and the " + counted(replaced, "right") +
                             " of catalogue " + shown(to) + " would be deleted; --replace does so"});
  if (!transaction.call(kWriter, "ChangeAuthorizationsForUser", {from.id, to.id, !given.only_if_empty}).to_boolean())
    return refuse_migration(output, "nothing was migrated.",
                            {"catalogue " + shown(to) + " has " + counted(replaced, "right") +
                             " already; without --only-if-empty they are replaced"});
  Moved rights{count_rights(to.id), 0, replaced, count_rights(from.id), std::move(rights_plan.losses)};
  rights.lost = rights_before - rights.moved - rights.left;

  Plan favorites_plan = told_favorites(tree, from, to);
  if (!favorites_plan.obstacles.empty())
    return refuse_migration(output, "the favourites cannot be moved; nothing was changed.", favorites_plan.obstacles);
  const std::size_t favorites_before = count_favorites(from.id);
  const std::size_t all_before = count_all_favorites();
  if (!transaction.call(kWriter, "ChangeFavorites", {from.id, to.id}).to_boolean())
    return refuse_migration(output, "nothing was migrated; the library does not say why.", {});
  Moved favorites{0, all_before - count_all_favorites(), 0, 0, std::move(favorites_plan.losses)};
  favorites.moved = favorites_before - favorites.lost;
  if (!given.dry_run) transaction.commit();
  return tell_migration(from, to, rights, favorites, given.dry_run, output);
}

}  // namespace mercato::cli
