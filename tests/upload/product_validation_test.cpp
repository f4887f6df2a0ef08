// SPDX-License-Identifier: Apache-2.0
#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

class ProductValidation : public UploadTest {
 protected:
  // What the error check finds in one record of these fields.
  Fields errors_of(const std::string& fields) {
    return fields_of(upload.getErrorsInProductValues(document(record("A-1", fields)), false, "A-1"));
  }
  // The same for a record that also has the three required fields.
  Fields errors_beside_required(const std::string& fields) { return errors_of(kRequired + fields); }
  // Uploads one record with the three required fields and these.
  void insert(const std::string& fields, bool update_on_errors = true) {
    upload.insertProductFromXML(document(record("A-1", kRequired + fields)), false, "A-1", update_on_errors);
  }

  ProductXML upload;
};

std::vector<std::vector<std::string>> entries_of(const CollectionPtr& list) {
  std::vector<std::vector<std::string>> entries;
  for (std::int32_t position = 1; position <= list->Count(); ++position) {
    const auto entry = list->Item(position).to<Collection>();
    entries.push_back({entry->Item(1).to_text(), entry->Item(2).to_text(), entry->Item(3).to_text()});
  }
  return entries;
}

// The error check.

TEST_F(ProductValidation, RecordWithoutFieldsLacksTheThreeRequiredOnes) {
  EXPECT_EQ(errors_of(""), (Fields{{"PRODUCTDESCRIPTION", ""}, {"PARTNUMBER", ""}, {"UNITCODE", ""}}));
}

TEST_F(ProductValidation, GoodRecordHasNoErrors) {
  EXPECT_EQ(fields_of(upload.getErrorsInProductValues(fixture("all-fields"), false, "A-1")), Fields{});
}

TEST_F(ProductValidation, EachRuleOfTheErrorCheckReportsItsField) {
  struct Case {
    std::string field;
    std::string good;
    std::string bad;
  };
  const Case cases[] = {
      {"COMMODITYCODE", "OFFICE", "NOSUCH"},
      {"BUSINESSID", "ACME", "NOSUCH"},
      {"PRODUCTEFFECTIVITYDATE", "7/1/2026", "soon"},
      {"PRODUCTEXPIRYDATE", "12/31/2026", "-1"},
      {"MINORDERQTY", "-1.5E2", "few"},
      {"MULTIPLEOF", "0", ""},
      {"GTIN", "123", "1234567890123X"},
      {"LOTSIZE", "10", "ten"},
      {"DELIVERYLEADTIME", "3", "days"},
      {"MULTIPLEBUYER", "1", "2"},
      {"MULTIPLEBUYER", "0", "yes"},
      {"SERVICEITEM", "1", "2"},
      {"MULTIPLEBUYERSEPARATOR", "\\", "|"},
      {"MULTIPLEBUYERSEPARATOR", "/", ""},
      {"MULTIPLEBUYERSEPARATOR", "&quot;", ";;"},
      {"CLASSCODE", "H1", "NOSUCH"},
      {"BUYERID", "ann", "idle"},
      {"BUYERID", "ann;bob", "ann;nobody"},
      {"BUYERID", "; ann ;", "; ;"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.field + " " + row.good + " / " + row.bad);
    upload.SetMultipleBuyerSeparator("");
    const std::string open = "<" + row.field + ">";
    const std::string close = "</" + row.field + ">";
    EXPECT_EQ(errors_beside_required(open + row.good + close), Fields{});
    upload.SetMultipleBuyerSeparator("");
    EXPECT_EQ(errors_beside_required(open + row.bad + close), (Fields{{row.field, row.bad}}));
  }
}

TEST_F(ProductValidation, UnitIsGoodAsACodeOrADescription) {
  const std::string others = "<PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER>";
  EXPECT_EQ(errors_of(others + "<UNIT>PC</UNIT>"), Fields{});
  EXPECT_EQ(errors_of(others + "<UNIT>Piece</UNIT>"), Fields{});
  EXPECT_EQ(errors_of(others + "<UNIT>Box</UNIT>"), (Fields{{"UNITCODE", "Box"}}));
}

