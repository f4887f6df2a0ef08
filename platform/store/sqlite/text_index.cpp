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

// So many changed rows go into the index at once. Each search proposes those that have not gone yet.
constexpr std::string_view kMostChanged = "1000";

constexpr dialect::MatchWords kFts5Words{'"', " AND ", " OR "};

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

}  // namespace

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
      "INSERT INTO " + index + "(" + index + ") VALUES('rebuild')",
      "CREATE TABLE " + changed + " (\"changed row\" INTEGER PRIMARY KEY, \"is indexed\", " + columns + ")",
      trigger(" after insert", "INSERT ON " + table,
              "INSERT INTO " + changed + "(\"changed row\", \"is indexed\") SELECT new._rowid_, 0 WHERE true " +
                  "ON CONFLICT DO NOTHING;"),
      trigger(" after update",
              "UPDATE OF " + columns + " ON " + table + " WHEN " +
                  columns_of(definition, "old.", " COLLATE BINARY IS NOT new.", " OR "),
              note_indexed),
      trigger(" after delete", "DELETE ON " + table, note_indexed),
      trigger(" after change",
              "INSERT ON " + changed + " WHEN (SELECT count(*) FROM " + changed + ") >= " + std::string(kMostChanged),
              "INSERT INTO " + index + "(" + index + ", rowid, " + columns + ") SELECT 'delete', \"changed row\", " +
                  columns + " FROM " + changed + " WHERE \"is indexed\"; " +  //
                  "INSERT INTO " + index + "(rowid, " + columns + ") SELECT _rowid_, " + columns + " FROM " + table +
                  " WHERE _rowid_ IN (SELECT \"changed row\" FROM " + changed + "); " +  //
                  "DELETE FROM " + changed + ";"),
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
  const auto [known, is_new] = searches_.try_emplace(table.name);
  if (!is_new) return known->second;
  const std::string index = index_of(table.name), changed = changed_of(table.name);
  std::string texts;
  for (const Column& column : table.columns)
    if (column.in_text_index) texts += ", t." + quoted_name(column.name);
  Searches& searches = known->second;
  searches.find =
      database_.prepare("SELECT rowid FROM " + index + " WHERE " + index + " MATCH ?1 ORDER BY rowid LIMIT ?2");
  searches.changed = database_.prepare("SELECT \"changed row\" FROM " + changed);
  searches.changed_texts = database_.prepare("SELECT t._rowid_" + texts + " FROM " + changed + " CROSS JOIN " +
                                             quoted_name(table.name) + " t ON t._rowid_ = \"changed row\"");
  searches.last = database_.prepare("SELECT max(_rowid_) FROM " + quoted_name(table.name));
  return searches;
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
  const std::string query = dialect::written(match, kFts5Words);
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

std::int64_t TextIndexes::most_rows(const TableInfo& table) {
  sqlite3_stmt* const statement = searches_in(table).last.get();
  std::int64_t last = 0;
  walk(statement, [&] { last = sqlite3_column_int64(statement, 0); });
  return last;
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
