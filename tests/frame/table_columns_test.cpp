// SPDX-License-Identifier: Apache-2.0
#include "frame/table_columns.h"

#include <gtest/gtest.h>

#include "frame/query_rows.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using TableColumns = StoreTest;

TEST_F(TableColumns, OfAMissingTableAreNone) {
  EXPECT_FALSE(table_columns(connection_string(), "NOWHERE"));
  ASSERT_TRUE(table_columns(connection_string(), "product"));
  EXPECT_TRUE(table_columns(connection_string(), "product")->find("partnumber"));
}

TEST_F(TableColumns, TakeWhatFitsThemAndSayWhatDoesNot) {
  struct Case {
    const char* column;
    Variant value;
    ColumnFault fault;
  };
  const Case cases[] = {
      {"PARTNUMBER", "P-1", ColumnFault::none},
      {"PARTNUMBER", std::string(5000, 'x'), ColumnFault::too_long},
      {"PRODUCTID", kNull, ColumnFault::is_null},
      {"MANUFACTURERID", kNull, ColumnFault::none},
      {"BUSINESSPARTNERID", "12", ColumnFault::none},
      {"BUSINESSPARTNERID", "12 pieces", ColumnFault::wrong_type},
      {"BUSINESSPARTNERID", "3000000000", ColumnFault::out_of_range},
      {"PRODUCTEXPIRYDATE", "2026-07-01", ColumnFault::none},
      {"PRODUCTEXPIRYDATE", "some day", ColumnFault::wrong_type},
  };
  const auto product = table_columns(connection_string(), "PRODUCT");
  ASSERT_TRUE(product);
  for (const auto& [column, value, fault] : cases) {
    const auto position = product->find(column);
    ASSERT_TRUE(position) << column;
    EXPECT_EQ(column_fault(product->columns[*position], value), fault) << column << " " << value.text_or_empty();
  }
}

TEST_F(TableColumns, KeysOfNumbersAndOfTextsAreLookedUp) {
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('O''B', 'odd')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P', 'paper')"});
  EXPECT_TRUE(has_row(connection_string(), "UNIT", "O'B"));
  EXPECT_FALSE(has_row(connection_string(), "UNIT", "O''B"));
  EXPECT_TRUE(has_row(connection_string(), "PRODUCT", 1));
  EXPECT_FALSE(has_row(connection_string(), "PRODUCT", 2));
  EXPECT_EQ(raised_by([&] { has_row(connection_string(), "PRODUCT", "P"); }).Number, error_number::kTypeMismatch);
}

TEST_F(TableColumns, WhereNoRowCanBeLookedUpThereIsOne) {
  EXPECT_TRUE(has_row(connection_string(), "NOWHERE", 1));
  EXPECT_TRUE(has_row(connection_string(), "PRODUCTBUYER", 1));  // its key is two columns
}

TEST_F(TableColumns, RowsOfAQueryAreDictionariesInTheirOrder) {
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'box')",
           "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('AX', 'axle')"});
  const auto found =
      query_rows(connection_string(), Sql("SELECT UNITCODE, UNITDESCRIPTION FROM UNIT ORDER BY UNITCODE"));
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0]->Item("UNITCODE"), Variant("AX"));
  EXPECT_EQ(found[0]->Item("UNITDESCRIPTION"), Variant("axle"));
  EXPECT_EQ(found[1]->Item("UNITCODE"), Variant("BX"));
  EXPECT_TRUE(query_rows(connection_string(), Sql("SELECT UNITCODE FROM UNIT WHERE 1 = 0")).empty());
}

}  // namespace
}  // namespace mercato::test
