// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_resolver.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

// A function of fixed arguments: each is converted to its type.
struct Scalar {
  std::string_view name;
  Function function;
  std::array<ColumnType, 3> arguments;  // `unknown` behind the last
  ColumnType type;
};

constexpr ColumnType kNone = ColumnType::unknown;
constexpr ColumnType kText = ColumnType::text;
constexpr ColumnType kLong = ColumnType::long_integer;
constexpr ColumnType kDate = ColumnType::date;

constexpr Scalar kScalars[] = {
    {"GETDATE", Function::getdate, {kNone, kNone, kNone}, kDate},
    {"LEN", Function::len, {kText, kNone, kNone}, kLong},
    {"UPPER", Function::upper, {kText, kNone, kNone}, kText},
    {"LOWER", Function::lower, {kText, kNone, kNone}, kText},
    {"LTRIM", Function::ltrim, {kText, kNone, kNone}, kText},
    {"RTRIM", Function::rtrim, {kText, kNone, kNone}, kText},
    {"LEFT", Function::left, {kText, kLong, kNone}, kText},
    {"RIGHT", Function::right, {kText, kLong, kNone}, kText},
    {"SUBSTRING", Function::substring, {kText, kLong, kLong}, kText},
    {"CHARINDEX", Function::charindex, {kText, kText, kNone}, kLong},
    {"CHARINDEX", Function::charindex_from, {kText, kText, kLong}, kLong},
    {"REPLACE", Function::replace, {kText, kText, kText}, kText},
    {"YEAR", Function::year, {kDate, kNone, kNone}, kLong},
    {"MONTH", Function::month, {kDate, kNone, kNone}, kLong},
    {"DAY", Function::day, {kDate, kNone, kNone}, kLong},
};

std::size_t argument_count(const Scalar& scalar) {
  return static_cast<std::size_t>(std::find(scalar.arguments.begin(), scalar.arguments.end(), kNone) -
                                  scalar.arguments.begin());
}

struct FlexibleFunction {
  std::string_view name;
  Function function;
};

// Those whose answer has the type of an argument.
constexpr FlexibleFunction kFlexibleFunctions[] = {
    {"ISNULL", Function::isnull}, {"NULLIF", Function::nullif}, {"COALESCE", Function::coalesce},
    {"ABS", Function::abs},       {"ROUND", Function::round},
};

}  // namespace

void StatementResolver::refuse_count(std::string_view name) {
  refuse("The function " + text::to_upper(name) + " was called with a wrong number of arguments");
}

void StatementResolver::resolve(Call& call) {
  for (const FlexibleFunction& each : kFlexibleFunctions)
    if (text::equal_names(each.name, call.name)) call.function = each.function;
  const std::span<Expression*> arguments = call.arguments;
  switch (call.function) {
    case Function::isnull:
      if (arguments.size() != 2) refuse_count(call.name);
      // The first argument says of which type the answer is.
      if (arguments[0]->is_null()) return stand_for(call, *arguments[1]);
      arguments[1] = converted(arguments[1], arguments[0]->type);
      call.type = arguments[0]->type;
      return;
    case Function::nullif:
      if (arguments.size() != 2) refuse_count(call.name);
      unify(arguments);
      call.type = arguments[0]->type;
      if (arguments[0]->is_null()) call.form = Expression::Form::null;
      return;
    case Function::coalesce: {
      if (arguments.size() < 2) refuse_count(call.name);
      unify(arguments);
      const auto typed = std::find_if(arguments.begin(), arguments.end(),
                                      [](const Expression* argument) { return argument->type != ColumnType::unknown; });
      if (typed != arguments.end()) call.type = (*typed)->type;
      if (std::all_of(arguments.begin(), arguments.end(), [](const Expression* each) { return each->is_null(); }))
        call.form = Expression::Form::null;
      return;
    }
    case Function::abs:
      if (arguments.size() != 1) refuse_count(call.name);
      if (arguments[0]->type == ColumnType::text) arguments[0] = converted(arguments[0], ColumnType::real);
      call.type = arguments[0]->type;
      if (arguments[0]->is_null()) call.form = Expression::Form::null;
      return;
    case Function::round: {
      if (arguments.size() != 2) refuse_count(call.name);
      const ColumnType type = arguments[0]->type;
      const bool stays =
          type == ColumnType::money || type == ColumnType::short_integer || type == ColumnType::long_integer;
      arguments[1] = converted(arguments[1], ColumnType::long_integer);
      arguments[0] = converted(arguments[0], ColumnType::real);
      call.type = stays ? type : ColumnType::real;
      if (arguments[0]->is_null()) call.form = Expression::Form::null;
      return;
    }
    default:
      return resolve_scalar(call);
  }
}

void StatementResolver::resolve_scalar(Call& call) {
  bool known = false;
  for (const Scalar& scalar : kScalars) {
    if (!text::equal_names(scalar.name, call.name)) continue;
    known = true;
    if (argument_count(scalar) != call.arguments.size()) continue;
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
      call.arguments[i] = converted(call.arguments[i], scalar.arguments[i]);
    call.function = scalar.function;
    call.type = scalar.type;
    return;
  }
  if (known) refuse_count(call.name);
  refuse("'" + std::string(call.name) + "' is not a recognized built-in function name");
}

void StatementResolver::resolve(Aggregate& aggregate) const {
  if (aggregate.function == AggregateFunction::count) {
    aggregate.type = ColumnType::long_integer;
    return;
  }
  const ColumnType type = aggregate.operand->type;
  if (aggregate.function == AggregateFunction::min || aggregate.function == AggregateFunction::max) {
    aggregate.type = type;
    return;
  }
  const bool sums = aggregate.function == AggregateFunction::sum;
  if (type == ColumnType::text || type == ColumnType::date)
    refuse("Operand data type " + std::string(type == ColumnType::text ? "nvarchar" : "datetime") + " is invalid for " +
           (sums ? "sum" : "avg") + " operator");
  const bool becomes_long = type == ColumnType::boolean || (!sums && is_whole(type));
  aggregate.type = becomes_long ? ColumnType::long_integer : type;
}

void StatementResolver::resolve(Cast& cast) {
  const ColumnType type = cast.to.type;
  if (cast.style_literal != kNoLiteral) {
    // The style matters between dates and texts.
    const bool writes = cast.operand->type == ColumnType::date && type == ColumnType::text;
    const bool reads = cast.operand->type == ColumnType::text && type == ColumnType::date;
    if (writes) cast.styled = Cast::Styled::writes_date;
    if (reads) cast.styled = Cast::Styled::reads_date;
  }
  if (cast.styled == Cast::Styled::no && !cast.operand->is_null()) cast.operand = converted(cast.operand, type);
  cast.type = type;
}

void StatementResolver::resolve(DateCall& call) {
  static constexpr std::string_view kNames[] = {"DATEADD", "DATEDIFF", "DATEPART"};
  const std::span<Expression*> arguments = call.arguments;
  if (arguments.size() != (call.function == DateFunction::part ? 1u : 2u))
    refuse_count(kNames[static_cast<std::size_t>(call.function)]);
  arguments.back() = converted(arguments.back(), ColumnType::date);
  call.type = call.function == DateFunction::add ? ColumnType::date : ColumnType::long_integer;
  if (call.function == DateFunction::part) return;
  const bool adds = call.function == DateFunction::add;
  arguments.front() = converted(arguments.front(), adds ? ColumnType::long_integer : ColumnType::date);
}

}  // namespace mercato::store::dialect
