// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/store/dialect/like_prefix.h"
#include "platform/store/sqlite/collation.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::store::sqlite {
namespace {

int sign(int order) { return (order > 0) - (order < 0); }

TEST(TextOrder, CaseAndTrailingBlanksDoNotCount) {
  const TextOrder order;
  EXPECT_EQ(order.compare("Bolt", "bOLT"), 0);
  EXPECT_EQ(order.compare("bolt", "bolt   "), 0);
  EXPECT_EQ(order.compare("", "  "), 0);
  EXPECT_EQ(order.compare("ÄÖ", "äö "), 0);
}

TEST(TextOrder, AccentsAndLeadingBlanksCount) {
  const TextOrder order;
  EXPECT_NE(order.compare("Muller", "Müller"), 0);
  EXPECT_NE(order.compare("a", "á"), 0);
  EXPECT_NE(order.compare(" a", "a"), 0);
  EXPECT_NE(order.compare("a b", "ab"), 0);
  EXPECT_NE(order.compare("a\tb", "a b"), 0);
}

// "bob" and an invisible character behind it was bob for the store.
TEST(TextOrder, CharactersThatShowNothingCount) {
  const TextOrder order;
  for (const char* other : {"bob\u200B", "bob\x01", "b\u00ADob", "bob\uFEFF", "\u2060bob", "bob\u0007 "}) {
    EXPECT_NE(order.compare("bob", other), 0) << testing::PrintToString(other);
    EXPECT_EQ(order.compare("bob", other), -order.compare(other, "bob")) << testing::PrintToString(other);
    EXPECT_EQ(order.compare(other, other), 0);
    // They stand beside each other all the same.
    EXPECT_LT(order.compare(other, "bobby"), 0);
    EXPECT_GT(order.compare(other, "boa"), 0);
  }
}

TEST(TextOrder, FormsOfALetterCountAndCompositionDoesNot) {
  const TextOrder order;
  EXPECT_NE(order.compare("ﬁ", "fi"), 0);
  EXPECT_NE(order.compare("m²", "m2"), 0);
  EXPECT_EQ(order.compare("Müller", "MU\u0308LLER "), 0);
  EXPECT_EQ(order.compare("\u1E69", "s\u0307\u0323"), 0);
}

// LIKE, and whoever compares outside of the store, ask for the same fold and not for this order.
TEST(TextOrder, WhatFoldsToTheSameIsTheSame) {
  const TextOrder order;
  for (char32_t character = 1; character < 0x20000; ++character) {
    if (U_IS_SURROGATE(character)) continue;
    std::string text;
    text::append(text, character);
    ASSERT_EQ(order.compare(text, text::folded(text)), 0) << std::hex << static_cast<std::uint32_t>(character);
  }
}

TEST(TextOrder, SortsAsPeopleExpect) {
  const std::vector<std::string> sorted = {"",   "_x",    "-x",    "1",         "10", "2",     "a", "a b",
                                           "ab", "Apfel", "äpfel", "Apfelsine", "Z",  "zebra", "漢"};
  const TextOrder order;
  for (std::size_t i = 0; i < sorted.size(); ++i)
    for (std::size_t k = 0; k < sorted.size(); ++k)
      EXPECT_EQ(sign(order.compare(sorted[i], sorted[k])), sign(static_cast<int>(i) - static_cast<int>(k)))
          << sorted[i] << " " << sorted[k];
}

// The quick way for plain texts must be the same order, or an index would be out of order.
TEST(TextOrder, AgreesWithTheCollatorOnRandomTexts) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("", &status);
  ASSERT_TRUE(U_SUCCESS(status));
  ucol_setStrength(collator, UCOL_SECONDARY);
  ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  const TextOrder order;
  std::mt19937 random(20260701);
  // Alike enough that many pairs differ late: case, accents, marks that join with the character before, control
  // characters, characters that sort together with their neighbours, bytes that are no UTF-8.
  const std::vector<std::string> pieces = {"a",
                                           "A",
                                           "b",
                                           "l",
                                           "L",
                                           " ",
                                           "-",
                                           "_",
                                           ".",
                                           ",",
                                           "'",
                                           "\"",
                                           "~",
                                           "0",
                                           "9",
                                           "Z",
                                           "\t",
                                           "\n",
                                           "\x01",
                                           "\x1F",
                                           "\x7F",
                                           "á",
                                           "Á",
                                           "\xCC\x81",
                                           "\xC2\xB7",
                                           "\xCE\x87",
                                           "ß",
                                           "æ",
                                           "ﬁ",
                                           "漢",
                                           "\xE0\xB9\x80\xE0\xB8\x81",
                                           "\xFF",
                                           "\xC3",
                                           "\xE2\x82",
                                           "\xF0\x9F\x98\x80",
                                           "ss",
                                           "ae",
                                           "k",
                                           "\xE2\x84\xAA"};
  const auto text = [&](bool ascii) {
    std::string result;
    for (auto length = random() % 6; length > 0; --length) {
      if (ascii)
        result += static_cast<char>(random() % 128);
      else
        result += pieces[random() % pieces.size()];
    }
    return result;
  };
  for (int i = 0; i < 300000; ++i) {
    const bool ascii = i % 3 == 0;
    std::string left = text(ascii), right = random() % 4 == 0 ? left + text(ascii) : text(ascii);
    std::string left_trimmed = left, right_trimmed = right;
    left_trimmed.erase(left_trimmed.find_last_not_of(' ') + 1);
    right_trimmed.erase(right_trimmed.find_last_not_of(' ') + 1);
    status = U_ZERO_ERROR;
    const int expected =
        ucol_strcollUTF8(collator, left_trimmed.data(), static_cast<std::int32_t>(left_trimmed.size()),
                         right_trimmed.data(), static_cast<std::int32_t>(right_trimmed.size()), &status);
    // What is nothing to the collator counts last.
    const int rest = text::folded(left_trimmed).compare(text::folded(right_trimmed));
    ASSERT_EQ(sign(order.compare(left, right)), sign(expected != 0 ? expected : rest))
        << testing::PrintToString(left) << " " << testing::PrintToString(right);
  }
  ucol_close(collator);
}

