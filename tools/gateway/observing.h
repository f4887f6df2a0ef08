// SPDX-License-Identifier: Apache-2.0
// Sets the thread's observers of late-bound calls and of statements while it lives, and puts the earlier ones back.
#pragma once

#include "mercato/invoke.h"
#include "platform/store/statement_observer.h"

namespace mercato::gateway {

struct Observing {
  // Null: nobody observes.
  Observing(CallObserver* calls, store::StatementObserver* statements)
      : earlier_calls(set_call_observer(calls)), earlier_statements(store::set_statement_observer(statements)) {}
  ~Observing() {
    set_call_observer(earlier_calls);
    store::set_statement_observer(earlier_statements);
  }
  Observing(const Observing&) = delete;
  Observing& operator=(const Observing&) = delete;

  CallObserver* const earlier_calls;
  store::StatementObserver* const earlier_statements;
};

}  // namespace mercato::gateway
