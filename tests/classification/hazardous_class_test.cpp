// SPDX-License-Identifier: Apache-2.0
#include "mercato/hazardous_class.h"

#include <gtest/gtest.h>

#include "frame/lib_error_handling.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/t_hazardous_class.h"
#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

// The reading half

class HazardousClassTest : public StoreTest {
 protected:
  void add_class(const std::string& code, const std::string& description) const {
    execute(
        {"INSERT INTO HAZARDOUSCLASS (CLASSCODE, CLASSDESCRIPTION) VALUES (N'" + code + "', N'" + description + "')"});
  }

  Root<HazardousClass> hazardous_class_;
};

TEST_F(HazardousClassTest, AllClassesOfAnEmptyTableAreNone) {
  Recorder recorder;
  EXPECT_EQ(hazardous_class_->GetAllHazardousClass()->Count(), 0);
  EXPECT_EQ(recorder.statements, Statements{"SELECT CLASSCODE FROM HAZARDOUSCLASS"});
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(HazardousClassTest, AllClassesHaveTheCodeAsKeyAndAsItem) {
  add_class("3", "flammable");
  add_class("8", "corrosive");
  const DictionaryPtr classes = hazardous_class_->GetAllHazardousClass();
  EXPECT_EQ(classes->Count(), 2);
  EXPECT_EQ(classes->Item("3"), Variant("3"));
  EXPECT_EQ(classes->Item("8"), Variant("8"));
  EXPECT_EQ(hazardous_class_.context().vote_of_last_call(), Vote::none);
}

TEST_F(HazardousClassTest, AllClassesThatCannotBeReadAreLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "FROM HAZARDOUSCLASS";
  const std::string label = "Mercato.HazardousClass.getAllHazardousClass";
  const std::string once = message("80040E14", label, kRefused);
  EXPECT_EQ(raised_by([&] { hazardous_class_->GetAllHazardousClass(); }),
            (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Test", message("80040E14", label, once), 0}}));
}

TEST_F(HazardousClassTest, OnlyADescriptionLeadsToTheCode) {
  add_class("3", "flammable");
  add_class("O''N", "one''s own – äöü 日本");
  EXPECT_EQ(hazardous_class_->getHazardousClassFromDescription("flammable"), "3");
  EXPECT_EQ(hazardous_class_->getHazardousClassFromDescription("3"), "");
  EXPECT_EQ(hazardous_class_->getHazardousClassFromDescription("one's own – äöü 日本"), "O'N");
  EXPECT_EQ(hazardous_class_->getHazardousClassFromDescription(""), "");
}

TEST_F(HazardousClassTest, AQuoteIsDoubledInTheLookup) {
  Recorder recorder;
  hazardous_class_->getHazardousClassFromDescription("O'N");
  EXPECT_EQ(recorder.statements, Statements{"SELECT CLASSCODE FROM HAZARDOUSCLASS WHERE CLASSDESCRIPTION = N'O''N'"});
}

TEST_F(HazardousClassTest, ALookupThatFailsIsLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "FROM HAZARDOUSCLASS";
  const std::string label = "Mercato.HazardousClass.getHazardousClassFromDescription";
  const std::string once = message("80040E14", label, kRefused);
  EXPECT_EQ(raised_by([&] { hazardous_class_->getHazardousClassFromDescription("x"); }),
            (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Test", message("80040E14", label, once), 0}}));
  EXPECT_EQ(hazardous_class_.context().vote_of_last_call(), Vote::none);
}

TEST_F(HazardousClassTest, HasNoQuestionsOfReferentialIntegrity) {
  EXPECT_TRUE(HazardousClass::table().implements().empty());
  EXPECT_EQ(raised_by([&] {
              invoke(hazardous_class_.object(), "IReferentialIntegrity_Exists", {1, Array{}, Array{}});
            }).Number,
            error_number::kNoSuchMethod);
}

// The writing half

class THazardousClassTest : public HazardousClassTest {
 protected:
  bool remove(std::string code) { return t_class_->Delete(code); }
  Vote vote() const { return t_class_.context().vote_of_last_call(); }

  Root<THazardousClass> t_class_;
};

TEST_F(THazardousClassTest, AnUnusedClassIsDeletedAndNoCheckerIsAsked) {
  add_class("O''N", "own");
  add_class("3", "flammable");
  Recorder recorder;
  EXPECT_TRUE(remove("O'N"));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PRODUCT WHERE CLASSCODE = N'O''N'",
                                             "DELETE FROM HAZARDOUSCLASS WHERE CLASSCODE = N'O''N'"}));
  EXPECT_EQ(recorder.calls,
            (std::vector<ComponentCall>{{"Grundwerk.Configuration.PrepareConnections", {false}},
                                        {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}}}));
  EXPECT_EQ(rows("SELECT CLASSCODE FROM HAZARDOUSCLASS"), (std::vector<std::vector<Variant>>{{"3"}}));
}

TEST_F(THazardousClassTest, AClassThatAProductUsesIsNotDeletedAndNothingIsRaisedOrLogged) {
  add_class("3", "flammable");
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, CLASSCODE) VALUES ('P', 'D', '3')"});
  const auto before = all_rows();
  Recorder recorder;
  EXPECT_FALSE(remove("3"));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(recorder.statements, (Statements{kIsolation, "SELECT * FROM PRODUCT WHERE CLASSCODE = N'3'"}));
  EXPECT_EQ(all_rows(), before);
}

