// SPDX-License-Identifier: Apache-2.0
#include "mercato/date.h"
#include "mercato/object_context.h"
#include "mercato/registry.h"
#include "tests/upload/upload_fixture.h"
#include "upload/upload_documents.h"

namespace mercato::test {
namespace {

class ProductUpload : public UploadTest {
 protected:
  void insert(const std::string& text, const std::string& part_number = "A-1", bool update_on_errors = false) {
    upload.insertProductFromXML(text, false, part_number, update_on_errors);
  }
  void update(const std::string& text, const std::string& part_number = "A-1", bool update_on_errors = false) {
    upload.updateProductFromXML(text, false, part_number, update_on_errors);
  }
  // A bulk run with the file key "k"; what becomes of the list.
  std::vector<std::string> insert_all(const std::string& text, std::vector<Variant> part_numbers,
                                      bool update_on_errors = false) {
    list = Array(std::move(part_numbers));
    upload.insertProductsFromXML("k/\\" + text, false, list, update_on_errors);
    return texts_of(list);
  }
  static std::vector<std::string> texts_of(const Array& array) {
    std::vector<std::string> texts;
    for (const Variant& item : array.items) texts.push_back(item.to_text());
    return texts;
  }
  static Date at(int hour, int minute, int second) { return Date::from_civil({2026, 7, 1, hour, minute, second}); }

  ProductXML upload;
  Array list;
};

// One record.

TEST_F(ProductUpload, NewRecordIsWrittenStatementByStatement) {
  Recorder recorder;
  insert(fixture("all-fields"));
  EXPECT_EQ(
      recorder.statements,
      (Statements{"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                  "SELECT UNITCODE FROM UNIT WHERE UNITCODE='Piece' OR UNITDESCRIPTION = 'Piece'",     //
                  kReadCommitted, "SELECT COMMODITYCODE FROM COMMODITY WHERE COMMODITYCODE='OFFICE'",  //
                  kReadCommitted, "SELECT CONTRACTCODE FROM CONTRACTLINES WHERE CONTRACTCODE='K7' AND NUMBER=5",
                  kReadCommitted, "SELECT NUMBER FROM CONTRACTLINES WHERE NUMBER=5 AND CONTRACTCODE='K7'",
                  "SELECT * FROM HAZARDOUSCLASS WHERE CLASSCODE = 'H1'",  //
                  "SELECT * FROM PRODUCT WHERE 0=1",                      //
                  "SELECT * FROM PRODUCT WHERE PRODUCTID=1",              //
                  "DELETE FROM productbuyer WHERE PRODUCTID=1",           //
                  "SELECT * FROM PRODUCTBUYER WHERE 0=1",                 //
                  "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                  "SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = 'COLOUR'",
                  "SELECT * FROM PROPERTY WHERE 0=1",
                  "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (1 ,1 ,'blue')"}));
  EXPECT_EQ(recorder.log, std::vector<LogEntry>{});
}

TEST_F(ProductUpload, NewRecordReachesItsColumns) {
  clock::script_clock(at(8, 30, 0), 0);
  insert(fixture("all-fields"));
  EXPECT_EQ(product("UNITCODE").to_text(), "PC");
  EXPECT_EQ(product("PRODUCTDESCRIPTION").to_text(), "Pen");
  EXPECT_EQ(product("PARTNUMBER").to_text(), "A1");
  EXPECT_EQ(product("COMMODITYCODE").to_text(), "OFFICE");
  EXPECT_EQ(product("CONTRACTCODE").to_text(), "K7");
  EXPECT_EQ(product("NUMBER").to_long(), 5);
  EXPECT_EQ(product("BUSINESSPARTNERID").to_long(), 1);
  EXPECT_EQ(product("USERID").to_text(), "ann");
  EXPECT_EQ(product("MULTIPLEBUYER").to_long(), 1);
  EXPECT_EQ(product("PRODUCTREMARK").to_text(), "It''s blue") << "an insert doubles the apostrophes of the remark";
  EXPECT_EQ(product("BUYFROMCONTACTEMAIL").to_text(), "sales@acme.test");
  EXPECT_EQ(product("CLASSIFICATION").to_text(), "C");
  EXPECT_EQ(product("PRODUCTEFFECTIVITYDATE").to_date(), Date::from_civil({2026, 7, 1, 0, 0, 0}));
  EXPECT_EQ(product("MINORDERQTY").to_double(), 1) << "0 becomes 1";
  EXPECT_EQ(product("GTIN").to_text(), "00000000000123");
  EXPECT_EQ(product("CLASSCODE").to_text(), "H1");
  EXPECT_EQ(product("SERVICEITEM").to_long(), 0);
  EXPECT_EQ(product("DATEUPDATED").to_date(), at(8, 30, 0));
  EXPECT_TRUE(product("URL").is_null());
  EXPECT_EQ(buyers(), (std::vector<std::string>{"ann", "bob"}));
  EXPECT_EQ(upload.MultipleBuyerSeparator(), "/");
}

TEST_F(ProductUpload, ExistingRecordIsUpdatedByTheInsertCallStatementByStatement) {
  add_product();
  Recorder recorder;
  insert(document(record("A-1", "<PRODUCTREMARK>It's</PRODUCTREMARK><MULTIPLEOF>0</MULTIPLEOF>")));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                                             "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER ='A-1'",
                                             "SELECT * FROM PRODUCT WHERE PRODUCTID=1",  //
                                             "SELECT * FROM PRODUCT WHERE PRODUCTID=1",  //
                                             "DELETE FROM productbuyer WHERE PRODUCTID=1",
                                             "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'"}));
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(product("PRODUCTREMARK").to_text(), "It's");
  EXPECT_EQ(product("MULTIPLEOF").to_double(), 1);
  EXPECT_EQ(product("PRODUCTDESCRIPTION").to_text(), "Old");
}

