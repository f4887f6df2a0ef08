#include "platform/store/sqlite/statement_cache.h"

#include <utility>

namespace mercato::store::sqlite {

bool StatementCache::answers(const CachedStatement& statement, const dialect::LexedStatement& lexed, bool identified) {
  return statement.identified == identified &&
         (statement.translation.depends_on_literals ? statement.shape == lexed.text : statement.shape == lexed.shape);
}

CachedStatementPtr StatementCache::find(const dialect::LexedStatement& lexed, bool identified) {
  const auto [first, last] = by_hash_.equal_range(lexed.shape_hash);
  for (auto candidate = first; candidate != last; ++candidate) {
    const Uses::iterator use = candidate->second;
    if (!answers(**use, lexed, identified)) continue;
    uses_.splice(uses_.begin(), uses_, use);
    return *use;
  }
  return nullptr;
}

void StatementCache::insert(CachedStatementPtr statement, const dialect::LexedStatement& lexed, bool identified) {
  statement->hash = lexed.shape_hash;
  statement->shape = statement->translation.depends_on_literals ? std::string(lexed.text) : lexed.shape;
  statement->identified = identified;
  if (uses_.size() == kMost) {
    const Uses::iterator oldest = std::prev(uses_.end());
    const auto [first, last] = by_hash_.equal_range((*oldest)->hash);
    for (auto candidate = first; candidate != last; ++candidate) {
      if (candidate->second != oldest) continue;
      by_hash_.erase(candidate);
      break;
    }
    uses_.erase(oldest);
  }
  uses_.push_front(std::move(statement));
  by_hash_.emplace(lexed.shape_hash, uses_.begin());
}

void StatementCache::clear() {
  by_hash_.clear();
  uses_.clear();
}

RunningStatement::RunningStatement(Database& database, CachedStatementPtr statement)
    : statement_(std::move(statement)), handle_(std::move(statement_->idle)) {
  if (!handle_) handle_ = database.prepare(statement_->translation.statements.front());
}

RunningStatement::~RunningStatement() {
  if (!handle_) return;
  sqlite3_reset(handle_.get());
  sqlite3_clear_bindings(handle_.get());
  if (!statement_->idle) statement_->idle = std::move(handle_);
}

}  // namespace mercato::store::sqlite
