// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/text_key.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/store/postgres_dialect/function_texts.h"

namespace mercato::store::postgres {
namespace {

struct KeyCase {
  const char* text;
  const char* made;
};

// The bytes count: the server makes the same ones.
TEST(TextKey, IsTheOneFormOfAllTextsThatAreTheSame) {
  for (const KeyCase& each : {KeyCase{"", ""},
                              {"  ", ""},
                              {"Bolt M8  ", "bolt m8"},
                              {"  Bolt", "  bolt"},
                              {"Bolt\t", "bolt\t"},
                              {"Bolt\u00A0", "bolt\u00A0"},
                              {"MÜLLER", "müller"},
                              {"MU\u0308LLER", "m\u00FCller"},
                              {"Straße", "straße"},
                              {"STRAẞE", "straße"},
                              {"ΑΣΣ", "ασσ"},
                              {"ας", "ασ"},
                              {"5 \u00B5m", "5 \u03BCm"},
                              {"\u1E69", "\u1E69"},
                              {"S\u0307\u0323", "\u1E69"},
                              {"\u0130", "i\u0307"},
                              {"ſ", "ſ"},
                              {"\u1FBC", "\u1FB3"},
                              {"Ꭰꭰ", "ᎠᎠ"},
                              {"ﬁ", "ﬁ"},
                              {"b\u200Bob", "b\u200Bob"},
                              {"각\u11A7", "각\u11A7"},
                              {"\U00010400", "\U00010428"}})
    EXPECT_EQ(key(each.text), each.made) << each.text;
}

TEST(TextKey, OfALikePatternKeepsTrailingBlanks) {
  EXPECT_EQ(folded("Bolt  "), "bolt  ");
  EXPECT_EQ(folded("ΑΣ "), "ασ ");
}

// What an index calls is run under another path of schemas than the caller's.
TEST(PostgresFunctions, NameTheSchemaOfAllThatIsTheirOwn) {
  constexpr std::string_view kOwn = "mercato", kSchema = "{schema}.";
  std::istringstream lines{std::string(function_texts())};
  int names = 0;
  for (std::string line; std::getline(lines, line);) {
    const std::string_view code = std::string_view(line).substr(0, line.find("--"));
    for (std::size_t at = 0; (at = code.find(kOwn, at)) != std::string_view::npos; at += kOwn.size(), ++names)
      EXPECT_TRUE(code.substr(0, at).ends_with(kSchema)) << line;
  }
  EXPECT_GT(names, 80);
}

}  // namespace
}  // namespace mercato::store::postgres
