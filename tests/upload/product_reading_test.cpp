// SPDX-License-Identifier: Apache-2.0
#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

using ProductReading = UploadTest;

std::vector<std::string> texts_of(const CollectionPtr& collection) {
  std::vector<std::string> texts;
  for (std::int32_t position = 1; position <= collection->Count(); ++position)
    texts.push_back(collection->Item(position).to_text());
  return texts;
}

TEST_F(ProductReading, RecordsAreFoundAtAnyDepthByExactNameInDocumentOrder) {
  ProductXML upload;
  EXPECT_EQ(texts_of(upload.readBFPartNumbersFromXML(fixture("records-at-any-depth"), false)),
            (std::vector<std::string>{"A-1", "a-1"}));
}

TEST_F(ProductReading, DocumentWithoutRecordsGivesAnEmptyCollection) {
  ProductXML upload;
  EXPECT_EQ(upload.readBFPartNumbersFromXML("<PRODUCTS/>", false)->Count(), 0);
}

TEST_F(ProductReading, FieldsAreUpperCasedTypedValuesAndARepeatedOneKeepsItsPlaceAndItsLastValue) {
  ProductXML upload;
  EXPECT_EQ(fields_of(upload.readOneProductFromXML(fixture("records-at-any-depth"), false, "A-1")),
            (Fields{{"PARTNUMBER", "last"}, {"COLOUR", "red and blue"}, {"EMPTY", ""}}));
}

TEST_F(ProductReading, PartNumbersAreComparedExactly) {
  ProductXML upload;
  EXPECT_EQ(fields_of(upload.readOneProductFromXML(fixture("records-at-any-depth"), false, "a-1")),
            (Fields{{"PARTNUMBER", "another"}}));
}

TEST_F(ProductReading, DocumentIsReadByItsPath) {
  ProductXML upload;
  EXPECT_EQ(texts_of(upload.readBFPartNumbersFromXML(fixture_path("records-at-any-depth"), true)),
            (std::vector<std::string>{"A-1", "a-1"}));
}

TEST_F(ProductReading, RecordWithoutChildrenIsLeftOutOfTheListAndReadsAsAnEmptyDictionary) {
  ProductXML upload;
  EXPECT_EQ(texts_of(upload.readBFPartNumbersFromXML(fixture("record-without-children"), false)),
            (std::vector<std::string>{"A-1"}));
  EXPECT_EQ(upload.readOneProductFromXML(fixture("record-without-children"), false, "B-2")->Count(), 0);
}

TEST_F(ProductReading, PartNumberThatTheDocumentLacksReadsAsAnEmptyDictionary) {
  ProductXML upload;
  EXPECT_EQ(upload.readOneProductFromXML(fixture("record-without-children"), false, "Z-9")->Count(), 0);
}

TEST_F(ProductReading, OfTwoRecordsOfOnePartNumberBothAreListedAndTheFirstIsRead) {
  ProductXML upload;
  const std::string text = fixture("two-records-of-one-part-number");
  EXPECT_EQ(texts_of(upload.readBFPartNumbersFromXML(text, false)), (std::vector<std::string>{"A-1", "A-1"}));
  EXPECT_EQ(fields_of(upload.readOneProductFromXML(text, false, "A-1")),
            (Fields{{"UNITCODE", "PC"}, {"PRODUCTDESCRIPTION", "First"}, {"PARTNUMBER", "A1"}}));
}

TEST_F(ProductReading, GtinIsFilledUpWithZerosUnlessItIsEmptyOrLongEnough) {
  ProductXML upload;
  const auto gtin_of = [&](const std::string& gtin) {
    return upload.readOneProductFromXML(document(record("A-1", "<Gtin>" + gtin + "</Gtin>")), false, "A-1")
        ->Item("GTIN")
        .to_text();
  };
  EXPECT_EQ(gtin_of("123"), "00000000000123");
  EXPECT_EQ(gtin_of(""), "");
  EXPECT_EQ(gtin_of("12345678901234"), "12345678901234");
  EXPECT_EQ(gtin_of("123456789012345"), "123456789012345");
}

