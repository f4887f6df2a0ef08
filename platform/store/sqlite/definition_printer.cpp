// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/sqlite/declared_type.h"
#include "platform/store/sqlite/statement_printer.h"
#include "platform/store/sqlite/text_index.h"
#include "values/text.h"

namespace mercato::store::sqlite {
namespace {

using dialect::ColumnDefinition;
using dialect::DefaultValue;
using dialect::Definition;
using dialect::KeyColumn;
using dialect::KeyDefinition;
using dialect::quoted_name;

std::string sql_text(std::string_view text) { return "'" + text::replace_all(text, "'", "''") + "'"; }

// As the store keeps values of that type.
std::string default_sql(const ColumnDefinition& column) {
  const DefaultValue& given = column.default_value;
  if (given.kind == DefaultValue::Kind::null) return "NULL";
  if (given.kind == DefaultValue::Kind::current_date) return "(mercato_now())";
  const std::string sign = given.negative ? "-" : "";
  switch (column.type) {
    case ColumnType::text:
      return sql_text(sign + given.value.to_text());
    case ColumnType::date:
      return sql_text(given.value.date_value().iso_text());
    case ColumnType::money:
      return sign + std::to_string(given.value.currency_value().scaled());
    case ColumnType::boolean:
      return given.value.boolean_value() ? "1" : "0";
    default:
      return sign + given.value.to_text();
  }
}

std::string check_sql(const ColumnDefinition& column) {
  const std::string name = quoted_name(column.name);
  const std::string range = " CONSTRAINT " + quoted_name(range_constraint(column.name)) + " CHECK (" + name;
  switch (column.type) {
    case ColumnType::short_integer:
      return range + " BETWEEN -32768 AND 32767)";
    case ColumnType::long_integer:
      return range + " BETWEEN -2147483648 AND 2147483647)";
    case ColumnType::boolean:
      return range + " BETWEEN 0 AND 1)";
    case ColumnType::text:
      if (column.width == 0) return {};
      return " CONSTRAINT " + quoted_name(width_constraint(column.name)) + " CHECK (length(" + name +
             ") <= " + std::to_string(column.width) + ")";
    default:
      return {};
  }
}

std::string column_sql(const Definition& definition, const ColumnDefinition& column) {
  std::string sql = quoted_name(column.name) + " ";
  // The store numbers rows and never gives a number twice.
  if (definition.is_assigned_key(column))
    return sql + std::string(kAssignedKeyType) + " PRIMARY KEY AUTOINCREMENT" + check_sql(column);
  sql += column.type_text;
  if (!column.nullable) sql += " NOT NULL";
  if (column.default_value.kind != DefaultValue::Kind::none) sql += " DEFAULT " + default_sql(column);
  if (column.type == ColumnType::text) sql += " COLLATE MERCATO";
  return sql + check_sql(column);
}

// SQLite holds two Nulls for different. A unique index is over something else in their place, which equals itself and
// no value of any column.
std::string index_sql(const std::string& index, bool unique, const std::string& table,
                      const std::vector<KeyColumn>& columns) {
  std::string sql = unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
  sql += quoted_name(index) + " ON " + quoted_name(table);
  const char* separator = " (";
  for (const KeyColumn& column : columns) {
    sql += std::exchange(separator, ", ");
    if (unique && column.nullable) {
      sql += "IFNULL(" + quoted_name(column.name) + ", X'')";
      if (column.type == ColumnType::text) sql += " COLLATE MERCATO";
    } else {
      sql += quoted_name(column.name);
    }
    if (column.descending) sql += " DESC";
  }
  return sql + ")";
}

// A key is a constraint of its table, or an index when it may hold Nulls. That of an assigned key stands at its column.
void add_key(const Definition& definition, const KeyDefinition& key, std::vector<std::string>& parts,
             std::vector<std::string>& indices) {
  bool any_nullable = false;
  std::string names, label;
  for (const KeyColumn& column : key.columns) {
    const ColumnDefinition& defined = definition.columns[column.position];
    if (key.primary && definition.is_assigned_key(defined)) return;
    any_nullable = any_nullable || column.nullable;
    names += (names.empty() ? "" : ", ") + quoted_name(defined.name);
    label += "_" + defined.name;
  }
  if (any_nullable) {
    const std::string index = key.constraint.empty() ? "UQ_" + definition.table + label : key.constraint;
    indices.push_back(index_sql(index, true, definition.table, key.columns));
    return;
  }
  const std::string constraint = key.constraint.empty() ? "" : "CONSTRAINT " + quoted_name(key.constraint) + " ";
  parts.push_back(constraint + (key.primary ? "PRIMARY KEY (" : "UNIQUE (") + names + ")");
}

std::vector<std::string> table_sql(const Definition& definition) {
  std::vector<std::string> parts;
  std::vector<std::string> statements{"CREATE TABLE " + quoted_name(definition.table)};
  for (const ColumnDefinition& column : definition.columns) parts.push_back(column_sql(definition, column));
  for (const KeyDefinition& key : definition.keys) add_key(definition, key, parts, statements);
  const char* separator = " (";
  for (const std::string& part : parts) statements.front() += std::exchange(separator, ", ") + part;
  statements.front() += ")";
  return statements;
}

}  // namespace

std::vector<std::string> definition_sql(const Definition& definition) {
  switch (definition.kind) {
    case Definition::Kind::create_table:
      return table_sql(definition);
    case Definition::Kind::create_index:
      return {index_sql(definition.index, definition.unique, definition.table, definition.index_columns)};
    case Definition::Kind::create_text_index:
      return create_text_index_sql(definition);
    case Definition::Kind::add_column:
      return {"ALTER TABLE " + quoted_name(definition.table) + " ADD COLUMN " +
              column_sql(definition, definition.columns.front())};
    case Definition::Kind::drop_table: {
      std::vector<std::string> statements = drop_text_index_sql(definition.table);
      statements.push_back("DROP TABLE " + quoted_name(definition.table));
      return statements;
    }
    case Definition::Kind::drop_index:
      return {"DROP INDEX " + quoted_name(definition.index)};
    case Definition::Kind::drop_text_index:
      return drop_text_index_sql(definition.table);
  }
  return {};
}

// The statistics of an index are the rows of its table, and those that share its first column, its first two, and so on.
// The engine makes their table when it is asked for statistics, here of nothing, and reads it then.
std::vector<std::string> statistics_sql(std::span<const ExpectedRows> expected) {
  const std::string reread = "ANALYZE sqlite_schema";
  std::vector<std::string> statements{reread};
  for (const ExpectedRows& rows : expected) {
    const std::string table = sql_text(rows.table);
    const std::string indexes =
        " FROM pragma_index_list(" + table +
        ") l WHERE (SELECT i.name FROM pragma_index_info(l.name) i WHERE i.seqno = 0) = " + sql_text(rows.column);
    statements.push_back("DELETE FROM sqlite_stat1 WHERE idx IN (SELECT l.name" + indexes + ")");
    statements.push_back("INSERT INTO sqlite_stat1 (tbl, idx, stat) SELECT " + table + ", l.name, '" +
                         std::to_string(rows.rows) + " " + std::to_string(rows.of_one_value) +
                         "' || (SELECT group_concat(CASE i.seqno WHEN 0 THEN '' ELSE ' 1' END, '') FROM "
                         "pragma_index_info(l.name) i)" +
                         indexes);
  }
  statements.push_back(reread);
  return statements;
}

}  // namespace mercato::store::sqlite
