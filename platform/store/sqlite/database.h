// One open store file: opening with its settings, waiting for locks, the end of a statement that runs too long.
// One thread at a time.
#pragma once

#include <sqlite3.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "frame/types/raised_error.h"
#include "platform/store/row_layout.h"

namespace mercato::store::sqlite {

// The version of the store's layout, kept in its header. 0: not marked yet, no tables were defined.
inline constexpr std::int64_t kStoreVersion = 1;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

class Database {
 public:
  // Raises what `sqlite_driver` says.
  explicit Database(const std::string& connection_string);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database();

  sqlite3* engine() const { return engine_.get(); }
  bool in_transaction() const { return sqlite3_get_autocommit(engine_.get()) == 0; }
  // Whether the file behind the connection string is another one by now, or gone.
  bool replaced() const noexcept;

  // One that is going to be kept.
  StatementHandle prepare(std::string_view sql);
  // Statements without rows.
  void run(const char* sql);
  // The first column of the first row.
  std::int64_t query_integer(const char* sql);

  // What the engine has just reported; kTimeout when the call limit is what ended the statement.
  // `table` is the one that the statement wrote, if any.
  RaisedError failure(int code, const TableInfo* table = nullptr) const;
  [[noreturn]] void raise(int code) const { throw Raised(failure(code)); }

  // While false, a statement is not ended by the call limit: for single writes inside a group of them, which the engine
  // would undo as a whole.
  void set_interruptible(bool interruptible) { interruptible_ = interruptible; }

  // Whether a commit is durable when it returns; as opened, it is.
  void set_durable_commits(bool durable);
  // Makes everything durable that was committed, also what was committed without a flush.
  void flush_to_disk();

 private:
  struct CloseEngine {
    void operator()(sqlite3* engine) const noexcept { sqlite3_close(engine); }
  };

  void open(const std::string& name, int flags);
  void configure();
  void run_when_free(const char* sql);
  static int wait_for_lock(void* self, int tries);
  static int interrupts(void* self);

  std::string path_;  // as given, so that a relative one is followed from where the process stands
  long busy_timeout_ms_ = 10000;
  std::chrono::steady_clock::time_point wait_began_;
  long waited_ms_ = 0;
  bool interruptible_ = true;
  bool in_memory_ = false;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  std::unique_ptr<sqlite3, CloseEngine> engine_;
};

}  // namespace mercato::store::sqlite
