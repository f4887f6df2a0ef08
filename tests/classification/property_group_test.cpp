// SPDX-License-Identifier: Apache-2.0
#include "mercato/property_group.h"

#include <gtest/gtest.h>

#include "mercato/r_property_group.h"
#include "tests/classification/property_fixture.h"

namespace mercato::test {
namespace {

class PropertyGroupTest : public PropertyStoreTest {
 protected:
  Vote vote() const { return group_.context().vote_of_last_call(); }
  Outcome outcome() const { return group_.context().outcome_of_last_call(); }
  bool align(std::int32_t group, std::int32_t product = -1) { return group_->UpdateGroupChange(group, product); }
  bool remove(std::int32_t id) { return group_->Delete(id); }
  bool can_delete(std::int32_t id) { return group_->CanDelete(id); }

  Root<PropertyGroup> group_;
};

// Bringing products in line with a group

const std::string kProductRows =
    "SELECT dbo.PRODUCT.PRODUCTID, dbo.PRODUCTPROPVALUE.PROPERTYID FROM dbo.PRODUCT LEFT JOIN dbo.PRODUCTPROPVALUE ON "
    "dbo.PRODUCTPROPVALUE.PRODUCTID=dbo.PRODUCT.PRODUCTID WHERE dbo.PRODUCT.";

// What is read before the first change.
Statements reads_of(int group, int product = -1) {
  return {kIsolation,
          kProductRows +
              (product == -1 ? "PROPERTYGROUPID = " + std::to_string(group) : "PRODUCTID = " + std::to_string(product)),
          kIsolation,
          "SELECT PROPERTY.DEFAULTVALUE, PROPSBYPROPGROUP.PROPERTYID FROM PROPERTY INNER JOIN PROPSBYPROPGROUP ON "
          "PROPERTY.PROPERTYID = PROPSBYPROPGROUP.PROPERTYID WHERE PROPSBYPROPGROUP.PROPERTYGROUPID = " +
              std::to_string(group),
          kIsolation,
          "SELECT propertyid FROM property WHERE external=1"};
}
Statements operator+(Statements left, const Statements& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
std::string deletion(int property, int product) {
  return "DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID = " + std::to_string(property) +
         " AND PRODUCTID = " + std::to_string(product);
}
std::string insertion(int property, int product, const std::string& text) {
  return "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (" + std::to_string(property) + "," +
         std::to_string(product) + ",'" + text + "')";
}

class GroupChange : public PropertyGroupTest {
 protected:
  // Group 1 has a property with a default, one with none and one whose default has a quote in it; property 4 is in no
  // group, 5 is external, 6 is in group 2.
  void SetUp() override {
    PropertyGroupTest::SetUp();
    add_property(1, "colour", 1, "'red'");
    add_property(2, "size");
    add_property(3, "maker", 1, "'O''N'");
    add_property(4, "alone");
    add_property(5, "external", 1, "'x'", true);
    add_property(6, "other", 1, "'y'");
    add_group(1, "group", {1, 2, 3});
    add_group(2, "other", {6});
  }
};

TEST_F(GroupChange, GivesAProductWithoutValuesAllDefaultsAndAnEmptyTextWhereThereIsNone) {
  add_product(1, 1);
  Recorder recorder;
  EXPECT_TRUE(align(1, 1));
  EXPECT_EQ(recorder.statements,
            (reads_of(1, 1) + Statements{insertion(1, 1, "red"), insertion(2, 1, ""), insertion(3, 1, "O''N")}));
  EXPECT_EQ(recorder.calls, kConnectionStringCalls);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(outcome(), Outcome::committed);
  EXPECT_EQ(values(), (Rows{{1, 1, "red"}, {1, 2, ""}, {1, 3, "O'N"}}));
}

TEST_F(GroupChange, KeepsOwnAndExternalValuesTakesTheOthersAndGivesWhatLacks) {
  add_product(1, 1);
  for (const int property : {2, 4, 5}) add_value(property, 1, "own");
  Recorder recorder;
  EXPECT_TRUE(align(1, 1));
  EXPECT_EQ(recorder.statements,
            (reads_of(1, 1) + Statements{deletion(4, 1), insertion(1, 1, "red"), insertion(3, 1, "O''N")}));
  EXPECT_EQ(values(), (Rows{{1, 1, "red"}, {1, 2, "own"}, {1, 3, "O'N"}, {1, 5, "own"}}));
}

TEST_F(GroupChange, OfAProductGoesByTheGroupOfTheCallNotByTheProductsOwn) {
  add_product(1, 1);
  add_product(2, 1);
  add_value(1, 1, "own");
  add_value(1, 2, "own");
  EXPECT_TRUE(align(2, 1));
  EXPECT_EQ(values(), (Rows{{1, 6, "y"}, {2, 1, "own"}}));
}

TEST_F(GroupChange, OfAllProductsOfTheGroupGoesProductByProduct) {
  for (const int product : {1, 2, 3, 4}) add_product(product, product == 3 ? 2 : 1);
  for (const int property : {1, 2, 3}) add_value(property, 1, "own");
  add_value(6, 2, "old");
  add_value(4, 3, "of the other group");
  Recorder recorder;
  EXPECT_TRUE(align(1));
  EXPECT_EQ(recorder.statements, (reads_of(1) + Statements{deletion(6, 2), insertion(1, 2, "red"), insertion(2, 2, ""),
                                                           insertion(3, 2, "O''N"), insertion(1, 4, "red"),
                                                           insertion(2, 4, ""), insertion(3, 4, "O''N")}));
  EXPECT_EQ(values(), (Rows{{1, 1, "own"},
                            {1, 2, "own"},
                            {1, 3, "own"},
                            {2, 1, "red"},
                            {2, 2, ""},
                            {2, 3, "O'N"},
                            {3, 4, "of the other group"},
                            {4, 1, "red"},
                            {4, 2, ""},
                            {4, 3, "O'N"}}));
}

TEST_F(GroupChange, DoneTwiceChangesNothingTheSecondTime) {
  add_product(1, 1);
  add_value(4, 1, "old");
  align(1);
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_TRUE(align(1));
  EXPECT_EQ(recorder.statements, reads_of(1));
  EXPECT_EQ(all_rows(), before);
}

TEST_F(GroupChange, OfAGroupWithoutProductsOrOfAnUnknownProductDoesNothing) {
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_TRUE(align(1));
  EXPECT_EQ(recorder.statements, reads_of(1));
  EXPECT_EQ(vote(), Vote::commit);
  recorder.statements.clear();
  EXPECT_TRUE(align(1, 9));
  EXPECT_EQ(recorder.statements, reads_of(1, 9));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(GroupChange, OfAGroupWithoutPropertiesLeavesTheExternalValues) {
  add_group(3, "empty");
  add_product(1, 3);
  for (const int property : {4, 5, 6}) add_value(property, 1, "own");
  Recorder recorder;
  EXPECT_TRUE(align(3));
  EXPECT_EQ(recorder.statements, reads_of(3) + Statements({deletion(4, 1), deletion(6, 1)}));
  EXPECT_EQ(values(), (Rows{{1, 5, "own"}}));
}

TEST_F(GroupChange, ToAGroupWithAnExternalPropertyGivesItsDefaultToo) {
  add_group(3, "with external", {5});
  add_product(1, 3);
  EXPECT_TRUE(align(3));
  EXPECT_EQ(values(), (Rows{{1, 5, "x"}}));
}

TEST_F(GroupChange, LeavesValuesOfPropertiesBeyond16BitsAloneAsLongAsTheyStay) {
  add_property(40000, "far");
  add_property(40001, "far external", 1, "NULL", true);
  add_group(3, "far", {40000});
  add_product(40000, 3);
  add_value(40000, 40000, "own");
  add_value(40001, 40000, "own");
  Recorder recorder;
  EXPECT_TRUE(align(3));
  EXPECT_EQ(recorder.statements, reads_of(3));
}

TEST_F(GroupChange, OfAValueOfAPropertyBeyond16BitsFailsAndIsUndone) {
  add_property(32767, "last", 1, "'last'");
  add_property(32768, "far");
  add_group(3, "far", {32767, 32768});
  add_product(40000, 3);
  add_product(40001, 1);
  add_value(32768, 40001, "old");
  const auto before = all_rows();
  const auto overflow = customary_failure_under(6, {"Mercato.PropertyGroup.UpdateGroupChange"});
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { align(3); }), overflow);
  EXPECT_EQ(recorder.statements, (reads_of(3) + Statements{insertion(32767, 40000, "last")}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
  EXPECT_EQ(failure_of(recorder, [&] { align(1); }), overflow);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(GroupChange, ThatTheStoreRefusesAnywhereIsLoggedRaisedAndUndone) {
  add_product(1, 1);
  add_product(2, 1);
  add_value(4, 1, "old");
  add_value(6, 2, "old");
  for (const int property : {1, 2}) add_value(property, 2, "own");
  const auto before = all_rows();
  const Statements all =
      reads_of(1) + Statements{deletion(4, 1),          insertion(1, 1, "red"), insertion(2, 1, ""),
                               insertion(3, 1, "O''N"), deletion(6, 2),         insertion(3, 2, "O''N")};
  for (std::size_t number = 1; number <= all.size(); ++number) {
    SCOPED_TRACE(all[number - 1]);
    RefusingRecorder recorder(number);
    EXPECT_EQ(failure_of(recorder, [&] { align(1); }), refusal_under({"Mercato.PropertyGroup.UpdateGroupChange"}));
    EXPECT_EQ(recorder.statements, first_of(all, number));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(outcome(), Outcome::rolledback);
    EXPECT_EQ(all_rows(), before);
  }
  Recorder recorder;
  EXPECT_TRUE(align(1));
  EXPECT_EQ(recorder.statements, all);
}

TEST_F(GroupChange, OutsideOfATransactionKeepsWhatHasRun) {
  add_product(1, 1);
  add_value(4, 1, "old");
  const ComponentPtr plain = create_plain("Mercato.PropertyGroup");
  const auto align_plainly = [&] { return invoke(plain, "UpdateGroupChange", {1, -1}).to_boolean(); };
  {
    RefusingRecorder recorder(reads_of(1).size() + 3);
    EXPECT_EQ(failure_of(recorder, align_plainly), refusal_under({"Mercato.PropertyGroup.UpdateGroupChange"}));
  }
  EXPECT_EQ(values(), (Rows{{1, 1, "red"}}));
  EXPECT_TRUE(align_plainly());
  EXPECT_EQ(values(), (Rows{{1, 1, "red"}, {1, 2, ""}, {1, 3, "O'N"}}));
}

// Deleting

Statements counts_of(int group) {
  return {kIsolation, "SELECT PROPERTYGROUPID FROM PRODUCT WHERE PROPERTYGROUPID = " + std::to_string(group),
          kIsolation, "SELECT PROPERTYGROUPID FROM COMMODITY WHERE PROPERTYGROUPID = " + std::to_string(group)};
}
Statements deletes_of(int group) {
  return {"DELETE FROM propsbypropgroup WHERE propertygroupid = " + std::to_string(group),
          "DELETE FROM propertygroup WHERE propertygroupid = " + std::to_string(group)};
}

class GroupDeletion : public PropertyGroupTest {
 protected:
  void SetUp() override {
    PropertyGroupTest::SetUp();
    add_group(1, "group", {1, 2});
    add_group(2, "other", {2});
  }
  void use_group(const std::string& user) const {
    if (user == "PRODUCT") add_product(1, 1);
    if (user == "COMMODITY") execute({"INSERT INTO COMMODITY (COMMODITYCODE, PROPERTYGROUPID) VALUES ('C', 1)"});
    if (user == "USERS") execute({"INSERT INTO USERS (USERID, PROPERTYGROUPID) VALUES ('u', 1)"});
  }
};

TEST_F(GroupDeletion, TakesTheMembershipsAlong) {
  Recorder recorder;
  EXPECT_TRUE(remove(1));
  EXPECT_EQ(recorder.statements, counts_of(1) + deletes_of(1));
  EXPECT_EQ(recorder.calls,
            (Calls{{kCheckBeforeDelete, {"Mercato", "PROPERTYGROUP", Array{"PROPERTYGROUPID"}, Array{1}}}} +
             kConnectionStringCalls));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(rows("SELECT PROPERTYGROUPID FROM PROPERTYGROUP"), (Rows{{2}}));
  EXPECT_EQ(rows("SELECT PROPERTYGROUPID, PROPERTYID FROM PROPSBYPROPGROUP"), (Rows{{2, 2}}));
}

TEST_F(GroupDeletion, OfAGroupInUseIsRefusedRaisesAndLogsNothingAndVotesCommit) {
  for (const std::string user : {"PRODUCT", "COMMODITY", "USERS"}) {
    SCOPED_TRACE(user);
    use_group(user);
    const auto before = all_rows();
    Recorder recorder;
    EXPECT_FALSE(can_delete(1));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_FALSE(remove(1));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(all_rows(), before);
    execute({"DELETE FROM " + user});
  }
  EXPECT_TRUE(can_delete(1));
}

TEST_F(GroupDeletion, ThatTheCheckerAllowsIsNotHeldUpByAStoreThatCountsNoRowsOfAQuery) {
  use_group("PRODUCT");
  use_group("COMMODITY");
  Recorder recorder;
  recorder.answers[kCheckBeforeDelete] = true;
  EXPECT_TRUE(can_delete(1));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, counts_of(1));
  EXPECT_TRUE(remove(1));
}

TEST_F(GroupDeletion, OfAnUnknownIdPassesTheCheckAndIsRaised) {
  execute({"INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (9, 1)"});
  const auto before = all_rows();
  EXPECT_TRUE(can_delete(9));
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { remove(9); }),
            trail({ePropertyGroupNotFound, "Mercato.PropertyGroup.Delete", "Property group not present", "", 0},
                  {"Mercato.PropertyGroup.Delete"}));
  EXPECT_EQ(recorder.statements, counts_of(9) + deletes_of(9));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(GroupDeletion, ThatTheStoreRefusesAnywhereIsLoggedRaisedAndUndone) {
  const auto before = all_rows();
  const Statements all = counts_of(1) + deletes_of(1);
  for (std::size_t number = 1; number <= all.size(); ++number) {
    SCOPED_TRACE(all[number - 1]);
    RefusingRecorder recorder(number);
    // The check has a tail of its own.
    EXPECT_EQ(failure_of(recorder, [&] { remove(1); }),
              number <= counts_of(1).size()
                  ? refusal_under({"Mercato.PropertyGroup.CanDelete", "Mercato.PropertyGroup.Delete"})
                  : refusal_under({"Mercato.PropertyGroup.Delete"}));
    EXPECT_EQ(recorder.statements, first_of(all, number));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
}

TEST_F(GroupDeletion, WhoseCheckTheStoreRefusesIsLoggedAndRaised) {
  for (std::size_t number = 1; number <= counts_of(1).size(); ++number) {
    RefusingRecorder recorder(number);
    EXPECT_EQ(failure_of(recorder, [&] { can_delete(1); }), refusal_under({"Mercato.PropertyGroup.CanDelete"}));
    EXPECT_EQ(recorder.statements, first_of(counts_of(1), number));
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(GroupDeletion, WithACheckerThatFailsFails) {
  const RaisedError failure = {70, "Checker", "not now", "", 0};
  Recorder recorder;
  recorder.failures[kCheckBeforeDelete] = failure;
  EXPECT_EQ(failure_of(recorder, [&] { can_delete(1); }), trail(failure, {"Mercato.PropertyGroup.CanDelete"}));
  EXPECT_EQ(failure_of(recorder, [&] { remove(1); }),
            trail(failure, {"Mercato.PropertyGroup.CanDelete", "Mercato.PropertyGroup.Delete"}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.statements.empty());
}

// Adding groups and memberships

TEST_F(PropertyGroupTest, InsertedHasItsNameAndTheNextId) {
  add_group(40000, "far");
  std::string name = "O'N";
  Recorder recorder;
  EXPECT_EQ(group_->Insert(name), 40001);
  EXPECT_EQ(recorder.statements, Statements{"SELECT * FROM PROPERTYGROUP WHERE 0=1"});
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(value_of("SELECT PROPERTYGROUPNAME FROM PROPERTYGROUP WHERE PROPERTYGROUPID = 40001"), Variant("O'N"));
}

TEST_F(PropertyGroupTest, InsertedUnderTooLongANameFails) {
  std::string name(256, 'x');
  Recorder recorder;
  const RaisedError raised = raised_by([&] { group_->Insert(name); });
  EXPECT_EQ(raised.Number, error_number::kValueTooLong);
  EXPECT_EQ(recorder.log,
            (Log{{raised.Source, message("80040E57", "Mercato.PropertyGroup.Insert", raised.Description), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(rows("SELECT * FROM PROPERTYGROUP"), Rows{});
}

struct Adding {
  std::string method;
  std::vector<Variant> arguments;
  std::string statement;
};
const std::vector<Adding>& addings() {
  static const std::vector<Adding> all = {
      {"Insert", {"name"}, "SELECT * FROM PROPERTYGROUP WHERE 0=1"},
      {"AddPropertyToPropertyGroup", {1, 2, true}, "SELECT * FROM PROPSBYPROPGROUP WHERE 0=1"},
      {"AddPropertyToPropertyGroupEx", {1, 2, true, true}, "SELECT * FROM PROPSBYPROPGROUP WHERE 0=1"},
  };
  return all;
}

TEST_F(PropertyGroupTest, AddingThatTheStoreRefusesIsLoggedAndRaised) {
  for (const Adding& adding : addings()) {
    SCOPED_TRACE(adding.method);
    Recorder recorder;
    recorder.fail_on = adding.statement;
    std::vector<Variant> arguments = adding.arguments;
    EXPECT_EQ(failure_of(recorder, [&] { invoke(group_.object(), adding.method, arguments); }),
              refusal_under({"Mercato.PropertyGroup." + adding.method}));
    EXPECT_EQ(arguments, adding.arguments);
    EXPECT_EQ(recorder.statements, Statements{adding.statement});
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(PropertyGroupTest, AddedMembershipHasItsFlagsAndChangesNoValueOfAProduct) {
  add_group(1, "group");
  add_product(1, 1);
  Recorder recorder;
  for (const bool flag : {false, true}) {
    const int added = flag ? 3 : 1;
    invoke(group_.object(), "AddPropertyToPropertyGroup", {1, added, flag});
    EXPECT_EQ(vote(), Vote::commit);
    invoke(group_.object(), "AddPropertyToPropertyGroupEx", {1, added + 1, !flag, true});
    EXPECT_EQ(vote(), Vote::commit);
  }
  EXPECT_EQ(recorder.statements, Statements(4, "SELECT * FROM PROPSBYPROPGROUP WHERE 0=1"));
  EXPECT_EQ(rows("SELECT PROPERTYGROUPID, PROPERTYID, MANDATORY, SHOWINPRODUCTSHEET FROM PROPSBYPROPGROUP"),
            (Rows{{1, 1, false, false}, {1, 2, true, true}, {1, 3, true, false}, {1, 4, false, true}}));
  EXPECT_EQ(values(), Rows{});
}

TEST_F(PropertyGroupTest, AddedMembershipThatExistsAlreadyFailsInTheStore) {
  add_group(1, "group", {2});
  for (const std::string method : {"AddPropertyToPropertyGroup", "AddPropertyToPropertyGroupEx"}) {
    std::vector<Variant> arguments = {1, 2, true};
    if (method.ends_with("Ex")) arguments.push_back(true);
    Recorder recorder;
    const RaisedError raised = raised_by([&] { invoke(group_.object(), method, arguments); });
    EXPECT_EQ(raised.Number, error_number::kConstraintViolated);
    EXPECT_EQ(recorder.log,
              (Log{{raised.Source, message("80040E2F", "Mercato.PropertyGroup." + method, raised.Description), 0}}));
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_EQ(rows("SELECT MANDATORY FROM PROPSBYPROPGROUP"), (Rows{{false}}));
}

// Retired

TEST_F(PropertyGroupTest, RetiredListRaisesMinusOneAndVotesNothing) {
  Recorder recorder;
  const std::string text = "This method is depricated, Use Mercato.RPropertyGroup.GetPropertyGroupData";
  EXPECT_EQ(failure_of(recorder,
                       [&] {
                         invoke(group_.object(), "GetPropertyGroupData", {Variant(), "", std::int16_t{10}});
                       }),
            customary_failure_under(-1, {text}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(PropertyGroup::table().find("GetPropertyGroupData")->deprecated,
            "Mercato.RPropertyGroup.GetPropertyGroupData");
}

// The reading half

class PropertyGroupList : public PropertyStoreTest {
 protected:
  void SetUp() override {
    PropertyStoreTest::SetUp();
    add_group(1, "b");
    add_group(2, "a");
    add_group(3, "c");
  }
  ComponentPtr list(const Variant& ids = kMissing, const std::string& sort_fields = "", std::int16_t page_size = 2,
                    const ComponentPtr& page = nullptr) {
    return groups_->GetPropertyGroupData(page, "", page_size, ids, sort_fields);
  }
  static Array names_on(const ComponentPtr& list) {
    Array names;
    const RecordsetPtr page = invoke(list, "PageRows", {}).to<Recordset>();
    for (const auto& row : page->rows()) names.items.push_back(row[1]);
    return names;
  }
  Vote vote() const { return groups_.context().vote_of_last_call(); }

  Root<RPropertyGroup> groups_;
};

TEST_F(PropertyGroupList, WithoutAPageIsANewDRecordsetUnderNoTransaction) {
  Recorder recorder;
  const ComponentPtr rows = list();
  EXPECT_EQ(recorder.calls,
            (kConnectionStringCalls +
             Calls{{"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                   {"Bauteil.DRecordset.SetPersistedState", {""}},
                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{2}}},
                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM PROPERTYGROUP", "PROPERTYGROUPID"}}}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(groups_.context().outcome_of_last_call(), Outcome::none);
  EXPECT_EQ(names_on(rows), (Array{"b", "a"}));
}

TEST_F(PropertyGroupList, WithAPageTakesItsDRecordset) {
  const ComponentPtr page = create_plain("Bauteil.Page");
  Recorder recorder;
  list(kMissing, "PROPERTYGROUPNAME", 0, page);
  EXPECT_EQ(recorder.calls,
            (Calls{{"Bauteil.Page.RegisterConnection", {"MercatoConnection"}},
                   {"Bauteil.Page.GetDRecordset", {}},
                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{0}}},
                   {"Bauteil.DRecordset.SetSortFields", {"PROPERTYGROUPNAME"}},
                   {"Bauteil.Page.GetSavedPosition", {"", false}},
                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM PROPERTYGROUP", "PROPERTYGROUPID"}}}));
}

TEST_F(PropertyGroupList, OfOneIdHoldsItInTheOrderAskedFor) {
  Recorder recorder;
  EXPECT_EQ(names_on(list(Array{2})), (Array{"a"}));
  EXPECT_EQ(recorder.calls.back().arguments.size(), 0u);
  EXPECT_EQ(recorder.calls[5],
            (ComponentCall{"Bauteil.DRecordset.OpenQuery",
                           {"SELECT * FROM PROPERTYGROUP WHERE (PROPERTYGROUPID IN (2))", "PROPERTYGROUPID"}}));
  EXPECT_EQ(names_on(list(kMissing, "PROPERTYGROUPNAME DESC")), (Array{"c", "b"}));
}

TEST_F(PropertyGroupList, OfTwoIdsIsRefusedByTheStoreLoggedAndRaised) {
  Recorder recorder;
  const RaisedError raised = raised_by([&] { list(Array{1, 2}); });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_TRUE(raised.Description.starts_with(
      "\r\nERROR 0x80040E14\r\n METHOD: Mercato.RPropertyGroup.GetPropertyGroupData\r\n DESC: "));
  EXPECT_EQ(recorder.log,
            (Log{{raised.Source, message("80040E14", "Mercato.RPropertyGroup.GetPropertyGroupData", raised.Description),
                  0}}));
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(PropertyGroupList, OfASizeBeyond16BitsIsNoCall) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { invoke(groups_.object(), "GetPropertyGroupData", {Variant(), "", 32768}); }).Number, 6);
  EXPECT_TRUE(recorder.log.empty());
}

}  // namespace
}  // namespace mercato::test
