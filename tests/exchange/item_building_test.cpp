// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/item_building.h"

#include <gtest/gtest.h>

namespace mercato::exchange {
namespace {

TEST(ItemBuilding, ADecimalSignIsMovedAndStaysWhatItIs) {
  const struct {
    const char* number;
    int places;
    const char* expected;
  } cases[] = {
      {"85700", -2, "857.00"}, {"5", -2, "0.05"},     {"0", -2, "0.00"},        {"-12", -2, "-0.12"},
      {"123.4", -2, "1.234"},  {"0.19", 2, "19"},     {"0,19", 2, "19"},        {"0.077", 2, "7.7"},
      {"0,077", 2, "7,7"},     {",8", 2, "80"},       {"1", 2, "100"},          {"0", 2, "0"},
      {"12", 0, "12"},         {"1.2.3", 2, "1.2.3"}, {"12 EUR", -2, "12 EUR"}, {"", 2, ""},
      {"-", -2, "-"},          {".", -2, "."},
  };
  for (const auto& it : cases) EXPECT_EQ(moved_decimal(it.number, it.places), it.expected) << it.number;
}

TEST(ItemBuilding, LanguagesAreTheSameByTwoAndByThreeLetters) {
  EXPECT_TRUE(same_language("de", "deu"));
  EXPECT_TRUE(same_language("DEU", "ger"));
  EXPECT_TRUE(same_language("de-AT", "de"));
  EXPECT_TRUE(same_language("fre", "fr"));
  EXPECT_TRUE(same_language("", ""));
  EXPECT_FALSE(same_language("de", "en"));
  EXPECT_FALSE(same_language("", "de"));
}

TEST(ItemBuilding, AFieldIsGivenOnceAndAPropertyGrows) {
  ItemBuilder built;
  EXPECT_TRUE(built.field("GTIN", "1", {3}));
  EXPECT_FALSE(built.field("GTIN", "2", {4}));
  EXPECT_TRUE(built.field("GTIN", "", {5}));
  built.property("GTIN", "x", {6});
  built.property("GTIN", "", {7});
  built.property("gtin ", "y", {8});
  built.property("--", "no name", {9});
  built.property("Weight in g", "5", {10});
  ASSERT_EQ(built.item.fields.size(), 3u);
  EXPECT_EQ(built.item.fields[2].name, "WEIGHT_IN_G");
  EXPECT_EQ(built.item.fields[0].value, "1");
  EXPECT_FALSE(built.item.fields[0].is_property);
  EXPECT_EQ(built.item.fields[0].place.line, 3u);
  EXPECT_EQ(built.item.fields[1].value, "x; y");
  EXPECT_TRUE(built.item.fields[1].is_property);
  EXPECT_EQ(built.item.fields[1].place.line, 6u);
}

}  // namespace
}  // namespace mercato::exchange
