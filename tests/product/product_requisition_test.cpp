// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "tests/product/product_fixture.h"
#include "tests/product/refused_statement.h"

namespace mercato::test {
namespace {

// The statements, for product 1, commodity "C'1" and the user's group 3.
const std::string kValuesOfProduct =
    "SELECT VALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID FROM PRODUCT INNER JOIN PROPSBYPROPGROUP ON "
    "PRODUCT.PROPERTYGROUPID = PROPSBYPROPGROUP.PROPERTYGROUPID INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = "
    "PROPERTY.PROPERTYID INNER JOIN PRODUCTPROPVALUE ON PROPSBYPROPGROUP.PROPERTYID = PRODUCTPROPVALUE.PROPERTYID "
    "WHERE PRODUCT.PRODUCTID = 1 AND PRODUCTPROPVALUE.PRODUCTID = 1";
const std::string kDefaultsOfCommodity =
    "SELECT DEFAULTVALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID FROM COMMODITY INNER JOIN "
    "PROPSBYPROPGROUP ON COMMODITY.PROPERTYGROUPID = PROPSBYPROPGROUP.PROPERTYGROUPID INNER JOIN PROPERTY ON "
    "PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID WHERE COMMODITY.COMMODITYCODE = 'C''1'";
const std::string kDefaultsOfUser =
    "SELECT DEFAULTVALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID FROM PROPSBYPROPGROUP INNER JOIN "
    "PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID WHERE PROPSBYPROPGROUP.PROPERTYGROUPID = 3";
const std::string kOfProductsCommodity =
    "SELECT dbo.PROPERTY.PROPERTYID FROM dbo.PRODUCT  INNER JOIN dbo.COMMODITY ON dbo.Product.COMMODITYCODE = "
    "dbo.COMMODITY.COMMODITYCODE  INNER JOIN dbo.PROPERTYGROUP ON dbo.COMMODITY.PROPERTYGROUPID = "
    "dbo.PropertyGroup.PROPERTYGROUPID  INNER JOIN dbo.PROPSBYPROPGROUP ON dbo.PropertyGroup.PROPERTYGROUPID = "
    "dbo.PROPSBYPROPGROUP.PROPERTYGROUPID  INNER JOIN dbo.PROPERTY ON dbo.PROPSBYPROPGROUP.PROPERTYID = "
    "dbo.Property.PROPERTYID  WHERE dbo.PRODUCT.PRODUCTID = 1";
const std::string kOfProductsGroup =
    "SELECT PROPERTY.PROPERTYID FROM PROPERTY  INNER JOIN PROPSBYPROPGROUP ON PROPERTY.PROPERTYID = "
    "PROPSBYPROPGROUP.PROPERTYID  INNER JOIN PRODUCT ON PROPSBYPROPGROUP.PROPERTYGROUPID = PRODUCT.PROPERTYGROUPID  "
    "WHERE PRODUCT.PRODUCTID = 1";
const std::string kOfCommodity =
    "SELECT PROPERTYNAME FROM COMMODITY INNER JOIN PROPSBYPROPGROUP ON COMMODITY.PROPERTYGROUPID = "
    "PROPSBYPROPGROUP.PROPERTYGROUPID INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID WHERE "
    "COMMODITY.COMMODITYCODE = 'C''1'";
const std::string kOfUser = "SELECT PROPERTYID FROM PROPSBYPROPGROUP WHERE PROPERTYGROUPID =3";
const std::string kProperties =
    "SELECT PROPERTY.PROPERTYID, PROPERTYNAME, DATATYPE, VALUE FROM PROPERTY, PRODUCTPROPVALUE WHERE "
    "PROPERTY.PROPERTYID = PRODUCTPROPVALUE.PROPERTYID AND PRODUCTPROPVALUE.PRODUCTID=1 ORDER BY PROPERTYNAME";
const std::string kLotSize = "SELECT MINORDERQTY, MULTIPLEOF FROM PRODUCT WHERE PRODUCTID=1";

const std::string kLines = "Mercato.Product.getRequisitionLineProperties";

class ProductRequisition : public ProductTest {
 protected:
  // Three groups without properties: 1 is the product's, 2 the commodity's, 3 the user's.
  void SetUp() override {
    ProductTest::SetUp();
    for (const char* group : {"of the product", "of the commodity", "of the user"})
      execute({std::string("INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('") + group + "')"});
    execute({"INSERT INTO COMMODITY (COMMODITYCODE, PROPERTYGROUPID) VALUES ('C''1', 2)",
             "INSERT INTO USERS (USERID, PROPERTYGROUPID) VALUES ('user', 3)"});
    add_product("P-1", "First", "PROPERTYGROUPID, COMMODITYCODE", "1, 'C''1'");
  }

