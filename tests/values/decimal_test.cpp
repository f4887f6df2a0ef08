// SPDX-License-Identifier: Apache-2.0
#include "values/decimal.h"

#include <gtest/gtest.h>

#include <limits>

#include "mercato/raised_error.h"

namespace mercato {
namespace {

template <class Work>
std::int32_t number_raised_by(Work work) {
  try {
    work();
  } catch (const Raised& failure) {
    return failure.error().Number;
  }
  return 0;
}

TEST(Decimal, RoundingDecidesOnTheDecimalNumberHalvesToTheEvenDigit) {
  const struct {
    double number;
    int decimals;
    double rounded;
  } cases[] = {
      {12.345, 2, 12.34},  // the nearest double lies above the half
      {12.355, 2, 12.36},
      {-12.345, 2, -12.34},
      {-12.355, 2, -12.36},
      {1.005, 2, 1.0},  // below the half
      {1.015, 2, 1.02},
      {1.025, 2, 1.02},
      {2.675, 2, 2.68},
      {0.005, 2, 0},
      {0.015, 2, 0.02},
      {0.025, 2, 0.02},
      {0.0050001, 2, 0.01},
      {12.3450001, 2, 12.35},
      {12.3449999, 2, 12.34},
      {99.995, 2, 100},
      {99.985, 2, 99.98},
      {0.1 + 0.2, 2, 0.3},
      {12.3, 2, 12.3},
      {12.34, 2, 12.34},
      {0, 2, 0},
      {5, 2, 5},
      {-5, 2, -5},
      {1e-300, 2, 0},
      {-1e-30, 2, 0},
      {1e300, 2, 1e300},
      {12345678901234567890.0, 2, 12345678901234567890.0},
      {9007199254740991.0, 2, 9007199254740991.0},
      {1234567890123.45, 2, 1234567890123.45},
      {2.5, 0, 2},
      {3.5, 0, 4},
      {-2.5, 0, -2},
      {0.5, 0, 0},
  };
  for (const auto& row : cases)
    EXPECT_EQ(round_half_to_even(row.number, row.decimals), row.rounded)
        << row.number << " at " << row.decimals << " decimals";
}

TEST(Decimal, TheProductIsExactWhereThatOfDoublesIsNot) {
  const struct {
    double left, right, product;
    bool of_doubles_too;
  } cases[] = {
      {3, 0.1, 0.3, false},
      {3, 2.5, 7.5, true},
      {6, 0.1, 0.6, false},
      {7, 0.07, 0.49, false},
      {-3, 0.1, -0.3, false},
      {0, 0.1, 0, true},
      {4e15 - 4, 0.25, 1e15 - 1, true},
      {1e22, 1e-22, 1, true},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(Decimal::of(row.left) * Decimal::of(row.right), Decimal::of(row.product)) << row.left << " " << row.right;
    EXPECT_EQ(row.left * row.right == row.product, row.of_doubles_too) << row.left << " " << row.right;
  }
  EXPECT_NE(Decimal::of(3) * Decimal::of(0.1), Decimal::of(0.30000000000001));
}

TEST(Decimal, TheQuotientIsRoundedOnceHalvesToTheEvenDigit) {
  const struct {
    double dividend, divisor;
    int decimals;
    double expected;
  } cases[] = {
      {841080511.218051, 0.0000001, 0, 8410805112180510},
      {6198436314917868, 0.7, 0, 8854909021311240},
      {1, 3, 4, 0.3333},
      {2, 3, 4, 0.6667},
      {-2, 3, 4, -0.6667},
      {2, -3, 4, -0.6667},
      {5, 2, 0, 2},
      {7, 2, 0, 4},
      {-5, 2, 0, -2},
      {0.0001, 2, 4, 0},
      {0.0003, 2, 4, 0.0002},
      {0, 7, 4, 0},
      {1, 1e300, 4, 0},
      {9, 17, 0, 1},
      {8, 17, 0, 0},
      {1e22, 1e-8, 0, 1e30},
  };
  for (const auto& row : cases)
    EXPECT_EQ(quotient(Decimal::of(row.dividend), Decimal::of(row.divisor), row.decimals), Decimal::of(row.expected))
        << row.dividend << " / " << row.divisor;
  EXPECT_EQ(number_raised_by([] { quotient(Decimal::of(1e22), Decimal::of(1e-22), 0); }), error_number::kOverflow);
}

TEST(Decimal, ScaledNumbersAreWholeOnes) {
  EXPECT_EQ(Decimal::of_scaled(123450, 4), Decimal::of(12.345));
  EXPECT_EQ(Decimal::of(12.345).to_scaled(4), 123450);
  EXPECT_EQ(Decimal::of(12.345).to_scaled(2), 1234);
  EXPECT_EQ(Decimal::of(-12.355).to_scaled(2), -1236);
  EXPECT_EQ(Decimal::of(1e14).to_scaled(4), 1'000'000'000'000'000'000);
  EXPECT_EQ(Decimal().to_scaled(4), 0);
  EXPECT_EQ(number_raised_by([] { (void)Decimal::of(1e15).to_scaled(4); }), error_number::kOverflow);
  EXPECT_EQ(number_raised_by([] { (void)Decimal::of(1e300).to_scaled(4); }), error_number::kOverflow);
}

TEST(Decimal, NumbersAreOrderedByTheirValue) {
  const double ascending[] = {-1e300, -1e15,  -12.5, -12.49, -1,   -0.1, -0.01,    -1e-300,
                              0,      1e-300, 0.01,  0.1,    0.11, 0.2,  1,        9.99,
                              10,     10.01,  99,    99.99,  100,  1e15, 1e15 + 1, 123456789012345678.0,
                              1e18,   1e300};
  for (std::size_t left = 0; left < std::size(ascending); ++left)
    for (std::size_t right = 0; right < std::size(ascending); ++right)
      EXPECT_EQ(Decimal::of(ascending[left]) <=> Decimal::of(ascending[right]), left <=> right)
          << ascending[left] << " " << ascending[right];
}

TEST(Decimal, ANumberOfMoreThanFifteenDigitsIsTheOneThatItsTextFormShows) {
  EXPECT_EQ(Decimal::of(0.1 + 0.2), Decimal::of(0.3));
  EXPECT_EQ(Decimal::of(1.0 / 3).to_double(), 0.333333333333333);
  EXPECT_EQ(Decimal::of(9007199254740991.0).to_double(), 9007199254740991.0);
  EXPECT_EQ(Decimal::of(-1.5e-7).to_double(), -1.5e-7);
  EXPECT_EQ(Decimal::of(1e300).to_double(), 1e300);
}

TEST(Decimal, WhatIsNotFiniteOrTooLongOverflows) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(number_raised_by([&] { Decimal::of(infinity); }), error_number::kOverflow);
  EXPECT_EQ(number_raised_by([&] { Decimal::of(-infinity); }), error_number::kOverflow);
  EXPECT_EQ(number_raised_by([&] { Decimal::of(infinity - infinity); }), error_number::kOverflow);
  EXPECT_EQ(number_raised_by([&] { round_half_to_even(infinity, 2); }), error_number::kOverflow);
  const Decimal long_one = Decimal::of(123456789.0123457);
  EXPECT_EQ(number_raised_by([&] { long_one* long_one* long_one; }), error_number::kOverflow);
}

}  // namespace
}  // namespace mercato
