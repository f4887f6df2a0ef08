// Which column of the library's tables refers to a row of which table, and the rows that refer to none. The classes do
// not ask this: what they check before they write or delete is told to them by their collaborators. Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mercato {

enum class ReferenceKind : std::uint8_t { number, text };

// Null, a blank text and a number of 0 and less refer to nothing: no parent, no group, the top level of the favourites.
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
  std::string example;  // one of the values that lead nowhere
};
// Of every reference between tables that are there, in the order of the table. Raises what the store raises.
std::vector<DanglingRows> find_dangling_rows(const std::string& connection_string);

}  // namespace mercato
