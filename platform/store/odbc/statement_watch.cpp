// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/statement_watch.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace mercato::store::odbc {

StatementWatch::StatementWatch(std::function<void()> cancel) : cancel_(std::move(cancel)) {}

StatementWatch::~StatementWatch() {
  if (!thread_.joinable()) return;
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void StatementWatch::begin_statement() {
  const std::scoped_lock lock(mutex_);
  cancelled_ = false;
}

void StatementWatch::begin_waiting() {
  const std::optional<CallEnd> end = call_end();
  if (!end) return;
  if (!thread_.joinable()) thread_ = std::thread(&StatementWatch::watch, this);
  bool is_asleep = false;
  {
    const std::scoped_lock lock(mutex_);
    end_ = end;
    is_asleep = !std::exchange(began_, true);
  }
  if (is_asleep) changed_.notify_one();
}

void StatementWatch::end_waiting() noexcept {
  const std::scoped_lock lock(mutex_);
  end_.reset();
}

bool StatementWatch::has_cancelled() const {
  const std::scoped_lock lock(mutex_);
  return cancelled_;
}

// Looks every so often while there is anything to look at, so that a short statement wakes nobody.
void StatementWatch::watch() {
  constexpr std::chrono::milliseconds kGlance{50};
  std::unique_lock lock(mutex_);
  while (!stopped_) {
    auto next = std::chrono::steady_clock::now() + kGlance;
    if (end_ && end_->has_come()) {
      cancelled_ = true;
      cancel_();
    } else if (end_) {
      next = std::min(next, end_->deadline);
    }
    const auto is_stopped = [this] { return stopped_; };
    if (end_ || std::exchange(began_, false))
      changed_.wait_until(lock, next, is_stopped);
    else
      changed_.wait(lock, [this] { return stopped_ || began_; });
  }
}

}  // namespace mercato::store::odbc
