// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/product/product_fixture.h"

namespace mercato::test {
namespace {

class ProductSearch : public ProductTest {};

// Lookup and count over the catalogue

TEST_F(ProductSearch, FindsByDescriptionPartNumberAndSuppliersPartNumber) {
  add_product("ABC-1", "screw");
  add_product("X", "ABC in the middle of it");
  add_product("Y", "nut", "BUYFROMPARTNUMBER", "'zABCz'");
  add_product("Z", "nail");
  for (int product = 1; product <= 4; ++product) offer(product, product, 1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("abc"), 3);
  EXPECT_EQ(product_->getProductIDFromPartNum("screw"), 1);
  EXPECT_EQ(product_->getProductIDFromPartNum("middle"), 2);
  EXPECT_EQ(product_->getProductIDFromPartNum("zABC"), 3);
}

TEST_F(ProductSearch, WithoutAHitFindsMinusOneAndCountsZero) {
  EXPECT_EQ(product_->getProductIDFromPartNum("x"), -1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("x"), 0);
  EXPECT_EQ(product_->countStockProductIDsFromPartNum("x"), 0);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductSearch, NeverFindsAProductInNoCategory) {
  add_product("ABC", "screw");
  EXPECT_EQ(product_->getProductIDFromPartNum("ABC"), -1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC"), 0);
}

TEST_F(ProductSearch, NeverFindsADisabledProduct) {
  add_product("ABC", "screw", "DISABLED, STOCKITEM", "1, 1");
  offer(1, 1, 1);
  bool more = true;
  EXPECT_EQ(product_->getProductIDFromPartNum("ABC"), -1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC"), 0);
  EXPECT_EQ(product_->countStockProductIDsFromPartNum("ABC"), 0);
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC", 5, more)->Count(), 0);
}

TEST_F(ProductSearch, IsHeldToTheGivenCatalogues) {
  add_product("ABC-1", "screw");
  add_product("ABC-2", "nut");
  offer(1, 1, 10);
  offer(2, 2, 20);
  EXPECT_EQ(product_->getProductIDFromPartNum("ABC", "(20)"), 2);
  EXPECT_EQ(product_->getProductIDFromPartNum("ABC", "(30)"), -1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC", "(10,20)"), 2);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC", "(10)"), 1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC"), 2);
}

TEST_F(ProductSearch, CountsAProductInSeveralCategoriesOnce) {
  add_product("ABC", "screw");
  offer(1, 1, 1);
  offer(1, 2, 1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("ABC"), 1);
}

TEST_F(ProductSearch, DisagreesWithTheCountOnQuotesAndPercentSigns) {
  add_product("O''Neil", "one quote");
  add_product("O''''Neil", "two quotes");
  add_product("50%", "percent");
  add_product("50[%]", "percent in brackets");
  for (int product = 1; product <= 4; ++product) offer(product, product, 1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("O'N"), 1);
  EXPECT_EQ(product_->getProductIDFromPartNum("O'N"), 2);
  EXPECT_EQ(product_->countProductIDsFromPartNum("50%"), 1);
  EXPECT_EQ(product_->getProductIDFromPartNum("50%"), 4);
}

TEST_F(ProductSearch, TakesWildcardsOfTheTermAsTheyAre) {
  add_product("A_B", "underscore");
  add_product("AxB", "letter");
  add_product("A[B", "bracket");
  for (int product = 1; product <= 3; ++product) offer(product, product, 1);
  EXPECT_EQ(product_->countProductIDsFromPartNum("A_B"), 1);
  EXPECT_EQ(product_->getProductIDFromPartNum("A_B"), 1);
  EXPECT_EQ(product_->getProductIDFromPartNum("A[B"), 3);
}

// Stock

TEST_F(ProductSearch, CountsStockProductsInACatalogueOrNot) {
  add_product("ABC-1", "screw", "STOCKITEM", "1");
  add_product("ABC-2", "nut", "STOCKITEM", "0");
  add_product("X", "like ABC", "STOCKITEM", "1");
  EXPECT_EQ(product_->countStockProductIDsFromPartNum("ABC"), 2);
}

// The bounded search

class BoundedSearch : public ProductSearch {
 protected:
  void offer_many(int count) const {
    for (int product = 1; product <= count; ++product) {
      add_product("ABC-" + std::to_string(product), "screw " + std::to_string(product));
      offer(product, 1, 1);
    }
  }
};

TEST_F(BoundedSearch, TellsThatAllRowsWereGiven) {
  offer_many(5);
  bool more = true;
  const DictionaryPtr products = product_->GetCatalogProductsByPartNumber("ABC%", 5, more);
  EXPECT_EQ(products->Count(), 5);
  EXPECT_FALSE(more);
  EXPECT_EQ(products->Item(3), Variant(Array{"ABC-3", "screw 3"}));
}

TEST_F(BoundedSearch, TellsThatMoreRowsExist) {
  offer_many(6);
  bool more = false;
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC%", 5, more)->Count(), 5);
  EXPECT_TRUE(more);
}

TEST_F(BoundedSearch, OfNoRowOnlyTellsWhetherThereAreAny) {
  offer_many(1);
  bool more = false;
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC%", 0, more)->Count(), 0);
  EXPECT_TRUE(more);
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("X%", 0, more)->Count(), 0);
  EXPECT_FALSE(more);
}

TEST_F(BoundedSearch, LetsTheCallersWildcardsWorkAndAddsNone) {
  offer_many(2);
  bool more = true;
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC", 5, more)->Count(), 0);
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC-[2-3]", 5, more)->Keys(), Array{2});
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("_BC-1", 5, more)->Keys(), Array{1});
}

TEST_F(BoundedSearch, IsHeldToTheGivenCatalogues) {
  offer_many(1);
  bool more = true;
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC%", 5, more, "(2)")->Count(), 0);
  EXPECT_EQ(product_->GetCatalogProductsByPartNumber("ABC%", 5, more, "(1)")->Count(), 1);
}

TEST_F(BoundedSearch, WithTheLargestLimitOverflows) {
  bool more = false;
  EXPECT_EQ(
      raised_by([&] { product_->GetCatalogProductsByPartNumber("ABC%", 2147483647, more); }),
      (RaisedError{6, "Mercato", message("6", "Mercato.Product.GetCatalogProductsByPartNumber", "Overflow"), "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(BoundedSearch, FillsItsArgumentForLateBoundCallersToo) {
  offer_many(2);
  std::vector<Variant> arguments = {"ABC%", 1, false};
  invoke(product_.object(), "getcatalogproductsbypartnumber", arguments);
  EXPECT_EQ(arguments[2], Variant(true));
}

// Exact lookups

TEST_F(ProductSearch, FindsExactlyTheSuppliersPartNumberDisabledOrNot) {
  add_product("P", "screw", "BUYFROMPARTNUMBER, DISABLED", "'S''1', 1");
  EXPECT_EQ(product_->GetProductIDFromSupplierPartNum("S'1"), 1);
  EXPECT_EQ(product_->GetProductIDFromSupplierPartNum("S"), -1);
}

TEST_F(ProductSearch, ComparesTheFlagsOfASourceWhenTheyAreGiven) {
  add_product("P", "disabled stock", "STOCKITEM, DISABLED", "1, 1");
  add_product("P", "enabled", "STOCKITEM, DISABLED", "0, 0");
  EXPECT_NE(product_->GetProductIdFromPartNumSource("P"), -1);
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("P", 1), 1);
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("P", 0), 2);
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("P", -1, 0), 2);
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("P", 1, 0), -1);
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("unknown"), -1);
}

TEST_F(ProductSearch, NeverFindsASourceWithAPercentSign) {
  add_product("50%", "percent");
  EXPECT_EQ(product_->GetProductIdFromPartNumSource("50%"), -1);
}

}  // namespace
}  // namespace mercato::test
