// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "frame/lib_error_handling.h"
#include "tests/product/product_fixture.h"
#include "tests/product/refused_statement.h"

namespace mercato::test {
namespace {

const Date kJuly = Date::from_civil({2026, 7, 1});
const Date kToday = Date::from_civil({2026, 7, 15});
const std::string kWriter = "Mercato.Product.InsertUpdatePrice";
const std::string kSelection = "Mercato.Product.getCatalogPriceAttributes";

const Array kAttributes{"PRICE", "DISCOUNTPERC", "DISCOUNTAMOUNT", "PRICETAXPERCENTAGE", "FREIGHTCOST"};

// The statements of the price selection, with these conditions in the place of the group and of date and quantity.
std::string selection(const std::string& group, const std::string& rest) {
  return "SELECT CURRENCYCODE, PRICE, DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST FROM "
         "CATALOGPRODUCTPRICE WHERE PRODUCTID=1 AND " +
         group + rest;
}
const std::string kWithoutGroup = "(GROUPBY='' OR GROUPBY IS NULL) AND ";
std::string holding(const std::string& quantity) {
  return "PRICEEFFECTIVEDATE<='2026-07-15T00:00:00' AND (PRICEEXPIRYDATE>='2026-07-15T00:00:00' OR PRICEEXPIRYDATE IS "
         "NULL) AND QUANTITYTO>=" +
         quantity + " ORDER BY QUANTITYTO";
}
std::string lookup(const std::string& group_literal) {
  return "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=1 AND PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=10 AND "
         "GROUPBY =" +
         group_literal;
}
const std::string kNewLine = "SELECT * FROM CATALOGPRODUCTPRICE WHERE 0=1";

Currency amount(const std::string& text) { return Currency::from_text(text); }

class ProductPrices : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    execute({"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')", "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD')",
             "INSERT INTO EXCHANGERATE (SOURCECODE, TARGETCODE, EFFECTIVEDATE, RATE) VALUES ('EUR', 'USD', '7/1/2026', "
             "1.25)"});
  }

  // A line of product 1 in EUR from 1 July on, with further columns as they stand in the statement.
  void add_line(const std::string& quantity, const std::string& price, const std::string& columns = "",
                const std::string& values = "") const {
    execute({"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, CURRENCYCODE, QUANTITYTO, PRICE" +
             columns + ") VALUES (1, '7/1/2026', 'EUR', " + quantity + ", " + price + values + ")"});
  }
  void add_bands() const {
    add_line("1000", "8");
    add_line("10", "10");
    add_line("100", "9");
  }
  std::vector<std::vector<Variant>> lines() const {
    return rows(
        "SELECT PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, PRICEEXPIRYDATE, PRICE, "
        "DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST FROM CATALOGPRODUCTPRICE ORDER BY QUANTITYTO, "
        "GROUPBY");
  }
  Variant price(double quantity, const std::string& currency = "EUR") const {
    return product_->getCatalogPriceAttributes(1, kToday, currency, quantity)->Item("PRICE");
  }
  bool insert(const Array& fields, const Array& values) const {
    return product_->InsertPrice(1, kJuly, 10, fields, values);
  }

  // The whole of a failure that took the tail of `label`.
  template <class Call>
  void expect_failure(const Recorder& recorder, const std::string& label, std::int32_t number, const std::string& hex,
                      const std::string& description, const std::string& source, Call call) const {
    const RaisedError raised = raised_by(call);
    const std::string once = message(hex, label, description);
    EXPECT_EQ(raised, (RaisedError{number, source, once, "", 0}));
    EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{source, message(hex, label, once), 0}}));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::rolledback);
  }
};

// Writing

TEST_F(ProductPrices, AreWrittenWithTheKeyOfTheCallAndTheFieldsGiven) {
  Recorder recorder;
  EXPECT_TRUE(insert(
      Array(std::vector<Variant>{"CURRENCYCODE", "price", "GroupBy", "PRICEEXPIRYDATE", "DISCOUNTPERC",
                                 "DISCOUNTAMOUNT", "PRICETAXPERCENTAGE", "FREIGHTCOST"},
            1),
      Array(std::vector<Variant>{"EUR", "12.3456", "VIP", "12/31/2026", 5, 1.5, "19.5", Currency::from_scaled(25000)},
            1)));
  EXPECT_EQ(recorder.statements, Statements{kNewLine});
  // The connection string is looked up when the store is first needed, here by the checker.
  EXPECT_EQ(recorder.calls, (std::vector<ComponentCall>{
                                {"Grundwerk.ReferentialChecker.CheckReferences",
                                 {"Mercato", "CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{"EUR"}}},
                                {"Grundwerk.Configuration.PrepareConnections", {false}},
                                {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}},
                            }));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::committed);
  EXPECT_EQ(lines(), (std::vector<std::vector<Variant>>{{1, kJuly, 10.0, "VIP", "EUR", Date::from_civil({2026, 12, 31}),
                                                         amount("12.3456"), 5.0, amount("1.5"), 19.5, amount("2.5")}}));
}

TEST_F(ProductPrices, WithoutFieldsConsistOfTheirKey) {
  EXPECT_TRUE(product_->InsertPrice(1, kJuly, 2.5, {}, {}));
  EXPECT_EQ(
      lines(),
      (std::vector<std::vector<Variant>>{{1, kJuly, 2.5, kNull, kNull, kNull, kNull, kNull, kNull, kNull, kNull}}));
}

