// SPDX-License-Identifier: Apache-2.0
// What a session waits for has an end: a statement is ended on the server when its call has run too long, or when
// somebody ends the call, and not only at the next full second.
#include <atomic>
#include <chrono>
#include <future>

#include "platform/store/call_limit.h"
#include "tests/platform/store/odbc/odbc_server.h"

namespace mercato::store::odbc::test {
namespace {

using namespace error_number;
using postgres::test::comes_true;

class OdbcDriverLimits : public OdbcSessionTest {
 protected:
  void SetUp() override {
    OdbcSessionTest::SetUp();
    if (!IsSkipped()) as_owner("INSERT INTO \"T\" SELECT generate_series(1001, 4000)");
  }
  static constexpr const char* kEndless = "SELECT COUNT(*) FROM T A, T B, T C WHERE A.ID + B.ID + C.ID = 0";
  RaisedError failure_of_endless() {
    return failure_of([&] { run(*session_, kEndless).cursor->next(); });
  }
  void insert(int id) { run(*session_, "INSERT INTO T (ID) VALUES (" + std::to_string(id) + ")"); }
  bool server_is_idle() const {
    return comes_true([&] { return count_of("state = 'active'") == "0"; });
  }
};

TEST_F(OdbcDriverLimits, TheCallLimitEndsTheStatementOnTheServerToTheTenth) {
  // In the middle of a second, as its beginning is what a driver counts from.
  for (const double seconds : {0.2, 1.2}) {
    const auto begin = std::chrono::steady_clock::now();
    const CallLimit limit(seconds);
    const RaisedError failure = failure_of_endless();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(failure.Number, kTimeout);
    EXPECT_EQ(failure.Description, seconds < 1 ? "Timeout expired: the call ran longer than its limit of 0.2 seconds"
                                               : "Timeout expired: the call ran longer than its limit of 1.2 seconds");
    EXPECT_GE(taken.count(), seconds);
    EXPECT_LT(taken.count(), seconds + 0.6) << "the next full second is 0.8 s later";
    EXPECT_TRUE(server_is_idle());
  }
  EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM T"), Variant(3000));
  EXPECT_TRUE(session_->reset());
}

TEST_F(OdbcDriverLimits, WhoeverEndsTheCallEndsItsStatementOnTheServer) {
  std::atomic<bool> ended = false;
  const std::future<void> other = std::async(std::launch::async, [&] {
    EXPECT_TRUE(comes_true([&] { return count_of("state = 'active'") == "1"; }));
    ended = true;
  });
  {
    const Cancellable cancellable(ended);
    const CallLimit limit(0);
    const RaisedError failure = failure_of_endless();
    EXPECT_EQ(failure.Number, kTimeout);
    EXPECT_EQ(failure.Description, "Timeout expired: the call was cancelled");
  }
  EXPECT_TRUE(server_is_idle());
  EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM T"), Variant(3000));
}

TEST_F(OdbcDriverLimits, TheCallLimitLeavesATransactionWhatItWas) {
  session_->start_transaction();
  insert(1);
  {
    const CallLimit limit(0.1);
    EXPECT_EQ(failure_of_endless().Number, kTimeout);
  }
  insert(2);
  session_->commit();
  EXPECT_EQ(as_owner("SELECT count(*) FROM \"T\" WHERE \"ID\" < 100"), "2");
}

// The end of one call may come at any moment of its statements: none of the next call's is ended by it, and no answer is
// cut short.
TEST_F(OdbcDriverLimits, NoOtherStatementThanTheCallsOwnIsEnded) {
  int ended = 0, answered = 0;
  for (int i = 0; i < 40; ++i) {
    {
      const CallLimit limit(0.001 + 0.0005 * i);
      try {
        int rows = 0;
        const Execution all = run(*session_, "SELECT ID FROM T");
        while (all.cursor->next()) ++rows;
        EXPECT_EQ(rows, 3000);
        ++answered;
      } catch (const Raised& failed) {
        EXPECT_EQ(failed.error().Number, kTimeout) << failed.error().Description;
        ++ended;
      }
    }
    EXPECT_EQ(query_one(*session_, "SELECT COUNT(*) FROM T"), Variant(3000));
  }
  EXPECT_GT(ended, 0);
  EXPECT_GT(answered, 0);
}

}  // namespace
}  // namespace mercato::store::odbc::test
