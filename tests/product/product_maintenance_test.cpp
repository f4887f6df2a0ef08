// SPDX-License-Identifier: Apache-2.0
// Writing products: what reaches the row, what does not, in which order, and what a failure leaves behind.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "tests/product/product_fixture.h"
#include "tests/support/failure_trail.h"

namespace mercato::test {
namespace {

constexpr const char* kSelectNew = "SELECT * FROM PRODUCT WHERE 0=1";
constexpr const char* kSelectFirst = "SELECT * FROM PRODUCT WHERE PRODUCTID=1";
constexpr const char* kDeleteBuyers = "DELETE FROM productbuyer WHERE PRODUCTID=1";
constexpr const char* kDeleteValues = "DELETE FROM productpropvalue WHERE productid=1";
constexpr const char* kCheckReferences = "Grundwerk.ReferentialChecker.CheckReferences";
constexpr const char* kGroupChange = "Mercato.PropertyGroup.UpdateGroupChange";
constexpr const char* kInsertLabel = "Mercato.Product.Insert";
constexpr const char* kUpdateLabel = "Mercato.Product.Update";
constexpr const char* kBadReference =
    "The product record you are trying to insert has an invalid reference to another record";

using Calls = std::vector<ComponentCall>;

// Makes UpdateGroupChange a call that only the recorder answers.
class RecorderOfGroups : public Recorder {
 public:
  RecorderOfGroups() { answers[kGroupChange] = Variant(); }
  std::vector<std::vector<Variant>> group_changes() const {
    std::vector<std::vector<Variant>> changes;
    for (const ComponentCall& call : calls)
      if (call.method == kGroupChange) changes.push_back(call.arguments);
    return changes;
  }
};

// Does something, once, on another thread and so on another session, when a method of a component is called.
class Meanwhile : public Recorder {
 public:
  Meanwhile(std::string method, std::function<void()> work) : method_(std::move(method)), work_(std::move(work)) {}
  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override {
    if (work_ && table.prog_id() + "." + method.name == method_) {
      std::thread other(std::exchange(work_, nullptr));
      other.join();
    }
    return Recorder::on_call(table, method, arguments, result);
  }

