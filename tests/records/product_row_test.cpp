// SPDX-License-Identifier: Apache-2.0
#include "records/product_row.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "frame/lib_error_handling.h"
#include "mercato/registry.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

// Writes fields into a new row of PRODUCT that is never saved.
class ProductRow : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    connection = open_connection(connection_string());
    new_row();
  }
  void TearDown() override {
    Sql_CloseRecordset(row);
    Sql_CloseConnection(connection);
    StoreTest::TearDown();
  }
  void new_row() {
    Sql_CloseRecordset(row);
    row = Recordset::create();
    row->Open(LiteralPiece("SELECT * FROM PRODUCT WHERE 0=1"), connection, CursorType::keyset, LockType::optimistic,
              -1);
    row->AddNew();
  }
  std::optional<WrittenProductFields> write(ProductWritePolicy policy, const Array& fields, const Array& values) {
    return write_product_fields(policy, *row, fields, values, separator);
  }

  ConnectionPtr connection;
  RecordsetPtr row;
  BuyerSeparator separator;
};

constexpr auto kInsert = ProductWritePolicy::upload_insert;
constexpr auto kUpdate = ProductWritePolicy::upload_update;

std::string shown(const Variant& value) { return value.is_null() ? "Null" : "'" + value.to_text() + "'"; }

// What stands in the column afterwards, "stop", or "fails" and the number.
std::string outcome_of(const std::function<std::optional<WrittenProductFields>()>& write, const Recordset& row,
                       const std::string& field) {
  try {
    return write() ? shown(row.Value(field)) : "stop";
  } catch (const Raised& failure) {
    return "fails " + std::to_string(failure.error().Number);
  }
}

