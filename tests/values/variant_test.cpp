// SPDX-License-Identifier: Apache-2.0
#include "mercato/variant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "tests/values/conversions.h"

namespace mercato {
namespace {

using test::outcome_of;

const Variant kEmptyValue;
const Date kSomeDate = Date::from_civil({2026, 7, 1, 8, 30, 0});

struct NumberCase {
  Variant value;
  std::string as_short;
  std::string as_long;
};

TEST(VariantNumbers, RoundHalfToEvenAndOverflowAtTheirWidth) {
  const std::vector<NumberCase> cases = {
      {0.5, "0", "0"},
      {1.5, "2", "2"},
      {2.5, "2", "2"},
      {3.5, "4", "4"},
      {-0.5, "0", "0"},
      {-1.5, "-2", "-2"},
      {-2.5, "-2", "-2"},
      {2.4999999, "2", "2"},
      {2.5000001, "3", "3"},
      {Currency::from_text("2.5"), "2", "2"},
      {Currency::from_text("2.5001"), "3", "3"},
      {Currency::from_text("3.5"), "4", "4"},
      {"2.5", "2", "2"},
      {" 7 ", "7", "7"},
      {"&H7FFF", "32767", "32767"},
      {"&HFFFF", "-1", "-1"},
      {"1,234", "1234", "1234"},
      {kEmptyValue, "0", "0"},
      {true, "-1", "-1"},
      {false, "0", "0"},
      {std::int16_t{-7}, "-7", "-7"},
      {32767, "32767", "32767"},
      {32768, "raises 6", "32768"},
      {-32768, "-32768", "-32768"},
      {-32769, "raises 6", "-32769"},
      {32767.4, "32767", "32767"},
      {32767.5, "raises 6", "32768"},
      {-32768.5, "-32768", "-32768"},
      {-32768.6, "raises 6", "-32769"},
      {"40000", "raises 6", "40000"},
      {2147483647.0, "raises 6", "2147483647"},
      {2147483647.5, "raises 6", "raises 6"},
      {-2147483648.0, "raises 6", "-2147483648"},
      {-2147483648.5, "raises 6", "-2147483648"},
      {-2147483649.0, "raises 6", "raises 6"},
      {"2147483648", "raises 6", "raises 6"},
      {std::numeric_limits<double>::quiet_NaN(), "raises 6", "raises 6"},
      {std::numeric_limits<double>::infinity(), "raises 6", "raises 6"},
      {Date(3.5), "4", "4"},
      {kNull, "raises 94", "raises 94"},
      {kMissing, "raises 13", "raises 13"},
      {"", "raises 13", "raises 13"},
      {"five", "raises 13", "raises 13"},
      {"True", "raises 13", "raises 13"},
      {Array{1, 2}, "raises 13", "raises 13"},
      {std::make_shared<Dictionary>(), "raises 13", "raises 13"},
  };
  for (std::size_t row = 0; row < cases.size(); ++row) {
    const NumberCase& expected = cases[row];
    EXPECT_EQ(outcome_of([&] { return std::to_string(expected.value.to_short()); }), expected.as_short)
        << "row " << row;
    EXPECT_EQ(outcome_of([&] { return std::to_string(expected.value.to_long()); }), expected.as_long) << "row " << row;
  }
}

TEST(VariantNumbers, ReadAsDoubles) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {kEmptyValue, "0"},
      {true, "-1"},
      {std::int16_t{5}, "5"},
      {70000, "70000"},
      {0.25, "0.25"},
      {"-12.75", "-12.75"},
      {"$1,000.50", "1000.5"},
      {"(3)", "-3"},
      {"1E3", "1000"},
      {"1d-2", "0.01"},
      {Date(2.25), "2.25"},
      {Currency::from_text("0.0001"), "0.0001"},
      {kNull, "raises 94"},
      {"", "raises 13"},
      {"1 2", "raises 13"},
      {"0x10", "raises 13"},
      {"7/1/2026", "raises 13"},
      {kMissing, "raises 13"},
  };
  for (const auto& [value, expected] : cases)
    EXPECT_EQ(outcome_of([&given = value] { return Variant(given.to_double()).to_text(); }), expected);
}

