// SPDX-License-Identifier: Apache-2.0
#include "frame/method.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/messages.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

class Method : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    recorder_.emplace();
  }
  void TearDown() override {
    recorder_.reset();
    StoreTest::TearDown();
  }
  std::vector<LogEntry>& log() { return recorder_->log; }

  std::vector<std::string> done_;

 private:
  std::optional<Recorder> recorder_;
};

TEST_F(Method, ThatSucceedsRunsNoStepOfItsTail) {
  EXPECT_EQ(method([] { return 5; }, Tail{"L", [&] { done_.emplace_back("tail"); }}), 5);
  EXPECT_TRUE(done_.empty());
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, ThatFailsRunsItsTailBeforeItLogsAndRaises) {
  const RaisedError raised = raised_by([&] {
    method([]() -> int { raise(5, "S", "d"); }, Tail{"L", [&] {
                                                       EXPECT_TRUE(log().empty());
                                                       done_.emplace_back("tail");
                                                     }});
  });
  EXPECT_EQ(raised, (RaisedError{5, "S", message("5", "L", "d"), "", 0}));
  EXPECT_EQ(done_, std::vector<std::string>{"tail"});
  EXPECT_EQ(log(), (std::vector<LogEntry>{{"S", message("5", "L", message("5", "L", "d")), 0}}));
}

TEST_F(Method, MayMakeItsLabelOfWhatItCameToKnow) {
  std::string asked = "nothing";
  const auto label = [&] { return "L " + asked; };
  EXPECT_EQ(raised_by([&] {
              method(
                  [&]() -> int {
                    asked = "a question";
                    raise(5, "S", "d");
                  },
                  Tail{label, [&] { done_.emplace_back("tail"); }});
            }),
            (RaisedError{5, "S", message("5", "L a question", "d"), "", 0}));
  EXPECT_EQ(done_, std::vector<std::string>{"tail"});
  EXPECT_EQ(log().size(), 1u);
}

TEST_F(Method, ThatIsRefusedLeavesThroughItsTailAndRaisesNothing) {
  EXPECT_FALSE(method([]() -> Answer<bool> { return refused; }, Tail{"L", no_steps}));
  EXPECT_EQ(method([]() -> Answer<std::int32_t> { return refused; }, Tail{"L", [&] { done_.emplace_back("tail"); }}),
            0);
  EXPECT_EQ(method([]() -> Answer<std::string> { return refused; }, Tail{"L", no_steps}), "");
  EXPECT_EQ(done_, std::vector<std::string>{"tail"});
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, ThatMayBeRefusedReturnsItsAnswerOtherwise) {
  EXPECT_TRUE(method([]() -> Answer<bool> { return true; }, Tail{"L", [&] { done_.emplace_back("tail"); }}));
  EXPECT_TRUE(done_.empty());
}

TEST_F(Method, ThatIsRefusedReturnsThePresetOfItsTail) {
  EXPECT_EQ(method([]() -> Answer<std::int32_t> { return refused; }, Tail{"L", no_steps, -1}), -1);
  EXPECT_TRUE(method([]() -> Answer<bool> { return refused; }, Tail{"L", no_steps, true}));
}

TEST_F(Method, ThatIsRefusedAfterASwallowedFailureStillHasNoErrorPending) {
  EXPECT_FALSE(method(
      []() -> Answer<bool> {
        current_error() = {5, "S", "left behind", "", 0};
        return refused;
      },
      Tail{"L", no_steps}));
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, ThatDisarmsItsTailLetsTheFailurePassUntouched) {
  const RaisedError raised = raised_by([&] {
    method(
        [](TailSwitch& tail) -> int {
          tail.disarm();
          raise(eProductIdNotFound, "S", "d");
        },
        Tail{"L", [&] { done_.emplace_back("tail"); }});
  });
  EXPECT_EQ(raised, (RaisedError{eProductIdNotFound, "S", "d", "", 0}));
  EXPECT_TRUE(done_.empty());
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, ThatDisarmsItsTailStillRaisesNothingButNumberedFailures) {
  EXPECT_EQ(raised_by([] {
              method(
                  [](TailSwitch& tail) -> int {
                    tail.disarm();
                    throw std::bad_alloc();
                  },
                  Tail{"L", no_steps});
            }),
            (RaisedError{error_number::kOutOfMemory, "Mercato", "Out of memory", "", 0}));
}

TEST_F(Method, GivesFailuresOfTheGroundANumber) {
  EXPECT_EQ(raised_by([] {
              method([]() -> int { throw std::bad_alloc(); }, Tail{"L", no_steps});
            }),
            (RaisedError{error_number::kOutOfMemory, "Mercato", message("7", "L", "Out of memory"), "", 0}));
  EXPECT_EQ(raised_by([] {
              method([]() -> int { throw std::runtime_error("broken"); }, Tail{"L", no_steps});
            }),
            (RaisedError{error_number::kStoreFailure, "Mercato", message("80004005", "L", "broken"), "", 0}));
}

TEST_F(Method, PutsWhatItsStepsReturnIntoTheMessage) {
  EXPECT_EQ(raised_by([] {
              method([]() -> int { raise(5, "S", "d"); }, Tail{"L", []() -> Variant { return "information"; }});
            }).Description,
            message("5", "L", "d", "information"));
  EXPECT_EQ(raised_by([] {
              method([]() -> int { raise(5, "S", "d"); }, Tail{"L", []() -> Variant { return ""; }});
            }).Description,
            message("5", "L", "d", ""));
}

TEST_F(Method, KeepsItsErrorWhileItsStepsCallOtherMethods) {
  const RaisedError raised = raised_by([&] {
    method([]() -> int { raise(5, "S", "d"); },
           Tail{"L", [&] {
                  EXPECT_EQ(current_error().Number, 5);
                  done_.push_back(std::to_string(method([] { return 1; }, Tail{"step", no_steps})));
                  EXPECT_FALSE(suppressing_failures([] {
                    method([] { raise(6, "T", "e"); }, Tail{"failing step", no_steps});
                  }));
                }});
  });
  EXPECT_EQ(raised, (RaisedError{5, "S", message("5", "L", "d"), "", 0}));
  EXPECT_EQ(done_, std::vector<std::string>{"1"});
}

TEST_F(Method, WhoseStepsFailRaisesTheirFailureInstead) {
  EXPECT_EQ(raised_by([] {
              method([]() -> int { raise(5, "S", "d"); }, Tail{"L", [] { raise(91, "T", "e"); }});
            }),
            (RaisedError{91, "T", "e", "", 0}));
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, ClearsAnErrorThatWasLeftBehindBeforeIt) {
  current_error() = {5, "S", "left behind", "", 0};
  EXPECT_EQ(method([] { return current_error().Number; }, Tail{"L", no_steps}), 0);
  current_error() = {5, "S", "left behind", "", 0};
  EXPECT_FALSE(method([]() -> Answer<bool> { return refused; }, Tail{"L", no_steps}));
  EXPECT_TRUE(log().empty());
}

TEST_F(Method, WithoutAResultMayFailOrSucceed) {
  method([&] { done_.emplace_back("body"); }, Tail{"L", no_steps});
  EXPECT_EQ(done_, std::vector<std::string>{"body"});
  EXPECT_EQ(raised_by([] { method([] { raise(5, "S", "d"); }, Tail{"L", no_steps}); }).Number, 5);
}

}  // namespace
}  // namespace mercato::test
