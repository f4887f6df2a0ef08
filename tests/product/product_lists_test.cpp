// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/product/product_fixture.h"

namespace mercato::test {
namespace {

class ProductLists : public ProductTest {};

TEST_F(ProductLists, ByCriteriaHoldToStockSupplierAndCommodity) {
  add_product("P-1", "stock", "STOCKITEM, BUSINESSPARTNERID, COMMODITYCODE", "1, 7, 'C1'");
  add_product("P-2", "other", "STOCKITEM, BUSINESSPARTNERID, COMMODITYCODE, DISABLED", "0, 7, 'C2', 1");
  add_product("P-3", "third", "STOCKITEM, BUSINESSPARTNERID", "0, 8");
  const auto ids = [&](std::int32_t stock, const Variant& supplier = kMissing, const Variant& commodity = kMissing) {
    return product_->GetProductsByCriteria(stock, supplier, commodity)->Keys();
  };
  EXPECT_EQ(ids(2), (Array{1, 2, 3}));
  EXPECT_EQ(ids(0), (Array{2, 3}));
  EXPECT_EQ(ids(1), Array{1});
  EXPECT_EQ(ids(3), Array{});
  EXPECT_EQ(ids(2, 7), (Array{1, 2}));
  EXPECT_EQ(ids(2, kMissing, "C2"), Array{2});
  EXPECT_EQ(ids(1, 7, "C2"), Array{});
  EXPECT_EQ(ids(2, "7", "C1"), Array{1});
  EXPECT_EQ(product_->GetProductsByCriteria(1)->Item(1), Variant(Array{"stock", "P-1"}));
}

TEST_F(ProductLists, ByBuyerHaveTheDefaultBuyersProductsAndThoseOfSeveralBuyersOnceEach) {
  add_product("P-1", "own", "USERID", "'O''N'");
  add_product("P-2", "shared");
  add_product("P-3", "somebody else''s", "USERID", "'other'");
  execute({"INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'O''N')",
           "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (2, 'O''N')",
           "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (3, 'third')"});
  const DictionaryPtr products = product_->GetProductsByBuyer("O'N");
  EXPECT_EQ(products->Keys(), (Array{1, 2}));
  EXPECT_EQ(products->Items(), (Array{"P-1", "P-2"}));
}

TEST_F(ProductLists, ByPartNumberHaveTheDescription) {
  add_product("P", "first");
  add_product("P", "second", "DISABLED", "1");
  add_product("Px", "third");
  EXPECT_EQ(product_->GetProductsByPartNumber("P")->Items(), (Array{"first", "second"}));
}

TEST_F(ProductLists, BySupplierHaveBothPartNumbers) {
  add_product("P-1", "first", "BUSINESSPARTNERID, BUYFROMPARTNUMBER", "7, 'S-1'");
  add_product("P-2", "second", "BUSINESSPARTNERID", "8");
  const DictionaryPtr products = product_->GetProductsBySupplier("7");
  EXPECT_EQ(products->Keys(), Array{1});
  EXPECT_EQ(products->Item(1), Variant(Array{"P-1", "S-1"}));
}

TEST_F(ProductLists, OfPartNumbersHaveTheNamedProducts) {
  for (const char* part_number : {"P-1", "P-2", "P-3"}) add_product(part_number, "product");
  EXPECT_EQ(product_->GetPartNumbersForProducts(Array{1, 3, 9})->Items(), (Array{"P-1", "P-3"}));
  EXPECT_EQ(product_->GetPartNumbersForProducts()->Items(), (Array{"P-1", "P-2", "P-3"}));
}

TEST_F(ProductLists, OfPartNumbersForNoProductAreRefusedByTheStore) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->GetPartNumbersForProducts(Array{}); });
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT PRODUCTID,PARTNUMBER FROM PRODUCT)"}));
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductLists, OfPartNumbersNeedAnArray) {
  EXPECT_EQ(raised_by([&] { product_->GetPartNumbersForProducts("1,2"); }).Number, 13);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(ProductLists, ByCategoryAreSortedByDescriptionAndCutLoose) {
  add_product("P-1", "nut");
  add_product("P-2", "Bolt");
  offer(1, 1, 1);
  offer(2, 1, 1);
  offer(2, 2, 1);
  const RecordsetPtr one = product_->GetProductsByProductCategory(1);
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(one->ActiveConnection(), nullptr);
  EXPECT_EQ(one->rows(), (std::vector<std::vector<Variant>>{{2, "P-2", "Bolt"}, {1, "P-1", "nut"}}));
  // All categories: a product once for each of its own.
  const RecordsetPtr all = product_->GetProductsByProductCategory(0);
  EXPECT_EQ(all->rows(),
            (std::vector<std::vector<Variant>>{{2, "P-2", "Bolt"}, {2, "P-2", "Bolt"}, {1, "P-1", "nut"}}));
}

TEST_F(ProductLists, OfAlternativesHaveTheirImagesAndDescription) {
  add_product("P-1", "original");
  add_product("P-2", "stock", "STOCKITEM, IMAGEFILENAME, TECHNICALIMAGE", "1, 'i.png', 't.png'");
  add_product("P-3", "disabled", "STOCKITEM, DISABLED", "0, 1");
  execute({"INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (1, 2)",
           "INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (1, 3)"});
  const RecordsetPtr all = product_->GetAlternativeProducts(1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(all->RecordCount(), 2);
  const RecordsetPtr stock = product_->GetAlternativeProducts(1, 1);
  ASSERT_EQ(stock->RecordCount(), 1);
  EXPECT_EQ(stock->Value("ALTERNATIVEPRODUCT"), Variant(2));
  EXPECT_EQ(stock->Value("IMAGEFILENAME"), Variant("i.png"));
  EXPECT_EQ(stock->Value("TECHNICALIMAGE"), Variant("t.png"));
  EXPECT_EQ(stock->Value("PRODUCTDESCRIPTION"), Variant("stock"));
  EXPECT_EQ(stock->ActiveConnection(), nullptr);
}

TEST_F(ProductLists, WithoutAHitAreEmptyAndNoFailure) {
  EXPECT_EQ(product_->GetProductsByBuyer("nobody")->Count(), 0);
  EXPECT_EQ(product_->GetProductsByPartNumber("none")->Count(), 0);
  EXPECT_EQ(product_->GetProductsBySupplier("9")->Count(), 0);
  EXPECT_EQ(product_->GetProductsByCriteria(1)->Count(), 0);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(product_->GetProductsByProductCategory(9)->Eof());
  EXPECT_TRUE(product_->GetAlternativeProducts(9)->Eof());
}

// The check against a user's catalogues

class ProductInCatalogs : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    clock::script_clock(Date::from_civil({2026, 7, 1, 8, 30, 0}), 0);
  }
  bool is_offered(int product, const Array& catalogs) {
    return product_->ValidateProductAgainstUserCatalogs(std::to_string(product), catalogs);
  }
};

