// SPDX-License-Identifier: Apache-2.0
// mercato reference: what products and people refer to, made from the definitions of the tables.
#include <algorithm>

#include "exchange/formats/whole_table.h"
#include "keeping/reference_keeping.h"
#include "mercato/raised_error.h"
#include "platform/files/files.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace reference_commands {

using keeping::GivenRow;
using keeping::PutRows;
using keeping::ReferenceTable;

struct Listed {
  std::string table;  // empty: the tables
};
struct WhichRow {
  std::string table;
  std::vector<std::string> key;
  bool yes = false;
};
struct Setting {
  std::string table;
  std::vector<std::string> values;
  bool dry_run = false;
};
struct Loading {
  std::string table;
  std::string file;
  bool dry_run = false;
};

std::string key_text(const ReferenceTable& table, const std::vector<std::string>& key) {
  std::string text = std::string(table.table);
  for (const std::string& part : key) text += " " + part;
  return text;
}

gateway::Json json_of(const std::vector<DictionaryPtr>& rows) {
  gateway::Json list = gateway::Json::array();
  for (const DictionaryPtr& row : rows) list.push_back(to_json(*row));
  return list;
}

int list_tables(const OutputOptions& output) {
  Table table({"TABLE", "ROWS", "OF", "KNOWN BY"});
  gateway::Json list = gateway::Json::array();
  for (const ReferenceTable& one : keeping::reference_tables()) {
    const std::size_t rows = keeping::count_of_rows(connection_string(), one);
    std::string key;
    for (const std::string_view column : one.key) key.append(key.empty() ? "" : ", ").append(column);
    table.add({std::string(one.name), std::to_string(rows), std::string(one.table), key});
    list.push_back({{"name", one.name}, {"rows", rows}, {"table", one.table}, {"key", one.key}});
  }
  return answer_list(output, "tables", std::move(list), table, "");
}

int list(const Listed& given, const OutputOptions& output) {
  if (given.table.empty()) return list_tables(output);
  const ReferenceTable& which = keeping::reference_table(given.table);
  const std::vector<DictionaryPtr> rows = keeping::reference_rows(connection_string(), which);
  std::vector<std::string> columns;
  if (!rows.empty())
    rows.front()->for_each([&](const Variant& column, const Variant&) { columns.push_back(column.to_text()); });
  Table table(columns);
  for (const DictionaryPtr& row : rows) {
    std::vector<std::string> cells;
    for (const std::string& column : columns) cells.push_back(shown(text_of(*row, column)));
    table.add(std::move(cells));
  }
  return answer_list(output, "rows", json_of(rows), table, "There are no rows in " + std::string(which.table) + ".");
}

std::vector<DictionaryPtr> expect_rows(const ReferenceTable& table, const std::vector<std::string>& key) {
  std::vector<DictionaryPtr> rows = keeping::reference_rows(connection_string(), table, key);
  if (rows.empty()) raise(error_number::kInvalidArgument, {}, "There is no " + key_text(table, key));
  return rows;
}

int show(const WhichRow& given, const OutputOptions& output) {
  const ReferenceTable& which = keeping::reference_table(given.table);
  const std::vector<DictionaryPtr> rows = expect_rows(which, given.key);
  Table table({"COLUMN", "VALUE"});
  for (const DictionaryPtr& row : rows)
    row->for_each([&](const Variant& column, const Variant&) {
      table.add({column.to_text(), shown(text_of(*row, column.to_text()), 500)});
    });
  return answer_list(output, "rows", json_of(rows), table, "");
}

int told(const PutRows& put, const ReferenceTable& table, bool dry, const std::string& where,
         const OutputOptions& output) {
  const gateway::Json json = {
      {"inserted", put.inserted}, {"changed", put.changed}, {"unchanged", put.unchanged}, {"dryRun", dry}};
  if (!put.faults.empty()) {
    constexpr std::size_t kMostReasons = 20;
    Reasons reasons;
    for (const keeping::RowFault& fault : put.faults) {
      if (reasons.size() == kMostReasons) {
        reasons.push_back("and " + std::to_string(put.faults.size() - kMostReasons) + " more");
        break;
      }
      reasons.push_back((fault.line > 0 ? "line " + std::to_string(fault.line) + ": " : "") + fault.what);
    }
    return refuse(output, {{"inserted", 0}, {"changed", 0}, {"unchanged", 0}},
                  where + " has " + counted(put.faults.size(), "fault") + "; nothing of it was written.", reasons);
  }
  return answer(output, json,
                std::string(table.table) + ": " + std::to_string(put.inserted) + (dry ? " would be" : "") +
                    " inserted, " + std::to_string(put.changed) + " changed, " + std::to_string(put.unchanged) +
                    " unchanged.");
}

