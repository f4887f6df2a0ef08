// SPDX-License-Identifier: Apache-2.0
// Writes a resolved tree in the SQL that engines have in common. A printer of an engine derives from it and says what
// its engine writes otherwise: how texts are compared, what functions are called, where a literal stands. One object per
// statement.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::dialect {

// `name` in double quotes, those in it doubled.
void append_quoted(std::string& sql, std::string_view name);
std::string quoted_name(std::string_view name);

class SqlPrinter {
 public:
  virtual ~SqlPrinter() = default;
  SqlPrinter(const SqlPrinter&) = delete;
  SqlPrinter& operator=(const SqlPrinter&) = delete;

 protected:
  explicit SqlPrinter(SyntaxTree& tree) : tree_(tree) {}
  // The text of a query, INSERT, UPDATE or DELETE.
  std::string write();

  // What engines differ in.

  // A literal that is bound by its place.
  virtual void bound(const Literal& literal) = 0;
  // A whole number that stands by itself: a limit, a style, a width.
  virtual void size(std::uint32_t literal) = 0;
  // The operands of a comparison. `other_is_column`: what the left one is compared with is a column by itself.
  virtual void left_operand(const Expression& operand, ColumnType type, bool other_is_column) = 0;
  virtual void right_operand(const Expression& operand, ColumnType type) = 0;
  virtual void shown(const Expression& item) = 0;
  virtual void grouped(const Expression& item) = 0;
  virtual void column(const Expression& column) = 0;
  virtual void query(const Query& query) = 0;
  void select(const Select& select);
  virtual void from(const Select& select);
  // Behind WHERE, of a query that has one.
  virtual void conditions(const Select& select) { expression(*select.where); }
  // Behind the items of a query: what tells which row it is, if that is asked for.
  virtual void identity(const Select& select) = 0;
  virtual void rows_of_subselect(const Source& source) = 0;
  virtual std::string_view cross_join() { return " CROSS JOIN "; }
  virtual void like(const Like& like) = 0;
  virtual void in_query(const InQuery& in) = 0;
  virtual void call(const Call& call) = 0;
  virtual void aggregate(const Aggregate& aggregate) = 0;
  // What of a conversion no conversion of its operand does: styles, widths, digits.
  virtual void cast(const Cast& cast);
  // A function that rounds a number to so many decimals, and how a literal says how many, or how wide a text is.
  virtual std::string_view rounding() = 0;
  virtual void cast_size(std::uint32_t literal) { size(literal); }
  // What a conversion or an operator puts around its operands. The first operand is written in between.
  struct Around {
    std::string_view before;
    std::string_view behind;
  };
  virtual Around around(const TypeConversion& conversion) = 0;
  virtual std::string_view before(const Arithmetic& arithmetic) = 0;
  virtual void behind(const Arithmetic& arithmetic) = 0;

  // What they have in common. The SQL of a value needs no brackets wherever it is put; that of a condition does.
  void expression(const Expression& expression);
  void arguments(std::span<Expression* const> arguments);
  // The SQL of a call, each argument in place of its #.
  void filled_in(std::string_view sql, std::span<Expression* const> arguments);
  void items(const Select& select);
  void where_and_groups(const Select& select);
  void having(const Select& select);
  void source(const Source& source);
  void limit(const Select& select);
  void where();
  void in_brackets(const Expression& condition);

  void text(std::string_view sql) { sql_ += sql; }
  void name(std::string_view name) { append_quoted(sql_, name); }
  void qualified(const Source& source, std::string_view column);

  SyntaxTree& tree_;
  std::string sql_;

 private:
  void insert();
  void update();
  void remove();
  void join_chain(const JoinChain& chain);
  void literal(const Literal& literal);
  void date_call(const DateCall& call);
  void operation(const Expression& outermost);
  static const Expression* first_operand(const Arithmetic& arithmetic);
  void open(const Expression& operation);
  void close(const Expression& operation);
  void case_value(const CaseValue& value);
  void comparison(const Comparison& comparison);
  void between(const Between& between);
  void in_list(const InList& in);
  void negation(const Negation& negation);
  void junction(const Junction& junction);
  void chain(std::span<const Condition* const> operands, std::string_view operation);
  void equalities(const Comparison& list);
  static bool stands_in_brackets(const Expression& condition);
};

}  // namespace mercato::store::dialect
