// SPDX-License-Identifier: Apache-2.0
#include "records/unspsc_links.h"

#include <gtest/gtest.h>

#include "frame/lib_mts.h"
#include "mercato/object_context.h"
#include "mercato/t_catalog.h"
#include "tests/support/failure_trail.h"

namespace mercato::test {
namespace {

using Links = std::vector<std::string>;

class UnspscLib : public StoreTest {
 protected:
  // Ids are given out from 1.
  void add_category(const std::string& code) const {
    execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('category', '" + code + "')"});
  }
  void add_product(const std::string& code) const {
    execute(
        {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('P', 'product', '" + code + "')"});
  }
  void link(int product, int category, const std::string& sequence) const {
    execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (" + std::to_string(product) +
             ", " + std::to_string(category) + ", " + sequence + ")"});
  }
  // "product in category at place", by product and category.
  Links links() const {
    Links links;
    for (const auto& row :
         rows("SELECT PRODUCTID, CATEGORYID, SEQUENCE FROM PRODUCTSBYCATEGORY ORDER BY PRODUCTID, CATEGORYID"))
      links.push_back(row[0].to_text() + " in " + row[1].to_text() + " at " +
                      (row[2].is_null() ? "no place" : row[2].to_text()));
    return links;
  }
  // A call of the module by an object that has a transaction, and votes commit when the work is done.
  template <class Work>
  void within_transaction(Work work) {
    ContextCall call(caller_.object()->context());
    work();
    Mts_SetComplete();
    call.finish();
  }
  void update_product(std::int32_t id, const std::string& old_code, const std::string& new_code, bool is_new = false) {
    within_transaction([&] { UpdateProductLinksForUNSPSCCode(id, old_code, new_code, is_new); });
  }
  void update_category(std::int32_t id, const std::string& old_code, const std::string& new_code, bool is_new = false) {
    within_transaction([&] { UpdateProductCategoryLinksForUNSPSCCode(id, old_code, new_code, is_new); });
  }
  Vote vote() const { return caller_.context().vote_of_last_call(); }
  Outcome outcome() const { return caller_.context().outcome_of_last_call(); }

  Root<TCatalog> caller_;
};

// Reading

TEST_F(UnspscLib, ACodeBelongsToTheCategoriesOfAllItsSegments) {
  for (const char* code : {"10", "1020", "102030", "20", "1030", "1", "10203"}) add_category(code);
  Recorder recorder;
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("102030")->Keys(), (Array{1, 2, 3}));
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020','102030')"});
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("102030")->Items(), (Array{Variant(), Variant(), Variant()}));
}

TEST_F(UnspscLib, ACodeOfOddLengthHasALastSegmentOfOneCharacter) {
  for (const char* code : {"10", "1020", "10203", "102030"}) add_category(code);
  Recorder recorder;
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("10203")->Keys(), (Array{1, 2, 3}));
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("1")->Count(), 0);
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020','10203')",
                        "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('1')"}));
}

TEST_F(UnspscLib, SegmentsAreCutBetweenCharactersAndQuoted) {
  add_category("äö");
  add_category("1''");
  Recorder recorder;
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("äöü")->Keys(), (Array{1}));
  EXPECT_EQ(GetProductCategoriesForUNSPSCCode("1'2")->Keys(), (Array{2}));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('äö','äöü')",
                                             "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN "
                                             "('1''','1''2')"}));
}

TEST_F(UnspscLib, TheEmptyCodeHasNoSegmentToAskFor) {
  EXPECT_EQ(raised_by([] { GetProductCategoriesForUNSPSCCode(""); }).Number, error_number::kStatementRefused);
}

