// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/tsql_statement.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/dialect/statement_reader.h"
#include "values/text.h"

namespace mercato::store::odbc {
namespace {

using dialect::LexedStatement;
using dialect::StatementKind;
using dialect::TokenKind;

// Words that begin a statement and that no name can be without quotes.
constexpr std::string_view kBeginnings[] = {
    "ALTER",     "BACKUP",      "BEGIN",   "BULK",       "CHECKPOINT", "CLOSE",   "COMMIT",   "CREATE",
    "DBCC",      "DEALLOCATE",  "DECLARE", "DELETE",     "DENY",       "DROP",    "EXEC",     "EXECUTE",
    "GOTO",      "GRANT",       "IF",      "INSERT",     "KILL",       "MERGE",   "OPEN",     "PRINT",
    "RAISERROR", "RECONFIGURE", "RESTORE", "RETURN",     "REVERT",     "REVOKE",  "ROLLBACK", "SAVE",
    "SHUTDOWN",  "TRUNCATE",    "UPDATE",  "UPDATETEXT", "USE",        "WAITFOR", "WHILE",    "WRITETEXT",
};

class Reader {
 public:
  explicit Reader(const LexedStatement& lexed) : lexed_(lexed) {}

  StatementKind kind() {
    const StatementKind kind = first_word();
    if (kind != StatementKind::nothing) look_through(kind);
    return kind;
  }

  // The FROM of a query, or its end.
  std::uint32_t end_of_items() const {
    int depth = 0;
    std::uint32_t token = 0;
    for (; lexed_.tokens[token].kind != TokenKind::end; ++token) {
      depth += is_symbol(token, '(') ? 1 : is_symbol(token, ')') ? -1 : 0;
      if (depth == 0 && is_word(token, "FROM")) break;
    }
    return token;
  }

 private:
  std::string_view text(std::uint32_t token) const {
    const dialect::Token& which = lexed_.tokens[token];
    return lexed_.text.substr(which.begin, which.end - which.begin);
  }
  bool is_word(std::uint32_t token, std::string_view word) const {
    return lexed_.tokens[token].kind == TokenKind::word && text::equal_names(text(token), word);
  }
  bool is_symbol(std::uint32_t token, char symbol) const {
    return lexed_.tokens[token].kind == TokenKind::symbol && lexed_.text[lexed_.tokens[token].begin] == symbol;
  }

  StatementKind first_word() const {
    if (lexed_.tokens[0].kind == TokenKind::end) dialect::refuse_syntax(lexed_, 0);
    if (is_word(0, "SELECT")) return StatementKind::query;
    if (is_word(0, "INSERT")) return StatementKind::insert;
    if (is_word(0, "UPDATE")) return StatementKind::update;
    if (is_word(0, "DELETE")) return StatementKind::remove;
    // What a text index would answer is answered by reading: one of the server's own needs a service and a catalogue.
    if (is_word(1, "FULLTEXT")) return StatementKind::nothing;
    if (is_word(0, "CREATE") || is_word(0, "ALTER") || is_word(0, "DROP")) return StatementKind::definition;
    // What every session keeps anyway.
    constexpr std::string_view kKept[] = {"SET", "TRANSACTION", "ISOLATION", "LEVEL", "READ", "COMMITTED"};
    std::uint32_t token = 0;
    for (const std::string_view word : kKept) {
      if (!is_word(token, word)) dialect::refuse_syntax(lexed_, 0);
      ++token;
    }
    if (lexed_.tokens[token].kind != TokenKind::end) dialect::refuse_syntax(lexed_, token);
    return StatementKind::nothing;
  }

  void look_through(StatementKind kind) const {
    int depth = 0;
    int selects = kind == StatementKind::insert ? 1 : 0;  // that may begin without a UNION
    int sets = kind == StatementKind::update ? 1 : 0;
    for (std::uint32_t token = 1; lexed_.tokens[token].kind != TokenKind::end; ++token) {
      if (is_symbol(token, ';') && lexed_.tokens[token + 1].kind != TokenKind::end && !is_symbol(token + 1, ';'))
        dialect::refuse("More than one statement" + dialect::place_text(lexed_.text, lexed_.tokens[token + 1].begin));
      depth += is_symbol(token, '(') ? 1 : is_symbol(token, ')') ? -1 : 0;
      // A definition has such words of its own: ON DELETE, DROP COLUMN.
      if (kind == StatementKind::definition || lexed_.tokens[token].kind != TokenKind::word) continue;
      const bool begins =
          std::ranges::any_of(kBeginnings, [&](std::string_view word) { return text::equal_names(word, text(token)); });
      const bool sets_again = is_word(token, "SET") && sets-- <= 0;
      const bool selects_again = depth <= 0 && is_word(token, "SELECT") && !goes_on(token) && selects-- <= 0;
      if (begins || sets_again || selects_again) dialect::refuse_syntax(lexed_, token);
    }
  }

  // Whether that SELECT is joined to one before it.
  bool goes_on(std::uint32_t select) const {
    for (const std::string_view word : {"UNION", "ALL", "EXCEPT", "INTERSECT"})
      if (is_word(select - 1, word)) return true;
    return false;
  }

  const LexedStatement& lexed_;
};

}  // namespace

StatementKind kind_of(const LexedStatement& lexed) { return Reader(lexed).kind(); }

std::string sent_text(const LexedStatement& lexed) {
  std::string sent;
  std::uint32_t copied = 0;
  for (const dialect::Token& token : lexed.tokens) {
    const std::string_view word = lexed.text.substr(token.begin, token.end - token.begin);
    if (token.kind != TokenKind::word || !text::equal_names(word, "EXTERNAL")) continue;
    sent += lexed.text.substr(copied, token.begin - copied);
    sent += dialect::quoted_name(word);
    copied = token.end;
  }
  return sent += lexed.text.substr(copied);
}

std::string with_columns(const LexedStatement& query, const std::string& columns) {
  const std::uint32_t end = query.tokens[Reader(query).end_of_items()].begin;
  return std::string(query.text.substr(0, end)) + columns + " " + std::string(query.text.substr(end));
}

std::string table_read_by(const dialect::LexedStatement& statement) {
  dialect::SyntaxTree tree(statement);
  dialect::StatementReader(tree).read();
  if (tree.fault || tree.query == nullptr || tree.query->selects.size() != 1) return {};
  std::string_view table;
  for (const dialect::Node* node = tree.first; node != nullptr; node = node->next) {
    if (node->kind != dialect::NodeKind::source) continue;
    const auto& source = static_cast<const dialect::Source&>(*node);
    if (source.scope != &tree.query->first().scope) continue;
    if (!table.empty()) return {};
    table = source.table_name;
  }
  return std::string(table);
}

}  // namespace mercato::store::odbc
