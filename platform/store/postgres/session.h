// SPDX-License-Identifier: Apache-2.0
// A session on a PostgreSQL server. One thread at a time.
//
// Reading: rows come one by one; what is left of an open query is taken into memory when the connection is needed.
//
// Writing: single statements commit one by one and are durable when they return. In a transaction the server begins at
// the first write; what is read before sees each what is committed, as it would inside. From there each statement has a
// savepoint, sent with it, to which a failure goes back. A first write that changed nothing ends the transaction again,
// so that no lock is kept for nothing. In a run each statement commits without being flushed; `end_run` flushes once.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/store/driver.h"
#include "platform/store/postgres/postgres_failure.h"
#include "platform/store/postgres/server_connection.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/postgres_dialect/postgres_tables.h"
#include "platform/store/postgres_dialect/postgres_values.h"
#include "platform/store/postgres_dialect/text_proposals.h"
#include "platform/store/shape_cache.h"

namespace mercato::store::postgres {

class PostgresCursor;

// A translated statement; prepared on the server when it has a name.
struct CachedStatement : ShapedStatement {
  CachedStatement() = default;
  CachedStatement(const CachedStatement&) = delete;
  CachedStatement& operator=(const CachedStatement&) = delete;
  ~CachedStatement();

  Translation translation;
  RowLayoutPtr layout;
  std::vector<ColumnType> key_types;  // of a table whose rows are told apart by a key
  std::string name;
  std::shared_ptr<std::vector<std::string>> dropped;  // where the name goes when nobody needs it any longer
};
using CachedStatementPtr = std::shared_ptr<CachedStatement>;

class PostgresSession final : public Session {
 public:
  explicit PostgresSession(const std::string& connection_string)
      : Session(kFailureSource), connection_(connection_string) {}
  ~PostgresSession() override;

  // A query that goes out with the write before it saves an exchange with the server.
  bool foresees() const override { return mode_ == Mode::run; }
  const TableInfo* table(std::string_view name) override;
  bool has_index(std::string_view table, std::string_view name) override;
  bool has_text_indexes() override { return true; }
  void start_transaction() override { mode_ = Mode::transaction; }
  void begin_run() override;
  void flush_run() override {}  // each statement of a run is everybody's when it has run
  void end_run() override;
  bool outdated() const noexcept override { return connection_.has_ended(); }
  bool unused() const noexcept override;

 protected:
  void expect(const dialect::LexedStatement& query) override;
  void expect_nothing() override;
  bool end_use() noexcept override;
  Execution run(const dialect::LexedStatement& statement, ExecuteOptions options) override;
  std::vector<std::int64_t> propose(const TableInfo& table, std::span<const std::string> words,
                                    std::size_t most) override;
  RowIdentity insert(const TableInfo& table, std::span<const std::size_t> columns,
                     std::span<const Variant> values) override;
  void update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
              std::span<const Variant> values) override;
  void insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows) override;
  void commit_transaction() override;
  void roll_back_transaction() override;

 private:
  friend class PostgresCursor;

  enum class Mode : std::uint8_t { single, transaction, run };

  // A query that is sent before it is executed.
  struct Foreseen {
    std::string text;
    CachedStatementPtr statement;
    SentValues values;
  };

  // The statement for these literals; `values` are what they are sent as.
  CachedStatementPtr translated(const dialect::LexedStatement& lexed, bool identified, SentValues& values);
  CachedStatementPtr translate_anew(const dialect::LexedStatement& lexed, bool identified, bool for_these_literals,
                                    dialect::UsedSearches used = 0);
  Execution run_once(const dialect::LexedStatement& lexed, ExecuteOptions options);
  std::unique_ptr<Cursor> open_cursor(const CachedStatementPtr& statement, const SentValues& values);
  void define(const dialect::Translation& definition);
  // Around rows whose assigned keys are given.
  CachedStatementPtr row_writer(const TableInfo& table, bool updates, std::span<const std::size_t> columns);

  // One command: what has to go before it, the statement itself, and its answers.
  void send_command(CachedStatement& statement, const SentValues& values, bool writes);
  ResultHandle change(CachedStatement& statement, const SentValues& values);
  ResultHandle change_with_given_key(CachedStatement& statement, const SentValues& values);
  void end_command();
  void send_expected();
  // The cursor of that query when it was sent ahead; else what was sent ahead is passed over.
  std::unique_ptr<Cursor> take_foreseen(const dialect::LexedStatement& lexed, ExecuteOptions options);
  void forget_foreseen();
  [[noreturn]] void fail_command(const PGresult* failed, std::string_view table);
  void undo_command();
  void note_lost_connection(const Raised& failed) noexcept;
  void leave_queries();
  // Several commands that stand or fall together, whatever they are part of.
  template <class Work>
  void as_one(Work work);
  std::size_t send_settings();
  void forget_schema();

  Connection connection_;
  Tables tables_{connection_};
  TextProposals text_proposals_{connection_};
  std::shared_ptr<std::vector<std::string>> dropped_ = std::make_shared<std::vector<std::string>>();
  ShapeCache<CachedStatement> statements_;
  std::unordered_map<std::string, CachedStatementPtr> row_writers_;  // by their text
  std::uint64_t prepared_ = 0;                                       // how many statements have had a name
  PostgresCursor* streaming_ = nullptr;                              // whose rows the server is sending
  std::vector<Foreseen> expected_;                                   // to go out with the next write
  std::deque<Foreseen> foreseen_;                                    // that went out; the server is answering them

  Mode mode_ = Mode::single;
  bool begun_ = false;                 // the server's transaction
  bool opened_ = false;                // it began with the command that is under way
  bool saved_ = false;                 // it has a savepoint
  bool defined_ = false;               // a definition is part of it
  bool stale_ = false;                 // what is known of the tables was the reason for a failure
  bool unflushed_ = false;             // a run has committed something without a flush
  std::vector<const char*> settings_;  // that go out before the next command
  std::string failed_with_;            // the engine's signs for the latest failure
  bool translated_anew_ = false;       // the statement under way
};

}  // namespace mercato::store::postgres
