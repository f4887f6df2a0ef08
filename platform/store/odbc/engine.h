// SPDX-License-Identifier: Apache-2.0
// What servers behind a driver of ODBC's differ in: their SQL, their catalogue, and what a failure leaves of a
// transaction. One object serves one session, over its connection. One thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/dialect.h"
#include "platform/store/driver.h"
#include "platform/store/known_tables.h"
#include "platform/store/odbc/odbc_connection.h"
#include "platform/store/store_description.h"
#include "platform/store/text_values.h"

namespace mercato::store::odbc {

// How a row of a table is told from others: by the number in one column behind the result, or by the values of columns.
struct IdentityColumns {
  bool is_number = false;
  std::vector<ColumnType> types;

  std::size_t size() const { return is_number ? 1 : types.size(); }
};

// A statement in the server's own SQL, with its values in the order of their places.
struct Command {
  dialect::StatementKind kind = dialect::StatementKind::nothing;
  std::vector<std::string> texts;  // one but for definitions
  SentValues values;
  std::vector<ValueType> types;
  const TableInfo* table = nullptr;  // that it writes, if it is known
  RowLayoutPtr layout;               // of a query; null where the server says it
  std::string result_table;          // for the layout that the server says
  bool identified = false;           // behind the result come these
  IdentityColumns identity;
  bool gives_key = false;  // writes a key that the server would assign
  bool is_empty = false;   // a query without rows, whatever the tables hold
};

// A row that is written past the library's statements.
struct RowCommand {
  std::string text;
  SentValues values;
  std::vector<ValueType> types;
};

struct TransactionTexts {
  const char* begin;
  const char* commit;
  const char* roll_back;
  // Before each statement of a transaction, and behind one that failed; empty where the server itself undoes no more than
  // the statement.
  const char* save;
  const char* go_back;
  // Around several statements that stand or fall together in a transaction.
  const char* begin_step;
  const char* end_step;
  const char* undo_step;
};

class Engine {
 public:
  virtual ~Engine() = default;

  // What the texts that are sent, and the readings of what comes back, rely on. Nothing that a session takes changes it.
  virtual void set_up(int lock_timeout) = 0;
  virtual const TransactionTexts& transactions() const = 0;
  // Whether, after the failure that the connection told of, a transaction can go on.
  virtual bool transaction_stands() = 0;

  // Before a statement: what is known of the tables may be others' work by now.
  virtual void look_at_tables() = 0;
  virtual KnownTables& tables() = 0;
  virtual bool has_index(std::string_view table, std::string_view name) = 0;
  virtual bool has_text_indexes() const { return false; }
  // What Session::propose says, of a store that has text indexes.
  virtual std::vector<std::int64_t> propose(const TableInfo& /*table*/, std::span<const std::string> /*words*/,
                                            std::size_t /*most*/) {
    return {};
  }

  virtual Command command(const dialect::LexedStatement& statement, bool identified) = 0;
  // The table whose assigned key an INSERT names, where the server does not take that; null for any other statement.
  // Such a one can be sent again between `begin_given_keys` and `end_given_keys`.
  virtual const TableInfo* table_of_refused_key(const dialect::LexedStatement& /*statement*/) { return nullptr; }
  // Carries out a definition as a whole, inside of a transaction.
  virtual void define(const Command& definition) = 0;

  virtual IdentityColumns identity_of(const TableInfo& table) const = 0;
  // The answer, if it has a row, is the new row's identity; without one it is among the values.
  virtual RowCommand insert(const TableInfo& table, std::span<const std::size_t> columns,
                            std::span<const Variant> values) = 0;
  virtual RowCommand update(const TableInfo& table, const RowIdentity& row, std::span<const std::size_t> columns,
                            std::span<const Variant> values) = 0;
  // The columns whose values tell a row of that table from others; empty where a number does.
  virtual std::vector<std::size_t> identifying_columns(const TableInfo& table) const = 0;
  // Around rows with given keys, inside of a transaction.
  virtual void begin_given_keys(const TableInfo& table) = 0;
  virtual void end_given_keys(const TableInfo& table) = 0;
  virtual std::size_t most_values() const = 0;  // of one statement
  virtual std::size_t most_rows() const = 0;    // of one INSERT

  virtual StoreDescription describe() = 0;
};

// `in_transaction`: whether the server is in one, at any time.
std::unique_ptr<Engine> make_tsql_engine(Connection& connection, const bool& in_transaction);
std::unique_ptr<Engine> make_postgresql_engine(Connection& connection, const bool& in_transaction);

// As what values of these columns are sent.
ValueType value_type(ColumnType type);
std::vector<ValueType> value_types(const TableInfo& table, std::span<const std::size_t> columns);

}  // namespace mercato::store::odbc
