#include "platform/store/session_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "platform/store/call_limit.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::query_one;
using test::run;

class SessionPool : public testing::Test {
 protected:
  test::Folder folder_;
  std::string store_ = folder_.store();
};

TEST_F(SessionPool, ASessionThatWasGivenBackServesTheNext) {
  Session* first = nullptr;
  {
    const PooledSession session = acquire_session(store_);
    first = session.get();
  }
  const PooledSession again = acquire_session(store_);
  EXPECT_EQ(again.get(), first);
  const PooledSession second = acquire_session(store_);
  EXPECT_NE(second.get(), first);
}

TEST_F(SessionPool, AnotherStoreGetsItsOwnSession) {
  { const PooledSession session = acquire_session(store_); }
  const PooledSession other = acquire_session(folder_.store("other.db"));
  run(*other.get(), "CREATE TABLE T (N int NULL)");
  const PooledSession first = acquire_session(store_);
  EXPECT_EQ(first->table("T"), nullptr);
}

TEST_F(SessionPool, WhatWasNotCommittedIsGoneWhenTheSessionComesBack) {
  {
    const PooledSession session = acquire_session(store_);
    run(*session.get(), "CREATE TABLE T (N int NULL)");
    session->start_transaction();
    run(*session.get(), "INSERT INTO T (N) VALUES (1)");
  }
  const PooledSession again = acquire_session(store_);
  EXPECT_EQ(query_one(*again.get(), "SELECT COUNT(*) FROM T"), Variant(0));
}

TEST_F(SessionPool, AQueryThatIsLeftOpenEndsWhenItsSessionIsGivenBack) {
  PooledSession session = acquire_session(store_);
  run(*session.get(), "CREATE TABLE T (N int NULL)");
  run(*session.get(), "INSERT INTO T (N) VALUES (1)");
  run(*session.get(), "INSERT INTO T (N) VALUES (2)");
  const Execution walk = run(*session.get(), "SELECT N FROM T");
  ASSERT_TRUE(walk.cursor->next());
  session.release();
  EXPECT_EQ(session.get(), nullptr);
  EXPECT_EQ(test::failure_of([&] { walk.cursor->next(); }),
            (RaisedError{error_number::kObjectClosed,
                         "SQLite store",
                         "The connection that these rows are read from has been closed",
                         {},
                         0}));
  EXPECT_EQ(run(*acquire_session(store_).get(), "DELETE FROM T").affected, 2);
}

TEST_F(SessionPool, AFileThatWasReplacedIsOpenedAnew) {
  {
    const PooledSession session = acquire_session(store_);
    run(*session.get(), "CREATE TABLE FORMER (N int NULL)");
  }
  // As somebody would do it by hand, the files beside the store left behind.
  std::filesystem::remove(folder_.path("store.db"));
  {
    const PooledSession session = acquire_session(store_);
    EXPECT_EQ(session->table("FORMER"), nullptr);
    run(*session.get(), "CREATE TABLE PRESENT (N int NULL)");
    run(*session.get(), "INSERT INTO PRESENT (N) VALUES (1)");
  }
  close_idle_sessions();
  const PooledSession session = acquire_session(store_);
  EXPECT_EQ(query_one(*session.get(), "SELECT COUNT(*) FROM PRESENT"), Variant(1));
}

// A call's steps belong to one store, whatever happens to its file meanwhile; the next call finds the other one.
TEST_F(SessionPool, AFileThatIsReplacedWithinACallIsNoticedByTheNextCall) {
  Session* first = nullptr;
  {
    const CallLimit call(0);
    {
      const PooledSession session = acquire_session(store_);
      run(*session.get(), "CREATE TABLE FORMER (N int NULL)");
      first = session.get();
    }
    std::filesystem::remove(folder_.path("store.db"));
    const PooledSession session = acquire_session(store_);
    EXPECT_EQ(session.get(), first);
    EXPECT_NE(session->table("FORMER"), nullptr);
  }
  const CallLimit next_call(0);
  const PooledSession session = acquire_session(store_);
  EXPECT_EQ(session->table("FORMER"), nullptr);
}

