// SPDX-License-Identifier: Apache-2.0
// What a search proposes to somebody who has found next to nothing.
#include <gtest/gtest.h>

#include "tests/search/search_fixture.h"

namespace mercato::test {
namespace {

using Texts = std::vector<std::string>;

class Suggestions : public SearchTest {
 protected:
  static Texts suggested(const std::string& text, const std::optional<std::string>& user = std::nullopt) {
    return find(text, user).suggestions;
  }
};

TEST_F(Suggestions, AMisspeltWordGetsThoseLikeIt) {
  add_product("A-1", "Resistor 10 kOhm");
  add_product("A-2", "Resistors, set");
  add_product("A-3", "Capacitor");
  struct Case {
    const char* text;
    Texts suggestions;
  };
  for (const Case& each : std::initializer_list<Case>{
           {"resitor", {"Resistor", "Resistors"}},    // left out
           {"resisstor", {"Resistor", "Resistors"}},  // put in
           {"rezistor", {"Resistor", "Resistors"}},   // replaced
           {"resisotr", {"Resistor", "Resistors"}},   // swapped
           {"capacitro", {"Capacitor"}},
           {"cpacitor", {"Capacitor"}},
           {"capcaitro", {"Capacitor"}},  // two faults
           {"transistor", {}},
           {"res", {}},
       })
    EXPECT_EQ(suggested(each.text), each.suggestions) << each.text;
}

TEST_F(Suggestions, OnlyTheMisspeltWordIsReplaced) {
  add_product("A-1", "blue pencil");
  add_product("A-2", "red pencil");
  EXPECT_EQ(suggested("red pensil"), (Texts{"red pencil"}));
  EXPECT_EQ(suggested("pensil blau"), Texts());
  EXPECT_EQ(suggested("bluee pensil"), (Texts{"blue pencil"}));
}

TEST_F(Suggestions, EachFindsSomething) {
  add_product("A-1", "blue pencil");
  add_product("A-2", "red crayon");
  EXPECT_EQ(suggested("crayon pensil"), Texts());
}

TEST_F(Suggestions, TheNearestComesFirstThenTheMostFrequent) {
  add_product("A-1", "cable tie");
  add_product("A-2", "cables");
  add_product("A-3", "gable");
  add_product("A-4", "cable drum");
  EXPECT_EQ(suggested("cabel"), (Texts{"cable"}));
  EXPECT_EQ(suggested("kable"), (Texts{"cable", "gable"}));
}

TEST_F(Suggestions, NumbersAreWordsToo) {
  add_product("KT-INS 114.DRE", "insulator");
  EXPECT_EQ(suggested("KTINS115DRE"), (Texts{"KT-INS 114.DRE"}));
}

TEST_F(Suggestions, AMissingAccentIsAFault) {
  add_product("A-1", "Caf\u00E9 noir");
  EXPECT_EQ(suggested("cafe"), (Texts{"Caf\u00E9"}));
}

TEST_F(Suggestions, ThereAreNoneForWhatIsFound) {
  add_product("A-1", "cable");
  add_product("A-2", "cabel");
  add_product("A-3", "cabel");
  add_product("A-4", "cabel");
  EXPECT_EQ(suggested("cabel"), Texts());
  EXPECT_EQ(suggested(""), Texts());
  add_product("CABLO", "x");
  EXPECT_EQ(suggested("cablo"), Texts());  // by its number
}

TEST_F(Suggestions, TwoProductsAreNextToNothing) {
  add_product("A-1", "cable");
  add_product("A-2", "cabel");
  EXPECT_EQ(suggested("cabel"), (Texts{"cable"}));
  add_product("A-3", "two cabel");
  EXPECT_EQ(suggested("cabel"), (Texts{"cable"}));
}

TEST_F(Suggestions, AreWordsOfProductsThatTheUserSees) {
  const std::int32_t catalog = add_catalog();
  const Node seen = add_node(catalog), hidden = add_node(catalog);
  hang(add_product("A-1", "gable"), seen);
  hang(add_product("A-2", "cable"), hidden);
  hang(add_product("A-3", "cable", "DISABLED", "1"), seen);
  lay_out("ANN", catalog, seen);
  EXPECT_EQ(suggested("kable"), (Texts{"cable", "gable"}));
  EXPECT_EQ(suggested("kable", "ANN"), (Texts{"gable"}));
  EXPECT_EQ(suggested("cabel", "ANN"), Texts());
}

TEST_F(Suggestions, AreTheSameByReading) {
  add_product("A-1", "Resistor 10 kOhm");
  add_product("A-2", "Capacitor");
  drop_text_index();
  EXPECT_EQ(suggested("resitor"), (Texts{"Resistor"}));
}

}  // namespace
}  // namespace mercato::test
