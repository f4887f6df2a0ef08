// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/sql_printer.h"

#include <vector>

namespace mercato::store::dialect {

void append_quoted(std::string& sql, std::string_view name) {
  sql += '"';
  for (const char c : name) {
    if (c == '"') sql += '"';
    sql += c;
  }
  sql += '"';
}

std::string quoted_name(std::string_view name) {
  std::string sql;
  append_quoted(sql, name);
  return sql;
}

std::string SqlPrinter::write() {
  sql_.reserve(tree_.lexed.text.size() + tree_.lexed.text.size() / 2);
  switch (tree_.translation.kind) {
    case StatementKind::query:
      query(*tree_.query);
      break;
    case StatementKind::insert:
      insert();
      break;
    case StatementKind::update:
      update();
      break;
    case StatementKind::remove:
      remove();
      break;
    case StatementKind::definition:
    case StatementKind::nothing:
      break;
  }
  return std::move(sql_);
}

// Names and statements

void SqlPrinter::qualified(const Source& source, std::string_view column) {
  name(source.name);
  sql_ += '.';
  name(column);
}

void SqlPrinter::where() {
  if (tree_.where == nullptr) return;
  text(" WHERE ");
  expression(*tree_.where);
}

void SqlPrinter::insert() {
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
  for (const InsertRow* const row : tree_.rows) {
    text(separator);
    separator = "(";
    for (const InsertValue* const item : row->values) {
      text(separator);
      expression(*item->value);
      separator = ", ";
    }
    text(")");
  }
}

void SqlPrinter::update() {
  text("UPDATE ");
  name(tree_.target->table->name);
  const char* separator = " SET ";
  for (const Assignment* const assignment : tree_.assignments) {
    text(separator);
    name(assignment->target->column->name);
    text(" = ");
    expression(*assignment->value);
    separator = ", ";
  }
  where();
}

void SqlPrinter::remove() {
  text("DELETE FROM ");
  name(tree_.target->table->name);
  where();
}

// Queries

void SqlPrinter::limit(const Select& select) {
  if (select.limit == kNoLiteral) return;
  text(" LIMIT ");
  size(select.limit);
}

void SqlPrinter::select(const Select& select) {
  text(select.distinct ? "SELECT DISTINCT " : "SELECT ");
  items(select);
  identity(select);
  from(select);
  where_and_groups(select);
  having(select);
}

void SqlPrinter::items(const Select& select) {
  const char* separator = "";
  for (const ResultItem& item : select.items) {
    text(separator);
    shown(*item.value);
    separator = ", ";
  }
}

void SqlPrinter::where_and_groups(const Select& select) {
  if (select.where != nullptr) {
    text(" WHERE ");
    conditions(select);
  }
  const char* separator = " GROUP BY ";
  for (const GroupItem* const item : select.groups) {
    text(separator);
    grouped(*item->value);
    separator = ", ";
  }
}

void SqlPrinter::having(const Select& select) {
  if (select.having == nullptr) return;
  text(" HAVING ");
  expression(*select.having);
}

void SqlPrinter::from(const Select& select) {
  const char* separator = " FROM ";
  for (const JoinChain* const chain : select.from) {
    text(separator);
    join_chain(*chain);
    separator = ", ";
  }
}

void SqlPrinter::join_chain(const JoinChain& chain) {
  for (const Join& join : chain.joins) {
    static constexpr std::string_view kOperators[] = {"", " INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN ", " FULL JOIN "};
    text(join.kind == JoinKind::cross ? cross_join() : kOperators[static_cast<std::size_t>(join.kind)]);
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

void SqlPrinter::source(const Source& source) {
  if (source.query != nullptr) return rows_of_subselect(source);
  name(source.table->name);
  text(" AS ");
  name(source.name);
}

// Expressions

void SqlPrinter::expression(const Expression& expression) {
  if (expression.is_null()) return text("NULL");
  switch (expression.kind) {
    case NodeKind::literal:
      return literal(static_cast<const Literal&>(expression));
    case NodeKind::null:
      return text("NULL");
    case NodeKind::column_name:
      return column(expression);
    case NodeKind::sign:
    case NodeKind::arithmetic:
    case NodeKind::conversion:
      return operation(expression);
    case NodeKind::call:
      return call(static_cast<const Call&>(expression));
    case NodeKind::aggregate:
      return aggregate(static_cast<const Aggregate&>(expression));
    case NodeKind::date_call:
      return date_call(static_cast<const DateCall&>(expression));
    case NodeKind::cast:
      return cast(static_cast<const Cast&>(expression));
    case NodeKind::case_value:
      return case_value(static_cast<const CaseValue&>(expression));
    case NodeKind::subselect:
      text("(");
      query(*static_cast<const Subselect&>(expression).query);
      return text(")");
    case NodeKind::comparison:
      return comparison(static_cast<const Comparison&>(expression));
    case NodeKind::is_null: {
      const auto& is_null = static_cast<const IsNull&>(expression);
      this->expression(*is_null.operand);
      return text(is_null.negated ? " IS NOT NULL" : " IS NULL");
    }
    case NodeKind::like:
      return like(static_cast<const Like&>(expression));
    case NodeKind::between:
      return between(static_cast<const Between&>(expression));
    case NodeKind::in_list:
      return in_list(static_cast<const InList&>(expression));
    case NodeKind::in_query:
      return in_query(static_cast<const InQuery&>(expression));
    case NodeKind::exists:
      text("EXISTS (");
      query(*static_cast<const Exists&>(expression).query);
      return text(")");
    case NodeKind::negation:
      return negation(static_cast<const Negation&>(expression));
    case NodeKind::junction:
      return junction(static_cast<const Junction&>(expression));
    case NodeKind::brackets:
      return in_brackets(*static_cast<const Brackets&>(expression).operand);
    default:
      return;  // no expression
  }
}

void SqlPrinter::literal(const Literal& literal) {
  if (!literal.in_text) return bound(literal);
  const Token& token = tree_.lexed.tokens[tree_.lexed.literals[literal.position]];
  text(tree_.lexed.text.substr(token.begin, token.end - token.begin));
}

void SqlPrinter::arguments(std::span<Expression* const> arguments) {
  const char* separator = "";
  for (const Expression* const argument : arguments) {
    text(separator);
    expression(*argument);
    separator = ", ";
  }
}

void SqlPrinter::filled_in(std::string_view sql, std::span<Expression* const> arguments) {
  std::size_t used = 0;
  for (std::size_t place; (place = sql.find('#')) != std::string_view::npos; sql.remove_prefix(place + 1)) {
    text(sql.substr(0, place));
    expression(*arguments[used++]);
  }
  text(sql);
}

// The one that is written first.
const Expression* SqlPrinter::first_operand(const Arithmetic& arithmetic) {
  return arithmetic.meaning == Arithmetic::Meaning::days_and_date ? arithmetic.right : arithmetic.left;
}

// A chain of operators is as deep on its left side as it is long, so that side is not walked down by recursion.
void SqlPrinter::operation(const Expression& outermost) {
  std::vector<const Expression*> chain;
  const Expression* innermost = &outermost;
  for (;;) {
    const Expression* const current = innermost;
    if (current->is_null()) break;
    if (current->kind == NodeKind::arithmetic)
      innermost = first_operand(static_cast<const Arithmetic&>(*current));
    else if (current->kind == NodeKind::conversion)
      innermost = static_cast<const TypeConversion*>(current)->operand;
    else if (current->kind == NodeKind::sign)
      innermost = static_cast<const Sign*>(current)->operand;
    else
      break;
    open(*current);
    chain.push_back(current);
  }
  expression(*innermost);
  for (; !chain.empty(); chain.pop_back()) close(*chain.back());
}

void SqlPrinter::open(const Expression& operation) {
  if (operation.kind == NodeKind::conversion) return text(around(static_cast<const TypeConversion&>(operation)).before);
  if (operation.kind == NodeKind::sign) return text(static_cast<const Sign&>(operation).negative ? "(-" : "");
  text(before(static_cast<const Arithmetic&>(operation)));
}

void SqlPrinter::close(const Expression& operation) {
  if (operation.kind == NodeKind::conversion) return text(around(static_cast<const TypeConversion&>(operation)).behind);
  if (operation.kind == NodeKind::sign) return text(static_cast<const Sign&>(operation).negative ? ")" : "");
  behind(static_cast<const Arithmetic&>(operation));
}

void SqlPrinter::case_value(const CaseValue& value) {
  text("CASE");
  for (const CaseValue::Branch& branch : value.branches) {
    text(" WHEN ");
    if (branch.condition->kind == NodeKind::case_match) {
      const auto& match = static_cast<const CaseMatch&>(*branch.condition);
      left_operand(*match.subject, match.compared_as, false);
      text(" = ");
      right_operand(*match.value, match.compared_as);
    } else {
      expression(static_cast<const Expression&>(*branch.condition));
    }
    text(" THEN ");
    expression(*branch.result);
  }
  if (value.otherwise != nullptr) {
    text(" ELSE ");
    expression(*value.otherwise);
  }
  text(" END");
}

void SqlPrinter::comparison(const Comparison& comparison) {
  static constexpr std::string_view kOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
  left_operand(*comparison.left, comparison.left->type, comparison.right->form == Expression::Form::column);
  text(kOperators[static_cast<std::size_t>(comparison.operation)]);
  right_operand(*comparison.right, comparison.right->type);
}

void SqlPrinter::between(const Between& between) {
  left_operand(*between.operand, between.operand->type, false);
  text(between.negated ? " NOT BETWEEN " : " BETWEEN ");
  right_operand(*between.low, between.low->type);
  text(" AND ");
  right_operand(*between.high, between.high->type);
}

void SqlPrinter::in_list(const InList& in) {
  left_operand(*in.operands.front(), in.operands.front()->type, false);
  const char* separator = in.negated ? " NOT IN (" : " IN (";
  for (const Expression* const value : in.operands.subspan(1)) {
    text(separator);
    right_operand(*value, value->type);
    separator = ", ";
  }
  text(")");
}

// Whether the SQL of a condition begins and ends with brackets of its own. That of a list of equalities counts as if it
// did: NOT and AND take it without.
bool SqlPrinter::stands_in_brackets(const Expression& condition) {
  if (condition.kind == NodeKind::brackets) return true;
  if (condition.kind == NodeKind::like) return static_cast<const Like&>(condition).is_range;
  if (condition.kind != NodeKind::junction) return false;
  const auto& junction = static_cast<const Junction&>(condition);
  return junction.list != nullptr && stands_in_brackets(*junction.operands.front());
}

void SqlPrinter::in_brackets(const Expression& condition) {
  const bool needs = !stands_in_brackets(condition);
  if (needs) text("(");
  expression(condition);
  if (needs) text(")");
}

void SqlPrinter::negation(const Negation& negation) {
  text("NOT ");
  in_brackets(*negation.operand);
}

void SqlPrinter::junction(const Junction& junction) {
  std::vector<const Condition*> operands;
  operands.reserve(junction.operands.size());
  for (const Condition* const operand : junction.operands)
    if (operand->joined_to == nullptr) operands.push_back(operand);
  chain(operands, junction.is_or ? " OR " : " AND ");
}

// A long chain becomes a balanced tree: engines bound the depth of an expression, and a chain is as deep as it is long.
void SqlPrinter::chain(std::span<const Condition* const> operands, std::string_view operation) {
  constexpr std::size_t kLongestChain = 100;
  if (operands.size() > kLongestChain) {
    const std::size_t middle = operands.size() / 2;
    text("(");
    chain(operands.first(middle), operation);
    text(")");
    text(operation);
    text("(");
    chain(operands.subspan(middle), operation);
    return text(")");
  }
  for (std::size_t i = 0; i < operands.size(); ++i) {
    if (i > 0) text(operation);
    if (operands[i]->has_joined)
      equalities(*operands[i]->list);
    else
      expression(*operands[i]);
  }
}

void SqlPrinter::equalities(const Comparison& list) {
  left_operand(*list.left, list.left->type, true);
  const char* separator = " IN (";
  for (const Comparison* each = &list; each != nullptr; each = each->more) {
    text(separator);
    right_operand(*each->right, each->right->type);
    separator = ", ";
  }
  text(")");
}

// Calls of functions that every engine is given under the same names

void SqlPrinter::date_call(const DateCall& call) {
  static constexpr std::string_view kNames[] = {"mercato_date_add('", "mercato_date_difference('",
                                                "mercato_date_part('"};
  text(kNames[static_cast<std::size_t>(call.function)]);
  text(call.part);
  text("', ");
  arguments(call.arguments);
  text(")");
}

void SqlPrinter::cast(const Cast& cast) {
  if (cast.operand->form == Expression::Form::null) return expression(*cast.operand);
  const bool cuts = cast.width == Cast::Width::usual || cast.width == Cast::Width::given;
  if (cuts) text("substr(");
  if (cast.is_decimal()) text(rounding());
  if (cast.styled != Cast::Styled::no) {
    text(cast.styled == Cast::Styled::writes_date ? "mercato_date_text(" : "mercato_styled_date(");
    expression(*cast.operand);
    text(", ");
    size(cast.style_literal);
    text(")");
  } else {
    expression(*cast.operand);
  }
  // The last argument of the call that is open.
  const auto close_with = [this](std::uint32_t literal, int usual) {
    if (literal != kNoLiteral)
      cast_size(literal);
    else
      text(std::to_string(usual));
    text(")");
  };
  if (cuts) {
    text(", 1, ");
    close_with(cast.width_literal, Cast::kUsualWidth);
  }
  if (cast.is_decimal()) {
    text(", ");
    close_with(cast.decimals_literal, 0);
  }
}

}  // namespace mercato::store::dialect
