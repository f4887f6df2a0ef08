// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/readings.h"

#include <charconv>
#include <cmath>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

// Blanks and control white space, as the server skips them around a number.
std::string_view stripped(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

bool all_digits(std::string_view text) { return text.find_first_not_of("0123456789") == std::string_view::npos; }

int digits_value(std::string_view digits) {
  int value = 0;
  for (char digit : digits) value = value * 10 + (digit - '0');
  return value;
}

// The number that the whole text is.
template <class T>
std::optional<T> all_of_it(std::string_view text) {
  T value{};
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, value);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

std::optional<Date> date_of(const CivilTime& civil) {
  try {
    return Date::from_civil(civil);
  } catch (const Raised&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<Number> read_number(std::string_view text) {
  // Most have nothing around them.
  if (const auto whole = all_of_it<std::int64_t>(text)) return Number(*whole);
  text = stripped(text);
  if (text.empty()) return Number(std::int64_t{0});
  if (text.front() == '+') {
    text.remove_prefix(1);
    if (text.empty() || text.front() == '-') return std::nullopt;
  }
  if (const auto whole = all_of_it<std::int64_t>(text)) return Number(*whole);
  const auto real = all_of_it<double>(text);
  if (!real || !std::isfinite(*real)) return std::nullopt;
  return Number(*real);
}

std::optional<Currency> read_money(std::string_view text) {
  text = stripped(text);
  if (text.empty()) return Currency();
  try {
    if (text.find(',') == std::string_view::npos) {
      const auto number = read_number(text);
      if (!number) return std::nullopt;
    }
    return Currency::from_text(text);
  } catch (const Raised&) {
    return std::nullopt;
  }
}

std::optional<Date> read_date(std::string_view text) {
  text = stripped(text);
  CivilTime civil{.year = 1900, .month = 1, .day = 1};
  if (text.empty()) return date_of(civil);
  // The store's own form, which is also the one that rows are compared by.
  if (text.size() >= 10 && text[4] == '-' && text[7] == '-' && all_digits(text.substr(0, 4)) &&
      all_digits(text.substr(5, 2)) && all_digits(text.substr(8, 2))) {
    civil.year = digits_value(text.substr(0, 4));
    civil.month = digits_value(text.substr(5, 2));
    civil.day = digits_value(text.substr(8, 2));
    if (text.size() == 10) return date_of(civil);
    if (text.size() == 19 && (text[10] == 'T' || text[10] == ' ') && text[13] == ':' && text[16] == ':' &&
        all_digits(text.substr(11, 2)) && all_digits(text.substr(14, 2)) && all_digits(text.substr(17, 2))) {
      civil.hour = digits_value(text.substr(11, 2));
      civil.minute = digits_value(text.substr(14, 2));
      civil.second = digits_value(text.substr(17, 2));
      return date_of(civil);
    }
  }
  const std::string_view first_word = text.substr(0, text.find(' '));
  if (first_word.size() == 8 && all_digits(first_word)) {
    std::string separated(text.substr(0, 4));
    separated.append("-").append(text.substr(4, 2)).append("-").append(text.substr(6));
    return read_date(separated);
  }
  const auto date = Date::parse(text);
  if (!date) return std::nullopt;
  const bool time_alone = date->days() >= 0 && date->days() < 1 && text.find("1899") == std::string_view::npos;
  constexpr double kServersZeroDate = 2;
  return time_alone ? Date(date->days() + kServersZeroDate) : *date;
}

std::optional<bool> read_boolean(std::string_view text) {
  if (text::equal_names(stripped(text), "true")) return true;
  if (text::equal_names(stripped(text), "false")) return false;
  const auto number = read_number(text);
  if (!number) return std::nullopt;
  return std::visit([](auto value) { return value != 0; }, *number);
}

std::string unreadable_number(std::string_view text) {
  return "Conversion failed when converting the text value '" + std::string(text) + "' to a number";
}

std::string unreadable_boolean(std::string_view text) {
  return "Conversion failed when converting the text value '" + std::string(text) + "' to data type bit";
}

}  // namespace mercato::store::dialect
