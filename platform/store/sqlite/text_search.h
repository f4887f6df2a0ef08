// SPDX-License-Identifier: Apache-2.0
// What the patterns of a query say of the rows of one table, for its text index to find them. The index proposes rows, and
// the query's conditions, which stay as they are, decide. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::sqlite {

// A pattern, or several in brackets.
struct TextCondition {
  enum class Kind : std::uint8_t { like, all, any };
  Kind kind = Kind::like;
  // Of a pattern: literals of the statement.
  std::uint32_t pattern = dialect::kNoLiteral;
  std::uint32_t escape = dialect::kNoLiteral;
  std::vector<TextCondition> parts = {};
};

// One table of a query.
struct TextSearch {
  const dialect::Source* source = nullptr;  // while the statement is translated
  std::string table;
  bool is_joined = false;  // with other tables
  TextCondition condition;
  // The literal behind TOP, when the query is at its end with so many rows.
  std::uint32_t limit = dialect::kNoLiteral;
};

// The searches of one SELECT, those that are worth one: where a pattern begins with a wildcard, and no condition names a
// row by its key.
std::vector<TextSearch> text_searches(const dialect::Select& select);

// How a query whose tables are all joined plainly is read from one of them: each table behind one that it is joined with
// by an equality, where there is such a one. None: it cannot be read so.
struct ReadingOrder {
  std::vector<const dialect::Source*> sources;
  std::vector<const dialect::Expression*> conditions;  // of the joins
};
ReadingOrder reading_from(const dialect::Source& first, const dialect::Select& select);

// As a query of FTS5. Empty when the patterns of this statement leave open which rows to look at.
std::string match_of(const TextCondition& condition, const dialect::LexedStatement& lexed);

}  // namespace mercato::store::sqlite
