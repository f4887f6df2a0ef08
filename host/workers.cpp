// SPDX-License-Identifier: Apache-2.0
#include "host/workers.h"

#include <utility>

namespace mercato::host {

Workers::Workers(std::size_t threads, std::size_t most_waiting) : most_waiting_(most_waiting) {
  for (std::size_t number = 0; number < threads; ++number) threads_.emplace_back([this] { work(); });
}

void Workers::finish() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_)
    if (thread.joinable()) thread.join();
}

bool Workers::add(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    if (ending_ || waiting_.size() >= most_waiting_) return false;
    waiting_.push_back(std::move(task));
  }
  changed_.notify_one();
  return true;
}

void Workers::work() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
      if (waiting_.empty()) return;
      task = std::move(waiting_.front());
      waiting_.pop_front();
    }
    task();
  }
}

}  // namespace mercato::host
