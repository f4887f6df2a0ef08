// SPDX-License-Identifier: Apache-2.0
// What a user may see, as a search keeps to it: that nothing else is found, counted or proposed.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/search/search_fixture.h"

namespace mercato::test {
namespace {

class SearchForUser : public SearchTest {
 protected:
  SearchForUser() = default;
  void SetUp() override {
    SearchTest::SetUp();
    catalog_ = add_catalog();
    node_ = add_node(catalog_);
    hang(add_product("A-1", "red paper"), node_);
  }

  std::int32_t catalog_ = 0;
  Node node_{};
};

TEST_F(SearchForUser, AUserWithoutRightsFindsNothing) {
  EXPECT_EQ(found("paper", "ANN"), Numbers());
  EXPECT_EQ(found("A-1", "ANN"), Numbers());
  EXPECT_EQ(found("", "ANN"), Numbers());
  EXPECT_EQ(find("paper", "ANN").total, 0);
  EXPECT_EQ(found("paper", ""), Numbers());
}

TEST_F(SearchForUser, HeSeesTheNodesThatAreLaidOutForHim) {
  const Node other = add_node(catalog_);
  hang(add_product("A-2", "red paper"), other);
  lay_out("ANN", catalog_, node_);
  lay_out("BEN", catalog_, other);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1"}));
  EXPECT_EQ(found("paper", "BEN"), (Numbers{"A-2"}));
  EXPECT_EQ(found("paper", "ann "), (Numbers{"A-1"}));
}

TEST_F(SearchForUser, HeSeesAllNodesOfACatalogueThatHeHasWholeBeItForViewOnly) {
  hang(add_product("A-2", "red paper"), add_node(catalog_));
  hang(add_product("A-3", "red paper"), add_node(add_catalog()));
  give_catalog("ANN", catalog_, 0);
  give_catalog("BEN", catalog_, 1);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1", "A-2"}));
  EXPECT_EQ(found("paper", "BEN"), (Numbers{"A-1", "A-2"}));
}

TEST_F(SearchForUser, AnEntryForANodeCountsWhenItIsLaidOut) {
  execute(
      {"INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES (N'ANN', 0, 1, 1, "
       "1, 0)"});
  EXPECT_EQ(found("paper", "ANN"), Numbers());
  lay_out("ANN", catalog_, node_);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1"}));
}

TEST_F(SearchForUser, EntriesOfProfilesDoNotCount) {
  give_catalog("ANN", catalog_, 0, 1);
  EXPECT_EQ(found("paper", "ANN"), Numbers());
}

TEST_F(SearchForUser, HisIdMayHaveQuotes) {
  give_catalog("O''NEILL", catalog_);
  EXPECT_EQ(found("paper", "O'Neill"), (Numbers{"A-1"}));
  EXPECT_EQ(found("paper", "' OR '1'='1"), Numbers());
}

TEST_F(SearchForUser, HeSeesNothingOfACatalogueThatIsNotActive) {
  const std::int32_t draft = add_catalog(false);
  const Node node = add_node(draft);
  hang(add_product("A-2", "red paper"), node);
  give_catalog("ANN", draft);
  lay_out("ANN", draft, node);
  EXPECT_EQ(found("paper", "ANN"), Numbers());
  execute({"UPDATE CATALOG SET ACTIVE = 1 WHERE CATALOGID = 2"});
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-2"}));
}

TEST_F(SearchForUser, ANodeOfAnotherTypeShowsNoProducts) {
  hang(add_product("A-2", "red paper"), add_node(catalog_, 0));
  give_catalog("ANN", catalog_);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1"}));
}

TEST_F(SearchForUser, HeSeesNoProductThatIsDisabledOrInNoCategory) {
  hang(add_product("A-2", "red paper", "DISABLED", "1"), node_);
  hang(add_product("A-3", "red paper", "DISABLED", "NULL"), node_);
  add_product("A-4", "red paper");
  give_catalog("ANN", catalog_);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1"}));
  EXPECT_EQ(found("paper"), (Numbers{"A-1", "A-2", "A-3", "A-4"}));
}

TEST_F(SearchForUser, AProductInSeveralCategoriesIsSeenThroughAnyOfThemOnce) {
  const Node other = add_node(catalog_), hidden = add_node(add_catalog());
  hang(1, other);
  hang(1, hidden);
  lay_out("ANN", catalog_, other);
  lay_out("ANN", catalog_, node_);
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"A-1"}));
  EXPECT_EQ(find("paper", "ANN").total, 1);
}

// Else a filter would tell that a product hangs where he may not look.
TEST_F(SearchForUser, FiltersLookOnlyWhereHeSees) {
  const Node hidden = add_node(catalog_);
  hang(1, hidden);
  lay_out("ANN", catalog_, node_);
  ProductSearch search;
  search.user = "ANN";
  search.category = node_.category;
  EXPECT_EQ(numbers_of(find_products(search)), (Numbers{"A-1"}));
  search.category = hidden.category;
  EXPECT_EQ(numbers_of(find_products(search)), Numbers());
  const std::int32_t second = add_catalog();
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (2, N'node', 1, 1)"});
  search.category.reset();
  search.catalog = second;
  EXPECT_EQ(numbers_of(find_products(search)), Numbers());
  search.catalog = catalog_;
  EXPECT_EQ(numbers_of(find_products(search)), (Numbers{"A-1"}));
}

TEST_F(SearchForUser, NumbersAndGtinsOfHiddenProductsFindNothing) {
  add_product("SECRET-1", "hidden", "BUYFROMPARTNUMBER, MFRPARTNUMBER, GTIN", "N'SUP-1', N'MAN-1', N'40063813'");
  give_catalog("ANN", catalog_);
  for (const char* text : {"SECRET-1", "SUP-1", "MAN1", "40063813", "hidden", "SEC"}) {
    EXPECT_EQ(found(text), (Numbers{"SECRET-1"})) << text;
    const FoundProducts none = find(text, "ANN");
    EXPECT_TRUE(none.products.empty()) << text;
    EXPECT_EQ(none.total, 0) << text;
    EXPECT_TRUE(none.suggestions.empty()) << text;
  }
}

// Hidden products are passed over, however many they are, before anything is counted or ordered.
TEST_F(SearchForUser, ManyHiddenProductsChangeNothing) {
  insert_rows("PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION)", 3000,
              [](int number) { return "N'PAPER" + std::to_string(number) + "', N'paper'"; });
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'PAPERZ', N'seen')",
           "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (3002, 1)"});
  give_catalog("ANN", catalog_);
  const FoundProducts seen = find("paper", "ANN");
  EXPECT_EQ(numbers_of(seen), (Numbers{"PAPERZ", "A-1"}));
  EXPECT_EQ(seen.total, 2);
  EXPECT_FALSE(seen.more);
  EXPECT_EQ(find("paper").total, std::nullopt);
  drop_text_index();
  EXPECT_EQ(found("paper", "ANN"), (Numbers{"PAPERZ", "A-1"}));
}

TEST_F(SearchForUser, TheAnswerComesNoSoonerForWhatIsNotThere) {
  using std::chrono::steady_clock;
  give_catalog("ANN", catalog_);
  for (const char* text : {"paper", "nothing at all", "%"}) {
    const auto begin = steady_clock::now();
    find(text, "ANN");
    EXPECT_GE(steady_clock::now() - begin, std::chrono::milliseconds(8)) << text;
  }
}

}  // namespace
}  // namespace mercato::test
