// SPDX-License-Identifier: Apache-2.0
// A year of an office's catalogue, told once and lived twice: by the classes themselves, and through the gateway.
// Codes, products and prices come in, a catalogue is built of them, people get rights in it and keep their favourites,
// and a successor takes all of that over.
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/support/messages.h"
#include "tests/support/own_words.h"
#include "tests/tools/story_gateway_office.h"
#include "tests/tools/story_typed_office.h"
#include "values/text.h"

namespace mercato::test {
namespace {

constexpr const char* kCodes = R"(<UNSPSC_ITEMS>
  <UNSPSC_ITEM><CODE>10000000</CODE><DESCRIPTION>Paper and writing</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10100000</CODE><DESCRIPTION>Paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10101000</CODE><DESCRIPTION>Copy paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10102000</CODE><DESCRIPTION>Coloured paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10200000</CODE><DESCRIPTION>Writing</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10201000</CODE><DESCRIPTION>Pens</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10202000</CODE><DESCRIPTION>Pencils</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10300000</CODE><DESCRIPTION>Recycled paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10301000</CODE><DESCRIPTION>Recycled copy paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10302000</CODE><DESCRIPTION>Recycled coloured paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>1010300</CODE><DESCRIPTION>Card</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10100000</CODE><DESCRIPTION>Paper, once more</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>40101000</CODE><DESCRIPTION>Lamps</DESCRIPTION></UNSPSC_ITEM>
</UNSPSC_ITEMS>)";

constexpr const char* kCorrectedCodes = R"(<UNSPSC_ITEMS>
  <UNSPSC_ITEM><CODE>10102000</CODE><DESCRIPTION>Tinted paper</DESCRIPTION></UNSPSC_ITEM>
  <UNSPSC_ITEM><CODE>10202000</CODE><DESCRIPTION>Pencils and chalk</DESCRIPTION></UNSPSC_ITEM>
</UNSPSC_ITEMS>)";

constexpr const char* kProducts = R"(<Products>
  <Product buyfrompartnumber="FP-80">
    <PARTNUMBER>A4-80</PARTNUMBER><PRODUCTDESCRIPTION>Copy paper A4, 80 g</PRODUCTDESCRIPTION><UNIT>Ream</UNIT>
    <COMMODITYCODE>10101000</COMMODITYCODE><UNSPSCCODE>101010</UNSPSCCODE><BUSINESSID>FERNHILL</BUSINESSID>
    <BUYERID>boris</BUYERID><MULTIPLEBUYER>0</MULTIPLEBUYER><MINORDERQTY>10</MINORDERQTY><MULTIPLEOF>5</MULTIPLEOF>
    <COLOUR>white</COLOUR><WEIGHT>2.5</WEIGHT>
  </Product>
  <Product buyfrompartnumber="FP-120">
    <PARTNUMBER>A4-120</PARTNUMBER><PRODUCTDESCRIPTION>Tinted paper A4, 120 g</PRODUCTDESCRIPTION><UNIT>RM</UNIT>
    <COMMODITYCODE>10102000</COMMODITYCODE><UNSPSCCODE>101020</UNSPSCCODE><BUSINESSID>FERNHILL</BUSINESSID>
    <MULTIPLEBUYER>0</MULTIPLEBUYER><COLOUR>lemon</COLOUR><WEIGHT>heavy</WEIGHT>
  </Product>
  <Product buyfrompartnumber="FP-LAMP">
    <PARTNUMBER>LAMP-1</PARTNUMBER><PRODUCTDESCRIPTION>Desk lamp</PRODUCTDESCRIPTION><UNIT>Each</UNIT>
    <COMMODITYCODE>40101000</COMMODITYCODE><MULTIPLEBUYER>0</MULTIPLEBUYER>
  </Product>
  <Product buyfrompartnumber="FP-CARD">
    <PARTNUMBER>CARD-1</PARTNUMBER><PRODUCTDESCRIPTION>Card A4</PRODUCTDESCRIPTION><UNIT>RM</UNIT>
    <UNSPSCCODE>101020</UNSPSCCODE><BUSINESSID>FERNHILL</BUSINESSID><MULTIPLEBUYER>0</MULTIPLEBUYER>
  </Product>
  <Product buyfrompartnumber="FP-PEN">
    <PARTNUMBER>PEN-1</PARTNUMBER><PRODUCTDESCRIPTION>Ballpoint pen</PRODUCTDESCRIPTION><UNIT>Each</UNIT>
    <COMMODITYCODE>10201000</COMMODITYCODE><UNSPSCCODE>102010</UNSPSCCODE><BUSINESSID>FERNHILL</BUSINESSID>
    <MULTIPLEBUYERSEPARATOR>,</MULTIPLEBUYERSEPARATOR><BUYERID>boris,brenda</BUYERID>
    <MULTIPLEBUYER>1</MULTIPLEBUYER><INK>blue</INK>
  </Product>
</Products>)";

constexpr const char* kRecycledProducts = R"(<Products>
  <Product buyfrompartnumber="FR-80">
    <PARTNUMBER>A4-80</PARTNUMBER><PRODUCTDESCRIPTION>Recycled paper A4, 80 g</PRODUCTDESCRIPTION><UNIT>Ream</UNIT>
    <COMMODITYCODE>10301000</COMMODITYCODE><UNSPSCCODE>103010</UNSPSCCODE><BUSINESSID>FERNHILL</BUSINESSID>
    <MULTIPLEBUYER>0</MULTIPLEBUYER><COLOUR>grey</COLOUR>
  </Product>
  <Product buyfrompartnumber="FR-120">
    <PARTNUMBER>A4-120</PARTNUMBER><PRODUCTDESCRIPTION>Recycled tinted paper A4, 120 g</PRODUCTDESCRIPTION>
    <UNIT>Ream</UNIT><COMMODITYCODE>10302000</COMMODITYCODE><UNSPSCCODE>103020</UNSPSCCODE>
    <BUSINESSID>FERNHILL</BUSINESSID><MULTIPLEBUYER>0</MULTIPLEBUYER><COLOUR>sand</COLOUR>
  </Product>
