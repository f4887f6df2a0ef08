#include "platform/store/call_limit.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sqlite_translator.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

Expression make_condition(std::string sql) {
  Expression expression;
  expression.sql = std::move(sql);
  expression.form = Expression::Form::condition;
  return expression;
}

bool is_condition(const Expression& expression) { return expression.form == Expression::Form::condition; }

}  // namespace

SqliteTranslator::Nesting::Nesting(SqliteTranslator& translator) : depth_(translator.depth_) {
  // Simple levels as deep as this still pass SQLite's parser, which holds a hundred open symbols; it refuses others
  // sooner.
  constexpr int kDeepest = 32;
  if (depth_ >= kDeepest)
    refuse("Some part of the statement is nested too deeply" +
           place_text(translator.lexed_.text, translator.token().begin));
  ++depth_;
}

void SqliteTranslator::count_terms(std::size_t count) {
  check_call_limit();
  constexpr std::size_t kMostTerms = 20000;
  terms_ += count;
  if (terms_ > kMostTerms)
    refuse(
        "The statement has more than 20000 terms outside of lists of plain values. Put values into one: COLUMN IN (1, "
        "2, 3)");
}

// A long chain becomes a balanced tree: SQLite bounds the depth of an expression, and a chain is as deep as it is long.
Expression SqliteTranslator::joined_conditions(std::vector<Expression> operands, std::string_view operation) const {
  if (operands.size() == 1) return std::move(operands.front());
  constexpr std::size_t kLongestChain = 100;
  const auto chain = [&](auto& self, std::size_t begin, std::size_t end) -> std::string {
    if (end - begin > kLongestChain) {
      const std::size_t middle = begin + (end - begin) / 2;
      return "(" + self(self, begin, middle) + ")" + std::string(operation) + "(" + self(self, middle, end) + ")";
    }
    std::string sql;
    for (std::size_t i = begin; i < end; ++i) {
      if (i > begin) sql += operation;
      sql += operands[i].sql;
    }
    return sql;
  };
  return make_condition(chain(chain, 0, operands.size()));
}

// Takes a comparison into the list of the one before it, when both compare the same column: A = 1 OR A = 2 is A IN (1,
// 2), which the engine plans in proportion to its length.
bool SqliteTranslator::joins_list(Expression& list, const Expression& next) {
  if (next.compared.empty() || next.compared != list.compared) return false;
  list.values += ", " + next.values;
  list.sql.clear();  // written when the list is complete
  terms_ -= 2;
  return true;
}

// Whether what was read from that token on is one literal, perhaps with a sign.
bool SqliteTranslator::is_literal_since(std::uint32_t begin) const {
  const TokenKind last = lexed_.tokens[next_ - 1].kind;
  const bool is_number = last == TokenKind::number;
  const bool is_text = last == TokenKind::text || last == TokenKind::national_text;
  return (next_ == begin + 1 && (is_number || is_text)) || (next_ == begin + 2 && is_number);
}

// A condition, or the one value that stands in its place; whoever calls says which of the two it needs.
Expression SqliteTranslator::condition(const Scope& scope) {
  const Nesting nesting(*this);
  std::vector<Expression> operands{conjunction(scope)};
  while (at_word("OR")) {
    if (!is_condition(operands.back())) fail();
    ++next_;
    Expression operand = conjunction(scope);
    if (!is_condition(operand)) fail();
    if (!joins_list(operands.back(), operand)) operands.push_back(std::move(operand));
  }
  for (Expression& operand : operands)
    if (operand.sql.empty()) operand.sql = operand.compared + " IN (" + operand.values + ")";
  return joined_conditions(std::move(operands), " OR ");
}

Expression SqliteTranslator::conjunction(const Scope& scope) {
  std::vector<Expression> operands{negation(scope)};
  while (at_word("AND")) {
    if (!is_condition(operands.back())) fail();
    ++next_;
    operands.push_back(negation(scope));
    if (!is_condition(operands.back())) fail();
  }
  return joined_conditions(std::move(operands), " AND ");
}

Expression SqliteTranslator::negation(const Scope& scope) {
  bool negated = false, any = false;
  while (accept_word("NOT")) {
    negated = !negated;
    any = true;
  }
  Expression operand = predicate(scope);
  if (any && !is_condition(operand)) fail();
  if (!negated) return operand;
  return make_condition(operand.enclosed ? "NOT " + operand.sql : "NOT (" + operand.sql + ")");
}

