// SPDX-License-Identifier: Apache-2.0
#include "mercato/object_context.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "frame/lib_mts.h"
#include "mercato/dictionary.h"
#include "mercato/invoke.h"
#include "mercato/registry.h"
#include "mercato/t_hazardous_class.h"
#include "mercato/t_unit.h"
#include "mercato/unit.h"
#include "platform/store/call_limit.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

// A class that requires a transaction and does in it what the test says.
class Worker : public ComponentOf<Worker> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<Worker>("Test.Worker", "{00000000-0000-0000-0000-000000000003}", TransactionAttribute::required)
            .method("Insert", &Worker::Insert, {"code", "vote"});
    return table;
  }

  void Insert(const std::string& code, const std::string& vote) {
    auto connection = open_connection(shared_connection_string());
    connection->Execute(Sql::verbatim("INSERT INTO UNIT (UNITCODE) VALUES ('" + code + "')"));
    connection->Close();
    if (vote == "commit") Mts_SetComplete();
    if (vote == "abort") Mts_SetAbort();
    if (vote == "fail") {
      Mts_SetAbort();
      raise(5, "Test.Worker", "failed");
    }
  }
};

class Transactions : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    register_class(Worker::table());
  }
  void TearDown() override {
    set_application(nullptr);
    unregister_class(Worker::table());
    StoreTest::TearDown();
  }

  // One call of the object, in which `body` runs.
  template <class Body>
  static void call(const ComponentPtr& object, Body body) {
    ContextCall in_context(object->context());
    body();
    in_context.finish();
  }
  static void insert(const std::string& code) {
    auto connection = open_connection(shared_connection_string());
    connection->Execute(Sql::verbatim("INSERT INTO UNIT (UNITCODE) VALUES ('" + code + "')"));
    connection->Close();
  }
  static ComponentPtr transactional_root() { return create_root("Mercato.TUnit"); }
  static ComponentPtr plain_root() { return create_root("Mercato.Unit"); }
  static Outcome outcome(const ComponentPtr& object) { return object->context()->outcome_of_last_call(); }
  static Vote vote(const ComponentPtr& object) { return object->context()->vote_of_last_call(); }

  // What every other connection sees in the store.
  std::string units() const {
    std::string codes;
    for (const auto& row : rows("SELECT UNITCODE FROM UNIT ORDER BY UNITCODE")) codes += row[0].to_text();
    return codes;
  }
};

TEST_F(Transactions, ARootThatVotesCommitCommitsWhenItsCallEnds) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    insert("A");
    Mts_SetComplete();
    EXPECT_EQ(units(), "A");  // the call's own connections see it
  });
  EXPECT_EQ(outcome(root), Outcome::committed);
  EXPECT_EQ(vote(root), Vote::commit);
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, ARootThatVotesAbortUndoesItsRows) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    insert("A");
    insert("B");
    Mts_SetAbort();
  });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(vote(root), Vote::abort);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, TheLastVoteOfACallCounts) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    insert("A");
    Mts_SetAbort();
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::committed);
  call(root, [&] {
    insert("B");
    Mts_SetComplete();
    Mts_SetAbort();
  });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, WithoutAVoteTheTransactionGoesOn) {
  const ComponentPtr root = transactional_root();
  call(root, [&] { insert("A"); });
  EXPECT_EQ(outcome(root), Outcome::open);
  EXPECT_EQ(vote(root), Vote::none);
  EXPECT_EQ(units(), "");  // nobody else sees it yet
  call(root, [&] {
    EXPECT_EQ(units(), "A");
    insert("B");
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::committed);
  EXPECT_EQ(units(), "AB");
}

// Each object that had read used to keep two files open until it was released.
TEST_F(Transactions, RootsThatHaveOnlyReadHoldNoConnectionBetweenTheirCalls) {
  MERCATO_ONLY_ON_SQLITE(store(), "the open files of the store are counted");
  const auto open_files_of_the_store = [this] {
    std::size_t count = 0;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
      if (std::filesystem::read_symlink(entry.path(), gone).string().starts_with(store_path().string())) ++count;
    return count;
  };
  std::vector<ComponentPtr> roots;
  for (int i = 0; i < 50; ++i) {
    roots.push_back(transactional_root());
    call(roots.back(), [&] { EXPECT_EQ(units(), ""); });
    EXPECT_EQ(outcome(roots.back()), Outcome::open);
  }
  EXPECT_LE(open_files_of_the_store(), 4u);
  call(roots[0], [&] { insert("A"); });
  call(roots[1], [&] { EXPECT_EQ(units(), ""); });
  call(roots[0], [&] { EXPECT_EQ(units(), "A"); });
  roots.clear();
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, AnOpenOneIsUndoneByALaterAbort) {
  const ComponentPtr root = transactional_root();
  call(root, [&] { insert("A"); });
  call(root, [&] { Mts_SetAbort(); });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, ReleaseOfTheRootCommitsAnOpenOne) {
  ComponentPtr root = transactional_root();
  call(root, [&] { insert("A"); });
  root.reset();
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, ReleaseOfTheRootTellsWhatBecameOfAnOpenOne) {
  const ComponentPtr root = transactional_root();
  EXPECT_EQ(root->context()->release(), Outcome::none);
  call(root, [&] { insert("A"); });
  EXPECT_EQ(root->context()->release(), Outcome::committed);
  EXPECT_EQ(root->context()->release(), Outcome::none);
}

TEST_F(Transactions, ReleaseOfTheRootUndoesAnOpenOneInWhichSomebodyVotedAbort) {
  ComponentPtr root = transactional_root();
  call(root, [&] {
    insert("A");
    const ComponentPtr child = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(child, "Insert", {"B", "abort"});
  });
  EXPECT_EQ(outcome(root), Outcome::open);
  root.reset();
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, TheAbortOfAChildWinsOverTheCommitOfTheRoot) {
  const ComponentPtr root = transactional_root();
  ComponentPtr child;
  call(root, [&] {
    insert("A");
    child = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(child, "Insert", {"B", "abort"});
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(vote(root), Vote::commit);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, TheAbortOfAChildThatIsGoneStillCounts) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    invoke(GetObjectContext()->CreateInstance("Test.Worker"), "Insert", {"B", "abort"});
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, AChildMayTakeItsAbortBack) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    const ComponentPtr child = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(child, "Insert", {"A", "abort"});
    invoke(child, "Insert", {"B", "commit"});
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::committed);
  EXPECT_EQ(units(), "AB");
}

