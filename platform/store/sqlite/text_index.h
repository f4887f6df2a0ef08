// SPDX-License-Identifier: Apache-2.0
// Text indexes: which rows of a table hold which trigrams (squeezed_text.h) in some of their texts. An FTS5 table without
// texts of its own, "text index of TABLE", and beside it a list of the rows that have changed since they went into it.
//
// FTS5 writes all that it has in memory at every statement of a transaction, which would cost more than the statement. So
// triggers only note a row that changes, and its texts as the index has them. When they are a thousand, a session puts
// them into the index before it commits. Until then they are proposed for every search. All of it are tables of the
// store: it belongs to the transaction that changes the rows, and whoever writes keeps it. One thread at a time.
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
#include "platform/store/known_tables.h"
#include "platform/store/sqlite/database.h"

namespace mercato::store::sqlite {

// How FTS5 wants a query written.
inline constexpr dialect::MatchWords kMatchWords{'"', " AND ", " OR "};

inline constexpr std::string_view kTextIndexPrefix = "text index of ";
// The tables of a store that are its own, in sqlite_schema.
inline constexpr std::string_view kIsTable =
    "type = 'table' AND name NOT LIKE 'sqlite~_%' ESCAPE '~' AND name NOT LIKE 'text index of %'";

// The statements that create it, with all rows in it; that drop it, if there is one.
std::vector<std::string> create_text_index_sql(const dialect::Definition& definition);
std::vector<std::string> drop_text_index_sql(std::string_view table);

// Looks whether each text index of the store holds what its table does, and makes anew, as a transaction of its own, one
// that does not; whoever writes waits. Their tables.
std::vector<std::string> mend_text_indexes(Database& database);

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

  // The table that was written to.
  void note_write(const std::string& table);
  // Whether an index should take in what has changed, before the next commit or in a transaction of its own; and that.
  bool is_worth_taking_in(const KnownTables& tables);
  void take_in(const KnownTables& tables);
  void forget() { searches_.clear(); }

 private:
  // What was prepared for one table.
  struct Searches {
    StatementHandle find;
    StatementHandle changed;
    StatementHandle changed_texts;
    StatementHandle count;  // of the changed rows
    StatementHandle last;
    std::string columns;  // of the index, "A", "B"
  };
  Searches& searches_in(const TableInfo& table);
  std::int64_t number(const StatementHandle& statement);
  template <class Take>
  void walk(sqlite3_stmt* statement, Take take);

  Database& database_;
  std::unordered_map<std::string, Searches> searches_;  // by table
  std::vector<std::string> written_;                    // tables, since the last time that they were taken in
};

}  // namespace mercato::store::sqlite
