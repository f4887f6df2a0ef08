// SPDX-License-Identifier: Apache-2.0
// mercato category: the product categories.
#include <algorithm>
#include <optional>

#include "keeping/category_members.h"
#include "mercato/object_context.h"
#include "tools/cli/chosen_products.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"

namespace mercato::cli {
namespace category_commands {

constexpr const char* kWriter = "Mercato.TCatalog";
constexpr const char* kTable = "PRODUCTCATEGORY";

struct NewCategory {
  std::string name;
  std::string code;
  bool dry_run = false;
};
struct CategoryPattern {
  std::string name;  // empty: all
};
struct CategoryChange {
  std::string category;
  std::optional<std::string> name;
  std::optional<std::string> code;
};
struct Membership {
  std::string category;
  ChosenProducts products;
  bool dry_run = false;
  bool yes = false;
};
struct WhichCategory {
  std::string which;  // id or name
  bool yes = false;
};

// The ids of the categories whose name fits.
std::vector<Variant> ids_like(const std::string& pattern) {
  const Variant ids = call(create_root(kCategories.prog_id), "GetProductCategoriesByName", {pattern});
  return ids.is_null() ? std::vector<Variant>() : ids.to_array().items;
}

// What a new category of this code links, in words that follow "links" or "would link".
std::string words_for(const NewCategory& given, const std::optional<keeping::LinkedByCode>& linked) {
  if (given.code.empty()) return " no product: it has no UNSPSC code.";
  if (!linked) return " no product: category links do not follow UNSPSC codes here (UNSPSCIMPLEMENTED).";
  std::string words = " " + counted(linked->products, "product") + " with " + given.code + " or a code below it.";
  if (!linked->shorter_code.empty())
    words += " Zeros at the end count: " + linked->shorter_code + " would link " +
             std::to_string(linked->products_of_shorter) + ".";
  return words;
}

int insert(const NewCategory& given, const OutputOptions& output) {
  const std::optional<keeping::LinkedByCode> linked = keeping::linked_by_code(given.code);
  const std::size_t links = linked ? linked->products : 0;
  if (given.dry_run)
    return answer(
        output, {{"created", false}, {"dryRun", true}, {"linked", links}},
        "category " + given.name + " would link" + words_for(given, linked) + " A dry run: nothing was changed.");
  const Array fields{"CATEGORYNAME", "UNSPSCCODE"};
  const Array values{given.name, given.code};
  const bool created =
      explaining([&](const RaisedError&) { return reasons_against_write(kTable, fields, values); },
                 [&] {
                   return call(create_root(kWriter), "InsertProductCategory", {fields, values}).to_boolean();
                 });
  // The library does not tell the id: it is the largest one with this name.
  std::int32_t id = 0;
  for (const Variant& candidate : ids_like(given.name)) id = std::max(id, candidate.to_long());
  return answer(output, {{"created", created}, {"id", id}, {"linked", links}},
                "category " + std::to_string(id) + " created." +
                    (given.code.empty() ? "" : " It links" + words_for(given, linked)));
}

int list(const CategoryPattern& given, const OutputOptions& output) {
  Rows rows;
  if (given.name.empty()) {
    rows = all_of(kCategories);
  } else {
    std::string ids;
    for (const Variant& id : ids_like(given.name)) ids += (ids.empty() ? "" : ",") + id.to_text();
    if (!ids.empty()) rows = all_of(kCategories, ids);
  }
  gateway::Json json = gateway::Json::array();
  Table table({"ID", "NAME", "UNSPSC CODE"});
  for (const DictionaryPtr& row : rows) {
    json.push_back(to_json(*row));
    table.add({text_of(*row, "CATEGORYID"), shown(text_of(*row, "CATEGORYNAME")), text_of(*row, "UNSPSCCODE")});
  }
  return answer_list(output, "categories", std::move(json), table,
                     given.name.empty() ? "There are no categories." : "No category has a name like this.");
}

int update(const CategoryChange& given, const OutputOptions& output) {
  const DictionaryPtr present = one_of(kCategories, id_of(kCategories, given.category));
  // Where product links follow the codes, an update without UNSPSCCODE counts as a cleared code and takes the products
  // out of the category. So the present code is handed over.
  const std::string code = given.code ? *given.code : text_of(*present, "UNSPSCCODE");
  Array fields{"CATEGORYID", "UNSPSCCODE"};
  Array values{present->Item("CATEGORYID"), code};
  if (given.name) {
    fields.items.emplace_back("CATEGORYNAME");
    values.items.emplace_back(*given.name);
  }
  const bool updated =
      explaining([&](const RaisedError&) { return reasons_against_write(kTable, fields, values); },
                 [&] {
                   return call(create_root(kWriter), "UpdateProductCategory", {fields, values}).to_boolean();
                 });
  return answer(output, {{"updated", updated}}, "category " + text_of(*present, "CATEGORYID") + " changed.");
}

// Products

int change_members(const Membership& given, bool add, const OutputOptions& output) {
  const DictionaryPtr category = one_of(kCategories, id_of(kCategories, given.category));
  const std::int32_t id = category->Item("CATEGORYID").to_long();
  const std::string name = "category " + std::to_string(id) + " " + shown(text_of(*category, "CATEGORYNAME"));
  const std::vector<std::int32_t> products = choose(given.products);
  const auto act = [&] {
    const RowProgress progress(products.size());
    return add ? keeping::add_to_category(id, products) : keeping::remove_from_category(id, products);
  };
  const bool unasked = given.yes || given.products.are_named();
  const std::size_t changed = given.dry_run || !unasked ? tried(act) : kept(act);
  const std::string count = counted(changed, "product");
  gateway::Json json = {{add ? "added" : "removed", changed}, {"chosen", products.size()}};
  if (given.dry_run)
    return tell_dry_run(output, products, std::move(json),
                        count + (add ? " would be added to " : " would be taken from ") + name + ".");
  if (changed == 0)
    return refuse(output, std::move(json), "nothing was changed.",
                  {add ? "all products that were chosen are in " + name + " already"
                       : "no product that was chosen is in " + name});
  if (!unasked) {
    expect_consent(count + (add ? " will be added to " : " will be taken from ") + name);
    kept(act);
  }
  return answer(output, json, count + (add ? " added to " : " taken from ") + name + ".");
}
int add_members(const Membership& given, const OutputOptions& output) { return change_members(given, true, output); }
int remove_members(const Membership& given, const OutputOptions& output) {
  return change_members(given, false, output);
}

int remove(const WhichCategory& given, const OutputOptions& output) {
  const DictionaryPtr category = one_of(kCategories, id_of(kCategories, given.which));
  const std::int32_t id = category->Item("CATEGORYID").to_long();
  const std::string name = shown(text_of(*category, "CATEGORYNAME")) + " with " +
                           counted(keeping::count_products_of(id), "product link") + " and the nodes that show it";
  return delete_row({kWriter, "DeleteProductCategory", kTable, id, given.yes, name}, output);
}

constexpr const char* kWhich = "The category's id, or its name when only one has it";

}  // namespace category_commands

void add_category_commands(Menu& menu) {
  using namespace category_commands;
  Menu::Group group =
      menu.group("category", "Create, list, change and delete product categories, and sort products into them");
  {
    const auto [command, given] = group.add("new", "Create a category and print its id",
                                            "  mercato category new 'Recycled paper' --unspsc 10101010\n"
                                            "  mercato category new 'Writing' --unspsc 441217 --dry-run\n"
                                            "Where category links follow UNSPSC codes, the products whose codes begin "
                                            "so are linked.\n",
                                            insert);
    command.add_option("NAME", given.name, "The name")->required()->check(is_no_blank());
    command.add_option("--unspsc", given.code, "The code that its products begin with")->type_name("CODE");
    command.add_flag("--dry-run", given.dry_run, "Say how many products it would link, and change nothing");
  }
  {
    const auto [command, given] = group.add("list", "List the categories",
                                            "  mercato category list\n"
                                            "  mercato category list --name '*paper*'   # * stands for any text\n",
                                            list);
    command.add_option("--name", given.name, "Only those with a name like this")->type_name("PATTERN");
  }
  {
    const auto [command, given] = group.add("set", "Change a category",
                                            "  mercato category set Paper --name 'Paper and card'\n"
                                            "  mercato category set 1 --unspsc 1010\n",
                                            update);
    command.add_option("CATEGORY", given.category, kWhich)->required();
    Command* changes = command.add_changes();
    changes->add_option("--name", given.name, "The new name")->type_name("NAME");
    changes->add_option("--unspsc", given.code, "The new code; an empty text clears it")->type_name("CODE");
  }
  const auto add_membership = [&](const char* name, const char* description, const std::string& examples, auto body) {
    const auto [command, given] = group.add(name, description, (examples + kChoiceHelp).c_str(), body);
    command.add_option("CATEGORY", given.category, kWhich)->required();
    add_choice(command, given.products);
    command.add_flag("--dry-run", given.dry_run, "Say which products it would be, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask, where products were not named one by one");
  };
  add_membership("add", "Put products into a category, at its end",
                 "  mercato category add Filing M-100007 M-100014\n"
                 "  mercato category add Filing --file filing.txt --yes\n",
                 add_members);
  add_membership("remove", "Take products out of a category",
                 "  mercato category remove Filing M-100007\n"
                 "  mercato category remove Filing --supplier QUILLMARCH --dry-run\n",
                 remove_members);
  {
    const auto [command, given] =
        group.add("delete", "Delete a category with its product links and the catalogue nodes that show it",
                  "  mercato category delete 30 --yes\n"
                  "A category that a question refers to stays.\n",
                  remove);
    command.add_option("CATEGORY", given.which, kWhich)->required();
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace mercato::cli