TEST_F(ProductRow, EachRuleMakesOfAValueWhatItsTableSays) {
  struct Case {
    std::string field;
    Variant value;
    std::string insert;
    std::string update;
    std::string upload_insert = {};  // "": as above
    std::string upload_update = {};
  };
  const std::string long_text(256, 'x');
  const std::string full_text(255, 'x');
  const std::string long_value = "'" + long_text + "'";
  const std::string full_value = "'" + full_text + "'";
  const Case cases[] = {
      {"UNITCODE", "  ", "Null", "Null"},
      {"UNITCODE", " PC ", "' PC '", "' PC '"},
      {"UNITCODE", kNull, "Null", "Null"},
      {"CLASSCODE", "", "Null", "Null"},
      {"CLASSCODE", " ", "Null", "Null"},
      {"COMMODITYCODE", " C ", "' C '", "' C '"},
      {"COMMODITYCODE", " ", "Null", "Null"},
      {"MANUFACTURERID", " ", "Null", "Null"},
      {"CONTRACTCODE", " ", "Null", "' '"},
      {"CONTRACTCODE", "", "Null", "''"},
      {"PRICINGMETHOD", "", "Null", "Null"},
      {"PRICINGMETHOD", " ", "Null", "' '"},
      {"NUMBER", "-1", "Null", "Null"},
      {"NUMBER", -1, "Null", "Null"},
      {"NUMBER", "7", "'7'", "'7'"},
      {"NUMBER", -2, "'-2'", "'-2'"},
      {"NUMBER", "", "fails 13", "fails 13"},
      {"BUSINESSPARTNERID", -1, "Null", "Null"},
      {"BUSINESSPARTNERID", "-1.0", "Null", "Null"},
      {"BUSINESSPARTNERID", 7, "'7'", "'7'"},
      {"PROPERTYGROUPID", "-1", "Null", "Null"},
      {"PROPERTYGROUPID", -1.4, "Null", "Null"},
      {"PROPERTYGROUPID", 4, "'4'", "'4'"},
      {"PROPERTYGROUPID", "", "fails 13", "fails 13"},
      {"PROPERTYGROUPID", kNull, "fails 94", "fails 94"},
      {"PROPERTYGROUPID", 4294967296.0, "fails 6", "fails 6"},
      {"PRODUCTDESCRIPTION", "", "stop", "''"},
      {"PRODUCTDESCRIPTION", " ", "' '", "' '"},
      {"PRODUCTDESCRIPTION", kNull, "Null", "Null"},
      {"PARTNUMBER", "", "stop", "''"},
      {"PARTNUMBER", " ", "' '", "' '"},
      {"PRODUCTREMARK", "", "Null", "''"},
      {"PRODUCTREMARK", " ", "' '", "' '"},
      {"PRODUCTREMARK", "It's", "'It's'", "'It's'", "'It''s'", "'It's'"},
      {"PRODUCTREMARK", long_text, "stop", long_value},
      {"PRODUCTREMARK", full_text, full_value, full_value},
      {"BUYFROMCONTACTINFO", "", "Null", "''"},
      {"BUYFROMCONTACTINFO", "It's", "'It's'", "'It's'"},
      {"BUYFROMCONTACTINFO", long_text, "stop", long_value},
      {"BUYFROMCONTACTINFO", full_text, full_value, full_value},
      {"IMAGEFILENAME", " ", "Null", "' '"},
      {"TECHNICALIMAGE", " ", "Null", "' '"},
      {"URL", " ", "Null", "' '"},
      {"URL", long_text, long_value, long_value},
      {"PRODUCTXML", " ", "Null", "' '"},
      {"PRODUCTEFFECTIVITYDATE", "7/1/2026", "'7/1/2026'", "'7/1/2026'"},
      {"PRODUCTEFFECTIVITYDATE", "", "Null", "fails 13"},
      {"PRODUCTEFFECTIVITYDATE", "-1", "stop", "'12/29/1899'"},
      {"PRODUCTEFFECTIVITYDATE", " ", "fails 13", "fails 13"},
      {"PRODUCTEXPIRYDATE", "12/31/2026", "'12/31/2026'", "'12/31/2026'"},
      {"PRODUCTEXPIRYDATE", "", "Null", "fails 13"},
      {"PRODUCTEXPIRYDATE", "-1", "stop", "'12/29/1899'"},
      {"PRODUCTEXPIRYDATE", kNull, "Null", "Null"},
      {"DISABLED", "1", "'1'", "'1'"},
      {"DISABLED", " ", "Null", "fails 13"},
      {"CONFIGURABLE", "0", "'0'", "'0'"},
      {"CONFIGURABLE", "", "Null", "fails 13"},
      {"BUYFROMPARTNUMBER", " ", "Null", "' '"},
      {"BUYFROMCONTACTEMAIL", " ", "' '", "' '"},
      {"UNSPSCCODE", " ", "Null", "' '"},
      {"UNSPSCCODE", "", "Null", "Null"},
      {"UNSPSCCODE", "441207", "'441207'", "'441207'"},
      {"GTIN", " ", "Null", "Null"},
      {"GTIN", "123", "'00000000000123'", "'00000000000123'"},
      {"GTIN", " 123", "'0000000000 123'", "'0000000000 123'"},
      {"GTIN", "12345678901234", "'12345678901234'", "'12345678901234'"},
      {"GTIN", "123456789012345", "'123456789012345'", "fails 5", "'123456789012345'", "'123456789012345'"},
      {"MULTIPLEBUYER", " ", "Null", "Null"},
      {"MULTIPLEBUYER", "1", "'1'", "'1'"},
      {"MFRPARTNUMBER", " ", "Null", "Null"},
      {"LOTSIZE", " ", "Null", "Null"},
      {"DELIVERYLEADTIME", " ", "Null", "Null"},
      {"MINORDERQTY", "0.0", "'0'", "'0'", "'1'", "'1'"},
      {"MINORDERQTY", "2.5", "'2.5'", "'2.5'"},
      {"MINORDERQTY", "", "fails 13", "fails 13"},
      {"MULTIPLEOF", 0, "'0'", "'0'", "'1'", "'1'"},
      {"MULTIPLEOF", kNull, "Null", "Null"},
      {"USERID", ";ann;bob", "';ann;bob'", "';ann;bob'", "'ann'", "'ann'"},
      {"USERID", "ann", "'ann'", "'ann'"},
      {"USERID", "  ", "Null", "'  '"},
      {"USERID", "", "Null", "''", "Null", "Null"},
      {"USERID", ";", "';'", "';'", "Null", "Null"},
      {"PRODUCTID", 7, "'7'", "Null"},
      {"STOCKITEM", 1, "'1'", "'1'"},
      {"STOCKITEM", " ", "fails 13", "fails 13"},
      {"SERVICEITEM", "1", "'1'", "'1'"},
      {"unitcode", "  ", "'  '", "'  '"},
      {"productid", 7, "'7'", "'7'"},
      {"partnumber", "", "''", "''"},
      {"productExpiryDate", "-1", "'12/29/1899'", "'12/29/1899'"},
  };
  const auto or_as_above = [](const std::string& own, const std::string& above) { return own.empty() ? above : own; };
  for (const Case& rule : cases) {
    SCOPED_TRACE(rule.field + " " + shown(rule.value).substr(0, 40));
    const std::tuple<ProductWritePolicy, const char*, std::string> policies[] = {
        {ProductWritePolicy::insert, "insert", rule.insert},
        {ProductWritePolicy::update, "update", rule.update},
        {ProductWritePolicy::upload_insert, "upload insert", or_as_above(rule.upload_insert, rule.insert)},
        {ProductWritePolicy::upload_update, "upload update", or_as_above(rule.upload_update, rule.update)}};
    for (const auto& [policy, name, expected] : policies) {
      new_row();
      const auto write_it = [&, policy = policy] { return write(policy, Array{rule.field}, Array{rule.value}); };
      EXPECT_EQ(outcome_of(write_it, *row, rule.field), expected) << name;
    }
  }
}

