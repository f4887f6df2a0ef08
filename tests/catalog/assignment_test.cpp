// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "tests/catalog/rights_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

const std::string kNewRights = "SELECT * FROM CATALOGNODEBYUSER WHERE 0=1";
const Level kClear = {"Mercato.Catalog.ClearUserCatalogIDs"};
const Level kUpdate = {"Mercato.Catalog.UpdateUserCatalogIDs"};
const Level kPopulate = {"Mercato.Catalog.PopulateUserNodes"};

std::string clearing(const std::string& user, bool is_profile = false) {
  return "DELETE FROM CATALOGNODEBYUSER WHERE USERID='" + user +
         (is_profile ? "' AND ISPROFILE= 1 " : "' AND ISPROFILE= 0 ");
}

class CatalogAssignment : public CatalogRightsTest {
 protected:
  // The order of the list is not promised.
  std::vector<std::string> catalogs_of(const std::string& user) {
    auto ids = text::split(catalog_->GetUserCatalogIDs(user), ";");
    std::ranges::sort(ids);
    return ids;
  }
};

// Reading

TEST_F(CatalogAssignment, OfAProfileIsReadInTheOrderOfTheCataloguesNames) {
  for (const char* name : {"zinc", "Alu", "alloys"}) add_catalog(name);
  execute({"INSERT INTO CATALOG (CATALOGID, CATALOGNAME) VALUES (70000, 'brass')"});
  for (const int catalog : {1, 1, 2, 3, 70000, 99}) entitle("buyers", catalog, false, true);
  entitle_to_node("buyers", 2, 5, std::nullopt, 1, false, true);
  add_catalog("of a user");
  entitle("buyers", 70001);
  Recorder recorder;
  EXPECT_EQ(catalog_->GetProfileCatalogIDs("buyers"), "3;2;70000;1");
  EXPECT_EQ(catalog_->GetProfileCatalogIDs("nobody"), "");
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT DISTINCT CNU.CATALOGID AS CATALOGID,C.CATALOGNAME FROM CATALOGNODEBYUSER CNU,CATALOG C "
                        "WHERE USERID='buyers' AND ISPROFILE = 1 AND CNU.CATALOGID = C.CATALOGID ORDER BY "
                        "C.CATALOGNAME",
                        "SELECT DISTINCT CNU.CATALOGID AS CATALOGID,C.CATALOGNAME FROM CATALOGNODEBYUSER CNU,CATALOG C "
                        "WHERE USERID='nobody' AND ISPROFILE = 1 AND CNU.CATALOGID = C.CATALOGID ORDER BY "
                        "C.CATALOGNAME"}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(CatalogAssignment, OfAUserIsEveryCatalogueInWhichHeHasARow) {
  entitle("ann", 3);
  entitle("ann", 70000, true);
  entitle_to_node("ann", 1, 5, std::nullopt, 1);
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  entitle("ann", 4, false, true);
  entitle("bob", 5);
  Recorder recorder;
  EXPECT_EQ(catalogs_of("ann"), (std::vector<std::string>{"1", "3", "70000"}));
  EXPECT_EQ(catalog_->GetUserCatalogIDs("bob"), "5");
  EXPECT_EQ(catalog_->GetUserCatalogIDs("cyd"), "");
  EXPECT_EQ(recorder.statements[0],
            "SELECT DISTINCT CATALOGID FROM CATALOGNODEBYUSER WHERE USERID='ann' AND ISPROFILE = 0 ");
  EXPECT_EQ(recorder.statements.size(), 3u);
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(CatalogAssignment, OfSomebodyWithAnApostropheIsReadForUsersOnly) {
  add_catalog("A");
  entitle("O'Neil", 1);
  entitle("O'Neil", 1, false, true);
  Recorder recorder;
  EXPECT_EQ(catalog_->GetUserCatalogIDs("O'Neil"), "1");
  EXPECT_EQ(recorder.statements.back(),
            "SELECT DISTINCT CATALOGID FROM CATALOGNODEBYUSER WHERE USERID='O''Neil' AND ISPROFILE = 0 ");
  EXPECT_EQ(raised_by([&] { catalog_->GetProfileCatalogIDs("O'Neil"); }).Number, error_number::kStatementRefused);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetProfileCatalogIDs\r\n"), std::string::npos);
  EXPECT_EQ(catalog_->GetProfileCatalogIDs("O''Neil"), "1");
}

TEST_F(CatalogAssignment, OfUsersWithBlanksIsReadAsTheStoreCompares) {
  entitle("ann", 1);
  entitle(" ann", 2);
  EXPECT_EQ(catalog_->GetUserCatalogIDs("ann  "), "1");
  EXPECT_EQ(catalog_->GetUserCatalogIDs(" ann "), "2");
}

TEST_F(CatalogAssignment, OfACatalogueIsNeverListed) {
  entitle("ann", 1);
  entitle("bob", 1);
  entitle("buyers", 1, false, true);
  const struct {
    std::vector<Variant> arguments;
    std::string statement;
  } cases[] = {
      {{1}, "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  WHERE CATALOGID = 1 AND ISPROFILE = 0"},
      {{1, true}, "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  WHERE CATALOGID = 1 AND ISPROFILE = 1"},
      {{70000, false}, "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  WHERE CATALOGID = 70000 AND ISPROFILE = 0"},
      {{-2}, "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER  WHERE CATALOGID = -2 AND ISPROFILE = 0"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.statement);
    Recorder recorder;
    std::vector<Variant> arguments = row.arguments;
    const FailureTrail expected =
        trail({error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}, {{"Mercato.Catalog.GetCatalogUsers"}});
    EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), "GetCatalogUsers", arguments); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{row.statement});
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

