// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/store/postgres_dialect/postgres_writer.h"
#include "values/text.h"

namespace mercato::store::postgres {

using dialect::NodeKind;
using Form = dialect::Expression::Form;
using Use = Binding::Use;

namespace {

// The engine neither sorts nor groups by a Null of no type.
constexpr std::string_view kSortableNull = "NULL::text";

bool is_whole(ColumnType type) {
  return type == ColumnType::boolean || type == ColumnType::short_integer || type == ColumnType::long_integer;
}

// The engine combines the bits of whole numbers only.
bool is_bitwise_of_fractions(const dialect::Arithmetic& arithmetic) {
  return (arithmetic.operation == '&' || arithmetic.operation == '|') && !is_whole(arithmetic.type);
}

// Whether a query around it gives the column, and another source of that name stands between: the engine looks for a
// qualified column in the nearest source of the name, and for a bare one in the nearest source that has it.
bool is_hidden(const dialect::ColumnName& column) {
  for (const dialect::Scope* scope = column.scope; scope != nullptr; scope = scope->outer)
    for (const dialect::Source* source = scope->first; source != nullptr; source = source->next_in_scope) {
      if (source == column.source) return false;
      if (text::equal_names(source->name, column.source->name)) return true;
    }
  return false;
}

}  // namespace

void SqlWriter::column(const dialect::Expression& column) {
  const bool stands = stands_for_group(column);
  if (stands) text("min(");
  if (is_hidden(static_cast<const dialect::ColumnName&>(column)))
    name(column.column->name);
  else
    qualified(*column.source, column.column->name);
  if (stands) text(")");
}

bool SqlWriter::stands_for_group(const dialect::Expression& column) const {
  if (group_ == nullptr) return false;
  bool is_own = false;
  for (const dialect::Source* source = group_->scope.first; source != nullptr; source = source->next_in_scope)
    is_own = is_own || source == column.source;
  const bool is_group =
      column.type != ColumnType::text && std::ranges::any_of(group_->groups, [&column](const dialect::GroupItem* item) {
        return item->value->form == Form::column && item->value->column == column.column &&
               item->value->source == column.source;
      });
  return is_own && !is_group;
}

// Texts that are compared

void SqlWriter::key(const dialect::Expression& operand) {
  if (operand.is_null()) return text("NULL");
  if (operand.kind == NodeKind::literal && operand.form == Form::literal) {
    const auto& literal = static_cast<const dialect::Literal&>(operand);
    return parameter(Use::key, ValueType::text, {literal.position, literal.conversion});
  }
  text("mercato_key(");
  expression(operand);
  text(")");
}

// Columns have the collation of their own.
void SqlWriter::ordered(const dialect::Expression& operand, ColumnType type) {
  if (operand.is_null()) return text(kSortableNull);
  left_operand(operand, type, false);
}

void SqlWriter::left_operand(const dialect::Expression& operand, ColumnType type, bool other_is_column) {
  if (type != ColumnType::text) return expression(operand);
  key(operand);
  if (!other_is_column && operand.form != Form::column) text(" COLLATE mercato");
}

void SqlWriter::right_operand(const dialect::Expression& operand, ColumnType type) {
  if (type == ColumnType::text)
    key(operand);
  else
    expression(operand);
}

// What rows are grouped by is no value of the group yet.
void SqlWriter::grouped(const dialect::Expression& item) {
  if (item.is_null()) return text(kSortableNull);
  const bool is_text = item.type == ColumnType::text;
  if (is_text) text("mercato_key(");
  expression(item);
  if (is_text) text(")");
}

// Operators

std::string_view SqlWriter::before(const dialect::Arithmetic& arithmetic) {
  using Meaning = dialect::Arithmetic::Meaning;
  if (arithmetic.meaning == Meaning::date_and_days || arithmetic.meaning == Meaning::days_and_date)
    return "mercato_add_days(";
  if (is_bitwise_of_fractions(arithmetic)) return "(trunc(";
  return arithmetic.operation == '%' && arithmetic.type == ColumnType::real ? "mod(trunc((" : "(";
}

// Whole numbers are reckoned in 64 bits; a division by zero is Null.
void SqlWriter::behind(const dialect::Arithmetic& arithmetic) {
  switch (arithmetic.meaning) {
    case dialect::Arithmetic::Meaning::numbers:
      break;
    case dialect::Arithmetic::Meaning::texts:
      text(" || ");
      expression(*arithmetic.right);
      return text(")");
    case dialect::Arithmetic::Meaning::date_and_days:
      text(arithmetic.operation == '+' || arithmetic.right->is_null() ? ", " : ", -");
      expression(*arithmetic.right);
      return text(")");
    case dialect::Arithmetic::Meaning::days_and_date:
      text(", ");
      expression(*arithmetic.left);
      return text(")");
  }
  if (is_bitwise_of_fractions(arithmetic)) {
    text(")::bigint ");
    sql_ += arithmetic.operation;
    text(" trunc(");
    expression(*arithmetic.right);
    return text(")::bigint)");
  }
  const bool divides = arithmetic.operation == '/' || arithmetic.operation == '%';
  if (arithmetic.operation == '%' && arithmetic.type == ColumnType::real) {
    text(")::float8)::numeric, nullif(trunc((");
    expression(*arithmetic.right);
    return text(")::float8)::numeric, 0))::float8");
  }
  if (is_whole(arithmetic.type) && arithmetic.left->kind != NodeKind::literal) text("::bigint");
  text(" ");
  sql_ += arithmetic.operation;
  text(divides ? " nullif(" : " ");
  expression(*arithmetic.right);
  text(divides ? ", 0))" : ")");
}

void SqlWriter::like(const dialect::Like& like) {
  text(like.negated ? "(NOT " : "(");
  if (like.pattern->kind == NodeKind::literal) {
    like_literal(like);
  } else {
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
  text(")");
}

// The engine's own LIKE, which has no sets: where the pattern has one, the pattern itself decides. A range of the index
// holds what begins with the pattern's prefix, in any case. Without one, only texts that have the outline are folded; the
// choice between the two is nothing that the engine estimates, so it takes such a pattern for no rare one.
void SqlWriter::like_literal(const dialect::Like& like) {
  const auto& pattern = static_cast<const dialect::Literal&>(*like.pattern);
  const dialect::Parameter literal{pattern.position, pattern.conversion};
  const std::uint32_t escape =
      like.escape != nullptr ? static_cast<const dialect::Literal&>(*like.escape).position : dialect::kNoLiteral;
  if (like.is_range) {
    text("(");
    key(*like.operand);
    text(" >= ");
    parameter(Use::like_from, ValueType::text, literal);
    text(" AND ");
    key(*like.operand);
    text(" < ");
    parameter(Use::like_to, ValueType::text, literal);
    text(" AND ");
  } else {
    text("CASE WHEN lower(");
    expression(*like.operand);
    text(" COLLATE \"C\") LIKE ");
    parameter(Use::like_outline, ValueType::text, literal, escape);
    text(" THEN ");
  }
  text("mercato_folded(");
  expression(*like.operand);
  text(") LIKE ");
  parameter(Use::like_pattern, ValueType::text, literal, escape);
  text(" AND (");
  parameter(Use::like_exact, ValueType::text, literal, escape);
  text(" IS NULL OR mercato_like(");
  parameter(Use::like_exact, ValueType::text, literal, escape);
  text(", ");
  expression(*like.operand);
  if (like.escape != nullptr) {
    text(", ");
    expression(*like.escape);
  }
  text("))");
  if (like.is_range) return text(")");
  text(" WHEN ");
  expression(*like.operand);
  text(" IS NOT NULL THEN false END");
}

void SqlWriter::in_query(const dialect::InQuery& in) {
  const bool compares_texts = in.operand->type == ColumnType::text;
  left_operand(*in.operand, in.operand->type, false);
  text(in.negated ? " NOT IN (" : " IN (");
  if (compares_texts) text("SELECT mercato_key(c1) FROM (");
  query(*in.query);
  if (compares_texts) text(") AS rows (c1)");
  text(")");
}

}  // namespace mercato::store::postgres
