// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "tests/catalog/rights_fixture.h"
#include "tests/support/another_process.h"

namespace mercato::test {
namespace {

const std::string kTargetCatalog = "SELECT * FROM CATALOG WHERE 0=1";
const Level kInsertTarget = {"Mercato.TCatalog.InsertCatalog"};
const Level kExpire = {"Mercato.TCatalog.ExpireCatalog"};
const Level kMoveRights = {"Mercato.TCatalog.ChangeAuthorizationsForUser"};
const Level kMoveFavorites = {"Mercato.TCatalog.ChangeFavorites"};

// Inserting

class NewCatalog : public CatalogRightsTest {
 protected:
  std::int32_t insert(const Variant& fields, const Variant& values) {
    return t_catalog_->InsertCatalog(fields, values);
  }
};

TEST_F(NewCatalog, IsWrittenFieldByFieldAsItIs) {
  Recorder recorder;
  EXPECT_EQ(insert(Array{"catalogname", "SupplierCatalogID", "ACTIVE", "VERSION"}, Array{"Tools", "", 1, " "}), 1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, Statements{kTargetCatalog});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(catalogs(), (Rows{{1, "Tools", kNull, kOne, kZero, "", " ", kZero, kNull}}));
}

TEST_F(NewCatalog, HasTheNextIdAndTakesArraysOfAnyBound) {
  execute({"INSERT INTO CATALOG (CATALOGID, CATALOGNAME) VALUES (70000, 'far')"});
  EXPECT_EQ(insert(Array(std::vector<Variant>{"CATALOGNAME"}, 32767), Array(std::vector<Variant>{"near"}, 32767)),
            70001);
  EXPECT_EQ(insert(Array{"CATALOGNAME", "CATALOGNAME", "ACTIVE"}, Array{"first", "second", kNull}), 70002);
  EXPECT_EQ(catalogs().back(),
            (std::vector<Variant>{70002, "second", kNull, kNull, kZero, kNull, kNull, kZero, kNull}));
}

TEST_F(NewCatalog, IsNotWrittenWhenAnythingIsWrongAndNobodyVotes) {
  const struct {
    Variant fields, values;
    std::int32_t number;
  } cases[] = {
      {Array{"CATALOGNAME", "COLOUR"}, Array{"Tools", "red"}, error_number::kNoSuchField},
      {Array{"CATALOGNAME", "VERSION"}, Array{"Tools"}, error_number::kSubscriptOutOfRange},
      {Array{"CATALOGNAME"}, Array(std::vector<Variant>{"Tools"}, 1), error_number::kSubscriptOutOfRange},
      {Array(std::vector<Variant>{"CATALOGNAME", "VERSION"}, 32767), Array(std::vector<Variant>{"Tools", "1"}, 32767),
       error_number::kOverflow},
      {"CATALOGNAME", Array{"Tools"}, error_number::kTypeMismatch},
      {Array{"CATALOGNAME"}, "Tools", error_number::kTypeMismatch},
      {Array{kNull}, Array{"Tools"}, error_number::kInvalidUseOfNull},
      {Array{"CATALOGNAME", "ACTIVE"}, Array{"Tools", ""}, error_number::kTypeMismatch},
      {Array{"CATALOGNAME", "ACTIVE"}, Array{"Tools", 40000}, error_number::kOverflow},
      {Array{}, Array{}, error_number::kConstraintViolated},
      {Array{"CATALOGNAME"}, Array{kNull}, error_number::kConstraintViolated},
      {Array{"CATALOGNAME"}, Array{std::string(256, 'x')}, error_number::kValueTooLong},
      {Array{"CATALOGNAME", "CatalogID"}, Array{"Tools", -1}, error_number::kStatementRefused},
  };
  for (const auto& row : cases) {
    Root<TCatalog> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->InsertCatalog(row.fields, row.values); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.TCatalog.InsertCatalog\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements, Statements{kTargetCatalog});
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::open);
  }
  EXPECT_TRUE(catalogs().empty());
}

