// Translated and prepared statements by their shape, the latest used ones. One thread at a time.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/store/dialect/dialect.h"
#include "platform/store/sqlite/database.h"

namespace mercato::store::sqlite {

struct CachedStatement {
  dialect::Translation translation;
  RowLayoutPtr layout;   // of a query
  StatementHandle idle;  // prepared, when no one runs it

  // What it answers to.
  std::uint64_t hash = 0;
  std::string shape;  // or the whole text, when the translation depends on the literals
  bool identified = false;
};

using CachedStatementPtr = std::shared_ptr<CachedStatement>;

class StatementCache {
 public:
  // Null when there is none.
  CachedStatementPtr find(const dialect::LexedStatement& lexed, bool identified);
  void insert(CachedStatementPtr statement, const dialect::LexedStatement& lexed, bool identified);
  void clear();

 private:
  static constexpr std::size_t kMost = 256;
  using Uses = std::list<CachedStatementPtr>;

  static bool answers(const CachedStatement& statement, const dialect::LexedStatement& lexed, bool identified);

  Uses uses_;  // the latest first
  std::unordered_multimap<std::uint64_t, Uses::iterator> by_hash_;
};

// A prepared statement in use: reset and put back when it dies, so that it is prepared once however often it runs.
class RunningStatement {
 public:
  RunningStatement(Database& database, CachedStatementPtr statement);
  RunningStatement(RunningStatement&&) noexcept = default;
  RunningStatement& operator=(RunningStatement&&) = delete;
  ~RunningStatement();

  sqlite3_stmt* get() const { return handle_.get(); }
  const CachedStatement& cached() const { return *statement_; }

 private:
  CachedStatementPtr statement_;
  StatementHandle handle_;
};

}  // namespace mercato::store::sqlite
