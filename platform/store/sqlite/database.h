// SPDX-License-Identifier: Apache-2.0
// One open store file: opening with its settings, waiting for locks, the end of a statement that runs too long.
// One thread at a time.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/row_layout.h"
#include "platform/store/sqlite/log_owner.h"

namespace mercato::store::sqlite {

// The version of the store's layout, kept in its header. 0: not marked yet, no tables were defined. 1: its indexes are
// in an order of texts that passes over characters that show nothing. 2: its text indexes know no signs.
inline constexpr std::int64_t kStoreVersion = 3;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// The store's file itself is what is wrong: it is damaged or no store, of a newer version, or has the log of another
// file beside it.
struct UnusableStore : Raised {
  using Raised::Raised;
};

// As a file name of the engine that says: nobody changes this file, so no locks and no files beside it are needed.
std::string immutable_name(const std::string& path);

// Brings a store of an older version to this one, within a transaction. The engine's code.
int bring_up_to_date(sqlite3* engine, std::int64_t version);

class Database {
 public:
  // Raises what `sqlite_driver` says.
  explicit Database(const std::string& connection_string);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database();

  sqlite3* engine() const { return engine_.get(); }
  const std::string& path() const { return path_; }
  bool in_transaction() const { return sqlite3_get_autocommit(engine_.get()) == 0; }
  // Whether the file behind the connection string is another one by now, was overwritten from outside, or is gone; the
  // same for its log. True in doubt, too.
  bool replaced() const noexcept;
  // After every commit: raises kStoreFailure when what was committed went into a file that is the store no longer, and
  // notes whose log it is, once for each log.
  void after_commit();
  // The same without the note.
  void refuse_if_replaced() const;

  // One that is going to be kept.
  StatementHandle prepare(std::string_view sql);
  // Statements without rows.
  void run(const char* sql);
  // The first column of the first row.
  std::int64_t query_integer(const char* sql);

  // What the engine has just reported; kTimeout when the call limit is what ended the statement.
  // `table` is the one that the statement wrote, if any.
  RaisedError failure(int code, const TableInfo* table = nullptr) const;
  [[noreturn]] void raise(int code) const;

  // While false, a statement is not ended by the call limit: for single writes inside a group of them, which the engine
  // would undo as a whole.
  void set_interruptible(bool interruptible) { interruptible_ = interruptible; }

  // The open transaction will give the file this mark.
  void admit_mark(std::uint32_t mark);

  // Whether a commit is durable when it returns; as opened, it is.
  void set_durable_commits(bool durable);
  // Before a write: makes up for a setting that found no memory.
  void settle_durability() {
    if (!durability_settled_) set_durable_commits(durable_);
  }
  // Makes everything durable that was committed, also what was committed without a flush.
  void flush_to_disk();

 private:
  struct CloseEngine {
    void operator()(sqlite3* engine) const noexcept { sqlite3_close(engine); }
  };

  void open(const std::string& name, int flags);
  void configure();
  void bring_up_to_date();
  void run_when_free(const char* sql);
  std::optional<std::uint32_t> mark_on_disk() const noexcept;
  std::optional<std::uint64_t> log_in_use() const noexcept;
  bool log_belongs_to_another_file() const;
  std::optional<bool> is_same_file() const noexcept;
  void note_log(std::uint64_t log);
  static int wait_for_lock(void* self, int tries);
  static int checkpoint_long_log(void* self, sqlite3* engine, const char* name, int pages);
  static int interrupts(void* self);

  std::string path_;      // as given, so that a relative one is followed from where the process stands
  std::string files_;     // what the names of the files beside it begin with: the same for all who come by links
  std::string log_path_;  // of the log beside it, which is looked at whenever the session comes out of the pool
  long busy_timeout_ms_ = 10000;
  std::chrono::steady_clock::time_point wait_began_;
  long waited_ms_ = 0;
  bool interruptible_ = true;
  bool in_memory_ = false;
  bool durable_ = true;
  bool durability_settled_ = true;
  std::optional<FileIdentity> file_;
  std::optional<FileIdentity> log_file_;
  mutable std::uint32_t mark_ = 0;  // that the file was last seen to carry
  std::uint64_t noted_log_ = 0;     // the log whose note is known to be there
  std::unique_ptr<sqlite3, CloseEngine> engine_;
};

}  // namespace mercato::store::sqlite
