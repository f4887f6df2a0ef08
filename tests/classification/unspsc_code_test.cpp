// SPDX-License-Identifier: Apache-2.0
#include "classification/unspsc_code.h"

#include <gtest/gtest.h>

#include "classification/unspsc_upload.h"
#include "tests/classification/unspsc_fixture.h"

namespace mercato::test {
namespace {

TEST(UnspscCode, StandsAtItsLastPairThatIsNotZero) {
  struct Case {
    const char* code;
    const char* parent;
    const char* segment;
    std::int16_t level;
  };
  for (const auto& [code, parent, segment, level] :
       {Case{"44000000", "", "44", 1}, Case{"44100000", "44", "10", 2}, Case{"44101500", "4410", "15", 3},
        Case{"44101501", "441015", "01", 4}, Case{"4410150107", "44101501", "07", 5},
        Case{"4410150000", "4410", "15", 3}, Case{"00000000", "", "", 0}}) {
    const auto place = unspsc::place_of(code);
    ASSERT_TRUE(place) << code;
    EXPECT_EQ(place->parent, parent) << code;
    EXPECT_EQ(place->segment, segment) << code;
    EXPECT_EQ(place->level, level) << code;
  }
}

TEST(UnspscCode, OfAnotherFormHasNoPlace) {
  for (const char* text : {"", "44", "441015", "441015011", "44101501070", "44A01501", "44001500", "4400000001"})
    EXPECT_FALSE(unspsc::place_of(text)) << text;
}

TEST(UnspscCode, LosesPairsOfZerosAtItsEndButNotTheFirstPair) {
  EXPECT_EQ(unspsc::without_zero_pairs("44101500"), "441015");
  EXPECT_EQ(unspsc::without_zero_pairs("44000000"), "44");
  EXPECT_EQ(unspsc::without_zero_pairs("44101010"), "44101010");
  EXPECT_EQ(unspsc::without_zero_pairs("00000000"), "00");
  EXPECT_EQ(unspsc::without_zero_pairs("4400000"), "4400000");
  EXPECT_EQ(unspsc::without_zero_pairs(""), "");
}

TEST(UnspscCode, HasItsChildrenOneLevelBelowItsPairs) {
  EXPECT_EQ(unspsc::level_below(""), 1);
  EXPECT_EQ(unspsc::level_below("44"), 2);
  EXPECT_EQ(unspsc::level_below("44101501"), 5);
}

TEST_F(UnspscTest, ATableThatCannotBeWrittenIsToldBeforeAnUpload) {
  add_code("44", "office");
  unspsc::require_writable_codes(connection_string());
  EXPECT_EQ(codes(), (StoredRows{{"", "44", std::int16_t{1}, "office"}}));
  execute({"DROP TABLE UNSPSCCODES"});
  EXPECT_EQ(raised_by([&] { unspsc::require_writable_codes(connection_string()); }).Number,
            error_number::kStatementRefused);
}

}  // namespace
}  // namespace mercato::test
