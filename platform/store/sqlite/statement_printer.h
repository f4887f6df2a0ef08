// SPDX-License-Identifier: Apache-2.0
// Translates a statement of the dialect into SQLite's SQL. What SQLite has no words for, it calls: the functions
// `mercato_...` and the collation `MERCATO` (functions.h). Any thread.
#pragma once

#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::sqlite {

// Raises what `dialect::resolve_statement` raises.
dialect::Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables,
                               bool identified);

// The statements that carry out a definition.
std::vector<std::string> definition_sql(const dialect::Definition& definition);

}  // namespace mercato::store::sqlite
