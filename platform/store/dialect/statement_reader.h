// SPDX-License-Identifier: Apache-2.0
// Reads one statement into a tree: the grammar of the dialect by recursive descent, and nothing of what names and types
// mean. One object per statement.
//
// The members are cut by theme: statement_reader.cpp (INSERT, UPDATE, DELETE, SET), query_reader.cpp (SELECT),
// expression_reader.cpp (operators), call_reader.cpp (function calls).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/store/dialect/syntax_tree.h"
#include "platform/store/dialect/token_reader.h"

namespace mercato::store::dialect {

class StatementReader : TokenReader {
 public:
  explicit StatementReader(SyntaxTree& tree) : TokenReader(tree.lexed), tree_(tree) {}
  // What cannot be read is no failure yet, but the tree's fault: what stands before it is looked at first. Definitions
  // are not read here.
  void read();

 private:
  // Statements.
  void read_statement();
  void read_insert();
  void read_update();
  void read_delete();
  void read_setting();
  TargetTable* target_table();
  void changed_table();
  void insert_targets();
  InsertRow* insert_row();
  Expression* optional_where();

  // Queries. `outer` holds the names that are known outside; null when none are.
  Query* query(const Scope* outer);
  Select* select(Query& query, const Scope* outer);
  void limit(Select& select);
  void select_list(Select& select);
  Node* select_element(Select& select);
  void group_by(Select& select);
  std::uint32_t find_from() const;
  std::span<JoinChain*> from(Scope& scope);
  JoinChain* join_chain(Scope& scope);
  Join table_primary(Scope& scope);
  bool accept_join(JoinKind& kind);
  void order_by(Query& query);
  OrderItem* order_item(Query& query);
  bool at_lone_name() const;

  // Expressions. A condition is also read where a value is wanted, and the other way round; whoever calls says which of
  // the two it needs.
  Expression* condition();
  Expression* conjunction();
  Expression* negation();
  Expression* predicate();
  Expression* comparison(Expression* left, ComparisonOperator operation);
  Expression* in_list(Expression* operand, bool negated);
  Expression* between(Expression* operand, bool negated);
  Expression* like(Expression* operand, bool negated);
  Expression* value();
  Expression* product();
  Expression* arithmetic(Expression* left, Expression* (StatementReader::*operand)());
  Expression* signed_value();
  Expression* primary();
  Expression* bracketed();
  Expression* case_value();
  Expression* literal();
  Expression* column_name();
  bool accept_comparison(ComparisonOperator& operation);
  Expression* expect_condition();
  Expression* expect_value();
  bool is_literal_since(std::uint32_t begin) const;
  bool is_null_since(std::uint32_t begin) const;

  // Function calls.
  bool at_function() const;
  Expression* function_call();
  Expression* aggregate(AggregateFunction function);
  Expression* cast();
  Expression* convert();
  Expression* date_call(DateFunction function);
  std::string_view date_part();
  void cast_type(Cast& cast);
  std::span<Expression*> arguments();
  std::uint32_t whole_number();

  // Names as they are meant: without quotes.
  std::string_view name();
  std::string_view table_name();

  // Every operand, table and column to sort by is one; the resolver bounds them. Asks the call limit.
  void count_term();
  // The node is complete.
  template <class T>
  T* done(T* node);
  // What is being read of a list, from `begin` on, moves into the tree.
  template <class T>
  std::span<T*> moved_list(std::size_t begin);

  // Nesting is bounded, as the stack is.
  class Nesting {
   public:
    explicit Nesting(StatementReader& reader);
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    int& depth_;
  };

  SyntaxTree& tree_;
  Node* last_ = nullptr;
  const Scope* scope_ = nullptr;  // of the names that are being read
  bool aggregate_seen_ = false;   // in the select list that is being read
  std::uint32_t terms_ = 0;
  int depth_ = 0;
  std::vector<Node*> lists_;  // lists that are being read, an inner one behind its outer one
};

template <class T>
T* StatementReader::done(T* node) {
  node->followed_by = next_;
  node->terms = terms_;
  (last_ == nullptr ? tree_.first : last_->next) = node;
  last_ = node;
  return node;
}

template <class T>
std::span<T*> StatementReader::moved_list(std::size_t begin) {
  const std::size_t count = lists_.size() - begin;
  if (count == 0) return {};
  T** const moved = static_cast<T**>(tree_.memory()->allocate(count * sizeof(T*), alignof(T*)));
  for (std::size_t i = 0; i < count; ++i) moved[i] = static_cast<T*>(lists_[begin + i]);
  lists_.resize(begin);
  return {moved, count};
}

}  // namespace mercato::store::dialect
