// SPDX-License-Identifier: Apache-2.0
// A run of single statements that need not be flushed to the disk one by one. Each of them stands when it has run; all
// are durable when the run has ended. Bound to the thread that began it, and to the call: it is never kept in an
// object.
#pragma once

#include <optional>
#include <span>

#include "mercato/statement.h"
#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"

namespace mercato {

class StoreRun {
 public:
  // Does nothing when the thread's statements belong to a transaction or to another run already.
  StoreRun();
  // Ends the run, failures swallowed. Never throws.
  ~StoreRun();
  StoreRun(const StoreRun&) = delete;
  StoreRun& operator=(const StoreRun&) = delete;

  // Ends the run: what was written is durable when this returns. Raises what the store raises.
  void finish();

  // To be called before the thread waits for anything but the store: the statements of its run are committed, and
  // others can write meanwhile. Calls of collaborators do this themselves, unless their class says that it never waits.
  static void before_waiting() { store::UnitOfWork::before_waiting(); }

  // The queries that come next, in this order, after one more write, where they are known: a store on a server answers
  // them together with that write. Nothing but time depends on it, and that only where `looks_ahead`.
  static void foresee(std::span<const Sql> queries);
  static bool looks_ahead();

 private:
  store::OutermostCall call_;  // a store that stays locked is waited for once in a run
  std::optional<store::UnitOfWork> unit_;
  std::optional<store::UnitOfWork::Current> current_;
};

// Raises kTimeout when the call from outside has run out of time: for an upload that passes over the failures of its
// statements, and would pass over that one too.
void check_call_limit();

}  // namespace mercato
