// SPDX-License-Identifier: Apache-2.0
// The library's one SQL dialect: a real lexer, the check of a statement's pieces, and its translation for a store that
// speaks another. Pure functions of their arguments; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/statement.h"
#include "mercato/variant.h"
#include "platform/store/row_layout.h"

namespace mercato::store::dialect {

enum class TokenKind : std::uint8_t { word, quoted_name, number, text, national_text, symbol, end };

struct Token {
  TokenKind kind;
  std::uint32_t begin;
  std::uint32_t end;  // one past the last byte, quotes included
};

// A statement cut into tokens. Reused from statement to statement, so that lexing allocates nothing in the long run.
struct LexedStatement {
  std::string_view text;
  std::vector<Token> tokens;            // closed by one of kind `end`
  std::vector<std::uint32_t> literals;  // positions in `tokens` of numbers and texts, in order
  std::string shape;  // the text with its literals taken out: two statements of one shape differ in literals only
  std::uint64_t shape_hash = 0;        // of `shape`
  std::uint32_t comment = kNoComment;  // where the first comment begins; comments are white space

  static constexpr std::uint32_t kNoComment = UINT32_MAX;
};

// Raises kStatementRefused, with the position and the reason, for what is no sequence of tokens (a text without an
// end).
void lex(std::string_view text, LexedStatement& out);

// Raises kStatementRefused when a value ends its literal or is anything but one literal (a number may carry a sign;
// `null` is a literal), when a name is anything but one name, or when a clause ends the statement, starts a comment or
// closes a bracket that it did not open.
void check_pieces(const Sql& statement, const LexedStatement& lexed);
// The same, for a statement that goes on as a plain text. Raises what `lex` raises, too.
void check_pieces(const Sql& statement);

// The value of a literal token: long or double for a number, text without its quotes and with doubled ones single.
Variant literal_value(const LexedStatement& lexed, std::uint32_t token);

// The statements of a script, without the `;` between them. What is no sequence of tokens, and all behind it, belongs
// to the last one: `lex` refuses that one, with the place in it.
std::vector<std::string_view> split_script(std::string_view script);

enum class StatementKind : std::uint8_t {
  query,
  insert,
  update,
  remove,
  definition,  // CREATE, DROP
  nothing,     // a setting that the store keeps anyway
};

// What has to be done to a literal before it is bound.
enum class Conversion : std::uint8_t { none, text, number, date, money, boolean };

struct Parameter {
  std::uint32_t literal;  // position in LexedStatement::literals
  Conversion conversion = Conversion::none;
};

// The value to bind: the literal, converted. A date is a Date, an amount of money a Currency, a Boolean a Boolean.
// Raises kStatementRefused for a text that does not read as what is wanted, as the server fails a conversion.
Variant parameter_value(const LexedStatement& lexed, const Parameter& parameter);
// The same value without a copy, when it is a text that stands in the statement as it is bound.
std::optional<std::string_view> text_as_it_stands(const LexedStatement& lexed, const Parameter& parameter);

struct Translation {
  StatementKind kind = StatementKind::nothing;
  std::vector<std::string> statements;  // in the store's own SQL, `?` for parameters; one but for definitions
  std::vector<Parameter> parameters;    // in the order of their places
  std::string table;                    // the one table that is read or written; empty for a join
  std::vector<Column> result;           // of a query; a column of type unknown is typed by its values
  bool identified = false;              // a last column with the row's identity follows the result
  std::size_t most_united = 1;          // of the queries that UNION joins in one place
  bool depends_on_literals = false;     // holds for this very text only, not for every statement of its shape
};

// The tables that a statement may name.
class TableDirectory {
 public:
  virtual ~TableDirectory() = default;
  // By name in any case; null when there is none.
  virtual const TableInfo* find(std::string_view name) const = 0;
};

}  // namespace mercato::store::dialect
