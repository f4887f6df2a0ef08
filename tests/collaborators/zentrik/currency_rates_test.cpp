// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

using Amount = mercato::Currency;

class CurrencyTest : public test::StoreTest {
 protected:
  void add_rate(const std::string& source, const std::string& target, const std::string& day, const std::string& rate) {
    execute({"INSERT INTO EXCHANGERATE (SOURCECODE, TARGETCODE, EFFECTIVEDATE, RATE) VALUES ('" + source + "', '" +
             target + "', '" + day + "', " + rate + ")"});
  }
  std::string converted(const std::string& source, const std::string& target, const std::string& amount,
                        const CivilTime& time = {2026, 7, 1}) {
    return currency_.ConvertAmount(source, target, Amount::from_text(amount), Date::from_civil(time)).fixed_text();
  }
  mercato::zentrik::Currency currency_;
};

TEST_F(CurrencyTest, TheKnownCurrenciesComeWithTheirDescriptions) {
  execute({"INSERT INTO CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('USD', 'US dollar')",
           "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
  const DictionaryPtr currencies = currency_.GetAllCurrencies();
  EXPECT_EQ(currencies->Keys(), (Array{"EUR", "USD"}));
  EXPECT_EQ(currencies->Items(), (Array{kNull, "US dollar"}));
}

TEST_F(CurrencyTest, WithoutCurrenciesTheDictionaryIsEmpty) { EXPECT_EQ(currency_.GetAllCurrencies()->Count(), 0); }

TEST_F(CurrencyTest, OneCodeGivesTheAmountItself) {
  EXPECT_EQ(converted("EUR", "EUR", "12.3456"), "12.3456");
  EXPECT_EQ(converted("EUR", "eur", "-12.3456"), "-12.3456");
  EXPECT_EQ(converted("", "", "1"), "1.0000");
}

// A code with blanks behind it passed the reference check, but there was no rate from the code to itself.
TEST_F(CurrencyTest, CodesAreTheSameAsTheStoreComparesTexts) {
  EXPECT_EQ(converted("EUR ", "EUR", "12.3456"), "12.3456");
  EXPECT_EQ(converted("eur", "EUR  ", "12.3456"), "12.3456");
  EXPECT_EQ(converted("\u00C4UR", "a\u0308ur", "12.3456"), "12.3456");
  EXPECT_EQ(raised_by([&] { converted("EUR\u200B", "EUR", "1"); }).Number, error_number::kInvalidArgument);
  EXPECT_EQ(raised_by([&] { converted(" EUR", "EUR", "1"); }).Number, error_number::kInvalidArgument);
  add_rate("EUR", "USD", "2026-06-01", "2");
  EXPECT_EQ(converted("EUR ", "usd  ", "1"), "2.0000");
}

TEST_F(CurrencyTest, ConversionIsExactAndRoundsOnceHalfToEven) {
  const struct {
    const char* rate;
    const char* amount;
    const char* direct;
    const char* reciprocal;
  } cases[] = {
      {"1.1", "100", "110.0000", "90.9091"},
      {"0.5", "10.0001", "5.0000", "20.0002"},           // 5.00005: down to the even digit
      {"0.5", "10.0003", "5.0002", "20.0006"},           // 5.00015: up to the even digit
      {"0.5", "-10.0003", "-5.0002", "-20.0006"},        //
      {"1.00005", "1", "1.0000", "1.0000"},              // a tie in the decimal rate, not in its nearest double
      {"1.00015", "1", "1.0002", "0.9999"},              //
      {"2", "0.0001", "0.0002", "0.0000"},               // half of the least amount goes to the even zero
      {"2", "0.0003", "0.0006", "0.0002"},               //
      {"3", "1", "3.0000", "0.3333"},                    //
      {"0.3", "0.0001", "0.0000", "0.0003"},             //
      {"7.5345", "1234.5678", "9301.8511", "163.8553"},  //
      {"0.000001", "1", "0.0000", "1000000.0000"},       //
      {"1", "922337203685477.5807", "922337203685477.5807", "922337203685477.5807"},
      {"1E+30", "0", "0.0000", "0.0000"},
  };
  int number = 0;
  for (const auto& row : cases) {
    const std::string source = "S" + std::to_string(++number);
    add_rate(source, "T", "2026-01-01", row.rate);
    EXPECT_EQ(converted(source, "T", row.amount), row.direct) << row.amount << " * " << row.rate;
    EXPECT_EQ(converted("T", source, row.amount), row.reciprocal) << row.amount << " / " << row.rate;
  }
}

TEST_F(CurrencyTest, AResultThatIsTooLargeIsAnOverflow) {
  add_rate("BIG", "T", "2026-01-01", "1E+30");
  add_rate("TINY", "T", "2026-01-01", "1E-30");
  add_rate("TWO", "T", "2026-01-01", "2");
  EXPECT_EQ(raised_by([&] { converted("BIG", "T", "1"); }).Number, error_number::kOverflow);
  EXPECT_EQ(raised_by([&] { converted("T", "TINY", "1"); }).Number, error_number::kOverflow);
  EXPECT_EQ(raised_by([&] { converted("TWO", "T", "922337203685477.5807"); }).Number, error_number::kOverflow);
  EXPECT_EQ(converted("TINY", "T", "922337203685477.5807"), "0.0000");
  EXPECT_EQ(converted("T", "BIG", "922337203685477.5807"), "0.0000");
}

TEST_F(CurrencyTest, TheLatestRateNotAfterTheDateCounts) {
  add_rate("EUR", "USD", "2026-06-01", "2");
  add_rate("EUR", "USD", "2026-07-01", "3");
  add_rate("EUR", "USD", "2026-08-01", "4");
  EXPECT_EQ(converted("EUR", "USD", "1", {2026, 6, 30, 23, 59, 59}), "2.0000");
  EXPECT_EQ(converted("EUR", "USD", "1", {2026, 7, 1}), "3.0000");
  EXPECT_EQ(converted("EUR", "USD", "1", {2026, 7, 1, 8, 30, 0}), "3.0000");
  EXPECT_EQ(converted("EUR", "USD", "1", {2027, 1, 1}), "4.0000");
}

TEST_F(CurrencyTest, ThePairComesBeforeAYoungerOppositePair) {
  add_rate("EUR", "USD", "2020-01-01", "2");
  add_rate("USD", "EUR", "2026-01-01", "0.25");
  EXPECT_EQ(converted("EUR", "USD", "1"), "2.0000");
}

// An older rate used to take the place of a latest one of 0 or Null, and nobody was told.
TEST_F(CurrencyTest, ALatestRateThatIsNullOrNotAboveZeroIsRefused) {
  const struct {
    const char* rate;
    const char* shown;
  } cases[] = {{"0", "0"}, {"-1", "-1"}, {"NULL", "Null"}};
  int number = 0;
  for (const auto& row : cases) {
    const std::string source = "S" + std::to_string(++number);
    add_rate(source, "T", "2026-06-01", "2");
    add_rate(source, "T", "2026-06-02", row.rate);
    add_rate(source, "T", "2026-07-02", "4");
    const auto refusal = [&](const std::string& day) {
      return RaisedError{
          error_number::kInvalidArgument, "Zentrik.Currency",
          "The exchange rate from '" + source + "' to 'T' at " + day + "T00:00:00 cannot be used: it is " + row.shown,
          "", 0};
    };
    EXPECT_EQ(raised_by([&] { converted(source, "T", "1"); }), refusal("2026-07-01")) << row.rate;
    EXPECT_EQ(raised_by([&] { converted("T", source, "1"); }), refusal("2026-07-01")) << row.rate;
    EXPECT_EQ(converted(source, "T", "1", {2026, 6, 1}), "2.0000") << row.rate;
    EXPECT_EQ(converted(source, "T", "1", {2026, 7, 2}), "4.0000") << row.rate;
  }
}

// The opposite pair's rate counts for a pair without a rate only.
TEST_F(CurrencyTest, TheOppositePairDoesNotStandInForARateThatCannotBeUsed) {
  add_rate("EUR", "USD", "2026-06-01", "0");
  add_rate("USD", "EUR", "2026-06-01", "0.5");
  EXPECT_EQ(raised_by([&] { converted("EUR", "USD", "1"); }).Number, error_number::kInvalidArgument);
  EXPECT_EQ(converted("USD", "EUR", "1"), "0.5000");
}

TEST_F(CurrencyTest, AMissingRateNamesBothCodesAndTheDate) {
  add_rate("EUR", "USD", "2026-07-02", "2");
  const RaisedError none{error_number::kInvalidArgument, "Zentrik.Currency",
                         "There is no exchange rate from 'EUR' to 'USD' at 2026-07-01T08:30:00", "", 0};
  EXPECT_EQ(raised_by([&] { converted("EUR", "USD", "1", {2026, 7, 1, 8, 30, 0}); }), none);
}

}  // namespace
}  // namespace mercato::collaborators