TEST_F(ProductPrices, WithMoreValuesThanFieldsAreWrittenWithoutTheRest) {
  EXPECT_TRUE(insert({"CURRENCYCODE"}, {"EUR", "nobody", kNull}));
  EXPECT_EQ(lines().size(), 1u);
}

TEST_F(ProductPrices, MayNameTheirKeyAmongTheFieldsWhichThenCounts) {
  EXPECT_TRUE(insert({"QUANTITYTO", "PRODUCTID"}, {"25", 7}));
  EXPECT_EQ(rows("SELECT PRODUCTID, QUANTITYTO FROM CATALOGPRODUCTPRICE"),
            (std::vector<std::vector<Variant>>{{7, 25.0}}));
}

TEST_F(ProductPrices, AreFoundForAnUpdateByTheGroupOfTheCall) {
  add_line("10", "10", ", GROUPBY, FREIGHTCOST", ", 'O''N', 3");
  Recorder recorder;
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "O'N", {"PRICE", "DISCOUNTPERC"}, {11, 5}, "update"));
  EXPECT_EQ(recorder.statements, Statements{lookup("'O''N'")});
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(lines(), (std::vector<std::vector<Variant>>{
                         {1, kJuly, 10.0, "O'N", "EUR", kNull, amount("11"), 5.0, kNull, kNull, amount("3")}}));
}

TEST_F(ProductPrices, KeepTheirColumnsInAnUpdateWithoutFields) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  const auto before = lines();
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "A", {}, {}, "update"));
  EXPECT_EQ(lines(), before);
}

TEST_F(ProductPrices, AreUpdatedOrAddedByWhetherTheGroupOfTheCallHasThem) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  Recorder recorder;
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "A", {"PRICE", "GROUPBY"}, {11, "A"}, "insertupdate"));
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "B", {"PRICE", "GROUPBY"}, {12, "B"}, "insertupdate"));
  // The group that is written is that of the field, whatever was looked for.
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "C", {"PRICE"}, {13}, "insertupdate"));
  EXPECT_EQ(recorder.statements, (Statements{lookup("'A'"), lookup("'B'"), lookup("'C'")}));
  EXPECT_EQ(rows("SELECT GROUPBY, PRICE FROM CATALOGPRODUCTPRICE ORDER BY PRICE"),
            (std::vector<std::vector<Variant>>{{"A", amount("11")}, {"B", amount("12")}, {kNull, amount("13")}}));
}

TEST_F(ProductPrices, WithoutAGroupAreFoundByNeitherUpdateNorInsertupdate) {
  add_line("10", "10");
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->UpdatePrice(1, kJuly, 10, {"PRICE"}, {11}); }).Number,
            error_number::kNoCurrentRow);
  // So insertupdate goes on to add the line once more, which the table's key refuses.
  EXPECT_EQ(raised_by([&] { product_->InsertUpdatePrice(1, kJuly, 10, {"PRICE"}, {11}, "insertupdate"); }).Number,
            error_number::kConstraintViolated);
  EXPECT_EQ(recorder.statements, (Statements{lookup("''"), lookup("''")}));
  EXPECT_EQ(value_of("SELECT PRICE FROM CATALOGPRODUCTPRICE"), Variant(amount("10")));
  // With a group of its own it is another line.
  EXPECT_TRUE(product_->InsertUpdatePrice(1, kJuly, 10, {"PRICE", "GROUPBY"}, {11, "A"}, "insertupdate"));
  EXPECT_EQ(lines().size(), 2u);
}

TEST_F(ProductPrices, TakeAnyOtherActionForAnUpdate) {
  for (const char* action : {"INSERT", "Insert", "insert ", "InsertUpdate", "update", "", "delete"}) {
    SCOPED_TRACE(action);
    const Root<Product> product;
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { product->InsertUpdatePrice(1, kJuly, 10, {"PRICE"}, {1}, action); }).Number,
              error_number::kNoCurrentRow);
    EXPECT_EQ(recorder.statements, Statements{lookup("''")});
  }
  EXPECT_TRUE(lines().empty());
}

TEST_F(ProductPrices, ThatDoNotExistAreNotUpdated) {
  Recorder recorder;
  expect_failure(recorder, kWriter, error_number::kNoCurrentRow, "800A0BCD",
                 "Either BOF or EOF is True, or the current record has been deleted", "Mercato",
                 [&] { product_->UpdatePrice(1, kJuly, 10, {"CURRENCYCODE"}, {"EUR"}); });
  EXPECT_EQ(raised_by([&] { product_->UpdatePrice(1, kJuly, 10, {}, {}); }).Number, error_number::kNoCurrentRow);
}

TEST_F(ProductPrices, ThatExistAreNotInsertedAgain) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  add_line("10", "10");
  EXPECT_EQ(raised_by([&] { insert({"GROUPBY"}, {"A"}); }).Number, error_number::kConstraintViolated);
  Recorder recorder;
  const RaisedError raised = raised_by([&] { insert({"CURRENCYCODE", "GROUPBY"}, {"EUR", ""}); });
  EXPECT_EQ(raised.Number, error_number::kConstraintViolated);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0].text, message("80040E2F", kWriter, raised.Description));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(lines().size(), 2u);
}