Expression SqliteTranslator::expect_condition(const Scope& scope) {
  Expression expression = condition(scope);
  if (!is_condition(expression)) fail();
  return expression;
}

std::string SqliteTranslator::comparison_operator() {
  if (accept_symbol('=')) return " = ";
  if (accept_symbol('<')) return accept_symbol('=') ? " <= " : accept_symbol('>') ? " <> " : " < ";
  if (accept_symbol('>')) return accept_symbol('=') ? " >= " : " > ";
  if (accept_symbol('!')) {
    if (accept_symbol('<')) return " >= ";
    if (accept_symbol('>')) return " <= ";
    expect_symbol('=');
    return " <> ";
  }
  return {};
}

Expression SqliteTranslator::predicate(const Scope& scope) {
  if (accept_word("EXISTS")) {
    expect_symbol('(');
    Query inner = query(&scope);
    expect_symbol(')');
    return make_condition("EXISTS (" + render(inner) + ")");
  }
  Expression left = value(scope);
  if (is_condition(left)) return left;
  if (const std::string operation = comparison_operator(); !operation.empty()) {
    const std::uint32_t begin = next_;
    Expression right = value(scope);
    if (is_condition(right)) fail();
    unify(left, right);
    // The left operand's collation counts, then the right one's.
    const bool by_column = right.form == Expression::Form::column;
    Expression result = make_condition((by_column ? left.sql : collated(left)) + operation + right.sql);
    if (operation == " = " && left.form == Expression::Form::column && is_literal_since(begin)) {
      result.compared = left.sql;
      result.values = right.sql;
    }
    return result;
  }
  if (accept_word("IS")) {
    const bool negated = accept_word("NOT");
    expect_word("NULL");
    return make_condition(left.sql + (negated ? " IS NOT NULL" : " IS NULL"));
  }
  const bool negated = accept_word("NOT");
  if (accept_word("LIKE")) return like(scope, std::move(left), negated);
  if (accept_word("BETWEEN")) return between(scope, std::move(left), negated);
  if (accept_word("IN")) return in_list(scope, std::move(left), negated);
  if (negated) fail();
  return left;
}

Expression SqliteTranslator::like(const Scope& scope, Expression left, bool negated) {
  // The shape tells such patterns from others, so the translation may differ too.
  const bool is_text = token().kind == TokenKind::text || token().kind == TokenKind::national_text;
  const bool has_prefix = is_text && !like_prefix(literal_value(lexed_, next_).to_text()).empty();
  Expression pattern = value(scope);
  if (is_condition(pattern)) fail();
  const bool is_column = left.form == Expression::Form::column && left.type == ColumnType::text;
  pattern = converted(std::move(pattern), ColumnType::text);
  left = converted(std::move(left), ColumnType::text);
  std::string arguments = pattern.sql + ", " + left.sql;
  if (accept_word("ESCAPE")) {
    const Expression escape = value(scope);
    if (!escape.is_text_literal()) fail();
    arguments += ", " + escape.sql;
  } else if (has_prefix && is_column && !negated && pattern.is_text_literal()) {
    Expression result = make_condition("(" + left.sql + " >= mercato_like_from(" + pattern.sql + ") AND " + left.sql +
                                       " < mercato_like_to(" + pattern.sql + ") AND mercato_like(" + arguments + "))");
    result.enclosed = true;
    return result;
  }
  return make_condition((negated ? "NOT mercato_like(" : "mercato_like(") + arguments + ")");
}

Expression SqliteTranslator::between(const Scope& scope, Expression left, bool negated) {
  std::vector<Expression> operands{std::move(left)};
  operands.push_back(value(scope));
  expect_word("AND");
  operands.push_back(value(scope));
  for (const Expression& operand : operands)
    if (is_condition(operand)) fail();
  unify(operands);
  return make_condition(collated(operands[0]) + (negated ? " NOT BETWEEN " : " BETWEEN ") + operands[1].sql + " AND " +
                        operands[2].sql);
}

