// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "platform/store/postgres_dialect/postgres_writer.h"

namespace mercato::store::postgres {
namespace {

bool is_text(const dialect::ResultItem& item) { return item.type == ColumnType::text; }

// A row of such a join may have no row of a table, so that a column is Null that its table has not Null.
bool has_outer_join(const dialect::JoinChain& chain) {
  return std::ranges::any_of(chain.joins, [](const dialect::Join& join) {
    return join.kind == dialect::JoinKind::left || join.kind == dialect::JoinKind::right ||
           join.kind == dialect::JoinKind::full || (join.chain != nullptr && has_outer_join(*join.chain));
  });
}

bool may_be_null(const dialect::Select& select, const dialect::Expression& value) {
  if (value.form != dialect::Expression::Form::column || value.column->nullable) return true;
  return std::ranges::any_of(select.from, [](const dialect::JoinChain* chain) { return has_outer_join(*chain); });
}

}  // namespace

void SqlWriter::query(const dialect::Query& query) {
  const dialect::Select* const outer = std::exchange(group_, nullptr);
  if (query.selects.size() > 1)
    united(query);
  else if (query.first().distinct && needs_keys(query))
    distinct(query);
  else
    single(query);
  group_ = outer;
}

void SqlWriter::single(const dialect::Query& query) {
  const dialect::Select& first = query.first();
  text(first.distinct ? "SELECT DISTINCT " : "SELECT ");
  show_groups_of(first);
  items(first);
  identity(first);
  rows_and_groups(first);
  order_by(query);
  group_ = nullptr;
  limit(first);
}

void SqlWriter::show_groups_of(const dialect::Select& select) { group_ = select.grouped ? &select : nullptr; }

// The rows that a text index proposes, and what decides.
void SqlWriter::conditions(const dialect::Select& select) {
  bool narrowed = false;
  if (tree_.translation.kind == dialect::StatementKind::query)
    for (dialect::TextSearch& search : dialect::text_searches(select)) {
      const auto known = std::ranges::find(result_.searches, search.source, &dialect::TextSearch::source);
      const auto number = static_cast<std::uint32_t>(known - result_.searches.begin());
      if (number == dialect::kMostSearches) break;
      if ((used_ >> number & 1) != 0) {
        name(search.source->name);
        text(".");
        text(before_match(*search.source->table));
        parameter(Binding::Use::text_match, ValueType::text, {number});
        text(kBehindMatch);
        text(" AND ");
        narrowed = true;
      }
      if (known == result_.searches.end()) result_.searches.push_back(std::move(search));
    }
  if (narrowed)
    in_brackets(*select.where);
  else
    expression(*select.where);
}

// What makes the groups sees single rows; what stands behind sees groups.
void SqlWriter::rows_and_groups(const dialect::Select& select) {
  group_ = nullptr;
  from(select);
  where_and_groups(select);
  show_groups_of(select);
  having(select);
}

// Whether the engine's own DISTINCT will not do: it compares texts byte by byte, and sorts by what is shown only.
bool SqlWriter::needs_keys(const dialect::Query& query) const {
  return std::ranges::any_of(query.first().items, is_text) ||
         std::ranges::any_of(query.order, [](const dialect::OrderItem* item) { return !item->is_place; });
}

// The rows without doubles, and then sorted: what they are sorted by stands behind them.
void SqlWriter::distinct(const dialect::Query& query) {
  const dialect::Select& first = query.first();
  const std::size_t shown = first.items.size();
  text("SELECT ");
  columns(shown);
  identity_columns(", ");
  text(" FROM (SELECT DISTINCT ON (");
  show_groups_of(first);
  const char* separator = "";
  for (const dialect::ResultItem& item : first.items) {
    text(separator);
    grouped(*item.value);
    separator = ", ";
  }
  separator = ") ";
  std::size_t position = 0;
  const auto named = [&](const dialect::Expression& value) {
    text(separator);
    this->shown(value);
    text(" AS ");
    column_of_rows(sql_, ++position);
    separator = ", ";
  };
  for (const dialect::ResultItem& item : first.items) named(*item.value);
  for (const dialect::OrderItem* const item : query.order)
    if (!item->is_place) named(*item->value);
  identity(first);
  rows_and_groups(first);
  group_ = nullptr;
  text(") AS rows");
  order_by_columns(query);
  limit(first);
}

// All queries up to the last UNION without ALL lose their doubles together: it would take away what those before it left.
void SqlWriter::united(const dialect::Query& query) {
  const std::size_t selects = query.selects.size();
  std::size_t told_apart = 0;
  for (std::size_t i = 1; i < selects; ++i)
    if (!query.keeps_doubles[i - 1]) told_apart = i + 1;
  const bool sorts = !query.order.empty();
  if (sorts) text("SELECT * FROM (");
  if (told_apart > 0) without_doubles(query, told_apart);
  if (told_apart > 0 && told_apart < selects) text(" UNION ALL ");
  united_parts(query, told_apart, selects);
  if (!sorts) return;
  text(") AS rows (");
  columns(query.first().items.size());
  text(")");
  order_by_columns(query);
}

void SqlWriter::without_doubles(const dialect::Query& query, std::size_t selects) {
  text("SELECT DISTINCT ON (");
  keyed_columns(query.first().items);
  text(") * FROM (");
  united_parts(query, 0, selects);
  text(") AS rows (");
  columns(query.first().items.size());
  text(")");
}

void SqlWriter::united_parts(const dialect::Query& query, std::size_t first, std::size_t end) {
  for (std::size_t i = first; i < end; ++i) {
    if (i > first) text(" UNION ALL ");
    text("(");
    selected(*query.selects[i]);
    text(")");
  }
}

// The engine matches what UNION joins two by two, and takes two Nulls for texts. The smallest number fits any other.
void SqlWriter::shown(const dialect::Expression& item) {
  if (!item.is_null() || item.type == ColumnType::unknown) return expression(item);
  text("CAST(");
  expression(item);
  text(item.type == ColumnType::text   ? " AS text)"
       : item.type == ColumnType::date ? " AS timestamp)"
                                       : " AS smallint)");
}

// One of the queries that UNION joins.
void SqlWriter::selected(const dialect::Select& select) {
  dialect::Query alone(tree_.memory());
  alone.selects.push_back(const_cast<dialect::Select*>(&select));
  query(alone);
}

void SqlWriter::identity(const dialect::Select& select) {
  if (tree_.identity == nullptr || &select != &tree_.query->first()) return;
  const TableInfo& table = *tree_.identity->table;
  const auto one = [this](std::string_view column) {
    text(", ");
    qualified(*tree_.identity, column);
  };
  if (table.key.empty()) return one(kHiddenIdentity);
  for (const std::size_t column : table.key) one(table.columns[column].name);
}

// The same, of rows that were made in a subselect.
void SqlWriter::identity_columns(std::string_view separator) {
  if (tree_.identity == nullptr) return;
  const TableInfo& table = *tree_.identity->table;
  if (table.key.empty()) {
    text(separator);
    return name(kHiddenIdentity);
  }
  for (const std::size_t column : table.key) {
    text(separator);
    name(table.columns[column].name);
  }
}

void SqlWriter::rows_of_subselect(const dialect::Source& source) {
  text("(");
  query(*source.query);
  text(") AS ");
  name(source.name);
  const char* separator = " (";
  for (const Column& column : *source.columns) {
    text(separator);
    name(column.name);
    separator = ", ";
  }
  text(")");
}

// Null comes before all values, as on the server whose dialect this is. Indexes of columns that may be Null lie in that
// order, those of others in the engine's own.
void SqlWriter::direction(const dialect::OrderItem& item, bool may_be_null) {
  if (item.descending) text(" DESC");
  if (may_be_null) text(item.descending ? " NULLS LAST" : " NULLS FIRST");
}

void SqlWriter::order_by(const dialect::Query& query) {
  const dialect::Select& first = query.first();
  const char* separator = " ORDER BY ";
  for (const dialect::OrderItem* const item : query.order) {
    const dialect::Expression& value =
        item->is_place ? *first.items[static_cast<std::size_t>(item->place) - 1].value : *item->value;
    text(separator);
    if (item->is_place && value.type != ColumnType::text)
      text(std::to_string(item->place));
    else
      ordered(value, value.type);
    direction(*item, may_be_null(first, value));
    separator = ", ";
  }
}

// By the columns of a subselect that has what is not shown behind what is.
void SqlWriter::order_by_columns(const dialect::Query& query) {
  std::size_t behind = query.first().items.size();
  const char* separator = " ORDER BY ";
  for (const dialect::OrderItem* const item : query.order) {
    const std::size_t position = item->is_place ? static_cast<std::size_t>(item->place) : ++behind;
    const ColumnType type = item->is_place ? query.first().items[position - 1].type : item->value->type;
    text(separator);
    if (type == ColumnType::text) text("mercato_key(");
    column_of_rows(sql_, position);
    if (type == ColumnType::text) text(") COLLATE mercato");
    direction(*item, true);
    separator = ", ";
  }
}

void SqlWriter::column_of_rows(std::string& sql, std::size_t position) {
  sql += 'c';
  sql += std::to_string(position);
}

void SqlWriter::columns(std::size_t count) {
  for (std::size_t i = 1; i <= count; ++i) {
    if (i > 1) text(", ");
    column_of_rows(sql_, i);
  }
}

void SqlWriter::keyed_columns(std::span<const dialect::ResultItem> items) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text(", ");
    if (is_text(items[i])) text("mercato_key(");
    column_of_rows(sql_, i + 1);
    if (is_text(items[i])) text(")");
  }
}

}  // namespace mercato::store::postgres
