// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "mercato/date.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/registry.h"
#include "tests/platform/store/integrity.h"
#include "tests/support/another_process.h"
#include "tests/support/hostile_texts.h"
#include "tests/support/refusing_recorder.h"
#include "tests/upload/price_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

const Date kJuly = Date::from_civil({2026, 7, 1, 0, 0, 0});

std::string lookup(const std::string& quantity_to, std::int32_t product_id = 1) {
  return "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=" + std::to_string(product_id) +
         " AND PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=" + quantity_to + " AND GROUPBY = ''";
}

class PriceUpload : public PriceTest {
 protected:
  void SetUp() override {
    PriceTest::SetUp();
    load_currencies(upload);
  }
  // A run with the file key "k"; what becomes of the list.
  std::vector<std::string> upload_all(const std::string& lines, std::vector<Variant> part_numbers) {
    list = Array(std::move(part_numbers));
    upload.UpdateInsertPricesFromXML("k/\\" + price_document(lines), false, list);
    std::vector<std::string> texts;
    for (const Variant& item : list.items) texts.push_back(item.to_text());
    return texts;
  }
  // What lines of A-1 leave behind, beside the store.
  void upload_fields(const std::string& fields) { upload_all(price("A-1", fields), {"A-1"}); }
  struct First {
    std::int32_t number;
    std::string source;
    std::string words;
  };
  // Fails in the given methods of the class on the way up, then in the upload.
  void expect_failure(const First& first, std::vector<std::string> methods, const std::string& lines,
                      const Array& part_numbers) {
    list = part_numbers;
    Recorder recorder;
    const RaisedError error =
        raised_by([&] { upload.UpdateInsertPricesFromXML("k/\\" + price_document(lines), false, list); });
    methods.insert(methods.end(), {"updateInsertPriceFromXMLFile2", "UpdateInsertPricesFromXML"});
    for (std::string& method : methods) method.insert(0, "Mercato.PriceXML.");
    const FailureTrail expected =
        trail({first.number, first.source, first.words, "", 0}, {methods.begin(), methods.end()});
    EXPECT_EQ(error.Number, first.number);
    EXPECT_EQ(error.Source, first.source);
    EXPECT_EQ(error.Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(list, part_numbers) << "a failing run does not cut the list";
  }
  // The lines in a remaining file: how many each part number has.
  std::vector<std::string> remaining(const std::vector<std::string>& part_numbers) const {
    std::vector<std::string> found;
    PriceXML reader;
    for (const std::string& part_number : part_numbers) {
      const auto prices = reader.readProductPriceFromXML(remaining_prices().string(), true, part_number);
      if (prices->Count() > 0) found.push_back(part_number + " " + std::to_string(prices->Count()));
    }
    return found;
  }
  void leave_older_file() const {
    std::filesystem::create_directory(folder() / "web" / "XMLDownload");
    std::ofstream(remaining_prices()) << "old";
  }
  static Date at(int hour, int minute, int second) { return Date::from_civil({2026, 7, 1, hour, minute, second}); }

  PriceXML upload;
  Array list;
};

// One line.

TEST_F(PriceUpload, LinesAreWrittenStatementByStatement) {
  Recorder recorder;
  EXPECT_EQ(upload_all(band("A-1", "100") + band("B-2", "2.5") + band("A-1", ""), {"A-1", "O'Neil", "B-2"}),
            (std::vector<std::string>{"A-1", "O'Neil", "B-2"}));
  EXPECT_EQ(recorder.statements,
            (Statements{kReadCommitted,  //
                        "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                        lookup("100"),        //
                        lookup("999999999"),  //
                        "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='O''Neil'",
                        "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='B-2'", lookup("2.5", 2)}));
  EXPECT_EQ(recorder.log, std::vector<LogEntry>{});
  std::vector<std::string> called;
  for (const ComponentCall& call : recorder.calls) called.push_back(call.method);
  EXPECT_EQ(called, (std::vector<std::string>{"Grundwerk.Configuration.GetWebRootFolder"}))
      << "no reference is checked";
  EXPECT_EQ(quantities(), (std::vector<std::string>{"100", "999999999", "2.5"}));
}

TEST_F(PriceUpload, NewLineReachesItsColumns) {
  list = Array{"A-1"};
  upload.UpdateInsertPricesFromXML("k/\\" + fixture_path("price-all-fields"), true, list);
  ASSERT_EQ(lines(), 1);
  EXPECT_EQ(line_value("PRODUCTID").to_long(), 1);
  EXPECT_EQ(line_value("PRICEEFFECTIVEDATE").to_date(), kJuly);
  EXPECT_EQ(line_value("PRICEEXPIRYDATE").to_date(), Date::from_civil({2026, 12, 31, 0, 0, 0}));
  EXPECT_EQ(line_value("QUANTITYTO").to_double(), 100);
  EXPECT_EQ(line_value("GROUPBY").to_text(), "KEY");
  EXPECT_EQ(line_value("CURRENCYCODE").to_text(), "EUR");
  EXPECT_EQ(line_value("PRICE"), Variant(Currency::from_text("10.25")));
  EXPECT_EQ(line_value("DISCOUNTAMOUNT"), Variant(Currency::from_text("0.5")));
  EXPECT_EQ(line_value("FREIGHTCOST"), Variant(Currency::from_text("3")));
  EXPECT_EQ(line_value("DISCOUNTPERC").to_double(), 12.34) << "halves to the even digit";
  EXPECT_EQ(line_value("PRICETAXPERCENTAGE").to_double(), 20);
}

TEST_F(PriceUpload, LineWithoutAGroupHasNull) {
  upload_fields(fields_with());
  EXPECT_TRUE(line_value("GROUPBY").is_null());
  EXPECT_TRUE(line_value("DISCOUNTAMOUNT").is_null());
}

TEST_F(PriceUpload, GroupIsWrittenAsItStandsAlsoTheEmptyOne) {
  upload_fields(fields_with({{"GROUPBY", ""}}));
  EXPECT_EQ(line_value("GROUPBY"), Variant(""));
}

TEST_F(PriceUpload, LineWithTheEmptyTextForAGroupIsFoundAndChanged) {
  execute(
      {"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, PRICE, "
       "DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE) VALUES (1, '7/1/2026', 100, '', 'USD', 5, 1.5, 2, 19)"});
  Recorder recorder;
  upload_fields(fields_with({{"DiscountPerc", "12.345"}}));
  EXPECT_EQ(recorder.statements,
            (Statements{kReadCommitted, "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'", lookup("100")}));
  ASSERT_EQ(lines(), 1);
  EXPECT_EQ(line_value("PRICE"), Variant(Currency::from_text("10")));
  EXPECT_EQ(line_value("CURRENCYCODE").to_text(), "EUR");
  EXPECT_EQ(line_value("DISCOUNTPERC").to_double(), 12.34);
  EXPECT_EQ(line_value("PRICETAXPERCENTAGE").to_double(), 19) << "no field of the document names it";
  EXPECT_TRUE(line_value("DISCOUNTAMOUNT").is_null()) << "the check has created one without a value";
  EXPECT_EQ(line_value("GROUPBY"), Variant(""));
}

TEST_F(PriceUpload, LineOfAGroupIsNotFoundAndANewOneIsAddedBesideIt) {
  execute(
      {"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, PRICE) VALUES (1, "
       "'7/1/2026', 100, 'KEY', 5)"});
  upload_fields(fields_with());
  EXPECT_EQ(lines(), 2);
  EXPECT_EQ(line_value("PRICE", "GROUPBY = 'KEY'"), Variant(Currency::from_text("5")));
  EXPECT_EQ(line_value("PRICE", "GROUPBY IS NULL"), Variant(Currency::from_text("10")));
}

TEST_F(PriceUpload, SecondLineOfAKeyMeetsTheKeyOfTheTableUnlessTheFirstHasTheEmptyGroup) {
  expect_failure({error_number::kConstraintViolated, store().failure_source(),
                  "There is already a row with this key (" +
                      store().words("UNIQUE constraint failed: index "
                                    "'UQ_CATALOGPRODUCTPRICE_PRODUCTID_PRICEEFFECTIVEDATE_QUANTITYTO_GROUPBY'",
                                    "duplicate key value violates unique constraint "
                                    "\"UQ_CATALOGPRODUCTPRICE_PRODUCTID_PRICEEFFECTIVEDATE_QU_a2513aef\"") +
                      ")"},
                 {"InsertUpdatePrice"}, band("A-1", "100") + band("A-1", "100", {{"Price", "7"}}) + band("A-1", "200"),
                 Array{"A-1", "B-2"});
  EXPECT_EQ(quantities(), (std::vector<std::string>{"100"})) << "what was written stays";
  EXPECT_EQ(line_value("PRICE"), Variant(Currency::from_text("10")));

  execute({"DELETE FROM CATALOGPRODUCTPRICE"});
  upload_all(band("A-1", "100", {{"GROUPBY", ""}}) + band("A-1", "100", {{"Price", "7"}}), {"A-1"});
  EXPECT_EQ(lines(), 1);
  EXPECT_EQ(line_value("PRICE"), Variant(Currency::from_text("7")));
}

TEST_F(PriceUpload, BlankOrAbsentQuantityHasNoUpperEnd) {
  upload_fields(fields_with({{"QuantityTo", "<![CDATA[  ]]>"}}));
  upload_fields(fields_with({{"PriceEffectiveDate", "7/2/2026"}}, "QuantityTo"));
  EXPECT_EQ(quantities(), (std::vector<std::string>{"999999999", "999999999"}));
}

TEST_F(PriceUpload, QuantityInAnotherSpellingIsOverwrittenByTheDefault) {
  upload_fields(fields_with({{"QUANTITYTO", "50"}}, "QuantityTo"));
  EXPECT_EQ(quantities(), (std::vector<std::string>{"999999999"}));
}

TEST_F(PriceUpload, LineThatBreaksARuleIsPassedOverAndLeavesTheDocument) {
  Recorder recorder;
  upload_all(band("A-1", "100", {{"CurrencyCode", "XXX"}}) + band("A-1", "200") +
                 band("A-1", "300", {{"Price", "dear"}}) + band("A-1", "400", {{"PriceExpiryDate", "7/1/2026"}}) +
                 band("A-1", "many") + price("A-1", fields_with({{"PRICE", "1"}}, "Price")),
             {"A-1"});
  EXPECT_EQ(quantities(), (std::vector<std::string>{"200"}));
  EXPECT_EQ(recorder.log, std::vector<LogEntry>{});
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
}

TEST_F(PriceUpload, PercentageThatIsNoNumberEndsTheRun) {
  expect_failure({error_number::kTypeMismatch, "Mercato", "Type mismatch"}, {"getTypeAndRangeErrors"},
                 band("A-1", "100") + band("A-1", "200", {{"DiscountPerc", ""}}) + band("A-1", "300"), Array{"A-1"});
  EXPECT_EQ(quantities(), (std::vector<std::string>{"100"}));
}

TEST_F(PriceUpload, LineWithoutEffectiveDatePassesTheRulesAndIsRefusedByTheStore) {
  expect_failure({error_number::kConstraintViolated, store().failure_source(),
                  "CATALOGPRODUCTPRICE.PRICEEFFECTIVEDATE may not be Null (" +
                      store().words("NOT NULL constraint failed: CATALOGPRODUCTPRICE.PRICEEFFECTIVEDATE",
                                    "null value in column \"PRICEEFFECTIVEDATE\" of relation "
                                    "\"CATALOGPRODUCTPRICE\" violates not-null constraint") +
                      ")"},
                 {"InsertUpdatePrice"}, price("A-1", fields_without("PriceEffectiveDate")), Array{"A-1"});
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, FieldThatIsNoColumnEndsTheRun) {
  expect_failure({error_number::kNoSuchField, "Mercato",
                  "Item cannot be found in the collection corresponding to the requested name or ordinal: COLOUR"},
                 {"InsertUpdatePrice"}, band("A-1", "100", {{"Colour", "red"}}), Array{"A-1"});
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, ValueThatDoesNotFitItsColumnEndsTheRun) {
  expect_failure({error_number::kTypeMismatch, "Mercato", "Type mismatch"}, {"InsertUpdatePrice"},
                 band("A-1", "100", {{"ProductID", "many"}}), Array{"A-1"});
  expect_failure({error_number::kValueTooLong, store().failure_source(),
                  "The value is too long: column CATALOGPRODUCTPRICE.GROUPBY takes at most 50 characters"},
                 {"InsertUpdatePrice"}, band("A-1", "100", {{"GroupBy", repeated(51, 'g')}}), Array{"A-1"});
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, FieldThatStandsTwiceEndsTheRunBeforeTheFirstLineOfItsPartNumber) {
  expect_failure(
      {error_number::kDuplicateKey, "Mercato", "This key is already associated with an element of this collection"},
      {"readProductPriceFromXML2"}, band("A-1", "100") + price("A-1", fields_with() + "<Price>1</Price>"),
      Array{"A-1"});
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, FailureOfTheStoreKeepsWhatWasWrittenAndAnOlderFile) {
  MERCATO_ONLY_WITH_REFUSALS(store());
  leave_older_file();
  {
    const RefusedRows refused_rows(store(), {"INSERT", "CATALOGPRODUCTPRICE", "QUANTITYTO", "200"});
    list = Array{"A-1", "B-2"};
    raised_by([&] {
      upload.UpdateInsertPricesFromXML(
          "k/\\" + price_document(band("A-1", "100") + band("A-1", "200") + band("B-2", "300")), false, list);
    });
  }
  EXPECT_EQ(quantities(), (std::vector<std::string>{"100"}));
  EXPECT_EQ(list, (Array{"A-1", "B-2"}));
  EXPECT_EQ(read_whole(remaining_prices()), "old");
}

TEST_F(PriceUpload, FailureOfTheLookUpOfTheProductEndsTheRun) {
  list = Array{"A-1"};
  Recorder recorder;
  recorder.fail_on = "SELECT PRODUCTID";
  const RaisedError error =
      raised_by([&] { upload.UpdateInsertPricesFromXML("k/\\" + price_document(band("A-1", "1")), false, list); });
  EXPECT_EQ(error.Description, trail(refused_on_request(), {"Mercato.PriceXML.getProductNameOrID",
                                                            "Mercato.PriceXML.updateInsertPriceFromXMLFile2",
                                                            "Mercato.PriceXML.UpdateInsertPricesFromXML"})
                                   .raised.Description);
}

TEST_F(PriceUpload, WithoutCurrenciesTheFirstLineEndsTheRun) {
  PriceXML fresh;
  list = Array{"Z-9", "A-1"};
  Recorder recorder;
  const RaisedError error = raised_by([&] {
    fresh.UpdateInsertPricesFromXML("k/\\" + price_document(band("A-1", "100") + band("Z-9", "1")), false, list);
  });
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato",
             std::string(error_number::default_description(error_number::kObjectNotSet)), "", 0},
            {"Mercato.PriceXML.GetPriceRuleErrors", "Mercato.PriceXML.updateInsertPriceFromXMLFile2",
             "Mercato.PriceXML.UpdateInsertPricesFromXML"});
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, PartNumberWithAnApostropheIsLookedUpAndThenNotFoundInTheDocument) {
  add_product("O''Neil");
  Recorder recorder;
  expect_failure({error_number::kStoreFailure, "Mercato",
                  "The expression \"//ProductPrice[@buyfrompartnumber = 'O'Neil']\" cannot be evaluated: Expected ']' "
                  "to match an opening '['"},
                 {"getPriceNodes2", "readProductPriceFromXML2"}, band("O'Neil", "1"), Array{"O'Neil"});
  EXPECT_EQ(lines(), 0);
}

