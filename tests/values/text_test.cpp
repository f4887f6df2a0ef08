// SPDX-License-Identifier: Apache-2.0
#include "values/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mercato::text {
namespace {

using Parts = std::vector<std::string>;

TEST(TextLength, CountsCharactersNotBytes) {
  EXPECT_EQ(length(""), 0u);
  EXPECT_EQ(length("abc"), 3u);
  EXPECT_EQ(length("Größe"), 5u);
  EXPECT_EQ(length("日本語"), 3u);
  EXPECT_EQ(length("\xF0\x9F\x98\x80"), 1u);
  EXPECT_EQ(length("\xFF"
                   "a"),
            2u);
  EXPECT_EQ(length("a\x80"
                   "b"),
            2u);
  EXPECT_EQ(length("\x80"), 1u);
}

TEST(TextCuts, NeverSplitACharacter) {
  EXPECT_EQ(left("Größe", 3), "Grö");
  EXPECT_EQ(left("Größe", 0), "");
  EXPECT_EQ(left("Größe", 5), "Größe");
  EXPECT_EQ(left("Größe", 99), "Größe");
  EXPECT_EQ(right("Größe", 3), "öße");
  EXPECT_EQ(right("Größe", 0), "");
  EXPECT_EQ(right("Größe", 99), "Größe");
  EXPECT_EQ(without_last("Größe", 2), "Grö");
  EXPECT_EQ(without_last("Größe", 5), "");
  EXPECT_EQ(without_last("Größe", 99), "");
  EXPECT_EQ(without_last("", 1), "");
}

TEST(TextCuts, AgreeWithTheLengthAlsoForInvalidBytes) {
  for (const std::string& text : std::vector<std::string>{"a\x80"
                                                          "b\xC3",
                                                          "\x80\x80x", "\xF0\x9F", "日\xFF本"})
    for (std::size_t count = 0; count <= length(text); ++count) {
      EXPECT_EQ(length(left(text, count)), count);
      EXPECT_EQ(std::string(left(text, length(text) - count)) + std::string(right(text, count)), text);
    }
}

TEST(TextTrim, TakesBlanksOnly) {
  EXPECT_EQ(trim("  a b  "), "a b");
  EXPECT_EQ(trim("   "), "");
  EXPECT_EQ(trim(""), "");
  EXPECT_EQ(trim("\ta\n"), "\ta\n");
  EXPECT_EQ(trim("\xC2\xA0"
                 "a"),
            "\xC2\xA0"
            "a");
}

TEST(TextCase, IsUnicodes) {
  EXPECT_EQ(to_upper("abc-é-я"), "ABC-É-Я");
  EXPECT_EQ(to_lower("ABC-É-Я"), "abc-é-я");
  EXPECT_EQ(to_upper("i"), "I");
  // One letter becomes one letter, so that no two names become one.
  EXPECT_EQ(to_upper("straße ﬁ ΐ"), "STRAßE ﬁ ΐ");
  EXPECT_EQ(to_upper("a\xFFß"), "A\uFFFDß");
}

TEST(TextNames, AreEqualButForAsciiCase) {
  EXPECT_TRUE(equal_names("ProductId", "PRODUCTID"));
  EXPECT_FALSE(equal_names("ProductId", "PRODUCTI"));
  EXPECT_FALSE(equal_names("é", "É"));
  EXPECT_FALSE(equal_names("[", "{"));
}

TEST(TextReplace, TakesEveryOccurrenceFromTheLeft) {
  EXPECT_EQ(replace_all("a'b''c", "'", "''"), "a''b''''c");
  EXPECT_EQ(replace_all("aaa", "aa", "b"), "ba");
  EXPECT_EQ(replace_all("abc", "", "x"), "abc");
  EXPECT_EQ(replace_all("", "a", "x"), "");
  EXPECT_EQ(replace_all("abc", "b", ""), "ac");
}

TEST(TextSplit, KeepsEmptyPartsAndGivesNoneForTheEmptyText) {
  EXPECT_EQ(split("", ";"), Parts{});
  EXPECT_EQ(split("a", ";"), Parts{"a"});
  EXPECT_EQ(split("a;b", ";"), (Parts{"a", "b"}));
  EXPECT_EQ(split(";a;;b;", ";"), (Parts{"", "a", "", "b", ""}));
  EXPECT_EQ(split(";", ";"), (Parts{"", ""}));
  EXPECT_EQ(split("a;b", ""), Parts{"a;b"});
  EXPECT_EQ(split("a/\\b/\\", "/\\"), (Parts{"a", "b", ""}));
}

TEST(TextValidity, IsThatOfUtf8) {
  for (const std::string& valid :
       std::vector<std::string>{"", "abc", "Größe", "\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF", "\xE2\x80\x8F"})
    EXPECT_TRUE(is_valid(valid));
  EXPECT_TRUE(is_valid(std::string("a\0b", 3)));
  for (const std::string& invalid :
       std::vector<std::string>{"\x80", "\xC0\xAF", "\xC3", "\xE2\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                "\xF8\x88\x80\x80\x80", "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xFF"})
    EXPECT_FALSE(is_valid(invalid));
}

}  // namespace
}  // namespace mercato::text
