// SPDX-License-Identifier: Apache-2.0
#include "upload/price_validation.h"

#include "mercato/object_context.h"
#include "mercato/registry.h"
#include "tests/support/hostile_texts.h"
#include "tests/upload/price_fixture.h"

namespace mercato::test {
namespace {

class PriceValidation : public PriceTest {
 protected:
  // What is wrong with one line of these fields.
  Fields errors_of(const std::string& fields) {
    load_currencies(upload);
    const auto errors = upload.GetErrorsInPriceValues(price_document(price("A-1", fields)), false, "A-1");
    EXPECT_EQ(errors->Count(), 1);
    return fields_of(errors->Item("PRICE 1").to<Dictionary>());
  }
  using Entries = std::vector<std::vector<std::string>>;
  Entries checked(const std::string& lines) { return checked_document(price_document(lines)); }
  Entries checked_document(const std::string& text) {
    Entries entries;
    upload.GetCheckedPriceList(text, false)->for_each([&](const Variant& key, const Variant& one) {
      const auto entry = one.to<Collection>();
      EXPECT_EQ(entry->Count(), 3);
      EXPECT_EQ(entry->Item(1), key);
      entries.push_back({key.to_text(), entry->Item(2).to_text(), entry->Item(3).to_boolean() ? "valid" : "invalid"});
    });
    return entries;
  }
  // Fails through these methods, the innermost first.
  template <class Call>
  void expect_failure(std::int32_t number, const std::vector<std::string>& methods, Call call) {
    Recorder recorder;
    const RaisedError error = raised_by(call);
    std::vector<Level> labels;
    for (const std::string& method : methods) labels.push_back("Mercato.PriceXML." + method);
    const FailureTrail expected =
        trail({number, "Mercato", std::string(error_number::default_description(number)), "", 0}, labels);
    EXPECT_EQ(error.Number, number);
    EXPECT_EQ(error.Source, "Mercato");
    EXPECT_EQ(error.Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
  }

  PriceXML upload;
};

// The errors of a line.

TEST_F(PriceValidation, GoodLineHasNoErrors) {
  EXPECT_EQ(errors_of(fields_with()), Fields{});
  load_currencies(upload);
  const auto errors = upload.GetErrorsInPriceValues(fixture("price-all-fields"), false, "A-1");
  EXPECT_EQ(fields_of(errors->Item("PRICE 1").to<Dictionary>()), Fields{});
}

TEST_F(PriceValidation, EachRuleReportsItsFieldAsItIsWritten) {
  struct Case {
    std::string field;
    std::vector<std::string> good;
    std::vector<std::string> bad;
  };
  const Case cases[] = {
      {"DiscountAmount", {"9.99", "0", "-1"}, {"some", "", "1,2,x"}},
      {"Price", {"1E1", "0.01"}, {"dear", "", "10 EUR"}},
      {"QuantityTo", {"100", "0", "-5", "1E3"}, {"many", ""}},
      {"FreightCost", {"3", "-3"}, {"heavy", ""}},
      {"FREIGHTCOST", {"3"}, {"heavy"}},
      {"freightCost", {"3"}, {"heavy"}},
      {"DiscountPerc", {"0", "100", "12.5"}, {"100.01", "-0.01", "1E3"}},
      {"DISCOUNTPERC", {"0", "100"}, {"101"}},
      {"PriceTaxPercentage", {"0", "100", "19"}, {"100.01", "-0.01"}},
      {"pricetaxpercentage", {"100"}, {"100.5"}},
      {"PriceEffectiveDate", {"1/31/2026"}, {"soon", "", "2/30/2026", "13/13/2026"}},
      {"PriceExpiryDate", {"7/2/2026"}, {"soon", "", "2/30/2027"}},
      {"CurrencyCode", {"EUR", "USD"}, {"XXX", "", "eur", " EUR"}},
      {"GroupBy", {"", "KEY"}, {}},
      {"AnythingElse", {"", "at all"}, {}},
  };
  for (const Case& row : cases) {
    for (const std::string& value : row.good)
      EXPECT_EQ(errors_of(fields_with({{row.field, value}})), Fields{}) << row.field << " " << value;
    for (const std::string& value : row.bad)
      EXPECT_EQ(errors_of(fields_with({{row.field, value}})), (Fields{{row.field, value}})) << row.field;
  }
}

// Before the zero date a later time of a day is a smaller number, so that such dates compared backwards.
TEST_F(PriceValidation, DatesBeforeTheZeroDateCompareByTheirTimesToo) {
  const auto errors_between = [&](const std::string& effective, const std::string& expiry) {
    return errors_of(fields_with({{"PriceEffectiveDate", effective}, {"PriceExpiryDate", expiry}}));
  };
  EXPECT_EQ(errors_between("12/29/1899 6:00:00 AM", "12/29/1899 6:00:00 PM"), Fields{});
  EXPECT_EQ(errors_between("12/29/1899 6:00:00 PM", "12/29/1899 6:00:00 AM"),
            (Fields{{"PriceEffectiveDate", "12/29/1899 6:00:00 PM"}, {"PriceExpiryDate", "12/29/1899 6:00:00 AM"}}));
  EXPECT_EQ(errors_between("12/29/1899 6:00:00 PM", "12/30/1899 6:00:00 AM"), Fields{});
}

TEST_F(PriceValidation, ExpiryHasToBeLaterThanTheEffectiveDate) {
  const auto errors_with_expiry = [&](const std::string& date) {
    return errors_of(fields_with({{"PriceExpiryDate", date}}));
  };
  EXPECT_EQ(errors_with_expiry("7/1/2026"),
            (Fields{{"PriceEffectiveDate", "7/1/2026"}, {"PriceExpiryDate", "7/1/2026"}}));
  EXPECT_EQ(errors_with_expiry("6/30/2026"),
            (Fields{{"PriceEffectiveDate", "7/1/2026"}, {"PriceExpiryDate", "6/30/2026"}}));
  EXPECT_EQ(errors_with_expiry("7/2/2026"), Fields{});
}

TEST_F(PriceValidation, MissingDateCountsAsTheZeroDate) {
  EXPECT_EQ(errors_of(fields_without("PriceExpiryDate")),
            (Fields{{"PriceEffectiveDate", "7/1/2026"}, {"PriceExpiryDate", ""}}));
  EXPECT_EQ(errors_of("<CurrencyCode>EUR</CurrencyCode><Price>1</Price>"),
            (Fields{{"PriceEffectiveDate", ""}, {"PriceExpiryDate", ""}}));
  EXPECT_EQ(errors_of(fields_without("PriceEffectiveDate")), Fields{}) << "any expiry is later than that";
}

TEST_F(PriceValidation, PriceHasToBeAboveTheDiscount) {
  const auto errors_with = [&](const std::string& amount, const std::string& discount) {
    return errors_of(fields_with({{"Price", amount}, {"DiscountAmount", discount}}));
  };
  EXPECT_EQ(errors_with("10", "10"), (Fields{{"DiscountAmount", "10"}, {"Price", "10"}}));
  EXPECT_EQ(errors_with("10", "10.01"), (Fields{{"DiscountAmount", "10.01"}, {"Price", "10"}}));
  EXPECT_EQ(errors_with("10", "9.99"), Fields{});
  EXPECT_EQ(errors_of(fields_with({{"Price", "0"}})), (Fields{{"DiscountAmount", ""}, {"Price", "0"}}));
  EXPECT_EQ(errors_of(fields_without("Price")), (Fields{{"DiscountAmount", ""}, {"Price", ""}}));
}

TEST_F(PriceValidation, BadDateLeavesOutTheComparisonOfDates) {
  EXPECT_EQ(errors_of(fields_with({{"PriceExpiryDate", "never"}, {"PriceEffectiveDate", "7/1/2026"}})),
            (Fields{{"PriceExpiryDate", "never"}}));
  EXPECT_EQ(errors_of(fields_with({{"PriceExpiryDate", "1/1/2020"}, {"PRICEEFFECTIVEDATE", "soon"}})),
            (Fields{{"PRICEEFFECTIVEDATE", "soon"}}))
      << "also one in another spelling";
}

TEST_F(PriceValidation, BadNumberLeavesOutTheComparisonOfPriceAndDiscountUnlessItIsTheFreight) {
  const Fields dear = {{"Price", "1"}, {"DiscountAmount", "5"}};
  const auto errors_with = [&](const std::string& field, const std::string& value) {
    Fields changes = dear;
    changes.emplace_back(field, value);
    return errors_of(fields_with(changes));
  };
  EXPECT_EQ(errors_with("Price", "dear"), (Fields{{"Price", "dear"}}));
  EXPECT_EQ(errors_with("QuantityTo", "many"), (Fields{{"QuantityTo", "many"}}));
  EXPECT_EQ(errors_with("FreightCost", "heavy"),
            (Fields{{"FreightCost", "heavy"}, {"DiscountAmount", "5"}, {"Price", "1"}}));
  EXPECT_EQ(errors_with("DiscountPerc", "101"),
            (Fields{{"DiscountPerc", "101"}, {"DiscountAmount", "5"}, {"Price", "1"}}));
}

TEST_F(PriceValidation, FieldInAnotherSpellingIsJudgedAndMissedByTheComparisons) {
  EXPECT_EQ(errors_of(fields_with({{"PRICE", "10"}}, "Price")), (Fields{{"DiscountAmount", ""}, {"Price", ""}}));
  EXPECT_EQ(errors_of(fields_with({{"PRICE", "dear"}}, "Price")), (Fields{{"PRICE", "dear"}}));
  EXPECT_EQ(errors_of(fields_with({{"priceexpirydate", "12/31/2026"}}, "PriceExpiryDate")),
            (Fields{{"PriceEffectiveDate", "7/1/2026"}, {"PriceExpiryDate", ""}}));
  EXPECT_EQ(errors_of(fields_with({{"DISCOUNTAMOUNT", "99"}})), Fields{}) << "an empty discount is compared";
  EXPECT_EQ(errors_of(fields_with({{"CURRENCYCODE", "EUR"}}, "CurrencyCode")), (Fields{{"CurrencyCode", ""}}));
}

TEST_F(PriceValidation, CurrencyComesFirstWhateverItsPlace) {
  EXPECT_EQ(errors_of("<Price>dear</Price><CurrencyCode>XXX</CurrencyCode>"),
            (Fields{{"CurrencyCode", "XXX"}, {"Price", "dear"}, {"PriceEffectiveDate", ""}, {"PriceExpiryDate", ""}}));
}

TEST_F(PriceValidation, ErrorsOfSeveralLinesStandUnderTheirNumbers) {
  load_currencies(upload);
  const auto errors = upload.GetErrorsInPriceValues(
      price_document(band("A-1", "10") + band("B-2", "x") + band("A-1", "many") + band("A-1", "30")), false, "A-1");
  EXPECT_EQ(errors->Keys(), (Array{"PRICE 1", "PRICE 2", "PRICE 3"}));
  EXPECT_EQ(fields_of(errors->Item("PRICE 1").to<Dictionary>()), Fields{});
  EXPECT_EQ(fields_of(errors->Item("PRICE 2").to<Dictionary>()), (Fields{{"QuantityTo", "many"}}));
  EXPECT_EQ(fields_of(errors->Item("PRICE 3").to<Dictionary>()), Fields{});
  EXPECT_EQ(upload.GetErrorsInPriceValues(price_document(""), false, "A-1")->Count(), 0);
}

TEST_F(PriceValidation, PercentageThatIsNoNumberFailsTheCall) {
  load_currencies(upload);
  for (const char* field : {"DiscountPerc", "PriceTaxPercentage", "PRICETAXPERCENTAGE"}) {
    for (const char* text : {"", "some"}) {
      SCOPED_TRACE(field);
      const std::string line = price_document(price("A-1", fields_with({{field, text}})));
      expect_failure(error_number::kTypeMismatch, {"getTypeAndRangeErrors", "getErrorFields", "GetErrorsInPriceValues"},
                     [&] { upload.GetErrorsInPriceValues(line, false, "A-1"); });
      expect_failure(error_number::kTypeMismatch, {"getTypeAndRangeErrors", "GetCheckedPriceList"},
                     [&] { upload.GetCheckedPriceList(line, false); });
    }
  }
}

TEST_F(PriceValidation, WithoutCurrenciesTheFirstLineFails) {
  const std::string line = price_document(price("A-1", fields_with()));
  expect_failure(error_number::kObjectNotSet, {"GetPriceRuleErrors", "getErrorFields", "GetErrorsInPriceValues"},
                 [&] { upload.GetErrorsInPriceValues(line, false, "A-1"); });
  EXPECT_EQ(upload.GetErrorsInPriceValues(line, false, "Z-9")->Count(), 0) << "nothing is judged";
}

TEST_F(PriceValidation, CurrenciesStayForTheLifeOfTheObject) {
  load_currencies(upload);
  execute({"INSERT CURRENCY (CURRENCYCODE) VALUES ('GBP')"});
  const std::string line = price_document(price("A-1", fields_with({{"CurrencyCode", "GBP"}})));
  const auto errors = [&] {
    return fields_of(upload.GetErrorsInPriceValues(line, false, "A-1")->Item("PRICE 1").to<Dictionary>());
  };
  EXPECT_EQ(errors(), (Fields{{"CurrencyCode", "GBP"}}));
  EXPECT_EQ(checked("").size(), 0u);
  EXPECT_EQ(errors(), (Fields{{"CurrencyCode", "GBP"}})) << "a document without lines loads nothing";
  load_currencies(upload);
  EXPECT_EQ(errors(), Fields{});
}

// What a judgement would fail at, asked beforehand.

TEST_F(PriceValidation, RecordThatCannotBeJudgedIsToldWithItsFieldAndTheReason) {
  const auto reason_against = [](const std::string& lines) {
    xml::Document parsed;
    EXPECT_TRUE(parsed.load_text(price_document(lines)));
    const xml::NodeList records = parsed.elements_by_tag_name("ProductPrice");
    const auto reason = upload::reason_not_judged(records.item(records.size() - 1));
    return reason ? reason->field + "|" + reason->value + "|" + reason->reason : "none";
  };
  EXPECT_EQ(reason_against(price("A-1", fields_with())), "none");
  EXPECT_EQ(reason_against(price("A-1", "")), "none");
  EXPECT_EQ(reason_against(price("A-1", fields_with({{"Price", "dear"}}))), "none") << "a finding, and no failure";
  EXPECT_EQ(reason_against(price("A-1", fields_with({{"DiscountPerc", "101"}}))), "none");
  EXPECT_EQ(reason_against(price("A-1", fields_with({{"DiscountPerc", "some"}}))), "DiscountPerc|some|not a number");
  EXPECT_EQ(reason_against(price("A-1", fields_with({{"PRICETAXPERCENTAGE", ""}}))),
            "PRICETAXPERCENTAGE||not a number");
  EXPECT_EQ(reason_against(price("A-1", "<Price>1</Price><price>2</price>")), "none") << "two names";
  EXPECT_EQ(reason_against(price("A-1", "<Price>1</Price><Price>2</Price>")), "Price|2|the field stands twice");
  EXPECT_EQ(reason_against(price("A-1", "<Lines>" + price("A-1", fields_with()) + "</Lines>")),
            "||it stands within another price line");
}

// The preview.

TEST_F(PriceValidation, PreviewAsksForEachNameAndOnceForTheCurrencies) {
  Recorder recorder;
  EXPECT_EQ(checked(band("A-1", "10") + band("O'Neil", "10") + band("B-2", "10") + band("A-1", "20")),
            (Entries{{"B-2", "Old", "valid"}, {"A-1", "Old", "valid"}}));
  EXPECT_EQ(recorder.statements, (Statements{kReadCommitted,  //
                                             "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                                             "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='O''Neil'",
                                             "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='B-2'",
                                             "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'"}));
  int currency_calls = 0;
  for (const ComponentCall& call : recorder.calls)
    currency_calls += call.method.starts_with("Zentrik.Currency") ? 1 : 0;
  EXPECT_EQ(currency_calls, 1);
  EXPECT_EQ(recorder.log, std::vector<LogEntry>{});
}

TEST_F(PriceValidation, ProductWithOneBadLineShowsOnceAsInvalid) {
  EXPECT_EQ(checked(band("A-1", "10") + band("A-1", "many")), (Entries{{"A-1", "Old", "invalid"}}));
  EXPECT_EQ(checked(band("A-1", "many") + band("B-2", "10") + band("A-1", "10")),
            (Entries{{"B-2", "Old", "valid"}, {"A-1", "Old", "invalid"}}));
}

TEST_F(PriceValidation, BlankQuantityIsInvalidAndAnAbsentOneIsValid) {
  EXPECT_EQ(checked(band("A-1", "")), (Entries{{"A-1", "Old", "invalid"}}));
  EXPECT_EQ(checked(price("A-1", fields_without("QuantityTo"))), (Entries{{"A-1", "Old", "valid"}}));
}

TEST_F(PriceValidation, UnknownPartNumberIsLostUnlessItIsTheLastOne) {
  EXPECT_EQ(checked(band("X", "1") + band("A-1", "1") + band("Y", "1") + band("B-2", "1")),
            (Entries{{"A-1", "Old", "valid"}, {"B-2", "Old", "valid"}}));
  EXPECT_EQ(checked(band("A-1", "1") + band("X", "1") + band("Y", "1") + band("Z", "1")),
            (Entries{{"A-1", "Old", "valid"}, {"Z", "", "invalid"}}));
  EXPECT_EQ(checked(band("X", "1") + band("Y", "1")), (Entries{{"Y", "", "invalid"}}));
}

TEST_F(PriceValidation, ProductWithAnEmptyNameCountsAsUnknown) {
  execute({"INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('E', '', 'E-1')"});
  EXPECT_EQ(checked(band("E-1", "1") + band("A-1", "1")), (Entries{{"A-1", "Old", "valid"}}));
}

TEST_F(PriceValidation, RecordWithoutContentIsPassedOverAndOneWithoutFieldsIsInvalid) {
  EXPECT_EQ(checked("<ProductPrice/>" + price("A-1", "")), Entries{});
  EXPECT_EQ(checked(price("A-1", "<!-- soon -->")), (Entries{{"A-1", "Old", "invalid"}}));
  EXPECT_EQ(checked(price("A-1", "soon")), (Entries{{"A-1", "Old", "invalid"}}));
}

TEST_F(PriceValidation, EmptyPartNumberIsNeverListed) {
  add_product("");
  EXPECT_EQ(checked(band("", "1") + band("A-1", "1")), (Entries{{"A-1", "Old", "valid"}}));
}

TEST_F(PriceValidation, DocumentWithoutLinesGivesNothingAndLoadsNoCurrencies) {
  Recorder recorder;
  EXPECT_EQ(checked(""), Entries{});
  EXPECT_EQ(recorder.calls, std::vector<ComponentCall>{});
  EXPECT_EQ(raised_by([&] { upload.GetErrorsInPriceValues(price_document(band("A-1", "1")), false, "A-1"); }).Number,
            error_number::kObjectNotSet);
}

TEST_F(PriceValidation, FieldThatStandsTwiceFailsThePreview) {
  expect_failure(error_number::kDuplicateKey, {"GetCheckedPriceList"},
                 [&] { checked(price("A-1", fields_with() + "<Price>1</Price>")); });
}

TEST_F(PriceValidation, RecordWithoutPartNumberFailsThePreviewWhenItHasContent) {
  expect_failure(error_number::kObjectNotSet, {"GetCheckedPriceList"},
                 [&] { checked("<ProductPrice>" + fields_with() + "</ProductPrice>"); });
}

TEST_F(PriceValidation, PreviewCountsNoFurtherThanAShort) {
  std::string records;
  for (int number = 0; number < 32767; ++number) records += "<ProductPrice/>";
  EXPECT_EQ(checked(records), Entries{});
  PriceXML other;
  const std::string too_many = price_document(records + "<ProductPrice/>");
  expect_failure(error_number::kOverflow, {"GetCheckedPriceList"}, [&] { other.GetCheckedPriceList(too_many, false); });
  EXPECT_EQ(raised_by([&] { other.GetErrorsInPriceValues(price_document(band("A-1", "1")), false, "A-1"); }).Number,
            error_number::kObjectNotSet)
      << "it fails before the currencies are loaded";
}

TEST_F(PriceValidation, FailureOfTheCurrencyComponentFailsThePreview) {
  Recorder recorder;
  recorder.failures["Zentrik.Currency.GetAllCurrencies"] = {77, "Bank", "closed", "", 0};
  const RaisedError error = raised_by([&] { checked(band("A-1", "1")); });
  EXPECT_EQ(error.Number, 77);
  EXPECT_EQ(error.Source, "Bank");
  EXPECT_EQ(error.Description,
            trail({0x4D, "Bank", "closed", "", 0}, {"Mercato.PriceXML.GetCheckedPriceList"}).raised.Description);
}

TEST_F(PriceValidation, FailureOfTheStoreFailsThePreviewThroughTheLookUp) {
  Recorder recorder;
  recorder.fail_on = "SELECT PRODUCTDESCRIPTION";
  const RaisedError error = raised_by([&] { checked(band("A-1", "1")); });
  const FailureTrail expected =
      trail(refused_on_request(), {"Mercato.PriceXML.getProductNameOrID", "Mercato.PriceXML.GetCheckedPriceList"});
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(PriceValidation, ReadConnectionIsOpenedOnce) {
  checked(band("A-1", "1"));
  Recorder recorder;
  checked(band("A-1", "1"));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'"}));
}

TEST_F(PriceValidation, ReadConnectionIsKeptWhenItsIsolationIsRefused) {
  {
    Recorder recorder;
    recorder.fail_on = kReadCommitted;
    EXPECT_EQ(raised_by([&] { checked(band("A-1", "1")); }).Number, error_number::kStatementRefused);
  }
  Recorder recorder;
  checked(band("A-1", "1"));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'"}));
}

TEST_F(PriceValidation, NothingIsWrittenWhateverADocumentSays) {
  const auto before = all_rows();
  checked_document(fixture("price-all-fields"));
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const std::string line = price_document(price(escaped(text), fields_with({{"CurrencyCode", escaped(text)}})));
    try {
      for (const auto& entry : checked_document(line)) {
        EXPECT_EQ(entry[1], "") << "it is nobody's part number";
        EXPECT_EQ(entry[2], "invalid");
      }
      upload.GetErrorsInPriceValues(line, false, text);
      upload.readProductPriceFromXML(line, false, text);
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, eUnableToLoadXML) << "a character that no document has";
    }
    EXPECT_THROW(upload.GetCheckedPriceList(text, false), Raised);
    EXPECT_THROW(upload.GetCheckedPriceList(text, true), Raised);
  }
  EXPECT_EQ(all_rows(), before);
}

// By name.

TEST_F(PriceValidation, ClassDescribesItselfAndIsCalledByName) {
  const ClassTable* table = registered_class("Mercato.PriceXML");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(attribute_name(table->attribute()), "none");
  EXPECT_EQ(table->default_interface(), "_PriceXML");
  EXPECT_EQ(table->class_id(), "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10B}");
  EXPECT_TRUE(table->find("UpdateInsertPricesFromXML")->arguments[2].by_reference);

  const ComponentPtr object = create_root("Mercato.PriceXML");
  const std::string line = price_document(band("A-1", "many"));
  const auto list = invoke(object, "getcheckedpricelist", {line, false}).to<Dictionary>();
  EXPECT_FALSE(list->Item("A-1").to<Collection>()->Item(3).to_boolean());
  const auto errors = invoke(object, "GETERRORSINPRICEVALUES", {line, false, "A-1"}).to<Dictionary>();
  EXPECT_EQ(fields_of(errors->Item("PRICE 1").to<Dictionary>()), (Fields{{"QuantityTo", "many"}}));
  EXPECT_EQ(invoke(object, "readProductPriceFromXML", {line, false, "A-1"}).to<Dictionary>()->Count(), 1);
  EXPECT_EQ(object->context()->last_vote(), Vote::none);
}

}  // namespace
}  // namespace mercato::test
