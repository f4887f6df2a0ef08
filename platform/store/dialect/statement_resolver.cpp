// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/statement_resolver.h"

#include <algorithm>

#include "platform/store/call_limit.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/resolver.h"
#include "platform/store/dialect/statement_reader.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

// In place of a column that was not found: nothing is known of it.
const Column& unknown_column() {
  static const Column unknown;
  return unknown;
}

bool is_definition(const LexedStatement& lexed) {
  if (lexed.tokens.front().kind != TokenKind::word) return false;
  const std::string_view word =
      lexed.text.substr(lexed.tokens.front().begin, lexed.tokens.front().end - lexed.tokens.front().begin);
  return text::equal_names(word, "CREATE") || text::equal_names(word, "ALTER") || text::equal_names(word, "DROP");
}

}  // namespace

void resolve_statement(SyntaxTree& tree, const TableDirectory& tables, bool identified) {
  if (is_definition(tree.lexed)) {
    tree.definition = read_definition(tree.lexed, tables);
    tree.translation.kind = StatementKind::definition;
    tree.translation.table = tree.definition->table;
    tree.translation.depends_on_literals = true;
    return;
  }
  StatementReader(tree).read();
  StatementResolver(tree, tables).resolve(identified);
}

void StatementResolver::resolve(bool identified) {
  for (Node* node = tree_.first; node != nullptr; node = node->next) {
    check_terms(node->terms);
    resolve_node(*node);
  }
  check_terms(tree_.terms);
  if (tree_.fault) throw Raised(*tree_.fault);
  if (tree_.translation.kind == StatementKind::query) describe_result(*tree_.query, identified);
  if (!refusal_.empty()) refuse(refusal_);
}

void StatementResolver::check_terms(std::size_t terms) const {
  check_call_limit();
  constexpr std::size_t kMostTerms = 20000;
  if (terms + shown_terms_ > kMostTerms + listed_terms_)
    refuse(
        "The statement has more than 20000 terms outside of lists of plain values. Put values into one: COLUMN IN (1, "
        "2, 3)");
}

void StatementResolver::resolve_node(Node& node) {
  switch (node.kind) {
    case NodeKind::literal:
    case NodeKind::null:
      break;
    case NodeKind::column_name:
      resolve(static_cast<ColumnName&>(node));
      break;
    case NodeKind::sign:
      resolve(static_cast<Sign&>(node));
      break;
    case NodeKind::arithmetic:
      return resolve(static_cast<Arithmetic&>(node));
    case NodeKind::call:
      return resolve(static_cast<Call&>(node));
    case NodeKind::aggregate:
      return resolve(static_cast<Aggregate&>(node));
    case NodeKind::date_call:
      return resolve(static_cast<DateCall&>(node));
    case NodeKind::cast:
      return resolve(static_cast<Cast&>(node));
    case NodeKind::case_value:
      return resolve(static_cast<CaseValue&>(node));
    case NodeKind::subselect:
      return resolve(static_cast<Subselect&>(node));
    case NodeKind::conversion:
      return;
    case NodeKind::comparison:
      resolve(static_cast<Comparison&>(node));
      return join_list(static_cast<Condition&>(node));
    case NodeKind::is_null:
    case NodeKind::exists:
    case NodeKind::negation:
      return;
    case NodeKind::like:
      return resolve(static_cast<Like&>(node));
    case NodeKind::between:
      return resolve(static_cast<Between&>(node));
    case NodeKind::in_list:
      return resolve(static_cast<InList&>(node));
    case NodeKind::in_query:
      return resolve(static_cast<InQuery&>(node));
    case NodeKind::junction:
      resolve(static_cast<Junction&>(node));
      return join_list(static_cast<Condition&>(node));
    case NodeKind::brackets:
      static_cast<Brackets&>(node).list = static_cast<Brackets&>(node).operand->list;
      return join_list(static_cast<Condition&>(node));
    case NodeKind::case_match:
      return resolve(static_cast<CaseMatch&>(node));
    case NodeKind::select_item:
      return resolve(static_cast<SelectItem&>(node));
    case NodeKind::star:
      return resolve(static_cast<Star&>(node));
    case NodeKind::source:
      return resolve(static_cast<Source&>(node));
    case NodeKind::group_item:
      return resolve(static_cast<GroupItem&>(node));
    case NodeKind::select:
      return resolve(static_cast<Select&>(node));
    case NodeKind::united:
      return resolve(static_cast<United&>(node));
    case NodeKind::order_item:
      return resolve(static_cast<OrderItem&>(node));
    case NodeKind::target_table:
      return resolve(static_cast<TargetTable&>(node));
    case NodeKind::insert_target:
      return resolve(static_cast<InsertTarget&>(node));
    case NodeKind::insert_value:
      return resolve(static_cast<InsertValue&>(node));
    case NodeKind::insert_row:
      return resolve(static_cast<InsertRow&>(node));
    case NodeKind::insert_query:
      return resolve(static_cast<InsertQuery&>(node));
    case NodeKind::assignment:
      return resolve(static_cast<Assignment&>(node));
  }
  if (static_cast<Expression&>(node).listed) ++listed_terms_;
}

