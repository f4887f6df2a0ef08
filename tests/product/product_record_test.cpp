// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/product/product_fixture.h"

namespace mercato::test {
namespace {

class ProductRecord : public ProductTest {};

// GetProductEx and GetProduct

TEST_F(ProductRecord, HasItsKeysInOrderAndTheColumnsValuesAsTheyStand) {
  execute({"INSERT INTO COMMODITY (COMMODITYCODE, CHARGETYPECODE) VALUES ('C1', 'CT')"});
  add_product(
      "P-1", "First",
      "UNITCODE, PROPERTYGROUPID, MANUFACTURERID, CONFIGURABLE, PRODUCTREMARK, IMAGEFILENAME, TECHNICALIMAGE, URL, "
      "COMMODITYCODE, CONTRACTCODE, NUMBER, BUSINESSPARTNERID, PRODUCTXML, BUYFROMPARTNUMBER, BUYFROMCONTACTEMAIL, "
      "BUYFROMCONTACTINFO, PRODUCTEFFECTIVITYDATE, PRODUCTEXPIRYDATE, DISABLED, MINORDERQTY, MULTIPLEOF, UNSPSCCODE, "
      "USERID, "
      "MULTIPLEBUYER, MFRPARTNUMBER, LOTSIZE, DELIVERYLEADTIME, CLASSCODE, SERVICEITEM, STOCKITEM, GTIN",
      "'EA', 3, '007', 1, 'remark', 'image', 'technical', 'url', 'C1', 'K', 4, 7, '<x/>', 'S-1', 'mail', 'info', "
      "'7/1/2026', '12/31/2026', 1, 2.5, 5, '43211501', 'user', 1, 'MF', 10, 3, 'H1', 1, 1, '00000000000017'");
  const DictionaryPtr record = product_->GetProductEx(1);
  EXPECT_EQ(record->Keys(), (Array{"PRODUCTID",
                                   "UNITCODE",
                                   "PROPERTYGROUPID",
                                   "MANUFACTURERID",
                                   "PARTNUMBER",
                                   "PRODUCTDESCRIPTION",
                                   "CONFIGURABLE",
                                   "PRODUCTREMARK",
                                   "IMAGEFILENAME",
                                   "TECHNICALIMAGE",
                                   "URL",
                                   "COMMODITYCODE",
                                   "CONTRACTCODE",
                                   "NUMBER",
                                   "BUSINESSPARTNERID",
                                   "PRODUCTXML",
                                   "BUYFROMPARTNUMBER",
                                   "BUYFROMCONTACTEMAIL",
                                   "PRODUCTEFFECTIVITYDATE",
                                   "PRODUCTEXPIRYDATE",
                                   "DISABLED",
                                   "BUYFROMCONTACTINFO",
                                   "MINORDERQTY",
                                   "MULTIPLEOF",
                                   "UNSPSCCODE",
                                   "USERID",
                                   "CHARGETYPECODE",
                                   "MULTIPLEBUYER",
                                   "MFRPARTNUMBEER",
                                   "LOTSIZE",
                                   "DELIVERYLEADTIME",
                                   "CLASSCODE",
                                   "SERVICEITEM"}));
  const auto number = [](std::int16_t small) { return Variant(small); };
  EXPECT_EQ(record->Items(), (Array{1,
                                    "EA",
                                    3,
                                    "007",
                                    "P-1",
                                    "First",
                                    number(1),
                                    "remark",
                                    "image",
                                    "technical",
                                    "url",
                                    "C1",
                                    "K",
                                    number(4),
                                    7,
                                    "<x/>",
                                    "S-1",
                                    "mail",
                                    Date::from_civil({2026, 7, 1}),
                                    Date::from_civil({2026, 12, 31}),
                                    number(1),
                                    "info",
                                    2.5,
                                    5.0,
                                    "43211501",
                                    "user",
                                    "CT",
                                    number(1),
                                    "MF",
                                    10.0,
                                    3.0,
                                    "H1",
                                    number(1)}));
}

TEST_F(ProductRecord, KeepsNullsButThoseOfBuyerAndChargeType) {
  add_product("P-1", "First");
  const DictionaryPtr record = product_->GetProductEx(1);
  EXPECT_EQ(record->Item("UNITCODE"), Variant(kNull));
  EXPECT_EQ(record->Item("COMMODITYCODE"), Variant(kNull));
  EXPECT_EQ(record->Item("MFRPARTNUMBEER"), Variant(kNull));
  EXPECT_EQ(record->Item("USERID"), Variant(""));
  EXPECT_EQ(record->Item("CHARGETYPECODE"), Variant(""));
  EXPECT_EQ(record->Count(), 33);
}

TEST_F(ProductRecord, WithoutABuyerAsksForTheCommodityThatHasTheProductsNumber) {
  execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('C1', 'of the commodity')",
           "INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('1', 'of the number')"});
  add_product("P-1", "First", "COMMODITYCODE", "'C1'");
  Recorder recorder;
  EXPECT_EQ(product_->GetProductEx(1)->Item("USERID"), Variant("of the number"));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PRODUCT WHERE PRODUCTID=1", kIsolation,
                                             "SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='1'", kIsolation,
                                             "SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='C1'"}));
}