</Products>)";

constexpr const char* kStoryPrices = R"(<ProductPrices>
  <ProductPrice buyfrompartnumber="FP-80"><CurrencyCode>EUR</CurrencyCode><Price>5</Price><QuantityTo>10</QuantityTo>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-80"><CurrencyCode>EUR</CurrencyCode><Price>4.5</Price><QuantityTo>100</QuantityTo>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate>
    <DiscountPerc>12.346</DiscountPerc></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-80"><CurrencyCode>EUR</CurrencyCode><Price>4</Price>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-GONE"><CurrencyCode>EUR</CurrencyCode><Price>3</Price>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-120"><CurrencyCode>EUR</CurrencyCode><Price>6.4</Price><QuantityTo/>
    <DiscountAmount>0.4</DiscountAmount><FreightCost>0.2</FreightCost><PriceTaxPercentage>20</PriceTaxPercentage>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-PEN"><CurrencyCode>USD</CurrencyCode><Price>1.2</Price>
    <QuantityTo>1000</QuantityTo>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-PEN"><CurrencyCode>USD</CurrencyCode><Price>1</Price><QuantityTo>5000</QuantityTo>
    <DiscountAmount>1</DiscountAmount>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FP-PEN"><CurrencyCode>GBP</CurrencyCode><Price>1</Price><QuantityTo>9000</QuantityTo>
    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate></ProductPrice>
</ProductPrices>)";

constexpr const char* kRecycledPrices = R"(<ProductPrices>
  <ProductPrice buyfrompartnumber="FR-80"><CurrencyCode>EUR</CurrencyCode><Price>5.2</Price><QuantityTo>500</QuantityTo>
    <PriceEffectiveDate>7/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2027</PriceExpiryDate></ProductPrice>
  <ProductPrice buyfrompartnumber="FR-120"><CurrencyCode>USD</CurrencyCode><Price>9</Price><QuantityTo>500</QuantityTo>
    <PriceEffectiveDate>7/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2027</PriceExpiryDate></ProductPrice>
</ProductPrices>)";

// No call of the library writes rights on nodes.
std::string right_on_node(const std::string& user, int node, const std::string& parent, int level, bool view_only) {
  return "INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, PARENTNODEID, LEVEL, VIEWONLY) VALUES "
         "('" +
         user + "', 0, 1, " + std::to_string(node) + ", " + parent + ", " + std::to_string(level) + ", " +
         (view_only ? "1" : "0") + ")";
}

struct Story {
  explicit Story(Office& of) : office(of) {}

  void tell() {
    a_supplier_an_office_and_their_money();
    codes_are_loaded();
    paper_gets_properties();
    products_are_uploaded();
    paper_joins_its_group();
    prices_are_uploaded();
    prices_are_asked();
    prices_by_hand_are_refused();
    a_catalogue_is_built();
    people_get_rights();
    people_keep_favourites();
    a_successor_is_made();
    rights_and_favourites_move_on();
    the_old_catalogue_expires();
    what_is_in_use_stays();
    what_is_left();
  }

  void a_supplier_an_office_and_their_money() {
    office.write("INSERT INTO USERS (USERID, USERNAME, ISACTIVE, ISBUYER) VALUES ('brenda', 'Brenda', 1, 1)");
    office.write("INSERT INTO USERS (USERID, USERNAME, ISACTIVE, ISBUYER) VALUES ('boris', 'Boris', 1, 1)");
    office.write(
        "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME, DEFAULTBUYER) "
        "VALUES ('FERNHILL', 'Fernhill Paper Mill', 'brenda')");
    office.write("INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('RM', 'Ream')");
    office.write("INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'Each')");
    office.write("INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'Box')");
    office.write("INSERT INTO CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('EUR', 'Euro')");
    office.write("INSERT INTO CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('USD', 'Dollar')");
    // A dollar costs less from June on.
    office.write("INSERT INTO EXCHANGERATE VALUES ('EUR', 'USD', '1/1/2026', 1.1)");
    office.write("INSERT INTO EXCHANGERATE VALUES ('EUR', 'USD', '6/1/2026', 1.25)");
  }

  void codes_are_loaded() {
    office.write("INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION) VALUES ('10202000', 'Pencils of old')");

    // In turn: it has seven digits; it exists; it is a commodity already, though a new code; nothing stands above it.
    const std::map<std::string, int> refused = {{"1010300", 1}, {"10100000", 2}, {"10202000", 3}, {"40101000", 4}};
    EXPECT_EQ(office.load_codes(kCodes, false), refused);
    EXPECT_EQ(office.outcome(), "open") << "an upload has no vote; what it wrote stands when its object goes";
    EXPECT_EQ(office.count("UNSPSCCODES"), 10);
    EXPECT_EQ(office.count("COMMODITY"), 10);
    EXPECT_EQ(office.description_of_code("10"), "Paper and writing");
    EXPECT_EQ(office.description_of_code("101020"), "Coloured paper");
    EXPECT_EQ(office.description_of_code("401010"), "");
    EXPECT_EQ(office.count("COMMODITY WHERE DESCRIPTION = 'Pencils of old'"), 1);

    EXPECT_EQ(office.load_codes(kCorrectedCodes, true), (std::map<std::string, int>{}));
    EXPECT_EQ(office.codes_below(3, "1010"), (Record{{"101010", "Copy paper"}, {"101020", "Tinted paper"}}));
    EXPECT_EQ(office.description_of_code("102020"), "Pencils and chalk");
    EXPECT_EQ(office.count("COMMODITY WHERE DESCRIPTION = 'Pencils and chalk'"), 1);
    EXPECT_EQ(office.count("UNSPSCCODES"), 10);
    EXPECT_EQ(office.count("COMMODITY"), 10);

    // No call of the library enters who buys a commodity.
    office.write("UPDATE COMMODITY SET USERID = 'boris' WHERE COMMODITYCODE = '10102000'");
  }

