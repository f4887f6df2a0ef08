// SPDX-License-Identifier: Apache-2.0
// Texts without signs, and the trigrams of text indexes.
#include "values/squeezed_text.h"

#include <gtest/gtest.h>

namespace mercato::text::test {
namespace {

using Pieces = std::vector<std::string>;

template <class Trigrams>
Pieces all_of(std::string_view text) {
  Pieces pieces;
  Trigrams trigrams(text);
  for (std::string_view each = trigrams.next(); !each.empty(); each = trigrams.next()) pieces.emplace_back(each);
  return pieces;
}

TEST(SqueezedText, HasLettersAndDigitsAndAllThatIsNotOfAscii) {
  EXPECT_EQ(squeezed("kt-ins 114.dre\t"), "ktins114dre");
  EXPECT_EQ(squeezed("\u00E4 \u2103/x"), "\u00E4\u2103x");
  EXPECT_EQ(squeezed(" .-"), "");
}

TEST(Trigrams, AreThreeInARowHoweverManySignsStandBetween) {
  EXPECT_EQ(all_of<Trigrams>("a-b c.d"), (Pieces{"abc", "bcd"}));
  EXPECT_EQ(all_of<Trigrams>("\u00E4-b\u2103"), Pieces{"\u00E4b\u2103"});
  EXPECT_EQ(all_of<Trigrams>("a-b"), Pieces());
}

TEST(Trigrams, TakeAStrayByteForACharacter) {
  EXPECT_EQ(all_of<Trigrams>("\xC3-\xA4-x"), Pieces{"\xC3\xA4x"});
  EXPECT_EQ(all_of<SignedTrigrams>("\xC3-\xA4"), Pieces{"\xC3-\xA4"});
}

TEST(SignedTrigrams, HoldOneSignInFrontOrInTheMiddle) {
  EXPECT_EQ(all_of<SignedTrigrams>("18-a-5"), (Pieces{"8-a", "a-5"}));
  EXPECT_EQ(all_of<SignedTrigrams>("+12 v"), Pieces{"+12"});
  EXPECT_EQ(all_of<SignedTrigrams>("a--bc"), Pieces{"-bc"});
  EXPECT_EQ(all_of<SignedTrigrams>("8\u2103~1\u03A9"), (Pieces{"\u2103~1", "~1\u03A9"}));
}

TEST(SignedTrigrams, HoldABlankInFrontOnlyAndNoControl) {
  EXPECT_EQ(all_of<SignedTrigrams>("a old"), Pieces{" ol"});
  EXPECT_EQ(all_of<SignedTrigrams>("a\tbc\x01"
                                   "de\x7F"
                                   "fg"),
            Pieces());
}

}  // namespace
}  // namespace mercato::text::test