int set(const Setting& given, const OutputOptions& output) {
  const ReferenceTable& table = keeping::reference_table(given.table);
  GivenRow row;
  for (const std::string& text : given.values) {
    const std::size_t sign = text.find('=');
    row.values.emplace_back(text.substr(0, sign), text.substr(sign + 1));
  }
  return told(keeping::put_reference_rows(connection_string(), table, {row}, given.dry_run), table, given.dry_run,
              "The row", output);
}

int load(const Loading& given, const OutputOptions& output) {
  const ReferenceTable& table = keeping::reference_table(given.table);
  constexpr std::size_t kMostBytes = std::size_t{64} << 20;
  const std::vector<exchange::TableRow> read = exchange::whole_table(files::read_file(given.file, kMostBytes));
  if (read.size() < 2)
    raise(error_number::kInvalidArgument, {}, "The file has no rows below its first line, which names the columns");
  std::vector<GivenRow> rows;
  for (auto line = read.begin() + 1; line != read.end(); ++line) {
    GivenRow& row = rows.emplace_back();
    row.line = static_cast<std::size_t>(line->line);
    for (std::size_t place = 0; place < line->cells.size(); ++place)
      row.values.emplace_back(std::string(text::trim(read.front().cells[place])), line->cells[place]);
  }
  return told(keeping::put_reference_rows(connection_string(), table, rows, given.dry_run), table, given.dry_run,
              given.file, output);
}

int remove(const WhichRow& given, const OutputOptions& output) {
  const ReferenceTable& table = keeping::reference_table(given.table);
  const std::vector<DictionaryPtr> rows = expect_rows(table, given.key);
  const std::string what = key_text(table, given.key);
  Reasons reasons;
  for (const keeping::Use& use : keeping::uses_of(connection_string(), table, *rows.front()))
    reasons.push_back(counted(use.rows, "row") + " of " + use.table + (use.rows == 1 ? " refers" : " refer") +
                      " to it in " + use.column);
  if (!reasons.empty()) return refuse(output, {{"deleted", false}}, what + " stays.", reasons);
  if (!given.yes) expect_consent(what + " will be deleted");
  if (!keeping::delete_reference_rows(connection_string(), table, given.key))
    return refuse(output, {{"deleted", false}}, what + " stays.", {});
  return answer(output, {{"deleted", true}}, what + " deleted.");
}

}  // namespace reference_commands

void add_reference_commands(Menu& menu) {
  using namespace reference_commands;
  Menu::Group group =
      menu.group("reference", "Keep units, currencies, rates, tax codes, users, partners and what else is referred to");
  constexpr const char* kTable = "The table, as `mercato reference list` calls it";
  const auto [list_command, listed] = group.add("list", "List the tables with their counts, or the rows of one",
                                                "  mercato reference list\n"
                                                "  mercato reference list units\n",
                                                list);
  list_command.add_option("TABLE", listed.table, kTable);
  const auto [show_command, shown_row] = group.add("show", "Show a row whole",
                                                   "  mercato reference show units BX\n"
                                                   "  mercato reference show rates EUR USD 2026-07-01\n",
                                                   show);
  show_command.add_option("TABLE", shown_row.table, kTable)->required();
  show_command.add_option("KEY", shown_row.key, "What the row is known by")->required();
  const auto [set_command, setting] =
      group.add("set", "Insert a row, or change the one with this key",
                "  mercato reference set units UNITCODE=BX UNITDESCRIPTION=box\n"
                "  mercato reference set rates SOURCECODE=EUR TARGETCODE=USD EFFECTIVEDATE=2026-07-01 RATE=1.11\n"
                "An empty value clears the column, what is left out stays.\n",
                set);
  set_command.add_option("TABLE", setting.table, kTable)->required();
  set_command.add_option("COLUMN=VALUE", setting.values, "The key's columns, and others")->required()->check(is_pair());
  set_command.add_flag("--dry-run", setting.dry_run, "Say what would happen, and change nothing");
  const auto [load_command, loading] =
      group.add("load", "Insert and change rows from a file of comma-separated values, all or none",
                "  mercato reference load currencies currencies.csv --dry-run\n"
                "The first line names the columns. Each fault is told with its line.\n",
                load);
  load_command.add_option("TABLE", loading.table, kTable)->required();
  load_command.add_option("FILE", loading.file, "The file")->required();
  load_command.add_flag("--dry-run", loading.dry_run, "Say what would happen, and change nothing");
  const auto [delete_command, deleted] =
      group.add("delete", "Delete a row that nothing refers to", "  mercato reference delete units BX --yes\n", remove);
  delete_command.add_option("TABLE", deleted.table, kTable)->required();
  delete_command.add_option("KEY", deleted.key, "What the row is known by")->required();
  delete_command.add_flag("--yes", deleted.yes, "Do not ask");
}

}  // namespace mercato::cli
