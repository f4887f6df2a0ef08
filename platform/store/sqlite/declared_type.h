// SPDX-License-Identifier: Apache-2.0
// How a store's own schema keeps the column types of the dialect. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/store/row_layout.h"

namespace mercato::store::sqlite {

// A column is declared with the dialect's own name for its type, whose affinity leaves the values as they are. An
// assigned key must be declared so to number its rows.
inline constexpr std::string_view kAssignedKeyType = "INTEGER";

// What PRAGMA table_info gives as a column's declared type ("NVARCHAR(50)"), read back. The type is `unknown` when it
// is not of the dialect.
struct DeclaredType {
  ColumnType type = ColumnType::unknown;
  std::int32_t width = 0;  // characters; 0: unlimited, or no text
  bool assigned = false;   // an assigned key
};
DeclaredType read_declared_type(std::string_view declared);

// The names of the constraints that guard a column, by which a violation is told from others.
std::string width_constraint(std::string_view column);
std::string range_constraint(std::string_view column);

}  // namespace mercato::store::sqlite