TEST_F(ProductValidation, EmptyUnitIsFoundTwiceAndTheCallFails) {
  Recorder recorder;
  const RaisedError error =
      raised_by([&] { errors_of("<PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER><UNIT/>"); });
  const FailureTrail expected =
      trail({error_number::kDuplicateKey, "Mercato",
             std::string(error_number::default_description(error_number::kDuplicateKey)), "", 0},
            {"Mercato.ProductXML.getErrorFields", "Mercato.ProductXML.getErrorsInProductValues"});
  EXPECT_EQ(error.Number, error_number::kDuplicateKey);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductValidation, ContractPairIsGoodTogetherOnly) {
  EXPECT_EQ(errors_beside_required("<CONTRACTCODE>K7</CONTRACTCODE><NUMBER>5</NUMBER>"), Fields{});
  EXPECT_EQ(errors_beside_required("<CONTRACTCODE>K7</CONTRACTCODE><NUMBER>6</NUMBER>"),
            (Fields{{"CONTRACTCODE", "K7"}, {"NUMBER", "6"}}));
}

TEST_F(ProductValidation, ContractCodeWithoutNumberFailsWithTheStore) {
  Recorder recorder;
  const RaisedError error = raised_by([&] { errors_beside_required("<CONTRACTCODE>K7</CONTRACTCODE>"); });
  EXPECT_EQ(error.Number, error_number::kStatementRefused);
  ASSERT_FALSE(recorder.statements.empty());
  EXPECT_EQ(recorder.statements.back(), "SELECT CONTRACTCODE FROM CONTRACTLINES WHERE CONTRACTCODE='K7' AND NUMBER=");
  const FailureTrail expected = trail(
      {error_number::kStatementRefused, store().failure_source(), "Incorrect syntax near '=' (character 74)", "", 0},
      {"Mercato.ProductXML.Exists", "Mercato.ProductXML.getErrorFields",
       "Mercato.ProductXML.getErrorsInProductValues"});
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductValidation, NumberWithoutContractCodeIsAPlainError) {
  Recorder recorder;
  EXPECT_EQ(errors_beside_required("<NUMBER>5</NUMBER>"), (Fields{{"NUMBER", "5"}}));
  EXPECT_EQ(recorder.statements.back(), "SELECT NUMBER FROM CONTRACTLINES WHERE NUMBER=5 AND CONTRACTCODE=''");
}

TEST_F(ProductValidation, NumberThatIsNoNumberIsRefusedByTheStore) {
  EXPECT_EQ(raised_by([&] { errors_beside_required("<NUMBER>5 OR 1=1</NUMBER>"); }).Number,
            error_number::kStatementRefused);
}

TEST_F(ProductValidation, UnspscCodeIsJudgedOnlyWhereUnspscIsInUse) {
  EXPECT_EQ(errors_beside_required("<UNSPSCCODE>X</UNSPSCCODE>"), Fields{});

  set_unspsc_setting("yes");
  EXPECT_EQ(errors_beside_required("<UNSPSCCODE>X</UNSPSCCODE>"), Fields{}) << "the setting is read once for an object";

  ProductXML fresh;
  const auto errors = [&](const std::string& code) {
    return fields_of(fresh.getErrorsInProductValues(
        document(record("A-1", kRequired + "<UNSPSCCODE>" + code + "</UNSPSCCODE>")), false, "A-1"));
  };
  Recorder recorder;
  EXPECT_EQ(errors(" 441207 "), Fields{});
  EXPECT_EQ(recorder.statements.back(), "SELECT PARENTCODE FROM UNSPSCCODES WHERE PARENTCODE='4412' AND UNSPSCCODE=7");
  EXPECT_EQ(errors("441208"), (Fields{{"UNSPSCCODE", "441208"}}));
  EXPECT_EQ(raised_by([&] { errors("7"); }).Number, error_number::kInvalidArgument);
  EXPECT_EQ(raised_by([&] { errors("44XY"); }).Number, error_number::kTypeMismatch);
}

