// SPDX-License-Identifier: Apache-2.0
// The declarative table with which a class describes itself once. From it come late-bound calls, the class objects of
// the shared library, registration, the gateway and its descriptions. Immutable after construction; any thread.
//
//   const ClassTable& Unit::table() {
//     static const ClassTable table =
//         ClassTable::of<Unit>("Mercato.Unit", "{...}", TransactionAttribute::none)
//             .method("getUnitCodeFromDescription", &Unit::getUnitCodeFromDescription, {"iUnitDescription"})
//             .method("Delete", &Unit::Delete, {"iUnitCode"}).deprecated("Use Mercato.TUnit.Delete");
//     return table;
//   }
//
// Types, and what is passed by reference, come from the C++ signature; optional arguments say their default:
// optional("iCatalogString", "-1"), or optional("i_lSupplierID") for one that arrives as Missing.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "mercato/component.h"
#include "mercato/export.h"
#include "mercato/raised_error.h"
#include "mercato/variant.h"

namespace mercato {

/// What a class says of transactions: it needs one, it takes part in none, or it says nothing.
enum class TransactionAttribute { required, none, undeclared };

/// "required", "none", "undeclared".
MERCATO_API std::string_view attribute_name(TransactionAttribute attribute);

/// An argument of a method.
struct ArgumentInfo {
  std::string name;           ///< as the interface has it
  std::string_view type;      ///< "long", "string", "Dictionary", ...
  bool by_reference = false;  ///< the caller sees what becomes of it
  bool optional = false;      ///< it may be left out
  Variant default_value;      ///< of an optional one; Missing when it has none
};

/// A method of a class.
struct MethodInfo {
  std::string name;                     ///< as the interface has it
  std::vector<ArgumentInfo> arguments;  ///< in their order
  std::string_view result;              ///< empty for a method without one
  std::string deprecated;               ///< what to use instead; empty for a living method
  bool property = false;                ///< read without an argument, written with one
  /// The arguments are complete (defaults filled in); those by reference are updated in place.
  std::function<Variant(Component&, std::span<Variant>)> invoke;
};

/// @cond internal

// The plain name of a C++ type at the interface, and the conversions from and to a Variant.
template <class T>
struct InterfaceType;

#define MERCATO_INTERFACE_TYPE(Type, Name, conversion)                    \
  template <>                                                             \
  struct InterfaceType<Type> {                                            \
    static constexpr std::string_view name = Name;                        \
    static Type from(const Variant& value) { return value.conversion(); } \
  };
MERCATO_INTERFACE_TYPE(bool, "boolean", to_boolean)
MERCATO_INTERFACE_TYPE(std::int16_t, "short", to_short)
MERCATO_INTERFACE_TYPE(std::int32_t, "long", to_long)
MERCATO_INTERFACE_TYPE(double, "double", to_double)
MERCATO_INTERFACE_TYPE(std::string, "string", to_text)
MERCATO_INTERFACE_TYPE(Date, "date", to_date)
MERCATO_INTERFACE_TYPE(Currency, "currency", to_currency)
MERCATO_INTERFACE_TYPE(Array, "array", to_array)
#undef MERCATO_INTERFACE_TYPE

template <>
struct InterfaceType<Variant> {
  static constexpr std::string_view name = "variant";
  static const Variant& from(const Variant& value) { return value; }
};

template <class T>
struct InterfaceType<std::shared_ptr<T>> {
  static constexpr std::string_view name = T::kClassName;
  /// Nothing is a null pointer.
  static std::shared_ptr<T> from(const Variant& value) {
    if (value.is_missing() || value.is_empty() || (value.is_object() && !value.object_value())) return nullptr;
    return value.to<T>();
  }
};

/// @endcond

/// An argument's name, and its default when it may be left out.
struct ArgumentName {
  /// An argument that is always passed.
  ArgumentName(const char* argument_name) : name(argument_name) {}  // NOLINT: implicit on purpose
  std::string name;                                                 ///< as the interface has it
  bool optional = false;                                            ///< it may be left out
  Variant default_value;                                            ///< of an optional one; Missing when it has none
};
/// An argument that may be left out, with its default; Missing without one.
MERCATO_API ArgumentName optional(const char* name, Variant default_value = kMissing);

/// The table with which a class describes itself. Immutable once it is made; any thread.
class MERCATO_API ClassTable {
 public:
  /// The table of class `T`, which methods are then added to. The class id is a text with its brackets.
  template <class T>
  static ClassTable of(std::string prog_id, std::string class_id, TransactionAttribute attribute) {
    return ClassTable(std::move(prog_id), std::move(class_id), attribute,
                      []() -> ComponentPtr { return std::make_shared<T>(); });
  }

  /// A method, with the names of its arguments in their order: as many as it has, or the process ends.
  template <class T, class Result, class... Arguments>
  ClassTable& method(std::string name, Result (T::*function)(Arguments...),
                     std::initializer_list<ArgumentName> arguments = {}) {
    methods_.push_back(describe(std::move(name), function, arguments));
    return *this;
  }
  /// Marks the method declared last as retired, and says what to use instead.
  ClassTable& deprecated(std::string instead);
  /// Names the class of the result or of an argument, where the C++ type only says that it is an object.
  ClassTable& returns(std::string_view type);
  /// The same for one of its arguments.
  ClassTable& takes(std::string_view argument, std::string_view type);

