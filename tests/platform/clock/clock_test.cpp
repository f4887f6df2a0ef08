// SPDX-License-Identifier: Apache-2.0
#include "mercato/clock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <set>
#include <thread>
#include <vector>

namespace mercato::clock {
namespace {

class ScriptedClock : public testing::Test {
 protected:
  ~ScriptedClock() override { restore_clock(); }

  static Date moment(int hour, int minute, int second) { return Date::from_civil({2026, 7, 1, hour, minute, second}); }
};

TEST_F(ScriptedClock, EachReadingOfEitherKindMovesTheTimeOn) {
  script_clock(moment(8, 30, 0), 10);
  EXPECT_EQ(now().iso_text(), "2026-07-01T08:30:00");
  EXPECT_EQ(seconds_of_day(), 8 * 3600 + 30 * 60 + 10);
  EXPECT_EQ(now().iso_text(), "2026-07-01T08:30:20");
}

TEST_F(ScriptedClock, AStepOfZeroStandsStill) {
  script_clock(moment(23, 59, 59), 0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(seconds_of_day(), 86399);
}

TEST_F(ScriptedClock, TheTimeOfDayWrapsAtMidnight) {
  script_clock(moment(23, 59, 58), 1);
  EXPECT_EQ(seconds_of_day(), 86398);
  EXPECT_EQ(seconds_of_day(), 86399);
  EXPECT_EQ(seconds_of_day(), 0);
  EXPECT_EQ(now().iso_text(), "2026-07-02T00:00:01");
}

TEST_F(ScriptedClock, FractionsOfAStepAddUpAndAreCutOff) {
  script_clock(moment(0, 0, 0), 0.1);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(seconds_of_day(), i / 10) << i;
}

TEST_F(ScriptedClock, TheStepMayGoBack) {
  script_clock(moment(0, 0, 1), -1);
  EXPECT_EQ(seconds_of_day(), 1);
  EXPECT_EQ(seconds_of_day(), 0);
  EXPECT_EQ(seconds_of_day(), 86399);
}

TEST_F(ScriptedClock, ANewScriptReplacesTheOld) {
  script_clock(moment(1, 0, 0), 60);
  seconds_of_day();
  script_clock(moment(2, 0, 0), 1);
  EXPECT_EQ(seconds_of_day(), 7200);
  EXPECT_EQ(seconds_of_day(), 7201);
}

TEST_F(ScriptedClock, ThreadsShareTheScriptAndEachReadingIsItsOwn) {
  script_clock(moment(0, 0, 0), 1);
  std::vector<std::vector<std::int32_t>> readings(4);
  std::vector<std::thread> threads;
  for (auto& own : readings) {
    threads.emplace_back([&own] {
      for (int i = 0; i < 250; ++i) own.push_back(seconds_of_day());
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::int32_t> all;
  for (const auto& own : readings) all.insert(own.begin(), own.end());
  EXPECT_EQ(all.size(), 1000u);
  EXPECT_EQ(*all.rbegin(), 999);
}

TEST(HostClock, TheTimeLiesBetweenTwoReadingsOfTheHostAndHasNoFraction) {
  const auto host = [] {
    const std::time_t seconds = std::time(nullptr);
    std::tm local = {};
    localtime_r(&seconds, &local);
    return Date::from_civil(
        {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec});
  };
  restore_clock();
  const Date before = host();
  const Date read = now();
  const Date after = host();
  EXPECT_LE(before, read);
  EXPECT_LE(read, after);
  EXPECT_EQ(read, Date::from_civil(read.civil()));
}

TEST(HostClock, TheTimeOfDayIsThatOfTheDate) {
  restore_clock();
  const auto of_date = [] {
    const CivilTime time = now().civil();
    return (time.hour * 60 + time.minute) * 60 + time.second;
  };
  // Around midnight the first may be larger. The readings in between then agree with one of the two.
  const std::int32_t before = of_date();
  const std::int32_t read = seconds_of_day();
  const std::int32_t after = of_date();
  EXPECT_TRUE(before <= after ? before <= read && read <= after : read >= before || read <= after)
      << before << " " << read << " " << after;
}

TEST(HostClock, RestoringEndsTheScript) {
  script_clock(Date::from_civil({1999, 1, 1, 0, 0, 0}), 0);
  restore_clock();
  EXPECT_GT(now(), Date::from_civil({2024, 1, 1, 0, 0, 0}));
}

}  // namespace
}  // namespace mercato::clock