TEST_F(ProductUpload, LostFieldMakesTheWholeRecordBePassedOver) {
  insert(fixture("record-with-bad-fields"));
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, LostFieldCostsOnlyItselfWhenTheCallerSaysSo) {
  insert(fixture("record-with-bad-fields"), "A-1", true);
  EXPECT_EQ(product("PARTNUMBER").to_text(), "A1");
  EXPECT_TRUE(product("COMMODITYCODE").is_null());
}

TEST_F(ProductUpload, SeparatorElementCountsAsAFieldAndIsNotLost) {
  insert(document(record("A-1", kRequired + "<MULTIPLEBUYERSEPARATOR>/</MULTIPLEBUYERSEPARATOR>")));
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PROPERTY").to_long(), 0);
}

TEST_F(ProductUpload, PartNumberThatTheDocumentLacksDoesNothing) {
  insert(fixture("all-fields"), "Z-9");
  update(fixture("all-fields"), "Z-9");
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, RecordWhoseFieldsAreAllBadWritesNothing) {
  insert(document(record("A-1", "<LOTSIZE>ten</LOTSIZE>")), "A-1", true);
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, UpdateOfAnUnknownPartNumberWritesNothingAndFailsAtItsProperties) {
  Recorder recorder;
  const RaisedError error = raised_by([&] { update(document(record("A-1", kRequired))); });
  EXPECT_EQ(error.Number, error_number::kNoCurrentRow);
  const FailureTrail expected =
      trail({error_number::kNoCurrentRow, "Mercato",
             std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0},
            {"Mercato.ProductXML.updateProductProperties", "Mercato.ProductXML.updateInsertProductFromXML",
             "Mercato.ProductXML.updateProductFromXML"});
  EXPECT_EQ(error.Source, "Mercato");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, QuietStopOfTheInsertFailsAtItsProperties) {
  Recorder recorder;
  const RaisedError error = raised_by(
      [&] { insert(document(record("A-1", "<UNIT>PC</UNIT><PRODUCTDESCRIPTION/><PARTNUMBER>A1</PARTNUMBER>"))); });
  const FailureTrail expected =
      trail({error_number::kNoCurrentRow, "Mercato",
             std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0},
            {"Mercato.ProductXML.insertProductProperties", "Mercato.ProductXML.updateInsertProductFromXML",
             "Mercato.ProductXML.insertProductFromXML"});
  EXPECT_EQ(error.Number, error_number::kNoCurrentRow);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, MissingRequiredFieldIsTheStoresToRefuse) {
  EXPECT_EQ(raised_by([&] { insert(document(record("A-1", "<PARTNUMBER>A1</PARTNUMBER>"))); }).Number,
            error_number::kConstraintViolated);
}

TEST_F(ProductUpload, RemarkWhoseDoubledApostropheDoesNotFitIsRefusedByTheStoreAndNothingIsLost) {
  const std::string remark = "'" + repeated(254, 'r');
  const std::string text = document(record("A-1", kRequired + "<PRODUCTREMARK>" + remark + "</PRODUCTREMARK>"));
  const auto before = all_rows();
  const RaisedError error = raised_by([&] { insert(text); });
  EXPECT_EQ(error.Number, error_number::kValueTooLong);
  EXPECT_EQ(innermost_description(error.Description),
            "The value is too long: column PRODUCT.PRODUCTREMARK takes at most 255 characters");
  EXPECT_EQ(all_rows(), before);
  // An update stores the remark as it stands.
  add_product();
  insert(text);
  EXPECT_EQ(product("PRODUCTREMARK").to_text(), remark);
}