TEST_F(ProductRow, WhatAnInsertTakesOrStopsAtAnUpdateLeavesToTheColumn) {
  EXPECT_TRUE(write(kInsert, Array{"DISABLED"}, Array{" "}));
  EXPECT_EQ(raised_by([&] { write(kUpdate, Array{"DISABLED"}, Array{" "}); }).Number, error_number::kTypeMismatch);
  EXPECT_TRUE(write(kInsert, Array{"PRODUCTEXPIRYDATE"}, Array{""}));
  EXPECT_FALSE(write(kInsert, Array{"PRODUCTEXPIRYDATE"}, Array{"-1"}));
  EXPECT_EQ(raised_by([&] { write(kUpdate, Array{"PRODUCTEXPIRYDATE"}, Array{""}); }).Number,
            error_number::kTypeMismatch);
}

TEST_F(ProductRow, QuietStopLeavesTheFieldsBehindItUnwritten) {
  EXPECT_FALSE(write(kInsert, Array{"UNITCODE", "PARTNUMBER", "URL"}, Array{"PC", "", "u"}));
  EXPECT_EQ(shown(row->Value("UNITCODE")), "'PC'");
  EXPECT_TRUE(row->Value("URL").is_null());
}

TEST_F(ProductRow, FaultsAreToldForEveryValueThatAWriterStopsOrFailsAt) {
  using Kind = ProductFieldFault::Kind;
  struct Case {
    ProductWritePolicy policy;
    const char* field;
    Variant value;
    std::optional<Kind> kind;
    std::size_t most_characters = 0;
  };
  constexpr auto kPlainInsert = ProductWritePolicy::insert;
  constexpr auto kPlainUpdate = ProductWritePolicy::update;
  const Case cases[] = {
      {kPlainInsert, "PARTNUMBER", "", Kind::empty},
      {kPlainInsert, "PARTNUMBER", " ", std::nullopt},
      {kPlainInsert, "PRODUCTDESCRIPTION", "", Kind::empty},
      {kPlainInsert, "PRODUCTREMARK", std::string(255, 'x'), std::nullopt},
      {kPlainInsert, "PRODUCTREMARK", std::string(256, 'x'), Kind::too_long, 255},
      {kInsert, "PRODUCTREMARK", std::string(256, 'x'), Kind::too_long, 255},
      {kPlainInsert, "BUYFROMCONTACTINFO", std::string(256, 'x'), Kind::too_long, 255},
      {kPlainInsert, "PRODUCTEFFECTIVITYDATE", "-1", Kind::no_date},
      {kPlainInsert, "PRODUCTEXPIRYDATE", std::int16_t{-1}, Kind::no_date},
      {kPlainInsert, "PRODUCTEXPIRYDATE", "", std::nullopt},
      {kPlainInsert, "PRODUCTEXPIRYDATE", kNull, std::nullopt},
      {kPlainInsert, "GTIN", std::string(15, '1'), std::nullopt},
      {kPlainUpdate, "GTIN", std::string(15, '1'), Kind::too_long, 14},
      {kPlainUpdate, "GTIN", std::string(15, ' '), std::nullopt},
      {kUpdate, "GTIN", std::string(15, '1'), std::nullopt},
      {kPlainUpdate, "PARTNUMBER", "", std::nullopt},
      {kPlainUpdate, "PRODUCTREMARK", std::string(256, 'x'), std::nullopt},
      {kPlainInsert, "partnumber", "", std::nullopt},
  };
  for (const auto& [policy, field, value, kind, most_characters] : cases) {
    const std::string what = std::string(field) + " " + shown(value);
    const auto fault = product_field_fault(policy, field, value);
    ASSERT_EQ(fault.has_value(), kind.has_value()) << what;
    if (fault) {
      EXPECT_EQ(fault->kind, *kind) << what;
      EXPECT_EQ(fault->most_characters, most_characters) << what;
    }
    new_row();
    const std::string outcome = outcome_of(
        [&, &policy = policy, &field = field, &value = value] { return write(policy, {field}, {value}); }, *row, field);
    EXPECT_EQ(outcome == "stop" || outcome == "fails 5", kind.has_value()) << what << ": " << outcome;
  }
}

