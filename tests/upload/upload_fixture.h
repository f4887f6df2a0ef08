// SPDX-License-Identifier: Apache-2.0
// What the tests of the uploads share: documents, reference data, expected texts.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "frame/lib_error_handling.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/product_xml.h"
#include "tests/support/failure_trail.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

using Fields = std::vector<std::pair<std::string, std::string>>;

inline constexpr const char* kReadCommitted = "set TRANSACTION ISOLATION LEVEL READ COMMITTED";

inline std::string fixture_path(const std::string& name) {
  return std::string(MERCATO_SOURCE_DIR) + "/tests/upload/fixtures/" + name + ".xml";
}

inline std::string read_whole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string fixture(const std::string& name) { return read_whole(fixture_path(name)); }

// One record, and a document of some.
inline std::string record(const std::string& part_number, const std::string& fields) {
  return "<Product buyfrompartnumber=\"" + part_number + "\">" + fields + "</Product>";
}
inline std::string document(const std::string& records) { return "<PRODUCTS>" + records + "</PRODUCTS>"; }
// The three required fields.
inline const std::string kRequired =
    "<UNIT>PC</UNIT><PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER>";

// What stands between the last " DESC: " and the full stop that closes its line.
inline std::string innermost_description(const std::string& text) {
  constexpr std::string_view kLabel = " DESC: ";
  const std::size_t begin = text.rfind(kLabel);
  if (begin == std::string::npos) return {};
  return text.substr(begin + kLabel.size(), text.find(".\r\n", begin) - begin - kLabel.size());
}

inline Fields fields_of(const DictionaryPtr& dictionary) {
  Fields fields;
  dictionary->for_each(
      [&](const Variant& key, const Variant& item) { fields.emplace_back(key.to_text(), item.to_text()); });
  return fields;
}

inline std::string repeated(std::size_t count, char letter) { return std::string(count, letter); }

class UploadTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')",
             "INSERT COMMODITY (COMMODITYCODE) VALUES ('OFFICE')",
             "INSERT CONTRACTLINES (CONTRACTCODE, NUMBER) VALUES ('K7', 5)",
             "INSERT HAZARDOUSCLASS (CLASSCODE) VALUES ('H1')",
             "INSERT UNSPSCCODES (PARENTCODE, UNSPSCCODE) VALUES ('4412', '07')",
             "INSERT USERS (USERID, ISACTIVE, ISBUYER) VALUES ('ann', 1, 1)",
             "INSERT USERS (USERID, ISACTIVE, ISBUYER) VALUES ('bob', 1, 1)",
             "INSERT USERS (USERID, ISACTIVE, ISBUYER) VALUES ('idle', 0, 1)",
             "INSERT BUSINESSPARTNER (BUSINESSID) VALUES ('ACME')"});
  }

  static void set_unspsc_setting(const std::string& value) {
    collaborators::Settings settings = *collaborators::settings();
    settings.parameters["COMMONPARAMETERS"]["UNSPSCIMPLEMENTED"] = Variant(value);
    collaborators::set_settings(settings);
  }

  // A column of the product with that buy-from part number.
  Variant product(const std::string& column, const std::string& part_number = "A-1") const {
    return value_of("SELECT " + column + " FROM PRODUCT WHERE BUYFROMPARTNUMBER='" + part_number + "'");
  }
  std::int32_t products() const { return value_of("SELECT COUNT(*) FROM PRODUCT").to_long(); }
  Variant property(const std::string& name, const std::string& part_number = "A-1") const {
    return value_of(
        "SELECT VALUE FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID "
        "INNER JOIN PRODUCT ON PRODUCT.PRODUCTID = PRODUCTPROPVALUE.PRODUCTID WHERE PROPERTYNAME = '" +
        name + "' AND BUYFROMPARTNUMBER = '" + part_number + "'");
  }
  std::vector<std::string> buyers() const {
    std::vector<std::string> ids;
    for (const auto& row : rows("SELECT USERID FROM PRODUCTBUYER ORDER BY USERID")) ids.push_back(row[0].to_text());
    return ids;
  }
  // A product that is there before the upload.
  void add_product(const std::string& part_number = "A-1", const std::string& more_columns = "",
                   const std::string& more_values = "") const {
    execute({"INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER" + more_columns +
             ") VALUES ('OLD', 'Old', '" + part_number + "'" + more_values + ")"});
  }

  std::filesystem::path remaining_file(const std::string& key) const {
    return folder() / "web" / "XMLDownload" / ("remaining_products_" + key + ".xml");
  }
  // The part numbers in a remaining file, by a reader of its own.
  static std::vector<std::string> part_numbers_in(const std::filesystem::path& path) {
    ProductXML reader;
    std::vector<std::string> part_numbers;
    const CollectionPtr read = reader.readBFPartNumbersFromXML(path.string(), true);
    for (std::int32_t position = 1; position <= read->Count(); ++position)
      part_numbers.push_back(read->Item(position).to_text());
    return part_numbers;
  }
};

}  // namespace mercato::test
