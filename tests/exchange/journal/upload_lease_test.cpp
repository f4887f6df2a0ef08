// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/upload_lease.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/clock/universal_time.h"

namespace mercato::exchange {
namespace {

std::string machine() { return this_process().substr(0, this_process().find(':')); }

TEST(UploadLeases, OfThisProcessHoldEvenWhenTheirTimeIsOver) {
  EXPECT_FALSE(is_gone(this_process(), Variant(clock::universal_time(-10))));
}

// In a container the next process has the name of the machine and the number, too.
TEST(UploadLeases, OfAProcessThatHadThisNumberBeforeAreOver) {
  const std::string number = machine() + ":" + std::to_string(::getpid());
  EXPECT_TRUE(is_gone(number + ":1", Variant(clock::universal_time(kLeaseSeconds))));
  EXPECT_TRUE(is_gone(number, Variant(clock::universal_time(kLeaseSeconds))));
}

TEST(UploadLeases, OfAnotherProcessOfThisMachineHoldWhileItLives) {
  const std::string parent = machine() + ":" + std::to_string(::getppid()) + ":1";
  EXPECT_FALSE(is_gone(parent, Variant(clock::universal_time(kLeaseSeconds))));
  constexpr const char* kBeyondAllNumbers = ":2000000000:1";
  EXPECT_TRUE(is_gone(machine() + kBeyondAllNumbers, Variant(clock::universal_time(kLeaseSeconds))));
}

TEST(UploadLeases, OfAnotherMachineHoldForTheirTime) {
  EXPECT_FALSE(is_gone("elsewhere:1:1", Variant(clock::universal_time(kLeaseSeconds))));
  EXPECT_TRUE(is_gone("elsewhere:1:1", Variant(clock::universal_time(-10))));
  EXPECT_TRUE(is_gone("elsewhere:1:1", Variant(kNull)));
}

}  // namespace
}  // namespace mercato::exchange