TEST_F(ProductUpload, LongGtinIsStoredAsItStandsByInsertAndUpdate) {
  insert(document(record("A-1", kRequired + "<GTIN>123456789012345</GTIN>")));
  EXPECT_EQ(product("GTIN").to_text(), "123456789012345");
  update(document(record("A-1", "<GTIN>9876543210987654</GTIN>")));
  EXPECT_EQ(product("GTIN").to_text(), "9876543210987654");
}

TEST_F(ProductUpload, FailureInTheMiddleOfARecordKeepsWhatWasWrittenBefore) {
  Recorder recorder;
  recorder.fail_on = "INSERT PRODUCTPROPVALUE";
  const RaisedError error = raised_by([&] { insert(fixture("all-fields")); });
  const FailureTrail expected = trail(refused_on_request(), {"Mercato.ProductXML.insertProductProperties",
                                                             "Mercato.ProductXML.updateInsertProductFromXML",
                                                             "Mercato.ProductXML.insertProductFromXML"});
  EXPECT_EQ(error.Source, "Test");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(buyers().size(), 2u);
}

TEST_F(ProductUpload, FailuresCarryTheLabelsOfTheirMethods) {
  struct Case {
    std::string fail_on;
    std::vector<std::string> methods;  // below updateInsertProductFromXML
  };
  const Case inserting[] = {
      {"SELECT PRODUCTDESCRIPTION FROM PRODUCT", {"getProductName"}},
      {"SELECT COMMODITYCODE", {"Exists", "getValidatedProductValues"}},
      {"SELECT * FROM PRODUCT WHERE 0=1", {"Insert20", "insertProductValues"}},
      {"DELETE FROM productbuyer", {"InsertUpdateMultipleBuyer", "Insert20", "insertProductValues"}},
  };
  const Case updating[] = {
      {"WHERE BUYFROMPARTNUMBER ='", {"updateProductValues"}},
      {"SELECT * FROM PRODUCT WHERE PRODUCTID=", {"Update20", "updateProductValues"}},
      {"DELETE FROM productbuyer", {"InsertUpdateMultipleBuyer", "Update20", "updateProductValues"}},
  };
  const auto expect_labels = [&](const Case& row) {
    SCOPED_TRACE(row.fail_on);
    std::vector<std::string> methods;
    for (const std::string& method : row.methods) methods.push_back("Mercato.ProductXML." + method);
    methods.push_back("Mercato.ProductXML.updateInsertProductFromXML");
    methods.push_back("Mercato.ProductXML.insertProductFromXML");
    const FailureTrail expected = trail(refused_on_request(), {methods.begin(), methods.end()});
    Recorder recorder;
    recorder.fail_on = row.fail_on;
    EXPECT_EQ(raised_by([&] { insert(fixture("all-fields")); }).Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
    execute({"DELETE FROM PRODUCT"});
  };
  for (const Case& row : inserting) expect_labels(row);
  for (const Case& row : updating) {
    add_product();
    expect_labels(row);
  }
}

// Where UNSPSC is in use the links would be brought in step, were the setting compared in the case that it is kept in.
TEST_F(ProductUpload, CategoryLinksAreNeverTouchedWhateverTheSetting) {
  execute({"INSERT INTO UNSPSCCODES (PARENTCODE, UNSPSCCODE) VALUES ('4412', '08')",
           "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('first', '441207')",
           "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('second', '441208')"});
  for (const std::string setting : {"Yes", "YES", "yes", "No"}) {
    SCOPED_TRACE(setting);
    set_unspsc_setting(setting);
    ProductXML fresh;
    Recorder recorder;
    fresh.insertProductFromXML(document(record("A-1", kRequired + "<UNSPSCCODE>441207</UNSPSCCODE>")), false, "A-1",
                               false);
    EXPECT_EQ(product("UNSPSCCODE").to_text(), "441207");
    fresh.updateProductFromXML(document(record("A-1", "<UNSPSCCODE>441208</UNSPSCCODE>")), false, "A-1", false);
    EXPECT_EQ(product("UNSPSCCODE").to_text(), "441208");
    for (const std::string& statement : recorder.statements) {
      EXPECT_EQ(statement.find("PRODUCTSBYCATEGORY"), std::string::npos) << statement;
      EXPECT_EQ(statement.find("PRODUCTCATEGORY"), std::string::npos) << statement;
    }
    EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTSBYCATEGORY"), Variant(0));
    execute({"DELETE FROM PRODUCT"});
  }
}

// A single record is filled up before it is judged, and "000000000000-5" is no number; a bulk run judges it as it is.
TEST_F(ProductUpload, GtinIsFilledUpBeforeItIsJudgedUnlessTheRunIsABulkOne) {
  const std::string text = document(record("A-1", kRequired + "<GTIN>-5</GTIN>"));
  insert(text, "A-1", true);
  EXPECT_TRUE(product("GTIN").is_null());
  execute({"DELETE FROM PRODUCT"});
  insert_all(text, {"A-1"}, true);
  EXPECT_EQ(product("GTIN").to_text(), "000000000000-5");
}

// Buyers.

TEST_F(ProductUpload, UpdateWithoutBuyersDeletesTheBuyerRows) {
  insert(fixture("all-fields"));
  EXPECT_EQ(buyers().size(), 2u);
  update(document(record("A-1", "<PRODUCTREMARK>new</PRODUCTREMARK>")));
  EXPECT_EQ(buyers().size(), 0u);
  EXPECT_EQ(product("USERID").to_text(), "ann");
}

TEST_F(ProductUpload, EmptyBuyerListOfAnUpdateLeavesTheFirstBuyer) {
  insert(fixture("all-fields"));
  update(document(record("A-1", "<BUYERID/>")));
  EXPECT_EQ(product("USERID").to_text(), "ann");
  EXPECT_EQ(buyers().size(), 0u);
}

TEST_F(ProductUpload, UpdateOfAProductWithoutTheBuyerFlagFailsAfterTheRowIsSaved) {
  add_product("A-1", ", MULTIPLEBUYER", ", NULL");
  Recorder recorder;
  const RaisedError error = raised_by([&] { update(document(record("A-1", "<URL>new</URL>"))); });
  const FailureTrail expected =
      trail({error_number::kInvalidUseOfNull, "Mercato",
             std::string(error_number::default_description(error_number::kInvalidUseOfNull)), "", 0},
            {"Mercato.ProductXML.InsertUpdateMultipleBuyer", "Mercato.ProductXML.Update20",
             "Mercato.ProductXML.updateProductValues", "Mercato.ProductXML.updateInsertProductFromXML",
             "Mercato.ProductXML.updateProductFromXML"});
  EXPECT_EQ(error.Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(product("URL").to_text(), "new");
}

TEST_F(ProductUpload, BuyersOfAProductWithoutSeveralBuyersAreOnlyDeleted) {
  add_product();
  execute({"INSERT PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'bob')"});
  Recorder recorder;
  EXPECT_TRUE(upload.InsertUpdateMultipleBuyer(1, "ann"));
  EXPECT_EQ(buyers(), std::vector<std::string>{});
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM PRODUCT WHERE PRODUCTID=1", "DELETE FROM productbuyer WHERE PRODUCTID=1"}));
  EXPECT_EQ(upload.MultipleBuyerSeparator(), "");
}

TEST_F(ProductUpload, BuyersOfAProductWithSeveralAreReplacedPartByPartAsTheyStand) {
  add_product("A-1", ", MULTIPLEBUYER", ", 1");
  execute({"INSERT PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'bob')"});
  Recorder recorder;
  EXPECT_TRUE(upload.InsertUpdateMultipleBuyer("1", ";ann;; cid"));
  EXPECT_EQ(buyers(), (std::vector<std::string>{" cid", "ann"}));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM PRODUCT WHERE PRODUCTID=1", "DELETE FROM productbuyer WHERE PRODUCTID=1",
                        "SELECT * FROM PRODUCTBUYER WHERE 0=1"}));
  EXPECT_EQ(upload.MultipleBuyerSeparator(), ";");
}

