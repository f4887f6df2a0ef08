// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_resolver.h"
#include "values/text.h"

namespace mercato::store::dialect {

void StatementResolver::resolve(Source& source) {
  if (source.query != nullptr) {
    source.name = source.alias;
    std::vector<Column>& columns = tree_.subselect_columns.emplace_back();
    for (const ResultItem& item : source.query->first().items) {
      // Its columns are known by their names outside.
      if (item.name.empty())
        refuse("No column name was specified for column " + std::to_string(columns.size() + 1) + " of '" +
               std::string(source.name) + "'");
      columns.push_back(column_of(item));
    }
    source.columns = &columns;
  } else {
    source.table = tables_.find(source.table_name);
    if (source.table == nullptr)
      remember("Invalid object name '" + std::string(source.table_name) + "'");
    else
      source.columns = &source.table->columns;
    source.name = source.has_alias          ? source.alias
                  : source.table == nullptr ? source.table_name
                                            : std::string_view(source.table->name);
  }
  for (const Source* other = source.scope->first; other != nullptr; other = other->next_in_scope)
    if (text::equal_names(other->name, source.name))
      refuse("The objects \"" + std::string(other->name) + "\" and \"" + std::string(source.name) +
             "\" in the FROM clause have the same exposed names. Use correlation names to distinguish them");
  Scope& scope = *source.scope;
  (scope.first == nullptr ? scope.first : scope.last->next_in_scope) = &source;
  scope.last = &source;
}

void StatementResolver::resolve(const SelectItem& item) {
  const Column* const column = item.value->column;
  const std::string_view name = item.is_named       ? item.name
                                : column != nullptr ? std::string_view(column->name)
                                                    : std::string_view();
  item.select->items.push_back({item.value, name, column, item.value->type});
}

void StatementResolver::resolve(const Star& star) {
  Select& select = *star.select;
  if (!star.is_qualified) {
    if (select.scope.first == nullptr) refuse("Must specify table to select from");
    for (const Source* source = select.scope.first; source != nullptr; source = source->next_in_scope)
      add_columns(select, *source, star);
    return;
  }
  const Source* source = select.scope.first;
  while (source != nullptr && !text::equal_names(source->name, star.qualifier)) source = source->next_in_scope;
  if (source != nullptr)
    add_columns(select, *source, star);
  else
    remember("The column prefix '" + std::string(star.qualifier) +
             "' does not match with a table name or alias name used in the query");
}

void StatementResolver::add_columns(Select& select, const Source& source, const Star& star) {
  if (source.columns == nullptr) return;
  for (const Column& column : *source.columns) {
    ++shown_terms_;
    check_terms(star.terms);
    auto* const name = tree_.make<ColumnName>();
    name->qualifier = source.name;
    name->name = column.name;
    name->form = Expression::Form::column;
    name->type = column.type;
    name->column = &column;
    name->source = &source;
    select.items.push_back({name, column.name, &column, column.type});
  }
}

void StatementResolver::resolve(const GroupItem& item) const {
  // The server has neither positions nor constants here.
  if (item.value->is_literal()) refuse_syntax(tree_.lexed, item.followed_by);
}

void StatementResolver::resolve(const Select& select) {
  if (select.grouped) check_grouped(select);
  const Query& query = *select.query;
  if (!query.selects.empty() && query.selects.front()->items.size() != select.items.size())
    refuse(
        "All queries combined using a UNION operator must have an equal number of expressions in their target lists");
}

// A column by itself must be the same for all rows of a group. Some engines would take that of any row.
void StatementResolver::check_grouped(const Select& select) {
  const auto is_grouped_by = [&select](const Column* column) {
    return std::any_of(select.groups.begin(), select.groups.end(),
                       [column](const GroupItem* group) { return group->value->column == column; });
  };
  for (const ResultItem& item : select.items) {
    const Column* const shown = item.value->column;
    if (shown == nullptr || is_grouped_by(shown)) continue;
    for (const Source* source = select.scope.first; source != nullptr; source = source->next_in_scope) {
      if (source->columns == nullptr) continue;
      for (const Column& column : *source->columns)
        if (&column == shown)
          remember("Column '" + std::string(source->name) + "." + column.name +
                   "' is invalid in the select list because it is not contained in either an aggregate function or the "
                   "GROUP BY clause");
    }
  }
}

void StatementResolver::resolve(const United& united) {
  Query& query = *united.query;
  tree_.translation.most_united = std::max(tree_.translation.most_united, query.selects.size());
  std::vector<Expression*> operands(query.selects.size());
  for (std::size_t i = 0; i < query.first().items.size(); ++i) {
    for (std::size_t k = 0; k < operands.size(); ++k) operands[k] = query.selects[k]->items[i].value;
    const ColumnType type = unify(operands);
    for (std::size_t k = 0; k < operands.size(); ++k) {
      if (operands[k]->is_null()) operands[k]->type = type;
      query.selects[k]->items[i].value = operands[k];
    }
    query.first().items[i].type = type;
  }
}

// A column of the result, by its place or its own name, comes before a column of the tables.
void StatementResolver::resolve(OrderItem& item) {
  const std::pmr::vector<ResultItem>& columns = item.query->first().items;
  if (item.is_place) {
    if (item.place < 1 || item.place > static_cast<std::int64_t>(columns.size()))
      refuse("The ORDER BY position number " + std::to_string(item.place) +
             " is out of range of the number of items in the select list" +
             place_text(tree_.lexed.text, tree_.lexed.tokens[item.token].begin));
    tree_.translation.depends_on_literals = true;
    return;
  }
  if (item.is_name) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (!text::equal_names(columns[i].name, item.name)) continue;
      item.is_place = true;
      item.place = static_cast<std::int64_t>(i) + 1;
      return;
    }
    if (item.query->selects.size() > 1) refuse_order_item(tree_.lexed, item.token);
    ++shown_terms_;
    check_terms(item.terms);
    auto* const name = tree_.make<ColumnName>();
    name->name = item.name;
    name->scope = &item.query->first().scope;
    item.value = name;
    resolve(*name);
    return;
  }
  if (item.value->is_literal()) refuse_syntax(tree_.lexed, item.followed_by);
}