  // Their ids count up from 1.
  void add_property(const std::string& property, const std::string& default_value) const {
    execute({"INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE, DEFAULTVALUE) VALUES ('" + property + "', 5, " +
             default_value + ")"});
  }
  void put_into_group(int property, int group, int mandatory = 0) const {
    execute({"INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID, MANDATORY) VALUES (" + std::to_string(group) +
             ", " + std::to_string(property) + ", " + std::to_string(mandatory) + ")"});
  }
  void set_value(int property, const std::string& value, int product = 1) const {
    execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (" + std::to_string(property) + ", " +
             std::to_string(product) + ", " + value + ")"});
  }

  DictionaryPtr lines() const { return product_->GetRequisitionLineProperties("user", "C'1", 1); }
  // The four items, whose keys and order are checked.
  static Array items_of(const DictionaryPtr& lines, const char* property) {
    const auto line = lines->Item(property).to<Collection>();
    Array items;
    for (std::int32_t position = 1; position <= line->Count(); ++position) items.items.push_back(line->Item(position));
    EXPECT_EQ(line->key_at(1), "PROPERTYNAME");
    EXPECT_EQ(line->key_at(2), "VALUE");
    EXPECT_EQ(line->key_at(3), "MANDATORY");
    EXPECT_EQ(line->key_at(4), "DATATYPE");
    return items;
  }

  template <class Call>
  void expect_failure(const Recorder& recorder, const std::string& label, std::int32_t number, const std::string& hex,
                      const std::string& description, const std::string& source, Call call) const {
    const RaisedError raised = raised_by(call);
    const std::string once = message(hex, label, description);
    EXPECT_EQ(raised, (RaisedError{number, source, once, "", 0}));
    EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{source, message(hex, label, once), 0}}));
    EXPECT_EQ(vote(), Vote::abort);
  }
};

constexpr std::int16_t kDatatype = 5;

// GetRequisitionLineProperties

