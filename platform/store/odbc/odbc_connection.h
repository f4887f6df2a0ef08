// SPDX-License-Identifier: Apache-2.0
// One connection through the driver manager: opening, one statement at a time, its answers. Knows nothing of
// transactions and of what the server speaks. One thread at a time.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/variant.h"
#include "platform/store/odbc/odbc_failure.h"
#include "platform/store/odbc/statement_watch.h"
#include "platform/store/row_layout.h"
#include "platform/store/text_values.h"

namespace mercato::store::odbc {

// What happens to a statement when the call limit passes.
enum class Ending : std::uint8_t {
  cancelled,  // the server is told to stop
  awaited,    // a commit or a rollback: stopped half-way, it would leave the next statement in doubt
};

class Connection {
 public:
  // Raises what `odbc_driver` says.
  Connection(const std::string& connection_string, FailureReader failure_of);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs a text with `?` for its values, and stands at its first answer; what was left of the statement before is passed
  // over. `table`: the one that it writes, for the words of a failure.
  void execute(const std::string& text, const SentValues& values = {}, std::span<const ValueType> types = {},
               const TableInfo* table = nullptr, Ending ending = Ending::cancelled);
  // The columns of the answer that it stands at; none of a statement that has no rows.
  std::vector<Column> columns();
  bool has_rows() const { return !given_.empty(); }
  // Rows that a statement without rows has changed.
  std::int64_t changed();
  // Goes on to the next answer; false behind the last one.
  bool next_answer();
  // Moves to the next row; false behind the last one.
  bool fetch();
  // A value of the current row. Columns are asked for from the first to the last, each once.
  void read(std::size_t column, ColumnType type, Variant& out);
  // Passes over the rest.
  void close() noexcept;
  // Ends the statement on the server: of its rows nobody wants more.
  void cancel() noexcept;

  // Statements of the session's own.
  void control(const std::string& text, Ending ending = Ending::cancelled);
  std::vector<SentValues> rows(const std::string& text, const SentValues& values = {},
                               Ending ending = Ending::cancelled);

  bool is_usable() const noexcept { return !lost_; }
  // Whether the server has gone meanwhile. Asks it: the manager has no other way.
  bool has_ended() noexcept;
  // Of the latest failure.
  const Diagnosis& diagnosis() const { return diagnosis_; }
  // For messages: "the server 'db.example.com' (database 'mercato')".
  const std::string& label() const { return label_; }
  // What the driver calls its server: its host, or the name that the server gives itself.
  std::string server_name() const;
  // By which the driver reaches it; empty where neither the string nor the data source names one.
  const std::string& port() const { return port_; }

 private:
  void bind(const SentValues& values, std::span<const ValueType> types);
  void limit_time(Ending ending);
  // What may take long, of the driver. `call` is one of its functions.
  template <class Call>
  SQLRETURN wait(Call call);
  void describe();
  Diagnosis told(SQLSMALLINT kind, SQLHANDLE handle) const;
  [[noreturn]] void fail(const TableInfo* table);
  [[noreturn]] void raise_lost();
  bool has_text(std::size_t column, std::string& out);
  bool has_wide_text(std::size_t column, std::string& out);
  void release() noexcept;

  FailureReader failure_of_;
  std::string label_;
  std::string port_;
  SQLHENV environment_ = SQL_NULL_HENV;
  SQLHDBC connection_ = SQL_NULL_HDBC;
  SQLHSTMT statement_ = SQL_NULL_HSTMT;
  // What is bound stands here until the statement has run.
  std::vector<std::u16string> wide_texts_;
  std::vector<std::string> texts_;
  std::vector<SQLLEN> lengths_;
  std::vector<SQLSMALLINT> given_;  // the types of the answer's columns
  const TableInfo* table_ = nullptr;
  SQLULEN time_limit_ = 0;
  Ending ending_ = Ending::cancelled;
  StatementWatch watch_{[this] { SQLCancel(statement_); }};
  Diagnosis diagnosis_;
  bool lost_ = false;
};

}  // namespace mercato::store::odbc
