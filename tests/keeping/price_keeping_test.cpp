// SPDX-License-Identifier: Apache-2.0
// Price lines of many products: exact changes, ends and deletions.
#include "keeping/price_keeping.h"

#include "tests/keeping/keeping_fixture.h"

namespace mercato::test {
namespace {

using keeping::changed_by;
using keeping::parse_percentage;

std::string changed(const std::string& amount, const std::string& by, int decimals) {
  return changed_by(Currency::from_text(amount), parse_percentage(by).value(), decimals).text();
}

TEST(Percentages, AreReadExactlyOrNotAtAll) {
  const auto read = [](const char* text) { return parse_percentage(text).value().ten_thousandths; };
  EXPECT_EQ(read("3%"), 30000);
  EXPECT_EQ(read("+0.0001"), 1);
  EXPECT_EQ(read(" -2.5 % "), -25000);
  EXPECT_EQ(read("-99.9999"), -999999);
  for (const char* wrong :
       {"", "%", "3.", ".5", "3,5", "1e2", "--3", "3%%", "-100", "1.23456", "1000000", "0x3", "3 5"})
    EXPECT_FALSE(parse_percentage(wrong)) << wrong;
}

TEST(Percentages, ChangeAmountsExactlyWithHalvesAwayFromZero) {
  EXPECT_EQ(changed("4.20", "3%", 2), "4.33");
  EXPECT_EQ(changed("0.50", "1%", 2), "0.51");    // 0.505
  EXPECT_EQ(changed("-0.50", "1%", 2), "-0.51");  // -0.505
  EXPECT_EQ(changed("1.15", "10%", 2), "1.27");   // 1.265, which no binary fraction is
  EXPECT_EQ(changed("1.15", "10%", 4), "1.265");
  EXPECT_EQ(changed("1.15", "10%", 0), "1");
  EXPECT_EQ(changed("900000000000000.0000", "2.4%", 2), "921600000000000");
  EXPECT_THROW(changed("922337203685477.5807", "1%", 2), Raised);
  EXPECT_EQ(changed("100", "-99.9999%", 4), "0.0001");
}

class KeptPrices : public KeepingTest {
 protected:
  void SetUp() override {
    KeepingTest::SetUp();
    const std::string line =
        "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, "
        "PRICEEXPIRYDATE, PRICE) VALUES ";
    execute({line + "(1, '2026-01-01', 9, NULL, N'EUR', NULL, 1.15)",
             line + "(1, '2026-01-01', 99, NULL, N'EUR', NULL, 1.05)",
             line + "(1, '2026-01-01', 99, N'KEY', N'USD', '2026-06-30', 2)",
             line + "(2, '2026-07-01', 9, NULL, N'EUR', NULL, NULL)",
             line + "(3, '2027-01-01', 9, NULL, N'EUR', NULL, 0.01)"});
  }
  Table prices() const {
    return rows(
        "SELECT PRODUCTID, QUANTITYTO, GROUPBY, PRICE FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO, "
        "GROUPBY");
  }
};

const Ids kAll = {1, 2, 3};

TEST_F(KeptPrices, ChangeByPercentWithOrWithoutAGroup) {
  const Table before = prices();
  std::vector<std::string> told;
  const auto tell = [&](const keeping::ChangedPrice& line) {
    told.push_back(std::to_string(line.line.product) + " " + line.line.group + " " + line.before.text() + " " +
                   line.after.text());
  };
  const keeping::PriceChange plan = keeping::change_prices(kAll, {}, *parse_percentage("10%"), 2, false, tell);
  EXPECT_EQ(plan.changed, 3U);
  EXPECT_EQ(plan.same, 1U);
  EXPECT_EQ(plan.priceless, 1U);
  EXPECT_EQ(told, (std::vector<std::string>{"1  1.15 1.27", "1  1.05 1.16", "1 KEY 2 2.2"}));
  EXPECT_EQ(prices(), before);
  const auto quiet = [](const keeping::ChangedPrice&) {};
  kept([&] { return keeping::change_prices(kAll, {}, *parse_percentage("10%"), 2, true, quiet); });
  EXPECT_EQ(prices(), (Table{{1, 9.0, kNull, Currency::from_text("1.27")},
                             {1, 99.0, kNull, Currency::from_text("1.16")},
                             {1, 99.0, "KEY", Currency::from_text("2.2")},
                             {2, 9.0, kNull, kNull},
                             {3, 9.0, kNull, Currency::from_text("0.01")}}));
  keeping::PriceLineChoice choice;
  choice.holding_on = Date::parse("2026-07-01");
  choice.currency = "eur";
  choice.group = "";
  EXPECT_EQ(keeping::count_price_lines(kAll, choice), 4U);
  choice.currency = "USD";
  choice.group = "KEY";
  EXPECT_EQ(keeping::count_price_lines(kAll, choice), 0U);
}

TEST_F(KeptPrices, EndOnADayUnlessTheyAreOverOrBeginLater) {
  const Date day = *Date::parse("2026-09-30");
  EXPECT_EQ(keeping::end_prices(kAll, {}, day, false).ended, 3U);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM CATALOGPRODUCTPRICE WHERE PRICEEXPIRYDATE IS NOT NULL").to_long(), 1);
  const keeping::PriceEnd done = kept([&] { return keeping::end_prices(kAll, {}, day, true); });
  EXPECT_EQ(done.ended, 3U);
  EXPECT_EQ(done.over, 1U);
  EXPECT_EQ(done.later, 1U);
  EXPECT_EQ(rows("SELECT PRODUCTID FROM CATALOGPRODUCTPRICE WHERE PRICEEXPIRYDATE = '2026-09-30' ORDER BY PRODUCTID"),
            (Table{{1}, {1}, {2}}));
}

TEST_F(KeptPrices, AreDeletedByWhatIsSaidOfThem) {
  keeping::PriceLineChoice choice;
  choice.from = Date::parse("2026-01-01");
  choice.to_quantity = 99;
  choice.group = "";
  EXPECT_EQ(kept([&] { return keeping::delete_price_lines(kAll, choice); }), 1U);
  EXPECT_EQ(kept([&] { return keeping::delete_price_lines(Ids{2, 3}, {}); }), 2U);
  EXPECT_EQ(rows("SELECT QUANTITYTO, GROUPBY FROM CATALOGPRODUCTPRICE ORDER BY QUANTITYTO"),
            (Table{{9.0, kNull}, {99.0, "KEY"}}));
}

DictionaryPtr line(const char* from, double to, const Variant& group, const char* price) {
  auto line = std::make_shared<Dictionary>();
  line->Add("PRICEEFFECTIVEDATE", *Date::parse(from));
  line->Add("QUANTITYTO", to);
  line->Add("GROUPBY", group);
  line->Add("CURRENCYCODE", "EUR");
  line->Add("PRICE", price);
  return line;
}

TEST_F(KeptPrices, AreReplacedOneByOneWhateverTheirGroupIs) {
  execute({"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
  const auto replaced = [](const DictionaryPtr& before, const DictionaryPtr& after) {
    return kept([&] { return keeping::replace_price_line(1, before, after); });
  };
  EXPECT_TRUE(replaced(line("2026-01-01", 9, kNull, ""), line("2026-01-01", 9, kNull, "1.2")));
  EXPECT_TRUE(replaced(line("2026-01-01", 99, "KEY", ""), nullptr));
  EXPECT_TRUE(replaced(nullptr, line("2026-01-01", 19, "", "1.3")));
  EXPECT_FALSE(replaced(line("2026-01-01", 99, "KEY", ""), line("2026-01-01", 99, kNull, "9")));
  const Table expected = {{9.0, kNull, Currency::from_text("1.2")},
                          {19.0, "", Currency::from_text("1.3")},
                          {99.0, kNull, Currency::from_text("1.05")}};
  const std::string sql =
      "SELECT QUANTITYTO, GROUPBY, PRICE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 1 ORDER BY QUANTITYTO, PRICE";
  EXPECT_EQ(rows(sql), expected);
  // What is refused leaves the line that stood there.
  EXPECT_THROW(replaced(line("2026-01-01", 19, "", ""), line("2026-01-01", 9, kNull, "2")), Raised);
  EXPECT_EQ(rows(sql), expected);
}

}  // namespace
}  // namespace mercato::test
