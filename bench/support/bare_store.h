// The store file as somebody would use it who writes against the engine itself: opened with the settings, the collation
// and the functions that the library's driver uses, statements prepared once. One thread at a time.
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

// Reads every column of the current row, each as what it holds, and answers a sum over all of it, so that nothing of it
// can be left out.
std::size_t read_row(sqlite3_stmt* statement);

}  // namespace mercato::bench
