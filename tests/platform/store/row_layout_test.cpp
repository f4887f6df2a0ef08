// SPDX-License-Identifier: Apache-2.0
#include "platform/store/row_layout.h"

#include <gtest/gtest.h>

namespace mercato::store {
namespace {

TEST(RowLayout, FindsColumnsInAnyCase) {
  const RowLayout layout({{"PRODUCTID"}, {"PartNumber"}, {"größe"}}, "PRODUCT");
  EXPECT_EQ(layout.find("productid"), 0u);
  EXPECT_EQ(layout.find("PARTNUMBER"), 1u);
  EXPECT_EQ(layout.find("GRößE"), 2u);
  EXPECT_EQ(layout.find("PARTNUMBE"), std::nullopt);
  EXPECT_EQ(layout.find(""), std::nullopt);
  EXPECT_EQ(layout.table(), "PRODUCT");
}

TEST(RowLayout, FindsTheFirstOfTwoColumnsWithOneName) {
  const RowLayout layout({{"A"}, {"B"}, {"a"}});
  EXPECT_EQ(layout.find("a"), 0u);
  EXPECT_EQ(layout.size(), 3u);
}

TEST(RowLayout, EmptyLayoutFindsNothing) {
  EXPECT_EQ(RowLayout({}).find("A"), std::nullopt);
  EXPECT_EQ(RowLayout({}).size(), 0u);
}

TEST(RowLayout, ManyColumnsAreAllFound) {
  std::vector<Column> columns;
  for (int i = 0; i < 500; ++i) columns.push_back({"COLUMN" + std::to_string(i)});
  const RowLayout layout(columns);
  for (std::size_t i = 0; i < columns.size(); ++i) EXPECT_EQ(layout.find("column" + std::to_string(i)), i);
}

TEST(TableInfo, FindsColumnsInAnyCase) {
  const TableInfo table{"T", {{"A"}, {"B"}}, {}};
  EXPECT_EQ(table.find("b"), 1u);
  EXPECT_EQ(table.find("C"), std::nullopt);
}

}  // namespace
}  // namespace mercato::store
