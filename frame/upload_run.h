// A run of single statements that need not be flushed to the disk one by one. Each of them stands when it has run; all
// are durable when the run has ended. Bound to the thread that began it, and to the call: it is never kept in an
// object.
#pragma once

#include <optional>

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

 private:
  std::optional<store::UnitOfWork> unit_;
  std::optional<store::UnitOfWork::Current> current_;
};

}  // namespace mercato
