// SPDX-License-Identifier: Apache-2.0
// The store file for code that is written against the engine itself. It is opened with the settings, the collation and
// the functions of the library's driver, and statements are prepared once. One thread at a time.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>

namespace mercato::bench {

struct FinalizeBareStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using BareStatement = std::unique_ptr<sqlite3_stmt, FinalizeBareStatement>;

class BareStore {
 public:
  // Commits are not flushed one by one. Throws std::runtime_error with the engine's words, as all calls here do.
  explicit BareStore(const std::filesystem::path& path);

  void run(const char* sql);
  BareStatement prepare(const std::string& sql);
  [[noreturn]] void fail(const std::string& doing) const;
  sqlite3* engine() const { return engine_.get(); }

 private:
  struct CloseEngine {
    void operator()(sqlite3* engine) const noexcept { sqlite3_close(engine); }
  };
  std::unique_ptr<sqlite3, CloseEngine> engine_;
};

// Reads every column of the current row by its type, and returns a sum over all of them, so that the compiler cannot
// leave the reading out.
std::size_t read_row(sqlite3_stmt* statement);

}  // namespace mercato::bench
