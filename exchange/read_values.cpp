// SPDX-License-Identifier: Apache-2.0
#include "exchange/read_values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <vector>

#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kNoBreakSpace = "\xC2\xA0";
constexpr std::string_view kNarrowSpace = "\xE2\x80\xAF";

bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }
bool all_digits(std::string_view text) { return !text.empty() && std::ranges::all_of(text, is_digit); }

// A number taken apart, with blanks of all kinds as ' '.
struct Parts {
  bool negative = false;
  std::string digits;  // and signs between them
  std::string exponent;
};

std::optional<Parts> parts_of(std::string_view text) {
  Parts parts;
  std::string plain = text::replace_all(text::replace_all(trimmed(text), kNoBreakSpace, " "), kNarrowSpace, " ");
  std::string_view rest = plain;
  if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) {
    parts.negative = rest.front() == '-';
    rest.remove_prefix(1);
  } else if (rest.ends_with('-')) {  // as trade files write it
    parts.negative = true;
    rest.remove_suffix(1);
  }
  if (const std::size_t e = rest.find_first_of("eE"); e != std::string_view::npos) {
    parts.exponent = rest.substr(e + 1);
    rest = rest.substr(0, e);
    const std::string_view power = std::string_view(parts.exponent).substr(parts.exponent.find_first_of("+-") == 0);
    if (!all_digits(power) || power.size() > 2) return std::nullopt;
  }
  if (rest.empty() || !std::ranges::all_of(rest, [](char byte) {
        return is_digit(byte) || byte == '.' || byte == ',' || byte == '\'' || byte == ' ';
      }))
    return std::nullopt;
  parts.digits = rest;
  return parts;
}

// The digits of groups of three, or of one group; nothing when they are grouped in another way.
std::optional<std::string> ungrouped(std::string_view text, char sign) {
  std::string digits;
  bool first = true;
  bool grouped = false;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(sign, begin), text.size());
    const std::string_view group = text.substr(begin, end - begin);
    grouped = grouped || end < text.size();
    if (!group.empty() && !all_digits(group)) return std::nullopt;
    if (grouped && (first ? group.empty() || group.size() > 3 : group.size() != 3)) return std::nullopt;
    digits += group;
    first = false;
    begin = end + 1;
  }
  return digits;
}

// Moves the point by a power of ten.
void shift(std::string& whole, std::string& decimals, int power) {
  for (; power > 0; --power) {
    whole += decimals.empty() ? '0' : decimals.front();
    if (!decimals.empty()) decimals.erase(0, 1);
  }
  for (; power < 0; ++power) {
    decimals.insert(decimals.begin(), whole.empty() ? '0' : whole.back());
    if (!whole.empty()) whole.pop_back();
  }
}

ReadNumber number_of(const Parts& parts, char decimal_sign, char thousands_sign) {
  const std::string_view digits = parts.digits;
  const std::size_t point = decimal_sign == 0 ? std::string_view::npos : digits.find(decimal_sign);
  std::optional<std::string> whole = ungrouped(digits.substr(0, point), thousands_sign);
  std::string decimals(point == std::string_view::npos ? std::string_view() : digits.substr(point + 1));
  if (!whole || (whole->empty() && decimals.empty()) || (!decimals.empty() && !all_digits(decimals))) return {};
  if (!parts.exponent.empty()) {
    int power = 0;
    const char* const first = parts.exponent.data() + (parts.exponent.front() == '+' ? 1 : 0);
    std::from_chars(first, parts.exponent.data() + parts.exponent.size(), power);
    shift(*whole, decimals, power);
  }
  while (!decimals.empty() && decimals.back() == '0') decimals.pop_back();
  whole->erase(0, std::min(whole->find_first_not_of('0'), whole->size()));
  ReadNumber number{Reading::good, whole->empty() ? "0" : *whole};
  if (!decimals.empty()) number.text += "." + decimals;
  if (parts.negative && number.text != "0") number.text.insert(0, "-");
  return number;
}

// Which of '.' and ',' is the decimal sign of a number that tells it by itself, and which sign groups its digits.
struct Signs {
  enum class Decimal : std::uint8_t { none, point, comma, unclear } decimal = Decimal::none;
  char thousands = 0;
};

