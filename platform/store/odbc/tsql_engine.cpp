// SPDX-License-Identifier: Apache-2.0
// A server that speaks the library's own dialect: SQL Server, or one that speaks as it does. Texts go to it as they are.
#include <algorithm>
#include <numeric>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/dialect/resolver.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/dialect/statement_reader.h"
#include "platform/store/odbc/engine.h"
#include "platform/store/odbc/tsql_statement.h"
#include "platform/store/odbc/tsql_tables.h"
#include "values/text.h"

namespace mercato::store::odbc {
namespace {

using dialect::quoted_name;

// Each with what relies on it.
constexpr const char* kSettings =
    "SET LANGUAGE us_english; "         // names of months in dates, and the words of failures
    "SET DATEFORMAT mdy; "              // 7/1/2026 is the first of July
    "SET DATEFIRST 7; "                 // weeks, in a caller's own clause
    "SET QUOTED_IDENTIFIER ON; "        // "NAME" is a name
    "SET ANSI_NULLS ON; "               // nothing equals Null
    "SET ANSI_NULL_DFLT_ON ON; "        // a column of which nothing is said may be Null
    "SET ANSI_PADDING ON; "             // a text keeps the blanks that it is given
    "SET ANSI_WARNINGS ON; "            // a text that is too long fails, and is not cut
    "SET ARITHABORT ON; "               // a division by zero fails; indexes of computed columns are used
    "SET CONCAT_NULL_YIELDS_NULL ON; "  // a text and Null is Null
    "SET NOCOUNT OFF; "                 // a write says how many rows it has changed
    "SET ROWCOUNT 0; "                  // all rows of an answer
    "SET TEXTSIZE 2147483647; "         // long texts come whole
    "SET XACT_ABORT OFF; "              // a statement that fails leaves the transaction as it was
    "SET IMPLICIT_TRANSACTIONS OFF; "   // a transaction begins when the session says so
    "SET TRANSACTION ISOLATION LEVEL READ COMMITTED; "
    "SET LOCK_TIMEOUT ";

class TsqlEngine final : public Engine {
 public:
  explicit TsqlEngine(Connection& connection) : connection_(connection) {}

  void set_up(int lock_timeout) override { connection_.control(kSettings + std::to_string(lock_timeout)); }

  const TransactionTexts& transactions() const override {
    static constexpr TransactionTexts kTexts{"BEGIN TRANSACTION",
                                             "COMMIT TRANSACTION",
                                             "IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION",
                                             "",
                                             "",
                                             "SAVE TRANSACTION mercato_step",
                                             "",
                                             "ROLLBACK TRANSACTION mercato_step"};
    return kTexts;
  }
  // Some failures end the transaction, or doom it: a deadlock, a text that does not read as a number.
  bool transaction_stands() override {
    const std::vector<SentValues> state = connection_.rows("SELECT @@TRANCOUNT, XACT_STATE()", {}, Ending::awaited);
    return state.size() == 1 && state[0][0].value_or("0") != "0" && state[0][1].value_or("0") == "1";
  }

  // Nothing tells what others have defined, so nothing is kept for longer than a statement and the rows written behind it.
  void look_at_tables() override { tables_.forget(); }
  KnownTables& tables() override { return tables_; }
  bool has_index(std::string_view table, std::string_view name) override { return tables_.has_index(table, name); }

  Command command(const dialect::LexedStatement& statement, bool identified) override {
    Command command;
    command.kind = kind_of(statement);
    const bool is_query = command.kind == dialect::StatementKind::query;
    if (is_query && identified) {
      identify(command, statement);
      return command;
    }
    command.texts = {sent_text(statement)};
    if (is_query) command.result_table = table_read_by(statement);
    return command;
  }
  const TableInfo* table_of_refused_key(const dialect::LexedStatement& statement) override {
    dialect::SyntaxTree tree(statement);
    dialect::StatementReader(tree).read();
    if (tree.fault || !tree.names_targets) return nullptr;
    const TableInfo* const table = tables_.find(tree.target->name);
    for (const dialect::Node* node = tree.first; table != nullptr && node != nullptr; node = node->next) {
      if (node->kind != dialect::NodeKind::insert_target) continue;
      const auto column = table->find(static_cast<const dialect::InsertTarget*>(node)->name);
      if (column && table->columns[*column].assigned) return table;
    }
    return nullptr;
  }
  void define(const Command& definition) override { connection_.control(definition.texts.front()); }

