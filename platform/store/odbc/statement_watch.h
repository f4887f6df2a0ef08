// SPDX-License-Identifier: Apache-2.0
// Ends what a connection waits for when the call that waits has come to its end: the waiting thread is inside of a
// driver, which knows whole seconds at best, and nobody who ends a call. One thread waits; the watch has one of its own,
// which begins with the first call that may end.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/store/call_end.h"

namespace mercato::store::odbc {

class StatementWatch {
 public:
  // `cancel` is called by the watch's thread, again and again until the waiting ends: a server may not have begun what
  // it is to end.
  explicit StatementWatch(std::function<void()> cancel);
  ~StatementWatch();
  StatementWatch(const StatementWatch&) = delete;
  StatementWatch& operator=(const StatementWatch&) = delete;

  // Behind `end_waiting`, `cancel` is not under way.
  void begin_waiting();
  void end_waiting() noexcept;
  // Whether `cancel` was called since the last `begin_statement`.
  bool has_cancelled() const;
  void begin_statement();

 private:
  void watch();

  std::function<void()> cancel_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<CallEnd> end_;  // of the call that waits, while it does
  bool began_ = false;          // something was waited for since the watch last looked
  bool cancelled_ = false;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace mercato::store::odbc
