// SPDX-License-Identifier: Apache-2.0
#include "mercato/statement.h"

#include <charconv>

#include "values/decimal.h"

namespace mercato {

Sql Sql::verbatim(std::string text) {
  Sql sql;
  sql.text_ = std::move(text);
  return sql;
}

Sql& Sql::operator<<(std::int32_t number) & {
  char digits[12];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  return append(PieceKind::value, {digits, static_cast<std::size_t>(result.ptr - digits)});
}

Sql& Sql::operator<<(double number) & { return append(PieceKind::value, plain_decimal_text(number)); }

Sql& Sql::operator<<(const Sql& other) & {
  make_room();
  const auto offset = static_cast<std::uint32_t>(text_.size());
  text_ += other.text_;
  for (const Mark& mark : other.marks_) marks_.push_back({mark.kind, mark.begin + offset, mark.end + offset});
  return *this;
}

Sql& Sql::append(PieceKind kind, std::string_view text) {
  make_room();
  if (marks_.empty()) marks_.reserve(kUsualMarks);
  const auto begin = static_cast<std::uint32_t>(text_.size());
  text_ += text;
  marks_.push_back({kind, begin, static_cast<std::uint32_t>(text_.size())});
  return *this;
}

}  // namespace mercato
