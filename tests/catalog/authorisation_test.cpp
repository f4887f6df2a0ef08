// SPDX-License-Identifier: Apache-2.0
// Who may see and order what.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "frame/lib_error_handling.h"
#include "tests/catalog/tree_fixture.h"
#include "tests/support/messages.h"

namespace mercato::test {
namespace {

// The statements of the walks.
std::string catalog_entry(const std::string& user, std::int32_t catalog) {
  return "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" + user +
         "' AND CATALOGID=" + std::to_string(catalog) + " AND NODEID IS NULL AND ISPROFILE = 0";
}
std::string node_entry(const std::string& user, std::int32_t node) {
  return "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" + user + "' AND NODEID=" + std::to_string(node) +
         " AND ISPROFILE = 0";
}
std::string node_row(std::int32_t node) {
  return "SELECT CATALOGID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " + std::to_string(node) + " ";
}
std::string parent_row(std::int32_t node) {
  return "SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " + std::to_string(node);
}
std::string whole_catalog(std::int32_t catalog, const std::string& user) {
  return "SELECT * FROM CATALOGNODEBYUSER WHERE CATALOGID=" + std::to_string(catalog) + "AND USERID='" + user +
         "' AND NODEID IS NULL AND ISPROFILE = 0";
}
std::string top_level(std::int32_t catalog, const std::string& user) {
  return "SELECT MIN(LEVEL) AS MINLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=" + std::to_string(catalog) +
         "AND USERID='" + user + "' AND ISPROFILE = 0";
}
std::string bottom_level(std::int32_t catalog, const std::string& user) {
  return "SELECT MAX(LEVEL) AS MAXLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=" + std::to_string(catalog) +
         "AND USERID='" + user + "' AND ISPROFILE = 0";
}
std::string roots(std::int32_t catalog) {
  return "SELECT NODEID, NODENAME FROM CATALOGNODE WHERE CATALOGID =" + std::to_string(catalog) +
         " AND PARENTNODEID IS NULL ORDER BY NODEID";
}
std::string of_level(const std::string& user, int level) {
  return "SELECT CNU.NODEID as NODEID, CN.NODENAME AS NODENAME FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
         "CNU.USERID='" +
         user + "' AND LEVEL=" + std::to_string(level) +
         " AND CNU.NODEID = CN.NODEID AND CNU.ISPROFILE = 0 ORDER BY CN.SEQUENCE";
}

// A failure of a conversion, as it leaves these tails.
FailureTrail conversion(std::int32_t number, const std::vector<Level>& levels) {
  return trail({number, "Mercato", std::string(error_number::default_description(number)), "", 0}, levels);
}

// The flattened nodes

class LaidOutNodes : public CatalogTreeTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_node(1, 5, kNone, "tools");
    add_node(2, 5, 1, "hammers");
    add_node(3, 6, kNone, "paper");
    lay_out("u", 5, 1);
    lay_out("u", 5, 2);
    lay_out("u", 6, 3);
    lay_out("u", 6, 99);  // a node that is gone
    lay_out("other", 5, 1);
  }
  static std::string reading(const std::string& restriction) {
    return "SELECT UN.NODEID as NODEID, CN.NODENAME AS NODENAME FROM USERNODE UN, CATALOGNODE CN WHERE UN.USERID='u' " +
           restriction + " AND UN.NODEID = CN.NODEID ORDER BY NODENAME";
  }
};

TEST_F(LaidOutNodes, AreListedByName) {
  Recorder recorder;
  EXPECT_EQ(names(catalog_->GetAllUserAuthorizedCatalogNodes("u")),
            (Names{{2, "hammers"}, {3, "paper"}, {1, "tools"}}));
  EXPECT_EQ(catalog_->GetAllUserAuthorizedCatalogNodes("nobody")->Count(), 0);
  EXPECT_EQ(recorder.statements[0], reading(""));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(LaidOutNodes, MayBeThoseOfSomeCatalogues) {
  Recorder recorder;
  EXPECT_EQ(names(catalog_->GetAllUserAuthorizedCatalogNodes("u", Array{6, "7"})), (Names{{3, "paper"}}));
  EXPECT_EQ(names(catalog_->GetAllUserAuthorizedCatalogNodes("u", Array(std::vector<Variant>{"5"}, 1))),
            (Names{{2, "hammers"}, {1, "tools"}}));
  EXPECT_EQ(recorder.statements,
            (Statements{reading(" AND UN.CATALOGID IN (6,7) "), reading(" AND UN.CATALOGID IN (5) ")}));
}

TEST_F(LaidOutNodes, AreRefusedForWhatIsNoListOfIds) {
  const std::pair<Variant, std::int32_t> cases[] = {{Array{}, error_number::kStatementRefused},
                                                    {Array{""}, error_number::kStatementRefused},
                                                    {Array{"x"}, error_number::kStatementRefused},
                                                    {Array{"5,6"}, error_number::kStatementRefused},
                                                    {Array{kNull}, error_number::kInvalidUseOfNull},
                                                    {5, error_number::kTypeMismatch},
                                                    {"5", error_number::kTypeMismatch},
                                                    {Variant(), error_number::kTypeMismatch},
                                                    {kNull, error_number::kTypeMismatch}};
  for (const auto& [list, number] : cases) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&, &list = list] { catalog_->GetAllUserAuthorizedCatalogNodes("u", list); }).Number, number);
    EXPECT_EQ(recorder.log.size(), 1u);
  }
}