TEST_F(ProductPrices, InAnUnknownCurrencyAreRefusedBeforeTheStoreIsAsked) {
  Recorder recorder;
  expect_failure(recorder, kWriter, -2147221497, "80040007",
                 "The catalog product price record you are trying to insert has an invalid reference to another record",
                 "Mercato", [&] {
                   insert({"PRICE", "CURRENCYCODE"}, {1, "XXX"});
                 });
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(lines().empty());
}

TEST_F(ProductPrices, WhoseCurrencyIsNotNamedInCapitalsAreCheckedWithNull) {
  Recorder recorder;
  EXPECT_TRUE(insert({"currencycode", "PRICE"}, {"XXX", 1}));
  EXPECT_EQ(recorder.calls.front(),
            (ComponentCall{"Grundwerk.ReferentialChecker.CheckReferences",
                           {"Mercato", "CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{kNull}}}));
  EXPECT_EQ(value_of("SELECT CURRENCYCODE FROM CATALOGPRODUCTPRICE"), Variant("XXX"));
}

TEST_F(ProductPrices, AreNotWrittenWhenTheCheckerFails) {
  Recorder recorder;
  recorder.failures["Grundwerk.ReferentialChecker.CheckReferences"] = {4711, "Checker", "out of order", "", 0};
  expect_failure(recorder, kWriter, 4711, "1267", "out of order", "Checker",
                 [&] { insert({"CURRENCYCODE"}, {"EUR"}); });
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(ProductPrices, TakeAnEmptyExpiryDateAndGroupForNull) {
  const Variant empties[] = {"", Variant()};
  double quantity = 0;
  for (const char* expiry : {"PRICEEXPIRYDATE", "PriceExpiryDate"})
    for (const char* group : {"GROUPBY", "groupby"})
      for (const Variant& empty : empties)
        EXPECT_TRUE(product_->InsertPrice(1, kJuly, ++quantity, {expiry, group}, {empty, empty})) << expiry << group;
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOGPRODUCTPRICE WHERE PRICEEXPIRYDATE IS NULL AND GROUPBY IS NULL"),
            Variant(8));
}

TEST_F(ProductPrices, KeepABlankGroupAsItStands) {
  EXPECT_TRUE(insert({"GROUPBY"}, {" "}));
  EXPECT_EQ(value_of("SELECT GROUPBY FROM CATALOGPRODUCTPRICE"), Variant(" "));
}

TEST_F(ProductPrices, RoundPercentagesToTwoDecimalsHalvesToTheEvenDigit) {
  const struct {
    Variant given;
    double stored;
  } cases[] = {
      {12.345, 12.34},
      {12.355, 12.36},
      {"12.345", 12.34},
      {"12.355", 12.36},
      {amount("12.345"), 12.34},
      {amount("12.3551"), 12.36},
      {-12.345, -12.34},
      {-12.355, -12.36},
      {1.005, 1},
      {1.015, 1.02},
      {2.675, 2.68},
      {"0.005", 0},
      {"0.0051", 0.01},
      {"99.995", 100},
      {19, 19},
      {std::int16_t{19}, 19},
      {Variant(), 0},
      {true, -1},
      {0.1 + 0.2, 0.3},
      {"1E-2", 0.01},
      {1e20, 1e20},
  };
  double quantity = 0;
  for (const auto& row : cases) {
    SCOPED_TRACE(row.given.to_text());
    EXPECT_TRUE(
        product_->InsertPrice(1, kJuly, ++quantity, {"DISCOUNTPERC", "PriceTaxPercentage"}, {row.given, row.given}));
    EXPECT_EQ(rows("SELECT DISCOUNTPERC, PRICETAXPERCENTAGE FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO = " +
                   Variant(quantity).to_text()),
              (std::vector<std::vector<Variant>>{{row.stored, row.stored}}));
  }
}

TEST_F(ProductPrices, KeepFourDecimalsOfAnAmountHalvesToTheEvenDigit) {
  const struct {
    Variant given;
    const char* stored;
  } cases[] = {
      {"12.3456", "12.3456"},
      {"12.34565", "12.3456"},
      {"12.34575", "12.3458"},
      {"-12.34565", "-12.3456"},
      {"12.345650001", "12.3457"},
      {"0.00005", "0.0000"},
      {"0.00015", "0.0002"},
      {"922337203685477.5807", "922337203685477.5807"},
      {"-922337203685477.5808", "-922337203685477.5808"},
      {12.5, "12.5000"},
      {7, "7.0000"},
      {amount("0.0001"), "0.0001"},
  };
  double quantity = 0;
  for (const auto& row : cases) {
    SCOPED_TRACE(row.given.to_text());
    EXPECT_TRUE(product_->InsertPrice(1, kJuly, ++quantity, {"PRICE", "DISCOUNTAMOUNT", "FREIGHTCOST"},
                                      {row.given, row.given, row.given}));
    const Variant stored = amount(row.stored);
    EXPECT_EQ(rows("SELECT PRICE, DISCOUNTAMOUNT, FREIGHTCOST FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO = " +
                   Variant(quantity).to_text()),
              (std::vector<std::vector<Variant>>{{stored, stored, stored}}));
  }
}

TEST_F(ProductPrices, WithAValueThatNoLineCanHoldFailAndLeaveNothing) {
  const struct {
    Array fields;
    Array values;
    std::int32_t number;
    std::string hex;
    std::string description;
  } cases[] = {
      {{"PRICE", "GROUPBY"}, {1, kNull}, 94, "5E", "Invalid use of Null"},
      {{"PRICEEXPIRYDATE"}, {kNull}, 94, "5E", "Invalid use of Null"},
      {{"DISCOUNTPERC"}, {kNull}, 94, "5E", "Invalid use of Null"},
      {{"NOCOLUMN"}, {kNull}, 94, "5E", "Invalid use of Null"},
      {{kNull}, {1}, 94, "5E", "Invalid use of Null"},
      {{"PRICE"}, {kMissing}, 13, "D", "Type mismatch"},
      {{"PRICE"}, {Variant(Array{1})}, 13, "D", "Type mismatch"},
      {{"PRICE"}, {"abc"}, 13, "D", "Type mismatch"},
      {{"PRICE"}, {""}, 13, "D", "Type mismatch"},
      {{"PRICE"}, {"922337203685477.5808"}, 6, "6", "Overflow"},
      {{"FREIGHTCOST"}, {1e300}, 6, "6", "Overflow"},
      {{"DISCOUNTPERC"}, {"abc"}, 13, "D", "Type mismatch"},
      {{"DISCOUNTPERC"}, {""}, 13, "D", "Type mismatch"},
      {{"DISCOUNTPERC"}, {HUGE_VAL}, 6, "6", "Overflow"},
      {{"PRICEEXPIRYDATE"}, {"someday"}, 13, "D", "Type mismatch"},
      {{"PRICEEXPIRYDATE"}, {3e6}, 6, "6", "Overflow"},
      {{"PRODUCTID"}, {3e9}, 6, "6", "Overflow"},
      {{"PRICE", "DISCOUNTAMOUNT"}, {1}, 9, "9", "Subscript out of range"},
      {{"CURRENCYCODE"}, {}, 9, "9", "Subscript out of range"},
      {{"PRICE", "NOCOLUMN"},
       {1, 1},
       error_number::kNoSuchField,
       "800A0CC1",
       "Item cannot be found in the collection corresponding to the requested name or ordinal: NOCOLUMN"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.description + " " + std::to_string(&row - cases));
    Recorder recorder;
    expect_failure(recorder, kWriter, row.number, row.hex, row.description, "Mercato",
                   [&] { insert(row.fields, row.values); });
    EXPECT_TRUE(lines().empty());
  }
  EXPECT_EQ(raised_by([&] { insert({"GROUPBY"}, {std::string(51, 'x')}); }).Number, error_number::kValueTooLong);
  EXPECT_EQ(raised_by([&] { product_->InsertPrice(1, kJuly, std::nan(""), {}, {}); }).Number,
            error_number::kConstraintViolated);  // the store takes what is no number for Null
  EXPECT_TRUE(lines().empty());
}

TEST_F(ProductPrices, ThatFailInAnUpdateStayAsTheyWere) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  const auto before = lines();
  EXPECT_EQ(raised_by([&] {
              product_->InsertUpdatePriceEx(1, kJuly, 10, "A", {"PRICE", "DISCOUNTAMOUNT"}, {11, "abc"}, "update");
            }).Number,
            error_number::kTypeMismatch);
  EXPECT_EQ(lines(), before);
}

TEST_F(ProductPrices, HaveDatesFromTheYear100To9999) {
  for (const CivilTime& civil :
       {CivilTime{100, 1, 1}, CivilTime{1899, 12, 29}, CivilTime{9999, 12, 31}, CivilTime{2026, 7, 1, 8, 30, 0}}) {
    const Date date = Date::from_civil(civil);
    EXPECT_TRUE(product_->InsertPrice(1, date, 10, {"PRICE", "GROUPBY"}, {1, "A"})) << date.iso_text();
    EXPECT_TRUE(product_->InsertUpdatePriceEx(1, date, 10, "A", {"PRICE"}, {2}, "update")) << date.iso_text();
  }
  EXPECT_EQ(rows("SELECT PRICE FROM CATALOGPRODUCTPRICE"),
            (std::vector<std::vector<Variant>>(4, {Variant(amount("2"))})));
  // The interface has no date beyond them.
  std::vector<Variant> arguments{1, 3e6, 10.0, Array{}, Array{}};
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { invoke(product_.object(), "InsertPrice", arguments); }).Number, error_number::kOverflow);
  EXPECT_TRUE(recorder.statements.empty());
}

// A line of the zero date used to be looked for by its time alone, which the store reads as another day: it was written
// twice.
TEST_F(ProductPrices, OfTheZeroDateAreFoundAgain) {
  for (const Date date : {Date(), Date::from_civil({1899, 12, 30, 8, 30, 0})})
    for (int i = 0; i < 2; ++i)
      EXPECT_TRUE(product_->InsertUpdatePriceEx(1, date, 10, "A", {"GROUPBY"}, {"A"}, "insertupdate"));
  EXPECT_EQ(rows("SELECT PRICEEFFECTIVEDATE FROM CATALOGPRODUCTPRICE ORDER BY PRICEEFFECTIVEDATE"),
            (std::vector<std::vector<Variant>>{{Date()}, {Date::from_civil({1899, 12, 30, 8, 30, 0})}}));
}

// Quantities used to be looked for with 15 digits, and such a line was never found again.
TEST_F(ProductPrices, OfAQuantityThatFifteenDigitsDoNotTellAreFoundAgain) {
  for (const double quantity : {1.0 / 3, 0.1 + 0.2, 123456789012345678.0, 1e-7, 1e300})
    for (int i = 0; i < 2; ++i)
      EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, quantity, "A", {"GROUPBY"}, {"A"}, "insertupdate"));
  EXPECT_EQ(rows("SELECT QUANTITYTO FROM CATALOGPRODUCTPRICE ORDER BY QUANTITYTO"),
            (std::vector<std::vector<Variant>>{{1e-7}, {0.1 + 0.2}, {1.0 / 3}, {123456789012345678.0}, {1e300}}));
}

