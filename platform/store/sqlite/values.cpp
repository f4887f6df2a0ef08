// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/values.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "mercato/raised_error.h"

namespace mercato::store::sqlite {
namespace {

// A text into a value that may hold one already: a walk over many rows then allocates little.
void assign_text(Variant& out, std::string_view text) {
  if (out.is_text())
    out.text_value().assign(text);
  else
    out = text;
}

// Only a text that found no memory has no bytes.
std::string_view text_of(sqlite3_value* value) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (!bytes) raise(error_number::kOutOfMemory);
  return {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// "2026-07-01T08:30:00", the one form that is written.
std::optional<Date> stored_date(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00";
  if (text.size() != kForm.size()) return std::nullopt;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == '0' ? !digit : text[i] != kForm[i]) return std::nullopt;
  }
  const auto number = [text](std::size_t begin, std::size_t count) {
    int value = 0;
    for (const char c : text.substr(begin, count)) value = value * 10 + (c - '0');
    return value;
  };
  try {
    return Date::from_civil({number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)});
  } catch (const Raised&) {
    return std::nullopt;  // no moment of the calendar
  }
}

void read_as_stored(sqlite3_value* value, Variant& out) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      out = Variant::from_integer(sqlite3_value_int64(value));
      return;
    case SQLITE_FLOAT:
      out = sqlite3_value_double(value);
      return;
    case SQLITE_NULL:
      out = kNull;
      return;
    default:
      assign_text(out, text_of(value));
  }
}

}  // namespace

void read_value(sqlite3_stmt* statement, int position, ColumnType type, Variant& out) {
  // Cheaper than asking the statement for type and content. It is safe on a connection that one thread uses.
  sqlite3_value* const value = sqlite3_column_value(statement, position);
  const int stored = sqlite3_value_type(value);
  switch (type) {
    case ColumnType::text:
      if (stored != SQLITE_TEXT) break;
      return assign_text(out, text_of(value));
    case ColumnType::short_integer:
      if (stored != SQLITE_INTEGER) break;
      if (const std::int64_t number = sqlite3_value_int64(value);
          number >= std::numeric_limits<std::int16_t>::min() && number <= std::numeric_limits<std::int16_t>::max()) {
        out = static_cast<std::int16_t>(number);
        return;
      }
      break;
    case ColumnType::boolean:
      if (stored != SQLITE_INTEGER) break;
      out = sqlite3_value_int64(value) != 0;
      return;
    case ColumnType::real:
      if (stored != SQLITE_FLOAT && stored != SQLITE_INTEGER) break;
      out = sqlite3_value_double(value);
      return;
    case ColumnType::money:
      if (stored != SQLITE_INTEGER) break;
      out = Currency::from_scaled(sqlite3_value_int64(value));
      return;
    case ColumnType::date:
      if (stored != SQLITE_TEXT) break;
      if (const auto date = stored_date(text_of(value))) {
        out = *date;
        return;
      }
      break;
    case ColumnType::long_integer:
    case ColumnType::unknown:
      break;
  }
  read_as_stored(value, out);
}

int bind_text(sqlite3_stmt* statement, int parameter, std::string_view text, Lifetime lifetime) {
  return sqlite3_bind_text64(statement, parameter, text.data(), text.size(),
                             lifetime == Lifetime::copied ? SQLITE_TRANSIENT : SQLITE_STATIC, SQLITE_UTF8);
}

int bind_value(sqlite3_stmt* statement, int parameter, const Variant& value, Lifetime lifetime) {
  switch (value.type()) {
    case Variant::Type::boolean:
      return sqlite3_bind_int(statement, parameter, value.boolean_value() ? 1 : 0);
    case Variant::Type::short_integer:
      return sqlite3_bind_int(statement, parameter, value.short_value());
    case Variant::Type::long_integer:
      return sqlite3_bind_int(statement, parameter, value.long_value());
    case Variant::Type::real:
      return sqlite3_bind_double(statement, parameter, value.double_value());
    case Variant::Type::currency:
      return sqlite3_bind_int64(statement, parameter, value.currency_value().scaled());
    case Variant::Type::date:
      return bind_text(statement, parameter, value.date_value().iso_text(), Lifetime::copied);
    case Variant::Type::text:
      return bind_text(statement, parameter, value.text_value(), lifetime);
    case Variant::Type::null:
    case Variant::Type::empty:
    case Variant::Type::missing:
      return sqlite3_bind_null(statement, parameter);
    case Variant::Type::array:
    case Variant::Type::object:
      break;
  }
  raise(error_number::kTypeMismatch);
}

}  // namespace mercato::store::sqlite
