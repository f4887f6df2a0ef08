#include "platform/store/empty/session.h"

#include "platform/store/call_limit.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/empty/cursor.h"
#include "platform/store/statement_observer.h"

namespace mercato::store::empty {

// What every driver does with a statement before its engine sees it.
Execution EmptySession::execute(const Sql& statement, ExecuteOptions /*options*/) {
  observe_statement(statement.text());
  check_call_limit_now();
  dialect::LexedStatement lexed;
  dialect::lex(statement.text(), lexed);
  dialect::check_pieces(statement, lexed);
  return {std::make_unique<EmptyCursor>(), 0};
}

const TableInfo* EmptySession::table(std::string_view /*name*/) { return nullptr; }

bool EmptySession::has_index(std::string_view /*table*/, std::string_view /*name*/) { return false; }

RowIdentity EmptySession::insert_row(const TableInfo& /*table*/, std::span<const std::size_t> /*columns*/,
                                     std::span<const Variant> /*values*/) {
  return {};
}

void EmptySession::update_row(const TableInfo& /*table*/, const RowIdentity& /*row*/,
                              std::span<const std::size_t> /*columns*/, std::span<const Variant> /*values*/) {}

}  // namespace mercato::store::empty
