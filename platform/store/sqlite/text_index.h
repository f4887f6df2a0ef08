// SPDX-License-Identifier: Apache-2.0
// Text indexes: which rows of a table hold which trigrams (squeezed_text.h) in some of their texts. An FTS5 table without
// texts of its own, "text index of TABLE", and beside it a list of the rows that have changed since they went into it.
//
// FTS5 writes all that it has in memory at every statement of a transaction, which would cost more than the statement. So
// triggers only note the row and its texts as the index has them, and a thousand rows at once go into the index, by a
// trigger too. Until then a changed row is proposed for every search. All of it are tables of the store: it belongs to
// the transaction that changes the rows, and whoever writes keeps it. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/dialect/definition.h"
#include "platform/store/dialect/text_search.h"
#include "platform/store/sqlite/database.h"

namespace mercato::store::sqlite {

inline constexpr std::string_view kTextIndexPrefix = "text index of ";
// The tables of a store that are its own, in sqlite_schema.
inline constexpr std::string_view kIsTable =
    "type = 'table' AND name NOT LIKE 'sqlite~_%' ESCAPE '~' AND name NOT LIKE 'text index of %'";

// The statements that create it, with all rows in it; that drop it, if there is one.
std::vector<std::string> create_text_index_sql(const dialect::Definition& definition);
std::vector<std::string> drop_text_index_sql(std::string_view table);

// The searches of a session, in tables that have a text index.
class TextIndexes {
 public:
  explicit TextIndexes(Database& database) : database_(database) {}

  // The row ids that match, at most so many, in their order. What has changed since it went into the index may
  // be missing, or be found by what it was.
  std::vector<std::int64_t> find(const TableInfo& table, const dialect::TextMatch& match, std::size_t most);
  // Those of the rows that have changed, in their order; some may be gone.
  std::vector<std::int64_t> changed(const TableInfo& table);
  // What Session::proposals says. The words are folded, and those without a trigram hold anyway.
  std::vector<std::int64_t> holding(const TableInfo& table, std::span<const std::string> words, std::size_t most);
  // At least as many rows as the table has, from a look at its last one.
  std::int64_t most_rows(const TableInfo& table);
  void forget() { searches_.clear(); }

 private:
  // What was prepared for one table.
  struct Searches {
    StatementHandle find;
    StatementHandle changed;
    StatementHandle changed_texts;
    StatementHandle last;
  };
  Searches& searches_in(const TableInfo& table);
  template <class Take>
  void walk(sqlite3_stmt* statement, Take take);

  Database& database_;
  std::unordered_map<std::string, Searches> searches_;  // by table
};

}  // namespace mercato::store::sqlite
