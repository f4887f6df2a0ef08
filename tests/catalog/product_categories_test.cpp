// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/catalog/catalog_fixture.h"

namespace mercato::test {
namespace {

const std::string kNewRow = "SELECT * FROM PRODUCTCATEGORY WHERE 0=1";

// Inserting

class NewProductCategory : public CatalogTest {
 protected:
  bool insert(const Variant& fields, const Variant& values) {
    return t_catalog_->InsertProductCategory(fields, values);
  }
};

TEST_F(NewProductCategory, IsWrittenFieldByField) {
  Recorder recorder;
  EXPECT_TRUE(insert(Array{"CATEGORYNAME", "unspscCode"}, Array{"tools", "2711"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(categories(), (Rows{{1, "tools", "2711"}}));
  EXPECT_EQ(recorder.statements, Statements{kNewRow});
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(NewProductCategory, AsksForTheSettingWhenItsRowIsWritten) {
  Recorder recorder;
  insert(Array{"CATEGORYNAME"}, Array{"tools"});
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Grundwerk.Configuration.PrepareConnections", {false}},
                                {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}},
                                {"Grundwerk.Configuration.PrepareParameters", {false}},
                                {"Grundwerk.Configuration.GetParameter", {"COMMONPARAMETERS", "UNSPSCIMPLEMENTED"}}}));
}

TEST_F(NewProductCategory, HasNullForEveryEmptyValueButNotForABlank) {
  insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"empty", ""});
  insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"Empty", Variant()});
  insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"Null", kNull});
  insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"blank", " "});
  EXPECT_EQ(categories(), (Rows{{1, "empty", kNull}, {2, "Empty", kNull}, {3, "Null", kNull}, {4, "blank", " "}}));
}

TEST_F(NewProductCategory, TakesArraysOfAnyLowerBound) {
  EXPECT_TRUE(insert(Array(std::vector<Variant>{"CATEGORYNAME", "UNSPSCCODE"}, 3),
                     Array(std::vector<Variant>{"tools", 2711}, 3)));
  EXPECT_EQ(categories(), (Rows{{1, "tools", "2711"}}));
}

