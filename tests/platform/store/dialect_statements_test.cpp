// SPDX-License-Identifier: Apache-2.0
// What the library issues, on the library's own tables: SQLite takes the translation.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/platform/store/dialect_store.h"
#include "tests/platform/store/library_statements.h"

namespace mercato::store::dialect::test {
namespace {

void create_tables(DialectStore& store) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(MERCATO_SOURCE_DIR "/schema"))
    if (entry.path().extension() == ".sql") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  ASSERT_FALSE(files.empty());
  for (const auto& file : files) {
    std::stringstream script;
    script << std::ifstream(file).rdbuf();
    const std::string text = script.str();
    for (const std::string_view statement : split_script(text)) store.run(statement);
  }
}

TEST(DialectStatements, EveryStatementOfTheLibraryIsTranslated) {
  DialectStore store;
  create_tables(store);
  for (const char* statement : kLibraryStatements) {
    SCOPED_TRACE(statement);
    EXPECT_NO_THROW(store.prepare(statement));
  }
}

// The statement is sent like this, and both of its faults are looked for in vain.
TEST(DialectStatements, TheOneThatTheServerRefusesIsRefused) {
  DialectStore store;
  create_tables(store);
  EXPECT_EQ(store.refusal("SELECT * FROM UNSPSCCodes WHERE Parent Code = '10'UNSPSCCode = 20"),
            "Incorrect syntax near 'Code' (character 40)");
}

// Two conditions with a second WHERE, as the extension of a statement in small letters makes them.
TEST(DialectStatements, SecondWhereIsRefused) {
  DialectStore store;
  create_tables(store);
  EXPECT_EQ(store.refusal("select * from catalog where CATALOGID=5 WHERE (ACTIVE=1)"),
            "Incorrect syntax near 'WHERE' (character 41)");
}

// Ids joined by blanks.
TEST(DialectStatements, ListWithoutCommasIsRefused) {
  DialectStore store;
  create_tables(store);
  EXPECT_EQ(store.refusal("SELECT * FROM PROPERTY WHERE (PROPERTYID IN (1 2))"),
            "Incorrect syntax near '2' (character 48)");
  EXPECT_EQ(store.refusal("SELECT * FROM PROPERTY WHERE (PROPERTYID IN ())"),
            "Incorrect syntax near ')' (character 46)");
}

TEST(DialectStatements, SearchesUseTheIndices) {
  DialectStore store;
  create_tables(store);
  EXPECT_EQ(store.plan("SELECT * FROM PRODUCT WHERE PRODUCTID=5"),
            "SEARCH PRODUCT USING INTEGER PRIMARY KEY (rowid=?)");
  EXPECT_EQ(store.plan("SELECT * FROM PRODUCT WHERE PRODUCTID='5'"),
            "SEARCH PRODUCT USING INTEGER PRIMARY KEY (rowid=?)");
  EXPECT_EQ(store.plan("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='x'"),
            "SEARCH PRODUCT USING INDEX IX_PRODUCT_BUYFROMPARTNUMBER (BUYFROMPARTNUMBER=?)");
  EXPECT_EQ(store.plan("SELECT * FROM UNIT WHERE UNITCODE = N'x'"),
            "SEARCH UNIT USING INDEX sqlite_autoindex_UNIT_1 (UNITCODE=?)");
  EXPECT_EQ(store.plan("SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '10%'"),
            "SEARCH PRODUCT USING COVERING INDEX IX_PRODUCT_UNSPSCCODE (UNSPSCCODE>? AND UNSPSCCODE<?)");
  EXPECT_EQ(store.plan("SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '%10'"),
            "SCAN PRODUCT USING COVERING INDEX IX_PRODUCT_UNSPSCCODE");
  EXPECT_EQ(
      store.plan(
          "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=5 AND PRICEEFFECTIVEDATE='7/1/2026' AND QUANTITYTO=1"),
      "SEARCH CATALOGPRODUCTPRICE USING INDEX UQ_CATALOGPRODUCTPRICE_PRODUCTID_PRICEEFFECTIVEDATE_QUANTITYTO_GROUPBY "
      "(PRODUCTID=? AND PRICEEFFECTIVEDATE=? AND QUANTITYTO=?)");
}

}  // namespace
}  // namespace mercato::store::dialect::test
