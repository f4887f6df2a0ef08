// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_tables.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace mercato::store::postgres {
namespace {

// A table that the search path leads to, by name in any case; what is the store's own is none. Of each column: name,
// type, whether it must have a value, whether the server assigns it, its place in the primary key, what the check
// of its width or range says, and whether it is in a text index.
constexpr const char* kTable = R"(
SELECT c.relname, a.attname, t.typname, a.attnotnull, a.attidentity <> '',
       coalesce(array_position(k.indkey::int2[], a.attnum), -1),
       CASE WHEN t.typname IN ('varchar', 'bpchar') AND a.atttypmod > 4 THEN a.atttypmod - 4
            ELSE (SELECT substring(pg_get_constraintdef(w.oid) FROM '<= ([0-9]+)')::int FROM pg_constraint w
                  WHERE w.conrelid = c.oid AND w.contype = 'c' AND w.conkey = ARRAY[a.attnum] AND starts_with(w.conname, 'width of ')
                  LIMIT 1) END,
       EXISTS (SELECT FROM pg_constraint r
               WHERE r.conrelid = c.oid AND r.contype = 'c' AND r.conkey = ARRAY[a.attnum] AND starts_with(r.conname, 'range of ')),
       EXISTS (SELECT FROM pg_index i
               JOIN pg_depend d ON d.classid = 'pg_class'::regclass AND d.objid = i.indexrelid
                               AND d.refclassid = 'pg_class'::regclass AND d.refobjid = c.oid AND d.refobjsubid = a.attnum
               WHERE i.indrelid = c.oid AND i.indisvalid AND pg_get_expr(i.indexprs, c.oid) ~ '^[^(]*mercato_trigrams[(]')
FROM pg_class c
JOIN pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT a.attisdropped
JOIN pg_type t ON t.oid = a.atttypid
LEFT JOIN pg_index k ON k.indrelid = c.oid AND k.indisprimary
WHERE c.relkind IN ('r', 'p') AND pg_table_is_visible(c.oid) AND c.relnamespace <> 'pg_catalog'::regnamespace
  AND lower(c.relname) = lower($1) AND NOT starts_with(c.relname, 'mercato_') AND a.attname <> 'mercato_row'
ORDER BY c.oid, a.attnum)";

constexpr const char* kIndex = R"(
SELECT 1 FROM pg_index i JOIN pg_class x ON x.oid = i.indexrelid JOIN pg_class c ON c.oid = i.indrelid
WHERE pg_table_is_visible(c.oid) AND lower(c.relname) = lower($1) AND lower(x.relname) = lower($2))";

struct EngineType {
  std::string_view name;
  ColumnType type;
};
constexpr EngineType kTypes[] = {
    {"int2", ColumnType::short_integer}, {"int4", ColumnType::long_integer}, {"int8", ColumnType::long_integer},
    {"float4", ColumnType::real},        {"float8", ColumnType::real},       {"numeric", ColumnType::money},
    {"timestamp", ColumnType::date},     {"timestamptz", ColumnType::date},  {"date", ColumnType::date},
    {"text", ColumnType::text},          {"varchar", ColumnType::text},      {"bpchar", ColumnType::text},
};

ColumnType type_named(std::string_view name) {
  const auto* const found = std::ranges::find(kTypes, name, &EngineType::name);
  return found == std::end(kTypes) ? ColumnType::unknown : found->type;
}

bool is_true(const std::optional<std::string>& flag) { return flag == "t" || flag == "1"; }

int number_of(const std::optional<std::string>& digits) { return std::atoi(digits.value_or("0").c_str()); }

}  // namespace

bool Tables::has_index(std::string_view table, std::string_view name) const {
  return !server_.rows(kIndex, {std::string(table), std::string(name)}).empty();
}

bool Tables::refresh() {
  std::string definitions;
  if (!is_prepared_) is_prepared_ = server_.rows("SELECT to_regclass('mercato_store')::text").front()[0].has_value();
  // Without its record nothing tells what others have done, so nothing is kept for long.
  if (is_prepared_) {
    const std::vector<SentValues> rows = server_.rows("SELECT definitions FROM mercato_store");
    if (!rows.empty()) definitions = rows.front()[0].value_or("");
  }
  if (!definitions.empty() && definitions == definitions_) return false;
  definitions_ = std::move(definitions);
  forget();
  return true;
}

std::unique_ptr<TableInfo> Tables::load(std::string_view name) const {
  const std::vector<SentValues> rows = server_.rows(kTable, {std::string(name)});
  if (rows.empty()) return nullptr;
  auto table = std::make_unique<TableInfo>();
  table->name = rows.front()[0].value_or("");
  std::vector<std::pair<int, std::size_t>> key;  // place in the key, position of the column
  for (const SentValues& row : rows) {
    // Of two tables whose names differ in case the older one is meant.
    if (row[0] != table->name) break;
    Column column;
    column.name = row[1].value_or("");
    column.type = type_named(row[2].value_or(""));
    if (column.type == ColumnType::short_integer && is_true(row[7])) column.type = ColumnType::boolean;
    column.nullable = !is_true(row[3]);
    column.assigned = is_true(row[4]);
    column.width = number_of(row[6]);
    column.in_text_index = is_true(row[8]);
    if (const int place = number_of(row[5]); place >= 0) key.emplace_back(place, table->columns.size());
    table->columns.push_back(std::move(column));
  }
  std::ranges::sort(key);
  for (const auto& [place, position] : key) table->key.push_back(position);
  return table;
}

}  // namespace mercato::store::postgres