 private:
  std::string method_;
  std::function<void()> work_;
};

class ProductMaintenance : public ProductTest {
 protected:
  void SetUp() override {
    ProductTest::SetUp();
    shared_connection_string_of_application();  // looked up here, so that no test records the look-up
    clock::script_clock(now_, 0);
    execute({"INSERT INTO USERS (USERID, ISACTIVE, ISBUYER) VALUES ('ann', 1, 1)",
             "INSERT INTO USERS (USERID, ISACTIVE, ISBUYER) VALUES ('bob', 1, 1)",
             "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('ACME')",
             "INSERT INTO PROPERTY (PROPERTYNAME, DEFAULTVALUE) VALUES ('COLOUR', 'any')",
             "INSERT INTO PROPERTY (PROPERTYNAME, DEFAULTVALUE) VALUES ('LENGTH', '10')",
             "INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('pens')",
             "INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('inks')",
             "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, 1)",
             "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, 2)",
             "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (2, 1)",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('pens', '10')",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('red pens', '1020')",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('blue pens', '1030')"});
  }

  static void set_unspsc_setting(const Variant& value) {
    collaborators::Settings settings = *collaborators::settings();
    settings.parameters["COMMONPARAMETERS"]["UNSPSCIMPLEMENTED"] = value;
    collaborators::set_settings(settings);
  }

  // The two required fields, and more.
  static Array fields(std::initializer_list<Variant> more = {}) {
    return with({"PARTNUMBER", "PRODUCTDESCRIPTION"}, more);
  }
  static Array values(std::initializer_list<Variant> more = {}) { return with({"A1", "Pen"}, more); }

  Variant product(const std::string& column, std::int32_t id = 1) const {
    return value_of("SELECT " + column + " FROM PRODUCT WHERE PRODUCTID=" + std::to_string(id));
  }
  std::int32_t count(const std::string& table) const { return value_of("SELECT COUNT(*) FROM " + table).to_long(); }
  // The categories of the first product.
  std::vector<std::int32_t> categories() const {
    std::vector<std::int32_t> ids;
    for (const auto& row : rows("SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=1 ORDER BY CATEGORYID"))
      ids.push_back(row[0].to_long());
    return ids;
  }
  // Property and value of the first product.
  std::vector<std::vector<Variant>> property_values() const {
    return rows("SELECT PROPERTYID, VALUE FROM PRODUCTPROPVALUE WHERE PRODUCTID=1 ORDER BY PROPERTYID");
  }
  Outcome outcome() const { return product_.context().outcome_of_last_call(); }

  const Date now_ = Date::from_civil({2026, 7, 1, 8, 30, 0});

 private:
  static Array with(std::vector<Variant> items, std::initializer_list<Variant> more) {
    items.insert(items.end(), more.begin(), more.end());
    return Array(std::move(items));
  }
};

// Insert20

TEST_F(ProductMaintenance, NewProductIsWrittenAfterItsReferencesWereChecked) {
  Recorder recorder;
  EXPECT_EQ(product_->Insert20(fields({"BUSINESSPARTNERID", "USERID"}), values({1, "ann"})), 1);
  EXPECT_EQ(recorder.statements, Statements{kSelectNew});
  EXPECT_EQ(recorder.calls,
            (Calls{{kCheckReferences, {"Mercato", "PRODUCT", Array{"BUSINESSPARTNERID", "USERID"}, Array{1, "ann"}}},
                   {"Grundwerk.Configuration.PrepareParameters", {false}},
                   {"Grundwerk.Configuration.GetParameter", {"COMMONPARAMETERS", "UNSPSCIMPLEMENTED"}}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(
      rows("SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, BUSINESSPARTNERID, USERID, DATEUPDATED FROM PRODUCT"),
      (std::vector<std::vector<Variant>>{{1, "A1", "Pen", 1, "ann", now_}}));
}

TEST_F(ProductMaintenance, NewProductHasEveryFieldInTheColumnOfItsName) {
  RecorderOfGroups recorder;
  const Array names{"UNITCODE",
                    "PROPERTYGROUPID",
                    "MANUFACTURERID",
                    "PARTNUMBER",
                    "PRODUCTDESCRIPTION",
                    "CONFIGURABLE",
                    "PRODUCTREMARK",
                    "IMAGEFILENAME",
                    "TECHNICALIMAGE",
                    "URL",
                    "COMMODITYCODE",
                    "CONTRACTCODE",
                    "NUMBER",
                    "BUSINESSPARTNERID",
                    "PRODUCTXML",
                    "BUYFROMPARTNUMBER",
                    "BUYFROMCONTACTEMAIL",
                    "BUYFROMCONTACTINFO",
                    "PRODUCTEFFECTIVITYDATE",
                    "PRODUCTEXPIRYDATE",
                    "DISABLED",
                    "MINORDERQTY",
                    "MULTIPLEOF",
                    "UNSPSCCODE",
                    "USERID",
                    "MULTIPLEBUYER",
                    "MFRPARTNUMBER",
                    "LOTSIZE",
                    "DELIVERYLEADTIME",
                    "CLASSCODE",
                    "SERVICEITEM",
                    "STOCKITEM",
                    "GTIN",
                    "PRICINGMETHOD",
                    "CLASSIFICATION"};
  const auto small = [](std::int16_t number) { return Variant(number); };
  const std::vector<Variant> stored = {"EA",
                                       3,
                                       "007",
                                       "P 100%",
                                       "It's a \"pen\"",
                                       small(1),
                                       "remark",
                                       "image",
                                       "technical",
                                       "url",
                                       "C1",
                                       "K",
                                       small(4),
                                       1,
                                       "<x/>",
                                       "S-1",
                                       "mail",
                                       "info",
                                       now_,
                                       Date::from_civil({2026, 12, 31}),
                                       small(0),
                                       0.0,
                                       2.5,
                                       "102030",
                                       "ann",
                                       small(1),
                                       "MF",
                                       10.0,
                                       3.0,
                                       "H1",
                                       small(1),
                                       small(1),
                                       "12345678901234",
                                       "fixed",
                                       "broad"};
  EXPECT_EQ(product_->Insert20(names, Array(stored)), 1);
  std::string columns;
  for (const Variant& name : names.items) columns += (columns.empty() ? "" : ", ") + name.to_text();
  EXPECT_EQ(rows("SELECT " + columns + " FROM PRODUCT"), std::vector<std::vector<Variant>>{stored});
  EXPECT_EQ(recorder.group_changes(), (std::vector<std::vector<Variant>>{{3, 1}}));
}

TEST_F(ProductMaintenance, ValueThatAnInsertRejectsStopsItWithoutATrace) {
  const std::string long_text(256, 'x');
  struct Case {
    Array fields;
    Array values;
  };
  const Case cases[] = {
      {{"PARTNUMBER", "PRODUCTDESCRIPTION"}, {"A1", ""}},
      {{"PARTNUMBER", "PRODUCTDESCRIPTION"}, {"", "Pen"}},
      {{"PRODUCTDESCRIPTION", "PARTNUMBER", "URL"}, {"Pen", "", "u"}},
      {fields({"PRODUCTREMARK"}), values({long_text})},
      {fields({"BUYFROMCONTACTINFO"}), values({long_text})},
      {fields({"PRODUCTEFFECTIVITYDATE"}), values({"-1"})},
      {fields({"PRODUCTEXPIRYDATE"}), values({"-1"})},
      {fields({"PRODUCTEXPIRYDATE", "NOCOLUMN"}), values({"-1", "not reached"})},
      {{"PARTNUMBER", "PRODUCTDESCRIPTION"}, {""}},  // the missing value is not reached
  };
  for (const Case& rejected : cases) {
    SCOPED_TRACE(rejected.fields.items.back().to_text() + " " + rejected.values.items.back().to_text().substr(0, 20));
    const auto before = all_rows();
    Root<Product> fresh;
    Recorder recorder;
    EXPECT_EQ(fresh->Insert20(rejected.fields, rejected.values), -1);
    EXPECT_EQ(recorder.statements, Statements{kSelectNew});
    EXPECT_TRUE(recorder.calls.empty());
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::open);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ProductMaintenance, OnlyTheExactEmptyTextIsAMissingDescription) {
  EXPECT_EQ(product_->Insert20(Array{"PARTNUMBER", "PRODUCTDESCRIPTION"}, Array{" ", "   "}), 1);
  EXPECT_EQ(product("PRODUCTDESCRIPTION"), Variant("   "));
  EXPECT_EQ(product("PARTNUMBER"), Variant(" "));
}

TEST_F(ProductMaintenance, RemarkOf255CharactersPassesAnInsertWhateverTheirBytes) {
  std::string remark;
  for (int i = 0; i < 255; ++i) remark += "\xC3\xA4";
  EXPECT_EQ(product_->Insert20(fields({"PRODUCTREMARK"}), values({remark})), 1);
  EXPECT_EQ(product("PRODUCTREMARK"), Variant(remark));
  EXPECT_EQ(product_->Insert20(fields({"PRODUCTREMARK"}), values({remark + "x"})), -1);
}

TEST_F(ProductMaintenance, TradeItemNumberOfANewProductIsFilledUpAndNeverTooLong) {
  const std::pair<Variant, Variant> cases[] = {{"123", "00000000000123"},
                                               {123, "00000000000123"},
                                               {"12345678901234", "12345678901234"},
                                               {"123456789012345", "123456789012345"},
                                               {" ", kNull},
                                               {kNull, kNull}};
  std::int32_t id = 0;
  for (const auto& [given, stored] : cases) {
    EXPECT_EQ(product_->Insert20(fields({"GTIN"}), values({given})), ++id);
    EXPECT_EQ(product("GTIN", id), stored);
  }
}

TEST_F(ProductMaintenance, EmptyDatesOfANewProductStayNull) {
  EXPECT_EQ(product_->Insert20(fields({"PRODUCTEXPIRYDATE", "PRODUCTEFFECTIVITYDATE"}), values({"", ""})), 1);
  EXPECT_TRUE(product("PRODUCTEXPIRYDATE").is_null());
  EXPECT_TRUE(product("PRODUCTEFFECTIVITYDATE").is_null());
}

// What neither writer can take. The update has a product to change.
struct Untakable {
  std::string name;
  Array fields;
  Array values;
  std::int32_t number;
};
std::vector<Untakable> untakable() {
  using namespace error_number;
  return {
      {"no column", {"NOCOLUMN"}, {"x"}, kNoSuchField},
      {"the misspelt address", {"BYFROMCONTACTEMAIL"}, {"x"}, kNoSuchField},
      {"an empty name", {""}, {"x"}, kNoSuchField},
      {"a name with a blank", {"URL "}, {"x"}, kNoSuchField},
      {"a field of the uploads", {"MULTIPLEBUYERSEPARATOR"}, {"x"}, kNoSuchField},
      {"a Null name", {Variant(kNull)}, {"x"}, kInvalidUseOfNull},
      {"fewer values than fields", {"URL", "UNITCODE"}, {"u"}, kSubscriptOutOfRange},
      {"other bounds", Array({Variant("URL")}, 1), {"u"}, kSubscriptOutOfRange},
      {"a text for a number", {"NUMBER"}, {"five"}, kTypeMismatch},
      {"a text for a float", {"LOTSIZE"}, {"ten"}, kTypeMismatch},
      {"a text for a date", {"PRODUCTEFFECTIVITYDATE"}, {"2/30/2026"}, kTypeMismatch},
      {"a text for a group", {"PROPERTYGROUPID"}, {"pens"}, kTypeMismatch},
      {"an empty group", {"PROPERTYGROUPID"}, {""}, kTypeMismatch},
      {"a Null group", {"PROPERTYGROUPID"}, {kNull}, kInvalidUseOfNull},
      {"an array for a text", {"URL"}, {Variant(Array{"u"})}, kTypeMismatch},
      {"a number beyond 16 bits", {"NUMBER"}, {32768}, kOverflow},
      {"a flag beyond 16 bits", {"SERVICEITEM"}, {"40000"}, kOverflow},
      {"a number beyond 32 bits", {"BUSINESSPARTNERID"}, {2147483648.0}, kOverflow},
      {"a group beyond 32 bits", {"PROPERTYGROUPID"}, {"2147483648"}, kOverflow},
      {"a date behind the last one", {"PRODUCTEXPIRYDATE"}, {1e9}, kOverflow},
      {"a unit beyond its width", {"UNITCODE"}, {std::string(51, 'x')}, kValueTooLong},
      {"a description beyond its width", {"PRODUCTDESCRIPTION"}, {std::string(256, 'x')}, kValueTooLong},
      {"a UNSPSC code beyond its width", {"UNSPSCCODE"}, {std::string(21, '1')}, kValueTooLong},
      {"no part number", {"PARTNUMBER"}, {kNull}, kConstraintViolated},
  };
}

std::string hexadecimal(std::int32_t number) {
  char digits[9];
  std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(number));
  return digits;
}

TEST_F(ProductMaintenance, NewProductWithWhatNoColumnTakesIsNotWritten) {
  for (const Untakable& untaken : untakable()) {
    SCOPED_TRACE(untaken.name);
    const auto before = all_rows();
    Root<Product> fresh;
    Recorder recorder;
    // The two required fields come last, and only where their bounds fit.
    Array fields = untaken.fields;
    Array values = untaken.values;
    if (fields.lower == values.lower && fields.items.size() == values.items.size())
      for (const auto& [field, value] : {std::pair("PARTNUMBER", "A1"), std::pair("PRODUCTDESCRIPTION", "Pen")})
        if (std::find(fields.items.begin(), fields.items.end(), Variant(field)) == fields.items.end()) {
          fields.items.emplace_back(field);
          values.items.emplace_back(value);
        }
    const RaisedError raised = raised_by([&] { fresh->Insert20(fields, values); });
    EXPECT_EQ(raised.Number, untaken.number);
    EXPECT_TRUE(raised.Description.starts_with("\r\nERROR 0x" + hexadecimal(untaken.number) +
                                               "\r\n METHOD: Mercato.Product.Insert\r\n DESC: "))
        << raised.Description;
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(recorder.statements, Statements{kSelectNew});
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ProductMaintenance, NewProductWithoutAnyFieldIsTheStoresToRefuse) {
  EXPECT_EQ(raised_by([&] { product_->Insert20(Array{}, Array{}); }).Number, error_number::kConstraintViolated);
  EXPECT_EQ(count("PRODUCT"), 0);
}

TEST_F(ProductMaintenance, ValuesWithoutAFieldAreNotLookedAt) {
  EXPECT_EQ(product_->Insert20(fields(), values({"one too many"})), 1);
}

TEST_F(ProductMaintenance, NameInAnotherCaseEscapesItsRuleAndReachesItsColumn) {
  RecorderOfGroups recorder;
  EXPECT_EQ(
      product_->Insert20(Array{"partnumber", "ProductDescription", "gtin", "propertygroupid"}, Array{"", "", "123", 4}),
      1);
  EXPECT_EQ(product("PARTNUMBER"), Variant(""));
  EXPECT_EQ(product("GTIN"), Variant("123"));
  // The row has the group, so its values are created, but for the group that was remembered: 0.
  EXPECT_EQ(recorder.group_changes(), (std::vector<std::vector<Variant>>{{0, 1}}));
}

// An insert used to take its id from the caller, -1 too; after the largest long every later insert failed.
TEST_F(ProductMaintenance, NewProductWithAnIdOfItsOwnIsRefusedByTheStore) {
  const FailureTrail expected = trail(
      {error_number::kStatementRefused, store().failure_source(),
       "Cannot insert explicit value for identity column in table 'PRODUCT' when IDENTITY_INSERT is set to OFF", "", 0},
      {kInsertLabel});
  for (const std::int32_t id : {77, -1, 2147483647}) {
    Root<Product> fresh;
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { fresh->Insert20(fields({"ProductID"}), values({id})); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
  }
  EXPECT_EQ(product_->Insert20(fields(), values()), 1);
}

TEST_F(ProductMaintenance, CallersArraysStayAsTheyWere) {
  std::vector<Variant> arguments = {fields({"GTIN", "URL"}), values({"123", " "})};
  const std::vector<Variant> before = arguments;
  invoke(product_.object(), "Insert20", arguments);
  EXPECT_EQ(arguments, before);
}

TEST_F(ProductMaintenance, NewProductThatRefersToNobodyIsNotWrittenAndSaysSoInItsSource) {
  for (const Array& references : {Array{7, "ann"}, Array{1, "cid"}}) {
    const Array given = values({references.at(0), references.at(1)});
    Root<Product> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->Insert20(fields({"BUSINESSPARTNERID", "USERID"}), given); });
    const FailureTrail expected =
        trail({static_cast<std::int32_t>(0x80040007u), kBadReference, kNoText, "", 0}, {kInsertLabel});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{kSelectNew});
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(count("PRODUCT"), 0);
  }
}

TEST_F(ProductMaintenance, ReferencesThatAreNotGivenAreAskedForAsNull) {
  Recorder recorder;
  EXPECT_EQ(product_->Insert20(fields({"BUSINESSPARTNERID", "USERID"}), values({-1, " "})), 1);
  EXPECT_EQ(recorder.calls.front().arguments[3], Variant(Array{kNull, kNull}));
}

TEST_F(ProductMaintenance, NewProductIsNotWrittenWhenTheCheckerFails) {
  Recorder recorder;
  recorder.failures[kCheckReferences] = {7, "Checker", "no answer", "", 0};
  const RaisedError raised = raised_by([&] { product_->Insert20(fields(), values()); });
  const FailureTrail expected = trail({7, "Checker", "no answer", "", 0}, {kInsertLabel});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(count("PRODUCT"), 0);
}

TEST_F(ProductMaintenance, NewProductGetsTheValuesOfItsGroupOnlyWhenItHasOne) {
  RecorderOfGroups recorder;
  product_->Insert20(fields({"PROPERTYGROUPID"}), values({"-1"}));
  product_->Insert20(fields(), values());
  EXPECT_TRUE(recorder.group_changes().empty());
  EXPECT_TRUE(product("PROPERTYGROUPID").is_null());
  product_->Insert20(fields({"PROPERTYGROUPID"}), values({"4"}));
  EXPECT_EQ(recorder.group_changes(), (std::vector<std::vector<Variant>>{{4, 3}}));
}

// No abort vote is cast: the transaction decides what becomes of the row.
TEST_F(ProductMaintenance, FailureBehindTheWritingOfANewProductLeavesItsRowToTheTransaction) {
  {
    Root<Product> fresh;
    Recorder recorder;
    recorder.failures[kGroupChange] = {7, "Group", "no values", "", 0};
    const RaisedError raised = raised_by([&] { fresh->Insert20(fields({"PROPERTYGROUPID"}), values({4})); });
    const FailureTrail expected = trail({7, "Group", "no values", "", 0}, {kInsertLabel});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::open);
  }
  EXPECT_EQ(count("PRODUCT"), 1);
}

TEST_F(ProductMaintenance, NewProductHasTheDefaultsOfItsGroup) {
  EXPECT_EQ(product_->Insert20(fields({"PROPERTYGROUPID"}), values({1})), 1);
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(property_values(), (std::vector<std::vector<Variant>>{{1, "any"}, {2, "10"}}));
}

// The group votes abort itself, and so decides for the row too.
TEST_F(ProductMaintenance, FailureOfItsGroupsOwnTakesANewProductBack) {
  {
    Root<Product> fresh;
    Recorder recorder;
    recorder.fail_on = "INSERT INTO PRODUCTPROPVALUE";
    const RaisedError raised = raised_by([&] { fresh->Insert20(fields({"PROPERTYGROUPID"}), values({1})); });
    EXPECT_EQ(raised.Number, error_number::kStatementRefused);
    const FailureTrail expected = trail(refused_on_request(), {kGroupChange, kInsertLabel});
    EXPECT_EQ(raised.Description, expected.raised.Description);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::none);
  }
  EXPECT_EQ(count("PRODUCT"), 0);
  EXPECT_EQ(count("PRODUCTPROPVALUE"), 0);
}

TEST_F(ProductMaintenance, RefusedStatementOfAnInsertIsLoggedUnderItsLabelWithoutAVote) {
  Recorder recorder;
  recorder.fail_on = kSelectNew;
  const RaisedError raised = raised_by([&] { product_->Insert20(fields(), values()); });
  const FailureTrail expected = trail(refused_on_request(), {kInsertLabel});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(ProductMaintenance, UnreachableStoreIsRaisedUnderTheLabelOfTheInsert) {
  collaborators::Settings settings = *collaborators::settings();
  settings.connections["Mercato"] = "Provider=SQLite;Data Source=" + (folder() / "none" / "none.db").string();
  collaborators::set_settings(settings);
  forget_thread_state();
  const RaisedError raised = raised_by([&] { product_->Insert20(fields(), values()); });
  EXPECT_EQ(raised.Number, error_number::kStoreFailure);
  EXPECT_TRUE(raised.Description.starts_with("\r\nERROR 0x80004005\r\n METHOD: Mercato.Product.Insert\r\n"));
}

// Insert20: category links

TEST_F(ProductMaintenance, LinksOfANewProductAreMadeOnlyWhereTheSettingIsExactlyYes) {
  for (const Variant& setting :
       {Variant(), Variant("YES"), Variant("yes"), Variant("No"), Variant(true), Variant("")}) {
    set_unspsc_setting(setting);
    Recorder recorder;
    product_->Insert20(fields({"UNSPSCCODE"}), values({"1020"}));
    EXPECT_EQ(recorder.statements, Statements{kSelectNew});
  }
  EXPECT_EQ(count("PRODUCTSBYCATEGORY"), 0);
}

TEST_F(ProductMaintenance, NewProductIsLinkedToTheCategoriesOfItsCode) {
  set_unspsc_setting("Yes");
  Recorder recorder;
  EXPECT_EQ(product_->Insert20(fields({"UNSPSCCODE"}), values({"102030"})), 1);
  EXPECT_EQ(categories(), (std::vector<std::int32_t>{1, 2}));
  EXPECT_EQ(vote(), Vote::commit);
  ASSERT_GE(recorder.statements.size(), 2u);
  EXPECT_EQ(recorder.statements[0], kSelectNew);
  EXPECT_EQ(recorder.statements[1],
            "SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN ('10','1020','102030')");
}

TEST_F(ProductMaintenance, NewProductWithoutACodeAsksForNoLinks) {
  set_unspsc_setting("Yes");
  for (const Variant& code : {Variant(""), Variant("  "), Variant(kNull)}) {
    Recorder recorder;
    product_->Insert20(fields({"UNSPSCCODE"}), values({code}));
    EXPECT_EQ(recorder.statements, Statements{kSelectNew});
  }
  Recorder recorder;
  product_->Insert20(fields(), values());
  EXPECT_EQ(recorder.statements, Statements{kSelectNew});
}

// The module that keeps the links votes abort itself.
TEST_F(ProductMaintenance, FailureOfItsLinksTakesANewProductBack) {
  set_unspsc_setting("Yes");
  Recorder recorder;
  recorder.fail_on = "INSERT INTO PRODUCTSBYCATEGORY";
  const RaisedError raised = raised_by([&] { product_->Insert20(fields({"UNSPSCCODE"}), values({"1020"})); });
  const FailureTrail expected =
      trail(refused_on_request(), {"Mercato.UNSPSCLib.UpdateProductLinksForUNSPSCCode", kInsertLabel});
  EXPECT_EQ(raised.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(count("PRODUCT"), 0);
}

// Update20

class ProductUpdate : public ProductMaintenance {
 protected:
  void SetUp() override {
    ProductMaintenance::SetUp();
    add_product("A1", "Pen", "MULTIPLEBUYER, UNSPSCCODE, URL", "0, '1020', 'old'");
    add_product("B2", "Ink", "MULTIPLEBUYER", "1");
    execute({"INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (1, 'ann')",
             "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (2, 'ann')",
             "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, 'red')",
             "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, 'blue')"});
  }

  // Fails with this under the update's label, votes abort, and leaves every table as it was.
  void expect_failure(const Array& fields, const Array& values, const RaisedError& innermost) {
    const auto before = all_rows();
    Root<Product> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->Update20(1, fields, values); });
    const FailureTrail expected = trail(innermost, {kUpdateLabel});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::abort);
    EXPECT_EQ(fresh.context().outcome_of_last_call(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
};

TEST_F(ProductUpdate, ChangesTheNamedFieldsStampsTheProductAndClearsABuyerListThatDoesNotCount) {
  Recorder recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"URL", "USERID"}, Array{"new", "bob"}));
  EXPECT_EQ(recorder.statements, (Statements{kSelectFirst, kDeleteBuyers}));
  EXPECT_EQ(
      recorder.calls,
      (Calls{{kCheckReferences, {"Mercato", "PRODUCT", Array{"BUSINESSPARTNERID", "USERID"}, Array{kNull, "bob"}}},
             {"Grundwerk.Configuration.PrepareParameters", {false}},
             {"Grundwerk.Configuration.GetParameter", {"COMMONPARAMETERS", "UNSPSCIMPLEMENTED"}}}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(rows("SELECT PARTNUMBER, URL, USERID, DATEUPDATED FROM PRODUCT WHERE PRODUCTID=1"),
            (std::vector<std::vector<Variant>>{{"A1", "new", "bob", now_}}));
  EXPECT_EQ(rows("SELECT PARTNUMBER, URL, USERID, DATEUPDATED FROM PRODUCT WHERE PRODUCTID=2"),
            (std::vector<std::vector<Variant>>{{"B2", kNull, kNull, kNull}}));
  EXPECT_EQ(rows("SELECT PRODUCTID FROM PRODUCTBUYER"), (std::vector<std::vector<Variant>>{{2}}));
  EXPECT_EQ(count("PRODUCTPROPVALUE"), 2);
}

TEST_F(ProductUpdate, WithoutAnyFieldStillStampsAndClearsTheBuyerList) {
  EXPECT_TRUE(product_->Update20(1, Array{}, Array{}));
  EXPECT_EQ(product("DATEUPDATED"), Variant(now_));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTBUYER WHERE PRODUCTID=1"), Variant(0));
}

TEST_F(ProductUpdate, KeepsTheBuyerListOfAMultipleBuyerProduct) {
  Recorder recorder;
  EXPECT_TRUE(product_->Update20(2, Array{"URL"}, Array{"new"}));
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCT WHERE PRODUCTID=2"});
  EXPECT_EQ(count("PRODUCTBUYER"), 2);
}

TEST_F(ProductUpdate, GoesByTheBuyerFlagThatItWritesItself) {
  EXPECT_TRUE(product_->Update20(2, Array{"MULTIPLEBUYER"}, Array{"0"}));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTBUYER WHERE PRODUCTID=2"), Variant(0));
  EXPECT_TRUE(product_->Update20(1, Array{"MULTIPLEBUYER"}, Array{1}));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTBUYER WHERE PRODUCTID=1"), Variant(1));
}

TEST_F(ProductUpdate, OfAProductWhoseBuyerFlagIsNullFails) {
  const RaisedError null{error_number::kInvalidUseOfNull, "Mercato", "Invalid use of Null", "", 0};
  expect_failure(Array{"MULTIPLEBUYER"}, Array{" "}, null);
  execute({"UPDATE PRODUCT SET MULTIPLEBUYER = NULL WHERE PRODUCTID = 1"});
  expect_failure(Array{"URL"}, Array{"new"}, null);
}

TEST_F(ProductUpdate, OfAnUnknownIdIsRaisedWithTheSourceOfTheUpdate) {
  for (const std::int32_t id : {0, -1, 3, 2147483647}) {
    Recorder recorder;
    const RaisedError raised = raised_by([&] { product_->Update20(id, Array{"URL"}, Array{"new"}); });
    const FailureTrail expected = trail({eProductNotFound, kUpdateLabel, "Product not present", "", 0}, {kUpdateLabel});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCT WHERE PRODUCTID=" + std::to_string(id)});
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(ProductUpdate, SkipsTheIdAmongTheFields) {
  EXPECT_TRUE(product_->Update20(1, Array{"PRODUCTID", "URL"}, Array{"no number at all", "new"}));
  EXPECT_EQ(product("URL"), Variant("new"));
}

// A product used to get the new id, and whatever hung on the old id then hung on nothing.
TEST_F(ProductUpdate, OfTheIdUnderANameInAnotherCaseIsRefusedByTheStore) {
  const auto before = all_rows();
  Recorder recorder;
  const FailureTrail expected = trail(
      {error_number::kStatementRefused, store().failure_source(), "Cannot update identity column 'PRODUCTID'", "", 0},
      {kUpdateLabel});
  EXPECT_EQ(raised_by([&] {
              product_->Update20(1, Array{"ProductID", "MULTIPLEBUYER"}, Array{71, 0});
            }),
            expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(recorder.statements, (Statements{kSelectFirst, kDeleteBuyers}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductUpdate, WithWhatNoColumnTakesLeavesEverythingAsItWas) {
  for (const Untakable& untaken : untakable()) {
    SCOPED_TRACE(untaken.name);
    const auto before = all_rows();
    Root<Product> fresh;
    Recorder recorder;
    const RaisedError raised = raised_by([&] { fresh->Update20(1, untaken.fields, untaken.values); });
    EXPECT_EQ(raised.Number, untaken.number);
    EXPECT_TRUE(raised.Description.starts_with("\r\nERROR 0x" + hexadecimal(untaken.number) +
                                               "\r\n METHOD: Mercato.Product.Update\r\n DESC: "))
        << raised.Description;
    EXPECT_EQ(recorder.log.size(), 1u);
    EXPECT_EQ(fresh.context().vote_of_last_call(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(ProductUpdate, HasNoQuietStop) {
  const std::string long_text(256, 'x');
  for (const char* field : {"PRODUCTREMARK", "BUYFROMCONTACTINFO"}) {
    Recorder recorder;
    EXPECT_EQ(raised_by([&] { product_->Update20(1, Array{field}, Array{long_text}); }).Number,
              error_number::kValueTooLong);
    EXPECT_EQ(vote(), Vote::abort);
  }
  for (const char* field : {"PRODUCTEFFECTIVITYDATE", "PRODUCTEXPIRYDATE"}) {
    EXPECT_EQ(raised_by([&] { product_->Update20(1, Array{field}, Array{""}); }).Number, error_number::kTypeMismatch);
    // "-1" reads as a number of days here: the day before the zero date.
    EXPECT_TRUE(product_->Update20(1, Array{field}, Array{"-1"}));
    EXPECT_EQ(product(field), Variant(Date(-1)));
  }
  EXPECT_TRUE(product_->Update20(1, Array{"PARTNUMBER", "PRODUCTDESCRIPTION"}, Array{"", ""}));
  EXPECT_EQ(product("PARTNUMBER"), Variant(""));
  EXPECT_EQ(product("PRODUCTDESCRIPTION"), Variant(""));
}

TEST_F(ProductUpdate, FillsUpATradeItemNumberAndFailsOnALongerOne) {
  EXPECT_TRUE(product_->Update20(1, Array{"GTIN"}, Array{"123"}));
  EXPECT_EQ(product("GTIN"), Variant("00000000000123"));
  EXPECT_TRUE(product_->Update20(1, Array{"GTIN"}, Array{"  "}));
  EXPECT_TRUE(product("GTIN").is_null());
  expect_failure(Array{"GTIN"}, Array{"123456789012345"},
                 {error_number::kInvalidArgument, "Mercato", "Invalid procedure call or argument", "", 0});
}

TEST_F(ProductUpdate, ThatRefersToNobodyLeavesTheProductAndSaysSoInItsSource) {
  expect_failure(Array{"URL", "BUSINESSPARTNERID"}, Array{"new", 7},
                 {kInvalidReference, kBadReference, kNoText, "", 0});
  expect_failure(Array{"USERID"}, Array{"cid"}, {kInvalidReference, kBadReference, kNoText, "", 0});
  // The row as it stands counts, not only what the call changes.
  execute({"UPDATE PRODUCT SET USERID = 'gone' WHERE PRODUCTID = 1"});
  expect_failure(Array{"URL"}, Array{"new"}, {kInvalidReference, kBadReference, kNoText, "", 0});
}

TEST_F(ProductUpdate, WhoseStatementIsRefusedTakesEverythingBack) {
  execute({"UPDATE PRODUCT SET PROPERTYGROUPID = 4 WHERE PRODUCTID = 1"});
  for (const char* refused : {kSelectFirst, kDeleteBuyers, kDeleteValues}) {
    SCOPED_TRACE(refused);
    const auto before = all_rows();
    Recorder recorder;
    recorder.fail_on = refused;
    const RaisedError raised = raised_by([&] { product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{-1}); });
    const FailureTrail expected = trail(refused_on_request(), {kUpdateLabel});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(recorder.statements.back(), refused);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

// Update20: property group

TEST_F(ProductUpdate, IntoAnotherGroupGetsThatGroupsValuesAfterTheRowIsWritten) {
  RecorderOfGroups recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{"4"}));
  EXPECT_EQ(recorder.group_changes(), (std::vector<std::vector<Variant>>{{4, 1}}));
  EXPECT_EQ(recorder.statements, (Statements{kSelectFirst, kDeleteBuyers}));
  EXPECT_EQ(product("PROPERTYGROUPID"), Variant(4));
}

TEST_F(ProductUpdate, IntoItsOwnGroupLeavesTheValuesAlone) {
  execute({"UPDATE PRODUCT SET PROPERTYGROUPID = 4 WHERE PRODUCTID = 1"});
  RecorderOfGroups recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{4}));
  EXPECT_TRUE(product_->Update20(1, Array{"URL"}, Array{"new"}));
  EXPECT_TRUE(recorder.group_changes().empty());
  EXPECT_EQ(count("PRODUCTPROPVALUE"), 2);
}

TEST_F(ProductUpdate, OutOfItsGroupLosesAllItsValues) {
  execute({"UPDATE PRODUCT SET PROPERTYGROUPID = 4 WHERE PRODUCTID = 1"});
  RecorderOfGroups recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{-1}));
  EXPECT_EQ(recorder.statements, (Statements{kSelectFirst, kDeleteBuyers, kDeleteValues}));
  EXPECT_TRUE(recorder.group_changes().empty());
  EXPECT_TRUE(product("PROPERTYGROUPID").is_null());
  EXPECT_EQ(rows("SELECT PRODUCTID FROM PRODUCTPROPVALUE"), (std::vector<std::vector<Variant>>{{2}}));
}

TEST_F(ProductUpdate, FromNoGroupToNoneCountsAsAMove) {
  Recorder recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{-1}));
  EXPECT_EQ(recorder.statements.back(), kDeleteValues);
}

TEST_F(ProductUpdate, FromNoGroupToZeroIsNoMove) {
  RecorderOfGroups recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{0}));
  EXPECT_TRUE(recorder.group_changes().empty());
  EXPECT_EQ(product("PROPERTYGROUPID"), Variant(0));
}

TEST_F(ProductUpdate, FromGroupToGroupKeepsTheValuesThatBothKnow) {
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{1}));
  EXPECT_EQ(property_values(), (std::vector<std::vector<Variant>>{{1, "red"}, {2, "10"}}));
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{2}));
  EXPECT_EQ(property_values(), (std::vector<std::vector<Variant>>{{1, "red"}}));
  EXPECT_TRUE(product_->Update20(1, Array{"PROPERTYGROUPID"}, Array{-1}));
  EXPECT_TRUE(property_values().empty());
  EXPECT_EQ(value_of("SELECT VALUE FROM PRODUCTPROPVALUE WHERE PRODUCTID=2"), Variant("blue"));
}