  /// A property: a method that reads without an argument and writes with one.
  template <class T, class Value>
  ClassTable& property(std::string name, Value (T::*read)() const, void (T::*write)(const Value&)) {
    MethodInfo info;
    info.name = std::move(name);
    info.property = true;
    info.result = InterfaceType<Value>::name;
    info.arguments.push_back({"value", InterfaceType<Value>::name, false, true, kMissing});
    info.invoke = [read, write](Component& self, std::span<Variant> arguments) -> Variant {
      T& object = static_cast<T&>(self);
      if (arguments[0].is_missing()) return Variant((object.*read)());
      (object.*write)(InterfaceType<Value>::from(arguments[0]));
      return {};
    };
    methods_.push_back(std::move(info));
    return *this;
  }

  /// Adds the two operations that reference checkers call.
  template <class T, class Result>
  ClassTable& implements_referential_integrity(Result (T::*before_delete)(const Variant&, const Array&, const Array&),
                                               Result (T::*exists)(const Variant&, const Array&, const Array&)) {
    implements_.emplace_back("IReferentialIntegrity");
    const std::initializer_list<ArgumentName> arguments = {"i_vUnread", "iFields", "iValues"};
    interface_methods_.push_back(describe("IReferentialIntegrity_BeforeDelete", before_delete, arguments));
    interface_methods_.push_back(describe("IReferentialIntegrity_Exists", exists, arguments));
    return *this;
  }
  /// Says that the class is a component beside the library, whose statements are not the library's own.
  ClassTable& collaborator() {
    collaborator_ = true;
    return *this;
  }
  /// Says that its methods wait for nothing but the store: no network, no slow file, no person. An upload run then keeps
  /// its transaction open across calls of the class; before a call of any other component it commits. The library's own
  /// classes need not say so.
  ClassTable& never_waits() {
    may_wait_ = false;
    return *this;
  }

  /// "Mercato.Product"
  const std::string& prog_id() const { return prog_id_; }
  /// A text with its brackets.
  const std::string& class_id() const { return class_id_; }
  /// The class's name: the part of the ProgID behind the full stop.
  std::string_view class_name() const;
  /// "_Product"
  std::string default_interface() const { return "_" + std::string(class_name()); }
  /// What it says of transactions.
  TransactionAttribute attribute() const { return attribute_; }
  /// Names of the interfaces that it has besides its own.
  const std::vector<std::string>& implements() const { return implements_; }
  /// In the order of their declaration.
  const std::vector<MethodInfo>& methods() const { return methods_; }
  /// Whether it is a component beside the library.
  bool is_collaborator() const { return collaborator_; }
  /// Whether its methods may wait for something that is not the store.
  bool may_wait() const { return may_wait_; }
  /// By name in any case, the interfaces' operations included; null when there is none.
  const MethodInfo* find(std::string_view name) const;
  /// A new object, without any context.
  ComponentPtr create() const { return create_(); }

 private:
  ClassTable(std::string prog_id, std::string class_id, TransactionAttribute attribute, ComponentPtr (*factory)())
      : prog_id_(std::move(prog_id)),
        class_id_(std::move(class_id)),
        attribute_(attribute),
        may_wait_(!prog_id_.starts_with(std::string(kLibraryName) + ".")),
        create_(factory) {}

  template <class T, class Result, class... Arguments>
  static MethodInfo describe(std::string name, Result (T::*function)(Arguments...),
                             std::initializer_list<ArgumentName> arguments) {
    if (arguments.size() != sizeof...(Arguments)) std::terminate();  // a table that does not fit its class
    MethodInfo info;
    info.name = std::move(name);
    auto argument = arguments.begin();
    (info.arguments.push_back(describe_argument<Arguments>(*argument++)), ...);
    if constexpr (!std::is_void_v<Result>) info.result = InterfaceType<Result>::name;
    info.invoke = [function](Component& self, std::span<Variant> values) {
      return invoke_method(static_cast<T&>(self), function, values, std::index_sequence_for<Arguments...>{});
    };
    return info;
  }

  template <class Argument>
  static constexpr bool kByReference =
      std::is_lvalue_reference_v<Argument> && !std::is_const_v<std::remove_reference_t<Argument>>;

  template <class Argument>
  static ArgumentInfo describe_argument(const ArgumentName& argument) {
    return {argument.name, InterfaceType<std::remove_cvref_t<Argument>>::name, kByReference<Argument>,
            argument.optional, argument.default_value};
  }

  template <class T, class Result, class... Arguments, std::size_t... Index>
  static Variant invoke_method(T& self, Result (T::*function)(Arguments...), [[maybe_unused]] std::span<Variant> values,
                               std::index_sequence<Index...>) {
    std::tuple<std::remove_cvref_t<Arguments>...> converted{
        InterfaceType<std::remove_cvref_t<Arguments>>::from(values[Index])...};
    const auto write_back = [&] {
      (
          [&] {
            if constexpr (kByReference<Arguments>) values[Index] = Variant(std::move(std::get<Index>(converted)));
          }(),
          ...);
    };
    Variant result;
    try {
      if constexpr (std::is_void_v<Result>)
        (self.*function)(std::get<Index>(converted)...);
      else
        result = Variant((self.*function)(std::get<Index>(converted)...));
    } catch (...) {
      write_back();  // the caller sees what a failing method did to its arguments, too
      throw;
    }
    write_back();
    return result;
  }

  std::string prog_id_;
  std::string class_id_;
  TransactionAttribute attribute_;
  std::vector<std::string> implements_;
  std::vector<MethodInfo> methods_;
  std::vector<MethodInfo> interface_methods_;
  bool collaborator_ = false;
  bool may_wait_;
  ComponentPtr (*create_)();
};

/// A component whose table is `Self::table()`.
template <class Self>
class ComponentOf : public Component {
 public:
  /// `Self::table()`.
  const ClassTable& class_table() const override { return Self::table(); }
};

}  // namespace mercato
