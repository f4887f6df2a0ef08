// SPDX-License-Identifier: Apache-2.0
// What an upload would change, told record by record.
#include "exchange/changes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "platform/xml/document.h"
#include "tests/support/store_fixture.h"

namespace mercato::exchange {
namespace {

constexpr std::array kWords = {"inserted", "changed", "unchanged", "refused"};

class UploadChanges : public mercato::test::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each')",
             "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')"});
    web_root_ = folder() / "web";
  }

  static std::string product(const std::string& key, const std::string& more) {
    return "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>M-" + key +
           "</PARTNUMBER><PRODUCTDESCRIPTION>About " + key + "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>" +
           more + "</Product>\n";
  }
  static std::string price(const std::string& key, const std::string& amount, const std::string& until = "10") {
    return "<ProductPrice buyfrompartnumber=\"" + key + "\"><CurrencyCode>EUR</CurrencyCode><Price>" + amount +
           "</Price><QuantityTo>" + until +
           "</QuantityTo><PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2026</PriceExpiryDate>"
           "<GROUPBY/></ProductPrice>\n";
  }
  std::string document(const std::string& records) const {
    std::ofstream(folder() / "records.xml", std::ios::binary) << "<Records>\n" << records << "</Records>";
    return (folder() / "records.xml").string();
  }
  void upload_products(const std::string& records) const {
    upload("Mercato.ProductXML", "insertProductsFromXML", records, {false});
  }
  void upload_prices(const std::string& records) const {
    upload("Mercato.PriceXML", "UpdateInsertPricesFromXML", records, {});
  }
  // One line for each record: what becomes of it, and its details.
  std::string changes_of(ChangeOptions options, const std::string& records) const {
    options.document = document(records);
    options.told_of = [](const RaisedError& failure, const upload::DocumentKind&) {
      return UploadField{"", "", failure.Number == error_number::kConstraintViolated ? "constraint" : "failed"};
    };
    std::string told;
    const ChangeCounts counts = changes_by_upload(options, [&](const RecordChange& change) {
      told += std::to_string(change.line) + " " + change.part_number +
              (change.number > 0 ? "/" + std::to_string(change.number) : "") + " " +
              kWords[static_cast<std::size_t>(change.change)];
      for (const FieldChange& field : change.fields)
        told += ", " + field.field + " " + field.before + " -> " + field.after;
      for (const auto* fields : {&change.reasons, &change.dropped, &change.cut})
        for (const UploadField& field : *fields) told += ", " + field.field + " [" + field.value + "] " + field.reason;
      told += "\n";
    });
    return told + std::to_string(counts.inserted) + "+" + std::to_string(counts.changed) + "+" +
           std::to_string(counts.unchanged) + "+" + std::to_string(counts.refused) + " of " +
           std::to_string(counts.read());
  }
  std::string changes_of(const std::string& records) const { return changes_of({}, records); }
  std::vector<std::vector<Variant>> whole_store() const {
    std::vector<std::vector<Variant>> all;
    for (const char* query :
         {"SELECT * FROM PRODUCT ORDER BY PRODUCTID", "SELECT * FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID",
          "SELECT * FROM PROPERTY ORDER BY PROPERTYID", "SELECT * FROM PRODUCTBUYER",
          "SELECT * FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO, PRICE"})
      for (auto& row : rows(query)) all.push_back(row);
    return all;
  }

  std::filesystem::path web_root_;

 private:
  void upload(const char* class_name, const char* method, const std::string& records,
              const std::vector<Variant>& more) const {
    const std::string path = document(records);
    xml::Document loaded;
    ASSERT_TRUE(loaded.load(path));
    std::vector<Variant> numbers;
    for (const char* element : {"Product", "ProductPrice"})
      for (const xml::Node& record : loaded.elements_by_tag_name(element))
        if (const Variant number(*record.attribute("buyfrompartnumber"));
            std::ranges::find(numbers, number) == numbers.end())
          numbers.push_back(number);
    const ComponentPtr library = create_root(class_name);
    if (more.empty()) invoke(library, "GetCheckedPriceList", {kNoPrices, false});
    std::vector<Variant> arguments = {"test/\\" + path, true, Array(numbers)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    invoke(library, method, arguments);
  }
  static constexpr const char* kNoPrices = "<ProductPrices><ProductPrice/></ProductPrices>";
};

TEST_F(UploadChanges, OfProductsAreThoseOfTheUploadAndNothingIsWritten) {
  upload_products(product("A", "<LOTSIZE>5</LOTSIZE><Colour>red</Colour>") + product("B", "<LOTSIZE>5</LOTSIZE>") +
                  product("C", ""));
  const auto before = whole_store();
  EXPECT_EQ(changes_of(product("N", "") + product("A", "<LOTSIZE>6</LOTSIZE><Colour>blue</Colour><Size>L</Size>") +
                       product("b", "<LOTSIZE>5.0</LOTSIZE>") + product("C", "<LOTSIZE>many</LOTSIZE>") +
                       "<Product buyfrompartnumber=\"X\"><PARTNUMBER>M</PARTNUMBER></Product>\n" +
                       "<Product><PARTNUMBER>lost</PARTNUMBER></Product>\n" + product("it's", "")),
            "2 N inserted\n"
            "3 A changed, LOTSIZE 5 -> 6, COLOUR red -> blue, SIZE  -> L\n"
            "4 b changed, PARTNUMBER M-B -> M-b, PRODUCTDESCRIPTION About B -> About b\n"
            "5 C refused, LOTSIZE [many] not a number\n"
            "6 X refused,  [] constraint\n"
            "7  refused,  [] It has no attribute buyfrompartnumber.\n"
            "8 it's refused,  [] No run finds a part number with an apostrophe.\n"
            "1+2+0+4 of 7");
  EXPECT_EQ(whole_store(), before);
  EXPECT_EQ(changes_of(product("C", "") + product("A", "<Colour>red</Colour>")),
            "2 C unchanged\n3 A unchanged\n0+0+2+0 of 2");
}

