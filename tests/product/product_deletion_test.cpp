// SPDX-License-Identifier: Apache-2.0
// The questions of the reference checker, and the deletion and hiding of products.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "mercato/reference_rules.h"
#include "tests/product/product_fixture.h"
#include "tests/support/failure_trail.h"

namespace mercato::test {
namespace {

class ProductDeletion : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    shared_connection_string_of_application();  // looked up here, so that no test records the look-up
  }

  bool exists(const Array& fields, const Array& values) {
    std::vector<Variant> arguments = {Variant(), fields, values};
    return invoke(product_.object(), "IReferentialIntegrity_Exists", arguments).to_boolean();
  }
  bool before_delete(const Array& fields, const Array& values) {
    std::vector<Variant> arguments = {Variant(), fields, values};
    return invoke(product_.object(), "IReferentialIntegrity_BeforeDelete", arguments).to_boolean();
  }
  std::int32_t count(const std::string& table, const std::string& condition = "1=1") const {
    return value_of("SELECT COUNT(*) FROM " + table + " WHERE " + condition).to_long();
  }
};

// Exists

TEST_F(ProductDeletion, RecordIsInUseWhereItsFieldIsAskedFor) {
  add_product("P-1", "first", "BUSINESSPARTNERID, USERID", "7, 'ann'");
  execute({"INSERT INTO CONTRACTLINES (OFFICEDESCRIPTION) VALUES ('it''s')",
           "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, CURRENCYCODE) VALUES (1, "
           "'7/1/2026', 1, 'EUR')",
           "INSERT INTO COMMODITY (COMMODITYCODE, CHARGETYPECODE, USERID) VALUES ('C1', 'CT', 'bob')",
           "INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('cid', 1)"});
  struct Case {
    std::string field;
    Variant used;
    Variant unused;
    Statements statements;  // for the used one
  };
  const Case cases[] = {
      {"BUSINESSPARTNERID", 7, 8, {"SELECT BUSINESSPARTNERID FROM PRODUCT WHERE BUSINESSPARTNERID = 7"}},
      {"OfficeDescription",
       "it's",
       "its",
       {"SELECT OFFICEDESCRIPTION FROM CONTRACTLINES WHERE OfficeDescription = 'it''s'"}},
      {"currencycode", "EUR", "USD", {"SELECT PRODUCTID FROM CATALOGPRODUCTPRICE WHERE currencycode = 'EUR'"}},
      {"COMMODITYCODE", "C1", "C2", {"SELECT COMMODITYCODE FROM COMMODITY WHERE COMMODITYCODE = 'C1'"}},
      {"CHARGETYPECODE", "CT", "", {"SELECT COMMODITYCODE FROM COMMODITY WHERE CHARGETYPECODE = 'CT'"}},
      {"ProductID", "1", "2", {"SELECT PRODUCTID FROM PRODUCT WHERE ProductID = 1"}},
      {"USERID",
       "ann",
       "ANNA",
       {"SELECT PRODUCTID FROM PRODUCT WHERE USERID = 'ann'", "SELECT USERID FROM COMMODITY WHERE USERID = 'ann'",
        "SELECT USERID FROM FAVORITES WHERE USERID = 'ann'"}},
  };
  for (const Case& asked : cases) {
    SCOPED_TRACE(asked.field);
    Recorder recorder;
    EXPECT_TRUE(exists(Array{asked.field}, Array{asked.used}));
    Statements statements = asked.statements;
    statements.insert(statements.begin(), kIsolation);
    EXPECT_EQ(recorder.statements, statements);
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_FALSE(exists(Array{asked.field}, Array{asked.unused}));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_TRUE(recorder.log.empty());
  }
}

TEST_F(ProductDeletion, UserIsInUseInAnyOfThreeTables) {
  add_product("P-1", "first", "USERID", "'ann'");
  execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('C1', 'bob')",
           "INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('cid', 1)"});
  for (const char* user : {"ann", "bob", "cid"}) EXPECT_TRUE(exists(Array{"USERID"}, Array{user})) << user;
  EXPECT_FALSE(exists(Array{"USERID"}, Array{"dan"}));
}