TEST_F(ProductPrices, AreLookedForWithDateAndQuantityAsTheirTextForms) {
  const struct {
    Date date;
    double quantity;
    std::string condition;
  } cases[] = {
      {Date::from_civil({2026, 12, 31, 20, 5, 9}), 0.1,
       "PRICEEFFECTIVEDATE='12/31/2026 8:05:09 PM' AND QUANTITYTO=0.1"},
      {kJuly, 1e15, "PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=1000000000000000"},
      {kJuly, -2.5, "PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=-2.5"},
      {kJuly, 0.1 + 0.2, "PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=0.30000000000000004"},
      {Date(), 999999999, "PRICEEFFECTIVEDATE='12/30/1899' AND QUANTITYTO=999999999"},
  };
  for (const auto& row : cases) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { product_->UpdatePrice(1, row.date, row.quantity, {}, {}); }).Number,
              error_number::kNoCurrentRow);
    EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=1 AND " +
                                              row.condition + " AND GROUPBY =''"});
  }
}

TEST_F(ProductPrices, WhoseLookupIsRefusedTakeTheTail) {
  expect_refusals_to_take_the_tail({kNewLine}, kWriter, Vote::abort,
                                   [](const Root<Product>& product) { product->InsertPrice(1, kJuly, 10, {}, {}); });
  expect_refusals_to_take_the_tail({lookup("''")}, kWriter, Vote::abort,
                                   [](const Root<Product>& product) { product->UpdatePrice(1, kJuly, 10, {}, {}); });
}

