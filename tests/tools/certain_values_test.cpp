// SPDX-License-Identifier: Apache-2.0
// Numbers and dates of the command line that can be read two ways are refused, and so they are in a preview.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

class CertainValues : public CommandTest {
 protected:
  CertainValues()
      : CommandTest(
            "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR');\n"
            "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MULTIPLEBUYER) VALUES ('M', "
            "'Pen', "
            "'A', 0);\n") {}
};

TEST_F(CertainValues, AreWantedOfProductsAndPrices) {
  const std::string advice = " Write numbers as 1234.5 and dates as 2026-07-01.\n";
  expect_refused({"product", "set", "1", "MINORDERQTY=12,50", "PRODUCTEXPIRYDATE=04/03/2026"},
                 "mercato: MINORDERQTY \"12,50\": it is no number as the file writes them. PRODUCTEXPIRYDATE "
                 "\"04/03/2026\": it can be read as two dates." +
                     advice);
  expect_refused({"product", "new", "N", "New", "LOTSIZE=-1"}, "mercato: LOTSIZE \"-1\": it is below zero." + advice);
  const Words price = {"price", "set", "1", "--to-quantity", "9", "--currency", "EUR"};
  const auto with = [&](const Words& more) {
    Words all = price;
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  expect_refused(with({"--from", "04/03/2026", "--price", "5"}),
                 "mercato: PRICEEFFECTIVEDATE \"04/03/2026\": it can be read as two dates." + advice);
  expect_refused({"price", "for", "1", "--quantity", "9", "--currency", "EUR", "--date", "04/03/2026"},
                 "mercato: PRICEEFFECTIVEDATE \"04/03/2026\": it can be read as two dates." + advice);
  expect_refused(with({"--from", "2026-03-04", "--price", "1,250"}),
                 "mercato: PRICE \"1,250\": it can be read as two numbers." + advice);
  EXPECT_EQ(run(with({"--from", "2026-03-04", "--until", "2026-12-31", "--price", "1.25"})).status, 0);
}

TEST_F(CertainValues, AreWantedByPreviews) {
  write_file("products.xml",
             "<Products>\n<Product buyfrompartnumber=\"A\"><PARTNUMBER>M</PARTNUMBER><PRODUCTDESCRIPTION>Pen"
             "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>\n<LOTSIZE>1,250</LOTSIZE></Product></Products>");
  const json products = answer({"preview", "products.xml"}, 3);
  EXPECT_EQ(products.at("records").at(0).at("refused"),
            json::parse(R"([{"line":3,"field":"LOTSIZE","value":"1,250","reason":"it can be read as two numbers. Say )"
                        R"(the decimal sign with --decimal."}])"));
  EXPECT_EQ(answer({"preview", "products.xml", "--decimal", ","}, 3).at("records").at(0).contains("refused"), false);
  write_file("prices.xml",
             "<ProductPrices><ProductPrice buyfrompartnumber=\"A\"><CurrencyCode>EUR</CurrencyCode><Price>1,25</Price>"
             "<QuantityTo>9</QuantityTo><PriceEffectiveDate>2026-01-01</PriceEffectiveDate>"
             "<PriceExpiryDate>2026-12-31</PriceExpiryDate></ProductPrice></ProductPrices>");
  const json prices = answer({"prices", "preview", "prices.xml"}, 3);
  EXPECT_EQ(prices.at("lines").at(0).at("errors"),
            json({{"Price",
                   "1,25  (line 1: it is no number as the file writes them. Correct it, or say the decimal sign with "
                   "--decimal.)"}}));
  EXPECT_EQ(answer({"prices", "preview", "prices.xml", "--decimal", ","}).at("valid"), 1);
}

}  // namespace
}  // namespace mercato::test