TEST_F(PriceUpload, ManyLinesThatThePreviewCannotCountAreUploaded) {
  constexpr int kLines = 32768;
  std::string many;
  for (int number = 1; number < kLines; ++number) many += price("A-1", "<Price>none</Price>");
  many += band("A-1", "5");
  EXPECT_EQ(raised_by([&] { upload.GetCheckedPriceList(price_document(many), false); }).Number,
            error_number::kOverflow);
  EXPECT_EQ(upload_all(many, {"A-1"}).size(), 1u);
  EXPECT_EQ(quantities(), (std::vector<std::string>{"5"}));
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
}

// The run.

TEST_F(PriceUpload, UnlistedAndUnknownPartNumbersRemain) {
  EXPECT_EQ(upload_all(band("A-1", "1") + band("Z-9", "1") + band("B-2", "1") + band("A-1", "2") + band("Z-9", "2"),
                       {"A-1", "Z-9"}),
            (std::vector<std::string>{"A-1", "Z-9"}));
  EXPECT_EQ(quantities(), (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(remaining({"A-1", "B-2", "Z-9"}), (std::vector<std::string>{"B-2 1", "Z-9 2"}));
}

TEST_F(PriceUpload, RemainingFileCanBeUploadedAgain) {
  upload_all(band("A-1", "1") + band("Z-9", "1"), {"A-1", "Z-9"});
  add_product("Z-9");
  PriceXML other;
  load_currencies(other);
  list = Array{"Z-9"};
  other.UpdateInsertPricesFromXML("k/\\" + remaining_prices().string(), true, list);
  EXPECT_EQ(lines(), 2);
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
}

TEST_F(PriceUpload, OlderFileIsDeletedWhenNothingRemains) {
  leave_older_file();
  upload_all(band("A-1", "1") + "<Other/>", {"A-1"});
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
}

TEST_F(PriceUpload, EntriesAreUsedAsTheyStand) {
  add_product(" C ");
  EXPECT_EQ(upload_all(band("A-1", "1") + band(" C ", "3"), {" A-1", " C "}),
            (std::vector<std::string>{" A-1", " C "}));
  EXPECT_EQ(quantities(), (std::vector<std::string>{"3"}));
  EXPECT_EQ(remaining({"A-1", " C "}), (std::vector<std::string>{"A-1 1"}));
}

TEST_F(PriceUpload, PartNumberThatIsListedTwiceOrHasNoLinesDoesNothing) {
  EXPECT_EQ(upload_all(band("A-1", "1") + "<Other/>", {"A-1", "A-1", "B-2"}),
            (std::vector<std::string>{"A-1", "A-1", "B-2"}));
  EXPECT_EQ(lines(), 1);
}

TEST_F(PriceUpload, EmptyListLeavesAllLines) {
  list = Array(std::vector<Variant>{}, 3);
  upload.UpdateInsertPricesFromXML("k/\\" + price_document(band("A-1", "1")), false, list);
  EXPECT_EQ(list, Array());
  EXPECT_EQ(remaining({"A-1"}), (std::vector<std::string>{"A-1 1"}));
}

TEST_F(PriceUpload, ListComesBackFromBoundZero) {
  list = Array({Variant("A-1")}, 7);
  upload.UpdateInsertPricesFromXML("k/\\" + price_document(band("A-1", "1") + band("B-2", "1")), false, list);
  EXPECT_EQ(list, Array{"A-1"});
}

TEST_F(PriceUpload, RunStopsBeforeTheEntryAtWhichTheBudgetIsUsedUp) {
  // Readings: the start, one before each part number; all lines of one are handled together.
  clock::script_clock(at(10, 0, 0), 60);
  const std::string three = band("A-1", "1") + band("A-1", "2") + band("B-2", "1") + band("Z-9", "1");
  EXPECT_EQ(upload_all(three, {"A-1", "Z-9", "B-2"}), (std::vector<std::string>{"A-1", "Z-9"}));
  EXPECT_EQ(quantities(), (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(remaining({"A-1", "B-2", "Z-9"}), (std::vector<std::string>{"B-2 1", "Z-9 1"}));
}

TEST_F(PriceUpload, RunThatCrossesMidnightDoesNotEndByTheBudget) {
  clock::script_clock(at(23, 59, 0), 90);
  EXPECT_EQ(upload_all(band("A-1", "1") + band("B-2", "1"), {"A-1", "B-2", "Z-9"}).size(), 3u);
}

TEST_F(PriceUpload, SourceWithoutMarkerAndBadKeysAreRefusedBeforeAnythingIsLoaded) {
  struct Case {
    std::string source;
    First expected;
  };
  const Case cases[] = {
      {price_document(band("A-1", "1")),
       {error_number::kInvalidArgument, "Mercato", "Invalid procedure call or argument"}},
      {"../up/\\" + price_document(band("A-1", "1")),
       {error_number::kPathFileAccess, "Mercato", "The file key \"../up\" contains a path separator"}}};
  for (const Case& one : cases) {
    Recorder recorder;
    list = Array{"A-1"};
    const RaisedError error = raised_by([&] { upload.UpdateInsertPricesFromXML(one.source, false, list); });
    const FailureTrail expected = trail({one.expected.number, one.expected.source, one.expected.words, "", 0},
                                        {"Mercato.PriceXML.UpdateInsertPricesFromXML"});
    EXPECT_EQ(error.Number, one.expected.number);
    EXPECT_EQ(error.Source, one.expected.source);
    EXPECT_EQ(error.Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{});
  }
}

TEST_F(PriceUpload, SourceThatCannotBeLoadedFailsAtTheListOfWhatIsLeft) {
  list = Array{"Z-9"};
  const RaisedError error = raised_by([&] { upload.UpdateInsertPricesFromXML("k/\\<broken", false, list); });
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(error.Description,
            trail({error_number::kObjectNotSet, "",
                   std::string(error_number::default_description(error_number::kObjectNotSet)), "", 0},
                  {"Mercato.PriceXML.getPriceNodeList2", "Mercato.PriceXML.UpdateInsertPricesFromXML"})
                .raised.Description);
}

// The first run's "nothing left" used to hold for the second one, which then deleted the older file and wrote none.
TEST_F(PriceUpload, SecondRunLooksAgainWhenTheFirstLeftNothing) {
  upload_all(band("A-1", "1"), {"A-1"});
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
  std::ofstream(remaining_prices()) << "old";
  upload_all(band("B-2", "1"), {});
  EXPECT_EQ(remaining({"A-1", "B-2"}), (std::vector<std::string>{"B-2 1"}));
}

TEST_F(PriceUpload, SecondRunWritesItsFileWhenTheFirstLeftLines) {
  PriceXML other;
  load_currencies(other);
  list = Array();
  other.UpdateInsertPricesFromXML("k/\\" + price_document(band("B-2", "1")), false, list);
  list = Array{"B-2"};
  other.UpdateInsertPricesFromXML("k/\\" + price_document(band("B-2", "1")), false, list);
  EXPECT_TRUE(std::filesystem::exists(remaining_prices())) << "one line was left of the first document";
  EXPECT_EQ(remaining({"B-2"}), std::vector<std::string>{});
}

TEST_F(PriceUpload, UploadIsCalledByNameAndUpdatesItsListInPlaceWithoutAVote) {
  const ComponentPtr object = create_root("Mercato.PriceXML");
  invoke(object, "GetCheckedPriceList", {"<P><ProductPrice/></P>", false});
  clock::script_clock(at(10, 0, 0), 100);
  std::vector<Variant> arguments{"k/\\" + price_document(band("A-1", "1") + band("B-2", "1")), false,
                                 Array{"A-1", "B-2", "C-3"}};
  invoke(object, "updateinsertpricesfromxml", arguments);
  EXPECT_EQ(arguments[2].to_array(), Array{"A-1"});
  EXPECT_EQ(object->context()->last_vote(), Vote::none);
  EXPECT_EQ(object->context()->outcome_of_last_call(), Outcome::none);
  EXPECT_EQ(lines(), 1);
}

// The preview and the upload on one document.

TEST_F(PriceUpload, LineWithABlankQuantityIsFlaggedByThePreviewAndUploaded) {
  const std::string text = price_document(band("A-1", ""));
  const auto checked = upload.GetCheckedPriceList(text, false);
  EXPECT_FALSE(checked->Item("A-1").to<Collection>()->Item(3).to_boolean());
  list = Array{"A-1"};
  upload.UpdateInsertPricesFromXML("k/\\" + text, false, list);
  EXPECT_EQ(quantities(), (std::vector<std::string>{"999999999"}));
}

TEST_F(PriceUpload, UploadedBandsAnswerThePriceOfAQuantity) {
  upload_all(
      band("A-1", "9", {{"Price", "10"}}) + band("A-1", "99", {{"Price", "9"}}) + band("A-1", "", {{"Price", "8"}}),
      {"A-1"});
  Product product;
  const auto price_of = [&](double quantity) {
    return product.getCatalogPriceAttributes(1, Date::from_civil({2026, 8, 1, 0, 0, 0}), "EUR", quantity)
        ->Item("PRICE")
        .to_text();
  };
  EXPECT_EQ(price_of(5), "10");
  EXPECT_EQ(price_of(50), "9");
  EXPECT_EQ(price_of(500), "8");
}

// What a document or a caller may say.

TEST_F(PriceUpload, HostileTextIsThatTextOrWritesNothing) {
  const auto before = all_rows();
  const std::vector<std::string> judged = {"CurrencyCode", "Price",           "DiscountAmount",    "QuantityTo",
                                           "FreightCost",  "PriceExpiryDate", "PriceEffectiveDate"};
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    // As a part number that is asked for, and as a judged value.
    EXPECT_EQ(upload_all(band("Z-9", "1"), {text}), (std::vector<std::string>{text}));
    for (const std::string& field : judged) {
      list = Array{"A-1"};
      try {
        upload.UpdateInsertPricesFromXML("k/\\" + price_document(price("A-1", fields_with({{field, escaped(text)}}))),
                                         false, list);
      } catch (const Raised& failure) {
        EXPECT_EQ(failure.error().Number, error_number::kObjectNotSet) << "a character that no document has";
      }
    }
    EXPECT_EQ(all_rows(), before);
    // As a value that no rule names.
    list = Array{"A-1"};
    try {
      upload.UpdateInsertPricesFromXML("k/\\" + price_document(band("A-1", "1", {{"GroupBy", escaped(text)}})), false,
                                       list);
      const auto written = rows("SELECT GROUPBY FROM CATALOGPRODUCTPRICE");
      if (!written.empty()) {
        // A document has one kind of line end.
        EXPECT_EQ(written, (std::vector<std::vector<Variant>>{{text::replace_all(text, "\r\n", "\n")}}));
      }
    } catch (const Raised& failure) {
      EXPECT_TRUE(failure.error().Number == error_number::kValueTooLong ||
                  failure.error().Number == error_number::kObjectNotSet)
          << failure.error().Description;
    }
    execute({"DELETE FROM CATALOGPRODUCTPRICE"});
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(PriceUpload, HostileTextAsASourceLoadsNothing) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    for (const bool is_url : {false, true}) {
      list = Array{"A-1"};
      EXPECT_NE(raised_by([&] { upload.UpdateInsertPricesFromXML(text, is_url, list); }).Number, 0);
      list = Array{"A-1"};
      EXPECT_NE(raised_by([&] { upload.UpdateInsertPricesFromXML("k/\\" + text, is_url, list); }).Number, 0);
    }
  }
  EXPECT_EQ(all_rows(), before);
  EXPECT_FALSE(std::filesystem::exists(remaining_prices()));
}

// The observer.

class PriceListener : public PriceUploadObserver {
 public:
  void on_start(std::size_t part_numbers) override { heard.push_back("start " + std::to_string(part_numbers)); }
  void on_price_line(const UploadPriceLine& line) override {
    static const char* const names[] = {"added", "changed", "left out", "failed"};
    std::string text =
        line.part_number + " " + std::to_string(line.number) + " " + names[static_cast<std::size_t>(line.outcome)];
    for (const UploadField& field : line.bad) text += "; " + field.field + "=" + field.value + ": " + field.reason;
    heard.push_back(text);
  }
  void on_part_number(const std::string& part_number, PartNumberOutcome outcome) override {
    static const char* const names[] = {"done", "no product", "failed"};
    heard.push_back(part_number + " " + names[static_cast<std::size_t>(outcome)]);
  }
  std::vector<std::string> heard;
};

TEST_F(PriceUpload, ObserverHearsOfEachLineAndEachPartNumber) {
  PriceListener listener;
  upload.set_observer(&listener);
  upload_all(band("A-1", "1", {{"GROUPBY", ""}}) + band("A-1", "1") + band("A-1", "many", {{"CurrencyCode", "XXX"}}) +
                 band("Z-9", "1"),
             {"A-1", "Z-9", "B-2"});
  EXPECT_EQ(listener.heard, (std::vector<std::string>{
                                "start 3", "A-1 1 added", "A-1 2 changed",
                                "A-1 3 left out; QuantityTo=many: not a number; CurrencyCode=XXX: no such currency",
                                "A-1 done", "Z-9 no product", "B-2 done"}));
}

TEST_F(PriceUpload, ObserverHearsTheReasonOfEachBadField) {
  PriceListener listener;
  upload.set_observer(&listener);
  upload_all(band("A-1", "1", {{"PriceExpiryDate", "7/1/2026"}, {"Price", "1"}, {"DiscountAmount", "1"}}) +
                 band("A-1", "1", {{"PriceExpiryDate", "never"}, {"DiscountPerc", "101"}}),
             {"A-1"});
  EXPECT_EQ(listener.heard,
            (std::vector<std::string>{
                "start 1",
                "A-1 1 left out; PriceEffectiveDate=7/1/2026: not before the expiry date; PriceExpiryDate=7/1/2026: "
                "not after the effective date; DiscountAmount=1: not below the price; Price=1: not above the discount",
                "A-1 2 left out; PriceExpiryDate=never: not a date; DiscountPerc=101: not from 0 to 100", "A-1 done"}));
}

TEST_F(PriceUpload, ObserverHearsOfTheLineThatFailsTheRun) {
  PriceListener listener;
  upload.set_observer(&listener);
  list = Array{"A-1", "B-2"};
  raised_by([&] {
    upload.UpdateInsertPricesFromXML(
        "k/\\" + price_document(band("A-1", "1") + band("A-1", "2", {{"Colour", "red"}}) + band("A-1", "3")), false,
        list);
  });
  EXPECT_EQ(listener.heard, (std::vector<std::string>{"start 2", "A-1 1 added", "A-1 2 failed", "A-1 failed"}));
}

// Cancels when it has heard of so many part numbers.
class CancellingPriceListener : public PriceListener {
 public:
  explicit CancellingPriceListener(std::size_t part_numbers) : part_numbers_(part_numbers) {}
  void on_part_number(const std::string& part_number, PartNumberOutcome outcome) override {
    PriceListener::on_part_number(part_number, outcome);
    ++heard_;
  }
  bool cancels() override { return heard_ == part_numbers_; }

 private:
  const std::size_t part_numbers_;
  std::size_t heard_ = 0;
};

TEST_F(PriceUpload, RunThatItsObserverCancelsEndsBeforeTheNextPartNumberAsIfItsTimeWereUp) {
  CancellingPriceListener impatient(1);
  upload.set_observer(&impatient);
  const std::string three = band("A-1", "1") + band("B-2", "1") + band("A-1", "2") + band("Z-9", "1");
  EXPECT_EQ(upload_all(three, {"A-1", "B-2", "Z-9"}), (std::vector<std::string>{"A-1"}));
  EXPECT_EQ(impatient.heard, (std::vector<std::string>{"start 3", "A-1 1 added", "A-1 2 added", "A-1 done"}))
      << "the lines of a part number are done together";
  EXPECT_EQ(quantities(), (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(remaining({"A-1", "B-2", "Z-9"}), (std::vector<std::string>{"B-2 1", "Z-9 1"}));

  upload.set_observer(nullptr);
  list = Array{"B-2"};
  upload.UpdateInsertPricesFromXML("k/\\" + remaining_prices().string(), true, list);
  EXPECT_EQ(lines(), 3) << "the remaining file finishes the job";
}

TEST_F(PriceUpload, RunThatIsCancelledBeforeItsFirstPartNumberLeavesEverything) {
  CancellingPriceListener impatient(0);
  upload.set_observer(&impatient);
  EXPECT_EQ(upload_all(band("A-1", "1") + band("B-2", "1"), {"A-1", "B-2"}), std::vector<std::string>{});
  EXPECT_EQ(impatient.heard, (std::vector<std::string>{"start 2"}));
  EXPECT_EQ(lines(), 0);
  EXPECT_EQ(remaining({"A-1", "B-2"}), (std::vector<std::string>{"A-1 1", "B-2 1"}));
}

TEST_F(PriceUpload, ObserverChangesNothingAndIsNotHeardWhenItThrows) {
  class Rude : public PriceUploadObserver {
   public:
    void on_start(std::size_t) override { throw 1; }
    void on_price_line(const UploadPriceLine&) override { throw std::string("no"); }
    void on_part_number(const std::string&, PartNumberOutcome) override { throw 2; }
    bool cancels() override { throw 3; }
  } rude;
  const std::string document = band("A-1", "1") + band("A-1", "many") + band("B-2", "1");
  Statements watched;
  Statements unwatched;
  for (Statements* statements : {&watched, &unwatched}) {
    execute({"DELETE FROM CATALOGPRODUCTPRICE"});
    PriceXML object;
    load_currencies(object);
    if (statements == &watched) object.set_observer(&rude);
    list = Array{"A-1", "B-2"};
    Recorder recorder;
    object.UpdateInsertPricesFromXML("k/\\" + price_document(document), false, list);
    *statements = recorder.statements;
    EXPECT_EQ(lines(), 2);
  }
  EXPECT_EQ(watched, unwatched);
}

// What a dying process leaves.

TEST_F(PriceUpload, UploadThatDiesAtAnyStatementLeavesWholeLines) {
  constexpr int kLines = 150;
  std::string many;
  for (int number = 1; number <= kLines; ++number)
    many += band(number % 2 ? "A-1" : "B-2", std::to_string(number), {{"GROUPBY", ""}});
  const auto upload_many = [&] {
    PriceXML object;
    load_currencies(object);
    Array part_numbers{"A-1", "B-2"};
    object.UpdateInsertPricesFromXML("k/\\" + price_document(many), false, part_numbers);
  };
  std::mt19937 random(20260703);
  std::int32_t last = 0;
  for (int round = 0; round < 5; ++round) {
    const unsigned statement = 1 + static_cast<unsigned>(random() % kLines);
    SCOPED_TRACE("dies at statement " + std::to_string(statement));
    const int status = in_another_process([&] {
      DeathAtAStatement death(statement);
      store::set_statement_observer(&death);
      upload_many();
    });
    EXPECT_TRUE(WIFSIGNALED(status)) << "the upload has fewer statements";
    if (store().file()) {
      EXPECT_EQ(store::test::integrity_of(store_path()), "ok");
    }
    EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOGPRODUCTPRICE WHERE PRICE <> 10 OR CURRENCYCODE <> 'EUR'").to_long(),
              0);
    EXPECT_GE(lines(), last) << "what was in the store stays";
    last = lines();
  }
  upload_many();
  EXPECT_EQ(lines(), kLines) << "a new run finishes the job";
}

}  // namespace
}  // namespace mercato::test
