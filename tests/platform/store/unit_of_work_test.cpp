#include "platform/store/unit_of_work.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tests/platform/store/store_files.h"

namespace mercato::store {
namespace {

using test::failure_of;
using test::query_one;
using test::run;

class Units : public testing::Test {
 protected:
  Units() { run(*acquire_session(store_).get(), "CREATE TABLE T (N int NULL)"); }
  // As a session of its own sees it.
  Variant count() { return query_one(*acquire_session(store_).get(), "SELECT COUNT(*) FROM T"); }

  test::Folder folder_;
  std::string store_ = folder_.store();
};

TEST_F(Units, OneSessionServesAllUsersOfOneString) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  Session& first = unit.session(store_);
  EXPECT_EQ(&unit.session(store_), &first);
  EXPECT_NE(&unit.session(folder_.store("other.db")), &first);
}

TEST_F(Units, ACommittedTransactionStands) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (1)");
  EXPECT_EQ(count(), Variant(0));
  unit.commit();
  EXPECT_EQ(count(), Variant(1));
}

TEST_F(Units, ATransactionThatWasNotCommittedIsRolledBack) {
  { run(UnitOfWork(UnitOfWork::Kind::transaction).session(store_), "INSERT INTO T (N) VALUES (1)"); }
  EXPECT_EQ(count(), Variant(0));
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (1)");
  unit.rollback();
  EXPECT_EQ(count(), Variant(0));
}

TEST_F(Units, ACommitOfTwoStoresCommitsBoth) {
  const std::string other = folder_.store("other.db");
  run(*acquire_session(other).get(), "CREATE TABLE T (N int NULL)");
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (1)");
  run(unit.session(other), "INSERT INTO T (N) VALUES (2)");
  unit.commit();
  EXPECT_EQ(count(), Variant(1));
  EXPECT_EQ(query_one(*acquire_session(other).get(), "SELECT N FROM T"), Variant(2));
}

TEST_F(Units, ARunIsDurableWhenItIsCommittedAndEndedWhenItIsDropped) {
  {
    UnitOfWork unit(UnitOfWork::Kind::run);
    run(unit.session(store_), "INSERT INTO T (N) VALUES (1)");
    unit.commit();
    EXPECT_EQ(count(), Variant(1));
    run(unit.session(store_), "INSERT INTO T (N) VALUES (2)");
  }
  EXPECT_EQ(count(), Variant(2));
}

TEST_F(Units, TheCurrentOneIsKeptByTheGuard) {
  EXPECT_EQ(UnitOfWork::current(), nullptr);
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  {
    const UnitOfWork::Current outer(&unit);
    EXPECT_EQ(UnitOfWork::current(), &unit);
    {
      const UnitOfWork::Current none(nullptr);
      EXPECT_EQ(UnitOfWork::current(), nullptr);
    }
    EXPECT_EQ(UnitOfWork::current(), &unit);
  }
  EXPECT_EQ(UnitOfWork::current(), nullptr);
}

TEST_F(Units, ATransactionInsideARunFindsTheStoreFreeAndSeesWhatTheRunWrote) {
  UnitOfWork upload(UnitOfWork::Kind::run);
  const UnitOfWork::Current running(&upload);
  run(upload.session(store_), "INSERT INTO T (N) VALUES (1)");
  {
    UnitOfWork inner(UnitOfWork::Kind::transaction);
    const UnitOfWork::Current current(&inner);
    EXPECT_EQ(query_one(inner.session(store_), "SELECT COUNT(*) FROM T"), Variant(1));
    run(inner.session(store_), "INSERT INTO T (N) VALUES (2)");
    inner.commit();
  }
  EXPECT_EQ(query_one(upload.session(store_), "SELECT COUNT(*) FROM T"), Variant(2));
  run(upload.session(store_), "INSERT INTO T (N) VALUES (3)");
  upload.commit();
  EXPECT_EQ(count(), Variant(3));
}

// Once a run kept others from seeing and writing while its thread waited for something else.
TEST_F(Units, ARunLetsOthersWriteWhileItsThreadWaits) {
  const std::string impatient = "Data Source=" + folder_.path("store.db") + ";Busy Timeout=0";
  UnitOfWork upload(UnitOfWork::Kind::run);
  const UnitOfWork::Current running(&upload);
  run(upload.session(store_), "INSERT INTO T (N) VALUES (1)");
  UnitOfWork::before_waiting();
  EXPECT_EQ(count(), Variant(1));
  run(*acquire_session(impatient).get(), "INSERT INTO T (N) VALUES (2)");
  run(upload.session(store_), "INSERT INTO T (N) VALUES (3)");
  upload.commit();
  EXPECT_EQ(count(), Variant(3));
}

// Once a thread waited out the time for a lock that only it could have let go of.
TEST_F(Units, ATransactionOfTheSameThreadIsNotWaitedFor) {
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
  EXPECT_EQ(count(), Variant(2));
}

TEST_F(Units, ATransactionGivesBackTheSessionsThatItHasLeftNothingIn) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  Session* const first = &unit.session(store_);
  EXPECT_EQ(query_one(*first, "SELECT COUNT(*) FROM T"), Variant(0));
  unit.release_unused();
  const PooledSession other = acquire_session(store_);
  EXPECT_EQ(other.get(), first);
  run(unit.session(store_), "INSERT INTO T (N) VALUES (1)");
  unit.release_unused();
  EXPECT_EQ(query_one(unit.session(store_), "SELECT COUNT(*) FROM T"), Variant(1));
  EXPECT_EQ(query_one(*other.get(), "SELECT COUNT(*) FROM T"), Variant(0));
  unit.rollback();
  EXPECT_EQ(count(), Variant(0));
}

TEST_F(Units, TwoStringsOfOneStoreDoNotBlockEachOtherInARun) {
  const std::string alias = "Data Source=" + folder_.path("store.db") + ";Busy Timeout=0";
  UnitOfWork upload(UnitOfWork::Kind::run);
  run(upload.session(store_), "INSERT INTO T (N) VALUES (1)");
  run(upload.session(alias), "INSERT INTO T (N) VALUES (2)");
  run(upload.session(store_), "INSERT INTO T (N) VALUES (3)");
  upload.commit();
  EXPECT_EQ(count(), Variant(3));
}

TEST_F(Units, AStoreThatCannotBeOpenedFailsAtItsFirstUse) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  EXPECT_EQ(failure_of([&] { unit.session("Data Source=" + folder_.path("none.db")); }).Number,
            error_number::kStoreFailure);
  EXPECT_NO_THROW(unit.commit());
}

}  // namespace
}  // namespace mercato::store
