// SPDX-License-Identifier: Apache-2.0
// Values between the engine and the library; both ways they travel as texts. Pure functions; any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/variant.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/text_values.h"

namespace mercato::store::postgres {

// What the engine calls that type.
unsigned engine_type(ValueType type);

// The literals as `bindings` ask for them; false when one is a number of another type than the translation took it for.
// `matches`: what text indexes are asked, by search.
// Raises kStatementRefused for a text that does not read as what is wanted, and for an escape that is no character.
bool bind_literals(const std::vector<Binding>& bindings, const dialect::LexedStatement& lexed, SentValues& out,
                   std::span<const std::string> matches = {});

// One row as COPY takes it: values between tabs, a line's end behind the last.
void append_copied(std::string& line, const std::vector<Variant>& row);

// How a value of such a type is to be read.
GivenType given_type(unsigned engine_type);

}  // namespace mercato::store::postgres
