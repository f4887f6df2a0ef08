// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/readings.h"
#include "platform/store/dialect/refusal.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

Variant variant_of(const Number& number) {
  if (const auto* whole = std::get_if<std::int64_t>(&number)) return Variant::from_integer(*whole);
  return std::get<double>(number);
}

// The inside of a text literal, quotes in it doubled; a number as it was written.
std::string_view inside_of(const LexedStatement& lexed, const Token& token) {
  if (token.kind == TokenKind::number) return lexed.text.substr(token.begin, token.end - token.begin);
  const std::size_t begin = token.begin + (token.kind == TokenKind::national_text ? 2 : 1);
  return lexed.text.substr(begin, token.end - 1 - begin);
}

std::string characters_of(const LexedStatement& lexed, const Token& token) {
  const std::string_view inside = inside_of(lexed, token);
  return inside.find('\'') == std::string_view::npos ? std::string(inside) : text::replace_all(inside, "''", "'");
}

// What a literal number or text is once converted; refuses with the reason when it does not read as that.
template <class Reading, class Reason>
auto required(const Reading& reading, Reason reason) {
  if (!reading) refuse(reason());
  return *reading;
}

}  // namespace

Variant literal_value(const LexedStatement& lexed, std::uint32_t token) {
  if (lexed.tokens[token].kind != TokenKind::number) return characters_of(lexed, lexed.tokens[token]);
  const std::string_view digits = inside_of(lexed, lexed.tokens[token]);
  return variant_of(required(
      read_number(digits), [&] { return "The number '" + std::string(digits) + "' is out of the range of numbers"; }));
}

std::optional<std::string_view> text_as_it_stands(const LexedStatement& lexed, const Parameter& parameter) {
  const Token& token = lexed.tokens[lexed.literals[parameter.literal]];
  const bool is_text = parameter.conversion == Conversion::text ||
                       (parameter.conversion == Conversion::none && token.kind != TokenKind::number);
  if (!is_text) return std::nullopt;
  const std::string_view inside = inside_of(lexed, token);
  if (inside.find('\'') != std::string_view::npos) return std::nullopt;
  return inside;
}

Variant parameter_value(const LexedStatement& lexed, const Parameter& parameter) {
  const std::uint32_t token = lexed.literals[parameter.literal];
  if (parameter.conversion == Conversion::none) return literal_value(lexed, token);
  std::string characters = characters_of(lexed, lexed.tokens[token]);
  switch (parameter.conversion) {
    case Conversion::none:
    case Conversion::text:
      return characters;
    case Conversion::number:
      return variant_of(required(read_number(characters), [&] { return unreadable_number(characters); }));
    case Conversion::date:
      return required(read_date(characters), [] { return std::string(kUnreadableDate); });
    case Conversion::money:
      return required(read_money(characters), [] { return std::string(kUnreadableMoney); });
    case Conversion::boolean:
      return required(read_boolean(characters), [&] { return unreadable_boolean(characters); });
  }
  return {};
}

}  // namespace mercato::store::dialect
