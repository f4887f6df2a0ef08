// SPDX-License-Identifier: Apache-2.0
// Which columns of the library's tables refer to which table, and the rows that refer to nothing. The classes do not
// ask this: before they write or delete, they ask the reference checker. Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato {

enum class ReferenceKind : std::uint8_t { number, text };

// Null, a blank text and a number below 1 refer to nothing: no parent, no group, the top level of the favourites.
struct TableReference {
  std::string_view table;
  std::string_view column;
  std::string_view to_table;
  std::string_view to_column;
  ReferenceKind kind = ReferenceKind::number;
};
std::span<const TableReference> table_references();

struct DanglingRows {
  TableReference reference;
  std::int32_t rows = 0;
  // The first of them: the columns of the table's key and the one that leads nowhere, by name.
  std::vector<DictionaryPtr> first;
  std::string query;  // shows all of them, whole
};
// For every reference between tables that are there, in their order. Raises what the store raises.
std::vector<DanglingRows> find_dangling_rows(const std::string& connection_string);

}  // namespace mercato