TEST(VariantBooleans, AreStrictAboutTexts) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {true, "True"},
      {false, "False"},
      {1, "True"},
      {0, "False"},
      {-1, "True"},
      {0.1, "True"},
      {0.0, "False"},
      {"True", "True"},
      {"true", "True"},
      {"FALSE", "False"},
      {"1", "True"},
      {"0", "False"},
      {"0.0", "False"},
      {"-3", "True"},
      {kEmptyValue, "False"},
      {"", "raises 13"},
      {"yes", "raises 13"},
      {"y", "raises 13"},
      {"T", "raises 13"},
      {kNull, "raises 94"},
      {kMissing, "raises 13"},
      {Array{true}, "raises 13"},
      {Currency(), "False"},
      {Date(1), "True"},
  };
  for (std::size_t row = 0; row < cases.size(); ++row)
    EXPECT_EQ(outcome_of([&] { return std::string(cases[row].first.to_boolean() ? "True" : "False"); }),
              cases[row].second)
        << "row " << row;
}

TEST(VariantTexts, EveryScalarHasATextForm) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {kEmptyValue, ""},
      {true, "True"},
      {false, "False"},
      {std::int16_t{-32768}, "-32768"},
      {2147483647, "2147483647"},
      {3.5, "3.5"},
      {5.0, "5"},
      {-0.0, "0"},
      {0.1, "0.1"},
      {0.1 + 0.2, "0.3"},
      {1.0 / 3, "0.333333333333333"},
      {100000.0, "100000"},
      {123456789012345.0, "123456789012345"},
      {1e15, "1E+15"},
      {1.5e300, "1.5E+300"},
      {-2e-7, "-2E-07"},
      {Currency::from_text("12.3400"), "12.34"},
      {Currency::from_text("-0.0001"), "-0.0001"},
      {Currency::from_text("5"), "5"},
      {kSomeDate, "7/1/2026 8:30:00 AM"},
      {"as it is", "as it is"},
      {kNull, "raises 94"},
      {kMissing, "raises 13"},
      {Array{1}, "raises 13"},
      {ObjectPtr(), "raises 13"},
  };
  for (std::size_t row = 0; row < cases.size(); ++row)
    EXPECT_EQ(outcome_of([&] { return cases[row].first.to_text(); }), cases[row].second) << "row " << row;
}

TEST(VariantTexts, AreNumericWhenTheyReadAsANumber) {
  for (const char* text :
       {"5", " 5 ", "-5", "5-", "+5", "5.", ".5", "1,234.5", "1E5", "1d5", "$5", "-$5", "(5)", "&HFF", "&hff"})
    EXPECT_TRUE(Variant(text).is_numeric()) << text;
  for (const char* text : {"",   " ",   ".", "-",    "--5", "5 5", "five",     "5x",   "1E",    "1E+",
                           "&H", "&HG", "$", "(-5)", "()",  "0x5", "7/1/2026", "True", "1E400", "\xD9\xA5"})
    EXPECT_FALSE(Variant(text).is_numeric()) << text;
}

TEST(VariantTypes, OnlyNumbersBooleansAndEmptyAreNumericBesidesTexts) {
  for (const Variant& value :
       {kEmptyValue, Variant(true), Variant(std::int16_t{1}), Variant(1), Variant(1.0), Variant(Currency())})
    EXPECT_TRUE(value.is_numeric()) << value.type_name();
  for (const Variant& value :
       {Variant(kNull), Variant(kMissing), Variant(Date(1)), Variant(Array{1}), Variant(ObjectPtr())})
    EXPECT_FALSE(value.is_numeric()) << value.type_name();
}

TEST(VariantTypes, HaveTheNamesThatAutomationClientsKnow) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {kEmptyValue, "Empty"},
      {kNull, "Null"},
      {kMissing, "Missing"},
      {true, "Boolean"},
      {std::int16_t{1}, "Integer"},
      {1, "Long"},
      {1.0, "Double"},
      {Currency(), "Currency"},
      {Date(), "Date"},
      {"", "String"},
      {Array{}, "Variant()"},
      {ObjectPtr(), "Nothing"},
      {std::make_shared<Dictionary>(), "Dictionary"},
      {std::make_shared<Collection>(), "Collection"},
  };
  for (const auto& [value, name] : cases) EXPECT_EQ(value.type_name(), name);
}

TEST(VariantTypes, EmptyReadsAsTheZeroOfEveryType) {
  EXPECT_EQ(kEmptyValue.to_text(), "");
  EXPECT_EQ(kEmptyValue.to_long(), 0);
  EXPECT_EQ(kEmptyValue.to_double(), 0);
  EXPECT_FALSE(kEmptyValue.to_boolean());
  EXPECT_EQ(kEmptyValue.to_date(), Date());
  EXPECT_EQ(kEmptyValue.to_currency(), Currency());
}

