// SPDX-License-Identifier: Apache-2.0
#include "platform/store/call_limit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::failure_of;

void outlast(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

TEST(CallLimit, WithoutOneNothingIsEverLate) {
  EXPECT_FALSE(call_limit_passed());
  EXPECT_NO_THROW(check_call_limit_now());
}

TEST(CallLimit, APassedDeadlineRaisesUntilTheCallEnds) {
  {
    const CallLimit limit(0.01);
    outlast(0.02);
    EXPECT_TRUE(call_limit_passed());
    for (int i = 0; i < 3; ++i)
      EXPECT_EQ(failure_of([] { check_call_limit(); }),
                (RaisedError{error_number::kTimeout,
                             "Mercato",
                             "Timeout expired: the call ran longer than its limit of 0.01 seconds",
                             {},
                             0}));
  }
  EXPECT_NO_THROW(check_call_limit_now());
}

TEST(CallLimit, TheCheapCheckFindsOutWithinThirtyTwoCalls) {
  const CallLimit limit(0.01);
  outlast(0.02);
  int calls = 0;
  const RaisedError failure = failure_of([&] {
    for (; calls < 1000; ++calls) check_call_limit();
  });
  EXPECT_EQ(failure.Number, error_number::kTimeout);
  EXPECT_LT(calls, 32);
}

TEST(CallLimit, ANestedCallKeepsTheOuterDeadline) {
  const CallLimit outer(0.01);
  const CallLimit inner(100);
  outlast(0.02);
  EXPECT_TRUE(call_limit_passed());
}

TEST(CallLimit, ANestedCallOfAnUnlimitedOneIsUnlimited) {
  const CallLimit outer(0);
  const CallLimit inner(0.01);
  outlast(0.02);
  EXPECT_FALSE(call_limit_passed());
}

TEST(CallLimit, AnotherThreadHasItsOwn) {
  const CallLimit limit(0.01);
  outlast(0.02);
  bool passed = true;
  std::thread([&] { passed = call_limit_passed(); }).join();
  EXPECT_FALSE(passed);
}

TEST(OutermostCall, EachHasANumberOfItsOwnThatTheCallsWithinItShare) {
  EXPECT_EQ(call_under_way(), 0U);
  std::uint64_t first = 0;
  {
    const OutermostCall outer;
    first = call_under_way();
    EXPECT_NE(first, 0U);
    {
      const CallLimit limit(0);
      const OutermostCall inner;
      EXPECT_EQ(call_under_way(), first);
    }
    EXPECT_EQ(call_under_way(), first);
    std::thread([&] {
      EXPECT_EQ(call_under_way(), 0U);
      const OutermostCall other;
      EXPECT_NE(call_under_way(), 0U);
      EXPECT_NE(call_under_way(), first);
    }).join();
  }
  EXPECT_EQ(call_under_way(), 0U);
  const CallLimit next(100);
  EXPECT_NE(call_under_way(), 0U);
  EXPECT_NE(call_under_way(), first);
}

}  // namespace
}  // namespace mercato::store