TEST_F(ProductInCatalogs, WithAnEmptyFirstElementIsRefusedAtOnce) {
  Recorder recorder;
  EXPECT_FALSE(is_offered(1, Array{Variant(), 1}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.calls.empty());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(ProductInCatalogs, PassesInOneOfThem) {
  add_product("P", "product");
  offer(1, 1, 5);
  EXPECT_TRUE(is_offered(1, Array{4, 5}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(is_offered(1, Array{4}));
  EXPECT_FALSE(is_offered(2, Array{5}));
}

TEST_F(ProductInCatalogs, PassesWhenItHasExpired) {
  add_product("P", "product", "PRODUCTEXPIRYDATE", "'1/1/2020'");
  offer(1, 1, 5);
  EXPECT_TRUE(is_offered(1, Array{5}));
}

TEST_F(ProductInCatalogs, PassesFromItsFirstValidDateOn) {
  add_product("P-1", "already", "PRODUCTEFFECTIVITYDATE", "'7/1/2026 8:30:00 AM'");
  add_product("P-2", "not yet", "PRODUCTEFFECTIVITYDATE", "'7/1/2026 8:30:01 AM'");
  offer(1, 1, 5);
  offer(2, 1, 5);
  EXPECT_TRUE(is_offered(1, Array{5}));
  EXPECT_FALSE(is_offered(2, Array{5}));
}

TEST_F(ProductInCatalogs, IsRefusedWhenItIsDisabled) {
  add_product("P", "product", "DISABLED", "1");
  offer(1, 1, 5);
  EXPECT_FALSE(is_offered(1, Array{5}));
}

TEST_F(ProductInCatalogs, FailsWithoutAnElementZero) {
  Recorder recorder;
  for (const Array& catalogs : {Array{}, Array(std::vector<Variant>{5}, 1)})
    EXPECT_EQ(raised_by([&] { is_offered(1, catalogs); }),
              (RaisedError{9, "Mercato",
                           message("9", "Mercato.Product.ValidateProductAgainstUserCatalogs", "Subscript out of range"),
                           "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.statements.empty());
}

}  // namespace
}  // namespace mercato::test
