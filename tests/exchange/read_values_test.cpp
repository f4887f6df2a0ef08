// SPDX-License-Identifier: Apache-2.0
#include "exchange/read_values.h"

#include <gtest/gtest.h>

#include <vector>

namespace mercato::exchange {
namespace {

using Dates = Notation::Dates;
constexpr Notation kUnknown{0, 0, Dates::unknown};
constexpr Notation kPoint{'.', 0, Dates::iso};
constexpr Notation kComma{',', '.', Dates::day_first};

// "12.5", "none" or "ambiguous".
std::string number(std::string_view text, const Notation& notation) {
  const ReadNumber read = read_number(text, notation);
  if (read.reading == Reading::good) return read.text;
  return read.reading == Reading::none ? "none" : "ambiguous";
}

TEST(NumbersOfSuppliers, AreReadAsTheFileWritesThemOrNotAtAll) {
  const struct {
    const char* text;
    const char* unknown;
    const char* point;
    const char* comma;
  } cases[] = {
      {"12", "12", "12", "12"},
      {"12.50", "12.5", "12.5", "none"},
      {"12,50", "12.5", "none", "12.5"},
      {"1,234", "ambiguous", "ambiguous", "1.234"},
      {"1.234", "ambiguous", "1.234", "1234"},
      {"0,125", "0.125", "none", "0.125"},
      {"1,234.50", "1234.5", "1234.5", "none"},
      {"1.234,50", "1234.5", "none", "1234.5"},
      {"1.234.567", "1234567", "none", "1234567"},
      {"1 234,50", "1234.5", "none", "1234.5"},
      {"1'234.50", "1234.5", "1234.5", "none"},
      {"12,34,567", "none", "none", "none"},
      {"1,23.4", "none", "none", "none"},
      {"-3.5", "-3.5", "-3.5", "none"},
      {"3.50-", "-3.5", "-3.5", "none"},
      {"-0", "0", "0", "0"},
      {"007", "7", "7", "7"},
      {".5", "0.5", "0.5", "none"},
      {"1e-3", "0.001", "0.001", "0.001"},
      {"2.5E2", "250", "250", "none"},
      {"", "none", "none", "none"},
      {"-", "none", "none", "none"},
      {"12 EUR", "none", "none", "none"},
      {"12..5", "none", "none", "none"},
      {"1e999", "none", "none", "none"},
      {"&H10", "none", "none", "none"},
      {"(5)", "none", "none", "none"},
      {"\xC2\xA0"
       "7\xC2\xA0",
       "7", "7", "7"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.text);
    EXPECT_EQ(number(one.text, kUnknown), one.unknown);
    EXPECT_EQ(number(one.text, kPoint), one.point);
    EXPECT_EQ(number(one.text, kComma), one.comma);
  }
}

TEST(NumbersOfSuppliers, KeepDecimalsBeyondThoseOfADouble) {
  EXPECT_EQ(number("0.00000000000000000001", kPoint), "0.00000000000000000001");
  EXPECT_EQ(number("12345678901234567890.12", kPoint), "12345678901234567890.12");
  EXPECT_EQ(read_number("1.2500", kPoint).decimals(), 2U);
}

std::string day(std::string_view text, Dates dates) {
  const ReadDay read = read_day(text, {'.', 0, dates});
  if (read.reading == Reading::good) return read.day.iso();
  return read.reading == Reading::none ? "none" : "ambiguous";
}

TEST(DatesOfSuppliers, AreReadOnlyWhereThereIsOneWayToReadThem) {
  const struct {
    const char* text;
    const char* unknown;
    const char* day_first;
    const char* month_first;
  } cases[] = {
      {"2026-04-03", "2026-04-03", "2026-04-03", "2026-04-03"},
      {"2026/4/3", "2026-04-03", "2026-04-03", "2026-04-03"},
      {"20260403", "2026-04-03", "2026-04-03", "2026-04-03"},
      {"2026-04-03T10:00:00+02:00", "2026-04-03", "2026-04-03", "2026-04-03"},
      {"03.04.2026", "2026-04-03", "2026-04-03", "2026-03-04"},
      {"03/04/2026", "ambiguous", "2026-04-03", "2026-03-04"},
      {"13/04/2026", "2026-04-13", "2026-04-13", "none"},
      {"04/13/2026", "2026-04-13", "none", "2026-04-13"},
      {"04/04/2026", "2026-04-04", "2026-04-04", "2026-04-04"},
      {"3-4-2026 12:30", "ambiguous", "2026-04-03", "2026-03-04"},
      {"03/04/26", "ambiguous", "ambiguous", "ambiguous"},
      {"29.02.2024", "2024-02-29", "2024-02-29", "none"},
      {"29.02.2025", "none", "none", "none"},
      {"2026-13-01", "none", "none", "none"},
      {"0001-01-01", "none", "none", "none"},
      {"today", "none", "none", "none"},
      {"1/2", "none", "none", "none"},
      {"46115", "none", "none", "none"},
      {"", "none", "none", "none"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.text);
    EXPECT_EQ(day(one.text, Dates::unknown), one.unknown);
    EXPECT_EQ(day(one.text, Dates::day_first), one.day_first);
    EXPECT_EQ(day(one.text, Dates::month_first), one.month_first);
  }
}

TEST(NotationOfAFile, IsWhatItsClearValuesAgreeIn) {
  const auto found = [](const std::vector<std::string>& numbers, const std::vector<std::string>& days) {
    const Notation notation = notation_of(numbers, days);
    static constexpr const char* kDates[] = {" unknown", " iso", " day first", " month first"};
    std::string text;
    text += notation.decimal_sign == 0 ? '?' : notation.decimal_sign;
    text += notation.thousands_sign == 0 ? '-' : notation.thousands_sign;
    return text + kDates[static_cast<std::size_t>(notation.dates)];
  };
  EXPECT_EQ(found({"1.50", "2", "1,234"}, {}), ".- unknown");
  EXPECT_EQ(found({"1,5", "1.234"}, {}), ",- unknown");
  EXPECT_EQ(found({"1.234,50"}, {}), ",. unknown");
  EXPECT_EQ(found({"1.50", "1,50"}, {}), "?- unknown");
  EXPECT_EQ(found({"1,234", "5"}, {}), "?- unknown");
  EXPECT_EQ(found({}, {"03/04/2026", "13/04/2026"}), "?- day first");
  EXPECT_EQ(found({}, {"03/04/2026", "04/13/2026"}), "?- month first");
  EXPECT_EQ(found({}, {"13/04/2026", "04/13/2026"}), "?- unknown");
  EXPECT_EQ(found({}, {"03.04.2026"}), "?- day first");
}

TEST(TradeItemNumbers, HaveTheirCheckDigit) {
  for (const char* good : {"4006381333931", "96385074", "036000291452", "10614141000415"}) EXPECT_TRUE(is_gtin(good));
  for (const char* bad : {"4006381333932", "400638133393", "", "40063813339 1", "abcdefgh", "123"})
    EXPECT_FALSE(is_gtin(bad)) << bad;
}

}  // namespace
}  // namespace mercato::exchange
