// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/token_reader.h"

#include <algorithm>

#include "platform/store/dialect/keywords.h"
#include "platform/store/dialect/refusal.h"
#include "values/text.h"

namespace mercato::store::dialect {

const Token& TokenReader::token(std::uint32_t ahead) const {
  return lexed_.tokens[std::min<std::size_t>(next_ + ahead, lexed_.tokens.size() - 1)];
}

std::string_view TokenReader::token_text(std::uint32_t ahead) const {
  const Token& which = token(ahead);
  return lexed_.text.substr(which.begin, which.end - which.begin);
}

bool TokenReader::at_word(std::string_view word, std::uint32_t ahead) const {
  return token(ahead).kind == TokenKind::word && text::equal_names(token_text(ahead), word);
}

bool TokenReader::at_symbol(char symbol, std::uint32_t ahead) const {
  return token(ahead).kind == TokenKind::symbol && lexed_.text[token(ahead).begin] == symbol;
}

bool TokenReader::at_name(std::uint32_t ahead) const {
  return token(ahead).kind == TokenKind::quoted_name ||
         (token(ahead).kind == TokenKind::word && !is_keyword(token_text(ahead)));
}

bool TokenReader::accept_word(std::string_view word) {
  if (!at_word(word)) return false;
  ++next_;
  return true;
}

bool TokenReader::accept_symbol(char symbol) {
  if (!at_symbol(symbol)) return false;
  ++next_;
  return true;
}

void TokenReader::expect_word(std::string_view word) {
  if (!accept_word(word)) fail();
}

void TokenReader::expect_symbol(char symbol) {
  if (!accept_symbol(symbol)) fail();
}

std::string TokenReader::expect_name() {
  if (!at_name()) fail();
  std::string_view name = token_text();
  const bool is_quoted = token().kind == TokenKind::quoted_name;
  ++next_;
  if (!is_quoted) return std::string(name);
  const std::string close(1, name.back());
  return text::replace_all(name.substr(1, name.size() - 2), close + close, close);
}

std::string TokenReader::expect_table_name() {
  std::string name = expect_name();
  if (!at_symbol('.')) return name;
  expect_schema(name);
  return expect_name();
}

void TokenReader::expect_schema(std::string_view name) {
  if (!text::equal_names(name, "dbo")) fail();
  expect_symbol('.');
}

std::int64_t TokenReader::expect_whole_number() {
  if (token().kind != TokenKind::number) fail();
  const Variant value = literal_value(lexed_, next_);
  if (value.type() != Variant::Type::long_integer) fail();
  ++next_;
  return value.long_value();
}

void TokenReader::expect_end() {
  const bool separated = at_symbol(';');
  while (accept_symbol(';')) {
  }
  if (at_end()) return;
  if (separated) refuse("More than one statement" + place_text(lexed_.text, token().begin));
  fail();
}

void TokenReader::fail() const { refuse_syntax(lexed_, static_cast<std::uint32_t>(&token() - lexed_.tokens.data())); }

std::uint32_t TokenReader::literal_index(std::uint32_t token) const {
  return static_cast<std::uint32_t>(std::lower_bound(lexed_.literals.begin(), lexed_.literals.end(), token) -
                                    lexed_.literals.begin());
}

std::string quoted(std::string_view name) { return '"' + text::replace_all(name, "\"", "\"\"") + '"'; }

}  // namespace mercato::store::dialect