TEST_F(UnspscLib, AProductHasTheCategoriesItIsLinkedTo) {
  link(1, 7, "1");
  link(1, 3, "1");
  link(2, 5, "1");
  Recorder recorder;
  EXPECT_EQ(GetProductCategoriesForProduct(1)->Count(), 2);
  EXPECT_TRUE(GetProductCategoriesForProduct(1)->Exists(7));
  EXPECT_EQ(GetProductCategoriesForProduct(9)->Count(), 0);
  EXPECT_EQ(recorder.statements[0], "SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1");
}

TEST_F(UnspscLib, ACodeHasTheProductsOfAllDeeperCodes) {
  for (const char* code : {"10", "102030", "20", "1"}) add_product(code);
  Recorder recorder;
  EXPECT_EQ(GetProductsForUNSPSCCode("10")->Count(), 2);
  EXPECT_TRUE(GetProductsForUNSPSCCode("10")->Exists(1));
  EXPECT_TRUE(GetProductsForUNSPSCCode("10")->Exists(2));
  EXPECT_EQ(GetProductsForUNSPSCCode("_0")->Count(), 3);  // wildcards work
  EXPECT_EQ(recorder.statements[0], "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '10%'");
  EXPECT_EQ(raised_by([] { GetProductsForUNSPSCCode("1'"); }).Number, error_number::kStatementRefused);
}

TEST_F(UnspscLib, ACategoryHasItsProductsAndItsLastPlace) {
  link(1, 5, "3");
  link(2, 5, "9");
  link(3, 5, "NULL");
  link(4, 6, "20");
  const auto products = std::make_shared<Dictionary>();
  std::int32_t last = 0;
  Recorder recorder;
  GetProductsForProductCategory(5, products, last);
  EXPECT_EQ(products->Count(), 3);
  EXPECT_EQ(last, 9);
  EXPECT_EQ(recorder.statements, Statements{"SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=5"});
}

TEST_F(UnspscLib, TheLastPlacesOfCategoriesAreFilledInWhereThereAreAny) {
  link(1, 5, "3");
  link(2, 5, "9");
  link(1, 6, "NULL");
  link(1, 7, "1");
  const auto categories = std::make_shared<Dictionary>();
  for (const int id : {5, 6, 8}) categories->Add(id, Variant());
  Recorder recorder;
  GetMaxSequenceNrsForProductCategories(categories);
  EXPECT_EQ(categories->Keys(), (Array{5, 6, 8}));
  EXPECT_EQ(categories->Items(), (Array{9, kNull, Variant()}));
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT CATEGORYID, MAX(SEQUENCE) AS SEQUENCE FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID "
                       "HAVING CATEGORYID IN (5,6,8)"});
}

// A product's code

TEST_F(UnspscLib, EqualCodesDoNothing) {
  Recorder recorder;
  for (const char* code : {"", "1020"}) {
    update_product(1, code, code);
    update_product(1, code, code, true);
    update_category(1, code, code);
    update_category(1, code, code, true);
  }
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(UnspscLib, TheCommitVoteIsTheCallers) {
  add_category("10");
  ContextCall call(caller_.object()->context());
  UpdateProductLinksForUNSPSCCode(1, "", "10", true);
  UpdateProductCategoryLinksForUNSPSCCode(1, "", "20", false);
  call.finish();
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(outcome(), Outcome::open);
}

TEST_F(UnspscLib, AProductThatMovesKeepsWhatBothCodesShare) {
  for (const char* code : {"10", "1020", "1030"}) add_category(code);
  link(1, 1, "4");
  link(1, 2, "4");
  link(8, 3, "6");
  Recorder recorder;
  update_product(1, "1020", "1030");
  EXPECT_EQ(links(), (Links{"1 in 1 at 4", "1 in 3 at 7", "8 in 3 at 6"}));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020')",
                        "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1030')",
                        "SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1",
                        "DELETE FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1 AND CATEGORYID IN (2)",
                        "SELECT CATEGORYID, MAX(SEQUENCE) AS SEQUENCE FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID "
                        "HAVING CATEGORYID IN (3)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,3,7)"}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnspscLib, ALinkThatBothCodesShareIsNotMadeWhenItIsGone) {
  add_category("10");
  update_product(1, "1020", "1030");
  EXPECT_TRUE(links().empty());
}

