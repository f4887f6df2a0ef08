// SPDX-License-Identifier: Apache-2.0
// Which waits for a store's write lock are futile: one for a lock that the waiting thread holds itself, and a second
// one within a call that has already waited for that store in vain. Any thread.
#pragma once

#include <sqlite3.h>

#include <optional>

namespace mercato::store::sqlite {

// Lives as long as its engine holds the write lock, or asks for it; for the thread that made it.
class HeldLock {
 public:
  explicit HeldLock(sqlite3* engine);
  ~HeldLock();
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  sqlite3* engine_;
};

// Whether this thread holds the lock on the same file with another engine.
bool held_by_this_thread(sqlite3* engine);

// The call that is under way has waited for this store so many milliseconds, and did not get the lock.
void note_futile_wait(sqlite3* engine, long milliseconds);
// The lock was had after all: it is worth waiting for again.
void forget_futile_wait() noexcept;
// How long it has waited in vain already, if it has.
std::optional<long> futile_wait(sqlite3* engine);

}  // namespace mercato::store::sqlite
