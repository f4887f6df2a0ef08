// SPDX-License-Identifier: Apache-2.0
// What a store has to offer. A driver implements these interfaces for one engine; nothing above them knows which.
// What every driver does alike stands here once, in functions that are not virtual: no driver can leave it out. They
// call the driver's part, which is protected. A session is used by one thread at a time; sessions of different threads
// work side by side.
//
// Failures are raised with the numbers of raised_error.h: kStatementRefused for a statement that the store does not
// take, kConstraintViolated, kValueTooLong, kTimeout beyond the call limit, kStoreFailure for the rest, each with the
// engine's own words and what to do about it where that is known, without a full stop at the end. Those that every
// store knows have their words in failures.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/statement.h"
#include "mercato/variant.h"
#include "platform/store/call_limit.h"
#include "platform/store/row_layout.h"
#include "platform/store/store_description.h"

namespace mercato::store {

namespace dialect {
struct LexedStatement;
}
class Upkeep;

// Which row of a table: its assigned number where the engine has one, else the values of its key.
struct RowIdentity {
  std::int64_t number = 0;
  std::vector<Variant> key;
};

// A running query, forward only. Once its session is gone or was given back, its next move raises kObjectClosed; rows
// that the session took into memory before can still be walked.
class Cursor {
 public:
  virtual ~Cursor() = default;
  virtual const RowLayoutPtr& layout() const = 0;
  // Moves to the next row, the first one at the first call; false at the end. Raises kTimeout beyond the call limit.
  bool next() {
    check_call_limit();
    return advance();
  }
  // The values of the current row, in the order of the layout; `row` is resized.
  virtual void read(std::vector<Variant>& row) = 0;
  // The current row's identity; only of a query that was run with `identified`.
  virtual RowIdentity identity() = 0;

 private:
  virtual bool advance() = 0;
};

struct ExecuteOptions {
  // Rows must carry their identity, and the layout their table: each is one row of that table. So it is in a statement
  // that reads one table, and in a DISTINCT one whose columns are all of one table, its whole key among them. Others
  // raise kFeatureNotAvailable.
  bool identified = false;
};

struct Execution {
  std::unique_ptr<Cursor> cursor;  // null for a statement without rows
  std::int64_t affected = 0;       // rows changed; 0 for a query
  // The engine was asked nothing: the statement sets what the store keeps anyway. The same text is taken at once from
  // now on; such a setting stands before many a query.
  bool nothing_to_do = false;
};

// So many rows of a large table have one value of a column, of so many in all.
struct ExpectedRows {
  std::string_view table;
  std::int64_t rows = 0;
  std::string_view column;
  std::int64_t of_one_value = 0;
};

// One physical connection.
class Session {
 public:
  virtual ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Runs one statement; a text that holds more than one is refused by the driver's part. First the observer sees it and the call limit is
  // asked; then it is refused when the transaction is lost; then it is lexed and its pieces are checked, so that no
  // engine ever gets a value that is anything but one literal.
  Execution execute(const Sql& statement, ExecuteOptions options = {});

  // Queries that will probably be executed next, in this order, after one more write; what is not executed next is
  // forgotten. Nothing but time depends on it: each is answered as it would be right after that write.
  void foresee(std::span<const Sql> queries);
  // Whether it is worth the caller's while to say so. No: the store is in this process, and waits for nobody.
  virtual bool foresees() const { return false; }

  // A table by name in any case; null when there is none. Valid until the session's next statement.
  virtual const TableInfo* table(std::string_view name) = 0;
  // Whether that table has an index of that name; both in any case.
  virtual bool has_index(std::string_view table, std::string_view name) = 0;

  // Told once, with the tables: what an engine plans by that counts nothing by itself. One that does needs no telling.
  virtual void expect_rows(std::span<const ExpectedRows> /*expected*/) {}
  // Whether the store can have text indexes. Where it cannot, their definitions are taken and leave nothing behind,
  // and all that they would answer is answered by reading.
  virtual bool has_text_indexes() { return false; }
  // The assigned keys of at most `most` rows that may hold all of these words in the columns of the table's text index,
  // each word in any of them, written in any way that squeezes to the same (squeezed_text.h): all that hold them and a
  // few others, in the order of the keys, the least ones when there are more. Words of fewer than three squeezed
  // characters narrow nothing down. Nothing when no word does, when the table has no text index, and when its key is not
  // assigned.
  std::optional<std::vector<std::int64_t>> proposals(const TableInfo& table, std::span<const std::string> words,
                                                     std::size_t most);

  // Writes one row of updatable recordsets: the columns with these positions in `table.columns`, values of the
  // columns' own types, as `to_column_type` makes them, or Null.
  // Raises kStatementRefused for an assigned column: only a statement may name one.
  // Returns the new row's identity, the number being the assigned key where the table has one.
  RowIdentity insert_row(const TableInfo& table, std::span<const std::size_t> columns, std::span<const Variant> values);
  // Raises kStoreFailure when the row is no longer there. `row` is what the row is known by from then on: its key may be
  // among the columns.
  void update_row(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                  std::span<const Variant> values);