TEST_F(ProductValidation, LongDescriptionPassesTheErrorCheck) {
  EXPECT_EQ(errors_of("<UNIT>PC</UNIT><PRODUCTDESCRIPTION>" + repeated(300, 'x') +
                      "</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER>"),
            Fields{});
}

TEST_F(ProductValidation, SeparatorOfARecordSplitsTheBuyersBehindIt) {
  EXPECT_EQ(errors_beside_required("<MULTIPLEBUYERSEPARATOR>,</MULTIPLEBUYERSEPARATOR><BUYERID>ann,bob</BUYERID>"),
            Fields{});
  EXPECT_EQ(upload.MultipleBuyerSeparator(), ",");
  EXPECT_EQ(errors_beside_required("<BUYERID>ann;bob</BUYERID>"), (Fields{{"BUYERID", "ann;bob"}}));
}

TEST_F(ProductValidation, BuyersAreAskedTwoQuestionsEachUntilTheFirstNo) {
  Recorder recorder;
  errors_beside_required("<BUYERID>; ann;idle;bob</BUYERID>");
  std::vector<ComponentCall> asked;
  for (const ComponentCall& call : recorder.calls)
    if (call.method.starts_with("Zentrik.User.")) asked.push_back(call);
  EXPECT_EQ(asked, (std::vector<ComponentCall>{{"Zentrik.User.BuyerCheckFirst", {"ann"}},
                                               {"Zentrik.User.BuyerCheckSecond", {"ann", "ann"}},
                                               {"Zentrik.User.BuyerCheckFirst", {"idle"}}}));
  EXPECT_EQ(upload.MultipleBuyerSeparator(), ";");
}

TEST_F(ProductValidation, StatementsOfTheErrorCheckAreWhole) {
  Recorder recorder;
  errors_of(
      "<UNIT>O'Box</UNIT><PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER>"
      "<COMMODITYCODE>O'F</COMMODITYCODE><CLASSCODE>H'1</CLASSCODE>"
      "<CONTRACTCODE>K'7</CONTRACTCODE><NUMBER>5</NUMBER>");
  EXPECT_EQ(recorder.statements,
            (Statements{kReadCommitted, "SELECT UNITDESCRIPTION FROM UNIT WHERE UNITDESCRIPTION='O''Box'",  //
                        kReadCommitted, "SELECT UNITCODE FROM UNIT WHERE UNITCODE='O''Box'",                //
                        kReadCommitted, "SELECT COMMODITYCODE FROM COMMODITY WHERE COMMODITYCODE='O''F'",   //
                        kReadCommitted, "SELECT CLASSCODE FROM HAZARDOUSCLASS WHERE CLASSCODE='H''1'",      //
                        kReadCommitted,
                        "SELECT CONTRACTCODE FROM CONTRACTLINES WHERE CONTRACTCODE='K''7' AND NUMBER=5",  //
                        kReadCommitted, "SELECT NUMBER FROM CONTRACTLINES WHERE NUMBER=5 AND CONTRACTCODE='K''7'"}));
}

// The previews.

TEST_F(ProductValidation, UpdateListHasExistingProductsWithTheirPresentNameAndTakesNamesAsWritten) {
  add_product();
  EXPECT_EQ(entries_of(upload.GetCheckedProductUpdateList(fixture("names-in-mixed-case"), false)),
            (std::vector<std::vector<std::string>>{{"A-1", "Old", "False"}}));
  EXPECT_EQ(entries_of(upload.GetCheckedProductUpdateList(document(record("A-1", kRequired) + record("B-2", kRequired)),
                                                          false)),
            (std::vector<std::vector<std::string>>{{"A-1", "Old", "True"}}));
}

TEST_F(ProductValidation, InsertListHasAllRecordsWithTheirOwnNameInAnyCase) {
  add_product();
  EXPECT_EQ(entries_of(upload.GetCheckedProductInsertList(fixture("names-in-mixed-case"), false)),
            (std::vector<std::vector<std::string>>{{"A-1", "Pen", "True"}}));
  EXPECT_EQ(entries_of(upload.GetCheckedProductInsertList(document(record("B-2", "<UNIT>PC</UNIT>")), false)),
            (std::vector<std::vector<std::string>>{{"B-2", "", "False"}}));
}

