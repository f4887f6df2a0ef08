// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/type_names.h"

#include "values/text.h"

namespace mercato::store::dialect {
namespace {

struct Entry {
  std::string_view name;
  TypeName type;
};

constexpr Entry kTypes[] = {
    {"INT", {"INT", ColumnType::long_integer, false}},
    {"INTEGER", {"INT", ColumnType::long_integer, false}},
    {"SMALLINT", {"SMALLINT", ColumnType::short_integer, false}},
    {"TINYINT", {"SMALLINT", ColumnType::short_integer, false}},
    {"BIT", {"BIT", ColumnType::boolean, false}},
    {"FLOAT", {"FLOAT", ColumnType::real, false}},
    {"REAL", {"REAL", ColumnType::real, false}},
    {"DECIMAL", {"DECIMAL", ColumnType::real, false}},
    {"NUMERIC", {"DECIMAL", ColumnType::real, false}},
    {"MONEY", {"MONEY", ColumnType::money, false}},
    {"SMALLMONEY", {"MONEY", ColumnType::money, false}},
    {"DATETIME", {"DATETIME", ColumnType::date, false}},
    {"SMALLDATETIME", {"DATETIME", ColumnType::date, false}},
    {"NVARCHAR", {"NVARCHAR", ColumnType::text, true}},
    {"VARCHAR", {"VARCHAR", ColumnType::text, true}},
    {"NCHAR", {"NCHAR", ColumnType::text, true}},
    {"CHAR", {"CHAR", ColumnType::text, true}},
    {"NTEXT", {kUnlimitedTextType, ColumnType::text, false}},
    {"TEXT", {kUnlimitedTextType, ColumnType::text, false}},
};

}  // namespace

std::optional<TypeName> find_type(std::string_view name) {
  for (const Entry& entry : kTypes)
    if (text::equal_names(entry.name, name)) return entry.type;
  return std::nullopt;
}

}  // namespace mercato::store::dialect
