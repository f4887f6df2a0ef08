// SPDX-License-Identifier: Apache-2.0
// The tagged value of the interface, with the conversions that automation clients know. A value type: arrays are
// copied as values, objects are shared. Any thread, one at a time per value.
//
// Conversions raise: 13 (type mismatch) for a text that reads as no number, 94 (invalid use of Null) for Null,
// 6 (overflow) beyond the target's width, 424 (object required) for a value that is no object.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "mercato/currency.h"
#include "mercato/date.h"
#include "mercato/export.h"
#include "mercato/object.h"

namespace mercato {

class Variant;
struct Array;

/// No value yet.
struct Empty {
  /// Always.
  bool operator==(const Empty&) const = default;
};
/// No value: what an unset column holds.
struct Null {
  /// Always.
  bool operator==(const Null&) const = default;
};
/// An optional argument that was not passed.
struct Missing {
  /// Always.
  bool operator==(const Missing&) const = default;
};

inline constexpr Null kNull{};        ///< Null, as an argument
inline constexpr Missing kMissing{};  ///< Missing, as an argument

/// Any value of the interface. A value type: arrays are copied as values, objects are shared.
///
/// Conversions raise 13 (type mismatch) for a text that reads as no number, 94 (invalid use of Null) for Null,
/// 6 (overflow) beyond the target's width, 424 (object required) for a value that is no object.
class MERCATO_API Variant {
 public:
  /// What it holds.
  enum class Type {
    empty,
    null,
    missing,
    boolean,
    short_integer,
    long_integer,
    real,
    currency,
    date,
    text,
    array,
    object
  };

  Variant() = default;
  /// A copy that finds no memory leaves nothing behind. The standard library's own copy of a variant of such types
  /// assumes that it always has a value, and would destroy one that was never made.
  Variant(const Variant& other)
      : value_(std::visit([]<class T>(const T& held) { return Value(std::in_place_type<T>, held); }, other.value_)) {}
  /// Takes the value over; the other one holds what can be assigned to.
  Variant(Variant&&) noexcept = default;
  /// A copy that finds no memory changes nothing.
  Variant& operator=(const Variant& other) { return *this = Variant(other); }
  /// Takes the value over.
  Variant& operator=(Variant&&) noexcept = default;
  ~Variant() = default;
  /// @{
  /// From what a C++ type holds.
  Variant(Null) : value_(Null{}) {}
  Variant(Missing) : value_(Missing{}) {}
  Variant(bool flag) : value_(flag) {}
  Variant(std::int16_t number) : value_(number) {}
  Variant(std::int32_t number) : value_(number) {}
  Variant(double number) : value_(number) {}
  Variant(Currency amount) : value_(amount) {}
  Variant(Date date) : value_(date) {}
  Variant(std::string text) : value_(std::move(text)) {}
  Variant(std::string_view text) : value_(std::string(text)) {}
  Variant(const char* text) : value_(std::string(text)) {}
  Variant(Array array);
  Variant(ObjectPtr object) : value_(std::move(object)) {}
  template <class T>
  requires(std::is_base_of_v<Object, T> && !std::is_same_v<T, Object>) Variant(std::shared_ptr<T> object)
      : value_(ObjectPtr(std::move(object))) {}
  /// @}
  /// Without it anything else, a pointer for instance, would silently become a Boolean.
  template <class T>
  requires(std::is_pointer_v<T> && !std::is_same_v<T, const char*> && !std::is_same_v<T, char*>) Variant(T)
  = delete;

  /// A whole number as the store has it: long when it fits in 32 bits, else double.
  static Variant from_integer(std::int64_t number);