TEST_F(NewProductCategory, LeavesTheCallersArraysAsTheyAre) {
  std::vector<Variant> arguments = {Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools", ""}};
  const std::vector<Variant> before = arguments;
  invoke(t_catalog_.object(), "InsertProductCategory", arguments);
  EXPECT_EQ(arguments, before);
}

TEST_F(NewProductCategory, PicksUpTheProductsOfItsCode) {
  implement_unspsc("Yes");
  for (const char* code : {"271112", "2711", "30"}) add_product(code);
  for (const char* field : {"UNSPSCCODE", "unspsccode"}) {
    const Rows before = categories();
    Recorder recorder;
    EXPECT_TRUE(insert(Array{"CATEGORYNAME", field}, Array{"tools", "2711"}));
    const std::string id = std::to_string(before.size() + 1);
    EXPECT_EQ(recorder.statements,
              (Statements{kNewRow, "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '2711%'",
                          "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2," + id + ",1)",
                          "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1," + id + ",2)"}));
  }
  EXPECT_EQ(links(), (Rows{{1, 1, 2}, {2, 1, 1}, {1, 2, 2}, {2, 2, 1}}));
}

TEST_F(NewProductCategory, WithoutACodePicksUpNothing) {
  implement_unspsc("Yes");
  add_product("2711");
  for (const Variant& code : {Variant(""), Variant(kNull)}) {
    Recorder recorder;
    EXPECT_TRUE(insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools", code}));
    EXPECT_EQ(recorder.statements, Statements{kNewRow});
  }
  Recorder recorder;
  EXPECT_TRUE(insert(Array{"CATEGORYNAME"}, Array{"tools"}));
  EXPECT_EQ(recorder.statements, Statements{kNewRow});
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(NewProductCategory, PicksUpNothingUnlessTheSettingIsExactlyYes) {
  add_product("2711");
  for (const Variant& setting : {Variant("yes"), Variant("YES"), Variant("Yes "), Variant("No"), Variant(""),
                                 Variant(true), Variant(1), Variant(kNull)}) {
    implement_unspsc(setting);
    Recorder recorder;
    EXPECT_TRUE(insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools", "2711"}));
    EXPECT_EQ(recorder.statements, Statements{kNewRow});
    EXPECT_EQ(vote(), Vote::commit);
  }
  EXPECT_TRUE(links().empty());
}

TEST_F(NewProductCategory, IsNotWrittenWhenAnythingIsWrong) {
  const struct {
    Variant fields, values;
    std::int32_t number;
  } cases[] = {
      {Array{"CATEGORYNAME", "COLOUR"}, Array{"tools", "red"}, error_number::kNoSuchField},
      {Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools"}, error_number::kSubscriptOutOfRange},
      {Array{"CATEGORYNAME"}, Array(std::vector<Variant>{"tools"}, 1), error_number::kSubscriptOutOfRange},
      {"CATEGORYNAME", Array{"tools"}, error_number::kTypeMismatch},
      {Array{"CATEGORYNAME"}, "tools", error_number::kTypeMismatch},
      {Array{kNull}, Array{"tools"}, error_number::kInvalidUseOfNull},
      {Array{"CATEGORYNAME"}, Array{Variant(Array{})}, error_number::kTypeMismatch},
      {Array{"CATEGORYNAME"}, Array{""}, error_number::kConstraintViolated},
      {Array{}, Array{}, error_number::kConstraintViolated},
      {Array{"CATEGORYNAME"}, Array{std::string(256, 'x')}, error_number::kValueTooLong},
      {Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools", std::string(21, '1')}, error_number::kValueTooLong},
  };
  for (const auto& row : cases) {
    Root<TCatalog> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->InsertProductCategory(row.fields, row.values); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    ASSERT_EQ(recorder.log.size(), 1u);
    EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.InsertProductCategory\r\n"), std::string::npos);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::abort);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::rolledback);
  }
  EXPECT_TRUE(categories().empty());
}

TEST_F(NewProductCategory, IsTakenBackWhenItsLinksFail) {
  implement_unspsc("Yes");
  for (const char* code : {"271112", "2711"}) add_product(code);
  const std::string read = "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '2711%'";
  const std::string first = "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2,1,1)";
  const std::string second = "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1,1,2)";
  const Level update = {"Mercato.UNSPSCLib.UpdateProductCategoryLinksForUNSPSCCode"};
  const Level insert_label = {"Mercato.Catalog.InsertProductCategory"};
  const struct {
    std::string statement;
    std::vector<Level> levels;
  } cases[] = {
      {kNewRow, {insert_label}},
      {read,
       {{"Lib_SQL.Sql_GetReadonlyRecordset", refused_while_executing(read)},
        {"Mercato.UNSPSCLib.GetProductsForUNSPSCCode"},
        update,
        insert_label}},
      {first, {update, insert_label}},
      {second, {update, insert_label}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.statement);
    Recorder recorder;
    recorder.fail_on = row.statement;
    const RaisedError raised = raised_by([&] { insert(Array{"CATEGORYNAME", "UNSPSCCODE"}, Array{"tools", "2711"}); });
    const FailureTrail expected = trail(refused_on_request(), row.levels);
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_TRUE(categories().empty());
    EXPECT_TRUE(links().empty());
    store().forget_lost_numbers();
  }
}

TEST_F(NewProductCategory, IsTakenBackWhenTheSettingCannotBeRead) {
  Recorder recorder;
  recorder.failures["Grundwerk.Configuration.GetParameter"] = {70, "Configuration", "not now", "", 0};
  const FailureTrail expected =
      trail({70, "Configuration", "not now", "", 0}, {{"Mercato.Catalog.InsertProductCategory"}});
  EXPECT_EQ(raised_by([&] { insert(Array{"CATEGORYNAME"}, Array{"tools"}); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(categories().empty());
}

// Updating

class ChangedProductCategory : public CatalogTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_category("tools", "'2711'");
    add_category("paper", "'1411'");
  }
  bool update(const Variant& fields, const Variant& values) {
    return t_catalog_->UpdateProductCategory(fields, values);
  }
};

TEST_F(ChangedProductCategory, IsWrittenFieldByFieldWithoutItsId) {
  Recorder recorder;
  EXPECT_TRUE(update(Array{"categoryname", "CategoryId", "UNSPSCCODE"}, Array{"hand tools", "1", "27"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(categories(), (Rows{{1, "hand tools", "27"}, {2, "paper", "1411"}}));
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=1"});
  EXPECT_EQ(recorder.calls.back(),
            (ComponentCall{"Grundwerk.Configuration.GetParameter", {"COMMONPARAMETERS", "UNSPSCIMPLEMENTED"}}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ChangedProductCategory, IsTheOneOfTheFirstIdAmongTheFields) {
  EXPECT_TRUE(update(Array{"CATEGORYID", "CATEGORYNAME", "CATEGORYID"}, Array{2, "changed", 1}));
  EXPECT_EQ(categories(), (Rows{{1, "tools", "2711"}, {2, "changed", "1411"}}));
}

TEST_F(ChangedProductCategory, HasNullForEveryEmptyValueButNotForABlank) {
  EXPECT_TRUE(update(Array{"CATEGORYID", "UNSPSCCODE"}, Array{1, ""}));
  EXPECT_TRUE(update(Array{"CATEGORYID", "UNSPSCCODE"}, Array{2, " "}));
  EXPECT_EQ(categories(), (Rows{{1, "tools", kNull}, {2, "paper", " "}}));
}

TEST_F(ChangedProductCategory, MayHaveNothingToChange) {
  EXPECT_TRUE(update(Array{"CATEGORYID"}, Array{1}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(categories(), (Rows{{1, "tools", "2711"}, {2, "paper", "1411"}}));
}

TEST_F(ChangedProductCategory, IsTheOneWithTheIdZeroWhenNobodyIsNamed) {
  execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYID, CATEGORYNAME) VALUES (0, 'nobody')"});
  EXPECT_TRUE(update(Array{"CATEGORYNAME"}, Array{"changed"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(categories(), (Rows{{0, "changed", kNull}, {1, "tools", "2711"}, {2, "paper", "1411"}}));
}

TEST_F(ChangedProductCategory, ThatIsNotThereIsRaisedWithItsId) {
  const struct {
    Variant fields, values;
    std::string id;
  } cases[] = {
      {Array{"CATEGORYID", "CATEGORYNAME"}, Array{9, "x"}, "9"},
      {Array{"CATEGORYID"}, Array{-2147483648.0}, "-2147483648"},
      {Array{"CATEGORYNAME"}, Array{"x"}, "0"},  // no category is named
      {Array{}, Array{}, "0"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.id);
    Recorder recorder;
    const FailureTrail expected = trail({eProductCategoryNotFound, "Mercato.Catalog.UpdateProductCategory",
                                         "Product Category (" + row.id + ") not found", "", 0},
                                        {{"Mercato.Catalog.UpdateProductCategory"}});
    EXPECT_EQ(raised_by([&] { update(row.fields, row.values); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=" + row.id});
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(ChangedProductCategory, StaysAsItIsWhenAnythingIsWrong) {
  const struct {
    Variant fields, values;
    std::int32_t number;
  } cases[] = {
      {Array{"CATEGORYID", "CATEGORYNAME", "COLOUR"}, Array{1, "x", "red"}, error_number::kNoSuchField},
      {Array{"CATEGORYID", "CATEGORYNAME", "UNSPSCCODE"}, Array{1, "x"}, error_number::kSubscriptOutOfRange},
      {Array{"CATEGORYID"}, Array{}, error_number::kSubscriptOutOfRange},
      {Array{"CATEGORYID"}, Array{"tools"}, error_number::kTypeMismatch},
      {Array{"CATEGORYID"}, Array{""}, error_number::kTypeMismatch},
      {Array{"CATEGORYID"}, Array{kNull}, error_number::kInvalidUseOfNull},
      {Array{"CATEGORYID"}, Array{2147483648.0}, error_number::kOverflow},
      {Array{"CATEGORYID", "CATEGORYNAME"}, Array{1, ""}, error_number::kConstraintViolated},
      {Array{"CATEGORYID", "CATEGORYNAME"}, Array{1, Array{}}, error_number::kTypeMismatch},
      {Array{"CATEGORYID", "UNSPSCCODE"}, Array{1, std::string(21, '1')}, error_number::kValueTooLong},
      {"CATEGORYID", Array{1}, error_number::kTypeMismatch},
      {Array{"CATEGORYID"}, 1, error_number::kTypeMismatch},
  };
  const auto before = all_rows();
  for (const auto& row : cases) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { update(row.fields, row.values); });
    EXPECT_EQ(raised.Number, row.number) << raised.Description;
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ChangedProductCategory, FollowsItsNewCode) {
  implement_unspsc("Yes");
  for (const char* code : {"271112", "1411", "141130"}) add_product(code);
  link(1, 1, 4);
  Recorder recorder;
  EXPECT_TRUE(update(Array{"CATEGORYID", "unspsccode"}, Array{1, "1411"}));
  EXPECT_EQ(links(), (Rows{{2, 1, 5}, {3, 1, 6}}));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=1",
                        "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '2711%'",
                        "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1411%'",
                        "SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1",
                        "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1 AND PRODUCTID IN (1)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2,1,5)",
                        "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (3,1,6)"}));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ChangedProductCategory, WhoseCodeIsNotMentionedLosesItsLinksButKeepsTheCode) {
  implement_unspsc("Yes");
  add_product("2711");
  add_product("50");
  link(1, 1, 1);
  link(2, 1, 2);  // a link that was written by hand
  Recorder recorder;
  EXPECT_TRUE(update(Array{"CATEGORYID", "CATEGORYNAME"}, Array{1, "hand tools"}));
  EXPECT_EQ(categories().front(), (std::vector<Variant>{1, "hand tools", "2711"}));
  EXPECT_EQ(links(), (Rows{{2, 1, 2}}));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=1",
                                             "SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '2711%'",
                                             "SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1",
                                             "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1 AND PRODUCTID IN "
                                             "(1)"}));
}

TEST_F(ChangedProductCategory, WhoseCodeStaysHasNothingToFollow) {
  implement_unspsc("Yes");
  add_product("2711");
  Recorder recorder;
  EXPECT_TRUE(update(Array{"CATEGORYID", "UNSPSCCODE"}, Array{1, "2711"}));
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=1"});
  add_category("no code");
  EXPECT_TRUE(update(Array{"CATEGORYID", "CATEGORYNAME"}, Array{3, "still none"}));
  EXPECT_TRUE(links().empty());
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ChangedProductCategory, FollowsNothingUnlessTheSettingIsExactlyYes) {
  add_product("1411");
  for (const Variant& setting : {Variant("yes"), Variant("No"), Variant(true), Variant(kNull)}) {
    implement_unspsc(setting);
    EXPECT_TRUE(update(Array{"CATEGORYID", "UNSPSCCODE"}, Array{1, "1411"}));
  }
  EXPECT_TRUE(links().empty());
}

TEST_F(ChangedProductCategory, IsTakenBackWhenItsLinksFail) {
  implement_unspsc("Yes");
  for (const char* code : {"2711", "1411"}) add_product(code);
  link(1, 1, 1);
  const auto before = all_rows();
  const std::vector<std::pair<std::string, std::string>> reads = {
      {"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '2711%'", "GetProductsForUNSPSCCode"},
      {"SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '1411%'", "GetProductsForUNSPSCCode"},
      {"SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1", "GetProductsForProductCategory"},
  };
  const Level links_label = {"Mercato.UNSPSCLib.UpdateProductCategoryLinksForUNSPSCCode"};
  const Level update_label = {"Mercato.Catalog.UpdateProductCategory"};
  std::vector<std::pair<std::string, std::vector<Level>>> cases = {
      {"SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=1", {update_label}},
      {"DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=1 AND PRODUCTID IN (1)", {links_label, update_label}},
      {"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (2,1,2)", {links_label, update_label}},
  };
  for (const auto& [statement, function] : reads)
    cases.push_back({statement,
                     {{"Lib_SQL.Sql_GetReadonlyRecordset", refused_while_executing(statement)},
                      {"Mercato.UNSPSCLib." + function},
                      links_label,
                      update_label}});
  for (const auto& [statement, levels] : cases) {
    SCOPED_TRACE(statement);
    Recorder recorder;
    recorder.fail_on = statement;
    const RaisedError raised = raised_by([&] {
      update(Array{"CATEGORYID", "CATEGORYNAME", "UNSPSCCODE"}, Array{1, "changed", "1411"});
    });
    const FailureTrail expected = trail(refused_on_request(), levels);
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
}

// Deleting

class DeletedProductCategory : public CatalogTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    add_category("tools");
    add_category("paper");
    link(1, 1, 1);
    link(1, 2, 1);
    execute({"INSERT INTO VISIBILITIESBYCATEGORY (CATEGORYID, VISIBILITYID) VALUES (1, 7)",
             "INSERT INTO VISIBILITIESBYCATEGORY (CATEGORYID, VISIBILITYID) VALUES (2, 7)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (5, 'tools', 1, 1)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (5, 'folder', 0, 1)",
             "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID, PARENTNODEID) VALUES (5, 'child', 1, "
             "2, 1)"});
  }
  static Statements statements_for(const std::string& id) {
    return {"DELETE FROM VISIBILITIESBYCATEGORY WHERE CATEGORYID=" + id,
            "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=" + id, "DELETE FROM CATALOGNODE WHERE CATEGORYID=" + id,
            "DELETE FROM PRODUCTCATEGORY WHERE CATEGORYID = " + id};
  }
};

TEST_F(DeletedProductCategory, GoesWithItsVisibilitiesLinksAndNodes) {
  Recorder recorder;
  EXPECT_TRUE(t_catalog_->DeleteProductCategory(1));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(recorder.statements, statements_for("1"));
  EXPECT_EQ(recorder.calls.front(), (ComponentCall{"Grundwerk.ReferentialChecker.CheckBeforeDelete",
                                                   {"Mercato", "PRODUCTCATEGORY", Array{"CATEGORYID"}, Array{1}}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(categories(), (Rows{{2, "paper", kNull}}));
  EXPECT_EQ(links(), (Rows{{1, 2, 1}}));
  EXPECT_EQ(rows("SELECT * FROM VISIBILITIESBYCATEGORY"), (Rows{{2, 7}}));
  // The child of a deleted node stays where it was.
  EXPECT_EQ(rows("SELECT NODENAME, PARENTNODEID FROM CATALOGNODE"), (Rows{{"child", 1}}));
}

TEST_F(DeletedProductCategory, StaysWithNothingRaisedOrLoggedWhenTheCheckerRefuses) {
  execute({"INSERT INTO FAQISSUE (PRODUCTCATEGORYID, DESCRIPTION) VALUES (1, 'why')"});
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(t_catalog_->DeleteProductCategory(1));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(DeletedProductCategory, ThatIsNotThereIsRaisedAsACatalogueAndTakesNothingAlong) {
  execute({"INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (5, 'dangling', 1, 9)"});
  link(3, 9, 1);
  const auto before = all_rows();
  Recorder recorder;
  const FailureTrail expected = trail({eCatalogNotFound, "Mercato.Catalog.Delete", "Catalog doesn't exist", "", 0},
                                      {{"Mercato.Catalog.DeleteProductCategory"}});
  EXPECT_EQ(raised_by([&] { t_catalog_->DeleteProductCategory(9); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(recorder.statements, statements_for("9"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(outcome(), Outcome::rolledback);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(DeletedProductCategory, IsThereAgainWhenOneOfTheStatementsFails) {
  const auto before = all_rows();
  const Statements statements = statements_for("1");
  for (std::size_t failing = 0; failing < statements.size(); ++failing) {
    SCOPED_TRACE(statements[failing]);
    Recorder recorder;
    recorder.fail_on = statements[failing];
    const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog.DeleteProductCategory"}});
    EXPECT_EQ(raised_by([&] { t_catalog_->DeleteProductCategory(1); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements(statements.begin(), statements.begin() + 1 + static_cast<int>(failing)));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(DeletedProductCategory, StaysWhenTheCheckerFails) {
  Recorder recorder;
  recorder.failures["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = {70, "Checker", "not now", "", 0};
  const FailureTrail expected = trail({70, "Checker", "not now", "", 0}, {{"Mercato.Catalog.DeleteProductCategory"}});
  EXPECT_EQ(raised_by([&] { t_catalog_->DeleteProductCategory(1); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(DeletedProductCategory, GoesWithoutATransactionServerToo) {
  TCatalog alone;
  EXPECT_TRUE(alone.DeleteProductCategory(1));
  EXPECT_EQ(categories(), (Rows{{2, "paper", kNull}}));
}

// Lists

class ProductCategoryList : public CatalogTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    for (int number = 1; number <= 12; ++number)
      add_category("category " + std::to_string(number % 3), "'" + std::to_string(10 + number) + "'");
    page_ = create_plain("Bauteil.Page");
    catalog_->GetProductCategoriesByName("x");  // the connection string is looked up before anything is recorded
  }
  static std::vector<std::int32_t> ids(const ComponentPtr& list) {
    std::vector<std::int32_t> ids;
    const RecordsetPtr page = invoke(list, "PageRows", {}).to<Recordset>();
    for (const auto& row : page->rows()) ids.push_back(row[0].to_long());
    return ids;
  }
  static Variant ask(const ComponentPtr& list, std::string_view method) { return invoke(list, method, {}); }

  ComponentPtr page_;
};

TEST_F(ProductCategoryList, ComesInPagesByIdWithoutAVote) {
  Recorder recorder;
  const ComponentPtr list = catalog_->GetProductCategoryData(nullptr, "", 5);
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                                {"Bauteil.DRecordset.SetPersistedState", {""}},
                                {"Bauteil.DRecordset.SetPageSize", {std::int16_t{5}}},
                                {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM PRODUCTCATEGORY", "CATEGORYID"}}}));
  EXPECT_EQ(ids(list), (std::vector<std::int32_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(ask(list, "PageCount"), Variant(3));
  EXPECT_EQ(ask(list, "NextPage"), Variant(true));
  EXPECT_EQ(ids(list), (std::vector<std::int32_t>{6, 7, 8, 9, 10}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryList, IsRestrictedToOneIdOrToIdsWithCommasOfTheirOwn) {
  const struct {
    Variant given;
    std::string list;
    std::vector<std::int32_t> found;
  } cases[] = {
      {Array{3}, "3", {3}},
      {Array{"3, ", 5}, "3,  5", {3, 5}},
      {Array{"3,5,7"}, "3,5,7", {3, 5, 7}},
      {Array(std::vector<Variant>{"12"}, 1), "12", {12}},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    const ComponentPtr list = catalog_->GetProductCategoryData(nullptr, "", 5, row.given);
    EXPECT_EQ(
        recorder.calls.back(),
        (ComponentCall{"Bauteil.DRecordset.OpenQuery",
                       {"SELECT * FROM PRODUCTCATEGORY WHERE (CATEGORYID IN (" + row.list + "))", "CATEGORYID"}}));
    EXPECT_EQ(ids(list), row.found);
  }
}

TEST_F(ProductCategoryList, OfTwoIdsWithABlankBetweenThemIsRefusedWhenItIsOpened) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { catalog_->GetProductCategoryData(nullptr, "", 5, Array{3, 5}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.calls[3],
            (ComponentCall{"Bauteil.DRecordset.OpenQuery",
                           {"SELECT * FROM PRODUCTCATEGORY WHERE (CATEGORYID IN (3 5))", "CATEGORYID"}}));
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_NE(recorder.log[0].text.find(" METHOD: Mercato.Catalog.GetProductCategoryData\r\n"), std::string::npos);
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryList, IsSortedWhenSortFieldsAreGiven) {
  Recorder recorder;
  const ComponentPtr list =
      catalog_->GetProductCategoryData(nullptr, "", 4, kMissing, "CATEGORYNAME DESC, UNSPSCCODE DESC");
  EXPECT_EQ(recorder.calls[3],
            (ComponentCall{"Bauteil.DRecordset.SetSortFields", {"CATEGORYNAME DESC, UNSPSCCODE DESC"}}));
  EXPECT_EQ(ids(list), (std::vector<std::int32_t>{11, 8, 5, 2}));
}

TEST_F(ProductCategoryList, OfAPageStandsWhereItWasLeft) {
  const auto read = [&] { return catalog_->GetProductCategoryData(page_, "", 5); };
  const ComponentPtr left = read();
  EXPECT_EQ(ask(left, "NextPage"), Variant(true));
  invoke(page_, "SetSavedPosition", {ask(left, "PersistedState")});
  const ComponentPtr list = read();
  EXPECT_EQ(ask(list, "PageNumber"), Variant(2));
  EXPECT_EQ(ids(list).front(), 6);
}

TEST_F(ProductCategoryList, GoesOnWithItsPersistedState) {
  const ComponentPtr left = catalog_->GetProductCategoryData(nullptr, "", 5, kMissing, "CATEGORYID DESC");
  EXPECT_EQ(ask(left, "NextPage"), Variant(true));
  const ComponentPtr list = catalog_->GetProductCategoryData(nullptr, ask(left, "PersistedState").to_text(), 0);
  EXPECT_EQ(ids(list), (std::vector<std::int32_t>{7, 6, 5, 4, 3}));
}

TEST_F(ProductCategoryList, LogsAndRaisesWithoutAVote) {
  const struct {
    std::vector<Variant> arguments;
    RaisedError failure;
  } cases[] = {
      {{Variant(), "", 32768}, {error_number::kOverflow, "Mercato", "Overflow", "", 0}},
      {{page_, "", -32769}, {error_number::kOverflow, "Mercato", "Overflow", "", 0}},
      {{Variant(), "", 5, 3}, {error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}},
      {{Variant(), "", 5, Variant()}, {error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}},
      {{Variant(), "", 5, Array{kNull}}, {error_number::kInvalidUseOfNull, "Mercato", "Invalid use of Null", "", 0}},
      {{Variant(), "no state", 5},
       {5, "Bauteil.DRecordset", "The persisted state is not one that a DRecordset wrote", "", 0}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.failure.Description);
    Recorder recorder;
    std::vector<Variant> arguments = row.arguments;
    const RaisedError raised = raised_by([&] { invoke(catalog_.object(), "GetProductCategoryData", arguments); });
    const FailureTrail expected = trail(row.failure, {{"Mercato.Catalog.GetProductCategoryData"}});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(read_vote(), Vote::none);
  }
}

// Names and visibilities

const std::string kVisible =
    "SELECT DISTINCT VBC.CATEGORYID, PC.CATEGORYNAME FROM VISIBILITIESBYCATEGORY VBC INNER JOIN PRODUCTCATEGORY PC ON "
    "VBC.CATEGORYID = PC.CATEGORYID";
const std::string kVisibilities =
    "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION FROM FAQVISIBILITY FAQV WHERE FAQV.VISIBILITYID IN (SELECT "
    "DISTINCT VBC.VISIBILITYID FROM VISIBILITIESBYCATEGORY VBC";
const std::string kShared =
    "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION FROM FAQVISIBILITY FAQV WHERE FAQV.VISIBILITYID IN (SELECT "
    "VBC.VISIBILITYID FROM VISIBILITIESBYCATEGORY VBC";
const std::string kDescriptions = "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION FROM FAQVISIBILITY FAQV";

class ProductCategoryVisibilities : public CatalogTest {
 protected:
  void SetUp() override {
    CatalogTest::SetUp();
    for (const char* name : {"tools", "paper", "Apples", "nowhere"}) add_category(name);
    for (const char* row : {"(1, 'public')", "(2, 'buyers')", "(3, NULL)", "(4, 'nobody')"})
      execute({std::string("INSERT INTO FAQVISIBILITY (VISIBILITYID, VISIBILITYDESCRIPTION) VALUES ") + row});
    for (const char* row : {"(1, 1)", "(1, 2)", "(2, 2)", "(3, 2)", "(3, 3)", "(3, 3)", "(9, 1)", "(2, 8)"})
      execute({std::string("INSERT INTO VISIBILITIESBYCATEGORY (CATEGORYID, VISIBILITYID) VALUES ") + row});
  }
  DictionaryPtr visible(Variant visibilities) { return catalog_->GetVisibleProductCategories(visibilities); }
};

TEST_F(ProductCategoryVisibilities, LeadToTheCategoriesByName) {
  Recorder recorder;
  const DictionaryPtr found = visible(Array(std::vector<Variant>{2, "3"}, 1));
  EXPECT_EQ(found->Keys(), (Array{3, 2, 1}));
  EXPECT_EQ(found->Items(), (Array{"Apples", "paper", "tools"}));
  EXPECT_EQ(recorder.statements, Statements{kVisible + " WHERE VBC.VISIBILITYID IN (2,3) ORDER BY CATEGORYNAME"});
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryVisibilities, ThatAreNoArrayLeadNowhereAfterAQueryThatCannotMatch) {
  for (const Variant& given : {Variant(), Variant(kNull), Variant(2), Variant("2"), Variant(kMissing)}) {
    Recorder recorder;
    std::vector<Variant> arguments = {given};
    const Variant found = invoke(catalog_.object(), "GetVisibleProductCategories", arguments);
    EXPECT_EQ(found.to<Dictionary>()->Count(), 0);
    EXPECT_EQ(arguments.front(), given);
    EXPECT_EQ(recorder.statements, Statements{kVisible + " WHERE 1=0 ORDER BY CATEGORYNAME"});
  }
  EXPECT_EQ(visible(Array{4})->Count(), 0);
}

TEST_F(ProductCategoryVisibilities, OfCategoriesAreThoseOfAnyOfThem) {
  Recorder recorder;
  const DictionaryPtr found = catalog_->GetVisibilitiesByCategories(Array{1, "3"});
  EXPECT_EQ(found->Keys(), (Array{1, 2, 3}));
  EXPECT_EQ(found->Items(), (Array{"public", "buyers", kNull}));
  EXPECT_EQ(recorder.statements, Statements{kVisibilities + " WHERE VBC.CATEGORYID IN (1,3))"});
  EXPECT_EQ(catalog_->GetVisibilitiesByCategories(Array{4}), nullptr);
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryVisibilities, OfCategoriesAreThoseOfAllCategoriesWhenNoneAreNamed) {
  for (const Variant& given : {Variant(), Variant(kMissing)}) {
    Recorder recorder;
    const Variant found = invoke(catalog_.object(), "GetVisibilitiesByCategories", {given});
    EXPECT_EQ(found.to<Dictionary>()->Keys(), (Array{1, 2, 3}));
    EXPECT_EQ(recorder.statements, Statements{kVisibilities + ")"});
  }
}

TEST_F(ProductCategoryVisibilities, InCommonAreThoseOfMoreThanOneRow) {
  Recorder recorder;
  // It is enough that two of the three share one.
  EXPECT_EQ(catalog_->GetJoinVisibilitiesByCategories(Array{1, 2, 4})->Keys(), Array{2});
  EXPECT_EQ(recorder.statements,
            Statements{kShared + " WHERE VBC.CATEGORYID IN (1,2,4) GROUP BY VBC.VISIBILITYID HAVING COUNT(*)>1)"});
  EXPECT_EQ(catalog_->GetJoinVisibilitiesByCategories(Array{1}), nullptr);
  EXPECT_EQ(catalog_->GetJoinVisibilitiesByCategories(Array{3})->Keys(), Array{3});  // this pair has two rows
  EXPECT_EQ(catalog_->GetJoinVisibilitiesByCategories(Variant())->Keys(), (Array{1, 2, 3}));
  EXPECT_EQ(recorder.statements.back(), kShared + " GROUP BY VBC.VISIBILITYID HAVING COUNT(*)>1)");
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryVisibilities, HaveTheirDescriptions) {
  Recorder recorder;
  EXPECT_EQ(catalog_->GetVisibilityDescByID(Array{4, "3"})->Items(), (Array{kNull, "nobody"}));
  EXPECT_EQ(catalog_->GetVisibilityDescByID(Variant())->Keys(), (Array{1, 2, 3, 4}));
  EXPECT_EQ(catalog_->GetVisibilityDescByID(kMissing)->Count(), 4);
  EXPECT_EQ(catalog_->GetVisibilityDescByID(Array{8}), nullptr);
  EXPECT_EQ(recorder.statements, (Statements{kDescriptions + " WHERE FAQV.VISIBILITYID IN (4,3)", kDescriptions,
                                             kDescriptions, kDescriptions + " WHERE FAQV.VISIBILITYID IN (8)"}));
  EXPECT_EQ(read_vote(), Vote::none);
}

TEST_F(ProductCategoryVisibilities, OfNobodyAreNothing) {
  execute({"DELETE FROM VISIBILITIESBYCATEGORY", "DELETE FROM FAQVISIBILITY"});
  for (const char* method :
       {"GetVisibilitiesByCategories", "GetJoinVisibilitiesByCategories", "GetVisibilityDescByID"}) {
    const Variant found = invoke(catalog_.object(), method, {Variant()});
    ASSERT_TRUE(found.is_object());
    EXPECT_EQ(found.object_value(), nullptr);
  }
}

TEST_F(ProductCategoryVisibilities, AskedForWithWhatIsNoListOfIdsFail) {
  for (const std::string method :
       {"GetVisibilitiesByCategories", "GetJoinVisibilitiesByCategories", "GetVisibilityDescByID"}) {
    for (const Variant& given : {Variant(kNull), Variant(1), Variant("1,2")}) {
      Recorder recorder;
      const FailureTrail expected =
          trail({error_number::kTypeMismatch, "Mercato", "Type mismatch", "", 0}, {{"Mercato.Catalog." + method}});
      EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), method, {given}); }), expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_EQ(read_vote(), Vote::none);
    }
    const std::pair<Variant, std::int32_t> lists[] = {{Array{}, error_number::kStatementRefused},
                                                      {Array{kNull}, error_number::kInvalidUseOfNull},
                                                      {Array{"one"}, error_number::kStatementRefused},
                                                      {Array{"1,2"}, error_number::kStatementRefused}};
    for (const auto& [given, number] : lists)
      EXPECT_EQ(raised_by([&, &given = given] { invoke(catalog_.object(), method, {given}); }).Number, number);
  }
  EXPECT_EQ(raised_by([&] { visible(Array{}); }).Number, error_number::kStatementRefused);
}

TEST_F(ProductCategoryVisibilities, AreFoundByTheNameOfACategory) {
  Recorder recorder;
  EXPECT_EQ(catalog_->GetProductCategoriesByName("*p*"), Variant(Array{2, 3}));
  EXPECT_EQ(catalog_->GetProductCategoriesByName("tools"), Variant(Array{1}));
  EXPECT_EQ(catalog_->GetProductCategoriesByName(""), Variant(Array{1, 2, 3, 4}));
  EXPECT_TRUE(catalog_->GetProductCategoriesByName("unknown").is_null());
  EXPECT_TRUE(catalog_->GetProductCategoriesByName("%").is_null());
  EXPECT_EQ(recorder.statements, (Statements{"SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE CATEGORYNAME LIKE N'%p%'",
                                             "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE CATEGORYNAME LIKE N'tools'",
                                             "SELECT CATEGORYID FROM PRODUCTCATEGORY",
                                             "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE CATEGORYNAME LIKE "
                                             "N'unknown'",
                                             "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE CATEGORYNAME LIKE N'[%]'"}));
  EXPECT_EQ(read_vote(), Vote::none);
  add_category("O''Neil 100%");
  EXPECT_EQ(catalog_->GetProductCategoriesByName("O'Neil*%"), Variant(Array{5}));
}

TEST_F(ProductCategoryVisibilities, NoCategoryAtAllIsNull) {
  execute({"DELETE FROM PRODUCTCATEGORY"});
  EXPECT_TRUE(catalog_->GetProductCategoriesByName("").is_null());
}

TEST_F(ProductCategoryVisibilities, ThatCannotBeReadAreLoggedAndRaisedWithoutAVote) {
  const struct {
    std::string method;
    Variant argument;
  } cases[] = {
      {"GetVisibleProductCategories", Array{1}},     {"GetVisibilitiesByCategories", Array{1}},
      {"GetJoinVisibilitiesByCategories", Array{1}}, {"GetVisibilityDescByID", Array{1}},
      {"GetProductCategoriesByName", "tools"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.method);
    Recorder recorder;
    recorder.fail_on = "SELECT";
    const FailureTrail expected = trail(refused_on_request(), {{"Mercato.Catalog." + row.method}});
    EXPECT_EQ(raised_by([&] { invoke(catalog_.object(), row.method, {row.argument}); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(read_vote(), Vote::none);
    EXPECT_EQ(catalog_.context().outcome_of_last_call(), Outcome::none);
  }
}

}  // namespace
}  // namespace mercato::test