TEST_F(ProductUpdate, WhoseGroupFailsAfterTheRowWasWrittenTakesTheRowBack) {
  const auto before = all_rows();
  Recorder recorder;
  recorder.failures[kGroupChange] = {7, "Group", "no values", "", 0};
  const RaisedError raised = raised_by([&] {
    product_->Update20(1, Array{"URL", "PROPERTYGROUPID"}, Array{"new", 4});
  });
  const FailureTrail expected = trail({7, "Group", "no values", "", 0}, {kUpdateLabel});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

// Update20: category links

TEST_F(ProductUpdate, LinksAreLeftAloneUnlessTheSettingIsExactlyYes) {
  set_unspsc_setting("YES");
  Recorder recorder;
  EXPECT_TRUE(product_->Update20(1, Array{"UNSPSCCODE"}, Array{"1030"}));
  EXPECT_EQ(recorder.statements, (Statements{kSelectFirst, kDeleteBuyers}));
}

TEST_F(ProductUpdate, ToAnotherCodeMovesTheProductBetweenTheCategoriesThatTheCodesDoNotShare) {
  set_unspsc_setting("Yes");
  execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 1, 1)",
           "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 2, 1)"});
  EXPECT_TRUE(product_->Update20(1, Array{"UNSPSCCODE"}, Array{"1030"}));
  EXPECT_EQ(categories(), (std::vector<std::int32_t>{1, 3}));
  EXPECT_EQ(product("UNSPSCCODE"), Variant("1030"));
  EXPECT_EQ(vote(), Vote::commit);
}