TEST_F(CatalogAssignment, OfNoCatalogueIsRefusedByTheStore) {
  entitle("ann", 1);
  for (const bool is_profile : {false, true}) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { invoke(catalog_.object(), "GetCatalogUsers", {kMissing, is_profile}); });
    EXPECT_EQ(raised.Number, error_number::kStatementRefused);
    EXPECT_EQ(recorder.statements,
              Statements{is_profile ? "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER   AND ISPROFILE = 1"
                                    : "SELECT DISTINCT USERID FROM CATALOGNODEBYUSER   AND ISPROFILE = 0"});
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetCatalogUsers\r\n"), std::string::npos);
  }
  EXPECT_EQ(raised_by([&] { catalog_->GetCatalogUsers(); }).Number, error_number::kStatementRefused);
}

TEST_F(CatalogAssignment, ThatCannotBeReadIsLoggedAndRaisedWithoutAVote) {
  const std::pair<std::string, Variant> cases[] = {
      {"GetProfileCatalogIDs", "buyers"}, {"GetUserCatalogIDs", "ann"}, {"GetCatalogUsers", 1}};
  for (const auto& [method, argument] : cases) {
    SCOPED_TRACE(method);
    Recorder recorder;
    recorder.fail_on = "SELECT";
    const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog." + method}});
    EXPECT_EQ(raised_by([&, &method = method, &argument = argument] { invoke(catalog_.object(), method, {argument}); }),
              expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

// Clearing

TEST_F(CatalogAssignment, IsClearedWithAllRowsOfItsKind) {
  const auto add_all = [&] {
    entitle("ann", 1);
    entitle("ann", 2, true);
    entitle_to_node("ann", 3, 5, 4, 2);
    entitle("ann", 1, false, true);
    entitle_to_node("ann", 1, 5, 4, 2, false, true);
    entitle("bob", 1);
  };
  add_all();
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->ClearUserCatalogIDs("ann"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(rows("SELECT USERID, ISPROFILE, CATALOGID, NODEID FROM CATALOGNODEBYUSER ORDER BY USERID, NODEID"),
            (Rows{{"ann", kOne, 1, kNull}, {"ann", kOne, 1, 5}, {"bob", kZero, 1, kNull}}));
  EXPECT_TRUE(t_catalog_->ClearUserCatalogIDs("ann", false));
  EXPECT_TRUE(t_catalog_->ClearUserCatalogIDs("ann", true));
  EXPECT_EQ(rights().size(), 1u);
  EXPECT_EQ(recorder.statements, (Statements{clearing("ann"), clearing("ann"), clearing("ann", true)}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(CatalogAssignment, OfSomebodyWithAnApostropheIsCleared) {
  entitle("O'Neil", 1);
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->ClearUserCatalogIDs("O'Neil"));
  EXPECT_EQ(recorder.statements, Statements{clearing("O''Neil")});
  EXPECT_TRUE(rights().empty());
}

TEST_F(CatalogAssignment, ThatCannotBeClearedStays) {
  entitle("ann", 1);
  expect_whole_or_nothing(
      {clearing("ann")}, [&] { t_catalog_->ClearUserCatalogIDs("ann"); },
      [](std::size_t) { return std::vector<Level>{kClear}; });
}

// Updating

TEST_F(CatalogAssignment, IsReplacedByWholeCatalogues) {
  entitle("ann", 1, true);
  entitle_to_node("ann", 2, 5, 4, 2);
  entitle("ann", 3, false, true);
  entitle("bob", 1);
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->UpdateUserCatalogIDs("ann", Array{2, 70000, 2}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, (Statements{kNewRights, clearing("ann")}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 2, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"ann", kZero, 2, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"ann", kZero, 70000, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"ann", kOne, 3, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"bob", kZero, 1, kNull, kNull, kZero, kZero, kNull, kNull}}));
}

TEST_F(CatalogAssignment, OfAProfileIsReplacedWithoutTheUserOfItsName) {
  entitle("ann", 1);
  entitle("ann", 3, false, true);
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->UpdateUserCatalogIDs("ann", Array{4}, true));
  EXPECT_EQ(recorder.statements, (Statements{kNewRights, clearing("ann", true)}));
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 1, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"ann", kOne, 4, kNull, kNull, kZero, kZero, kNull, kNull}}));
}