Expression SqliteTranslator::in_list(const Scope& scope, Expression left, bool negated) {
  const char* const operation = negated ? " NOT IN (" : " IN (";
  expect_symbol('(');
  if (at_word("SELECT")) {
    Query inner = query(&scope);
    expect_symbol(')');
    if (inner.columns().size() != 1)
      refuse("Only one expression can be specified in the select list when the subquery is not introduced with EXISTS");
    const ColumnType type = common_type(left, make_value({}, inner.columns().front().type));
    left = converted(std::move(left), type);
    return make_condition(collated(left) + operation + subselect(inner, type) + ")");
  }
  std::vector<Expression> operands{std::move(left)};
  std::size_t literals = 0;
  bool only_literals = true;
  do {
    const std::uint32_t begin = next_;
    const std::size_t terms = terms_;
    operands.push_back(value(scope));
    if (is_condition(operands.back())) fail();
    const bool is_null =
        next_ == begin + 1 && text::equal_names(lexed_.text.substr(lexed_.tokens[begin].begin, 4), "NULL");
    if (only_literals && (is_null || is_literal_since(begin))) {
      ++literals;
      terms_ = terms;
    } else if (only_literals) {
      only_literals = false;
      count_terms(literals);
    }
  } while (accept_symbol(','));
  expect_symbol(')');
  unify(operands);
  std::string sql = collated(operands.front()) + operation;
  for (std::size_t i = 1; i < operands.size(); ++i) sql += (i > 1 ? ", " : "") + operands[i].sql;
  return make_condition(sql + ")");
}

Expression SqliteTranslator::value(const Scope& scope) {
  Expression left = product(scope);
  for (;;) {
    char operation = 0;
    for (const char candidate : {'+', '-', '&', '|'})
      if (at_symbol(candidate)) operation = candidate;
    if (operation == 0) return left;
    if (is_condition(left)) fail();
    ++next_;
    left = arithmetic(operation, std::move(left), product(scope));
  }
}

Expression SqliteTranslator::product(const Scope& scope) {
  Expression left = signed_value(scope);
  for (;;) {
    char operation = 0;
    for (const char candidate : {'*', '/', '%'})
      if (at_symbol(candidate)) operation = candidate;
    if (operation == 0) return left;
    if (is_condition(left)) fail();
    ++next_;
    left = arithmetic(operation, std::move(left), signed_value(scope));
  }
}

Expression SqliteTranslator::signed_value(const Scope& scope) {
  bool negative = false, any = false;
  while (at_symbol('-') || at_symbol('+')) {
    negative = negative != at_symbol('-');
    any = true;
    ++next_;
  }
  Expression operand = primary(scope);
  if (!any) return operand;
  if (is_condition(operand)) fail();
  if (operand.type == ColumnType::text) operand = converted(std::move(operand), ColumnType::real);
  if (operand.type == ColumnType::date) refuse("Operand data type datetime is invalid for minus operator");
  if (!negative) return operand;
  if (operand.form == Expression::Form::literal) {
    operand.form = Expression::Form::signed_literal;
    operand.sql = "(-" + operand.sql + ")";
    return operand;
  }
  return make_value("(-" + operand.sql + ")", operand.type);
}

// Money is kept in ten thousandths, so what it is mixed with decides where the factor goes.
Expression SqliteTranslator::arithmetic(char operation, Expression left, Expression right) {
  if (is_condition(left) || is_condition(right)) fail();
  const std::string sign = std::string(" ") + operation + " ";
  const auto combine = [&sign](const Expression& a, const Expression& b, ColumnType type) {
    return make_value("(" + a.sql + sign + b.sql + ")", type);
  };
  const auto may_be_text = [](const Expression& operand) {
    return operand.type == ColumnType::text || operand.type == ColumnType::unknown;
  };
  if (operation == '+' && may_be_text(left) && may_be_text(right) &&
      (left.type == ColumnType::text || right.type == ColumnType::text))
    return make_value("(" + left.sql + " || " + right.sql + ")", ColumnType::text);
  if (left.type == ColumnType::date || right.type == ColumnType::date) {
    const bool adds = operation == '+';
    if (!adds && operation != '-')
      refuse("Operand data type datetime is invalid for the operator '" + std::string(1, operation) + "'");
    if (left.type == right.type || right.type == ColumnType::date) {
      if (!adds || left.type == right.type) refuse("Two dates cannot be added or subtracted. Use DATEDIFF");
      std::swap(left, right);
    }
    return make_value("mercato_add_days(" + left.sql + ", " + (adds ? "" : "-") +
                          converted(std::move(right), ColumnType::real).sql + ")",
                      ColumnType::date);
  }
  if (left.type == ColumnType::text) left = converted(std::move(left), ColumnType::real);
  if (right.type == ColumnType::text) right = converted(std::move(right), ColumnType::real);
  const bool sums = operation == '+' || operation == '-';
  const bool money = left.type == ColumnType::money || right.type == ColumnType::money;
  if (!money) {
    const ColumnType type = common_type(left, right);
    return combine(left, right, type == ColumnType::boolean ? ColumnType::long_integer : type);
  }
  if (sums || operation == '%') {
    unify(left, right);
    return combine(left, right, left.type);
  }
  if (operation == '*' && (is_whole(left.type) || is_whole(right.type))) return combine(left, right, ColumnType::money);
  return combine(converted(std::move(left), ColumnType::real), converted(std::move(right), ColumnType::real),
                 ColumnType::real);
}