TEST_F(LaidOutNodes, ThatStandThereTwiceAreADuplicateKey) {
  lay_out("u", 6, 2);
  Recorder recorder;
  const FailureTrail expected =
      conversion(error_number::kDuplicateKey, {{"Mercato.Catalog.GetAllUserAuthorizedCatalogNodes"}});
  EXPECT_EQ(raised_by([&] { catalog_->GetAllUserAuthorizedCatalogNodes("u"); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(catalog_->GetAllUserAuthorizedCatalogNodes("u", Array{5})->Count(), 2);
}

TEST_F(LaidOutNodes, AreAuthorizedWithAnyEntryOrNone) {
  Recorder recorder;
  EXPECT_TRUE(catalog_->IsAuthorizedCatalogNode("u", 2));
  EXPECT_TRUE(catalog_->IsAuthorizedCatalogNode("u", 99));  // also a node that is gone
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM USERNODE WHERE USERID = 'u'  AND NODEID = 2 ",
                                             "SELECT * FROM USERNODE WHERE USERID = 'u'  AND NODEID = 99 "}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(LaidOutNodes, AreNotNeededByAUserWhoHasTheCatalogue) {
  enter("v", 5, kWhole, 0, 1);
  Recorder recorder;
  EXPECT_TRUE(catalog_->IsAuthorizedCatalogNode("v", 2));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM USERNODE WHERE USERID = 'v'  AND NODEID = 2 ",
                        "SELECT CATALOGID FROM CATALOGNODE WHERE NODEID = 2 ", whole_catalog(5, "v")}));
  EXPECT_FALSE(catalog_->IsAuthorizedCatalogNode("v", 3));
  enter("w", 5, 2, 2, 0);
  EXPECT_FALSE(catalog_->IsAuthorizedCatalogNode("w", 2));  // not laid out yet
}

TEST_F(LaidOutNodes, AreFalseForANodeThatIsNotThereAndNothingIsLogged) {
  for (const std::int32_t node : {50, 0, -1, 2147483647}) {
    Recorder recorder;
    EXPECT_FALSE(catalog_->IsAuthorizedCatalogNode("u", node));
    EXPECT_EQ(recorder.statements.size(), 2u);
    EXPECT_TRUE(recorder.log.empty());
  }
}

