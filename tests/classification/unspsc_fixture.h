// SPDX-License-Identifier: Apache-2.0
// What the tests of UNSPSC codes share: rows, files to load, and their result.
#pragma once

#include <fstream>
#include <optional>

#include "frame/lib_error_handling.h"
#include "mercato/object_context.h"
#include "mercato/t_unspsc.h"
#include "mercato/unspsc.h"
#include "tests/support/failure_trail.h"
#include "tests/support/store_fixture.h"
#include "tests/support/workbook_files.h"

namespace mercato::test {

using StoredRows = std::vector<std::vector<Variant>>;
using Codes = std::vector<std::pair<std::string, std::string>>;  // code and description
using Refusals = std::vector<std::pair<std::string, int>>;

class UnspscTest : public StoreTest {
 protected:
  // The row of a full code.
  void add_code(const std::string& code, const std::string& description) const {
    const std::string parent = code.substr(0, code.size() - 2);
    execute({"INSERT INTO UNSPSCCODES VALUES ('" + parent + "', '" + code.substr(parent.size()) + "', " +
             std::to_string(code.size() / 2) + ", N'" + description + "')"});
  }
  void add_commodity(const std::string& code, const std::string& description) const {
    execute({"INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION) VALUES ('" + code + "', '" + description + "')"});
  }
  StoredRows codes() const {
    return rows(
        "SELECT PARENTCODE, UNSPSCCODE, LEVELNUMBER, DESCRIPTION FROM UNSPSCCODES ORDER BY PARENTCODE, UNSPSCCODE");
  }
  StoredRows commodities() const {
    return rows("SELECT COMMODITYCODE, DESCRIPTION FROM COMMODITY ORDER BY COMMODITYCODE");
  }

  std::string workbook(const Codes& codes) const { return workbook(codes_content(codes)); }
  std::string workbook(const WorkbookContent& content) const {
    const std::string path = (folder() / "codes.xlsx").string();
    write_workbook(path, content);
    return path;
  }
  static std::string items(const Codes& codes) {
    std::string items;
    for (const auto& [code, description] : codes)
      items += "<UNSPSC_ITEM><CODE>" + escaped(code) + "</CODE><DESCRIPTION>" + escaped(description) +
               "</DESCRIPTION></UNSPSC_ITEM>";
    return items;
  }
  std::string document(const Codes& codes) const {
    return file("codes.xml", "<UNSPSC_ITEMS>" + items(codes) + "</UNSPSC_ITEMS>");
  }
  std::string file(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder() / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }
  // An installation with this schema.
  void install_schema(const std::string& schema) const {
    file("installed/xmlschemas/UNSPSC_Schema.xml", schema);
    set_install_dir("installed");
  }
  // One that takes any element below the root LIST.
  void install_lax_schema() const {
    install_schema(
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='LIST'><xs:complexType><xs:sequence>"
        "<xs:any processContents='skip' minOccurs='0' maxOccurs='unbounded'/>"
        "</xs:sequence></xs:complexType></xs:element></xs:schema>");
  }
  void set_install_dir(const std::string& name) const {
    collaborators::Settings settings = *collaborators::settings();
    settings.install_dir = (folder() / name).string();
    collaborators::set_settings(settings);
  }

  static Refusals refusals(const DictionaryPtr& result) {
    Refusals all;
    result->for_each([&](const Variant& code, const Variant& number) {
      EXPECT_EQ(number.type(), Variant::Type::short_integer);
      all.emplace_back(code.to_text(), number.to_short());
    });
    return all;
  }
};

}  // namespace mercato::test
