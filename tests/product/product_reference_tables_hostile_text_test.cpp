// SPDX-License-Identifier: Apache-2.0
// No text that reaches the reference tables and the paged lists can change what a statement does.
#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "tests/product/product_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

struct ReferenceTextArgument {
  std::string method;
  std::vector<Variant> arguments;
  std::size_t position;   // of the text
  bool in_array = false;  // the text is the first element of the array there
};

const std::vector<ReferenceTextArgument>& reference_text_arguments() {
  static const std::vector<Variant> products = {Variant(), "", 5, "PRODUCTID", "PRODUCTID", "PRODUCTID", "1=1"};
  static const std::vector<ReferenceTextArgument> arguments = {
      {"GetProductsAsDRecordSet", products, 1},
      {"GetProductsAsDRecordSet", products, 3},
      {"GetProductsAsDRecordSet", products, 4},
      {"GetProductsAsDRecordSet", products, 5},
      {"GetProductsAsDRecordSet", products, 6},
      {"GetCommodityData", {Variant(), "", 5}, 1},
      {"GetCommodityData", {Variant(), "", 5, Array{""}}, 3, true},
      {"GetCommodityData", {Variant(), "", 5, Array{"C1"}, ""}, 4},
      {"GetManufacturerData", {Variant(), "", 5}, 1},
      {"GetManufacturerData", {Variant(), "", 5, Array{""}}, 3, true},
      {"GetManufacturerData", {Variant(), "", 5, Array{"M1"}, ""}, 4},
      {"DeleteCommodity", {""}, 0},
      {"GetChargeType", {""}, 0},
      {"GetBisItemCode", {""}, 0},
      {"GetTaxcodeInformation", {""}, 0},
  };
  return arguments;
}

class ReferenceTablesHostileText : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    add_product("P-1", "first", "COMMODITYCODE", "'C1'");
    execute(
        {"INSERT INTO COMMODITY (COMMODITYCODE, CHARGETYPECODE, TAXCODE, BISITEMCODE) VALUES ('C1', 'CT', 'T1', "
         "'B1')",
         "INSERT INTO TAXCODES (TAXCODE, DESCRIPTION) VALUES ('T1', 'high')",
         "INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES ('M1', 'maker')"});
  }
  Variant call(const ReferenceTextArgument& argument, const std::string& text) {
    std::vector<Variant> arguments = argument.arguments;
    arguments[argument.position] = argument.in_array ? Variant(Array{text}) : Variant(text);
    return invoke(product_.object(), argument.method, arguments);
  }
  // What the store cannot hold at all.
  static bool is_unstorable(const std::string& text) {
    return text.find('\0') != std::string::npos || !text::is_valid(text);
  }
};

TEST_F(ReferenceTablesHostileText, LeavesAllTablesAsTheyWere) {
  const auto before = all_rows();
  for (const ReferenceTextArgument& argument : reference_text_arguments()) {
    for (const std::string& text : hostile_texts()) {
      try {
        call(argument, text);
      } catch (const Raised&) {
        // A refused text does no harm either.
      }
    }
    ASSERT_EQ(all_rows(), before) << argument.method << " argument " << argument.position;
  }
}

TEST_F(ReferenceTablesHostileText, BetweenQuotesFindsNothing) {
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    const auto found_nothing = [&](const ReferenceTextArgument& argument) {
      try {
        const Variant result = call(argument, text);
        if (argument.in_array) return invoke(result.to<Component>(), "RowCount", {}) == Variant(0);
        return result.is_object() ? result.to<Dictionary>()->Count() == 0 : result == Variant("");
      } catch (const Raised& failure) {
        return failure.error().Number == error_number::kStatementRefused && is_unstorable(text);
      }
    };
    for (const ReferenceTextArgument& argument : reference_text_arguments()) {
      if (!argument.in_array && argument.method != "GetChargeType" && argument.method != "GetTaxcodeInformation")
        continue;
      EXPECT_TRUE(found_nothing(argument)) << argument.method;
    }
  }
}

TEST_F(ReferenceTablesHostileText, AsACodeToDeleteIsNoCommodity) {
  for (const std::string& text : hostile_texts()) {
    const std::int32_t number = raised_by([&] { product_->DeleteCommodity(text); }).Number;
    EXPECT_TRUE(number == eCommodityNotFound || (number == error_number::kStatementRefused && is_unstorable(text)))
        << text.substr(0, 40) << " " << number;
  }
}

TEST_F(ReferenceTablesHostileText, AsItStandsFindsNothingOrIsRefused) {
  for (const std::string& text : hostile_texts()) {
    const std::int32_t number = raised_by([&] { product_->GetBisItemCode(text); }).Number;
    EXPECT_TRUE(number == eCommodityNotFound || number == error_number::kStatementRefused)
        << text.substr(0, 40) << " " << number;
  }
}

TEST_F(ReferenceTablesHostileText, AsAManufacturerIsThisOneRowOrNone) {
  for (const std::string& text : hostile_texts()) {
    for (const bool is_code : {true, false}) {
      SCOPED_TRACE(text.substr(0, 40));
      const auto before = all_rows();
      const std::string code = is_code ? text : "new";
      const std::string name = is_code ? "new" : text;
      try {
        product_->InsertManufacturer(code, name);
      } catch (const Raised&) {
        EXPECT_EQ(all_rows(), before);
        continue;
      }
      auto after = all_rows();
      // A doubled quote is one: the text is the inside of a literal.
      const std::vector<Variant> row = {text::replace_all(code, "''", "'"), text::replace_all(name, "''", "'")};
      std::erase(after["MANUFACTURER"], row);
      EXPECT_EQ(after, before);
      EXPECT_EQ(rows("SELECT * FROM MANUFACTURER").size(), 2u);
      execute({"DELETE FROM MANUFACTURER WHERE MANUFACTURERID <> 'M1'"});
    }
  }
}

TEST_F(ReferenceTablesHostileText, AsAClauseOfTheListOfProductsReadsProductsOrIsRefused) {
  for (const std::size_t position : {3u, 6u}) {
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(std::to_string(position) + " " + text.substr(0, 40));
      try {
        const std::vector<Variant> unsorted = {Variant(), "", 5, "PRODUCTID", "", "", "1=1"};
        const Variant list = call({"GetProductsAsDRecordSet", unsorted, position}, text);
        // One expression, or a condition: no product appears twice, and nothing but products is read.
        EXPECT_LE(invoke(list.to<Component>(), "RowCount", {}).to_long(), 1);
      } catch (const Raised& failure) {
        EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
      }
    }
  }
}

}  // namespace
}  // namespace mercato::test