TEST_F(CatalogAssignment, ReplacedByNothingIsGone) {
  entitle("ann", 1);
  entitle_to_node("ann", 2, 5, 4, 2);
  EXPECT_TRUE(t_catalog_->UpdateUserCatalogIDs("ann", Array{}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(rights().empty());
}

TEST_F(CatalogAssignment, TakesIdsInEveryFormOfANumberAndFromAnyLowerBound) {
  EXPECT_TRUE(
      t_catalog_->UpdateUserCatalogIDs("ann", Array(std::vector<Variant>{"7", " 8 ", 2.5, true, Variant()}, 5)));
  EXPECT_EQ(rows("SELECT CATALOGID FROM CATALOGNODEBYUSER ORDER BY CATALOGID"), (Rows{{-1}, {0}, {2}, {7}, {8}}));
}

TEST_F(CatalogAssignment, OfAUserWithBlanksInFrontStandsBesideTheOldOne) {
  entitle("ann", 1);
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->UpdateUserCatalogIDs("  ann ", Array{2}));
  EXPECT_EQ(recorder.statements, (Statements{kNewRights, clearing("  ann ")}));
  EXPECT_EQ(rows("SELECT USERID, CATALOGID FROM CATALOGNODEBYUSER ORDER BY CATALOGID"), (Rows{{"ann", 1}, {"ann", 2}}));
}

TEST_F(CatalogAssignment, OfSomebodyWithAnApostropheIsReplaced) {
  entitle("O'Neil", 1);
  EXPECT_TRUE(t_catalog_->UpdateUserCatalogIDs("O'Neil", Array{2}));
  EXPECT_EQ(rows("SELECT USERID, CATALOGID FROM CATALOGNODEBYUSER"), (Rows{{"O'Neil", 2}}));
}

TEST_F(CatalogAssignment, IsKeptWhenTheNewOneIsWrong) {
  entitle("ann", 1);
  entitle_to_node("ann", 2, 5, 4, 2);
  const auto before = all_rows();
  const struct {
    std::string user;
    Variant catalogs;
    std::int32_t number;
  } cases[] = {
      {"ann", Array{3, ""}, error_number::kTypeMismatch},
      {"ann", Array{3, "four"}, error_number::kTypeMismatch},
      {"ann", Array{3, kNull}, error_number::kInvalidUseOfNull},
      {"ann", Array{3, 1e10}, error_number::kOverflow},
      {"ann", Array{3, Array{4}}, error_number::kTypeMismatch},
      {"ann", "3;4", error_number::kTypeMismatch},
      {"ann", 3, error_number::kTypeMismatch},
      {"ann", kNull, error_number::kTypeMismatch},
      {"ann", Variant(), error_number::kTypeMismatch},
      {std::string(61, 'x'), Array{3}, error_number::kValueTooLong},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { t_catalog_->UpdateUserCatalogIDs(row.user, row.catalogs); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.UpdateUserCatalogIDs\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements, (Statements{kNewRights, clearing(row.user)}));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(CatalogAssignment, IsReplacedAsAWholeOrNotAtAll) {
  entitle("ann", 1);
  const auto work = [&] { t_catalog_->UpdateUserCatalogIDs("ann", Array{2, 3, 4}); };
  expect_whole_or_nothing({kNewRights, clearing("ann")}, work, [](std::size_t number) {
    return number == 1 ? std::vector<Level>{kUpdate} : std::vector<Level>{kClear, kUpdate};
  });
  // The inner call voted commit; the abort that followed it counts.
  for (const int catalog : {2, 3, 4})
    expect_nothing_left({"INSERT", "CATALOGNODEBYUSER", "CATALOGID", std::to_string(catalog)}, work);
}

// Flattened nodes

std::string reads_of(const std::string& user) {
  return "SELECT DISTINCT CATALOGID FROM CATALOGNODEBYUSER WHERE USERID='" + user + "' AND ISPROFILE = 0 ";
}
std::string top_level_of(int catalog, const std::string& user) {
  return "SELECT MIN(LEVEL) AS MINLEVEL FROM CATALOGNODEBYUSER WHERE CATALOGID=" + std::to_string(catalog) +
         "AND USERID='" + user + "' AND ISPROFILE = 0";
}
Statements clearing_nodes_of(const std::string& user) {
  return {"DELETE FROM USERNODE WHERE USERID='" + user + "' ", "SELECT * FROM USERNODE WHERE USERID='" + user + "' "};
}
std::string children_of(const std::string& nodes) {
  return "SELECT NODEID FROM CATALOGNODE WHERE PARENTNODEID IN (" + nodes + ") ORDER BY NODEID";
}
Statements operator+(Statements left, const Statements& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class FlattenedNodes : public CatalogRightsTest {
 protected:
  // Catalogue 1: 1 -> (2 -> (4, 5), 3), 6. Catalogue 2: 7 -> 8.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("one");
    add_catalog("two");
    add_node(1, std::nullopt, "root");
    add_node(1, 1, "a", kCategoryNode, 9);
    add_node(1, 1, "b", 2);
    add_node(1, 2, "c", 3);
    add_node(1, 2, "d", 4);
    add_node(1, std::nullopt, "second root");
    add_node(2, std::nullopt, "root");
    add_node(2, 7, "e");
    execute({"INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('ann', 9, 99)",
             "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('bob', 1, 1)"});
  }
  bool populate(const std::string& user = "ann") { return t_catalog_->PopulateUserNodes(user); }
  // CATALOGID and NODEID of a user's nodes.
  Rows nodes(const std::string& user = "ann") const {
    return rows("SELECT CATALOGID, NODEID FROM USERNODE WHERE USERID='" + user + "' ORDER BY CATALOGID, NODEID");
  }
};

TEST_F(FlattenedNodes, OfAWholeCatalogueAreAllOfItsNodes) {
  entitle("ann", 1, true);
  Recorder recorder;
  EXPECT_TRUE(populate());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  const Statements expected = Statements{reads_of("ann")} + clearing_nodes_of("ann") +
                              Statements{top_level_of(1, "ann"), "SELECT NODEID FROM CATALOGNODE WHERE CATALOGID =1 "};
  EXPECT_EQ(recorder.statements, expected);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}));
  EXPECT_EQ(nodes("bob"), (Rows{{1, 1}}));
  EXPECT_EQ(catalog_->GetAllUserAuthorizedCatalogNodes("ann")->Count(), 6);
}

