// SPDX-License-Identifier: Apache-2.0
// Pooled sessions of files: a file that is replaced, the store in memory, and who waits for whose lock.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::failure_of;
using test::query_one;
using test::run;

class PooledFiles : public testing::Test {
 protected:
  test::Folder folder_;
  std::string store_ = folder_.store();
};

TEST_F(PooledFiles, AFileThatWasReplacedIsOpenedAnew) {
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
TEST_F(PooledFiles, AFileThatIsReplacedWithinACallIsNoticedByTheNextCall) {
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

TEST_F(PooledFiles, ClosingAStaleSessionLeavesItsSuccessorsFilesAlone) {
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

TEST_F(PooledFiles, TheMemoryStoreIsOneForAllSessionsAndOutlivesThem) {
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

TEST_F(PooledFiles, TwoRunsAtOnceGiveEachOtherTurns) {
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

// Once a thread waited out the time for a lock that only it could have let go of.
TEST_F(PooledFiles, ATransactionOfTheSameThreadIsNotWaitedFor) {
  run(*acquire_session(store_).get(), "CREATE TABLE T (N int NULL)");
  UnitOfWork first(UnitOfWork::Kind::transaction);
  UnitOfWork second(UnitOfWork::Kind::transaction);
  run(first.session(store_), "INSERT INTO T (N) VALUES (1)");
  const auto began = std::chrono::steady_clock::now();
  EXPECT_EQ(
      failure_of([&] { run(second.session(store_), "INSERT INTO T (N) VALUES (2)"); }),
      (RaisedError{error_number::kStoreFailure,
                   "SQLite store",
                   "An object of this thread holds an open transaction on the store '" + folder_.path("store.db") +
                       "'. It has to vote, or to be released, first (database is locked)",
                   {},
                   0}));
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
  first.commit();
  run(second.session(store_), "INSERT INTO T (N) VALUES (2)");
  second.commit();
  EXPECT_EQ(query_one(*acquire_session(store_).get(), "SELECT COUNT(*) FROM T"), Variant(2));
}

}  // namespace
}  // namespace mercato::store
