#include "platform/store/dialect/declared_type.h"

#include <charconv>

#include "values/text.h"

namespace mercato::store::dialect {
namespace {

struct Entry {
  std::string_view name;
  TypeName type;
};

// The first entry with a declared name is also the one that it is read back by.
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
    {"NTEXT", {"NTEXT", ColumnType::text, false}},
    {"TEXT", {"NTEXT", ColumnType::text, false}},
};

}  // namespace

std::optional<TypeName> find_type(std::string_view name) {
  for (const Entry& entry : kTypes)
    if (text::equal_names(entry.name, name)) return entry.type;
  return std::nullopt;
}

DeclaredType read_declared_type(std::string_view declared) {
  DeclaredType result;
  const std::size_t open = declared.find('(');
  const auto type = find_type(declared.substr(0, open));
  if (!type) return result;
  result.type = type->type;
  result.assigned = text::equal_names(declared, kAssignedKeyType);
  if (type->sized && open != std::string_view::npos)
    std::from_chars(declared.data() + open + 1, declared.data() + declared.size(), result.width);
  return result;
}

std::string width_constraint(std::string_view column) { return "width of " + std::string(column); }
std::string range_constraint(std::string_view column) { return "range of " + std::string(column); }

}  // namespace mercato::store::dialect
