// SPDX-License-Identifier: Apache-2.0
// Resolves the nodes of a statement one after the other, as they were read. One object per statement.
//
// The members are cut by theme: statement_resolver.cpp (the loop, names, INSERT, UPDATE), query_resolver.cpp (SELECT),
// expression_resolver.cpp (operators), call_resolver.cpp (function calls), type_resolver.cpp (types and conversions).
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::dialect {

// Numbers without decimals.
inline bool is_whole(ColumnType type) {
  return type == ColumnType::boolean || type == ColumnType::short_integer || type == ColumnType::long_integer;
}

// The outer expression means what the inner one does.
inline void stand_for(Expression& outer, const Expression& inner) {
  outer.form = inner.form;
  outer.type = inner.type;
  outer.literal = inner.literal;
  outer.column = inner.column;
  outer.source = inner.source;
}

class StatementResolver {
 public:
  StatementResolver(SyntaxTree& tree, const TableDirectory& tables) : tree_(tree), tables_(tables) {}
  void resolve(bool identified);

 private:
  void resolve_node(Node& node);

  // Statements.
  void resolve(TargetTable& target);
  void resolve(const InsertTarget& target);
  void resolve(InsertValue& item);
  void resolve(const InsertRow& row);
  void resolve(const InsertQuery& rows);
  void resolve(Assignment& assignment);

  // Names. Those that are not found are remembered and raised when the rest has turned out to be well formed, since the
  // server reads a statement to its end before it looks for tables.
  void remember(std::string refusal);
  void resolve(ColumnName& name);
  bool find_column(ColumnName& name);

  // Queries.
  void resolve(Source& source);
  void resolve(const SelectItem& item);
  void resolve(const Star& star);
  void resolve(const GroupItem& item) const;
  void resolve(const Select& select);
  void resolve(const United& united);
  void resolve(OrderItem& item);
  void add_columns(Select& select, const Source& source, const Star& star);
  static Column column_of(const ResultItem& item);
  void check_grouped(const Select& select);
  void describe_result(const Query& query, bool identified);
  static const Source* source_of_rows(const Query& query);
  // A query of one column, as values of that type.
  void convert_query(Query& query, ColumnType type);

  // Expressions.
  void resolve(Sign& sign);
  void resolve(Arithmetic& arithmetic);
  void resolve_date_arithmetic(Arithmetic& arithmetic);
  void resolve(CaseValue& value);
  void resolve(CaseMatch& match);
  void resolve(Subselect& subselect) const;
  void resolve(Comparison& comparison);
  void resolve(Like& like);
  void resolve(Between& between);
  void resolve(InList& in);
  void resolve(InQuery& in);
  void resolve(Junction& junction) const;
  void join_list(Condition& operand);

  // Function calls.
  void resolve(Call& call);
  void resolve_scalar(Call& call);
  void resolve(Aggregate& aggregate) const;
  void resolve(DateCall& call);
  void resolve(Cast& cast);
  [[noreturn]] static void refuse_count(std::string_view name);

  // Types.
  Expression* converted(Expression* operand, ColumnType type);
  Expression* to_text(Expression* operand);
  Expression* to_whole_number(Expression* operand);
  Expression* to_real(Expression* operand);
  Expression* to_money(Expression* operand);
  Expression* to_date(Expression* operand);
  Expression* to_boolean(Expression* operand);
  Expression* conversion(Expression* operand, ColumnType type);
  static Expression* bound(Expression* literal, Conversion conversion, ColumnType type);
  // What a store keeps in that column. `followed_by` is the token behind the operand.
  Expression* stored(Expression* operand, const Column& target, std::uint32_t followed_by);
  // The one type that values of these types are compared or mixed as.
  static ColumnType common_type(ColumnType left, bool left_is_literal, ColumnType right, bool right_is_literal);
  static ColumnType common_type(const Expression& left, const Expression& right);
  ColumnType unify(std::span<Expression*> operands);
  void unify(Expression*& left, Expression*& right);

  // Refuses more terms than engines plan in a moment: they do so without asking anybody, in time that grows with the
  // square of the terms. Lists of literals and rows of values cost little and are not counted.
  void check_terms(std::size_t terms) const;

  SyntaxTree& tree_;
  const TableDirectory& tables_;
  std::string refusal_;           // the first name that was not found
  std::size_t shown_terms_ = 0;   // columns that stand in no text: behind a star, and sorted by
  std::size_t listed_terms_ = 0;  // terms that turned out to be none
};

}  // namespace mercato::store::dialect
