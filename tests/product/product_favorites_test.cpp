// SPDX-License-Identifier: Apache-2.0
// Favourites of users, and the buyers of products.
#include "product/product_favorites.h"

#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "platform/store/call_limit.h"
#include "tests/product/product_fixture.h"
#include "tests/support/failure_trail.h"

namespace mercato::test {
namespace {

using Rows = std::vector<std::vector<Variant>>;

std::int16_t small(int number) { return static_cast<std::int16_t>(number); }

// Favourites

class ProductFavorites : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    shared_connection_string_of_application();  // looked up here, so that no test records the look-up
  }
  Rows favorites() const {
    return rows("SELECT USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT FROM FAVORITES");
  }
};

TEST_F(ProductFavorites, NewOneIsWrittenAfterItWasLookedFor) {
  Recorder recorder;
  product_->CreateFavoriteEx("ann", 5, WarehouseFavorite, 3);
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT * FROM FAVORITES WHERE USERID='ann' AND PRODUCTID=5 AND WAREHOUSEFAVORITE=1 AND "
                       "FOLDERID= 3"});
  EXPECT_TRUE(recorder.calls.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(favorites(), (Rows{{"ann", 5, small(1), 3, 1}}));
}

TEST_F(ProductFavorites, IsAWarehouseFavoriteForTypeOneOnly) {
  for (const std::int32_t type : {-1, 0, 2, 5, 257}) product_->CreateFavoriteEx("ann", 10 + type, type);
  for (const auto& row : favorites()) EXPECT_EQ(row[2], Variant(small(0)));
  product_->CreateFavoriteEx("ann", 1, 1);
  EXPECT_EQ(favorites().back(), (std::vector<Variant>{"ann", 1, small(1), 0, 1}));
}

TEST_F(ProductFavorites, IsAtTheTopLevelForAnyFolderBelowOne) {
  for (const std::int32_t folder : {0, -1, -2147483647}) {
    Recorder recorder;
    product_->CreateFavoriteEx("ann", 5, DefaultFavorite, folder);
    EXPECT_EQ(recorder.statements,
              Statements{"SELECT * FROM FAVORITES WHERE USERID='ann' AND PRODUCTID=5 AND WAREHOUSEFAVORITE=0 AND "
                         "FOLDERID= 0"});
  }
  EXPECT_EQ(favorites(), (Rows{{"ann", 5, small(0), 0, 1}}));
}

TEST_F(ProductFavorites, CreatedTwiceIsOneRowAndRaisesNothingButVotesAbort) {
  product_->CreateFavorite("ann", 5);
  EXPECT_EQ(vote(), Vote::commit);
  Recorder recorder;
  product_->CreateFavorite("ann", 5);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::rolledback);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(recorder.statements.size(), 1u);
  EXPECT_EQ(favorites(), (Rows{{"ann", 5, small(0), 0, 1}}));
}

TEST_F(ProductFavorites, OfOtherTypeFolderProductOrUserIsAnother) {
  product_->CreateFavorite("ann", 5);
  product_->CreateFavorite("ann", 5, WarehouseFavorite);
  product_->CreateFavoriteEx("ann", 5, DefaultFavorite, 3);
  product_->CreateFavorite("ann", 6);
  product_->CreateFavorite("bob", 5);
  EXPECT_EQ(favorites().size(), 5u);
}

TEST_F(ProductFavorites, ThatIsNoLongerPresentGetsASecondRow) {
  execute(
      {"INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 5, 0, 0, 0)",
       "INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID, PRESENT) VALUES ('ann', 6, 0, 0, -1)",
       "INSERT INTO FAVORITES (USERID, PRODUCTID, WAREHOUSEFAVORITE, FOLDERID) VALUES ('ann', 7, 0, 0)"});
  for (const std::int32_t id : {5, 6, 7}) {
    product_->CreateFavorite("ann", id);
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(value_of("SELECT COUNT(*) FROM FAVORITES WHERE PRODUCTID=" + std::to_string(id)), Variant(2));
  }
}