TEST_F(ProductUpload, BuyersOfAnUnknownProductFail) {
  Recorder recorder;
  const RaisedError error = raised_by([&] { upload.InsertUpdateMultipleBuyer(7, "ann"); });
  const FailureTrail expected =
      trail({eProductNotFound, "Mercato.ProductXML.InsertUpdateMultipleBuyer", "Product not present", "", 0},
            {"Mercato.ProductXML.InsertUpdateMultipleBuyer"});
  EXPECT_EQ(error.Number, eProductNotFound);
  EXPECT_EQ(error.Source, "Mercato.ProductXML.InsertUpdateMultipleBuyer");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductUpload, ProductIdThatIsNoNumberIsRefusedByTheStore) {
  EXPECT_EQ(raised_by([&] { upload.InsertUpdateMultipleBuyer("1 OR 1=1", "ann"); }).Number,
            error_number::kStatementRefused);
}

TEST_F(ProductUpload, SeparatorOfOneRecordRulesTheLaterOnes) {
  insert_all(document(record("A-1", kRequired + "<MULTIPLEBUYERSEPARATOR>/</MULTIPLEBUYERSEPARATOR>") +
                      record("B-2", kRequired + "<BUYERID>ann/bob</BUYERID><MULTIPLEBUYER>1</MULTIPLEBUYER>")),
             {"A-1", "B-2"});
  EXPECT_EQ(buyers(), (std::vector<std::string>{"ann", "bob"}));
}

