// SPDX-License-Identifier: Apache-2.0
#include "platform/store/session_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::query_one;
using test::run;

class SessionPool : public testing::Test {
 protected:
  test::Stores stores_;
  std::string store_ = stores_.store().connection_string();
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
  const PooledSession other = acquire_session(stores_.store("other").connection_string());
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
                         stores_.store().failure_source(),
                         "The connection that these rows are read from has been closed",
                         {},
                         0}));
  EXPECT_EQ(run(*acquire_session(store_).get(), "DELETE FROM T").affected, 2);
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
    const std::string fresh = stores_.store("fresh" + std::to_string(round)).connection_string();
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

}  // namespace
}  // namespace mercato::store