Expression SqliteTranslator::literal() {
  const Token& which = token();
  Expression expression;
  expression.form = Expression::Form::literal;
  if (which.kind == TokenKind::number) {
    const std::string_view digits = token_text();
    expression.fraction = digits.find_first_not_of("0123456789") != std::string_view::npos;
    expression.type = expression.fraction ? ColumnType::real : ColumnType::long_integer;
    // SQLite takes some 32,000 parameters; numbers beyond go into the text.
    constexpr std::size_t kMostParameters = 32000;
    if (lexed_.literals.size() > kMostParameters) {
      result_.depends_on_literals = true;
      expression.form = Expression::Form::value;
      expression.sql = digits;
      ++next_;
      return expression;
    }
  } else {
    expression.type = ColumnType::text;
  }
  expression.sql = new_parameter(next_++);
  expression.parameter = static_cast<std::uint32_t>(result_.parameters.size());
  return expression;
}

Expression SqliteTranslator::primary(const Scope& scope) {
  count_terms(1);
  switch (token().kind) {
    case TokenKind::number:
    case TokenKind::text:
    case TokenKind::national_text:
      return literal();
    case TokenKind::symbol:
      if (at_symbol('(')) return bracketed(scope);
      fail();
    case TokenKind::quoted_name:
      return column(scope);
    case TokenKind::word:
      break;
    case TokenKind::end:
      fail();
  }
  if (accept_word("NULL")) {
    Expression null = make_value("NULL", ColumnType::unknown);
    null.form = Expression::Form::null;
    return null;
  }
  if (accept_word("CASE")) return case_value(scope);
  if (at_function()) return function_call(scope);
  return column(scope);
}

Expression SqliteTranslator::bracketed(const Scope& scope) {
  expect_symbol('(');
  if (at_word("SELECT")) {
    Query inner = query(&scope);
    expect_symbol(')');
    if (inner.columns().size() != 1)
      refuse("Only one expression can be specified in the select list when the subquery is not introduced with EXISTS");
    const ColumnType type = inner.arms.front().items.front().type;
    return make_value("(" + render(inner) + ")", type);
  }
  Expression inner = condition(scope);
  expect_symbol(')');
  if (!is_condition(inner) || inner.enclosed) return inner;
  inner.sql = "(" + inner.sql + ")";
  inner.enclosed = true;
  return inner;
}

Expression SqliteTranslator::case_value(const Scope& scope) {
  const Nesting nesting(*this);
  const bool simple = !at_word("WHEN");
  Expression subject;
  if (simple) subject = value(scope);
  if (is_condition(subject)) fail();
  std::vector<std::string> conditions;
  std::vector<Expression> results;
  while (accept_word("WHEN")) {
    if (simple) {
      Expression left = subject, right = value(scope);
      if (is_condition(right)) fail();
      unify(left, right);
      conditions.push_back(collated(left) + " = " + right.sql);
    } else {
      conditions.push_back(expect_condition(scope).sql);
    }
    expect_word("THEN");
    results.push_back(value(scope));
    if (is_condition(results.back())) fail();
  }
  if (conditions.empty()) fail();
  const bool has_else = accept_word("ELSE");
  if (has_else) results.push_back(value(scope));
  expect_word("END");
  if (is_condition(results.back())) fail();
  unify(results);
  std::string sql = "CASE";
  for (std::size_t i = 0; i < conditions.size(); ++i) sql += " WHEN " + conditions[i] + " THEN " + results[i].sql;
  if (has_else) sql += " ELSE " + results.back().sql;
  return make_value(sql + " END",
                    results.front().form == Expression::Form::null ? results.back().type : results.front().type);
}

}  // namespace mercato::store::dialect