void StatementResolver::convert_query(Query& query, ColumnType type) {
  for (Select* const select : query.selects) {
    ResultItem& item = select->items.front();
    item.value = converted(item.value, type);
  }
}

Column StatementResolver::column_of(const ResultItem& item) {
  Column column = item.origin != nullptr ? *item.origin : Column();
  column.name = item.name;
  column.type = item.type;
  return column;
}

// The source of which each row of the result is one row; null when there is none. A join has one when it tells each row
// of it once: all columns are the source's, its key is among them, and doubled rows are left out.
const Source* StatementResolver::source_of_rows(const Query& query) {
  const Select& select = query.first();
  const Source* const first = select.scope.first;
  if (query.selects.size() > 1 || select.grouped || first == nullptr) return nullptr;
  if (!select.distinct) return first->next_in_scope == nullptr && first->table != nullptr ? first : nullptr;
  const auto is_column = [](const ResultItem& item) { return item.value->form == Expression::Form::column; };
  const auto shows = [&](const Column& column) {
    return std::any_of(select.items.begin(), select.items.end(),
                       [&](const ResultItem& item) { return is_column(item) && item.value->column == &column; });
  };
  for (const Source* source = first; source != nullptr; source = source->next_in_scope) {
    if (source->table == nullptr || source->table->key.empty()) continue;
    const std::vector<Column>& columns = source->table->columns;
    const std::vector<std::size_t>& key = source->table->key;
    // Columns of a table that is read twice cannot be told apart.
    int times_read = 0;
    for (const Source* other = first; other != nullptr; other = other->next_in_scope)
      if (other->table == source->table) ++times_read;
    const bool has_all_items = std::all_of(select.items.begin(), select.items.end(), [&](const ResultItem& item) {
      return is_column(item) && std::any_of(columns.begin(), columns.end(),
                                            [&item](const Column& column) { return &column == item.value->column; });
    });
    if (times_read == 1 && has_all_items &&
        std::all_of(key.begin(), key.end(), [&](std::size_t column) { return shows(columns[column]); }))
      return source;
  }
  return nullptr;
}

void StatementResolver::describe_result(const Query& query, bool identified) {
  Translation& translation = tree_.translation;
  const Select& first = query.first();
  const Source* const source = first.scope.first;
  if (query.selects.size() == 1 && source != nullptr && source->next_in_scope == nullptr && source->table != nullptr)
    translation.table = source->table->name;
  translation.result.reserve(first.items.size());
  for (const ResultItem& item : first.items) translation.result.push_back(column_of(item));
  if (!identified || !refusal_.empty()) return;
  tree_.identity = source_of_rows(query);
  if (tree_.identity == nullptr)
    refuse_feature("The rows of this statement cannot be changed: each has to be one row of one table");
  translation.table = tree_.identity->table->name;
  translation.identified = true;
}

}  // namespace mercato::store::dialect
