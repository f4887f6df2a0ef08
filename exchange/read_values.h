// SPDX-License-Identifier: Apache-2.0
// Numbers, dates and trade item numbers as people write them, and what they mean. What can be read two ways is said to
// be so, never guessed. Pure; any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

#include "exchange/item.h"

namespace mercato::exchange {

enum class Reading : std::uint8_t {
  good,
  none,       // it is no number, or no date
  ambiguous,  // it can be read two ways
};

struct ReadNumber {
  Reading reading = Reading::none;
  std::string text;  // of a good one: digits with a point, without needless zeros; "-" in front of a negative one
  bool negative() const { return text.starts_with('-'); }
  bool zero() const { return text == "0"; }
  // Digits behind the point.
  std::size_t decimals() const;
};
// `text` may have blanks around it. A grouping of digits in front of the decimal sign is taken where it is well-formed
// and the notation has it, or where the number cannot be read without it, such as "1,234.50".
ReadNumber read_number(std::string_view text, const Notation& notation);

struct Day {
  int year = 0;
  int month = 0;
  int day = 0;
  bool operator==(const Day&) const = default;
  bool operator<(const Day& other) const {
    return std::tie(year, month, day) < std::tie(other.year, other.month, other.day);
  }
  std::string iso() const;  // "2026-04-03"
};
struct ReadDay {
  Reading reading = Reading::none;
  Day day;
};
// A time of day behind the date is not looked at. Dates with points have the day in front unless the notation says
// that the month stands there.
ReadDay read_day(std::string_view text, const Notation& notation);

// The notation in which these values agree. What none of them tells stays unknown, and so does the decimal sign of
// values that contradict each other.
Notation notation_of(std::span<const std::string> numbers, std::span<const std::string> days);

// 8, 12, 13 or 14 digits, the last of which is the check digit of the others.
bool is_gtin(std::string_view text);

// Without white space at both ends, of any kind.
std::string_view trimmed(std::string_view text);

}  // namespace mercato::exchange
