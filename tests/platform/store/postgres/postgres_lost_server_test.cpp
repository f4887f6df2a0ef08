// SPDX-License-Identifier: Apache-2.0
// A server, or the process of it that serves a session, goes away at every moment: what was going on fails and is
// undone, nothing is done twice, and the next call works when the server is back.
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/postgres/own_cluster.h"

namespace mercato::store::postgres::test {
namespace {

using namespace error_number;

class LostPostgresServer : public OwnClusterTest {
 protected:
  void SetUp() override {
    OwnClusterTest::SetUp();
    if (IsSkipped()) return;
    session_ = open();
    run(*session_, "CREATE TABLE T (ID int NOT NULL PRIMARY KEY)");
  }
  void TearDown() override {
    session_.reset();
    OwnClusterTest::TearDown();
  }

  std::string server() const { return "The server '" + cluster().folder() + "' (database '" + database() + "')"; }
  std::string ended(const std::string& words) const {
    return server() +
           " has ended the connection. What was not committed is undone there. See what stands, then repeat the call "
           "(" +
           words + ")";
  }
  std::string ended_by_administrator() const { return ended("terminating connection due to administrator command"); }
  std::string insert_fails(int id) {
    return failure_of([&] { run(*session_, "INSERT INTO T (ID) VALUES (" + std::to_string(id) + ")"); }).Description;
  }
  std::string stands() const { return as_owner("SELECT string_agg(\"ID\"::text, ',' ORDER BY \"ID\") FROM \"T\""); }
  Variant pooled_count() const { return query_one(*acquire_session(store()).get(), "SELECT COUNT(*) FROM T"); }

  std::unique_ptr<Session> session_;
};

TEST_F(LostPostgresServer, ASessionThatWasEndedWhileNobodyUsedItIsNotGivenToTheNextCaller) {
  EXPECT_EQ(pooled_count(), Variant(0));
  end_backends();
  EXPECT_EQ(pooled_count(), Variant(0));
}

TEST_F(LostPostgresServer, TheNextCallWorksWhenTheServerIsBack) {
  for (const char* const mode : {"fast", "immediate"}) {
    EXPECT_EQ(pooled_count(), Variant(0));
    cluster().control(std::string("stop --mode=") + mode);
    const RaisedError failure = failure_of([&] { pooled_count(); });
    EXPECT_EQ(failure.Number, kStoreFailure);
    EXPECT_EQ(failure.Source, "PostgreSQL store");
    EXPECT_TRUE(failure.Description.starts_with(
        server() +
        " cannot be reached. See that it runs, and correct Server and Port (connection to server on socket \""))
        << failure.Description;
    cluster().control("start");
    EXPECT_EQ(pooled_count(), Variant(0)) << mode;
  }
}

TEST_F(LostPostgresServer, ASingleStatementFailsAndIsNotSentAgain) {
  end_backends();
  EXPECT_EQ(insert_fails(1), ended_by_administrator());
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset()) << "the pool throws it away";
}

TEST_F(LostPostgresServer, OfATransactionNothingStandsAndNothingElseIsTaken) {
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1), "");
  end_backends();
  EXPECT_EQ(insert_fails(2), ended_by_administrator());
  EXPECT_EQ(insert_fails(3), "This transaction can only be rolled back: the store undid it after a failure. " +
                                 ended_by_administrator());
  const RaisedError failure = failure_of([&] { session_->commit(); });
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(failure.Description,
            "Nothing of this transaction stands: the store undid it after a failure. " + ended_by_administrator());
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset());
}

TEST_F(LostPostgresServer, ACommitThatIsNotAnsweredFails) {
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1), "");
  end_backends();
  EXPECT_EQ(failure_of([&] { session_->commit(); }).Description, ended_by_administrator());
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset());
}

// The server waits with its answer for a copy that does not exist, so that the end comes while it commits.
TEST_F(LostPostgresServer, DuringACommitFailsAndSaysThatWhatStandsHasToBeSeen) {
  as_owner(
      "CREATE FUNCTION linger() RETURNS trigger LANGUAGE plpgsql AS 'BEGIN PERFORM pg_sleep(60); RETURN NULL; END'");
  as_owner(
      "CREATE CONSTRAINT TRIGGER lingering AFTER INSERT ON \"T\" DEFERRABLE INITIALLY DEFERRED FOR EACH ROW EXECUTE "
      "FUNCTION linger()");
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1), "");
  std::thread killer([&] {
    EXPECT_TRUE(comes_true([&] { return count_of("query = 'COMMIT' AND state = 'active'") == "1"; }));
    end_backends();
  });
  EXPECT_EQ(failure_of([&] { session_->commit(); }).Description, ended_by_administrator());
  killer.join();
  EXPECT_EQ(stands(), "");
}

TEST_F(LostPostgresServer, ARunFailsAtItsNextStatementAndWhatItHadDoneStands) {
  session_->begin_run();
  EXPECT_EQ(insert_fails(1), "");
  end_backends();
  EXPECT_EQ(insert_fails(2), ended_by_administrator());
  EXPECT_EQ(failure_of([&] { session_->end_run(); }).Number, kStoreFailure) << "it is not known to be durable";
  EXPECT_EQ(stands(), "1");
  EXPECT_FALSE(session_->reset());
}