TEST_F(ProductReading, UnitInAnyCaseIsReadAsUnitcode) {
  ProductXML upload;
  EXPECT_EQ(fields_of(upload.readOneProductFromXML(fixture("names-in-mixed-case"), false, "A-1")),
            (Fields{{"UNITCODE", "PC"}, {"PRODUCTDESCRIPTION", "Pen"}, {"PARTNUMBER", "A1"}}));
}

TEST_F(ProductReading, SeparatorElementBecomesTheSeparatorAndStaysAField) {
  ProductXML upload;
  const auto values = upload.readOneProductFromXML(
      document(record("A-1", "<MultipleBuyerSeparator>,</MultipleBuyerSeparator>")), false, "A-1");
  EXPECT_EQ(fields_of(values), (Fields{{"MULTIPLEBUYERSEPARATOR", ","}}));
  EXPECT_EQ(upload.MultipleBuyerSeparator(), ",");
}

TEST_F(ProductReading, PartNumberWithAnApostropheIsReadByThePlainReader) {
  ProductXML upload;
  EXPECT_EQ(upload.readOneProductFromXML(fixture("apostrophe-in-part-number"), false, "O'Neil")->Count(), 3);
}

TEST_F(ProductReading, DocumentThatIsNotWellFormedCannotBeLoaded) {
  ProductXML upload;
  Recorder recorder;
  const RaisedError error = raised_by([&] { upload.readOneProductFromXML(fixture("not-well-formed"), false, "A-1"); });
  const FailureTrail expected =
      trail({eUnableToLoadXML, "Mercato.ProductXML.getProductNodeList", "Unable to load XML", "", 0},
            {"Mercato.ProductXML.getProductNodeList", "Mercato.ProductXML.readOneProductFromXML"});
  EXPECT_EQ(error.Number, eUnableToLoadXML);
  EXPECT_EQ(error.Source, "Mercato.ProductXML.getProductNodeList");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductReading, FileThatIsNotThereCannotBeLoaded) {
  ProductXML upload;
  const RaisedError error = raised_by([&] { upload.readBFPartNumbersFromXML((folder() / "no.xml").string(), true); });
  EXPECT_EQ(error.Number, eUnableToLoadXML);
  EXPECT_EQ(error.Description,
            trail({eUnableToLoadXML, "", "Unable to load XML", "", 0},
                  {"Mercato.ProductXML.getProductNodeList", "Mercato.ProductXML.readBFPartNumbersFromXML"})
                .raised.Description);
}

TEST_F(ProductReading, RecordWithoutPartNumberFailsTheListAndTheSearchBehindIt) {
  ProductXML upload;
  Recorder recorder;
  const std::string text = fixture("missing-part-number");
  EXPECT_EQ(upload.readOneProductFromXML(text, false, "A-1")->Count(), 1);

  RaisedError error = raised_by([&] { upload.readBFPartNumbersFromXML(text, false); });
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  const std::string not_set(error_number::default_description(error_number::kObjectNotSet));
  EXPECT_EQ(error.Description, trail({error_number::kObjectNotSet, "Mercato", not_set, "", 0},
                                     {"Mercato.ProductXML.readBFPartNumbersFromXML"})
                                   .raised.Description);

  recorder.log.clear();
  error = raised_by([&] { upload.readOneProductFromXML(text, false, "C-3"); });
  const FailureTrail expected =
      trail({error_number::kObjectNotSet, "Mercato", not_set, "", 0},
            {"Mercato.ProductXML.getProductNodes", "Mercato.ProductXML.readOneProductFromXML"});
  EXPECT_EQ(error.Number, error_number::kObjectNotSet);
  EXPECT_EQ(error.Source, "Mercato");
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(ProductReading, ReadersTouchNoStore) {
  ProductXML upload;
  Recorder recorder;
  upload.readBFPartNumbersFromXML(fixture("all-fields"), false);
  upload.readOneProductFromXML(fixture("all-fields"), false, "A-1");
  EXPECT_EQ(recorder.statements, Statements{});
}

}  // namespace
}  // namespace mercato::test
