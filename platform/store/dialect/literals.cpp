#include "frame/types/text.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/readings.h"
#include "platform/store/dialect/refusal.h"

namespace mercato::store::dialect {
namespace {

Variant variant_of(const Number& number) {
  if (const auto* whole = std::get_if<std::int64_t>(&number)) return Variant::from_integer(*whole);
  return std::get<double>(number);
}

// The characters of the literal, for a number those that it was written with.
std::string characters_of(const LexedStatement& lexed, const Token& token) {
  if (token.kind == TokenKind::number) return std::string(lexed.text.substr(token.begin, token.end - token.begin));
  const std::size_t begin = token.begin + (token.kind == TokenKind::national_text ? 2 : 1);
  const std::string_view inner = lexed.text.substr(begin, token.end - 1 - begin);
  return inner.find('\'') == std::string_view::npos ? std::string(inner) : text::replace_all(inner, "''", "'");
}

// What a literal number or text is once converted; refuses with `reason` when it does not read as that.
template <class Reading>
auto required(const Reading& reading, std::string reason) {
  if (!reading) refuse(std::move(reason));
  return *reading;
}

}  // namespace

Variant literal_value(const LexedStatement& lexed, std::uint32_t token) {
  std::string characters = characters_of(lexed, lexed.tokens[token]);
  if (lexed.tokens[token].kind != TokenKind::number) return characters;
  return variant_of(
      required(read_number(characters), "The number '" + characters + "' is out of the range of numbers."));
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
      return variant_of(required(read_number(characters), unreadable_number(characters)));
    case Conversion::date:
      return required(read_date(characters), kUnreadableDate);
    case Conversion::money:
      return required(read_money(characters), kUnreadableMoney);
    case Conversion::boolean:
      return required(read_boolean(characters), unreadable_boolean(characters));
  }
  return {};
}

}  // namespace mercato::store::dialect
