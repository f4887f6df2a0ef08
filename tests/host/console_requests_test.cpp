// SPDX-License-Identifier: Apache-2.0
// What the console changes and counts over HTTP beside the calls of the library: price lines, products of a code.
#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class PriceLinesOverHttp : public ServingTest {
 protected:
  HttpAnswer change(const std::string& body) const {
    return client().ask("POST", "/api/v1/products/1/prices", bearer(keeper_) + "Content-Type: application/json\r\n",
                        body);
  }
  Json prices() const { return json_of(get("/api/v1/products/1", reader_)).at("prices"); }
};

TEST_F(PriceLinesOverHttp, AreChangedDeletedAndPutBackAsTheyWere) {
  const Json before = prices();
  ASSERT_EQ(before.size(), 2U);
  Json after = before[0];
  after["PRICE"] = "4.75";
  after["PRICEEXPIRYDATE"] = "2027-12-31";
  EXPECT_EQ(change(Json{{"before", before[0]}, {"after", after}}.dump()).status, 204);
  const Json changed = prices()[0];
  EXPECT_EQ(changed.at("PRICE"), 4.75);
  EXPECT_EQ(changed.at("PRICEEXPIRYDATE"), "2027-12-31T00:00:00");
  EXPECT_EQ(changed.at("GROUPBY"), "");
  EXPECT_EQ(change(Json{{"before", changed}, {"after", nullptr}}.dump()).status, 204);
  EXPECT_EQ(prices().size(), 1U);
  EXPECT_EQ(change(Json{{"before", nullptr}, {"after", before[0]}}.dump()).status, 204);
  EXPECT_EQ(prices(), before);
}

TEST_F(PriceLinesOverHttp, StayWhereTheLibraryRefusesTheChange) {
  const Json before = prices();
  Json after = before[0];
  after["CURRENCYCODE"] = "XYZ";
  const HttpAnswer refused = change(Json{{"before", before[0]}, {"after", after}}.dump());
  EXPECT_EQ(json_of(refused).at("number"), -2147221497);
  after["CURRENCYCODE"] = "EUR";
  after["PRICE"] = "cheap";
  EXPECT_EQ(json_of(change(Json{{"before", before[0]}, {"after", after}}.dump())).at("number"), 13);
  after["PRICE"] = 1;
  after["QUANTITYTO"] = 99;  // the key of the other line
  EXPECT_GE(change(Json{{"before", before[0]}, {"after", after}}.dump()).status, 400);
  EXPECT_EQ(prices(), before);
}

TEST_F(PriceLinesOverHttp, AreRefusedForABodyThatIsNone) {
  const auto detail = [&](const std::string& body) {
    const HttpAnswer answer = change(body);
    return std::to_string(answer.status) + " " + json_of(answer).at("detail").get<std::string>();
  };
  EXPECT_EQ(detail("nothing"), "400 The body is an object with the members 'before' and 'after'.");
  EXPECT_EQ(detail(R"({"after":7})"), "400 The member 'after' is a price line, or null.");
  EXPECT_EQ(detail(R"({"after":{"PRICE":7,"QUANTITYTO":1}})"), "400 A price line has a value for PRICEEFFECTIVEDATE.");
  EXPECT_EQ(detail(R"({"before":{"PRICEEFFECTIVEDATE":"2019-01-01","QUANTITYTO":9}})"),
            "409 There is no such price line any longer.");
}

class CodesOverHttp : public ServingTest {};

TEST_F(CodesOverHttp, HaveTheNumberOfTheirProductsButNotForAUsersSight) {
  execute(
      {"INSERT INTO UNSPSCCODES (LEVELNUMBER, PARENTCODE, UNSPSCCODE, DESCRIPTION) VALUES (1, '', '14', 'Paper'), "
       "(1, '', '44', 'Office'), (2, '14', '11', 'Sheets')",
       "UPDATE PRODUCT SET UNSPSCCODE = '14111500' WHERE PRODUCTID <= 2",
       "UPDATE PRODUCT SET UNSPSCCODE = '14000000' WHERE PRODUCTID = 3"});
  const auto counts = [&](const std::string& query, const std::string& token) {
    std::string told;
    const Json answer = json_of(get("/api/v1/unspsc" + query, token));
    for (const Json& item : answer.at("items"))
      told += item.at("code").get<std::string>() + ":" + item.value("products", Json()).dump() + " ";
    return told;
  };
  EXPECT_EQ(counts("?with=products", reader_), "14:3 44:0 ");
  EXPECT_EQ(counts("?with=products&parent=14", reader_), "1411:2 ");
  EXPECT_EQ(counts("", reader_), "14:null 44:null ");
  EXPECT_EQ(counts("?with=products", ann_), "14:null 44:null ");
}

}  // namespace
}  // namespace mercato::test
