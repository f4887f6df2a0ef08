// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/text_index.h"

#include <algorithm>
#include <utility>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/sqlite/trigram_tokenizer.h"
#include "values/same_text.h"
#include "values/squeezed_text.h"

namespace mercato::store::sqlite {
namespace {

using dialect::quoted_name;

// With so many changed rows at a commit the index takes them in. Each search proposes those that it has not taken.
constexpr std::int64_t kMostChanged = 1000;

std::string name_of(std::string_view table) { return std::string(kTextIndexPrefix).append(table); }
std::string index_of(std::string_view table) { return quoted_name(name_of(table)); }
std::string changed_of(std::string_view table) { return quoted_name(name_of(table) + " changed rows"); }

// "new.A, new.B"
std::string columns_of(const dialect::Definition& definition, const std::string& before = {},
                       std::string_view behind = {}, std::string_view separator = ", ") {
  std::string list;
  for (const dialect::KeyColumn& column : definition.index_columns) {
    if (!list.empty()) list += separator;
    const std::string name = quoted_name(column.name);
    list += before + name;
    if (!behind.empty()) list.append(behind).append(name);
  }
  return list;
}

// The rows that have changed go into the index. `columns`: as columns_of writes them.
std::string take_in_sql(const std::string& table, const std::string& columns) {
  const std::string index = index_of(table), changed = changed_of(table);
  return "INSERT INTO " + index + "(" + index + ", rowid, " + columns + ") SELECT 'delete', \"changed row\", " +
         columns + " FROM " + changed + " WHERE \"is indexed\"; INSERT INTO " + index + "(rowid, " + columns +
         ") SELECT _rowid_, " + columns + " FROM " + quoted_name(table) +
         " WHERE _rowid_ IN (SELECT \"changed row\" FROM " + changed + "); DELETE FROM " + changed + ";";
}

// Those of the store, as they were defined.
std::vector<dialect::Definition> text_indexes_of(Database& database) {
  std::vector<dialect::Definition> indexes;
  const StatementHandle columns = database.prepare(
      "SELECT t.name, c.name FROM sqlite_schema t JOIN sqlite_schema i ON i.name = '" + std::string(kTextIndexPrefix) +
      "' || t.name JOIN pragma_table_info(i.name) c WHERE t.type = 'table' ORDER BY t.name, c.cid");
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(columns.get())) == SQLITE_ROW) {
    const std::string table = reinterpret_cast<const char*>(sqlite3_column_text(columns.get(), 0));
    if (indexes.empty() || indexes.back().table != table) indexes.emplace_back().table = table;
    dialect::KeyColumn column;
    column.name = reinterpret_cast<const char*>(sqlite3_column_text(columns.get(), 1));
    indexes.back().index_columns.push_back(std::move(column));
  }
  if (code != SQLITE_DONE) database.raise(code);
  return indexes;
}

// All its triggers are there, and it holds what its table does.
bool is_whole(Database& database, const dialect::Definition& definition) {
  const std::string name = name_of(definition.table), index = index_of(definition.table);
  const StatementHandle triggers =
      database.prepare("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger' AND name LIKE ?1 || ' after %'");
  sqlite3_bind_text64(triggers.get(), 1, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8);
  if (const int code = sqlite3_step(triggers.get()); code != SQLITE_ROW) database.raise(code);
  if (sqlite3_column_int(triggers.get(), 0) != 3) return false;
  const std::string check = take_in_sql(definition.table, columns_of(definition)) + " INSERT INTO " + index + "(" +
                            index + ", rank) VALUES('integrity-check', 1)";
  const int code = sqlite3_exec(database.engine(), check.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK && (code & 0xFF) != SQLITE_CORRUPT) database.raise(code);
  return code == SQLITE_OK;
}

}  // namespace