  void paper_gets_properties() {
    colour = office.add_property("COLOUR", STRINGPROPERTYTYPE, "white");
    const std::int32_t weight = office.add_property("WEIGHT", NUMBERPROPERTYTYPE, "");
    finish = office.add_property("FINISH", ENUMPROPERTYTYPE, "");
    paper_group = office.add_group("Paper");
    office.put_into_group(paper_group, colour, true, true);
    office.put_into_group(paper_group, weight, false, false);
    EXPECT_EQ(office.outcome(), "committed");

    // Once is enough.
    const RaisedError twice = office.refusal_of([&] { office.put_into_group(paper_group, colour, true, true); });
    EXPECT_EQ(twice.Number, error_number::kConstraintViolated);
    EXPECT_EQ(office.outcome(), "rolledback");
    EXPECT_EQ(office.count("PROPSBYPROPGROUP"), 2);
  }

  void products_are_uploaded() {
    EXPECT_EQ(office.preview_products(kProducts),
              (Texts{"FP-80, Copy paper A4, 80 g: sound", "FP-120, Tinted paper A4, 120 g: sound",
                     "FP-LAMP, Desk lamp: faulty", "FP-CARD, Card A4: sound", "FP-PEN, Ballpoint pen: sound"}));
    EXPECT_EQ(office.faults_of_product(kProducts, "FP-LAMP"), (Record{{"COMMODITYCODE", "40101000"}}));
    EXPECT_EQ(office.faults_of_product(kProducts, "FP-PEN"), Record{});
    EXPECT_EQ(office.count("PRODUCT"), 0);

    // The lamp is done with, though it was not taken; nobody has asked for the card.
    const Texts wanted = {"FP-80", "FP-120", "FP-PEN", "FP-LAMP"};
    EXPECT_EQ(office.upload_products("spring", kProducts, wanted), wanted);
    EXPECT_EQ(office.count("PRODUCT"), 3);
    EXPECT_EQ(office.product_of_part("FP-LAMP"), -1);
    EXPECT_EQ(office.remaining_products("spring"), Texts{"FP-CARD"});

    EXPECT_EQ(office.upload_remaining_products("spring", {"FP-CARD"}), Texts{"FP-CARD"});
    EXPECT_EQ(office.count("PRODUCT"), 4);
    const RaisedError nothing_left = office.refusal_of([&] { office.remaining_products("spring"); });
    EXPECT_EQ(nothing_left.Number, eUnableToLoadXML);
    EXPECT_EQ(nothing_left.Source, "Mercato.ProductXML.getProductNodeList");

    copy_paper = office.product_of_part("FP-80");
    tinted_paper = office.product_of_part("FP-120");
    pen = office.product_of_part("FP-PEN");
    card = office.product_of_part("FP-CARD");

    const Record record = {{"PRODUCTID", std::to_string(copy_paper)},
                           {"UNITCODE", "RM"},
                           {"PROPERTYGROUPID", "null"},
                           {"MANUFACTURERID", "null"},
                           {"PARTNUMBER", "A4-80"},
                           {"PRODUCTDESCRIPTION", "Copy paper A4, 80 g"},
                           {"CONFIGURABLE", "0"},
                           {"PRODUCTREMARK", "null"},
                           {"IMAGEFILENAME", "null"},
                           {"TECHNICALIMAGE", "null"},
                           {"URL", "null"},
                           {"COMMODITYCODE", "10101000"},
                           {"CONTRACTCODE", "null"},
                           {"NUMBER", "null"},
                           {"BUSINESSPARTNERID", "1"},
                           {"PRODUCTXML", "null"},
                           {"BUYFROMPARTNUMBER", "FP-80"},
                           {"BUYFROMCONTACTEMAIL", "null"},
                           {"PRODUCTEFFECTIVITYDATE", "null"},
                           {"PRODUCTEXPIRYDATE", "null"},
                           {"DISABLED", "0"},
                           {"BUYFROMCONTACTINFO", "null"},
                           {"MINORDERQTY", "10"},
                           {"MULTIPLEOF", "5"},
                           {"UNSPSCCODE", "101010"},
                           {"USERID", "boris"},
                           {"CHARGETYPECODE", "null"},
                           {"MULTIPLEBUYER", "0"},
                           {"MFRPARTNUMBEER", "null"},
                           {"LOTSIZE", "null"},
                           {"DELIVERYLEADTIME", "null"},
                           {"CLASSCODE", "null"},
                           {"SERVICEITEM", "0"}};
    EXPECT_EQ(office.product(copy_paper), record);
    EXPECT_TRUE(office.lot_is_right(copy_paper, 15));
    EXPECT_FALSE(office.lot_is_right(copy_paper, 5)) << "ten at least";
    EXPECT_FALSE(office.lot_is_right(copy_paper, 12)) << "by fives";

    // A weight is a number; a property that nobody knew is made on the way.
    EXPECT_EQ(office.properties_of(copy_paper), (Record{{"COLOUR", "white"}, {"WEIGHT", "2.5"}}));
    EXPECT_EQ(office.properties_of(tinted_paper), (Record{{"COLOUR", "lemon"}, {"WEIGHT", ""}}));
    EXPECT_EQ(office.properties_of(pen), (Record{{"INK", "blue"}}));
    EXPECT_EQ(office.properties_of(card), Record{});
    EXPECT_EQ(office.count("PROPERTY"), 4);

    // The product's own buyer, the commodity's, the supplier's.
    EXPECT_EQ(office.buyer_of(copy_paper), "boris");
    EXPECT_EQ(office.buyer_of(tinted_paper), "boris");
    EXPECT_EQ(office.buyer_of(card), "brenda");
    EXPECT_EQ(office.count("PRODUCTBUYER WHERE PRODUCTID = " + std::to_string(pen)), 2);
  }

