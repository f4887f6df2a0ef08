// SPDX-License-Identifier: Apache-2.0
#include "platform/store/statement_observer.h"

#include <utility>

namespace mercato::store {
namespace {

thread_local constinit StatementObserver* current_observer = nullptr;
thread_local constinit bool current_by_library = true;

}  // namespace

StatementObserver* set_statement_observer(StatementObserver* observer) {
  return std::exchange(current_observer, observer);
}

void observe_statement(std::string_view text) {
  if (current_observer) current_observer->on_statement(text, current_by_library);
}

StatementOrigin::StatementOrigin(bool by_library) : previous_(std::exchange(current_by_library, by_library)) {}

StatementOrigin::~StatementOrigin() { current_by_library = previous_; }

}  // namespace mercato::store
