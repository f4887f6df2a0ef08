#include <array>

#include "platform/store/dialect/declared_type.h"
#include "platform/store/dialect/keywords.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sqlite_translator.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

// A function of fixed arguments: each is converted to its type and put in place of its #.
struct Scalar {
  std::string_view name;
  std::string_view sql;
  std::array<ColumnType, 3> arguments;  // `unknown` behind the last
  ColumnType type;
};

constexpr ColumnType kNone = ColumnType::unknown;
constexpr ColumnType kText = ColumnType::text;
constexpr ColumnType kLong = ColumnType::long_integer;
constexpr ColumnType kDate = ColumnType::date;

constexpr Scalar kScalars[] = {
    {"GETDATE", "mercato_now()", {kNone, kNone, kNone}, kDate},
    {"LEN", "length(rtrim(#))", {kText, kNone, kNone}, kLong},
    {"UPPER", "mercato_upper(#)", {kText, kNone, kNone}, kText},
    {"LOWER", "mercato_lower(#)", {kText, kNone, kNone}, kText},
    {"LTRIM", "ltrim(#)", {kText, kNone, kNone}, kText},
    {"RTRIM", "rtrim(#)", {kText, kNone, kNone}, kText},
    {"LEFT", "mercato_substring(#, 1, #)", {kText, kLong, kNone}, kText},
    {"RIGHT", "mercato_right(#, #)", {kText, kLong, kNone}, kText},
    {"SUBSTRING", "mercato_substring(#, #, #)", {kText, kLong, kLong}, kText},
    {"CHARINDEX", "mercato_charindex(#, #, 1)", {kText, kText, kNone}, kLong},
    {"CHARINDEX", "mercato_charindex(#, #, #)", {kText, kText, kLong}, kLong},
    {"REPLACE", "mercato_replace(#, #, #)", {kText, kText, kText}, kText},
    {"YEAR", "mercato_date_part('year', #)", {kDate, kNone, kNone}, kLong},
    {"MONTH", "mercato_date_part('month', #)", {kDate, kNone, kNone}, kLong},
    {"DAY", "mercato_date_part('day', #)", {kDate, kNone, kNone}, kLong},
};

std::size_t argument_count(const Scalar& scalar) {
  std::size_t count = 0;
  while (count < scalar.arguments.size() && scalar.arguments[count] != kNone) ++count;
  return count;
}

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

constexpr std::string_view kReservedFunctions[] = {"LEFT", "RIGHT", "COALESCE", "CONVERT", "NULLIF"};

[[noreturn]] void refuse_count(const std::string& name) {
  refuse("The function " + name + " was called with a wrong number of arguments");
}

}  // namespace

bool SqliteTranslator::at_function() const {
  if (token().kind != TokenKind::word || !at_symbol('(', 1)) return false;
  for (const std::string_view name : kReservedFunctions)
    if (at_word(name)) return true;
  return !is_keyword(token_text());
}

std::vector<Expression> SqliteTranslator::arguments(const Scope& scope) {
  std::vector<Expression> operands;
  if (accept_symbol(')')) return operands;
  do {
    operands.push_back(value(scope));
    if (operands.back().form == Expression::Form::condition) fail();
  } while (accept_symbol(','));
  expect_symbol(')');
  return operands;
}

