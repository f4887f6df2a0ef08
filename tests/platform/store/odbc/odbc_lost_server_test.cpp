// SPDX-License-Identifier: Apache-2.0
// A server behind ODBC, or the process of it that serves a session, goes away: what was going on fails and is undone,
// nothing is done twice, and the next call works when the server is back.
#include "platform/store/call_limit.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/odbc/odbc_server.h"

namespace mercato::store::odbc::test {
namespace {

using namespace error_number;

class OdbcDriverLosesItsServer : public OdbcSessionTest {
 protected:
  std::string server() const { return "The server '" + cluster().folder() + "' (database '" + database() + "')"; }
  // What the server says at its end, its driver does not pass on in the same words every time.
  void expect_ended(const RaisedError& failure) const {
    EXPECT_EQ(failure.Number, kStoreFailure);
    EXPECT_EQ(failure.Source, "ODBC store");
    EXPECT_TRUE(failure.Description.starts_with(
        server() +
        " has ended the connection. What was not committed is undone there. See what stands, then repeat the call"))
        << failure.Description;
  }
  RaisedError insert_fails(int id) {
    return failure_of([&] { run(*session_, "INSERT INTO T (ID) VALUES (" + std::to_string(id) + ")"); });
  }
  std::string stands() const { return as_owner("SELECT string_agg(\"ID\"::text, ',' ORDER BY \"ID\") FROM \"T\""); }
  Variant pooled_count() const { return query_one(*acquire_session(store()).get(), "SELECT COUNT(*) FROM T"); }
};

TEST_F(OdbcDriverLosesItsServer, AndASessionThatNobodyUsedIsNotGivenToTheNextCaller) {
  EXPECT_EQ(pooled_count(), Variant(0));
  end_backends();
  EXPECT_EQ(pooled_count(), Variant(0));
}

TEST_F(OdbcDriverLosesItsServer, AndTheNextCallWorksWhenItIsBack) {
  EXPECT_EQ(pooled_count(), Variant(0));
  cluster().control("stop --mode=immediate");
  const RaisedError failure = failure_of([&] { pooled_count(); });
  cluster().control("start");
  EXPECT_EQ(failure.Number, kStoreFailure);
  EXPECT_TRUE(
      failure.Description.starts_with(server() + " cannot be reached. See that it runs, and correct Server and Port ("))
      << failure.Description;
  EXPECT_EQ(pooled_count(), Variant(0));
}

TEST_F(OdbcDriverLosesItsServer, AndASingleStatementFailsAndIsNotSentAgain) {
  end_backends();
  expect_ended(insert_fails(1));
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset()) << "the pool throws it away";
}

TEST_F(OdbcDriverLosesItsServer, AndOfATransactionNothingStandsAndNothingElseIsTaken) {
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1).Number, 0);
  end_backends();
  const RaisedError failure = insert_fails(2);
  expect_ended(failure);
  EXPECT_EQ(insert_fails(3).Description,
            "This transaction can only be rolled back: the store undid it after a failure. " + failure.Description);
  EXPECT_EQ(failure_of([&] { session_->commit(); }).Description,
            "Nothing of this transaction stands: the store undid it after a failure. " + failure.Description);
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset());
}

TEST_F(OdbcDriverLosesItsServer, AndACommitThatIsNotAnsweredFails) {
  session_->start_transaction();
  EXPECT_EQ(insert_fails(1).Number, 0);
  end_backends();
  expect_ended(failure_of([&] { session_->commit(); }));
  EXPECT_EQ(stands(), "");
  EXPECT_FALSE(session_->reset());
}

TEST_F(OdbcDriverLosesItsServer, AndAUnitOfWorkFailsWholeAndTheNextOneWorks) {
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

}  // namespace
}  // namespace mercato::store::odbc::test
