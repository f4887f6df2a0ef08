// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/sql_writer.h"

namespace mercato::store::sqlite {
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
    case Function::getdate:
      return "mercato_now()";
    case Function::isnull:
      return "ifnull(#, #)";
    case Function::left:
      return "mercato_substring(#, 1, #)";
    case Function::len:
      return "length(rtrim(#))";
    case Function::lower:
      return "mercato_lower(#)";
    case Function::ltrim:
      return "ltrim(#)";
    case Function::month:
      return "mercato_date_part('month', #)";
    case Function::replace:
      return "mercato_replace(#, #, #)";
    case Function::right:
      return "mercato_right(#, #)";
    case Function::round:
      return "mercato_round(#, #)";
    case Function::rtrim:
      return "rtrim(#)";
    case Function::substring:
      return "mercato_substring(#, #, #)";
    case Function::upper:
      return "mercato_upper(#)";
    case Function::year:
      return "mercato_date_part('year', #)";
    case Function::coalesce:
    case Function::nullif:
    case Function::unknown:
      break;
  }
  return {};
}

}  // namespace

// Money is kept as a whole number of ten thousandths.
SqlWriter::Around SqlWriter::around(const dialect::TypeConversion& conversion) {
  const ColumnType from = conversion.operand->type;
  const bool from_money = from == ColumnType::money;
  const bool from_text = from == ColumnType::text;
  const bool from_real = from == ColumnType::real;
  switch (conversion.type) {
    case ColumnType::text:
      if (from_money) return {"mercato_money_text(", ")"};
      if (from == ColumnType::date) return {"mercato_date_text(", ", 0)"};
      if (from_real) return {"mercato_number_text(", ")"};
      return {"CAST(", " AS TEXT)"};
    case ColumnType::real:
      if (from_money) return {"(", " / 10000.0)"};
      if (from_text) return {"mercato_number(", ")"};
      return {};  // SQLite compares and mixes whole and floating numbers by their values.
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      if (from_money) return {"CAST(round(", " / 10000.0) AS INTEGER)"};
      return {"CAST(", " AS INTEGER)"};
    case ColumnType::money:
      if (from_text) return {"mercato_money(", ")"};
      if (from_real) return {"CAST(round(", " * 10000) AS INTEGER)"};
      return {"(", " * 10000)"};
    case ColumnType::date:
      return {"mercato_date(", ")"};
    case ColumnType::boolean:
      if (from_text) return {"mercato_boolean(", ")"};
      return {"(", " <> 0)"};
    case ColumnType::unknown:
      break;
  }
  return {};
}

void SqlWriter::call(const dialect::Call& call) {
  if (call.function == Function::nullif) {
    text("nullif(");
    collated(*call.arguments[0]);
    text(", ");
    expression(*call.arguments[1]);
    return text(")");
  }
  if (call.function == Function::coalesce) {
    text("coalesce(");
    arguments(call.arguments);
    return text(")");
  }
  // ISNULL(NULL, x) is x.
  if (call.function == Function::isnull && call.arguments[0]->form == dialect::Expression::Form::null)
    return expression(*call.arguments[1]);
  if (call.function == Function::round && call.type == ColumnType::money) {
    text("CAST(round(");
    scalar(call);
    return text(" * 10000) AS INTEGER)");
  }
  if (call.function == Function::round && call.type != ColumnType::real) {
    text("CAST(");
    scalar(call);
    return text(" AS INTEGER)");
  }
  scalar(call);
}

void SqlWriter::scalar(const dialect::Call& call) { filled_in(scalar_sql(call.function), call.arguments); }

void SqlWriter::aggregate(const dialect::Aggregate& aggregate) {
  static constexpr std::string_view kNames[] = {"count", "sum", "min", "max", "avg"};
  if (aggregate.operand == nullptr) return text("count(*)");
  const bool averages = aggregate.function == dialect::AggregateFunction::avg;
  const bool of_money = averages && aggregate.type == ColumnType::money;
  const bool of_whole = averages && aggregate.type == ColumnType::long_integer;
  if (of_money) text("CAST(round(");
  if (of_whole) text("CAST(");
  text(kNames[static_cast<std::size_t>(aggregate.function)]);
  text(aggregate.distinct ? "(DISTINCT " : "(");
  collated(*aggregate.operand);
  text(")");
  if (of_money) text(") AS INTEGER)");
  if (of_whole) text(" AS INTEGER)");
}

}  // namespace mercato::store::sqlite