  void paper_joins_its_group() {
    // The tint stays what it was; the card gets what paper has.
    for (const std::int32_t paper : {tinted_paper, card})
      EXPECT_TRUE(office.change_product(paper, {{"PROPERTYGROUPID", paper_group}, {"UNSPSCCODE", "101020"}}));
    EXPECT_EQ(office.properties_of(tinted_paper), (Record{{"COLOUR", "lemon"}, {"WEIGHT", ""}}));
    EXPECT_EQ(office.properties_of(card), (Record{{"COLOUR", "white"}, {"WEIGHT", ""}}));
    EXPECT_EQ(office.product(card)["PROPERTYGROUPID"], "1");

    const RaisedError unknown = office.refusal_of([&] { office.change_product(99, {{"UNITCODE", "EA"}}); });
    EXPECT_EQ(unknown.Number, eProductNotFound);
    EXPECT_EQ(unknown.Source, "Mercato.Product.Update");
  }

  void prices_are_uploaded() {
    const Texts all = {"FP-80", "FP-120", "FP-PEN", "FP-GONE"};
    const RaisedError too_early = office.refusal_of([&] { office.upload_prices("spring", kStoryPrices, all); });
    EXPECT_EQ(too_early.Number, error_number::kObjectNotSet) << "nobody has loaded the currencies";

    // A blank quantity is a fault here and none below; the part that is gone is not even mentioned.
    EXPECT_EQ(office.preview_prices(kStoryPrices),
              (Texts{"FP-80, Copy paper A4, 80 g: sound", "FP-120, Tinted paper A4, 120 g: faulty",
                     "FP-PEN, Ballpoint pen: faulty"}));
    EXPECT_EQ(office.faults_of_prices(kStoryPrices, "FP-120"),
              (std::map<std::string, Record>{{"PRICE 1", {{"QuantityTo", ""}}}}));
    EXPECT_EQ(office.faults_of_prices(kStoryPrices, "FP-PEN"),
              (std::map<std::string, Record>{{"PRICE 1", {}},
                                             {"PRICE 2", {{"DiscountAmount", "1"}, {"Price", "1"}}},
                                             {"PRICE 3", {{"CurrencyCode", "GBP"}}}}));

    EXPECT_EQ(office.upload_prices("spring", kStoryPrices, all), all);
    EXPECT_EQ(office.count("CATALOGPRODUCTPRICE"), 5);
    EXPECT_EQ(office.count("CATALOGPRODUCTPRICE WHERE QUANTITYTO = 999999999"), 2);
    EXPECT_EQ(office.remaining_prices("spring", "FP-GONE"), 1);
    EXPECT_EQ(office.remaining_prices("spring", "FP-PEN"), 0);
  }

  void prices_are_asked() {
    EXPECT_EQ(office.price(copy_paper, 5, "EUR"), "5");
    EXPECT_EQ(office.price(copy_paper, 10, "EUR"), "5");
    EXPECT_EQ(office.price(copy_paper, 11, "EUR"), "4.5");
    EXPECT_EQ(office.price(copy_paper, 100.5, "EUR"), "4");
    EXPECT_EQ(office.price(copy_paper, 5, "USD"), "6.25");
    EXPECT_EQ(office.price(copy_paper, 5, "USD", Date::from_civil({2026, 3, 1, 0, 0, 0})), "5.5");
    EXPECT_EQ(office.price(pen, 50, "USD"), "1.2");
    EXPECT_EQ(office.price(pen, 50, "EUR"), "0.96");

    // Amounts are converted, percentages are not.
    EXPECT_EQ(office.terms(copy_paper, 50, "USD"), (Record{{"PRICE", "5.625"},
                                                           {"DISCOUNTPERC", "12.35"},
                                                           {"DISCOUNTAMOUNT", "0"},
                                                           {"PRICETAXPERCENTAGE", "0"},
                                                           {"FREIGHTCOST", "0"}}));
    EXPECT_EQ(office.terms(tinted_paper, 1, "EUR"), (Record{{"PRICE", "6.4"},
                                                            {"DISCOUNTPERC", "0"},
                                                            {"DISCOUNTAMOUNT", "0.4"},
                                                            {"PRICETAXPERCENTAGE", "20"},
                                                            {"FREIGHTCOST", "0.2"}}));
    EXPECT_EQ(office.terms(tinted_paper, 1, "USD"), (Record{{"PRICE", "8"},
                                                            {"DISCOUNTPERC", "0"},
                                                            {"DISCOUNTAMOUNT", "0.5"},
                                                            {"PRICETAXPERCENTAGE", "20"},
                                                            {"FREIGHTCOST", "0.25"}}));
    // The line for so many pens was refused, and next year has none.
    EXPECT_EQ(office.price(pen, 2000, "USD"), "0");
    EXPECT_EQ(office.price(pen, 50, "USD", Date::from_civil({2027, 1, 1, 0, 0, 0})), "0");

    EXPECT_EQ(office.price_of_band_below(copy_paper, 50), 5);
    EXPECT_EQ(office.price_of_band_below(copy_paper, 100), 4.5);
    const RaisedError none = office.refusal_of([&] { office.price_of_band_below(copy_paper, 5); });
    EXPECT_EQ(none.Number, eProductIdNotFound);
    EXPECT_EQ(none.Source, "Mercato.Product.GetPriceFromPriceLines");

    const RaisedError no_rate = office.refusal_of([&] { office.price(pen, 50, "GBP"); });
    EXPECT_EQ(no_rate.Number, error_number::kInvalidArgument);
    EXPECT_EQ(no_rate.Source, "Zentrik.Currency");
    EXPECT_EQ(office.outcome(), "rolledback");
  }

