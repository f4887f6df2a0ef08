// SPDX-License-Identifier: Apache-2.0
// The shape of a public method: a body that reads as its steps, and the tail that every failure takes.
//
//   std::int32_t Product::GetMaxProductId() {
//     ConnectionPtr connection;
//     return method(
//         [&] {
//           connection = GetReadConnection();
//           ...
//           return id;
//         },
//         Tail{"Mercato.Product.GetMaxProductId", closing(connection)});  // tails.h has the usual steps by name
//   }
//
// A body that may be refused returns Answer<T>: `return refused;` leaves through the tail with no error pending, and
// the caller receives the tail's preset (False, "", 0 when it names none). A body that takes `TailSwitch&` can disarm
// the tail: a failure after that passes it untouched. Steps that return a text give it to the message as its
// information. A label that is known only while the method runs is given as a function that makes it.
#pragma once

#include <exception>
#include <new>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "frame/lib_error_handling.h"

namespace mercato {

struct Refused {};
inline constexpr Refused refused{};

template <class T>
class Answer {
 public:
  Answer(Refused) {}  // NOLINT: a body says `return refused`
  template <class U>
  requires std::is_convertible_v<U, T> Answer(U&& value)
      : value_(std::forward<U>(value)) {}  // NOLINT: or returns its value
  std::optional<T> take() { return std::move(value_); }

 private:
  std::optional<T> value_;
};

class TailSwitch {
 public:
  void disarm() { armed_ = false; }
  bool armed() const { return armed_; }

 private:
  bool armed_ = true;
};

// The label under which a failure is logged, the steps that run before that, and what a refused call returns.
template <class Steps, class Preset = std::nullptr_t, class Label = std::string_view>
struct Tail {
  Label label;
  Steps steps;
  Preset preset{};
};
template <class Steps>
Tail(std::string_view, Steps) -> Tail<Steps>;
template <class Steps, class Preset>
Tail(std::string_view, Steps, Preset) -> Tail<Steps, Preset>;
template <class Label, class Steps>
requires std::is_invocable_v<Label&> Tail(Label, Steps)
->Tail<Steps, std::nullptr_t, Label>;

// The steps of a method that holds nothing.
inline constexpr auto no_steps = [] {};

namespace detail {

// The failure that is being handled, in the one form that travels; kOutOfMemory when there is no memory for it. Call in
// a catch block only.
RaisedError failure_in_flight();

// A copy of the current error, which is kOutOfMemory when there is no memory for one.
RaisedError copy_of_current_error();

// Leaves a tail that found no memory for its steps. The steps have not voted, so this votes abort: what the call wrote
// must not stand for want of memory.
[[noreturn]] void leave_without_memory();

template <class Body>
decltype(auto) run_body(Body& body, TailSwitch& armed) {
  if constexpr (std::is_invocable_v<Body&, TailSwitch&>)
    return body(armed);
  else
    return body();
}

template <class Steps>
Variant run_steps(Steps& steps) {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Steps&>>) {
      steps();
      return kMissing;
    } else {
      return steps();
    }
  } catch (const std::bad_alloc&) {
    leave_without_memory();
  }
}

template <class T>
struct AnswerOf {
  using Value = T;
  static constexpr bool can_be_refused = false;
};
template <class T>
struct AnswerOf<Answer<T>> {
  using Value = T;
  static constexpr bool can_be_refused = true;
};

}  // namespace detail

template <class Body, class Steps, class Preset, class Label>
auto method(Body body, Tail<Steps, Preset, Label> tail) {
  using Returned = std::decay_t<decltype(detail::run_body(body, std::declval<TailSwitch&>()))>;
  using Value = typename detail::AnswerOf<Returned>::Value;

  current_error() = {};
  TailSwitch armed;
  try {
    if constexpr (detail::AnswerOf<Returned>::can_be_refused) {
      if (auto value = detail::run_body(body, armed).take()) return *std::move(value);
      current_error() = {};
    } else {
      return detail::run_body(body, armed);
    }
  } catch (...) {
    if (!armed.armed()) throw Raised(detail::failure_in_flight());
    current_error() = detail::failure_in_flight();
  }
  RaisedError pending = detail::copy_of_current_error();
  const Variant info = detail::run_steps(tail.steps);
  current_error() = std::move(pending);  // the steps' own calls arm tails of their own
  raising_out_of_memory([&] {
    if constexpr (std::is_invocable_v<Label&>)
      Err_LogAndRaise(tail.label(), info);
    else
      Err_LogAndRaise(tail.label, info);
  });
  if constexpr (std::is_same_v<Preset, std::nullptr_t>) {
    if constexpr (!std::is_void_v<Value>) return Value{};
  } else {
    return Value(std::move(tail.preset));
  }
}

}  // namespace mercato
