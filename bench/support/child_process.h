// SPDX-License-Identifier: Apache-2.0
// Runs one measurement in a process of its own, so that its peak of memory is known and nothing of it disturbs the next
// one.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <type_traits>

#include "mercato/raised_error.h"

namespace mercato::bench {

// Runs `work` in a child and hands its result back. The parent may have no threads and no open store. Throws
// std::runtime_error when the child fails; what it said stands on stderr.
template <class Work>
auto in_child_process(Work work) {
  using Result = std::invoke_result_t<Work>;
  static_assert(std::is_trivially_copyable_v<Result>, "the result travels through a pipe");
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) {
    int status = EXIT_FAILURE;
    try {
      const Result result = work();
      if (::write(ends[1], &result, sizeof result) == sizeof result) status = EXIT_SUCCESS;
    } catch (const Raised& failure) {
      std::fprintf(stderr, "%s: %s\n", failure.error().Source.c_str(), failure.error().Description.c_str());
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "%s\n", failure.what());
    }
    std::fflush(nullptr);
    ::_exit(status);
  }
  ::close(ends[1]);
  Result result;
  const bool complete = ::read(ends[0], &result, sizeof result) == static_cast<ssize_t>(sizeof result);
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!complete || status != 0) throw std::runtime_error("a measurement failed");
  return result;
}

}  // namespace mercato::bench
