// SPDX-License-Identifier: Apache-2.0
// Tables that an export has written are known by their headers.
#include "exchange/formats/own_table.h"

#include <gtest/gtest.h>

#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

TEST(OwnTable, IsReadByItsHeadersAsItWasWritten) {
  EXPECT_EQ(told("PARTNUMBER,BUYFROMPARTNUMBER,PRODUCTDESCRIPTION,CATEGORIES,PROPERTY:Max. load\n"
                 "P 1,0007,=1+1,\"Pens; Ink\",\"12,5\"\n"),
            "encoding is UTF-8\n"
            "separator is ,\n"
            "headers is line 1\n"
            "decimal sign .\n"
            "header\n"
            "put 0007 @2\n"
            "  PARTNUMBER P 1\n"
            "  PRODUCTDESCRIPTION =1+1\n"
            "  (Max. load) 12,5\n");
}

TEST(OwnTable, HasPriceLinesWithTheirOwnEnds) {
  const std::optional<Mapping> mapping = own_mapping({"BUYFROMPARTNUMBER", "PRICE", "CURRENCYCODE", "QUANTITYTO"});
  ASSERT_TRUE(mapping);
  EXPECT_EQ(mapping->number.column, "BUYFROMPARTNUMBER");
  ASSERT_EQ(mapping->prices.size(), 1U);
  EXPECT_EQ(mapping->prices[0].amount.column, "PRICE");
  EXPECT_EQ(mapping->prices[0].to_quantity.column, "QUANTITYTO");
  EXPECT_EQ(mapping->decimal_sign, '.');
  EXPECT_EQ(mapping->dates, Notation::Dates::iso);
}

TEST(OwnTable, IsNoTableWithAnotherHeaderOrWithoutTheSuppliersNumber) {
  EXPECT_FALSE(own_mapping({"BUYFROMPARTNUMBER", "PARTNUMBER", "colour"}));
  EXPECT_FALSE(own_mapping({"PARTNUMBER", "PRODUCTDESCRIPTION"}));
  EXPECT_FALSE(own_mapping({"buyfrompartnumber"}));
}

}  // namespace
}  // namespace mercato::exchange