Signs signs_of(const Parts& parts) {
  using Decimal = Signs::Decimal;
  const std::string_view digits = parts.digits;
  const std::size_t point = digits.rfind('.');
  const std::size_t comma = digits.rfind(',');
  Signs signs;
  for (const char sign : {' ', '\''})
    if (digits.find(sign) != std::string_view::npos) signs.thousands = sign;
  if (point == std::string_view::npos && comma == std::string_view::npos) return signs;
  if (point != std::string_view::npos && comma != std::string_view::npos) {
    signs.decimal = point > comma ? Decimal::point : Decimal::comma;
    signs.thousands = point > comma ? ',' : '.';
    return signs;
  }
  const char sign = point != std::string_view::npos ? '.' : ',';
  const std::size_t place = std::min(point, comma);
  if (std::ranges::count(digits, sign) > 1) {
    signs.thousands = sign;
    return signs;
  }
  const bool may_group = signs.thousands == 0 && parts.exponent.empty() && digits.size() - place - 1 == 3 &&
                         place >= 1 && place <= 3 && digits.front() != '0';
  signs.decimal = may_group ? Decimal::unclear : sign == '.' ? Decimal::point : Decimal::comma;
  return signs;
}

bool is_real_day(const Day& day) {
  constexpr std::array kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (day.month < 1 || day.month > 12 || day.day < 1 || day.year < 1753 || day.year > 9999) return false;
  const bool leap = (day.year % 4 == 0 && day.year % 100 != 0) || day.year % 400 == 0;
  const int days = day.month == 2 && !leap ? 28 : kDays[static_cast<std::size_t>(day.month) - 1];
  return day.day <= days;
}

// The three numbers of a date, and the sign between them.
struct DayParts {
  std::array<std::string_view, 3> numbers;
  char sign = 0;
};

