// SPDX-License-Identifier: Apache-2.0
// No text that a caller passes to the price lines or to requisition support can change what a statement does.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "frame/lib_error_handling.h"
#include "tests/product/product_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

const Date kFirstOfJuly = Date::from_civil({2026, 7, 1});
const std::set<std::int32_t> kUnstorable = {error_number::kStatementRefused, error_number::kValueTooLong};

// Quotes at both ends, and between them no single one.
bool is_one_literal(const std::string& text) {
  if (text.size() < 2 || text.front() != '\'' || text.back() != '\'') return false;
  return text::replace_all(text.substr(1, text.size() - 2), "''", "").find('\'') == std::string::npos;
}

class PricesHostileText : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    add_product("P-1", "First", "PROPERTYGROUPID, COMMODITYCODE, MULTIPLEOF", "1, 'C1', 2.5");
    execute(
        {"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')",
         "INSERT INTO COMMODITY (COMMODITYCODE, PROPERTYGROUPID) VALUES ('C1', 1)",
         "INSERT INTO USERS (USERID, PROPERTYGROUPID) VALUES ('user', 1)",
         "INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('group')",
         "INSERT INTO PROPERTY (PROPERTYNAME) VALUES ('colour')",
         "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, 1)",
         "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, PRICE) "
         "VALUES (1, '7/1/2026', 10, 'A', 'EUR', 5)"});
    before_ = all_rows();
  }

  // Calls with every hostile text; what is raised has one of the numbers, and every table stays as it was.
  template <class Call>
  void expect_nothing_changes(const std::set<std::int32_t>& numbers, Call call) const {
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(text.substr(0, 40));
      EXPECT_TRUE(numbers.contains(raised_by([&] { call(text); }).Number));
    }
    EXPECT_EQ(all_rows(), before_);
  }
  // The same for a text that is a whole literal: it finds nothing, or the store cannot hold it.
  template <class Call>
  void expect_nothing_found(Call finds) const {
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(text.substr(0, 40));
      try {
        EXPECT_FALSE(finds(text));
      } catch (const Raised& failure) {
        EXPECT_EQ(failure.error().Number, error_number::kStatementRefused) << failure.error().Description;
        EXPECT_TRUE(text.find('\0') != std::string::npos || !text::is_valid(text));
      }
    }
    EXPECT_EQ(all_rows(), before_);
  }

  std::map<std::string, std::vector<std::vector<Variant>>> before_;
};

TEST_F(PricesHostileText, AsAFieldNameIsNoColumn) {
  for (const char* action : {"insert", "insertupdate", "update"})
    expect_nothing_changes({error_number::kNoSuchField}, [&](const std::string& text) {
      product_->InsertUpdatePriceEx(1, kFirstOfJuly, 10, "A", {"PRICE", text}, {6, 7}, action);
    });
}

TEST_F(PricesHostileText, AsAGroupToLookForFindsNoLine) {
  std::set<std::int32_t> numbers = kUnstorable;
  numbers.insert(error_number::kNoCurrentRow);
  expect_nothing_changes(numbers, [&](const std::string& text) {
    product_->InsertUpdatePriceEx(1, kFirstOfJuly, 10, text, {"PRICE"}, {6}, "update");
  });
}

TEST_F(PricesHostileText, AsAnActionIsAnUpdate) {
  expect_nothing_changes({error_number::kNoCurrentRow}, [&](const std::string& text) {
    product_->InsertUpdatePrice(1, kFirstOfJuly, 10, {"PRICE"}, {6}, text);
  });
}

TEST_F(PricesHostileText, AsACurrencyRefersToNothing) {
  expect_nothing_changes({-2147221497, error_number::kStatementRefused}, [&](const std::string& text) {
    product_->InsertPrice(1, kFirstOfJuly, 20, {"CURRENCYCODE"}, {text});
  });
}

TEST_F(PricesHostileText, AsACurrencyToConvertToHasNoRate) {
  expect_nothing_changes(
      {error_number::kInvalidArgument, error_number::kStatementRefused},
      [&](const std::string& text) { product_->getCatalogPriceAttributes(1, kFirstOfJuly, text, 5); });
}

TEST_F(PricesHostileText, AsAGroupOfTheSelectionIsNeverSeen) {
  for (const std::string& text : hostile_texts())
    EXPECT_EQ(product_->getCatalogPriceAttributesEx(1, kFirstOfJuly, "EUR", 5, text)->Item("PRICE"),
              Variant(Currency::from_text("5")));
  EXPECT_EQ(all_rows(), before_);
}

TEST_F(PricesHostileText, AsAGroupWithoutQuotesIsRefusedUnlessItIsOneLiteral) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    EXPECT_EQ(raised_by([&] { product_->GetPriceFromPriceLinesByGroup(1, text); }).Number,
              is_one_literal(text) ? eProductIdNotFound : error_number::kStatementRefused);
  }
  EXPECT_EQ(all_rows(), before_);
}

TEST_F(PricesHostileText, AsAWrittenGroupIsThatTextOrIsRefused) {
  double quantity = 100;
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    try {
      EXPECT_TRUE(product_->InsertPrice(1, kFirstOfJuly, ++quantity, {"GROUPBY", "PRICE"}, {text, 6}));
    } catch (const Raised& failure) {
      EXPECT_TRUE(kUnstorable.contains(failure.error().Number)) << failure.error().Description;
      EXPECT_TRUE(text.size() > 50 || text.find('\0') != std::string::npos || !text::is_valid(text));
      continue;
    }
    EXPECT_EQ(rows("SELECT GROUPBY FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO > 10"),
              (std::vector<std::vector<Variant>>{{text}}));
    // And that line is the one that the text finds.
    EXPECT_TRUE(product_->InsertUpdatePriceEx(1, kFirstOfJuly, quantity, text, {"PRICE"}, {7}, "update"));
    EXPECT_EQ(rows("SELECT PRICE FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO > 10"),
              (std::vector<std::vector<Variant>>{{Currency::from_text("7")}}));
    execute({"DELETE FROM CATALOGPRODUCTPRICE WHERE QUANTITYTO > 10"});
    EXPECT_EQ(all_rows(), before_);
  }
  EXPECT_EQ(all_rows(), before_);
}

TEST_F(PricesHostileText, AsANumberOrDateIsNone) {
  for (const char* field : {"PRICE", "DISCOUNTPERC", "PRICEEXPIRYDATE", "QUANTITYTO", "PRODUCTID"})
    expect_nothing_changes({error_number::kTypeMismatch}, [&](const std::string& text) {
      product_->InsertPrice(1, kFirstOfJuly, 20, {field}, {text});
    });
}

TEST_F(PricesHostileText, AsACommodityOrUserHasNoProperties) {
  expect_nothing_found(
      [&](const std::string& text) { return product_->GetRequisitionLineProperties("nobody", text, 1)->Count() > 0; });
  expect_nothing_found(
      [&](const std::string& text) { return product_->GetRequisitionLineProperties(text, "unknown", 1)->Count() > 0; });
  expect_nothing_found(
      [&](const std::string& text) { return product_->RequisitionCommodityPropertiesPresent(text, "nobody"); });
  expect_nothing_found(
      [&](const std::string& text) { return product_->RequisitionCommodityPropertiesPresent("unknown", text); });
  expect_nothing_found([&](const std::string& text) { return product_->RequisitionPropertiesPresent(9, text); });
}

}  // namespace
}  // namespace mercato::test