TEST_F(LaidOutNodes, AreANullForANodeWithoutACatalogue) {
  add_node(7, kNone, kNone);
  Recorder recorder;
  const FailureTrail expected =
      conversion(error_number::kInvalidUseOfNull, {{"Mercato.Catalog.IsAuthorizedCatalogNode"}});
  EXPECT_EQ(raised_by([&] { catalog_->IsAuthorizedCatalogNode("u", 7); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

// Levels

class AuthorizedLevels : public CatalogTreeTest {};

TEST_F(AuthorizedLevels, AreTheLeastAndTheGreatestOfTheUsersEntries) {
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 9, 7, 0);
  enter("u", 6, kWhole, 0, 0);
  enter("u", 5, 1, 1, 0, 1);  // a profile's
  Recorder recorder;
  EXPECT_EQ(catalog_->GetTopAuthorizedLevel(5, "u"), 2);
  EXPECT_EQ(catalog_->GetBottomAuthorizedLevel(5, "u"), 7);
  EXPECT_EQ(catalog_->GetTopAuthorizedLevel(6, "u"), 0);
  EXPECT_EQ(catalog_->GetBottomAuthorizedLevel(6, "u"), 0);
  EXPECT_EQ(recorder.statements,
            (Statements{top_level(5, "u"), bottom_level(5, "u"), top_level(6, "u"), bottom_level(6, "u")}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(AuthorizedLevels, OfAUserWithoutEntriesAreANullThatCannotBeConverted) {
  enter("p", 5, kWhole, 0, 0, 1);
  for (const std::string user : {"nobody", "p", ""}) {
    Recorder recorder;
    FailureTrail expected = conversion(error_number::kInvalidUseOfNull, {{"Mercato.Catalog.GetTopAuthorizedLevel"}});
    EXPECT_EQ(raised_by([&] { catalog_->GetTopAuthorizedLevel(5, user); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    recorder.log.clear();
    expected = conversion(error_number::kInvalidUseOfNull, {{"Mercato.Catalog.GetBottomAuthorizedLevel"}});
    EXPECT_EQ(raised_by([&] { catalog_->GetBottomAuthorizedLevel(5, user); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

class NodesByLevel : public CatalogTreeTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_node(1, 5, kNone, "tools", "2");
    add_node(2, 5, 1, "saws", "3");
    add_node(3, 5, 1, "hammers", "1");
    add_node(4, 5, kNone, "nails", "1");
    add_node(11, 6, kNone, "paper");
    add_node(12, 6, 11, "envelopes", "2");
  }
};

TEST_F(NodesByLevel, AreTheUsersEntriesOfAllCataloguesInTheirSequence) {
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 3, 2, 1);
  enter("u", 6, 12, 2, 0);
  enter("u", 5, 4, 1, 0);
  enter("u", 5, 1, 2, 0, 1);  // a profile's
  Recorder recorder;
  EXPECT_EQ(names(catalog_->GetUserCatalogNodesByLevel("u", 77, 2)),
            (Names{{3, "hammers"}, {12, "envelopes"}, {2, "saws"}}));
  EXPECT_EQ(recorder.statements, Statements{of_level("u", 2)});
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(NodesByLevel, OfAUserWithoutEntriesAreEmptyAboveLevelZeroAndNothingElsewhere) {
  Recorder recorder;
  for (const std::int16_t level : std::initializer_list<std::int16_t>{1, 2, 32767}) {
    const DictionaryPtr nodes = catalog_->GetUserCatalogNodesByLevel("u", 5, level);
    ASSERT_NE(nodes, nullptr);
    EXPECT_EQ(nodes->Count(), 0);
  }
  recorder.statements.clear();
  EXPECT_EQ(catalog_->GetUserCatalogNodesByLevel("u", 5, 0), nullptr);
  EXPECT_EQ(recorder.statements, Statements{whole_catalog(5, "u")});
  for (const std::int16_t level : std::initializer_list<std::int16_t>{-1, -32768})
    EXPECT_EQ(catalog_->GetUserCatalogNodesByLevel("u", 5, level), nullptr);
  EXPECT_EQ(recorder.statements.size(), 1u);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(NodesByLevel, OfALevelBeyondSixteenBitsAreAnOverflowAndTheStoreIsNotAsked) {
  for (const std::int32_t level : {32768, -32769}) {
    Recorder recorder;
    std::vector<Variant> arguments = {"u", 5, level};
    EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), "GetUserCatalogNodesByLevel", arguments); }).Number,
              error_number::kOverflow);
    EXPECT_TRUE(recorder.statements.empty());
  }
}

TEST_F(NodesByLevel, OfLevelZeroAreTheRootsOfTheWholeCatalogue) {
  enter("u", 5, kWhole, 0, 1);
  Recorder recorder;
  EXPECT_EQ(names(catalog_->GetUserCatalogNodesByLevel("u", 5, 0)), (Names{{1, "tools"}, {4, "nails"}}));
  EXPECT_EQ(recorder.statements, (Statements{whole_catalog(5, "u"), roots(5)}));
  EXPECT_EQ(catalog_->GetUserCatalogNodesByLevel("u", 6, 0), nullptr);
}

TEST_F(NodesByLevel, WithTwoEntriesAreADuplicateKey) {
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 2, 2, 1);
  EXPECT_EQ(raised_by([&] { catalog_->GetUserCatalogNodesByLevel("u", 5, 2); }).Number, error_number::kDuplicateKey);
}

// Where a view begins

class TopLevelNodes : public CatalogTreeTest {
 protected:
  //  1        6      catalogue 5     21      catalogue 6
  //  2   5    7                      22
  //  3        8
  //  4
  void SetUp() override {
    CatalogTest::SetUp();
    add_chain(5, 1, 4);
    add_node(5, 5, 1);
    add_chain(5, 6, 8);
    add_chain(6, 21, 22);
  }
  static std::string deeper(int top) {
    return "SELECT NODEID FROM CATALOGNODEBYUSER WHERE  CATALOGID =5 AND USERID = 'u'  AND ISPROFILE = 0  AND LEVEL "
           "> " +
           std::to_string(top) + " ";
  }
  static std::string row(std::int32_t node) {
    return "SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  CATALOGID =5 AND NODEID = " + std::to_string(node) +
           " ";
  }
  static std::string highest(const std::string& list) {
    return "SELECT TOP 1 CNU.NODEID AS NODEID, CN.NODENAME AS NODENAME  FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN "
           "WHERE  CNU.CATALOGID =5 AND CNU.NODEID IN (" +
           list + ")  AND CNU.USERID = 'u'  AND CNU.NODEID = CN.NODEID AND CNU.ISPROFILE = 0  ORDER BY CNU.LEVEL ";
  }
  std::vector<std::int32_t> view() {
    std::vector<std::int32_t> ids;
    for (const auto& [id, name] : names(catalog_->GetUserTopLevelCatalogNodes("u", 5))) ids.push_back(id);
    return ids;
  }
  using Ids = std::vector<std::int32_t>;
};

TEST_F(TopLevelNodes, AreTheRootsForAUserWhoHasTheCatalogue) {
  enter("u", 5, kWhole, 0, 0);
  enter("u", 5, 3, 3, 0);
  Recorder recorder;
  EXPECT_EQ(view(), (Ids{1, 6}));
  EXPECT_EQ(recorder.statements, (Statements{top_level(5, "u"), roots(5)}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(TopLevelNodes, AreTheEntriesOfTheTopLevelAndTheHighestOnEveryOtherPath) {
  enter("u", 5, 4, 4, 0);
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 8, 3, 0);
  enter("u", 5, 5, 2, 1);
  Recorder recorder;
  EXPECT_EQ(view(), (Ids{2, 5, 8}));
  EXPECT_EQ(recorder.statements, (Statements{top_level(5, "u"), of_level("u", 2), deeper(2), row(4), row(3), row(2),
                                             row(1), highest("4,3,2"), row(8), row(7), row(6), highest("8,7")}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(TopLevelNodes, AreNotLookedUpBelowARootThatIsOneOfThem) {
  enter("u", 5, 1, 1, 0);
  enter("u", 5, 3, 3, 0);
  Recorder recorder;
  EXPECT_EQ(view(), (Ids{1}));
  EXPECT_EQ(recorder.statements, (Statements{top_level(5, "u"), of_level("u", 1), deeper(1), row(3), row(2), row(1)}));
}

TEST_F(TopLevelNodes, OfAPathAreFoundOnceHoweverManyEntriesItHas) {
  enter("u", 5, 1, 1, 0);
  enter("u", 5, 7, 2, 0);
  enter("u", 5, 8, 3, 0);
  EXPECT_EQ(view(), (Ids{1, 7}));
}

TEST_F(TopLevelNodes, BringTheEntriesOfThisLevelInOtherCatalogues) {
  enter("u", 5, 2, 2, 0);
  enter("u", 6, 22, 2, 0);
  enter("u", 6, 21, 1, 0);
  Ids ids = view();
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, (Ids{2, 22}));
}

TEST_F(TopLevelNodes, AreNotLookedUpForADeepEntryOfARoot) {
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 6, 3, 0);  // a level that is not the node's in the tree
  Recorder recorder;
  EXPECT_EQ(view(), (Ids{2}));
  EXPECT_EQ(recorder.statements, (Statements{top_level(5, "u"), of_level("u", 2), deeper(2), row(6)}));
}

TEST_F(TopLevelNodes, AreNoneBelowLevelZero) {
  enter("u", 5, 2, -1, 0);
  Recorder recorder;
  EXPECT_TRUE(view().empty());
  EXPECT_EQ(recorder.statements, Statements{top_level(5, "u")});
}

TEST_F(TopLevelNodes, OfAUserWithoutEntriesAreANullThatCannotBeConverted) {
  enter("u", 5, 1, 1, 0, 1);  // a profile's
  Recorder recorder;
  const FailureTrail expected =
      conversion(error_number::kInvalidUseOfNull,
                 {{"Mercato.Catalog.GetTopAuthorizedLevel"}, {"Mercato.Catalog.GetUserTopLevelCatalogNodes"}});
  EXPECT_EQ(raised_by([&] { view(); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(TopLevelNodes, AreRefusedWhenAnAncestorIsNotInTheCatalogue) {
  add_node(9, 5, 99);   // its parent is not there
  add_node(10, 5, 22);  // its parent is of another catalogue
  enter("u", 5, 1, 1, 0);
  for (const std::int32_t entry : {9, 10, 77}) {
    execute({"DELETE FROM CATALOGNODEBYUSER WHERE LEVEL = 2"});
    enter("u", 5, entry, 2, 0);
    Recorder recorder;
    const RaisedError raised = raised_by([&] { view(); });
    EXPECT_EQ(raised.Number, error_number::kNoCurrentRow);
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetUserTopLevelCatalogNodes\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements.back(), row(entry == 9 ? 99 : entry == 10 ? 22 : 77));
  }
}

TEST_F(TopLevelNodes, AboveACircleEndWithTheTimeOfTheCall) {
  add_node(30, 5, 31);
  add_node(31, 5, 30);
  enter("u", 5, 1, 1, 0);
  enter("u", 5, 31, 2, 0);
  Recorder recorder;
  const RaisedError raised = timeout_of([&] { view(); });
  EXPECT_NE(raised.Description.find(" METHOD: Mercato.Catalog.GetUserTopLevelCatalogNodes\r\n"), std::string::npos);
  ASSERT_GT(recorder.statements.size(), 7u);
  EXPECT_EQ(Statements(recorder.statements.begin() + 3, recorder.statements.begin() + 7),
            (Statements{row(31), row(30), row(31), row(30)}));
}

// Whole catalogues

class WholeCatalog : public CatalogTreeTest {};

TEST_F(WholeCatalog, IsWhatTheCatalogueEntrySays) {
  enter("restricted", 5, kWhole, 0, 1);
  enter("orders", 5, kWhole, 0, 0);
  enter("profile", 5, kWhole, 0, 0, 1);
  enter("node", 5, 1, 1, 0);
  const struct {
    std::string user;
    bool view_only, order, entire;
  } cases[] = {{"nobody", false, false, false},
               {"orders", false, true, true},
               {"restricted", true, false, true},
               {"profile", false, false, false},
               {"node", false, false, false}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.user);
    Recorder recorder;
    EXPECT_EQ(catalog_->IsViewOnlyCatalog(row.user, 5), row.view_only);
    EXPECT_EQ(catalog_->IsOrderCatalog(row.user, 5), row.order);
    EXPECT_EQ(catalog_->IsEntireCatalogAuthorized(5, row.user), row.entire);
    EXPECT_EQ(recorder.statements,
              (Statements{catalog_entry(row.user, 5), catalog_entry(row.user, 5), whole_catalog(5, row.user)}));
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_EQ(read_vote(), Vote::none);
    EXPECT_FALSE(catalog_->IsViewOnlyCatalog(row.user, 6));
    EXPECT_FALSE(catalog_->IsOrderCatalog(row.user, 6));
    EXPECT_FALSE(catalog_->IsEntireCatalogAuthorized(6, row.user));
  }
}

TEST_F(WholeCatalog, WithAnEntryThatSaysNeitherIsANull) {
  execute({"INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, VIEWONLY) VALUES ('u', 5, NULL)"});
  for (const std::string method : {"IsViewOnlyCatalog", "IsOrderCatalog"}) {
    Recorder recorder;
    const FailureTrail expected = conversion(error_number::kInvalidUseOfNull, {{"Mercato.Catalog." + method}});
    EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), method, {"u", 5}); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
  }
  EXPECT_TRUE(catalog_->IsEntireCatalogAuthorized(5, "u"));
}

TEST_F(WholeCatalog, IsAskedForTheUserAsHeStands) {
  enter("o''brien", 5, kWhole, 0, 0);
  enter(" u ", 5, kWhole, 0, 0);
  // A single quote ends the literal; two quotes are one quote in it.
  EXPECT_EQ(raised_by([&] { catalog_->IsOrderCatalog("o'brien", 5); }).Number, error_number::kStatementRefused);
  EXPECT_TRUE(catalog_->IsOrderCatalog("o''brien", 5));
  EXPECT_TRUE(catalog_->IsEntireCatalogAuthorized(5, "o''brien"));
  EXPECT_TRUE(catalog_->IsOrderCatalog(" u ", 5));
  EXPECT_FALSE(catalog_->IsOrderCatalog("u ", 5));
  EXPECT_FALSE(catalog_->IsOrderCatalog("", 5));
}

// The walks

class RightsOnNodes : public CatalogTreeTest {
 protected:
  // 1 - 2 - 3 - 4 from the root down, in catalogue 5.
  void SetUp() override {
    CatalogTest::SetUp();
    add_chain(5, 1, 4);
  }
  // The statements of the walk from the node up to `last`.
  static Statements view_only_walk(std::int32_t node, std::int32_t last) {
    Statements walk = {node_row(node), catalog_entry("u", 5), node_entry("u", node)};
    for (std::int32_t parent = node - 1; parent >= last; --parent) {
      walk.push_back(parent_row(parent) + " ");
      walk.push_back(node_entry("u", parent));
    }
    return walk;
  }
  static Statements order_walk(std::int32_t node, std::int32_t last) {
    Statements walk = {kIsolation, node_row(node),       catalog_entry("u", 5), catalog_entry("u", 5),
                       kIsolation, node_entry("u", node)};
    for (std::int32_t parent = node - 1; parent >= last; --parent)
      for (const std::string& statement : {kIsolation, parent_row(parent), kIsolation, node_entry("u", parent)})
        walk.push_back(statement);
    return walk;
  }
  // Both questions and their statements.
  void expect_walks(std::int32_t node, bool view_only, const Statements& view_only_statements, bool order,
                    const Statements& order_statements) {
    SCOPED_TRACE(node);
    Recorder recorder;
    EXPECT_EQ(catalog_->IsViewOnlyCatalogNodeEx("u", node), view_only);
    EXPECT_EQ(recorder.statements, view_only_statements);
    recorder.statements.clear();
    EXPECT_EQ(catalog_->IsOrderCatalogNodeEx("u", node), order);
    EXPECT_EQ(recorder.statements, order_statements);
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_EQ(read_vote(), Vote::none);
  }
};

TEST_F(RightsOnNodes, WithoutAnyEntryAreNeither) {
  enter("u", 5, 3, 3, 1, 1);  // a profile's
  enter("other", 5, 3, 3, 1);
  enter("u", 6, kWhole, 0, 1);
  expect_walks(4, false, view_only_walk(4, 1), false, order_walk(4, 1));
  expect_walks(1, false, view_only_walk(1, 1), false, order_walk(1, 1));
}

TEST_F(RightsOnNodes, AreRestrictedFromTheRestrictedNodeDown) {
  enter("u", 5, kWhole, 0, 0);
  enter("u", 5, 2, 2, 1);
  expect_walks(1, false, view_only_walk(1, 1), true, order_walk(1, 1));
  expect_walks(2, true, view_only_walk(2, 2), false, order_walk(2, 2));
  expect_walks(3, true, view_only_walk(3, 2), false, order_walk(3, 2));
  expect_walks(4, true, view_only_walk(4, 2), false, order_walk(4, 2));
  EXPECT_FALSE(catalog_->IsViewOnlyCatalog("u", 5));
}

TEST_F(RightsOnNodes, AreNotLiftedBelowARestriction) {
  enter("u", 5, 2, 2, 1);
  enter("u", 5, 3, 3, 0);
  enter("u", 5, 4, 4, 0);
  expect_walks(4, true, view_only_walk(4, 2), false, order_walk(4, 2));
}

TEST_F(RightsOnNodes, OfARestrictedCatalogueAreAnsweredAtOnce) {
  enter("u", 5, kWhole, 0, 1);
  enter("u", 5, 4, 4, 0);
  for (const std::int32_t node : {1, 2, 3, 4})
    expect_walks(node, true, {node_row(node), catalog_entry("u", 5)}, false,
                 {kIsolation, node_row(node), catalog_entry("u", 5)});
}

TEST_F(RightsOnNodes, AreGrantedByTheNodeItself) {
  enter("u", 5, 4, 4, 0);
  expect_walks(4, false, view_only_walk(4, 1), true, order_walk(4, 1));
  expect_walks(3, false, view_only_walk(3, 1), false, order_walk(3, 1));
}

TEST_F(RightsOnNodes, AreNotGrantedByAnAncestor) {
  enter("u", 5, 1, 1, 0);
  enter("u", 5, 3, 3, 0);
  lay_out("u", 5, 4);
  expect_walks(4, false, view_only_walk(4, 1), false, order_walk(4, 1));
  EXPECT_TRUE(catalog_->IsAuthorizedCatalogNode("u", 4));
}

TEST_F(RightsOnNodes, AreGrantedByTheCatalogue) {
  enter("u", 5, kWhole, 0, 0);
  expect_walks(4, false, view_only_walk(4, 1), true, order_walk(4, 1));
}

TEST_F(RightsOnNodes, OfANodeThatIsNotThereOrHasNoCatalogueAreNeitherAndSilent) {
  enter("u", 5, kWhole, 0, 0);
  add_node(7, kNone, 1);
  enter("u", 5, 7, 2, 0);
  for (const std::int32_t node : {7, 99, 0, -1, 2147483647})
    expect_walks(node, false, {node_row(node)}, false, {kIsolation, node_row(node)});
}

TEST_F(RightsOnNodes, EndAtAParentThatIsNotThere) {
  add_node(10, 5, 99);
  enter("u", 5, 99, 1, 1);  // is not read: the walk has ended
  const Statements view_only = {node_row(10), catalog_entry("u", 5), node_entry("u", 10), parent_row(99) + " "};
  const Statements order = {kIsolation,          node_row(10), catalog_entry("u", 5), catalog_entry("u", 5), kIsolation,
                            node_entry("u", 10), kIsolation,   parent_row(99)};
  expect_walks(10, false, view_only, false, order);
  enter("u", 5, 10, 1, 0);
  expect_walks(10, false, view_only, true, order);
}

TEST_F(RightsOnNodes, GoUpThroughOtherCataloguesAndNodesWithoutOne) {
  add_node(20, 6, kNone);
  add_node(21, kNone, 20);
  add_node(22, 5, 21);
  enter("u", 5, kWhole, 0, 0);
  EXPECT_TRUE(catalog_->IsOrderCatalogNodeEx("u", 22));
  enter("u", 6, kWhole, 0, 1);  // not this node's catalogue
  EXPECT_TRUE(catalog_->IsOrderCatalogNodeEx("u", 22));
  EXPECT_FALSE(catalog_->IsViewOnlyCatalogNodeEx("u", 22));
  enter("u", 6, 20, 1, 1);
  EXPECT_FALSE(catalog_->IsOrderCatalogNodeEx("u", 22));
  EXPECT_TRUE(catalog_->IsViewOnlyCatalogNodeEx("u", 22));
}

TEST_F(RightsOnNodes, InACircleEndWithTheTimeOfTheCall) {
  add_node(30, 5, 31);
  add_node(31, 5, 30);
  add_node(32, 5, 32);
  enter("u", 5, 30, 1, 0);
  for (const std::int32_t node : {30, 32}) {
    const RaisedError view_only = timeout_of([&] { catalog_->IsViewOnlyCatalogNodeEx("u", node); });
    EXPECT_NE(view_only.Description.find(" METHOD: Mercato.Catalog.IsViewOnlyCatalogNodeEx\r\n"), std::string::npos);
    const RaisedError order = timeout_of([&] { catalog_->IsOrderCatalogNodeEx("u", node); });
    EXPECT_NE(order.Description.find(" METHOD: Mercato.Catalog.IsOrderCatalogNodeEx\r\n"), std::string::npos);
  }
  // A restriction in the circle is found on the first round.
  enter("u", 5, 31, 1, 1);
  EXPECT_TRUE(catalog_->IsViewOnlyCatalogNodeEx("u", 30));
  EXPECT_FALSE(catalog_->IsOrderCatalogNodeEx("u", 30));
}

TEST_F(RightsOnNodes, WithAnEntryThatSaysNeitherAreANull) {
  execute({"INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, VIEWONLY) VALUES ('u', 5, 2, NULL)"});
  for (const std::string method : {"IsViewOnlyCatalogNodeEx", "IsOrderCatalogNodeEx"})
    for (const std::int32_t node : {2, 3}) {
      Recorder recorder;
      const FailureTrail expected = conversion(error_number::kInvalidUseOfNull, {{"Mercato.Catalog." + method}});
      EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), method, {"u", node}); }), expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
    }
}

// The first of two entries for one thing used to count, so that the three calls disagreed by the order of the rows.
TEST_F(RightsOnNodes, WithSeveralEntriesAreRestrictedByAnyOfThem) {
  const std::int32_t catalog = 5;
  for (const std::int32_t node : {kWhole, 2}) {
    for (const std::vector<int>& entries : {std::vector{0, 1}, std::vector{1, 0}, std::vector{0, 1, 0}}) {
      execute({"DELETE FROM CATALOGNODEBYUSER"});
      for (const int view_only : entries) enter("u", catalog, node, node == kWhole ? 0 : 2, view_only);
      for (const std::int32_t asked : {2, 4}) {
        EXPECT_TRUE(catalog_->IsViewOnlyCatalogNodeEx("u", asked));
        EXPECT_FALSE(catalog_->IsOrderCatalogNodeEx("u", asked));
      }
      EXPECT_TRUE(catalog_->IsViewOnlyCatalogNode("u", Array{catalog, 1, 2}));
      EXPECT_TRUE(catalog_->IsViewOnlyCatalogNode("u", Array{catalog, 1, 2, 3, 4}));
      EXPECT_EQ(catalog_->IsViewOnlyCatalog("u", catalog), node == kWhole);
      EXPECT_FALSE(catalog_->IsOrderCatalog("u", catalog));
    }
  }
  // Two entries that both grant let the user order.
  execute({"DELETE FROM CATALOGNODEBYUSER"});
  for (int twice = 0; twice < 2; ++twice) enter("u", 5, kWhole, 0, 0);
  EXPECT_TRUE(catalog_->IsOrderCatalog("u", 5));
  EXPECT_FALSE(catalog_->IsViewOnlyCatalogNodeEx("u", 4));
  EXPECT_TRUE(catalog_->IsOrderCatalogNodeEx("u", 4));
}

TEST_F(RightsOnNodes, WithANullAmongSeveralEntriesAreRestrictedOrANullInAnyOrder) {
  const auto enter = [&](const std::vector<std::string>& entries) {
    execute({"DELETE FROM CATALOGNODEBYUSER"});
    for (const std::string& view_only : entries)
      execute({"INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, VIEWONLY) VALUES ('u', 5, 2, " + view_only +
               ")"});
  };
  for (const std::vector<std::string>& entries : {std::vector<std::string>{"NULL", "1"}, {"1", "NULL"}}) {
    enter(entries);
    EXPECT_TRUE(catalog_->IsViewOnlyCatalogNodeEx("u", 2));
    EXPECT_FALSE(catalog_->IsOrderCatalogNodeEx("u", 2));
  }
  for (const std::vector<std::string>& entries : {std::vector<std::string>{"NULL", "0"}, {"0", "NULL"}}) {
    enter(entries);
    EXPECT_EQ(raised_by([&] { catalog_->IsViewOnlyCatalogNodeEx("u", 2); }).Number, error_number::kInvalidUseOfNull);
    EXPECT_EQ(raised_by([&] { catalog_->IsOrderCatalogNodeEx("u", 2); }).Number, error_number::kInvalidUseOfNull);
  }
}

// The path given by the caller

class RightsOnAPath : public CatalogTreeTest {
 protected:
  static std::string ancestors(const std::string& list) {
    return "SELECT VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='u' AND NODEID in (" + list +
           ") AND ISPROFILE = 0 AND VIEWONLY=1";
  }
  bool is_view_only(const Variant& ids) { return catalog_->IsViewOnlyCatalogNode("u", ids); }
};

TEST_F(RightsOnAPath, LookAtTheCatalogueThenTheAncestorsThenTheNode) {
  enter("u", 5, 2, 2, 0);
  enter("u", 5, 4, 4, 1);
  Recorder recorder;
  EXPECT_TRUE(is_view_only(Array{5, 1, "2", 3, 4}));
  EXPECT_FALSE(is_view_only(Array(std::vector<Variant>{"5", 1, 2}, 7)));
  EXPECT_EQ(recorder.statements, (Statements{catalog_entry("u", 5), ancestors("1,2,3"), node_entry("u", 4),
                                             catalog_entry("u", 5), ancestors("1"), node_entry("u", 2)}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(RightsOnAPath, EndAtTheFirstRestriction) {
  enter("u", 5, 2, 2, 1);
  enter("u", 5, 4, 4, 0);
  Recorder recorder;
  EXPECT_TRUE(is_view_only(Array{5, 3, 2, 4}));
  EXPECT_EQ(recorder.statements, (Statements{catalog_entry("u", 5), ancestors("3,2")}));
  enter("u", 5, kWhole, 0, 1);
  recorder.statements.clear();
  EXPECT_TRUE(is_view_only(Array{5, 3, 2, 4}));
  EXPECT_EQ(recorder.statements, Statements{catalog_entry("u", 5)});
}

TEST_F(RightsOnAPath, WithoutAncestorsAreThoseOfTheNodesEntry) {
  enter("u", 5, 4, 4, 1);
  for (const Array& ids : {Array{5, 4}, Array{5, "", 4}, Array{5, "", "", 4}, Array{5, Variant(), Variant(), 4}}) {
    Recorder recorder;
    EXPECT_TRUE(is_view_only(ids));
    EXPECT_EQ(recorder.statements, (Statements{catalog_entry("u", 5), node_entry("u", 4)}));
  }
  EXPECT_FALSE(is_view_only(Array{5, 3}));
}

TEST_F(RightsOnAPath, OfFewerThanTwoElementsOrNullAreNone) {
  enter("u", 5, kWhole, 0, 1);
  Recorder recorder;
  EXPECT_FALSE(is_view_only(kNull));
  EXPECT_FALSE(is_view_only(Array{}));
  EXPECT_FALSE(is_view_only(Array{5}));
  EXPECT_FALSE(is_view_only(Array(std::vector<Variant>{5}, 1)));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(RightsOnAPath, AreRefusedForWhatIsNoPath) {
  const std::pair<Variant, std::int32_t> cases[] = {
      {5, error_number::kTypeMismatch},
      {"5,4", error_number::kTypeMismatch},
      {Variant(), error_number::kTypeMismatch},
      {Array{"x", 4}, error_number::kTypeMismatch},
      {Array{"", 4}, error_number::kTypeMismatch},
      {Array{kNull, 4}, error_number::kInvalidUseOfNull},
      {Array{2147483648.0, 4}, error_number::kOverflow},
      {Array{5, kNull, 4}, error_number::kInvalidUseOfNull},
      {Array{5, kNull}, error_number::kInvalidUseOfNull},
      {Array{5, "x", 4}, error_number::kStatementRefused},
      {Array{5, "1,2", 4}, error_number::kStatementRefused},
      {Array{5, 1, "", 4}, error_number::kStatementRefused},
      {Array{5, "", "", "", 4}, error_number::kStatementRefused},  // the commas alone count as a list
      {Array{5, "x"}, error_number::kStatementRefused},
      {Array{5, ""}, error_number::kStatementRefused},
  };
  for (const auto& [ids, number] : cases) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&, &ids = ids] { is_view_only(ids); }).Number, number);
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.IsViewOnlyCatalogNode\r\n"), std::string::npos);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

// Failures

TEST_F(RightsOnNodes, ThatTheStoreRefusesPassTheTailsOfTheirMethods) {
  const Level entire = {"Mercato.Catalog.IsEntireCatalogAuthorized"};
  const Level catalog = {"Mercato.Catalog.IsViewOnlyCatalog"};
  const Level view_only = {"Mercato.Catalog.IsViewOnlyCatalogNodeEx"};
  const Level order = {"Mercato.Catalog.IsOrderCatalogNodeEx"};
  const Level path = {"Mercato.Catalog.IsViewOnlyCatalogNode"};
  const Level by_level = {"Mercato.Catalog.GetUserCatalogNodesByLevel"};
  const Level begin = {"Mercato.Catalog.GetUserTopLevelCatalogNodes"};
  const auto disconnected = [](const std::string& statement) {
    return Level{"Lib_SQL.Sql_GetDisconnectedRecordset", " executing: '" + statement + "'"};
  };
  expect_refusal("USERNODE", {{"Mercato.Catalog.GetAllUserAuthorizedCatalogNodes"}},
                 [&] { catalog_->GetAllUserAuthorizedCatalogNodes("u"); });
  expect_refusal("CNU", {by_level}, [&] { catalog_->GetUserCatalogNodesByLevel("u", 5, 1); });
  expect_refusal(whole_catalog(5, "u"), {entire, by_level}, [&] { catalog_->GetUserCatalogNodesByLevel("u", 5, 0); });
  expect_refusal(whole_catalog(5, "u"), {entire}, [&] { catalog_->IsEntireCatalogAuthorized(5, "u"); });
  expect_refusal("USERNODE", {{"Mercato.Catalog.IsAuthorizedCatalogNode"}},
                 [&] { catalog_->IsAuthorizedCatalogNode("u", 4); });
  expect_refusal("SELECT CATALOGID", {{"Mercato.Catalog.IsAuthorizedCatalogNode"}},
                 [&] { catalog_->IsAuthorizedCatalogNode("u", 4); });
  expect_refusal(whole_catalog(5, "u"), {entire, {"Mercato.Catalog.IsAuthorizedCatalogNode"}},
                 [&] { catalog_->IsAuthorizedCatalogNode("u", 4); });
  expect_refusal("MIN(LEVEL)", {{"Mercato.Catalog.GetTopAuthorizedLevel"}},
                 [&] { catalog_->GetTopAuthorizedLevel(5, "u"); });
  expect_refusal("MAX(LEVEL)", {{"Mercato.Catalog.GetBottomAuthorizedLevel"}},
                 [&] { catalog_->GetBottomAuthorizedLevel(5, "u"); });
  expect_refusal("VIEWONLY", {catalog}, [&] { catalog_->IsViewOnlyCatalog("u", 5); });
  expect_refusal("VIEWONLY", {{"Mercato.Catalog.IsOrderCatalog"}}, [&] { catalog_->IsOrderCatalog("u", 5); });

  const auto ask_path = [&] { catalog_->IsViewOnlyCatalogNode("u", Array{5, 1, 4}); };
  expect_refusal(catalog_entry("u", 5), {catalog, path}, ask_path);
  expect_refusal("NODEID in (", {path}, ask_path);
  expect_refusal(node_entry("u", 4), {path}, ask_path);

  const auto ask_view_only = [&] { catalog_->IsViewOnlyCatalogNodeEx("u", 4); };
  expect_refusal(node_row(4), {view_only}, ask_view_only);
  expect_refusal(catalog_entry("u", 5), {catalog, view_only}, ask_view_only);
  expect_refusal(node_entry("u", 4), {view_only}, ask_view_only);
  expect_refusal(parent_row(2), {view_only}, ask_view_only);
  expect_refusal(node_entry("u", 1), {view_only}, ask_view_only);

  const auto ask_order = [&] { catalog_->IsOrderCatalogNodeEx("u", 4); };
  for (const std::string& statement : {node_row(4), node_entry("u", 4), parent_row(2), node_entry("u", 1)})
    expect_refusal(statement, {disconnected(statement), order}, ask_order);
  expect_refusal(catalog_entry("u", 5), {catalog, order}, ask_order);

  enter("u", 5, 2, 2, 0);
  enter("u", 5, 4, 4, 0);
  const auto ask_begin = [&] { catalog_->GetUserTopLevelCatalogNodes("u", 5); };
  expect_refusal("MIN(LEVEL)", {{"Mercato.Catalog.GetTopAuthorizedLevel"}, begin}, ask_begin);
  expect_refusal(of_level("u", 2), {by_level, begin}, ask_begin);
  expect_refusal("LEVEL > 2", {begin}, ask_begin);
  expect_refusal("AND NODEID = 3 ", {begin}, ask_begin);
  expect_refusal("TOP 1", {begin}, ask_begin);
  enter("u", 5, kWhole, 0, 0);
  expect_refusal(roots(5), {begin}, ask_begin);
  expect_refusal(roots(5), {by_level}, [&] { catalog_->GetUserCatalogNodesByLevel("u", 5, 0); });
  EXPECT_EQ(read_vote(), Vote::none);
}

// Any tree and any entries. The rules are written once more here, over sets instead of walks.

struct Forest {
  struct Node {
    std::int32_t catalog;
    std::optional<std::int32_t> parent;
  };
  std::map<std::int32_t, Node> nodes;
  std::map<std::int32_t, bool> catalog_entries;  // catalogue to "view only"
  std::map<std::int32_t, bool> node_entries;

  std::set<std::int32_t> ancestors(std::int32_t node) const {
    std::set<std::int32_t> above;
    if (const auto& parent = nodes.at(node).parent) {
      above = ancestors(*parent);
      above.insert(*parent);
    }
    return above;
  }
  int level(std::int32_t node) const { return static_cast<int>(ancestors(node).size()) + 1; }

  static bool has(const std::map<std::int32_t, bool>& entries, std::int32_t key, bool view_only) {
    const auto entry = entries.find(key);
    return entry != entries.end() && entry->second == view_only;
  }
  // View only: the catalogue, the node or anything above it is restricted.
  bool is_restricted(std::int32_t node) const {
    const auto above = ancestors(node);
    return has(catalog_entries, nodes.at(node).catalog, true) || has(node_entries, node, true) ||
           std::any_of(above.begin(), above.end(), [&](std::int32_t id) { return has(node_entries, id, true); });
  }
  // To be ordered from: not restricted, and granted by the node's own entry or by the catalogue's.
  bool is_orderable(std::int32_t node) const {
    return !is_restricted(node) &&
           (has(node_entries, node, false) || has(catalog_entries, nodes.at(node).catalog, false));
  }
  // A user who has the whole catalogue begins at its roots. Another begins at his entries that have no other entry
  // above them, and at all his entries of the top level, in whatever catalogue. Nothing for a user without entries.
  std::optional<std::set<std::int32_t>> entry_points(std::int32_t catalog) const {
    std::set<std::int32_t> points;
    if (catalog_entries.contains(catalog)) {
      for (const auto& [id, node] : nodes)
        if (node.catalog == catalog && !node.parent) points.insert(id);
      return points;
    }
    int top = 0;
    for (const auto& [id, view_only] : node_entries) {
      if (nodes.at(id).catalog != catalog) continue;
      if (top == 0 || level(id) < top) top = level(id);
      const auto above = ancestors(id);
      if (std::none_of(above.begin(), above.end(), [&](std::int32_t other) { return node_entries.contains(other); }))
        points.insert(id);
    }
    if (top == 0) return std::nullopt;
    for (const auto& [id, view_only] : node_entries)
      if (level(id) == top) points.insert(id);
    return points;
  }
};

class AnyTree : public CatalogTreeTest {
 protected:
  // Two catalogues of up to nine nodes each, with few or many entries.
  static Forest grow(std::mt19937& random) {
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    Forest forest;
    const int density = 1 + below(5);
    for (const std::int32_t catalog : {5, 6}) {
      std::vector<std::int32_t> ids;
      for (int count = 1 + below(9); count > 0; --count) {
        const std::int32_t id = static_cast<std::int32_t>(forest.nodes.size()) + 1;
        std::optional<std::int32_t> parent;
        if (!ids.empty() && below(6) != 0) parent = ids[static_cast<std::size_t>(below(static_cast<int>(ids.size())))];
        forest.nodes[id] = {catalog, parent};
        if (below(6) < density) forest.node_entries[id] = below(3) == 0;
        ids.push_back(id);
      }
      if (below(4) == 0) forest.catalog_entries[catalog] = below(3) == 0;
    }
    return forest;
  }
  void plant(const Forest& forest) const {
    const auto text = [](const auto& number) { return std::to_string(number); };
    std::vector<std::string> statements = {"DELETE FROM CATALOGNODE", "DELETE FROM CATALOGNODEBYUSER"};
    for (const auto& [id, node] : forest.nodes)
      statements.push_back("INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (" + text(id) +
                           ", " + text(node.catalog) + ", " + (node.parent ? text(*node.parent) : "NULL") + ", 'n')");
    const auto entry = [&](std::int32_t catalog, const std::string& node, int level, bool view_only) {
      statements.push_back("INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES ('u', " +
                           text(catalog) + ", " + node + ", " + text(level) + ", " + (view_only ? "1" : "0") + ")");
    };
    for (const auto& [catalog, view_only] : forest.catalog_entries) entry(catalog, "NULL", 0, view_only);
    for (const auto& [id, view_only] : forest.node_entries)
      entry(forest.nodes.at(id).catalog, text(id), forest.level(id), view_only);
    for (const std::string& statement : statements) execute({statement});
  }
};

TEST_F(AnyTree, HasTheRightsThatTheRulesGive) {
  std::mt19937 random(20260704);
  int restricted = 0, orderable = 0, neither = 0;
  for (int tree = 0; tree < 200; ++tree) {
    SCOPED_TRACE("tree " + std::to_string(tree));
    const Forest forest = grow(random);
    plant(forest);
    for (const auto& [id, node] : forest.nodes) {
      SCOPED_TRACE("node " + std::to_string(id));
      ASSERT_EQ(catalog_->IsViewOnlyCatalogNodeEx("u", id), forest.is_restricted(id));
      ASSERT_EQ(catalog_->IsOrderCatalogNodeEx("u", id), forest.is_orderable(id));
      Array path{node.catalog};
      for (const std::int32_t above : forest.ancestors(id)) path.items.emplace_back(above);
      path.items.emplace_back(id);
      ASSERT_EQ(catalog_->IsViewOnlyCatalogNode("u", path), forest.is_restricted(id));
      ++(forest.is_restricted(id) ? restricted : forest.is_orderable(id) ? orderable : neither);
    }
    for (const std::int32_t catalog : {5, 6}) {
      SCOPED_TRACE("catalogue " + std::to_string(catalog));
      ASSERT_EQ(catalog_->IsViewOnlyCatalog("u", catalog), Forest::has(forest.catalog_entries, catalog, true));
      ASSERT_EQ(catalog_->IsOrderCatalog("u", catalog), Forest::has(forest.catalog_entries, catalog, false));
      const auto expected = forest.entry_points(catalog);
      if (!expected) {
        ASSERT_EQ(raised_by([&] { catalog_->GetUserTopLevelCatalogNodes("u", catalog); }).Number,
                  error_number::kInvalidUseOfNull);
        continue;
      }
      std::set<std::int32_t> points;
      for (const auto& [id, name] : names(catalog_->GetUserTopLevelCatalogNodes("u", catalog))) points.insert(id);
      ASSERT_EQ(points, *expected);
    }
  }
  // The trees had enough of each kind.
  EXPECT_GT(restricted, 200);
  EXPECT_GT(orderable, 200);
  EXPECT_GT(neither, 200);
}

}  // namespace
}  // namespace mercato::test