TEST_F(ProductRequisition, LinesHaveTheValuesOfTheProductThenTheDefaultsOfCommodityAndUser) {
  add_property("colour", "'red'");
  add_property("length", "'1'");
  add_property("weight", "NULL");
  put_into_group(1, 1, 1);
  put_into_group(2, 2);
  put_into_group(3, 3, 1);
  set_value(1, "'blue'");
  Recorder recorder;
  const DictionaryPtr found = lines();
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kIsolation, kIsolation, kValuesOfProduct, kDefaultsOfCommodity, kDefaultsOfUser}));
  EXPECT_EQ(recorder.calls.back(), (ComponentCall{"Zentrik.User.GetUserPropertyGroup", {"user"}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(found->Keys(), (Array{"1", "2", "3"}));
  EXPECT_EQ(items_of(found, "1"), (Array{"colour", "blue", true, kDatatype}));
  EXPECT_EQ(items_of(found, "2"), (Array{"length", "1", false, kDatatype}));
  EXPECT_EQ(items_of(found, "3"), (Array{"weight", kNull, true, kDatatype}));
}

TEST_F(ProductRequisition, APropertyOfProductAndCommodityAppearsOnceAsTheProductHasIt) {
  add_property("colour", "'red'");
  put_into_group(1, 1, 1);
  put_into_group(1, 2, 0);
  put_into_group(1, 3, 0);
  set_value(1, "NULL");
  const DictionaryPtr found = lines();
  EXPECT_EQ(found->Keys(), Array{"1"});
  EXPECT_EQ(items_of(found, "1"), (Array{"colour", kNull, true, kDatatype}));
}

TEST_F(ProductRequisition, APropertyOfCommodityAndUserAppearsOnceAsTheCommodityHasIt) {
  add_property("colour", "'red'");
  put_into_group(1, 2, 1);
  put_into_group(1, 3, 0);
  const DictionaryPtr found = lines();
  EXPECT_EQ(found->Keys(), Array{"1"});
  EXPECT_EQ(items_of(found, "1"), (Array{"colour", "red", true, kDatatype}));
}

TEST_F(ProductRequisition, APropertyOfTheProductsGroupWithoutAValueIsLeftToTheOthers) {
  add_property("colour", "'red'");
  put_into_group(1, 1, 1);
  put_into_group(1, 3, 0);
  set_value(1, "'blue'", 2);  // of another product
  EXPECT_EQ(items_of(lines(), "1"), (Array{"colour", "red", false, kDatatype}));
}

TEST_F(ProductRequisition, UnknownProductsCommoditiesAndUsersAddNothing) {
  add_property("colour", "'red'");
  for (int group : {1, 2, 3}) put_into_group(1, group);
  set_value(1, "'blue'");
  EXPECT_EQ(product_->GetRequisitionLineProperties("nobody", "", 9)->Count(), 0);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(items_of(product_->GetRequisitionLineProperties("user", "", 9), "1"),
            (Array{"colour", "red", false, kDatatype}));
}

TEST_F(ProductRequisition, AProductsPropertyThatComesTwiceFails) {
  execute(
      {"DROP TABLE PROPSBYPROPGROUP",
       "CREATE TABLE PROPSBYPROPGROUP (PROPERTYGROUPID int NOT NULL, PROPERTYID int NOT NULL, MANDATORY bit NULL)"});
  add_property("colour", "'red'");
  put_into_group(1, 1);
  put_into_group(1, 1);
  put_into_group(1, 2);
  put_into_group(1, 2);
  // Of the commodity it is skipped.
  EXPECT_EQ(lines()->Count(), 1);
  set_value(1, "'blue'");
  Recorder recorder;
  expect_failure(recorder, kLines, error_number::kDuplicateKey, "1C9",
                 "This key is already associated with an element of this collection", "Mercato", [&] { lines(); });
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kIsolation, kIsolation, kValuesOfProduct}));
}

TEST_F(ProductRequisition, LinesFailWhenTheUsersGroupIsNotToBeHad) {
  Recorder recorder;
  recorder.failures["Zentrik.User.GetUserPropertyGroup"] = {4711, "Users", "out of order", "", 0};
  expect_failure(recorder, kLines, 4711, "1267", "out of order", "Users", [&] { lines(); });
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kIsolation, kIsolation, kValuesOfProduct, kDefaultsOfCommodity}));
}

TEST_F(ProductRequisition, LinesWhoseStatementIsRefusedTakeTheTail) {
  expect_refusals_to_take_the_tail(
      {kIsolation, kValuesOfProduct, kDefaultsOfCommodity, kDefaultsOfUser}, kLines, Vote::abort,
      [](const Root<Product>& product) { product->GetRequisitionLineProperties("user", "C'1", 1); });
}

// RequisitionPropertiesPresent, RequisitionCommodityPropertiesPresent

TEST_F(ProductRequisition, NoPropertiesArePresentAfterThreeStatements) {
  Recorder recorder;
  EXPECT_FALSE(product_->RequisitionPropertiesPresent(1, "user"));
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, kOfProductsCommodity, kIsolation, kOfProductsGroup, kIsolation, kOfUser}));
  EXPECT_EQ(recorder.calls.back(), (ComponentCall{"Zentrik.User.GetUserPropertyGroup", {"user"}}));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRequisition, TheFirstPlaceThatHasPropertiesDecides) {
  add_property("colour", "'red'");
  const struct {
    int group;
    Statements statements;
  } cases[] = {
      {3, {kIsolation, kOfProductsCommodity, kIsolation, kOfProductsGroup, kIsolation, kOfUser}},
      {1, {kIsolation, kOfProductsCommodity, kIsolation, kOfProductsGroup}},
      {2, {kIsolation, kOfProductsCommodity}},
  };
  for (const auto& row : cases) {
    put_into_group(1, row.group);
    Recorder recorder;
    EXPECT_TRUE(product_->RequisitionPropertiesPresent(1, "user"));
    EXPECT_EQ(recorder.statements, row.statements);
    EXPECT_EQ(vote(), Vote::commit);
  }
}