TEST_F(UnspscLib, ANewProductGoesToTheEndOfEachCategory) {
  for (const char* code : {"10", "1020", "102030"}) add_category(code);
  link(7, 1, "2");
  link(8, 1, "5");
  link(9, 2, "NULL");
  Recorder recorder;
  update_product(1, "", "102030", true);
  EXPECT_EQ(links(),
            (Links{"1 in 1 at 6", "1 in 2 at 1", "1 in 3 at 1", "7 in 1 at 2", "8 in 1 at 5", "9 in 2 at no place"}));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020','102030')",
                        "SELECT CATEGORYID, MAX(SEQUENCE) AS SEQUENCE FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID "
                        "HAVING CATEGORYID IN (1,2,3)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,1,6)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,2,1)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,3,1)"}));
}

TEST_F(UnspscLib, AnEmptyOldCodeOfAProductDeletesNothing) {
  add_category("10");
  link(1, 5, "1");
  update_product(1, "", "10");
  EXPECT_EQ(links(), (Links{"1 in 1 at 1", "1 in 5 at 1"}));
}

TEST_F(UnspscLib, AnEmptyNewCodeOfAProductAddsNothing) {
  for (const char* code : {"10", "1020"}) add_category(code);
  link(1, 1, "1");
  link(1, 2, "1");
  link(1, 5, "1");
  link(2, 1, "2");
  Recorder recorder;
  update_product(1, "1020", "");
  EXPECT_EQ(links(), (Links{"1 in 5 at 1", "2 in 1 at 2"}));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020')",
                                             "SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1",
                                             "DELETE FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1 AND CATEGORYID IN "
                                             "(1,2)"}));
}

TEST_F(UnspscLib, ALinkOfAProductThatExistsIsNotAddedAgain) {
  for (const char* code : {"10", "1020"}) add_category(code);
  link(1, 1, "9");
  update_product(1, "", "1020");
  EXPECT_EQ(links(), (Links{"1 in 1 at 9", "1 in 2 at 1"}));
}

TEST_F(UnspscLib, ANewProductsLinkThatExistsIsRefusedByTheStore) {
  add_category("10");
  link(1, 1, "9");
  const RaisedError raised = raised_by([&] { update_product(1, "", "10", true); });
  EXPECT_EQ(raised.Number, error_number::kConstraintViolated);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(links(), (Links{"1 in 1 at 9"}));
}

TEST_F(UnspscLib, TheLastPlaceOfACategoryLeavesNoRoomBehindIt) {
  add_category("10");
  link(2, 1, "2147483647");
  EXPECT_EQ(raised_by([&] { update_product(1, "", "10", true); }),
            trail({error_number::kOverflow, "Mercato", "Overflow", "", 0},
                  {{"Mercato.UNSPSCLib.UpdateProductLinksForUNSPSCCode"}})
                .raised);
  EXPECT_EQ(vote(), Vote::abort);
}

// A category's code

TEST_F(UnspscLib, ACategoryThatMovesKeepsWhatBothCodesShare) {
  for (const char* code : {"1020", "102030", "1030", "10", "103040"}) add_product(code);
  link(1, 5, "2");
  link(2, 5, "3");
  link(9, 5, "8");
  Recorder recorder;
  update_category(5, "1020", "1030");
  EXPECT_EQ(links(), (Links{"3 in 5 at 9", "5 in 5 at 10", "9 in 5 at 8"}));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1020%'",
                        "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1030%'",
                        "SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=5",
                        "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=5 AND PRODUCTID IN (1,2)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (3,5,9)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (5,5,10)"}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnspscLib, ANewCategoryPicksUpProductsWithDeeperCodes) {
  for (const char* code : {"102030", "10", "20"}) add_product(code);
  Recorder recorder;
  update_category(1, "", "10", true);
  EXPECT_EQ(links(), (Links{"1 in 1 at 2", "2 in 1 at 1"}));  // in the order in which the store gives them
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '10%'",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2,1,1)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,1,2)"}));
}

