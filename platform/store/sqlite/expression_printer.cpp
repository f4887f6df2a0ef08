// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "platform/store/sqlite/sql_writer.h"

namespace mercato::store::sqlite {

using dialect::NodeKind;

bool SqlWriter::needs_collation(const dialect::Expression& operand, ColumnType type) {
  return type == ColumnType::text && operand.form != dialect::Expression::Form::column;
}

void SqlWriter::collated(const dialect::Expression& operand) {
  expression(operand);
  if (needs_collation(operand, operand.type)) text(" COLLATE MERCATO");
}

void SqlWriter::expression(const dialect::Expression& expression) {
  switch (expression.kind) {
    case NodeKind::literal:
      return literal(static_cast<const dialect::Literal&>(expression));
    case NodeKind::null:
      return text("NULL");
    case NodeKind::column_name:
      return column(*expression.source, expression.column->name);
    case NodeKind::sign:
    case NodeKind::arithmetic:
    case NodeKind::conversion:
      return operation(expression);
    case NodeKind::call:
      return call(static_cast<const dialect::Call&>(expression));
    case NodeKind::aggregate:
      return aggregate(static_cast<const dialect::Aggregate&>(expression));
    case NodeKind::date_call:
      return date_call(static_cast<const dialect::DateCall&>(expression));
    case NodeKind::cast:
      return cast(static_cast<const dialect::Cast&>(expression));
    case NodeKind::case_value:
      return case_value(static_cast<const dialect::CaseValue&>(expression));
    case NodeKind::subselect:
      text("(");
      query(*static_cast<const dialect::Subselect&>(expression).query);
      return text(")");
    case NodeKind::comparison:
      return comparison(static_cast<const dialect::Comparison&>(expression));
    case NodeKind::is_null: {
      const auto& is_null = static_cast<const dialect::IsNull&>(expression);
      this->expression(*is_null.operand);
      return text(is_null.negated ? " IS NOT NULL" : " IS NULL");
    }
    case NodeKind::like:
      return like(static_cast<const dialect::Like&>(expression));
    case NodeKind::between:
      return between(static_cast<const dialect::Between&>(expression));
    case NodeKind::in_list:
      return in_list(static_cast<const dialect::InList&>(expression));
    case NodeKind::in_query:
      return in_query(static_cast<const dialect::InQuery&>(expression));
    case NodeKind::exists:
      text("EXISTS (");
      query(*static_cast<const dialect::Exists&>(expression).query);
      return text(")");
    case NodeKind::negation:
      return negation(static_cast<const dialect::Negation&>(expression));
    case NodeKind::junction:
      return junction(static_cast<const dialect::Junction&>(expression));
    case NodeKind::brackets:
      return in_brackets(*static_cast<const dialect::Brackets&>(expression).operand);
    default:
      return;  // no expression
  }
}

void SqlWriter::literal(const dialect::Literal& literal) {
  if (!literal.in_text) return parameter(literal.position, literal.literal->conversion);
  const dialect::Token& token = tree_.lexed.tokens[tree_.lexed.literals[literal.position]];
  text(tree_.lexed.text.substr(token.begin, token.end - token.begin));
}

// The one that is written first.
const dialect::Expression* SqlWriter::first_operand(const dialect::Arithmetic& arithmetic) {
  return arithmetic.meaning == dialect::Arithmetic::Meaning::days_and_date ? arithmetic.right : arithmetic.left;
}

// A chain of operators is as deep on its left side as it is long, so that side is not walked down by recursion.
void SqlWriter::operation(const dialect::Expression& outermost) {
  std::vector<const dialect::Expression*> chain;
  const dialect::Expression* innermost = &outermost;
  for (;;) {
    const dialect::Expression* const current = innermost;
    if (current->kind == NodeKind::arithmetic)
      innermost = first_operand(static_cast<const dialect::Arithmetic&>(*current));
    else if (current->kind == NodeKind::conversion)
      innermost = static_cast<const dialect::TypeConversion*>(current)->operand;
    else if (current->kind == NodeKind::sign)
      innermost = static_cast<const dialect::Sign*>(current)->operand;
    else
      break;
    open(*current);
    chain.push_back(current);
  }
  expression(*innermost);
  for (; !chain.empty(); chain.pop_back()) close(*chain.back());
}

void SqlWriter::open(const dialect::Expression& operation) {
  if (operation.kind == NodeKind::conversion) return text(conversion_text(operation).before);
  if (operation.kind == NodeKind::sign) return text(static_cast<const dialect::Sign&>(operation).negative ? "(-" : "");
  using Meaning = dialect::Arithmetic::Meaning;
  const Meaning meaning = static_cast<const dialect::Arithmetic&>(operation).meaning;
  text(meaning == Meaning::numbers || meaning == Meaning::texts ? "(" : "mercato_add_days(");
}

void SqlWriter::close(const dialect::Expression& operation) {
  if (operation.kind == NodeKind::conversion) return text(conversion_text(operation).behind);
  if (operation.kind == NodeKind::sign) return text(static_cast<const dialect::Sign&>(operation).negative ? ")" : "");
  const auto& arithmetic = static_cast<const dialect::Arithmetic&>(operation);
  switch (arithmetic.meaning) {
    case dialect::Arithmetic::Meaning::numbers:
      text(" ");
      sql_ += arithmetic.operation;
      text(" ");
      break;
    case dialect::Arithmetic::Meaning::texts:
      text(" || ");
      break;
    case dialect::Arithmetic::Meaning::date_and_days:
      text(arithmetic.operation == '+' ? ", " : ", -");
      break;
    case dialect::Arithmetic::Meaning::days_and_date:
      text(", ");
      expression(*arithmetic.left);
      return text(")");
  }
  expression(*arithmetic.right);
  text(")");
}

void SqlWriter::case_value(const dialect::CaseValue& value) {
  text("CASE");
  for (const dialect::CaseValue::Branch& branch : value.branches) {
    text(" WHEN ");
    if (branch.condition->kind == NodeKind::case_match) {
      const auto& match = static_cast<const dialect::CaseMatch&>(*branch.condition);
      expression(*match.subject);
      if (needs_collation(*match.subject, match.compared_as)) text(" COLLATE MERCATO");
      text(" = ");
      expression(*match.value);
    } else {
      expression(static_cast<const dialect::Expression&>(*branch.condition));
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

void SqlWriter::comparison(const dialect::Comparison& comparison) {
  static constexpr std::string_view kOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
  // The left operand's collation counts, then the right one's.
  if (comparison.right->form == dialect::Expression::Form::column)
    expression(*comparison.left);
  else
    collated(*comparison.left);
  text(kOperators[static_cast<std::size_t>(comparison.operation)]);
  expression(*comparison.right);
}

// A range of the index holds what begins with the pattern's prefix, in any case; the pattern decides.
void SqlWriter::like(const dialect::Like& like) {
  if (!like.is_range) {
    if (like.negated) text("NOT ");
    return like_call(like);
  }
  text("(");
  expression(*like.operand);
  text(" >= mercato_like_from(");
  expression(*like.pattern);
  text(") AND ");
  expression(*like.operand);
  text(" < mercato_like_to(");
  expression(*like.pattern);
  text(") AND ");
  like_call(like);
  text(")");
}

void SqlWriter::like_call(const dialect::Like& like) {
  text("mercato_like(");
  expression(*like.pattern);
  text(", ");
  expression(*like.operand);
  if (like.escape != nullptr) {
    text(", ");
    expression(*like.escape);
  }
  text(")");
}

void SqlWriter::between(const dialect::Between& between) {
  collated(*between.operand);
  text(between.negated ? " NOT BETWEEN " : " BETWEEN ");
  expression(*between.low);
  text(" AND ");
  expression(*between.high);
}

void SqlWriter::in_list(const dialect::InList& in) {
  collated(*in.operands.front());
  text(in.negated ? " NOT IN (" : " IN (");
  arguments(in.operands.subspan(1));
  text(")");
}

void SqlWriter::in_query(const dialect::InQuery& in) {
  collated(*in.operand);
  text(in.negated ? " NOT IN (" : " IN (");
  query(*in.query);
  text(")");
}

// Whether the SQL of a condition begins and ends with brackets of its own. That of a list of equalities counts as if it
// did: NOT and AND take it without.
bool SqlWriter::stands_in_brackets(const dialect::Expression& condition) {
  if (condition.kind == NodeKind::brackets) return true;
  if (condition.kind == NodeKind::like) return static_cast<const dialect::Like&>(condition).is_range;
  if (condition.kind != NodeKind::junction) return false;
  const auto& junction = static_cast<const dialect::Junction&>(condition);
  return junction.list != nullptr && stands_in_brackets(*junction.operands.front());
}

void SqlWriter::in_brackets(const dialect::Expression& condition) {
  const bool needs = !stands_in_brackets(condition);
  if (needs) text("(");
  expression(condition);
  if (needs) text(")");
}

void SqlWriter::negation(const dialect::Negation& negation) {
  text("NOT ");
  in_brackets(*negation.operand);
}

void SqlWriter::junction(const dialect::Junction& junction) {
  std::vector<const dialect::Condition*> operands;
  operands.reserve(junction.operands.size());
  for (const dialect::Condition* const operand : junction.operands)
    if (operand->joined_to == nullptr) operands.push_back(operand);
  chain(operands, junction.is_or ? " OR " : " AND ");
}

// A long chain becomes a balanced tree: SQLite bounds the depth of an expression, and a chain is as deep as it is long.
void SqlWriter::chain(std::span<const dialect::Condition* const> operands, std::string_view operation) {
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

void SqlWriter::equalities(const dialect::Comparison& list) {
  expression(*list.left);
  const char* separator = " IN (";
  for (const dialect::Comparison* each = &list; each != nullptr; each = each->more) {
    text(separator);
    expression(*each->right);
    separator = ", ";
  }
  text(")");
}

}  // namespace mercato::store::sqlite
