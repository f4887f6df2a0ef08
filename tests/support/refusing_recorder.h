// SPDX-License-Identifier: Apache-2.0
// Failures at a chosen statement of a piece of work. Those at a row that it writes are the store's (test_store.h).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/store_fixture.h"

namespace mercato::test {

// Refuses the statement with that number, counted from 1, so that the one among several that read alike can be chosen.
class RefusingRecorder : public Recorder {
 public:
  explicit RefusingRecorder(std::size_t number) : number_(number) {}
  void on_statement(std::string_view text, bool by_library) override {
    Recorder::on_statement(text, by_library);
    if (by_library && statements.size() == number_)
      raise(error_number::kStatementRefused, "Test", "refused on request");
  }

 private:
  std::size_t number_;
};
// The statements up to that number.
inline std::vector<std::string> first_of(const std::vector<std::string>& statements, std::size_t number) {
  return {statements.begin(), statements.begin() + static_cast<std::ptrdiff_t>(number)};
}

}  // namespace mercato::test