TEST_F(ProductValidation, ListsLeaveOutRecordsWithoutChildrenAndSetTheSeparator) {
  EXPECT_EQ(upload.GetCheckedProductInsertList(document(record("A-1", "")), false)->Count(), 0);
  upload.GetCheckedProductInsertList(document(record("A-1", "<MultipleBuyerSeparator>/</MultipleBuyerSeparator>")),
                                     false);
  EXPECT_EQ(upload.MultipleBuyerSeparator(), "/");
}

TEST_F(ProductValidation, UpdateListHeedsASeparatorBehindTheBuyersOnlyInCapitals) {
  add_product();
  const auto valid = [&](const std::string& name) {
    ProductXML fresh;
    const auto list = fresh.GetCheckedProductUpdateList(
        document(record("A-1", kRequired + "<BUYERID>ann/bob</BUYERID><" + name + ">/</" + name + ">")), false);
    return entries_of(list).at(0).at(2);
  };
  EXPECT_EQ(valid("MULTIPLEBUYERSEPARATOR"), "True");
  EXPECT_EQ(valid("MultipleBuyerSeparator"), "False");
}

TEST_F(ProductValidation, SettingIsAskedOnceForAnObject) {
  Recorder recorder;
  errors_of("");
  errors_of("<UNSPSCCODE>441207</UNSPSCCODE>");
  insert("");
  std::vector<ComponentCall> asked;
  for (const ComponentCall& call : recorder.calls)
    if (call.method.ends_with("Parameter") || call.method.ends_with("Parameters")) asked.push_back(call);
  EXPECT_EQ(asked, (std::vector<ComponentCall>{
                       {"Grundwerk.Configuration.PrepareParameters", {false}},
                       {"Grundwerk.Configuration.GetParameter", {"COMMONPARAMETERS", "UNSPSCIMPLEMENTED"}}}));
}

TEST_F(ProductValidation, BothListsFailUnderTheNameOfTheUpdateList) {
  const FailureTrail expected =
      trail({eUnableToLoadXML, "Mercato.ProductXML.getProductNodeList", "Unable to load XML", "", 0},
            {"Mercato.ProductXML.getProductNodeList", "Mercato.ProductXML.GetCheckedProductUpdateList"});
  EXPECT_EQ(raised_by([&] { upload.GetCheckedProductUpdateList("<", false); }).Description,
            expected.raised.Description);
  EXPECT_EQ(raised_by([&] { upload.GetCheckedProductInsertList("<", false); }).Description,
            expected.raised.Description);
}

// Filled up it would be no number: "000000000000-5".
TEST_F(ProductValidation, ListsDoNotFillUpAGtin) {
  const std::string record_of_negative = document(record("A-1", kRequired + "<GTIN>-5</GTIN>"));
  EXPECT_EQ(entries_of(upload.GetCheckedProductInsertList(record_of_negative, false)),
            (std::vector<std::vector<std::string>>{{"A-1", "Pen", "True"}}));
  EXPECT_EQ(upload.getErrorsInProductValues(record_of_negative, false, "A-1")->Keys(), Array{"GTIN"});
  insert(kRequired);
  EXPECT_EQ(entries_of(upload.GetCheckedProductUpdateList(record_of_negative, false)),
            (std::vector<std::vector<std::string>>{{"A-1", "Pen", "True"}}));
}

// The repair, seen through what an upload writes.

TEST_F(ProductValidation, FieldsThatDoNotPassAreDropped) {
  insert(
      "<COMMODITYCODE>NOSUCH</COMMODITYCODE><PRODUCTEXPIRYDATE>soon</PRODUCTEXPIRYDATE><LOTSIZE>ten</LOTSIZE>"
      "<GTIN>12X</GTIN><MULTIPLEBUYER>2</MULTIPLEBUYER>");
  EXPECT_TRUE(product("COMMODITYCODE").is_null());
  EXPECT_TRUE(product("PRODUCTEXPIRYDATE").is_null());
  EXPECT_TRUE(product("LOTSIZE").is_null());
  EXPECT_TRUE(product("GTIN").is_null());
  EXPECT_EQ(product("MULTIPLEBUYER").to_long(), 0);
}

