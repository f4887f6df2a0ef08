// SPDX-License-Identifier: Apache-2.0
// mercato store: what the store is and whether it is in order, its copy into another one, its backup and the way back.
#include <fmt/format.h>

#include <iostream>
#include <optional>

#include "frame/store_check.h"
#include "frame/store_copy.h"
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
struct FromAndTo {
  std::string from;
  std::string to;
};
struct Restoring {
  std::string file;
  bool discard = false;
};

// In words: "2 rows of CATALOGNODE with a CATALOGID that is in no row of CATALOG: NODEID 4, CATALOGID 7; ...".
std::string described(const DanglingRows& dangling) {
  const TableReference& reference = dangling.reference;
  std::string words = counted(static_cast<std::size_t>(dangling.rows), "row") + " of " + std::string(reference.table) +
                      " with a " + std::string(reference.column) + " that is in no row of " +
                      std::string(reference.to_table) + ": ";
  for (const DictionaryPtr& row : dangling.first) {
    if (row != dangling.first.front()) words += "; ";
    const char* separator = "";
    row->for_each([&](const Variant& column, const Variant& value) {
      words += separator + column.to_text() + " " + (value.is_null() ? "-" : shown(value.to_text()));
      separator = ", ";
    });
  }
  return words + (static_cast<std::size_t>(dangling.rows) > dangling.first.size() ? "; ..." : "");
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + shown(name, 500);
  return text;
}

gateway::Json to_json(const StoreCheck& check) {
  gateway::Json rows = gateway::Json::array();
  for (const DanglingRows& found : check.dangling) {
    gateway::Json first = gateway::Json::array();
    for (const DictionaryPtr& row : found.first) first.push_back(cli::to_json(*row));
    rows.push_back({{"table", found.reference.table},
                    {"column", found.reference.column},
                    {"refersTo", found.reference.to_table},
                    {"rows", found.rows},
                    {"first", std::move(first)},
                    {"query", found.query}});
  }
  const store::StoreDescription& is = check.description;
  return {{"engine", is.engine},
          {"engineVersion", is.version},
          {"place", is.place},
          {"collation", is.collation},
          {"textSearch", is.text_search},
          {"lackingRights", check.lacking_rights},
          {"version", check.schema_version ? gateway::Json(*check.schema_version) : gateway::Json()},
          {"damage", check.damage ? gateway::Json(*check.damage) : gateway::Json()},
          {"missing", check.missing},
          {"mendedTextIndexes", check.mended_text_indexes},
          {"others", check.others},
          {"unfinishedCopyOf", check.unfinished_copy_of ? gateway::Json(*check.unfinished_copy_of) : gateway::Json()},
          {"dangling", std::move(rows)}};
}

void print_description(const StoreCheck& check) {
  const store::StoreDescription& is = check.description;
  std::cout << "store        " << is.engine << ' ' << is.version << ", " << shown(is.place, 500) << '\n';
  if (check.schema_version) std::cout << "tables       version " << *check.schema_version << '\n';
  std::cout << "collation    " << is.collation << '\n'
            << "text search  " << (is.text_search.empty() ? "none: the tables are read" : is.text_search) << '\n';
  if (!check.damage) std::cout << "pages        not looked at: the server does that\n";
  if (!check.others.empty()) std::cout << "not ours     " << joined(check.others) << '\n';
}

