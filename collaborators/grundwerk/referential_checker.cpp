// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/referential_checker.h"

#include <algorithm>

#include "collaborators/query.h"
#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "mercato/invoke.h"
#include "mercato/reference_rules.h"
#include "values/text.h"

namespace mercato::collaborators {
namespace {

// Null when the column is not among the fields.
Variant value_of(std::string_view column, const Array& fields, const Array& values) {
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index)
    if (text::equal_names(fields.at(index).to_text(), column)) return values.at(index);
  return kNull;
}

bool refers_to_nothing(const Variant& key) {
  return key.is_null() || key.is_empty() || key.is_missing() || (key.is_text() && text::trim(key.text_value()).empty());
}

// The end of a statement that reads the rows with this key.
Sql from_rows_with(const std::string& table, const std::string& column, KeyKind kind, const Variant& key) {
  Sql sql = Sql(" FROM ") << name(table) << " WHERE " << name(column) << " = ";
  switch (kind) {
    case KeyKind::number:
      sql << key.to_long();
      break;
    case KeyKind::text:
      sql << "N'" << value(Gen_QuoteSql(key.to_text())) << "'";
      break;
    case KeyKind::code:
      // Its owner deletes it without the blanks around it; a row may hold it with them.
      sql << "N'" << value(Gen_QuoteSql(text::trim(key.to_text()))) << "' OR " << name(column) << " = N'"
          << value(Gen_QuoteSql(key.to_text())) << "'";
      break;
  }
  return sql;
}

bool row_exists(const std::string& table, const std::string& column, KeyKind kind, const Variant& key) {
  return !Query(Sql("SELECT TOP 1 ") << name(column) << from_rows_with(table, column, kind, key))->Eof();
}

bool resolves(const Reference& reference, const Variant& key) {
  if (reference.owner.empty()) return row_exists(reference.to_table, reference.to_column, reference.kind, key);
  return invoke(Gen_GetComponent(reference.owner), "IReferentialIntegrity_Exists",
                {Variant(), Array{reference.to_column}, Array{key}})
      .to_boolean();
}

}  // namespace

const ClassTable& ReferentialChecker::table() {
  static const ClassTable table =
      ClassTable::of<ReferentialChecker>("Grundwerk.ReferentialChecker", "{B85E2D17-0C3A-4F96-A1D4-7E60C9F2385B}",
                                         TransactionAttribute::undeclared)
          .collaborator()
          .never_waits()
          .method("RunBeforeDelete", &ReferentialChecker::RunBeforeDelete, {"owner", "fields", "values"})
          .method("CheckReferences", &ReferentialChecker::CheckReferences, {"application", "table", "fields", "values"})
          .method("CheckBeforeDelete", &ReferentialChecker::CheckBeforeDelete,
                  {"application", "table", "fields", "values"});
  return table;
}

bool ReferentialChecker::RunBeforeDelete(std::string& owner, Array& fields, Array& values) {
  const auto rules = reference_rules();
  const auto dependents = rules->dependents.find(owner);
  if (dependents == rules->dependents.end()) return true;
  return std::all_of(dependents->second.begin(), dependents->second.end(), [&](const std::string& prog_id) {
    return invoke(Gen_GetComponent(prog_id), "IReferentialIntegrity_BeforeDelete", {Variant(), fields, values})
        .to_boolean();
  });
}

bool ReferentialChecker::CheckReferences(const std::string&, const std::string& table, const Variant& fields,
                                         const Variant& values) {
  const auto rules = reference_rules();
  return std::all_of(rules->references.begin(), rules->references.end(), [&](const Reference& reference) {
    if (reference.checked != Checked::before_write || !text::equal_names(reference.from_table, table)) return true;
    const Variant key = value_of(reference.from_column, fields.to_array(), values.to_array());
    return refers_to_nothing(key) || resolves(reference, key);
  });
}

bool ReferentialChecker::CheckBeforeDelete(const std::string&, const std::string& table, const Variant& fields,
                                           const Variant& values) {
  const auto rules = reference_rules();
  return std::none_of(rules->references.begin(), rules->references.end(), [&](const Reference& reference) {
    if (reference.checked != Checked::before_delete || !text::equal_names(reference.to_table, table)) return false;
    const Variant key = value_of(reference.to_column, fields.to_array(), values.to_array());
    return !refers_to_nothing(key) && row_exists(reference.from_table, reference.from_column, reference.kind, key);
  });
}

std::vector<ReferringRows> rows_that_refer(std::string_view table, const Variant& key) {
  std::vector<ReferringRows> referring;
  const auto rules = reference_rules();
  for (const Reference& reference : rules->references) {
    if (reference.checked != Checked::before_delete || !text::equal_names(reference.to_table, table)) continue;
    const Query query(Sql("SELECT COUNT(*) AS USES")
                      << from_rows_with(reference.from_table, reference.from_column, reference.kind, key));
    if (const std::int32_t rows = query->Value("USES").to_long(); rows > 0) referring.push_back({reference, rows});
  }
  return referring;
}

std::optional<Reference> unresolved_reference(std::string_view table, std::string_view column, const Variant& value) {
  if (value.is_null()) return std::nullopt;
  const auto rules = reference_rules();
  for (const Reference& reference : rules->references) {
    if (reference.checked != Checked::before_write || !text::equal_names(reference.from_table, table) ||
        !text::equal_names(reference.from_column, column))
      continue;
    if (reference.kind == KeyKind::number && value.to_long() == -1) continue;
    grundwerk::ReferentialChecker checker;
    if (!checker.CheckReferences(std::string(table), Array{column}, Array{value})) return reference;
  }
  return std::nullopt;
}

}  // namespace mercato::collaborators