  void prices_by_hand_are_refused() {
    const Date new_year = Date::from_civil({2026, 1, 1, 0, 0, 0});
    const RaisedError unknown_currency = office.refusal_of([&] {
      office.add_price(copy_paper, new_year, 20, {{"CURRENCYCODE", "GBP"}, {"PRICE", 4.75}});
    });
    EXPECT_EQ(unknown_currency.Number, kInvalidReference);
    // There is such a line, of no group; the key has two lines of no group for one.
    const RaisedError there_already = office.refusal_of([&] {
      office.add_price(copy_paper, new_year, 10, {{"CURRENCYCODE", "EUR"}, {"PRICE", 4.75}});
    });
    EXPECT_EQ(there_already.Number, error_number::kConstraintViolated);
    EXPECT_EQ(office.outcome(), "rolledback");
    EXPECT_EQ(office.count("CATALOGPRODUCTPRICE"), 5);

    EXPECT_TRUE(office.add_price(
        copy_paper, new_year, 20,
        {{"CURRENCYCODE", "EUR"}, {"PRICE", 4.75}, {"PRICEEXPIRYDATE", ""}, {"PRICETAXPERCENTAGE", 19.994}}));
    EXPECT_EQ(office.price(copy_paper, 11, "EUR"), "4.75");
    EXPECT_EQ(office.terms(copy_paper, 11, "EUR")["PRICETAXPERCENTAGE"], "19.99");
    EXPECT_EQ(office.count("CATALOGPRODUCTPRICE"), 6);
  }

  void a_catalogue_is_built() {
    EXPECT_EQ(office.add_catalog({{"CATALOGNAME", "Office 2026"}, {"ACTIVE", 1}, {"VERSION", "1"}}), kOld);
    EXPECT_TRUE(office.is_active(kOld));
    const RaisedError no_catalog = office.refusal_of([&] { office.is_active(9); });
    EXPECT_EQ(no_catalog.Number, eCatalogNotFound);
    EXPECT_EQ(no_catalog.Source, "Mercato.Catalog.GetCatalog");

    // A category takes in what has its code, or one below it, in the order of the products' ids.
    EXPECT_TRUE(office.add_category("Paper", "1010"));
    EXPECT_TRUE(office.add_category("Pens", "102010"));
    EXPECT_EQ(office.categories_called("P*"), (Ids{1, 2}));
    EXPECT_EQ(office.products_in(1), (Names{{card, "CARD-1"}, {copy_paper, "A4-80"}, {tinted_paper, "A4-120"}}));
    EXPECT_EQ(office.products_in(2), (Names{{pen, "PEN-1"}}));

    // A product that comes later joins at the end, with the properties of its group.
    const Fields large_paper = {{"PARTNUMBER", "A3-80"},
                                {"PRODUCTDESCRIPTION", "Copy paper A3, 80 g"},
                                {"UNITCODE", "RM"},
                                {"COMMODITYCODE", "10101000"},
                                {"UNSPSCCODE", "101010"},
                                {"PROPERTYGROUPID", paper_group},
                                {"BUSINESSPARTNERID", 1},
                                {"MULTIPLEBUYER", 0},
                                {"BUYFROMPARTNUMBER", "FP-A3"}};
    Fields of_nobody = large_paper;
    of_nobody.emplace_back("USERID", "nobody");
    const RaisedError unknown_buyer = office.refusal_of([&] { office.add_product(of_nobody); });
    EXPECT_EQ(unknown_buyer.Number, kInvalidReference);
    EXPECT_EQ(unknown_buyer.Source,
              "The product record you are trying to insert has an invalid reference to another record");
    a3_paper = office.add_product(large_paper);
    EXPECT_EQ(office.outcome(), "committed");
    EXPECT_EQ(office.properties_of(a3_paper), (Record{{"COLOUR", "white"}, {"WEIGHT", ""}}));
    EXPECT_EQ(office.count("PRODUCTSBYCATEGORY WHERE CATEGORYID = 1"), 4);
    EXPECT_EQ(office.count("PRODUCTSBYCATEGORY WHERE CATEGORYID = 1 AND SEQUENCE = 4 AND PRODUCTID = " +
                           std::to_string(a3_paper)),
              1);

    // The tree: Stationery with Paper and Pens, and a price list beside it.
    office.write("INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE) VALUES (1, 'Stationery', 0)");
    office.write(
        "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) "
        "VALUES (1, 1, 'Paper', 1, 1, 1)");
    office.write(
        "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, SEQUENCE, NODETYPE, CATEGORYID) "
        "VALUES (1, 1, 'Pens', 2, 1, 2)");
    office.write(
        "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, NODEURL) "
        "VALUES (1, 'Price list', 3, 'https://prices.example')");
    EXPECT_EQ(office.path_of(kPaper), "Stationery\\Paper");
    EXPECT_EQ(office.catalogs_with(card), Ids{kOld});
    EXPECT_EQ(office.found("A4", "(1)"), 3) << "two part numbers, and the description of the card";
  }