TEST_F(ProductValidation, UnitDescriptionBecomesItsCodeAndAnUnknownUnitIsDropped) {
  upload.insertProductFromXML(fixture("all-fields"), false, "A-1", false);
  EXPECT_EQ(product("UNITCODE").to_text(), "PC");

  upload.insertProductFromXML(
      document(record("B-2", "<UNIT>Box</UNIT><PRODUCTDESCRIPTION>P</PRODUCTDESCRIPTION><PARTNUMBER>B</PARTNUMBER>")),
      false, "B-2", true);
  EXPECT_TRUE(product("UNITCODE", "B-2").is_null());
}

TEST_F(ProductValidation, UnknownBusinessIdIsHandedOnAsMinusOneWhichIsNoPartner) {
  insert("<BUSINESSID>NOSUCH</BUSINESSID>", false);
  EXPECT_EQ(products(), 1);
  EXPECT_TRUE(product("BUSINESSPARTNERID").is_null());
}

TEST_F(ProductValidation, UnknownClassCodeSurvivesTheRepair) {
  Recorder recorder;
  insert("<CLASSCODE>NO'SUCH</CLASSCODE>", false);
  EXPECT_EQ(product("CLASSCODE").to_text(), "NO'SUCH");
  EXPECT_EQ(std::count(recorder.statements.begin(), recorder.statements.end(),
                       "SELECT * FROM HAZARDOUSCLASS WHERE CLASSCODE = 'NO''SUCH'"),
            1);
}

TEST_F(ProductValidation, ServiceItemOfTwoPassesTheRepair) {
  insert("<SERVICEITEM>2</SERVICEITEM>", false);
  EXPECT_EQ(product("SERVICEITEM").to_long(), 2);
}

TEST_F(ProductValidation, LongTextsAreCutToTheirWidthsAndThatIsNoLoss) {
  upload.insertProductFromXML(
      document(record(
          "A-1", "<UNIT>PC</UNIT><PRODUCTDESCRIPTION>" + repeated(300, 'd') + "</PRODUCTDESCRIPTION><PARTNUMBER>" +
                     repeated(51, 'p') + "</PARTNUMBER><MFRPARTNUMBER>" + repeated(51, 'm') +
                     "</MFRPARTNUMBER><PRODUCTREMARK>" + repeated(256, 'r') + "</PRODUCTREMARK><BUYFROMCONTACTEMAIL>" +
                     repeated(31, 'e') + "</BUYFROMCONTACTEMAIL><CLASSIFICATION>" + repeated(33, 'c') +
                     "</CLASSIFICATION><COLOUR>" + repeated(31, 'b') + "</COLOUR>")),
      false, "A-1", false);
  EXPECT_EQ(product("PRODUCTDESCRIPTION").to_text(), repeated(255, 'd'));
  EXPECT_EQ(product("PARTNUMBER").to_text(), repeated(50, 'p'));
  EXPECT_EQ(product("MFRPARTNUMBER").to_text(), repeated(50, 'm'));
  EXPECT_EQ(product("PRODUCTREMARK").to_text(), repeated(255, 'r'));
  EXPECT_EQ(product("BUYFROMCONTACTEMAIL").to_text(), repeated(30, 'e'));
  EXPECT_EQ(product("CLASSIFICATION").to_text(), repeated(32, 'c'));
  EXPECT_EQ(property("COLOUR").to_text(), repeated(30, 'b'));
}

TEST_F(ProductValidation, CutsCountCharactersAndNotBytes) {
  std::string umlauts;
  for (int count = 0; count < 31; ++count) umlauts += "ä";
  insert("<COLOUR>" + umlauts + "</COLOUR>");
  EXPECT_EQ(property("COLOUR").to_text(), umlauts.substr(0, 60));
}