TEST_F(ProductRow, EveryFieldIsClearedByNullButTheGroup) {
  EXPECT_EQ(no_value_of("PROPERTYGROUPID"), Variant(-1));
  EXPECT_EQ(no_value_of("BUSINESSPARTNERID"), Variant(kNull));
  EXPECT_EQ(no_value_of("PRODUCTREMARK"), Variant(kNull));
}

TEST_F(ProductRow, MisspeltContactEmailIsNoColumn) {
  EXPECT_EQ(raised_by([&] { write(kInsert, Array{"BYFROMCONTACTEMAIL"}, Array{"x"}); }).Number,
            error_number::kNoSuchField);
}

TEST_F(ProductRow, BuyerSeparatorIsNoColumnInAnyCaseAndKnownToTheUploadsOnly) {
  EXPECT_TRUE(write(kInsert, Array{"MultipleBuyerSeparator"}, Array{"/"}));
  EXPECT_TRUE(write(kUpdate, Array{"MULTIPLEBUYERSEPARATOR"}, Array{"/"}));
  for (const ProductWritePolicy policy : {ProductWritePolicy::insert, ProductWritePolicy::update})
    EXPECT_EQ(raised_by([&] { write(policy, Array{"MULTIPLEBUYERSEPARATOR"}, Array{"/"}); }).Number,
              error_number::kNoSuchField);
}

TEST_F(ProductRow, ProductIdIsWrittenByAnInsertOnly) {
  write(kUpdate, Array{"PRODUCTID"}, Array{7});
  EXPECT_TRUE(row->Value("PRODUCTID").is_null());
  write(kInsert, Array{"PRODUCTID"}, Array{7});
  EXPECT_EQ(row->Value("PRODUCTID").to_long(), 7);
}

TEST_F(ProductRow, BuyersGroupAndUnspscCodeAreRemembered) {
  const auto written =
      write(kUpdate, Array{"USERID", "PROPERTYGROUPID", "UNSPSCCODE"}, Array{";ann;bob", "-1", "441207"});
  ASSERT_TRUE(written);
  EXPECT_EQ(written->buyers, ";ann;bob");
  EXPECT_TRUE(written->has_property_group);
  EXPECT_EQ(written->property_group, -1);
  EXPECT_EQ(written->unspsc_code, "441207");
  EXPECT_EQ(separator.text(), ";");

  const auto nothing = write(kInsert, Array{"URL"}, Array{"u"});
  ASSERT_TRUE(nothing);
  EXPECT_EQ(nothing->buyers, "");
  EXPECT_FALSE(nothing->has_property_group);
  EXPECT_EQ(nothing->unspsc_code, "");
}

TEST_F(ProductRow, BuyersAreTakenApartAtTheSeparatorThatIsSet) {
  separator.set("/");
  write(kInsert, Array{"USERID"}, Array{"ann;bob/cid"});
  EXPECT_EQ(row->Value("USERID").to_text(), "ann;bob");
}

TEST_F(ProductRow, FieldsAreWalkedByTheirOwnBoundsAndValuesMustHaveThem) {
  EXPECT_TRUE(write(kInsert, Array({Variant("URL")}, 3), Array({Variant("u")}, 3)));
  EXPECT_EQ(row->Value("URL").to_text(), "u");
  EXPECT_EQ(raised_by([&] {
              write(kInsert, Array{"URL", "UNITCODE"}, Array{"u"});
            }).Number,
            error_number::kSubscriptOutOfRange);
}

TEST_F(ProductRow, EmptyToNullTakesBlanksForNothing) {
  for (const char* blank : {"", "   "}) {
    Variant value(blank);
    EmptyToNull(value);
    EXPECT_TRUE(value.is_null());
  }
  Variant number(0);
  EmptyToNull(number);
  EXPECT_EQ(number, Variant(0));
}