TEST_F(FlattenedNodes, OfAWholeCatalogueAreThereOnceThoughTheUserHasNodesToo) {
  entitle("ann", 1);
  entitle_to_node("ann", 1, 2, 1, 2);
  entitle_to_node("ann", 1, 4, 2, 3);
  EXPECT_TRUE(populate());
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}));
}

TEST_F(FlattenedNodes, OfANodeAreThoseBelowItLevelByLevel) {
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  Recorder recorder;
  EXPECT_TRUE(populate());
  EXPECT_EQ(vote(), Vote::commit);
  const Statements expected =
      Statements{reads_of("ann")} + clearing_nodes_of("ann") +
      Statements{
          top_level_of(1, "ann"),
          top_level_of(1, "ann"),
          "SELECT CNU.NODEID as NODEID, CN.NODENAME AS NODENAME FROM CATALOGNODEBYUSER CNU, CATALOGNODE CN WHERE "
          "CNU.USERID='ann' AND LEVEL=1 AND CNU.NODEID = CN.NODEID AND CNU.ISPROFILE = 0 ORDER BY CN.SEQUENCE",
          "SELECT NODEID FROM CATALOGNODEBYUSER WHERE  CATALOGID =1 AND USERID = 'ann'  AND ISPROFILE = 0  AND "
          "LEVEL > 1 ",
          children_of("1"),
          children_of("2,3"),
          children_of("4,5")};
  EXPECT_EQ(recorder.statements, expected);
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}}));
}

