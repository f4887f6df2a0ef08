// SPDX-License-Identifier: Apache-2.0
// Entries of users and profiles, as hosts list and count them.
#include "catalog/rights_entries.h"

#include <gtest/gtest.h>

#include "catalog/catalog_lists.h"
#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

class ListedEntries : public CatalogRightsTest {
 protected:
  // Catalogue 1 with the nodes 1 and 2 below it, and node 3 whose parent is of catalogue 2.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("house");
    add_catalog("other");
    add_node(1, std::nullopt, "tools");
    add_node(1, 1, "saws");
    add_node(1, 4, "lost");
    add_node(2, std::nullopt, "paper");
  }
};

TEST_F(ListedEntries, AreThoseOfTheUserOrOfTheProfile) {
  entitle_to_node("O'Neil", 1, 2, 1, 2, true);
  entitle("o'neil ", 1);
  entitle("O'Neil", 7, false, true);
  const RecordsetPtr entries = entries_of({"O'Neil", false});
  EXPECT_EQ(entries->rows(), (Rows{{1, "house", kNull, kZero, kZero}, {1, "house", 2, std::int16_t{2}, kOne}}));
  EXPECT_EQ(entries_of({"O'Neil", true})->rows(), (Rows{{7, kNull, kNull, kZero, kZero}}));
  EXPECT_EQ(count_entries({"O'Neil", false}), 2u);
  EXPECT_EQ(count_entries({"O'Neil", true}), 1u);
  EXPECT_EQ(count_entries({"nobody", false}), 0u);
}

TEST_F(ListedEntries, BelowWrongParentsAreThoseThatCannotBeLaidOut) {
  entitle_to_node("ann", 1, 2, 1, 2);
  entitle_to_node("ann", 1, 3, 4, 2);
  entitle_to_node("ann", 1, 99, std::nullopt, 1);
  {
    NodeTree tree;
    const WrongParents wrong = wrong_parents(tree, "ann");
    EXPECT_EQ(wrong.below_circles, std::vector<std::int32_t>{});
    ASSERT_EQ(wrong.outside.size(), 2u);
    EXPECT_EQ(wrong.outside[0].node, 3);
    EXPECT_EQ(wrong.outside[0].catalog, 1);
    EXPECT_EQ(wrong.outside[1].node, 99);
  }
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 2 WHERE NODEID = 1"});
  NodeTree tree;
  EXPECT_EQ(wrong_parents(tree, "ann").below_circles, std::vector<std::int32_t>{2});
  EXPECT_EQ(wrong_parents(tree, "bob").outside.size(), 0u);
}

TEST_F(ListedEntries, ThatOverlapLayANodeOutTwice) {
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  entitle_to_node("ann", 1, 2, 1, 1);
  EXPECT_TRUE(t_catalog_->PopulateUserNodes("ann"));
  const LaidOutCounts counts = count_laid_out_nodes("ANN");
  EXPECT_EQ(counts.rows, 3u);
  EXPECT_EQ(counts.nodes, 2u);
}

TEST_F(ListedEntries, AndProductsOfACatalogueAreCounted) {
  add_category("pens");
  add_product("1");
  add_product("2");
  link(1, 1, 1);
  add_node(1, 1, "pens", kCategoryNode, 1);
  add_node(1, 2, "pens again", kCategoryNode, 1);
  entitle("ann", 1);
  entitle_to_node("ann", 1, 2, 1, 2);
  entitle("buyers", 1, false, true);
  execute({"UPDATE CATALOG SET CATALOGDESCRIPTION = 'all' WHERE CATALOGID = 1",
           "UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = 2"});
  const CatalogCounts counts = counts_of_catalog(1);
  EXPECT_EQ(counts.nodes, 5u);
  EXPECT_EQ(counts.products, 1u);
  EXPECT_EQ(counts.users, 1u);
  EXPECT_EQ(counts.profiles, 1u);
  EXPECT_EQ(counts_of_catalog(9).nodes, 0u);
  EXPECT_EQ(description_of_catalog(1), "all");
  EXPECT_EQ(description_of_catalog(2), "");
  EXPECT_EQ(count_enabled_products(), 1u);
  EXPECT_EQ(product_counts_by_category(), (std::map<std::int32_t, std::int32_t>{{1, 1}}));
  EXPECT_EQ(all_category_names()->Item(1), Variant("pens"));
}

}  // namespace
}  // namespace mercato::test
