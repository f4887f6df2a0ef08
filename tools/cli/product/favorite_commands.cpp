// SPDX-License-Identifier: Apache-2.0
// mercato favorite: the products that users have marked.
#include <algorithm>
#include <optional>

#include "mercato/object_context.h"
#include "mercato/product.h"
#include "product/product_favorites.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/named_product.h"
#include "tools/cli/product/favorites.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace favorite_commands {

using product::kAllFavoriteTypes;
using product::kAllFolders;
using product::kTopLevelFolder;

constexpr const char* kProgId = "Mercato.Product";

struct NewFavorite {
  std::string user;
  ProductName product;
  bool warehouse = false;
  std::int32_t folder = kTopLevelFolder;
  bool force = false;
};
struct WhichFavorites {
  std::string user;
  ProductName product;
  bool warehouse = false;
  bool ordinary = false;
  std::int32_t folder = kAllFolders;
  bool force = false;
};
struct FavoriteUser {
  std::string user;
};

Reasons reasons_against_favorite(const std::string& user) {
  Reasons reasons = reasons_against_user(user);
  if (reasons.empty()) reasons = reasons_against_write("FAVORITES", Array{"USERID"}, Array{user});
  return reasons;
}

// The library takes an unknown folder, too.
void require_folder(const std::string& user, std::int32_t folder) {
  if (folder == kTopLevelFolder) return;
  const std::vector<Folder> folders = folders_of(user);
  if (std::ranges::none_of(folders, [&](const Folder& own) { return own.id == folder; }))
    raise(error_number::kInvalidArgument, {}, user + " has no folder " + std::to_string(folder));
}

int add(const NewFavorite& given, const OutputOptions& output) {
  // The library marks products of users of which neither is there, too.
  expect_user(given.user, given.force);
  const std::int32_t product_id = find_product_id(given.product, given.force);
  require_folder(given.user, given.folder);
  const ComponentPtr products = create_root(kProgId);
  explaining([&](const RaisedError&) { return reasons_against_favorite(given.user); },
             [&] {
               return call(
                   products, "CreateFavoriteEx",
                   {given.user, product_id, given.warehouse ? WarehouseFavorite : DefaultFavorite, given.folder});
             });
  // For a favourite that exists the library raises nothing; its vote tells.
  const bool added = products->context()->vote_of_last_call() == Vote::commit;
  const std::string words = "product " + std::to_string(product_id) + " is " +
                            (given.warehouse ? "a warehouse favourite" : "a favourite") + " of " + given.user;
  if (!added) return refuse(output, {{"added", added}}, "no favourite was added.", {words + " already"});
  return answer(output, {{"added", added}}, words + " now.");
}

int remove(const WhichFavorites& given, const OutputOptions& output) {
  const std::int32_t type = given.warehouse ? WarehouseFavorite : given.ordinary ? DefaultFavorite : kAllFavoriteTypes;
  const std::int32_t product_id = find_product_id(given.product, given.force);
  const std::int32_t there = product::count_favorites(connection_string(), given.user, product_id, type, given.folder);
  explaining([&](const RaisedError&) { return reasons_against_favorite(given.user); },
             [&] {
               return call(create_root(kProgId), "DeleteFavoriteEx", {given.user, product_id, type, given.folder});
             });
  const gateway::Json json = {{"removed", there}};
  // The library raises nothing when there is nothing to delete.
  if (there == 0 && !given.force) expect_row("USERS", given.user);
  if (there == 0)
    return refuse(output, json,
                  "product " + std::to_string(product_id) + " is no such favourite of " + given.user + ".", {});
  return answer(output, json, counted(static_cast<std::size_t>(there), "favourite") + " removed.");
}

int list(const FavoriteUser& given, const OutputOptions& output) {
  return list_favorites(given.user, std::nullopt, given.user + " has no favourites.", output);
}

}  // namespace favorite_commands

int list_favorites(const std::string& user, std::optional<std::int32_t> folder, const std::string& none,
                   const OutputOptions& output) {
  using namespace favorite_commands;
  const std::vector<DictionaryPtr> favorites = product::favorites_of(connection_string(), user);
  if (favorites.empty() && !folder) expect_row("USERS", user);
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "PART NUMBER", "DESCRIPTION", "KIND", "FOLDER"});
  for (const DictionaryPtr& row : favorites) {
    const std::string id = text_of(*row, "FOLDERID");
    if (folder && id != std::to_string(*folder)) continue;
    json.push_back(to_json(*row));
    const std::string name = text_of(*row, "FOLDERNAME");
    table.add({text_of(*row, "PRODUCTID"), shown(text_of(*row, "PARTNUMBER"), 30),
               shown(text_of(*row, "PRODUCTDESCRIPTION"), 50),
               text_of(*row, "WAREHOUSEFAVORITE") == "1" ? "warehouse" : "ordinary",
               id == "0"      ? ""
               : name.empty() ? id
                              : id + " " + shown(name)});
  }
  return answer_list(output, "favorites", std::move(json), table, none);
}

void add_favorite_commands(Menu& menu) {
  using namespace favorite_commands;
  Menu::Group group = menu.group("favorite", "Add, remove and list favourites of users");
  const auto add_common = [](Command& command, std::string& user, ProductName& product, bool& force) {
    command.add_option("USER", user, "The user's id")->required()->check(is_no_blank());
    add_product(command, product);
    command.add_flag("--force", force, kForceHelp);
  };
  {
    const auto [command, given] = group.add("add", "Mark a product",
                                            "  mercato favorite add MARTA.NOWAK 1\n"
                                            "  mercato favorite add MARTA.NOWAK 1 --warehouse\n",
                                            add);
    add_common(command, given.user, given.product, given.force);
    command.add_flag("--warehouse", given.warehouse, "As a warehouse favourite");
    command.add_option("--folder", given.folder, "The id of a folder; else the top level")
        ->type_name("N")
        ->check(is_whole_number())
        ->check(is_not_negative());
  }
  {
    const auto [command, given] = group.add("remove", "Take marks away: of both kinds, in all folders",
                                            "  mercato favorite remove MARTA.NOWAK 1 --ordinary --folder 0\n"
                                            "  mercato favorite remove MARTA.NOWAK 1\n",
                                            remove);
    add_common(command, given.user, given.product, given.force);
    auto* warehouse = command.add_flag("--warehouse", given.warehouse, "Warehouse favourites only");
    command.add_flag("--ordinary", given.ordinary, "Ordinary favourites only")->excludes(warehouse);
    command.add_option("--folder", given.folder, "In this folder only; 0 is the top level")
        ->type_name("N")
        ->check(is_whole_number())
        ->check(is_not_negative());
  }
  {
    const auto [command, given] =
        group.add("list", "List the favourites of a user", "  mercato favorite list MARTA.NOWAK\n", list);
    command.add_option("USER", given.user, "The user's id")->required()->check(is_no_blank());
  }
}

}  // namespace mercato::cli
