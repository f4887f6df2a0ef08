// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/statement_reader.h"

namespace mercato::store::dialect {

Query* StatementReader::query(const Scope* outer) {
  const Nesting nesting(*this);
  auto* const query = tree_.make<Query>(tree_.memory());
  query->selects.push_back(select(*query, outer));
  while (accept_word("UNION")) {
    query->keeps_doubles.push_back(accept_word("ALL"));
    query->selects.push_back(select(*query, outer));
  }
  if (query->selects.size() > 1) {
    auto* const united = tree_.make<United>();
    united->query = query;
    done(united);
  }
  if (accept_word("ORDER")) order_by(*query);
  return query;
}

Select* StatementReader::select(Query& query, const Scope* outer) {
  auto* const select = tree_.make<Select>(tree_.memory());
  select->query = &query;
  select->scope.outer = outer;
  const Scope* const scope_outside = scope_;
  expect_word("SELECT");
  select->distinct = accept_word("DISTINCT");
  if (!select->distinct) accept_word("ALL");
  limit(*select);
  // What the select list means depends on the tables, which come behind it.
  const std::uint32_t list = next_;
  const std::uint32_t from_at = find_from();
  std::uint32_t after_from = 0;
  if (from_at != list && lexed_.tokens[from_at].kind != TokenKind::end) {
    next_ = from_at;
    if (accept_word("FROM")) {
      select->from = from(select->scope);
      after_from = next_;
    }
    next_ = list;
  }
  scope_ = &select->scope;
  const bool aggregate_seen_outside = aggregate_seen_;
  aggregate_seen_ = false;
  select_list(*select);
  select->grouped = aggregate_seen_;
  aggregate_seen_ = aggregate_seen_outside;
  if (after_from != 0) {
    if (next_ != from_at) fail();
    next_ = after_from;
  }

  select->where = optional_where();
  if (accept_word("GROUP")) group_by(*select);
  if (accept_word("HAVING")) {
    select->grouped = true;
    select->having = expect_condition();
  }
  scope_ = scope_outside;
  return done(select);
}

void StatementReader::limit(Select& select) {
  if (!accept_word("TOP")) return;
  const bool bracketed = accept_symbol('(');
  select.limit = whole_number();
  if (bracketed) expect_symbol(')');
}

// The token at which the select list that begins at the next one ends: its FROM, or whatever else ends it.
std::uint32_t StatementReader::find_from() const {
  int depth = 0;
  for (std::uint32_t ahead = 0;; ++ahead) {
    const Token& candidate = token(ahead);
    if (candidate.kind == TokenKind::symbol) {
      const char symbol = lexed_.text[candidate.begin];
      if (symbol == '(') ++depth;
      if (symbol == ')') --depth;
      if (depth < 0 || (depth == 0 && symbol == ';')) return next_ + ahead;
    } else if (candidate.kind == TokenKind::word) {
      if (depth == 0 && (at_word("FROM", ahead) || at_word("UNION", ahead))) return next_ + ahead;
    } else if (candidate.kind == TokenKind::end) {
      return next_ + ahead;
    }
  }
}

void StatementReader::select_list(Select& select) {
  const std::size_t begin = lists_.size();
  do lists_.push_back(select_element(select));
  while (accept_symbol(','));
  select.elements = moved_list<Node>(begin);
}

Node* StatementReader::select_element(Select& select) {
  if (accept_symbol('*')) {
    auto* const star = tree_.make<Star>();
    star->select = &select;
    return done(star);
  }
  const std::uint32_t qualifier = at_word("dbo") && at_symbol('.', 1) && at_symbol('.', 3) ? 2 : 0;
  if (at_symbol('.', qualifier + 1) && at_symbol('*', qualifier + 2) && at_name(qualifier)) {
    next_ += qualifier;
    auto* const star = tree_.make<Star>();
    star->select = &select;
    star->is_qualified = true;
    star->qualifier = name();
    next_ += 2;
    return done(star);
  }
  auto* const item = tree_.make<SelectItem>();
  item->select = &select;
  item->value = expect_value();
  const bool as = accept_word("AS");
  if (as && (token().kind == TokenKind::text || token().kind == TokenKind::national_text)) {
    item->is_named = item->is_named_by_text = true;
    item->name = tree_.copy(std::string_view(literal_value(lexed_, next_++).to_text()));
    tree_.translation.depends_on_literals = true;
  } else if (as || at_name()) {
    item->is_named = true;
    item->name = name();
  }
  return done(item);
}

void StatementReader::group_by(Select& select) {
  expect_word("BY");
  select.grouped = true;
  const std::size_t begin = lists_.size();
  do {
    auto* const item = tree_.make<GroupItem>();
    item->value = expect_value();
    lists_.push_back(done(item));
  } while (accept_symbol(','));
  select.groups = moved_list<GroupItem>(begin);
}

std::span<JoinChain*> StatementReader::from(Scope& scope) {
  std::pmr::vector<JoinChain*> chains(tree_.memory());
  do chains.push_back(join_chain(scope));
  while (accept_symbol(','));
  return tree_.copy(std::span<JoinChain* const>(chains));
}

JoinChain* StatementReader::join_chain(Scope& scope) {
  const Nesting nesting(*this);
  std::pmr::vector<Join> joins(tree_.memory());
  JoinKind kind = JoinKind::first;
  do {
    Join join = table_primary(scope);
    join.kind = kind;
    if (kind != JoinKind::first && kind != JoinKind::cross) {
      expect_word("ON");
      const Scope* const scope_outside = std::exchange(scope_, &scope);
      join.condition = expect_condition();
      scope_ = scope_outside;
    }
    joins.push_back(join);
  } while (accept_join(kind));
  auto* const chain = tree_.make<JoinChain>();
  chain->joins = tree_.copy(std::span<const Join>(joins));
  return chain;
}

bool StatementReader::accept_join(JoinKind& kind) {
  struct Word {
    std::string_view text;
    JoinKind kind;
  };
  static constexpr Word kWords[] = {{"INNER", JoinKind::inner},
                                    {"LEFT", JoinKind::left},
                                    {"RIGHT", JoinKind::right},
                                    {"FULL", JoinKind::full},
                                    {"CROSS", JoinKind::cross}};
  if (token().kind != TokenKind::word) return false;
  if (accept_word("JOIN")) {
    kind = JoinKind::inner;
    return true;
  }
  for (const Word& word : kWords) {
    if (!accept_word(word.text)) continue;
    kind = word.kind;
    if (kind != JoinKind::inner && kind != JoinKind::cross) accept_word("OUTER");
    expect_word("JOIN");
    return true;
  }
  return false;
}

Join StatementReader::table_primary(Scope& scope) {
  count_term();
  Join join;
  if (at_symbol('(') && !at_word("SELECT", 1)) {
    expect_symbol('(');
    join.chain = join_chain(scope);
    expect_symbol(')');
    return join;
  }
  auto* const source = tree_.make<Source>();
  source->scope = &scope;
  if (accept_symbol('(')) {
    // What stands beside a subselect is not known in it.
    source->query = query(nullptr);
    expect_symbol(')');
    accept_word("AS");
    source->has_alias = true;
    source->alias = name();
  } else {
    source->table_name = table_name();
    source->has_alias = accept_word("AS") || at_name();
    if (source->has_alias) source->alias = name();
  }
  join.source = done(source);
  return join;
}

void StatementReader::order_by(Query& query) {
  expect_word("BY");
  const std::size_t begin = lists_.size();
  do {
    OrderItem* const item = order_item(query);
    item->descending = accept_word("DESC");
    if (!item->descending) accept_word("ASC");
    lists_.push_back(item);
  } while (accept_symbol(','));
  query.order = moved_list<OrderItem>(begin);
}

OrderItem* StatementReader::order_item(Query& query) {
  count_term();
  auto* const item = tree_.make<OrderItem>();
  item->query = &query;
  item->token = next_;
  if (token().kind == TokenKind::number) {
    item->is_place = true;
    item->place = expect_whole_number();
    return done(item);
  }
  if (at_lone_name()) {
    item->is_name = true;
    item->name = name();
    return done(item);
  }
  if (query.selects.size() > 1) refuse_order_item(lexed_, next_);
  const Scope* const scope_outside = std::exchange(scope_, &query.first().scope);
  item->value = expect_value();
  scope_ = scope_outside;
  return done(item);
}

// A name that is all there is to sort by here; it may be that of a column of the result.
bool StatementReader::at_lone_name() const {
  return at_name() && (at_symbol(',', 1) || at_symbol(')', 1) || at_symbol(';', 1) || at_word("ASC", 1) ||
                       at_word("DESC", 1) || token(1).kind == TokenKind::end);
}

}  // namespace mercato::store::dialect
