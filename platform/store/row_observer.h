// SPDX-License-Identifier: Apache-2.0
// Sees how many rows this thread reads from a store and writes to it, when that is done. For progress: how far a call has
// come nobody else can tell.
#pragma once

#include <cstdint>

namespace mercato::store {

class RowObserver {
 public:
  virtual ~RowObserver() = default;
  virtual void on_read_row() = 0;
  // By one statement, or one row of an updatable recordset.
  virtual void on_written_rows(std::int64_t count) = 0;
};

// The thread's observer, or null.
RowObserver* set_row_observer(RowObserver* observer);  // returns the one before
void observe_read_row();
void observe_written_rows(std::int64_t count);

}  // namespace mercato::store