TEST_F(ProductFavorites, AreDeletedByTypeAndFolderOrAllOfThem) {
  struct Case {
    std::int32_t type;
    std::int32_t folder;
    std::string conditions;
    std::int32_t left;
  };
  const Case cases[] = {
      {-1, -1, "", 2},
      {0, -1, " AND WAREHOUSEFAVORITE = 0", 4},
      {1, -1, " AND WAREHOUSEFAVORITE = 1", 4},
      {5, -1, " AND WAREHOUSEFAVORITE = 0", 4},
      {0, 3, " AND WAREHOUSEFAVORITE = 0 AND FOLDERID = 3", 5},
      {1, 0, " AND WAREHOUSEFAVORITE = 1 AND FOLDERID = 0", 5},
      {-1, 3, " AND FOLDERID = 3", 4},
      {-1, 9, " AND FOLDERID = 9", 6},
      {-1, -2, " AND FOLDERID = -2", 6},
  };
  for (const Case& deletion : cases) {
    SCOPED_TRACE(deletion.conditions);
    execute({"DELETE FROM FAVORITES"});
    for (const std::int32_t type : {0, 1})
      for (const std::int32_t folder : {0, 3}) product_->CreateFavoriteEx("ann", 5, type, folder);
    product_->CreateFavorite("ann", 6);
    product_->CreateFavorite("bob", 5);
    Recorder recorder;
    product_->DeleteFavoriteEx("ann", 5, deletion.type, deletion.folder);
    EXPECT_EQ(recorder.statements,
              Statements{"DELETE FROM FAVORITES WHERE USERID='ann' AND PRODUCTID=5" + deletion.conditions});
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(value_of("SELECT COUNT(*) FROM FAVORITES"), Variant(deletion.left));
  }
}

TEST_F(ProductFavorites, OfOldAreDeletedInAllFolders) {
  product_->CreateFavoriteEx("ann", 5, 0, 0);
  product_->CreateFavoriteEx("ann", 5, 1, 3);
  product_->CreateFavoriteEx("ann", 5, 0, 4);
  {
    Recorder recorder;
    product_->DeleteFavorite("ann", 5, 1);
    EXPECT_EQ(recorder.statements,
              Statements{"DELETE FROM FAVORITES WHERE USERID='ann' AND PRODUCTID=5 AND WAREHOUSEFAVORITE = 1"});
  }
  product_->DeleteFavorite("ann", 5);
  EXPECT_TRUE(favorites().empty());
}