TEST_F(UploadChanges, OfARecordAreThoseBehindTheRecordsBeforeIt) {
  upload_products(product("A", "<LOTSIZE>5</LOTSIZE>"));
  EXPECT_EQ(changes_of(product("A", "<LOTSIZE>6</LOTSIZE>") + product("A", "<LOTSIZE>6</LOTSIZE>") +
                       product("A", "<LOTSIZE>5</LOTSIZE>") + product("N", "") + product("N", "<URL>u</URL>")),
            "2 A changed, LOTSIZE 5 -> 6\n3 A unchanged\n4 A changed, LOTSIZE 6 -> 5\n5 N inserted\n"
            "6 N changed, URL  -> u\n1+3+1+0 of 5");
}

TEST_F(UploadChanges, SayWhatIsLeftOutAndCut) {
  ChangeOptions options;
  options.write_on_errors = true;
  EXPECT_EQ(changes_of(options, product("A", "<LOTSIZE>many</LOTSIZE><Colour>" + std::string(31, 'r') + "</Colour>")),
            "2 A inserted, LOTSIZE [many] not a number, COLOUR [" + std::string(31, 'r') +
                "] cut to 30 characters\n1+0+0+0 of 1");
}

TEST_F(UploadChanges, OfUpdatesAloneRefuseWhatIsNew) {
  upload_products(product("A", "") + product("B", ""));
  ChangeOptions options;
  options.update_only = true;
  EXPECT_EQ(changes_of(options, product("A", "<URL>u</URL>") + product("N", "") + product("B", "") +
                                    product("A", "<URL>v</URL>")),
            "2 A changed, URL  -> u\n3 N refused,  [] No product has this part number.\n4 B unchanged\n"
            "5 A refused,  [] It stands in the document before; an update reads the first one only.\n0+1+1+2 of 4");
}

TEST_F(UploadChanges, OfPricesAreToldLineByLine) {
  upload_products(product("A", "") + product("B", ""));
  upload_prices(price("A", "5") + price("A", "4", "100") + price("B", "7"));
  const auto before = whole_store();
  EXPECT_EQ(changes_of(price("A", "5") + price("B", "8") + price("A", "3.5", "100") + price("A", "3", "500") +
                       price("A", "2", "500") + price("B", "x") + price("N", "1") +
                       "<ProductPrice><Price>1</Price></ProductPrice>\n"),
            "2 A/1 unchanged\n"
            "3 B/1 changed, PRICE 7 -> 8\n"
            "8 N/1 refused,  [] No product has this part number.\n"
            "9 /1 refused,  [] It has no attribute buyfrompartnumber.\n"
            "4 A/2 changed, PRICE 4 -> 3.5\n"
            "7 B/2 refused, Price [x] not a number\n"
            "5 A/3 inserted\n"
            "6 A/4 changed, PRICE 3 -> 2\n"
            "1+3+1+3 of 8");
  EXPECT_EQ(whole_store(), before);
  EXPECT_FALSE(std::filesystem::exists(web_root_ / "XMLDownload") &&
               !std::filesystem::is_empty(web_root_ / "XMLDownload"));
}

TEST_F(UploadChanges, OfALineWithoutAGroupAreThatItCannotBeChanged) {
  upload_products(product("A", ""));
  std::string line = price("A", "5");
  line.erase(line.find("<GROUPBY/>"), std::string("<GROUPBY/>").size());
  execute(
      {"INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, PRICE, CURRENCYCODE) SELECT "
       "PRODUCTID, '2026-01-01', 10, 4, 'EUR' FROM PRODUCT"});
  EXPECT_EQ(changes_of(line), "2 A/1 refused,  [] constraint\n0+0+0+1 of 1");
}

TEST_F(UploadChanges, OfMorePartsThanOneAddUp) {
  std::string records;
  for (int number = 0; number < 600; ++number) records += product("P-" + std::to_string(number), "");
  upload_products(records);
  records += product("P-1", "<URL>u</URL>") + product("NEW", "");
  const std::string told = changes_of(records);
  EXPECT_EQ(told.substr(told.rfind('\n') + 1), "1+1+600+0 of 602");
}

TEST_F(UploadChanges, OfADocumentWithoutRecordsAreAFailure) {
  EXPECT_THROW(changes_of("<Other/>"), Raised);
  EXPECT_THROW(changes_of("<Product"), Raised);
}

}  // namespace
}  // namespace mercato::exchange
