// SPDX-License-Identifier: Apache-2.0
// mercato store: the store's file; its check, its backup and the way back.
#include <iostream>

#include "frame/table_references.h"
#include "mercato/table_creation.h"
#include "platform/store/upkeep.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/terminal/listing.h"

namespace mercato::cli {
namespace store_commands {

struct NoOptions {};
struct WhichFile {
  std::string file;
};
struct Restoring {
  std::string file;
  bool discard = false;
};

// In words: "2 rows of CATALOGNODE with a CATALOGID that is in no row of CATALOG, such as 7".
std::string described(const DanglingRows& dangling) {
  const TableReference& reference = dangling.reference;
  return counted(static_cast<std::size_t>(dangling.rows), "row") + " of " + std::string(reference.table) + " with a " +
         std::string(reference.column) + " that is in no row of " + std::string(reference.to_table) + ", such as " +
         shown(dangling.example);
}

int check(const NoOptions&, const OutputOptions& output) {
  const std::string store = connection_string();
  const std::vector<std::string> damage = store::check_store(store);
  // A damaged store cannot be trusted with further questions.
  std::vector<std::string> missing;
  std::vector<DanglingRows> dangling;
  if (damage.empty()) {
    missing = missing_tables(store);
    dangling = find_dangling_rows(store);
  }
  const int status = !damage.empty() || !missing.empty() ? kFailed : dangling.empty() ? kDone : kDoneInPart;
  if (output.json) {
    gateway::Json rows = gateway::Json::array();
    for (const DanglingRows& found : dangling)
      rows.push_back({{"table", found.reference.table},
                      {"column", found.reference.column},
                      {"refersTo", found.reference.to_table},
                      {"rows", found.rows},
                      {"example", found.example}});
    answer(output, gateway::Json{{"damage", damage}, {"missing", missing}, {"dangling", std::move(rows)}}, "");
    return status;
  }
  for (const std::string& fault : damage) std::cout << bad("damaged: ") << shown(fault, 500) << '\n';
  for (const std::string& name : missing) std::cout << bad("missing: ") << name << '\n';
  for (const DanglingRows& found : dangling) std::cout << "leads nowhere: " << described(found) << '\n';
  if (!damage.empty())
    std::cout << "The store is damaged: bring it back from a backup with `mercato store restore FILE`.\n";
  else if (!missing.empty())
    std::cout << "Tables or indexes are missing: `mercato init` creates them, without rows.\n";
  else if (dangling.empty())
    std::cout << good("The store is in order.") << '\n';
  return status;
}

int back_up(const WhichFile& given, const OutputOptions& output) {
  store::back_up_store(connection_string(), given.file);
  return answer(output, {{"backup", given.file}},
                good("The store was backed up") + " to " + shown(given.file, 500) + ".");
}

int restore(const Restoring& given, const OutputOptions& output) {
  const std::string kept = store::restore_store(connection_string(), given.file, !given.discard);
  return answer(output, {{"restored", given.file}, {"kept", kept}},
                good("The store was restored") + " from " + shown(given.file, 500) + "." +
                    (kept.empty() ? "" : " What was there before is kept as " + shown(kept, 500) + "."));
}

}  // namespace store_commands

void add_store_commands(Menu& menu) {
  using namespace store_commands;
  Menu::Group group = menu.group("store", "Check, back up and restore the store's file");
  group.add("check", "Look for damage, missing tables, and rows that lead nowhere",
            "  mercato store check\n"
            "  mercato store check --json\n"
            "Exit status 1 when the store is damaged or tables are missing, 3 when only rows lead nowhere.\n",
            check);
  const auto [back_up_command, which] =
      group.add("backup", "Copy the store to a file while others work",
                "  mercato store backup backups/2026-07-01.db\n"
                "The copy is checked, and complete without further files. A file of that name must not be there.\n",
                back_up);
  back_up_command.add_option("FILE", which.file, "The new file")->required()->check(is_no_blank());
  const auto [restore_command, how] = group.add(
      "restore", "Make the store what a backup is",
      "  mercato store restore backups/2026-07-01.db\n"
      "The backup is checked first. What was there before is kept beside the store as STORE.before-restore.\n",
      restore);
  restore_command.add_option("FILE", how.file, "The backup")->required()->check(is_no_blank());
  restore_command.add_flag("--discard-old", how.discard, "Do not keep what was there before");
}

}  // namespace mercato::cli