TEST_F(ProductFavorites, ThatAreNotThereAreDeletedWithoutAFailure) {
  product_->DeleteFavorite("nobody", 99);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductFavorites, OfAUserWithAQuoteFailInBothStatements) {
  execute({"INSERT INTO FAVORITES (USERID, PRODUCTID) VALUES ('O''N', 5)"});
  const auto before = all_rows();
  for (const char* method : {"CreateFavoriteEx", "DeleteFavoriteEx"}) {
    Recorder recorder;
    std::vector<Variant> arguments = {"O'N", 5};
    const RaisedError raised = raised_by([&] { invoke(product_.object(), method, arguments); });
    EXPECT_EQ(raised.Number, error_number::kStatementRefused);
    EXPECT_TRUE(raised.Description.starts_with(std::string("\r\nERROR 0x80040E14\r\n METHOD: Mercato.Product.") +
                                               method + "\r\n DESC: "));
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ProductFavorites, OfAUserBeyondTheColumnsWidthAreNotWritten) {
  EXPECT_EQ(raised_by([&] { product_->CreateFavorite(std::string(61, 'u'), 5); }).Number, error_number::kValueTooLong);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(favorites().empty());
}

TEST_F(ProductFavorites, RefusedStatementsAreLoggedUnderTheNewNames) {
  struct Case {
    std::string method;
    std::string statement;
    std::string label;
  };
  const Case cases[] = {{"CreateFavorite", "SELECT * FROM FAVORITES", "Mercato.Product.CreateFavoriteEx"},
                        {"DeleteFavorite", "DELETE FROM FAVORITES", "Mercato.Product.DeleteFavoriteEx"}};
  for (const Case& refused : cases) {
    Recorder recorder;
    recorder.fail_on = refused.statement;
    std::vector<Variant> arguments = {"ann", 5};
    const RaisedError raised = raised_by([&] { invoke(product_.object(), refused.method, arguments); });
    const FailureTrail expected = trail(refused_on_request(), {refused.label});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
  }
}

// What hosts list and count

TEST_F(ProductFavorites, OfAUserAreListedByFolderAndProductWithTheirNames) {
  add_product("P-1", "paper");
  execute({"INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('O''Neil', 'Every week')",
           "INSERT INTO FAVORITES VALUES ('O''Neil', 1, 1, 1, 1)",
           "INSERT INTO FAVORITES VALUES ('O''Neil', 7, 0, 0, 1)",
           "INSERT INTO FAVORITES VALUES ('O''Neil', 1, 0, 0, 1)",
           "INSERT INTO FAVORITES VALUES ('O''Neil', 2, 0, 0, 0)", "INSERT INTO FAVORITES VALUES ('ann', 1, 0, 0, 1)"});
  Rows listed;
  for (const DictionaryPtr& row : product::favorites_of(connection_string(), "O'Neil"))
    listed.push_back({row->Item("PRODUCTID"), row->Item("PARTNUMBER"), row->Item("PRODUCTDESCRIPTION"),
                      row->Item("WAREHOUSEFAVORITE"), row->Item("FOLDERID"), row->Item("FOLDERNAME")});
  EXPECT_EQ(listed, (Rows{{1, "P-1", "paper", small(0), 0, kNull},
                          {7, kNull, kNull, small(0), 0, kNull},
                          {1, "P-1", "paper", small(1), 1, "Every week"}}));
  EXPECT_TRUE(product::favorites_of(connection_string(), "bob").empty());
}

TEST_F(ProductFavorites, AreCountedAsTheyWouldBeDeleted) {
  const auto make = [&] {
    execute({"DELETE FROM FAVORITES", "INSERT INTO FAVORITES VALUES ('ann', 1, 0, 0, 1)",
             "INSERT INTO FAVORITES VALUES ('ann', 1, 1, 0, 1)", "INSERT INTO FAVORITES VALUES ('ann', 1, 0, 3, 1)",
             "INSERT INTO FAVORITES VALUES ('ann', 2, 0, 3, 1)", "INSERT INTO FAVORITES VALUES ('bob', 1, 0, 3, 1)"});
  };
  struct Case {
    std::int32_t type;
    std::int32_t folder;
    std::int32_t count;
  };
  for (const auto& [type, folder, count] :
       {Case{-1, -1, 3}, Case{DefaultFavorite, -1, 2}, Case{WarehouseFavorite, -1, 1}, Case{-1, 0, 2}, Case{-1, 3, 1},
        Case{WarehouseFavorite, 3, 0}}) {
    make();
    EXPECT_EQ(product::count_favorites(connection_string(), "ann", 1, type, folder), count) << type << ", " << folder;
    product_->DeleteFavoriteEx("ann", 1, type, folder);
    EXPECT_EQ(favorites().size(), static_cast<std::size_t>(5 - count)) << type << ", " << folder;
  }
  make();
  EXPECT_EQ(product::count_favorites_in_folder(connection_string(), 3), 3);
  EXPECT_EQ(product::count_favorites_in_folder(connection_string(), 9), 0);
  EXPECT_EQ(product::count_favorites(connection_string(), "O'Neil", 1, -1, -1), 0);
}

// Buyers

class ProductBuyers : public ProductFavorites {
 protected:
  void SetUp() override {
    ProductFavorites::SetUp();
    execute({"INSERT INTO USERS (USERID, ISACTIVE, ISBUYER) VALUES ('ann', 1, 1)",
             "INSERT INTO USERS (USERID, ISACTIVE, ISBUYER) VALUES ('bob', 1, 1)",
             "INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('O''N', 'of the commodity')",
             "INSERT INTO COMMODITY (COMMODITYCODE) VALUES ('NOBODY')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID, DEFAULTBUYER) VALUES ('ACME', 'of the supplier')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('IDLE')"});
  }
  Rows buyers() const { return rows("SELECT PRODUCTID, USERID FROM PRODUCTBUYER ORDER BY PRODUCTID, USERID"); }
};

TEST_F(ProductBuyers, NewOneIsWrittenForAMultipleBuyerProduct) {
  add_product("P-1", "first", "MULTIPLEBUYER", "1");
  Recorder recorder;
  EXPECT_TRUE(product_->InsertMultipleBuyers(Array{"USERID", "PRODUCTID"}, Array{"ann", "1"}));
  // The third is the checker's question to the class that owns products.
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM PRODUCTBUYER WHERE 0=1", kIsolation,
                                             "SELECT PRODUCTID FROM PRODUCT WHERE PRODUCTID = 1",
                                             "SELECT * FROM PRODUCT WHERE PRODUCTID=1"}));
  ASSERT_FALSE(recorder.calls.empty());
  EXPECT_EQ(recorder.calls.front(),
            (ComponentCall{"Grundwerk.ReferentialChecker.CheckReferences",
                           {"Mercato", "PRODUCTBUYER", Array{"PRODUCTID", "USERID"}, Array{1, "ann"}}}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(buyers(), (Rows{{1, "ann"}}));
}

TEST_F(ProductBuyers, NewOneThatRefersToNobodySaysSoInItsSource) {
  add_product("P-1", "first", "MULTIPLEBUYER", "1");
  const std::string source =
      "The productbuyer record you are trying to insert has an invalid reference to another record";
  for (const Array& values : {Array{9, "ann"}, Array{1, "cid"}, Array{0, "ann"}}) {
    Root<Product> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->InsertMultipleBuyers(Array{"PRODUCTID", "USERID"}, values); });
    const FailureTrail expected = trail({static_cast<std::int32_t>(0x80040007u), source, kNoText, "", 0},
                                        {"Mercato.Product.InsertMultipleBuyers"});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_TRUE(buyers().empty());
  }
}