// Many records.

TEST_F(ProductUpload, ListedRecordsAreDoneAndTheOthersRemainInTheFile) {
  const std::string text =
      document(record("A-1", kRequired) + record("B-2", kRequired) + record("C-3", "<LOTSIZE>ten</LOTSIZE>"));
  EXPECT_EQ(insert_all(text, {"C-3", "A-1"}), (std::vector<std::string>{"C-3", "A-1"}));
  EXPECT_EQ(list.lower, 0);
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"B-2"}));
}

TEST_F(ProductUpload, RemainingFileCanBeSubmittedAgain) {
  insert_all(document(record("A-1", kRequired) + record("B-2", kRequired + "<COLOUR>r&amp;b \xC3\xA4</COLOUR>")),
             {"A-1"});
  ProductXML second;
  Array rest{"B-2"};
  second.insertProductsFromXML("k/\\" + remaining_file("k").string(), true, rest, false);
  EXPECT_EQ(products(), 2);
  EXPECT_EQ(property("COLOUR", "B-2").to_text(), "r&b \xC3\xA4");
  EXPECT_FALSE(std::filesystem::exists(remaining_file("k")));
}

TEST_F(ProductUpload, NoFileRemainsOfADocumentThatIsDone) {
  std::filesystem::create_directory(folder() / "web" / "XMLDownload");
  std::ofstream(remaining_file("k")) << "old";
  insert_all(document(record("A-1", kRequired)), {"A-1"});
  EXPECT_FALSE(std::filesystem::exists(remaining_file("k")));
}

TEST_F(ProductUpload, OlderFileGoesAlsoWhenTheRestOfTheDocumentCannotBeAskedFor) {
  std::filesystem::create_directory(folder() / "web" / "XMLDownload");
  std::ofstream(remaining_file("k")) << "old";
  list = Array{"A-1"};
  EXPECT_EQ(raised_by([&] {
              upload.insertProductsFromXML("k/\\" + fixture("root-is-the-only-record"), false, list, false);
            }).Number,
            error_number::kObjectNotSet);
  EXPECT_FALSE(std::filesystem::exists(remaining_file("k")));
}

TEST_F(ProductUpload, OlderFileThatIsReadOnlyStaysAndFailsTheCallWhetherRecordsAreLeftOrNot) {
  std::filesystem::create_directory(folder() / "web" / "XMLDownload");
  std::ofstream(remaining_file("k")) << "old";
  std::filesystem::permissions(remaining_file("k"), std::filesystem::perms::owner_read);
  const std::string text = document(record("A-1", kRequired) + record("B-2", kRequired));
  for (const Array& part_numbers : {Array{"A-1"}, Array{"A-1", "B-2"}}) {
    list = part_numbers;
    const RaisedError error = raised_by([&] { upload.insertProductsFromXML("k/\\" + text, false, list, false); });
    EXPECT_EQ(error.Number, error_number::kPermissionDenied);
    EXPECT_EQ(innermost_description(error.Description),
              "Cannot delete \"" + remaining_file("k").string() + "\": It is read-only");
    EXPECT_EQ(list, part_numbers) << "all of these were done";
    EXPECT_EQ(read_whole(remaining_file("k")), "old");
  }
  EXPECT_EQ(products(), 2);
}

TEST_F(ProductUpload, EmptyListLeavesEverythingInTheRemainingFile) {
  insert_all(fixture("two-records-of-one-part-number"), {});
  EXPECT_EQ(list.lower, 0);
  EXPECT_EQ(list.upper(), -1);
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"A-1", "A-1"}));
}

TEST_F(ProductUpload, ListComesBackFromBoundZero) {
  list = Array({Variant("A-1")}, 1);
  upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired)), false, list, false);
  EXPECT_EQ(list, Array{"A-1"});
}

