// SPDX-License-Identifier: Apache-2.0
// What becomes of a call of class Product whose statement the store refuses.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/product/product_fixture.h"

namespace mercato::test {

// Refuses each of the statements in turn, every time for a fresh object: the call raises the refusal, logged and
// wrapped once under the label, and votes as told.
template <class Call>
void expect_refusals_to_take_the_tail(const Statements& statements, const std::string& label, Vote vote, Call call) {
  for (const std::string& statement : std::set<std::string>(statements.begin(), statements.end())) {
    SCOPED_TRACE(label + " " + statement);
    const Root<Product> product;
    Recorder recorder;
    recorder.fail_on = statement;
    RaisedError raised;
    try {
      call(product);
    } catch (const Raised& failure) {
      raised = failure.error();
    }
    const std::string once = message("80040E14", label, "refused on request");
    EXPECT_EQ(raised, (RaisedError{error_number::kStatementRefused, "Test", once, "", 0}));
    EXPECT_EQ(recorder.log, (std::vector<LogEntry>{{"Test", message("80040E14", label, once), 0}}));
    EXPECT_EQ(product.context().vote_of_last_call(), vote);
  }
}

}  // namespace mercato::test
