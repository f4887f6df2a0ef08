// SPDX-License-Identifier: Apache-2.0
// Translates a statement of the dialect into SQLite's SQL. What SQLite has no words for, it calls: the functions
// `mercato_...` and the collation `MERCATO` (functions.h). Any thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/text_search.h"
#include "platform/store/driver.h"

namespace mercato::store::sqlite {

using dialect::UsedSearches;
// Stands for the literal of a parameter that has none: the rows that search number 0 proposes, and so on; a text, "[1,2]".
inline constexpr std::uint32_t kProposedRows = dialect::kNoLiteral - dialect::kMostSearches;

struct Translation : dialect::Translation {
  std::vector<dialect::TextSearch> searches;  // all that there could be, in the order of their parameters
};

// Raises what `dialect::resolve_statement` raises.
Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables, bool identified,
                      UsedSearches used = 0);

// The statements that carry out a definition.
std::vector<std::string> definition_sql(const dialect::Definition& definition);

// Those that write into the engine's statistics what it should expect of the indexes that begin with these columns.
std::vector<std::string> statistics_sql(std::span<const ExpectedRows> expected);

}  // namespace mercato::store::sqlite
