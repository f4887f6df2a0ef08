// SPDX-License-Identifier: Apache-2.0
// One call from outside, and the longest time that it may take on this thread. The store asks on every statement and
// field read, so that a walk without an end is ended, with kTimeout, without a change to the walk.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace mercato::store {

// One call from outside, whoever makes it; calls within it belong to it.
class OutermostCall {
 public:
  OutermostCall() noexcept;
  ~OutermostCall();
  OutermostCall(const OutermostCall&) = delete;
  OutermostCall& operator=(const OutermostCall&) = delete;
};

// Which one this thread is in: a number that no other call of the process has; 0 outside of calls.
std::uint64_t call_under_way() noexcept;

// Such a call whose clock starts now; nested ones keep the outer deadline. 0 seconds or less: no limit.
class CallLimit {
 public:
  explicit CallLimit(double seconds);
  ~CallLimit();
  CallLimit(const CallLimit&) = delete;
  CallLimit& operator=(const CallLimit&) = delete;

 private:
  OutermostCall call_;
  bool outermost_;
};

// While it lives, calls of this thread can be ended by another one, which sets the flag: they fail as if their limit had
// passed. A call that begins with the flag set fails at its first statement. For the thread's outermost calls only.
class Cancellable {
 public:
  explicit Cancellable(const std::atomic<bool>& cancelled) noexcept;
  ~Cancellable();
  Cancellable(const Cancellable&) = delete;
  Cancellable& operator=(const Cancellable&) = delete;
};
// Whether somebody may end the call of this thread, so that whoever waits has to look in between.
bool can_be_cancelled() noexcept;

// Raises kTimeout when the deadline has passed. Cheap enough for every field read: the clock is read at every 32nd
// call.
void check_call_limit();
// The same with the clock read each time: before a statement.
void check_call_limit_now();
// Whether it has passed, for code that may not throw.
bool call_limit_passed() noexcept;
// How long it is until then, for waiting; nothing without a limit.
std::optional<std::chrono::milliseconds> call_time_left() noexcept;

}  // namespace mercato::store
