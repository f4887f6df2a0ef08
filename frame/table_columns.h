// SPDX-License-Identifier: Apache-2.0
// What the columns of a table take, and whether a row is there: for hosts that say why a write is refused. Whether it
// is refused, the store alone decides. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/variant.h"
#include "platform/store/driver.h"

namespace mercato {

// The table's columns and its key, or nothing when the store has no such table. A copy: it stays when the table goes.
std::optional<store::TableInfo> table_columns(const std::string& connection_string, std::string_view table);

enum class ColumnFault : std::uint8_t {
  none,
  is_null,       // and the column takes no Null
  too_long,      // more characters than the column has room for
  out_of_range,  // a number beyond those of the column's type
  wrong_type,    // a text that the column's type cannot be made of
};
// Why no row can hold this value in this column. Raises 13 for a value without a text form.
ColumnFault column_fault(const store::Column& column, const Variant& value);

// Whether the table has a row of this key. True where that cannot be asked: the table does not exist, or its key is not
// one column. Raises 13 or 6 for a numeric key that reads as no long, and what the store raises.
bool has_row(const std::string& connection_string, std::string_view table, const Variant& key);

}  // namespace mercato
