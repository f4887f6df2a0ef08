// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/number_format.h"

#include <gtest/gtest.h>

#include <limits>

namespace mercato::spreadsheet {
namespace {

struct Shown {
  const char* code;
  double number;
  const char* text;
};

void expect_shown(std::initializer_list<Shown> table, DateSystem dates = DateSystem::from_1900) {
  for (const Shown& row : table)
    EXPECT_EQ(NumberFormat(row.code).text_of(row.number, dates), row.text) << row.code << " of " << row.number;
}

TEST(NumberFormat, GeneralShowsElevenCharactersAndTurnsScientificBeyond) {
  const struct {
    double number;
    const char* text;
  } table[] = {
      {0, "0"},
      {-0.0, "0"},
      {5, "5"},
      {-5, "-5"},
      {1234.5, "1234.5"},
      {0.1, "0.1"},
      {0.1 + 0.2, "0.3"},
      {-2.5, "-2.5"},
      {10101500, "10101500"},
      {9110150100, "9110150100"},
      {99999999999, "99999999999"},
      {100000000000, "1E+11"},
      {123456789012, "1.23457E+11"},
      {-123456789012, "-1.23457E+11"},
      {1234567.891234, "1234567.891"},
      {12345678901.5, "12345678902"},
      {0.123456789012, "0.123456789"},
      {0.00012345678, "0.000123457"},
      {0.0001, "0.0001"},
      {0.00001, "0.00001"},
      {0.0000123456, "1.23456E-05"},
      {9.999999e20, "1E+21"},
      {1e300, "1E+300"},
      {1.5e-300, "1.5E-300"},
      {2.0 / 3, "0.666666667"},
  };
  for (const auto& row : table) {
    EXPECT_EQ(general_text(row.number), row.text);
    EXPECT_EQ(NumberFormat().text_of(row.number, DateSystem::from_1900), row.text);
    EXPECT_EQ(NumberFormat("general").text_of(row.number, DateSystem::from_1900), row.text);
  }
}

TEST(NumberFormat, PlaceholdersOfDigits) {
  expect_shown({
      {"00000000", 101500, "00101500"},
      {"00000000", 10101500, "10101500"},
      {"00000000", 123456789, "123456789"},
      {"0000000000", 9110150100, "9110150100"},
      {"0", 0.4, "0"},
      {"0", -0.4, "0"},
      {"0", 0.5, "1"},
      {"0", 2.5, "3"},
      {"0", -2.5, "-3"},
      {"0.00", 2.675, "2.68"},
      {"0.00", 1e15, "1000000000000000.00"},
      {"0.00", 99.995, "100.00"},
      {"0.0#", 1.5, "1.5"},
      {"0.0#", 1.25, "1.25"},
      {"0.##", 1, "1."},
      {"#.##", 0.25, ".25"},
      {"#", 0, ""},
      {"#", 7, "7"},
      {".00", 12.5, "12.50"},
      {"?0.0?", 1.5, " 1.5 "},
      {"000-0000", 5551234, "555-1234"},
      {"000\\.00\\.00", 1234567, "123.45.67"},
      {"00\" \"00\" \"00\" \"00", 10101501, "10 10 15 01"},
      {"##\" x \"##", 1, " x 1"},
  });
}

TEST(NumberFormat, ThousandsScalesAndPercent) {
  expect_shown({
      {"#,##0", 0, "0"},
      {"#,##0", 999, "999"},
      {"#,##0", 1234567, "1,234,567"},
      {"#,##0", -1234, "-1,234"},
      {"#,##0.00", 1234.5, "1,234.50"},
      {"000,000", 12, "000,012"},
      {"0,", 12345, "12"},
      {"0.0,,", 12345678, "12.3"},
      {"0%", 0.285, "29%"},
      {"0.0%", 0.1875, "18.8%"},
      {"%0", 0.5, "%50"},
      {"0.00%", 0, "0.00%"},
  });
}

TEST(NumberFormat, LiteralTextStandsAsItIs) {
  expect_shown({
      {"\"No. \"0000", 42, "No. 0042"},
      {"0\" kg\"", 5, "5 kg"},
      {"0 \\k\\g", 5, "5 kg"},
      {"$0.00", 5, "$5.00"},
      {"[$€-407] 0.00", 5, "€ 5.00"},
      {"0.00 [$EUR]", 5, "5.00 EUR"},
      {"[Red]0", 5, "5"},
      {"[Color12]0", 5, "5"},
      {"_(0_)", 5, " 5 "},
      {"* 0", 5, "5"},
      {"\\é0", 5, "é5"},
      {"(0)", 5, "(5)"},
      {"\"only\"", 5, "only"},
      {"\"open", 5, "open"},
      {"0\\", 5, "5"},
      {"[", 5, ""},
  });
}

TEST(NumberFormat, SectionsForSignZeroAndText) {
  expect_shown({
      {"0;(0)", 5, "5"},
      {"0;(0)", -5, "(5)"},
      {"0;(0)", 0, "0"},
      {"0;-0;\"none\"", 0, "none"},
      {"0.00_);[Red](0.00)", -1.5, "(1.50)"},
      {";;;", 5, ""},
      {";;;@", -5, ""},
      {"[<100]\"few\";[>=1000]\"many\";0", 50, "few"},
      {"[<100]\"few\";[>=1000]\"many\";0", 5000, "many"},
      {"[<100]\"few\";[>=1000]\"many\";0", 500, "500"},
      {"[<0](0);0", -5, "(5)"},
      {"[=1]\"one\";[<>1]0", 1, "one"},
      {"[=1]\"one\"", 2, "########"},
      {"@", 10101501, "10101501"},
      {"0;-0;0;@", 7, "7"},
  });
  EXPECT_EQ(NumberFormat("0;-0;0;@\" pcs\"").text_of("ten"), "ten pcs");
  EXPECT_EQ(NumberFormat("@").text_of("00123"), "00123");
  EXPECT_EQ(NumberFormat("\"<\"@\">\"").text_of("x"), "<x>");
  EXPECT_EQ(NumberFormat("0.00").text_of("x"), "x");
  EXPECT_EQ(NumberFormat(";;;").text_of("x"), "");
  EXPECT_EQ(NumberFormat().text_of("x"), "x");
}

TEST(NumberFormat, ScientificNotation) {
  expect_shown({
      {"0.00E+00", 0.00012345, "1.23E-04"},
      {"0.00E+00", 12345, "1.23E+04"},
      {"0.00E+00", 9.999e9, "1.00E+10"},
      {"0.00E+00", 0, "0.00E+00"},
      {"0E-0", 1500, "2E3"},
      {"0E-0", 0.0015, "2E-3"},
      {"##0.0E+0", 12345, "12.3E+3"},
      {"##0.0E+0", 999950, "1.0E+6"},
      {"0.0E+000", -5, "-5.0E+000"},
  });
}

TEST(NumberFormat, DatesOfTheFirstSystem) {
  expect_shown({
      {"yyyy-mm-dd", 46204, "2026-07-01"},
      {"yyyy\\-mm\\-dd", 46204, "2026-07-01"},
      {"m/d/yyyy", 46204, "7/1/2026"},
      {"dd.mm.yy", 46204, "01.07.26"},
      {"dddd, mmmm d, yyyy", 46204, "Wednesday, July 1, 2026"},
      {"ddd mmm", 46204, "Wed Jul"},
      {"mmmmm", 46204, "J"},
      {"YYYY/MM/DD", 46204, "2026/07/01"},
      {"[$-409]d-mmm-yy;@", 46204, "1-Jul-26"},
      {"yyyy-mm-dd", 1, "1900-01-01"},
      {"yyyy-mm-dd", 59, "1900-02-28"},
      {"yyyy-mm-dd", 60, "1900-02-29"},  // never was, but is counted
      {"yyyy-mm-dd", 61, "1900-03-01"},
      {"m/d/yyyy", 0, "1/0/1900"},
      {"yyyy-mm-dd", 2958465, "9999-12-31"},
      {"yyyy-mm-dd", 2958466, "########"},
      {"yyyy-mm-dd", -1, "########"},
      {"yyyy-mm-dd", 1e300, "########"},
  });
}

TEST(NumberFormat, DatesOfTheSecondSystemBeginFourYearsLater) {
  expect_shown({{"yyyy-mm-dd", 0, "1904-01-01"}, {"yyyy-mm-dd", 44742, "2026-07-01"}, {"dddd", 0, "Friday"}},
               DateSystem::from_1904);
}

TEST(NumberFormat, Times) {
  expect_shown({
      {"h:mm", 0.5, "12:00"},
      {"hh:mm:ss", 0.25 + 9.0 / 86400, "06:00:09"},
      {"h:mm AM/PM", 0, "12:00 AM"},
      {"h:mm AM/PM", 0.75, "6:00 PM"},
      {"h:mm a/p", 0.5, "12:00 P"},
      {"mm:ss", 75.0 / 86400, "01:15"},
      {"mm:ss.0", 75.25 / 86400, "01:15.3"},
      {"ss.000", 1.5 / 86400, "01.500"},
      {"[h]:mm", 1.5, "36:00"},
      {"[hh]:mm:ss", 1.0 / 24, "01:00:00"},
      {"[mm]:ss", 1.0 / 12, "120:00"},
      {"[s]", 1, "86400"},
      {"yyyy-mm-dd hh:mm", 46204.75, "2026-07-01 18:00"},
      {"m/d h:m", 46204.5 + 1.0 / 1440, "7/1 12:1"},
      {"hh:mm:ss", 0.999999999, "00:00:00"},  // rounded up into the next day, no field shows 60
  });
}

TEST(NumberFormat, NumbersOfBuiltInFormats) {
  const struct {
    int id;
    double number;
    const char* text;
  } table[] = {
      {0, 1.5, "1.5"},
      {1, 1.5, "2"},
      {2, 1.5, "1.50"},
      {3, 1234, "1,234"},
      {4, 1234, "1,234.00"},
      {9, 0.5, "50%"},
      {10, 0.5, "50.00%"},
      {11, 1500, "1.50E+03"},
      {12, 1.5, "1.5"},
      {14, 46204, "7/1/2026"},
      {15, 46204, "1-Jul-26"},
      {16, 46204, "1-Jul"},
      {17, 46204, "Jul-26"},
      {20, 0.5, "12:00"},
      {22, 46204.5, "7/1/2026 12:00"},
      {37, -1234, "(1,234)"},
      {44, 0, " $-   "},
      {45, 75.0 / 86400, "01:15"},
      {46, 1.5, "36:00:00"},
      {48, 12345, "12.3E+3"},
      {49, 5, "5"},
      {63, 5, "5"},
      {-1, 5, "5"},
  };
  for (const auto& row : table)
    EXPECT_EQ(NumberFormat::built_in(row.id).text_of(row.number, DateSystem::from_1900), row.text) << row.id;
}

TEST(NumberFormat, WhatNoProgramWritesIsReadWithoutHarm) {
  EXPECT_EQ(NumberFormat(std::string(NumberFormat::kLongest + 1, '0')).text_of(5, DateSystem::from_1900), "5");
  EXPECT_EQ(NumberFormat(std::string(NumberFormat::kLongest, '0')).text_of(5, DateSystem::from_1900).size(),
            NumberFormat::kLongest);
  EXPECT_EQ(NumberFormat("0").text_of(std::numeric_limits<double>::infinity(), DateSystem::from_1900), "#NUM!");
  EXPECT_EQ(NumberFormat("0").text_of(std::numeric_limits<double>::quiet_NaN(), DateSystem::from_1900), "#NUM!");
  for (const char* code : {"",
                           ";",
                           ";;;;;;",
                           "[]",
                           "[h",
                           "_",
                           "*",
                           "\\",
                           "!",
                           "E+",
                           "0E+",
                           "....",
                           ",,,",
                           "%%%%%%%%%%",
                           "\xFF\xFE",
                           "0.0.0",
                           "#?#?/",
                           "@@@@",
                           "[<",
                           "[<x]0",
                           "[>=1e999]0;0",
                           "yyyyyyyyyyyyyyyy"})
    for (const double number : {0.0, 1.0, -1.5, 1e308, -1e-308, 46204.75}) {
      const NumberFormat format(code);
      EXPECT_LE(format.text_of(number, DateSystem::from_1900).size(), 2000u) << code;
      EXPECT_LE(format.text_of("x").size(), 2000u) << code;
    }
}

}  // namespace
}  // namespace mercato::spreadsheet
