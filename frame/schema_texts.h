// SPDX-License-Identifier: Apache-2.0
// The table definitions that the library brings along.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace mercato {

struct SchemaText {
  std::string_view name;  // of the file in schema/
  std::string_view text;  // statements in the library's dialect, each closed by a semicolon at a line's end
};
std::span<const SchemaText> schema_texts();

}  // namespace mercato