TEST_F(ProductDeletion, OnlyTheFirstFieldIsLookedAt) {
  add_product("P-1", "first");
  EXPECT_TRUE(exists(Array{"PRODUCTID", "NOFIELD"}, Array{1, "x"}));
  EXPECT_FALSE(exists(Array{"PRODUCTID", "PRODUCTID"}, Array{2, 1}));
  EXPECT_TRUE(exists(Array({"PRODUCTID", "USERID"}, 4), Array({1, "ann"}, 4)));
}

TEST_F(ProductDeletion, NothingIsInUseWhenNothingIsAsked) {
  Recorder recorder;
  EXPECT_FALSE(exists(Array{}, Array{}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductDeletion, FieldWithoutAValueFailsBeforeAStatementIsMade) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { exists(Array{"USERID"}, Array{}); });
  const FailureTrail expected = trail({error_number::kSubscriptOutOfRange, "Mercato", "Subscript out of range", "", 0},
                                      {"Mercato.Product.Exists  SQL2:  lSQL3: "});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductDeletion, UnknownFieldIsRefusedWithTheStatementsInTheLabel) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { exists(Array{"NOFIELD"}, Array{"x"}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_TRUE(raised.Description.starts_with(
      "\r\nERROR 0x80040E14\r\n METHOD: Mercato.Product.Exists  SQL2:  lSQL3: \r\n DESC: "))
      << raised.Description;
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0].text, message("80040E14", "Mercato.Product.Exists  SQL2:  lSQL3: ", raised.Description));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductDeletion, EachStatementOfAQuestionThatIsRefusedShowsAllInTheLabel) {
  const std::string label =
      "Mercato.Product.Exists SELECT PRODUCTID FROM PRODUCT WHERE userid = 'O''N' SQL2: SELECT USERID FROM COMMODITY "
      "WHERE userid = 'O''N' lSQL3: SELECT USERID FROM FAVORITES WHERE userid = 'O''N'";
  for (const char* refused : {"FROM PRODUCT", "FROM COMMODITY", "FROM FAVORITES"}) {
    Recorder recorder;
    recorder.fail_on = refused;
    const RaisedError raised = raised_by([&] { exists(Array{"userid"}, Array{"O'N"}); });
    const FailureTrail expected = trail(refused_on_request(), {label});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
  }
}

// The field has the table's name, and no column is called so.
TEST_F(ProductDeletion, UnspscCodesCannotBeAskedForByTheirTablesName) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { exists(Array{"UNSPSCCodes"}, Array{"10%'_"}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_TRUE(raised.Description.starts_with(
      "\r\nERROR 0x80040E14\r\n METHOD: Mercato.Product.Exists SELECT UNSPSCCODE FROM PRODUCT WHERE UNSPSCCodes like "
      "'10[%]''[_]' SQL2: SELECT UNSPSCCODE FROM PRODUCTCATEGORY WHERE UNSPSCCodes like '10[%]''[_]' lSQL3: \r\n"))
      << raised.Description;
}

TEST_F(ProductDeletion, NumberThatIsNoneIsRefusedByTheStore) {
  add_product("P-1", "first");
  for (const Variant& id : {Variant("1 OR 1=1"), Variant("x"), Variant(""), Variant(kNull)})
    EXPECT_EQ(raised_by([&] { exists(Array{"PRODUCTID"}, Array{id}); }).Number, error_number::kStatementRefused);
}

// BeforeDelete

TEST_F(ProductDeletion, FavoritesGoWithTheirUser) {
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('ann', 1)",
           "INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('ann', 2)",
           "INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('bob', 1)"});
  Recorder recorder;
  EXPECT_TRUE(before_delete(Array{"OTHER", "UserId", "USERID"}, Array{"x", "ann", "bob"}));
  EXPECT_EQ(recorder.statements, Statements{"DELETE FROM FAVORITES WHERE USERID = 'ann'"});
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT USERID FROM FAVORITES"), (std::vector<std::vector<Variant>>{{"bob"}}));
}

