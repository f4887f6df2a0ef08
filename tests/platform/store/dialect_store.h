// SPDX-License-Identifier: Apache-2.0
// A SQLite store in memory that is spoken to in the dialect, without the driver: what the tests of the translator and
// of the functions behind it need. Its tables are those that it has been told to create.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/sqlite/declared_type.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/sqlite/statement_printer.h"
#include "platform/store/sqlite/text_index.h"
#include "tests/platform/store/dialect_printer.h"
#include "values/text.h"

namespace mercato::store::dialect::test {

using Rows = std::vector<std::vector<std::string>>;

class DialectStore : public TableDirectory {
 public:
  DialectStore() {
    check(sqlite3_open(":memory:", &database_));
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite::register_functions(database_);
  }
  DialectStore(const DialectStore&) = delete;
  DialectStore& operator=(const DialectStore&) = delete;
  ~DialectStore() override { sqlite3_close(database_); }

  const TableInfo* find(std::string_view name) const override {
    const auto found = tables_.find(text::to_upper(name));
    return found == tables_.end() ? nullptr : &found->second;
  }

  // Every statement that is taken is also printed back from its tree.
  Translation translate(std::string_view statement, bool identified = false) {
    lex(statement, lexed_);
    Translation translation = sqlite::translate(lexed_, *this, identified);
    EXPECT_EQ(lost_in_the_tree(lexed_, *this, identified), "") << statement;
    return translation;
  }

  // Prepares the translation, as a proof that SQLite takes it.
  Translation prepare(std::string_view statement) {
    Translation translation = translate(statement);
    for (const std::string& sql : translation.statements) {
      sqlite3_stmt* prepared = nullptr;
      const int code = sqlite3_prepare_v2(database_, sql.c_str(), -1, &prepared, nullptr);
      EXPECT_EQ(code, SQLITE_OK) << statement << "\n" << sql << "\n" << sqlite3_errmsg(database_);
      sqlite3_finalize(prepared);
    }
    return translation;
  }

  // The kind of a statement that is taken; raises what the dialect or SQLite refuses it with.
  StatementKind kind_of(std::string_view statement) {
    lex(statement, lexed_);
    const Translation translation = sqlite::translate(lexed_, *this, false);
    for (const Parameter& parameter : translation.parameters) parameter_value(lexed_, parameter);
    for (const std::string& sql : translation.statements) {
      sqlite3_stmt* prepared = nullptr;
      check(sqlite3_prepare_v2(database_, sql.c_str(), -1, &prepared, nullptr));
      sqlite3_finalize(prepared);
    }
    return translation.kind;
  }

  // All rows as texts; Null is "NULL". A failure of SQLite is raised with its own words.
  Rows run(std::string_view statement, bool identified = false) {
    const Translation translation = translate(statement, identified);
    Rows rows;
    for (const std::string& sql : translation.statements) rows = run_sql(sql, translation.parameters);
    // A new index changes no table.
    const bool is_index = translation.statements.size() == 1 && find(translation.table) != nullptr &&
                          translation.statements.front().starts_with("CREATE ");
    if (translation.kind == StatementKind::definition && !is_index) load_tables();
    return rows;
  }

  // The first field of the first row.
  std::string one(std::string_view statement) {
    const Rows rows = run(statement);
    return rows.empty() ? "no row" : rows.front().front();
  }

  // The first fields of all rows, joined by commas.
  std::string list(std::string_view statement) {
    std::string joined;
    for (const auto& row : run(statement)) joined += (joined.empty() ? "" : ",") + row.front();
    return joined;
  }

  // What a statement is refused with, or "taken".
  std::string refusal(std::string_view statement) {
    try {
      run(statement);
    } catch (const Raised& raised) {
      return raised.error().Description;
    }
    return "taken";
  }

  // The first step of the engine's way for a query.
  std::string plan(std::string_view statement) { return steps(statement).front(); }

  // All of them; none for a statement for which the engine has nothing to plan.
  std::vector<std::string> steps(std::string_view statement) {
    const Translation translation = translate(statement);
    std::vector<std::string> steps;
    if (translation.statements.empty()) return steps;
    for (auto& row : run_sql("EXPLAIN QUERY PLAN " + translation.statements.front(), translation.parameters))
      steps.push_back(std::move(row.back()));
    return steps;
  }

  // Statements of SQLite's own.
  void run_as_they_stand(const std::vector<std::string>& statements) {
    for (const std::string& sql : statements) run_sql(sql, {});
  }

 private:
  void check(int code) const {
    if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW)
      raise(error_number::kStoreFailure, "SQLite", sqlite3_errmsg(database_));
  }

  static void bind(sqlite3_stmt* statement, int at, const Variant& value) {
    switch (value.type()) {
      case Variant::Type::boolean:
        sqlite3_bind_int(statement, at, value.boolean_value() ? 1 : 0);
        break;
      case Variant::Type::long_integer:
        sqlite3_bind_int(statement, at, value.long_value());
        break;
      case Variant::Type::real:
        sqlite3_bind_double(statement, at, value.double_value());
        break;
      case Variant::Type::currency:
        sqlite3_bind_int64(statement, at, value.currency_value().scaled());
        break;
      default: {
        const std::string text =
            value.type() == Variant::Type::date ? value.date_value().iso_text() : value.text_value();
        sqlite3_bind_text(statement, at, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
      }
    }
  }

  Rows run_sql(const std::string& sql, const std::vector<Parameter>& parameters) {
    sqlite3_stmt* prepared = nullptr;
    check(sqlite3_prepare_v2(database_, sql.c_str(), -1, &prepared, nullptr));
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> guard(prepared, &sqlite3_finalize);
    for (std::size_t i = 0; i < parameters.size(); ++i)
      bind(prepared, static_cast<int>(i) + 1, parameter_value(lexed_, parameters[i]));
    Rows rows;
    int code = SQLITE_ROW;
    while ((code = sqlite3_step(prepared)) == SQLITE_ROW) {
      auto& row = rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(prepared, i));
        row.emplace_back(bytes == nullptr
                             ? "NULL"
                             : std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(prepared, i))));
      }
    }
    check(code);
    return rows;
  }

  void load_tables() {
    tables_.clear();
    for (const auto& table :
         run_sql(std::string("SELECT name FROM sqlite_schema WHERE ").append(sqlite::kIsTable), {})) {
      TableInfo info;
      info.name = table.front();
      for (const auto& row :
           run_sql("SELECT name, type, \"notnull\", pk, EXISTS (SELECT 1 FROM pragma_table_info('" +
                       std::string(sqlite::kTextIndexPrefix) + info.name + std::string(sqlite::kOldTexts) +
                       "') i WHERE i.name = c.name) FROM pragma_table_info('" + info.name + "') c",
                   {})) {
        const sqlite::DeclaredType declared = sqlite::read_declared_type(row[1]);
        if (row[3] != "0") info.key.push_back(info.columns.size());
        info.columns.push_back(
            {row[0], declared.type, declared.width, row[2] == "0" && row[3] == "0", declared.assigned});
        info.columns.back().in_text_index = row[4] != "0";
      }
      tables_.emplace(text::to_upper(info.name), std::move(info));
    }
  }

  sqlite3* database_ = nullptr;
  LexedStatement lexed_;
  std::map<std::string, TableInfo> tables_;
};

}  // namespace mercato::store::dialect::test
