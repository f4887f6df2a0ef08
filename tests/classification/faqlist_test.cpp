// SPDX-License-Identifier: Apache-2.0
#include "mercato/faqlist.h"

#include <gtest/gtest.h>

#include <functional>

#include "mercato/object_context.h"
#include "tests/support/failure_trail.h"
#include "tests/support/hostile_texts.h"
#include "tests/support/store_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

struct Issue {
  std::int32_t product = 5;
  std::int32_t category = 6;
  std::int32_t faq_category = 7;
  std::int32_t visibility = 8;
  std::string description = "short";
  std::string question = "why?";
  std::string answer = "because";
  std::string date = "1/1/1990";
  std::string attachment = "file.txt";
  std::string link = "http://example.org/";
};

class FaqlistTest : public StoreTest {
 protected:
  std::int32_t add(Issue issue = {}) {
    return faqlist_->AddIssue(issue.product, issue.category, issue.faq_category, issue.visibility, issue.description,
                              issue.question, issue.answer, issue.date, issue.attachment, issue.link);
  }
  Vote vote() const { return faqlist_.context().vote_of_last_call(); }
  static Date at(int year, int month, int day, int hour, int minute) {
    return Date::from_civil({year, month, day, hour, minute, 0});
  }

  Root<Faqlist> faqlist_;
};

TEST_F(FaqlistTest, IssueIsFiledWithTheTimeOfTheCall) {
  clock::script_clock(at(2026, 7, 1, 8, 30), 0);
  Recorder recorder;
  EXPECT_EQ(add(), 1);
  EXPECT_EQ(add(), 2);
  EXPECT_EQ(recorder.statements, (Statements{"SELECT * FROM FAQISSUE WHERE 1=0", "SELECT * FROM FAQISSUE WHERE 1=0"}));
  EXPECT_TRUE(recorder.log.empty());
  EXPECT_EQ(vote(), Vote::none);
  EXPECT_EQ(faqlist_.context().outcome_of_last_call(), Outcome::none);
  EXPECT_EQ(rows("SELECT * FROM FAQISSUE WHERE FAQISSUEID = 1"),
            (std::vector<std::vector<Variant>>{{1, 5, 6, 7, "short", "why?", 8, "because", at(2026, 7, 1, 8, 30),
                                                "file.txt", "http://example.org/"}}));
}

TEST_F(FaqlistTest, DateOfTheCallerIsNotEvenRead) {
  clock::script_clock(at(2026, 7, 1, 8, 30), 0);
  Issue issue;
  for (const std::string date : {"", "no date", "12/31/2099"}) {
    issue.date = date;
    const std::int32_t id = add(issue);
    EXPECT_EQ(value_of("SELECT \"DATE\" FROM FAQISSUE WHERE FAQISSUEID = " + std::to_string(id)),
              Variant(at(2026, 7, 1, 8, 30)));
  }
}

TEST_F(FaqlistTest, ProductZeroLeavesTheProductUnset) {
  Issue issue;
  issue.product = 0;
  add(issue);
  EXPECT_TRUE(value_of("SELECT PRODUCTID FROM FAQISSUE").is_null());
  issue.product = -1;
  add(issue);
  EXPECT_EQ(value_of("SELECT PRODUCTID FROM FAQISSUE WHERE FAQISSUEID = 2"), Variant(-1));
}

TEST_F(FaqlistTest, LongQuestionsAndAnswersAreKeptWhole) {
  Issue issue;
  issue.question = std::string(100000, 'q');
  issue.answer = "é" + std::string(100000, 'a');
  add(issue);
  EXPECT_EQ(rows("SELECT QUESTION, ANSWER FROM FAQISSUE"),
            (std::vector<std::vector<Variant>>{{issue.question, issue.answer}}));
}

TEST_F(FaqlistTest, IssueThatCannotBeFiledIsLoggedAndRaisedWithAnAbortVote) {
  Recorder recorder;
  recorder.fail_on = "FAQISSUE";
  const FailureTrail expected = trail(refused_on_request(), {{"Zentrik.Faqlist.AddIssue()"}});
  EXPECT_EQ(raised_by([&] { add(); }), expected.raised);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(vote(), Vote::abort);
  Issue issue;
  issue.description = std::string(256, 'x');
  EXPECT_EQ(raised_by([&] { add(issue); }).Number, error_number::kValueTooLong);
  EXPECT_EQ(vote(), Vote::abort);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM FAQISSUE"), Variant(0));
  store().forget_lost_numbers();
  EXPECT_EQ(add(), 1);  // the next call has a connection of its own
}

