// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/refusal.h"

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::store::dialect {

void refuse(std::string description) {
  raise(error_number::kStatementRefused, std::string(kRefusalSource), std::move(description));
}

void refuse_feature(std::string description) {
  raise(error_number::kFeatureNotAvailable, std::string(kRefusalSource), std::move(description));
}

std::string place_text(std::string_view text, std::size_t position) {
  return " (character " + std::to_string(text::length(text.substr(0, position)) + 1) + ")";
}

void refuse_syntax(std::string_view text, std::size_t begin, std::size_t end) {
  constexpr std::size_t kShown = 40;
  const std::string_view near = text::left(text.substr(begin, end - begin), kShown);
  refuse("Incorrect syntax near '" + std::string(near) + "'" + place_text(text, begin));
}

void refuse_syntax(const LexedStatement& lexed, std::uint32_t token) {
  if (lexed.tokens[token].kind == TokenKind::end) {
    if (token == 0) refuse("The statement is empty");
    --token;
  }
  refuse_syntax(lexed.text, lexed.tokens[token].begin, lexed.tokens[token].end);
}

void refuse_order_item(const LexedStatement& lexed, std::uint32_t token) {
  refuse("ORDER BY items must appear in the select list if the statement contains a UNION operator" +
         place_text(lexed.text, lexed.tokens[token].begin));
}

}  // namespace mercato::store::dialect
