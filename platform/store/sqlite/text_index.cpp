// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/text_index.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/sqlite/trigram_tokenizer.h"
#include "values/same_text.h"
#include "values/squeezed_text.h"

namespace mercato::store::sqlite {
namespace {

using dialect::quoted_name;

std::string name_of(std::string_view table, std::string_view part = {}) {
  return std::string(kTextIndexPrefix).append(table).append(part);
}
std::string index_of(std::string_view table) { return quoted_name(name_of(table)); }
std::string old_texts_of(std::string_view table) { return quoted_name(name_of(table, kOldTexts)); }
std::string last_row_of(std::string_view table) { return quoted_name(name_of(table, " last row")); }
std::string trigrams_of(std::string_view table) { return quoted_name(name_of(table, " trigrams")); }

// The rows of the table that have come since the index took rows in.
std::string new_rows_of(std::string_view table) {
  return quoted_name(table) + " WHERE _rowid_ > (SELECT \"last row\" FROM " + last_row_of(table) + ")";
}

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

// What has changed goes into the index. `columns`: as columns_of writes them.
std::string take_in_sql(const std::string& table, const std::string& columns) {
  const std::string index = index_of(table), old_texts = old_texts_of(table), last_row = last_row_of(table);
  const std::string add =
      "INSERT INTO " + index + "(rowid, trigrams) SELECT _rowid_, mercato_trigrams(" + columns + ") FROM ";
  return "INSERT INTO " + index + "(" + index + ", rowid, trigrams) SELECT 'delete', \"changed row\", " +
         "mercato_trigrams(" + columns + ") FROM " + old_texts + " WHERE \"is indexed\"; " + add + quoted_name(table) +
         " WHERE _rowid_ IN (SELECT \"changed row\" FROM " + old_texts + "); DELETE FROM " + old_texts + "; " + add +
         new_rows_of(table) + "; UPDATE " + last_row + " SET \"last row\" = max(\"last row\", " +
         "(SELECT ifnull(max(_rowid_), 0) FROM " + quoted_name(table) + "));";
}

// The text indexes of a store, as they were defined. `part`: the table of each that has its columns.
constexpr std::string_view kIndexedColumns =
    "SELECT t.name, c.name FROM sqlite_schema t JOIN sqlite_schema i ON i.name = ?1 || t.name || ?2 "
    "JOIN pragma_table_info(i.name) c JOIN pragma_table_info(t.name) o ON o.name = c.name "
    "WHERE t.type = 'table' ORDER BY t.name, c.cid";

int text_indexes_of(sqlite3* engine, std::string_view part, std::vector<dialect::Definition>& indexes) {
  sqlite3_stmt* prepared = nullptr;
  int code =
      sqlite3_prepare_v2(engine, kIndexedColumns.data(), static_cast<int>(kIndexedColumns.size()), &prepared, nullptr);
  const StatementHandle columns(prepared);
  if (code != SQLITE_OK) return code;
  sqlite3_bind_text64(columns.get(), 1, kTextIndexPrefix.data(), kTextIndexPrefix.size(), SQLITE_STATIC, SQLITE_UTF8);
  sqlite3_bind_text64(columns.get(), 2, part.data(), part.size(), SQLITE_STATIC, SQLITE_UTF8);
  while ((code = sqlite3_step(columns.get())) == SQLITE_ROW) {
    const std::string table = reinterpret_cast<const char*>(sqlite3_column_text(columns.get(), 0));
    if (indexes.empty() || indexes.back().table != table) indexes.emplace_back().table = table;
    dialect::KeyColumn column;
    column.name = reinterpret_cast<const char*>(sqlite3_column_text(columns.get(), 1));
    indexes.back().index_columns.push_back(std::move(column));
  }
  return code == SQLITE_DONE ? SQLITE_OK : code;
}

int make_anew(sqlite3* engine, const dialect::Definition& definition) {
  for (const std::vector<std::string>& statements :
       {drop_text_index_sql(definition.table), create_text_index_sql(definition)})
    for (const std::string& statement : statements)
      if (const int code = sqlite3_exec(engine, statement.c_str(), nullptr, nullptr, nullptr); code != SQLITE_OK)
        return code;
  return SQLITE_OK;
}

// All its triggers are there, and it holds what its table does.
bool is_whole(Database& database, const dialect::Definition& definition) {
  const std::string name = name_of(definition.table), index = index_of(definition.table);
  const StatementHandle triggers =
      database.prepare("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger' AND name LIKE ?1 || ' after %'");
  sqlite3_bind_text64(triggers.get(), 1, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8);
  if (const int code = sqlite3_step(triggers.get()); code != SQLITE_ROW) database.raise(code);
  if (sqlite3_column_int(triggers.get(), 0) != 2) return false;
  const std::string check = take_in_sql(definition.table, columns_of(definition)) + " INSERT INTO " + index + "(" +
                            index + ", rank) VALUES('integrity-check', 1)";
  const int code = sqlite3_exec(database.engine(), check.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK && (code & 0xFF) != SQLITE_CORRUPT) database.raise(code);
  return code == SQLITE_OK;
}

}  // namespace

std::vector<std::string> mend_text_indexes(Database& database) {
  std::vector<dialect::Definition> indexes;
  if (const int code = text_indexes_of(database.engine(), kOldTexts, indexes); code != SQLITE_OK) database.raise(code);
  std::vector<std::string> mended;
  for (const dialect::Definition& definition : indexes) {
    database.run("BEGIN IMMEDIATE");
    try {
      if (!is_whole(database, definition)) {
        if (const int code = make_anew(database.engine(), definition); code != SQLITE_OK) database.raise(code);
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

int renew_text_indexes(sqlite3* engine) {
  std::vector<dialect::Definition> indexes;
  int code = text_indexes_of(engine, "", indexes);
  for (std::size_t i = 0; i < indexes.size() && code == SQLITE_OK; ++i) code = make_anew(engine, indexes[i]);
  return code;
}

std::vector<std::string> create_text_index_sql(const dialect::Definition& definition) {
  const std::string table = quoted_name(definition.table);
  const std::string index = index_of(definition.table);
  const std::string old_texts = old_texts_of(definition.table);
  const std::string last_row = last_row_of(definition.table);
  const std::string trigrams = trigrams_of(definition.table);
  const std::string columns = columns_of(definition);
  // What is noted first is what the index has.
  const auto trigger = [&](std::string_view name, const std::string& event, const std::string& condition) {
    return "CREATE TRIGGER " + quoted_name(name_of(definition.table, name)) + " AFTER " + event +
           " WHEN old._rowid_ <= (SELECT \"last row\" FROM " + last_row + ")" + condition + " BEGIN INSERT INTO " +
           old_texts + " SELECT old._rowid_, 1, " + columns_of(definition, "old.") +
           " WHERE true ON CONFLICT DO NOTHING; END";
  };
  return {
      "CREATE VIEW " + trigrams + "(\"row\", trigrams) AS SELECT _rowid_, mercato_trigrams(" + columns + ") FROM " +
          table,
      "CREATE VIRTUAL TABLE " + index + " USING fts5(trigrams, content=" + trigrams +
          ", content_rowid=row, detail=none, columnsize=0, tokenize=" + std::string(kTokenizer) + ")",
      // Parts of the index are put together rarely, which makes writing cheaper; at first it is one part.
      "INSERT INTO " + index + "(" + index + ", rank) VALUES('automerge', 16)",
      // What a run takes in at once stays one part.
      "INSERT INTO " + index + "(" + index + ", rank) VALUES('hashsize', 16777216)",
      "INSERT INTO " + index + "(" + index + ") VALUES('rebuild')",
      "INSERT INTO " + index + "(" + index + ") VALUES('optimize')",
      "CREATE TABLE " + last_row + " AS SELECT ifnull(max(_rowid_), 0) AS \"last row\" FROM " + table,
      "CREATE TABLE " + old_texts + " (\"changed row\" INTEGER PRIMARY KEY, \"is indexed\", " + columns + ")",
      trigger(" after update", "UPDATE OF " + columns + " ON " + table,
              " AND (" + columns_of(definition, "old.", " COLLATE BINARY IS NOT new.", " OR ") + ")"),
      trigger(" after delete", "DELETE ON " + table, ""),
  };
}

// The triggers of the table go by name, for it may stay. Those of older versions too.
std::vector<std::string> drop_text_index_sql(std::string_view table) {
  std::vector<std::string> statements;
  for (const std::string_view event : {" after insert", " after update", " after delete"})
    statements.push_back("DROP TRIGGER IF EXISTS " + quoted_name(name_of(table, event)));
  statements.push_back("DROP TABLE IF EXISTS " + index_of(table));
  for (const std::string_view part : {std::string_view(" changed rows"), kOldTexts, std::string_view(" last row")})
    statements.push_back("DROP TABLE IF EXISTS " + quoted_name(name_of(table, part)));
  statements.push_back("DROP VIEW IF EXISTS " + trigrams_of(table));
  return statements;
}

TextIndexes::TextIndexes(Database& database) : database_(database) {
  sqlite3_update_hook(database.engine(), note_row, this);
}

// FTS5 and triggers write tables of their own meanwhile. The engine does not take exceptions.
void TextIndexes::note_row(void* self, int action, const char* /*file*/, const char* table, sqlite3_int64 row) {
  auto& indexes = *static_cast<TextIndexes*>(self);
  if (action != SQLITE_INSERT || indexes.table_ == nullptr || indexes.table_->name != table) return;
  try {
    indexes.inserted_.push_back(row);
  } catch (const std::bad_alloc&) {
    indexes.are_all_inserted_known_ = false;
  }
}

TextIndexes::Searches& TextIndexes::searches_in(const TableInfo& table) {
  if (const auto known = searches_.find(table.name); known != searches_.end()) return known->second;
  const std::string index = index_of(table.name), old_texts = old_texts_of(table.name);
  const std::string name = quoted_name(table.name), new_rows = new_rows_of(table.name);
  Searches searches;
  std::string texts;
  for (const Column& column : table.columns) {
    if (!column.in_text_index) continue;
    searches.columns += (searches.columns.empty() ? "" : ", ") + quoted_name(column.name);
    texts += ", t." + quoted_name(column.name);
  }
  searches.find =
      database_.prepare("SELECT rowid FROM " + index + " WHERE " + index + " MATCH ?1 ORDER BY rowid LIMIT ?2");
  // By their ids: those that were taken in before lie below the others.
  searches.changed =
      database_.prepare("SELECT \"changed row\" FROM " + old_texts + " UNION ALL SELECT _rowid_ FROM " + new_rows);
  searches.changed_texts = database_.prepare("SELECT t._rowid_" + texts + " FROM " + old_texts + " CROSS JOIN " + name +
                                             " t ON t._rowid_ = \"changed row\" UNION ALL SELECT _rowid_, " +
                                             searches.columns + " FROM " + new_rows);
  searches.count = database_.prepare("SELECT (SELECT count(*) FROM " + old_texts + ") + max(0, " +
                                     "(SELECT ifnull(max(_rowid_), 0) FROM " + name + ") - \"last row\") FROM " +
                                     last_row_of(table.name));
  searches.last_taken_in = database_.prepare("SELECT \"last row\" FROM " + last_row_of(table.name));
  searches.note = database_.prepare("INSERT INTO " + old_texts +
                                    "(\"changed row\", \"is indexed\") VALUES(?1, 0) ON CONFLICT DO NOTHING");
  searches.last = database_.prepare("SELECT max(_rowid_) FROM " + name);
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

void TextIndexes::before_write(const TableInfo& table) {
  inserted_.clear();
  are_all_inserted_known_ = true;
  table_ = &table;
  if (std::ranges::find(written_, table.name) == written_.end()) written_.push_back(table.name);
}

void TextIndexes::after_write() {
  const TableInfo* const table = std::exchange(table_, nullptr);
  if (table == nullptr) return;
  if (!are_all_inserted_known_) throw std::bad_alloc();
  Searches& searches = searches_in(*table);
  if (!searches.known_last) searches.known_last = number(searches.last_taken_in);
  for (const std::int64_t row : inserted_) {
    if (row > *searches.known_last) continue;
    sqlite3_bind_int64(searches.note.get(), 1, row);
    walk(searches.note.get(), [] {});
  }
}

void TextIndexes::begin_transaction() {
  for (auto& [table, searches] : searches_) searches.known_last.reset();
}

void TextIndexes::take_in(const KnownTables& tables, std::int64_t enough) {
  std::erase_if(written_, [&](const std::string& name) {
    const TableInfo* const table = tables.known(name);
    if (table == nullptr || !table->has_text_index()) return true;
    const std::int64_t waiting = number(searches_in(*table).count);
    if (waiting >= enough) database_.run(take_in_sql(name, searches_in(*table).columns).c_str());
    return waiting < kManyWaiting || waiting >= enough;
  });
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
