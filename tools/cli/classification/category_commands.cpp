// SPDX-License-Identifier: Apache-2.0
// mercato category: the product categories.
#include <algorithm>
#include <optional>

#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace category_commands {

constexpr const char* kWriter = "Mercato.TCatalog";
constexpr const char* kTable = "PRODUCTCATEGORY";

struct NewCategory {
  std::string name;
  std::string code;
};
struct CategoryPattern {
  std::string name;  // empty: all
};
struct CategoryChange {
  std::string category;
  std::optional<std::string> name;
  std::optional<std::string> code;
};
struct WhichCategory {
  std::string which;  // id or name
};

// The ids of the categories whose name fits.
std::vector<Variant> ids_like(const std::string& pattern) {
  const Variant ids = call(create_root(kCategories.prog_id), "GetProductCategoriesByName", {pattern});
  return ids.is_null() ? std::vector<Variant>() : ids.to_array().items;
}

int insert(const NewCategory& given, const OutputOptions& output) {
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
  return answer(output, {{"created", created}, {"id", id}}, "category " + std::to_string(id) + " created.");
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

int remove(const WhichCategory& given, const OutputOptions& output) {
  return delete_row({kWriter, "DeleteProductCategory", kTable, id_of(kCategories, given.which)}, output);
}

constexpr const char* kWhich = "The category's id, or its name when only one has it";

}  // namespace category_commands

void add_category_commands(Menu& menu) {
  using namespace category_commands;
  Menu::Group group = menu.group("category", "Create, list, change and delete product categories");
  {
    const auto [command, given] = group.add("new", "Create a category and print its id",
                                            "  mercato category new 'Recycled paper' --unspsc 10101010\n", insert);
    command.add_option("NAME", given.name, "The name")->required()->check(is_no_blank());
    command.add_option("--unspsc", given.code, "The code that its products begin with")->type_name("CODE");
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
  {
    const auto [command, given] =
        group.add("delete", "Delete a category with its product links and the catalogue nodes that show it",
                  "  mercato category delete 30\n"
                  "A category that a question refers to stays.\n",
                  remove);
    command.add_option("CATEGORY", given.which, kWhich)->required();
  }
}

}  // namespace mercato::cli