  void people_get_rights() {
    // Anna has everything, and so has who is given the profile; Ben has paper, and looks at pens; Dora has the list.
    EXPECT_TRUE(office.give_catalogs("anna", {kOld}));
    EXPECT_TRUE(office.give_catalogs_to_profile("clerks", {kOld}));
    office.write(right_on_node("ben", kPaper, "1", 2, false));
    office.write(right_on_node("ben", kPens, "1", 2, true));
    office.write(right_on_node("dora", kPriceList, "NULL", 1, false));
    EXPECT_EQ(office.catalogs_of("anna"), "1");
    EXPECT_EQ(office.catalogs_of("ben"), "1");
    EXPECT_EQ(office.catalogs_of("carl"), "");
    EXPECT_EQ(office.catalogs_of("clerks"), "");
    EXPECT_EQ(office.catalogs_of_profile("clerks"), "1");

    for (const std::int32_t node : {kStationery, kPaper, kPens, kPriceList}) {
      EXPECT_TRUE(office.may_see("anna", node));
      EXPECT_TRUE(office.may_order("anna", node));
      EXPECT_FALSE(office.may_only_view("anna", node));
      for (const char* nobody : {"carl", "clerks"}) {
        EXPECT_FALSE(office.may_see(nobody, node));
        EXPECT_FALSE(office.may_order(nobody, node));
        EXPECT_FALSE(office.may_only_view(nobody, node));
      }
    }
    EXPECT_TRUE(office.may_order("ben", kPaper));
    EXPECT_FALSE(office.may_only_view("ben", kPaper));
    EXPECT_FALSE(office.may_order("ben", kPens));
    EXPECT_TRUE(office.may_only_view("ben", kPens));
    EXPECT_FALSE(office.may_order("ben", kStationery));
    EXPECT_TRUE(office.may_order("dora", kPriceList));

    // What somebody sees node by node has to be laid out first.
    EXPECT_FALSE(office.may_see("ben", kPaper));
    EXPECT_EQ(office.nodes_of("anna"), Names{});
    for (const char* user : {"anna", "ben", "carl", "dora"}) EXPECT_TRUE(office.lay_out_nodes(user));
    EXPECT_EQ(office.nodes_of("anna"),
              (Names{{kPaper, "Paper"}, {kPens, "Pens"}, {kPriceList, "Price list"}, {kStationery, "Stationery"}}));
    EXPECT_EQ(office.nodes_of("ben"), (Names{{kPaper, "Paper"}, {kPens, "Pens"}}));
    EXPECT_EQ(office.nodes_of("carl"), Names{});
    EXPECT_EQ(office.nodes_of("dora"), (Names{{kPriceList, "Price list"}}));
    EXPECT_TRUE(office.may_see("ben", kPaper));
    EXPECT_TRUE(office.may_see("ben", kPens));
    EXPECT_FALSE(office.may_see("ben", kStationery));
    EXPECT_FALSE(office.may_see("ben", 99));
    EXPECT_EQ(office.count("CATALOGNODEBYUSER"), 5);
    EXPECT_EQ(office.count("USERNODE"), 7);
  }

  void people_keep_favourites() {
    const std::int32_t every_month = office.add_folder("anna", "Every month");
    EXPECT_EQ(every_month, 1);
    EXPECT_EQ(office.add_folder("anna", ""), -1);
    EXPECT_EQ(office.folders_of("anna"), (Names{{every_month, "Every month"}}));
    EXPECT_EQ(office.folder_name(every_month, "anna"), "Every month");
    EXPECT_EQ(office.folder_name(every_month, "ben"), "");
    EXPECT_EQ(office.folder_called("Every month", "anna"), every_month);
    EXPECT_EQ(office.folder_called("Every month", "ben"), -1);

    office.keep("anna", copy_paper, every_month);
    office.keep("anna", pen, 0);
    office.keep("ben", tinted_paper, 0);
    office.keep("ben", pen, 0);
    office.keep("carl", copy_paper, 0);
    EXPECT_EQ(office.outcome(), "committed");
    office.keep("anna", copy_paper, every_month);
    EXPECT_EQ(office.outcome(), "rolledback") << "kept already";
    EXPECT_EQ(office.count("FAVORITES"), 5);
  }

  void a_successor_is_made() {
    const RaisedError nothing_to_copy = office.refusal_of([&] { office.copy_catalog(9, ""); });
    EXPECT_EQ(nothing_to_copy.Number, eCatalogNotFound);
    EXPECT_EQ(nothing_to_copy.Source, "Mercato.Catalog.CopyCatalog");
    EXPECT_EQ(nothing_to_copy.Description, message("800400CC", "Catalog.CopyCatalog", "Catalog 9  not present"));

    // The copy is found by its name. It is the same tree, but nobody's yet, and not in use.
    office.copy_catalog(kOld, "");
    EXPECT_EQ(office.catalogs(), (Names{{kNew, "Copy Of Office 2026"}, {kOld, "Office 2026"}}));
    EXPECT_FALSE(office.is_active(kNew));
    EXPECT_EQ(office.count("CATALOGNODE"), 8);
    EXPECT_EQ(office.path_of(kNewPaper), "Stationery\\Paper");
    EXPECT_EQ(office.path_of(kNewPens), "Stationery\\Pens");
    EXPECT_EQ(office.count("CATALOGNODEBYUSER WHERE CATALOGID = 2"), 0);
    EXPECT_EQ(office.catalogs_with(copy_paper), (Ids{kOld, kNew}));

    // From now on the paper is recycled: new products with the part numbers of the old ones.
    const Texts recycled = {"FR-80", "FR-120"};
    EXPECT_EQ(office.preview_products(kRecycledProducts),
              (Texts{"FR-80, Recycled paper A4, 80 g: sound", "FR-120, Recycled tinted paper A4, 120 g: sound"}));
    EXPECT_EQ(office.upload_products("summer", kRecycledProducts, recycled), recycled);
    recycled_paper = office.product_of_part("FR-80");
    recycled_tinted_paper = office.product_of_part("FR-120");
    EXPECT_EQ(office.properties_of(recycled_paper), (Record{{"COLOUR", "grey"}}));
    EXPECT_EQ(office.preview_prices(kRecycledPrices),
              (Texts{"FR-80, Recycled paper A4, 80 g: sound", "FR-120, Recycled tinted paper A4, 120 g: sound"}));
    EXPECT_EQ(office.upload_prices("summer", kRecycledPrices, recycled), recycled);
    EXPECT_EQ(office.price(recycled_paper, 20, "EUR"), "5.2");
    EXPECT_EQ(office.price(recycled_paper, 20, "USD"), "6.5");
    EXPECT_EQ(office.price(recycled_tinted_paper, 20, "EUR"), "7.2");

    EXPECT_TRUE(office.add_category("Recycled paper", "1030"));
    office.write("UPDATE CATALOGNODE SET CATEGORYID = 3 WHERE NODEID = 6");
    office.write("UPDATE CATALOGNODE SET NODENAME = 'Prices of 2027' WHERE NODEID = 8");
    office.write("UPDATE CATALOG SET CATALOGNAME = 'Office 2027', ACTIVE = 1 WHERE CATALOGID = 2");
    EXPECT_EQ(office.catalogs(), (Names{{kOld, "Office 2026"}, {kNew, "Office 2027"}}));
    EXPECT_EQ(office.catalogs_with(copy_paper), Ids{kOld});
    EXPECT_EQ(office.catalogs_with(recycled_paper), Ids{kNew});
    EXPECT_EQ(office.catalogs_with(pen), (Ids{kOld, kNew}));
  }