TEST(TextOrder, EveryPairOfSingleCharactersAgreesWithTheCollator) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("", &status);
  ASSERT_TRUE(U_SUCCESS(status));
  ucol_setStrength(collator, UCOL_SECONDARY);
  ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  const TextOrder order;
  for (int first = 0; first < 128; ++first) {
    for (int second = 0; second < 128; ++second) {
      const std::string left = {static_cast<char>(first), 'x'}, right = {static_cast<char>(second), 'x'};
      const int expected = ucol_strcollUTF8(collator, left.data(), 2, right.data(), 2, &status);
      const int rest = text::folded(left).compare(text::folded(right));
      EXPECT_EQ(sign(order.compare(left, right)), sign(expected != 0 ? expected : rest)) << first << " " << second;
    }
  }
  ucol_close(collator);
}

// What a search in an index by the begin of a pattern rests on.
TEST(TextOrder, TextsThatBeginAlikeStandTogether) {
  const TextOrder order;
  std::mt19937 random(20260703);
  const std::vector<std::string> pieces = {"a",
                                           "l",
                                           "L",
                                           "z",
                                           "9",
                                           " ",
                                           "-",
                                           "\x01",
                                           "\t",
                                           "á",
                                           "\xCC\x81",
                                           "\xC2\xB7",
                                           "\xCE\x87",
                                           "漢",
                                           "\xFF",
                                           "\xE2\x82",
                                           "\xE0\xB9\x80",
                                           "\xF4\x8F\xBF\xBF",
                                           "\xEF\xBF\xBD",
                                           "\xF0\x9F\x98\x80"};
  for (int i = 0; i < 100000; ++i) {
    std::string prefix;
    for (auto length = 1 + random() % 4; length > 0; --length) prefix += "aAlLzZ09kstij"[random() % 13];
    std::string text = prefix;
    for (char& c : text)
      if (c >= 'a' && random() % 2 == 0) c = static_cast<char>(c - 'a' + 'A');
    for (auto length = random() % 4; length > 0; --length) text += pieces[random() % pieces.size()];
    ASSERT_LE(order.compare(prefix, text), 0) << testing::PrintToString(prefix) << " " << testing::PrintToString(text);
    ASSERT_LT(order.compare(text, prefix + std::string(dialect::kBehindAllTexts)), 0)
        << testing::PrintToString(prefix) << " " << testing::PrintToString(text);
  }
}

TEST(TextOrder, SeveralThreadsCompareEachWithItsOwn) {
  std::vector<std::thread> threads;
  std::array<int, 4> wrong{};
  for (int& count : wrong) {
    threads.emplace_back([&count] {
      const TextOrder order;
      for (int i = 0; i < 2000; ++i)
        if (order.compare("Größe", "GRÖSSE") == 0 || order.compare("é", "É") != 0 || order.compare("a", "B") >= 0)
          ++count;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, (std::array<int, 4>{}));
}

}  // namespace
}  // namespace mercato::store::sqlite
