// SPDX-License-Identifier: Apache-2.0
// Allocations that fail when a test says so: those of the program and the library, and those of the engine and the XML
// libraries, which have functions of their own for it. ICU's are left alone.
#pragma once

#include <cstdint>

namespace mercato::test {

enum class Failing {
  once,         // one allocation, as a single large one does
  from_then_on  // it and all later ones, as when everything is used up
};

// While it lives, this thread's nth allocation from now fails. 0: none does, they are only counted.
class FailingAllocations {
 public:
  FailingAllocations(std::int64_t nth, Failing how);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
};

// Ends it earlier: what follows is the test's own.
void stop_failing();

// Whether those of libxml2 never fail: its judge of schemas ends the process when one does.
void spare_libxml2(bool spared);

// Of the latest FailingAllocations of this thread: how many were asked for, and whether one failed.
std::int64_t allocations_asked_for();
bool allocation_failed();

}  // namespace mercato::test
