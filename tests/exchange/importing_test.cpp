// SPDX-License-Identifier: Apache-2.0
// The whole road from a file to documents, in parts.
#include "exchange/importing.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/store_fixture.h"

namespace mercato::exchange {
namespace {

class Imports : public mercato::test::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each')",
             "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
  }

  ImportOptions options_for(const std::string& text) const {
    std::ofstream(folder() / "parts.csv", std::ios::binary) << text;
    ImportOptions options;
    options.file = (folder() / "parts.csv").string();
    options.folder = folder().string();
    return options;
  }
  static std::size_t count_in(const std::string& path, const std::string& word) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    const std::string all = text.str();
    std::size_t count = 0;
    for (std::size_t at = all.find(word); at != std::string::npos; at = all.find(word, at + 1)) ++count;
    return count;
  }
};

std::string parts_with_prices(int count) {
  std::string text = "part number,description,unit,price,currency\n";
  for (int number = 1; number <= count; ++number)
    text += "P" + std::to_string(number) + (number == 4 ? ",," : ",Nut,") + "EA,1." + std::to_string(number) + ",EUR\n";
  return text;
}

TEST_F(Imports, GiveTheirDocumentsInPartsThatAddUp) {
  ImportOptions options = options_for(parts_with_prices(9));
  options.most_in_part = 6;
  std::string parts;
  const ImportReport report = import_file(options, [&](const ImportedPart& part) {
    EXPECT_EQ(count_in(part.products, "<Product "), part.product_count);
    EXPECT_EQ(count_in(part.prices, "<ProductPrice "), part.price_count);
    parts += std::to_string(part.product_count) + "+" + std::to_string(part.price_count) + " ";
    return true;
  });
  EXPECT_EQ(parts, "3+3 3+3 2+2 ");
  EXPECT_EQ(report.format, "csv");
  EXPECT_EQ(report.read, 9U);
  EXPECT_EQ(report.refused, 1U);
  EXPECT_EQ(report.products, 8U);
  EXPECT_EQ(report.price_lines, 8U);
  EXPECT_EQ(report.without_record, 0U);
  EXPECT_FALSE(report.stopped);
}

TEST_F(Imports, ReadNoFurtherThanTheirPartsAreTaken) {
  ImportOptions options = options_for(parts_with_prices(9));
  options.most_in_part = 6;
  const ImportReport report = import_file(options, [](const ImportedPart&) { return false; });
  EXPECT_TRUE(report.stopped);
  EXPECT_EQ(report.read, 3U);
  EXPECT_EQ(report.products, 3U);
}

TEST_F(Imports, WithoutABoundGiveOnePartEvenIfItIsEmpty) {
  std::string parts;
  const ImportReport report =
      import_file(options_for("part number,price,currency\nP1,x,EUR\n"), [&](const ImportedPart& part) {
        parts += std::to_string(part.product_count) + "+" + std::to_string(part.price_count) + " ";
        return true;
      });
  EXPECT_EQ(parts, "0+0 ");
  EXPECT_EQ(report.refused, 1U);
  EXPECT_EQ(count_in((folder() / "products.xml").string(), "<Products>"), 1U);
}

TEST_F(Imports, MergeEqualFindingsAndCountWhatIsLeftOut) {
  std::string text = "part number,description,unit,stock\n";
  for (int number = 1; number <= 5; ++number)
    text += "P" + std::to_string(number) + ",Nut,piece," + (number % 2 == 1 ? "7" : "") + "\n";
  ImportOptions options = options_for(text);
  options.mapping =
      read_mapping("number='part number'\n[fields]\nPRODUCTDESCRIPTION='description'\nUNITCODE='unit'\n", "m");
  const ImportReport report = import_file(options, [](const ImportedPart&) { return true; });
  ASSERT_EQ(report.findings.size(), 1U);
  const MergedFinding& finding = report.findings.front();
  EXPECT_EQ(finding.reason, Reason::unit);
  EXPECT_EQ(finding.count, 5U);
  ASSERT_EQ(finding.examples.size(), 3U);
  EXPECT_EQ(finding.examples[2].number, "P3");
  EXPECT_EQ(finding.examples[2].place.line, 4U);
  EXPECT_EQ(report.left_out, (std::map<std::string, std::size_t>{{"stock", 3}}));
  EXPECT_EQ(report.unknown_units.at("piece").proposal, "--unit 'piece=EA' takes it for that unit.");
}

TEST_F(Imports, OfOtherFormatsAreJudgedByTheSameRules) {
  ImportOptions options = options_for(
      "<BMECAT version=\"1.2\"><HEADER><CATALOG><LANGUAGE>eng</LANGUAGE><CATALOG_ID>1</CATALOG_ID>"
      "<CATALOG_VERSION>1</CATALOG_VERSION><CURRENCY>EUR</CURRENCY></CATALOG></HEADER><T_NEW_CATALOG>"
      "<ARTICLE><SUPPLIER_AID>A1</SUPPLIER_AID><ARTICLE_DETAILS><DESCRIPTION_SHORT>Nut</DESCRIPTION_SHORT>"
      "</ARTICLE_DETAILS><ARTICLE_ORDER_DETAILS><ORDER_UNIT>C62</ORDER_UNIT></ARTICLE_ORDER_DETAILS>"
      "<ARTICLE_PRICE_DETAILS><ARTICLE_PRICE price_type=\"net_customer\"><PRICE_AMOUNT>1,50</PRICE_AMOUNT>"
      "</ARTICLE_PRICE></ARTICLE_PRICE_DETAILS></ARTICLE></T_NEW_CATALOG></BMECAT>");
  const ImportReport report = import_file(options, [](const ImportedPart&) { return true; });
  EXPECT_EQ(report.format, "bmecat");
  EXPECT_EQ(report.refused, 1U);
  std::string found;
  for (const MergedFinding& finding : report.findings)
    found +=
        std::string(words_of(finding.reason).name) + " " + finding.field + " " + finding.examples.front().value + "\n";
  EXPECT_EQ(found, "number PRICE 1,50\nunit UNITCODE C62\n");
}

}  // namespace
}  // namespace mercato::exchange