TEST_F(ProductRequisition, PropertiesOfTheCommodityArePresentForAProductWithoutAGroup) {
  add_property("colour", "'red'");
  put_into_group(1, 2);
  add_product("P-2", "Second", "COMMODITYCODE", "'C''1'");
  EXPECT_TRUE(product_->RequisitionPropertiesPresent(2, "nobody"));
  EXPECT_FALSE(product_->RequisitionPropertiesPresent(9, "nobody"));
}

TEST_F(ProductRequisition, OfCommodityAndUserBothAreAskedWhateverTheFirstFinds) {
  add_property("colour", "'red'");
  const Statements both{kIsolation, kOfCommodity, kIsolation, kOfUser};
  {
    Recorder recorder;
    EXPECT_FALSE(product_->RequisitionCommodityPropertiesPresent("C'1", "user"));
    EXPECT_EQ(recorder.statements, both);
    EXPECT_EQ(vote(), Vote::commit);
  }
  put_into_group(1, 2);
  Recorder recorder;
  EXPECT_TRUE(product_->RequisitionCommodityPropertiesPresent("C'1", "user"));
  EXPECT_EQ(recorder.statements, both);
  EXPECT_TRUE(product_->RequisitionCommodityPropertiesPresent("C'1", "nobody"));
  EXPECT_FALSE(product_->RequisitionCommodityPropertiesPresent("unknown", "user"));
}

TEST_F(ProductRequisition, PropertiesOfTheUserArePresentForAnUnknownCommodity) {
  add_property("colour", "'red'");
  put_into_group(1, 3);
  EXPECT_TRUE(product_->RequisitionCommodityPropertiesPresent("unknown", "user"));
}

TEST_F(ProductRequisition, PresenceFailsWhenTheUsersGroupIsNotToBeHad) {
  {
    Recorder recorder;
    recorder.failures["Zentrik.User.GetUserPropertyGroup"] = {4711, "Users", "out of order", "", 0};
    expect_failure(recorder, "Mercato.Product.RequisitionPropertiesPresent", 4711, "1267", "out of order", "Users",
                   [&] { product_->RequisitionPropertiesPresent(1, "user"); });
  }
  Recorder recorder;
  recorder.failures["Zentrik.User.GetUserPropertyGroup"] = {4711, "Users", "out of order", "", 0};
  expect_failure(recorder, "Mercato.Product.RequisitionCommodityPropertiesPresent", 4711, "1267", "out of order",
                 "Users", [&] { product_->RequisitionCommodityPropertiesPresent("C'1", "user"); });
}

TEST_F(ProductRequisition, PresenceWhoseStatementIsRefusedTakesTheTail) {
  expect_refusals_to_take_the_tail(
      {kIsolation, kOfProductsCommodity, kOfProductsGroup, kOfUser}, "Mercato.Product.RequisitionPropertiesPresent",
      Vote::abort, [](const Root<Product>& product) { product->RequisitionPropertiesPresent(1, "user"); });
  expect_refusals_to_take_the_tail(
      {kIsolation, kOfCommodity, kOfUser}, "Mercato.Product.RequisitionCommodityPropertiesPresent", Vote::abort,
      [](const Root<Product>& product) { product->RequisitionCommodityPropertiesPresent("C'1", "user"); });
}

// GetProductProperties

TEST_F(ProductRequisition, PropertiesOfAProductAreNumberedByName) {
  add_property("weight", "NULL");
  add_property("colour", "'red'");
  set_value(1, "'5'");
  set_value(2, "NULL");
  set_value(2, "'blue'", 2);
  Recorder recorder;
  const DictionaryPtr properties = product_->GetProductProperties(1);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kProperties}));
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(properties->Keys(), (Array{"1", "2"}));
  const auto first = properties->Item("1").to<Dictionary>();
  EXPECT_EQ(first->Keys(), (Array{"PROPERTYID", "PROPERTYNAME", "DATATYPE", "VALUE"}));
  EXPECT_EQ(first->Items(), (Array{2, "colour", kDatatype, kNull}));
  EXPECT_EQ(properties->Item("2").to<Dictionary>()->Items(), (Array{1, "weight", kDatatype, "5"}));
  EXPECT_EQ(product_->GetProductProperties(9)->Count(), 0);
}

