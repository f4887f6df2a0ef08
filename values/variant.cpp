// SPDX-License-Identifier: Apache-2.0
#include "mercato/variant.h"

#include <cmath>
#include <limits>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato {
namespace {

template <class Integer>
Integer rounded(double number) {
  const double whole = std::nearbyint(number);  // half to even
  if (!(whole >= std::numeric_limits<Integer>::min() && whole <= std::numeric_limits<Integer>::max()))
    raise(error_number::kOverflow);
  return static_cast<Integer>(whole);
}

}  // namespace

Variant::Variant(Array array) : value_(std::make_shared<const Array>(std::move(array))) {}

Variant Variant::from_integer(std::int64_t number) {
  if (number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max())
    return static_cast<std::int32_t>(number);
  return static_cast<double>(number);
}

bool Variant::is_numeric() const {
  switch (type()) {
    case Type::empty:
    case Type::boolean:
    case Type::short_integer:
    case Type::long_integer:
    case Type::real:
    case Type::currency:
      return true;
    case Type::text:
      return text::parse_number(text_value()).has_value();
    default:
      return false;
  }
}

std::string_view Variant::type_name() const {
  switch (type()) {
    case Type::empty:
      return "Empty";
    case Type::null:
      return "Null";
    case Type::missing:
      return "Missing";
    case Type::boolean:
      return "Boolean";
    case Type::short_integer:
      return "Integer";
    case Type::long_integer:
      return "Long";
    case Type::real:
      return "Double";
    case Type::currency:
      return "Currency";
    case Type::date:
      return "Date";
    case Type::text:
      return "String";
    case Type::array:
      return "Variant()";
    case Type::object:
      return object_value() ? object_value()->type_name() : "Nothing";
  }
  return {};
}

void Variant::raise_type_mismatch() { raise(error_number::kTypeMismatch); }

std::string Variant::to_text() const {
  switch (type()) {
    case Type::empty:
      return {};
    case Type::null:
      raise(error_number::kInvalidUseOfNull);
    case Type::boolean:
      return boolean_value() ? "True" : "False";
    case Type::short_integer:
      return std::to_string(short_value());
    case Type::long_integer:
      return std::to_string(long_value());
    case Type::real:
      return text::number_text(double_value());
    case Type::currency:
      return currency_value().text();
    case Type::date:
      return date_value().text();
    case Type::text:
      return text_value();
    default:
      raise_type_mismatch();
  }
}

double Variant::to_double() const {
  switch (type()) {
    case Type::empty:
      return 0;
    case Type::null:
      raise(error_number::kInvalidUseOfNull);
    case Type::boolean:
      return boolean_value() ? -1 : 0;
    case Type::short_integer:
      return short_value();
    case Type::long_integer:
      return long_value();
    case Type::real:
      return double_value();
    case Type::currency:
      return currency_value().to_double();
    case Type::date:
      return date_value().days();
    case Type::text:
      if (const auto number = text::parse_number(text_value())) return *number;
      raise_type_mismatch();
    default:
      raise_type_mismatch();
  }
}

std::int16_t Variant::to_short() const {
  return type() == Type::short_integer ? short_value() : rounded<std::int16_t>(to_double());
}

std::int32_t Variant::to_long() const {
  return type() == Type::long_integer ? long_value() : rounded<std::int32_t>(to_double());
}

bool Variant::to_boolean() const {
  if (type() == Type::boolean) return boolean_value();
  if (is_text() && text::equal_names(text_value(), "True")) return true;
  if (is_text() && text::equal_names(text_value(), "False")) return false;
  return to_double() != 0;
}

Date Variant::to_date() const {
  if (type() == Type::date) return date_value();
  if (is_text()) {
    if (const auto date = Date::parse(text_value())) return *date;
  }
  const double days = to_double();
  if (!(days > -657435 && days < 2958466)) raise(error_number::kOverflow);
  return Date(days);
}

Currency Variant::to_currency() const {
  if (type() == Type::currency) return currency_value();
  if (is_text()) return Currency::from_text(text_value());
  return Currency::from_double(to_double());
}

const Array& Variant::to_array() const {
  if (!is_array()) raise_type_mismatch();
  return array_value();
}

const ObjectPtr& Variant::to_object() const {
  if (!is_object()) raise(error_number::kObjectRequired);
  if (!object_value()) raise(error_number::kObjectNotSet);
  return object_value();
}

bool Variant::operator==(const Variant& other) const {
  if (is_array() && other.is_array()) return array_value() == other.array_value();
  return value_ == other.value_;
}

const Variant& Array::at(std::int32_t index) const {
  if (index < lower || index > upper()) raise(error_number::kSubscriptOutOfRange);
  return items[static_cast<std::size_t>(index - lower)];
}

Variant& Array::at(std::int32_t index) { return const_cast<Variant&>(std::as_const(*this).at(index)); }

}  // namespace mercato
