// SPDX-License-Identifier: Apache-2.0
// When the call of a thread is to end, for another thread that watches over it until then.
#pragma once

#include <atomic>
#include <chrono>
#include <optional>

namespace mercato::store {

struct CallEnd {
  std::chrono::steady_clock::time_point deadline;
  const std::atomic<bool>* cancelled;  // null: nobody may end it

  bool is_cancelled() const noexcept;
  bool has_come() const noexcept;
};

// That of this thread's call; nothing when it has no end but its own.
std::optional<CallEnd> call_end() noexcept;

}  // namespace mercato::store