std::vector<std::string> mend_text_indexes(Database& database) {
  std::vector<std::string> mended;
  for (const dialect::Definition& definition : text_indexes_of(database)) {
    database.run("BEGIN IMMEDIATE");
    try {
      if (!is_whole(database, definition)) {
        for (const std::string& statement : drop_text_index_sql(definition.table)) database.run(statement.c_str());
        for (const std::string& statement : create_text_index_sql(definition)) database.run(statement.c_str());
        mended.push_back(definition.table);
      }
      database.run("COMMIT");
    } catch (...) {
      sqlite3_exec(database.engine(), "ROLLBACK", nullptr, nullptr, nullptr);
      throw;
    }
    database.after_commit();
  }
  return mended;
}

std::vector<std::string> create_text_index_sql(const dialect::Definition& definition) {
  const std::string table = quoted_name(definition.table);
  const std::string index = index_of(definition.table);
  const std::string changed = changed_of(definition.table);
  const std::string columns = columns_of(definition);
  const auto trigger = [&](std::string_view name, const std::string& event, const std::string& actions) {
    return "CREATE TRIGGER " + quoted_name(name_of(definition.table).append(name)) + " AFTER " + event + " BEGIN " +
           actions + " END";
  };
  // What is noted first is what the index has.
  const std::string note_indexed = "INSERT INTO " + changed + " SELECT old._rowid_, 1, " +
                                   columns_of(definition, "old.") + " WHERE true ON CONFLICT DO NOTHING;";
  return {
      "CREATE VIRTUAL TABLE " + index + " USING fts5(" + columns + ", content=" + table +
          ", content_rowid=_rowid_, detail=none, columnsize=0, tokenize=" + std::string(kTokenizer) + ")",
      // Parts of the index are put together rarely, which makes writing cheaper; at first it is one part.
      "INSERT INTO " + index + "(" + index + ", rank) VALUES('automerge', 16)",
      "INSERT INTO " + index + "(" + index + ") VALUES('rebuild')",
      "INSERT INTO " + index + "(" + index + ") VALUES('optimize')",
      "CREATE TABLE " + changed + " (\"changed row\" INTEGER PRIMARY KEY, \"is indexed\", " + columns + ")",
      trigger(" after insert", "INSERT ON " + table,
              "INSERT INTO " + changed + "(\"changed row\", \"is indexed\") SELECT new._rowid_, 0 WHERE true " +
                  "ON CONFLICT DO NOTHING;"),
      trigger(" after update",
              "UPDATE OF " + columns + " ON " + table + " WHEN " +
                  columns_of(definition, "old.", " COLLATE BINARY IS NOT new.", " OR "),
              note_indexed),
      trigger(" after delete", "DELETE ON " + table, note_indexed),
  };
}

// The triggers of the table go by name, for it may stay.
std::vector<std::string> drop_text_index_sql(std::string_view table) {
  std::vector<std::string> statements;
  for (const std::string_view event : {" after insert", " after update", " after delete"})
    statements.push_back("DROP TRIGGER IF EXISTS " + quoted_name(name_of(table).append(event)));
  statements.push_back("DROP TABLE IF EXISTS " + changed_of(table));
  statements.push_back("DROP TABLE IF EXISTS " + index_of(table));
  return statements;
}

TextIndexes::Searches& TextIndexes::searches_in(const TableInfo& table) {
  if (const auto known = searches_.find(table.name); known != searches_.end()) return known->second;
  const std::string index = index_of(table.name), changed = changed_of(table.name);
  Searches searches;
  std::string texts;
  for (const Column& column : table.columns) {
    if (!column.in_text_index) continue;
    searches.columns += (searches.columns.empty() ? "" : ", ") + quoted_name(column.name);
    texts += ", t." + quoted_name(column.name);
  }
  searches.find =
      database_.prepare("SELECT rowid FROM " + index + " WHERE " + index + " MATCH ?1 ORDER BY rowid LIMIT ?2");
  searches.changed = database_.prepare("SELECT \"changed row\" FROM " + changed);
  searches.changed_texts = database_.prepare("SELECT t._rowid_" + texts + " FROM " + changed + " CROSS JOIN " +
                                             quoted_name(table.name) + " t ON t._rowid_ = \"changed row\"");
  searches.count = database_.prepare("SELECT count(*) FROM " + changed);
  searches.last = database_.prepare("SELECT max(_rowid_) FROM " + quoted_name(table.name));
  return searches_.emplace(table.name, std::move(searches)).first->second;
}

