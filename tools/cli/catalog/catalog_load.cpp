// SPDX-License-Identifier: Apache-2.0
// mercato catalog load: a tree of nodes from a file of comma-separated values, written in one transaction with its
// catalogue.
#include <algorithm>
#include <map>

#include "catalog/catalog_lists.h"
#include "catalog/node_loading.h"
#include "exchange/formats/whole_table.h"
#include "platform/files/files.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/upload_journal.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

using exchange::TableRow;
using exchange::whole_table;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
constexpr std::size_t kMostReasons = 20;
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // enough for a million nodes

// What the file says of a node besides its name.
struct Line {
  std::size_t number;
  std::string id;
  std::string parent_id;  // empty: a root
  std::string category;   // an id, a name, or empty
};
struct FileNodes {
  std::vector<Line> lines;
  std::vector<NewNode> nodes;  // one for each line

  std::size_t count() const { return lines.size(); }
};

struct Fault {
  std::size_t line;
  std::string what;
};
using Faults = std::vector<Fault>;

Reasons first_of(Faults faults) {
  std::ranges::stable_sort(faults, {}, &Fault::line);
  Reasons reasons;
  for (const auto& [line, what] : faults) {
    if (reasons.size() == kMostReasons) {
      reasons.push_back("and " + std::to_string(faults.size() - kMostReasons) + " more");
      break;
    }
    reasons.push_back("line " + std::to_string(line) + ": " + what);
  }
  return reasons;
}

// Headers

struct Columns {
  std::size_t id, parent, name, category;  // category: kNone when there is no such column
};

// The column with the header that was asked for, else with one of the usual ones, in any case.
std::size_t column(const TableRow& header, const std::string& wanted, std::initializer_list<std::string_view> usual) {
  const auto position_of = [&](std::string_view name) {
    const auto found = std::ranges::find_if(
        header.cells, [&](const std::string& field) { return text::equal_names(text::trim(field), name); });
    return found == header.cells.end() ? kNone : static_cast<std::size_t>(found - header.cells.begin());
  };
  if (!wanted.empty()) {
    const std::size_t position = position_of(wanted);
    if (position == kNone)
      raise(error_number::kInvalidArgument, {}, "The file has no column " + wanted + " in its first line");
    return position;
  }
  for (const std::string_view name : usual)
    if (const std::size_t position = position_of(name); position != kNone) return position;
  return kNone;
}

Columns find_columns(const TableRow& header, const LoadedCatalog& given) {
  const Columns columns = {
      column(header, given.id_column, {"id", "nodeid", "node_id"}),
      column(header, given.parent_column, {"parent", "parent_id", "parentid", "parentnodeid", "parent_node_id"}),
      column(header, given.name_column, {"name", "nodename", "node_name"}),
      column(header, given.category_column, {"category", "category_id", "categoryid"})};
  const struct {
    std::size_t position;
    const char* what;
    const char* option;
  } needed[] = {{columns.id, "id", "--id-column"},
                {columns.parent, "parent", "--parent-column"},
                {columns.name, "name", "--name-column"}};
  for (const auto& [position, what, option] : needed)
    if (position == kNone)
      raise(error_number::kInvalidArgument, {},
            std::string("The first line of the file has no column for the ") + what + " of a node; name it with " +
                option + ", or put commas between the columns if it has others");
  return columns;
}

// Checks. Each adds its faults, by line.

FileNodes read_nodes(const std::vector<TableRow>& rows, const Columns& columns) {
  FileNodes file;
  for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
    const auto field = [&](std::size_t position) {
      return position == kNone ? std::string() : std::string(text::trim(row->cells[position]));
    };
    file.lines.push_back({row->line, field(columns.id), field(columns.parent), field(columns.category)});
    file.nodes.push_back({field(columns.name), std::nullopt, std::nullopt});
  }
  return file;
}

void check_fields(const FileNodes& file, Faults& faults) {
  for (std::size_t position = 0; position < file.count(); ++position) {
    const Line& line = file.lines[position];
    const std::string& name = file.nodes[position].name;
    if (line.id.empty()) faults.push_back({line.number, "the id is empty"});
    if (name.empty()) faults.push_back({line.number, "the name of node " + line.id + " is empty"});
    if (const std::size_t length = text::length(name); length > kLongestNodeName)
      faults.push_back({line.number, "the name of node " + line.id + " has " + std::to_string(length) +
                                         " characters; it may have " + std::to_string(kLongestNodeName)});
  }
}

