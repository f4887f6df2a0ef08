// SPDX-License-Identifier: Apache-2.0
// Reads a statement's tokens from left to right. The base of the readers; one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/store/dialect/dialect.h"

namespace mercato::store::dialect {

class TokenReader {
 protected:
  explicit TokenReader(const LexedStatement& lexed) : lexed_(lexed) {}

  const Token& token(std::uint32_t ahead = 0) const;
  std::string_view token_text(std::uint32_t ahead = 0) const;
  bool at_end() const { return token().kind == TokenKind::end; }
  bool at_word(std::string_view word, std::uint32_t ahead = 0) const;
  bool at_symbol(char symbol, std::uint32_t ahead = 0) const;
  bool at_name(std::uint32_t ahead = 0) const;  // a quoted name, or a word that is not reserved

  bool accept_word(std::string_view word);
  bool accept_symbol(char symbol);
  // These raise when something else comes next.
  void expect_word(std::string_view word);
  void expect_symbol(char symbol);
  std::string expect_name();
  // "PRODUCT", "dbo.PRODUCT"
  std::string expect_table_name();
  // The point behind the one schema that there is.
  void expect_schema(std::string_view name);
  // A whole number that SQL needs in its text; its literal's position is counted like any other.
  std::int64_t expect_whole_number();
  // Nothing but a closing `;` may be left.
  void expect_end();
  // "Incorrect syntax near" the next token.
  [[noreturn]] void fail() const;

  // The position of a literal token among the literals.
  std::uint32_t literal_index(std::uint32_t token) const;

  const LexedStatement& lexed_;
  std::uint32_t next_ = 0;
};

// A name in quotes, whatever it is spelled with.
std::string quoted(std::string_view name);

}  // namespace mercato::store::dialect
