// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/statement_printer.h"

#include "platform/store/dialect/resolver.h"
#include "platform/store/sqlite/sql_writer.h"

namespace mercato::store::sqlite {

dialect::Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables,
                               bool identified) {
  dialect::SyntaxTree tree(lexed);
  dialect::resolve_statement(tree, tables, identified);
  if (!tree.definition) return SqlWriter(tree).write();
  tree.translation.statements = definition_sql(*tree.definition);
  return std::move(tree.translation);
}

dialect::Translation SqlWriter::write() {
  sql_.reserve(tree_.lexed.text.size() + tree_.lexed.text.size() / 2);
  parameters_.reserve(tree_.lexed.literals.size());
  switch (tree_.translation.kind) {
    case dialect::StatementKind::query:
      query(*tree_.query);
      break;
    case dialect::StatementKind::insert:
      insert();
      break;
    case dialect::StatementKind::update:
      update();
      break;
    case dialect::StatementKind::remove:
      remove();
      break;
    case dialect::StatementKind::definition:
    case dialect::StatementKind::nothing:
      return std::move(tree_.translation);
  }
  tree_.translation.statements.push_back(std::move(sql_));
  tree_.translation.parameters = std::move(parameters_);
  return std::move(tree_.translation);
}

void SqlWriter::name(std::string_view name) {
  sql_ += '"';
  for (const char c : name) {
    if (c == '"') sql_ += '"';
    sql_ += c;
  }
  sql_ += '"';
}

void SqlWriter::column(const dialect::Source& source, std::string_view column) {
  name(source.name);
  sql_ += '.';
  name(column);
}

// Bound by its place. The engine looks every numbered one up in a list of them all, so a long list of values would cost
// its square.
void SqlWriter::parameter(std::uint32_t literal, dialect::Conversion conversion) {
  sql_ += '?';
  parameters_.push_back({literal, conversion});
}

void SqlWriter::where() {
  if (tree_.where == nullptr) return;
  text(" WHERE ");
  expression(*tree_.where);
}

void SqlWriter::insert() {
  text("INSERT INTO ");
  name(tree_.target->table->name);
  if (tree_.inserts_defaults) return text(" DEFAULT VALUES");
  const char* separator = " (";
  for (const Column* const column : tree_.insert_columns) {
    text(separator);
    name(column->name);
    separator = ", ";
  }
  text(") ");
  if (tree_.query != nullptr) return query(*tree_.query);
  separator = "VALUES ";
  for (const dialect::InsertRow* const row : tree_.rows) {
    text(separator);
    separator = "(";
    for (const dialect::InsertValue* const item : row->values) {
      text(separator);
      expression(*item->value);
      separator = ", ";
    }
    text(")");
  }
}

void SqlWriter::update() {
  text("UPDATE ");
  name(tree_.target->table->name);
  const char* separator = " SET ";
  for (const dialect::Assignment* const assignment : tree_.assignments) {
    text(separator);
    name(assignment->target->column->name);
    text(" = ");
    expression(*assignment->value);
    separator = ", ";
  }
  where();
}

void SqlWriter::remove() {
  text("DELETE FROM ");
  name(tree_.target->table->name);
  where();
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

void SqlWriter::limit(const dialect::Select& select) {
  if (select.limit == dialect::kNoLiteral) return;
  text(" LIMIT ");
  parameter(select.limit);
}

void SqlWriter::select(const dialect::Select& select) {
  text(select.distinct ? "SELECT DISTINCT " : "SELECT ");
  items(select);
  from(select);
  if (select.where != nullptr) {
    text(" WHERE ");
    expression(*select.where);
  }
  const char* separator = " GROUP BY ";
  for (const dialect::GroupItem* const item : select.groups) {
    text(separator);
    collated(*item->value);
    separator = ", ";
  }
  if (select.having == nullptr) return;
  text(" HAVING ");
  expression(*select.having);
}

void SqlWriter::items(const dialect::Select& select) {
  const char* separator = "";
  for (const dialect::ResultItem& item : select.items) {
    text(separator);
    collated(*item.value);
    separator = ", ";
  }
  if (tree_.identity == nullptr || &select != &tree_.query->first()) return;
  text(separator);
  name(tree_.identity->name);
  text(".rowid");
}

void SqlWriter::from(const dialect::Select& select) {
  const char* separator = " FROM ";
  for (const dialect::JoinChain* const chain : select.from) {
    text(separator);
    join_chain(*chain);
    separator = ", ";
  }
}

void SqlWriter::join_chain(const dialect::JoinChain& chain) {
  // SQLite takes CROSS JOIN for an order to read the tables as they stand.
  static constexpr std::string_view kOperators[] = {
      "", " INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN ", " FULL JOIN ", " JOIN "};
  for (const dialect::Join& join : chain.joins) {
    text(kOperators[static_cast<std::size_t>(join.kind)]);
    if (join.chain != nullptr) {
      text("(");
      join_chain(*join.chain);
      text(")");
    } else {
      source(*join.source);
    }
    if (join.condition == nullptr) continue;
    text(" ON ");
    expression(*join.condition);
  }
}

void SqlWriter::source(const dialect::Source& source) {
  if (source.query != nullptr) {
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
    text(")");
  } else {
    name(source.table->name);
  }
  text(" AS ");
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
