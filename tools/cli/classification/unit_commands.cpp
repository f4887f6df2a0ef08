// SPDX-License-Identifier: Apache-2.0
// mercato unit: the units of measure.
#include <set>

#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace unit_commands {

struct NoOptions {};
struct WhichUnit {
  std::string code;
  bool yes = false;
};

int list(const NoOptions&, const OutputOptions& output) {
  std::set<std::string> codes;  // they come in no particular order
  call(create_root("Mercato.Unit"), "GetAllUnits", {})
      .to<Dictionary>()
      ->for_each([&](const Variant& code, const Variant&) { codes.insert(code.to_text()); });
  Table table({"CODE"});
  for (const std::string& code : codes) table.add({shown(code)});
  return answer_list(output, "units", codes, table, "There are no units.");
}

int remove(const WhichUnit& given, const OutputOptions& output) {
  return delete_row({"Mercato.TUnit", "Delete", "UNIT", given.code, given.yes, {}}, output);
}

}  // namespace unit_commands

void add_unit_commands(Menu& menu) {
  using namespace unit_commands;
  Menu::Group group = menu.group("unit", "List and delete units of measure");
  group.add("list", "List the unit codes", "  mercato unit list\n", list);
  const auto [command, given] = group.add("delete", "Delete a unit",
                                          "  mercato unit delete M2 --yes\n"
                                          "A unit that a product has stays.\n",
                                          remove);
  command.add_option("CODE", given.code, "The unit's code")->required();
  command.add_flag("--yes", given.yes, "Do not ask");
}

}  // namespace mercato::cli
