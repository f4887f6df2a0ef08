// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/like_binding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/store/dialect/like_reader.h"
#include "platform/store/sqlite/like_pattern.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

struct Case {
  const char* pattern;
  const char* bound;
  bool is_exact;
};

TEST(LikeBinding, WritesAPatternForTheServer) {
  for (const Case& each : {Case{"", "", true},
                           {"Bolt%", "bolt%", true},
                           {"%ÄÖ_", "%äö_", true},
                           {"E\u0301%", "\u00E9%", true},
                           {"100[%]", "100\\%", true},
                           {"a[_]b[[]c", "a\\_b[c", true},
                           {"a\\b", "a\\\\b", true},
                           {"[a-a]", "a", true},
                           {"]", "]", true},
                           {"[A-F]%", "_%", false},
                           {"[^a]b", "_b", false},
                           {"[ab]", "_", false},
                           {"[]", "_", false},
                           {"x[", "x_", false},
                           {"a  ", "a  ", true}}) {
    const LikeBinding binding = bind_like(each.pattern);
    EXPECT_EQ(binding.pattern, each.bound) << each.pattern;
    EXPECT_EQ(binding.is_exact, each.is_exact) << each.pattern;
  }
}

TEST(LikeBinding, TakesTheMeaningFromWhatIsBehindTheEscape) {
  for (const Case& each : {Case{"10!%", "10\\%", true},
                           {"!_x", "\\_x", true},
                           {"![a]", "[a]", true},
                           {"!!%", "!%", true},
                           {"!", "!", true},
                           {"!e\u0301", "\u00E9", true},
                           {"[!]%", "!%", true}}) {
    const LikeBinding binding = bind_like(each.pattern, "!");
    EXPECT_EQ(binding.pattern, each.bound) << each.pattern;
    EXPECT_EQ(binding.is_exact, each.is_exact) << each.pattern;
  }
  EXPECT_EQ(bind_like("a\\%", "\\").pattern, "a\\%");
  EXPECT_EQ(bind_like("a%%", "%").pattern, "a\\%");
}

TEST(LikeBinding, HasAnOutlineOfWhatFoldingLeavesAsItIs) {
  for (const auto& [pattern, outline] : {std::pair{"", ""},
                                         {"Bolt%", "bolt%"},
                                         {"%-04-3%", "%-04-3%"},
                                         {"%8\u2103~1%", "%8%~1%"},
                                         {"Kiln", "%ln"},
                                         {"a;b`c", "a%b%c"},
                                         {"x_y[ab]z", "x%y%z"},
                                         {"100[%]a[_]\\", "100\\%a\\_\\\\"},
                                         {"%\u00C4\u00D6%", "%"}})
    EXPECT_EQ(bind_like(pattern).outline, outline) << pattern;
}

// The failure is mercato_like's own, which any text that is not Null must reach.
TEST(LikeBinding, LeavesAnEscapeThatIsNoneToTheServer) {
  for (const char* escape : {"", "ab", "é"}) {
    const LikeBinding binding = bind_like("a_b", escape);
    EXPECT_EQ(binding.pattern, "%") << escape;
    EXPECT_FALSE(binding.is_exact) << escape;
  }
}

// LIKE as the server does it on characters, with \ as the escape.
bool is_like(const std::u32string_view pattern, const std::u32string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == U'%') {
    for (std::size_t skipped = 0; skipped <= text.size(); ++skipped)
      if (is_like(pattern.substr(1), text.substr(skipped))) return true;
    return false;
  }
  if (text.empty()) return false;
  if (pattern[0] == U'_') return is_like(pattern.substr(1), text.substr(1));
  const std::size_t at = pattern[0] == U'\\' ? 1 : 0;
  return pattern.at(at) == text[0] && is_like(pattern.substr(at + 1), text.substr(1));
}

std::string lower_of_ascii(std::string text) {
  for (char& byte : text)
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  return text;
}

std::u32string characters_of(std::string_view text) {
  std::u32string characters;
  for (std::size_t position = 0; position < text.size();) characters += dialect::next_character(text, position);
  return characters;
}

TEST(LikeBinding, MatchesWhatTheEmbeddedStoreMatches) {
  const std::vector<std::string> pieces = {"%",  "_",     "[a-c]",  "[^a]",       "[%]", "[", "]",   "^",
                                           "-",  "\\",    "a",      "B",          "é",   "e", "E",   "\u0301",
                                           "ß",  " ",     "!",      "s",          "Σ",   "ς", "[é]", "[ab]",
                                           "[]", "[a-a]", "\u200B", "\U00010400", "%a",  "k", "i",   "1"};
  const std::vector<std::string> letters = {"a", "b", "C",          "é",      "e",      "\u0301", "ß", " ",      "!",
                                            "s", "σ", "Σ",          "\\",     "%",      "_",      "[", "]",      "^",
                                            "-", "E", "\U00010428", "\u200B", "\u212A", "\u0130", "i", "\u0307", "1"};
  std::mt19937 random(14);
  const auto text_of = [&random](const std::vector<std::string>& choice) {
    std::string text;
    for (std::size_t i = random() % 6; i > 0; --i) text += choice[random() % choice.size()];
    return text;
  };
  const sqlite::TextOrder order;
  int matched = 0, exact = 0;
  for (int i = 0; i < 10000; ++i) {
    const std::string pattern = text_of(pieces), text = text_of(letters);
    const bool escapes = random() % 2 == 0;
    const LikeBinding binding = escapes ? bind_like(pattern, "!") : bind_like(pattern);
    const bool expected = sqlite::LikePattern(pattern, escapes ? U'!' : 0, order).matches(text);
    const bool found = is_like(characters_of(binding.pattern), characters_of(text::folded(text)));
    if (binding.is_exact)
      ASSERT_EQ(found, expected) << pattern << " | " << text << " | " << binding.pattern;
    else
      ASSERT_TRUE(found || !expected) << pattern << " | " << text << " | " << binding.pattern;
    const bool has_outline = is_like(characters_of(binding.outline), characters_of(lower_of_ascii(text)));
    ASSERT_TRUE(has_outline || !expected) << pattern << " | " << text << " | " << binding.outline;
    matched += expected;
    exact += binding.is_exact;
  }
  EXPECT_GT(matched, 200);
  EXPECT_GT(exact, 5000);
}

}  // namespace
}  // namespace mercato::store::postgres
