// SPDX-License-Identifier: Apache-2.0
#include "mercato/currency.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/values/conversions.h"

namespace mercato {
namespace {

using test::outcome_of;

TEST(CurrencyFromText, IsExactWithinItsRangeAndRoundsHalfToEven) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"0", "0.0000"},
      {"-0", "0.0000"},
      {" 12.34 ", "12.3400"},
      {"+5", "5.0000"},
      {"5.", "5.0000"},
      {"0.00005", "0.0000"},
      {"0.00015", "0.0002"},
      {"-0.00015", "-0.0002"},
      {"0.000050000000000001", "0.0001"},
      {"1.00045", "1.0004"},
      {"1.00055", "1.0006"},
      {"1.00045000", "1.0004"},
      // A double has not enough digits for these.
      {"90071992547409.9301", "90071992547409.9301"},
      {"900719925474099.3001", "900719925474099.3001"},
      {"922337203685477.5807", "922337203685477.5807"},
      {"-922337203685477.5808", "-922337203685477.5808"},
      {"922337203685477.58074999", "922337203685477.5807"},
      {"922337203685477.58075", "raises 6"},
      {"922337203685477.5808", "raises 6"},
      {"-922337203685477.5809", "raises 6"},
      {"99999999999999999999", "raises 6"},
      {"1,234.5", "1234.5000"},
      {"$7.25", "7.2500"},
      {"(7.25)", "-7.2500"},
      {"1E3", "1000.0000"},
      {"", "raises 13"},
      {"-", "raises 13"},
      {"twelve", "raises 13"},
      {"1.2.3", "raises 13"},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(outcome_of([&text = text] { return Currency::from_text(text).fixed_text(); }), expected) << text;
}

TEST(CurrencyFromDouble, RoundsHalfToEvenAndOverflows) {
  const std::vector<std::pair<double, std::string>> cases = {
      {0.03125, "0.0312"},
      {0.09375, "0.0938"},
      {2.5, "2.5"},
      {-1234.5678, "-1234.5678"},
      {9e14, "900000000000000"},
      {9.3e14, "raises 6"},
      {-9.3e14, "raises 6"},
      {std::numeric_limits<double>::quiet_NaN(), "raises 6"},
      {std::numeric_limits<double>::infinity(), "raises 6"},
  };
  for (const auto& [number, expected] : cases)
    EXPECT_EQ(outcome_of([number = number] { return Currency::from_double(number).text(); }), expected) << number;
}

TEST(CurrencyText, ComesBackAsTheSameAmount) {
  std::mt19937_64 random(20260701);
  std::vector<std::int64_t> amounts = {
      0, 1, -1, 9999, 10000, std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()};
  for (int count = 0; count < 1000; ++count) amounts.push_back(static_cast<std::int64_t>(random()) >> (count % 60));
  for (const std::int64_t scaled : amounts) {
    const Currency amount = Currency::from_scaled(scaled);
    EXPECT_EQ(Currency::from_text(amount.text()).scaled(), scaled) << amount.text();
    EXPECT_EQ(Currency::from_text(amount.fixed_text()).scaled(), scaled) << amount.fixed_text();
  }
}

TEST(CurrencyText, DropsTrailingZerosInTheShortForm) {
  EXPECT_EQ(Currency::from_scaled(123400).text(), "12.34");
  EXPECT_EQ(Currency::from_scaled(50000).text(), "5");
  EXPECT_EQ(Currency::from_scaled(-1).text(), "-0.0001");
  EXPECT_EQ(Currency::from_scaled(-1).fixed_text(), "-0.0001");
  EXPECT_EQ(Currency::from_scaled(123400).fixed_text(), "12.3400");
}

TEST(CurrencyOrder, FollowsTheAmount) {
  EXPECT_LT(Currency::from_text("-1"), Currency::from_text("0.0001"));
  EXPECT_EQ(Currency::from_text("1.5"), Currency::from_text("1.5000"));
}

}  // namespace
}  // namespace mercato
