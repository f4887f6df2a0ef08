// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/statement_printer.h"

#include "platform/store/dialect/resolver.h"
#include "platform/store/sqlite/sql_writer.h"

namespace mercato::store::sqlite {

Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables, bool identified,
                      UsedSearches used) {
  dialect::SyntaxTree tree(lexed);
  dialect::resolve_statement(tree, tables, identified);
  if (!tree.definition) return SqlWriter(tree, used).translation();
  tree.translation.statements = definition_sql(*tree.definition);
  return {std::move(tree.translation), {}};
}

Translation SqlWriter::translation() {
  parameters_.reserve(tree_.lexed.literals.size());
  if (tree_.translation.kind == dialect::StatementKind::nothing) return {std::move(tree_.translation), {}};
  tree_.translation.statements.push_back(write());
  tree_.translation.parameters = std::move(parameters_);
  return {std::move(tree_.translation), std::move(searches_)};
}

void SqlWriter::bound(const dialect::Literal& literal) { parameter(literal.position, literal.literal->conversion); }

// Bound by its place. The engine looks every numbered one up in a list of them all, so a long list of values would cost
// its square.
void SqlWriter::parameter(std::uint32_t literal, dialect::Conversion conversion) {
  sql_ += '?';
  parameters_.push_back({literal, conversion});
}

void SqlWriter::query(const dialect::Query& query) {
  if (query.selects.size() == 1) {
    select(query.first());
    order_by(query);
    return limit(query.first());
  }
  for (std::size_t i = 0; i < query.selects.size(); ++i) {
    if (i > 0) text(query.keeps_doubles[i - 1] ? " UNION ALL " : " UNION ");
    // In a compound a limit has its place at the end of all, and nowhere else.
    const bool is_limited = query.selects[i]->limit != dialect::kNoLiteral;
    if (is_limited) text("SELECT * FROM (");
    select(*query.selects[i]);
    limit(*query.selects[i]);
    if (is_limited) text(")");
  }
  order_by(query);
}

// A query begins with the rows that a text index proposes. The engine knows neither how few they are nor how many rows
// its other tables have, so it is told the order.
void SqlWriter::from(const dialect::Select& select) {
  const Source* first = nullptr;
  if (tree_.translation.kind == dialect::StatementKind::query)
    for (dialect::TextSearch& search : dialect::text_searches(select)) {
      if (searches_.size() == dialect::kMostSearches) break;
      if (first == nullptr && is_used(searches_.size())) first = search.source;
      searches_.push_back(std::move(search));
    }
  const dialect::ReadingOrder order =
      first != nullptr ? dialect::reading_from(*first, select) : dialect::ReadingOrder();
  if (order.sources.empty()) return SqlPrinter::from(select);
  const char* separator = " FROM ";
  for (const Source* const source : order.sources) {
    text(separator);
    this->source(*source);
    separator = " CROSS JOIN ";
  }
}

void SqlWriter::conditions(const dialect::Select& select) {
  const Source* first = nullptr;
  for (const Source* source = select.scope.first; source != nullptr; source = source->next_in_scope)
    for (std::size_t i = 0; i < searches_.size(); ++i) {
      if (searches_[i].source != source || !is_used(i)) continue;
      name(source->name);
      text("._rowid_ IN (SELECT value FROM json_each(");
      parameter(kProposedRows + static_cast<std::uint32_t>(i));
      text(")) AND ");
      if (first == nullptr) first = source;
    }
  if (first == nullptr) return expression(*select.where);
  for (const dialect::Expression* const condition : dialect::reading_from(*first, select).conditions) {
    in_brackets(*condition);
    text(" AND ");
  }
  in_brackets(*select.where);
}

void SqlWriter::identity(const dialect::Select& select) {
  if (tree_.identity == nullptr || &select != &tree_.query->first()) return;
  text(", ");
  name(tree_.identity->name);
  text(".rowid");
}

void SqlWriter::rows_of_subselect(const dialect::Source& source) {
  // SQLite names the columns of a subselect only here.
  const std::string rows = "rows of " + std::string(source.name);
  text("(WITH ");
  name(rows);
  const char* separator = "(";
  for (const Column& column : *source.columns) {
    text(separator);
    name(column.name);
    separator = ", ";
  }
  text(") AS (");
  query(*source.query);
  text(") SELECT * FROM ");
  name(rows);
  text(") AS ");
  name(source.name);
}

void SqlWriter::order_by(const dialect::Query& query) {
  const char* separator = " ORDER BY ";
  for (const dialect::OrderItem* const item : query.order) {
    text(separator);
    if (item->is_place)
      text(std::to_string(item->place));
    else
      collated(*item->value);
    if (item->descending) text(" DESC");
    separator = ", ";
  }
}

}  // namespace mercato::store::sqlite
