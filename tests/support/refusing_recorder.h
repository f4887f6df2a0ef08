// SPDX-License-Identifier: Apache-2.0
// Failures at a chosen point of a piece of work: at one of its statements, or at one of the rows that it writes.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/sqlite/functions.h"
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

// The engine past the library: for what no statement of the dialect does. Runs statements in the engine's own SQL and
// returns the first field of the last row, as text.
inline std::string run_on_engine(const std::filesystem::path& store, const std::string& sql,
                                 int access = SQLITE_OPEN_READWRITE) {
  sqlite3* engine = nullptr;
  EXPECT_EQ(sqlite3_open_v2(store.c_str(), &engine, access, nullptr), SQLITE_OK);
  store::sqlite::register_functions(engine);
  std::string answer;
  const auto keep = [](void* kept, int, char** fields, char**) {
    *static_cast<std::string*>(kept) = fields[0] ? fields[0] : "";
    return 0;
  };
  char* message = nullptr;
  EXPECT_EQ(sqlite3_exec(engine, sql.c_str(), keep, &answer, &message), SQLITE_OK) << (message ? message : "");
  sqlite3_free(message);
  sqlite3_close(engine);
  return answer;
}

// While it lives, the store refuses to insert or update a row of the table under a condition in the engine's own SQL.
class RefusedRows {
 public:
  RefusedRows(std::filesystem::path store, const std::string& operation, const std::string& table,
              const std::string& condition)
      : store_(std::move(store)) {
    run_on_engine(store_, "CREATE TRIGGER REFUSED_ROWS BEFORE " + operation + " ON " + table + " WHEN " + condition +
                              " BEGIN SELECT RAISE(ABORT, 'row refused on request'); END");
  }
  ~RefusedRows() { run_on_engine(store_, "DROP TRIGGER REFUSED_ROWS"); }
  RefusedRows(const RefusedRows&) = delete;
  RefusedRows& operator=(const RefusedRows&) = delete;

 private:
  std::filesystem::path store_;
};

}  // namespace mercato::test