TEST_F(NewCatalog, ThatTheStoreRefusesIsLoggedAndRaisedWithoutAVote) {
  RefusingRecorder recorder(1);
  const FailureTrail expected = trail(refused_on_request(), {kInsertTarget});
  EXPECT_EQ(raised_by([&] { insert(Array{"CATALOGNAME"}, Array{"Tools"}); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(outcome(), Outcome::open);
}

// Expiring

class ExpiredCatalog : public CatalogRightsTest {
 protected:
  // Products 1 to 5 in categories of the same ids.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("old");
    add_catalog("new");
    for (int id = 1; id <= 5; ++id) {
      add_category("category");
      add_product("1");
      link(id, id, 1);
    }
  }
  static Statements statements_for(int catalog) {
    const std::string id = std::to_string(catalog);
    return {"SELECT * FROM CATALOG WHERE CATALOGID = " + id,
            "SELECT DISTINCT P.PRODUCTID, P.DISABLED FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = "
            "C.PRODUCTID  INNER JOIN CATALOGNODE N ON N.CATALOGID = " +
                id + " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1"};
  }
  bool expire(std::int32_t catalog) { return t_catalog_->ExpireCatalog(catalog); }
  Rows disabled() const { return rows("SELECT PRODUCTID FROM PRODUCT WHERE DISABLED = 1 ORDER BY PRODUCTID"); }
  Rows active() const { return rows("SELECT CATALOGID FROM CATALOG WHERE ACTIVE = 1 ORDER BY CATALOGID"); }
};

TEST_F(ExpiredCatalog, DisablesTheProductsOfItsCategoryNodesEverywhere) {
  add_node(1, std::nullopt, "own", kCategoryNode, 1);
  add_node(1, 1, "shared", kCategoryNode, 2);
  add_node(1, 1, "shared again", kCategoryNode, 2);
  add_node(2, std::nullopt, "shared", kCategoryNode, 2);
  add_node(2, std::nullopt, "of the other", kCategoryNode, 3);
  add_node(1, 1, "category left on a folder", kFolder, 4);
  add_node(1, 1, "disabled already", kCategoryNode, 5);
  execute({"UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = 5"});
  auto expected = all_rows();
  Recorder recorder;
  EXPECT_TRUE(expire(1));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, statements_for(1));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(disabled(), (Rows{{1}, {2}, {5}}));
  EXPECT_EQ(active(), (Rows{{2}}));
  // Nothing else has changed.
  execute({"UPDATE PRODUCT SET DISABLED = 0 WHERE PRODUCTID < 5", "UPDATE CATALOG SET ACTIVE = 1"});
  EXPECT_EQ(all_rows(), expected);
}

TEST_F(ExpiredCatalog, WithoutCategoryNodesIsInactiveOnly) {
  add_node(1, std::nullopt, "folder", kFolder, 1);
  add_node(1, 1, "without a category", kCategoryNode);
  execute({"INSERT INTO CATALOGNODE (NODENAME, NODETYPE, CATEGORYID) VALUES ('of no catalogue', 1, 2)"});
  for (int time = 0; time < 2; ++time) {
    EXPECT_TRUE(expire(1));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_TRUE(disabled().empty());
    EXPECT_EQ(active(), (Rows{{2}}));
  }
}

TEST_F(ExpiredCatalog, ThatDoesNotExistIsRaised) {
  const auto before = all_rows();
  for (const std::int32_t id : {0, -1, 70000}) {
    Recorder recorder;
    const RaisedError no_row = {error_number::kNoCurrentRow, "Mercato",
                                std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0};
    const FailureTrail expected = trail(no_row, {kExpire});
    EXPECT_EQ(raised_by([&] { expire(id); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{statements_for(id)[0]});
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ExpiredCatalog, LeavesItsArgumentAsItWas) {
  std::vector<Variant> arguments = {"1"};
  EXPECT_EQ(invoke(t_catalog_.object(), "ExpireCatalog", arguments), Variant(true));
  EXPECT_EQ(arguments[0].to_long(), 1);
}

TEST_F(ExpiredCatalog, IsExpiredAsAWholeOrNotAtAll) {
  for (int category = 1; category <= 3; ++category) add_node(1, std::nullopt, "node", kCategoryNode, category);
  const auto work = [&] { expire(1); };
  for (int product = 1; product <= 3; ++product)
    expect_nothing_left({"UPDATE", "PRODUCT", "PRODUCTID", std::to_string(product)}, work);
  expect_nothing_left({"UPDATE", "CATALOG"}, work);
  expect_whole_or_nothing(statements_for(1), work, [](std::size_t) { return std::vector<Level>{kExpire}; });
}

// Moving rights

class MovedRights : public CatalogRightsTest {
 protected:
  // Catalogue 1: 1 "Tools" -> 2 "Saws" -> 3 "Hand", and 4 "Paint". Catalogue 2: 5 "TOOLS" -> 6 "saws", 7 "Other".
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("old");
    add_catalog("new");
    add_node(1, std::nullopt, "Tools");
    add_node(1, 1, "Saws");
    add_node(1, 2, "Hand");
    add_node(1, std::nullopt, "Paint");
    add_node(2, std::nullopt, "TOOLS");
    add_node(2, 5, " saws ");
    execute({"UPDATE CATALOGNODE SET NODENAME = 'saws' WHERE NODEID = 6"});
    add_node(2, std::nullopt, "Other");
  }
  bool move(std::int32_t from = 1, std::int32_t to = 2) { return t_catalog_->ChangeAuthorizationsForUser(from, to); }
  bool move_unless_taken(std::int32_t from = 1, std::int32_t to = 2) {
    return t_catalog_->ChangeAuthorizationsForUser(from, to, false);
  }
};

const std::string kTaken = "SELECT CATALOGID FROM CATALOGNODEBYUSER WHERE CATALOGID = 2";
const std::string kTakenGoes = "DELETE FROM CATALOGNODEBYUSER WHERE CATALOGID = 2";
const std::string kWholeEntries =
    "SELECT CATALOGID FROM CATALOGNODEBYUSER WHERE CATALOGID = 1 AND NODEID IS NULL AND PARENTNODEID IS NULL";
const std::string kWholeMove =
    "UPDATE CATALOGNODEBYUSER SET CATALOGID = 2 WHERE CATALOGID = 1 AND NODEID IS NULL AND PARENTNODEID IS NULL";
const std::string kNodeEntries =
    "SELECT DISTINCT CN.NODEID, CN.NODENAME FROM CATALOGNODE CN  INNER JOIN CATALOGNODEBYUSER CU ON CU.NODEID = "
    "CN.NODEID  WHERE CN.CATALOGID = 1";
std::string candidates(const std::string& name) {
  return " SELECT NODEID, PARENTNODEID FROM CATALOGNODE WHERE  NODENAME = '" + name + "' AND CATALOGID = 2";
}
std::string step_of_path(int node) {
  return "SELECT NODENAME, PARENTNODEID FROM CATALOGNODE WHERE NODEID = " + std::to_string(node);
}
std::string node_goes(int node) {
  return " DELETE FROM CATALOGNODEBYUSER   WHERE CATALOGID = 1 AND NODEID = " + std::to_string(node);
}
std::string node_moves(int node, int twin, const std::string& parent) {
  return " UPDATE CATALOGNODEBYUSER SET  CATALOGID = 2 , NODEID = " + std::to_string(twin) +
         " , PARENTNODEID = " + parent + " WHERE CATALOGID = 1 AND NODEID = " + std::to_string(node);
}

TEST_F(MovedRights, OnTheWholeCatalogueKeepWhatTheyAre) {
  entitle("ann", 1, true);
  entitle("bob", 1);
  entitle("buyers", 1, false, true);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kTaken, kIsolation, kWholeEntries, kWholeMove, kIsolation, kNodeEntries}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 2, kNull, kNull, kZero, kOne, kNull, kNull},
                            {"bob", kZero, 2, kNull, kNull, kZero, kZero, kNull, kNull},
                            {"buyers", kOne, 2, kNull, kNull, kZero, kZero, kNull, kNull}}));
}

