// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/engine.h"

namespace mercato::store::odbc {

ValueType value_type(ColumnType type) {
  switch (type) {
    case ColumnType::short_integer:
    case ColumnType::long_integer:
    case ColumnType::boolean:
      return ValueType::whole;
    case ColumnType::real:
      return ValueType::real;
    case ColumnType::money:
      return ValueType::money;
    case ColumnType::date:
      return ValueType::date;
    case ColumnType::text:
    case ColumnType::unknown:
      break;
  }
  return ValueType::text;
}

std::vector<ValueType> value_types(const TableInfo& table, std::span<const std::size_t> columns) {
  std::vector<ValueType> types;
  for (const std::size_t column : columns) types.push_back(value_type(table.columns[column].type));
  return types;
}

}  // namespace mercato::store::odbc
