#include "values/same_text.h"

#include <gtest/gtest.h>

#include <vector>

#include "values/text.h"

namespace mercato::text {
namespace {

TEST(SameText, CaseTrailingBlanksAndCompositionDoNotCount) {
  EXPECT_TRUE(same("EUR ", "eur"));
  EXPECT_TRUE(same("", "   "));
  EXPECT_TRUE(same("ÄÖ", "äo\u0308  "));
  EXPECT_TRUE(same("J\u030C", "\u01F0"));  // only the small letter has a composed form
  EXPECT_TRUE(same("\u0130", "i\u0307"));  // the other way round
  EXPECT_TRUE(same("k", "\u212A"));        // the Kelvin sign is a K
  EXPECT_TRUE(same("ΆΣ", "άς"));
  EXPECT_TRUE(same("\u1FBC", "\u03B1\u0345"));
}

TEST(SameText, AllElseCounts) {
  EXPECT_FALSE(same("bob", "bob\u200B"));
  EXPECT_FALSE(same("bob", "bob\x01"));
  EXPECT_FALSE(same("bob", "b\u00ADob"));
  EXPECT_FALSE(same("a", "á"));
  EXPECT_FALSE(same("ß", "ss"));
  EXPECT_FALSE(same("ﬁ", "fi"));
  EXPECT_FALSE(same("²", "2"));
  EXPECT_FALSE(same("\u017F", "s"));
  EXPECT_FALSE(same(" a", "a"));
  EXPECT_FALSE(same("a\u00A0", "a"));
  EXPECT_FALSE(same("\xFF", "\xFE"));
}

TEST(SameText, BytesThatAreNoTextStayAsTheyAre) {
  EXPECT_EQ(folded("A\xFF\xC3"), "a\xFF\xC3");
  EXPECT_TRUE(same("A\xFF", "a\xFF "));
}

// The quick way for texts without marks has to come to the same end as the long one, which a text takes as a whole.
TEST(SameText, EveryCharacterFoldsAloneAsInALongText) {
  const std::string mark = "x\u4E00";
  for (char32_t character = 1; character < 0x20000; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) continue;
    std::string one;
    append(one, character);
    ASSERT_EQ(folded(one + mark), folded(one) + mark) << std::hex << static_cast<std::uint32_t>(character);
    ASSERT_EQ(folded(folded(one)), folded(one)) << std::hex << static_cast<std::uint32_t>(character);
  }
}

TEST(SameText, EveryLetterIsTheSameInBothCases) {
  for (char32_t character = 1; character < 0x20000; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) continue;
    std::string one;
    append(one, character);
    const std::string upper = to_upper(one);
    if (to_lower(upper) == one) {
      ASSERT_TRUE(same(one, upper)) << std::hex << static_cast<std::uint32_t>(character);
    }
  }
}

TEST(SameText, TheOrderIsThatOfTheFoldedTexts) {
  const std::vector<std::string> texts = {"",        "a",      "A\x01", "a ",    "\u00E4", "\u00C4x",
                                          "a\u0308", "\u0130", "\xFF",  "z\xC3", "\u4E00"};
  for (const std::string& left : texts)
    for (const std::string& right : texts) {
      const int expected = folded(left).compare(folded(right)), order = compare_folded(left, right);
      EXPECT_EQ((order > 0) - (order < 0), (expected > 0) - (expected < 0)) << left << " " << right;
    }
}

}  // namespace
}  // namespace mercato::text
