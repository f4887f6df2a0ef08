// SPDX-License-Identifier: Apache-2.0
// What the tests of the price upload share: two products, two currencies, and documents with price lines.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "mercato/price_xml.h"
#include "tests/upload/upload_fixture.h"

namespace mercato::test {

// One line, and a document of some.
inline std::string price(const std::string& part_number, const std::string& fields) {
  return "<ProductPrice buyfrompartnumber=\"" + part_number + "\">" + fields + "</ProductPrice>";
}
inline std::string price_document(const std::string& lines) { return "<ProductPrices>" + lines + "</ProductPrices>"; }

// As it is written in a document.
inline std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    if (character == '<')
      result += "&lt;";
    else if (character == '&')
      result += "&amp;";
    else if (character == '"')
      result += "&quot;";
    else
      result += character;
  }
  return result;
}

// A valid line's fields with these values for some of them, or further ones.
inline std::string fields_with(const Fields& changes = {}, const std::string& without = {}) {
  Fields fields = {{"CurrencyCode", "EUR"},
                   {"Price", "10"},
                   {"PriceEffectiveDate", "7/1/2026"},
                   {"PriceExpiryDate", "12/31/2026"},
                   {"QuantityTo", "100"}};
  for (const auto& [name, value] : changes) {
    bool known = false;
    for (auto& field : fields)
      if (field.first == name) {
        field.second = value;
        known = true;
      }
    if (!known) fields.emplace_back(name, value);
  }
  std::string text;
  for (const auto& [name, value] : fields)
    if (name != without) text += "<" + name + ">" + value + "</" + name + ">";
  return text;
}
inline std::string fields_without(const std::string& name) { return fields_with({}, name); }
// A line of the product up to this quantity.
inline std::string band(const std::string& part_number, const std::string& quantity_to, const Fields& changes = {}) {
  Fields all = changes;
  all.emplace_back("QuantityTo", quantity_to);
  return price(part_number, fields_with(all));
}

class PriceTest : public UploadTest {
 protected:
  void SetUp() override {
    UploadTest::SetUp();
    execute({"INSERT CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('EUR', 'Euro')",
             "INSERT CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('USD', NULL)"});
    add_product("A-1");
    add_product("B-2");
  }

  // What every upload needs first; it asks nothing of the store but the currencies.
  static void load_currencies(PriceXML& upload) {
    upload.GetCheckedPriceList("<ProductPrices><ProductPrice/></ProductPrices>", false);
  }
  std::int32_t lines() const { return value_of("SELECT COUNT(*) FROM CATALOGPRODUCTPRICE").to_long(); }
  Variant line_value(const std::string& column, const std::string& condition = "1=1") const {
    return value_of("SELECT " + column + " FROM CATALOGPRODUCTPRICE WHERE " + condition);
  }
  std::vector<std::string> quantities() const {
    std::vector<std::string> texts;
    for (const auto& row : rows("SELECT QUANTITYTO FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, QUANTITYTO"))
      texts.push_back(row[0].to_text());
    return texts;
  }
  std::filesystem::path remaining_prices(const std::string& key = "k") const {
    return folder() / "web" / "XMLDownload" / ("remaining_prices_" + key + ".xml");
  }
};

}  // namespace mercato::test
