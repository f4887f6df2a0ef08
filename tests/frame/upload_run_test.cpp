// SPDX-License-Identifier: Apache-2.0
#include "frame/upload_run.h"

#include <gtest/gtest.h>

#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

class StoreRuns : public StoreTest {
 protected:
  void add_unit(const std::string& code) const { execute({"INSERT UNIT (UNITCODE) VALUES ('" + code + "')"}); }
  std::int32_t units() const { return value_of("SELECT COUNT(*) FROM UNIT").to_long(); }
};

TEST_F(StoreRuns, RunHoldsForItsThreadUntilItIsFinished) {
  StoreRun run;
  store::UnitOfWork* const unit = store::UnitOfWork::current();
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(unit->kind(), store::UnitOfWork::Kind::run);
  add_unit("PC");
  EXPECT_EQ(units(), 1);
  run.finish();
  EXPECT_EQ(store::UnitOfWork::current(), nullptr);
  EXPECT_EQ(units(), 1);
}

TEST_F(StoreRuns, RunThatIsNotFinishedKeepsItsStatements) {
  {
    StoreRun run;
    add_unit("PC");
  }
  EXPECT_EQ(store::UnitOfWork::current(), nullptr);
  EXPECT_EQ(units(), 1);
}

TEST_F(StoreRuns, FailedStatementOfARunTakesNoOtherWithIt) {
  StoreRun run;
  add_unit("PC");
  EXPECT_EQ(raised_by([&] { add_unit("PC"); }).Number, error_number::kConstraintViolated);
  add_unit("BX");
  run.finish();
  EXPECT_EQ(units(), 2);
}

TEST_F(StoreRuns, RunInsideATransactionOrAnotherRunChangesNothing) {
  store::UnitOfWork transaction(store::UnitOfWork::Kind::transaction);
  {
    store::UnitOfWork::Current current(&transaction);
    StoreRun run;
    EXPECT_EQ(store::UnitOfWork::current(), &transaction);
    add_unit("PC");
    run.finish();
    EXPECT_EQ(store::UnitOfWork::current(), &transaction);
  }
  transaction.rollback();
  EXPECT_EQ(units(), 0);

  StoreRun outer;
  store::UnitOfWork* const unit = store::UnitOfWork::current();
  {
    StoreRun inner;
    inner.finish();
    EXPECT_EQ(store::UnitOfWork::current(), unit);
  }
  EXPECT_EQ(store::UnitOfWork::current(), unit);
}

}  // namespace
}  // namespace mercato::test
