// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_values.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "mercato/clock.h"
#include "mercato/raised_error.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/postgres_dialect/like_binding.h"
#include "platform/store/postgres_dialect/text_key.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

// The engine's own numbers of its types; they never change.
constexpr unsigned kWhole64 = 20, kWhole16 = 21, kWhole32 = 23, kText = 25, kReal32 = 700, kReal64 = 701,
                   kTimestamp = 1114, kNumeric = 1700;

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

std::string pattern_of(const dialect::LexedStatement& lexed, const dialect::Parameter& parameter) {
  return dialect::parameter_value(lexed, {parameter.literal, dialect::Conversion::text}).to_text();
}

// No text of the store has U+0000 or bytes that are no character, and the engine takes none. In their place stands a mark that
// no folded text has, because folding composes it anew: nothing equals the text, and it sorts beside what it would be
// without.
std::string comparable(std::string folded) {
  constexpr const char* kMark = "\u0340";
  if (!text::is_valid(folded)) {
    std::erase_if(folded, [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
    folded += kMark;
  }
  return text::replace_all(folded, std::string_view("\0", 1), kMark);
}

std::string bound_key(std::string_view text) { return comparable(key(text)); }

std::optional<std::string> like_value(const Binding& binding, const dialect::LexedStatement& lexed) {
  const std::string pattern = pattern_of(lexed, binding.parameter);
  const std::string_view prefix = dialect::like_prefix(pattern);
  switch (binding.use) {
    case Binding::Use::like_from:
      return bound_key(prefix);
    case Binding::Use::like_to:
      return bound_key(prefix) + std::string(dialect::kBehindAllTexts);
    default:
      break;
  }
  std::optional<std::string> escape;
  if (binding.escape != UINT32_MAX) escape = pattern_of(lexed, {binding.escape});
  LikeBinding bound = bind_like(pattern, escape);
  if (binding.use == Binding::Use::like_pattern) return comparable(std::move(bound.pattern));
  return bound.is_exact ? std::nullopt : std::optional(comparable(pattern));
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

void read_as_the_engine_says(std::string_view text, unsigned engine_type, Variant& out) {
  switch (engine_type) {
    case kWhole16:
    case kWhole32:
    case kWhole64:
      if (const auto number = whole_of<std::int64_t>(text)) {
        out = Variant::from_integer(*number);
        return;
      }
      break;
    case kReal32:
    case kReal64:
    case kNumeric:
      // A sum of whole numbers is one, whatever the engine reckons it in.
      if (const auto number = whole_of<std::int64_t>(text)) {
        out = engine_type == kNumeric ? Variant::from_integer(*number) : Variant(static_cast<double>(*number));
        return;
      }
      if (const auto number = real_of(text)) {
        out = *number;
        return;
      }
      break;
    case kTimestamp:
      if (const auto date = date_of(text)) {
        out = *date;
        return;
      }
      break;
    default:
      break;
  }
  assign_text(out, text);
}

}  // namespace

unsigned engine_type(ValueType type) {
  switch (type) {
    case ValueType::text:
      return kText;
    case ValueType::whole:
      return kWhole64;
    case ValueType::real:
      return kReal64;
    case ValueType::money:
      return kNumeric;
    case ValueType::date:
      return kTimestamp;
  }
  return kText;
}

bool bind_literals(const std::vector<Binding>& bindings, const dialect::LexedStatement& lexed, SentValues& out) {
  out.clear();
  for (const Binding& binding : bindings) {
    switch (binding.use) {
      case Binding::Use::now:
        out.emplace_back(clock::now().iso_text());
        continue;
      case Binding::Use::like_pattern:
      case Binding::Use::like_exact:
      case Binding::Use::like_from:
      case Binding::Use::like_to:
        out.push_back(like_value(binding, lexed));
        continue;
      case Binding::Use::key:
      case Binding::Use::value:
        break;
    }
    if (binding.use == Binding::Use::value && binding.type == ValueType::text) {
      if (const auto text = dialect::text_as_it_stands(lexed, binding.parameter)) {
        out.emplace_back(*text);
        continue;
      }
    }
    const Variant value = dialect::parameter_value(lexed, binding.parameter);
    if (binding.use == Binding::Use::key) {
      out.emplace_back(bound_key(value.to_text()));
      continue;
    }
    const bool is_real = value.type() == Variant::Type::real;
    if (is_real != (binding.type == ValueType::real) && binding.type != ValueType::text) return false;
    out.push_back(sent_value(value));
  }
  return true;
}

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

void append_copied(std::string& line, const std::vector<Variant>& row) {
  for (const Variant& value : row) {
    if (&value != row.data()) line += '\t';
    const std::optional<std::string> sent = sent_value(value);
    if (!sent) {
      line += "\\N";
      continue;
    }
    for (const char c : *sent) {
      if (c == '\\' || c == '\t' || c == '\n' || c == '\r') line += '\\';
      line += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
  }
  line += '\n';
}

void read_value(std::string_view text, ColumnType type, unsigned engine_type, Variant& out) {
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
  read_as_the_engine_says(text, engine_type, out);
}

}  // namespace mercato::store::postgres
