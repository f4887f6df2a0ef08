// SPDX-License-Identifier: Apache-2.0
#include "values/edit_distance.h"

#include <gtest/gtest.h>

namespace mercato::test {
namespace {

std::size_t distance(std::string_view left, std::string_view right, std::size_t most = 9) {
  return text::edit_distance(text::characters_of(left), text::characters_of(right), most);
}

TEST(EditDistance, CountsWhatIsPutInLeftOutReplacedOrSwapped) {
  EXPECT_EQ(distance("resistor", "resistor"), 0U);
  EXPECT_EQ(distance("resistor", "resisstor"), 1U);
  EXPECT_EQ(distance("resistor", "resstor"), 1U);
  EXPECT_EQ(distance("resistor", "resiztor"), 1U);
  EXPECT_EQ(distance("resistor", "resitsor"), 1U);
  EXPECT_EQ(distance("resistor", "rseitsor"), 2U);
  EXPECT_EQ(distance("", "abc"), 3U);
  EXPECT_EQ(distance("abc", ""), 3U);
  EXPECT_EQ(distance("", ""), 0U);
}

TEST(EditDistance, CountsCharactersNotBytes) {
  EXPECT_EQ(distance("Schlüssel", "Schlussel"), 1U);
  EXPECT_EQ(distance("naïve", "nïave"), 1U);
  EXPECT_EQ(text::characters_of("a\u00FC\U0001F529").size(), 3U);
}

TEST(EditDistance, BeyondTheMostIsAnyNumberAboveIt) {
  EXPECT_EQ(distance("bolt", "nut", 3), 3U);
  EXPECT_GT(distance("bolt", "nut", 2), 2U);
  EXPECT_GT(distance("bolt", "resistor", 2), 2U);
}

}  // namespace
}  // namespace mercato::test