  // Writes whole rows as they stand in another store: a value for each column of the table, in the columns' order and
  // of their types, or Null. Assigned keys are among them; those that the store assigns later lie behind them.
  void copy_rows(const TableInfo& table, std::span<const std::vector<Variant>> rows);

  // Transaction control of the unit of work. `start_transaction` arms it: the engine begins at the first write, and
  // holds no lock while nothing has changed. When the engine undoes a transaction by itself, every later statement and
  // the commit are refused until it is rolled back: nothing runs outside of the transaction that its caller believes in.
  virtual void start_transaction() = 0;
  void commit();    // durable when it returns
  void rollback();  // never throws for a lost connection
  // A run of single statements that need not be flushed one by one: each stands for everybody on this session when it
  // has run, and reaches other sessions within a few hundredths of a second, at the latest with the run's next
  // statement. `end_run` makes all of it durable.
  virtual void begin_run() = 0;
  // Lets other sessions see, and write, at once: before the same thread uses one, or waits for something.
  virtual void flush_run() = 0;
  virtual void end_run() = 0;

  // Ends what its user left open: cursors (their next move raises kObjectClosed), a transaction (rolled back), a run.
  // Says whether the session can now serve the next caller as if it were new; a broken one is thrown away.
  bool reset() noexcept;
  // Whether its store is no longer what the connection string leads to: the file was deleted or replaced.
  virtual bool outdated() const noexcept = 0;
  // Whether its transaction could go on with any other session: nothing has changed, and no rows are being read.
  virtual bool unused() const noexcept = 0;

 protected:
  // `failure_source`: the source of this driver's failures, a literal: "SQLite store".
  explicit Session(std::string_view failure_source);

  // The driver's part of the calls above.
  // Before a statement is looked at: what the session owes others by now. In a run, letting them see and write.
  virtual void before_statement() {}
  // The text is `statement.text`. Its shape (shape_cache.h) is for a driver that translates.
  virtual Execution run(const dialect::LexedStatement& statement, ExecuteOptions options) = 0;
  // The queries that are foreseen, one by one, the first one after `expect_nothing`.
  virtual void expect(const dialect::LexedStatement& /*query*/) {}
  virtual void expect_nothing() {}
  // `words` are folded, and at least one of them has three squeezed characters. The table has a text index.
  virtual std::vector<std::int64_t> propose(const TableInfo& table, std::span<const std::string> words,
                                            std::size_t most);
  virtual RowIdentity insert(const TableInfo& table, std::span<const std::size_t> columns,
                             std::span<const Variant> values) = 0;
  virtual void update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                      std::span<const Variant> values) = 0;
  // One by one, where the engine knows no faster way.
  virtual void insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows);
  virtual bool end_use() noexcept = 0;  // what `reset` says; a lost transaction is forgotten after it
  virtual void commit_transaction() = 0;
  virtual void roll_back_transaction() = 0;

  // For the driver: the engine has undone the transaction by itself, with a failure of this description.
  void lose_transaction(const std::string& reason) { lost_ = reason; }
  bool has_lost_transaction() const noexcept { return !lost_.empty(); }
  // Raises with the driver's source.
  [[noreturn]] void fail(std::int32_t number, std::string description) const;

 private:
  bool is_last_setting(const Sql& statement) const;
  void refuse_if_lost() const;
  void refuse_assigned(const TableInfo& table, std::span<const std::size_t> columns, bool updates) const;

  std::string_view failure_source_;
  std::unique_ptr<dialect::LexedStatement> lexed_;  // its room serves one statement after the other
  std::string last_setting_;                        // the latest one that asked nothing of the engine
  std::string lost_;                                // why the engine undid the transaction, until it is rolled back
};

// Makes sessions for one kind of store. What not every kind can do is a capability: a function that each driver answers,
// with its reason beside the answer.
class Driver {
 public:
  virtual ~Driver() = default;
  virtual std::unique_ptr<Session> open(const std::string& connection_string) = 0;
  // Checks, backs up and restores stores of this kind; null where that is not the library's to do (upkeep.h).
  virtual const Upkeep* upkeep() const = 0;
  // Where it is null: what does it instead for that store, in a sentence without a full stop. Nothing in it is secret.
  virtual std::string means_of_upkeep(const std::string& connection_string) const;
  // What that store is. Raises what opening it raises.
  virtual StoreDescription describe(const std::string& connection_string) const = 0;
};

// The value as a column of that type holds it; Null stays Null, Empty clears the column and gives Null too, True is 1
// in a column of short integers, as the flags are, and -1 in other number columns. Raises 13 for a value that cannot be
// converted (any text but a date in a date column, any but a number in a number column), 6 beyond the type's range. The
// width of a text is the store's to check.
Variant to_column_type(const Variant& value, ColumnType type);

// "Key=Value;Key=Value", keys in any case; the value of the first occurrence, trimmed, or nothing.
std::optional<std::string> connection_property(std::string_view connection_string, std::string_view key);

}  // namespace mercato::store
