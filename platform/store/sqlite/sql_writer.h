// SPDX-License-Identifier: Apache-2.0
// Writes a resolved tree in SQLite's SQL. One object per statement.
//
// The members are cut by theme: statement_printer.cpp (statements, queries), expression_printer.cpp (operators),
// call_printer.cpp (function calls, conversions).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/sqlite/statement_printer.h"

namespace mercato::store::sqlite {

class SqlWriter final : private dialect::SqlPrinter {
 public:
  SqlWriter(dialect::SyntaxTree& tree, UsedSearches used) : SqlPrinter(tree), used_(used) {}
  // The tree's translation, with text and parameters.
  Translation translation();

 private:
  using Source = dialect::Source;

  void bound(const dialect::Literal& literal) override;
  void size(std::uint32_t literal) override { parameter(literal); }
  void column(const dialect::Expression& column) override { qualified(*column.source, column.column->name); }

  // Queries.
  void query(const dialect::Query& query) override;
  void from(const dialect::Select& select) override;
  void conditions(const dialect::Select& select) override;
  void identity(const dialect::Select& select) override;
  void rows_of_subselect(const dialect::Source& source) override;
  // SQLite takes CROSS JOIN for an order to read the tables as they stand.
  std::string_view cross_join() override { return " JOIN "; }
  void order_by(const dialect::Query& query);

  // A text that is compared or sorted.
  void collated(const dialect::Expression& operand);
  void left_operand(const dialect::Expression& operand, ColumnType type, bool other_is_column) override;
  void right_operand(const dialect::Expression& operand, ColumnType) override { expression(operand); }
  void shown(const dialect::Expression& item) override { collated(item); }
  void grouped(const dialect::Expression& item) override { collated(item); }

  // Operators.
  std::string_view before(const dialect::Arithmetic& arithmetic) override;
  void behind(const dialect::Arithmetic& arithmetic) override;
  void like(const dialect::Like& like) override;
  void like_call(const dialect::Like& like);
  void in_query(const dialect::InQuery& in) override;

  // Function calls.
  void call(const dialect::Call& call) override;
  void scalar(const dialect::Call& call);
  void aggregate(const dialect::Aggregate& aggregate) override;
  std::string_view rounding() override { return "round("; }
  Around around(const dialect::TypeConversion& conversion) override;

  void parameter(std::uint32_t literal, dialect::Conversion conversion = dialect::Conversion::none);

  bool is_used(std::size_t search) const { return (used_ >> search & 1) != 0; }

  const UsedSearches used_;
  std::vector<dialect::TextSearch> searches_;
  std::vector<dialect::Parameter> parameters_;
};

}  // namespace mercato::store::sqlite
