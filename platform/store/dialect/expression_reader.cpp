// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_reader.h"
#include "values/text.h"

namespace mercato::store::dialect {

// Whether what was read from that token on is one literal, perhaps with a sign.
bool StatementReader::is_literal_since(std::uint32_t begin) const {
  const TokenKind last = lexed_.tokens[next_ - 1].kind;
  const bool is_number = last == TokenKind::number;
  const bool is_text = last == TokenKind::text || last == TokenKind::national_text;
  return (next_ == begin + 1 && (is_number || is_text)) || (next_ == begin + 2 && is_number);
}

bool StatementReader::is_null_since(std::uint32_t begin) const {
  return next_ == begin + 1 && text::equal_names(lexed_.text.substr(lexed_.tokens[begin].begin, 4), "NULL");
}

Expression* StatementReader::condition() {
  const Nesting nesting(*this);
  Expression* const first = conjunction();
  if (!at_word("OR")) return first;
  const std::size_t begin = lists_.size();
  lists_.push_back(first);
  while (at_word("OR")) {
    auto* const before = static_cast<Expression*>(lists_.back());
    if (!is_condition(*before)) fail();
    ++next_;
    Expression* const operand = conjunction();
    if (!is_condition(*operand)) fail();
    static_cast<Condition*>(operand)->or_before = static_cast<Condition*>(before);
    lists_.push_back(operand);
  }
  auto* const junction = tree_.make<Junction>();
  junction->is_or = true;
  junction->operands = moved_list<Condition>(begin);
  return done(junction);
}

Expression* StatementReader::conjunction() {
  Expression* const first = negation();
  if (!at_word("AND")) return first;
  const std::size_t begin = lists_.size();
  lists_.push_back(first);
  while (at_word("AND")) {
    if (!is_condition(*static_cast<Expression*>(lists_.back()))) fail();
    ++next_;
    lists_.push_back(negation());
    if (!is_condition(*static_cast<Expression*>(lists_.back()))) fail();
  }
  auto* const junction = tree_.make<Junction>();
  junction->operands = moved_list<Condition>(begin);
  return done(junction);
}

Expression* StatementReader::negation() {
  bool negated = false, any = false;
  while (accept_word("NOT")) {
    negated = !negated;
    any = true;
  }
  Expression* const operand = predicate();
  if (any && !is_condition(*operand)) fail();
  if (!negated) return operand;
  auto* const negation = tree_.make<Negation>();
  negation->operand = static_cast<Condition*>(operand);
  return done(negation);
}

Expression* StatementReader::expect_condition() {
  Expression* const expression = condition();
  if (!is_condition(*expression)) fail();
  return expression;
}

Expression* StatementReader::expect_value() {
  Expression* const expression = value();
  if (is_condition(*expression)) fail();
  return expression;
}

bool StatementReader::accept_comparison(ComparisonOperator& operation) {
  using Operator = ComparisonOperator;
  if (accept_symbol('=')) {
    operation = Operator::equal;
  } else if (accept_symbol('<')) {
    operation = accept_symbol('=') ? Operator::less_or_equal : accept_symbol('>') ? Operator::unequal : Operator::less;
  } else if (accept_symbol('>')) {
    operation = accept_symbol('=') ? Operator::greater_or_equal : Operator::greater;
  } else if (accept_symbol('!')) {
    operation = accept_symbol('<')   ? Operator::greater_or_equal
                : accept_symbol('>') ? Operator::less_or_equal
                                     : Operator::unequal;
    if (operation == Operator::unequal) expect_symbol('=');
  } else {
    return false;
  }
  return true;
}

Expression* StatementReader::predicate() {
  if (accept_word("EXISTS")) {
    expect_symbol('(');
    auto* const exists = tree_.make<Exists>();
    exists->query = query(scope_);
    expect_symbol(')');
    return done(exists);
  }
  Expression* const left = value();
  if (is_condition(*left)) return left;
  if (ComparisonOperator operation{}; accept_comparison(operation)) return comparison(left, operation);
  if (token().kind != TokenKind::word) return left;
  if (accept_word("IS")) {
    auto* const is_null = tree_.make<IsNull>();
    is_null->negated = accept_word("NOT");
    expect_word("NULL");
    is_null->operand = left;
    return done(is_null);
  }
  const bool negated = accept_word("NOT");
  if (accept_word("LIKE")) return like(left, negated);
  if (accept_word("BETWEEN")) return between(left, negated);
  if (accept_word("IN")) return in_list(left, negated);
  if (negated) fail();
  return left;
}

Expression* StatementReader::comparison(Expression* left, ComparisonOperator operation) {
  const std::uint32_t begin = next_;
  auto* const comparison = tree_.make<Comparison>();
  comparison->operation = operation;
  comparison->left = left;
  comparison->right = expect_value();
  comparison->with_plain_value = is_literal_since(begin);
  return done(comparison);
}

Expression* StatementReader::like(Expression* operand, bool negated) {
  const bool is_text = token().kind == TokenKind::text || token().kind == TokenKind::national_text;
  auto* const like = tree_.make<Like>();
  like->negated = negated;
  // The shape tells such patterns from others, so what a printer makes of them may differ too.
  like->has_prefix = is_text && !like_prefix(literal_value(lexed_, next_).to_text()).empty();
  like->operand = operand;
  like->pattern = expect_value();
  if (accept_word("ESCAPE")) like->escape = value();
  return done(like);
}

Expression* StatementReader::between(Expression* operand, bool negated) {
  auto* const between = tree_.make<Between>();
  between->negated = negated;
  between->operand = operand;
  between->low = value();
  expect_word("AND");
  between->high = value();
  if (is_condition(*between->low) || is_condition(*between->high)) fail();
  return done(between);
}

Expression* StatementReader::in_list(Expression* operand, bool negated) {
  expect_symbol('(');
  if (at_word("SELECT")) {
    auto* const in = tree_.make<InQuery>();
    in->negated = negated;
    in->operand = operand;
    in->query = query(scope_);
    expect_symbol(')');
    return done(in);
  }
  const std::size_t begin = lists_.size();
  lists_.push_back(operand);
  bool only_literals = true;
  do {
    const std::uint32_t first = next_;
    Expression* const item = expect_value();
    lists_.push_back(item);
    item->listed = only_literals && (is_null_since(first) || is_literal_since(first));
    if (only_literals && !item->listed) {
      // A list that holds something else is none of plain values.
      only_literals = false;
      for (std::size_t i = begin + 1; i < lists_.size(); ++i) static_cast<Expression*>(lists_[i])->listed = false;
    }
  } while (accept_symbol(','));
  expect_symbol(')');
  auto* const in = tree_.make<InList>();
  in->negated = negated;
  in->operands = moved_list<Expression>(begin);
  return done(in);
}

Expression* StatementReader::value() {
  Expression* left = product();
  while (at_symbol('+') || at_symbol('-') || at_symbol('&') || at_symbol('|')) {
    if (is_condition(*left)) fail();
    left = arithmetic(left, &StatementReader::product);
  }
  return left;
}

Expression* StatementReader::product() {
  Expression* left = signed_value();
  while (at_symbol('*') || at_symbol('/') || at_symbol('%')) {
    if (is_condition(*left)) fail();
    left = arithmetic(left, &StatementReader::signed_value);
  }
  return left;
}

Expression* StatementReader::arithmetic(Expression* left, Expression* (StatementReader::*operand)()) {
  auto* const arithmetic = tree_.make<Arithmetic>();
  arithmetic->operation = token_text().front();
  ++next_;
  arithmetic->left = left;
  arithmetic->right = (this->*operand)();
  if (is_condition(*arithmetic->right)) fail();
  return done(arithmetic);
}

Expression* StatementReader::signed_value() {
  if (!at_symbol('-') && !at_symbol('+')) return primary();
  auto* const sign = tree_.make<Sign>();
  while (at_symbol('-') || at_symbol('+')) {
    sign->negative = sign->negative != at_symbol('-');
    ++next_;
  }
  sign->operand = primary();
  if (is_condition(*sign->operand)) fail();
  return done(sign);
}

Expression* StatementReader::literal() {
  auto* const literal = tree_.make<Literal>();
  literal->literal = literal;
  literal->position = literal_index(next_);
  literal->type = ColumnType::text;
  if (token().kind == TokenKind::number) {
    const bool is_whole = token_text().find_first_not_of("0123456789") == std::string_view::npos;
    literal->type = is_whole ? ColumnType::long_integer : ColumnType::real;
    // Engines take some ten thousand parameters; numbers beyond stay in the text.
    constexpr std::size_t kMostParameters = 32000;
    if (lexed_.literals.size() > kMostParameters) {
      tree_.translation.depends_on_literals = true;
      literal->form = Expression::Form::value;
      literal->in_text = true;
    }
  }
  ++next_;
  return done(literal);
}

Expression* StatementReader::primary() {
  count_term();
  switch (token().kind) {
    case TokenKind::number:
    case TokenKind::text:
    case TokenKind::national_text:
      return literal();
    case TokenKind::symbol:
      if (at_symbol('(')) return bracketed();
      fail();
    case TokenKind::quoted_name:
      return column_name();
    case TokenKind::word:
      break;
    case TokenKind::end:
      fail();
  }
  if (at_function()) return function_call();
  if (accept_word("NULL")) return done(tree_.make<Null>());
  if (accept_word("CASE")) return case_value();
  return column_name();
}

Expression* StatementReader::column_name() {
  auto* const column = tree_.make<ColumnName>();
  column->scope = scope_;
  column->name = name();
  for (int parts = 1; at_symbol('.'); ++parts) {
    if (parts == 3) fail();
    if (parts == 2)
      expect_schema(column->qualifier);
    else
      ++next_;
    column->qualifier = column->name;
    column->name = name();
  }
  return done(column);
}

Expression* StatementReader::bracketed() {
  expect_symbol('(');
  if (at_word("SELECT")) {
    auto* const subselect = tree_.make<Subselect>();
    subselect->query = query(scope_);
    expect_symbol(')');
    return done(subselect);
  }
  Expression* const inner = condition();
  expect_symbol(')');
  // The tree has no need of brackets but for what tells whether a condition stands in them.
  if (!is_condition(*inner) || inner->kind == NodeKind::brackets) return inner;
  auto* const brackets = tree_.make<Brackets>();
  brackets->operand = static_cast<Condition*>(inner);
  return done(brackets);
}

Expression* StatementReader::case_value() {
  const Nesting nesting(*this);
  auto* const result = tree_.make<CaseValue>();
  if (!at_word("WHEN")) result->subject = expect_value();
  std::pmr::vector<CaseValue::Branch> branches(tree_.memory());
  while (accept_word("WHEN")) {
    CaseValue::Branch branch{};
    if (result->subject != nullptr) {
      auto* const match = tree_.make<CaseMatch>();
      match->subject = result->subject;
      match->value = expect_value();
      branch.condition = done(match);
    } else {
      branch.condition = expect_condition();
    }
    expect_word("THEN");
    branch.result = expect_value();
    branches.push_back(branch);
  }
  if (branches.empty()) fail();
  if (accept_word("ELSE")) result->otherwise = value();
  expect_word("END");
  if (result->otherwise != nullptr && is_condition(*result->otherwise)) fail();
  result->branches = tree_.copy(std::span<const CaseValue::Branch>(branches));
  return done(result);
}

}  // namespace mercato::store::dialect