TEST_F(ProductBuyers, NewOneOfASingleBuyerProductSaysSoInItsSourceWithoutAVote) {
  add_product("P-1", "first");
  const std::string source = "This productid doesn't have multiple buyer defined in product table";
  Recorder recorder;
  recorder.answers["Grundwerk.ReferentialChecker.CheckReferences"] = true;
  const RaisedError raised = raised_by([&] {
    product_->InsertMultipleBuyers(Array{"PRODUCTID", "USERID"}, Array{1, "ann"});
  });
  const FailureTrail expected =
      trail({static_cast<std::int32_t>(0x80040007u), source, kNoText, "", 0}, {"Mercato.Product.InsertMultipleBuyers"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::open);
  EXPECT_TRUE(buyers().empty());
}

TEST_F(ProductBuyers, NewOneFailsWhereItsProductCannotBeRead) {
  add_product("P-1", "first", "MULTIPLEBUYER", "NULL");
  struct Case {
    Variant product;
    std::int32_t number;
  };
  const Case cases[] = {
      {1, error_number::kInvalidUseOfNull},   // its flag is Null
      {7, error_number::kNoCurrentRow},       // does not exist; the checker's answer is scripted
      {-1, error_number::kStatementRefused},  // Null: the statement misses an id
      {kNull, error_number::kStatementRefused},
  };
  for (const Case& unreadable : cases) {
    Recorder recorder;
    recorder.answers["Grundwerk.ReferentialChecker.CheckReferences"] = true;
    EXPECT_EQ(raised_by([&] {
                product_->InsertMultipleBuyers(Array{"PRODUCTID", "USERID"}, Array{unreadable.product, "ann"});
              }).Number,
              unreadable.number);
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::none);
  }
  EXPECT_TRUE(buyers().empty());
}

