// SPDX-License-Identifier: Apache-2.0
// A server that speaks the library's dialect itself answers for itself: what its functions make of unusual texts, and its
// words for what it refuses, differ with its version and are none of the library's.
#pragma once

#include "tests/support/test_store.h"
#include "values/text.h"

namespace mercato::test {

inline bool answers_for_itself(const TestStore& store) {
  const auto property = [&store](std::string_view name) {
    return store::connection_property(store.connection_string(), name).value_or("");
  };
  return text::equal_names(property("Provider"), "ODBC") && !text::equal_names(property("Dialect"), "PostgreSQL");
}

// For a test that holds against such answers.
#define MERCATO_NOT_WHERE_SERVERS_ANSWER(store, what) \
  if (::mercato::test::answers_for_itself(store)) GTEST_SKIP() << "the server answers for itself: " << (what)

}  // namespace mercato::test
