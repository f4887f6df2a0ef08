// SPDX-License-Identifier: Apache-2.0
// How the dialect refuses a statement: the server's own words, without a full stop at the end, and the place in
// characters from 1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/store/dialect/dialect.h"

namespace mercato::store::dialect {

// The source of refusals. The dialect knows no store, so it speaks in the name of the one that is there without a
// server; a session puts its own in the place (driver.cpp).
inline constexpr std::string_view kRefusalSource = "SQLite store";

// Raises kStatementRefused with this description.
[[noreturn]] void refuse(std::string description);
// Raises kFeatureNotAvailable: the server has it, the library's stores have not.
[[noreturn]] void refuse_feature(std::string description);
// "Incorrect syntax near 'X' (character 17)"; at the end of the statement X is its last token.
[[noreturn]] void refuse_syntax(const LexedStatement& lexed, std::uint32_t token);
// The same for any stretch of the text.
[[noreturn]] void refuse_syntax(std::string_view text, std::size_t begin, std::size_t end);
// What UNION joins can only be sorted by what it shows.
[[noreturn]] void refuse_order_item(const LexedStatement& lexed, std::uint32_t token);
// " (character 17)"
std::string place_text(std::string_view text, std::size_t position);

}  // namespace mercato::store::dialect