TEST_F(MovedRights, OnANodeGoToItsTwinWhateverTheCaseForAllUsersAtOnce) {
  entitle_to_node("ann", 1, 2, 1, 2, true);
  entitle_to_node("bob", 1, 2, 99, 7);
  entitle_to_node("buyers", 1, 2, 1, 2, false, true);
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation,
                                             kTaken,
                                             kIsolation,
                                             kWholeEntries,
                                             kIsolation,
                                             kNodeEntries,  //
                                             kIsolation,
                                             candidates("Tools"),
                                             kIsolation,
                                             step_of_path(1),
                                             kIsolation,
                                             step_of_path(5),
                                             node_moves(1, 5, "NULL "),  //
                                             kIsolation,
                                             candidates("Saws"),
                                             kIsolation,
                                             step_of_path(2),
                                             kIsolation,
                                             step_of_path(1),
                                             kIsolation,
                                             step_of_path(6),
                                             kIsolation,
                                             step_of_path(5),
                                             node_moves(2, 6, "5")}));
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 2, 5, kNull, kOne, kZero, "shared", "secret"},
                            {"ann", kZero, 2, 6, 5, std::int16_t{2}, kOne, "shared", "secret"},
                            {"bob", kZero, 2, 6, 5, std::int16_t{7}, kZero, "shared", "secret"},
                            {"buyers", kOne, 2, 6, 5, std::int16_t{2}, kZero, "shared", "secret"}}));
}