TEST_F(ProductValidation, PropertyNameOfThirtyOneCharactersIsStoredUnderTheFirstThirty) {
  insert("<" + repeated(31, 'n') + ">v</" + repeated(31, 'n') + ">", false);
  EXPECT_EQ(value_of("SELECT PROPERTYNAME FROM PROPERTY").to_text(), repeated(30, 'N'));
  EXPECT_EQ(property(repeated(30, 'N')).to_text(), "v");
}

TEST_F(ProductValidation, TwoPropertyNamesWithTheSameThirtyCharactersFail) {
  const std::string first = repeated(30, 'n') + "1";
  const std::string second = repeated(30, 'n') + "2";
  const RaisedError error =
      raised_by([&] { insert("<" + first + ">v</" + first + "><" + second + ">v</" + second + ">"); });
  EXPECT_EQ(error.Number, error_number::kDuplicateKey);
  EXPECT_EQ(error.Description,
            trail({error_number::kDuplicateKey, "Mercato",
                   std::string(error_number::default_description(error_number::kDuplicateKey)), "", 0},
                  {"Mercato.ProductXML.getValidatedProductValues", "Mercato.ProductXML.updateInsertProductFromXML",
                   "Mercato.ProductXML.insertProductFromXML"})
                .raised.Description);
  EXPECT_EQ(products(), 0);
}

TEST_F(ProductValidation, BuyersWithoutASeparatorAreCutAsAWhole) {
  upload.insertProductFromXML(fixture("buyers-without-separator"), false, "A-1", false);
  EXPECT_EQ(buyers(), (std::vector<std::string>{"annabella", "bartholomew", "christop"}));
  EXPECT_EQ(product("USERID").to_text(), "annabella");
}

TEST_F(ProductValidation, BuyersWithASeparatorAreCutOneByOne) {
  upload.SetMultipleBuyerSeparator(";");
  upload.insertProductFromXML(fixture("buyers-without-separator"), false, "A-1", false);
  EXPECT_EQ(buyers(), (std::vector<std::string>{"annabella", "bartholomew", "christopher"}));
}

TEST_F(ProductValidation, EmptySeparatorElementBringsTheDefaultOne) {
  insert("<MULTIPLEBUYERSEPARATOR/>");
  EXPECT_EQ(upload.MultipleBuyerSeparator(), ";");
}

TEST_F(ProductValidation, BuyerAndUserTogetherFail) {
  EXPECT_EQ(raised_by([&] { insert("<USERID>ann</USERID><BUYERID>bob</BUYERID>"); }).Number,
            error_number::kDuplicateKey);
}

// Reading the other half of the pair creates it, so the number of fields is what it was.
TEST_F(ProductValidation, NumberWithoutContractCodeIsDroppedAndStillCountsAsNoLoss) {
  insert("<NUMBER>5</NUMBER>", false);
  EXPECT_EQ(products(), 1);
  EXPECT_TRUE(product("NUMBER").is_null());
}

// The bad NUMBER is gone when CONTRACTCODE asks for it.
TEST_F(ProductValidation, ContractCodeBehindABadNumberFailsWithTheStore) {
  EXPECT_EQ(raised_by([&] { insert("<NUMBER>6</NUMBER><CONTRACTCODE>K7</CONTRACTCODE>"); }).Number,
            error_number::kStatementRefused);
}

TEST_F(ProductValidation, UnspscCodeIsDroppedOnlyWhereUnspscIsInUse) {
  insert("<UNSPSCCODE>441299</UNSPSCCODE>", false);
  EXPECT_EQ(product("UNSPSCCODE").to_text(), "441299");

  set_unspsc_setting("Yes");
  ProductXML fresh;
  fresh.insertProductFromXML(document(record("B-2", kRequired + "<UNSPSCCODE>441299</UNSPSCCODE>")), false, "B-2",
                             true);
  EXPECT_TRUE(product("UNSPSCCODE", "B-2").is_null());
}

}  // namespace
}  // namespace mercato::test
