// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_resolver.h"

namespace mercato::store::dialect {
namespace {

[[noreturn]] void refuse_date_operator(char operation) {
  refuse("Operand data type datetime is invalid for the operator '" + std::string(1, operation) + "'");
}

void refuse_unless_one_column(const Query& query) {
  if (query.first().items.size() != 1)
    refuse("Only one expression can be specified in the select list when the subquery is not introduced with EXISTS");
}

}  // namespace

void StatementResolver::resolve(Sign& sign) {
  if (sign.operand->type == ColumnType::text) sign.operand = converted(sign.operand, ColumnType::real);
  if (sign.operand->type == ColumnType::date) refuse("Operand data type datetime is invalid for minus operator");
  if (!sign.negative) return stand_for(sign, *sign.operand);
  sign.type = sign.operand->type;
  if (sign.operand->is_null()) sign.form = Expression::Form::null;
  if (sign.operand->form != Expression::Form::literal) return;
  sign.form = Expression::Form::signed_literal;
  sign.literal = sign.operand->literal;
}

// Money is kept exactly, so what it is mixed with decides whether the result is money.
void StatementResolver::resolve(Arithmetic& arithmetic) {
  Expression*& left = arithmetic.left;
  Expression*& right = arithmetic.right;
  const char operation = arithmetic.operation;
  if (left->is_null() && right->is_null()) arithmetic.form = Expression::Form::null;
  const auto may_be_text = [](const Expression& operand) {
    return operand.type == ColumnType::text || operand.type == ColumnType::unknown;
  };
  if (operation == '+' && may_be_text(*left) && may_be_text(*right) &&
      (left->type == ColumnType::text || right->type == ColumnType::text)) {
    arithmetic.meaning = Arithmetic::Meaning::texts;
    arithmetic.type = ColumnType::text;
    return;
  }
  if (left->type == ColumnType::date || right->type == ColumnType::date) return resolve_date_arithmetic(arithmetic);
  if (left->type == ColumnType::text) left = converted(left, ColumnType::real);
  if (right->type == ColumnType::text) right = converted(right, ColumnType::real);
  if (left->type != ColumnType::money && right->type != ColumnType::money) {
    const ColumnType type = common_type(*left, *right);
    arithmetic.type = type == ColumnType::boolean ? ColumnType::long_integer : type;
  } else if (operation == '+' || operation == '-' || operation == '%') {
    unify(left, right);
    arithmetic.type = left->is_null() ? right->type : left->type;
  } else if (operation == '*' && (is_whole(left->type) || is_whole(right->type))) {
    arithmetic.type = ColumnType::money;
  } else {
    left = converted(left, ColumnType::real);
    right = converted(right, ColumnType::real);
    arithmetic.type = ColumnType::real;
  }
}

void StatementResolver::resolve_date_arithmetic(Arithmetic& arithmetic) {
  const bool adds = arithmetic.operation == '+';
  if (!adds && arithmetic.operation != '-') refuse_date_operator(arithmetic.operation);
  const bool date_is_right = arithmetic.right->type == ColumnType::date;
  if (date_is_right && (!adds || arithmetic.left->type == ColumnType::date))
    refuse("Two dates cannot be added or subtracted. Use DATEDIFF");
  Expression*& days = date_is_right ? arithmetic.left : arithmetic.right;
  days = converted(days, ColumnType::real);
  arithmetic.meaning = date_is_right ? Arithmetic::Meaning::days_and_date : Arithmetic::Meaning::date_and_days;
  arithmetic.type = ColumnType::date;
}

void StatementResolver::resolve(CaseMatch& match) {
  // The subject is compared with each value anew, perhaps as another type.
  Expression& subject = *match.subject;
  const ColumnType type = subject.type;
  unify(match.subject, match.value);
  match.compared_as = match.subject->type;
  subject.type = type;
}

void StatementResolver::resolve(CaseValue& value) {
  std::vector<Expression*> results;
  for (const CaseValue::Branch& branch : value.branches) results.push_back(branch.result);
  if (value.otherwise != nullptr) results.push_back(value.otherwise);
  unify(results);
  for (std::size_t i = 0; i < value.branches.size(); ++i) value.branches[i].result = results[i];
  if (value.otherwise != nullptr) value.otherwise = results.back();
  const auto has_value = [](const Expression* result) { return !result->is_null(); };
  const auto typed = std::find_if(results.begin(), results.end(), has_value);
  if (typed == results.end())
    value.form = Expression::Form::null;
  else
    value.type = (*typed)->type;
}

void StatementResolver::resolve(Subselect& subselect) const {
  refuse_unless_one_column(*subselect.query);
  subselect.type = subselect.query->first().items.front().value->type;
}

void StatementResolver::resolve(Comparison& comparison) {
  unify(comparison.left, comparison.right);
  if (comparison.operation != ComparisonOperator::equal || comparison.left->form != Expression::Form::column ||
      !comparison.with_plain_value)
    return;
  comparison.list = comparison.last = &comparison;
}

// A = 1 OR A = 2 is A IN (1, 2), which engines plan in proportion to its length.
void StatementResolver::join_list(Condition& operand) {
  Condition* const before = operand.or_before;
  if (before == nullptr || before->list == nullptr || operand.list == nullptr) return;
  Comparison& list = *before->list;
  const Expression& column = *list.left;
  const Expression& other = *operand.list->left;
  if (column.column != other.column || column.source != other.source) return;
  list.last->more = operand.list;
  list.last = operand.list->last;
  operand.list = &list;
  operand.joined_to = before->joined_to != nullptr ? before->joined_to : before;
  operand.joined_to->has_joined = true;
  listed_terms_ += 2;
}

void StatementResolver::resolve(Junction& junction) const {
  if (!junction.is_or) return;
  for (std::size_t i = 1; i < junction.operands.size(); ++i)
    if (junction.operands[i]->joined_to == nullptr) return;
  junction.list = junction.operands.front()->list;
}

void StatementResolver::resolve(Like& like) {
  const bool is_column = like.operand->form == Expression::Form::column && like.operand->type == ColumnType::text;
  like.pattern = converted(like.pattern, ColumnType::text);
  like.operand = converted(like.operand, ColumnType::text);
  if (like.escape != nullptr) {
    if (!like.escape->is_text_literal()) refuse_syntax(tree_.lexed, like.followed_by);
    return;
  }
  like.is_range = like.has_prefix && is_column && !like.negated && like.pattern->is_text_literal();
}

void StatementResolver::resolve(Between& between) {
  Expression* operands[] = {between.operand, between.low, between.high};
  unify(operands);
  between.operand = operands[0];
  between.low = operands[1];
  between.high = operands[2];
}

void StatementResolver::resolve(InList& in) { unify(in.operands); }

void StatementResolver::resolve(InQuery& in) {
  refuse_unless_one_column(*in.query);
  const ColumnType type =
      common_type(in.operand->type, in.operand->is_literal(), in.query->first().items.front().type, false);
  in.operand = converted(in.operand, type);
  convert_query(*in.query, type);
}

}  // namespace mercato::store::dialect