TEST_F(MovedRights, OnANodeWithoutATwinAreLostAndTheOthersGoOn) {
  entitle_to_node("ann", 1, 3, 2, 3);
  entitle_to_node("bob", 1, 4, std::nullopt, 1);
  entitle_to_node("ann", 1, 1, std::nullopt, 1);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kTaken, kIsolation, kWholeEntries, kIsolation, kNodeEntries,  //
                        kIsolation, candidates("Tools"), kIsolation, step_of_path(1), kIsolation, step_of_path(5),
                        node_moves(1, 5, "NULL "), kIsolation, candidates("Hand"), node_goes(3),  //
                        kIsolation, candidates("Paint"), node_goes(4)}));
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 2, 5, kNull, kOne, kZero, "shared", "secret"}}));
}

TEST_F(MovedRights, ReplaceThoseThatTheNewCatalogueHas) {
  entitle("ann", 1);
  entitle("bob", 2);
  entitle_to_node("cyd", 2, 7, std::nullopt, 1);
  std::int32_t from = 1, to = 2;
  Recorder recorder;
  EXPECT_EQ(invoke(t_catalog_.object(), "ChangeAuthorizationsForUser", {from, to}), Variant(true));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kTaken, kTakenGoes, kIsolation, kWholeEntries, kWholeMove,
                                             kIsolation, kNodeEntries}));
  EXPECT_EQ(rights(), (Rows{{"ann", kZero, 2, kNull, kNull, kZero, kZero, kNull, kNull}}));
}

TEST_F(MovedRights, AreNotMovedOntoOthersWhenTheseMayNotGo) {
  entitle("ann", 1);
  entitle("bob", 2);
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(move_unless_taken());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(outcome(), Outcome::open);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kTaken}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(MovedRights, AreMovedOntoACatalogueWithoutAny) {
  entitle("ann", 1);
  EXPECT_TRUE(move_unless_taken());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT CATALOGID FROM CATALOGNODEBYUSER"), (Rows{{2}}));
}

TEST_F(MovedRights, WithNothingToMoveAreNone) {
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kTaken, kIsolation, kWholeEntries, kIsolation, kNodeEntries}));
  EXPECT_TRUE(rights().empty());
}

