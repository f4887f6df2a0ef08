// SPDX-License-Identifier: Apache-2.0
// What the patterns of a query say of the rows of one table, for its text index to find them. The index proposes rows, and
// the query's conditions, which stay as they are, decide. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::dialect {

// A pattern, or several in brackets.
struct TextCondition {
  enum class Kind : std::uint8_t { like, all, any };
  Kind kind = Kind::like;
  // Of a pattern: literals of the statement.
  std::uint32_t pattern = kNoLiteral;
  std::uint32_t escape = kNoLiteral;
  std::vector<TextCondition> parts = {};
};

// One table of a query.
struct TextSearch {
  const Source* source = nullptr;  // while the statement is translated
  std::string table;
  bool is_joined = false;  // with other tables
  TextCondition condition;
  // The literal behind TOP, when the query is at its end with so many rows.
  std::uint32_t limit = kNoLiteral;
};

// Which of a statement's searches a translation uses, a bit for each.
using UsedSearches = std::uint32_t;
inline constexpr std::size_t kMostSearches = 32;

// The searches of one SELECT, those that are worth one: where a pattern begins with a wildcard, and no condition names a
// row by its key.
std::vector<TextSearch> text_searches(const Select& select);

// How a query whose tables are all joined plainly is read from one of them: each table behind one that it is joined with
// by an equality, where there is such a one. None: it cannot be read so.
struct ReadingOrder {
  std::vector<const Source*> sources;
  std::vector<const Expression*> conditions;  // of the joins
};
ReadingOrder reading_from(const Source& first, const Select& select);

// Which trigrams (squeezed_text.h) an index has of a text: those of the squeezed one, or those with signs, too.
enum class IndexedTrigrams : std::uint8_t { squeezed, squeezed_and_signed };

// What the index is asked: for a trigram, or for several.
struct TextMatch {
  enum class Kind : std::uint8_t { trigram, all, any };
  Kind kind = Kind::trigram;
  std::string trigram = {};
  std::vector<TextMatch> parts = {};
  bool operator==(const TextMatch&) const = default;
};

// Nothing when the patterns of this statement leave open which rows to look at.
std::optional<TextMatch> match_of(const TextCondition& condition, const LexedStatement& lexed, IndexedTrigrams indexed);
// The rows with all trigrams of each of these folded texts when they are squeezed, or with as many of them as it takes
// to find few others. Nothing when no text has one.
std::optional<TextMatch> match_of(std::span<const std::string> texts);

// How an engine wants it written: "abc" AND ("bcd" OR "cde").
struct MatchWords {
  char quote;
  std::string_view all;
  std::string_view any;
};
std::string written(const TextMatch& match, const MatchWords& words);

}  // namespace mercato::store::dialect