Expression SqliteTranslator::function_call(const Scope& scope) {
  const Nesting nesting(*this);
  const std::string name = text::to_upper(token_text());
  const std::uint32_t at = next_;
  next_ += 2;
  if (name == "COUNT" || name == "SUM" || name == "MIN" || name == "MAX" || name == "AVG")
    return aggregate(scope, name);
  if (name == "CAST") return cast(scope);
  if (name == "CONVERT") return convert(scope);
  if (name == "DATEADD" || name == "DATEDIFF" || name == "DATEPART") return date_function(scope, name);

  std::vector<Expression> operands = arguments(scope);
  if (name == "ISNULL" || name == "NULLIF") {
    if (operands.size() != 2) refuse_count(name);
    if (name == "ISNULL") {
      // The first argument says of which type the answer is.
      if (operands[0].form == Expression::Form::null) return operands[1];
      operands[1] = converted(std::move(operands[1]), operands[0].type);
      return make_value("ifnull(" + operands[0].sql + ", " + operands[1].sql + ")", operands[0].type);
    }
    const ColumnType type = operands[0].type;
    unify(operands);
    return make_value("nullif(" + collated(operands[0]) + ", " + operands[1].sql + ")",
                      operands[0].type == type ? type : operands[0].type);
  }
  if (name == "COALESCE") {
    if (operands.size() < 2) refuse_count(name);
    unify(operands);
    std::string sql;
    ColumnType type = ColumnType::unknown;
    for (const Expression& operand : operands) {
      sql += (sql.empty() ? "coalesce(" : ", ") + operand.sql;
      if (type == ColumnType::unknown) type = operand.type;
    }
    return make_value(sql + ")", type);
  }
  if (name == "ABS") {
    if (operands.size() != 1) refuse_count(name);
    if (operands[0].type == ColumnType::text) operands[0] = converted(std::move(operands[0]), ColumnType::real);
    return make_value("abs(" + operands[0].sql + ")", operands[0].type);
  }
  if (name == "ROUND") {
    if (operands.size() != 2) refuse_count(name);
    return rounded(std::move(operands));
  }

  bool known = false;
  for (const Scalar& scalar : kScalars) {
    if (scalar.name != name) continue;
    known = true;
    if (argument_count(scalar) != operands.size()) continue;
    std::string sql;
    std::size_t used = 0;
    for (const char c : scalar.sql) {
      if (c != '#') {
        sql += c;
        continue;
      }
      sql += converted(std::move(operands[used]), scalar.arguments[used]).sql;
      ++used;
    }
    return make_value(std::move(sql), scalar.type);
  }
  if (known) refuse_count(name);
  refuse("'" + std::string(lexed_.text.substr(lexed_.tokens[at].begin, name.size())) +
         "' is not a recognized built-in function name");
}

Expression SqliteTranslator::aggregate(const Scope& scope, const std::string& name) {
  aggregate_seen_ = true;
  if (name == "COUNT" && accept_symbol('*')) {
    expect_symbol(')');
    return make_value("count(*)", ColumnType::long_integer);
  }
  const bool distinct = accept_word("DISTINCT");
  if (!distinct) accept_word("ALL");
  Expression operand = value(scope);
  if (operand.form == Expression::Form::condition) fail();
  expect_symbol(')');
  const std::string argument = (distinct ? "(DISTINCT " : "(") + collated(operand) + ")";
  if (name == "COUNT") return make_value("count" + argument, ColumnType::long_integer);
  if (name == "MIN" || name == "MAX") return make_value(text::to_lower(name) + argument, operand.type);
  if (operand.type == ColumnType::text || operand.type == ColumnType::date)
    refuse("Operand data type " + std::string(operand.type == ColumnType::text ? "nvarchar" : "datetime") +
           " is invalid for " + text::to_lower(name) + " operator");
  if (name == "SUM")
    return make_value("sum" + argument, operand.type == ColumnType::boolean ? ColumnType::long_integer : operand.type);
  switch (operand.type) {
    case ColumnType::money:
      return make_value("CAST(round(avg" + argument + ") AS INTEGER)", ColumnType::money);
    case ColumnType::real:
    case ColumnType::unknown:
      return make_value("avg" + argument, operand.type);
    default:
      return make_value("CAST(avg" + argument + " AS INTEGER)", ColumnType::long_integer);
  }
}

Expression SqliteTranslator::rounded(std::vector<Expression> operands) {
  Expression& number = operands[0];
  const std::string places = ", " + converted(std::move(operands[1]), ColumnType::long_integer).sql + ")";
  const ColumnType type = number.type;
  const std::string sql = "mercato_round(" + converted(std::move(number), ColumnType::real).sql + places;
  if (type == ColumnType::money) return make_value("CAST(round(" + sql + " * 10000) AS INTEGER)", type);
  if (type == ColumnType::short_integer || type == ColumnType::long_integer)
    return make_value("CAST(" + sql + " AS INTEGER)", type);
  return make_value(sql, ColumnType::real);
}

