// SPDX-License-Identifier: Apache-2.0
#include "mercato/unit.h"

#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/t_unit.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

// The reading half

class UnitTest : public StoreTest {
 protected:
  void add_unit(const std::string& code, const std::string& description) const {
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('" + code + "', '" + description + "')"});
  }
  std::string code_of(std::string text) { return unit_->getUnitCodeFromDescription(text); }

  Root<Unit> unit_;
};

TEST_F(UnitTest, AllUnitsOfAnEmptyTableAreNone) {
  Recorder recorder;
  EXPECT_EQ(unit_->GetAllUnits()->Count(), 0);
  EXPECT_EQ(recorder.statements, Statements{"SELECT UNITCODE FROM UNIT"});
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnitTest, AllUnitsHaveTheCodeAsKeyAndAsItem) {
  add_unit("EA", "each");
  add_unit("BX", "box");
  const DictionaryPtr units = unit_->GetAllUnits();
  EXPECT_EQ(units->Count(), 2);
  EXPECT_EQ(units->Item("EA"), Variant("EA"));
  EXPECT_EQ(units->Item("BX"), Variant("BX"));
  EXPECT_EQ(unit_.context().vote_of_last_call(), Vote::none);
  EXPECT_EQ(unit_.context().outcome_of_last_call(), Outcome::none);
}

