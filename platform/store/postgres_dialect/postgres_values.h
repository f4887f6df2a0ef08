// SPDX-License-Identifier: Apache-2.0
// Values between the engine and the library; both ways they travel as texts. Pure functions; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/variant.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

// The values of one statement, as they are sent. A value that is not there is Null.
using SentValues = std::vector<std::optional<std::string>>;

// What the engine calls that type.
unsigned engine_type(ValueType type);

// The literals as `bindings` ask for them; false when one is a number of another type than the translation took it for.
// Raises kStatementRefused for a text that does not read as what is wanted, and for an escape that is no character.
bool bind_literals(const std::vector<Binding>& bindings, const dialect::LexedStatement& lexed, SentValues& out);

// By the Variant's own type.
std::optional<std::string> sent_value(const Variant& value);

// One row as COPY takes it: values between tabs, a line's end behind the last.
void append_copied(std::string& line, const std::vector<Variant>& row);

// A value of a result, as the column's type says; `engine_type` decides for a column of unknown type. What does not
// have that form (another program made the table) is given as it is.
void read_value(std::string_view text, ColumnType type, unsigned engine_type, Variant& out);

}  // namespace mercato::store::postgres
