// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/postgres_tables.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/postgres/postgres_failure.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

// A table that the search path leads to, by name in any case; what is the store's own is none. Of each column: name,
// type, whether it must have a value, whether the server assigns it, its place in the primary key, and what the check
// of its width or range says.
constexpr const char* kTable = R"(
SELECT c.relname, a.attname, t.typname, a.attnotnull, a.attidentity <> '',
       coalesce(array_position(k.indkey::int2[], a.attnum), -1),
       CASE WHEN t.typname IN ('varchar', 'bpchar') AND a.atttypmod > 4 THEN a.atttypmod - 4
            ELSE (SELECT substring(pg_get_constraintdef(w.oid) FROM '<= ([0-9]+)')::int FROM pg_constraint w
                  WHERE w.conrelid = c.oid AND w.contype = 'c' AND w.conkey = ARRAY[a.attnum] AND starts_with(w.conname, 'width of ')
                  LIMIT 1) END,
       EXISTS (SELECT FROM pg_constraint r
               WHERE r.conrelid = c.oid AND r.contype = 'c' AND r.conkey = ARRAY[a.attnum] AND starts_with(r.conname, 'range of '))
FROM pg_class c
JOIN pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT a.attisdropped
JOIN pg_type t ON t.oid = a.atttypid
LEFT JOIN pg_index k ON k.indrelid = c.oid AND k.indisprimary
WHERE c.relkind IN ('r', 'p') AND pg_table_is_visible(c.oid) AND c.relnamespace <> 'pg_catalog'::regnamespace
  AND lower(c.relname) = lower($1) AND NOT starts_with(c.relname, 'mercato_') AND a.attname <> 'mercato_row'
ORDER BY c.oid, a.attnum)";

constexpr const char* kIndex = R"(
SELECT FROM pg_index i JOIN pg_class x ON x.oid = i.indexrelid JOIN pg_class c ON c.oid = i.indrelid
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

std::string_view text_at(const PGresult* rows, int row, int column) {
  return {PQgetvalue(rows, row, column), static_cast<std::size_t>(PQgetlength(rows, row, column))};
}

bool flag_at(const PGresult* rows, int row, int column) { return text_at(rows, row, column) == "t"; }

int number_at(const PGresult* rows, int row, int column) {
  int number = 0;
  const std::string_view digits = text_at(rows, row, column);
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

}  // namespace

ResultHandle rows_of(Connection& connection, const char* text, const SentValues& values) {
  // A failure leaves the transaction as it was.
  const bool is_saved = connection.is_in_transaction();
  if (is_saved) connection.send("SAVEPOINT mercato_read");
  connection.send(text, values);
  if (is_saved) connection.send("RELEASE SAVEPOINT mercato_read");
  connection.flush();
  if (is_saved) connection.finish_command();
  ResultHandle rows = connection.finish_command();
  connection.finish_batch();
  if (PQresultStatus(rows.get()) == PGRES_TUPLES_OK) return rows;
  RaisedError failure = failure_of(rows.get(), connection.label(), nullptr);
  if (is_saved) {
    connection.send("ROLLBACK TO SAVEPOINT mercato_read");
    connection.flush(Ending::awaited);
    connection.finish_batch();
  }
  throw Raised(std::move(failure));
}

bool Tables::has_index(std::string_view table, std::string_view name) const {
  return PQntuples(rows_of(connection_, kIndex, {std::string(table), std::string(name)}).get()) > 0;
}

bool Tables::refresh() {
  std::string definitions;
  if (!is_prepared_) {
    const ResultHandle rows = rows_of(connection_, "SELECT to_regclass('mercato_store') IS NOT NULL");
    is_prepared_ = flag_at(rows.get(), 0, 0);
  }
  // Without its record nothing tells what others have done, so nothing is kept for long.
  if (is_prepared_) {
    const ResultHandle rows = rows_of(connection_, "SELECT definitions FROM mercato_store");
    if (PQntuples(rows.get()) > 0) definitions = text_at(rows.get(), 0, 0);
  }
  if (!definitions.empty() && definitions == definitions_) return false;
  definitions_ = std::move(definitions);
  forget();
  return true;
}

std::unique_ptr<TableInfo> Tables::load(std::string_view name) const {
  const ResultHandle found = rows_of(connection_, kTable, {std::string(name)});
  const PGresult* const rows = found.get();
  if (PQntuples(rows) == 0) return nullptr;
  auto table = std::make_unique<TableInfo>();
  table->name = text_at(rows, 0, 0);
  std::vector<std::pair<int, std::size_t>> key;  // place in the key, position of the column
  for (int row = 0; row < PQntuples(rows); ++row) {
    // Of two tables whose names differ in case the older one is meant.
    if (text_at(rows, row, 0) != table->name) break;
    Column column;
    column.name = text_at(rows, row, 1);
    column.type = type_named(text_at(rows, row, 2));
    if (column.type == ColumnType::short_integer && flag_at(rows, row, 7)) column.type = ColumnType::boolean;
    column.nullable = !flag_at(rows, row, 3);
    column.assigned = flag_at(rows, row, 4);
    column.width = number_at(rows, row, 6);
    if (const int place = number_at(rows, row, 5); place >= 0) key.emplace_back(place, table->columns.size());
    table->columns.push_back(std::move(column));
  }
  std::ranges::sort(key);
  for (const auto& [place, position] : key) table->key.push_back(position);
  return table;
}

}  // namespace mercato::store::postgres
