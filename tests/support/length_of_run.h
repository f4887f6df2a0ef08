// SPDX-License-Identifier: Apache-2.0
// How long a test goes on that tries chance, and with which seed: short and the same each time, unless
// MERCATO_TEST_SECONDS asks for a long run, which tries something new.
#pragma once

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

namespace mercato::test {

inline std::chrono::duration<double> length_of_run(double usual_seconds) {
  const char* seconds = std::getenv("MERCATO_TEST_SECONDS");
  return std::chrono::duration<double>(seconds ? std::atof(seconds) : usual_seconds);
}

// Printed when it is a new one. MERCATO_TEST_SEED gives that one again.
inline unsigned seed_of_run(unsigned usual_seed) {
  if (const char* seed = std::getenv("MERCATO_TEST_SEED"))
    return static_cast<unsigned>(std::strtoul(seed, nullptr, 10));
  if (!std::getenv("MERCATO_TEST_SECONDS")) return usual_seed;
  const unsigned seed = std::random_device()();
  std::cout << "MERCATO_TEST_SEED=" << seed << std::endl;
  return seed;
}

}  // namespace mercato::test