TEST_F(ProductUpload, SourceWithoutTheMarkerFailsBeforeAnythingIsLoaded) {
  list = Array{"A-1"};
  Recorder recorder;
  const RaisedError error =
      raised_by([&] { upload.insertProductsFromXML(document(record("A-1", kRequired)), false, list, false); });
  const FailureTrail expected =
      trail({error_number::kInvalidArgument, "Mercato",
             std::string(error_number::default_description(error_number::kInvalidArgument)), "", 0},
            {"Mercato.ProductXML.insertProductsFromXML"});
  EXPECT_EQ(error.Number, error_number::kInvalidArgument);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(recorder.statements, Statements{});
}

TEST_F(ProductUpload, FirstMarkerEndsTheFileKey) {
  list = Array{"A-1"};
  upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired + "<COLOUR>a/\\b</COLOUR>")), false, list,
                               false);
  EXPECT_EQ(property("COLOUR").to_text(), "a/\\b");
}

TEST_F(ProductUpload, FileKeyThatWouldLeaveItsFolderIsRefusedBeforeAnythingIsWritten) {
  list = Array{"A-1"};
  const RaisedError error = raised_by(
      [&] { upload.insertProductsFromXML("..\\..\\k/\\" + document(record("A-1", kRequired)), false, list, false); });
  EXPECT_EQ(error.Number, error_number::kPathFileAccess);
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductUpload, DocumentThatCannotBeLoadedFailsAtItsFirstRecord) {
  list = Array{"A-1"};
  Recorder recorder;
  const RaisedError error =
      raised_by([&] { upload.insertProductsFromXML("k/\\" + fixture("not-well-formed"), false, list, false); });
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato",
             std::string(error_number::default_description(error_number::kObjectNotSet)), "", 0},
            {"Mercato.ProductXML.readOneProductFromXML2", "Mercato.ProductXML.updateInsertProductFromXML2",
             "Mercato.ProductXML.insertProductsFromXML"});
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductUpload, DocumentThatCannotBeLoadedAndAnEmptyListFailAtTheRest) {
  list = Array();
  const RaisedError error = raised_by([&] { upload.insertProductsFromXML("k/\\<", false, list, false); });
  EXPECT_EQ(error.Description,
            trail({error_number::kObjectNotSet, "",
                   std::string(error_number::default_description(error_number::kObjectNotSet)), "", 0},
                  {"Mercato.ProductXML.getProductNodeList2", "Mercato.ProductXML.insertProductsFromXML"})
                .raised.Description);
}

// The document has no element left that its records could be selected from.
TEST_F(ProductUpload, RootThatIsTheOnlyRecordIsWrittenAndTheCallFailsAtTheRest) {
  list = Array{"A-1"};
  const RaisedError error =
      raised_by([&] { upload.insertProductsFromXML("k/\\" + fixture("root-is-the-only-record"), false, list, false); });
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(products(), 1);
}

TEST_F(ProductUpload, PartNumbersAreTrimmedByTheBulkInsertAndTakenAsTheyStandByTheBulkUpdate) {
  EXPECT_EQ(insert_all(document(record("A-1", kRequired)), {"  A-1 "}), (std::vector<std::string>{"  A-1 "}));
  EXPECT_EQ(products(), 1);
  upload.updateProductsFromXML(document(record("A-1", "<URL>new</URL>")), false, Array{" A-1"}, false);
  EXPECT_TRUE(product("URL").is_null());
  upload.updateProductsFromXML(document(record("A-1", "<URL>new</URL>")), false, Array{"A-1"}, false);
  EXPECT_EQ(product("URL").to_text(), "new");
}

TEST_F(ProductUpload, SecondElementOfAPartNumberRemains) {
  insert_all(fixture("two-records-of-one-part-number"), {"A-1"});
  EXPECT_EQ(product("PRODUCTDESCRIPTION").to_text(), "First");
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"A-1"}));
}

TEST_F(ProductUpload, SecondElementOfAPartNumberIsDoneWhenTheListNamesItTwice) {
  insert_all(fixture("two-records-of-one-part-number"), {"A-1", "A-1"});
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(product("PRODUCTDESCRIPTION").to_text(), "Second");
  EXPECT_FALSE(std::filesystem::exists(remaining_file("k")));
}

TEST_F(ProductUpload, PartNumberThatIsListedTwiceAndStandsOnceFailsAtItsSecondTurn) {
  std::filesystem::create_directory(folder() / "web" / "XMLDownload");
  std::ofstream(remaining_file("k")) << "old";
  list = Array{"A-1", "A-1", "B-2"};
  const RaisedError error = raised_by([&] {
    upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired) + record("B-2", kRequired)), false, list,
                                 false);
  });
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(products(), 1);
  EXPECT_EQ(list, (Array{"A-1", "A-1", "B-2"})) << "a failing run does not cut the list";
  EXPECT_EQ(read_whole(remaining_file("k")), "old") << "and leaves an older file";
}