TEST_F(FaqlistTest, ReferenceTablesAreListedByTheirIds) {
  execute({"INSERT INTO FAQCATEGORY (FAQCATEGORYID, FAQCATEGORYDESCRIPTION) VALUES (2, 'orders')",
           "INSERT INTO FAQCATEGORY (FAQCATEGORYID, FAQCATEGORYDESCRIPTION) VALUES (1, NULL)",
           "INSERT INTO FAQVISIBILITY (VISIBILITYID, VISIBILITYDESCRIPTION) VALUES (7, 'public')"});
  Recorder recorder;
  const DictionaryPtr categories = faqlist_->GetFAQCategories();
  EXPECT_EQ(categories->Count(), 2);
  EXPECT_EQ(categories->Item(2), Variant("orders"));
  EXPECT_TRUE(categories->Item(1).is_null());
  const DictionaryPtr options = faqlist_->GetFAQVisibilityOptions();
  EXPECT_EQ(options->Count(), 1);
  EXPECT_EQ(options->Item(7), Variant("public"));
  EXPECT_EQ(recorder.statements,
            (Statements{kIsolation, "SELECT FAQCATEGORYID, FAQCATEGORYDESCRIPTION FROM FAQCATEGORY", kIsolation,
                        "SELECT VISIBILITYID, VISIBILITYDESCRIPTION FROM FAQVISIBILITY"}));
  EXPECT_EQ(vote(), Vote::none);
}

TEST_F(FaqlistTest, EmptyReferenceTablesAreEmpty) {
  EXPECT_EQ(faqlist_->GetFAQCategories()->Count(), 0);
  EXPECT_EQ(faqlist_->GetFAQVisibilityOptions()->Count(), 0);
}

TEST_F(FaqlistTest, ReferenceTableThatCannotBeReadIsLoggedAndRaisedWithAnAbortVote) {
  struct Reading {
    DictionaryPtr (Faqlist::*read)();
    std::string label;
    std::string statement;
  };
  for (const Reading& reading : {Reading{&Faqlist::GetFAQCategories, "Zentrik.Faqlist.GetFAQCategories()",
                                         "SELECT FAQCATEGORYID, FAQCATEGORYDESCRIPTION FROM FAQCATEGORY"},
                                 Reading{&Faqlist::GetFAQVisibilityOptions, "Zentrik.Faqlist.GetFAQVisibilityOptions()",
                                         "SELECT VISIBILITYID, VISIBILITYDESCRIPTION FROM FAQVISIBILITY"}}) {
    Recorder recorder;
    recorder.fail_on = reading.statement;
    // The failing statement ran on a connection of its own.
    const FailureTrail expected =
        trail(refused_on_request(),
              {{"Lib_SQL.Sql_GetDisconnectedRecordset", " executing: '" + reading.statement + "'"}, {reading.label}});
    EXPECT_EQ(raised_by([&] { (faqlist_.operator->().operator->()->*reading.read)(); }), expected.raised);
    EXPECT_EQ(recorder.log, expected.log);
    EXPECT_EQ(vote(), Vote::abort);
  }
}

TEST_F(FaqlistTest, NoTextBecomesMoreThanTheTextOfOneIssue) {
  const std::vector<std::pair<std::string, std::string Issue::*>> texts = {
      {"DESCRIPTION", &Issue::description}, {"QUESTION", &Issue::question}, {"ANSWER", &Issue::answer},
      {"ATTACHMENT", &Issue::attachment},   {"LINK", &Issue::link},         {"", &Issue::date}};
  const auto before = all_rows();
  int filed = 0;
  for (const auto& [column, member] : texts)
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(column + ": " + text.substr(0, 40));
      Issue issue;
      issue.*member = text;
      try {
        add(issue);
      } catch (const Raised&) {
        EXPECT_EQ(vote(), Vote::abort);
        EXPECT_EQ(all_rows(), before);
        continue;
      }
      ++filed;
      if (!column.empty()) {
        EXPECT_EQ(rows("SELECT " + column + " FROM FAQISSUE"), (std::vector<std::vector<Variant>>{{text}}));
      }
      execute({"DELETE FROM FAQISSUE"});
      EXPECT_EQ(all_rows(), before);
    }
  EXPECT_GT(filed, 100);
}

}  // namespace
}  // namespace mercato::test
