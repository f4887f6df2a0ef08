// SPDX-License-Identifier: Apache-2.0
// Writes a resolved tree in SQLite's SQL. One object per statement.
//
// The members are cut by theme: statement_printer.cpp (statements, queries), expression_printer.cpp (operators),
// call_printer.cpp (function calls, conversions).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/syntax_tree.h"

namespace mercato::store::sqlite {

class SqlWriter {
 public:
  explicit SqlWriter(dialect::SyntaxTree& tree) : tree_(tree) {}
  // The tree's translation, with text and parameters.
  dialect::Translation write();

 private:
  // Statements.
  void insert();
  void update();
  void remove();
  void where();

  // Queries.
  void query(const dialect::Query& query);
  void select(const dialect::Select& select);
  void items(const dialect::Select& select);
  void from(const dialect::Select& select);
  void join_chain(const dialect::JoinChain& chain);
  void source(const dialect::Source& source);
  void order_by(const dialect::Query& query);
  void limit(const dialect::Select& select);

  // Expressions. The SQL of a value needs no brackets wherever it is put; that of a condition does.
  void expression(const dialect::Expression& expression);
  // A text that is compared or sorted.
  void collated(const dialect::Expression& operand);
  static bool needs_collation(const dialect::Expression& operand, ColumnType type);
  void literal(const dialect::Literal& literal);
  void operation(const dialect::Expression& outermost);
  static const dialect::Expression* first_operand(const dialect::Arithmetic& arithmetic);
  void open(const dialect::Expression& operation);
  void close(const dialect::Expression& operation);
  void case_value(const dialect::CaseValue& value);
  void comparison(const dialect::Comparison& comparison);
  void like(const dialect::Like& like);
  void like_call(const dialect::Like& like);
  void between(const dialect::Between& between);
  void in_list(const dialect::InList& in);
  void in_query(const dialect::InQuery& in);
  void negation(const dialect::Negation& negation);
  void junction(const dialect::Junction& junction);
  void chain(std::span<const dialect::Condition* const> operands, std::string_view operation);
  void equalities(const dialect::Comparison& list);
  void in_brackets(const dialect::Expression& condition);
  static bool stands_in_brackets(const dialect::Expression& condition);

  // Function calls.
  void call(const dialect::Call& call);
  void scalar(const dialect::Call& call);
  void aggregate(const dialect::Aggregate& aggregate);
  void date_call(const dialect::DateCall& call);
  void cast(const dialect::Cast& cast);
  void cast_size(std::uint32_t literal, int usual);
  // What a conversion puts around its operand.
  struct Around {
    std::string_view before;
    std::string_view behind;
  };
  static Around conversion_text(const dialect::Expression& conversion);
  void arguments(std::span<dialect::Expression* const> arguments);

  void text(std::string_view sql) { sql_ += sql; }
  void name(std::string_view name);
  void column(const dialect::Source& source, std::string_view column);
  void parameter(std::uint32_t literal, dialect::Conversion conversion = dialect::Conversion::none);

  dialect::SyntaxTree& tree_;
  std::string sql_;
  std::vector<dialect::Parameter> parameters_;
};

}  // namespace mercato::store::sqlite