TEST_F(MovedRights, FindATwinWhoseNameHasQuotesAndBlanks) {
  execute({"INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME) VALUES (100000, 1, 'O''Neil  ')",
           "INSERT INTO CATALOGNODE (NODEID, CATALOGID, NODENAME) VALUES (100001, 2, 'o''neil')"});
  entitle_to_node("O'Neil", 1, 100000, std::nullopt, 1);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(recorder.statements[7], candidates("O''Neil  "));
  EXPECT_EQ(rows("SELECT USERID, CATALOGID, NODEID FROM CATALOGNODEBYUSER"), (Rows{{"O'Neil", 2, 100001}}));
}

TEST_F(MovedRights, OnANodeOfTheOldCatalogueThatStandUnderAnotherStay) {
  // The list of nodes goes by the node's catalogue, the move by that of the right.
  entitle_to_node("ann", 9, 1, std::nullopt, 1);
  EXPECT_TRUE(move());
  EXPECT_EQ(rows("SELECT CATALOGID, NODEID FROM CATALOGNODEBYUSER"), (Rows{{9, 1}}));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(MovedRights, WaitForAFirstNodeAtAnotherPathUntilTheCallsTimeIsUp) {
  // The twin, node 9, comes second.
  add_node(2, 7, "Hand");
  add_node(2, 6, "Hand");
  entitle("bob", 1);
  entitle_to_node("ann", 1, 3, 2, 3);
  const Statements statements = expect_no_end([&] { move(); });
  EXPECT_GT(std::ranges::count(statements, step_of_path(8)), 3);
  EXPECT_EQ(std::ranges::count(statements, step_of_path(9)), 0);
  EXPECT_EQ(std::ranges::count(statements, candidates("Hand")), 1);
}

TEST_F(MovedRights, OnANodeInACycleWaitToo) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 2 WHERE NODEID = 1"});
  entitle_to_node("ann", 1, 2, 1, 2);
  expect_no_end([&] { move(); });
}

