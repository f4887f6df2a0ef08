// SPDX-License-Identifier: Apache-2.0
#include "collaborators/bauteil/page_order.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/dialect/token_reader.h"
#include "values/text.h"

namespace mercato::collaborators {
namespace {

struct Term {
  std::vector<std::string> name;  // the column's, behind those that qualify it
  bool descending = false;
};

[[noreturn]] void refuse(std::string_view sort_field) {
  raise(error_number::kInvalidArgument, "Bauteil.DRecordset",
        "'" + std::string(sort_field) +
            "' is no sort field: a column of the result is expected, perhaps with ASC or DESC");
}

// One sort field: a column's name, perhaps with the names that qualify it, each as a statement spells it, and ASC or
// DESC.
class SortField : private store::dialect::TokenReader {
 public:
  explicit SortField(const store::dialect::LexedStatement& lexed) : TokenReader(lexed) {}

  Term term(const PagedRows& rows) {
    if (lexed_.comment != store::dialect::LexedStatement::kNoComment) refuse(lexed_.text);
    Term term;
    do term.name.push_back(name());
    while (accept_symbol('.'));
    // A qualified name is left to the store, which knows the tables of the statement.
    if (term.name.size() == 1) term.name.front() = column(term.name.front(), rows);
    term.descending = accept_word("DESC");
    if (!term.descending) accept_word("ASC");
    if (!at_end()) refuse(lexed_.text);
    return term;
  }

 private:
  // Columns may be named like words of the language, and are quoted in the statement.
  std::string name() {
    if (token().kind == store::dialect::TokenKind::quoted_name) return expect_name();
    if (token().kind != store::dialect::TokenKind::word) refuse(lexed_.text);
    std::string word(token_text());
    ++next_;
    return word;
  }

  std::string column(std::string_view name, const PagedRows& rows) const {
    if (const auto position = rows.layout->find(name)) return rows.layout->columns()[*position].name;
    if (const auto position = rows.table ? rows.table->find(name) : std::nullopt)
      return rows.table->columns[*position].name;
    refuse(lexed_.text);
  }
};

Term sort_term(std::string_view field, const PagedRows& rows) {
  store::dialect::LexedStatement lexed;
  try {
    store::dialect::lex(field, lexed);
  } catch (const Raised&) {  // the quote of a name is not closed
    refuse(field);
  }
  return SortField(lexed).term(rows);
}

std::vector<Term> order_of(const PagedRows& rows, std::string_view sort_fields, std::string_view key_fields) {
  std::vector<Term> order;
  std::set<std::vector<std::string>> known;
  const auto add = [&](Term term) {
    if (known.insert(term.name).second) order.push_back(std::move(term));
  };
  if (!text::trim(sort_fields).empty())
    for (const std::string& field : text::split(sort_fields, ",")) add(sort_term(text::trim(field), rows));
  for (const std::string& field : text::split(key_fields, ","))
    if (const auto column = rows.layout->find(text::trim(field))) add({{rows.layout->columns()[*column].name}});
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

Sql with_page_order(const std::string& statement, const PagedRows& rows, std::string_view sort_fields,
                    std::string_view key_fields) {
  const auto order = order_of(rows, sort_fields, key_fields);
  const auto own = own_order(statement);
  if (order.empty() || (own && text::trim(sort_fields).empty())) return Sql::verbatim(statement);
  Sql sql = Sql::verbatim(statement.substr(0, own.value_or(statement.size())));
  bool first = true;
  for (const Term& term : order) {
    first ? sql << " ORDER BY " : sql << ", ";
    first = false;
    for (const std::string& part : term.name) {
      if (&part != &term.name.front()) sql << ".";
      sql << name(store::dialect::quoted(part));
    }
    if (term.descending) sql << " DESC";
  }
  return sql;
}

}  // namespace mercato::collaborators