SqliteTranslator::CastType SqliteTranslator::cast_type() {
  if (!at_name()) fail();
  const std::uint32_t at = next_;
  const std::string name = expect_name();
  const auto type = find_type(name);
  if (!type)
    refuse("Type " + name + " is not a defined system type" + place_text(lexed_.text, lexed_.tokens[at].begin));
  CastType result{type->type, {}, {}};
  const bool is_decimal = type->declared == "DECIMAL";
  if (type->sized) result.width = "30";
  if (is_decimal) result.decimals = "0";
  if (!accept_symbol('(')) return result;
  if (type->sized && accept_word("MAX")) {
    result.width.clear();
  } else {
    if (token().kind != TokenKind::number || (!type->sized && type->type != ColumnType::real)) fail();
    const std::uint32_t first = next_;
    expect_whole_number();
    if (type->sized) result.width = new_parameter(first);
    if (is_decimal && accept_symbol(',')) {
      const std::uint32_t decimals = next_;
      expect_whole_number();
      result.decimals = new_parameter(decimals);
    }
  }
  expect_symbol(')');
  return result;
}

Expression SqliteTranslator::cast_to(Expression operand, const CastType& type) {
  if (operand.form == Expression::Form::null) {
    operand.type = type.type;
    operand.form = Expression::Form::value;
    return operand;
  }
  Expression result = converted(std::move(operand), type.type);
  result.type = type.type;
  if (!type.width.empty()) return make_value("substr(" + result.sql + ", 1, " + type.width + ")", type.type);
  if (!type.decimals.empty()) return make_value("round(" + result.sql + ", " + type.decimals + ")", type.type);
  return make_value(result.sql, type.type);
}

Expression SqliteTranslator::cast(const Scope& scope) {
  Expression operand = value(scope);
  if (operand.form == Expression::Form::condition) fail();
  expect_word("AS");
  const CastType type = cast_type();
  expect_symbol(')');
  return cast_to(std::move(operand), type);
}

// CONVERT(type, value, style): the style matters between dates and texts.
Expression SqliteTranslator::convert(const Scope& scope) {
  const CastType type = cast_type();
  expect_symbol(',');
  Expression operand = value(scope);
  if (operand.form == Expression::Form::condition) fail();
  if (accept_symbol(',')) {
    const std::uint32_t at = next_;
    expect_whole_number();
    const bool writes = operand.type == ColumnType::date && type.type == ColumnType::text;
    const bool reads = operand.type == ColumnType::text && type.type == ColumnType::date;
    if (writes || reads) {
      const std::string sql =
          (writes ? "mercato_date_text(" : "mercato_styled_date(") + operand.sql + ", " + new_parameter(at) + ")";
      operand = make_value(sql, type.type);
    }
  }
  expect_symbol(')');
  return cast_to(std::move(operand), type);
}

std::string SqliteTranslator::date_part() {
  for (const DatePart& candidate : kDateParts)
    if (accept_word(candidate.name)) return "'" + std::string(candidate.part) + "'";
  refuse("'" + std::string(token_text()) + "' is not a recognized datepart" + place_text(lexed_.text, token().begin));
}

Expression SqliteTranslator::date_function(const Scope& scope, const std::string& name) {
  const std::string part = date_part();
  expect_symbol(',');
  std::vector<Expression> operands = arguments(scope);
  if (operands.size() != (name == "DATEPART" ? 1u : 2u)) refuse_count(name);
  const std::string last = converted(std::move(operands.back()), ColumnType::date).sql + ")";
  if (name == "DATEPART") return make_value("mercato_date_part(" + part + ", " + last, ColumnType::long_integer);
  const bool adds = name == "DATEADD";
  const std::string first =
      converted(std::move(operands.front()), adds ? ColumnType::long_integer : ColumnType::date).sql;
  return make_value((adds ? "mercato_date_add(" : "mercato_date_difference(") + part + ", " + first + ", " + last,
                    adds ? ColumnType::date : ColumnType::long_integer);
}

}  // namespace mercato::store::dialect
