// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/declared_type.h"

#include <charconv>

#include "platform/store/dialect/type_names.h"
#include "values/text.h"

namespace mercato::store::sqlite {

DeclaredType read_declared_type(std::string_view declared) {
  DeclaredType result;
  const std::size_t open = declared.find('(');
  const auto type = dialect::find_type(declared.substr(0, open));
  if (!type) return result;
  result.type = type->type;
  result.assigned = text::equal_names(declared, kAssignedKeyType);
  if (type->sized && open != std::string_view::npos)
    std::from_chars(declared.data() + open + 1, declared.data() + declared.size(), result.width);
  return result;
}

std::string width_constraint(std::string_view column) { return "width of " + std::string(column); }
std::string range_constraint(std::string_view column) { return "range of " + std::string(column); }

}  // namespace mercato::store::sqlite