TEST_F(MovedRights, BelowADanglingParentFail) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 999 WHERE NODEID = 6"});
  entitle_to_node("ann", 1, 2, 1, 2);
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError no_row = {error_number::kNoCurrentRow, "Mercato",
                              std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0};
  const FailureTrail expected = trail(no_row, {kMoveRights});
  EXPECT_EQ(raised_by([&] { move(); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(MovedRights, LeaveTheArgumentsAsTheyWere) {
  std::vector<Variant> arguments = {"1", 2, kMissing};
  invoke(t_catalog_.object(), "ChangeAuthorizationsForUser", arguments);
  EXPECT_EQ(arguments[0].to_long(), 1);
  EXPECT_EQ(arguments[1].to_long(), 2);
}

class AllRights : public MovedRights {
 protected:
  void SetUp() override {
    MovedRights::SetUp();
    entitle("ann", 1);
    entitle("bob", 2);
    entitle_to_node("ann", 1, 2, 1, 2);
    entitle_to_node("ann", 1, 4, std::nullopt, 1);
  }
  static Statements statements() {
    return {kIsolation,
            kTaken,
            kTakenGoes,
            kIsolation,
            kWholeEntries,
            kWholeMove,
            kIsolation,
            kNodeEntries,
            kIsolation,
            candidates("Saws"),
            kIsolation,
            step_of_path(2),
            kIsolation,
            step_of_path(1),
            kIsolation,
            step_of_path(6),
            kIsolation,
            step_of_path(5),
            node_moves(2, 6, "5"),
            kIsolation,
            candidates("Paint"),
            node_goes(4)};
  }
};

TEST_F(AllRights, AreMovedTogetherOrNotAtAll) {
  const Statements all = statements();
  expect_whole_or_nothing(
      all, [&] { move(); },
      [&](std::size_t number) -> std::vector<Level> {
        const std::string& statement = all[number - 1];
        // The isolation of a read is set by the factory, too.
        if (statement == kIsolation) return isolation_refused(all[number], {kMoveRights});
        if (statement.starts_with("SELECT") || statement.starts_with(" SELECT"))
          return read_refused(statement, {kMoveRights});
        return {kMoveRights};
      });
}

TEST_F(AllRights, AreAllThereWhenTheProcessDiesAtAnyStatement) {
  const auto before = all_rows();
  for (unsigned statement = 1; statement <= statements().size(); ++statement) {
    SCOPED_TRACE(statements()[statement - 1]);
    const int status = in_another_process([&] {
      Root<TCatalog> catalog;
      DeathAtAStatement death(statement);
      store::set_statement_observer(&death);
      std::int32_t from = 1, to = 2;
      catalog->ChangeAuthorizationsForUser(from, to);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(all_rows(), before);
  }
  EXPECT_TRUE(move());
  EXPECT_EQ(rights().size(), 2u);
}

// Moving favourites

const std::string kOldSide =
    " SELECT distinct P.PRODUCTID, P.PARTNUMBER, F.USERID FROM  FAVORITES F, PRODUCT P  INNER JOIN PRODUCTSBYCATEGORY "
    "C ON P.PRODUCTID = C.PRODUCTID  INNER JOIN CATALOGNODE N ON N.CATALOGID = 1 AND N.CATEGORYID = C.CATEGORYID AND "
    "N.NODETYPE = 1  WHERE P.PRODUCTID = F.PRODUCTID ORDER BY F.USERID";
const std::string kNewSide =
    " SELECT P.PRODUCTID, P.PARTNUMBER, N.NODEID FROM  CATALOGNODE N ,PRODUCT P  INNER JOIN PRODUCTSBYCATEGORY C ON "
    "P.PRODUCTID = C.PRODUCTID  Where N.CATEGORYID = C.CATEGORYID And N.CatalogID = 2 AND P.PARTNUMBER IN (SELECT "
    "distinct P1.PARTNUMBER FROM  FAVORITES F1, PRODUCT P1   INNER JOIN PRODUCTSBYCATEGORY C1 ON P1.PRODUCTID = "
    "C1.PRODUCTID  INNER JOIN CATALOGNODE N1 ON N1.CATALOGID = 1 AND N1.CATEGORYID = C1.CATEGORYID AND  N1.NODETYPE = "
    "1  WHERE P1.PRODUCTID = F1.PRODUCTID )";
std::string favorite_moves(int product, int twin, const std::string& user) {
  return "UPDATE FAVORITES SET PRODUCTID = " + std::to_string(twin) + " WHERE PRODUCTID = " + std::to_string(product) +
         " AND USERID = '" + user + "'";
}
std::string favorite_goes(int product, const std::string& user) {
  return "DELETE FROM FAVORITES WHERE PRODUCTID = " + std::to_string(product) + " AND USERID = '" + user + "'";
}
std::string favorite_goes_for_all(int product) {
  return "DELETE FROM FAVORITES WHERE PRODUCTID = " + std::to_string(product);
}

class MovedFavorites : public CatalogRightsTest {
 protected:
  // Catalogue 1 has products 1 and 2, catalogue 2 their twins 3 and 4, in categories and on nodes of the same ids.
  void SetUp() override {
    CatalogRightsTest::SetUp();
    add_catalog("old");
    add_catalog("new");
    offer("hammer", 1);
    offer("saw", 1);
    offer("hammer", 2);
    offer("saw", 2);
  }
  void mark(const std::string& user, int product) const {
    execute({"INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES (" +
             literal(user) + ", " + std::to_string(product) + ", 1, 7, 1)"});
  }
  bool move(std::int32_t from = 1, std::int32_t to = 2) { return t_catalog_->ChangeFavorites(from, to); }
  Rows favorites() const { return rows("SELECT USERID, PRODUCTID FROM FAVORITES ORDER BY USERID, PRODUCTID"); }
  // The statements that change something.
  static Statements changes(const Recorder& recorder) {
    Statements changes;
    for (const std::string& statement : recorder.statements)
      if (statement.starts_with("UPDATE") || statement.starts_with("DELETE")) changes.push_back(statement);
    return changes;
  }
  static std::vector<std::vector<Variant>> questions(const Recorder& recorder) {
    std::vector<std::vector<Variant>> questions;
    for (const ComponentCall& call : recorder.calls)
      if (call.method == "Mercato.Catalog.IsOrderCatalogNodeEx") questions.push_back(call.arguments);
    return questions;
  }
};

TEST_F(MovedFavorites, PointAtTheSameArticleInTheNewCatalogue) {
  entitle("ann", 2);
  entitle("O'Neil", 2);
  mark("ann", 1);
  mark("ann", 2);
  mark("O'Neil", 1);
  mark("ann", 3);
  Recorder recorder;
  recorder.answers["Mercato.Catalog.IsOrderCatalogNodeEx"] = true;
  EXPECT_TRUE(move());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kOldSide, kIsolation, kNewSide, favorite_moves(1, 3, "ann"),
                                             favorite_moves(2, 4, "ann"), favorite_moves(1, 3, "O''Neil")}));
  EXPECT_EQ(questions(recorder), (std::vector<std::vector<Variant>>{{"ann", 3}, {"ann", 4}, {"O'Neil", 3}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(rows("SELECT * FROM FAVORITES ORDER BY USERID, PRODUCTID"),
            (Rows{{"ann", 3, kOne, 7, 1}, {"ann", 3, kOne, 7, 1}, {"ann", 4, kOne, 7, 1}, {"O'Neil", 3, kOne, 7, 1}}));
}

TEST_F(MovedFavorites, SurviveWhereTheUserMayOrder) {
  entitle("ann", 2);
  entitle("bob", 2, true);
  entitle_to_node("cyd", 2, 3, std::nullopt, 1);
  for (const char* user : {"ann", "bob", "cyd", "dan"})
    for (const int product : {1, 2}) mark(user, product);
  Recorder recorder;
  EXPECT_TRUE(move());
  // Of one user in any order.
  const Statements made = changes(recorder);
  EXPECT_EQ(std::multiset(made.begin(), made.end()),
            (std::multiset{favorite_moves(1, 3, "ann"), favorite_moves(2, 4, "ann"), favorite_goes(1, "bob"),
                           favorite_goes(2, "bob"), favorite_moves(1, 3, "cyd"), favorite_goes(2, "cyd"),
                           favorite_goes(1, "dan"), favorite_goes(2, "dan")}));
  EXPECT_EQ(favorites(), (Rows{{"ann", 3}, {"ann", 4}, {"cyd", 3}}));
}

TEST_F(MovedFavorites, GoToTheFirstNodeFromWhichTheUserMayOrder) {
  offer("hammer", 2);
  offer("hammer", 2);
  entitle_to_node("ann", 2, 5, std::nullopt, 1);
  entitle_to_node("ann", 2, 6, std::nullopt, 1);
  mark("ann", 1);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(questions(recorder), (std::vector<std::vector<Variant>>{{"ann", 3}, {"ann", 5}}));
  EXPECT_EQ(favorites(), (Rows{{"ann", 5}}));
}

TEST_F(MovedFavorites, AreSoughtOnNodesOfEveryTypeInTheNewCatalogueOnly) {
  offer("drill", 1, kFolder);  // 5: not of the old catalogue
  offer("glue", 1);            // 6
  offer("glue", 2, kFolder);   // 7
  offer("drill", 2);           // 8
  entitle("ann", 2);
  mark("ann", 5);
  mark("ann", 6);
  EXPECT_TRUE(move());
  EXPECT_EQ(favorites(), (Rows{{"ann", 5}, {"ann", 7}}));
}

TEST_F(MovedFavorites, AreComparedByTheirExactPartNumber) {
  offer("Glue", 1);  // 5
  offer("glue", 2);  // 6: equal for the store, not for the exact comparison
  offer("nail", 1);  // 7
  offer("nail ", 2);
  entitle("ann", 2);
  mark("ann", 5);
  mark("ann", 7);
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(changes(recorder), (Statements{favorite_goes(5, "ann"), favorite_goes(7, "ann")}));
  EXPECT_TRUE(questions(recorder).empty());
}

TEST_F(MovedFavorites, AreFoundThoughTheNewProductIsDisabled) {
  execute({"UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = 3"});
  entitle("ann", 2);
  mark("ann", 1);
  EXPECT_TRUE(move());
  EXPECT_EQ(favorites(), (Rows{{"ann", 3}}));
}

TEST_F(MovedFavorites, OfNobodyOpenNothingOfTheNewCatalogue) {
  mark("ann", 3);
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_TRUE(move());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kOldSide}));
  EXPECT_EQ(all_rows(), before);
}

TEST_F(MovedFavorites, AreGoneForAllUsersWhenTheNewCatalogueHasNoneOfTheParts) {
  add_catalog("empty");
  mark("ann", 1);
  mark("bob", 1);
  mark("ann", 2);
  mark("ann", 3);
  Recorder recorder;
  EXPECT_TRUE(move(1, 3));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(changes(recorder),
            (Statements{favorite_goes_for_all(1), favorite_goes_for_all(2), favorite_goes_for_all(1)}));
  EXPECT_TRUE(questions(recorder).empty());
  EXPECT_EQ(favorites(), (Rows{{"ann", 3}}));
}

TEST_F(MovedFavorites, OfNoUserAreRefused) {
  execute({"INSERT INTO FAVORITES (PRODUCTID) VALUES (1)"});
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { move(); }).Number, error_number::kInvalidUseOfNull);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.TCatalog.ChangeFavorites\r\n"), std::string::npos);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(MovedFavorites, WaitForTheEndOfACycleAboveTheNewNode) {
  execute({"UPDATE CATALOGNODE SET PARENTNODEID = 3 WHERE NODEID = 3"});
  entitle("ann", 2);
  mark("ann", 1);
  expect_no_end([&] { move(); });
}

