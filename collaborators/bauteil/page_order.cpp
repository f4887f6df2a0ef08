#include "collaborators/bauteil/page_order.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "frame/types/raised_error.h"
#include "frame/types/text.h"
#include "platform/store/dialect/dialect.h"

namespace mercato::collaborators {
namespace {

struct Term {
  std::size_t column;  // of the result
  bool descending = false;
};

void add(std::vector<Term>& order, Term term) {
  const bool known =
      std::any_of(order.begin(), order.end(), [&](const Term& other) { return other.column == term.column; });
  if (!known) order.push_back(term);
}

[[noreturn]] void refuse(std::string_view sort_field) {
  raise(error_number::kInvalidArgument, "Bauteil.DRecordset",
        "'" + std::string(sort_field) +
            "' is no sort field: a column of the result is expected, perhaps with ASC or DESC");
}

Term sort_term(std::string_view field, const store::RowLayout& result) {
  const std::size_t blank = field.find(' ');
  const auto column = result.find(field.substr(0, blank));
  if (!column) refuse(field);
  if (blank == std::string_view::npos) return {*column};
  const std::string_view direction = text::trim(field.substr(blank));
  if (text::equal_names(direction, "DESC")) return {*column, true};
  if (!text::equal_names(direction, "ASC")) refuse(field);
  return {*column};
}

std::vector<Term> order_of(const store::RowLayout& result, std::string_view sort_fields, std::string_view key_fields) {
  std::vector<Term> order;
  if (!text::trim(sort_fields).empty())
    for (const std::string& field : text::split(sort_fields, ",")) add(order, sort_term(text::trim(field), result));
  for (const std::string& field : text::split(key_fields, ","))
    if (const auto column = result.find(text::trim(field))) add(order, {*column});
  return order;
}

// Where the ORDER BY of the whole statement begins.
std::optional<std::uint32_t> own_order(const std::string& statement) {
  using store::dialect::TokenKind;
  store::dialect::LexedStatement lexed;
  store::dialect::lex(statement, lexed);
  int depth = 0;
  for (const auto& token : lexed.tokens) {
    const auto word = std::string_view(statement).substr(token.begin, token.end - token.begin);
    if (token.kind == TokenKind::symbol && word == "(") ++depth;
    if (token.kind == TokenKind::symbol && word == ")") --depth;
    if (token.kind == TokenKind::word && depth == 0 && text::equal_names(word, "ORDER")) return token.begin;
  }
  return std::nullopt;
}

}  // namespace

Sql with_page_order(const std::string& statement, const store::RowLayout& result, std::string_view sort_fields,
                    std::string_view key_fields) {
  const auto order = order_of(result, sort_fields, key_fields);
  const auto own = own_order(statement);
  if (order.empty() || (own && text::trim(sort_fields).empty())) return Sql::verbatim(statement);
  Sql sql = Sql::verbatim(statement.substr(0, own.value_or(statement.size())));
  bool first = true;
  for (const Term& term : order) {
    first ? sql << " ORDER BY \"" : sql << ", \"";
    sql << name(result.columns()[term.column].name) << "\"";
    if (term.descending) sql << " DESC";
    first = false;
  }
  return sql;
}

}  // namespace mercato::collaborators
