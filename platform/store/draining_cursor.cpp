// SPDX-License-Identifier: Apache-2.0
#include "platform/store/draining_cursor.h"

#include <new>

#include "mercato/raised_error.h"
#include "platform/store/failures.h"

namespace mercato::store {

bool DrainingCursor::advance() {
  if (detached_) {
    RaisedError closed = rows_closed();
    closed.Source = failure_source_;
    throw Raised(std::move(closed));
  }
  if (kept_at_ < kept_.size()) return ++kept_at_, true;
  if (std::exchange(row_ahead_, false)) return true;
  if (runs()) return step();
  kept_.clear();
  kept_at_ = 0;
  return false;
}

void DrainingCursor::read(std::vector<Variant>& row) {
  if (kept_at_ > 0)
    row = kept_[kept_at_ - 1].values;
  else
    read_row(row);
}

RowIdentity DrainingCursor::identity() { return kept_at_ > 0 ? kept_[kept_at_ - 1].identity : read_identity(); }

void DrainingCursor::keep() {
  KeptRow row;
  read_row(row.values);
  if (identified_) row.identity = read_identity();
  kept_.push_back(std::move(row));
}

void DrainingCursor::drain() {
  try {
    // The engine stands on the current row, unless that one is still ahead.
    keep();
    kept_at_ = std::exchange(row_ahead_, false) ? 0 : 1;
    while (runs() && step()) keep();
  } catch (const std::bad_alloc&) {
    detach();
    throw;
  }
}

void DrainingCursor::detach() noexcept {
  let_go();
  detached_ = true;
}

}  // namespace mercato::store