TEST_F(ProductRequisition, PropertiesOfAProductWhoseStatementIsRefusedTakeATailWithoutAVote) {
  expect_refusals_to_take_the_tail({kIsolation, kProperties}, "Mercato.Product.GetProductProperties", Vote::none,
                                   [](const Root<Product>& product) { product->GetProductProperties(1); });
}

// CheckLotSize, getMultipleOf, getMinOrderQty

TEST_F(ProductRequisition, PropertiesOfAProductAreListedUpTo32767) {
  execute({"INSERT INTO PROPERTY (PROPERTYID, PROPERTYNAME, DATATYPE) VALUES (1, 'p', 5)"});
  for (int count = 1; count < 32768; count *= 2)
    execute({"INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) SELECT PROPERTYNAME, DATATYPE FROM PROPERTY"});
  execute({"INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) SELECT PROPERTYID, 1, 'v' FROM PROPERTY"});
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { product_->GetProductProperties(1); }).Number, error_number::kOverflow);
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::none);
  execute({"DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID = 1"});
  EXPECT_EQ(product_->GetProductProperties(1)->Count(), 32767);
}

TEST_F(ProductRequisition, AQuantityMayBeOrderedInMultiplesAndFromTheLeastOn) {
  const struct {
    const char* multiple;
    const char* least;
    double quantity;
    bool may;
  } cases[] = {
      {"2.5", "NULL", 7.5, true},
      {"2.5", "NULL", 7, false},
      {"2.5", "NULL", 2.5, true},
      {"2.5", "NULL", -7.5, true},
      {"3", "NULL", 4.5, false},  // 1.5 rounds to 2, and 6 is not 4.5
      {"3", "NULL", 7.5, false},  // 2.5 rounds to 2
      {"3", "NULL", 6, true},
      {"0.1", "NULL", 0.3, true},  // 3 * 0.1 is not 0.3 in binary
      {"0.1", "NULL", 0.1 + 0.2, true},
      {"0.1", "NULL", 0.7, true},
      {"0.1", "NULL", 0.25, false},
      {"0.1", "NULL", 0.15, false},
      {"0.1", "NULL", 0.05, false},  // 0.5 rounds to 0
      {"0.3", "NULL", 0.1, false},
      {"0.3", "NULL", 0.9, true},
      {"0.07", "NULL", 0.49, true},
      {"0.001", "NULL", 123456789.012, true},
      {"0.01", "NULL", 123456789.012, false},
      {"1E-5", "NULL", 1e-4, true},
      {"1E-5", "NULL", 1e-6, false},
      {"1", "NULL", 1e15, true},
      {"1", "NULL", 1e30, true},
      {"0.25", "NULL", 1e15 - 1, true},
      {"-2.5", "NULL", 7.5, true},
      {"1E-7", "NULL", 841080511.2180511, true},  // as many digits as a quantity has
      {"0.05", "NULL", 109397041266220.4, true},
      {"0.01", "NULL", 23384292407561.55, true},
      {"2.5", "NULL", 2098108952969442.5, true},
      {"0.7", "NULL", 6198436314917868.0, true},
      {"0.7", "NULL", 6198436314917867.0, false},
      {"2.5", "NULL", 0, true},  // 0 is a multiple of every number
      {"2.5", "10", 0, false},   // but below the minimum
      {"NULL", "10", 10, true},
      {"NULL", "10", 9.99, false},
      {"NULL", "10", 10.01, true},
      {"NULL", "0.3", 0.1 + 0.2, true},
      {"NULL", "0.3", 0.29999, false},
      {"NULL", "10", -10, false},
      {"NULL", "-10", -9, true},
      {"NULL", "1E+15", 1e15, true},
      {"NULL", "10", 0, false},
      {"2.5", "10", 10, true},
      {"2.5", "10", 12.5, true},
      {"2.5", "10", 7.5, false},
      {"2.5", "10", 11, false},
      {"0", "0", 3.7, true},
      {"0", "5", 3.7, false},
      {"NULL", "NULL", 3.7, true},
      {"NULL", "NULL", -1e300, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.multiple) + ", " + row.least + ", " + Variant(row.quantity).to_text());
    execute({std::string("UPDATE PRODUCT SET LOTSIZE = 1000, MULTIPLEOF = ") + row.multiple +
             ", MINORDERQTY = " + row.least});
    EXPECT_EQ(product_->CheckLotSize(1, row.quantity), row.may);
    EXPECT_EQ(vote(), Vote::commit);
  }
}

