// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/sql_writer.h"

namespace mercato::store::sqlite {
namespace {

bool needs_collation(const dialect::Expression& operand, ColumnType type) {
  return type == ColumnType::text && operand.form != dialect::Expression::Form::column;
}

}  // namespace

void SqlWriter::collated(const dialect::Expression& operand) { left_operand(operand, operand.type, false); }

// The left operand's collation counts, then the right one's.
void SqlWriter::left_operand(const dialect::Expression& operand, ColumnType type, bool other_is_column) {
  expression(operand);
  if (!other_is_column && needs_collation(operand, type)) text(" COLLATE MERCATO");
}

std::string_view SqlWriter::before(const dialect::Arithmetic& arithmetic) {
  using Meaning = dialect::Arithmetic::Meaning;
  const bool on_dates = arithmetic.meaning == Meaning::date_and_days || arithmetic.meaning == Meaning::days_and_date;
  return on_dates ? "mercato_add_days(" : "(";
}

void SqlWriter::behind(const dialect::Arithmetic& arithmetic) {
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

void SqlWriter::in_query(const dialect::InQuery& in) {
  collated(*in.operand);
  text(in.negated ? " NOT IN (" : " IN (");
  query(*in.query);
  text(")");
}

}  // namespace mercato::store::sqlite