TEST_F(ProductPrices, KeepTheGroupOfAFailedCallWithTheObject) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  EXPECT_EQ(raised_by([&] { product_->InsertUpdatePriceEx(1, kJuly, 10, "A", {"NOCOLUMN"}, {1}, "update"); }).Number,
            error_number::kNoSuchField);
  Recorder recorder;
  EXPECT_TRUE(product_->UpdatePrice(1, kJuly, 10, {"PRICE"}, {11}));
  EXPECT_EQ(recorder.statements, Statements{lookup("'A'")});
  // Until a call with a group succeeds.
  EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kJuly, 10, "A", {"PRICE"}, {12}, "update"));
  EXPECT_EQ(raised_by([&] { product_->UpdatePrice(1, kJuly, 10, {"PRICE"}, {13}); }).Number,
            error_number::kNoCurrentRow);
  EXPECT_EQ(recorder.statements.back(), lookup("''"));
}

TEST_F(ProductPrices, KeepTheGroupOfAFailedSelectionToo) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  EXPECT_EQ(raised_by([&] { product_->getCatalogPriceAttributesEx(1, kToday, "EUR", -1.0, "A"); }).Number,
            error_number::kStatementRefused);
  EXPECT_TRUE(product_->UpdatePrice(1, kJuly, 10, {"PRICE"}, {11}));
  product_->getCatalogPriceAttributesEx(1, kToday, "EUR", 5, "A");
  EXPECT_EQ(raised_by([&] { product_->UpdatePrice(1, kJuly, 10, {"PRICE"}, {12}); }).Number,
            error_number::kNoCurrentRow);
}

TEST_F(ProductPrices, AreTheSameForTypedAndLateBoundCalls) {
  EXPECT_TRUE(insert({"PRICE", "DISCOUNTPERC", "CURRENCYCODE"}, {"1.5", "2.345", "EUR"}));
  std::vector<Variant> arguments{"2", "7/1/2026", "10", Array{"PRICE", "DISCOUNTPERC", "CURRENCYCODE"},
                                 Array{"1.5", "2.345", "EUR"}};
  EXPECT_EQ(invoke(product_.object(), "InsertPrice", arguments), Variant(true));
  auto stored = lines();
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].front(), Variant(1));
  EXPECT_EQ(stored[1].front(), Variant(2));
  EXPECT_EQ(std::vector(stored[0].begin() + 1, stored[0].end()), std::vector(stored[1].begin() + 1, stored[1].end()));

  // Nothing of the caller's arrays is changed.
  EXPECT_EQ(arguments[4], Variant(Array{"1.5", "2.345", "EUR"}));

  const DictionaryPtr typed = product_->getCatalogPriceAttributes(1, kToday, "USD", 5);
  std::vector<Variant> selected{1, kToday, "USD", 5};
  const auto late = invoke(product_.object(), "getCatalogPriceAttributes", selected).to<Dictionary>();
  EXPECT_EQ(late->Keys(), typed->Keys());
  EXPECT_EQ(late->Items(), typed->Items());

  std::vector<Variant> no_arrays{1, kJuly, 10, "PRICE", 1};
  EXPECT_EQ(raised_by([&] { invoke(product_.object(), "InsertPrice", no_arrays); }).Number,
            error_number::kTypeMismatch);
}

