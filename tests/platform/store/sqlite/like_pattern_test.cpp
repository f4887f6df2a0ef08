// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/like_pattern.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "platform/store/call_limit.h"
#include "tests/platform/failure_of.h"
#include "tests/support/processor_time.h"
#include "values/same_text.h"

namespace mercato::store::sqlite {
namespace {

bool matches(std::string_view pattern, std::string_view text, char32_t escape = 0) {
  static const TextOrder order;
  return LikePattern(pattern, escape, order).matches(text);
}

TEST(LikePattern, MatchesAsTheServerDoes) {
  const struct {
    const char* pattern;
    const char* text;
    bool expected;
  } cases[] = {
      {"", "", true},
      {"", "a", false},
      {"%", "", true},
      {"%", "abc", true},
      {"%%", "abc", true},
      {"abc", "abc", true},
      {"abc", "ABC", true},
      {"ABC", "abc", true},
      {"abc", "abcd", false},
      {"abc", "ab", false},
      {"abc%", "abcd", true},
      {"%abc", "xxabc", true},
      {"%abc", "abcabcx", false},
      {"%abc%", "xABCx", true},
      {"a%b%c", "aXbYc", true},
      {"a%b%c", "acb", false},
      {"a%a", "a", false},
      {"a%a", "aa", true},
      {"%ab%ab", "ab", false},
      {"%ab%ab", "abab", true},
      {"%aab", "aaab", true},
      {"_", "", false},
      {"_", "x", true},
      {"_", "漢", true},
      {"__", "漢", false},
      {"a_c", "aßc", true},
      {"%_", "", false},
      {"%_", "ab", true},
      {"_%", "ab", true},
      {"%__", "ä", false},
      {"%_b", "äb", true},
      // Sets.
      {"[a-f]", "c", true},
      {"[a-f]", "C", true},
      {"[a-f]", "g", false},
      {"[a-f]", "é", true},
      {"[A-F]x", "bx", true},
      {"[abc]", "b", true},
      {"[abc]", "d", false},
      {"[^a]", "b", true},
      {"[^a]", "A", false},
      {"[^a]", "", false},
      {"[^a-c]", "d", true},
      {"[0-9][0-9]", "42", true},
      {"[0-9][0-9]", "4x", false},
      {"50[%]", "50%", true},
      {"50[%]", "500", false},
      {"[_]", "_", true},
      {"[_]", "a", false},
      {"[[]a]", "[a]", true},
      {"[[][%][_]", "[%_", true},
      {"[-a]", "-", true},
      {"[a-]", "-", true},
      {"[]", "", false},
      {"[]", "]", false},
      {"[abc", "a", false},
      {"[abc", "[abc", false},
      {"x[", "x[", false},
      {"]", "]", true},
      {"%[a-c]", "xb", true},
      {"%[é]%", "xÉy", true},
      // Accents and blanks count.
      {"muller", "müller", false},
      {"MÜLLER", "müller", true},
      {"%ü%", "Müller", true},
      {"abc ", "abc", false},
      {"abc", "abc ", false},
      {"abc%", "abc ", true},
      {" abc", "abc", false},
      {"k", "\xE2\x84\xAA", true},
      // Composed and decomposed letters are the same, and one character.
      {"Müller", "mu\u0308ller", true},
      {"mu\u0308ll%", "MÜLLER", true},
      {"M_ller", "Mu\u0308ller", true},
      {"%[ü]%", "Mu\u0308ller", true},
      {"[u\u0308]", "Ü", true},
      {"[^u]", "u\u0308", true},
      {"mu%", "mu\u0308ller", false},
      {"\u01F0%", "J\u030Cx", true},
      {"a_\u0301", "ab\u0301", true},
      // What shows nothing counts.
      {"bob", "bob\u200B", false},
      {"bob_", "bob\u200B", true},
      {"fi", "ﬁ", false},
  };
  for (const auto& each : cases)
    EXPECT_EQ(matches(each.pattern, each.text), each.expected) << each.pattern << " | " << each.text;
}

TEST(LikePattern, EscapeTakesTheMeaningAway) {
  EXPECT_TRUE(matches("50!%", "50%", '!'));
  EXPECT_FALSE(matches("50!%", "500", '!'));
  EXPECT_TRUE(matches("a!_b", "a_b", '!'));
  EXPECT_FALSE(matches("a!_b", "axb", '!'));
  EXPECT_TRUE(matches("![a]", "[a]", '!'));
}

TEST(LikePattern, BytesThatAreNoTextMatchThemselves) {
  EXPECT_TRUE(matches("\xFF", "\xFF"));
  EXPECT_FALSE(matches("\xFF", "\xFE"));
  EXPECT_TRUE(matches("%\xC3", "a\xC3"));
  EXPECT_TRUE(matches("_", "\xE2"));
  EXPECT_TRUE(matches("[\x80-\xFF]%",
                      "\xFF"
                      "a"));
  EXPECT_TRUE(matches(std::string_view("a\0b%", 4), std::string_view("A\0Bc", 4)));
}

// The plainest reading of a pattern, exponential and obviously right.
using Characters = std::u32string_view;

bool plain_match(Characters pattern, Characters text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '%')
    return plain_match(pattern.substr(1), text) || (!text.empty() && plain_match(pattern, text.substr(1)));
  if (text.empty()) return false;
  return (pattern[0] == '_' || pattern[0] == text[0]) && plain_match(pattern.substr(1), text.substr(1));
}

std::u32string folded_characters(const std::string& text) {
  const std::string folded = text::folded(text);
  std::u32string characters;
  for (std::size_t position = 0; position < folded.size();) characters += dialect::next_character(folded, position);
  return characters;
}

void expect_the_plainest_reading(const std::vector<std::string>& of_patterns,
                                 const std::vector<std::string>& of_texts) {
  std::mt19937 random(20260702);
  const auto make = [&random](const std::vector<std::string>& pieces, std::size_t longest) {
    std::string text;
    for (auto length = random() % (longest + 1); length > 0; --length) text += pieces[random() % pieces.size()];
    return text;
  };
  for (int i = 0; i < 100000; ++i) {
    const std::string pattern = make(of_patterns, 7), text = make(of_texts, 9);
    ASSERT_EQ(matches(pattern, text), plain_match(folded_characters(pattern), folded_characters(text)))
        << pattern << " | " << text;
  }
}

TEST(LikePattern, AgreesWithThePlainestReadingOnRandomTexts) {
  expect_the_plainest_reading({"a", "b", "%", "_"}, {"a", "b"});
}

// Some fold to letters of ASCII, some take the letter before them into another.
TEST(LikePattern, AgreesWithThePlainestReadingBeyondAscii) {
  expect_the_plainest_reading({"a", "i", "k", ";", "%", "_"},
                              {"A", "I", "\u0130", "\u212A", "\u037E", "\u1FEF", "\u0301", "\u00C1"});
}

// Each % of a hostile pattern takes the first place that fits, and never goes back.
TEST(LikePattern, ManyWildcardsDoNotMultiply) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "%a";
  EXPECT_FALSE(matches(pattern + "%b", std::string(5000, 'a')));
  EXPECT_TRUE(matches(pattern, std::string(5000, 'a')));
}