TEST_F(ProductRequisition, NoQuantityOfAnUnknownProductMayBeOrdered) {
  EXPECT_FALSE(product_->CheckLotSize(9, 1));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRequisition, AQuantityIsCheckedWithOneStatement) {
  Recorder recorder;
  EXPECT_TRUE(product_->CheckLotSize(1, 1));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, kLotSize}));
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(ProductRequisition, AQuantityBeyondAllNumbersFails) {
  const std::string label = "Mercato.Product.Checklotsize";
  for (const double quantity : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    Recorder recorder;
    expect_failure(recorder, label, 6, "6", "Overflow", "Mercato", [&] { product_->CheckLotSize(1, quantity); });
    EXPECT_TRUE(recorder.statements.empty());
  }
  // So does a quotient.
  execute({"UPDATE PRODUCT SET MULTIPLEOF = 1E-300"});
  Recorder recorder;
  expect_failure(recorder, label, 6, "6", "Overflow", "Mercato", [&] { product_->CheckLotSize(1, 1e300); });
}

TEST_F(ProductRequisition, MultipleAndLeastQuantityAreTheColumnsWithZeroForNull) {
  Recorder recorder;
  EXPECT_EQ(product_->getMultipleOf(1), 0);
  EXPECT_EQ(product_->getMinOrderQty(1), 0);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT MULTIPLEOF FROM PRODUCT WHERE PRODUCTID=1", kIsolation,
                                             "SELECT MINORDERQTY FROM PRODUCT WHERE PRODUCTID=1"}));
  execute({"UPDATE PRODUCT SET MULTIPLEOF = 2.5, MINORDERQTY = 10"});
  EXPECT_EQ(product_->getMultipleOf(1), 2.5);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->getMinOrderQty(1), 10);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product_->getMultipleOf(9), 0);
  EXPECT_EQ(product_->getMinOrderQty(9), 0);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(ProductRequisition, QuantityReadsWhoseStatementIsRefusedTakeTheTail) {
  expect_refusals_to_take_the_tail({kIsolation, kLotSize}, "Mercato.Product.Checklotsize", Vote::abort,
                                   [](const Root<Product>& product) { product->CheckLotSize(1, 1); });
  expect_refusals_to_take_the_tail({kIsolation, "SELECT MULTIPLEOF"}, "Mercato.Product.getmultipleof", Vote::abort,
                                   [](const Root<Product>& product) { product->getMultipleOf(1); });
  expect_refusals_to_take_the_tail({kIsolation, "SELECT MINORDERQTY FROM"}, "Mercato.Product.getMinOrderQty",
                                   Vote::abort, [](const Root<Product>& product) { product->getMinOrderQty(1); });
}

TEST_F(ProductRequisition, TypedAndLateBoundCallsGiveTheSame) {
  execute({"UPDATE PRODUCT SET MULTIPLEOF = 2.5"});
  std::vector<Variant> quantity{"1", "7.5"};
  EXPECT_EQ(invoke(product_.object(), "checklotsize", quantity), Variant(product_->CheckLotSize(1, 7.5)));
  std::vector<Variant> id{1.0};
  EXPECT_EQ(invoke(product_.object(), "GETMULTIPLEOF", id), Variant(product_->getMultipleOf(1)));
  std::vector<Variant> no_number{1, "many"};
  EXPECT_EQ(raised_by([&] { invoke(product_.object(), "CheckLotSize", no_number); }).Number,
            error_number::kTypeMismatch);
  std::vector<Variant> too_large{3e9, 1};
  EXPECT_EQ(raised_by([&] { invoke(product_.object(), "CheckLotSize", too_large); }).Number, error_number::kOverflow);
}

}  // namespace
}  // namespace mercato::test
