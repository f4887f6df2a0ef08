// SPDX-License-Identifier: Apache-2.0
// No text that a caller passes can change what a statement does.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/product/product_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

struct TextArgument {
  std::string method;
  std::vector<Variant> arguments;
  std::size_t position;   // of the text
  bool in_array = false;  // the text is the first element of the array there
  bool quoted = true;     // the statement has it as the inside of a text literal
  bool pattern = false;   // the caller's own wildcards work in it
  bool clause = false;    // the caller supplies it whole, a query in brackets too
};

std::vector<TextArgument> text_arguments() {
  return {
      {"GetProductFields", {Array{"PARTNUMBER"}, -1, ""}, 2},
      {"GetProductFields", {Array{""}, 1, ""}, 0, true, false},
      {"GetDefaultBuyer", {""}, 0},
      {"getProductIDFromPartNum", {"", "-1"}, 0},
      {"getProductIDFromPartNum", {"x", ""}, 1, false, false, false, true},
      {"countProductIDsFromPartNum", {"", "-1"}, 0},
      {"countProductIDsFromPartNum", {"x", ""}, 1, false, false, false, true},
      {"countStockProductIDsFromPartNum", {""}, 0},
      {"GetCatalogProductsByPartNumber", {"", 5, false, "-1"}, 0, false, true, true},
      {"GetCatalogProductsByPartNumber", {"x", 5, false, ""}, 3, false, false, false, true},
      {"GetProductIDFromSupplierPartNum", {""}, 0},
      {"GetProductIdFromPartNumSource", {""}, 0},
      {"GetProductsByCriteria", {2, "", kMissing}, 1, false, false},
      {"GetProductsByCriteria", {2, kMissing, ""}, 2},
      {"GetProductsByBuyer", {""}, 0},
      {"GetProductsByPartNumber", {""}, 0},
      {"GetProductsBySupplier", {""}, 0, false, false},
      {"GetPartNumbersForProducts", {Array{""}}, 0, true, false},
      {"ValidateProductAgainstUserCatalogs", {"", Array{5}}, 0, false, false},
      {"ValidateProductAgainstUserCatalogs", {"1", Array{""}}, 1, true, false},
      {"GetBuyersForProducts", {Array{""}}, 0, true, false},
      {"GetBuyerFromCommodity", {""}, 0},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"USERID"}, Array{""}}, 2, true},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"OFFICEDESCRIPTION"}, Array{""}}, 2, true},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"CURRENCYCODE"}, Array{""}}, 2, true},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"COMMODITYCODE"}, Array{""}}, 2, true},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"CHARGETYPECODE"}, Array{""}}, 2, true},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"BUSINESSPARTNERID"}, Array{""}}, 2, true, false},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"PRODUCTID"}, Array{""}}, 2, true, false},
      {"IReferentialIntegrity_Exists", {Variant(), Array{"UNSPSCCODES"}, Array{""}}, 2, true, false},
      {"IReferentialIntegrity_Exists", {Variant(), Array{""}, Array{"x"}}, 1, true, false},
  };
}

class ProductHostileText : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    add_product("P-1", "first", "USERID, GTIN, BUYFROMPARTNUMBER, COMMODITYCODE, BUSINESSPARTNERID, STOCKITEM",
                "'user', 'gtin', 'S-1', 'C1', 7, 1");
    offer(1, 1, 5);
    execute({"INSERT INTO COMMODITY (COMMODITYCODE, USERID) VALUES ('C1', 'buyer')"});
  }

  static std::vector<Variant> with_text(const TextArgument& argument, const std::string& text) {
    std::vector<Variant> arguments = argument.arguments;
    arguments[argument.position] = argument.in_array ? Variant(Array{text}) : Variant(text);
    return arguments;
  }

  // Whether a result says that nothing was found.
  static bool found_nothing(const Variant& result) {
    if (result.is_object()) return result.to<Dictionary>()->Count() == 0;
    if (result.type() == Variant::Type::boolean) return !result.boolean_value();
    return result == Variant("") || result == Variant(-1) || result == Variant(0);
  }
};

TEST_F(ProductHostileText, LeavesAllTablesAsTheyWere) {
  const auto before = all_rows();
  for (const TextArgument& argument : text_arguments()) {
    for (const std::string& text : hostile_texts()) {
      std::vector<Variant> arguments = with_text(argument, text);
      try {
        invoke(product_.object(), argument.method, arguments);
      } catch (const Raised&) {
        // A refused text does no harm either.
      }
    }
    ASSERT_EQ(all_rows(), before) << argument.method << " argument " << argument.position;
  }
}

TEST_F(ProductHostileText, BetweenQuotesIsOneLiteralThatFindsNothing) {
  for (const TextArgument& argument : text_arguments()) {
    if (!argument.quoted) continue;
    for (const std::string& text : hostile_texts()) {
      if (argument.pattern && text.find_first_of("%_[") != std::string::npos) continue;
      SCOPED_TRACE(argument.method + " " + std::to_string(argument.position) + " " + text.substr(0, 40));
      std::vector<Variant> arguments = with_text(argument, text);
      // A literal that the store cannot hold is refused, whole; everything else is only a text that no row has.
      try {
        EXPECT_TRUE(found_nothing(invoke(product_.object(), argument.method, arguments)));
      } catch (const Raised& failure) {
        // The one lookup that fails when it finds nothing.
        if (argument.method == "GetBuyerFromCommodity" && failure.error().Number == error_number::kNoCurrentRow)
          continue;
        EXPECT_EQ(failure.error().Number, error_number::kStatementRefused) << failure.error().Description;
        EXPECT_TRUE(text.find('\0') != std::string::npos || !text::is_valid(text));
      }
    }
  }
}

TEST_F(ProductHostileText, InPlaceOfANumberIsRefusedByTheStore) {
  for (const TextArgument& argument : text_arguments()) {
    if (argument.quoted || argument.method == "GetProductFields") continue;
    for (const std::string& text : hostile_texts()) {
      // One whole literal is no harm: '' is one. A query in brackets is a list of catalogues.
      if (text == "''" || (argument.clause && text == "(SELECT MAX(PRODUCTID) FROM PRODUCT)")) continue;
      SCOPED_TRACE(argument.method + " " + std::to_string(argument.position) + " " + text.substr(0, 40));
      std::vector<Variant> arguments = with_text(argument, text);
      EXPECT_EQ(raised_by([&] { invoke(product_.object(), argument.method, arguments); }).Number,
                error_number::kStatementRefused);
    }
  }
}

TEST_F(ProductHostileText, AsAFieldNameIsNoColumn) {
  for (const std::string& text : hostile_texts())
    EXPECT_EQ(raised_by([&] { product_->GetProductFields(Array{text}, 1); }).Number, error_number::kNoSuchField)
        << text.substr(0, 40);
}

}  // namespace
}  // namespace mercato::test