  void rights_and_favourites_move_on() {
    // Carl was early. Whoever moves the rights has to say that he may be in the way.
    EXPECT_TRUE(office.give_catalogs("carl", {kNew}));
    EXPECT_TRUE(office.may_order("carl", kNewPaper));
    EXPECT_FALSE(office.move_rights(kOld, kNew, false));
    EXPECT_EQ(office.count("CATALOGNODEBYUSER WHERE CATALOGID = 1"), 5);
    EXPECT_EQ(office.count("CATALOGNODEBYUSER WHERE CATALOGID = 2"), 1);
    EXPECT_TRUE(office.move_rights(kOld, kNew, true));
    EXPECT_EQ(office.count("CATALOGNODEBYUSER WHERE CATALOGID = 1"), 0);
    EXPECT_EQ(office.count("CATALOGNODEBYUSER WHERE CATALOGID = 2"), 4);
    EXPECT_EQ(office.catalogs_of("anna"), "2");
    EXPECT_EQ(office.catalogs_of("ben"), "2");
    EXPECT_EQ(office.catalogs_of("carl"), "");
    EXPECT_EQ(office.catalogs_of("dora"), "") << "her node is called otherwise now";
    EXPECT_EQ(office.catalogs_of_profile("clerks"), "2");
    EXPECT_TRUE(office.may_order("anna", kNewPens));
    EXPECT_FALSE(office.may_order("anna", kPens));
    EXPECT_TRUE(office.may_order("ben", kNewPaper));
    EXPECT_FALSE(office.may_order("ben", kPaper));
    EXPECT_TRUE(office.may_only_view("ben", kNewPens));
    EXPECT_FALSE(office.may_order("carl", kNewPaper));

    EXPECT_TRUE(office.may_see("ben", kPaper)) << "laid out before the move";
    EXPECT_FALSE(office.may_see("ben", kNewPaper));
    for (const char* user : {"anna", "ben", "dora"}) EXPECT_TRUE(office.lay_out_nodes(user));
    EXPECT_FALSE(office.may_see("ben", kPaper));
    EXPECT_EQ(office.nodes_of("anna"), (Names{{kNewPaper, "Paper"},
                                              {kNewPens, "Pens"},
                                              {kNewPriceList, "Prices of 2027"},
                                              {kNewStationery, "Stationery"}}));
    EXPECT_EQ(office.nodes_of("ben"), (Names{{kNewPaper, "Paper"}, {kNewPens, "Pens"}}));
    EXPECT_EQ(office.nodes_of("dora"), Names{});

    // Whoever may order a part keeps it. Ben may only look at pens, Carl at nothing.
    EXPECT_TRUE(office.move_favorites(kOld, kNew));
    const auto kept = [&](const std::string& user, std::int32_t product, int folder) {
      return office.count("FAVORITES WHERE USERID = '" + user + "' AND PRODUCTID = " + std::to_string(product) +
                          " AND FOLDERID = " + std::to_string(folder));
    };
    EXPECT_EQ(kept("anna", recycled_paper, 1), 1);
    EXPECT_EQ(kept("anna", pen, 0), 1);
    EXPECT_EQ(kept("ben", recycled_tinted_paper, 0), 1);
    EXPECT_EQ(office.count("FAVORITES"), 3);
  }

  void the_old_catalogue_expires() {
    EXPECT_EQ(office.found("A4-", "-1"), 4);
    EXPECT_TRUE(office.expire(kOld));
    EXPECT_FALSE(office.is_active(kOld));
    EXPECT_TRUE(office.is_active(kNew));
    // All that it had is disabled, the pens too, though the new one has them: they are brought back by hand.
    EXPECT_EQ(office.count("PRODUCT WHERE DISABLED = 1"), 5);
    EXPECT_EQ(office.product(pen)["DISABLED"], "1");
    office.enable_product(pen);
    EXPECT_EQ(office.product(pen)["DISABLED"], "0");
    EXPECT_EQ(office.count("PRODUCT WHERE DISABLED = 1"), 4);
    EXPECT_EQ(office.found("A4-", "-1"), 2) << "the recycled ones";

    const RaisedError no_catalog = office.refusal_of([&] { office.expire(9); });
    EXPECT_EQ(no_catalog.Number, error_number::kNoCurrentRow);
    EXPECT_EQ(office.outcome(), "rolledback");
  }

  void what_is_in_use_stays() {
    EXPECT_FALSE(office.delete_unit("RM"));
    EXPECT_EQ(office.outcome(), "rolledback");
    EXPECT_TRUE(office.delete_unit("BX"));
    EXPECT_EQ(office.outcome(), "committed");
    const RaisedError no_unit = office.refusal_of([&] { office.delete_unit("BX"); });
    EXPECT_EQ(no_unit.Number, eUnitNotFound);
    EXPECT_EQ(no_unit.Source, "Mercato.Unit.Delete");

    EXPECT_FALSE(office.delete_property(colour));
    EXPECT_TRUE(office.delete_property(finish));
    EXPECT_FALSE(office.delete_group(paper_group));
    EXPECT_FALSE(office.delete_commodity("10101000"));
    EXPECT_TRUE(office.delete_commodity("10202000"));
    EXPECT_FALSE(office.delete_code("101010"));
    EXPECT_EQ(office.outcome(), "rolledback");
    EXPECT_TRUE(office.delete_code("102020"));
    EXPECT_EQ(office.description_of_code("102020"), "");

    // A product goes with all that hangs on it.
    EXPECT_TRUE(office.delete_product(card));
    const RaisedError no_product = office.refusal_of([&] { office.product(card); });
    EXPECT_EQ(no_product.Number, eProductNotFound);
    EXPECT_EQ(no_product.Source, "Mercato.Product.GetProductEx");
  }