// Selection

TEST_F(ProductPrices, AreSelectedByTheBandThatContainsTheQuantity) {
  add_bands();
  const struct {
    double quantity;
    const char* price;
  } cases[] = {{50, "9"}, {5, "10"}, {10, "10"}, {10.5, "9"}, {100, "9"}, {1000, "8"}, {0, "10"}, {-2, "10"}};
  for (const auto& row : cases) EXPECT_EQ(price(row.quantity), Variant(amount(row.price))) << row.quantity;
}

TEST_F(ProductPrices, AreSelectedWithOneStatementAndACommitVote) {
  add_line("100", "9.5", ", DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST", ", 2.25, 0.5, 19, 3");
  Recorder recorder;
  const DictionaryPtr attributes = product_->getCatalogPriceAttributes(1, kToday, "EUR", 50);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, selection("", holding("50"))}));
  EXPECT_EQ(attributes->Keys(), kAttributes);
  EXPECT_EQ(attributes->Items(), (Array{amount("9.5"), amount("2.25"), amount("0.5"), amount("19"), amount("3")}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductPrices, ThatNoLineHasAreFiveZerosAfterASecondStatement) {
  add_bands();
  Recorder recorder;
  const DictionaryPtr attributes = product_->getCatalogPriceAttributes(1, kToday, "EUR", 5000);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, selection("", holding("5000")), selection(kWithoutGroup, holding("5000"))}));
  EXPECT_EQ(attributes->Keys(), kAttributes);
  EXPECT_EQ(attributes->Items(), Array(std::vector<Variant>(5, std::int16_t{0})));
  EXPECT_EQ(vote(), Vote::commit);
  for (const ComponentCall& call : recorder.calls) EXPECT_NE(call.method, "Zentrik.Currency.ConvertAmount");
}

TEST_F(ProductPrices, HoldOnTheirFirstAndOnTheirLastDay) {
  add_line("100", "9", ", PRICEEXPIRYDATE", ", '7/31/2026'");
  const struct {
    CivilTime day;
    Variant price;
  } cases[] = {
      {{2026, 6, 30, 23, 59, 59}, std::int16_t{0}}, {{2026, 7, 1}, amount("9")},     {{2026, 7, 31}, amount("9")},
      {{2026, 7, 31, 0, 0, 1}, std::int16_t{0}},    {{2026, 8, 1}, std::int16_t{0}},
  };
  for (const auto& row : cases) {
    const Date date = Date::from_civil(row.day);
    EXPECT_EQ(product_->getCatalogPriceAttributes(1, date, "EUR", 50)->Item("PRICE"), row.price) << date.iso_text();
  }
}

TEST_F(ProductPrices, OfAnyGroupAreSelectedWhateverGroupIsAskedFor) {
  add_line("100", "9", ", GROUPBY", ", 'A'");
  add_line("200", "8", ", GROUPBY", ", 'B'");
  Recorder recorder;
  const DictionaryPtr attributes = product_->getCatalogPriceAttributesEx(1, kToday, "EUR", 50, "B");
  EXPECT_EQ(attributes->Items(), product_->getCatalogPriceAttributes(1, kToday, "EUR", 50)->Items());
  EXPECT_EQ(attributes->Item("PRICE"), Variant(amount("9")));
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, selection("", holding("50")), kIsolation, selection("", holding("50"))}));
}

TEST_F(ProductPrices, WithoutAQuantityAreRefusedByTheStore) {
  add_bands();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->getCatalogPriceAttributes(1, kToday, "EUR"); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(
      recorder.statements,
      (Statements{kIsolation, selection("",
                                        "PRICEEFFECTIVEDATE<='2026-07-15T00:00:00'' AND "
                                        "(PRICEEXPIRYDATE>='2026-07-15T00:00:00'' OR PRICEEXPIRYDATE IS NULL)")}));
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0], (LogEntry{raised.Source, message("80040E14", kSelection, raised.Description), 0}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductPrices, AreSelectedForQuantitiesInTheirTextForm) {
  const struct {
    double quantity;
    const char* text;
  } cases[] = {{2.5, "2.5"},  {0.1, "0.1"}, {-0.5, "-0.5"}, {1e15, "1000000000000000"}, {123456.789, "123456.789"},
               {-1.5, "-1.5"}};
  for (const auto& row : cases) {
    Recorder recorder;
    product_->getCatalogPriceAttributes(1, kToday, "EUR", row.quantity);
    EXPECT_EQ(recorder.statements,
              (Statements{kIsolation, selection("", holding(row.text)), selection(kWithoutGroup, holding(row.text))}));
  }
  for (const double quantity : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(raised_by([&] { product_->getCatalogPriceAttributes(1, kToday, "EUR", quantity); }).Number,
              error_number::kStatementRefused);
    EXPECT_EQ(raised_by([&] { product_->GetPriceFromPriceLines(1, quantity); }).Number,
              error_number::kStatementRefused);
  }
}