TEST_F(FlattenedNodes, OfALeafAreTheLeaf) {
  entitle_to_node("ann", 1, 5, 2, 3);
  Recorder recorder;
  EXPECT_TRUE(populate());
  EXPECT_EQ(recorder.statements.back(), children_of("5"));
  EXPECT_EQ(nodes(), (Rows{{1, 5}}));
}

TEST_F(FlattenedNodes, OfTwoRightsOnOnePathAreThereTwice) {
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 5 WHERE NODEID = 6", "UPDATE CATALOGNODE SET SEQUENCE = NODEID"});
  EXPECT_TRUE(populate());
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {1, 6}}));
}

TEST_F(FlattenedNodes, OfOneLevelInTwoCataloguesAreFiledUnderBoth) {
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  entitle_to_node("ann", 2, 7, std::nullopt, 1);
  execute({"UPDATE CATALOGNODE SET SEQUENCE = NODEID"});
  EXPECT_TRUE(populate());
  EXPECT_EQ(nodes(), (Rows{{1, 6}, {1, 7}, {1, 8}, {2, 6}, {2, 7}, {2, 8}}));
}

TEST_F(FlattenedNodes, IncludeNodesWithoutACatalogueAndOfAnother) {
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  execute({"INSERT INTO CATALOGNODE (NODEID, PARENTNODEID, NODENAME) VALUES (100000, 6, 'of no catalogue')",
           "INSERT INTO CATALOGNODE (NODEID, CATALOGID, PARENTNODEID, NODENAME) VALUES (100001, 2, 100000, 'of two')"});
  EXPECT_TRUE(populate());
  EXPECT_EQ(nodes(), (Rows{{1, 6}, {1, 100000}, {1, 100001}}));
}

TEST_F(FlattenedNodes, OfAUserWithoutCataloguesAreGone) {
  entitle("ann", 1, false, true);  // a profile with the same name
  Recorder recorder;
  EXPECT_TRUE(populate());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{reads_of("ann")} + clearing_nodes_of("ann")));
  EXPECT_TRUE(nodes().empty());
  EXPECT_EQ(nodes("bob"), (Rows{{1, 1}}));
}

TEST_F(FlattenedNodes, OfAUserWithBlanksAreWrittenAsGiven) {
  entitle(" ann", 2);
  EXPECT_TRUE(populate(" ann"));
  EXPECT_EQ(nodes(" ann"), (Rows{{2, 7}, {2, 8}}));
  EXPECT_EQ(nodes("ann"), (Rows{{9, 99}}));
}

TEST_F(FlattenedNodes, OfAUserWithAnApostropheAreRefusedByTheStore) {
  entitle("O'Neil", 1);
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { populate("O'Neil"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements, (Statements{reads_of("O''Neil"), "DELETE FROM USERNODE WHERE USERID='O'Neil' "}));
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.PopulateUserNodes\r\n"), std::string::npos);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(FlattenedNodes, OfATreeWithACycleAreSoughtUntilTheCallsTimeIsUp) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 4 WHERE NODEID = 2"});
  entitle_to_node("ann", 1, 2, 1, 2);
  const Statements statements = expect_no_end([&] { populate(); });
  // The circle is walked more than once.
  EXPECT_GT(std::ranges::count(statements, children_of("2")), 3);
}

