// SPDX-License-Identifier: Apache-2.0
#include "values/same_text.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
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

// Folding the whole text defines the result. A mark that composes with nothing makes a text take that way.
constexpr const char* kMark = "x\u0301";

// Folding characters one by one is the quick way. It has to give the same result.
TEST(SameText, EveryCharacterFoldsAloneAsInALongText) {
  for (char32_t character = 1; character < 0x30400; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) continue;
    std::string one;
    append(one, character);
    ASSERT_EQ(folded(one + kMark), folded(one) + kMark) << std::hex << static_cast<std::uint32_t>(character);
    ASSERT_EQ(folded(folded(one)), folded(one)) << std::hex << static_cast<std::uint32_t>(character);
  }
}

TEST(SameText, RandomTextsFoldInPartsAsTheyFoldAsAWhole) {
  constexpr char32_t kFirsts[] = {'A',    0xC0,   0x130,  0x17F,  0x1C4,  0x300,   0x340,   0x370,   0x3A0,   0x400,
                                  0x480,  0x5B0,  0x622,  0x653,  0x93C,  0x958,   0x9BE,   0xB47,   0xDCF,   0x1025,
                                  0x1100, 0x1160, 0x11A8, 0x1B05, 0x1E00, 0x1F80,  0x2126,  0x2ADC,  0x304B,  0x3099,
                                  0x4E00, 0xAC00, 0xF900, 0xFB1D, 0xFF21, 0x11099, 0x110BA, 0x1D15E, 0x1F600, 0x2F800};
  std::mt19937 random(20261122);
  const auto below = [&](std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); };
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (auto left = 1 + below(6); left > 0; --left) append(text, kFirsts[below(std::size(kFirsts))] + below(24));
    if (round % 16 == 0) text.insert(below(text.size() + 1), "\x80");
    // A text with stray bytes is never composed, so there is nothing to compare it with.
    if (is_valid(text)) {
      ASSERT_EQ(folded(text + kMark), folded(text) + kMark) << testing::PrintToString(text);
    }
    const std::string other = text.substr(0, text.find_last_of("\xCC\xE3")) + kMark;
    const int expected = folded(text).compare(folded(other)), order = compare_folded(text, other);
    ASSERT_EQ((order > 0) - (order < 0), (expected > 0) - (expected < 0)) << testing::PrintToString(text);
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

// For every character alone, and with some marks that it can compose with.
TEST(SameText, FoldingMakesFewAsciiCharactersOfOthers) {
  const auto made = [](const std::string& text) {
    std::string ascii;
    for (const char byte : folded(text))
      if (static_cast<unsigned char>(byte) < 0x80) ascii += byte;
    return ascii;
  };
  std::string made_of_others;
  for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    std::string character;
    append(character, c);
    std::string ascii = made(character);
    if (c < 0x3000)
      for (const char* const mark : {"\u0307", "\u0323", "\u0338", "\u0301"}) ascii += made(character + mark);
    for (const char byte : ascii)
      if (made_of_others.find(byte) == std::string::npos) made_of_others += byte;
  }
  std::ranges::sort(made_of_others);
  EXPECT_EQ(made_of_others, ";`ik");
  for (char byte = 1; byte > 0; ++byte)
    EXPECT_EQ(changes_by_folding(byte), made_of_others.find(byte) != std::string::npos) << byte;
}

}  // namespace
}  // namespace mercato::text
