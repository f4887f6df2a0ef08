// SPDX-License-Identifier: Apache-2.0
#include "platform/store/empty/session.h"

#include "platform/store/empty/cursor.h"

namespace mercato::store::empty {

Execution EmptySession::run(const dialect::LexedStatement& /*statement*/, ExecuteOptions /*options*/) {
  return {std::make_unique<EmptyCursor>(), 0};
}

const TableInfo* EmptySession::table(std::string_view /*name*/) { return nullptr; }

bool EmptySession::has_index(std::string_view /*table*/, std::string_view /*name*/) { return false; }

RowIdentity EmptySession::insert(const TableInfo& /*table*/, std::span<const std::size_t> /*columns*/,
                                 std::span<const Variant> /*values*/) {
  return {};
}

void EmptySession::update(const TableInfo& /*table*/, RowIdentity& /*row*/, std::span<const std::size_t> /*columns*/,
                          std::span<const Variant> /*values*/) {}

}  // namespace mercato::store::empty
