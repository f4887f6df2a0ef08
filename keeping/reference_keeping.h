// SPDX-License-Identifier: Apache-2.0
// The tables that products and people refer to: units, currencies, tax codes and so on. Which they are stands in one
// list; everything else comes from the definitions of the tables. Raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato::keeping {

struct ReferenceTable {
  std::string_view name;              // as keepers call it: "units"
  std::string_view table;             // "UNIT"
  std::vector<std::string_view> key;  // the columns by which a row is named
};
// In the order in which they are listed.
std::span<const ReferenceTable> reference_tables();
// By either name, in any case. Raises 5, listing them, when there is none.
const ReferenceTable& reference_table(std::string_view name);

std::size_t count_of_rows(const std::string& connection_string, const ReferenceTable& table);
// All rows in the order of the key, column name to value.
std::vector<DictionaryPtr> reference_rows(const std::string& connection_string, const ReferenceTable& table);
// The rows of this key: at most one, but for tables in which a row can stand twice. Raises 5 for too few or too many
// parts of the key, and for a part that its column does not take.
std::vector<DictionaryPtr> reference_rows(const std::string& connection_string, const ReferenceTable& table,
                                          const std::vector<std::string>& key);

// What a row is to say: columns, in any case, and texts. An empty text clears the column; what is left out stays.
struct GivenRow {
  std::size_t line = 0;
  std::vector<std::pair<std::string, std::string>> values;
};
struct RowFault {
  std::size_t line = 0;
  std::string what;
};
struct PutRows {
  std::size_t inserted = 0;
  std::size_t changed = 0;
  std::size_t unchanged = 0;
  std::vector<RowFault> faults;  // when there are any, nothing was written
};
// Inserts the rows whose key the store has not, and changes the others: all or nothing. `dry`: says what would happen.
PutRows put_reference_rows(const std::string& connection_string, const ReferenceTable& table,
                           const std::vector<GivenRow>& rows, bool dry);

// What keeps a row from being deleted.
struct Use {
  std::string table;
  std::string column;
  std::size_t rows = 0;
};
// By all references that are known, and by the rules in force.
std::vector<Use> uses_of(const std::string& connection_string, const ReferenceTable& table, const Dictionary& row);
// Deletes the rows of this key, by the library's own call where there is one, and says whether they are gone: the
// library may refuse. Nobody may refer to them.
bool delete_reference_rows(const std::string& connection_string, const ReferenceTable& table,
                           const std::vector<std::string>& key);

}  // namespace mercato::keeping
