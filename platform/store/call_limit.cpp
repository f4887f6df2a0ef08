// SPDX-License-Identifier: Apache-2.0
#include "platform/store/call_limit.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "mercato/raised_error.h"
#include "platform/store/call_end.h"
#include "values/text.h"

namespace mercato::store {
namespace {

using Clock = std::chrono::steady_clock;

struct UnderWay {
  int depth = 0;
  std::uint64_t call = 0;
};

constexpr Clock::time_point kNever = Clock::time_point::max();

struct Limit {
  int depth = 0;
  bool armed = false;
  bool passed = false;
  std::uint32_t calls = 0;
  double seconds = 0;
  CallEnd end{kNever, nullptr};
};

thread_local constinit UnderWay under_way;
thread_local constinit Limit limit;
constinit std::atomic<std::uint64_t> calls_so_far = 0;

[[noreturn]] void raise_passed() {
  if (limit.end.is_cancelled()) raise(error_number::kTimeout, {}, "Timeout expired: the call was cancelled");
  raise(error_number::kTimeout, {},
        "Timeout expired: the call ran longer than its limit of " + text::number_text(limit.seconds) + " seconds");
}

}  // namespace

OutermostCall::OutermostCall() noexcept {
  if (under_way.depth++ == 0) under_way.call = calls_so_far.fetch_add(1, std::memory_order_relaxed) + 1;
}

OutermostCall::~OutermostCall() {
  if (--under_way.depth == 0) under_way.call = 0;
}

std::uint64_t call_under_way() noexcept { return under_way.call; }

CallLimit::CallLimit(double seconds) : outermost_(limit.depth++ == 0) {
  if (!outermost_) return;
  limit.armed = seconds > 0 || limit.end.cancelled;
  limit.passed = false;
  limit.seconds = seconds;
  limit.end.deadline = kNever;
  // Longer than a year is as good as none, and stays clear of the clock's range.
  constexpr double kLongest = 365.0 * 24 * 3600;
  if (seconds > 0)
    limit.end.deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(seconds < kLongest ? seconds : kLongest));
}

CallLimit::~CallLimit() {
  --limit.depth;
  if (outermost_) limit.armed = false;
}

Cancellable::Cancellable(const std::atomic<bool>& cancelled) noexcept { limit.end.cancelled = &cancelled; }

Cancellable::~Cancellable() { limit.end.cancelled = nullptr; }

bool can_be_cancelled() noexcept { return limit.armed && limit.end.cancelled; }

void check_call_limit() {
  if (!limit.armed) return;
  if (limit.passed || (++limit.calls % 32 == 0 && call_limit_passed())) raise_passed();
}

void check_call_limit_now() {
  if (call_limit_passed()) raise_passed();
}

bool call_limit_passed() noexcept {
  if (!limit.armed) return false;
  // Once passed it stays so: the walk that it ends may catch the first failure and go on.
  if (!limit.passed) limit.passed = limit.end.has_come();
  return limit.passed;
}

std::optional<std::chrono::milliseconds> call_time_left() noexcept {
  if (!limit.armed) return std::nullopt;
  if (call_limit_passed()) return std::chrono::milliseconds(0);
  if (limit.end.deadline == kNever) return std::nullopt;
  return std::chrono::ceil<std::chrono::milliseconds>(limit.end.deadline - Clock::now());
}

bool CallEnd::is_cancelled() const noexcept { return cancelled && cancelled->load(std::memory_order_relaxed); }

bool CallEnd::has_come() const noexcept { return is_cancelled() || Clock::now() >= deadline; }

std::optional<CallEnd> call_end() noexcept { return limit.armed ? std::optional(limit.end) : std::nullopt; }

}  // namespace mercato::store
