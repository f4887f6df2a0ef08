// SPDX-License-Identifier: Apache-2.0
#include "frame/util.h"

#include <gtest/gtest.h>

namespace mercato {
namespace {

TEST(IsValidUsDate, TakesTheDatesOfTheLocale) {
  for (const char* date : {"7/1/2026", "12/31/1999", "July 1, 2026", "2026-07-01", "7/1/2026 8:30 AM", "13/1/2026"})
    EXPECT_TRUE(IsValidUSDate(date)) << date;
  for (const char* text : {"", "today", "2/30/2026", "13/13/2026", "7/1/2026'"})
    EXPECT_FALSE(IsValidUSDate(text)) << text;
}

TEST(IsValidDate, AsksInTheGivenLocale) {
  std::int32_t german = 1031;
  EXPECT_TRUE(IsValidDate("31.12.2026", german));
  EXPECT_FALSE(IsValidDate("31.13.2026", german));
  EXPECT_EQ(german, 1031);
}

TEST(DateFunctions, ExistOnceForEachThread) { EXPECT_EQ(&GetDataFunctions(), &GetDataFunctions()); }

TEST(DateFunctions, GiveNullForWhatIsNoDate) {
  EXPECT_EQ(GetDataFunctions().ParseDate("7/1/2026", 1033), Variant(Date::from_civil({2026, 7, 1})));
  EXPECT_EQ(GetDataFunctions().ParseDate("1/7/2026", 1031), Variant(Date::from_civil({2026, 7, 1})));
  EXPECT_TRUE(GetDataFunctions().ParseDate("x", 1033).is_null());
}

TEST(SqlLiterals, AreComplete) {
  EXPECT_EQ(GetSqlLiterals().TextToSql("O'Neil"), "'O''Neil'");
  EXPECT_EQ(GetSqlLiterals().NameToSql("O'Neil"), "'O''Neil'");
  EXPECT_EQ(GetSqlLiterals().DateTimeToSql(Date::from_civil({2026, 7, 1, 8, 30, 0})), "'2026-07-01T08:30:00'");
}

}  // namespace
}  // namespace mercato
