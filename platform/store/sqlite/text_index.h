// SPDX-License-Identifier: Apache-2.0
// Text indexes: which rows of a table hold which trigrams (squeezed_text.h) in some of their texts. An FTS5 table without
// texts of its own, "text index of TABLE", that has each row as a list of trigrams.
//
// FTS5 writes all that it has in memory at every statement of a transaction, which would cost more than the statement. So
// rows go into the index by the thousand, before a transaction commits, and those that wait are proposed for every
// search. New rows need no note: they have ids above the last one that went in. When a row changes that went in, triggers
// note its texts as the index has them. A new row below the last one is noted by the session that inserts it, because a
// trigger would make every insert dearer. All of it are tables of the store: it belongs to the transaction that changes the
// rows. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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
// Each search proposes the rows that wait. A run lets more of them wait, which makes them cheaper.
inline constexpr std::int64_t kManyWaiting = 1000;
inline constexpr std::int64_t kManyWaitingInRun = 4000;

// What stands behind the table's name for the texts of rows that have changed; it has the columns of the index.
inline constexpr std::string_view kOldTexts = " old texts";
// The tables of a store that are its own, in sqlite_schema.
inline constexpr std::string_view kIsTable =
    "type = 'table' AND name NOT LIKE 'sqlite~_%' ESCAPE '~' AND name NOT LIKE 'text index of %'";

// The statements that create it, with all rows in it; that drop it, if there is one.
std::vector<std::string> create_text_index_sql(const dialect::Definition& definition);
std::vector<std::string> drop_text_index_sql(std::string_view table);

// Looks whether each text index of the store holds what its table does, and makes anew, as a transaction of its own, one
// that does not; whoever writes waits. Their tables.
std::vector<std::string> mend_text_indexes(Database& database);

// Makes those of a store of version 2 anew, within a transaction. The engine's code.
int renew_text_indexes(sqlite3* engine);

// The searches of a session, in tables that have a text index.
class TextIndexes {
 public:
  explicit TextIndexes(Database& database);

  // The row ids that match, at most so many, in their order. What has changed since it went into the index may
  // be missing, or be found by what it was.
  std::vector<std::int64_t> find(const TableInfo& table, const dialect::TextMatch& match, std::size_t most);
  // Those of the rows that have changed, in their order; some may be gone.
  std::vector<std::int64_t> changed(const TableInfo& table);
  // What Session::proposals says. The words are folded, and those without a trigram hold anyway.
  std::vector<std::int64_t> holding(const TableInfo& table, std::span<const std::string> words, std::size_t most);
  // At least as many rows as the table has, from a look at its last one.
  std::int64_t most_rows(const TableInfo& table);

  // Around each statement that writes a table with a text index, in a transaction; behind others nothing is done.
  void before_write(const TableInfo& table);
  void after_write();
  void after_failure() { table_ = nullptr; }
  void begin_transaction();
  // Before a transaction commits: the rows that wait go into the index of each table that was written, when there are
  // enough of them.
  void take_in(const KnownTables& tables, std::int64_t enough);
  // Whether many wait in a table that was written, as was seen when it was committed.
  bool many_wait() const { return !written_.empty(); }
  void forget() { searches_.clear(); }

 private:
  // What was prepared for one table.
  struct Searches {
    StatementHandle find;
    StatementHandle changed;
    StatementHandle changed_texts;
    StatementHandle count;  // of the rows that wait
    StatementHandle last_taken_in;
    StatementHandle note;
    StatementHandle last;
    std::optional<std::int64_t> known_last;  // of `last_taken_in`, in this transaction
    std::string columns;                     // of the index, "A", "B"
  };
  Searches& searches_in(const TableInfo& table);
  std::int64_t number(const StatementHandle& statement);
  template <class Take>
  void walk(sqlite3_stmt* statement, Take take);
  static void note_row(void* self, int action, const char* file, const char* table, sqlite3_int64 row);

  Database& database_;
  std::unordered_map<std::string, Searches> searches_;  // by table
  std::vector<std::string> written_;                    // tables in which many may wait
  const TableInfo* table_ = nullptr;                    // that a statement writes
  std::vector<std::int64_t> inserted_;                  // by it
  bool are_all_inserted_known_ = true;
};

}  // namespace mercato::store::sqlite
