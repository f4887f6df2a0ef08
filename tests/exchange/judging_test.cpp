// SPDX-License-Identifier: Apache-2.0
// One rule for all formats: what of an item is taken, and why it is refused.
#include "exchange/judging.h"

#include <gtest/gtest.h>

#include "tests/support/store_fixture.h"

namespace mercato::exchange {
namespace {

class JudgedItems : public mercato::test::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each')",
             "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('M', 'metre')",
             "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MULTIPLEBUYER) VALUES ('M-1', "
             "'Nut', 'OLD', 0)"});
  }

  static Item item(std::vector<ItemField> fields, std::vector<ItemPrice> prices = {}, const char* number = "P1") {
    Item item;
    item.number = number;
    item.fields = {{"PRODUCTDESCRIPTION", "Nut", {7}}, {"UNITCODE", "EA", {7}}};
    for (ItemField& field : fields) {
      std::erase_if(item.fields, [&](const ItemField& one) { return one.name == field.name; });
      field.place = {7};
      item.fields.push_back(field);
    }
    item.prices = std::move(prices);
    item.place = {7};
    return item;
  }
  static ItemPrice price(const char* amount, const char* from_quantity = "") {
    ItemPrice price;
    price.amount = amount;
    price.currency = "EUR";
    price.from_quantity = from_quantity;
    price.place = {8};
    return price;
  }

  // The record, or the findings; both where findings were accepted.
  static std::string judged_by(Judge& judge, const Item& item) {
    std::vector<Finding> findings;
    const std::optional<JudgedItem> judged = judge.judge(item, findings);
    std::string text;
    for (const Finding& finding : findings)
      text += std::string(finding.accepted ? "took " : "refused ") + std::string(words_of(finding.reason).name) + " " +
              finding.field + " '" + finding.value + "' @" + std::to_string(finding.place.line) +
              (finding.detail.empty() ? "" : " " + finding.detail) + "\n";
    if (!judged) return text;
    text += judged->number + (judged->is_new ? " new\n" : " known\n");
    for (const auto& [name, value] : judged->fields) text += "  " + name + " " + value + "\n";
    for (const JudgedPrice& price : judged->prices)
      text += "  price " + price.amount + " " + price.currency + " to " + price.quantity_to + " " + price.from_day +
              "-" + price.to_day + (price.group.empty() ? "" : " group " + price.group) +
              (price.tax_percentage.empty() ? "" : " tax " + price.tax_percentage) + "\n";
    return text;
  }
  static std::string judged(const Item& item, std::set<Reason> accepted = {}, const Notation& notation = {}) {
    JudgingOptions options;
    options.accepted = std::move(accepted);
    Judge judge(options);
    judge.set_notation(notation);
    return judged_by(judge, item);
  }
};

const std::string kRecord = "P1 new\n  PRODUCTDESCRIPTION Nut\n  UNITCODE EA\n";
const std::string kAdded = "  PARTNUMBER P1\n  MULTIPLEBUYER 0\n";

TEST_F(JudgedItems, NewOnesGetWhatTheLibraryNeedsAndKnownOnesKeepWhatTheyHave) {
  EXPECT_EQ(judged(item({})), kRecord + kAdded);
  EXPECT_EQ(judged(item({}, {}, "OLD")), "OLD known\n  PRODUCTDESCRIPTION Nut\n  UNITCODE EA\n");
  EXPECT_EQ(judged(item({{"PARTNUMBER", "M-2", {}}})), kRecord + "  PARTNUMBER M-2\n  MULTIPLEBUYER 0\n");
}

