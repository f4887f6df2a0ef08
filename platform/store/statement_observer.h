// SPDX-License-Identifier: Apache-2.0
// Sees every statement that this thread hands to a store, before it runs. For traces and for failures on request.
#pragma once

#include <string_view>

namespace mercato::store {

class StatementObserver {
 public:
  virtual ~StatementObserver() = default;
  // `by_library`: handed in by one of the library's own classes, not by a collaborating component.
  // May raise: the store then refuses the statement with that failure.
  virtual void on_statement(std::string_view text, bool by_library) = 0;
};

// The thread's observer, or null. `Session::execute` calls `observe_statement`; what writes updatable rows does not.
StatementObserver* set_statement_observer(StatementObserver* observer);  // returns the one before
void observe_statement(std::string_view text);

// While it lives, statements of this thread count as a collaborating component's, or as the library's own again.
class StatementOrigin {
 public:
  explicit StatementOrigin(bool by_library);
  ~StatementOrigin();
  StatementOrigin(const StatementOrigin&) = delete;
  StatementOrigin& operator=(const StatementOrigin&) = delete;

 private:
  bool previous_;
};

}  // namespace mercato::store
