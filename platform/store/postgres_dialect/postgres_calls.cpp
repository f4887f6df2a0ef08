// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "platform/store/postgres_dialect/postgres_writer.h"

namespace mercato::store::postgres {
namespace {

using dialect::Function;

// The SQL of a function, each argument in place of its #.
std::string_view scalar_sql(Function function) {
  switch (function) {
    case Function::abs:
      return "abs(#)";
    case Function::charindex:
      return "mercato_charindex(#, #, 1)";
    case Function::charindex_from:
      return "mercato_charindex(#, #, #)";
    case Function::day:
      return "mercato_date_part('day', #)";
    case Function::isnull:
      return "coalesce(#, #)";
    case Function::left:
      return "mercato_substring(#, 1, #)";
    case Function::len:
      return "char_length(rtrim(#, ' '))";
    case Function::lower:
      return "mercato_lower(#)";
    case Function::ltrim:
      return "ltrim(#, ' ')";
    case Function::month:
      return "mercato_date_part('month', #)";
    case Function::nullif:
      return "nullif(#, #)";
    case Function::replace:
      return "mercato_replace(#, #, #)";
    case Function::right:
      return "mercato_right(#, #)";
    case Function::round:
      return "mercato_round(#, #)";
    case Function::rtrim:
      return "rtrim(#, ' ')";
    case Function::substring:
      return "mercato_substring(#, #, #)";
    case Function::upper:
      return "mercato_upper(#)";
    case Function::year:
      return "mercato_date_part('year', #)";
    case Function::coalesce:
    case Function::getdate:
    case Function::unknown:
      break;
  }
  return {};
}

std::string_view type_name(ColumnType type) {
  switch (type) {
    case ColumnType::boolean:
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      return "bigint";
    case ColumnType::real:
      return "float8";
    case ColumnType::money:
      return "numeric";
    case ColumnType::date:
      return "timestamp";
    case ColumnType::text:
    case ColumnType::unknown:
      break;
  }
  return "text";
}

}  // namespace

SqlWriter::Around SqlWriter::around(const dialect::TypeConversion& conversion) {
  const ColumnType from = conversion.operand->type;
  switch (conversion.type) {
    case ColumnType::text:
      if (from == ColumnType::money) return {"mercato_money_text(", ")"};
      if (from == ColumnType::date) return {"mercato_date_text(", ", 0)"};
      if (from == ColumnType::real) return {"mercato_number_text(", ")"};
      return {"CAST(", " AS text)"};
    case ColumnType::real:
      if (from == ColumnType::money) return {"CAST(", " AS float8)"};
      if (from == ColumnType::text) return {"mercato_number(", ")"};
      return {};  // The engine compares and mixes whole and floating numbers by their values.
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      if (from == ColumnType::money) return {"CAST(round(", ") AS bigint)"};
      return {"CAST(trunc(", ") AS bigint)"};
    case ColumnType::money:
      if (from == ColumnType::text) return {"mercato_money(", ")"};
      if (from == ColumnType::real) return {"round(CAST(", " AS numeric), 4)"};
      return {"CAST(", " AS numeric)"};
    case ColumnType::date:
      if (from == ColumnType::text) return {"mercato_date(", ")"};
      return {"mercato_date(CAST(", " AS float8))"};
    case ColumnType::boolean:
      if (from == ColumnType::text) return {"mercato_boolean(", ")"};
      return {"CAST(", " <> 0 AS integer)"};
    case ColumnType::unknown:
      break;
  }
  return {};
}

void SqlWriter::call(const dialect::Call& call) {
  switch (call.function) {
    case Function::getdate:
      return parameter(Binding::Use::now, ValueType::date, {});
    case Function::coalesce:
      text("coalesce(");
      arguments(call.arguments);
      return text(")");
    case Function::nullif:
      if (call.type != ColumnType::text) return scalar(call);
      text("CASE WHEN ");
      left_operand(*call.arguments[0], ColumnType::text, false);
      text(" = ");
      right_operand(*call.arguments[1], ColumnType::text);
      text(" THEN NULL ELSE ");
      expression(*call.arguments[0]);
      return text(" END");
    case Function::isnull:
      // ISNULL(NULL, x) is x.
      if (call.arguments[0]->is_null()) return expression(*call.arguments[1]);
      return scalar(call);
    case Function::round:
      if (call.type == ColumnType::money) {
        text("round(CAST(");
        scalar(call);
        return text(" AS numeric), 4)");
      }
      if (call.type != ColumnType::real) {
        text("CAST(trunc(");
        scalar(call);
        return text(") AS bigint)");
      }
      return scalar(call);
    default:
      return scalar(call);
  }
}

void SqlWriter::scalar(const dialect::Call& call) { filled_in(scalar_sql(call.function), call.arguments); }

// What an aggregate is over is each row's own, not its group's.
void SqlWriter::aggregate(const dialect::Aggregate& aggregate) {
  static constexpr std::string_view kNames[] = {"count", "sum", "min", "max", "avg"};
  if (aggregate.operand == nullptr) return text("count(*)");
  const dialect::Select* const group = std::exchange(group_, nullptr);
  const bool averages = aggregate.function == dialect::AggregateFunction::avg;
  const bool of_money = averages && aggregate.type == ColumnType::money;
  const bool of_whole = averages && aggregate.type == ColumnType::long_integer;
  if (of_money) text("round(");
  if (of_whole) text("CAST(trunc(");
  text(kNames[static_cast<std::size_t>(aggregate.function)]);
  text(aggregate.distinct ? "(DISTINCT " : "(");
  if (aggregate.function == dialect::AggregateFunction::count && aggregate.distinct)
    grouped(*aggregate.operand);
  else
    expression(*aggregate.operand);
  // There is a sum of each type.
  if (aggregate.operand->is_null()) text("::integer");
  text(")");
  if (of_money) text(", 4)");
  if (of_whole) text(") AS bigint)");
  group_ = group;
}

void SqlWriter::cast(const dialect::Cast& cast) {
  if (!cast.operand->is_null()) return SqlPrinter::cast(cast);
  text("CAST(NULL AS ");
  text(type_name(cast.type));
  text(")");
}

void SqlWriter::cast_size(std::uint32_t literal) {
  text("CAST(");
  size(literal);
  text(" AS integer)");
}

}  // namespace mercato::store::postgres
