// SPDX-License-Identifier: Apache-2.0
// What a session waits for has an end: a statement that runs too long is ended on the server, a lock is not waited for
// without end, and of two transactions that wait for each other one goes on.
#include "tests/platform/store/postgres/own_cluster.h"

namespace mercato::store::postgres::test {
namespace {

using namespace error_number;

class PostgresLimits : public OwnClusterTest {
 protected:
  void SetUp() override {
    OwnClusterTest::SetUp();
    if (IsSkipped()) return;
    session_ = open();
    run(*session_, "CREATE TABLE T (ID int NOT NULL PRIMARY KEY, N int NULL)");
    run(*session_, "CREATE TABLE MANY (N int NULL)");
    as_owner("INSERT INTO \"T\" VALUES (1, 0), (2, 0)");
    as_owner("INSERT INTO \"MANY\" (\"N\") SELECT generate_series(1, 3000)");
  }
  void TearDown() override {
    session_.reset();
    OwnClusterTest::TearDown();
  }

  static constexpr const char* kEndless = "SELECT COUNT(*) FROM MANY A, MANY B, MANY C WHERE A.N + B.N > C.N";
  // Runs it with little time; what it raises.
  RaisedError cut_short(const std::string& statement) {
    const CallLimit limit(0.2);
    return failure_of([&] { run(*session_, statement).cursor->next(); });
  }
  std::string label() const { return "the server '" + cluster().folder() + "' (database '" + database() + "')"; }
  std::string values() const { return as_owner("SELECT string_agg(\"N\"::text, ',' ORDER BY \"ID\") FROM \"T\""); }

