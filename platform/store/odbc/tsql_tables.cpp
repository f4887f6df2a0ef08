// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/tsql_tables.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "values/text.h"

namespace mercato::store::odbc {
namespace {

// A table of the user's own schema, by name in any case. Of each column: name, type, length in bytes, digits, decimals,
// whether it may be Null, whether the server assigns it, its place in the primary key.
constexpr const char* kTable = R"(
SELECT t.name, c.name, TYPE_NAME(c.system_type_id), c.max_length, c.precision, c.scale, CAST(c.is_nullable AS int), CAST(c.is_identity AS int),
       (SELECT MAX(k.key_ordinal) FROM sys.index_columns k JOIN sys.indexes i ON i.object_id = k.object_id AND i.index_id = k.index_id
        WHERE i.is_primary_key = 1 AND k.object_id = c.object_id AND k.column_id = c.column_id)
FROM sys.tables t JOIN sys.columns c ON c.object_id = t.object_id
WHERE t.schema_id = SCHEMA_ID() AND LOWER(t.name) = LOWER({name})
ORDER BY t.object_id, c.column_id)";

constexpr const char* kIndex = R"(
SELECT 1 FROM sys.indexes i JOIN sys.tables t ON t.object_id = i.object_id
WHERE t.schema_id = SCHEMA_ID() AND LOWER(t.name) = LOWER({table}) AND LOWER(i.name) = LOWER({name}))";

struct TsqlType {
  std::string_view name;
  ColumnType type;
};
constexpr TsqlType kTsqlTypes[] = {
    {"bit", ColumnType::boolean},
    {"tinyint", ColumnType::short_integer},
    {"smallint", ColumnType::short_integer},
    {"int", ColumnType::long_integer},
    {"bigint", ColumnType::long_integer},
    {"real", ColumnType::real},
    {"float", ColumnType::real},
    {"money", ColumnType::money},
    {"smallmoney", ColumnType::money},
    {"datetime", ColumnType::date},
    {"smalldatetime", ColumnType::date},
    {"datetime2", ColumnType::date},
    {"date", ColumnType::date},
    {"char", ColumnType::text},
    {"varchar", ColumnType::text},
    {"text", ColumnType::text},
    {"nchar", ColumnType::text},
    {"nvarchar", ColumnType::text},
    {"ntext", ColumnType::text},
};

int number_of(const std::optional<std::string>& digits) { return std::atoi(digits.value_or("0").c_str()); }

Column column_of(const SentValues& row) {
  Column column;
  column.name = row[1].value_or("");
  const std::string type = row[2].value_or("");
  const auto* const found = std::ranges::find(kTsqlTypes, std::string_view(type), &TsqlType::name);
  if (found != std::end(kTsqlTypes)) column.type = found->type;
  if ((type == "decimal" || type == "numeric") && number_of(row[5]) == 4) column.type = ColumnType::money;
  const bool is_limited = type.ends_with("char") && number_of(row[3]) > 0;
  if (is_limited) column.width = number_of(row[3]) / (type.starts_with('n') ? 2 : 1);
  column.nullable = number_of(row[6]) != 0;
  column.assigned = number_of(row[7]) != 0;
  return column;
}

}  // namespace

std::string text_literal(std::string_view text) { return "N'" + text::replace_all(text, "'", "''") + "'"; }

bool TsqlTables::has_index(std::string_view table, std::string_view name) const {
  const std::string query = text::replace_all(kIndex, "{table}", text_literal(table));
  return !connection_.rows(text::replace_all(query, "{name}", text_literal(name))).empty();
}

std::unique_ptr<TableInfo> TsqlTables::load(std::string_view name) const {
  const std::vector<SentValues> rows = connection_.rows(text::replace_all(kTable, "{name}", text_literal(name)));
  if (rows.empty()) return nullptr;
  auto table = std::make_unique<TableInfo>();
  table->name = rows.front()[0].value_or("");
  std::vector<std::pair<int, std::size_t>> key;  // place in the key, position of the column
  for (const SentValues& row : rows) {
    // Of two tables whose names differ in case the older one is meant.
    if (row[0] != table->name) break;
    if (const int place = number_of(row[8]); place > 0) key.emplace_back(place, table->columns.size());
    table->columns.push_back(column_of(row));
  }
  std::ranges::sort(key);
  for (const auto& [place, position] : key) table->key.push_back(position);
  return table;
}

}  // namespace mercato::store::odbc
