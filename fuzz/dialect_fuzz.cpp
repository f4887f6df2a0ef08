// SPDX-License-Identifier: Apache-2.0
// Any bytes as a statement, as the value of one, and as a clause of one: lexed, checked, translated, prepared and run.
// Whatever comes, it is refused or it runs; a value never changes what the statement does, and a tree holds all of it.
#include <sqlite3.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/sqlite/statement_printer.h"
#include "tests/platform/store/dialect_printer.h"

namespace {

using namespace mercato;
using namespace mercato::store;
using namespace mercato::store::dialect;

class OneTable : public TableDirectory {
 public:
  OneTable() {
    table_.name = "T";
    table_.columns = {{"ID", ColumnType::long_integer, 0, false, true},
                      {"A", ColumnType::text, 50},
                      {"B", ColumnType::short_integer},
                      {"C", ColumnType::money},
                      {"D", ColumnType::date},
                      {"E", ColumnType::boolean},
                      {"F", ColumnType::real}};
    sqlite3_open(":memory:", &database_);
    sqlite::register_functions(database_);
    sqlite3_exec(database_,
                 "CREATE TABLE T (ID INTEGER PRIMARY KEY, A NVARCHAR(50) COLLATE MERCATO, B SMALLINT, C MONEY, D "
                 "DATETIME, E BIT, "
                 "F FLOAT); INSERT INTO T VALUES (1, 'Bolt', 2, 30000, '2026-07-01T00:00:00', 1, 2.5)",
                 nullptr, nullptr, nullptr);
    // No statement of an input may take long or grow large.
    sqlite3_limit(database_, SQLITE_LIMIT_LENGTH, 1 << 20);
    sqlite3_progress_handler(
        database_, 10000, [](void*) { return 1; }, nullptr);
  }
  const TableInfo* find(std::string_view name) const override { return name == "T" || name == "t" ? &table_ : nullptr; }

  void run(const std::string& sql, const LexedStatement& lexed, const Translation& translation) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_, sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr) == SQLITE_OK) {
      for (std::size_t i = 0; i < translation.parameters.size(); ++i)
        bind(statement, static_cast<int>(i) + 1, lexed, translation.parameters[i]);
      sqlite3_exec(database_, "SAVEPOINT before", nullptr, nullptr, nullptr);
      for (int row = 0; row < 10 && sqlite3_step(statement) == SQLITE_ROW; ++row) {
      }
      sqlite3_reset(statement);
      sqlite3_exec(database_, "ROLLBACK TO before; RELEASE before", nullptr, nullptr, nullptr);
    }
    sqlite3_finalize(statement);
  }

 private:
  static void bind(sqlite3_stmt* statement, int at, const LexedStatement& lexed, const Parameter& parameter) {
    try {
      const Variant value = parameter_value(lexed, parameter);
      const std::string text = value.type() == Variant::Type::date ? value.date_value().iso_text() : value.to_text();
      if (value.type() == Variant::Type::long_integer)
        sqlite3_bind_int(statement, at, value.long_value());
      else if (value.type() == Variant::Type::real)
        sqlite3_bind_double(statement, at, value.double_value());
      else
        sqlite3_bind_text(statement, at, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    } catch (const Raised&) {
    }
  }

  TableInfo table_;
  sqlite3* database_ = nullptr;
};

// The tree of a statement that is taken holds all of it.
void check_tree(const LexedStatement& lexed, const TableDirectory& tables, bool identified) {
  const std::string lost = test::lost_in_the_tree(lexed, tables, identified);
  if (lost.empty()) return;
  std::fprintf(stderr, "%s\n", lost.c_str());
  std::abort();
}

void try_statement(const Sql& statement, bool identified) {
  static OneTable tables;
  LexedStatement lexed;
  try {
    lex(statement.text(), lexed);
    check_pieces(statement, lexed);
    const Translation translation = sqlite::translate(lexed, tables, identified);
    check_tree(lexed, tables, identified);
    if (translation.kind != StatementKind::definition)
      for (const std::string& sql : translation.statements) tables.run(sql, lexed, translation);
  } catch (const Raised&) {
  }
}

// Whatever a value holds, a statement with it has the shape of the same statement with another value.
void check_value_keeps_shape(std::string_view text) {
  Sql tried, plain;
  tried << "SELECT ID FROM T WHERE A='" << value(text) << "' AND B=1";
  plain << "SELECT ID FROM T WHERE A='" << value("x") << "' AND B=1";
  LexedStatement tried_lexed, plain_lexed;
  try {
    lex(tried.text(), tried_lexed);
    check_pieces(tried, tried_lexed);
  } catch (const Raised&) {
    return;
  }
  lex(plain.text(), plain_lexed);
  if (tried_lexed.shape != plain_lexed.shape) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try_statement(Sql::verbatim(std::string(text)), false);
  try_statement(Sql::verbatim(std::string(text)), true);
  Sql condition, list, bare;
  condition << "SELECT * FROM T WHERE (" << clause(text) << ")";
  list << "SELECT " << clause(text) << " FROM T";
  bare << "SELECT * FROM T WHERE A LIKE '" << value(text) << "' AND B=" << value(text) << " AND " << name(text) << "=1";
  try_statement(condition, true);
  try_statement(list, false);
  try_statement(bare, false);
  check_value_keeps_shape(text);
  return 0;
}