TEST_F(ProductRow, FormerProductHasZeroAndNothingForNulls) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P-1', 'first')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, PROPERTYGROUPID, UNSPSCCODE) VALUES ('P-2', 'second', "
           "4, '441207')"});
  const FormerProduct bare = former_product(*open_product_row(1, connection));
  EXPECT_EQ(bare.property_group, 0);
  EXPECT_EQ(bare.unspsc_code, "");
  const FormerProduct full = former_product(*open_product_row(2, connection));
  EXPECT_EQ(full.property_group, 4);
  EXPECT_EQ(full.unspsc_code, "441207");
}

TEST_F(ProductRow, ProductThatDoesNotExistCannotBeOpened) {
  EXPECT_EQ(raised_by([&] { open_product_row(1, connection); }),
            (RaisedError{eProductNotFound, "Mercato.Product.Update", "Product not present", "", 0}));
}

TEST_F(ProductRow, StampIsTheCurrentDateAndTime) {
  const Date now = Date::from_civil({2026, 7, 1, 8, 30, 0});
  clock::script_clock(now, 0);
  row = new_product_row(connection);
  stamp_product_row(*row);
  EXPECT_EQ(row->Value("DATEUPDATED"), Variant(now));
}

// Stands in for the class of this name, and notes with what it is called.
class GroupChanges : public ComponentOf<GroupChanges> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<GroupChanges>("Mercato.PropertyGroup", "{0F3B7D64-2C95-4A18-8E6D-B1A490C7725E}",
                                     TransactionAttribute::required)
            .method("UpdateGroupChange", &GroupChanges::UpdateGroupChange, {"iPropertyGroupId", "iProductID"});
    return table;
  }
  void UpdateGroupChange(std::int32_t group, std::int32_t product) { changes().push_back({group, product}); }
  static std::vector<std::pair<std::int32_t, std::int32_t>>& changes() {
    static std::vector<std::pair<std::int32_t, std::int32_t>> all;
    return all;
  }
};

class ProductGroups : public ProductRow {
 protected:
  void SetUp() override {
    ProductRow::SetUp();
    previous_ = registered_class("Mercato.PropertyGroup");
    register_class(GroupChanges::table());
    GroupChanges::changes().clear();
  }
  void TearDown() override {
    unregister_class(GroupChanges::table());
    if (previous_) register_class(*previous_);
    ProductRow::TearDown();
  }
  using Changes = std::vector<std::pair<std::int32_t, std::int32_t>>;

 private:
  const ClassTable* previous_ = nullptr;
};

TEST_F(ProductGroups, NewProductInAGroupGetsItsValues) {
  create_group_values(*row, *write(kInsert, Array{"URL"}, Array{"u"}), 9);
  EXPECT_EQ(GroupChanges::changes(), Changes{});
  create_group_values(*row, *write(kInsert, Array{"PROPERTYGROUPID"}, Array{4}), 9);
  EXPECT_EQ(GroupChanges::changes(), (Changes{{4, 9}}));
}

TEST_F(ProductGroups, MovedProductGetsTheValuesOfItsNewGroup) {
  const auto written = write(kUpdate, Array{"PROPERTYGROUPID"}, Array{4});
  follow_group_change(*row, *written, 4, 9, *connection);
  EXPECT_EQ(GroupChanges::changes(), Changes{});
  follow_group_change(*row, *written, 3, 9, *connection);
  EXPECT_EQ(GroupChanges::changes(), (Changes{{4, 9}}));
  follow_group_change(*row, *write(kUpdate, Array{"URL"}, Array{"u"}), 3, 9, *connection);
  EXPECT_EQ(GroupChanges::changes(), (Changes{{4, 9}})) << "the group was not among the fields";
}

TEST_F(ProductGroups, ProductThatLeavesItsGroupLosesItsValues) {
  execute({"INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 9, 'x')"});
  Recorder recorder;
  follow_group_change(*row, *write(kUpdate, Array{"PROPERTYGROUPID"}, Array{-1}), 4, 9, *connection);
  EXPECT_EQ(recorder.statements, (std::vector<std::string>{"DELETE FROM productpropvalue WHERE productid=9"}));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTPROPVALUE").to_long(), 0);
  EXPECT_EQ(GroupChanges::changes(), Changes{});
}

}  // namespace
}  // namespace mercato::test
