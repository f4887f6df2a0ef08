// SPDX-License-Identifier: Apache-2.0
// mercato catalog migrate and succeed: rights and favourites on their way from one catalogue to its successor, both or none of
// them.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "catalog/migration.h"
#include "catalog/rights_entries.h"
#include "keeping/node_keeping.h"
#include "keeping/rights_keeping.h"
#include "keeping/succession.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"

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
  Progress progress(products.size());
  for (const MarkedProduct& marked : products) {
    progress.advance();
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

struct Migration {
  CatalogName from;
  CatalogName to;
  Moved rights;
  Moved favorites;
};

gateway::Json json_of(const Migration& done, bool dry_run) {
  const auto& [from, to, rights, favorites] = done;
  return {{"migrated", !dry_run},
          {"dryRun", dry_run},
          {"rights",
           {{"moved", rights.moved},
            {"lost", rights.lost},
            {"replaced", rights.replaced},
            {"left", rights.left},
            {"losses", to_json(rights.losses)}}},
          {"favorites", {{"moved", favorites.moved}, {"lost", favorites.lost}, {"losses", to_json(favorites.losses)}}}};
}

void print_migration(const Migration& done) {
  const auto& [from, to, rights, favorites] = done;
  std::cout << bold("catalogue " + shown(from) + " to " + shown(to)) << '\n'
            << "rights: " << rights.moved << " moved, " << rights.lost << " lost, " << rights.replaced << " replaced\n";
  print_losses("right", rights.losses);
  if (rights.left > 0)
    std::cout << "  left: " << counted(rights.left, "right") << " on nodes that are not of the catalogue\n";
  std::cout << "favourites: " << favorites.moved << " moved, " << favorites.lost << " lost\n";
  print_losses("favourite", favorites.losses);
}

constexpr const char* kDryRun = "A dry run: nothing was changed.\n";

// Moves rights and favourites within the transaction. Nothing when it was refused, which has been told.
std::optional<Migration> migrate(OneTransaction& transaction, const CatalogMigration& given,
                                 const OutputOptions& output) {
  const auto refused = [&](const std::string& result, const Reasons& reasons) {
    refuse_migration(output, result, reasons);
    return std::nullopt;
  };
  const CatalogName from = find_catalog(given.from);
  const CatalogName to = find_catalog(given.to);
  if (from.id == to.id)
    return refused("a catalogue is no successor of its own.",
                   {"both are catalogue " + shown(from) + ", whose rights would be deleted"});
  NodeTree tree;

  Plan rights_plan = told_rights(tree, from, to);
  if (!rights_plan.obstacles.empty())
    return refused("the rights cannot be moved; nothing was changed.", rights_plan.obstacles);
  const std::size_t rights_before = count_rights(from.id);
  const std::size_t replaced = count_rights(to.id);
  // A migration that is repeated finds no rights to move.
  if (rights_before == 0 && replaced > 0 && !given.only_if_empty && !given.replace)
    return refused("there are no rights to move; nothing was changed.",
                   {"catalogue " + shown(from) + " has none, and the " + counted(replaced, "right") + " of catalogue " +
                    shown(to) + " would be deleted; --replace does so"});
  const auto call = [&](std::size_t rows, const char* method, std::initializer_list<Variant> arguments) {
    const RowProgress progress(rows);
    return transaction.call(kWriter, method, arguments).to_boolean();
  };
  if (!call(replaced + rights_before, "ChangeAuthorizationsForUser", {from.id, to.id, !given.only_if_empty}))
    return refused("nothing was migrated.", {"catalogue " + shown(to) + " has " + counted(replaced, "right") +
                                             " already; without --only-if-empty they are replaced"});
  Moved rights{count_rights(to.id), 0, replaced, count_rights(from.id), std::move(rights_plan.losses)};
  rights.lost = rights_before - rights.moved - rights.left;

  Plan favorites_plan = told_favorites(tree, from, to);
  if (!favorites_plan.obstacles.empty())
    return refused("the favourites cannot be moved; nothing was changed.", favorites_plan.obstacles);
  const std::size_t favorites_before = count_favorites(from.id);
  const std::size_t all_before = count_all_favorites();
  if (!call(favorites_before, "ChangeFavorites", {from.id, to.id}))
    return refused("nothing was migrated; the library does not say why.", {});
  Moved favorites{0, all_before - count_all_favorites(), 0, 0, std::move(favorites_plan.losses)};
  favorites.moved = favorites_before - favorites.lost;
  return Migration{from, to, std::move(rights), std::move(favorites)};
}

// The nodes of all users of the successor, whose rights have moved there.
struct LaidOutUsers {
  std::size_t users = 0;
  Reasons left;  // users whose nodes the library cannot lay out, and why
};

LaidOutUsers lay_out_users(OneTransaction& transaction, std::int32_t catalog) {
  const std::vector<std::string> users = keeping::users_with_rights(catalog);
  LaidOutUsers done;
  NodeTree tree;
  Progress progress(users.size());
  for (const std::string& user : users) {
    progress.advance();
    Reasons reasons = reasons_against_user(user);
    if (reasons.empty()) {
      const WrongParents wrong = wrong_parents(tree, user);
      for (const std::int32_t node : wrong.below_circles) reasons.push_back(*endless(tree, node));
      for (const auto& [node, of_catalog] : wrong.outside)
        reasons.push_back("node " + std::to_string(node) + " or one above it is not in its catalogue");
    }
    if (reasons.empty()) {
      transaction.call(kWriter, "PopulateUserNodes", {user});
      ++done.users;
    } else {
      done.left.push_back(shown(user) + ": " + reasons.front());
    }
  }
  return done;
}

struct Succession {
  Migration migration;
  keeping::Expiry expiry;
  LaidOutUsers laid_out;
};

std::optional<Succession> succeed(OneTransaction& transaction, const CatalogSuccession& given,
                                  const OutputOptions& output) {
  std::optional<Migration> migration = migrate(transaction, given, output);
  if (!migration) return std::nullopt;
  // Active first: what it shows is shared then.
  keeping::set_active(migration->to.id, true);
  keeping::Expiry expiry = keeping::plan_expiry(migration->from.id);
  {
    const RowProgress progress(1 + expiry.disabled.size());
    keeping::expire_keeping_shared(migration->from.id);
  }
  LaidOutUsers laid_out = lay_out_users(transaction, migration->to.id);
  return Succession{std::move(*migration), std::move(expiry), std::move(laid_out)};
}

}  // namespace