TEST_F(JudgedItems, LackNothingThatANewProductNeeds) {
  EXPECT_EQ(judged(item({{"PRODUCTDESCRIPTION", " ", {}}, {"UNITCODE", "", {}}})),
            "refused missing PRODUCTDESCRIPTION '' @7\nrefused missing UNITCODE '' @7\n");
  EXPECT_EQ(judged(item({{"UNITCODE", "", {}}}), {Reason::missing}),
            "took missing UNITCODE '' @7\nP1 new\n  PRODUCTDESCRIPTION Nut\n" + kAdded);
  // A product without a description cannot be, whatever is accepted.
  EXPECT_EQ(judged(item({{"PRODUCTDESCRIPTION", "", {}}}), {Reason::missing}),
            "refused missing PRODUCTDESCRIPTION '' @7\n");
  JudgingOptions options;
  options.defaults = {{"UNITCODE", "metre"}, {"CURRENCY", "eur"}};
  Judge judge(options);
  EXPECT_EQ(judged_by(judge, item({{"UNITCODE", "", {}}})),
            "P1 new\n  PRODUCTDESCRIPTION Nut\n  UNITCODE M\n" + kAdded);
}

TEST_F(JudgedItems, HaveNumbersAsTheLibraryReadsThem) {
  const Notation comma{',', '.', Notation::Dates::day_first};
  EXPECT_EQ(judged(item({{"MINORDERQTY", "1.250,50", {}}}), {}, comma), kRecord + "  MINORDERQTY 1250.5\n" + kAdded);
  EXPECT_EQ(judged(item({{"MINORDERQTY", "12,50", {}}})), "refused number MINORDERQTY '12,50' @7\n");
  EXPECT_EQ(judged(item({{"MINORDERQTY", "1,234", {}}})), "refused ambiguous-number MINORDERQTY '1,234' @7\n");
  EXPECT_EQ(judged(item({{"LOTSIZE", "-5", {}}})), "refused negative LOTSIZE '-5' @7\n");
  EXPECT_EQ(judged(item({{"MINORDERQTY", "some", {}}}), {Reason::number}),
            "took number MINORDERQTY 'some' @7\n" + kRecord + kAdded);
  // What can be read two ways is never taken.
  EXPECT_EQ(judged(item({{"MINORDERQTY", "1,234", {}}}), {Reason::ambiguous_number}),
            "refused ambiguous-number MINORDERQTY '1,234' @7\n");
  JudgingOptions options;
  options.decimal_sign = ',';
  Judge judge(options);
  judge.set_notation({'.', 0, Notation::Dates::iso});
  EXPECT_EQ(judged_by(judge, item({{"MINORDERQTY", "1,234", {}}})), kRecord + "  MINORDERQTY 1.234\n" + kAdded);
}

TEST_F(JudgedItems, HaveDatesAsTheLibraryReadsThem) {
  EXPECT_EQ(judged(item({{"PRODUCTEXPIRYDATE", "2026-04-03", {}}})),
            kRecord + "  PRODUCTEXPIRYDATE 2026-04-03\n" + kAdded);
  const Notation unknown{'.', 0, Notation::Dates::unknown};
  EXPECT_EQ(judged(item({{"PRODUCTEXPIRYDATE", "03/04/2026", {}}}), {}, unknown),
            "refused ambiguous-date PRODUCTEXPIRYDATE '03/04/2026' @7\n");
  EXPECT_EQ(judged(item({{"PRODUCTEXPIRYDATE", "soon", {}}})), "refused date PRODUCTEXPIRYDATE 'soon' @7\n");
}

TEST_F(JudgedItems, HaveTradeItemNumbersWithTheirCheckDigit) {
  EXPECT_EQ(judged(item({{"GTIN", "4006381 33393-1", {}}})), kRecord + "  GTIN 4006381333931\n" + kAdded);
  EXPECT_EQ(judged(item({{"GTIN", "4006381333932", {}}})), "refused gtin GTIN '4006381333932' @7\n");
  EXPECT_EQ(judged(item({{"GTIN", "4006381333932", {}}}), {Reason::gtin}),
            "took gtin GTIN '4006381333932' @7\n" + kRecord + "  GTIN 4006381333932\n" + kAdded);
  EXPECT_EQ(judged(item({{"GTIN", "4.00638E+12", {}}})), "refused number GTIN '4.00638E+12' @7\n");
}

