// SPDX-License-Identifier: Apache-2.0
// Statements that ran for minutes, whatever the call's limit: the engine plans and compiles without asking, and so did
// the functions that statements call.
#include <gtest/gtest.h>

#include <chrono>

#include "platform/store/call_limit.h"
#include "platform/store/known_drivers.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/processor_time.h"

namespace mercato::store {
namespace {

using namespace error_number;
using test::failure_of;
using test::query_one;
using test::run;

class StatementBounds : public testing::Test {
 protected:
  StatementBounds() : session_(driver_for(folder_.store()).open(folder_.store())) {
    run(*session_, "CREATE TABLE T (N int NULL, M int NULL, NAME nvarchar(20) NULL)");
    run(*session_, "INSERT INTO T (N, M, NAME) VALUES (7, 8, 'x'), (250000, 1, 'y'), (NULL, 2, 'z')");
  }
  // Conditions on the numbers from 0 on, joined.
  static std::string joined(int count, std::string_view condition, std::string_view by) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      if (i > 0) text += by;
      text += condition;
      text += std::to_string(i);
    }
    return text;
  }
  Variant count_where(const std::string& condition) {
    return query_one(*session_, "SELECT COUNT(*) FROM T WHERE " + condition);
  }
  // How a statement with a limit of a twentieth of a second ends; soon.
  std::int32_t outcome_within_a_call(const std::string& sql) {
    const CallLimit limit(0.05);
    const auto begin = mercato::test::processor_time();
    const std::int32_t number = failure_of([&] {
                                  if (const auto cursor = run(*session_, sql).cursor) cursor->next();
                                }).Number;
    EXPECT_LT(mercato::test::processor_time() - begin, std::chrono::seconds(3));
    return number;
  }

  test::Folder folder_;
  std::unique_ptr<Session> session_;
};