TEST_F(ProductUpload, PartNumberWithAnApostropheFailsABulkRun) {
  list = Array{"O'Neil"};
  Recorder recorder;
  const RaisedError error = raised_by(
      [&] { upload.insertProductsFromXML("k/\\" + fixture("apostrophe-in-part-number"), false, list, false); });
  const FailureTrail expected = trail(
      {error_number::kStoreFailure, "Mercato",
       "The expression \"//Product[@buyfrompartnumber = 'O'Neil']\" cannot be evaluated: Expected ']' to match an "
       "opening '['",
       "", 0},
      {"Mercato.ProductXML.getProductNodes2", "Mercato.ProductXML.readOneProductFromXML2",
       "Mercato.ProductXML.updateInsertProductFromXML2", "Mercato.ProductXML.insertProductsFromXML"});
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='O''Neil'"}));

  insert(fixture("apostrophe-in-part-number"), "O'Neil");
  EXPECT_EQ(products(), 1);
}

// The first run's "nothing left" used to hold for the second one, which then deleted the older file and wrote none.
TEST_F(ProductUpload, SecondRunLooksAgainWhenTheFirstLeftNothing) {
  insert_all(document(record("A-1", kRequired)), {"A-1"});
  EXPECT_FALSE(std::filesystem::exists(remaining_file("k")));
  std::ofstream(remaining_file("k")) << "old";
  insert_all(document(record("B-2", kRequired)), {});
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"B-2"}));
}

TEST_F(ProductUpload, SecondRunWritesItsFileWhenTheFirstLeftRecords) {
  ProductXML other;
  list = Array();
  other.insertProductsFromXML("k/\\" + document(record("C-3", kRequired)), false, list, false);
  list = Array{"D-4"};
  other.insertProductsFromXML("k/\\" + document(record("D-4", kRequired)), false, list, false);
  EXPECT_TRUE(std::filesystem::exists(remaining_file("k"))) << "one record was left of the first document";
  EXPECT_EQ(part_numbers_in(remaining_file("k")), std::vector<std::string>{});
}

TEST_F(ProductUpload, RunStopsBeforeTheEntryAtWhichTheBudgetIsUsedUp) {
  // Readings: the start, one before each record, one for each new row.
  clock::script_clock(at(10, 0, 0), 45);
  const std::string text = document(record("A-1", kRequired) + record("B-2", kRequired) + record("C-3", kRequired));
  EXPECT_EQ(insert_all(text, {"A-1", "B-2", "C-3"}), (std::vector<std::string>{"A-1", "B-2"}));
  EXPECT_EQ(products(), 2);
  EXPECT_EQ(part_numbers_in(remaining_file("k")), (std::vector<std::string>{"C-3"}));
}

TEST_F(ProductUpload, RunThatCrossesMidnightDoesNotEndByTheBudget) {
  clock::script_clock(at(23, 59, 0), 90);
  const std::string text = document(record("A-1", kRequired) + record("B-2", kRequired) + record("C-3", kRequired));
  EXPECT_EQ(insert_all(text, {"A-1", "B-2", "C-3"}).size(), 3u);
}

TEST_F(ProductUpload, FolderOfRemainingFilesIsCreatedOneLevelDeep) {
  std::filesystem::remove_all(folder() / "web");
  list = Array{"A-1"};
  const RaisedError error =
      raised_by([&] { upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired)), false, list, false); });
  EXPECT_EQ(error.Number, error_number::kPathNotFound);
  EXPECT_EQ(products(), 1);

  std::filesystem::create_directory(folder() / "web");
  insert_all(document(record("B-2", kRequired)), {});
  EXPECT_TRUE(std::filesystem::is_directory(folder() / "web" / "XMLDownload"));
}

TEST_F(ProductUpload, BulkUpdateHasNeitherMarkerNorRemainingFile) {
  add_product("A-1");
  add_product("B-2");
  upload.updateProductsFromXML(document(record("A-1", "<URL>a</URL>") + record("B-2", "<URL>b</URL>")), false,
                               Array({Variant("A-1"), Variant("B-2")}, 5), false);
  EXPECT_EQ(product("URL").to_text(), "a");
  EXPECT_EQ(product("URL", "B-2").to_text(), "b");
  EXPECT_FALSE(std::filesystem::exists(folder() / "web" / "XMLDownload"));
}