int check(const NoOptions&, const OutputOptions& output) {
  const StoreCheck check = check_whole_store(connection_string());
  const bool is_damaged = check.damage && !check.damage->empty();
  const int status = is_damaged || check.version_fault || !check.missing.empty() || check.unfinished_copy_of ? kFailed
                     : check.dangling.empty() && check.lacking_rights.empty() && check.mended_text_indexes.empty()
                         ? kDone
                         : kDoneInPart;
  if (output.json) {
    answer(output, to_json(check), "");
    return status;
  }
  if (is_damaged) {
    for (const std::string& fault : *check.damage) std::cout << bad("damaged: ") << shown(fault, 500) << '\n';
    std::cout << "The store is damaged: bring it back from a backup with `mercato store restore FILE`.\n";
    return status;
  }
  print_description(check);
  for (const std::string& right : check.lacking_rights) std::cout << bad("not allowed: ") << right << '\n';
  if (!check.has_no_tables)
    for (const std::string& name : check.missing) std::cout << bad("missing: ") << name << '\n';
  for (const std::string& table : check.mended_text_indexes)
    std::cout << "mended: the text index of " << table << " did not hold what the table does, and was made anew\n";
  for (const DanglingRows& found : check.dangling)
    std::cout << "leads nowhere: " << described(found) << "\n  echo \"" << found.query << "\" | mercato execute -\n";
  if (check.has_no_tables)
    std::cout << "The store has no tables: `mercato init` creates them.\n";
  else if (check.version_fault)
    std::cout << *check.version_fault << ".\n";
  else if (!check.missing.empty())
    std::cout << "Tables or indexes are missing: `mercato init` creates them, without rows.\n";
  else if (check.unfinished_copy_of)
    std::cout << "The store is an unfinished copy of " << shown(*check.unfinished_copy_of, 500)
              << ": repeat `mercato store copy` to finish it.\n";
  else if (status == kDone)
    std::cout << good("The store is in order.") << '\n';
  return status;
}

int copy(const FromAndTo& given, const OutputOptions& output) {
  // However long it takes; Ctrl-C ends it between two statements.
  const store::CallLimit no_limit(0);
  std::optional<Progress> progress;
  CopyStep step = CopyStep::copying;
  std::int64_t shown_rows = 0;
  const StoreCopy done = copy_store(connection_string_of(given.from), connection_string_of(given.to),
                                    [&](CopyStep now, std::int64_t rows, std::int64_t rows_in_all) {
                                      if (!progress || now != step) {
                                        progress.emplace(static_cast<std::size_t>(rows_in_all));
                                        step = now;
                                        shown_rows = 0;
                                      }
                                      progress->advance(static_cast<std::size_t>(rows - shown_rows));
                                      shown_rows = rows;
                                    });
  progress.reset();
  std::size_t rows = 0;
  gateway::Json tables = gateway::Json::array();
  for (const CopiedTable& table : done.tables) {
    rows += static_cast<std::size_t>(table.rows);
    tables.push_back(
        {{"table", table.name}, {"rows", table.rows}, {"checksum", fmt::format("{:016x}", table.checksum)}});
  }
  return answer(output,
                {{"from", done.from},
                 {"to", done.to},
                 {"continued", done.continued},
                 {"tables", std::move(tables)},
                 {"left", done.left}},
                good("The store was copied") + (done.continued ? ", from where the copy before was interrupted" : "") +
                    ": " + counted(rows, "row") + " of " + counted(done.tables.size(), "table") +
                    ", counts and checksums agree." +
                    (done.left.empty() ? "" : " Left, since they are not the library's: " + joined(done.left) + "."));
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
  Menu::Group group = menu.group("store", "Check, copy, back up and restore the store");
  group.add(
      "check", "Tell what the store is, and look for damage, missing tables, and rows that lead nowhere",
      "  mercato store check\n"
      "  mercato store check --json\n"
      "Exit status 1 when the store is damaged, its tables are of another release, or some are missing;\n"
      "3 when only rows lead nowhere, or a right is lacking. Such rows come with the query that shows them all.\n",
      check);
  const auto [copy_command, stores] = group.add(
      "copy", "Copy everything to another store, of whatever kind",
      "  mercato store copy shop.db 'Provider=PostgreSQL;Server=db.example.com;Database=shop;User ID=shop'\n"
      "  mercato store copy 'Provider=PostgreSQL;Server=db.example.com;Database=shop;User ID=shop' shop.db\n"
      "Keys stay, counts and checksums are compared at the end. When it was interrupted, repeat it: it goes on.\n"
      "Nobody should write to the first store meanwhile; the second one has to have no rows.\n",
      copy);
  copy_command.add_option("FROM", stores.from, "The store to copy: a connection string, or the path of its file")
      ->required()
      ->check(is_no_blank());
  copy_command.add_option("TO", stores.to, "The store to fill; its tables are created where they are missing")
      ->required()
      ->check(is_no_blank());
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