void tie_to_parents(FileNodes& file, Faults& faults) {
  std::map<std::string, std::size_t> positions;
  for (std::size_t position = 0; position < file.count(); ++position) {
    const Line& line = file.lines[position];
    const auto [first, is_new] = positions.emplace(line.id, position);
    if (!is_new && !line.id.empty())
      faults.push_back({line.number, "the id " + line.id + " stands on line " +
                                         std::to_string(file.lines[first->second].number) +
                                         " already; every node needs its own"});
  }
  for (std::size_t position = 0; position < file.count(); ++position) {
    const Line& line = file.lines[position];
    if (line.parent_id.empty()) continue;
    const auto parent = positions.find(line.parent_id);
    if (parent != positions.end())
      file.nodes[position].parent = parent->second;
    else
      faults.push_back({line.number, "there is no node " + line.parent_id + " to be the parent of node " + line.id +
                                         "; add it, or leave the parent empty for a root"});
  }
}

// Each circle once, at the first of its lines.
void check_circles(const FileNodes& file, Faults& faults) {
  for (const std::vector<std::size_t>& positions : circles_among(file.nodes)) {
    const Line& first = file.lines[positions.front()];
    std::string circle;
    for (const std::size_t position : positions) circle += file.lines[position].id + " > ";
    faults.push_back({first.number, "node " + first.id + " is above itself: " + circle + first.id +
                                        "; give one of them another parent"});
  }
}

// Categories by id, or by name when only one has it.
void tie_to_categories(FileNodes& file, Faults& faults) {
  const auto key_of = [](const std::string& name) { return text::folded(text::without_trailing_blanks(name)); };
  if (std::ranges::all_of(file.lines, [](const Line& line) { return line.category.empty(); })) return;
  std::map<std::string, std::int32_t> by_id;
  std::map<std::string, std::vector<std::int32_t>> by_name;
  all_category_names()->for_each([&](const Variant& id, const Variant& name) {
    by_id[id.to_text()] = id.to_long();
    by_name[key_of(name.text_or_empty())].push_back(id.to_long());
  });
  for (std::size_t position = 0; position < file.count(); ++position) {
    const auto& [line, id, parent_id, category] = file.lines[position];
    if (category.empty()) continue;
    if (const auto known = by_id.find(category); known != by_id.end()) {
      file.nodes[position].category = known->second;
      continue;
    }
    const auto named = by_name.find(key_of(category));
    if (named == by_name.end())
      faults.push_back({line, "there is no category " + category +
                                  "; create it with `mercato category new`, or leave the field empty"});
    else if (named->second.size() > 1)
      faults.push_back({line, "the name " + category + " stands for more than one category: use the id"});
    else
      file.nodes[position].category = named->second.front();
  }
}

}  // namespace

int load_catalog(const LoadedCatalog& given, const OutputOptions& output) {
  const std::vector<TableRow> rows = whole_table(files::read_file(given.file, kMostBytes));
  if (rows.empty()) raise(error_number::kInvalidArgument, {}, "The file is empty");
  FileNodes file = read_nodes(rows, find_columns(rows.front(), given));
  if (file.nodes.empty()) raise(error_number::kInvalidArgument, {}, "The file has no nodes below its first line");

  Faults faults;
  check_fields(file, faults);
  tie_to_parents(file, faults);
  check_circles(file, faults);
  tie_to_categories(file, faults);
  if (!faults.empty())
    return refuse(output, {{"id", nullptr}, {"nodes", 0}},
                  given.file + " has " + counted(faults.size(), "fault") + "; nothing of it was loaded.",
                  first_of(faults));

  UploadJournal journal(!given.without_journal, "catalog", given.file);
  OneTransaction transaction;
  Array fields{"CATALOGNAME", "ACTIVE"};
  Array values{given.name, given.active ? 1 : 0};
  if (!given.description.empty()) {
    fields.items.emplace_back("CATALOGDESCRIPTION");
    values.items.emplace_back(given.description);
  }
  const std::int32_t id =
      explaining([&](const RaisedError&) { return reasons_against_write("CATALOG", fields, values); },
                 [&] {
                   return transaction.call("Mercato.TCatalog", "InsertCatalog", {fields, values}).to_long();
                 });
  Progress progress(file.count());
  write_nodes(id, file.nodes, [&] { progress.advance(); });
  if (journal.get()) journal.get()->inserted({exchange::Reach::Kind::catalog, {std::to_string(id)}});
  transaction.commit();
  exchange::UploadResult outcome;
  outcome.counts.read = 1;
  journal.end_counted(outcome, 1, {});

  const auto roots =
      static_cast<std::size_t>(std::ranges::count_if(file.nodes, [](const NewNode& node) { return !node.parent; }));
  return answer(output, {{"id", id}, {"nodes", file.count()}, {"roots", roots}},
                "catalogue " + std::to_string(id) + " created with " + counted(file.count(), "node") + ", " +
                    counted(roots, "root") + ".");
}

}  // namespace mercato::cli
