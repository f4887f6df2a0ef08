// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/catalog/rights_fixture.h"

namespace mercato::test {
namespace {

const std::string kNewCatalog = "SELECT * FROM CATALOG WHERE 0=1";
const std::string kNames = "SELECT * FROM CATALOG ORDER BY CATALOGNAME ";
const std::string kNodes =
    "SELECT NODEID, ICONID, PARENTNODEID, CATALOGID, NODENAME, SEQUENCE, "
    "NODETYPE, NODEURL, CATEGORYID, NODEDESCRIPTION FROM CATALOGNODE ";
const Level kCopy = {"Catalog.CopyCatalog"};
const Level kCopyNodes = {"Catalog.CopyCatalogNodes"};
const Level kNaming = {"Catalog.GenerateCopyCatalogNames"};

std::string catalog_row(int id) { return "SELECT * FROM CATALOG WHERE CATALOGID=" + std::to_string(id); }

class CatalogCopy : public CatalogRightsTest {
 protected:
  void copy(int catalog, int level, const std::string& name = "") {
    invoke(t_catalog_.object(), "CopyCatalog", {catalog, level, name});
  }
  Rows names() const { return rows("SELECT CATALOGNAME FROM CATALOG ORDER BY CATALOGID"); }
  void add_full_catalog() const {
    execute(
        {"INSERT INTO CATALOG (CATALOGNAME, CATALOGDESCRIPTION, ACTIVE, APPROVALCATALOG, SUPPLIERCATALOGID, VERSION, "
         "CATALOGLAYOUT, ICONID) VALUES ('Tools', 'all of them', 1, 0, 'S-1', '2.5', 1, 7)"});
  }
};

TEST_F(CatalogCopy, IsAnInactiveApprovalCatalogueWithTheOriginalsDescription) {
  add_full_catalog();
  add_node(1, std::nullopt, "root");
  for (const int level : {0, 2, -1, 32767, -32768}) {
    SCOPED_TRACE(level);
    execute({"DELETE FROM CATALOG WHERE CATALOGID > 1"});
    const auto others = all_rows();
    Recorder recorder;
    copy(1, level);
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(outcome(), Outcome::committed);
    EXPECT_EQ(recorder.statements, (Statements{catalog_row(1), kNewCatalog, kNames}));
    EXPECT_TRUE(recorder.log.empty());
    auto after = all_rows();
    ASSERT_EQ(after["CATALOG"].size(), 2u);
    const Variant id = after["CATALOG"][1][0];
    EXPECT_EQ(after["CATALOG"][1],
              (std::vector<Variant>{id, "Copy Of Tools", "all of them", kZero, kOne, kNull, "2.5", kZero, 7}));
    after["CATALOG"].pop_back();
    EXPECT_EQ(after, others);
  }
}

TEST_F(CatalogCopy, OfAllNodesTakesEachNodeWithItsNewParent) {
  add_full_catalog();
  add_catalog("other");
  add_node(2, std::nullopt, "not mine");
  execute(
      {"INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODEDESCRIPTION, SEQUENCE, NODETYPE, CATEGORYID, "
       "NODEURL, ICONID, SHOPOUT) VALUES (1, NULL, 'O''Neil & sons', 'a shop', 3, 3, NULL, 'http://shop', 9, 1)"});
  add_node(1, 4, "bolts", kCategoryNode, 70000);  // written before its parent
  add_node(1, 2, "screws");
  add_node(1, 4, "nuts", kCategoryNode, 8);
  add_node(1, std::nullopt, "second root");
  add_node(1, 6, "cycle a");
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 7 WHERE NODEID = 7"});
  entitle("ann", 1);
  execute({"INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('ann', 1, 2)",
           "INSERT INTO CATALOGNODEBYBP (CATALOGID, BUSINESSPARTNERID) VALUES (1, 5)"});
  const auto before = all_rows();
  Recorder recorder;
  copy(1, 1, "Mine");
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements,
            (Statements{catalog_row(1), kNewCatalog, kNodes + "WHERE CATALOGID = 1", kNodes + "WHERE 0=1",
                        "SELECT PARENTNODEID FROM CATALOGNODE WHERE CATALOGID = 3"}));
  EXPECT_EQ(nodes_of(3), (Rows{{8, 3, kNull, "O'Neil & sons", "a shop", 3, 3, kNull, "http://shop", 9, kZero},
                               {9, 3, 10, "bolts", kNull, kNull, 1, 70000, kNull, kNull, kZero},
                               {10, 3, 8, "screws", kNull, kNull, 0, kNull, kNull, kNull, kZero},
                               {11, 3, 10, "nuts", kNull, kNull, 1, 8, kNull, kNull, kZero},
                               {12, 3, kNull, "second root", kNull, kNull, 0, kNull, kNull, kNull, kZero},
                               {13, 3, 13, "cycle a", kNull, kNull, 0, kNull, kNull, kNull, kZero}}));
  auto after = all_rows();
  EXPECT_EQ(after["CATALOG"].back()[1], Variant("Mine"));
  after["CATALOG"].pop_back();
  after["CATALOGNODE"].resize(before.at("CATALOGNODE").size());
  EXPECT_EQ(after, before);
}

TEST_F(CatalogCopy, MakesRootsOfTheChildrenOfANodeOutside) {
  add_catalog("A");
  add_catalog("B");
  add_node(2, std::nullopt, "of B");
  add_node(1, 1, "child of a foreign node");
  add_node(1, 999, "child of nobody");
  copy(1, 1);
  EXPECT_EQ(rows("SELECT NODENAME, PARENTNODEID FROM CATALOGNODE WHERE CATALOGID = 3 ORDER BY NODEID"),
            (Rows{{"child of a foreign node", kNull}, {"child of nobody", kNull}}));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(CatalogCopy, OfACatalogueWithoutNodesIsARowOnly) {
  add_catalog("A");
  execute({"INSERT INTO CATALOGNODE (NODENAME) VALUES ('of no catalogue')"});
  Recorder recorder;
  copy(1, 1);
  EXPECT_EQ(recorder.statements, (Statements{catalog_row(1), kNewCatalog, kNames, kNodes + "WHERE CATALOGID = 1"}));
  EXPECT_EQ(names(), (Rows{{"A"}, {"Copy Of A"}}));
  EXPECT_TRUE(nodes_of(2).empty());
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(CatalogCopy, WorksWithIdsBeyondSixteenBits) {
  execute({"INSERT INTO CATALOG (CATALOGID, CATALOGNAME) VALUES (100000, 'A')",
           "INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME) VALUES (200000, 100000, 'root')",
           "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (100000, 200000, 'child')"});
  copy(100000, 1);
  EXPECT_EQ(rows("SELECT NODEID, PARENTNODEID, NODENAME FROM CATALOGNODE WHERE CATALOGID = 100001 ORDER BY NODEID"),
            (Rows{{200002, kNull, "root"}, {200003, 200002, "child"}}));
}

// Names

TEST_F(CatalogCopy, IsNamedByTheLowestFreeNumber) {
  for (const char* name : {"A", "Copy Of A", "Copy (3) Of A"}) add_catalog(name);
  copy(1, 0);
  copy(1, 0);
  EXPECT_EQ(names(), (Rows{{"A"}, {"Copy Of A"}, {"Copy (3) Of A"}, {"Copy (2) Of A"}, {"Copy (4) Of A"}}));
}

TEST_F(CatalogCopy, TakesNamesInAnotherCaseForFree) {
  for (const char* name : {"A", "copy of A", "Copy Of a", "Copy Of A "}) add_catalog(name);
  copy(1, 0);
  EXPECT_EQ(names().back(), (std::vector<Variant>{"Copy Of A"}));
  add_catalog("COPY (2) OF A");
  copy(1, 0);
  EXPECT_EQ(names().back(), (std::vector<Variant>{"Copy (2) Of A"}));
}

TEST_F(CatalogCopy, OfACopyHasThePrefixTwice) {
  add_catalog("O'Neil  ");
  copy(1, 0);
  copy(2, 0);
  copy(2, 0);
  EXPECT_EQ(names(),
            (Rows{{"O'Neil  "}, {"Copy Of O'Neil  "}, {"Copy Of Copy Of O'Neil  "}, {"Copy (2) Of Copy Of O'Neil  "}}));
}

TEST_F(CatalogCopy, KeepsTheNameThatItIsGivenThoughItIsTaken) {
  add_catalog("A");
  for (const char* name : {"A", "A", " ", "' OR 1=1"}) {
    Recorder recorder;
    copy(1, 0, name);
    EXPECT_EQ(recorder.statements, (Statements{catalog_row(1), kNewCatalog}));
  }
  EXPECT_EQ(names(), (Rows{{"A"}, {"A"}, {"A"}, {" "}, {"' OR 1=1"}}));
}

TEST_F(CatalogCopy, WithoutAFreeNumberOverflows) {
  add_catalog("A");
  insert_rows("CATALOG (CATALOGNAME)", 32766,
              [](int number) { return number == 1 ? "'Copy Of A'" : "'Copy (" + std::to_string(number) + ") Of A'"; });
  copy(1, 0);
  EXPECT_EQ(names().back(), (std::vector<Variant>{"Copy (32767) Of A"}));
  Recorder recorder;
  const FailureTrail expected = trail({error_number::kOverflow, "Mercato", "Overflow", "", 0}, {kNaming, kCopy});
  EXPECT_EQ(raised_by([&] { copy(1, 0); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(CatalogCopy, WithANameThatIsTooLongIsRefused) {
  add_catalog(std::string(248, 'x'));
  EXPECT_EQ(raised_by([&] { copy(1, 1); }).Number, error_number::kValueTooLong);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(catalogs().size(), 1u);
}

// Failures

TEST_F(CatalogCopy, OfAnUnknownCatalogueIsRaisedAndCreatesNothing) {
  add_catalog("A");
  const auto before = all_rows();
  for (const int id : {0, -1, 70000}) {
    Recorder recorder;
    const FailureTrail expected = trail(
        {eCatalogNotFound, "Mercato.Catalog.CopyCatalog", "Catalog " + std::to_string(id) + "  not present", "", 0},
        {kCopy});
    EXPECT_EQ(raised_by([&] { copy(id, 1); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{catalog_row(id)});
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(CatalogCopy, OutsideOfSixteenBitsIsNoLevel) {
  add_catalog("A");
  for (const int level : {32768, -32769}) EXPECT_EQ(raised_by([&] { copy(1, level); }).Number, error_number::kOverflow);
  EXPECT_EQ(catalogs().size(), 1u);
}

TEST_F(CatalogCopy, RefusedAtAnyStatementLeavesNothing) {
  add_catalog("A");
  add_node(1, std::nullopt, "root");
  add_node(1, 1, "child");
  expect_whole_or_nothing(
      {catalog_row(1), kNewCatalog, kNames, kNodes + "WHERE CATALOGID = 1", kNodes + "WHERE 0=1",
       "SELECT PARENTNODEID FROM CATALOGNODE WHERE CATALOGID = 2"},
      [&] { copy(1, 1); },
      [](std::size_t number) -> std::vector<Level> {
        if (number == 3) return {kNaming, kCopy};
        if (number > 3) return {kCopyNodes, kCopy};
        return {kCopy};
      });
}

TEST_F(CatalogCopy, RefusedAtAnyRowLeavesNothing) {
  add_catalog("A");
  const std::vector<std::string> nodes = {"a", "b", "c", "d", "e"};
  for (int node = 0; node < 5; ++node)
    add_node(1, node == 0 ? std::nullopt : std::optional(node), nodes[static_cast<std::size_t>(node)]);
  const auto work = [&] { copy(1, 1); };
  expect_nothing_left({"INSERT", "CATALOG"}, work);
  for (const std::string& node : nodes)
    expect_nothing_left({"INSERT", "CATALOGNODE", "NODENAME", "'" + node + "'"}, work);
  // The root has no parent to be written.
  for (const char* node : {"'b'", "'c'", "'d'", "'e'"})
    expect_nothing_left({"UPDATE", "CATALOGNODE", "NODENAME", node}, work);
  store().forget_lost_numbers();
  work();
  EXPECT_EQ(nodes_of(2).size(), 5u);
}

}  // namespace
}  // namespace mercato::test
