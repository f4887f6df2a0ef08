// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/row_texts.h"

#include <algorithm>
#include <utility>

#include "platform/store/dialect/sql_printer.h"

namespace mercato::store::postgres {
namespace {

using dialect::quoted_name;

std::string marker(std::size_t parameter, Markers markers) {
  return markers == Markers::by_place ? "?" : "$" + std::to_string(parameter);
}

// What tells a new row from others: its number, or its key.
std::string identity_list(const TableInfo& table) {
  if (table.key.empty()) return std::string(kHiddenIdentity);
  std::string list;
  for (const std::size_t column : table.key)
    list += (list.empty() ? "" : ", ") + quoted_name(table.columns[column].name);
  return list;
}

}  // namespace

std::string parameter_list(std::size_t count, Markers markers, std::size_t before) {
  std::string list = "(";
  for (std::size_t i = 1; i <= count; ++i) list += (i > 1 ? ", " : "") + marker(before + i, markers);
  return list + ")";
}

std::string column_list(const TableInfo& table, std::span<const std::size_t> columns) {
  std::string list = "(";
  for (const std::size_t column : columns)
    list += (list.size() > 1 ? ", " : "") + quoted_name(table.columns[column].name);
  return list + ")";
}

std::string insert_text(const TableInfo& table, std::span<const std::size_t> columns, Markers markers) {
  const std::string values = columns.empty()
                                 ? "DEFAULT VALUES"
                                 : column_list(table, columns) + " VALUES " + parameter_list(columns.size(), markers);
  return "INSERT INTO " + quoted_name(table.name) + " " + values + " RETURNING " + identity_list(table);
}

std::string update_text(const TableInfo& table, std::span<const std::size_t> columns, Markers markers) {
  std::string text = "UPDATE " + quoted_name(table.name);
  std::size_t parameter = 0;
  const auto equals = [&](std::string_view name) { return std::string(name) + " = " + marker(++parameter, markers); };
  const char* separator = " SET ";
  bool changes_key = false;
  for (const std::size_t column : columns) {
    text += std::exchange(separator, ", ") + equals(quoted_name(table.columns[column].name));
    changes_key = changes_key || std::ranges::find(table.key, column) != table.key.end();
  }
  if (table.key.empty()) return text + " WHERE " + equals(kHiddenIdentity);
  separator = " WHERE ";
  for (const std::size_t column : table.key)
    text += std::exchange(separator, " AND ") + equals(quoted_name(table.columns[column].name));
  return changes_key ? text + " RETURNING " + identity_list(table) : text;
}

std::vector<ColumnType> key_types_of(const TableInfo& table) {
  std::vector<ColumnType> types;
  for (const std::size_t column : table.key) types.push_back(table.columns[column].type);
  return types;
}

}  // namespace mercato::store::postgres