TEST_F(MovedFavorites, LeaveTheArgumentsAsTheyWere) {
  std::vector<Variant> arguments = {1, "2"};
  invoke(t_catalog_.object(), "ChangeFavorites", arguments);
  EXPECT_EQ(arguments[0].to_long(), 1);
  EXPECT_EQ(arguments[1].to_long(), 2);
}

TEST_F(MovedFavorites, AreMovedTogetherOrNotAtAll) {
  entitle_to_node("ann", 2, 3, std::nullopt, 1);
  mark("ann", 1);
  mark("ann", 2);
  Statements all;
  {
    Recorder recorder;
    move();
    all = recorder.statements;
  }
  execute({"DELETE FROM FAVORITES"});
  mark("ann", 1);
  mark("ann", 2);
  ASSERT_EQ(all.front(), kIsolation);
  ASSERT_EQ(all.back(), favorite_goes(2, "ann"));
  const auto before = all_rows();
  for (std::size_t number = 1; number <= all.size(); ++number) {
    SCOPED_TRACE(std::to_string(number) + ": " + all[number - 1]);
    RefusingRecorder recorder(number);
    EXPECT_EQ(raised_by([&] { move(); }).Number, error_number::kStatementRefused);
    EXPECT_NE(recorder.log.back().text.find(" METHOD: Mercato.TCatalog.ChangeFavorites\r\n"), std::string::npos);
    EXPECT_EQ(recorder.statements, first_of(all, number));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
  for (const auto& [number, levels] :
       std::vector<std::pair<std::size_t, std::vector<Level>>>{{1, isolation_refused(kOldSide, {kMoveFavorites})},
                                                               {2, read_refused(kOldSide, {kMoveFavorites})},
                                                               {3, isolation_refused(kNewSide, {kMoveFavorites})},
                                                               {4, read_refused(kNewSide, {kMoveFavorites})},
                                                               {all.size(), {kMoveFavorites}}}) {
    RefusingRecorder recorder(number);
    const FailureTrail expected = trail(refused_on_request(), levels);
    EXPECT_EQ(raised_by([&] { move(); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
  }
}

}  // namespace
}  // namespace mercato::test
