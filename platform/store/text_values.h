// SPDX-License-Identifier: Apache-2.0
// Values as texts: how servers are sent them and give them back, whatever their SQL. Pure functions; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/variant.h"
#include "platform/store/row_layout.h"

namespace mercato::store {

// As what a server gets a parameter.
enum class ValueType : std::uint8_t { text, whole, real, money, date };

// As what it gives the value of a result.
enum class GivenType : std::uint8_t { text, whole, real, decimal, date };

// The values of one statement, or of a row. A value that is not there is Null.
using SentValues = std::vector<std::optional<std::string>>;

// By the Variant's own type.
std::optional<std::string> sent_value(const Variant& value);

// A value of a result, as the column's type says; `given` decides for a column of unknown type. What does not have that
// form (another program made the table) is given as it is.
void read_value(std::string_view text, ColumnType type, GivenType given, Variant& out);

}  // namespace mercato::store