TEST_F(JudgedItems, HaveFlagsThatAreZeroOrOne) {
  EXPECT_EQ(judged(item({{"SERVICEITEM", "1", {}}})), kRecord + "  SERVICEITEM 1\n" + kAdded);
  EXPECT_EQ(judged(item({{"SERVICEITEM", "yes", {}}})), "refused flag SERVICEITEM 'yes' @7\n");
}

TEST_F(JudgedItems, HaveUnitsOfTheStore) {
  EXPECT_EQ(judged(item({{"UNITCODE", "each", {}}})), kRecord + kAdded);
  JudgingOptions options;
  options.units = {{"Stk", "EA"}};
  Judge judge(options);
  EXPECT_EQ(judged_by(judge, item({{"UNITCODE", "Stk", {}}})), kRecord + kAdded);
  EXPECT_EQ(judged_by(judge, item({{"UNITCODE", "C62", {}}}, {}, "P2")), "refused unit UNITCODE 'C62' @7\n");
  EXPECT_EQ(judged_by(judge, item({{"UNITCODE", "C62", {}}}, {}, "P3")), "refused unit UNITCODE 'C62' @7\n");
  EXPECT_EQ(judged_by(judge, item({{"UNITCODE", "NMP", {}}}, {}, "P4")), "refused unit UNITCODE 'NMP' @7\n");
  ASSERT_EQ(judge.unknown_units().size(), 2U);
  EXPECT_EQ(judge.unknown_units().at("C62").count, 2U);
  EXPECT_EQ(judge.unknown_units().at("C62").proposal, "--unit 'C62=EA' takes it for that unit.");
  EXPECT_EQ(judge.unknown_units().at("NMP").proposal, "Create it, or say with --unit 'NMP=CODE' which one it is.");
}

TEST_F(JudgedItems, HaveTextsThatFit) {
  const std::string long_text(256, 'x');
  EXPECT_EQ(judged(item({{"PRODUCTDESCRIPTION", long_text, {}}})),
            "refused too-long PRODUCTDESCRIPTION '" + long_text + "' @7 It may have 255 characters.\n");
  const std::string number = std::string(49, 'x') + "ä";
  EXPECT_EQ(judged(item({{"MFRPARTNUMBER", number, {}}})), kRecord + "  MFRPARTNUMBER " + number + "\n" + kAdded);
  EXPECT_EQ(judged(item({{"MFRPARTNUMBER", number + "y", {}}}), {Reason::too_long}),
            "took too-long MFRPARTNUMBER '" + number + "y' @7 It may have 50 characters.\n" + kRecord +
                "  MFRPARTNUMBER " + number + "\n" + kAdded);
}

TEST_F(JudgedItems, HaveCharactersThatADocumentMayHold) {
  EXPECT_EQ(judged(item({{"PRODUCTREMARK", "a\x01z", {}}})), "refused character PRODUCTREMARK 'a\x01z' @7\n");
  EXPECT_EQ(judged(item({{"PRODUCTREMARK", "a\x01z", {}}}), {Reason::character}),
            "took character PRODUCTREMARK 'a\x01z' @7\n" + kRecord + "  PRODUCTREMARK a z\n" + kAdded);
}

TEST_F(JudgedItems, HaveNoApostropheWhereTheLibraryTakesATextUnquoted) {
  EXPECT_EQ(judged(item({{"PRODUCTDESCRIPTION", "Driver's seat", {}}, {"UNITCODE", "EA", {}}})),
            "P1 new\n  PRODUCTDESCRIPTION Driver's seat\n  UNITCODE EA\n" + kAdded);
  EXPECT_EQ(judged(item({{"MAKER", "O'Neill", {}, true}})), "refused apostrophe MAKER 'O'Neill' @7\n");
  EXPECT_EQ(judged(item({{"MAKER", "O'Neill", {}, true}}), {Reason::apostrophe}),
            "took apostrophe MAKER 'O'Neill' @7\n" + kRecord + "  MAKER O’Neill\n" + kAdded);
  EXPECT_EQ(judged(item({}, {}, "P'1"), {Reason::apostrophe}), "refused apostrophe part number 'P'1' @7\n");
}

