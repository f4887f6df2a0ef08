// SPDX-License-Identifier: Apache-2.0
// How the store reads a text as a value of another type: in literals that are bound, and in the functions that its
// statements call. Each reading is nothing for a text that the server would fail to convert. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "mercato/currency.h"
#include "mercato/date.h"

namespace mercato::store::dialect {

using Number = std::variant<std::int64_t, double>;

// Digits with a sign, decimals, an exponent; blanks around it. The blank text reads as 0.
std::optional<Number> read_number(std::string_view text);
// The same with thousands separators, exact to four decimals.
std::optional<Currency> read_money(std::string_view text);
// What Date::parse takes in the US locale, ISO forms, and eight digits. A time alone is one of the server's own zero
// date, 1 January 1900, which is also how the blank text reads.
std::optional<Date> read_date(std::string_view text);
// "True", "False" in any case, and numbers.
std::optional<bool> read_boolean(std::string_view text);

// The texts of failed conversions.
std::string unreadable_number(std::string_view text);
std::string unreadable_boolean(std::string_view text);
inline constexpr const char* kUnreadableMoney = "Cannot convert a text value to money. The text has incorrect syntax";
inline constexpr const char* kUnreadableDate =
    "Conversion failed when converting date and/or time from character string";

}  // namespace mercato::store::dialect