// Calls `take` at each row of the statement.
template <class Take>
void TextIndexes::walk(sqlite3_stmt* statement, Take take) {
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(statement)) == SQLITE_ROW) take();
  if (code == SQLITE_DONE) {
    sqlite3_reset(statement);
    return;
  }
  RaisedError failed = database_.failure(code);
  sqlite3_reset(statement);
  throw Raised(std::move(failed));
}

std::vector<std::int64_t> TextIndexes::find(const TableInfo& table, const dialect::TextMatch& match, std::size_t most) {
  const std::string query = dialect::written(match, kMatchWords);
  sqlite3_stmt* const statement = searches_in(table).find.get();
  sqlite3_bind_text64(statement, 1, query.data(), query.size(), SQLITE_STATIC, SQLITE_UTF8);
  sqlite3_bind_int64(statement, 2, static_cast<std::int64_t>(most));
  std::vector<std::int64_t> rows;
  walk(statement, [&] { rows.push_back(sqlite3_column_int64(statement, 0)); });
  return rows;
}

std::vector<std::int64_t> TextIndexes::changed(const TableInfo& table) {
  sqlite3_stmt* const statement = searches_in(table).changed.get();
  std::vector<std::int64_t> rows;
  walk(statement, [&] { rows.push_back(sqlite3_column_int64(statement, 0)); });
  return rows;
}

std::int64_t TextIndexes::number(const StatementHandle& statement) {
  std::int64_t number = 0;
  walk(statement.get(), [&] { number = sqlite3_column_int64(statement.get(), 0); });
  return number;
}

std::int64_t TextIndexes::most_rows(const TableInfo& table) { return number(searches_in(table).last); }

void TextIndexes::note_write(const std::string& table) {
  if (written_.empty() || written_.back() != table)
    if (std::ranges::find(written_, table) == written_.end()) written_.push_back(table);
}

bool TextIndexes::is_worth_taking_in(const KnownTables& tables) {
  std::erase_if(written_, [&](const std::string& name) {
    const TableInfo* const table = tables.known(name);
    return table == nullptr || !table->has_text_index() || number(searches_in(*table).count) < kMostChanged;
  });
  return !written_.empty();
}

void TextIndexes::take_in(const KnownTables& tables) {
  for (const std::string& name : std::exchange(written_, {}))
    database_.run(take_in_sql(name, searches_in(*tables.known(name)).columns).c_str());
}

std::vector<std::int64_t> TextIndexes::holding(const TableInfo& table, std::span<const std::string> words,
                                               std::size_t most) {
  const std::vector<std::int64_t> changed_rows = changed(table);
  std::vector<std::int64_t> rows = find(table, *dialect::match_of(words), most + changed_rows.size());
  std::erase_if(rows, [&](std::int64_t row) { return std::ranges::binary_search(changed_rows, row); });
  std::vector<std::string> squeezed;
  for (const std::string& word : words) squeezed.push_back(text::squeezed(word));
  sqlite3_stmt* const statement = searches_in(table).changed_texts.get();
  walk(statement, [&] {
    std::string texts;
    for (int i = 1; i < sqlite3_column_count(statement); ++i) {
      const auto* const bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
      const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, i));
      if (bytes) texts += text::squeezed(text::folded({bytes, size})) + '\n';
    }
    if (std::ranges::all_of(squeezed, [&](const std::string& word) { return texts.find(word) != std::string::npos; }))
      rows.push_back(sqlite3_column_int64(statement, 0));
  });
  std::ranges::sort(rows);
  rows.resize(std::min(rows.size(), most));
  return rows;
}

}  // namespace mercato::store::sqlite
