// SPDX-License-Identifier: Apache-2.0
#include "frame/table_columns.h"

#include "frame/lib_general.h"
#include "frame/query_rows.h"
#include "mercato/raised_error.h"
#include "platform/store/session_pool.h"
#include "values/text.h"

namespace mercato {

std::optional<store::TableInfo> table_columns(const std::string& connection_string, std::string_view table) {
  const store::PooledSession session = store::acquire_session(connection_string);
  const store::TableInfo* const found = session->table(table);
  if (!found) return std::nullopt;
  return *found;
}

ColumnFault column_fault(const store::Column& column, const Variant& value) {
  if (value.is_null()) return column.nullable ? ColumnFault::none : ColumnFault::is_null;
  const std::size_t length = text::length(value.to_text());
  const bool has_width = column.type == store::ColumnType::text && column.width > 0;
  if (has_width && length > static_cast<std::size_t>(column.width)) return ColumnFault::too_long;
  try {
    store::to_column_type(value, column.type);
    return ColumnFault::none;
  } catch (const Raised& raised) {
    return raised.error().Number == error_number::kOverflow ? ColumnFault::out_of_range : ColumnFault::wrong_type;
  }
}

bool has_row(const std::string& connection_string, std::string_view table, const Variant& key) {
  const std::optional<store::TableInfo> info = table_columns(connection_string, table);
  if (!info || info->key.size() != 1) return true;
  const store::Column& column = info->columns[info->key.front()];
  Sql sql = Sql("SELECT ") << name(column.name) << " FROM " << name(table) << " WHERE " << name(column.name) << " = ";
  if (column.type == store::ColumnType::text)
    sql << "N'" << value(Gen_QuoteSql(key.to_text())) << "'";
  else
    sql << key.to_long();
  return !query_rows(connection_string, sql).empty();
}

}  // namespace mercato
