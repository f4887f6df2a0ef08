// SPDX-License-Identifier: Apache-2.0
#include "platform/store/unit_of_work.h"

#include <gtest/gtest.h>

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

  test::Stores stores_;
  std::string store_ = stores_.store().connection_string();
};

TEST_F(Units, OneSessionServesAllUsersOfOneString) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  Session& first = unit.session(store_);
  EXPECT_EQ(&unit.session(store_), &first);
  EXPECT_NE(&unit.session(stores_.store("other").connection_string()), &first);
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
  const std::string other = stores_.store("other").connection_string();
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
  const std::string impatient = stores_.store().impatient();
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
  const std::string alias = stores_.store().impatient() + ";Other=1";
  UnitOfWork upload(UnitOfWork::Kind::run);
  run(upload.session(store_), "INSERT INTO T (N) VALUES (1)");
  run(upload.session(alias), "INSERT INTO T (N) VALUES (2)");
  run(upload.session(store_), "INSERT INTO T (N) VALUES (3)");
  upload.commit();
  EXPECT_EQ(count(), Variant(3));
}

TEST_F(Units, AStoreThatCannotBeOpenedFailsAtItsFirstUse) {
  UnitOfWork unit(UnitOfWork::Kind::transaction);
  EXPECT_EQ(failure_of([&] { unit.session("Data Source=/nowhere/at/all.db"); }).Number, error_number::kStoreFailure);
  EXPECT_NO_THROW(unit.commit());
}

}  // namespace
}  // namespace mercato::store