// The row keeps the code, but the links go as if it had been cleared.
TEST_F(ProductUpdate, WithoutACodeAmongTheFieldsRemovesTheLinksOfTheCodeThatTheRowHas) {
  set_unspsc_setting("Yes");
  execute({"INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 1, 1)",
           "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 2, 1)"});
  EXPECT_TRUE(product_->Update20(1, Array{"URL"}, Array{"new"}));
  EXPECT_EQ(categories(), std::vector<std::int32_t>{});
  EXPECT_EQ(product("UNSPSCCODE"), Variant("1020"));
}

TEST_F(ProductUpdate, WithoutACodeBeforeAndAfterAsksForNoLinks) {
  set_unspsc_setting("Yes");
  Recorder recorder;
  EXPECT_TRUE(product_->Update20(2, Array{"UNSPSCCODE"}, Array{""}));
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCT WHERE PRODUCTID=2"});
}

TEST_F(ProductUpdate, WhoseLinksFailTakesTheRowBack) {
  set_unspsc_setting("Yes");
  const auto before = all_rows();
  Recorder recorder;
  recorder.fail_on = "INSERT INTO PRODUCTSBYCATEGORY";
  const RaisedError raised = raised_by([&] { product_->Update20(1, Array{"UNSPSCCODE"}, Array{"1030"}); });
  const FailureTrail expected =
      trail(refused_on_request(), {"Mercato.UNSPSCLib.UpdateProductLinksForUNSPSCCode", kUpdateLabel});
  EXPECT_EQ(raised.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

// Others at the same product

TEST_F(ProductUpdate, KeepsWhatAnotherSessionChangedMeanwhileInOtherFields) {
  Meanwhile recorder(kCheckReferences, [&] { execute({"UPDATE PRODUCT SET UNITCODE = 'PC' WHERE PRODUCTID = 1"}); });
  EXPECT_TRUE(product_->Update20(1, Array{"URL"}, Array{"new"}));
  EXPECT_EQ(product("UNITCODE"), Variant("PC"));
  EXPECT_EQ(product("URL"), Variant("new"));
}

TEST_F(ProductUpdate, IsTheLastWordOnAFieldThatAnotherSessionChangedMeanwhile) {
  Meanwhile recorder(kCheckReferences, [&] { execute({"UPDATE PRODUCT SET URL = 'theirs' WHERE PRODUCTID = 1"}); });
  EXPECT_TRUE(product_->Update20(1, Array{"URL"}, Array{"ours"}));
  EXPECT_EQ(product("URL"), Variant("ours"));
}

TEST_F(ProductUpdate, OfAProductThatAnotherSessionDeletedMeanwhileFailsAndTakesTheBuyersBack) {
  Meanwhile recorder(kCheckReferences, [&] { execute({"DELETE FROM PRODUCT WHERE PRODUCTID = 1"}); });
  const RaisedError raised = raised_by([&] { product_->Update20(1, Array{"URL"}, Array{"new"}); });
  EXPECT_EQ(raised.Number, error_number::kStoreFailure);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(count("PRODUCT"), 1);
  EXPECT_EQ(count("PRODUCTBUYER"), 2);
}

TEST_F(ProductUpdate, OfTwoThreadsSideBySideLosesNothing) {
  constexpr int kRounds = 25;
  std::atomic<int> failed = 0;
  const auto work = [&](const char* field) {
    try {
      const Root<Product> mine;
      for (int round = 1; round <= kRounds; ++round) mine->Update20(1, Array{field}, Array{std::to_string(round)});
    } catch (const Raised&) {
      ++failed;
    }
  };
  std::thread first(work, "UNITCODE");
  std::thread second(work, "CLASSCODE");
  first.join();
  second.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(product("UNITCODE"), Variant("25"));
  EXPECT_EQ(product("CLASSCODE"), Variant("25"));
}

// Insert and Update

TEST_F(ProductUpdate, AndInsertOfOldRunOutOfValuesBeforeAnythingIsWritten) {
  const auto before = all_rows();
  const std::vector<Variant> ordinary = {"EA", -1, "007", "P-1", "First", "0", "remark", "image", "http://x"};
  const std::string text = "Subscript out of range";

  Recorder recorder;
  std::vector<Variant> arguments = ordinary;
  RaisedError raised = raised_by([&] { invoke(product_.object(), "Insert", arguments); });
  const FailureTrail of_insert = trail({error_number::kSubscriptOutOfRange, "Mercato", text, "", 0}, {kInsertLabel});
  EXPECT_EQ(raised, of_insert.raised);
  EXPECT_EQ(recorder.log, of_insert.log);
  EXPECT_EQ(recorder.statements, Statements{kSelectNew});
  EXPECT_EQ(vote(), Vote::none);

  recorder.log.clear();
  recorder.statements.clear();
  arguments = ordinary;
  arguments.insert(arguments.begin(), 1);
  raised = raised_by([&] { invoke(product_.object(), "Update", arguments); });
  const FailureTrail of_update = trail({error_number::kSubscriptOutOfRange, "Mercato", text, "", 0}, {kUpdateLabel});
  EXPECT_EQ(raised, of_update.raised);
  EXPECT_EQ(recorder.log, of_update.log);
  EXPECT_EQ(recorder.statements, Statements{kSelectFirst});
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductUpdate, OrInsertOfOldFailsEarlierOnWhatNoColumnTakes) {
  EXPECT_EQ(raised_by([&] { product_->Insert("EA", "pens", "007", "P-1", "First", "0", "", "", ""); }).Number,
            error_number::kTypeMismatch);
  EXPECT_EQ(raised_by([&] { product_->Update(9, "EA", -1, "007", "P-1", "First", "0", "", "", ""); }).Number,
            eProductNotFound);
}

TEST_F(ProductMaintenance, InsertOfOldStopsQuietlyBeforeItRunsOutOfValues) {
  const std::string long_text(256, 'x');
  Recorder recorder;
  EXPECT_EQ(product_->Insert("EA", -1, "007", "", "First", "0", "", "", ""), -1);
  EXPECT_EQ(product_->Insert("EA", -1, "007", "P-1", "", "0", "", "", ""), -1);
  EXPECT_EQ(product_->Insert("EA", -1, "007", "P-1", "First", "0", long_text, "", ""), -1);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(count("PRODUCT"), 0);
}

// SetUpdateDateToNow

TEST_F(ProductUpdate, DateAloneCanBeStamped) {
  Recorder recorder;
  EXPECT_EQ(product_->SetUpdateDateToNow(1), Variant(true));
  EXPECT_EQ(recorder.statements, Statements{kSelectFirst});
  EXPECT_TRUE(recorder.calls.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(product("DATEUPDATED"), Variant(now_));
  EXPECT_TRUE(product("DATEUPDATED", 2).is_null());
  EXPECT_EQ(count("PRODUCTBUYER"), 2);
}

TEST_F(ProductUpdate, DateOfAnUnknownProductFailsWithTheSourceOfTheUpdate) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->SetUpdateDateToNow(5); });
  const FailureTrail expected =
      trail({eProductNotFound, kUpdateLabel, "Product not present", "", 0}, {"Mercato.Product.SetUpdateDateToNow"});
  EXPECT_EQ(raised, expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
}

// Single property values

TEST_F(ProductUpdate, PropertyValueIsInsertedAsItStands) {
  Recorder recorder;
  product_->InsertProductPropertyValue(1, 7, "it's 100% [red]");
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PRODUCTPROPVALUE WHERE 0=1"});
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT PROPERTYID, PRODUCTID, VALUE FROM PRODUCTPROPVALUE WHERE PROPERTYID = 7"),
            (std::vector<std::vector<Variant>>{{7, 1, "it's 100% [red]"}}));
  // Neither the product nor the property has to exist.
  product_->InsertProductPropertyValue(99, 99, "");
  EXPECT_EQ(value_of("SELECT VALUE FROM PRODUCTPROPVALUE WHERE PROPERTYID = 99"), Variant(""));
}