TEST_F(FlattenedNodes, BelowADanglingParentFailWithTheReadingOfTheTopNodes) {
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  entitle_to_node("ann", 1, 4, 2, 3);
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 999 WHERE NODEID = 2"});
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { populate(); });
  EXPECT_EQ(raised.Number, error_number::kNoCurrentRow);
  ASSERT_EQ(recorder.log.size(), 2u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetUserTopLevelCatalogNodes\r\n"), std::string::npos);
  EXPECT_NE(recorder.log[1].text.find(" METHOD: Mercato.Catalog.PopulateUserNodes\r\n"), std::string::npos);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(FlattenedNodes, AreRebuiltFromAListWithoutAnIdNever) {
  const auto before = all_rows();
  for (const char* list : {"1;;2", "1;two", ";"}) {
    Recorder recorder;
    recorder.answers["Mercato.Catalog.GetUserCatalogIDs"] = list;
    recorder.answers["Mercato.Catalog.GetTopAuthorizedLevel"] = 0;
    EXPECT_EQ(raised_by([&] { populate(); }).Number, error_number::kTypeMismatch);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(FlattenedNodes, AreRebuiltAsAWholeOrNotAtAll) {
  entitle_to_node("ann", 1, 2, 1, 2);
  const Level top = {"Mercato.Catalog.GetTopAuthorizedLevel"};
  const Level top_nodes = {"Mercato.Catalog.GetUserTopLevelCatalogNodes"};
  Statements all;
  {
    Recorder recorder;
    populate();
    all = recorder.statements;
  }
  ASSERT_EQ(all.size(), 9u);
  expect_whole_or_nothing(
      all, [&] { populate(); },
      [&](std::size_t number) -> std::vector<Level> {
        if (number == 1) return {{"Mercato.Catalog.GetUserCatalogIDs"}, kPopulate};
        if (number == 4) return {top, kPopulate};
        if (number == 5) return {top, top_nodes, kPopulate};
        if (number == 6) return {{"Mercato.Catalog.GetUserCatalogNodesByLevel"}, top_nodes, kPopulate};
        if (number == 7) return {top_nodes, kPopulate};
        return {kPopulate};
      });
  for (const int node : {2, 4, 5})
    expect_nothing_left({"INSERT", "USERNODE", "NODEID", std::to_string(node)}, [&] { populate(); });
}

TEST_F(FlattenedNodes, OfTwoPopulationsAtOnceAreThoseOfTheLater) {
  entitle("ann", 1);
  // Runs the second call on another session at the moment when the first has read what there is to do.
  class Meanwhile : public Recorder {
   public:
    explicit Meanwhile(std::function<void()> work) : work_(std::move(work)) {}
    void on_statement(std::string_view text, bool by_library) override {
      if (work_ && text.starts_with("DELETE")) std::thread(std::exchange(work_, nullptr)).join();
      Recorder::on_statement(text, by_library);
    }

   private:
    std::function<void()> work_;
  };
  {
    Meanwhile meanwhile([] {
      Root<TCatalog> other;
      EXPECT_TRUE(other->PopulateUserNodes("ann"));
    });
    EXPECT_TRUE(populate());
  }
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}));

  MERCATO_ONLY_ON_SQLITE(store(),
                         "on a server two transactions at once both find the old nodes, and both write new ones");
  const auto populate_often = [] {
    for (int round = 0; round < 10; ++round) {
      Root<TCatalog> each;
      EXPECT_TRUE(each->PopulateUserNodes("ann"));
    }
  };
  std::thread first(populate_often);
  std::thread second(populate_often);
  first.join();
  second.join();
  EXPECT_EQ(nodes(), (Rows{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}));
}

TEST_F(FlattenedNodes, OfALevelOfManyThousandAreReadAtOnce) {
  insert_rows("CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME)", 40000, [](int) { return "1, 6, 'n'"; });
  entitle_to_node("ann", 1, 6, std::nullopt, 1);
  Recorder recorder;
  EXPECT_TRUE(populate());
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM USERNODE WHERE USERID='ann'"), Variant(40001));
  EXPECT_EQ(std::ranges::count_if(
                recorder.statements,
                [](const std::string& text) { return text.find("PARENTNODEID IN (") != std::string::npos; }),
            2);
}

}  // namespace
}  // namespace mercato::test
