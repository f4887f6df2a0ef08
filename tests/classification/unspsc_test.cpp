// SPDX-License-Identifier: Apache-2.0
#include "mercato/unspsc.h"

#include <gtest/gtest.h>

#include "tests/classification/unspsc_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

// The reading half

class UnspscReading : public UnspscTest {
 protected:
  void SetUp() override {
    UnspscTest::SetUp();
    add_code("20", "Mining");
    add_code("10", "Plants");
    add_code("1010", "Live animals");
    add_code("101015", "Livestock");
    add_code("2011", "Drilling");
  }
  using Listed = std::vector<std::pair<std::string, std::string>>;
  Listed listed(std::int16_t level, const std::string& parent) {
    Listed all;
    unspsc_->GetAllUNSPSCCodes(level, parent)->for_each([&](const Variant& code, const Variant& description) {
      all.emplace_back(code.to_text(), description.to_text());
    });
    return all;
  }
  std::string description(std::string code) { return unspsc_->getUNSPSCDescription(code); }
  bool exists(std::string code) { return unspsc_->IsUNSPSCCodeExists(code); }

  Root<UNSPSC> unspsc_;
};

TEST_F(UnspscReading, TopLevelIsListedByItsTwoDigits) {
  Recorder recorder;
  EXPECT_EQ(listed(1, ""), (Listed{{"10", "Plants"}, {"20", "Mining"}}));
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 1 ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE"});
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(unspsc_.context().vote_of_last_call(), Vote::none);
  EXPECT_EQ(unspsc_.context().outcome_of_last_call(), Outcome::none);
}

TEST_F(UnspscReading, LowerLevelsAreListedByFullCodesWholeOrBelowOneParent) {
  Recorder recorder;
  EXPECT_EQ(listed(2, ""), (Listed{{"1010", "Live animals"}, {"2011", "Drilling"}}));
  EXPECT_EQ(listed(2, "20"), (Listed{{"2011", "Drilling"}}));
  EXPECT_EQ(listed(3, "1010"), (Listed{{"101015", "Livestock"}}));
  EXPECT_EQ(listed(2, "30"), Listed{});
  EXPECT_EQ(listed(-1, ""), Listed{});
  EXPECT_EQ(
      recorder.statements,
      (Statements{"SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE",
                  "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '20' ORDER BY LEVELNUMBER, "
                  "PARENTCODE, UNSPSCCODE",
                  "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 3 AND PARENTCODE = '1010' ORDER BY LEVELNUMBER, "
                  "PARENTCODE, UNSPSCCODE",
                  "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '30' ORDER BY LEVELNUMBER, "
                  "PARENTCODE, UNSPSCCODE",
                  "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = -1 ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE"}));
}

TEST_F(UnspscReading, ParentWithBlanksAtItsEndsIsTrimmedInTheKeyAndADescriptionMayBeNull) {
  execute({"INSERT INTO UNSPSCCODES VALUES (' 30 ', '11', 2, NULL)"});
  const DictionaryPtr codes = unspsc_->GetAllUNSPSCCodes(2, " 30");
  ASSERT_TRUE(codes->Exists("3011"));
  EXPECT_TRUE(codes->Item("3011").is_null());
}

TEST_F(UnspscReading, ParentWithAQuoteIsRefusedByTheStoreAndLogged) {
  Recorder recorder;
  const RaisedError failure = raised_by([&] { listed(2, "1'0"); });
  EXPECT_EQ(failure.Number, error_number::kStatementRefused);
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0].text, message("80040E14", "Mercato.UNSPSC.getAllUNSPSCCodes", failure.Description));
  EXPECT_EQ(recorder.statements,
            Statements{"SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '1'0' ORDER BY LEVELNUMBER, "
                       "PARENTCODE, UNSPSCCODE"});
  EXPECT_EQ(unspsc_.context().vote_of_last_call(), Vote::none);
}

