// SPDX-License-Identifier: Apache-2.0
// Work in a process of its own, and its death: what is left in the store when somebody pulls the plug.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

#include "frame/lib_sql.h"
#include "platform/store/session_pool.h"
#include "platform/store/statement_observer.h"

namespace mercato::test {

inline constexpr int kFailedChild = 99;

// Runs the work in a process that begins without any open store, and perhaps kills it after a while; its wait status.
template <class Work>
int in_another_process(Work work, std::chrono::milliseconds kill_after = std::chrono::milliseconds(0)) {
  forget_thread_state();
  store::close_idle_sessions();
  const pid_t child = ::fork();
  if (child == 0) {
    // Nothing leaves this process by another way: the test program would go on in it.
    try {
      work();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "in the other process: %s\n", failure.what());
      ::_exit(kFailedChild);
    }
    ::_exit(0);
  }
  EXPECT_GT(child, 0);
  if (kill_after.count() > 0) {
    std::this_thread::sleep_for(kill_after);
    ::kill(child, SIGKILL);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == kFailedChild);
  return status;
}

// Kills the process before the statement with that number, counted from 1.
class DeathAtAStatement : public store::StatementObserver {
 public:
  explicit DeathAtAStatement(unsigned statement) : left_(statement) {}
  void on_statement(std::string_view, bool) override {
    if (--left_ == 0) ::kill(::getpid(), SIGKILL);
  }

 private:
  unsigned left_;
};

}  // namespace mercato::test
