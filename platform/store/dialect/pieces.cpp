// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/keywords.h"
#include "platform/store/dialect/refusal.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

using Mark = Sql::Mark;

class PieceCheck {
 public:
  explicit PieceCheck(const LexedStatement& lexed) : lexed_(lexed) {}

  // Marks come in the order of the text.
  void check(const Mark& mark) {
    while (token().kind != TokenKind::end && token().end <= mark.begin) ++current_;
    switch (mark.kind) {
      case Sql::PieceKind::value:
        return check_value(mark);
      case Sql::PieceKind::name:
        return check_name(mark);
      case Sql::PieceKind::clause:
        return check_clause(mark);
    }
  }

 private:
  const Token& token(std::uint32_t ahead = 0) const {
    return lexed_.tokens[std::min<std::size_t>(current_ + ahead, lexed_.tokens.size() - 1)];
  }
  bool is_symbol(const Token& candidate, char symbol) const {
    return candidate.kind == TokenKind::symbol && lexed_.text[candidate.begin] == symbol;
  }
  std::string_view text_of(const Token& which) const {
    return lexed_.text.substr(which.begin, which.end - which.begin);
  }
  static bool is_text(const Token& candidate) {
    return candidate.kind == TokenKind::text || candidate.kind == TokenKind::national_text;
  }
  // Whether only tokens lie in the mark that fill it, blanks apart: `count` of them from the current one on.
  bool covers(const Mark& mark, std::uint32_t count) const {
    return token().begin >= mark.begin && token(count - 1).end <= mark.end && token(count).begin >= mark.end;
  }
  [[noreturn]] void refuse_mark(const Mark& mark) const { refuse_syntax(lexed_.text, mark.begin, mark.end); }

  // Whether the mark lies between the quotes of the current token, and neither of its borders parts a doubled quote.
  bool lies_inside(const Mark& mark, std::size_t prefix, char close) const {
    const std::size_t inner = token().begin + prefix;
    return mark.begin >= inner && mark.end < token().end && !parts_pair(inner, mark.begin, close) &&
           !parts_pair(inner, mark.end, close);
  }
  // Closing characters inside of a token come in pairs, so an odd number of them just before the border parts one.
  bool parts_pair(std::size_t inner, std::size_t border, char close) const {
    std::size_t run = border;
    while (run > inner && lexed_.text[run - 1] == close) --run;
    return (border - run) % 2 != 0;
  }

  void check_value(const Mark& mark) const {
    if (is_text(token()) && lies_inside(mark, token().kind == TokenKind::text ? 1 : 2, '\'')) return;
    if (text::trim(lexed_.text.substr(mark.begin, mark.end - mark.begin)).empty()) {
      // Nothing is no literal, but it is for the grammar to miss one. Within a token it would be part of that.
      if (token().begin >= mark.end) return;
      refuse_mark(mark);
    }
    const bool has_sign = is_symbol(token(), '-') || is_symbol(token(), '+');
    const Token& literal = token(has_sign ? 1 : 0);
    const bool is_literal = literal.kind == TokenKind::number ||
                            (!has_sign && (is_text(literal) || text::equal_names(text_of(literal), "null")));
    if (!is_literal || !covers(mark, has_sign ? 2 : 1)) refuse_mark(mark);
  }

  void check_name(const Mark& mark) const {
    const bool quoted = token().kind == TokenKind::quoted_name;
    const char close = quoted ? lexed_.text[token().end - 1] : '\0';
    if (quoted && mark.begin < mark.end && lies_inside(mark, 1, close)) return;
    const bool is_name = quoted || (token().kind == TokenKind::word && !is_keyword(text_of(token())));
    if (!is_name || !covers(mark, 1)) refuse_mark(mark);
  }

  void check_clause(const Mark& mark) const {
    int depth = 0;
    std::uint32_t ahead = 0;
    for (; token(ahead).kind != TokenKind::end && token(ahead).begin < mark.end; ++ahead) {
      const Token& inner = token(ahead);
      if (inner.begin < mark.begin || inner.end > mark.end) refuse_mark(mark);
      if (is_symbol(inner, '(')) ++depth;
      if (is_symbol(inner, ')')) --depth;
      if (depth < 0 || is_symbol(inner, ';')) refuse_syntax(lexed_, current_ + ahead);
    }
    if (depth != 0) refuse_mark(mark);
  }

  const LexedStatement& lexed_;
  std::uint32_t current_ = 0;  // the first token that ends behind the current mark's begin
};

}  // namespace

void check_pieces(const Sql& statement, const LexedStatement& lexed) {
  if (statement.marks().empty()) return;
  // The library writes no comments, so this one came in with a piece.
  if (lexed.comment != LexedStatement::kNoComment) refuse_syntax(lexed.text, lexed.comment, lexed.comment + 2);
  PieceCheck check(lexed);
  for (const Mark& mark : statement.marks()) check.check(mark);
}

void check_pieces(const Sql& statement) {
  LexedStatement lexed;
  lex(statement.text(), lexed);
  check_pieces(statement, lexed);
}

}  // namespace mercato::store::dialect
