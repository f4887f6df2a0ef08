// SPDX-License-Identifier: Apache-2.0
// Threads that call the library, and the bounded queue before them. A task runs on one thread from begin to end, since
// objects, contexts and transactions belong to a thread. `add` from any thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace mercato::host {

class Workers {
 public:
  Workers(std::size_t threads, std::size_t most_waiting);
  ~Workers() { finish(); }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  // False when so many wait already that the task is not taken. A task throws nothing.
  bool add(std::function<void()> task);
  // Finishes what was taken and takes nothing more.
  void finish();

 private:
  void work();

  const std::size_t most_waiting_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> waiting_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace mercato::host
