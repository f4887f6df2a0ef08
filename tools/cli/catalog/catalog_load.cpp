// mercato catalog load: a tree of nodes from a file of comma-separated values. The library has no call that writes
// nodes: they are written here, in one transaction with the catalogue.
#include <algorithm>
#include <map>

#include "frame/lib_sql.h"
#include "frame/recordset.h"
#include "platform/files/files.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/catalog/catalog_tree.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/csv.h"
#include "tools/cli/terminal/listing.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kMostReasons = 20;
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // a million nodes have less

struct FileNode {
  std::size_t line;
  std::string id;
  std::string parent_id;  // empty: a root
  std::string name;
  std::string category_text;
  std::size_t parent = kNone;
  std::optional<std::int32_t> category = std::nullopt;
  std::int32_t sequence = 0;  // among those with the same parent
};
using FileNodes = std::vector<FileNode>;

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
std::size_t column(const CsvRow& header, const std::string& wanted, std::initializer_list<std::string_view> usual) {
  const auto position_of = [&](std::string_view name) {
    const auto found = std::ranges::find_if(
        header.fields, [&](const std::string& field) { return text::equal_names(text::trim(field), name); });
    return found == header.fields.end() ? kNone : static_cast<std::size_t>(found - header.fields.begin());
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

Columns find_columns(const CsvRow& header, const LoadedCatalog& given) {
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

// Checks. Each adds what is wrong, by line, and leaves what is right as it is.

FileNodes read_nodes(const std::vector<CsvRow>& rows, const Columns& columns) {
  FileNodes nodes;
  for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
    const auto field = [&](std::size_t position) {
      return position == kNone ? std::string() : std::string(text::trim(row->fields[position]));
    };
    nodes.push_back(
        {row->line, field(columns.id), field(columns.parent), field(columns.name), field(columns.category)});
  }
  return nodes;
}

void check_fields(const FileNodes& nodes, Faults& faults) {
  for (const FileNode& node : nodes) {
    if (node.id.empty()) faults.push_back({node.line, "the id is empty"});
    if (node.name.empty()) faults.push_back({node.line, "the name of node " + node.id + " is empty"});
    if (const std::size_t length = text::length(node.name); length > kLongestName)
      faults.push_back({node.line, "the name of node " + node.id + " has " + std::to_string(length) +
                                       " characters; it may have " + std::to_string(kLongestName)});
  }
}

void tie_to_parents(FileNodes& nodes, Faults& faults) {
  std::map<std::string, std::size_t> positions;
  for (std::size_t position = 0; position < nodes.size(); ++position) {
    const auto [first, is_new] = positions.emplace(nodes[position].id, position);
    if (!is_new && !nodes[position].id.empty())
      faults.push_back({nodes[position].line, "the id " + nodes[position].id + " stands on line " +
                                                  std::to_string(nodes[first->second].line) +
                                                  " already; every node needs its own"});
  }
  for (FileNode& node : nodes) {
    if (node.parent_id.empty()) continue;
    const auto parent = positions.find(node.parent_id);
    if (parent != positions.end())
      node.parent = parent->second;
    else
      faults.push_back({node.line, "there is no node " + node.parent_id + " to be the parent of node " + node.id +
                                       "; add it, or leave the parent empty for a root"});
  }
}

// Each circle once, at the first of its lines.
void check_circles(const FileNodes& nodes, Faults& faults) {
  std::vector<std::size_t> walk_of(nodes.size(), kNone);  // on which walk a node was first come to
  for (std::size_t start = 0; start < nodes.size(); ++start) {
    std::size_t at = start;
    for (; at != kNone && walk_of[at] == kNone; at = nodes[at].parent) walk_of[at] = start;
    if (at == kNone || walk_of[at] != start) continue;
    std::size_t first = at;
    for (std::size_t other = nodes[at].parent; other != at; other = nodes[other].parent) first = std::min(first, other);
    std::string circle = nodes[first].id;
    for (std::size_t other = nodes[first].parent; other != first; other = nodes[other].parent)
      circle += " > " + nodes[other].id;
    faults.push_back({nodes[first].line, "node " + nodes[first].id + " is above itself: " + circle + " > " +
                                             nodes[first].id + "; give one of them another parent"});
  }
}

// Categories by id, or by name when only one has it.
void tie_to_categories(FileNodes& nodes, Faults& faults) {
  const auto key_of = [](const std::string& name) { return text::folded(text::without_trailing_blanks(name)); };
  const auto any = std::ranges::any_of(nodes, [](const FileNode& node) { return !node.category_text.empty(); });
  if (!any) return;
  std::map<std::string, std::int32_t> by_id;
  std::map<std::string, std::vector<std::int32_t>> by_name;
  for (const DictionaryPtr& row : query_rows(LiteralPiece("SELECT CATEGORYID, CATEGORYNAME FROM PRODUCTCATEGORY"))) {
    const std::int32_t id = row->Item("CATEGORYID").to_long();
    by_id[std::to_string(id)] = id;
    by_name[key_of(text_of(*row, "CATEGORYNAME"))].push_back(id);
  }
  for (FileNode& node : nodes) {
    if (node.category_text.empty()) continue;
    if (const auto id = by_id.find(node.category_text); id != by_id.end()) {
      node.category = id->second;
      continue;
    }
    const auto named = by_name.find(key_of(node.category_text));
    if (named == by_name.end())
      faults.push_back({node.line, "there is no category " + node.category_text +
                                       "; create it with `mercato category new`, or leave the field empty"});
    else if (named->second.size() > 1)
      faults.push_back(
          {node.line, "the name " + node.category_text + " stands for more than one category: use the id"});
    else
      node.category = named->second.front();
  }
}

// Writing

void number_siblings(FileNodes& nodes) {
  std::map<std::size_t, std::int32_t> children;
  for (FileNode& node : nodes) node.sequence = ++children[node.parent];
}

// In the order of the file, but every parent before its children.
std::vector<std::size_t> parents_first(const FileNodes& nodes) {
  std::vector<std::size_t> order;
  std::vector<bool> placed(nodes.size(), false);
  for (std::size_t start = 0; start < nodes.size(); ++start) {
    std::vector<std::size_t> way;
    for (std::size_t at = start; at != kNone && !placed[at]; at = nodes[at].parent) {
      placed[at] = true;
      way.push_back(at);
    }
    order.insert(order.end(), way.rbegin(), way.rend());
  }
  return order;
}

void write_nodes(const FileNodes& nodes, std::int32_t catalog) {
  const RecordsetPtr rows = open_updatable(
      LiteralPiece("SELECT NODEID, CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID FROM CATALOGNODE "
                   "WHERE 0=1"),
      open_connection(connection_string()), CursorType::keyset);
  std::vector<std::int32_t> ids(nodes.size());
  Progress progress(nodes.size());
  for (const std::size_t position : parents_first(nodes)) {
    const FileNode& node = nodes[position];
    rows->AddNew();
    rows->SetValue("CATALOGID", catalog);
    rows->SetValue("PARENTNODEID", node.parent == kNone ? Variant(kNull) : Variant(ids[node.parent]));
    rows->SetValue("NODENAME", node.name);
    rows->SetValue("SEQUENCE", node.sequence);
    rows->SetValue("NODETYPE", node.category ? kCategoryNode : 0);
    rows->SetValue("CATEGORYID", node.category ? Variant(*node.category) : Variant(kNull));
    rows->Update();
    ids[position] = rows->Value("NODEID").to_long();
    progress.advance();
  }
  rows->Close();
}

}  // namespace

int load_catalog(const LoadedCatalog& given, const OutputOptions& output) {
  const std::vector<CsvRow> rows = read_csv(files::read_file(given.file, kMostBytes));
  if (rows.empty()) raise(error_number::kInvalidArgument, {}, "The file is empty");
  FileNodes nodes = read_nodes(rows, find_columns(rows.front(), given));
  if (nodes.empty()) raise(error_number::kInvalidArgument, {}, "The file has no nodes below its first line");

  Faults faults;
  check_fields(nodes, faults);
  tie_to_parents(nodes, faults);
  check_circles(nodes, faults);
  tie_to_categories(nodes, faults);
  if (!faults.empty())
    return refuse(output, {{"id", nullptr}, {"nodes", 0}},
                  given.file + " has " + counted(faults.size(), "fault") + "; nothing of it was loaded.",
                  first_of(faults));

  number_siblings(nodes);
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
  write_nodes(nodes, id);
  transaction.commit();

  const auto roots =
      static_cast<std::size_t>(std::ranges::count_if(nodes, [](const FileNode& node) { return node.parent == kNone; }));
  return answer(output, {{"id", id}, {"nodes", nodes.size()}, {"roots", roots}},
                "catalogue " + std::to_string(id) + " created with " + counted(nodes.size(), "node") + ", " +
                    counted(roots, "root") + ".");
}

}  // namespace mercato::cli