TEST_F(ProductBuyers, FieldsOfANewOneFollowTheirRules) {
  Recorder recorder;
  recorder.answers["Grundwerk.ReferentialChecker.CheckReferences"] = false;
  for (const auto& [given, asked] :
       {std::pair(Array{-5, "  "}, Array{kNull, kNull}), std::pair(Array{"-1", ""}, Array{kNull, kNull}),
        std::pair(Array{0, " x "}, Array{0, " x "})}) {
    recorder.calls.clear();
    const auto insert = [&, values = given] { product_->InsertMultipleBuyers(Array{"PRODUCTID", "USERID"}, values); };
    EXPECT_EQ(raised_by(insert).Number, kInvalidReference);
    EXPECT_EQ(recorder.calls.front().arguments[3], Variant(asked));
  }
  // A name in another case escapes its rule.
  recorder.calls.clear();
  EXPECT_EQ(raised_by([&] {
              product_->InsertMultipleBuyers(Array{"productid", "userid"}, Array{-5, ""});
            }).Number,
            kInvalidReference);
  EXPECT_EQ(recorder.calls.front().arguments[3], Variant(Array{-5, ""}));
}

TEST_F(ProductBuyers, NewOneWithWhatNoColumnTakesIsNotWritten) {
  add_product("P-1", "first", "MULTIPLEBUYER", "1");
  execute({"INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'bob')"});
  const std::string too_long(61, 'u');
  execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('X', 'x')"});
  struct Case {
    Array fields;
    Array values;
    std::int32_t number;
  };
  const Case cases[] = {
      {{"NOCOLUMN"}, {1}, error_number::kNoSuchField},
      {{"PRODUCTID", "USERID"}, {1}, error_number::kSubscriptOutOfRange},
      {{"PRODUCTID", "USERID"}, {"one", "ann"}, error_number::kTypeMismatch},
      {{"PRODUCTID", "USERID"}, {2147483648.0, "ann"}, error_number::kOverflow},
      {{"PRODUCTID", "USERID"}, {1, "bob"}, error_number::kConstraintViolated},
      {{"PRODUCTID", "USERID"}, {1, too_long}, error_number::kValueTooLong},
      {{"PRODUCTID"}, {1}, error_number::kConstraintViolated},
      {{}, {}, error_number::kStatementRefused},
  };
  for (const Case& untaken : cases) {
    Recorder recorder;
    recorder.answers["Grundwerk.ReferentialChecker.CheckReferences"] = true;
    EXPECT_EQ(raised_by([&] { product_->InsertMultipleBuyers(untaken.fields, untaken.values); }).Number,
              untaken.number);
    EXPECT_EQ(vote(), Vote::none);
    EXPECT_EQ(recorder.log.size(), 1u);
  }
  EXPECT_EQ(buyers(), (Rows{{1, "bob"}}));
}

TEST_F(ProductBuyers, OfACommodityIsEmptyForNullAndFailsForAnUnknownOne) {
  Recorder recorder;
  EXPECT_EQ(product_->GetBuyerFromCommodity("O'N"), "of the commodity");
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT USERID FROM COMMODITY WHERE COMMODITYCODE = 'O''N'"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->GetBuyerFromCommodity("NOBODY"), "");
  EXPECT_EQ(product_->GetDefaultBuyer("unknown"), "");

  const RaisedError raised = raised_by([&] { product_->GetBuyerFromCommodity("unknown"); });
  const FailureTrail expected = trail({error_number::kNoCurrentRow, "Mercato",
                                       "Either BOF or EOF is True, or the current record has been deleted", "", 0},
                                      {"Mercato.Product.getbuyerfromcommodity"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductBuyers, DefaultComesFromTheProductElseTheCommodityElseTheSupplier) {
  struct Case {
    std::string values;  // USERID, COMMODITYCODE, BUSINESSPARTNERID
    std::string buyer;
  };
  const Case cases[] = {
      {"'own', 'O''N', 1", "own"},
      {"NULL, 'O''N', 1", "of the commodity"},
      {"NULL, 'NOBODY', 1", "of the supplier"},
      {"NULL, NULL, 1", "of the supplier"},
      {"NULL, 'NOBODY', 2", ""},
      {"NULL, NULL, 2", ""},
      {"NULL, 'NOBODY', NULL", ""},
      {"NULL, NULL, NULL", ""},
      {"'', 'O''N', NULL", ""},              // an empty buyer is no Null: the commodity is not asked
      {"'', 'O''N', 1", "of the supplier"},  // but it counts as none, and the supplier is asked
  };
  std::int32_t id = 0;
  for (const Case& product : cases) {
    add_product("P", "product", "USERID, COMMODITYCODE, BUSINESSPARTNERID", product.values);
    EXPECT_EQ(product_->GetDefaultProductBuyer(++id), product.buyer) << product.values;
    EXPECT_EQ(vote(), Vote::commit);
  }
}

TEST_F(ProductBuyers, DefaultIsLookedForOnTwoConnections) {
  add_product("P", "product", "COMMODITYCODE, BUSINESSPARTNERID", "'NOBODY', 1");
  Recorder recorder;
  EXPECT_EQ(product_->GetDefaultProductBuyer(1), "of the supplier");
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kIsolation,
                        "SELECT USERID, COMMODITYCODE, BUSINESSPARTNERID FROM PRODUCT WHERE PRODUCTID=1",
                        "SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='NOBODY'"}));
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{{"Zentrik.BusinessPartner.GetPartnerDefaultBuyer", {1}}}));
}