// Patterns like these ran for minutes and hours, whatever the call's limit.
TEST(LikePattern, EndsWithTheCall) {
  const auto outcome = [](const std::string& pattern, const std::string& text) {
    const CallLimit limit(0.05);
    const auto begin = mercato::test::processor_time();
    const std::int32_t number = mercato::test::failure_of([&] { matches(pattern, text); }).Number;
    EXPECT_LT(mercato::test::processor_time() - begin, std::chrono::seconds(2));
    return number;
  };
  const std::string many(1'000'000, 'a');
  EXPECT_EQ(outcome("%" + std::string(500'000, '_') + "b%", many), error_number::kTimeout);
  EXPECT_EQ(outcome("%" + many.substr(0, 500'000) + "b%", many), error_number::kTimeout);
  std::string sets;
  for (int i = 0; i < 60'000; ++i) sets += "[" + std::to_string(i) + "a-fx-z]";
  EXPECT_EQ(outcome(sets, many), error_number::kTimeout);
}

TEST(LikePattern, AlikeSetsCostLittle) {
  std::string sets;
  for (int i = 0; i < 60'000; ++i) sets += "[a-f]";
  EXPECT_TRUE(matches(sets, std::string(60'000, 'c')));
  EXPECT_FALSE(matches(sets, std::string(60'000, 'x')));
}

}  // namespace
}  // namespace mercato::store::sqlite