TEST_F(JudgedItems, HavePropertiesWithNamesOfTheirOwn) {
  EXPECT_EQ(judged(item({{"Colour", "red", {}, true}})), kRecord + "  COLOUR red\n" + kAdded);
  EXPECT_EQ(judged(item({{"PRODUTDESCRIPTION", "x", {}}})),
            "refused near-name PRODUTDESCRIPTION 'x' @7 Perhaps PRODUCTDESCRIPTION is meant.\n");
  EXPECT_EQ(judged(item({{"Number", "5", {}, true}})), "refused reserved-name NUMBER '5' @7\n");
  EXPECT_EQ(judged(item({{"PRODUCTID", "5", {}}})), "refused reserved-name PRODUCTID '5' @7\n");
  EXPECT_EQ(judged(item({{"size in mm", "5", {}, true}})), "refused element-name size in mm '5' @7\n");
  const std::string name(31, 'N');
  EXPECT_EQ(judged(item({{name, "5", {}, true}})),
            "refused too-long " + name + " '" + name + "' @7 The name of a property may have 30 characters.\n");
}

TEST_F(JudgedItems, StandInTheFileOnce) {
  Judge judge({});
  EXPECT_EQ(judged_by(judge, item({})), kRecord + kAdded);
  EXPECT_EQ(judged_by(judge, item({}, {}, "p1")), "refused twice  '' @7\n");
}

TEST_F(JudgedItems, ThatChangeOrEndAProductNeedOne) {
  Item update = item({});
  update.action = Item::Action::update;
  EXPECT_EQ(judged(update), "refused no-product  '' @7\n");
  Item gone = item({}, {price("5")}, "OLD");
  gone.action = Item::Action::remove;
  EXPECT_EQ(judged(gone), "OLD known\n  DISABLED 1\n");
}

TEST_F(JudgedItems, WithoutANumberAreNone) {
  EXPECT_EQ(judged(item({}, {}, " "), {Reason::missing}), "refused missing part number '' @7\n");
}

const std::string kAlways = " 2000-01-01-2099-12-31\n";

TEST_F(JudgedItems, HavePricesUpToWhereTheNextOneBegins) {
  EXPECT_EQ(judged(item({}, {price("5", "1"), price("4", "100"), price("4.5", "10")})),
            kRecord + kAdded + "  price 5 EUR to 9" + kAlways + "  price 4.5 EUR to 99" + kAlways +
                "  price 4 EUR to " + kAlways);
  EXPECT_EQ(judged(item({}, {price("5", "0.5"), price("4", "2.5")})),
            kRecord + kAdded + "  price 5 EUR to 2.4" + kAlways + "  price 4 EUR to " + kAlways);
  ItemPrice of_group = price("3", "1");
  of_group.group = "DE";
  EXPECT_EQ(judged(item({}, {price("5", "1"), of_group})),
            kRecord + kAdded + "  price 5 EUR to " + kAlways + "  price 3 EUR to  2000-01-01-2099-12-31 group DE\n");
  EXPECT_EQ(judged(item({}, {price("5", "1"), price("4", "1")})), "refused same-quantity PRICE '4' @8\n");
}

TEST_F(JudgedItems, HavePricesThatTheStoreCanHold) {
  const struct {
    const char* amount;
    const char* amount_for;
    const char* factor;
    const char* expected;
  } cases[] = {
      {"5", "100", "", "  price 0.05 EUR"},
      {"12.35", "", "0.333", "  price 4.1126 EUR"},
      {"0.12345", "10", "", "refused price-decimals PRICE '0.12345' @8\n"},
      {"0.12345", "", "", "refused price-decimals PRICE '0.12345' @8\n"},
      {"-1", "", "", "refused negative PRICE '-1' @8\n"},
      {"0.00", "", "", "refused zero-price PRICE '0.00' @8\n"},
      {"free", "", "", "refused number PRICE 'free' @8\n"},
      {"1", "0", "", "refused number PRICE QUANTITY '0' @8 A price is for one unit or more.\n"},
  };
  for (const auto& one : cases) {
    ItemPrice given = price(one.amount);
    given.amount_for = one.amount_for;
    given.factor = one.factor;
    std::string expected = one.expected;
    if (expected.starts_with("  ")) expected = kRecord + kAdded + expected + " to " + kAlways;
    EXPECT_EQ(judged(item({}, {given})), expected) << one.amount;
  }
  EXPECT_EQ(judged(item({}, {price("0.12345")}), {Reason::price_decimals}),
            "took price-decimals PRICE '0.12345' @8\n" + kRecord + kAdded + "  price 0.1234 EUR to " + kAlways);
  EXPECT_EQ(judged(item({}, {price("0"), price("2", "5")}), {Reason::zero_price}),
            "took zero-price PRICE '0' @8\ntook no-lower-bound QUANTITY '5' @8\n" + kRecord + kAdded +
                "  price 2 EUR to " + kAlways);
}

