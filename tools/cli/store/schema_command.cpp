// SPDX-License-Identifier: Apache-2.0
// mercato schema: tables, columns, widths, keys and references, as the store has them.
#include "frame/schema_definitions.h"
#include "frame/table_columns.h"
#include "frame/table_references.h"
#include "mercato/raised_error.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace schema_command {

using store::Column;
using store::ColumnType;
using store::TableInfo;

struct Given {
  std::string table;  // empty: all
};

// As the definitions of the tables have it.
std::string type_of(const Column& column) {
  switch (column.type) {
    case ColumnType::short_integer:
      return "smallint";
    case ColumnType::long_integer:
      return "int";
    case ColumnType::boolean:
      return "bit";
    case ColumnType::real:
      return "float";
    case ColumnType::money:
      return "money";
    case ColumnType::date:
      return "datetime";
    case ColumnType::text:
      return column.width > 0 ? "nvarchar(" + std::to_string(column.width) + ")" : "ntext";
    case ColumnType::unknown:
      break;
  }
  return "";
}

const TableReference* reference_of(const TableInfo& table, const Column& column) {
  for (const TableReference& reference : table_references())
    if (reference.table == table.name && reference.column == column.name) return &reference;
  return nullptr;
}

// Counted from 1; 0: the column is not in the key.
std::size_t place_in_key(const TableInfo& table, std::size_t column) {
  for (std::size_t part = 0; part < table.key.size(); ++part)
    if (table.key[part] == column) return part + 1;
  return 0;
}

int show(const Given& given, const OutputOptions& output) {
  Table shown_table({"TABLE", "COLUMN", "TYPE", "EMPTY", "KEY", "REFERS TO"});
  gateway::Json list = gateway::Json::array();
  for (const SchemaDefinition& definition : schema_definitions()) {
    if (!definition.is_table || (!given.table.empty() && !text::equal_names(definition.name, given.table))) continue;
    const std::optional<TableInfo> table = table_columns(connection_string(), definition.name);
    if (!table) continue;
    gateway::Json columns = gateway::Json::array();
    for (std::size_t place = 0; place < table->columns.size(); ++place) {
      const Column& column = table->columns[place];
      const TableReference* const reference = reference_of(*table, column);
      const std::size_t key = place_in_key(*table, place);
      const std::string to =
          reference ? std::string(reference->to_table) + "." + std::string(reference->to_column) : "";
      shown_table.add({table->name, column.name, type_of(column), column.nullable ? "yes" : "no",
                       key == 0          ? ""
                       : column.assigned ? "given by the store"
                                         : std::to_string(key),
                       to});
      columns.push_back({{"name", column.name},
                         {"type", type_of(column)},
                         {"width", column.width},
                         {"nullable", column.nullable},
                         {"assigned", column.assigned},
                         {"key", key},
                         {"refersTo", to}});
    }
    list.push_back({{"name", table->name}, {"columns", std::move(columns)}});
  }
  if (list.empty() && !given.table.empty())
    raise(error_number::kInvalidArgument, {}, "There is no table " + given.table);
  return answer_list(output, "tables", std::move(list), shown_table,
                     "The store has no tables: `mercato init` creates them.");
}

}  // namespace schema_command

void add_schema_command(Menu& menu) {
  using namespace schema_command;
  const auto [command, given] = menu.add("schema", "Print the store's tables: columns, types, keys and references",
                                         "  mercato schema\n"
                                         "  mercato schema PRODUCT --json\n",
                                         show);
  command.add_option("TABLE", given.table, "One table only");
}

}  // namespace mercato::cli