TEST_F(ProductDeletion, NothingGoesWithAnythingElse) {
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('ann', 1)"});
  Recorder recorder;
  EXPECT_TRUE(before_delete(Array{"PRODUCTID"}, Array{1}));
  EXPECT_TRUE(before_delete(Array{}, Array{}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(count("FAVORITES"), 1);
}

TEST_F(ProductDeletion, UserIdWithAQuoteBreaksTheStatementThatClearsItsFavorites) {
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('O''N', 1)"});
  Recorder recorder;
  const RaisedError raised = raised_by([&] { before_delete(Array{"USERID"}, Array{"O'N"}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_TRUE(raised.Description.starts_with("\r\nERROR 0x80040E14\r\n METHOD: Mercato.Product.BeforeDelete\r\n"));
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(count("FAVORITES"), 1);
}

// Delete

class ProductDeleted : public ProductDeletion {
 protected:
  void SetUp() override {
    ProductDeletion::SetUp();
    for (const char* id : {"1", "2"}) {
      const std::string product(id);
      add_product("P-" + product, "product");
      execute({"INSERT INTO ATTACHEDFILE (PRODUCTID, FILENAME) VALUES (" + product + ", 'manual.pdf')",
               "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID) VALUES (1, " + product + ")",
               "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (" + product + ", 1)",
               "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO) VALUES (" + product +
                   ", '7/1/2026', 1)",
               "INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('ann', " + product + ")",
               "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (" + product + ", 'ann')"});
    }
    execute({"INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (1, 2)",
             "INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (2, 1)"});
  }

  static std::vector<std::string> dependents(const std::string& id) {
    return {"DELETE FROM attachedfile WHERE ProductID=" + id,
            "DELETE FROM productpropvalue WHERE ProductID=" + id,
            "DELETE FROM productsbycategory WHERE ProductID=" + id,
            "DELETE FROM alternativeproducts WHERE ORIGINALPRODUCT=" + id,
            "DELETE FROM catalogproductprice WHERE ProductID=" + id,
            "DELETE FROM favorites WHERE ProductID=" + id,
            "DELETE FROM productbuyer WHERE ProductID=" + id};
  }
  std::filesystem::path attachments() const { return folder() / "web" / "mercato" / "ProductAttachments"; }
  void attach(const std::string& id) const {
    std::filesystem::create_directories(attachments() / id / "inner");
    std::ofstream(attachments() / id / "manual.pdf") << "x";
    std::ofstream(attachments() / id / "inner" / "drawing.pdf") << "x";
  }
};

TEST_F(ProductDeleted, GoesWithAllThatHangsOnItInThisOrder) {
  attach("1");
  attach("2");
  Recorder recorder;
  EXPECT_TRUE(product_->Delete(1));
  Statements statements = dependents("1");
  statements.emplace_back("DELETE FROM PRODUCT WHERE PRODUCTID = 1");
  EXPECT_EQ(recorder.statements, statements);
  EXPECT_EQ(
      recorder.calls,
      (std::vector<ComponentCall>{
          {"Grundwerk.ReferentialChecker.CheckBeforeDelete", {"Mercato", "PRODUCT", Array{"ProductID"}, Array{1}}},
          {"Grundwerk.ReferentialChecker.RunBeforeDelete", {"Product", Array{"ProductID"}, Array{1}}},
          {"Grundwerk.Configuration.GetWebRootFolder", {}}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::committed);
  for (const char* table : {"PRODUCT", "ATTACHEDFILE", "PRODUCTPROPVALUE", "PRODUCTSBYCATEGORY", "CATALOGPRODUCTPRICE",
                            "FAVORITES", "PRODUCTBUYER"})
    EXPECT_EQ(rows(std::string("SELECT PRODUCTID FROM ") + table), (std::vector<std::vector<Variant>>{{2}})) << table;
  // A row that names it as the alternative of another product stays.
  EXPECT_EQ(rows("SELECT ORIGINALPRODUCT, ALTERNATIVEPRODUCT FROM ALTERNATIVEPRODUCTS"),
            (std::vector<std::vector<Variant>>{{2, 1}}));
  EXPECT_FALSE(std::filesystem::exists(attachments() / "1"));
  EXPECT_TRUE(std::filesystem::exists(attachments() / "2" / "inner" / "drawing.pdf"));
}

TEST_F(ProductDeleted, WithoutItsFolderGoesAllTheSame) {
  EXPECT_TRUE(product_->Delete(1));
  EXPECT_EQ(count("PRODUCT"), 1);
}

TEST_F(ProductDeleted, WithoutAnAttachedFileLeavesItsFolderAlone) {
  attach("1");
  execute({"DELETE FROM ATTACHEDFILE"});
  Recorder recorder;
  EXPECT_TRUE(product_->Delete(1));
  EXPECT_TRUE(std::filesystem::exists(attachments() / "1" / "manual.pdf"));
  EXPECT_EQ(recorder.calls.size(), 2u);
}

TEST_F(ProductDeleted, IdThatDoesNotExistRemovesNothingAndIsRaised) {
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->Delete(9); });
  const FailureTrail expected =
      trail({eProductNotFound, "Mercato.Product.Delete", "Product not present", "", 0}, {"Mercato.Product.Delete"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  Statements statements = dependents("9");
  statements.emplace_back("DELETE FROM PRODUCT WHERE PRODUCTID = 9");
  EXPECT_EQ(recorder.statements, statements);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductDeleted, DependentsOfAProductThatIsGoneComeBackWithTheTransaction) {
  execute({"DELETE FROM PRODUCT WHERE PRODUCTID = 1"});
  const auto before = all_rows();
  EXPECT_EQ(raised_by([&] { product_->Delete(1); }).Number, eProductNotFound);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductDeleted, StaysWhenSomethingRefersToItAndSaysSoInItsSource) {
  const std::string source = "The record you are trying to insert has an invalid reference to another record";
  const FailureTrail expected =
      trail({static_cast<std::int32_t>(0x80040007u), source, kNoText, "", 0}, {"Mercato.Product.Delete"});
  execute({"INSERT INTO FAQISSUE (PRODUCTID) VALUES (1)"});
  const auto before = all_rows();
  {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { product_->Delete(1); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::abort);
  }
  execute({"DELETE FROM FAQISSUE"});
  Recorder recorder;
  recorder.answers["Grundwerk.ReferentialChecker.RunBeforeDelete"] = false;
  EXPECT_EQ(raised_by([&] { product_->Delete(1); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(count("PRODUCT"), 2);
  EXPECT_EQ(before.at("FAVORITES"), all_rows().at("FAVORITES"));
}

// The checker calls back into the class, inside the same transaction.
TEST_F(ProductDeleted, CanBeOneOfItsOwnOwnersOfDependentRows) {
  const auto rules = *collaborators::reference_rules();
  auto with_owner = rules;
  with_owner.dependents["Product"] = {"Mercato.Product"};
  collaborators::set_reference_rules(with_owner);
  EXPECT_TRUE(product_->Delete(1));
  collaborators::set_reference_rules(rules);
  EXPECT_EQ(count("PRODUCT"), 1);
}

TEST_F(ProductDeleted, ComesBackWholeWhenAnyStatementIsRefused) {
  attach("1");
  const auto before = all_rows();
  for (const std::string& refused : dependents("1")) {
    SCOPED_TRACE(refused);
    Recorder recorder;
    recorder.fail_on = refused;
    const RaisedError raised = raised_by([&] { product_->Delete(1); });
    const FailureTrail expected =
        trail(refused_on_request(), {"Mercato.Product.BeforeDelete", "Mercato.Product.Delete"});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements.back(), refused);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
  Recorder recorder;
  recorder.fail_on = "DELETE FROM PRODUCT WHERE";
  const RaisedError raised = raised_by([&] { product_->Delete(1); });
  const FailureTrail expected = trail(refused_on_request(), {"Mercato.Product.Delete"});
  EXPECT_EQ(raised.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductDeleted, StaysWhenACollaboratorFails) {
  const auto before = all_rows();
  struct Case {
    std::string method;
    std::vector<Level> labels;
  };
  const Case cases[] = {
      {"Grundwerk.ReferentialChecker.CheckBeforeDelete", {"Mercato.Product.Delete"}},
      {"Grundwerk.ReferentialChecker.RunBeforeDelete", {"Mercato.Product.Delete"}},
      {"Grundwerk.Configuration.GetWebRootFolder", {"Mercato.Product.BeforeDelete", "Mercato.Product.Delete"}},
  };
  for (const Case& failing : cases) {
    SCOPED_TRACE(failing.method);
    Recorder recorder;
    recorder.failures[failing.method] = {7, "Collaborator", "no answer", "", 0};
    const RaisedError raised = raised_by([&] { product_->Delete(1); });
    const FailureTrail expected =
        trail({7, "Collaborator", "no answer", "", 0}, {failing.labels.begin(), failing.labels.end()});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ProductDeleted, StaysWhenTheFileSystemKeepsItsFolder) {
  // The kernel lets nobody delete below this folder, whoever runs the test.
  const std::string id = std::to_string(::getpid());
  std::filesystem::create_directories(attachments().parent_path());
  std::filesystem::create_directory_symlink("/proc/self/task", attachments());
  execute({"INSERT INTO ATTACHEDFILE (PRODUCTID) VALUES (" + id + ")"});
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->Delete(std::stoi(id)); });
  EXPECT_EQ(raised.Number, error_number::kPermissionDenied);
  EXPECT_EQ(recorder.log.size(), 2u);
  EXPECT_EQ(recorder.statements, Statements{"DELETE FROM attachedfile WHERE ProductID=" + id});
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductDeleted, StaysWithAReadOnlyAttachment) {
  std::filesystem::create_directories(attachments() / "1");
  std::ofstream(attachments() / "1" / "manual.pdf") << "x";
  const auto kept = attachments() / "1" / "manual.pdf";
  std::filesystem::permissions(kept, std::filesystem::perms::owner_read);
  execute({"INSERT INTO ATTACHEDFILE (PRODUCTID) VALUES (1)"});
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->Delete(1); });
  EXPECT_EQ(raised.Number, error_number::kPermissionDenied);
  EXPECT_EQ(recorder.log.size(), 2u);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
  EXPECT_TRUE(std::filesystem::exists(kept));
}

// Disable and Enable

TEST_F(ProductDeletion, ProductIsHiddenAndShownAgainWithoutAStamp) {
  add_product("P-1", "first");
  add_product("P-2", "second");
  Recorder recorder;
  product_->Disable(1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT DISABLED, DATEUPDATED FROM PRODUCT ORDER BY PRODUCTID"),
            (std::vector<std::vector<Variant>>{{std::int16_t{1}, kNull}, {std::int16_t{0}, kNull}}));
  product_->Enable(1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(value_of("SELECT SUM(DISABLED) FROM PRODUCT").to_long(), 0);
  EXPECT_EQ(recorder.statements, (Statements{"UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = 1",
                                             "UPDATE PRODUCT SET DISABLED = 0 WHERE PRODUCTID = 1"}));
}

TEST_F(ProductDeletion, ProductThatDoesNotExistIsHiddenAndShownToNoEffect) {
  add_product("P-1", "first");
  const auto before = all_rows();
  product_->Disable(9);
  product_->Enable(-1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductDeletion, RefusalToHideOrShowHasTheConnectionsErrorsForItsInformation) {
  const auto refused = [&](const std::string& name, const std::string& statement, auto call) {
    Recorder recorder;
    recorder.fail_on = statement;
    const std::string label = "Mercato.Product." + name;
    const std::string info = "Error(s) from connection object:  (1)refused on request[-2147217900]";
    const std::string once = message("80040E14", label, "refused on request", info);
    EXPECT_EQ(raised_by(call), (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
    EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Test", message("80040E14", label, once, info), 0}}));
    EXPECT_EQ(vote(), Vote::abort);
  };
  refused("Disable", "SET DISABLED = 1", [&] { product_->Disable(1); });
  refused("Enable", "SET DISABLED = 0", [&] { product_->Enable(1); });
}

TEST_F(ProductDeletion, ConnectionThatNeverCameHasNoErrorsButTheInformationStands) {
  collaborators::Settings settings = *collaborators::settings();
  settings.connections.clear();
  collaborators::set_settings(settings);
  forget_thread_state();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->Disable(1); });
  EXPECT_EQ(raised.Number, error_number::kInvalidArgument);
  EXPECT_TRUE(raised.Description.ends_with("\r\n INFO: .\r\n")) << raised.Description;
}

}  // namespace
}  // namespace mercato::test
