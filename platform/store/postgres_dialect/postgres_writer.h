// SPDX-License-Identifier: Apache-2.0
// Writes a resolved tree in PostgreSQL's SQL. One object per statement.
//
// Two texts are the same when their keys are: wherever texts are compared, grouped, sorted or told apart stands
// mercato_key(...), and indexes are over it. A literal's key is made by the client.
//
// The members are cut by theme: postgres_queries.cpp, postgres_operators.cpp, postgres_calls.cpp (function calls,
// conversions).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/postgres_dialect/postgres_printer.h"

namespace mercato::store::postgres {

class SqlWriter final : private dialect::SqlPrinter {
 public:
  SqlWriter(dialect::SyntaxTree& tree, Markers markers, dialect::UsedSearches used)
      : SqlPrinter(tree), markers_(markers), used_(used) {}
  Translation translation();

 private:
  // Literals.
  void bound(const dialect::Literal& literal) override;
  void size(std::uint32_t literal) override { parameter(Binding::Use::value, ValueType::whole, {literal}); }
  ValueType type_of(const dialect::Parameter& parameter) const;
  void parameter(Binding::Use use, ValueType type, dialect::Parameter parameter, std::uint32_t escape = UINT32_MAX);

  // Queries.
  void query(const dialect::Query& query) override;
  void single(const dialect::Query& query);
  void show_groups_of(const dialect::Select& select);
  void rows_and_groups(const dialect::Select& select);
  void distinct(const dialect::Query& query);
  bool needs_keys(const dialect::Query& query) const;
  void united(const dialect::Query& query);
  void without_doubles(const dialect::Query& query, std::size_t selects);
  void united_parts(const dialect::Query& query, std::size_t first, std::size_t end);
  void selected(const dialect::Select& select);
  void conditions(const dialect::Select& select) override;
  void identity(const dialect::Select& select) override;
  void identity_columns(std::string_view separator);
  void rows_of_subselect(const dialect::Source& source) override;
  void order_by(const dialect::Query& query);
  void order_by_columns(const dialect::Query& query);
  void direction(const dialect::OrderItem& item, bool may_be_null);
  void columns(std::size_t count);
  static void column_of_rows(std::string& sql, std::size_t position);
  void keyed_columns(std::span<const dialect::ResultItem> items);

  // A column outside of an aggregate stands for its group: all rows of it have the same key, and one of their texts is
  // shown.
  void column(const dialect::Expression& column) override;
  bool stands_for_group(const dialect::Expression& column) const;

  // Texts that are compared.
  void key(const dialect::Expression& operand);
  void ordered(const dialect::Expression& operand, ColumnType type);
  void left_operand(const dialect::Expression& operand, ColumnType type, bool other_is_column) override;
  void right_operand(const dialect::Expression& operand, ColumnType type) override;
  void shown(const dialect::Expression& item) override;
  void grouped(const dialect::Expression& item) override;

  // Operators.
  std::string_view before(const dialect::Arithmetic& arithmetic) override;
  void behind(const dialect::Arithmetic& arithmetic) override;
  void like(const dialect::Like& like) override;
  void like_literal(const dialect::Like& like);
  void in_query(const dialect::InQuery& in) override;

  // Function calls.
  void call(const dialect::Call& call) override;
  void scalar(const dialect::Call& call);
  void aggregate(const dialect::Aggregate& aggregate) override;
  void cast(const dialect::Cast& cast) override;
  std::string_view rounding() override { return "mercato_round("; }
  void cast_size(std::uint32_t literal) override;
  Around around(const dialect::TypeConversion& conversion) override;

  Markers markers_;
  const dialect::UsedSearches used_;
  Translation result_;
  const dialect::Select* group_ = nullptr;  // whose groups are being shown
};

}  // namespace mercato::store::postgres