TEST_F(ProductRecord, HasAnEmptyChargeTypeWhenItsCommodityIsGone) {
  add_product("P-1", "First", "COMMODITYCODE", "'gone'");
  EXPECT_EQ(product_->GetProductEx(1)->Item("CHARGETYPECODE"), Variant(""));
}

TEST_F(ProductRecord, HasANullChargeTypeWhenItsCommodityHasNone) {
  execute({"INSERT INTO COMMODITY (COMMODITYCODE) VALUES ('C1')"});
  add_product("P-1", "First", "COMMODITYCODE, USERID", "'C1', 'user'");
  EXPECT_EQ(product_->GetProductEx(1)->Item("CHARGETYPECODE"), Variant(kNull));
}

TEST_F(ProductRecord, OfAnUnknownIdIsRaisedRawWithoutVoteOrLogEntry) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetProductEx(5); }),
            (RaisedError{eProductNotFound, "Mercato.Product.GetProductEx", "Product not present", "", 0}));
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductRecord, AsACollectionHasTheSameItemsUnderTheSameKeys) {
  add_product("P-1", "First", "MFRPARTNUMBER", "'MF'");
  const CollectionPtr fields = product_->GetProduct(1);
  const DictionaryPtr record = product_->GetProductEx(1);
  ASSERT_EQ(fields->Count(), 33);
  const Array keys = record->Keys();
  for (std::int32_t position = 1; position <= 33; ++position) {
    EXPECT_EQ(fields->key_at(position), keys.at(position - 1).text_value());
    EXPECT_EQ(fields->Item(position), record->Item(keys.at(position - 1)));
  }
  EXPECT_EQ(fields->Item(std::string_view("mfrpartnumbeer")), Variant("MF"));
}

TEST_F(ProductRecord, AsACollectionOfAnUnknownIdIsRaisedUnderItsLabelWithAnAbortVote) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->GetProduct(5); });
  const std::string once = message("800400C8", "Mercato.Product.getProduct", "Product not present");
  EXPECT_EQ(raised, (RaisedError{eProductNotFound, "Mercato.Product.GetProductEx", once, "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato.Product.GetProductEx",
                                                  message("800400C8", "Mercato.Product.getProduct", once), 0}}));
}

// getManufacturerID

TEST_F(ProductRecord, RemembersTheManufacturerOfTheLastProductItWasAskedFor) {
  add_product("P-1", "First", "MANUFACTURERID", "'M1'");
  add_product("P-2", "Second");
  EXPECT_EQ(product_->getManufacturerID(1), "M1");
  execute({"UPDATE PRODUCT SET MANUFACTURERID = 'changed' WHERE PRODUCTID = 1"});
  Recorder recorder;
  EXPECT_EQ(product_->getManufacturerID(1), "M1");
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(product_->getManufacturerID(2), "");
  EXPECT_EQ(product_->getManufacturerID(1), "changed");
}

TEST_F(ProductRecord, HasNoManufacturerForIdZero) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->getManufacturerID(0); }).Number, error_number::kObjectNotSet);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(ProductRecord, KeepsWhatItRemembersWhenTheNextProductIsUnknown) {
  add_product("P-1", "First", "MANUFACTURERID", "'M1'");
  EXPECT_EQ(product_->getManufacturerID(1), "M1");
  EXPECT_EQ(raised_by([&] { product_->getManufacturerID(9); }).Number, eProductNotFound);
  Recorder recorder;
  EXPECT_EQ(product_->getManufacturerID(1), "M1");
  EXPECT_TRUE(recorder.statements.empty());
}

// GetProductFields

TEST_F(ProductRecord, GivesTheNamedFieldsWithAnEmptyTextForNull) {
  add_product("P-1", "First", "GTIN, STOCKITEM", "'00000000000017', 1");
  const DictionaryPtr fields =
      product_->GetProductFields(Array(std::vector<Variant>{"GTIN", "partnumber", "URL", "STOCKITEM"}, 3), 1);
  EXPECT_EQ(fields->Keys(), (Array{"GTIN", "partnumber", "URL", "STOCKITEM"}));
  EXPECT_EQ(fields->Items(), (Array{"00000000000017", "P-1", "", std::int16_t{1}}));
}

TEST_F(ProductRecord, IsFoundByTheIdWhenIdAndGtinAreGiven) {
  add_product("P-1", "First", "GTIN", "'17'");
  add_product("P-2", "Second", "GTIN", "'24'");
  EXPECT_EQ(product_->GetProductFields(Array{"PARTNUMBER"}, 1, "24")->Items(), Array{"P-1"});
  EXPECT_EQ(product_->GetProductFields(Array{"PARTNUMBER"}, -1, "24")->Items(), Array{"P-2"});
}

