// SPDX-License-Identifier: Apache-2.0
#include "mercato/date.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/values/conversions.h"

namespace mercato {
namespace {

using test::outcome_of;

constexpr std::int32_t kGerman = 1031;
constexpr std::int32_t kBritish = 2057;

std::string read(const std::string& text, std::int32_t locale = Date::kUsLocale) {
  const auto date = Date::parse(text, locale);
  return date ? date->iso_text() : "no date";
}

TEST(DateParsing, ReadsTheUsForms) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"7/1/2026", "2026-07-01T00:00:00"},
      {"07/01/2026", "2026-07-01T00:00:00"},
      {" 7/1/2026 ", "2026-07-01T00:00:00"},
      {"7-1-2026", "2026-07-01T00:00:00"},
      {"7.1.2026", "2026-07-01T00:00:00"},
      {"7/1/26", "2026-07-01T00:00:00"},
      {"7/1/29", "2029-07-01T00:00:00"},
      {"7/1/30", "1930-07-01T00:00:00"},
      {"2026-07-01", "2026-07-01T00:00:00"},
      {"2026/7/1", "2026-07-01T00:00:00"},
      {"2026-07-01T08:30:00", "2026-07-01T08:30:00"},
      {"2026-07-01 08:30:00", "2026-07-01T08:30:00"},
      {"2026-07-01 08:30:00.250", "2026-07-01T08:30:00"},
      // The longest ones.
      {"jULY / 1 , 2026 , t 8 : 30 : 15 . 250 pM", "2026-07-01T20:30:15"},
      // A month above 12 changes places with the day.
      {"13/1/2026", "2026-01-13T00:00:00"},
      {"31/12/2026", "2026-12-31T00:00:00"},
      {"July 1, 2026", "2026-07-01T00:00:00"},
      {"july 1 2026", "2026-07-01T00:00:00"},
      {"Jul 1 2026", "2026-07-01T00:00:00"},
      {"1 July 2026", "2026-07-01T00:00:00"},
      {"1-Jul-2026", "2026-07-01T00:00:00"},
      {"2026 July 1", "2026-07-01T00:00:00"},
      {"Sept 9, 2026", "2026-09-09T00:00:00"},
      {"7/1/2026 8:30", "2026-07-01T08:30:00"},
      {"7/1/2026 8:30 PM", "2026-07-01T20:30:00"},
      {"7/1/2026 8:30:15 pm", "2026-07-01T20:30:15"},
      {"7/1/2026 12:00 AM", "2026-07-01T00:00:00"},
      {"7/1/2026 12:00 PM", "2026-07-01T12:00:00"},
      {"7/1/2026 8 PM", "2026-07-01T20:00:00"},
      {"8:30", "1899-12-30T08:30:00"},
      {"8 AM", "1899-12-30T08:00:00"},
      {"23:59:59", "1899-12-30T23:59:59"},
      {"2/29/2024", "2024-02-29T00:00:00"},
      {"2/29/2000", "2000-02-29T00:00:00"},
      {"12/31/9999", "9999-12-31T00:00:00"},
      {"1/1/0100", "0100-01-01T00:00:00"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(read(text), expected) << "'" << text << "'";
}

TEST(DateParsing, RefusesWhatIsNoDate) {
  for (const char* text : {"",
                           " ",
                           "today",
                           "7",
                           "7/1",
                           "13/13/2026",
                           "2/30/2026",
                           "2/29/2026",
                           "2/29/1900",
                           "0/1/2026",
                           "1/0/2026",
                           "7/1/0099",
                           "7/1/12026",
                           "2026-13-01",
                           "2026-00-10",
                           "7//1/2026",
                           "/7/1/2026",
                           "7/1/2026/",
                           "-7/1/2026",
                           "7/1/2026 25:00",
                           "7/1/2026 8:60",
                           "7/1/2026 8:30:60",
                           "7/1/2026 13:00 PM",
                           "7/1/2026 0:30 AM",
                           "8:",
                           "8:30:",
                           "8:30:15:20",
                           ":30",
                           "24:00",
                           "Juli 1 2026",
                           "Ju 1 2026",
                           "July July 2026",
                           "July 32 2026",
                           "July 257 2026",
                           "257/1/2026",
                           "2026-257-01",
                           "7/1/2026 x",
                           "x7/1/2026",
                           "7/1/2026'",
                           "7/1/2026 8:30:15.250.250.250.250",
                           "7 / 1 / 2026 , T 8 : 30 : 15 . 250 PM , , , , ,",
                           "7/1/2026;",
                           "\xD9\xA7/1/2026"})
    EXPECT_EQ(read(text), "no date") << "'" << text << "'";
  EXPECT_EQ(read(std::string("7/1/2026\0", 9)), "no date");
}

TEST(DateParsing, TakesTheDayFirstElsewhere) {
  for (const std::int32_t locale : {kGerman, kBritish}) {
    EXPECT_EQ(read("1/7/2026", locale), "2026-07-01T00:00:00");
    EXPECT_EQ(read("01.07.2026", locale), "2026-07-01T00:00:00");
    EXPECT_EQ(read("7/13/2026", locale), "2026-07-13T00:00:00");
    EXPECT_EQ(read("2026-07-01", locale), "2026-07-01T00:00:00");
    EXPECT_EQ(read("13/13/2026", locale), "no date");
  }
}

TEST(DateText, FollowsTheUsLocale) {
  const std::vector<std::pair<CivilTime, std::string>> cases = {
      {{2026, 7, 1, 0, 0, 0}, "7/1/2026"},
      {{2026, 7, 1, 8, 30, 0}, "7/1/2026 8:30:00 AM"},
      {{2026, 12, 31, 23, 59, 59}, "12/31/2026 11:59:59 PM"},
      {{2026, 7, 1, 12, 0, 0}, "7/1/2026 12:00:00 PM"},
      {{2026, 7, 1, 0, 0, 1}, "7/1/2026 12:00:01 AM"},
      {{1899, 12, 30, 8, 5, 9}, "8:05:09 AM"},
      {{1899, 12, 30, 0, 0, 0}, "12:00:00 AM"},
      {{1899, 12, 29, 6, 0, 0}, "12/29/1899 6:00:00 AM"},
      {{100, 1, 1, 0, 0, 0}, "1/1/100"},
  };
  for (const auto& [civil, expected] : cases) EXPECT_EQ(Date::from_civil(civil).text(), expected);
}

TEST(DateText, OfTheIsoFormHasFixedWidth) {
  EXPECT_EQ(Date::from_civil({2026, 7, 1, 8, 5, 9}).iso_text(), "2026-07-01T08:05:09");
  EXPECT_EQ(Date::from_civil({100, 1, 1, 0, 0, 0}).iso_text(), "0100-01-01T00:00:00");
}

TEST(DateDays, CountFromTheZeroDate) {
  EXPECT_EQ(Date().iso_text(), "1899-12-30T00:00:00");
  EXPECT_EQ(Date::from_civil({1900, 1, 1}).days(), 2);
  EXPECT_EQ(Date::from_civil({1970, 1, 1}).days(), 25569);
  EXPECT_EQ(Date::from_civil({2026, 7, 1, 12, 0, 0}).days(), 46204.5);
  // Before the zero date the time of day still counts forward, away from zero.
  EXPECT_EQ(Date::from_civil({1899, 12, 29, 6, 0, 0}).days(), -1.25);
  EXPECT_EQ(Date(-1.25).iso_text(), "1899-12-29T06:00:00");
  EXPECT_EQ(Date::from_unix_seconds(0).days(), 25569);
  EXPECT_EQ(Date::from_unix_seconds(1782894600).iso_text(), "2026-07-01T08:30:00");
  EXPECT_EQ(Date::from_unix_seconds(-1).iso_text(), "1969-12-31T23:59:59");
}

TEST(DateDays, OfPartsThatNameNoMomentRaise5) {
  for (const CivilTime& civil :
       {CivilTime{2026, 2, 29}, CivilTime{2026, 13, 1}, CivilTime{2026, 0, 1}, CivilTime{2026, 1, 0},
        CivilTime{2026, 257, 1}, CivilTime{2026, 1, 257}, CivilTime{99, 1, 1}, CivilTime{10000, 1, 1},
        CivilTime{2026, 1, 1, 24, 0, 0}, CivilTime{2026, 1, 1, 0, 60, 0}, CivilTime{2026, 1, 1, 0, 0, 60},
        CivilTime{2026, 1, 1, -1, 0, 0}})
    EXPECT_EQ(outcome_of([&] { return Date::from_civil(civil).iso_text(); }), "raises 5");
}

// The numbers of days were compared: of two times on a day before the zero date the later one came first.
TEST(DateOrder, IsThatOfTheCalendarOnBothSidesOfTheZeroDate) {
  const std::vector<std::string> in_order = {
      "1/1/100 12:00:00 AM",   "1/1/100 12:00:01 AM",    "12/28/1899 11:59:59 PM", "12/29/1899 12:00:00 AM",
      "12/29/1899 6:00:00 AM", "12/29/1899 6:00:00 PM",  "12/29/1899 11:59:59 PM", "12/30/1899 12:00:00 AM",
      "12/30/1899 6:00:00 AM", "12/30/1899 11:59:59 PM", "12/31/1899 12:00:00 AM", "7/1/2026 8:30:00 AM",
      "7/1/2026 8:30:01 AM",   "12/31/9999 11:59:59 PM"};
  for (std::size_t left = 0; left < in_order.size(); ++left) {
    for (std::size_t right = 0; right < in_order.size(); ++right) {
      SCOPED_TRACE(in_order[left] + " and " + in_order[right]);
      const Date one = Date::parse(in_order[left]).value();
      const Date other = Date::parse(in_order[right]).value();
      EXPECT_EQ(one < other, left < right);
      EXPECT_EQ(one <= other, left <= right);
      EXPECT_EQ(one > other, left > right);
      EXPECT_EQ(one == other, left == right);
    }
  }
}

TEST(DateOrder, TakesBothNumbersOfATimeOnTheZeroDateForOne) {
  EXPECT_EQ(Date(-0.25), Date(0.25));
  EXPECT_FALSE(Date(-0.25) < Date(0.25));
  EXPECT_LT(Date(-0.25), Date(0.5));
}

TEST(DateRoundTrip, KeepsEverySecond) {
  std::mt19937 random(20260701);
  std::uniform_int_distribution<int> year(100, 9999), month(1, 12), day(1, 28), hour(0, 23), minute(0, 59);
  for (int count = 0; count < 2000; ++count) {
    const CivilTime civil{year(random), month(random), day(random), hour(random), minute(random), minute(random)};
    const Date date = Date::from_civil(civil);
    EXPECT_EQ(date.civil(), civil) << date.iso_text();
    EXPECT_EQ(read(date.iso_text()), date.iso_text());
    EXPECT_EQ(Date::parse(date.text())->civil(), civil) << date.text();
  }
}

}  // namespace
}  // namespace mercato
