// SPDX-License-Identifier: Apache-2.0
// Translates a statement of the dialect into PostgreSQL's SQL. What the engine has no words for, it calls: the functions
// `mercato_...` (functions.sql). Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/definition.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/text_search.h"
#include "platform/store/text_values.h"

namespace mercato::store::postgres {

// One parameter of a translated statement, and what is made of the literal before it is sent.
struct Binding {
  enum class Use : std::uint8_t {
    value,         // the literal, converted
    key,           // the form in which texts are compared
    like_pattern,  // the engine's own pattern, in which a set is any character
    like_outline,  // one that all matching texts match before they are folded
    like_exact,    // the pattern itself, when the engine's own says less; else Null
    like_from,     // the range in which all texts lie that match
    like_to,
    now,         // the library's clock; no literal
    text_match,  // what a text index is asked; in place of a literal, which of the translation's searches it is
  };
  Use use = Use::value;
  ValueType type = ValueType::text;
  dialect::Parameter parameter{};
  std::uint32_t escape = UINT32_MAX;  // the literal behind ESCAPE, of a pattern
};

// How the identity of a row is read from the columns behind the result.
enum class IdentityKind : std::uint8_t {
  number,  // one column: an assigned key, or the hidden one of a table without a key
  key,     // the columns of the key
};

// How the places of parameters are marked. Either way there is a binding for each place, in their order: a literal that
// stands twice is bound twice.
enum class Markers : std::uint8_t {
  numbered,  // $1, $2 ...: the server's own
  by_place,  // CAST(? AS bigint): what ODBC hands to any server; a driver may pass a value on without its type
};

struct Translation {
  dialect::Translation common;  // `bindings` stand for its parameters
  std::vector<Binding> bindings;
  std::vector<dialect::TextSearch> searches;  // all that there could be, in the order of their bits
  IdentityKind identity = IdentityKind::number;
  bool gives_key = false;  // an INSERT that names the assigned key of its table
  bool is_empty = false;   // a query that has no row, whatever the tables hold: the server need not be asked
};

// Of one statement; one with more is refused.
inline constexpr std::size_t kMostParameters = 65535;

// The column that tells the rows of a table without a key apart. No statement of the library sees it.
inline constexpr std::string_view kHiddenIdentity = "mercato_row";

// How rows of that table are told apart.
IdentityKind identity_kind(const TableInfo& table);

// Numbers are typed by what the literals of this statement are: of one shape are also those whose text literals read as
// numbers of another type. Such a statement does not fit a translation of another, and needs one of its own (postgres_values.h).
// Raises what `dialect::resolve_statement` raises.
Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables, bool identified,
                      Markers markers = Markers::numbered, dialect::UsedSearches used = 0);

// The statements that carry out a definition.
std::vector<std::string> definition_sql(const dialect::Definition& definition);

// All texts of a row that are in the table's text index, with blanks between them.
std::string indexed_texts(const TableInfo& table);
// What a text index has of such texts.
std::string trigrams_of(const std::string& texts);

// Whether a text index proposes a row: a condition on the row's address, in two pieces around what the index is asked. It
// compares with a list that is made apart, so the rest of the statement begins at the rows of the list: the server cannot know
// how few they are.
std::string before_match(const TableInfo& table);
inline constexpr std::string_view kBehindMatch = "::tsquery))";
inline constexpr dialect::MatchWords kMatchWords{'\'', " & ", " | "};

// The names of the constraints that guard a column, by which a violation is told from others.
std::string width_constraint(std::string_view column);
std::string range_constraint(std::string_view column);

}  // namespace mercato::store::postgres