  /// What it holds.
  Type type() const { return static_cast<Type>(value_.index()); }
  /// @{
  /// Whether it holds that.
  bool is_empty() const { return type() == Type::empty; }
  bool is_null() const { return type() == Type::null; }
  bool is_missing() const { return type() == Type::missing; }
  bool is_text() const { return type() == Type::text; }
  bool is_array() const { return type() == Type::array; }
  bool is_object() const { return type() == Type::object; }
  /// @}
  /// A number, a Boolean, Empty, or a text that reads as a number. Not a date, not Null.
  bool is_numeric() const;
  /// The name that automation clients know: "Long", "String", "Null", ...; an object answers its own.
  std::string_view type_name() const;

  /// @{
  /// The value itself, when `type` says that it is one; otherwise std::bad_variant_access.
  const std::string& text_value() const { return std::get<std::string>(value_); }
  std::string& text_value() { return std::get<std::string>(value_); }
  bool boolean_value() const { return std::get<bool>(value_); }
  std::int16_t short_value() const { return std::get<std::int16_t>(value_); }
  std::int32_t long_value() const { return std::get<std::int32_t>(value_); }
  double double_value() const { return std::get<double>(value_); }
  Currency currency_value() const { return std::get<Currency>(value_); }
  Date date_value() const { return std::get<Date>(value_); }
  const Array& array_value() const { return *std::get<std::shared_ptr<const Array>>(value_); }
  const ObjectPtr& object_value() const { return std::get<ObjectPtr>(value_); }
  /// @}

  /// Conversions. Empty reads as "", 0, False or the zero date; fractions round half to even.
  std::string to_text() const;
  /// The same, but "" for Null: joined to a text, Null adds nothing.
  std::string text_or_empty() const { return is_null() ? std::string() : to_text(); }
  /// Half to even; raises 6 beyond 16 bits.
  std::int16_t to_short() const;
  /// Half to even; raises 6 beyond 32 bits.
  std::int32_t to_long() const;
  /// A date gives its days.
  double to_double() const;
  /// True, False, numbers, and the texts "True", "False" and those that read as numbers; Null raises 94.
  bool to_boolean() const;
  /// A text is read as a date of the US locale, else as a number; a number counts as days. Raises 6 outside of the years
  /// 100 to 9999.
  Date to_date() const;
  /// Four decimals, half to even; raises 6 beyond its range.
  Currency to_currency() const;
  /// Raises 13 when this is no array.
  const Array& to_array() const;
  /// Raises 424 when this is no object, 91 when it is nothing.
  const ObjectPtr& to_object() const;
  /// Raises 424, 91, or 13 when the object is of another class.
  template <class T>
  std::shared_ptr<T> to() const {
    auto cast = std::dynamic_pointer_cast<T>(to_object());
    if (!cast) raise_type_mismatch();
    return cast;
  }

  /// Same type and same value; objects when they are the same object.
  bool operator==(const Variant& other) const;

 private:
  [[noreturn]] static void raise_type_mismatch();

  using Value = std::variant<Empty, Null, Missing, bool, std::int16_t, std::int32_t, double, Currency, Date,
                             std::string, std::shared_ptr<const Array>, ObjectPtr>;
  Value value_;
};

/// A one-dimensional array with a lower bound of its own. A value type.
struct MERCATO_API Array {
  std::int32_t lower = 0;      ///< the index of the first item
  std::vector<Variant> items;  ///< in their order

  /// An array without items.
  Array() = default;
  /// These items, from index 0.
  Array(std::initializer_list<Variant> values) : items(values) {}
  /// These items, from that index.
  explicit Array(std::vector<Variant> values, std::int32_t lower_bound = 0)
      : lower(lower_bound), items(std::move(values)) {}

  /// The index of the last item; below `lower` when there is none.
  std::int32_t upper() const { return lower + static_cast<std::int32_t>(items.size()) - 1; }
  /// By the array's own bounds; raises 9 outside of them.
  const Variant& at(std::int32_t index) const;
  /// The same, to be changed.
  Variant& at(std::int32_t index);

  /// The same bound and the same items.
  bool operator==(const Array&) const = default;
};

}  // namespace mercato