void StatementResolver::remember(std::string refusal) {
  if (refusal_.empty()) refusal_ = std::move(refusal);
}

void StatementResolver::resolve(ColumnName& name) {
  if (find_column(name)) name.form = Expression::Form::column;
  if (name.is_target && name.column != nullptr && name.column->assigned)
    remember("Cannot update identity column '" + name.column->name + "'");
}

// Whether it is the name of a column. An inner source hides those outside.
bool StatementResolver::find_column(ColumnName& name) {
  bool source_known = false;
  for (const Scope* scope = name.scope; scope != nullptr; scope = scope->outer) {
    for (const Source* source = scope->first; source != nullptr; source = source->next_in_scope) {
      if (!name.qualifier.empty() && !text::equal_names(source->name, name.qualifier)) continue;
      source_known = true;
      // Nothing is known of the columns of a table that there is not.
      if (source->columns == nullptr) return name.column != nullptr;
      for (const Column& column : *source->columns) {
        if (!text::equal_names(column.name, name.name)) continue;
        if (name.column != nullptr) {
          remember("Ambiguous column name '" + std::string(name.name) + "'");
          return true;
        }
        name.type = column.type;
        name.column = &column;
        name.source = source;
      }
    }
    if (name.column != nullptr) return true;
    if (!name.qualifier.empty() && source_known) break;
  }
  remember(name.qualifier.empty() || source_known ? "Invalid column name '" + std::string(name.name) + "'"
                                                  : "The multi-part identifier \"" + std::string(name.qualifier) + "." +
                                                        std::string(name.name) + "\" could not be bound");
  return false;
}

void StatementResolver::resolve(TargetTable& target) {
  target.table = tables_.find(target.name);
  if (target.table == nullptr) refuse("Invalid object name '" + std::string(target.name) + "'");
  tree_.translation.table = target.table->name;
  if (target.source != nullptr) {
    target.source->name = target.table->name;
    target.source->table = target.table;
    target.source->columns = &target.table->columns;
    target.source->scope->first = target.source->scope->last = target.source;
  } else if (!tree_.names_targets) {
    // An assigned key is not among the values.
    for (const Column& column : target.table->columns)
      if (!column.assigned) tree_.insert_columns.push_back(&column);
  }
}

void StatementResolver::resolve(const InsertTarget& target) {
  const TableInfo& table = *tree_.target->table;
  const auto position = table.find(target.name);
  if (!position) remember("Invalid column name '" + std::string(target.name) + "'");
  const Column* const column = position ? &table.columns[*position] : &unknown_column();
  std::pmr::vector<const Column*>& targets = tree_.insert_columns;
  if (position && std::find(targets.begin(), targets.end(), column) != targets.end())
    refuse("The column name '" + std::string(target.name) +
           "' is specified more than once in the column list of an INSERT");
  targets.push_back(column);
}

void StatementResolver::resolve(InsertValue& item) {
  if (item.place < tree_.insert_columns.size())
    item.value = stored(item.value, *tree_.insert_columns[item.place], item.followed_by);
}

void StatementResolver::resolve(const InsertRow& row) {
  if (row.values.size() != tree_.insert_columns.size())
    remember("Column name or number of supplied values does not match table definition");
}

void StatementResolver::resolve(const InsertQuery& rows) {
  const std::pmr::vector<const Column*>& targets = tree_.insert_columns;
  if (rows.query->first().items.size() != targets.size())
    return remember("The select list for the INSERT statement has another number of items than the insert list");
  for (Select* const select : rows.query->selects)
    for (std::size_t i = 0; i < targets.size(); ++i)
      select->items[i].value = stored(select->items[i].value, *targets[i], rows.followed_by);
}

void StatementResolver::resolve(Assignment& assignment) {
  const Column* const column = assignment.target->column;
  for (const Assignment* const other : tree_.assignments) {
    if (column == nullptr || other == &assignment) break;
    if (other->target->column == column)
      refuse("The column name '" + std::string(assignment.target->name) +
             "' is specified more than once in the SET clause");
  }
  assignment.value = stored(assignment.value, column != nullptr ? *column : unknown_column(), assignment.followed_by);
}

}  // namespace mercato::store::dialect
