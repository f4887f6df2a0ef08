// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_printer.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/resolver.h"
#include "platform/store/postgres_dialect/postgres_writer.h"

namespace mercato::store::postgres {
namespace {

// WHERE 0=1: how a recordset is opened to which rows are only added.
bool has_no_row(const dialect::SyntaxTree& tree) {
  if (tree.translation.kind != dialect::StatementKind::query || tree.query->selects.size() != 1) return false;
  const dialect::Select& select = tree.query->first();
  if (select.grouped || select.where == nullptr || select.where->kind != dialect::NodeKind::comparison) return false;
  const auto& condition = static_cast<const dialect::Comparison&>(*select.where);
  const auto number = [&tree](const dialect::Expression& operand) -> std::optional<double> {
    if (operand.kind != dialect::NodeKind::literal || operand.type == ColumnType::text) return std::nullopt;
    const auto& literal = static_cast<const dialect::Literal&>(operand);
    if (literal.conversion != dialect::Conversion::none) return std::nullopt;
    return dialect::parameter_value(tree.lexed, {literal.position}).to_double();
  };
  const auto left = number(*condition.left), right = number(*condition.right);
  return condition.operation == dialect::ComparisonOperator::equal && left && right && *left != *right;
}

std::string_view type_name(ValueType type) {
  switch (type) {
    case ValueType::text:
      return "text";
    case ValueType::whole:
      return "bigint";
    case ValueType::real:
      return "float8";
    case ValueType::money:
      return "numeric";
    case ValueType::date:
      return "timestamp";
  }
  return "text";
}

}  // namespace

IdentityKind identity_kind(const TableInfo& table) {
  const bool numbered = table.key.empty() || (table.key.size() == 1 && table.columns[table.key.front()].assigned);
  return numbered ? IdentityKind::number : IdentityKind::key;
}

Translation translate(const dialect::LexedStatement& lexed, const dialect::TableDirectory& tables, bool identified,
                      Markers markers, dialect::UsedSearches used) {
  dialect::SyntaxTree tree(lexed);
  dialect::resolve_statement(tree, tables, identified);
  if (!tree.definition) return SqlWriter(tree, markers, used).translation();
  Translation result;
  result.common = std::move(tree.translation);
  result.common.statements = definition_sql(*tree.definition);
  return result;
}

Translation SqlWriter::translation() {
  result_.bindings.reserve(tree_.lexed.literals.size());
  result_.is_empty = has_no_row(tree_);
  if (result_.is_empty) tree_.translation.depends_on_literals = true;
  if (tree_.translation.kind != dialect::StatementKind::nothing) tree_.translation.statements.push_back(write());
  if (result_.bindings.size() > kMostParameters)
    dialect::refuse("The statement has more than " + std::to_string(kMostParameters) +
                    " values. Send them in several statements");
  result_.gives_key = std::ranges::any_of(tree_.insert_columns, &Column::assigned);
  if (tree_.identity != nullptr) result_.identity = identity_kind(*tree_.identity->table);
  result_.common = std::move(tree_.translation);
  return std::move(result_);
}

// Literals

void SqlWriter::bound(const dialect::Literal& literal) {
  const dialect::Parameter converted{literal.position, literal.literal->conversion};
  parameter(Binding::Use::value, type_of(converted), converted);
}

ValueType SqlWriter::type_of(const dialect::Parameter& parameter) const {
  switch (parameter.conversion) {
    case dialect::Conversion::text:
      return ValueType::text;
    case dialect::Conversion::date:
      return ValueType::date;
    case dialect::Conversion::money:
      return ValueType::money;
    case dialect::Conversion::boolean:
      return ValueType::whole;
    case dialect::Conversion::none:
      if (dialect::text_as_it_stands(tree_.lexed, parameter)) return ValueType::text;
      break;
    case dialect::Conversion::number:
      break;
  }
  const Variant value = dialect::parameter_value(tree_.lexed, parameter);
  if (value.is_text()) return ValueType::text;
  return value.type() == Variant::Type::real ? ValueType::real : ValueType::whole;
}

void SqlWriter::parameter(Binding::Use use, ValueType type, dialect::Parameter parameter, std::uint32_t escape) {
  result_.bindings.push_back({use, type, parameter, escape});
  if (markers_ == Markers::by_place) {
    text("CAST(? AS ");
    text(type_name(type));
    return text(")");
  }
  sql_ += '$';
  sql_ += std::to_string(result_.bindings.size());
}

}  // namespace mercato::store::postgres