TEST_F(UnspscReading, ListThatFailsIsLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "FROM UNSPSCCodes";
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.UNSPSC.getAllUNSPSCCodes"}});
  EXPECT_EQ(raised_by([&] { listed(1, ""); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(UnspscReading, DescriptionIsThatOfTheFullCode) {
  Recorder recorder;
  EXPECT_EQ(description("101015"), "Livestock");
  EXPECT_EQ(description("10"), "Plants");  // an empty parent lists the whole level, and the code is in it
  EXPECT_EQ(description("11"), "");
  EXPECT_TRUE(exists("1010"));
  EXPECT_FALSE(exists("1011"));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 3 AND PARENTCODE = '1010' ORDER BY LEVELNUMBER, "
                        "PARENTCODE, UNSPSCCODE",
                        "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 1 ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE",
                        "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 1 ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE",
                        "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '10' ORDER BY LEVELNUMBER, "
                        "PARENTCODE, UNSPSCCODE",
                        "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '10' ORDER BY LEVELNUMBER, "
                        "PARENTCODE, UNSPSCCODE"}));
}

TEST_F(UnspscReading, EmptyCodeHasNothingAndDoesNotReachTheStore) {
  Recorder recorder;
  EXPECT_EQ(description(""), "");
  EXPECT_FALSE(exists(""));
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(UnspscReading, HalfALevelGoesToTheEvenNeighbour) {
  Recorder recorder;
  EXPECT_FALSE(exists("101"));
  EXPECT_FALSE(exists("10101"));
  EXPECT_EQ(recorder.statements,
            (Statements{"SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '1' ORDER BY LEVELNUMBER, "
                        "PARENTCODE, UNSPSCCODE",
                        "SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = 2 AND PARENTCODE = '101' ORDER BY LEVELNUMBER, "
                        "PARENTCODE, UNSPSCCODE"}));
}

TEST_F(UnspscReading, CodeOfOneCharacterOrOfTooManyFailsUnlogged) {
  Recorder recorder;
  for (const std::string text : {"1", "x", "é"}) {
    EXPECT_EQ(raised_by([&] { exists(text); }).Number, error_number::kInvalidArgument) << text;
    EXPECT_EQ(raised_by([&] { description(text); }).Number, error_number::kInvalidArgument) << text;
  }
  EXPECT_EQ(raised_by([&] { exists(std::string(65536, '1')); }).Number, error_number::kOverflow);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnspscReading, NullForADescriptionIsNoText) {
  execute({"INSERT INTO UNSPSCCODES VALUES ('', '30', 1, NULL)"});
  EXPECT_TRUE(exists("30"));
  EXPECT_EQ(raised_by([&] { description("30"); }).Number, error_number::kInvalidUseOfNull);
}

TEST_F(UnspscReading, LookupThatFailsPassesAsItIs) {
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.UNSPSC.getAllUNSPSCCodes"}});
  for (const bool asks_for_description : {true, false}) {
    Recorder recorder;
    recorder.fail_on = "FROM UNSPSCCodes";
    EXPECT_EQ(raised_by([&] { asks_for_description ? (void)description("10") : (void)exists("10"); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
  }
}

TEST_F(UnspscReading, ChildrenAreFoundAtAnyDepth) {
  execute({"DELETE FROM UNSPSCCODES WHERE PARENTCODE = '10'"});
  Recorder recorder;
  EXPECT_TRUE(unspsc_->CheckifChildExists("10"));  // only 101015 is left below it
  EXPECT_TRUE(unspsc_->CheckifChildExists("1010"));
  EXPECT_FALSE(unspsc_->CheckifChildExists("101015"));
  EXPECT_FALSE(unspsc_->CheckifChildExists("2011"));
  EXPECT_TRUE(unspsc_->CheckifChildExists(""));
  EXPECT_FALSE(unspsc_->CheckifChildExists("_0"));
  EXPECT_FALSE(unspsc_->CheckifChildExists("1'0"));
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '10%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '1010%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '101015%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '2011%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '[_]0%'",
                                             "SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '1''0%'"}));
  EXPECT_EQ(unspsc_.context().vote_of_last_call(), Vote::none);
}

TEST_F(UnspscReading, QuestionForChildrenThatFailsIsLoggedAndRaised) {
  Recorder recorder;
  recorder.fail_on = "LIKE";
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.UNSPSC.CheckifChildExists"}});
  EXPECT_EQ(raised_by([&] { unspsc_->CheckifChildExists("10"); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
}

TEST_F(UnspscReading, RetiredMethodsRaiseMinusOneAndLogButVoteNothing) {
  struct Retired {
    std::string method;
    std::vector<Variant> arguments;
    std::string text;
  };
  for (const Retired& retired : {
           Retired{"Delete", {"10"}, "This method is depricated, Use Mercato.TUNSPSC.Delete"},
           Retired{"IReferentialIntegrity_BeforeDelete",
                   {Variant(), Array{"UNSPSCCODE"}, Array{"10"}},
                   "This method is depricated, Use Mercato.TUNSPSC.IReferentialIntegrity_BeforeDelete"},
           Retired{"IReferentialIntegrity_Exists",
                   {Variant(), Array{"UNSPSCCODE"}, Array{"10"}},
                   "This method is depricated, Use Mercato.TUNSPSC.Exists"},
       }) {
    Recorder recorder;
    std::vector<Variant> arguments = retired.arguments;
    const FailureTrail expected =
        trail({-1, "Mercato", "Application-defined or object-defined error", "", 0}, {{retired.text}});
    EXPECT_EQ(raised_by([&] { invoke(unspsc_.object(), retired.method, arguments); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_EQ(unspsc_.context().vote_of_last_call(), Vote::none);
  }
}

// The writing half

class UnspscWriting : public UnspscReading {
 protected:
  bool remove(std::string code) { return t_unspsc_->Delete(code); }
  Vote vote() const { return t_unspsc_.context().vote_of_last_call(); }
  bool there(const Array& fields, const Array& values) {
    return invoke(t_unspsc_.object(), "IReferentialIntegrity_Exists", {Variant(), fields, values}).to_boolean();
  }

  Root<TUNSPSC> t_unspsc_;
};

TEST_F(UnspscWriting, CodeIsDeletedAndWhatIsBelowItStays) {
  Recorder recorder;
  EXPECT_TRUE(remove(" 1010 "));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_EQ(t_unspsc_.context().outcome_of_last_call(), Outcome::committed);
  EXPECT_EQ(recorder.statements, Statements{"DELETE FROM UNSPSCCODES WHERE PARENTCODE = '10' and UNSPSCCODE = '10'"});
  EXPECT_EQ(recorder.calls,
            (std::vector<ComponentCall>{{"Grundwerk.ReferentialChecker.CheckBeforeDelete",
                                         {"Mercato", "UNSPSCCodes", Array{"UNSPSCCode"}, Array{" 1010 "}}},
                                        {"Grundwerk.Configuration.PrepareConnections", {false}},
                                        {"Grundwerk.Configuration.GetConnectionStringOf", {"Mercato"}}}));
  EXPECT_FALSE(exists("1010"));
  EXPECT_TRUE(exists("101015"));
}

TEST_F(UnspscWriting, CodeOfTheTopLevelHasAnEmptyParent) {
  Recorder recorder;
  EXPECT_TRUE(remove("20"));
  EXPECT_EQ(recorder.statements, Statements{"DELETE FROM UNSPSCCODES WHERE PARENTCODE = '' and UNSPSCCODE = '20'"});
  EXPECT_FALSE(exists("20"));
  EXPECT_TRUE(exists("2011"));
}

TEST_F(UnspscWriting, CodeThatSomethingRefersToStaysAndNothingIsRaisedOrLogged) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('P', 'D', '101015')",
           "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES ('C', '2011')"});
  const auto before = all_rows();
  for (const std::string code : {"101015", "2011"}) {
    Recorder recorder;
    EXPECT_FALSE(remove(code));
    EXPECT_EQ(vote(), Vote::abort);
    EXPECT_EQ(t_unspsc_.context().outcome_of_last_call(), Outcome::rolledback);
    EXPECT_TRUE(recorder.statements.empty());
    EXPECT_TRUE(recorder.log.empty());
  }
  EXPECT_EQ(all_rows(), before);
}

// A code is deleted without the blanks around it, but references to it used to be looked for with them: a code in use
// was deleted.
TEST_F(UnspscWriting, CodeThatSomethingRefersToStaysAlsoWithBlanksAroundIt) {
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNSPSCCODE) VALUES ('P', 'D', '101015')"});
  for (const std::string code : {" 101015", "101015 ", "  101015  "}) {
    EXPECT_FALSE(remove(code));
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_TRUE(exists("101015"));
  execute({"UPDATE PRODUCT SET UNSPSCCODE = ' 101015'"});
  EXPECT_FALSE(remove(" 101015"));
  EXPECT_TRUE(exists("101015"));
}

TEST_F(UnspscWriting, UnknownCodeIsRaisedAsNotFound) {
  Recorder recorder;
  const FailureTrail expected = trail({eUNSPSCCodeNotFound, "Mercato.UNSPSCCode.Delete", "UNSPSCCode not found", "", 0},
                                      {{"Mercato.UNSPSCCode.Delete"}});
  for (const std::string code : {"30", "10101", "", "1"}) EXPECT_EQ(raised_by([&] { remove(code); }), expected.raised);
  EXPECT_EQ(recorder.statements, (Statements{"DELETE FROM UNSPSCCODES WHERE PARENTCODE = '' and UNSPSCCODE = '30'",
                                             "DELETE FROM UNSPSCCODES WHERE PARENTCODE = '101' and UNSPSCCODE = '01'",
                                             "DELETE FROM UNSPSCCODES WHERE PARENTCODE = '' and UNSPSCCODE = ''",
                                             "DELETE FROM UNSPSCCODES WHERE PARENTCODE = '' and UNSPSCCODE = '1'"}));
  ASSERT_EQ(recorder.log.size(), 4u);
  EXPECT_EQ(recorder.log[0], expected.log[0]);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(UnspscWriting, ParentIsQuotedAndTheSegmentIsNot) {
  Recorder recorder;
  EXPECT_EQ(raised_by([&] { remove("1'10"); }).Number, eUNSPSCCodeNotFound);
  EXPECT_EQ(raised_by([&] { remove("101'"); }).Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements, (Statements{"DELETE FROM UNSPSCCODES WHERE PARENTCODE = '1''' and UNSPSCCODE = '10'",
                                             "DELETE FROM UNSPSCCODES WHERE PARENTCODE = '10' and UNSPSCCODE = '1''"}));
}

TEST_F(UnspscWriting, DeleteThatFailsIsLoggedAndRaisedWithAnAbortVote) {
  Recorder recorder;
  recorder.fail_on = "DELETE";
  const FailureTrail expected = trail(refused_on_request(), {{"Mercato.UNSPSCCode.Delete"}});
  EXPECT_EQ(raised_by([&] { remove("10"); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  recorder.failures["Grundwerk.ReferentialChecker.CheckBeforeDelete"] = {70, "Checker", "not now", "", 0};
  EXPECT_EQ(raised_by([&] { remove("10"); }),
            trail({70, "Checker", "not now", "", 0}, {{"Mercato.UNSPSCCode.Delete"}}).raised);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(UnspscWriting, AnythingMayGoBeforeACodeIsDeleted) {
  Recorder recorder;
  EXPECT_EQ(
      invoke(t_unspsc_.object(), "IReferentialIntegrity_BeforeDelete", {Variant(), Array{"UNSPSCCODE"}, Array{"10"}}),
      Variant(true));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
}

TEST_F(UnspscWriting, FieldOfTheColumnsNameAnswersFalseWithoutAQuery) {
  Recorder recorder;
  EXPECT_FALSE(there(Array{"UNSPSCCODE"}, Array{"10"}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_FALSE(there(Array{}, Array{}));
  EXPECT_EQ(vote(), Vote::commit);
  EXPECT_TRUE(recorder.statements.empty());
  EXPECT_TRUE(recorder.log.empty());
}

TEST_F(UnspscWriting, FieldOfTheTablesNameEndsInARefusedStatement) {
  Recorder recorder;
  const RaisedError failure = raised_by([&] {
    there(Array(std::vector<Variant>{"X", "unspscCodes"}, 1), Array(std::vector<Variant>{"1", " 1010 "}, 1));
  });
  EXPECT_EQ(failure.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, "SELECT * FROM UNSPSCCodes WHERE Parent Code = '10'UNSPSCCode = 10"}));
  ASSERT_EQ(recorder.log.size(), 1u);
  EXPECT_EQ(recorder.log[0].text, message("80040E14", "Mercato.UNSPSCCode.Exists", failure.Description));
  EXPECT_EQ(vote(), Vote::abort);
  for (const std::string code : {"1", ""}) {
    EXPECT_EQ(raised_by([&] { there(Array{"UNSPSCCODES"}, Array{code}); }).Number, error_number::kInvalidArgument);
    EXPECT_EQ(vote(), Vote::abort);
  }
  EXPECT_EQ(raised_by([&] { there(Array{"UNSPSCCODES"}, Array{kNull}); }).Number, error_number::kInvalidUseOfNull);
  EXPECT_EQ(vote(), Vote::abort);
}

TEST_F(UnspscWriting, NoTextChangesWhatTheCallsDo) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    SCOPED_TRACE(text.substr(0, 40));
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { EXPECT_FALSE(remove(text)); },
             [&] { EXPECT_EQ(unspsc_->GetAllUNSPSCCodes(1, text)->Count(), 0); },
             [&] { EXPECT_EQ(description(text), ""); },
             [&] { EXPECT_FALSE(exists(text)); },
             [&] { EXPECT_FALSE(unspsc_->CheckifChildExists(text)); },
             [&] { EXPECT_FALSE(there(Array{"UNSPSCCODES"}, Array{text})); },
             [&] { EXPECT_FALSE(there(Array{text}, Array{"10"})); },
         }) {
      try {
        call();
      } catch (const Raised&) {
        // A refused text does no harm either.
      }
    }
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