int migrate_catalog(const CatalogMigration& given, const OutputOptions& output) {
  OneTransaction transaction;
  const std::optional<Migration> done = migrate(transaction, given, output);
  if (!done) return kFailed;
  if (!given.dry_run) transaction.commit();
  if (output.json) return answer(output, json_of(*done, given.dry_run), {});
  print_migration(*done);
  std::cout << (given.dry_run ? kDryRun
                              : "The nodes laid out for users are as before: `mercato rights populate USER`.\n");
  return kDone;
}

int succeed_catalog(const CatalogSuccession& given, const OutputOptions& output) {
  if (!given.yes && !given.dry_run)
    expect_consent("Catalogue " + shown(find_catalog(given.from)) + " will expire, and " +
                   shown(find_catalog(given.to)) + " will have its rights and favourites; --dry-run says what is lost");
  OneTransaction transaction;
  const std::optional<Succession> done = succeed(transaction, given, output);
  if (!done) return kFailed;
  if (!given.dry_run) transaction.commit();
  const auto& [migration, expiry, laid_out] = *done;
  if (output.json) {
    gateway::Json json = json_of(migration, given.dry_run);
    json["disabled"] = expiry.disabled.size();
    json["kept"] = expiry.shared;
    json["laidOut"] = laid_out.users;
    json["notLaidOut"] = laid_out.left;
    return answer(output, json, {});
  }
  print_migration(migration);
  std::cout << "products: " << expiry.disabled.size() << " disabled, " << expiry.shared
            << " kept that an active catalogue shows\n"
            << "nodes: laid out for " << counted(laid_out.users, "user") << '\n';
  for (const std::string& left : laid_out.left) std::cout << "  " << bad("not laid out: ") << shown(left, 500) << '\n';
  if (given.dry_run)
    std::cout << kDryRun;
  else
    std::cout << "catalogue " << shown(migration.to) << " is active, " << shown(migration.from) << " is not.\n";
  return kDone;
}

}  // namespace mercato::cli
