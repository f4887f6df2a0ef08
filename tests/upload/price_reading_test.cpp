// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "tests/upload/price_fixture.h"

namespace mercato::test {
namespace {

using PriceReading = PriceTest;
using Lines = std::vector<std::pair<std::string, Fields>>;

Lines lines_of(const DictionaryPtr& prices) {
  Lines lines;
  prices->for_each([&](const Variant& key, const Variant& price) {
    lines.emplace_back(key.to_text(), fields_of(price.to<Dictionary>()));
  });
  return lines;
}

TEST_F(PriceReading, LinesAreFoundAtAnyDepthByExactNameAndNumberedInDocumentOrder) {
  PriceXML upload;
  const Lines expected = {
      {"PRICE 1", {{"Price", "1 and a half"}, {"ProductPrice", "2"}, {"Group", "5noneanother"}}},
      {"PRICE 2", {{"Price", ""}, {"quantityto", "5"}}},
      {"PRICE 3", {}},
  };
  EXPECT_EQ(lines_of(upload.readProductPriceFromXML(fixture("prices-at-any-depth"), false, "A-1")), expected);
}

TEST_F(PriceReading, FieldNamesAndPartNumbersAreTakenAsTheyAreWritten) {
  PriceXML upload;
  EXPECT_EQ(lines_of(upload.readProductPriceFromXML(fixture("prices-at-any-depth"), false, "a-1")),
            (Lines{{"PRICE 1", {{"Price", "another"}}}}));
  EXPECT_EQ(lines_of(upload.readProductPriceFromXML(fixture_path("price-all-fields"), true, "A-1")),
            (Lines{{"PRICE 1",
                    {{"CurrencyCode", "EUR"},
                     {"Price", "10.25"},
                     {"DiscountAmount", "0.5"},
                     {"QuantityTo", "100"},
                     {"PriceEffectiveDate", "7/1/2026"},
                     {"PriceExpiryDate", "12/31/2026"},
                     {"FREIGHTCOST", "3"},
                     {"DiscountPerc", "12.345"},
                     {"pricetaxpercentage", "19.999"},
                     {"GroupBy", "KEY"}}}}));
}

TEST_F(PriceReading, TwoLinesOfOnePartNumberAreNumberedInDocumentOrder) {
  PriceXML upload;
  const std::string text = price_document(price("A-1", "<Price>1</Price>") + price("B-2", "<Price>2</Price>") +
                                          price("A-1", "<Price>3</Price>"));
  EXPECT_EQ(lines_of(upload.readProductPriceFromXML(text, false, "A-1")),
            (Lines{{"PRICE 1", {{"Price", "1"}}}, {"PRICE 2", {{"Price", "3"}}}}));
}

TEST_F(PriceReading, PartNumberThatTheDocumentLacksReadsAsAnEmptyDictionary) {
  PriceXML upload;
  EXPECT_EQ(upload.readProductPriceFromXML(fixture("price-all-fields"), false, "Z-9")->Count(), 0);
  EXPECT_EQ(upload.readProductPriceFromXML("<P/>", false, "")->Count(), 0);
}

TEST_F(PriceReading, PartNumberWithAnApostropheIsReadByThePlainReader) {
  PriceXML upload;
  EXPECT_EQ(lines_of(upload.readProductPriceFromXML(price("O'Neil", "<Price>1</Price>"), false, "O'Neil")),
            (Lines{{"PRICE 1", {{"Price", "1"}}}}));
}

TEST_F(PriceReading, FieldThatStandsTwiceInALineFailsTheReader) {
  PriceXML upload;
  Recorder recorder;
  const std::string text = price_document(price("A-1", "<Price>1</Price><price>2</price><Price>3</Price>"));
  const RaisedError error = raised_by([&] { upload.readProductPriceFromXML(text, false, "A-1"); });
  const FailureTrail expected =
      trail({error_number::kDuplicateKey, "Mercato",
             std::string(error_number::default_description(error_number::kDuplicateKey)), "", 0},
            {"Mercato.PriceXML.readProductPriceFromXML"});
  EXPECT_EQ(error.Number, error_number::kDuplicateKey);
  EXPECT_EQ(error.Source, "Mercato");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(PriceReading, LineWithoutPartNumberFailsTheSearchWhereverItStands) {
  PriceXML upload;
  Recorder recorder;
  const std::string text = price_document(price("A-1", "<Price>1</Price>") + "<ProductPrice/>");
  const RaisedError error = raised_by([&] { upload.readProductPriceFromXML(text, false, "A-1"); });
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato",
             std::string(error_number::default_description(error_number::kObjectNotSet)), "", 0},
            {"Mercato.PriceXML.getPriceNodes", "Mercato.PriceXML.readProductPriceFromXML"});
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(PriceReading, DocumentThatCannotBeLoadedIsRefusedByAllPlainReaders) {
  PriceXML upload;
  struct Case {
    std::string method;
    std::function<void()> call;
  };
  const std::string broken = "<ProductPrices><ProductPrice>";
  const Case cases[] = {
      {"readProductPriceFromXML", [&] { upload.readProductPriceFromXML(broken, false, "A-1"); }},
      {"GetCheckedPriceList", [&] { upload.GetCheckedPriceList((folder() / "no.xml").string(), true); }},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.method);
    Recorder recorder;
    const RaisedError error = raised_by(one.call);
    const FailureTrail expected =
        trail({eUnableToLoadXML, "Mercato.PriceXML.getPriceNodeList", "Unable to load XML", "", 0},
              {"Mercato.PriceXML.getPriceNodeList", "Mercato.PriceXML." + one.method});
    EXPECT_EQ(error.Number, eUnableToLoadXML);
    EXPECT_EQ(error.Source, "Mercato.PriceXML.getPriceNodeList");
    EXPECT_EQ(error.Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
  }
  const RaisedError error = raised_by([&] { upload.GetErrorsInPriceValues(broken, false, "A-1"); });
  EXPECT_EQ(error.Description, trail({eUnableToLoadXML, "", "Unable to load XML", "", 0},
                                     {"Mercato.PriceXML.getPriceNodeList", "Mercato.PriceXML.readProductPriceFromXML",
                                      "Mercato.PriceXML.GetErrorsInPriceValues"})
                                   .raised.Description);
}

TEST_F(PriceReading, ReaderTouchesNoStore) {
  PriceXML upload;
  Recorder recorder;
  upload.readProductPriceFromXML(fixture("price-all-fields"), false, "A-1");
  EXPECT_EQ(recorder.statements, Statements{});
  EXPECT_EQ(recorder.calls, std::vector<ComponentCall>{});
}

}  // namespace
}  // namespace mercato::test
