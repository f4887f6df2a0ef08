// SPDX-License-Identifier: Apache-2.0
// What this thread has used of the processor: what a bound on the work is held against, however busy the machine is.
#pragma once

#include <chrono>
#include <ctime>

namespace mercato::test {

inline std::chrono::nanoseconds processor_time() {
  timespec used = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

}  // namespace mercato::test
