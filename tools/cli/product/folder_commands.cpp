// SPDX-License-Identifier: Apache-2.0
// mercato folder: the folders in which users sort their favourites.
#include <vector>

#include "frame/lib_general.h"
#include "mercato/object_context.h"
#include "product/product_favorites.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/product/favorites.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "values/same_text.h"

namespace mercato::cli {
namespace folder_commands {

constexpr const char* kReader = "Mercato.Catalog";
constexpr const char* kWriter = "Mercato.TCatalog";

struct FolderUser {
  std::string user;
};
struct NewFolder {
  std::string user;
  std::string name;
  bool force = false;
};
struct WhichFolder {
  std::string user;
  std::string which;  // id or name
};
struct DeletedFolder {
  std::string user;
  std::string which;
  bool yes = false;
};
struct NewName {
  std::string user;
  std::string which;
  std::string name;
};

// These calls take a user's id as it stands in a statement, with its quotes doubled.
std::string as_it_stands(const std::string& user) { return Gen_QuoteSql(user); }

// By its id, or by its name when only one has it. A folder of another user is none.
Folder folder_of(const std::string& user, const std::string& which) {
  std::vector<Folder> of_this_name;
  for (Folder& folder : folders_of(user)) {
    if (std::to_string(folder.id) == which) return folder;
    if (text::same(folder.name, which)) of_this_name.push_back(std::move(folder));
  }
  if (of_this_name.empty()) raise(error_number::kInvalidArgument, {}, user + " has no folder " + which);
  if (of_this_name.size() > 1)
    raise(error_number::kInvalidArgument, {}, user + " has more than one folder " + which + ": use the id");
  return of_this_name.front();
}

std::string named(const Folder& folder) { return "folder " + std::to_string(folder.id); }

Reasons reasons_against_name(const std::string& user, const std::string& name) {
  if (name.empty()) return {"a folder needs a name"};
  for (const Folder& folder : folders_of(user))
    if (text::same(folder.name, name))
      return {user + " has a folder " + name + " already: " + std::to_string(folder.id)};
  return reasons_against_write("FAVORITEFOLDERS", Array{"USERID", "FOLDERNAME"}, Array{user, name});
}

int insert(const NewFolder& given, const OutputOptions& output) {
  // The library would let a user have a name twice.
  Reasons reasons = reasons_against_name(given.user, given.name);
  if (given.user.empty()) reasons.emplace_back("a folder needs a user");
  if (reasons.empty()) expect_user(given.user, given.force);
  if (!reasons.empty()) return refuse(output, {{"id", -1}}, "no folder was created.", reasons);
  // The library requires FOLDERNAME, written so, and stores its apostrophes twice. The same column in another case,
  // behind it, gets the name as it is.
  const Array fields{"USERID", "FOLDERNAME", "FolderName"};
  const Array values{given.user, given.name, given.name};
  const std::int32_t id = call(create_root(kWriter), "InsertFavoriteFolder", {fields, values}).to_long();
  return answer(output, {{"id", id}}, "folder " + std::to_string(id) + " created.");
}

int list(const FolderUser& given, const OutputOptions& output) {
  const std::vector<Folder> folders = folders_of(given.user);
  if (folders.empty()) expect_row("USERS", given.user);
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "NAME"});
  for (const Folder& folder : folders) {
    json.push_back({{"FOLDERID", folder.id}, {"FOLDERNAME", folder.name}});
    table.add({std::to_string(folder.id), shown(folder.name)});
  }
  return answer_list(output, "folders", std::move(json), table, given.user + " has no folders.");
}

int rename(const NewName& given, const OutputOptions& output) {
  const Folder folder = folder_of(given.user, given.which);
  const Reasons reasons = reasons_against_name(given.user, given.name);
  const bool renamed =
      reasons.empty() &&
      call_without_vote(kWriter, "UpdateFavoriteFolderName", {folder.id, given.user, given.name}).to_boolean();
  const gateway::Json json = {{"renamed", renamed}};
  if (!renamed) return refuse(output, json, named(folder) + " keeps its name.", reasons);
  return answer(output, json, named(folder) + " is called " + given.name + " now.");
}

int show(const WhichFolder& given, const OutputOptions& output) {
  const Folder folder = folder_of(given.user, given.which);
  return list_favorites(given.user, folder.id, named(folder) + " is empty.", output);
}

int remove(const DeletedFolder& given, const OutputOptions& output) {
  // The library deletes the favourites before it looks whose the folder is, so that is looked for here.
  const Folder folder = folder_of(given.user, given.which);
  const std::int32_t favorites = product::count_favorites_in_folder(connection_string(), folder.id);
  const std::string contents = " with " + counted(static_cast<std::size_t>(favorites), "favourite");
  if (!given.yes) expect_consent(named(folder) + " " + shown(folder.name) + contents + " will be deleted");
  const bool deleted =
      call(create_root(kWriter), "DeleteFavoriteFolder", {folder.id, as_it_stands(given.user)}).to_boolean();
  return answer(output, {{"deleted", deleted}, {"favorites", favorites}}, named(folder) + " deleted" + contents + ".");
}

constexpr const char* kUser = "The user's id";
constexpr const char* kWhich = "The folder's id, or its name when only one has it";

}  // namespace folder_commands

std::vector<Folder> folders_of(const std::string& user) {
  using namespace folder_commands;
  std::vector<Folder> folders;
  call(create_root(kReader), "GetFavoriteFolders", {as_it_stands(user)})
      .to<Dictionary>()
      ->for_each([&](const Variant& id, const Variant& name) {
        folders.push_back({id.to_long(), name.to_text()});
      });
  return folders;
}

void add_folder_commands(Menu& menu) {
  using namespace folder_commands;
  Menu::Group group = menu.group("folder", "Create, list, rename and delete folders of favourites");
  {
    const auto [command, given] = group.add("new", "Create a folder and print its id",
                                            "  mercato folder new MARTA.NOWAK 'Every week'\n"
                                            "`mercato favorite add --folder` puts products into it.\n",
                                            insert);
    command.add_option("USER", given.user, kUser)->required();
    command.add_option("NAME", given.name, "The name; a user has it once")->required();
    command.add_flag("--force", given.force, kForceHelp);
  }
  {
    const auto [command, given] =
        group.add("list", "List the folders of a user", "  mercato folder list MARTA.NOWAK\n", list);
    command.add_option("USER", given.user, kUser)->required();
  }
  {
    const auto [command, given] = group.add("rename", "Give a folder another name",
                                            "  mercato folder rename MARTA.NOWAK 'Every week' 'Every month'\n", rename);
    command.add_option("USER", given.user, kUser)->required();
    command.add_option("FOLDER", given.which, kWhich)->required();
    command.add_option("NAME", given.name, "The new name")->required();
  }
  {
    const auto [command, given] = group.add("show", "List the favourites in a folder",
                                            "  mercato folder show MARTA.NOWAK 'Every month'\n", folder_commands::show);
    command.add_option("USER", given.user, kUser)->required();
    command.add_option("FOLDER", given.which, kWhich)->required();
  }
  {
    const auto [command, given] = group.add("delete", "Delete a folder with the favourites in it",
                                            "  mercato folder delete MARTA.NOWAK 'Every month' --yes\n", remove);
    command.add_option("USER", given.user, kUser)->required();
    command.add_option("FOLDER", given.which, kWhich)->required();
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