TEST_F(SessionPool, ClosingAStaleSessionLeavesItsSuccessorsFilesAlone) {
  PooledSession former = acquire_session(store_);
  run(*former.get(), "CREATE TABLE FORMER (N int NULL)");
  std::filesystem::rename(folder_.path("store.db"), folder_.path("away.db"));
  std::filesystem::remove(folder_.path("store.db-wal"));
  std::filesystem::remove(folder_.path("store.db-shm"));
  const PooledSession present = acquire_session(store_);
  run(*present.get(), "CREATE TABLE PRESENT (N int NULL)");
  run(*present.get(), "INSERT INTO PRESENT (N) VALUES (1)");
  former.release();
  close_idle_sessions();
  const PooledSession other = acquire_session(store_);
  EXPECT_EQ(query_one(*other.get(), "SELECT COUNT(*) FROM PRESENT"), Variant(1));
}

TEST_F(SessionPool, TheMemoryStoreIsOneForAllSessionsAndOutlivesThem) {
  const std::string memory = "Provider=SQLite;Data Source=:memory:";
  {
    const PooledSession one = acquire_session(memory);
    const PooledSession two = acquire_session(memory);
    run(*one.get(), "CREATE TABLE POOLED (N int NULL)");
    run(*two.get(), "INSERT INTO POOLED (N) VALUES (1)");
  }
  close_idle_sessions();
  const PooledSession later = acquire_session(memory);
  EXPECT_EQ(query_one(*later.get(), "SELECT COUNT(*) FROM POOLED"), Variant(1));
  run(*later.get(), "DROP TABLE POOLED");
}

TEST_F(SessionPool, ThreadsWorkSideBySide) {
  run(*acquire_session(store_).get(), "CREATE TABLE T (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, N int NULL)");
  constexpr int kThreads = 4;
  constexpr int kRounds = 25;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      const std::string own = std::to_string(thread);
      for (int round = 1; round <= kRounds; ++round) {
        run(*acquire_session(store_).get(), "INSERT INTO T (N) VALUES (" + own + ")");
        const PooledSession session = acquire_session(store_);
        session->start_transaction();
        const Variant count = query_one(*session.get(), "SELECT COUNT(*) FROM T WHERE N = " + own);
        if (count != Variant(round)) ++wrong;
        run(*session.get(), "UPDATE T SET N = N WHERE N = " + own);
        session->commit();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(query_one(*acquire_session(store_).get(), "SELECT COUNT(*) FROM T"), Variant(kThreads * kRounds));
}

TEST_F(SessionPool, ThreadsThatOpenANewStoreTogetherAllGetIt) {
  for (int round = 0; round < 10; ++round) {
    const std::string fresh = folder_.store("fresh" + std::to_string(round) + ".db");
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
      threads.emplace_back([&] {
        try {
          const PooledSession session = acquire_session(fresh);
          query_one(*session.get(), "SELECT 1");
        } catch (const Raised&) {
          ++failures;
        }
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
  }
}

TEST_F(SessionPool, TwoRunsAtOnceGiveEachOtherTurns) {
  run(*acquire_session(store_).get(), "CREATE TABLE T (N int NULL)");
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  // A wait far shorter than the runs: whoever is never let in fails.
  const std::string impatient = store_ + ";Busy Timeout=400";
  for (int thread = 0; thread < 2; ++thread) {
    threads.emplace_back([&] {
      const PooledSession session = acquire_session(impatient);
      session->begin_run();
      const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
      try {
        for (int i = 0; std::chrono::steady_clock::now() < end; ++i)
          run(*session.get(), "INSERT INTO T (N) VALUES (" + std::to_string(i) + ")");
        session->end_run();
      } catch (const Raised&) {
        ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace mercato::store
