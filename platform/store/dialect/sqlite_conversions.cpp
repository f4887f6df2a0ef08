#include <algorithm>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sqlite_translator.h"
#include "values/raised_error.h"

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

Expression make_value(std::string sql, ColumnType type) {
  Expression expression;
  expression.sql = std::move(sql);
  expression.type = type;
  return expression;
}

std::string SqliteTranslator::new_parameter(std::uint32_t token) {
  result_.parameters.push_back({literal_index(token)});
  return "?" + std::to_string(result_.parameters.size());
}

void SqliteTranslator::set_conversion(const Expression& literal, Conversion conversion) {
  result_.parameters[literal.parameter - 1].conversion = conversion;
}

ColumnType SqliteTranslator::common_type(const Expression& left, const Expression& right) {
  const bool higher_left = precedence(left.type) >= precedence(right.type);
  const Expression& higher = higher_left ? left : right;
  const Expression& lower = higher_left ? right : left;
  // Decimals of a literal are exact, so an amount of money need not become a floating number for it.
  if (higher.type == ColumnType::real && lower.type == ColumnType::money && higher.is_literal())
    return ColumnType::money;
  // A text reads as the number that it is, with decimals or without.
  if (is_whole(higher.type) && lower.type == ColumnType::text && higher.type != ColumnType::boolean)
    return ColumnType::real;
  return higher.type;
}

void SqliteTranslator::unify(Expression& left, Expression& right) {
  const ColumnType type = common_type(left, right);
  left = converted(std::move(left), type);
  right = converted(std::move(right), type);
}

void SqliteTranslator::unify(std::vector<Expression>& operands) {
  Expression common;  // of the operands so far, a literal when all of them are
  common.form = Expression::Form::literal;
  for (const Expression& operand : operands) {
    common.type = common_type(common, operand);
    if (!operand.is_literal()) common.form = Expression::Form::value;
  }
  for (Expression& operand : operands) operand = converted(std::move(operand), common.type);
}

std::string SqliteTranslator::collated(const Expression& operand) {
  const bool needs = operand.type == ColumnType::text && operand.form != Expression::Form::column;
  return needs ? operand.sql + " COLLATE MERCATO" : operand.sql;
}

Expression SqliteTranslator::converted(Expression operand, ColumnType type) {
  if (operand.type == type || operand.form == Expression::Form::null || operand.type == ColumnType::unknown)
    return operand;
  switch (type) {
    case ColumnType::unknown:
      return operand;
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      return to_whole_number(std::move(operand));
    case ColumnType::boolean:
      return to_boolean(std::move(operand));
    case ColumnType::real:
      return to_real(std::move(operand));
    case ColumnType::money:
      return to_money(std::move(operand));
    case ColumnType::date:
      return to_date(std::move(operand));
    case ColumnType::text:
      return to_text(std::move(operand));
  }
  return operand;
}

Expression SqliteTranslator::to_text(Expression operand) {
  switch (operand.type) {
    case ColumnType::money:
      return make_value("mercato_money_text(" + operand.sql + ")", ColumnType::text);
    case ColumnType::date:
      return make_value("mercato_date_text(" + operand.sql + ", 0)", ColumnType::text);
    case ColumnType::real:
      if (operand.form != Expression::Form::literal)
        return make_value("mercato_number_text(" + operand.sql + ")", ColumnType::text);
      break;
    default:
      if (operand.form != Expression::Form::literal)
        return make_value("CAST(" + operand.sql + " AS TEXT)", ColumnType::text);
  }
  set_conversion(operand, Conversion::text);
  operand.type = ColumnType::text;
  return operand;
}

Expression SqliteTranslator::to_real(Expression operand) {
  if (operand.type == ColumnType::date) refuse_conversion("datetime", "float");
  if (operand.type == ColumnType::money) return make_value("(" + operand.sql + " / 10000.0)", ColumnType::real);
  if (operand.is_text_literal())
    set_conversion(operand, Conversion::number);
  else if (operand.type == ColumnType::text)
    return make_value("mercato_number(" + operand.sql + ")", ColumnType::real);
  // SQLite compares and mixes whole and floating numbers by their values.
  operand.type = ColumnType::real;
  return operand;
}

Expression SqliteTranslator::to_whole_number(Expression operand) {
  if (is_whole(operand.type)) return operand;
  if (operand.type == ColumnType::money)
    return make_value("CAST(round(" + operand.sql + " / 10000.0) AS INTEGER)", ColumnType::long_integer);
  operand = to_real(std::move(operand));
  return make_value("CAST(" + operand.sql + " AS INTEGER)", ColumnType::long_integer);
}

Expression SqliteTranslator::to_money(Expression operand) {
  if (operand.type == ColumnType::date) refuse_conversion("datetime", "money");
  if (operand.is_literal()) {
    set_conversion(operand, Conversion::money);
    operand.type = ColumnType::money;
    return operand;
  }
  if (operand.type == ColumnType::text) return make_value("mercato_money(" + operand.sql + ")", ColumnType::money);
  if (is_whole(operand.type)) return make_value("(" + operand.sql + " * 10000)", ColumnType::money);
  return make_value("CAST(round(" + operand.sql + " * 10000) AS INTEGER)", ColumnType::money);
}

Expression SqliteTranslator::to_date(Expression operand) {
  if (operand.is_text_literal()) {
    set_conversion(operand, Conversion::date);
    operand.type = ColumnType::date;
    return operand;
  }
  if (operand.type == ColumnType::money) operand = to_real(std::move(operand));
  return make_value("mercato_date(" + operand.sql + ")", ColumnType::date);
}

Expression SqliteTranslator::to_boolean(Expression operand) {
  if (operand.type == ColumnType::date) refuse_conversion("datetime", "bit");
  if (operand.form == Expression::Form::literal) {
    set_conversion(operand, Conversion::boolean);
    operand.type = ColumnType::boolean;
    return operand;
  }
  if (operand.type == ColumnType::text) return make_value("mercato_boolean(" + operand.sql + ")", ColumnType::boolean);
  return make_value("(" + operand.sql + " <> 0)", ColumnType::boolean);
}

Expression SqliteTranslator::stored(Expression operand, const Column& target) {
  if (operand.form == Expression::Form::condition) fail();
  return converted(std::move(operand), target.type);
}

}  // namespace mercato::store::dialect
