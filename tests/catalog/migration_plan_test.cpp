// SPDX-License-Identifier: Apache-2.0
// What would become of rights and favourites, told before they move.
#include <gtest/gtest.h>

#include "catalog/migration.h"
#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

using Twin = RightsMove::Twin;
using Fate = FavoriteFate::Kind;

// Catalogue 1 with Tools (1) and Saws (2) below it, Paint (3) and Glue (4); catalogue 2 with TOOLS (5) and saws (6)
// below it, and Glue (7) below Saws.
class PlannedRights : public CatalogRightsTest {
 protected:
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("old");
    add_catalog("new");
    add_node(1, std::nullopt, "Tools");
    add_node(1, 1, "Saws");
    add_node(1, std::nullopt, "Paint");
    add_node(1, std::nullopt, "Glue");
    add_node(2, std::nullopt, "TOOLS");
    add_node(2, 5, "saws");
    add_node(2, 6, "Glue");
  }
  static RightsMove move_of(std::int32_t node) {
    NodeTree tree;
    for (const RightsMove& move : plan_rights(tree, 1, 2))
      if (move.node == node) return move;
    ADD_FAILURE() << "no move of node " << node;
    return {};
  }
};

TEST_F(PlannedRights, GoWhereTheCallMovesThem) {
  entitle("ann", 1);
  entitle_to_node("ann", 1, 2, 1, 2);
  entitle_to_node("bob", 1, 3, std::nullopt, 1);
  entitle_to_node("cyd", 1, 3, std::nullopt, 1, true, true);
  const auto before = all_rows();
  EXPECT_EQ(move_of(2).twin, Twin::same_path);
  EXPECT_EQ(move_of(2).twin_node, 6);
  EXPECT_EQ(move_of(3).twin, Twin::none);
  EXPECT_EQ(move_of(3).lost, 2u);
  EXPECT_EQ(count_rights(1), 4u);
  EXPECT_EQ(all_rows(), before);
  std::int32_t from = 1, to = 2;
  EXPECT_TRUE(t_catalog_->ChangeAuthorizationsForUser(from, to));
  EXPECT_EQ(count_rights(1), 0u);
  EXPECT_EQ(count_rights(2), 2u);
  EXPECT_EQ(rows("SELECT NODEID FROM CATALOGNODEBYUSER ORDER BY NODEID"), (Rows{{kNull}, {6}}));
}

TEST_F(PlannedRights, ThatTheCallWouldNotEndWithAreTold) {
  entitle_to_node("ann", 1, 2, 1, 2);
  entitle_to_node("ann", 1, 4, std::nullopt, 1);
  EXPECT_EQ(move_of(4).twin, Twin::other_path);
  EXPECT_EQ(move_of(4).twin_node, 7);
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 6 WHERE NODEID = 5"});
  EXPECT_EQ(move_of(2).twin, Twin::no_path);
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 99 WHERE NODEID = 5"});
  EXPECT_EQ(move_of(2).twin, Twin::no_path);
}

TEST_F(PlannedRights, AreLookedUpByTheStatementsOfTheCall) {
  entitle_to_node("ann", 1, 3, std::nullopt, 1);
  Recorder recorder;
  NodeTree tree;
  plan_rights(tree, 1, 2);
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT DISTINCT CN.NODEID, CN.NODENAME FROM CATALOGNODE CN  INNER JOIN CATALOGNODEBYUSER CU "
                        "ON CU.NODEID = CN.NODEID  WHERE CN.CATALOGID = 1",
                        " SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  NODENAME = 'Paint' AND CATALOGID = 2",
                        "SELECT COUNT(*) AS N FROM CATALOGNODEBYUSER WHERE CATALOGID = 1 AND NODEID = 3"}));
  EXPECT_TRUE(recorder.log.empty());
}

// Catalogue 1 has the products 1 hammer and 2 saw, catalogue 2 a hammer (3) on node 3 and again (4) on node 4.
class PlannedFavorites : public CatalogRightsTest {
 protected:
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("old");
    add_catalog("new");
    offer("hammer", 1);
    offer("saw", 1);
    offer("hammer", 2);
    offer("hammer", 2);
  }
  void mark(const std::string& user, int product) const {
    execute(
        {"INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES (" + literal(user) + ", " + std::to_string(product) + ")"});
  }
  static FavoriteFate fate(const std::string& user, int product, const std::string& part_number) {
    NodeTree tree;
    return fate_of({user, product, part_number}, offers_for(1, 2), tree);
  }
};

TEST_F(PlannedFavorites, GoWhereTheCallMovesThem) {
  entitle_to_node("ann", 2, 4, std::nullopt, 1);
  entitle("bob", 2, true);
  for (const char* user : {"ann", "bob", "cyd"})
    for (const int product : {2, 1}) mark(user, product);
  mark("ann", 1);
  mark("ann", 4);
  std::vector<std::string> listed;
  for (const MarkedProduct& marked : marked_products(1))
    listed.push_back(marked.user + " " + std::to_string(marked.product) + " " + marked.part_number + " " +
                     std::to_string(count_marks(marked)));
  EXPECT_EQ(listed, (std::vector<std::string>{"ann 1 hammer 2", "ann 2 saw 1", "bob 1 hammer 1", "bob 2 saw 1",
                                              "cyd 1 hammer 1", "cyd 2 saw 1"}));
  EXPECT_EQ(count_favorites(1), 7u);
  EXPECT_EQ(count_all_favorites(), 8u);
  EXPECT_EQ(fate("ann", 1, "hammer").kind, Fate::moved);
  EXPECT_EQ(fate("ann", 2, "saw").kind, Fate::no_such_part);
  EXPECT_EQ(fate("ann", 1, "HAMMER").kind, Fate::no_such_part);
  EXPECT_EQ(fate("bob", 1, "hammer").kind, Fate::view_only);
  EXPECT_EQ(fate("cyd", 1, "hammer").kind, Fate::no_right);
  std::int32_t from = 1, to = 2;
  EXPECT_TRUE(t_catalog_->ChangeFavorites(from, to));
  EXPECT_EQ(rows("SELECT USERID, PRODUCTID FROM FAVORITES"), (Rows{{"ann", 4}, {"ann", 4}, {"ann", 4}}));
}

TEST_F(PlannedFavorites, AreEndlessBelowACircle) {
  // Without a right anywhere: the offers come in no order, and one that may be ordered would end the search.
  mark("ann", 1);
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 3"});
  EXPECT_EQ(fate("ann", 1, "hammer").kind, Fate::endless);
  EXPECT_EQ(fate("ann", 1, "hammer").node, 3);
}

TEST_F(PlannedFavorites, OfAUserWithAQuoteAreRefusedByTheStore) {
  mark("O'Neil", 1);
  EXPECT_EQ(marked_products(1).front().user, "O'Neil");
  EXPECT_EQ(count_marks({"O'Neil", 1, "hammer"}), 1u);
  EXPECT_EQ(raised_by([] { fate("O'Neil", 1, "hammer"); }).Number, error_number::kStatementRefused);
}

}  // namespace
}  // namespace mercato::test
