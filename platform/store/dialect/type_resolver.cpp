// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_resolver.h"

namespace mercato::store::dialect {
namespace {

// The server's order: of two types the other one is converted to the higher.
int precedence(ColumnType type) {
  switch (type) {
    case ColumnType::unknown:
      return 0;
    case ColumnType::text:
      return 1;
    case ColumnType::boolean:
      return 2;
    case ColumnType::short_integer:
      return 3;
    case ColumnType::long_integer:
      return 4;
    case ColumnType::money:
      return 5;
    case ColumnType::real:
      return 6;
    case ColumnType::date:
      return 7;
  }
  return 0;
}

[[noreturn]] void refuse_conversion(const char* from, const char* to) {
  refuse("Implicit conversion from data type " + std::string(from) + " to " + to + " is not allowed");
}

}  // namespace

ColumnType StatementResolver::common_type(ColumnType left, bool left_is_literal, ColumnType right,
                                          bool right_is_literal) {
  const bool higher_left = precedence(left) >= precedence(right);
  const ColumnType higher = higher_left ? left : right;
  const ColumnType lower = higher_left ? right : left;
  // Decimals of a literal are exact, so an amount of money need not become a floating number for it.
  if (higher == ColumnType::real && lower == ColumnType::money && (higher_left ? left_is_literal : right_is_literal))
    return ColumnType::money;
  // A text reads as the number that it is, with decimals or without.
  if (is_whole(higher) && lower == ColumnType::text && higher != ColumnType::boolean) return ColumnType::real;
  return higher;
}

ColumnType StatementResolver::common_type(const Expression& left, const Expression& right) {
  return common_type(left.type, left.is_literal(), right.type, right.is_literal());
}

void StatementResolver::unify(Expression*& left, Expression*& right) {
  const ColumnType type = common_type(*left, *right);
  left = converted(left, type);
  right = converted(right, type);
}

ColumnType StatementResolver::unify(std::span<Expression*> operands) {
  ColumnType type = ColumnType::unknown;
  bool all_literals = true;  // so far
  for (const Expression* const operand : operands) {
    type = common_type(type, all_literals, operand->type, operand->is_literal());
    all_literals = all_literals && operand->is_literal();
  }
  for (Expression*& operand : operands) operand = converted(operand, type);
  return type;
}

Expression* StatementResolver::converted(Expression* operand, ColumnType type) {
  if (operand->type == type || operand->is_null() || operand->type == ColumnType::unknown) return operand;
  switch (type) {
    case ColumnType::unknown:
      return operand;
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      return to_whole_number(operand);
    case ColumnType::boolean:
      return to_boolean(operand);
    case ColumnType::real:
      return to_real(operand);
    case ColumnType::money:
      return to_money(operand);
    case ColumnType::date:
      return to_date(operand);
    case ColumnType::text:
      return to_text(operand);
  }
  return operand;
}

Expression* StatementResolver::conversion(Expression* operand, ColumnType type) {
  auto* const conversion = tree_.make<TypeConversion>();
  conversion->operand = operand;
  conversion->type = type;
  return conversion;
}

// A literal is told what to be bound as.
Expression* StatementResolver::bound(Expression* literal, Conversion conversion, ColumnType type) {
  literal->literal->conversion = conversion;
  literal->type = type;
  return literal;
}

Expression* StatementResolver::to_text(Expression* operand) {
  const bool is_written_number = operand->form == Expression::Form::literal && operand->type != ColumnType::money &&
                                 operand->type != ColumnType::date;
  return is_written_number ? bound(operand, Conversion::text, ColumnType::text) : conversion(operand, ColumnType::text);
}

Expression* StatementResolver::to_real(Expression* operand) {
  if (operand->type == ColumnType::date) refuse_conversion("datetime", "float");
  if (operand->is_text_literal()) return bound(operand, Conversion::number, ColumnType::real);
  if (operand->is_literal() && is_whole(operand->type)) {
    operand->type = ColumnType::real;
    return operand;
  }
  Expression* const result = conversion(operand, ColumnType::real);
  // A whole number stays what it is: a column by itself does.
  if (is_whole(operand->type)) {
    result->form = operand->form;
    result->column = operand->column;
    result->source = operand->source;
  }
  return result;
}

Expression* StatementResolver::to_whole_number(Expression* operand) {
  if (is_whole(operand->type)) return operand;
  if (operand->type != ColumnType::money && operand->type != ColumnType::real) operand = to_real(operand);
  return conversion(operand, ColumnType::long_integer);
}

Expression* StatementResolver::to_money(Expression* operand) {
  if (operand->type == ColumnType::date) refuse_conversion("datetime", "money");
  if (operand->is_literal()) return bound(operand, Conversion::money, ColumnType::money);
  return conversion(operand, ColumnType::money);
}

Expression* StatementResolver::to_date(Expression* operand) {
  if (operand->is_text_literal()) return bound(operand, Conversion::date, ColumnType::date);
  if (operand->type == ColumnType::money) operand = to_real(operand);
  return conversion(operand, ColumnType::date);
}

Expression* StatementResolver::to_boolean(Expression* operand) {
  if (operand->type == ColumnType::date) refuse_conversion("datetime", "bit");
  if (operand->form == Expression::Form::literal) return bound(operand, Conversion::boolean, ColumnType::boolean);
  return conversion(operand, ColumnType::boolean);
}

Expression* StatementResolver::stored(Expression* operand, const Column& target, std::uint32_t followed_by) {
  if (is_condition(*operand)) refuse_syntax(tree_.lexed, followed_by);
  return converted(operand, target.type);
}

}  // namespace mercato::store::dialect