TEST_F(UnitTest, AllUnitsThatCannotBeReadAreLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  const std::string once = message("80040E14", "Mercato.Unit.getAllUnits", kRefused);
  EXPECT_EQ(raised_by([&] { unit_->GetAllUnits(); }),
            (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Test", message("80040E14", "Mercato.Unit.getAllUnits", once), 0}}));
  EXPECT_EQ(unit_.context().vote_of_last_call(), Vote::none);
}

TEST_F(UnitTest, ACodeOrADescriptionLeadsToTheCode) {
  add_unit("EA", "each");
  add_unit("O''N", "one''s own");
  EXPECT_EQ(code_of("EA"), "EA");
  EXPECT_EQ(code_of("each"), "EA");
  EXPECT_EQ(code_of("O'N"), "O'N");
  EXPECT_EQ(code_of("one's own"), "O'N");
  EXPECT_EQ(code_of("unknown"), "");
  EXPECT_EQ(code_of(""), "");
}

TEST_F(UnitTest, AQuoteIsDoubledInTheLookup) {
  Recorder recorder;
  code_of("O'N");
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT UNITCODE FROM UNIT WHERE UNITCODE='O''N' OR UNITDESCRIPTION = 'O''N'"});
}

TEST_F(UnitTest, ADescriptionOfTwoUnitsLeadsToOneOfThem) {
  add_unit("EA", "piece");
  add_unit("PC", "piece");
  const std::string code = code_of("piece");
  EXPECT_TRUE(code == "EA" || code == "PC") << code;
}

TEST_F(UnitTest, ALookupThatFailsIsLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  const std::string once = message("80040E14", "Mercato.Unit.getUnitCodeFromDescription", kRefused);
  EXPECT_EQ(raised_by([&] { code_of("x"); }), (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Test", message("80040E14", "Mercato.Unit.getUnitCodeFromDescription", once), 0}}));
}

TEST_F(UnitTest, RetiredMethodsRaiseMinusOneAndLogButVoteNothing) {
  struct Retired {
    std::string method;
    std::vector<Variant> arguments;
    std::string text;
  };
  for (const Retired& retired : {
           Retired{"Delete", {"EA"}, "This method is depricated, Use Mercato.TUnit.Delete"},
           Retired{"IReferentialIntegrity_BeforeDelete",
                   {Variant(), Array{"UNITCODE"}, Array{"EA"}},
                   "This method is depricated, Use Mercato.TUnit.IReferentialIntegrity_BeforeDelete"},
           Retired{"IReferentialIntegrity_Exists",
                   {Variant(), Array{"UNITCODE"}, Array{"EA"}},
                   "This method is depricated, Use Mercato.TUnit.Exists"},
       }) {
    Recorder recorder;
    std::vector<Variant> arguments = retired.arguments;
    const std::string once = "\r\nERROR 0xFFFFFFFF\r\n METHOD: " + retired.text +
                             "\r\n DESC: Application-defined or object-defined error.\r\n";
    EXPECT_EQ(raised_by([&] { invoke(unit_.object(), retired.method, arguments); }),
              (RaisedError{-1, "Mercato", once, "", 0}));
    EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato", message("FFFFFFFF", retired.text, once), 0}}));
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(unit_.context().vote_of_last_call(), Vote::none);
  }
}

// The writing half

class TUnitTest : public UnitTest {
 protected:
  bool remove(std::string code) { return t_unit_->Delete(code); }
  Vote vote() const { return t_unit_.context().vote_of_last_call(); }
  bool exists(const Array& fields, const Array& values) {
    return invoke(t_unit_.object(), "IReferentialIntegrity_Exists", {Variant(), fields, values}).to_boolean();
  }

  Root<TUnit> t_unit_;
};

TEST_F(TUnitTest, AnUnusedUnitIsDeleted) {
  add_unit("O''N", "own");
  add_unit("EA", "each");
  Recorder recorder;
  EXPECT_TRUE(remove("O'N"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PRODUCT WHERE UNITCODE = 'O''N'",
                                             "DELETE FROM UNIT WHERE UNITCODE = 'O''N'"}));
  EXPECT_EQ(recorder.calls,
            (std::vector<ComponentCall>{{"Grundwerk.ReferentialChecker.CheckBeforeDelete",
                                         {"Mercato", "UNIT", Array{"UNITCODE"}, Array{"O'N"}}},
                                        {"Grundwerk.Configuration.PrepareConnections", {false}},
                                        {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}}}));
  EXPECT_EQ(rows("SELECT UNITCODE FROM UNIT"), (std::vector<std::vector<Variant>>{{"EA"}}));
}

TEST_F(TUnitTest, AUnitThatAProductUsesIsNotDeletedAndNothingIsRaisedOrLogged) {
  add_unit("EA", "each");
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE) VALUES ('P', 'D', 'EA')"});
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(remove("EA"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_TRUE(recorder.statements.empty());  // the checker has refused already
  EXPECT_EQ(all_rows(), before);
}

TEST_F(TUnitTest, AUnitThatAProductUsesIsNotDeletedEvenIfTheCheckerAgrees) {
  add_unit("EA", "each");
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE) VALUES ('P', 'D', 'EA')"});
  const auto before = all_rows();
  Recorder recorder;
  recorder.answers["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = true;
  EXPECT_FALSE(remove("EA"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PRODUCT WHERE UNITCODE = 'EA'"}));
  EXPECT_EQ(all_rows(), before);
}

TEST_F(TUnitTest, AnUnknownUnitIsRaisedUnderTheNameOfTheReadingHalf) {
  Recorder recorder;
  const std::string once = message("800400CB", "Mercato.Unit.Delete", "Unit not found");
  EXPECT_EQ(raised_by([&] { remove("XX"); }), (RaisedError{eUnitNotFound, "Mercato.Unit.Delete", once, "", 0}));
  EXPECT_EQ(recorder.log,
            (std::vector<LogEntry>{{"Mercato.Unit.Delete", message("800400CB", "Mercato.Unit.Delete", once), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(TUnitTest, ADeleteThatFailsIsLoggedAndRaisedWithAnAbortVote) {
  add_unit("EA", "each");
  Recorder recorder;
  recorder.fail_on = "DELETE";
  EXPECT_EQ(raised_by([&] { remove("EA"); }),
            (RaisedError{error_number::kStatementRefused, "Test", message("80040E14", "Mercato.Unit.Delete", kRefused),
                         "", 0}));
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNIT"), Variant(1));
}

// More deleted rows than 16 bits can count, which takes a table without its key.
TEST_F(TUnitTest, MoreRowsThan16BitsCountAreNotDeleted) {
  execute({"DROP TABLE UNIT", "CREATE TABLE UNIT (UNITCODE nvarchar(20) NOT NULL, UNITDESCRIPTION nvarchar(50) NULL)",
           "CREATE TABLE DIGIT (N int NOT NULL)"});
  for (int digit = 0; digit < 32; ++digit) execute({"INSERT DIGIT (N) VALUES (" + std::to_string(digit) + ")"});
  execute({"INSERT UNIT (UNITCODE) SELECT 'EA' FROM DIGIT A, DIGIT B, DIGIT C",
           "INSERT UNIT (UNITCODE) SELECT 'BX' FROM DIGIT A, DIGIT B, DIGIT C WHERE A.N + B.N + C.N > 0"});
  Recorder recorder;
  const std::string once = message("6", "Mercato.Unit.Delete", "Overflow");
  EXPECT_EQ(raised_by([&] { remove("EA"); }), (RaisedError{error_number::kOverflow, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato", message("6", "Mercato.Unit.Delete", once), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(t_unit_.context().outcome_of_last_call(), Outcome::rolledback);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNIT WHERE UNITCODE = 'EA'"), Variant(32768));
  EXPECT_TRUE(remove("BX"));
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNIT"), Variant(32768));
}

TEST_F(TUnitTest, ACheckOfTheProductsThatFailsIsLoggedAtBothLevels) {
  Recorder recorder;
  recorder.answers["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = true;
  recorder.fail_on = "FROM PRODUCT";
  const std::string inner = message("80040E14", "Mercato.Unit.canDeleteUnit", kRefused);
  const std::string outer = message("80040E14", "Mercato.Unit.Delete", inner);
  EXPECT_EQ(raised_by([&] { remove("EA"); }), (RaisedError{error_number::kStatementRefused, "Test", outer, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{
                              {"Test", message("80040E14", "Mercato.Unit.canDeleteUnit", inner), 0},
                              {"Test", message("80040E14", "Mercato.Unit.Delete", outer), 0},
                          }));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(TUnitTest, ACheckerThatFailsIsTheFailureOfTheDelete) {
  Recorder recorder;
  recorder.failures["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = {70, "Checker", "not now", "", 0};
  EXPECT_EQ(raised_by([&] { remove("EA"); }),
            (RaisedError{70, "Checker", message("46", "Mercato.Unit.Delete", "not now"), "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(TUnitTest, AnythingMayGoBeforeAUnitIsDeleted) {
  Recorder recorder;
  EXPECT_EQ(invoke(t_unit_.object(), "IReferentialIntegrity_BeforeDelete", {Variant(), Array{"UNITCODE"}, Array{"EA"}}),
            Variant(true));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(TUnitTest, AUnitExistsByItsKeyInAnyCase) {
  add_unit("EA", "each");
  Recorder recorder;
  EXPECT_TRUE(exists(Array{"X", "unitCode"}, Array{"1", "EA"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(exists(Array{"UNITCODE"}, Array{"O'N"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT UNITCODE FROM UNIT WHERE UNITCODE = 'EA'", kIsolation,
                                             "SELECT UNITCODE FROM UNIT WHERE UNITCODE = 'O''N'"}));
}

TEST_F(TUnitTest, AskedForNullAUnitOfTheEmptyCodeIsLookedFor) {
  add_unit("EA", "each");
  Recorder recorder;
  EXPECT_FALSE(exists(Array{"UNITCODE"}, Array{kNull}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT UNITCODE FROM UNIT WHERE UNITCODE = ''"}));
  EXPECT_TRUE(recorder.log.empty());
  add_unit("", "none");
  EXPECT_TRUE(exists(Array{"UNITCODE"}, Array{kNull}));
}

TEST_F(TUnitTest, AUnitExistsUnderTheArraysOwnBounds) {
  add_unit("EA", "each");
  EXPECT_TRUE(exists(Array(std::vector<Variant>{"X", "UNITCODE"}, 1), Array(std::vector<Variant>{"1", "EA"}, 1)));
}

TEST_F(TUnitTest, WithoutItsKeyAmongTheFieldsAUnitDoesNotExist) {
  add_unit("EA", "each");
  Recorder recorder;
  EXPECT_FALSE(exists(Array{"UNITDESCRIPTION"}, Array{"each"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(exists(Array{}, Array{}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(TUnitTest, AQuestionForExistenceThatFailsIsLoggedAndRaisedWithAnAbortVote) {
  Recorder recorder;
  recorder.fail_on = "FROM UNIT";
  EXPECT_EQ(raised_by([&] { exists(Array{"UNITCODE"}, Array{"EA"}); }),
            (RaisedError{error_number::kStatementRefused, "Test", message("80040E14", "Mercato.Unit.Exists", kRefused),
                         "", 0}));
  EXPECT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(TUnitTest, NoTextChangesWhatADeleteDoes) {
  add_unit("EA", "each");
  const auto before = all_rows();
  for (const std::string& text : {std::string("' OR '1'='1"), std::string("'; DELETE FROM UNIT; --"), std::string("''"),
                                  std::string("\xFF'"), std::string("a\0b", 3), std::string(65536, '\'')}) {
    EXPECT_NE(raised_by([&] { remove(text); }).Number, 0);
    EXPECT_EQ(vote(), Vote::abort);
    try {
      EXPECT_EQ(code_of(text), "");
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
    }
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