TEST_F(ProductPrices, AreConvertedWithTheirAmountsOnly) {
  add_line("100", "9.5", ", DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST", ", 2.25, 0.5, 19, 3.0001");
  Recorder recorder;
  const DictionaryPtr attributes = product_->getCatalogPriceAttributes(1, kToday, "USD", 50);
  EXPECT_EQ(attributes->Items(),
            (Array{amount("11.875"), amount("2.25"), amount("0.625"), amount("19"), amount("3.7501")}));
  std::vector<ComponentCall> conversions;
  for (const ComponentCall& call : recorder.calls)
    if (call.method.starts_with("Zentrik.")) conversions.push_back(call);
  EXPECT_EQ(conversions, (std::vector<ComponentCall>{
                             {"Zentrik.Currency.ConvertAmount", {"EUR", "USD", amount("9.5"), kToday}},
                             {"Zentrik.Currency.ConvertAmount", {"EUR", "USD", amount("0.5"), kToday}},
                             {"Zentrik.Currency.ConvertAmount", {"EUR", "USD", amount("3.0001"), kToday}},
                         }));
}

TEST_F(ProductPrices, WithoutAmountsCountAsZeroAndAreConvertedAsZero) {
  add_line("100", "NULL");
  Recorder recorder;
  const DictionaryPtr attributes = product_->getCatalogPriceAttributes(1, kToday, "USD", 50);
  EXPECT_EQ(attributes->Items(), Array(std::vector<Variant>(5, Currency())));
  std::size_t conversions = 0;
  for (const ComponentCall& call : recorder.calls) {
    if (call.method != "Zentrik.Currency.ConvertAmount") continue;
    ++conversions;
    EXPECT_EQ(call.arguments, (std::vector<Variant>{"EUR", "USD", Currency(), kToday}));
  }
  EXPECT_EQ(conversions, 3u);
}

TEST_F(ProductPrices, WithoutAnExchangeRateFailThroughTheTail) {
  add_bands();
  Recorder recorder;
  expect_failure(recorder, kSelection, 5, "5", "There is no exchange rate from 'EUR' to 'CHF' at 2026-07-15T00:00:00",
                 "Zentrik.Currency", [&] { price(50, "CHF"); });
}

TEST_F(ProductPrices, WhoseSecondAmountCannotBeConvertedFailThroughTheTail) {
  add_line("100", "1", ", DISCOUNTAMOUNT", ", 900000000000000");
  Recorder recorder;
  expect_failure(recorder, kSelection, 6, "6", "Overflow", "Mercato", [&] { price(50, "USD"); });
}

TEST_F(ProductPrices, WithoutACurrencyFailThroughTheTail) {
  execute({"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO) VALUES (1, '7/1/2026', 10)"});
  Recorder recorder;
  expect_failure(recorder, kSelection, 94, "5E", "Invalid use of Null", "Mercato", [&] { price(5); });
}

TEST_F(ProductPrices, WhoseSelectionIsRefusedTakeTheTail) {
  expect_refusals_to_take_the_tail(
      {kIsolation, selection("", holding("50")), selection(kWithoutGroup, holding("50"))}, kSelection, Vote::abort,
      [](const Root<Product>& product) { product->getCatalogPriceAttributes(1, kToday, "EUR", 50); });
}

// Lists and plain reads

TEST_F(ProductPrices, AreListedByNumberWithTenOfTheirColumns) {
  add_line("100", "9.5", ", DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST, GROUPBY, PRICEEXPIRYDATE",
           ", 2.25, 0.5, 19, 3, 'A', '12/31/2026'");
  add_line("200", "NULL");
  Recorder recorder;
  const DictionaryPtr listed = product_->GetProductPriceLines(1);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=1"}));
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(product_.context().outcome_of_last_call(), Outcome::open);
  EXPECT_EQ(listed->Keys(), (Array{"1", "2"}));
  const Array columns{"PRODUCTID",    "PRICEEFFECTIVEDATE", "CURRENCYCODE",       "PRICEEXPIRYDATE", "PRICE",
                      "DISCOUNTPERC", "DISCOUNTAMOUNT",     "PRICETAXPERCENTAGE", "QUANTITYTO",      "GROUPBY"};
  const auto first = listed->Item("1").to<Dictionary>();
  EXPECT_EQ(first->Keys(), columns);
  EXPECT_EQ(first->Items(), (Array{1, kJuly, "EUR", Date::from_civil({2026, 12, 31}), amount("9.5"), 2.25,
                                   amount("0.5"), 19.0, 100.0, "A"}));
  const auto second = listed->Item("2").to<Dictionary>();
  EXPECT_EQ(second->Keys(), columns);
  EXPECT_EQ(second->Items(), (Array{1, kJuly, "EUR", kNull, kNull, kNull, kNull, kNull, 200.0, kNull}));
  EXPECT_EQ(product_->GetProductPriceLines(2)->Count(), 0);
}