TEST_F(ProductRecord, OfAnUnknownIdOrGtinHasNoFieldsAndThatIsNoFailure) {
  EXPECT_EQ(product_->GetProductFields(Array{"PARTNUMBER"}, 5)->Count(), 0);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->GetProductFields(Array{"NOCOLUMN"}, -1, "unknown")->Count(), 0);
}

TEST_F(ProductRecord, NeedsAnIdOrAGtinForItsFields) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->GetProductFields(Array{"PARTNUMBER"}); });
  EXPECT_EQ(raised,
            (RaisedError{-2147221504, "GetProductFields",
                         message("80040000", "Mercato.Product.getProductFields",
                                 "Both optional arguments cannot be empty - you should pass i_lProductId or i_sGTIN"),
                         "", 0}));
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductRecord, HasNoFieldThatIsNoColumn) {
  add_product("P-1", "First");
  const RaisedError raised = raised_by([&] { product_->GetProductFields(Array{"PARTNUMBER", "NOCOLUMN"}, 1); });
  EXPECT_EQ(raised.Number, error_number::kNoSuchField);
  EXPECT_EQ(raised.Description,
            message("800A0CC1", "Mercato.Product.getProductFields",
                    "Item cannot be found in the collection corresponding to the requested name or ordinal: NOCOLUMN"));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductRecord, HasNoFieldTwice) {
  add_product("P-1", "First");
  const RaisedError raised = raised_by([&] { product_->GetProductFields(Array{"PARTNUMBER", "PARTNUMBER"}, 1); });
  EXPECT_EQ(raised.Number, 457);
  EXPECT_EQ(raised.Description, message("1C9", "Mercato.Product.getProductFields",
                                        "This key is already associated with an element of this collection"));
}

// Single values

TEST_F(ProductRecord, HasADescriptionAndATradeItemNumberEmptyForNull) {
  add_product("P-1", "First");
  add_product("P-2", "Second", "GTIN", "'00000000000024'");
  EXPECT_EQ(product_->GetProductDescription(1), "First");
  EXPECT_EQ(product_->GetGTIN(1), "");
  EXPECT_EQ(product_->GetGTIN(2), "00000000000024");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRecord, OfAnUnknownIdHasNoDescriptionWhichIsRaisedUnloggedWithAnAbortVote) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetProductDescription(5); }),
            (RaisedError{eProductIdNotFound, "Mercato.Product.GetProductDescription", "Productid Not found", "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductRecord, OfAnUnknownIdHasNoTradeItemNumberWhichIsRaisedUnloggedWithAnAbortVote) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetGTIN(5); }),
            (RaisedError{eProductIdNotFound, "Mercato.Product.GetGTIN", "ProductId not Found", "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductRecord, HasTheNameOfItsCategoryEmptyForAnUnknownOne) {
  execute({"INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('screws')"});
  EXPECT_EQ(product_->GetCategoryName(1), "screws");
  EXPECT_EQ(product_->GetCategoryName(2), "");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRecord, FailsOnACategoryWhoseNameIsNull) {
  execute({"DROP TABLE PRODUCTCATEGORY",
           "CREATE TABLE PRODUCTCATEGORY (CATEGORYID int NULL, CATEGORYNAME nvarchar(50) NULL)",
           "INSERT INTO PRODUCTCATEGORY (CATEGORYID) VALUES (1)"});
  EXPECT_EQ(
      raised_by([&] { product_->GetCategoryName(1); }),
      (RaisedError{94, "Mercato", message("5E", "Mercato.Product.GetCategoryName", "Invalid use of Null"), "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductRecord, HasTheDefaultBuyerOfACommodityEmptyForAnUnknownOne) {
  execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('O''N', 'buyer')"});
  EXPECT_EQ(product_->GetDefaultBuyer("O'N"), "buyer");
  EXPECT_EQ(product_->GetDefaultBuyer("unknown"), "");
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRecord, FailsOnACommodityWithoutADefaultBuyer) {
  execute({"INSERT INTO COMMODITY (COMMODITYCODE) VALUES ('C1')"});
  Recorder recorder;
  const std::string once = message("5E", "Mercato.Product.getDefaultBuyer", "Invalid use of Null");
  EXPECT_EQ(raised_by([&] { product_->GetDefaultBuyer("C1"); }), (RaisedError{94, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Mercato", message("5E", "Mercato.Product.getDefaultBuyer", once), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductRecord, HasTheLargestIdAndCastsNoVote) {
  add_product("P-1", "First");
  add_product("P-2", "Second");
  EXPECT_EQ(product_->GetMaxProductId(), 2);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::open);
}

TEST_F(ProductRecord, HasNoLargestIdWithoutProductsWhichIsLoggedWithoutAVote) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetMaxProductId(); }),
            (RaisedError{error_number::kNoCurrentRow, "Mercato",
                         message("800A0BCD", "Mercato.Product.GetMaxProductId",
                                 "Either BOF or EOF is True, or the current record has been deleted"),
                         "", 0}));
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::none);
}

}  // namespace
}  // namespace mercato::test