  std::unique_ptr<Session> session_;
};

TEST_F(PostgresLimits, TheCallLimitEndsTheStatementOnTheServer) {
  const auto begin = std::chrono::steady_clock::now();
  const RaisedError failure = cut_short(kEndless);
  EXPECT_EQ(failure.Number, kTimeout);
  EXPECT_EQ(failure.Source, "Mercato");
  EXPECT_EQ(failure.Description, "Timeout expired: the call ran longer than its limit of 0.2 seconds");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
  EXPECT_TRUE(comes_true([&] { return count_of("state = 'active'") == "0"; }));
  EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM MANY"), Variant(3000));
  EXPECT_TRUE(session_->reset());
}

TEST_F(PostgresLimits, TheCallLimitLeavesATransactionWhatItWas) {
  session_->start_transaction();
  run(*session_, "UPDATE T SET N = 1 WHERE ID = 1");
  EXPECT_EQ(cut_short(kEndless).Number, kTimeout);
  run(*session_, "UPDATE T SET N = 2 WHERE ID = 2");
  EXPECT_EQ(cut_short(kEndless).Number, kTimeout);
  session_->commit();
  EXPECT_EQ(values(), "1,2");
}

// A rollback that belongs to the end of a call that ran too long used to be cancelled itself.
TEST_F(PostgresLimits, WhatFollowsTheCallLimitIsDoneToItsEnd) {
  for (int round = 0; round < 20; ++round) {
    session_->start_transaction();
    run(*session_, "UPDATE T SET N = 7 WHERE ID = 1");
    {
      const CallLimit limit(0.02);
      EXPECT_EQ(failure_of([&] { run(*session_, kEndless).cursor->next(); }).Number, kTimeout);
      session_->rollback();
    }
    ASSERT_TRUE(session_->reset());
    ASSERT_EQ(values(), "0,0");
  }
  {
    session_->start_transaction();
    run(*session_, "UPDATE T SET N = 7 WHERE ID = 1");
    const CallLimit limit(0.02);
    EXPECT_EQ(failure_of([&] { run(*session_, kEndless).cursor->next(); }).Number, kTimeout);
    session_->commit();
  }
  EXPECT_EQ(values(), "7,0");
}

TEST_F(PostgresLimits, ARunDoesNotReadATableWholeThatItFills) {
  run(*session_, "CREATE TABLE FILLED (CODE nvarchar(20) NULL, N int NULL)");
  run(*session_, "CREATE INDEX IX_FILLED_CODE ON FILLED (CODE)");
  const auto fill = [&](int from, int end) {
    for (int i = from; i < end; ++i) {
      const std::string code = "'" + std::to_string(i) + "'";
      run(*session_, "INSERT INTO FILLED (CODE, N) VALUES (" + code + ", 1)");
      EXPECT_EQ(query_one(*session_, "SELECT N FROM FILLED WHERE CODE = " + code), Variant(1));
    }
  };
  // Plans for a small table are there already.
  fill(0, 10);
  as_owner("ANALYZE");
  fill(10, 30);
  session_->begin_run();
  fill(30, 230);
  session_->end_run();
  EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM FILLED"), Variant(230));
  session_.reset();
  const auto scans = [&] {
    return std::stoi(as_owner("SELECT coalesce(max(seq_scan), 0) FROM pg_stat_user_tables WHERE relname = 'FILLED'"));
  };
  const auto lookups = [&] {
    return std::stoi(as_owner("SELECT coalesce(max(idx_scan), 0) FROM pg_stat_user_tables WHERE relname = 'FILLED'"));
  };
  EXPECT_TRUE(comes_true([&] { return lookups() >= 200; })) << lookups();
  EXPECT_LE(scans(), 35);
}

TEST_F(PostgresLimits, RowsThatNobodyReadsToTheirEndAreEndedOnTheServer) {
  { EXPECT_TRUE(run(*session_, "SELECT A.N FROM MANY A, MANY B, MANY C").cursor->next()); }
  EXPECT_EQ(count_of("state = 'active'"), "0");
  EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM MANY"), Variant(3000));
}

TEST_F(PostgresLimits, ALockIsWaitedForAsLongAsTheConnectionSays) {
  const auto other = open();
  other->start_transaction();
  run(*other, "UPDATE T SET N = 1 WHERE ID = 1");
  const auto impatient = open(";Lock Timeout=200");
  impatient->start_transaction();
  run(*impatient, "UPDATE T SET N = 5 WHERE ID = 2");
  const auto begin = std::chrono::steady_clock::now();
  const RaisedError failure = failure_of([&] { run(*impatient, "UPDATE T SET N = 5 WHERE ID = 1"); });
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(200));
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(failure.Description, "Another process or connection holds what is to be changed on " + label() +
                                     ", and did not let go of it in time (canceling statement due to lock timeout)");
  other->rollback();
  run(*impatient, "UPDATE T SET N = 6 WHERE ID = 1");
  impatient->commit();
  EXPECT_EQ(values(), "6,5");
}

TEST_F(PostgresLimits, TheCallLimitEndsTheWaitForALock) {
  const auto other = open();
  other->start_transaction();
  run(*other, "UPDATE T SET N = 1 WHERE ID = 1");
  {
    const CallLimit limit(0.2);
    EXPECT_EQ(failure_of([&] { run(*session_, "UPDATE T SET N = 5 WHERE ID = 1"); }).Number, kTimeout);
  }
  other->rollback();
  EXPECT_EQ(values(), "0,0");
}

// Its other locks are let go at once: the winner waits for one of them.
TEST_F(PostgresLimits, OfTwoTransactionsThatWaitForEachOtherOneIsUndoneAndTheOtherGoesOn) {
  const auto other = open();
  session_->start_transaction();
  other->start_transaction();
  run(*session_, "UPDATE T SET N = 1 WHERE ID = 1");
  run(*other, "UPDATE T SET N = 2 WHERE ID = 2");
  RaisedError theirs;
  std::thread second([&] { theirs = failure_of([&] { run(*other, "UPDATE T SET N = 2 WHERE ID = 1"); }); });
  EXPECT_TRUE(comes_true([&] { return count_of("wait_event_type = 'Lock'") == "1"; }));
  const RaisedError ours = failure_of([&] { run(*session_, "UPDATE T SET N = 1 WHERE ID = 2"); });
  second.join();
  EXPECT_NE(ours.Number == 0, theirs.Number == 0) << "exactly one is undone";
  const RaisedError& victims = ours.Number == 0 ? theirs : ours;
  Session& victim = ours.Number == 0 ? *other : *session_;
  Session& winner = ours.Number == 0 ? *session_ : *other;
  const std::string undone = "Two transactions waited for each other on " + label() +
                             ", and this one was undone. Repeat the call (deadlock detected)";
  EXPECT_EQ(victims.Number, kStoreFailure);
  EXPECT_EQ(victims.Description, undone);
  winner.commit();
  EXPECT_EQ(values(), ours.Number == 0 ? "1,1" : "2,2");
  EXPECT_EQ(failure_of([&] { run(victim, "UPDATE T SET N = 3"); }).Description,
            "This transaction can only be rolled back: the store undid it after a failure. " + undone);
  victim.rollback();
  run(victim, "UPDATE T SET N = 4");
  EXPECT_EQ(values(), "4,4");
}

TEST_F(PostgresLimits, AStatementThatTheServersOwnerEndsSaysSo) {
  RaisedError failure;
  std::thread running([&] { failure = failure_of([&] { run(*session_, kEndless).cursor->next(); }); });
  EXPECT_TRUE(comes_true([&] { return count_of("state = 'active'") == "1"; }));
  as_owner("SELECT pg_cancel_backend(pid) FROM pg_stat_activity WHERE state = 'active' AND pid <> pg_backend_pid()");
  running.join();
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(failure.Description,
            "Somebody ended the statement on " + label() + " (canceling statement due to user request)");
}

// The description of a table is read inside of the transaction that asks for it.
TEST_F(PostgresLimits, AFailureWhileTheTablesAreReadLeavesATransactionWhatItWas) {
  session_->start_transaction();
  run(*session_, "UPDATE T SET N = 1 WHERE ID = 1");
  run(*session_, "UPDATE T SET N = 2 WHERE ID = 2");
  std::thread locker(
      [&] { as_owner("BEGIN; LOCK TABLE mercato_store IN ACCESS EXCLUSIVE MODE; SELECT pg_sleep(0.6)"); });
  EXPECT_TRUE(comes_true([&] { return count_of("query LIKE 'BEGIN; LOCK%' AND wait_event = 'PgSleep'") == "1"; }));
  {
    const CallLimit limit(0.1);
    EXPECT_EQ(failure_of([&] { run(*session_, "SELECT * FROM MANY"); }).Number, kTimeout);
  }
  locker.join();
  session_->commit();
  EXPECT_EQ(values(), "1,2");
}

}  // namespace
}  // namespace mercato::store::postgres::test