TEST_F(Transactions, TheVoteOfAChildAloneEndsNothing) {
  const ComponentPtr root = transactional_root();
  ComponentPtr child;
  call(root, [&] {
    child = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(child, "Insert", {"A", "commit"});
  });
  EXPECT_EQ(outcome(child), Outcome::open);
  EXPECT_EQ(outcome(root), Outcome::open);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, VotesAreSpentWhenTheTransactionHasEnded) {
  const ComponentPtr root = transactional_root();
  ComponentPtr child;
  call(root, [&] {
    child = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(child, "Insert", {"A", "abort"});
    Mts_SetComplete();
  });
  call(root, [&] {
    insert("B");
    Mts_SetComplete();
  });
  EXPECT_EQ(outcome(root), Outcome::committed);
  EXPECT_EQ(units(), "B");
}

TEST_F(Transactions, ACallOfAnObjectOnItselfDoesNotEndTheOuterCall) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    call(root, [&] {
      insert("A");
      Mts_SetComplete();
    });
    insert("B");
    Mts_SetAbort();
  });
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, AFailingCallsVoteCountsAllTheSame) {
  const ComponentPtr root = create_root("Test.Worker");
  EXPECT_EQ(raised_by([&] {
              invoke(root, "Insert", {"A", "fail"});
            }),
            (RaisedError{5, "Test.Worker", "failed", "", 0}));
  EXPECT_EQ(outcome(root), Outcome::rolledback);
  EXPECT_EQ(vote(root), Vote::abort);
  EXPECT_EQ(units(), "");
  invoke(root, "Insert", {"B", "commit"});
  EXPECT_EQ(outcome(root), Outcome::committed);
  EXPECT_EQ(units(), "B");
}

TEST_F(Transactions, AClassWithoutOneUnderATransactionalRootJoinsIt) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    const ComponentPtr child = GetObjectContext()->CreateInstance("Mercato.Unit");
    call(child, [&] { insert("A"); });
    EXPECT_EQ(outcome(child), Outcome::open);
    Mts_SetAbort();
  });
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, ARootWithoutOneHasEveryStatementStandWhenItHasRun) {
  const ComponentPtr root = plain_root();
  call(root, [&] {
    insert("A");
    Mts_SetAbort();  // nothing to abort
  });
  EXPECT_EQ(outcome(root), Outcome::none);
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, ARequiredClassUnderARootWithoutOneHasItsOwn) {
  const ComponentPtr root = plain_root();
  call(root, [&] {
    const ComponentPtr first = GetObjectContext()->CreateInstance("Test.Worker");
    const ComponentPtr second = GetObjectContext()->CreateInstance("Test.Worker");
    invoke(first, "Insert", {"A", "commit"});
    EXPECT_EQ(outcome(first), Outcome::committed);
    invoke(second, "Insert", {"B", "abort"});
    EXPECT_EQ(outcome(second), Outcome::rolledback);
    insert("C");
  });
  EXPECT_EQ(units(), "AC");
}