TEST_F(ProductUpdate, SecondValueOfAPropertyIsTheKeysToRefuse) {
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->InsertProductPropertyValue(1, 1, "blue"); });
  EXPECT_EQ(raised.Number, error_number::kConstraintViolated);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_TRUE(raised.Description.starts_with(
      "\r\nERROR 0x80040E2F\r\n METHOD: Mercato.Product.InsertProductPropertyValue\r\n DESC: "));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductUpdate, PropertyValueBeyondItsWidthIsRefused) {
  EXPECT_EQ(raised_by([&] { product_->InsertProductPropertyValue(1, 7, std::string(4001, 'x')); }).Number,
            error_number::kValueTooLong);
  EXPECT_EQ(raised_by([&] { product_->UpdateProductPropertyValue(1, 1, std::string(4001, 'x')); }).Number,
            error_number::kValueTooLong);
  product_->InsertProductPropertyValue(1, 7, std::string(4000, 'x'));
  EXPECT_EQ(count("PRODUCTPROPVALUE"), 3);
}

TEST_F(ProductUpdate, PropertyValueIsUpdatedByItsPair) {
  Recorder recorder;
  product_->UpdateProductPropertyValue(1, 1, "100% green");
  EXPECT_EQ(recorder.statements,
            Statements{"UPDATE PRODUCTPROPVALUE SET VALUE='100% green' WHERE PRODUCTID=1 AND PROPERTYID=1"});
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT PRODUCTID, VALUE FROM PRODUCTPROPVALUE ORDER BY PRODUCTID"),
            (std::vector<std::vector<Variant>>{{1, "100% green"}, {2, "blue"}}));
}