  void what_is_left() {
    EXPECT_EQ(office.count("UNIT"), 2);
    EXPECT_EQ(office.count("UNSPSCCODES"), 9);
    EXPECT_EQ(office.count("COMMODITY"), 9);
    EXPECT_EQ(office.count("PROPERTY"), 3);
    EXPECT_EQ(office.count("PROPSBYPROPGROUP"), 2);
    EXPECT_EQ(office.count("PRODUCT"), 6);
    EXPECT_EQ(office.count("PRODUCT WHERE DISABLED = 1"), 3);
    EXPECT_EQ(office.count("PRODUCTPROPVALUE"), 9);
    EXPECT_EQ(office.count("PRODUCTBUYER"), 2);
    EXPECT_EQ(office.count("CATALOGPRODUCTPRICE"), 8);
    EXPECT_EQ(office.count("CATALOG"), 2);
    EXPECT_EQ(office.count("CATALOGNODE"), 8);
    EXPECT_EQ(office.count("PRODUCTCATEGORY"), 3);
    EXPECT_EQ(office.count("PRODUCTSBYCATEGORY"), 6);
    EXPECT_EQ(office.count("CATALOGNODEBYUSER"), 4);
    EXPECT_EQ(office.count("USERNODE"), 6);
    EXPECT_EQ(office.count("FAVORITES"), 3);
    EXPECT_EQ(office.count("FAVORITEFOLDERS"), 1);
  }

  // Catalogues, and the nodes of each, in the order in which they are made.
  static constexpr std::int32_t kOld = 1, kNew = 2;
  static constexpr std::int32_t kStationery = 1, kPaper = 2, kPens = 3, kPriceList = 4;
  static constexpr std::int32_t kNewStationery = 5, kNewPaper = 6, kNewPens = 7, kNewPriceList = 8;

  Office& office;
  std::int32_t colour = 0, finish = 0, paper_group = 0;
  std::int32_t copy_paper = 0, tinted_paper = 0, pen = 0, card = 0, a3_paper = 0;
  std::int32_t recycled_paper = 0, recycled_tinted_paper = 0;
};

TEST(CatalogueStory, IsTrueWhenTheClassesAreAsked) {
  TypedOffice office;
  Story(office).tell();
}

TEST(CatalogueStory, IsTrueWhenTheGatewayIsAsked) {
  GatewayOffice office;
  Story(office).tell();
}

TEST(CatalogueStory, LeavesTheSameRowsAndTheSameTrailWhoeverIsAsked) {
  TypedOffice typed;
  Story(typed).tell();
  GatewayOffice gateway;
  Story(gateway).tell();
  EXPECT_EQ(gateway.whole_store(), typed.whole_store());
  EXPECT_EQ(gateway.trail(), typed.trail());
}

// Without the words, in brackets, of a server that answers for itself.
std::string without_engines_words(std::string line) {
  constexpr std::string_view kBegin = "There is already a row with this key (";
  if (const std::size_t begin = line.find(kBegin); begin != std::string::npos)
    line.erase(begin + kBegin.size(), line.rfind(')') - begin - kBegin.size());
  return text::replace_all(line, "ODBC store", "SQLite store");
}

// What PostgreSQL says, as SQLite says it: the engine's own words are all that may differ.
std::string in_words_of_sqlite(std::string line) {
  static const std::pair<const char*, const char*> kWords[] = {
      {"PostgreSQL store", "SQLite store"},
      {"duplicate key value violates unique constraint \"PROPSBYPROPGROUP_pkey\"",
       "UNIQUE constraint failed: PROPSBYPROPGROUP.PROPERTYGROUPID, PROPSBYPROPGROUP.PROPERTYID"},
      {"duplicate key value violates unique constraint "
       "\"UQ_CATALOGPRODUCTPRICE_PRODUCTID_PRICEEFFECTIVEDATE_QU_a2513aef\"",
       "UNIQUE constraint failed: index 'UQ_CATALOGPRODUCTPRICE_PRODUCTID_PRICEEFFECTIVEDATE_QUANTITYTO_GROUPBY'"},
  };
  for (const auto& [postgresql, sqlite] : kWords) line = text::replace_all(line, postgresql, sqlite);
  return line;
}

TEST(CatalogueStory, LeavesTheSameRowsAndTheSameTrailOnEveryStore) {
  const TestStorePtr chosen = ChosenStore::by_environment().make(TemporaryFolder().path(), "kind", Tables::none);
  if (chosen->file()) GTEST_SKIP() << "the chosen store is one of SQLite, which others are compared with";
  TypedOffice office;
  Story(office).tell();
  const auto rows = office.whole_store();
  const auto trail = office.trail();
  TypedOffice embedded(ChosenStore("sqlite"));
  Story(embedded).tell();
  EXPECT_EQ(rows, embedded.whole_store());
  ASSERT_EQ(trail.size(), embedded.trail().size());
  for (std::size_t i = 0; i < trail.size(); ++i) {
    if (answers_for_itself(*chosen))
      EXPECT_EQ(without_engines_words(trail[i]), without_engines_words(embedded.trail()[i])) << i;
    else
      EXPECT_EQ(in_words_of_sqlite(trail[i]), embedded.trail()[i]) << i;
  }
}

}  // namespace
}  // namespace mercato::test
