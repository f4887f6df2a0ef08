// SPDX-License-Identifier: Apache-2.0
#include "mercato/property.h"

#include <gtest/gtest.h>

#include "collaborators/bauteil/drecordset.h"
#include "tests/classification/property_fixture.h"

namespace mercato::test {
namespace {

class PropertyTest : public PropertyStoreTest {
 protected:
  Vote vote() const { return property_.context().vote_of_last_call(); }
  bool remove(std::int32_t id) { return property_->Delete(id); }
  bool exists(const Array& fields, const Array& values) {
    return invoke(property_.object(), "IReferentialIntegrity_Exists", {Variant(), fields, values}).to_boolean();
  }
  Rows properties() const {
    return rows("SELECT PROPERTYID, PROPERTYNAME, DATATYPE, EXTERNAL, DEFAULTVALUE FROM PROPERTY ORDER BY PROPERTYID");
  }
  Rows enums() const { return rows("SELECT PROPERTYID, SEQUENCEID, VALUE FROM PROPERTYENUM ORDER BY 1, 2"); }

  Root<Property> property_;
};

// What every call hands to the store, how it votes, and what becomes of a store that refuses

struct CallCase {
  std::string method;
  std::vector<Variant> arguments;
  Statements statements;
  std::string label;
};

const std::vector<CallCase>& call_cases() {
  static const std::int16_t kEnum = 3;
  static const std::vector<CallCase> cases = {
      {"Delete",
       {2},
       {kIsolation, "DELETE FROM propertyenum WHERE propertyid = 2", kIsolation,
        "DELETE FROM propsbypropgroup WHERE propertyid = 2", kIsolation, "DELETE FROM property WHERE propertyid = 2"},
       "Mercato.Property.Delete"},
      {"Insert20",
       {Array{"PROPERTYNAME"}, Array{"new"}},
       {kIsolation, "SELECT * FROM PROPERTY WHERE 0=1"},
       "Mercato.Property.Insert"},
      {"Insert", {"new", kEnum}, {kIsolation, "SELECT * FROM PROPERTY WHERE 0=1"}, "Mercato.Property.Insert"},
      {"Update20",
       {1, Array{"PROPERTYNAME"}, Array{"new"}},
       {kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID=1"},
       "Mercato.Property.Update"},
      {"Update",
       {1, "new", kEnum},
       {kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID=1"},
       "Mercato.Property.Update"},
      {"getDataType",
       {1},
       {kIsolation, "SELECT DATATYPE FROM PROPERTY WHERE PROPERTYID=1"},
       "Mercato.Property.getDataType"},
      {"GetPropertyName",
       {1},
       {kIsolation, "SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID=1"},
       "Mercato.Property.GetPropertyName"},
      {"GetPropertyIDFromName",
       {"O'N"},
       {kIsolation, "SELECT PROPERTYID FROM PROPERTY WHERE PROPERTYNAME='O''N'"},
       "Mercato.Property.GetPropertyIDFromName"},
      {"getPropertyEnums",
       {1},
       {kIsolation, "SELECT SEQUENCEID, VALUE FROM PROPERTYENUM WHERE PROPERTYID=1"},
       "Mercato.Property.getPropertyEnums"},
      {"Insert21",
       {"new", kEnum, "default", true},
       {kIsolation, "SELECT * FROM PROPERTY WHERE 0=1"},
       "Mercato.Property.Insert21"},
      {"IReferentialIntegrity_Exists",
       {Variant(), Array{"PropertyId"}, Array{1}},
       {kIsolation, "SELECT * FROM PROPERTY WHERE PropertyId=1"},
       "Mercato.Property.Exists"},
  };
  return cases;
}

class PropertyCalls : public PropertyTest {
 protected:
  void SetUp() override {
    PropertyTest::SetUp();
    add_property(1, "colour", ENUMPROPERTYTYPE);
    add_property(2, "unused", ENUMPROPERTYTYPE);
    for (const int property : {1, 2}) add_enum(property, 1, "'red'");
    add_group(1, "group", {1, 2});
  }
  Variant call(const CallCase& expected) {
    std::vector<Variant> arguments = expected.arguments;
    struct Unchanged {
      const std::vector<Variant>& before;
      const std::vector<Variant>& after;
      ~Unchanged() { EXPECT_EQ(after, before); }
    } unchanged{expected.arguments, arguments};
    return invoke(property_.object(), expected.method, arguments);
  }
};

TEST_F(PropertyCalls, RunTheirStatementsInOrderVoteCommitAndLogNothing) {
  for (const CallCase& expected : call_cases()) {
    SCOPED_TRACE(expected.method);
    Recorder recorder;
    call(expected);
    EXPECT_EQ(recorder.statements, expected.statements);
    EXPECT_TRUE(recorder.log.empty());
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(property_.context().outcome_of_last_call(), Outcome::committed);
  }
}

TEST_F(PropertyCalls, ThatTheStoreRefusesAreLoggedRaisedAndUndone) {
  const auto before = all_rows();
  for (const CallCase& expected : call_cases()) {
    for (std::size_t number = 1; number <= expected.statements.size(); ++number) {
      SCOPED_TRACE(expected.method + ": " + expected.statements[number - 1]);
      RefusingRecorder recorder(number);
      EXPECT_EQ(failure_of(recorder, [&] { call(expected); }), refusal_under({expected.label}));
      EXPECT_EQ(recorder.statements, first_of(expected.statements, number));
      EXPECT_EQ(vote(), Vote::abort);
      EXPECT_EQ(all_rows(), before);
    }
  }
}

TEST_F(PropertyCalls, WithoutAConnectionAreLoggedRaisedAndVoteAbort) {
  collaborators::Settings settings;
  settings.connections["Mercato"] = "Provider=Nobody";
  collaborators::set_settings(settings);
  for (const CallCase& expected : call_cases()) {
    if (expected.method == "Delete") continue;  // its checker fails before
    SCOPED_TRACE(expected.method);
    forget_thread_state();
    Recorder recorder;
    const RaisedError raised = raised_by([&] { call(expected); });
    EXPECT_EQ(raised.Number, error_number::kStoreFailure);
    EXPECT_EQ(recorder.log, (Log{{raised.Source, message("80004005", expected.label, raised.Description), 0}}));
    EXPECT_EQ(vote(), Vote::abort);
  }
}

// Deleting

class PropertyDeletion : public PropertyTest {
 protected:
  void SetUp() override {
    PropertyTest::SetUp();
    for (const int property : {1, 2}) {
      add_property(property, "name", ENUMPROPERTYTYPE);
      add_enum(property, 1, "'red'");
      add_enum(property, 2, "'blue'");
    }
    add_group(1, "group", {1, 2});
    add_group(2, "group", {1});
  }
};

TEST_F(PropertyDeletion, TakesTheEnumRowsAndTheMembershipsAlong) {
  Recorder recorder;
  EXPECT_TRUE(remove(1));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.calls, (Calls{{kCheckBeforeDelete, {"Mercato", "PROPERTY", Array{"PROPERTYID"}, Array{1}}}} +
                             kConnectionStringCalls));
  EXPECT_EQ(rows("SELECT PROPERTYID FROM PROPERTY"), (Rows{{2}}));
  EXPECT_EQ(enums(), (Rows{{2, 1, "red"}, {2, 2, "blue"}}));
  EXPECT_EQ(rows("SELECT PROPERTYGROUPID, PROPERTYID FROM PROPSBYPROPGROUP"), (Rows{{1, 2}}));
}

TEST_F(PropertyDeletion, OfAPropertyThatAProductHasAValueOfIsRefusedAndRaisesAndLogsNothing) {
  add_value(1, 5, "red");
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(remove(1));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyDeletion, ThatTheCheckerAllowsLeavesTheValuesOfProducts) {
  add_value(1, 5, "red");
  Recorder recorder;
  recorder.answers[kCheckBeforeDelete] = true;
  EXPECT_TRUE(remove(1));
  EXPECT_EQ(values(), (Rows{{5, 1, "red"}}));
}

TEST_F(PropertyDeletion, OfAnUnknownIdIsRaisedUnderTheNameOfTheUpdateAndItsDependentDeletesAreUndone) {
  add_enum(9, 1, "'orphan'");
  add_group(3, "group", {9});
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { remove(9); }),
            trail({ePropertyNotFound, "Mercato.Property.Update", "Property not present", "", 0},
                  {"Mercato.Property.Delete"}));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "DELETE FROM propertyenum WHERE propertyid = 9", kIsolation,
                                             "DELETE FROM propsbypropgroup WHERE propertyid = 9", kIsolation,
                                             "DELETE FROM property WHERE propertyid = 9"}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(property_.context().outcome_of_last_call(), Outcome::rolledback);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyDeletion, WithACheckerThatFailsFails) {
  const auto before = all_rows();
  Recorder recorder;
  recorder.failures[kCheckBeforeDelete] = {70, "Checker", "not now", "", 0};
  EXPECT_EQ(failure_of(recorder, [&] { remove(1); }),
            trail({70, "Checker", "not now", "", 0}, {"Mercato.Property.Delete"}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

// Inserting

TEST_F(PropertyTest, InsertedFromFieldsHasTheirValuesAndTheStoresDefaults) {
  EXPECT_EQ(property_->Insert20(Array{"PROPERTYNAME", "datatype", "DEFAULTVALUE"}, Array{"size", "2", kNull}), 1);
  EXPECT_EQ(property_->Insert20(Array(std::vector<Variant>{"PROPERTYNAME", "EXTERNAL"}, 5),
                                Array(std::vector<Variant>{"weight", true, "one more"}, 5)),
            2);
  EXPECT_EQ(properties(), (Rows{{1, "size", std::int16_t{2}, false, kNull}, {2, "weight", kNull, true, kNull}}));
}

TEST_F(PropertyTest, InsertedByNameAndTypeIsNotExternal) {
  std::string name = "O'N";
  std::int16_t type = DATEPROPERTYTYPE;
  EXPECT_EQ(property_->Insert(name, type), 1);
  EXPECT_EQ(properties(), (Rows{{1, "O'N", std::int16_t{4}, false, kNull}}));
}

TEST_F(PropertyTest, InsertedCompleteHasEveryColumn) {
  std::string name = "O'N";
  std::int16_t type = NUMBERPROPERTYTYPE;
  std::string default_value;
  bool external = true;
  EXPECT_EQ(property_->Insert21(name, type, default_value, external), 1);
  EXPECT_EQ(properties(), (Rows{{1, "O'N", std::int16_t{2}, true, ""}}));
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(PropertyTest, InsertedUnderAnIdBeyond16BitsIsUndoneUnlessItIsInsertedComplete) {
  add_property(32766, "last but one");
  EXPECT_EQ(property_->Insert20(Array{"PROPERTYNAME"}, Array{"last"}), 32767);
  const auto before = all_rows();
  Recorder recorder;
  std::string name = "next";
  std::int16_t type = 1;
  for (const auto& insert : std::vector<std::function<void()>>{
           [&] { property_->Insert20(Array{"PROPERTYNAME"}, Array{"next"}); },
           [&] { property_->Insert(name, type); },
       }) {
    EXPECT_EQ(failure_of(recorder, insert), customary_failure_under(6, {"Mercato.Property.Insert"}));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(all_rows(), before);
  }
  store().forget_lost_numbers();
  std::string default_value;
  bool external = false;
  EXPECT_EQ(property_->Insert21(name, type, default_value, external), 32768);
}

struct WrongPair {
  std::string what;
  Array fields;
  Array values;
  std::int32_t number;
};

std::vector<WrongPair> wrong_pairs() {
  const std::int32_t kBeyond16Bits = 32768;
  return {
      {"a name that is no column", {"PROPERTYNAME", "COLOUR"}, {"x", "red"}, error_number::kNoSuchField},
      {"an empty name", {"PROPERTYNAME", ""}, {"x", "red"}, error_number::kNoSuchField},
      {"a name that is Null", {kNull}, {"x"}, error_number::kInvalidUseOfNull},
      {"fewer values than fields", {"PROPERTYNAME", "DATATYPE"}, {"x"}, error_number::kSubscriptOutOfRange},
      {"values at other bounds", {"PROPERTYNAME"}, Array(std::vector<Variant>{"x"}, 1), 9},
      {"no values", {"PROPERTYNAME"}, {}, error_number::kSubscriptOutOfRange},
      {"a type that is a word", {"PROPERTYNAME", "DATATYPE"}, {"x", "text"}, error_number::kTypeMismatch},
      {"a type beyond 16 bits", {"PROPERTYNAME", "DATATYPE"}, {"x", kBeyond16Bits}, error_number::kOverflow},
      {"a flag that is a word", {"PROPERTYNAME", "EXTERNAL"}, {"x", "perhaps"}, error_number::kTypeMismatch},
      {"an array for a name", {"PROPERTYNAME"}, {Variant(Array{"x"})}, error_number::kTypeMismatch},
      {"no name at all", {"PROPERTYNAME"}, {kNull}, error_number::kConstraintViolated},
      {"too long a name", {"PROPERTYNAME"}, {std::string(256, 'x')}, error_number::kValueTooLong},
      {"too long a default",
       {"PROPERTYNAME", "DEFAULTVALUE"},
       {"x", std::string(4001, 'x')},
       error_number::kValueTooLong},
  };
}

TEST_F(PropertyTest, InsertedOrUpdatedWithWrongFieldsFailsAndChangesNothing) {
  add_property(1, "colour", ENUMPROPERTYTYPE);
  add_enum(1, 1, "'red'");
  const auto before = all_rows();
  for (const WrongPair& wrong : wrong_pairs()) {
    SCOPED_TRACE(wrong.what);
    for (const bool updating : {false, true}) {
      Recorder recorder;
      const RaisedError raised = raised_by([&] {
        if (updating)
          property_->Update20(1, wrong.fields, wrong.values);
        else
          property_->Insert20(wrong.fields, wrong.values);
      });
      EXPECT_EQ(raised.Number, wrong.number) << raised.Description;
      char number[9];
      std::snprintf(number, sizeof number, "%X", static_cast<unsigned>(wrong.number));
      const std::string label = updating ? "Mercato.Property.Update" : "Mercato.Property.Insert";
      EXPECT_EQ(recorder.log, (Log{{raised.Source, message(number, label, raised.Description), 0}}));
      EXPECT_EQ(vote(), Vote::abort);
      EXPECT_EQ(all_rows(), before);
    }
  }
}

TEST_F(PropertyTest, InsertedWithoutFieldsFailsInTheStore) {
  EXPECT_EQ(raised_by([&] { property_->Insert20(Array{}, Array{}); }).Number, error_number::kConstraintViolated);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(properties(), Rows{});
}

TEST_F(PropertyTest, InsertedFromMoreFieldsThan16BitsCountFails) {
  const Array fields(std::vector<Variant>(32769, "PROPERTYNAME"));
  const Array values(std::vector<Variant>(32769, "x"));
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { property_->Insert20(fields, values); }),
            customary_failure_under(6, {"Mercato.Property.Insert"}));
  EXPECT_EQ(properties(), Rows{});
  EXPECT_EQ(property_->Insert20(Array(std::vector<Variant>(32768, "PROPERTYNAME")), values), 1);
}

TEST_F(PropertyTest, CalledWithSomethingElseThanArraysIsNoCall) {
  Recorder recorder;
  for (const Variant& wrong : {Variant("PROPERTYNAME"), Variant(1), Variant(kNull), Variant()}) {
    EXPECT_EQ(raised_by([&] { invoke(property_.object(), "Insert20", {wrong, Array{"x"}}); }).Number, 13);
    EXPECT_EQ(raised_by([&] { invoke(property_.object(), "Update20", {1, Array{"DATATYPE"}, wrong}); }).Number, 13);
  }
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

// Updating

class PropertyUpdate : public PropertyTest {
 protected:
  void SetUp() override {
    PropertyTest::SetUp();
    for (const int property : {1, 2}) {
      add_property(property, "name", ENUMPROPERTYTYPE, "'default'");
      add_enum(property, 1, "'red'");
    }
  }
  bool update(const Array& fields, const Array& values) { return property_->Update20(1, fields, values); }
  const Rows both_enums_ = {{1, 1, "red"}, {2, 1, "red"}};
};

TEST_F(PropertyUpdate, ChangesTheNamedColumnsOfTheOneRow) {
  EXPECT_TRUE(update(Array{"PROPERTYNAME", "External", "DEFAULTVALUE"}, Array{"O'N", 1, kNull}));
  EXPECT_EQ(properties(),
            (Rows{{1, "O'N", std::int16_t{3}, true, kNull}, {2, "name", std::int16_t{3}, false, "default"}}));
  EXPECT_EQ(enums(), both_enums_);
}

TEST_F(PropertyUpdate, WithoutFieldsChangesNothing) {
  const auto before = all_rows();
  EXPECT_TRUE(update(Array{}, Array{}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyUpdate, SkipsTheKeyWhateverItsValue) {
  EXPECT_TRUE(update(Array{"PROPERTYID", "PROPERTYNAME"}, Array{Array{"no", "id"}, "new"}));
  EXPECT_TRUE(update(Array{"PROPERTYNAME", "PROPERTYID"}, Array{"newer"}));
  EXPECT_EQ(properties()[0], (Rows::value_type{1, "newer", std::int16_t{3}, false, "default"}));
}

// A property used to get the new id, and its values then hung on nothing.
TEST_F(PropertyUpdate, OfTheKeyUnderANameInAnotherCaseIsRefusedByTheStore) {
  const auto before = all_rows();
  const RaisedError raised = raised_by([&] { update(Array{"DATATYPE", "propertyid"}, Array{1, 99}); });
  EXPECT_EQ(raised,
            (RaisedError{error_number::kStatementRefused, store().failure_source(),
                         message("80040E14", "Mercato.Property.Update", "Cannot update identity column 'PROPERTYID'"),
                         "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyTest, InsertedWithAKeyIsRefusedByTheStore) {
  const RaisedError raised = raised_by([&] {
    property_->Insert20(Array{"PROPERTYID", "PROPERTYNAME"}, Array{99, "colour"});
  });
  EXPECT_EQ(raised.Number, error_number::kStatementRefused);
  EXPECT_EQ(raised.Description,
            message("80040E14", "Mercato.Property.Insert",
                    "Cannot insert explicit value for identity column in table 'PROPERTY' when IDENTITY_INSERT is set "
                    "to OFF"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(properties().empty());
}

// What the failing call had inserted used to stay, under an id that no call can name.
TEST_F(PropertyTest, InsertedBehindTheLastIdThatALongHoldsIsRefusedAndNothingOfItStays) {
  add_property(2147483647, "last");
  const Rows before = properties();
  EXPECT_EQ(raised_by([&] {
              invoke(property_.object(), "Insert21", {"next", 1, "", false});
            }).Number,
            error_number::kValueTooLong);
  EXPECT_EQ(properties(), before);
  EXPECT_EQ(raised_by([&] {
              execute({"INSERT INTO PROPERTY (PROPERTYID, PROPERTYNAME) VALUES (2147483648, 'beyond')"});
            }).Number,
            error_number::kValueTooLong);
}

TEST_F(PropertyUpdate, ToAnotherTypeDeletesTheEnumRowsOnAConnectionOfItsOwn) {
  for (const Variant& type : {Variant(1), Variant("2"), Variant(std::int16_t{4}), Variant()}) {
    execute({"UPDATE PROPERTYENUM SET VALUE = 'red'"});
    if (enums().size() == 1) add_enum(1, 1, "'red'");
    Recorder recorder;
    EXPECT_TRUE(update(Array{"DATATYPE"}, Array{type}));
    EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID=1", kIsolation,
                                               "DELETE FROM propertyenum WHERE propertyid=1"}));
    EXPECT_EQ(vote(), Vote::commit);
    EXPECT_EQ(properties()[0][2], type.is_empty() ? Variant(kNull) : Variant(type.to_short()));
    EXPECT_EQ(enums(), (Rows{{2, 1, "red"}}));
  }
}

TEST_F(PropertyUpdate, ToTheEnumeratedTypeKeepsTheEnumRows) {
  for (const Variant& type : {Variant(3), Variant("3"), Variant(2.6)}) {
    Recorder recorder;
    EXPECT_TRUE(update(Array{"DATATYPE"}, Array{type}));
    EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID=1"}));
    EXPECT_EQ(enums(), both_enums_);
  }
}

TEST_F(PropertyUpdate, UnderANameInAnotherCaseKeepsTheEnumRowsAndChangesTheType) {
  EXPECT_TRUE(update(Array{"datatype"}, Array{1}));
  EXPECT_EQ(properties()[0][2], Variant(std::int16_t{1}));
  EXPECT_EQ(enums(), both_enums_);
}

TEST_F(PropertyUpdate, ToNoTypeFails) {
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { update(Array{"DATATYPE"}, Array{kNull}); }),
            customary_failure_under(94, {"Mercato.Property.Update"}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(enums(), both_enums_);
}

TEST_F(PropertyUpdate, ThatFailsBehindTheTypeGivesTheEnumRowsBack) {
  const auto before = all_rows();
  EXPECT_EQ(raised_by([&] {
              update(Array{"DATATYPE", "COLOUR"}, Array{1, "red"});
            }).Number,
            error_number::kNoSuchField);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyUpdate, WhoseEnumRowsCannotGoIsLoggedAtBothLevels) {
  const auto before = all_rows();
  Recorder recorder;
  recorder.fail_on = "DELETE FROM propertyenum";
  EXPECT_EQ(failure_of(recorder,
                       [&] {
                         update(Array{"PROPERTYNAME", "DATATYPE"}, Array{"new", 1});
                       }),
            refusal_under({"Mercato.Property.DeleteEnums", "Mercato.Property.Update"}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyUpdate, OfAnUnknownIdIsRaised) {
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { property_->Update20(9, Array{"DATATYPE"}, Array{1}); }),
            trail({ePropertyNotFound, "Mercato.Property.Update", "Property not present", "", 0},
                  {"Mercato.Property.Update"}));
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID=9"}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(PropertyUpdate, OfNameAndTypeHoldsABoolean) {
  std::int32_t id = 1;
  std::string name = "O'N";
  std::int16_t type = STRINGPROPERTYTYPE;
  EXPECT_EQ(property_->Update(id, name, type), Variant(true));
  EXPECT_EQ(properties()[0], (Rows::value_type{1, "O'N", std::int16_t{1}, false, "default"}));
  EXPECT_EQ(enums(), (Rows{{2, 1, "red"}}));
}

// Looking up

TEST_F(PropertyTest, LookedUpByItsIdHasATypeAndAName) {
  add_property(40000, "O''N", DATEPROPERTYTYPE);
  EXPECT_EQ(property_->getDataType(40000), 4);
  EXPECT_EQ(property_->GetPropertyName(40000), "O'N");
}

TEST_F(PropertyTest, LookedUpByAnUnknownIdIsRaisedUnderTheLookupsOwnSource) {
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { property_->getDataType(-7); }),
            trail({ePropertyNotFound, "Mercato.Property.getPropertyType", "Property -7 not present", "", 0},
                  {"Mercato.Property.getDataType"}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(failure_of(recorder, [&] { property_->GetPropertyName(9); }),
            trail({ePropertyNotFound, "Mercato.Property.GetPropertyName", "Property 9 not present", "", 0},
                  {"Mercato.Property.GetPropertyName"}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(PropertyTest, WithoutATypeHasNoneToBeLookedUp) {
  execute({"INSERT INTO PROPERTY (PROPERTYNAME) VALUES ('x')"});
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { property_->getDataType(1); }),
            customary_failure_under(94, {"Mercato.Property.getDataType"}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(PropertyTest, LookedUpByItsNameHasAnIdAndAnUnknownOneHasZero) {
  add_property(40000, "O''N");
  EXPECT_EQ(property_->GetPropertyIDFromName("O'N"), 40000);
  EXPECT_EQ(property_->GetPropertyIDFromName("unknown"), 0);
  EXPECT_EQ(property_->GetPropertyIDFromName(""), 0);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(PropertyTest, HasItsEnumValuesByTheTextOfTheirNumber) {
  add_enum(1, 2, "'blue'");
  add_enum(1, 10, "'O''N'");
  add_enum(2, 1, "'other'");
  const DictionaryPtr enums = property_->getPropertyEnums(1);
  EXPECT_EQ(enums->Count(), 2);
  EXPECT_EQ(enums->Item("2"), Variant("blue"));
  EXPECT_EQ(enums->Item("10"), Variant("O'N"));
}

TEST_F(PropertyTest, WithoutEnumValuesHasAnEmptyDictionaryEvenIfItIsUnknown) {
  add_property(1, "plain");
  EXPECT_EQ(property_->getPropertyEnums(1)->Count(), 0);
  EXPECT_EQ(property_->getPropertyEnums(9)->Count(), 0);
  EXPECT_EQ(vote(), Vote::commit);
}

TEST_F(PropertyTest, WithAnEnumValueThatIsNullFails) {
  add_enum(1, 1, "NULL");
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder, [&] { property_->getPropertyEnums(1); }),
            customary_failure_under(94, {"Mercato.Property.getPropertyEnums"}));
  EXPECT_EQ(vote(), Vote::abort);
}

// The paged list

class PropertyList : public PropertyTest {
 protected:
  void SetUp() override {
    PropertyTest::SetUp();
    add_property(1, "b");
    add_property(2, "a");
    add_property(3, "c");
  }
  ComponentPtr list(const Variant& ids = kMissing, const std::string& sort_fields = "", std::int32_t page_size = 2,
                    const ComponentPtr& page = nullptr, const std::string& state = "") {
    return property_->GetPropertyData(page, state, page_size, ids, sort_fields);
  }
  static Array names_on(const ComponentPtr& list) {
    Array names;
    const RecordsetPtr page = invoke(list, "PageRows", {}).to<Recordset>();
    for (const auto& row : page->rows()) names.items.push_back(row[1]);
    return names;
  }
};

TEST_F(PropertyList, WithoutAPageIsANewDRecordsetThatVotesNothing) {
  Recorder recorder;
  const ComponentPtr rows = list();
  EXPECT_EQ(recorder.calls, (kConnectionStringCalls +
                             Calls{{"Bauteil.DRecordset.SetConnectionString", {connection_string()}},
                                   {"Bauteil.DRecordset.SetPersistedState", {""}},
                                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{2}}},
                                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM PROPERTY", "PROPERTYID"}}}));
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(names_on(rows), (Array{"b", "a"}));
}

TEST_F(PropertyList, WithAPageTakesItsDRecordsetAndItsPosition) {
  const ComponentPtr first = list();
  invoke(first, "NextPage", {});
  const std::string state = invoke(first, "PersistedState", {}).to_text();
  const ComponentPtr page = create_plain("Bauteil.Page");
  invoke(page, "SetSavedPosition", {state});
  Recorder recorder;
  const ComponentPtr rows = list(kMissing, "", 2, page, "not looked at");
  EXPECT_EQ(recorder.calls, (Calls{{"Bauteil.Page.RegisterConnection", {"MercatoConnection"}},
                                   {"Bauteil.Page.GetDRecordset", {}},
                                   {"Bauteil.DRecordset.SetPageSize", {std::int16_t{2}}},
                                   {"Bauteil.Page.GetSavedPosition", {"", false}},
                                   {"Bauteil.DRecordset.Reset", {}},
                                   {"Bauteil.DRecordset.RestoreState", {std::int16_t{-1}, state}},
                                   {"Bauteil.DRecordset.OpenQuery", {"SELECT * FROM PROPERTY", "PROPERTYID"}}}));
  EXPECT_EQ(names_on(rows), (Array{"c"}));
}

TEST_F(PropertyList, HandsOnASizeOfZeroAndSortFieldsThatAreGiven) {
  Recorder recorder;
  const ComponentPtr rows = list(kMissing, "PROPERTYNAME DESC", 0);
  EXPECT_EQ(recorder.calls[4], (ComponentCall{"Bauteil.DRecordset.SetPageSize", {std::int16_t{0}}}));
  EXPECT_EQ(recorder.calls[5], (ComponentCall{"Bauteil.DRecordset.SetSortFields", {"PROPERTYNAME DESC"}}));
  EXPECT_EQ(names_on(rows), (Array{"c", "b", "a"}));
}

TEST_F(PropertyList, OfOneIdOrOfIdsWithTheirOwnCommasHoldsThese) {
  Recorder recorder;
  EXPECT_EQ(names_on(list(Array{2})), (Array{"a"}));
  EXPECT_EQ(names_on(list(Array{"1,", 3})), (Array{"b", "c"}));
  std::vector<Variant> statements;
  for (const ComponentCall& call : recorder.calls)
    if (call.method == "Bauteil.DRecordset.OpenQuery") statements.push_back(call.arguments[0]);
  EXPECT_EQ(statements, (std::vector<Variant>{"SELECT * FROM PROPERTY WHERE (PROPERTYID IN (2))",
                                              "SELECT * FROM PROPERTY WHERE (PROPERTYID IN (1, 3))"}));
}

TEST_F(PropertyList, ThatCannotBeOpenedIsLoggedAndRaisedWithoutAVote) {
  struct Wrong {
    std::string what;
    Variant ids;
    std::string sort_fields;
    std::int32_t page_size;
    std::int32_t number;
    std::string hexadecimal;
  };
  for (const Wrong& wrong : {
           Wrong{"two ids", Array{1, 2}, "", 2, error_number::kStatementRefused, "80040E14"},
           Wrong{"no ids", Array{}, "", 2, error_number::kStatementRefused, "80040E14"},
           Wrong{"a clause that is more than that", Array{"1) OR (1=1"}, "", 2, error_number::kStatementRefused,
                 "80040E14"},
           Wrong{"an id that is Null", Array{kNull}, "", 2, error_number::kInvalidUseOfNull, "5E"},
           Wrong{"ids that are no array", 1, "", 2, error_number::kTypeMismatch, "D"},
           Wrong{"a size beyond 16 bits", kMissing, "", 32768, error_number::kOverflow, "6"},
           Wrong{"a sort field that is none", kMissing, "COLOUR", 2, error_number::kInvalidArgument, "5"},
       }) {
    SCOPED_TRACE(wrong.what);
    Recorder recorder;
    const RaisedError raised = raised_by([&] { list(wrong.ids, wrong.sort_fields, wrong.page_size); });
    EXPECT_EQ(raised.Number, wrong.number);
    EXPECT_TRUE(raised.Description.starts_with("\r\nERROR 0x" + wrong.hexadecimal +
                                               "\r\n METHOD: Mercato.Property.GetPropertyData\r\n"));
    EXPECT_EQ(
        recorder.log,
        (Log{{raised.Source, message(wrong.hexadecimal, "Mercato.Property.GetPropertyData", raised.Description), 0}}));
    EXPECT_EQ(vote(), Vote::none);
  }
}

// The reference checker's questions

TEST_F(PropertyTest, MayAlwaysGoAsFarAsItIsAskedItself) {
  Recorder recorder;
  EXPECT_EQ(
      invoke(property_.object(), "IReferentialIntegrity_BeforeDelete", {Variant(), Array{"PROPERTYID"}, Array{1}}),
      Variant(true));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(PropertyTest, ExistsByItsKeyInAnyCaseAndUnderTheArraysOwnBounds) {
  add_property(40000, "x");
  Recorder recorder;
  EXPECT_TRUE(exists(Array{"X", "propertyId"}, Array{"1", 40000}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(exists(Array(std::vector<Variant>{"PROPERTYID"}, 3), Array(std::vector<Variant>{"9"}, 3)));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PROPERTY WHERE propertyId=40000", kIsolation,
                                             "SELECT * FROM PROPERTY WHERE PROPERTYID=9"}));
}

TEST_F(PropertyTest, WithoutItsKeyAmongTheFieldsDoesNotExistButVotesAllTheSame) {
  add_property(1, "x");
  Recorder recorder;
  for (const Array& fields : {Array{"PROPERTYNAME"}, Array{}}) {
    EXPECT_FALSE(exists(fields, Array{"x"}));
    EXPECT_EQ(vote(), Vote::commit);
  }
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(PropertyTest, AskedForByNullIsAStatementThatTheStoreRefuses) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { exists(Array{"PROPERTYID"}, Array{kNull}); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PROPERTY WHERE PROPERTYID="}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(PropertyTest, AskedForWithFewerValuesThanFieldsFails) {
  Recorder recorder;
  EXPECT_EQ(failure_of(recorder,
                       [&] {
                         exists(Array{"X", "PROPERTYID"}, Array{1});
                       }),
            customary_failure_under(9, {"Mercato.Property.Exists"}));
  EXPECT_EQ(vote(), Vote::abort);
}

// Retired

TEST_F(PropertyTest, RetiredMethodsRaiseMinusOneWithAHintAndVoteNothing) {
  for (const std::string method : {"DeleteUserProperties", "DeleteOfficeProperties"}) {
    Recorder recorder;
    const std::string hint = method + " is deprecated - don't use";
    const std::string label = "Mercato.Property." + method;
    const std::string once = message("FFFFFFFF", label, "Application-defined or object-defined error", hint);
    EXPECT_EQ(raised_by([&] { invoke(property_.object(), method, {"x"}); }), (RaisedError{-1, "Mercato", once, "", 0}));
    EXPECT_EQ(recorder.log, (Log{{"Mercato", message("FFFFFFFF", label, once, hint), 0}}));
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(vote(), Vote::none);
    EXPECT_FALSE(Property::table().find(method)->deprecated.empty());
  }
}

}  // namespace
}  // namespace mercato::test