TEST(VariantDates, ComeFromDatesTextsAndNumbers) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {kSomeDate, "2026-07-01T08:30:00"},
      {"7/1/2026 8:30 AM", "2026-07-01T08:30:00"},
      {2, "1900-01-01T00:00:00"},
      {"2.5", "1900-01-01T12:00:00"},
      {2958465, "9999-12-31T00:00:00"},
      {2958466, "raises 6"},
      {-657434, "0100-01-01T00:00:00"},
      {-657435, "raises 6"},
      {std::numeric_limits<double>::quiet_NaN(), "raises 6"},
      {"tomorrow", "raises 13"},
      {"", "raises 13"},
      {kNull, "raises 94"},
  };
  for (std::size_t row = 0; row < cases.size(); ++row)
    EXPECT_EQ(outcome_of([&] { return cases[row].first.to_date().iso_text(); }), cases[row].second) << "row " << row;
}

TEST(VariantCurrencies, ComeExactlyFromTextsAndRoundedFromNumbers) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {"922337203685477.5807", "922337203685477.5807"},
      {0.03125, "0.0312"},
      {0.09375, "0.0938"},
      {7, "7.0000"},
      {true, "-1.0000"},
      {kEmptyValue, "0.0000"},
      {1e15, "raises 6"},
      {"1e15", "raises 6"},
      {"abc", "raises 13"},
      {kNull, "raises 94"},
  };
  for (std::size_t row = 0; row < cases.size(); ++row)
    EXPECT_EQ(outcome_of([&] { return cases[row].first.to_currency().fixed_text(); }), cases[row].second)
        << "row " << row;
}

TEST(VariantObjects, ConvertOnlyToTheirOwnClass) {
  const auto dictionary = std::make_shared<Dictionary>();
  EXPECT_EQ(Variant(dictionary).to<Dictionary>(), dictionary);
  EXPECT_EQ(outcome_of([&] { return std::string(Variant(dictionary).to<Collection>()->type_name()); }), "raises 13");
  EXPECT_EQ(outcome_of([&] { return std::string(Variant(5).to_object()->type_name()); }), "raises 424");
  EXPECT_EQ(outcome_of([&] { return std::string(Variant(ObjectPtr()).to_object()->type_name()); }), "raises 91");
}

TEST(VariantArrays, AreValuesWithBoundsOfTheirOwn) {
  Array array(std::vector<Variant>{"a", "b", "c"}, 5);
  EXPECT_EQ(array.upper(), 7);
  EXPECT_EQ(array.at(5), Variant("a"));
  EXPECT_EQ(array.at(7), Variant("c"));
  EXPECT_EQ(outcome_of([&] { return array.at(4).to_text(); }), "raises 9");
  EXPECT_EQ(outcome_of([&] { return array.at(8).to_text(); }), "raises 9");

  const Variant copy(array);
  array.at(5) = "changed";
  EXPECT_EQ(copy.to_array().at(5), Variant("a"));
  EXPECT_EQ(Array{}.upper(), -1);
  EXPECT_EQ(outcome_of([] { return std::to_string(Variant("a").to_array().lower); }), "raises 13");
}

TEST(VariantEquality, NeedsTheSameTypeAndTheSameValue) {
  EXPECT_EQ(Variant(5), Variant(5));
  EXPECT_NE(Variant(5), Variant(std::int16_t{5}));
  EXPECT_NE(Variant(5), Variant("5"));
  EXPECT_NE(Variant(5), Variant(5.0));
  EXPECT_NE(Variant(kNull), Variant());
  EXPECT_NE(Variant(kMissing), Variant());
  EXPECT_EQ(Variant(Array{1, Array{"x"}}), Variant(Array{1, Array{"x"}}));
  EXPECT_NE(Variant(Array{1}), Variant(Array(std::vector<Variant>{1}, 1)));
  const auto object = std::make_shared<Dictionary>();
  EXPECT_EQ(Variant(object), Variant(object));
  EXPECT_NE(Variant(object), Variant(std::make_shared<Dictionary>()));
}

TEST(VariantIntegers, FromTheStoreAreLongsWhereTheyFit) {
  EXPECT_EQ(Variant::from_integer(2147483647), Variant(2147483647));
  EXPECT_EQ(Variant::from_integer(-2147483648LL), Variant(std::numeric_limits<std::int32_t>::min()));
  EXPECT_EQ(Variant::from_integer(2147483648LL), Variant(2147483648.0));
}

}  // namespace
}  // namespace mercato
