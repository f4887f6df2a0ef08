// SPDX-License-Identifier: Apache-2.0
// The column types of the dialect by their names. Any thread.
#pragma once

#include <optional>
#include <string_view>

#include "platform/store/row_layout.h"

namespace mercato::store::dialect {

// Several names stand for one type; it is called by the first of them.
struct TypeName {
  std::string_view name;
  ColumnType type = ColumnType::unknown;
  bool sized = false;  // is, or can be, followed by a width in characters
};

// In any case, without width; nothing when it is none.
std::optional<TypeName> find_type(std::string_view name);

// A text of any length.
inline constexpr std::string_view kUnlimitedTextType = "NTEXT";

}  // namespace mercato::store::dialect