std::optional<DayParts> day_parts_of(std::string_view text) {
  text = trimmed(text);
  text = text.substr(0, text.find_first_of("T "));
  DayParts parts;
  if (all_digits(text) && text.size() == 8) {
    parts.numbers = {text.substr(0, 4), text.substr(4, 2), text.substr(6, 2)};
    return parts;
  }
  const std::size_t first = text.find_first_of("-./");
  if (first == std::string_view::npos) return std::nullopt;
  parts.sign = text[first];
  const std::size_t second = text.find(parts.sign, first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  parts.numbers = {text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
  for (const std::string_view number : parts.numbers)
    if (!all_digits(number) || (number.size() > 2 && number.size() != 4)) return std::nullopt;
  return parts;
}

int number_in(std::string_view digits) {
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

}  // namespace

std::size_t ReadNumber::decimals() const {
  const std::size_t point = text.find('.');
  return point == std::string::npos ? 0 : text.size() - point - 1;
}

ReadNumber read_number(std::string_view text, const Notation& notation) {
  const std::optional<Parts> parts = parts_of(text);
  if (!parts) return {};
  const Signs own = signs_of(*parts);
  if (notation.decimal_sign == 0) {
    if (own.decimal == Signs::Decimal::unclear) return {Reading::ambiguous, {}};
    const char decimal = own.decimal == Signs::Decimal::comma ? ',' : '.';
    return number_of(*parts, own.decimal == Signs::Decimal::none ? '\0' : decimal, own.thousands);
  }
  const char other = notation.decimal_sign == '.' ? ',' : '.';
  const bool has_other = parts->digits.find(other) != std::string::npos;
  const bool has_decimal = parts->digits.find(notation.decimal_sign) != std::string::npos;
  // "1,234.50" says by itself what its comma is, "1,234" does not.
  if (has_other && notation.thousands_sign != other && !has_decimal && own.decimal == Signs::Decimal::unclear)
    return {Reading::ambiguous, {}};
  const bool groups = own.thousands == ' ' || own.thousands == '\'' || notation.thousands_sign == 0;
  const char thousands = groups && own.thousands != notation.decimal_sign ? own.thousands : notation.thousands_sign;
  return number_of(*parts, notation.decimal_sign, thousands);
}

std::string Day::iso() const {
  const auto padded = [](int number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
  };
  return padded(year, 4) + "-" + padded(month, 2) + "-" + padded(day, 2);
}

ReadDay read_day(std::string_view text, const Notation& notation) {
  using Dates = Notation::Dates;
  const std::optional<DayParts> parts = day_parts_of(text);
  if (!parts) return {};
  const std::array<int, 3> numbers = {number_in(parts->numbers[0]), number_in(parts->numbers[1]),
                                      number_in(parts->numbers[2])};
  const auto judged = [](const Day& day) { return is_real_day(day) ? ReadDay{Reading::good, day} : ReadDay{}; };
  if (parts->numbers[0].size() == 4) return judged({numbers[0], numbers[1], numbers[2]});
  // A year of two digits may be anywhere.
  if (parts->numbers[2].size() != 4) return {Reading::ambiguous, {}};
  const Day day_first{numbers[2], numbers[1], numbers[0]};
  const Day month_first{numbers[2], numbers[0], numbers[1]};
  if (notation.dates == Dates::month_first) return judged(month_first);
  if (notation.dates == Dates::day_first || parts->sign == '.') return judged(day_first);
  if (!is_real_day(day_first)) return judged(month_first);
  if (!is_real_day(month_first) || day_first == month_first) return judged(day_first);
  return {Reading::ambiguous, {}};
}

Notation notation_of(std::span<const std::string> numbers, std::span<const std::string> days) {
  Notation notation{0, 0, Notation::Dates::unknown};
  std::size_t points = 0;
  std::size_t commas = 0;
  std::string thousands;
  for (const std::string& number : numbers) {
    const std::optional<Parts> parts = parts_of(number);
    if (!parts) continue;
    const Signs signs = signs_of(*parts);
    if (signs.decimal == Signs::Decimal::point) ++points;
    if (signs.decimal == Signs::Decimal::comma) ++commas;
    if (signs.thousands != 0) thousands += signs.thousands;
  }
  if (points > 0 && commas == 0) notation.decimal_sign = '.';
  if (commas > 0 && points == 0) notation.decimal_sign = ',';
  const bool agreed = !thousands.empty() && thousands.find_first_not_of(thousands.front()) == std::string::npos;
  if (agreed && thousands.front() != notation.decimal_sign) notation.thousands_sign = thousands.front();

  std::size_t day_first = 0;
  std::size_t month_first = 0;
  for (const std::string& text : days) {
    const std::optional<DayParts> parts = day_parts_of(text);
    if (!parts || parts->numbers[2].size() != 4) continue;
    if (parts->sign == '.' || number_in(parts->numbers[0]) > 12) ++day_first;
    if (parts->sign != '.' && number_in(parts->numbers[1]) > 12) ++month_first;
  }
  if (day_first > 0 && month_first == 0) notation.dates = Notation::Dates::day_first;
  if (month_first > 0 && day_first == 0) notation.dates = Notation::Dates::month_first;
  return notation;
}

bool is_gtin(std::string_view text) {
  if (!all_digits(text) || (text.size() != 8 && (text.size() < 12 || text.size() > 14))) return false;
  int sum = 0;
  for (std::size_t position = 0; position < text.size(); ++position) {
    const bool odd_from_the_right = (text.size() - position) % 2 == 0;
    sum += (text[position] - '0') * (odd_from_the_right ? 3 : 1);
  }
  return sum % 10 == 0;
}

std::string_view trimmed(std::string_view text) {
  for (bool more = true; more;) {
    more = false;
    if (const std::size_t begin = std::min(text.find_first_not_of(" \t\r\n"), text.size()); begin > 0) {
      text.remove_prefix(begin);
      more = true;
    }
    while (!text.empty() && std::string_view(" \t\r\n").find(text.back()) != std::string_view::npos)
      text.remove_suffix(1);
    for (const std::string_view space : {kNoBreakSpace, kNarrowSpace}) {
      if (text.starts_with(space)) {
        text.remove_prefix(space.size());
        more = true;
      }
      if (text.ends_with(space)) {
        text.remove_suffix(space.size());
        more = true;
      }
    }
  }
  return text;
}

}  // namespace mercato::exchange
