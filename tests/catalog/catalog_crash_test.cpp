// SPDX-License-Identifier: Apache-2.0
// What is left of a change of catalogues, rights or favourites when the process dies in the middle of it.
#include <gtest/gtest.h>

#include "tests/catalog/rights_fixture.h"
#include "tests/support/another_process.h"

namespace mercato::test {
namespace {

class CatalogCrash : public CatalogRightsTest {
 protected:
  // Two catalogues of three nodes, and in each a product of the same part number; ann has one of them and two nodes of
  // the other.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    for (const int catalog : {1, 2}) {
      add_catalog("catalogue");
      add_category("category");
      add_product("1");
      link(catalog, catalog, 1);
      add_node(catalog, std::nullopt, "root");
      add_node(catalog, 3 * catalog - 2, "shelf", kCategoryNode, catalog);
      add_node(catalog, 3 * catalog - 1, "leaf");
    }
    entitle("ann", 2);
    entitle_to_node("ann", 1, 2, 1, 2);
    entitle_to_node("ann", 1, 3, 2, 3);
    execute({"INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('ann', 1, 1)",
             "INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ann', 1, 0, 1)",
             "INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('bob', 1, 0, 1)"});
  }

  // The process dies before each statement of the work in turn, also before those that write rows. In the last round
  // the work is done.
  template <class Work>
  void expect_whole_or_nothing_after_death(Work work, unsigned fewest) {
    const auto before = all_rows();
    for (unsigned statement = 1;; ++statement) {
      SCOPED_TRACE("death at statement " + std::to_string(statement));
      const int status = in_another_process([&] {
        Root<TCatalog> catalog;
        DeathAtAStatement death(statement);
        store::set_statement_observer(&death);
        work(catalog);
        store::set_statement_observer(nullptr);
      });
      if (WIFEXITED(status)) {
        EXPECT_GT(statement, fewest);
        EXPECT_NE(all_rows(), before);
        return;
      }
      ASSERT_EQ(all_rows(), before);
      store().forget_lost_numbers();
    }
  }
};

TEST_F(CatalogCrash, InACopyLeavesNothingOfIt) {
  expect_whole_or_nothing_after_death([](Root<TCatalog>& catalog) { catalog->CopyCatalog(1, 1, ""); }, 6);
  EXPECT_EQ(nodes_of(3).size(), 3u);
}

TEST_F(CatalogCrash, InAnAssignmentLeavesTheOldRights) {
  expect_whole_or_nothing_after_death(
      [](Root<TCatalog>& catalog) {
        catalog->UpdateUserCatalogIDs("ann", Array{1, 2});
      },
      2);
  EXPECT_EQ(rights().size(), 2u);
}

TEST_F(CatalogCrash, InAPopulationLeavesTheOldNodes) {
  expect_whole_or_nothing_after_death([](Root<TCatalog>& catalog) { catalog->PopulateUserNodes("ann"); }, 8);
  EXPECT_EQ(rows("SELECT COUNT(DISTINCT NODEID) FROM USERNODE"), (Rows{{5}}));
}

TEST_F(CatalogCrash, InAnExpiryLeavesACatalogueThatIsActive) {
  expect_whole_or_nothing_after_death(
      [](Root<TCatalog>& catalog) {
        std::int32_t id = 1;
        catalog->ExpireCatalog(id);
      },
      2);
  EXPECT_EQ(rows("SELECT PRODUCTID FROM PRODUCT WHERE DISABLED = 1"), (Rows{{1}}));
}

TEST_F(CatalogCrash, InAMigrationOfFavouritesLeavesAllOfThem) {
  expect_whole_or_nothing_after_death(
      [](Root<TCatalog>& catalog) {
        std::int32_t from = 1, to = 2;
        catalog->ChangeFavorites(from, to);
      },
      6);
  EXPECT_EQ(rows("SELECT USERID, PRODUCTID FROM FAVORITES"), (Rows{{"ann", 2}}));
}

}  // namespace
}  // namespace mercato::test
