// SPDX-License-Identifier: Apache-2.0
// Rounds of random trials: a few seconds of them, the same ones each time, or as many seconds of new ones as
// MERCATO_TEST_SECONDS says (length_of_run.h).
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "tests/support/length_of_run.h"

namespace mercato::test {

class RandomRounds {
 public:
  explicit RandomRounds(int seconds) {
    random_.seed(seed_of_run(20261122));
    end_ = std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(length_of_run(seconds));
  }
  // Whether there is another round; always a first one, and none after a failure.
  bool next() {
    if (round_ > 0 && (testing::Test::HasFailure() || std::chrono::steady_clock::now() >= end_)) return false;
    ++round_;
    return true;
  }
  int round() const { return round_; }
  // From 0 to below `limit`.
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

 private:
  std::mt19937 random_;
  std::chrono::steady_clock::time_point end_;
  int round_ = 0;
};

}  // namespace mercato::test