TEST_F(THazardousClassTest, AnUnknownClassIsRaised) {
  Recorder recorder;
  const std::string label = "Mercato.THazardousClass.Delete";
  const std::string once = message("800400D6", label, "HazardousClass not found");
  EXPECT_EQ(raised_by([&] { remove("XX"); }), (RaisedError{eHazardousClassNotFound, label, once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{label, message("800400D6", label, once), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(THazardousClassTest, ADeleteThatFailsIsLoggedAndRaisedWithAnAbortVote) {
  add_class("3", "flammable");
  Recorder recorder;
  recorder.fail_on = "DELETE";
  EXPECT_EQ(raised_by([&] { remove("3"); }),
            (RaisedError{error_number::kStatementRefused, "Test",
                         message("80040E14", "Mercato.THazardousClass.Delete", kRefused), "", 0}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM HAZARDOUSCLASS"), Variant(1));
}

// More deleted rows than 16 bits can count, which takes a table without its key.
TEST_F(THazardousClassTest, MoreRowsThan16BitsCountAreNotDeleted) {
  execute({"DROP TABLE HAZARDOUSCLASS",
           "CREATE TABLE HAZARDOUSCLASS (CLASSCODE nvarchar(20) NOT NULL, CLASSDESCRIPTION nvarchar(50) NULL)",
           "CREATE TABLE DIGIT (N int NOT NULL)"});
  for (int digit = 0; digit < 32; ++digit) execute({"INSERT DIGIT (N) VALUES (" + std::to_string(digit) + ")"});
  execute({"INSERT HAZARDOUSCLASS (CLASSCODE) SELECT N'3' FROM DIGIT A, DIGIT B, DIGIT C"});
  const std::string label = "Mercato.THazardousClass.Delete";
  Recorder recorder;
  const std::string once = message("6", label, "Overflow");
  EXPECT_EQ(raised_by([&] { remove("3"); }), (RaisedError{error_number::kOverflow, "Mercato", once, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Mercato", message("6", label, once), 0}}));
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(t_class_.context().outcome_of_last_call(), Outcome::rolledback);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM HAZARDOUSCLASS"), Variant(32768));
}

TEST_F(THazardousClassTest, ACheckOfTheProductsThatFailsIsLoggedAtBothLevels) {
  Recorder recorder;
  recorder.fail_on = "FROM PRODUCT";
  const std::string check = "Mercato.THazardousClass.canDeleteHazardousClass";
  const std::string inner = message("80040E14", check, kRefused);
  const std::string outer = message("80040E14", "Mercato.THazardousClass.Delete", inner);
  EXPECT_EQ(raised_by([&] { remove("3"); }), (RaisedError{error_number::kStatementRefused, "Test", outer, "", 0}));
  EXPECT_EQ(recorder.log, (std::vector<LogEntry>{
                              {"Test", message("80040E14", check, inner), 0},
                              {"Test", message("80040E14", "Mercato.THazardousClass.Delete", outer), 0},
                          }));
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(THazardousClassTest, QuestionsOfReferentialIntegrityAreAnsweredNoAtOnce) {
  add_class("3", "flammable");
  Recorder recorder;
  for (const char* question : {"IReferentialIntegrity_BeforeDelete", "IReferentialIntegrity_Exists"})
    EXPECT_EQ(invoke(t_class_.object(), question, {Variant(), Array{"CLASSCODE"}, Array{"3"}}), Variant(false))
        << question;
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(THazardousClassTest, NoTextChangesWhatADeleteDoes) {
  add_class("3", "flammable");
  const auto before = all_rows();
  for (const std::string& text :
       {std::string("' OR '1'='1"), std::string("'; DELETE FROM HAZARDOUSCLASS; --"), std::string("''"),
        std::string("\xFF'"), std::string("a\0b", 3), std::string(65536, '\'')}) {
    EXPECT_NE(raised_by([&] { remove(text); }).Number, 0);
    EXPECT_EQ(vote(), Vote::abort);
    try {
      EXPECT_EQ(hazardous_class_->getHazardousClassFromDescription(text), "");
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
    }
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
