// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_general.h"

#include <gtest/gtest.h>

#include "frame/lib_mts.h"
#include "mercato/object_context.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"
#include "tests/values/conversions.h"

namespace mercato::test {
namespace {

TEST(GenQuoteSql, DoublesEveryQuote) {
  EXPECT_EQ(Gen_QuoteSql("O'Neil"), "O''Neil");
  EXPECT_EQ(Gen_QuoteSql("''"), "''''");
  EXPECT_EQ(Gen_QuoteSql(""), "");
  EXPECT_EQ(Gen_QuoteSql(std::string_view("a\0'b", 4)), std::string("a\0''b", 5));
  EXPECT_TRUE(Gen_QuoteSql(Variant(kNull)).is_null());
  EXPECT_EQ(Gen_QuoteSql(Variant(5)), Variant("5"));
}

TEST(GenEscapeLike, MakesWildcardsStandForThemselves) {
  EXPECT_EQ(Gen_EscapeLike("50%_[a]"), "50[%][_][[]a]");
  EXPECT_EQ(Gen_EscapeLike("[%]"), "[[][%]]");
  EXPECT_EQ(Gen_EscapeLike("O'Neil"), "O''Neil");
  EXPECT_EQ(Gen_EscapeLike("a*b"), "a*b");
  EXPECT_TRUE(Gen_EscapeLike(Variant(kNull)).is_null());
}

TEST(GenLikePattern, TakesTheAsteriskAsTheOnlyWildcard) {
  EXPECT_EQ(Gen_LikePattern("a*b"), "N'a%b'");
  EXPECT_EQ(Gen_LikePattern("a%b"), "N'a[%]b'");
  EXPECT_EQ(Gen_LikePattern("O'N*[x]_"), "N'O''N%[[]x][_]'");
  EXPECT_EQ(Gen_LikePattern(""), "N''");
}

TEST(GenSqlValue, IsTheLiteralOfEveryType) {
  const std::vector<std::pair<Variant, std::string>> cases = {
      {Variant(), "null"},
      {kNull, "null"},
      {"O'Neil", "'O''Neil'"},
      {"", "''"},
      {Date::from_civil({2026, 7, 1, 8, 30, 0}), "'7/1/2026 8:30:00 AM'"},
      {Date::from_civil({2026, 7, 1}), "'7/1/2026'"},
      {Date(), "'12/30/1899'"},
      {Date::from_civil({1899, 12, 30, 8, 30, 0}), "'12/30/1899 8:30:00 AM'"},
      {Date::from_civil({1899, 12, 29, 18, 0, 0}), "'12/29/1899 6:00:00 PM'"},
      {true, "1"},
      {false, "0"},
      {3.5, "3.5"},
      {5.0, "5"},
      {-0.0, "0"},
      {0.00001, "0.00001"},
      {1e15, "1000000000000000"},
      {1.0 / 3, "0.3333333333333333"},
      {-(0.1 + 0.2), "-0.30000000000000004"},
      {std::int16_t{-3}, "-3"},
      {70000, "70000"},
      {Currency::from_text("12.3400"), "12.34"},
  };
  for (const auto& [value, literal] : cases) EXPECT_EQ(Gen_SqlValue(value), literal);
  EXPECT_EQ(outcome_of([] { return Gen_SqlValue(Array{1}); }), "raises 13");
}

TEST(GenLookup, ComparesNamesExactly) {
  const Array fields{"a", "B", "b", "b"};
  const Array values{1, 2, 3, 4};
  EXPECT_EQ(Gen_Lookup("a", fields, values), Variant(1));
  EXPECT_EQ(Gen_Lookup("b", fields, values), Variant(3));
  EXPECT_TRUE(Gen_Lookup("A", fields, values).is_null());
  EXPECT_TRUE(Gen_Lookup("c", fields, values).is_null());
  EXPECT_TRUE(Gen_Lookup("a", Array{}, Array{}).is_null());
}

TEST(GenLookup, UsesTheArraysOwnBounds) {
  const Array fields(std::vector<Variant>{"a", "b"}, 5);
  EXPECT_EQ(Gen_Lookup("b", fields, Array(std::vector<Variant>{1, 2}, 5)), Variant(2));
  EXPECT_EQ(outcome_of([&] { return Gen_Lookup("b", fields, Array{1, 2}).to_text(); }), "raises 9");
}

// Only an index that was too large used to be refused.
TEST(GenLookup, HasAnIndexOf16BitsDownwardsToo) {
  const Array fields(std::vector<Variant>{"a", "b"}, -32769);
  const Array values(std::vector<Variant>{1, 2}, -32769);
  EXPECT_EQ(outcome_of([&] { return Gen_Lookup("b", fields, values).to_text(); }), "raises 6");
  EXPECT_EQ(Gen_Lookup("b", Array(std::vector<Variant>{"a", "b"}, -32768), Array(std::vector<Variant>{1, 2}, -32768)),
            Variant(2));
}

TEST(GenLookup, HasAnIndexOf16Bits) {
  Array fields(std::vector<Variant>{"a", "b"}, 32767);
  const Array values(std::vector<Variant>{1, 2}, 32767);
  EXPECT_EQ(Gen_Lookup("a", fields, values), Variant(1));
  EXPECT_EQ(outcome_of([&] { return Gen_Lookup("b", fields, values).to_text(); }), "raises 6");
}

TEST(GenNullToZero, ReadsEverythingElseAsADouble) {
  EXPECT_EQ(Gen_NullToZero(kNull), 0);
  EXPECT_EQ(Gen_NullToZero(Variant()), 0);
  EXPECT_EQ(Gen_NullToZero("2.5"), 2.5);
  EXPECT_EQ(Gen_NullToZero(true), -1);
  EXPECT_EQ(outcome_of([] { return std::to_string(Gen_NullToZero("abc")); }), "raises 13");
  EXPECT_EQ(outcome_of([] { return std::to_string(Gen_NullToZero("")); }), "raises 13");
}

class GenGetComponent : public StoreTest {};

TEST_F(GenGetComponent, CreatesAComponentInAnyCaseOfItsProgId) {
  const ComponentPtr unit = Gen_GetComponent("mercato.UNIT");
  EXPECT_EQ(unit->class_table().prog_id(), "Mercato.Unit");
  EXPECT_EQ(unit->context(), nullptr);
}

TEST_F(GenGetComponent, JoinsTheCallersContext) {
  const ComponentPtr root = create_root("Mercato.TUnit");
  ContextCall call(root->context());
  EXPECT_NE(Gen_GetComponent("Mercato.Product")->context(), nullptr);
}

TEST_F(GenGetComponent, NamesThePlainCreationThatFailed) {
  Recorder recorder;
  const RaisedError raised = raised_by([] { Gen_GetComponent("No.Such"); });
  const std::string once =
      message("1AD", "Lib_General.Gen_GetComponent", "Component can't create object: nobody answers to 'No.Such'",
              "CreateObject(No.Such) failed");
  EXPECT_EQ(raised, (RaisedError{429, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{
                {"Mercato", message("1AD", "Lib_General.Gen_GetComponent", once, "CreateObject(No.Such) failed"), 0}}));
}

TEST_F(GenGetComponent, NamesTheCreationInAContextThatFailed) {
  const ComponentPtr root = create_root("Mercato.TUnit");
  ContextCall call(root->context());
  EXPECT_EQ(
      raised_by([] { Gen_GetComponent("No.Such"); }).Description,
      message("1AD", "Lib_General.Gen_GetComponent", "Component can't create object: nobody answers to 'No.Such'",
              "CreateInstance(No.Such) failed.\r\nNote: Objects having 'Instancing=PublicNotCreatable' may only be "
              "instantiated with 'New', not with Gen_GetComponent()"));
}

TEST_F(GenGetComponent, VotesNothingWhenItFails) {
  const ComponentPtr root = create_root("Mercato.TUnit");
  ContextCall call(root->context());
  raised_by([] { Gen_GetComponent("No.Such"); });
  EXPECT_EQ(root->context()->last_vote(), Vote::none);
}

TEST_F(GenGetComponent, HasItsVotesBesideIt) {
  Mts_SetComplete();  // outside of the transaction server votes do nothing
  Mts_SetAbort();
  const ComponentPtr root = create_root("Mercato.TUnit");
  ContextCall call(root->context());
  Mts_SetComplete();
  EXPECT_EQ(root->context()->last_vote(), Vote::commit);
  Mts_SetAbort();
  EXPECT_EQ(root->context()->last_vote(), Vote::abort);
}

}  // namespace
}  // namespace mercato::test
