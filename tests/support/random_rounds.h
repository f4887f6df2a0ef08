// SPDX-License-Identifier: Apache-2.0
// Rounds of random trials: a few seconds of them, or as many seconds as MERCATO_TEST_SECONDS says. The seed is printed,
// and MERCATO_TEST_SEED repeats a run.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace mercato::test {

class RandomRounds {
 public:
  explicit RandomRounds(int seconds) {
    const char* given = std::getenv("MERCATO_TEST_SEED");
    const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    if (const char* longer = std::getenv("MERCATO_TEST_SECONDS")) seconds = std::atoi(longer);
    std::cout << "[   seed   ] MERCATO_TEST_SEED=" << seed << std::endl;
    random_.seed(seed);
    end_ = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
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