TEST_F(ProductPrices, AreListedUpTo32767) {
  add_line("1", "1");
  for (int lines = 1; lines < 32768; lines *= 2)
    execute(
        {"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO) SELECT PRODUCTID, "
         "PRICEEFFECTIVEDATE, QUANTITYTO + " +
         std::to_string(lines) + " FROM CATALOGPRODUCTPRICE"});
  Recorder recorder;
  const std::string label = "Mercato.Product.GetProductPriceLines";
  const std::string once = message("6", label, "Overflow");
  EXPECT_EQ(raised_by([&] { product_->GetProductPriceLines(1); }), (RaisedError{6, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato", message("6", label, once), 0}}));
  EXPECT_EQ(vote(), Vote::none);
  execute({"DELETE FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO = 1"});
  EXPECT_EQ(product_->GetProductPriceLines(1)->Count(), 32767);
}

TEST_F(ProductPrices, ArePlainlyReadByTheHighestBandAtOrBelowTheQuantity) {
  add_bands();
  Recorder recorder;
  EXPECT_EQ(product_->GetPriceFromPriceLines(1, 50), 10);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation,
                        "SELECT PRICE, QUANTITYTO FROM CATALOGPRODUCTPRICE WHERE PRODUCTID =1 AND QUANTITYTO <= 50 "
                        "ORDER BY QUANTITYTO DESC"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->GetPriceFromPriceLines(1, 5000), 8);
  EXPECT_EQ(product_->GetPriceFromPriceLines(1, 100), 9);
  EXPECT_EQ(product_->GetPriceFromPriceLines(1, 99.5), 10);
}

TEST_F(ProductPrices, ArePlainlyReadWhateverTheirDatesCurrencyAndGroup) {
  add_line("10", "7.25", ", GROUPBY, PRICEEXPIRYDATE", ", 'A', '7/2/1999'");
  EXPECT_EQ(product_->GetPriceFromPriceLines(1, 10), 7.25);
}

TEST_F(ProductPrices, ArePlainlyReadByGroupWithTheQuotesOfTheCaller) {
  add_line("10", "10", ", GROUPBY", ", 'A'");
  add_line("20", "7.25", ", GROUPBY", ", 'O''N'");
  Recorder recorder;
  EXPECT_EQ(product_->GetPriceFromPriceLinesByGroup(1, "'O''N'"), 7.25);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation,
                        "SELECT PRICE, GROUPBY FROM CATALOGPRODUCTPRICE WHERE PRODUCTID =1 AND GROUPBY = 'O''N' ORDER "
                        "BY GROUPBY DESC"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->GetPriceFromPriceLinesByGroup(1, "N'A'"), 10);
  EXPECT_EQ(raised_by([&] { product_->GetPriceFromPriceLinesByGroup(1, "A"); }).Number,
            error_number::kStatementRefused);
  EXPECT_EQ(raised_by([&] { product_->GetPriceFromPriceLinesByGroup(1, ""); }).Number, error_number::kStatementRefused);
}

TEST_F(ProductPrices, ThatAPlainReadDoesNotFindAreRaisedUnloggedWithAnAbortVote) {
  add_bands();
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetPriceFromPriceLines(1, 5); }),
            (RaisedError{eProductIdNotFound, "Mercato.Product.GetPriceFromPriceLines", "ProductId not found", "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(
      raised_by([&] { product_->GetPriceFromPriceLinesByGroup(1, "'A'"); }),
      (RaisedError{eProductIdNotFound, "Mercato.Product.GetPriceFromPriceLinesByGroup", "ProductId not found", "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductPrices, ThatAreNullFailInAPlainRead) {
  add_line("10", "NULL", ", GROUPBY", ", 'A'");
  {
    Recorder recorder;
    expect_failure(recorder, "Mercato.Product.GetPriceFromPriceLines", 94, "5E", "Invalid use of Null", "Mercato",
                   [&] { product_->GetPriceFromPriceLines(1, 10); });
  }
  Recorder recorder;
  expect_failure(recorder, "Mercato.Product.GetPriceFromPriceLinesByGroup", 94, "5E", "Invalid use of Null", "Mercato",
                 [&] { product_->GetPriceFromPriceLinesByGroup(1, "'A'"); });
}

TEST_F(ProductPrices, WhosePlainReadIsRefusedTakeTheTail) {
  expect_refusals_to_take_the_tail({kIsolation, "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=1"},
                                   "Mercato.Product.GetProductPriceLines", Vote::none,
                                   [](const Root<Product>& product) { product->GetProductPriceLines(1); });
  expect_refusals_to_take_the_tail({kIsolation, "SELECT PRICE, QUANTITYTO FROM"},
                                   "Mercato.Product.GetPriceFromPriceLines", Vote::abort,
                                   [](const Root<Product>& product) { product->GetPriceFromPriceLines(1, 10); });
  expect_refusals_to_take_the_tail(
      {kIsolation, "SELECT PRICE, GROUPBY FROM"}, "Mercato.Product.GetPriceFromPriceLinesByGroup", Vote::abort,
      [](const Root<Product>& product) { product->GetPriceFromPriceLinesByGroup(1, "'A'"); });
}

TEST_F(ProductPrices, OfAnotherSystemAreNothingForAnyArgument) {
  Recorder recorder;
  EXPECT_EQ(product_->getERPPrice(1, 2, 3, 4, 5, 6, 7, 8, 9), nullptr);
  EXPECT_EQ(vote(), Vote::none);
  std::vector<Variant> arguments(9, kNull);
  const Variant answer = invoke(product_.object(), "getERPPrice", arguments);
  EXPECT_TRUE(answer.is_object() && !answer.object_value());
  EXPECT_TRUE(recorder.statements.empty());
}

}  // namespace
}  // namespace mercato::test