TEST_F(UnspscLib, AnEmptyOldCodeOfACategoryDeletesNothing) {
  add_product("10");
  link(7, 1, "3");
  update_category(1, "", "10");
  EXPECT_EQ(links(), (Links{"1 in 1 at 4", "7 in 1 at 3"}));
}

TEST_F(UnspscLib, AnEmptyNewCodeOfACategoryAddsNothing) {
  for (const char* code : {"10", "20"}) add_product(code);
  link(1, 1, "1");
  link(2, 1, "2");
  update_category(1, "10", "");
  EXPECT_EQ(links(), (Links{"2 in 1 at 2"}));
}

TEST_F(UnspscLib, ALinkOfACategoryThatExistsIsNotAddedAgain) {
  for (const char* code : {"10", "1020"}) add_product(code);
  link(2, 1, "5");
  update_category(1, "", "10");
  EXPECT_EQ(links(), (Links{"1 in 1 at 6", "2 in 1 at 5"}));
}

TEST_F(UnspscLib, ANewCategorysLinkThatExistsIsRefusedByTheStore) {
  add_product("10");
  link(1, 1, "5");
  EXPECT_EQ(raised_by([&] { update_category(1, "", "10", true); }).Number, error_number::kConstraintViolated);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(links(), (Links{"1 in 1 at 5"}));
}

TEST_F(UnspscLib, TheLastPlaceLeavesNoRoomForANewProductOfTheCategory) {
  add_product("10");
  link(2, 1, "2147483647");
  EXPECT_EQ(raised_by([&] { update_category(1, "", "10"); }).Number, error_number::kOverflow);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(links(), (Links{"2 in 1 at 2147483647"}));
}

TEST_F(UnspscLib, ACategoryMayLoseMoreProductsThanAnEngineBindsParameters) {
  constexpr int kDoublings = 16;  // 65,536 products
  add_product("10");
  for (int doubling = 0; doubling < kDoublings; ++doubling)
    execute(
        {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) SELECT PARTNUMBER, PRODUCTDESCRIPTION, "
         "UNSPSCCODE FROM PRODUCT"});
  execute(
      {"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) SELECT PRODUCTID, 1, PRODUCTID FROM "
       "PRODUCT"});
  link(1, 2, "1");
  update_category(1, "10", "");
  EXPECT_EQ(links(), (Links{"1 in 2 at 1"}));
}

// Failures

struct FailingStatement {
  std::string statement;
  std::string function;  // that runs it; empty for the update itself
};

class UnspscLibFailures : public UnspscLib {
 protected:
  void SetUp() override {
    UnspscLib::SetUp();
    for (const char* code : {"10", "1020", "1030"}) add_category(code);
    for (const char* code : {"1020", "1030", "103040"}) add_product(code);
    link(1, 2, "1");
  }