TEST_F(JudgedItems, AreToldThatTheirLowestPriceHoldsForFewerToo) {
  EXPECT_EQ(judged(item({}, {price("2", "5"), price("1", "10")})),
            "took no-lower-bound QUANTITY '5' @8\n" + kRecord + kAdded + "  price 2 EUR to 9 2000-01-01-2099-12-31\n" +
                "  price 1 EUR to " + kAlways);
  EXPECT_EQ(judged(item({}, {price("2", "1"), price("1", "10")})),
            kRecord + kAdded + "  price 2 EUR to 9 2000-01-01-2099-12-31\n" + "  price 1 EUR to " + kAlways);
}

TEST_F(JudgedItems, HavePricesInACurrencyOfTheStore) {
  ItemPrice given = price("1");
  given.currency = "eur";
  EXPECT_EQ(judged(item({}, {given})), kRecord + kAdded + "  price 1 EUR to " + kAlways);
  given.currency = "XXX";
  EXPECT_EQ(judged(item({}, {given})), "refused currency CURRENCY 'XXX' @8\n");
  given.currency = "";
  EXPECT_EQ(judged(item({}, {given})), "refused missing CURRENCY '' @8\n");
  Judge judge({});
  judge.set_header({{"CURRENCY", "EUR"}, {"FROM", "2026-01-01"}, {"TO", "2026-12-31"}, {"SUPPLIER", "S"}});
  EXPECT_EQ(judged_by(judge, item({}, {given})), kRecord + kAdded + "  price 1 EUR to  2026-01-01-2026-12-31\n");
}

TEST_F(JudgedItems, HavePricesThatEndAfterTheyBegin) {
  ItemPrice given = price("1");
  given.from_day = "2026-05-01";
  given.to_day = "2026-05-01";
  EXPECT_EQ(judged(item({}, {given})), "refused end-before-start TO '2026-05-01' @8 The first day is 2026-05-01.\n");
  given.to_day = "2026-05-02";
  given.tax_percentage = "19";
  EXPECT_EQ(judged(item({}, {given})), kRecord + kAdded + "  price 1 EUR to  2026-05-01-2026-05-02 tax 19\n");
  given.tax_percentage = "101";
  EXPECT_EQ(judged(item({}, {given})), "refused percentage TAX '101' @8\n");
}

TEST(ReasonsOfRefusals, HaveNamesThatStay) {
  const std::vector<std::string> names = {"missing",
                                          "number",
                                          "ambiguous-number",
                                          "date",
                                          "ambiguous-date",
                                          "negative",
                                          "zero-price",
                                          "price-decimals",
                                          "percentage",
                                          "end-before-start",
                                          "same-quantity",
                                          "flag",
                                          "gtin",
                                          "unit",
                                          "currency",
                                          "apostrophe",
                                          "character",
                                          "too-long",
                                          "near-name",
                                          "reserved-name",
                                          "element-name",
                                          "twice",
                                          "no-product",
                                          "passed-over",
                                          "no-lower-bound",
                                          "unreadable"};
  EXPECT_EQ(reason_names(), names);
  EXPECT_EQ(reason_named("too-long"), Reason::too_long);
  EXPECT_EQ(reason_named("too long"), std::nullopt);
}

}  // namespace
}  // namespace mercato::exchange