TEST_F(LostPostgresServer, RowsThatAreBeingReadEndWithTheFailure) {
  as_owner("INSERT INTO \"T\" SELECT generate_series(1, 300000)");
  const Execution reading = run(*session_, "SELECT ID FROM T");
  ASSERT_TRUE(reading.cursor->next());
  end_backends();
  RaisedError failure;
  int rows = 1;
  while (failure.Number == 0 && rows < 300000) failure = failure_of([&] { rows += reading.cursor->next() ? 1 : 0; });
  EXPECT_LT(rows, 300000);
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(failure.Source, "PostgreSQL store");
  EXPECT_EQ(failure_of([&] { reading.cursor->next(); }).Number, kObjectClosed);
  EXPECT_FALSE(session_->reset());
}

TEST_F(LostPostgresServer, RowsThatAreBeingReadInATransactionTakeItWithThem) {
  as_owner("INSERT INTO \"T\" SELECT generate_series(1, 300000)");
  session_->start_transaction();
  EXPECT_EQ(insert_fails(-1), "");
  const Execution reading = run(*session_, "SELECT ID FROM T");
  ASSERT_TRUE(reading.cursor->next());
  end_backends();
  const RaisedError failure = failure_of([&] {
    while (reading.cursor->next()) {
    }
  });
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_EQ(insert_fails(-2),
            "This transaction can only be rolled back: the store undid it after a failure. " + failure.Description);
  session_->rollback();
  EXPECT_EQ(as_owner("SELECT min(\"ID\") FROM \"T\""), "1");
}

TEST_F(LostPostgresServer, AUnitOfWorkFailsWholeAndTheNextOneWorks) {
  {
    UnitOfWork unit(UnitOfWork::Kind::transaction);
    run(unit.session(store()), "INSERT INTO T (ID) VALUES (1)");
    cluster().control("restart --mode=immediate");
    EXPECT_EQ(failure_of([&] { run(unit.session(store()), "INSERT INTO T (ID) VALUES (2)"); }).Number, kStoreFailure);
    EXPECT_EQ(failure_of([&] { unit.commit(); }).Number, kStoreFailure);
  }
  EXPECT_EQ(stands(), "");
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  run(unit.session(store()), "INSERT INTO T (ID) VALUES (3)");
  unit.commit();
  EXPECT_EQ(stands(), "3");
}

TEST_F(LostPostgresServer, WhatARunHasAcknowledgedStandsAfterTheServerDied) {
  session_->begin_run();
  for (int id = 1; id <= 500; ++id) EXPECT_EQ(insert_fails(id), "");
  session_->end_run();
  cluster().control("restart --mode=immediate");
  EXPECT_EQ(as_owner("SELECT count(*) FROM \"T\""), "500");
}

// A process that was stopped answers nothing, not even that it was told to stop its statement.
TEST_F(LostPostgresServer, AProcessThatDoesNotAnswerIsGivenUpSoonAfterTheCallLimit) {
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1), "");
  const std::string process = backend_of("INSERT INTO \"T\"");
  cluster().shell("kill -STOP " + process);
  const auto begin = std::chrono::steady_clock::now();
  RaisedError failure;
  {
    const CallLimit limit(0.3);
    // More than the system takes without the server's reading it.
    failure =
        failure_of([&] { run(*session_, "SELECT COUNT(*) FROM T WHERE 'x' <> '" + std::string(3000000, 'y') + "'"); });
  }
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(failure.Number, kTimeout);
  EXPECT_EQ(failure.Source, "Mercato");
  EXPECT_EQ(failure.Description, "Timeout expired: the call ran longer than its limit of 0.3 seconds");
  EXPECT_GT(took, std::chrono::seconds(4)) << "the server is given a moment to stop the statement";
  EXPECT_LT(took, std::chrono::seconds(9));
  EXPECT_EQ(
      insert_fails(2),
      "This transaction can only be rolled back: the store undid it after a failure. Timeout expired: the call ran "
      "longer than its limit of 0.3 seconds");
  EXPECT_FALSE(session_->reset());
  session_.reset();
  cluster().shell("kill -CONT " + process);
  EXPECT_TRUE(comes_true([&] { return count_of("true") == "0"; }));
  EXPECT_EQ(stands(), "");
}

TEST_F(LostPostgresServer, AServerThatDoesNotAnswerAtAllIsGivenUpSoonAfterTheCallLimit) {
  const std::string process = backend_of("INSERT INTO");
  as_owner("INSERT INTO \"T\" SELECT generate_series(1, 2000)");
  cluster().shell("kill -STOP $(head -1 postmaster.pid)");
  RaisedError failure;
  const auto begin = std::chrono::steady_clock::now();
  {
    const CallLimit limit(0.3);
    failure = failure_of(
        [&] { run(*session_, "SELECT COUNT(*) FROM T A, T B, T C WHERE A.ID + B.ID > C.ID").cursor->next(); });
  }
  const auto took = std::chrono::steady_clock::now() - begin;
  cluster().shell("kill -CONT $(head -1 postmaster.pid)");
  EXPECT_EQ(failure.Number, kTimeout);
  EXPECT_LT(took, std::chrono::seconds(9));
  EXPECT_FALSE(session_->reset());
  session_.reset();
  EXPECT_TRUE(comes_true([&] { return count_of("state = 'active'") == "0"; })) << "the server was told in the end";
}

}  // namespace
}  // namespace mercato::store::postgres::test