  template <class Update>
  void expect_trails(const std::string& update_name, const std::vector<FailingStatement>& cases, Update update) {
    const auto before = all_rows();
    for (const FailingStatement& failing : cases) {
      SCOPED_TRACE(failing.statement);
      Recorder recorder;
      recorder.fail_on = failing.statement;
      const RaisedError raised = raised_by(update);
      std::vector<Level> levels;
      if (!failing.function.empty()) {
        levels.push_back({"Lib_SQL.Sql_GetReadonlyRecordset", refused_while_executing(failing.statement)});
        levels.push_back({"Mercato.UNSPSCLib." + failing.function});
      }
      levels.push_back({"Mercato.UNSPSCLib." + update_name});
      const FailureTrail expected = trail(refused_on_request(), levels);
      EXPECT_EQ(raised, expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_EQ(recorder.statements.back(), failing.statement);
      EXPECT_EQ(vote(), Vote::abort);
      EXPECT_EQ(outcome(), Outcome::rolledback);
      EXPECT_EQ(all_rows(), before);
    }
  }
};

TEST_F(UnspscLibFailures, EveryStatementForAProductLogsRaisesAndTakesBackWhatWasDone) {
  expect_trails("UpdateProductLinksForUNSPSCCode",
                {{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020')",
                  "GetProductCategoriesForUNSPSCCode"},
                 {"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1030')",
                  "GetProductCategoriesForUNSPSCCode"},
                 {"SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1", "GetProductCategoriesForProduct"},
                 {"DELETE FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1 AND CATEGORYID IN (2)", ""},
                 {"SELECT CATEGORYID, MAX(SEQUENCE) AS SEQUENCE FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID HAVING "
                  "CATEGORYID IN (3)",
                  "GetMaxSequenceNrsForProductCategories"},
                 {"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,3,1)", ""}},
                [&] { update_product(1, "1020", "1030"); });
}

TEST_F(UnspscLibFailures, EveryStatementForACategoryLogsRaisesAndTakesBackWhatWasDone) {
  expect_trails(
      "UpdateProductCategoryLinksForUNSPSCCode",
      {{"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1020%'", "GetProductsForUNSPSCCode"},
       {"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1030%'", "GetProductsForUNSPSCCode"},
       {"SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=2", "GetProductsForProductCategory"},
       {"DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=2 AND PRODUCTID IN (1)", ""},
       {"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2,2,2)", ""},
       {"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (3,2,3)", ""}},
      [&] { update_category(2, "1020", "1030"); });
}

TEST_F(UnspscLibFailures, AConnectionThatCannotBeHadIsTheFunctionsOwnFailure) {
  Recorder recorder;
  recorder.failures["Grundwerk.Configuration.GetConnectionStringOf"] = {70, "Configuration", "not now", "", 0};
  const FailureTrail expected = trail(
      {70, "Configuration", "not now", "", 0},
      {{"Mercato.UNSPSCLib.GetProductCategoriesForUNSPSCCode"}, {"Mercato.UNSPSCLib.UpdateProductLinksForUNSPSCCode"}});
  EXPECT_EQ(raised_by([&] { update_product(1, "10", ""); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(UnspscLibFailures, WorkWithoutATransactionServerToo) {
  UpdateProductLinksForUNSPSCCode(1, "1020", "1030", false);
  EXPECT_EQ(links(), (Links{"1 in 3 at 1"}));
  UpdateProductCategoryLinksForUNSPSCCode(3, "1030", "1020", false);
  EXPECT_EQ(links(), (Links{"1 in 3 at 1"}));  // linked already
}

// Codes that try to be more than a code.

const char* const kHostileCodes[] = {
    "'",          "''",           "' OR '1'='1", "'; DELETE FROM PRODUCT; --",
    "') OR (1=1", "10%' --",      "%",           "[",
    "\\'",        "\xFF\xFE'",    "1 OR 1=1",    "*/",
    "/*",         "\xE2\x80\x99", "'''''",       "1') --",
};

TEST_F(UnspscLibFailures, NoCodeReachesMoreThanTheLinksOfItsProduct) {
  const auto before = all_rows();
  for (const std::string code : kHostileCodes) {
    SCOPED_TRACE(code);
    try {
      update_product(1, "", code, true);
      update_product(1, code, "", false);
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);  // text that the store cannot hold
    }
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(UnspscLibFailures, NoCodeReachesMoreThanTheLinksOfItsCategory) {
  const auto before = all_rows();
  for (const std::string code : kHostileCodes) {
    SCOPED_TRACE(code);
    try {
      update_category(1, code, "", true);
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
    }
    EXPECT_EQ(all_rows(), before);
  }
}

}  // namespace
}  // namespace mercato::test
