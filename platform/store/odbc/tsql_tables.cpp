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

// A table of the user's own schema, by name in any case. Of each column: name, type, characters, decimals, whether it may
// be Null, whether the server assigns it, its place in the primary key.
constexpr const char* kTable = R"(
SELECT c.TABLE_NAME, c.COLUMN_NAME, c.DATA_TYPE, c.CHARACTER_MAXIMUM_LENGTH, c.NUMERIC_SCALE, c.IS_NULLABLE,
       COLUMNPROPERTY(o.id, c.COLUMN_NAME, 'IsIdentity'), k.key_ordinal
FROM (SELECT OBJECT_ID(QUOTENAME(SCHEMA_NAME()) + N'.' + QUOTENAME({name}), N'U') AS id) o
JOIN INFORMATION_SCHEMA.COLUMNS c ON c.TABLE_SCHEMA = SCHEMA_NAME() AND LOWER(c.TABLE_NAME) = LOWER({name})
LEFT JOIN sys.indexes i ON i.object_id = o.id AND i.is_primary_key = 1
LEFT JOIN sys.index_columns k ON k.object_id = o.id AND k.index_id = i.index_id
     AND k.column_id = COLUMNPROPERTY(o.id, c.COLUMN_NAME, 'ColumnId')
WHERE o.id IS NOT NULL
ORDER BY c.TABLE_NAME, c.ORDINAL_POSITION)";

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
  if ((type == "decimal" || type == "numeric") && number_of(row[4]) == 4) column.type = ColumnType::money;
  if (type.ends_with("char")) column.width = std::max(number_of(row[3]), 0);
  column.nullable = row[5] == "YES";
  column.assigned = number_of(row[6]) == 1;
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
    // Of two tables whose names differ in case the first one is meant.
    if (row[0] != table->name) break;
    if (const int place = number_of(row[7]); place > 0) key.emplace_back(place, table->columns.size());
    table->columns.push_back(column_of(row));
  }
  std::ranges::sort(key);
  for (const auto& [place, position] : key) table->key.push_back(position);
  return table;
}

}  // namespace mercato::store::odbc