TEST_F(ProductUpload, BulkUpdateCountsNoFurtherThanAShort) {
  Array many;
  many.items.assign(32767, Variant("Z-9"));
  EXPECT_NO_THROW(upload.updateProductsFromXML("<P/>", false, many, false));
  many.items.emplace_back("Z-9");
  const RaisedError error = raised_by([&] { upload.updateProductsFromXML("<P/>", false, many, false); });
  EXPECT_EQ(error.Number, error_number::kOverflow);
  EXPECT_EQ(error.Description, trail({error_number::kOverflow, "",
                                      std::string(error_number::default_description(error_number::kOverflow)), "", 0},
                                     {"Mercato.ProductXML.updateProductsFromXML"})
                                   .raised.Description);
}

TEST_F(ProductUpload, FailureStopsABulkUpdateAndKeepsWhatWasDone) {
  add_product("A-1");
  const RaisedError error = raised_by([&] {
    upload.updateProductsFromXML(document(record("A-1", "<URL>a</URL>") + record("B-2", "<URL>b</URL>")), false,
                                 Array{"A-1", "B-2"}, false);
  });
  EXPECT_EQ(error.Number, error_number::kNoCurrentRow);
  EXPECT_EQ(error.Description,
            trail({error_number::kNoCurrentRow, "",
                   std::string(error_number::default_description(error_number::kNoCurrentRow)), "", 0},
                  {"Mercato.ProductXML.updateProductProperties", "Mercato.ProductXML.updateInsertProductFromXML",
                   "Mercato.ProductXML.updateProductsFromXML"})
                .raised.Description);
  EXPECT_EQ(product("URL").to_text(), "a");
}

// Products are listed with their blanks trimmed, prices as they stand.
TEST_F(ProductUpload, PartNumberThatNoBulkRunFindsIsToldWithTheReason) {
  using upload::kPriceDocument;
  using upload::kProductDocument;
  using upload::reason_not_found;
  EXPECT_EQ(reason_not_found(kProductDocument, "A-1"), "");
  EXPECT_EQ(reason_not_found(kProductDocument, ""), "");
  EXPECT_EQ(reason_not_found(kProductDocument, "A 1"), "");
  EXPECT_EQ(reason_not_found(kProductDocument, " A-1"), "No run finds a part number with blanks at its ends.");
  EXPECT_EQ(reason_not_found(kProductDocument, "A-1 "), "No run finds a part number with blanks at its ends.");
  EXPECT_EQ(reason_not_found(kProductDocument, " O'Neil"), "No run finds a part number with an apostrophe.");
  EXPECT_EQ(reason_not_found(kPriceDocument, " A-1 "), "");
  EXPECT_EQ(reason_not_found(kPriceDocument, "O'Neil"), "No run finds a part number with an apostrophe.");
}

// By name.

TEST_F(ProductUpload, BulkInsertIsCalledByNameAndUpdatesItsListInPlaceWithoutAVote) {
  const ComponentPtr object = create_root("Mercato.ProductXML");
  ASSERT_NE(object, nullptr);
  std::vector<Variant> arguments{"k/\\" + document(record("A-1", kRequired)), false, Array{"A-1"}, false};
  clock::script_clock(at(10, 0, 0), 100);
  arguments[2] = Array{"A-1", "B-2", "C-3"};
  invoke(object, "INSERTPRODUCTSFROMXML", arguments);
  EXPECT_EQ(arguments[2].to_array(), Array{"A-1"});
  EXPECT_EQ(object->context()->last_vote(), Vote::none);
  EXPECT_EQ(object->context()->outcome_of_last_call(), Outcome::none);
  EXPECT_EQ(products(), 1);
}

TEST_F(ProductUpload, SeparatorIsAPropertyByName) {
  const ComponentPtr object = create_root("Mercato.ProductXML");
  EXPECT_EQ(invoke(object, "MultipleBuyerSeparator", {}).to_text(), "");
  invoke(object, "MultipleBuyerSeparator", {"||"});
  EXPECT_EQ(invoke(object, "MultipleBuyerSeparator", {}).to_text(), "||");
}

TEST_F(ProductUpload, ClassDescribesItself) {
  const ClassTable* table = registered_class("Mercato.ProductXML");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(attribute_name(table->attribute()), "undeclared");
  EXPECT_EQ(table->default_interface(), "_ProductXML");
  const MethodInfo* bulk = table->find("insertProductsFromXML");
  ASSERT_NE(bulk, nullptr);
  EXPECT_TRUE(bulk->arguments[2].by_reference);
  EXPECT_FALSE(table->find("updateProductsFromXML")->arguments[2].by_reference);
}

}  // namespace
}  // namespace mercato::test
