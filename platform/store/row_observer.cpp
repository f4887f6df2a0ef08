// SPDX-License-Identifier: Apache-2.0
#include "platform/store/row_observer.h"

#include <utility>

namespace mercato::store {
namespace {

thread_local constinit RowObserver* current_observer = nullptr;

}  // namespace

RowObserver* set_row_observer(RowObserver* observer) { return std::exchange(current_observer, observer); }

void observe_read_row() {
  if (current_observer) current_observer->on_read_row();
}

void observe_written_rows(std::int64_t count) {
  if (current_observer && count > 0) current_observer->on_written_rows(count);
}

}  // namespace mercato::store
