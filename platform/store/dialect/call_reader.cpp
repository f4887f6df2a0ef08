// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/keywords.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_reader.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

struct DatePart {
  std::string_view name;
  std::string_view part;
};
constexpr DatePart kDateParts[] = {
    {"year", "year"},
    {"yy", "year"},
    {"yyyy", "year"},
    {"quarter", "quarter"},
    {"qq", "quarter"},
    {"q", "quarter"},
    {"month", "month"},
    {"mm", "month"},
    {"m", "month"},
    {"day", "day"},
    {"dd", "day"},
    {"d", "day"},
    {"dayofyear", "dayofyear"},
    {"dy", "dayofyear"},
    {"y", "dayofyear"},
    {"week", "week"},
    {"wk", "week"},
    {"ww", "week"},
    {"weekday", "weekday"},
    {"dw", "weekday"},
    {"hour", "hour"},
    {"hh", "hour"},
    {"minute", "minute"},
    {"mi", "minute"},
    {"n", "minute"},
    {"second", "second"},
    {"ss", "second"},
    {"s", "second"},
};

struct AggregateName {
  std::string_view name;
  AggregateFunction function;
};
constexpr AggregateName kAggregates[] = {
    {"COUNT", AggregateFunction::count}, {"SUM", AggregateFunction::sum}, {"MIN", AggregateFunction::min},
    {"MAX", AggregateFunction::max},     {"AVG", AggregateFunction::avg},
};

struct DateFunctionName {
  std::string_view name;
  DateFunction function;
};
constexpr DateFunctionName kDateFunctions[] = {
    {"DATEADD", DateFunction::add}, {"DATEDIFF", DateFunction::difference}, {"DATEPART", DateFunction::part}};

constexpr std::string_view kReservedFunctions[] = {"LEFT", "RIGHT", "COALESCE", "CONVERT", "NULLIF"};

}  // namespace

bool StatementReader::at_function() const {
  if (token().kind != TokenKind::word || !at_symbol('(', 1)) return false;
  for (const std::string_view name : kReservedFunctions)
    if (at_word(name)) return true;
  return !is_keyword(token_text());
}

Expression* StatementReader::function_call() {
  const Nesting nesting(*this);
  const std::string_view name = token_text();
  next_ += 2;
  for (const AggregateName& each : kAggregates)
    if (text::equal_names(each.name, name)) return aggregate(each.function);
  if (text::equal_names(name, "CAST")) return cast();
  if (text::equal_names(name, "CONVERT")) return convert();
  for (const DateFunctionName& each : kDateFunctions)
    if (text::equal_names(each.name, name)) return date_call(each.function);
  auto* const call = tree_.make<Call>();
  call->name = name;
  call->arguments = arguments();
  return done(call);
}

std::span<Expression*> StatementReader::arguments() {
  if (accept_symbol(')')) return {};
  const std::size_t begin = lists_.size();
  do lists_.push_back(expect_value());
  while (accept_symbol(','));
  expect_symbol(')');
  return moved_list<Expression>(begin);
}

Expression* StatementReader::aggregate(AggregateFunction function) {
  aggregate_seen_ = true;
  auto* const aggregate = tree_.make<Aggregate>();
  aggregate->function = function;
  if (function == AggregateFunction::count && accept_symbol('*')) {
    expect_symbol(')');
    return done(aggregate);
  }
  aggregate->distinct = accept_word("DISTINCT");
  if (!aggregate->distinct) accept_word("ALL");
  aggregate->operand = expect_value();
  expect_symbol(')');
  return done(aggregate);
}

std::uint32_t StatementReader::whole_number() {
  const std::uint32_t at = next_;
  expect_whole_number();
  return literal_index(at);
}

void StatementReader::cast_type(Cast& cast) {
  if (!at_name()) fail();
  const std::uint32_t at = next_;
  const std::string name = expect_name();
  const auto type = find_type(name);
  if (!type)
    refuse("Type " + name + " is not a defined system type" + place_text(lexed_.text, lexed_.tokens[at].begin));
  cast.to = *type;
  if (type->sized) cast.width = Cast::Width::usual;
  if (!accept_symbol('(')) return;
  if (type->sized && accept_word("MAX")) {
    cast.width = Cast::Width::most;
  } else {
    if (token().kind != TokenKind::number || (!type->sized && type->type != ColumnType::real)) fail();
    const std::uint32_t first = whole_number();
    if (type->sized) {
      cast.width = Cast::Width::given;
      cast.width_literal = first;
    } else {
      cast.precision_literal = first;
    }
    if (cast.is_decimal() && accept_symbol(',')) cast.decimals_literal = whole_number();
  }
  expect_symbol(')');
}

Expression* StatementReader::cast() {
  auto* const cast = tree_.make<Cast>();
  cast->operand = expect_value();
  expect_word("AS");
  cast_type(*cast);
  expect_symbol(')');
  return done(cast);
}

// CONVERT(type, value, style)
Expression* StatementReader::convert() {
  auto* const cast = tree_.make<Cast>();
  cast_type(*cast);
  expect_symbol(',');
  cast->operand = expect_value();
  if (accept_symbol(',')) cast->style_literal = whole_number();
  expect_symbol(')');
  return done(cast);
}

std::string_view StatementReader::date_part() {
  for (const DatePart& candidate : kDateParts)
    if (accept_word(candidate.name)) return candidate.part;
  refuse("'" + std::string(token_text()) + "' is not a recognized datepart" + place_text(lexed_.text, token().begin));
}

Expression* StatementReader::date_call(DateFunction function) {
  auto* const call = tree_.make<DateCall>();
  call->function = function;
  call->part = date_part();
  expect_symbol(',');
  call->arguments = arguments();
  return done(call);
}

}  // namespace mercato::store::dialect