TEST_F(Transactions, TwoConnectionsShareOne) {
  const ComponentPtr root = transactional_root();
  call(root, [&] {
    auto first = open_connection(shared_connection_string());
    auto second = open_connection(shared_connection_string());
    first->Execute(LiteralPiece("INSERT INTO UNIT (UNITCODE) VALUES ('A')"));
    const RecordsetPtr seen = second->Execute(LiteralPiece("SELECT UNITCODE FROM UNIT"));
    EXPECT_EQ(seen->Value("UNITCODE"), Variant("A"));
    second->Execute(LiteralPiece("INSERT INTO UNIT (UNITCODE) VALUES ('B')"));
    first->Close();
    Mts_SetAbort();
  });
  EXPECT_EQ(units(), "");
}

TEST_F(Transactions, OfTwoRootsAreIndependent) {
  const ComponentPtr first = transactional_root();
  const ComponentPtr second = transactional_root();
  call(first, [&] {
    insert("A");
    Mts_SetComplete();
  });
  call(second, [&] {
    insert("B");
    Mts_SetAbort();
  });
  EXPECT_EQ(units(), "A");
}

TEST_F(Transactions, ThereIsNoContextOutsideOfACall) {
  const ComponentPtr root = transactional_root();
  EXPECT_EQ(GetObjectContext(), nullptr);
  call(root, [&] {
    EXPECT_EQ(GetObjectContext(), root->context().get());
    const ComponentPtr child = GetObjectContext()->CreateInstance("Mercato.Unit");
    call(child, [&] { EXPECT_EQ(GetObjectContext(), child->context().get()); });
    EXPECT_EQ(GetObjectContext(), root->context().get());
  });
  EXPECT_EQ(GetObjectContext(), nullptr);
  { ContextCall without(nullptr); }
  EXPECT_EQ(GetObjectContext(), nullptr);
}

TEST_F(Transactions, TheOnlyItemOfAContextIsTheApplication) {
  const ComponentPtr root = plain_root();
  EXPECT_EQ(raised_by([&] { root->context()->Item("Application"); }),
            (RaisedError{5, "Mercato", "The context has no item 'Application'", "", 0}));
  const auto application = std::make_shared<Dictionary>();
  set_application(application);
  EXPECT_EQ(root->context()->Item("Application"), application);
  EXPECT_EQ(raised_by([&] { root->context()->Item("Session"); }).Number, 5);
}

TEST_F(Transactions, TheTypedHandleRunsEachCallUnderTheContext) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('A')"});
  Root<TUnit> unit;
  std::string code = "A";
  EXPECT_TRUE(unit->Delete(code));
  EXPECT_EQ(unit.context().vote_of_last_call(), Vote::commit);
  EXPECT_EQ(unit.context().outcome_of_last_call(), Outcome::committed);
  EXPECT_EQ(units(), "");
  EXPECT_EQ(raised_by([&] { unit->Delete(code); }).Source, "Mercato.Unit.Delete");
  EXPECT_EQ(unit.context().outcome_of_last_call(), Outcome::rolledback);
  EXPECT_EQ(GetObjectContext(), nullptr);
}

TEST_F(Transactions, ACallUnderAContextIsOneCallFromOutsideWithAllCallsInIt) {
  const ComponentPtr outer = transactional_root(), inner = plain_root();
  std::uint64_t first = 0;
  call(outer, [&] {
    first = store::call_under_way();
    EXPECT_NE(first, 0U);
    call(inner, [&] { EXPECT_EQ(store::call_under_way(), first); });
    EXPECT_EQ(store::call_under_way(), first);
  });
  EXPECT_EQ(store::call_under_way(), 0U);
  call(inner, [&] { EXPECT_NE(store::call_under_way(), first); });
}

TEST_F(Transactions, OfSeveralThreadsWorkSideBySide) {
  constexpr int kThreads = 4;
  constexpr int kCalls = 20;
  std::atomic<int> committed{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([thread, &committed] {
      const ComponentPtr worker = create_root("Test.Worker");
      for (int count = 0; count < kCalls; ++count) {
        const std::string code = "T" + std::to_string(thread) + "-" + std::to_string(count);
        invoke(worker, "Insert", {code, count % 2 == 0 ? "commit" : "abort"});
        if (worker->context()->outcome_of_last_call() == Outcome::committed) ++committed;
        Root<Unit> reader;
        std::string wanted = code;
        EXPECT_EQ(reader->getUnitCodeFromDescription(wanted), count % 2 == 0 ? code : "");
      }
      forget_thread_state();
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(committed, kThreads * kCalls / 2);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNIT"), Variant(kThreads * kCalls / 2));
}

}  // namespace
}  // namespace mercato::test
