// SPDX-License-Identifier: Apache-2.0
#include "platform/store/text_values.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "mercato/raised_error.h"

namespace mercato::store {
namespace {

template <class Number>
std::string number_sent(Number number) {
  std::array<char, 40> digits{};
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return {digits.data(), written.ptr};
}

// "12.3400": exact, never by way of a floating number.
std::string money_sent(Currency amount) {
  const std::int64_t scaled = amount.scaled();
  const bool negative = scaled < 0;
  const std::uint64_t size =
      negative ? std::uint64_t{0} - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
  std::string decimals = std::to_string(size % Currency::kScale);
  decimals.insert(0, 4 - decimals.size(), '0');
  return (negative ? "-" : "") + std::to_string(size / Currency::kScale) + "." + decimals;
}

template <class Number>
std::optional<Number> whole_of(std::string_view text) {
  Number number{};
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

// "2026-07-01 08:30:00"; nothing for a moment that the calendar of the library does not have.
std::optional<Date> date_of(std::string_view text) {
  if (text.size() < 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' || text[16] != ':')
    return std::nullopt;
  const auto number = [text](std::size_t begin, std::size_t count) {
    return whole_of<int>(text.substr(begin, count)).value_or(-1);
  };
  try {
    return Date::from_civil({number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)});
  } catch (const Raised&) {
    return std::nullopt;
  }
}

// "-12.345678" in ten thousandths, rounded half away from zero; nothing beyond the range of an amount.
std::optional<Currency> money_of(std::string_view text) {
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string digits(text.substr(0, point));
  const std::string_view decimals = point < text.size() ? text.substr(point + 1) : std::string_view();
  for (std::size_t i = 0; i < 4; ++i) digits += i < decimals.size() ? decimals[i] : '0';
  const auto scaled = whole_of<std::int64_t>(digits);
  if (!scaled) return std::nullopt;
  if (decimals.size() <= 4 || decimals[4] < '5') return Currency::from_scaled(*scaled);
  using Limits = std::numeric_limits<std::int64_t>;
  if (*scaled == Limits::max() || *scaled == Limits::min()) return std::nullopt;
  return Currency::from_scaled(text.front() == '-' ? *scaled - 1 : *scaled + 1);
}

std::optional<double> real_of(std::string_view text) {
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

void assign_text(Variant& out, std::string_view text) {
  // A walk over many rows allocates little.
  if (out.is_text())
    out.text_value().assign(text);
  else
    out = text;
}

void read_as_it_is_given(std::string_view text, GivenType given, Variant& out) {
  switch (given) {
    case GivenType::whole:
      if (const auto number = whole_of<std::int64_t>(text)) {
        out = Variant::from_integer(*number);
        return;
      }
      break;
    case GivenType::real:
    case GivenType::decimal:
      // A sum of whole numbers is one, whatever the engine reckons it in.
      if (const auto number = whole_of<std::int64_t>(text)) {
        out = given == GivenType::decimal ? Variant::from_integer(*number) : Variant(static_cast<double>(*number));
        return;
      }
      if (const auto number = real_of(text)) {
        out = *number;
        return;
      }
      break;
    case GivenType::date:
      if (const auto date = date_of(text)) {
        out = *date;
        return;
      }
      break;
    case GivenType::text:
      break;
  }
  assign_text(out, text);
}

}  // namespace

std::optional<std::string> sent_value(const Variant& value) {
  switch (value.type()) {
    case Variant::Type::boolean:
      return value.boolean_value() ? "1" : "0";
    case Variant::Type::short_integer:
      return number_sent(value.short_value());
    case Variant::Type::long_integer:
      return number_sent(value.long_value());
    case Variant::Type::real:
      // What is no number is none to the library's stores; the engine would keep it, and sort it above all.
      if (std::isnan(value.double_value())) return std::nullopt;
      return number_sent(value.double_value());
    case Variant::Type::currency:
      return money_sent(value.currency_value());
    case Variant::Type::date:
      return value.date_value().iso_text();
    case Variant::Type::text:
      return value.text_value();
    case Variant::Type::null:
    case Variant::Type::empty:
    case Variant::Type::missing:
      return std::nullopt;
    case Variant::Type::array:
    case Variant::Type::object:
      break;
  }
  raise(error_number::kTypeMismatch);
}

void read_value(std::string_view text, ColumnType type, GivenType given, Variant& out) {
  switch (type) {
    case ColumnType::text:
      return assign_text(out, text);
    case ColumnType::short_integer:
      if (const auto number = whole_of<std::int16_t>(text)) {
        out = *number;
        return;
      }
      break;
    case ColumnType::boolean:
      if (const auto number = whole_of<std::int64_t>(text)) {
        out = *number != 0;
        return;
      }
      break;
    case ColumnType::real:
      if (const auto number = real_of(text)) {
        out = *number;
        return;
      }
      break;
    case ColumnType::money:
      if (const auto amount = money_of(text)) {
        out = *amount;
        return;
      }
      break;
    case ColumnType::date:
      if (const auto date = date_of(text)) {
        out = *date;
        return;
      }
      break;
    case ColumnType::long_integer:
    case ColumnType::unknown:
      break;
  }
  read_as_it_is_given(text, given, out);
}

}  // namespace mercato::store
