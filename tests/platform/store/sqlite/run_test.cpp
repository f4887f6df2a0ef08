// SPDX-License-Identifier: Apache-2.0
// A run of single statements in a process that is killed: what is in the store afterwards.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/integrity.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::query;
using test::query_one;
using test::run;

// Numbers in order, each in a statement of its own, and after each one statement that changes two rows.
[[noreturn]] void write_for_ever(const std::string& store, int first, UnitOfWork::Kind kind) {
  UnitOfWork unit(kind);
  for (int i = first;; ++i) {
    Session& session = unit.session(store);
    run(session, "INSERT INTO STEP (N) VALUES (" + std::to_string(i) + ")");
    run(session, "UPDATE PAIR SET N = " + std::to_string(i));
  }
}

class KilledRun : public testing::Test {
 protected:
  KilledRun() {
    const PooledSession session = acquire_session(store_);
    run(*session.get(), "CREATE TABLE STEP (N int NOT NULL PRIMARY KEY)");
    run(*session.get(), "CREATE INDEX IX_STEP_N ON STEP (N)");  // has to agree with its table
    run(*session.get(), "CREATE TABLE PAIR (SIDE int NOT NULL PRIMARY KEY, N int NULL)");
    run(*session.get(), "INSERT INTO PAIR (SIDE, N) VALUES (1, 0)");
    run(*session.get(), "INSERT INTO PAIR (SIDE, N) VALUES (2, 0)");
  }
  void kill_a_writer_after(std::chrono::milliseconds time, int first, UnitOfWork::Kind kind) {
    close_idle_sessions();
    const pid_t child = fork();
    if (child == 0) {
      try {
        write_for_ever(store_, first, kind);
      } catch (...) {
        _exit(1);
      }
    }
    std::this_thread::sleep_for(time);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself";
    EXPECT_EQ(test::integrity_of(folder_.path("store.db")), "ok");
  }

  test::Folder folder_{test::Folder::Place::on_disk};  // in memory more would be over before the kill
  std::string store_ = folder_.store();
};

TEST_F(KilledRun, LeavesAPrefixOfWholeStatements) {
  std::mt19937 random(20260701);
  int highest = 0;
  for (int round = 0; round < 12; ++round) {
    const std::chrono::milliseconds time(40 + static_cast<int>(random() % 80));
    kill_a_writer_after(time, highest + 1, UnitOfWork::Kind::run);
    const PooledSession session = acquire_session(store_);
    const auto steps = query(*session.get(), "SELECT COUNT(*), MAX(N) FROM STEP").at(0);
    const int count = steps[0].to_long();
    const int last = steps[1].is_null() ? 0 : steps[1].to_long();
    EXPECT_EQ(count, last) << "a statement is missing in the middle";
    const auto pair = query(*session.get(), "SELECT N FROM PAIR ORDER BY SIDE");
    EXPECT_EQ(pair[0], pair[1]) << "half a statement";
    const int paired = pair[0][0].to_long();
    EXPECT_TRUE(paired == last || paired == last - 1) << paired << " of " << last;
    EXPECT_GE(last, highest) << "what stood after the last round is gone";
    highest = last;
  }
  EXPECT_GT(highest, 100);
}

TEST_F(KilledRun, LeavesNothingOfATransaction) {
  kill_a_writer_after(std::chrono::milliseconds(150), 1, UnitOfWork::Kind::transaction);
  EXPECT_EQ(query_one(*acquire_session(store_).get(), "SELECT COUNT(*) FROM STEP"), Variant(0));
}

// The engine undoes a whole transaction with a write that is ended.
class LateWrite : public testing::Test {
 protected:
  LateWrite() {
    run(*session_.get(), "CREATE TABLE T (N int NULL)");
    run(*session_.get(), "CREATE TABLE MANY (N int NULL)");
    session_->start_transaction();
    for (int i = 0; i < 100; ++i) run(*session_.get(), "INSERT INTO T (N) VALUES (" + std::to_string(i) + ")");
    session_->commit();
  }
  Variant count() { return query_one(*acquire_session(store_).get(), "SELECT COUNT(*) FROM MANY"); }

  static constexpr const char* kLongWrite = "INSERT INTO MANY (N) SELECT A.N FROM T A, T B, T C";

  test::Folder folder_{test::Folder::Place::on_disk};  // in memory more would be over before the kill
  std::string store_ = folder_.store();
  PooledSession session_ = acquire_session(store_);
};

TEST_F(LateWrite, InATransactionTakesTheTransactionAlong) {
  session_->start_transaction();
  run(*session_.get(), "INSERT INTO MANY (N) VALUES (1)");
  {
    const CallLimit limit(0.02);
    EXPECT_EQ(test::failure_of([&] { run(*session_.get(), kLongWrite); }).Number, error_number::kTimeout);
  }
  const RaisedError later = test::failure_of([&] { run(*session_.get(), "INSERT INTO MANY (N) VALUES (2)"); });
  EXPECT_EQ(later, (RaisedError{error_number::kStoreFailure,
                                "SQLite store",
                                "This transaction can only be rolled back: the store undid it after a failure. Timeout "
                                "expired: the call ran longer than its limit of 0.02 seconds",
                                {},
                                0}));
  session_->rollback();
  run(*session_.get(), "INSERT INTO MANY (N) VALUES (3)");
  EXPECT_EQ(count(), Variant(1));
}

TEST_F(LateWrite, InARunIsFinishedSoThatEarlierStatementsStand) {
  session_->begin_run();
  run(*session_.get(), "INSERT INTO MANY (N) VALUES (1)");
  {
    const CallLimit limit(0.02);
    EXPECT_EQ(run(*session_.get(), kLongWrite).affected, 1000000);
    EXPECT_EQ(test::failure_of([&] { run(*session_.get(), "INSERT INTO MANY (N) VALUES (2)"); }).Number,
              error_number::kTimeout);
  }
  session_->end_run();
  EXPECT_EQ(count(), Variant(1000001));
}

}  // namespace
}  // namespace mercato::store