TEST_F(StatementBounds, ManyEqualitiesOnOneColumnAreAList) {
  EXPECT_EQ(count_where(joined(300'000, "N = ", " OR ")), Variant(2));
  EXPECT_EQ(count_where("NOT (" + joined(1'000, "N=", " OR ") + ")"), Variant(1));
  EXPECT_EQ(count_where("N = 7 OR N = 250000"), Variant(2));
  EXPECT_EQ(count_where("N = 7 OR M = 1 OR M = 2 OR N = -7"), Variant(3));
  EXPECT_EQ(count_where("NAME = 'X' OR NAME = N'y '"), Variant(2));
  EXPECT_EQ(count_where("N = '7' OR N = 250000.0 OR N = NULL"), Variant(2));
}

TEST_F(StatementBounds, MoreTermsThanTheEngineCanPlanAreRefused) {
  const std::string expected =
      "The statement has more than 20000 terms outside of lists of plain values. Put values into one: COLUMN IN (1, 2, "
      "3)";
  for (const std::string& condition : {
           joined(30'000, "N <> ", " AND "),
           joined(30'000, "M = 1 OR N = ", " OR "),
           "1 = " + joined(30'000, "", " + "),
           "1 = CASE" + joined(30'000, " WHEN N = 1 THEN ", "") + " END",
           "N IN (M, " + joined(30'000, "", ", ") + ")",
           "N IN (" + joined(30'000, "", ", ") + ", M)",
       }) {
    const RaisedError failure = failure_of([&] { count_where(condition); });
    EXPECT_EQ(failure.Number, kStatementRefused);
    EXPECT_EQ(failure.Description, expected);
  }
  EXPECT_EQ(failure_of([&] { run(*session_, "SELECT " + joined(30'000, "N AS A", ", ") + " FROM T"); }).Description,
            expected);
  EXPECT_EQ(failure_of([&] { run(*session_, "SELECT 1 FROM " + joined(30'000, "T A", ", ")); }).Description, expected);
  EXPECT_EQ(failure_of([&] { run(*session_, "SELECT N FROM T ORDER BY " + joined(30'000, "N + ", ", ")); }).Description,
            expected);
}

TEST_F(StatementBounds, ListsAndRowsOfValuesAreNotCounted) {
  EXPECT_EQ(count_where("N IN (" + joined(30'000, "", ", ") + ", 250000)"), Variant(2));
  EXPECT_EQ(count_where("N IN (NULL, " + joined(30'000, "", ", ") + ")"), Variant(1));
  EXPECT_EQ(run(*session_, "INSERT INTO T (N, M) VALUES (" + joined(40'000, "1, ", "), (") + ")").affected, 40'000);
}

TEST_F(StatementBounds, MoreValuesThanTheEngineTakesAreRefusedInWordsOfTheLibrary) {
  EXPECT_EQ(failure_of([&] { count_where("NAME IN ('" + joined(300'000, "", "', '") + "')"); }).Description,
            "The statement has more than 250000 values. Send them in several statements");
}

// The engine refused it in its own words.
TEST_F(StatementBounds, MoreQueriesInAUnionThanTheEngineTakesAreRefusedInWordsOfTheLibrary) {
  const std::string expected = "The statement joins more than 500 queries with UNION. Send them in several statements";
  for (const std::string& by : {std::string(" UNION "), std::string(" UNION ALL ")}) {
    const std::string most = joined(500, "SELECT N FROM T WHERE M = ", by);
    const std::string more = most + by + "SELECT N FROM T";
    EXPECT_EQ(count_where("N IN (" + most + ")"), Variant(2));
    for (const std::string& sql : {
             more,
             joined(5'000, "SELECT N FROM T WHERE M = ", by),
             "SELECT COUNT(*) FROM T WHERE N IN (" + more + ")",
             "SELECT 1 FROM (" + more + ") A",
             "INSERT INTO T (N) " + more,
             "DELETE FROM T WHERE N IN (" + more + ")",
         }) {
      const RaisedError failure = failure_of([&] { run(*session_, sql); });
      EXPECT_EQ(failure.Number, kStatementRefused);
      EXPECT_EQ(failure.Description, expected);
    }
  }
  EXPECT_EQ(count_where("N IN (SELECT N FROM T UNION " + joined(400, "SELECT N FROM T WHERE M = ", " UNION ") +
                        ") OR N IN (" + joined(400, "SELECT N FROM T WHERE M = ", " UNION ") + ")"),
            Variant(2));
}

// Each bracket took a piece of the stack, so that some ten thousand ended the process.
TEST_F(StatementBounds, BracketsOfADefaultNeedNoStack) {
  const std::string open(100'000, '('), closed(100'000, ')');
  run(*session_, "CREATE TABLE U (A int NULL, B int DEFAULT " + open + "-7" + closed + ")");
  run(*session_, "INSERT INTO U (A) VALUES (1)");
  EXPECT_EQ(query_one(*session_, "SELECT B FROM U"), Variant(-7));
  EXPECT_EQ(failure_of([&] { run(*session_, "CREATE TABLE V (A int DEFAULT " + open + "1)"); }).Number,
            kStatementRefused);
}

// A definition did not ask the limit while it was read.
TEST_F(StatementBounds, DefinitionThatTakesTooLongEndsWithTheCall) {
  EXPECT_EQ(outcome_within_a_call("CREATE TABLE U (" + joined(60'000, "COLUMN_", " int NULL, ") + " int)"), kTimeout);
}

TEST_F(StatementBounds, WhatTakesTooLongEndsWithTheCall) {
  const std::string many(500'000, 'a');
  EXPECT_EQ(outcome_within_a_call("SELECT COUNT(*) FROM T WHERE CHARINDEX('" + many + "b', '" + many + many + "') > 0"),
            kTimeout);
  EXPECT_EQ(
      outcome_within_a_call("SELECT COUNT(*) FROM T WHERE '" + many + "' LIKE '%" + many.substr(0, 250'000) + "b%'"),
      kTimeout);
  EXPECT_EQ(outcome_within_a_call("SELECT COUNT(*) FROM T WHERE N IN (" + joined(3'000'000, "", ",") + ")"), kTimeout);
  const std::string blanks(50'000'000, ' ');  // NOLINT(bugprone-string-constructor): as long as that
  EXPECT_EQ(outcome_within_a_call("SELECT COUNT(*) FROM T /*" + blanks + "*/"), kTimeout);
}

// The engine would undo the whole group of a run with a statement that it ends itself.
TEST_F(StatementBounds, AStatementOfARunThatEndsWithTheCallLeavesTheOthersStanding) {
  const std::string many(500'000, 'a');
  session_->begin_run();
  run(*session_, "UPDATE T SET M = 100 WHERE N = 7");
  EXPECT_EQ(outcome_within_a_call("UPDATE T SET M = 200 WHERE CHARINDEX('" + many + "b', '" + many + many + "') > 0"),
            kTimeout);
  session_->end_run();
  EXPECT_EQ(count_where("M = 100"), Variant(1));
}

}  // namespace
}  // namespace mercato::store
