// Writing commands that are killed at a random moment: the store is in order, and its sums are right.
#include <iterator>

#include "tests/support/random_rounds.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

constexpr int kRecords = 300;
constexpr int kUnits = 200;
constexpr int kNodes = 150;
constexpr int kCodes = 90;

class KilledCommands : public CommandTest {
 protected:
  KilledCommands() {
    std::string records;
    std::string prices;
    for (int i = 0; i < kRecords; ++i) {
      const std::string key = std::to_string(i);
      records += "<Product buyfrompartnumber=\"P" + key + "\"><PARTNUMBER>M" + key +
                 "</PARTNUMBER><PRODUCTDESCRIPTION>About it</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>"
                 "<COLOUR>red</COLOUR></Product>";
      prices += "<ProductPrice buyfrompartnumber=\"P" + key +
                "\"><CurrencyCode>EUR</CurrencyCode><Price>3</Price><QuantityTo>9</QuantityTo>"
                "<PriceEffectiveDate>1/1/2035</PriceEffectiveDate><PriceExpiryDate>12/31/2035</"
                "PriceExpiryDate><GROUPBY/></ProductPrice>";
    }
    write_file("records.xml", "<Products>" + records + "</Products>");
    write_file("prices.xml", "<ProductPrices>" + prices + "</ProductPrices>");
    std::string codes = "<UNSPSC_ITEM><CODE>10000000</CODE><DESCRIPTION>all</DESCRIPTION></UNSPSC_ITEM>";
    for (int i = 10; i < 10 + kCodes - 1; ++i)
      codes += "<UNSPSC_ITEM><CODE>10" + std::to_string(i) + "0000</CODE><DESCRIPTION>some</DESCRIPTION></UNSPSC_ITEM>";
    write_file("codes.xml", "<UNSPSC_ITEMS>" + codes + "</UNSPSC_ITEMS>");
    execute("INSERT CURRENCY (CURRENCYCODE) VALUES ('EUR');\n");
    std::string nodes = "id,parent,name\n0,,root\n";
    for (int i = 1; i < kNodes; ++i)
      nodes += std::to_string(i) + "," + std::to_string(i / 2) + ",node " + std::to_string(i) + "\n";
    write_file("nodes.csv", nodes);
  }
  // All of it or nothing.
  void write_script(int round) {
    std::string script;
    for (int i = 0; i < kUnits; ++i) {
      const std::string code = "'" + std::to_string(round) + "-" + std::to_string(i) + "'";
      script +=
          "INSERT UNIT (UNITCODE) VALUES (" + code + ");\nINSERT HAZARDOUSCLASS (CLASSCODE) VALUES (" + code + ");\n";
    }
    write_file("script.sql", script);
  }
  void kill_after(unsigned milliseconds, const std::string& command) {
    const std::string seconds =
        std::to_string(milliseconds / 1000) + "." + std::to_string(1000 + milliseconds % 1000).substr(1);
    tool_.run_line(command + " & p=$!; sleep " + seconds + "; kill -9 $p; wait $p");
  }
  int number_of(const std::string& from) {
    const json done = json::parse(run({"execute", "--json", "-"}, "SELECT COUNT(*) AS N FROM " + from + ";").out);
    return done.at("results").at(0).at("rows").at(0).at(0).get<int>();
  }
};

TEST_F(KilledCommands, LeaveAStoreInOrderWithRightSums) {
  RandomRounds rounds(6);
  int products = 0;
  while (rounds.next()) {
    write_script(rounds.round());
    const char* const commands[] = {
        "mercato upload --key k records.xml", "mercato execute script.sql", "mercato catalog load --name C nodes.csv",
        "mercato prices upload --key k prices.xml", "mercato unspsc load --overwrite --commodities codes.xml"};
    const unsigned which = rounds.below(std::size(commands));
    const unsigned milliseconds = 20 + rounds.below(500);
    SCOPED_TRACE(std::string(commands[which]) + ", killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, commands[which]);
    expect_done({"store", "check"}, "The store is in order.\n");
    EXPECT_EQ(number_of("UNIT") % kUnits, 0);
    EXPECT_EQ(number_of("UNIT"), number_of("HAZARDOUSCLASS"));
    EXPECT_EQ(number_of("CATALOGNODE"), kNodes * number_of("CATALOG"));
    EXPECT_GE(number_of("PRODUCT"), products) << "what was in the store stays";
    products = number_of("PRODUCT");
    EXPECT_LE(number_of("PRODUCTPROPVALUE"), products);
    EXPECT_LE(number_of("CATALOGPRODUCTPRICE"), products);
    EXPECT_EQ(number_of("CATALOGPRODUCTPRICE WHERE PRICE = 3 AND CURRENCYCODE = 'EUR'"),
              number_of("CATALOGPRODUCTPRICE"))
        << "half a line";
    // A code comes first, then its commodity.
    const int commodities = number_of("COMMODITY");
    EXPECT_LE(commodities, number_of("UNSPSCCODES"));
    EXPECT_LE(number_of("UNSPSCCODES"), commodities + 1);
  }
  const ToolRun rest = run({"upload", "--key", "k", "records.xml"});
  EXPECT_EQ(rest.status, 0) << rest.out << rest.err;
  EXPECT_EQ(number_of("PRODUCT"), kRecords);
  EXPECT_EQ(number_of("PRODUCTPROPVALUE"), kRecords);
  run({"prices", "upload", "--key", "k", "prices.xml"});
  EXPECT_EQ(number_of("CATALOGPRODUCTPRICE"), kRecords);
  run({"unspsc", "load", "--overwrite", "--commodities", "codes.xml"});
  EXPECT_EQ(number_of("UNSPSCCODES"), kCodes);
  EXPECT_EQ(number_of("COMMODITY"), kCodes);
}

}  // namespace
}  // namespace mercato::test
