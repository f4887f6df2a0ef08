// SPDX-License-Identifier: Apache-2.0
// Which product somebody means by a number, and what is said when several may be meant.
#include "keeping/product_resolver.h"

#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

class ProductResolver : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES (N'ACME', N'Acme')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES (N'1', N'First')",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES (N'77', N'Seventy-seven')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, GTIN, BUSINESSPARTNERID) VALUES "
             "(N'M-1', N'Paper', N'8812', N'4006381333931', 1)",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, BUSINESSPARTNERID) VALUES "
             "(N'1', N'Pencil', N'8812', 2)",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, DISABLED) VALUES (N'O''Neill', N'Glue', 1)",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'4', N'Stapler')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'id:4', N'Named as a prefix')"});
  }
  std::int32_t id_of(const std::string& text, const std::optional<std::int32_t>& supplier = std::nullopt) const {
    return keeping::product_named(connection_string(), text, supplier).id;
  }
  std::string refusal_of(const std::string& text, const std::optional<std::int32_t>& supplier = std::nullopt) const {
    const RaisedError error = raised_by([&] { id_of(text, supplier); });
    EXPECT_EQ(error.Number, error_number::kInvalidArgument);
    return error.Description;
  }
};

TEST_F(ProductResolver, FindsAProductByEachOfItsNumbers) {
  EXPECT_EQ(id_of("m-1"), 1);
  EXPECT_EQ(id_of("4006381333931"), 1);
  EXPECT_EQ(id_of("2"), 2);
  EXPECT_EQ(id_of("O'Neill"), 3);
  EXPECT_TRUE(keeping::product_named(connection_string(), "O'Neill").disabled);
}

TEST_F(ProductResolver, APrefixSaysWhichNumberItIs) {
  EXPECT_EQ(id_of("id:1"), 1);
  EXPECT_EQ(id_of("part:1"), 2);
  EXPECT_EQ(id_of("PART:M-1"), 1);
  EXPECT_EQ(id_of("gtin:4006381333931"), 1);
  EXPECT_EQ(id_of("part:id:4"), 5);
  EXPECT_EQ(id_of("id:4"), 4);
  EXPECT_EQ(refusal_of("gtin:M-1"), "There is no product gtin:M-1");
  EXPECT_EQ(refusal_of("id:M-1"), "There is no product id:M-1");
  EXPECT_EQ(refusal_of("part:"), "There is no product part:");
}

TEST_F(ProductResolver, RefusesANumberThatIsTheIdOfOneAndThePartNumberOfAnother) {
  EXPECT_EQ(refusal_of("1"),
            "1 may be 2 products; name one by its id: id:1, part number M-1, supplier's number 8812, Paper; id:2, part "
            "number 1, supplier's number 8812, Pencil");
}

TEST_F(ProductResolver, TakesANumberThatIsIdAndPartNumberOfOneProduct) { EXPECT_EQ(id_of("4"), 4); }

TEST_F(ProductResolver, ASupplierTellsTwoProductsOfOneNumberApart) {
  EXPECT_EQ(
      refusal_of("supplier:8812"),
      "supplier:8812 may be 2 products; name one by its id: id:1, part number M-1, supplier's number 8812, Paper; "
      "id:2, part number 1, supplier's number 8812, Pencil");
  EXPECT_EQ(id_of("8812", 1), 1);
  EXPECT_EQ(id_of("8812", 2), 2);
  EXPECT_EQ(refusal_of("8812", 3), "There is no product 8812 of business partner 3");
}

TEST_F(ProductResolver, ListsTheFirstTenCandidatesAndCountsTheRest) {
  std::string listed;
  for (int id = 6; id < 18; ++id) {
    execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'twin', N'Twin')"});
    if (id < 16) listed += "id:" + std::to_string(id) + ", part number twin, Twin; ";
  }
  EXPECT_EQ(refusal_of("twin"), "twin may be 12 products; name one by its id: " + listed + "and 2 more");
}

TEST_F(ProductResolver, FindsASupplierByIdOrBusinessId) {
  EXPECT_EQ(keeping::supplier_named(connection_string(), "acme"), 1);
  EXPECT_EQ(keeping::supplier_named(connection_string(), "3"), 3);
  EXPECT_EQ(keeping::supplier_named(connection_string(), "77"), 3);
  EXPECT_EQ(raised_by([&] { keeping::supplier_named(connection_string(), "nobody"); }).Description,
            "There is no business partner nobody");
  EXPECT_EQ(raised_by([&] { keeping::supplier_named(connection_string(), "1"); }).Description,
            "1 is the id of one business partner and the BUSINESSID of another; name it by the other of the two");
}

}  // namespace
}  // namespace mercato::test
