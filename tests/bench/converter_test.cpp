// SPDX-License-Identifier: Apache-2.0
// Real data through the converter and the upload: nothing of it is lost on the way.
#include <algorithm>
#include <fstream>
#include <set>

#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "bench/support/price_converter.h"
#include "bench/support/product_converter.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product_xml.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

class ConverterTest : public StoreTest {
 protected:
  std::filesystem::path write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::int64_t count(const std::string& table) const { return value_of("SELECT COUNT(*) FROM " + table).to_long(); }
};

constexpr char kHeader[] =
    "part_number,mfr_part_number,manufacturer,description,category_path,package,gtin,unit,currency,price_tiers,moq,"
    "order_multiple,packaging,packaging_qty,stock_qty,library_class,rohs,image_file\n";

TEST_F(ConverterTest, ARowBecomesARecordOfTheColumnsThatItHas) {
  const auto csv =
      write("parts.csv", std::string(kHeader) +
                             "C'1,\"N<1>\",XI'AN,\"say \"\"a, b\"\"\",Diodes > Zener & more,DIP-4,,,USD,1:2,5,10,Tray,"
                             "500,77,Basic,yes,a.jpg\n");
  std::ostringstream document;
  const bench::Converted converted = bench::components_to_products(csv, bench::kAllRecords, document);
  EXPECT_EQ(document.str(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Products>\n"
            "  <Product buyfrompartnumber=\"C\u20191\">\n"
            "    <PARTNUMBER>N&lt;1&gt;</PARTNUMBER>\n"
            "    <PRODUCTDESCRIPTION>say &quot;a, b&quot;</PRODUCTDESCRIPTION>\n"
            "    <UNITCODE>PCE</UNITCODE>\n"
            "    <PRODUCTREMARK>Diodes &gt; Zener &amp; more</PRODUCTREMARK>\n"
            "    <CLASSIFICATION>Diodes</CLASSIFICATION>\n"
            "    <MFRPARTNUMBER>N&lt;1&gt;</MFRPARTNUMBER>\n"
            "    <IMAGEFILENAME>a.jpg</IMAGEFILENAME>\n"
            "    <MINORDERQTY>5</MINORDERQTY>\n"
            "    <MULTIPLEOF>10</MULTIPLEOF>\n"
            "    <LOTSIZE>500</LOTSIZE>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "    <SERVICEITEM>0</SERVICEITEM>\n"
            "    <DISABLED>0</DISABLED>\n"
            "    <MANUFACTURER>XI\u2019AN</MANUFACTURER>\n"
            "    <PACKAGE>DIP-4</PACKAGE>\n"
            "    <CATEGORY>Zener &amp; more</CATEGORY>\n"
            "    <LIBRARY_CLASS>Basic</LIBRARY_CLASS>\n"
            "    <ROHS>yes</ROHS>\n"
            "    <PACKAGING>Tray</PACKAGING>\n"
            "    <STOCK_QTY>77</STOCK_QTY>\n"
            "  </Product>\n"
            "</Products>\n");
  EXPECT_EQ(converted.part_numbers, std::vector<std::string>{"C\u20191"});
  EXPECT_EQ(converted.fields, 20u);
  EXPECT_EQ(converted.properties, 7u);
}

TEST_F(ConverterTest, ARowWithoutDescriptionIsDescribedByMakerNumberAndPackage) {
  const auto csv = write("parts.csv", std::string(kHeader) + "C1,N1,Maker,,Diodes,DIP-4,,,USD,1:2,,,,,0,Basic,,\n");
  std::ostringstream document;
  bench::components_to_products(csv, 1, document);
  EXPECT_NE(document.str().find("<PRODUCTDESCRIPTION>Maker N1 DIP-4</PRODUCTDESCRIPTION>"), std::string::npos)
      << document.str();
}

TEST_F(ConverterTest, TheLimitEndsTheDocument) {
  const std::string row = ",N,M,D,Diodes,P,,,USD,1:2,,,,,0,Basic,,\n";
  const auto csv = write("parts.csv", std::string(kHeader) + "C1" + row + "C2" + row + "C3" + row);
  std::ostringstream document;
  EXPECT_EQ(bench::components_to_products(csv, 2, document).part_numbers, (std::vector<std::string>{"C1", "C2"}));
}

TEST(PropertyName, IsWhatTheUploadCanKeep) {
  EXPECT_EQ(bench::property_name("Dc resistance"), "DC_RESISTANCE");
  EXPECT_EQ(bench::property_name("-3db bandwidth(g=1)"), "P_3DB_BANDWIDTH_G_1");
  EXPECT_EQ(bench::property_name("Number"), "P_NUMBER");
  EXPECT_EQ(bench::property_name("Resistance @ 25\u2103"), "RESISTANCE_25");
  EXPECT_EQ(bench::property_name("Collector-emitter saturation voltage (vce(sat)@ic,ib)"),
            "COLLECTOR_EMITTER_SATURATION_V");
}

TEST_F(ConverterTest, ASecondPropertyOfOneNameGetsANumber) {
  const auto csv = write("parts.csv", std::string(kHeader) + "C1,N,M,D,Diodes,DIP-4,,,USD,1:2,,,,,0,Basic,,\n");
  const auto attributes = write(
      "attributes.csv", "part_number,attribute,value\nC1,Package,a'b\nC1,Speed (max),1\nC1,Speed(max),2\nC2,Speed,3\n");
  std::ostringstream document;
  bench::components_to_products(csv, 1, document, bench::read_attributes(attributes));
  EXPECT_NE(document.str().find("    <PACKAGE_2>a\u2019b</PACKAGE_2>\n"
                                "    <SPEED_MAX>1</SPEED_MAX>\n"
                                "    <SPEED_MAX_2>2</SPEED_MAX_2>\n"
                                "  </Product>\n"),
            std::string::npos)
      << document.str();
}

TEST_F(ConverterTest, ARowOfAnotherLengthIsRefusedWithItsPlace) {
  const auto csv = write("parts.csv", "part_number,attribute,value\nC1,Speed,3\nC2,Speed\n");
  try {
    bench::read_attributes(csv);
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& failure) {
    EXPECT_EQ(failure.what(), csv.string() + ", row 3: the row has 2 fields");
  }
}

// The values of the properties of the 1,000 records, as the file has them, by part number and name.
TEST_F(ConverterTest, PriceTiersBecomeLinesUpToTheNextTier) {
  const std::string row = ",N,M,D,Diodes,P,,,USD,";
  const auto csv = write("parts.csv", std::string(kHeader) + "C'1" + row + "1:0.5;200:0.25;4000:0.1,,,,,0,Basic,,\n" +
                                          "C2" + row + ",,,,,0,Basic,,\n" + "C3" + row + "10:2,,,,,0,Basic,,\n" + "C4" +
                                          row + "1:9;2:8,,,,,0,Basic,,\n");
  std::ostringstream document;
  const bench::ConvertedPrices converted = bench::components_to_prices(csv, 5, document);
  const auto line = [](const std::string& part_number, const std::string& price, const std::string& quantity_to) {
    return "  <ProductPrice buyfrompartnumber=\"" + part_number +
           "\">\n    <CurrencyCode>USD</CurrencyCode>\n    <Price>" + price + "</Price>\n" +
           (quantity_to.empty() ? "" : "    <QuantityTo>" + quantity_to + "</QuantityTo>\n") +
           "    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate>\n"
           "    <PriceExpiryDate>12/31/2026</PriceExpiryDate>\n  </ProductPrice>\n";
  };
  EXPECT_EQ(document.str(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ProductPrices>\n" +
                                line("C\u20191", "0.5", "199") + line("C\u20191", "0.25", "3999") +
                                line("C\u20191", "0.1", "") + line("C3", "2", "") + "</ProductPrices>\n")
      << "the two lines of the last row do not fit the limit";
  EXPECT_EQ(converted.part_numbers, (std::vector<std::string>{"C\u20191", "C3"}));
  EXPECT_EQ(converted.lines, 4u);
  const auto damaged = write("damaged.csv", std::string(kHeader) + "C1" + row + "1;2,,,,,0,Basic,,\n");
  EXPECT_THROW(bench::components_to_prices(damaged, 5, document), std::runtime_error);
}

TEST_F(ConverterTest, AThousandRealRecordsArriveWhole) {
  const std::filesystem::path csv = bench::data_folder() / "products" / "components-1k.csv";
  if (!std::filesystem::exists(csv))
    GTEST_SKIP() << "there is no real data at " << csv << "; MERCATO_DATA names its folder";
  const std::filesystem::path document = folder() / "products.xml";
  std::ofstream file(document);
  const bench::Converted converted = bench::components_to_products(csv, bench::kAllRecords, file);
  file.close();
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PCE', 'piece')"});

  Array part_numbers;
  part_numbers.items.assign(converted.part_numbers.begin(), converted.part_numbers.end());
  const Root<ProductXML> upload;
  upload->insertProductsFromXML("thousand/\\" + document.string(), true, part_numbers, false);

  // Counted in the file itself, in other columns than those that the converter reads.
  std::int64_t products = 0;
  std::int64_t values = 0;
  std::set<std::string> properties;
  bench::CsvReader reader(csv);
  const std::pair<const char*, const char*> columns[] = {
      {"manufacturer", "MANUFACTURER"}, {"package", "PACKAGE"},    {"library_class", "LIBRARY_CLASS"}, {"rohs", "ROHS"},
      {"packaging", "PACKAGING"},       {"stock_qty", "STOCK_QTY"}};
  std::vector<std::string> row;
  while (reader.next(row)) {
    ++products;
    for (const auto& [column, property] : columns) {
      if (row[reader.column(column)].empty()) continue;
      ++values;
      properties.insert(property);
    }
    if (row[reader.column("category_path")].find(" > ") == std::string::npos) continue;
    ++values;
    properties.insert("CATEGORY");
  }
  ASSERT_EQ(products, 1000);
  EXPECT_EQ(static_cast<std::int64_t>(part_numbers.items.size()), products);
  EXPECT_EQ(count("PRODUCT"), products);
  EXPECT_EQ(count("PRODUCTPROPVALUE"), values);
  std::set<std::string> found;
  for (const auto& property : rows("SELECT PROPERTYNAME FROM PROPERTY")) found.insert(property[0].to_text());
  EXPECT_EQ(found, properties);
  EXPECT_EQ(count("PROPERTY"), static_cast<std::int64_t>(properties.size()));
  EXPECT_FALSE(std::filesystem::exists(folder() / "web" / "XMLDownload" / "remaining_products_thousand.xml"));

  // One record, field by field.
  const auto product = rows(
      "SELECT PARTNUMBER, UNITCODE, CLASSIFICATION, PRODUCTREMARK, MINORDERQTY, LOTSIZE FROM PRODUCT"
      " WHERE BUYFROMPARTNUMBER = 'C1002'");
  ASSERT_EQ(product.size(), 1u);
  EXPECT_EQ(product[0][0].to_text(), "GZ1608D601TF");
  EXPECT_EQ(product[0][1].to_text(), "PCE");
  EXPECT_EQ(product[0][2].to_text(), "Filters/EMI Optimization");
  EXPECT_EQ(product[0][3].to_text(), "Filters/EMI Optimization > Ferrite Beads");
  EXPECT_EQ(product[0][4].to_double(), 1);
  EXPECT_TRUE(product[0][5].is_null());
}

TEST_F(ConverterTest, ThePricesOfAThousandRealRecordsArriveWhole) {
  const std::filesystem::path csv = bench::data_folder() / "products" / "components-1k.csv";
  if (!std::filesystem::exists(csv))
    GTEST_SKIP() << "there is no real data at " << csv << "; MERCATO_DATA names its folder";
  const std::filesystem::path document = folder() / "prices.xml";
  std::ofstream file(document);
  const bench::ConvertedPrices converted = bench::components_to_prices(csv, bench::kAllLines, file);
  file.close();
  execute({"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD')"});
  for (const std::string& part_number : converted.part_numbers)
    execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('N', 'D', '" +
             part_number + "')"});

  Array part_numbers;
  part_numbers.items.assign(converted.part_numbers.begin(), converted.part_numbers.end());
  const Root<PriceXML> upload;
  upload->GetCheckedPriceList(document.string(), true);
  upload->UpdateInsertPricesFromXML("thousand/\\" + document.string(), true, part_numbers);

  // Counted in the file itself.
  std::int64_t tiers = 0;
  bench::CsvReader reader(csv);
  std::vector<std::string> row;
  while (reader.next(row)) {
    const std::string& text = row[reader.column("price_tiers")];
    tiers += std::count(text.begin(), text.end(), ':');
  }
  EXPECT_EQ(count("CATALOGPRODUCTPRICE"), tiers);
  EXPECT_FALSE(std::filesystem::exists(folder() / "web" / "XMLDownload" / "remaining_prices_thousand.xml"));
  std::string bands;
  for (const auto& line : rows("SELECT QUANTITYTO, PRICE FROM CATALOGPRODUCTPRICE INNER JOIN PRODUCT ON "
                               "PRODUCT.PRODUCTID = CATALOGPRODUCTPRICE.PRODUCTID WHERE BUYFROMPARTNUMBER = 'C1002' "
                               "ORDER BY QUANTITYTO"))
    bands += line[0].to_text() + ":" + line[1].to_text() + " ";
  EXPECT_EQ(bands, "199:0.0188 599:0.0162 3999:0.0151 7999:0.0143 19999:0.0139 999999999:0.0137 ");
}

}  // namespace
}  // namespace mercato::test