  IdentityColumns identity_of(const TableInfo& table) const override {
    if (is_numbered(table)) return {.is_number = true, .types = {}};
    IdentityColumns identity;
    for (const std::size_t column : identifying_columns(table)) identity.types.push_back(table.columns[column].type);
    return identity;
  }
  // The server shows no number of its own for a row of a table without a key: all of its values are its identity.
  std::vector<std::size_t> identifying_columns(const TableInfo& table) const override {
    if (is_numbered(table)) return {};
    if (!table.key.empty()) return table.key;
    std::vector<std::size_t> columns(table.columns.size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    return columns;
  }
  RowCommand insert(const TableInfo& table, std::span<const std::size_t> columns,
                    std::span<const Variant> values) override;
  RowCommand update(const TableInfo& table, const RowIdentity& identity, std::span<const std::size_t> columns,
                    std::span<const Variant> values) override;
  void begin_given_keys(const TableInfo& table) override { let_keys_be_given(table, "ON"); }
  void end_given_keys(const TableInfo& table) override { let_keys_be_given(table, "OFF"); }
  std::size_t most_values() const override { return 2000; }
  std::size_t most_rows() const override { return 1000; }

  StoreDescription describe() override;

 private:
  static bool is_numbered(const TableInfo& table) {
    return table.key.size() == 1 && table.columns[table.key.front()].assigned;
  }
  // The server compares no such column as it is.
  static bool is_long(const Column& column) { return column.type == ColumnType::text && column.width == 0; }
  void identify(Command& command, const dialect::LexedStatement& statement);
  void let_keys_be_given(const TableInfo& table, const char* on) {
    connection_.control("SET IDENTITY_INSERT " + quoted_name(table.name) + " " + on);
  }

  Connection& connection_;
  TsqlTables tables_{connection_};
};

// The dialect's own reader says whose rows they are; the text stays, with the columns of their identity behind it.
void TsqlEngine::identify(Command& command, const dialect::LexedStatement& statement) {
  dialect::SyntaxTree tree(statement);
  dialect::resolve_statement(tree, tables_, true);
  const TableInfo& table = *tree.identity->table;
  std::vector<std::size_t> behind = is_numbered(table) ? table.key : identifying_columns(table);
  std::string columns;
  for (const std::size_t column : behind)
    columns += ", " + quoted_name(tree.identity->name) + "." + quoted_name(table.columns[column].name);
  command.texts = {with_columns(statement, columns)};
  command.identified = true;
  command.identity = identity_of(table);
  command.result_table = table.name;
}

RowCommand TsqlEngine::insert(const TableInfo& table, std::span<const std::size_t> columns,
                              std::span<const Variant> values) {
  RowCommand row{"INSERT INTO " + quoted_name(table.name), {}, value_types(table, columns)};
  for (const Variant& value : values) row.values.push_back(sent_value(value));
  std::string names, places;
  for (const std::size_t column : columns) {
    names += (names.empty() ? " (" : ", ") + quoted_name(table.columns[column].name);
    places += places.empty() ? "?" : ", ?";
  }
  if (!columns.empty()) row.text += names + ")";
  // What the server fills in of the identity, it has to say.
  const std::vector<std::size_t> identifying = identifying_columns(table);
  const auto is_given = [&](std::size_t column) { return std::ranges::find(columns, column) != columns.end(); };
  if (!std::ranges::all_of(identifying, is_given)) {
    const char* separator = " OUTPUT ";
    for (const std::size_t column : identifying)
      row.text += std::exchange(separator, ", ") + ("INSERTED." + quoted_name(table.columns[column].name));
  }
  row.text += columns.empty() ? " DEFAULT VALUES" : " VALUES (" + places + ")";
  if (is_numbered(table)) row.text += "; SELECT SCOPE_IDENTITY()";
  return row;
}

RowCommand TsqlEngine::update(const TableInfo& table, const RowIdentity& identity, std::span<const std::size_t> columns,
                              std::span<const Variant> values) {
  // Rows that are the same in all values are any of them.
  RowCommand row{table.key.empty() ? "UPDATE TOP (1) " : "UPDATE ", {}, value_types(table, columns)};
  row.text += quoted_name(table.name);
  const char* separator = " SET ";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    row.text += std::exchange(separator, ", ") + quoted_name(table.columns[columns[i]].name) + " = ?";
    row.values.push_back(sent_value(values[i]));
  }
  separator = " WHERE ";
  const auto equals = [&](const Column& column, const Variant& value) {
    const std::string name = quoted_name(column.name);
    row.text += std::exchange(separator, " AND ");
    if (value.is_null()) {
      row.text += name + " IS NULL";
      return;
    }
    row.text += (is_long(column) ? "CAST(" + name + " AS nvarchar(max))" : name) + " = ?";
    row.values.push_back(sent_value(value));
    row.types.push_back(value_type(column.type));
  };
  if (is_numbered(table)) {
    equals(table.columns[table.key.front()], Variant::from_integer(identity.number));
    return row;
  }
  const std::vector<std::size_t> identifying = identifying_columns(table);
  for (std::size_t i = 0; i < identifying.size(); ++i) equals(table.columns[identifying[i]], identity.key[i]);
  return row;
}

StoreDescription TsqlEngine::describe() {
  const SentValues place =
      connection_
          .rows(
              "SELECT CAST(SERVERPROPERTY('ProductVersion') AS nvarchar(128)), DB_NAME(), SCHEMA_NAME(), "
              "CAST(DATABASEPROPERTYEX(DB_NAME(), 'Collation') AS nvarchar(128)), "
              "CASE WHEN N'a' = N'A' THEN 1 ELSE 0 END, CASE WHEN N'a' = N'\u00E1' THEN 0 ELSE 1 END, "
              "HAS_PERMS_BY_NAME(DB_NAME(), 'DATABASE', 'CREATE TABLE'), "
              "(SELECT CAST(is_read_committed_snapshot_on AS int) FROM sys.databases WHERE name = DB_NAME())")
          .front();
  StoreDescription description;
  description.engine = "SQL Server";
  description.version = place[0].value_or("");
  description.place =
      connection_.server_name() + ", database " + place[1].value_or("") + ", schema " + place[2].value_or("");
  description.collation = place[3].value_or("");
  if (place[4] != "1")
    description.collation += "; texts that differ in case are others, which the library does not expect";
  if (place[5] != "1")
    description.collation += "; texts that differ in accents are the same, which the library does not expect";
  if (place[6] != "1") description.lacking_rights.emplace_back("creating tables: CREATE TABLE in the database");
  if (place[7] != "1")
    description.lacking_rights.emplace_back(
        "reading while others write: READ_COMMITTED_SNAPSHOT of the database is off");
  for (const SentValues& row :
       connection_.rows("SELECT TABLE_NAME, HAS_PERMS_BY_NAME(QUOTENAME(TABLE_NAME), 'OBJECT', 'SELECT'), "
                        "HAS_PERMS_BY_NAME(QUOTENAME(TABLE_NAME), 'OBJECT', 'INSERT') * "
                        "HAS_PERMS_BY_NAME(QUOTENAME(TABLE_NAME), 'OBJECT', "
                        "'UPDATE') * "
                        "HAS_PERMS_BY_NAME(QUOTENAME(TABLE_NAME), 'OBJECT', 'DELETE') FROM INFORMATION_SCHEMA.TABLES "
                        "WHERE TABLE_SCHEMA = SCHEMA_NAME() AND TABLE_TYPE = 'BASE TABLE'")) {
    description.tables.push_back(row[0].value_or(""));
    if (row[1] != "1") description.unreadable.push_back(description.tables.back());
    if (row[2] != "1") description.unwritable.push_back(description.tables.back());
  }
  std::ranges::sort(description.tables);
  return description;
}

}  // namespace

std::unique_ptr<Engine> make_tsql_engine(Connection& connection, const bool& /*in_transaction*/) {
  return std::make_unique<TsqlEngine>(connection);
}

}  // namespace mercato::store::odbc