TEST_F(ProductBuyers, DefaultOfAnUnknownProductOrAMissingCommodityFails) {
  {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { product_->GetDefaultProductBuyer(5); });
    const FailureTrail expected = trail({eProductNotFound, "Mercato.Product.GetProduct", "Product not present", "", 0},
                                        {"Mercato.Product.GetDefaultProductBuyer"});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
  }
  add_product("P", "product", "COMMODITYCODE, BUSINESSPARTNERID", "'gone', 1");
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetDefaultProductBuyer(1); }).Number, error_number::kNoCurrentRow);
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductBuyers, DefaultFailsWithTheSupplier) {
  add_product("P", "product", "BUSINESSPARTNERID", "1");
  Recorder recorder;
  recorder.failures["Zentrik.BusinessPartner.GetPartnerDefaultBuyer"] = {7, "Partner", "no answer", "", 0};
  const RaisedError raised = raised_by([&] { product_->GetDefaultProductBuyer(1); });
  const FailureTrail expected = trail({7, "Partner", "no answer", "", 0}, {"Mercato.Product.GetDefaultProductBuyer"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

// GetBuyersForProducts

TEST_F(ProductBuyers, OfSingleBuyerProductsAreListedById) {
  add_product("P-1", "first", "USERID", "'ann'");
  add_product("P-2", "second");
  add_product("P-3", "third", "USERID", "'bob'");
  Recorder recorder;
  const DictionaryPtr found = product_->GetBuyersForProducts(Array({3, "1", 2, 99}, 1));
  EXPECT_EQ(
      recorder.statements,
      (Statements{kIsolation, "SELECT PRODUCTID,USERID,MULTIPLEBUYER FROM PRODUCT WHERE PRODUCTID IN (3,1,2,99)"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(found->Count(), 3);
  EXPECT_EQ(found->Item(1), Variant("ann"));
  EXPECT_EQ(found->Item(2), Variant(""));
  EXPECT_EQ(found->Item(3), Variant("bob"));
}

TEST_F(ProductBuyers, OfUnknownProductsAreNone) {
  EXPECT_EQ(product_->GetBuyersForProducts(Array{98, 99})->Count(), 0);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductBuyers, OfNoProductsIsRefusedByTheStore) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetBuyersForProducts(Array{}); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements.back(), "SELECT PRODUCTID,USERID,MULTIPLEBUYER FROM PRODUCT WHERE PRODUCTID IN ()");
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductBuyers, OfAMultipleBuyerProductFailAtItsSecondRound) {
  const std::string outer = "SELECT PRODUCTID,USERID,MULTIPLEBUYER FROM PRODUCT WHERE PRODUCTID IN (1)";
  const std::string inner = "SELECT PRODUCTID,USERID FROM PRODUCTBUYER WHERE PRODUCTID = 1";
  add_product("P-1", "first", "MULTIPLEBUYER", "1");
  for (const bool has_a_buyer : {false, true}) {
    if (has_a_buyer) execute({"INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'ann')"});
    Recorder recorder;
    const RaisedError raised = raised_by([&] { product_->GetBuyersForProducts(Array{1}); });
    const FailureTrail expected =
        trail({error_number::kObjectOpen, "Mercato",
               std::string(error_number::default_description(error_number::kObjectOpen)), "", 0},
              {"Mercato.Product.getBuyersForProducts"});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, (Statements{kIsolation, outer, inner}));
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(ProductBuyers, OfAMultipleBuyerProductFailAtItsSecondBuyer) {
  add_product("P-1", "first", "MULTIPLEBUYER", "1");
  execute({"INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'ann')",
           "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'bob')"});
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->GetBuyersForProducts(Array{1}); });
  const FailureTrail expected = trail({error_number::kDuplicateKey, "Mercato",
                                       "This key is already associated with an element of this collection", "", 0},
                                      {"Mercato.Product.getBuyersForProducts"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductBuyers, OfAProductWithAnyOtherFlagAreLookedForUntilTheCallLimitEndsTheCall) {
  for (const char* flag : {"NULL", "2", "-1"}) {
    execute({"DELETE FROM PRODUCT"});
    add_product("P-1", "first", "MULTIPLEBUYER", flag);
    const std::int32_t id = value_of("SELECT PRODUCTID FROM PRODUCT").to_long();
    Recorder recorder;
    RaisedError raised;
    {
      const store::CallLimit limit(0.05);
      raised = raised_by([&] { product_->GetBuyersForProducts(Array{id}); });
    }
    EXPECT_EQ(raised.Number, error_number::kTimeout);
    EXPECT_TRUE(raised.Description.starts_with(
        "\r\nERROR 0x80040E31\r\n METHOD: Mercato.Product.getBuyersForProducts\r\n DESC: "));
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(ProductBuyers, RefusedStatementsOfTheReadsAreLoggedUnderTheirLabels) {
  add_product("P-1", "first", "COMMODITYCODE, MULTIPLEBUYER", "'NOBODY', 1");
  struct Case {
    std::string method;
    std::vector<Variant> arguments;
    Statements statements;
    std::string label;
    Vote vote;
  };
  const Case cases[] = {
      {"InsertMultipleBuyers",
       {Array{"PRODUCTID", "USERID"}, Array{1, "ann"}},
       {"SELECT * FROM PRODUCTBUYER", "SELECT * FROM PRODUCT WHERE PRODUCTID=1"},
       "Mercato.Product.InsertMultipleBuyers",
       Vote::none},
      {"GetBuyerFromCommodity",
       {"NOBODY"},
       {kIsolation, "SELECT USERID FROM COMMODITY"},
       "Mercato.Product.getbuyerfromcommodity",
       Vote::abort},
      {"GetDefaultProductBuyer",
       {1},
       {kIsolation, "SELECT USERID, COMMODITYCODE", "SELECT USERID FROM COMMODITY"},
       "Mercato.Product.GetDefaultProductBuyer",
       Vote::abort},
      {"GetBuyersForProducts",
       {Array{1}},
       {kIsolation, "SELECT PRODUCTID,USERID,MULTIPLEBUYER", "SELECT PRODUCTID,USERID FROM PRODUCTBUYER"},
       "Mercato.Product.getBuyersForProducts",
       Vote::abort},
  };
  for (const Case& call : cases)
    for (const std::string& refused : call.statements) {
      SCOPED_TRACE(call.method + " " + refused);
      Root<Product> fresh;
      Recorder recorder;
      recorder.answers["Grundwerk.ReferentialChecker.CheckReferences"] = true;
      recorder.fail_on = refused;
      std::vector<Variant> arguments = call.arguments;
      const RaisedError raised = raised_by([&] { invoke(fresh.object(), call.method, arguments); });
      const FailureTrail expected = trail(refused_on_request(), {call.label});
      EXPECT_EQ(raised, expected.raised);
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_EQ(fresh.context().vote_of_last_call(), call.vote);
      EXPECT_TRUE(buyers().empty());
    }
}

}  // namespace
}  // namespace mercato::test