TEST_F(ProductUpdate, PropertyValueThatIsNotThereIsNoFailure) {
  const auto before = all_rows();
  product_->UpdateProductPropertyValue(1, 99, "x");
  product_->UpdateProductPropertyValue(-1, 1, "x");
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductUpdate, PropertyValueWithAQuoteBreaksItsStatement) {
  const auto before = all_rows();
  Recorder recorder;
  const RaisedError raised = raised_by([&] { product_->UpdateProductPropertyValue(1, 1, "it's"); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_TRUE(raised.Description.starts_with(
      "\r\nERROR 0x80040E14\r\n METHOD: Mercato.Product.UpdateProductPropertyValue\r\n DESC: "));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ProductUpdate, RefusedStatementsOfTheSmallWritersVoteAbort) {
  struct Case {
    std::string method;
    std::vector<Variant> arguments;
    std::string statement;
  };
  const Case cases[] = {
      {"SetUpdateDateToNow", {1}, kSelectFirst},
      {"InsertProductPropertyValue", {1, 7, "x"}, "SELECT * FROM PRODUCTPROPVALUE WHERE 0=1"},
      {"UpdateProductPropertyValue",
       {1, 1, "x"},
       "UPDATE PRODUCTPROPVALUE SET VALUE='x' WHERE PRODUCTID=1 AND PROPERTYID=1"},
  };
  const auto before = all_rows();
  for (const Case& refused : cases) {
    SCOPED_TRACE(refused.method);
    Recorder recorder;
    recorder.fail_on = refused.statement;
    std::vector<Variant> arguments = refused.arguments;
    const RaisedError raised = raised_by([&] { invoke(product_.object(), refused.method, arguments); });
    const FailureTrail expected = trail(refused_on_request(), {"Mercato.Product." + refused.method});
    EXPECT_EQ(raised, expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

}  // namespace
}  // namespace mercato::test
