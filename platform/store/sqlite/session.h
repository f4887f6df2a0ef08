// SPDX-License-Identifier: Apache-2.0
// A session on a SQLite store. One thread at a time.
//
// Writing: single statements commit one by one and are durable when they return. In a transaction the engine begins at
// the first write, and holds the write lock from there; after a write that changed nothing it lets go again. In a run
// the statements of a few hundredths of a second share one engine transaction that is committed without a flush; a
// process that is killed leaves a prefix of whole statements, and `end_run` flushes once. A write first takes the rest
// of all open queries into memory, so that no query holds an old state of the store across it.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/store/dialect/dialect.h"
#include "platform/store/driver.h"
#include "platform/store/shape_cache.h"
#include "platform/store/sqlite/database.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/lock_wait.h"
#include "platform/store/sqlite/running_statement.h"
#include "platform/store/sqlite/tables.h"
#include "platform/store/sqlite/text_index.h"
#include "platform/store/sqlite/values.h"

namespace mercato::store::sqlite {

class SqliteCursor;

class SqliteSession final : public Session {
 public:
  explicit SqliteSession(const std::string& connection_string)
      : Session(kFailureSource), database_(connection_string) {}
  ~SqliteSession() override;

  const TableInfo* table(std::string_view name) override;
  bool has_index(std::string_view table, std::string_view name) override;
  bool has_text_indexes() override { return true; }
  void start_transaction() override;
  void begin_run() override;
  void flush_run() override;
  void end_run() override;
  bool outdated() const noexcept override { return database_.replaced(); }
  void expect_rows(std::span<const ExpectedRows> expected) override;
  bool unused() const noexcept override;

 protected:
  void before_statement() override;
  bool end_use() noexcept override;
  Execution run(const dialect::LexedStatement& statement, ExecuteOptions options) override;
  std::vector<std::int64_t> propose(const TableInfo& table, std::span<const std::string> words,
                                    std::size_t most) override;
  RowIdentity insert(const TableInfo& table, std::span<const std::size_t> columns,
                     std::span<const Variant> values) override;
  void update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
              std::span<const Variant> values) override;
  void commit_transaction() override;
  void roll_back_transaction() override;

 private:
  friend class SqliteCursor;

  enum class Mode : std::uint8_t { single, transaction, run };
  using Clock = std::chrono::steady_clock;

  // An INSERT or UPDATE of updatable rows: these columns of this table.
  struct RowWriter {
    std::string table;
    bool updates = false;
    std::vector<std::size_t> columns;
    CachedStatementPtr statement;
  };

  // What the text indexes propose for a query.
  struct Proposals {
    UsedSearches used = 0;
    std::vector<std::string> rows;  // of each search, as its parameter
  };

  CachedStatementPtr translated(const dialect::LexedStatement& lexed, bool identified, UsedSearches used = 0);
  Proposals propose_rows(std::span<const dialect::TextSearch> searches, const dialect::LexedStatement& lexed);
  std::optional<std::string> proposed_rows(const dialect::TextSearch& search, const dialect::LexedStatement& lexed);
  void note_text_index(CachedStatement& statement) const;
  std::unique_ptr<Cursor> open_cursor(CachedStatementPtr statement, const dialect::LexedStatement& lexed,
                                      bool identified);
  std::int64_t change(const CachedStatementPtr& statement, const dialect::LexedStatement& lexed);
  void define(const dialect::Translation& definition);
  void bind_parameters(const RunningStatement& running, const dialect::LexedStatement& lexed, Lifetime lifetime,
                       std::span<const std::string> proposed_rows = {});
  RunningStatement row_writer(const TableInfo& table, bool updates, std::span<const std::size_t> columns);
  void bind_row(const RunningStatement& running, std::span<const Variant> values);

  // Around every write: what makes it one of a transaction, of a run, or a single one.
  void before_write(const TableInfo* text_indexed = nullptr);
  void note_write(const TableInfo* text_indexed);
  void after_write();
  void step_write(const RunningStatement& running);
  void begin_engine_transaction();
  RaisedError lose_unfound_rows(RaisedError failed);
  void end_idle_transaction();
  void commit_engine_transaction();
  void roll_back_engine_transaction() noexcept;
  void commit_group();
  void take_in_rest();
  bool group_is_old() const;
  void refuse_beyond_bounds(const dialect::Translation& translation) const;

  // The failure that the engine has just reported, while writing that table if one is named.
  RaisedError failure(int code, std::string_view table = {});
  // Takes note when the engine has undone the transaction with a failure; its text may grow by what was lost.
  void note(RaisedError& failure);
  void forget_schema();
  void forget_statements();
  bool refresh_schema();

  Database database_;
  Tables tables_{database_};
  TextIndexes text_indexes_{database_};
  ShapeCache<CachedStatement> statements_;
  std::unordered_multimap<std::uint64_t, RowWriter> row_writers_;
  StatementHandle begin_;
  StatementHandle commit_;
  std::vector<SqliteCursor*> cursors_;  // those that the engine still runs

  Mode mode_ = Mode::single;
  std::optional<HeldLock> begun_;    // the engine's transaction
  std::int64_t changes_before_ = 0;  // rows that this session had changed when it began
  bool defined_ = false;             // a definition is part of it
  bool unflushed_ = false;           // a run has committed something without a flush
  Clock::time_point group_began_;
  Clock::time_point group_ended_;
  Clock::time_point paused_;  // when a run last let others have their turn
  int group_statements_ = 0;
};

}  // namespace mercato::store::sqlite
