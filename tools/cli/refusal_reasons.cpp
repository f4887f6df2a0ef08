// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/refusal_reasons.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>

#include "collaborators/grundwerk/referential_checker.h"
#include "frame/sentence.h"
#include "frame/table_columns.h"
#include "mercato/object_context.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/terminal.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

// What the rows of a table are called.
struct Noun {
  std::string_view table;
  const char* one;
  const char* several;
};
constexpr Noun kNouns[] = {
    {"PRODUCT", "product", "products"},
    {"PRODUCTPROPVALUE", "value of a product", "values of products"},
    {"PRODUCTCATEGORY", "category", "categories"},
    {"PROPERTY", "property", "properties"},
    {"PROPERTYGROUP", "property group", "property groups"},
    {"COMMODITY", "commodity", "commodities"},
    {"CATALOG", "catalogue", "catalogues"},
    {"UNIT", "unit", "units"},
    {"HAZARDOUSCLASS", "hazardous class", "hazardous classes"},
    {"UNSPSCCODES", "UNSPSC code", "UNSPSC codes"},
    {"USERS", "user", "users"},
    {"BUSINESSPARTNER", "business partner", "business partners"},
    {"CURRENCY", "currency", "currencies"},
    {"FAQISSUE", "question", "questions"},
};

// For any other table, such as a deployment's own: "row of STOCK".
std::string noun_of(std::string_view table, bool several = false) {
  const auto* noun = std::find_if(std::begin(kNouns), std::end(kNouns),
                                  [&](const Noun& known) { return text::equal_names(known.table, table); });
  if (noun == std::end(kNouns)) return (several ? "rows of " : "row of ") + std::string(table);
  return several ? noun->several : noun->one;
}

const char* wanted_by(store::ColumnType type) {
  switch (type) {
    case store::ColumnType::date:
      return "a date such as 2026-07-01 or 7/1/2026";
    case store::ColumnType::short_integer:
    case store::ColumnType::long_integer:
      return "a whole number";
    case store::ColumnType::boolean:
      return "1 or 0";
    default:
      return "a number";
  }
}

// Nothing when the column takes the value.
std::string misfit(const store::Column& column, const Variant& value) {
  switch (column_fault(column, value)) {
    case ColumnFault::none:
      return {};
    case ColumnFault::is_null:
      return column.name + " is empty";
    case ColumnFault::too_long:
      return column.name + " takes at most " + std::to_string(column.width) + " characters, not " +
             std::to_string(text::length(value.to_text()));
    case ColumnFault::out_of_range:
      return column.name + " does not go as far as " + value.to_text();
    case ColumnFault::wrong_type:
      return column.name + " takes " + wanted_by(column.type) + ", not '" + value.to_text() + "'";
  }
  return {};
}

// Nothing when no rule is asked for this column, or the reference resolves.
std::string dangling(std::string_view table, const store::Column& column, const Variant& value) {
  const auto reference = collaborators::unresolved_reference(table, column.name, value);
  return reference ? "there is no " + noun_of(reference->to_table) + " " + value.to_text() : std::string();
}

Reasons kept_reasons;  // of the failure that is under way

}  // namespace

Reasons reasons_against_delete(std::string_view table, const Variant& key) {
  Reasons reasons;
  for (const auto& [reference, rows] : collaborators::rows_that_refer(table, key))
    reasons.push_back(std::to_string(rows) + " " + noun_of(reference.from_table, rows > 1) +
                      (rows == 1 ? " still uses " : " still use ") + noun_of(table) + " " + key.to_text());
  return reasons;
}

Reasons reasons_against_write(std::string_view table, const Array& fields, const Array& values) {
  const auto info = table_columns(connection_string(), table);
  if (!info) return {};
  Reasons reasons;
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
    const std::string field = fields.at(index).to_text();
    const auto position = info->find(field);
    if (!position) {
      reasons.push_back("there is no field " + field);
      continue;
    }
    const store::Column& column = info->columns[*position];
    std::string reason = misfit(column, values.at(index));
    if (reason.empty()) reason = dangling(table, column, values.at(index));
    if (!reason.empty()) reasons.push_back(std::move(reason));
  }
  return reasons;
}

Reasons reasons_against_user(const std::string& user) {
  if (user.find('\'') == std::string::npos) return {};
  return {"the library puts a user's id into its statements as it stands, so that it cannot ask for " + user +
          ", which has a quote"};
}

void expect_row(std::string_view table, const Variant& key) {
  if (!has_row(connection_string(), table, key))
    raise(error_number::kInvalidArgument, {}, "There is no " + noun_of(table) + " " + key.to_text());
}

void expect_no_assigned_field(std::string_view table, const Array& fields) {
  const auto info = table_columns(connection_string(), table);
  if (!info) return;
  for (const Variant& field : fields.items)
    if (const auto position = info->find(field.to_text()); position && info->columns[*position].assigned)
      raise(error_number::kInvalidArgument, {}, "The store gives out " + field.to_text() + " itself: leave it out");
}

void expect_user(const std::string& user, bool force) {
  if (force || has_row(connection_string(), "USERS", user)) return;
  raise(error_number::kInvalidArgument, {}, "There is no user " + user + "; --force takes him all the same");
}

RaisedError told_with(const RaisedError& error, const Reasons& reasons) {
  if (error.Number != error_number::kStatementRefused || reasons.empty()) {
    kept_reasons = reasons;
    return error;
  }
  std::string words;
  for (const std::string& reason : reasons) words += (words.empty() ? "" : "; ") + reason;
  return told_as(error, words);
}

Reasons take_reasons() { return std::exchange(kept_reasons, {}); }

void print_reasons(const Reasons& reasons) {
  for (const std::string& reason : reasons) std::cerr << alarming("refused: ") << shown(reason, 500) << '\n';
}

int refuse(const OutputOptions& output, gateway::Json values, const std::string& result, const Reasons& reasons) {
  if (output.json) {
    values["reasons"] = reasons.empty() ? Reasons{result} : reasons;
    std::cout << gateway::line_of(values) << '\n';
  } else {
    print_reasons(reasons);
    std::cerr << alarming("mercato: ") << result << '\n';
  }
  return kFailed;
}

int delete_row(const Deletion& deletion, const OutputOptions& output) {
  expect_row(deletion.table, deletion.key);
  const auto reasons = [&] { return reasons_against_delete(deletion.table, deletion.key); };
  const std::string row = noun_of(deletion.table) + " " + deletion.key.to_text();
  if (!deletion.yes && reasons().empty())
    expect_consent(row + (deletion.name.empty() ? "" : " " + deletion.name) + " will be deleted");
  const bool deleted =
      explaining([&](const RaisedError&) { return reasons(); },
                 [&] { return call(create_root(deletion.prog_id), deletion.method, {deletion.key}).to_boolean(); });
  const gateway::Json json = {{"deleted", deleted}};
  if (!deleted) return refuse(output, json, row + " stays.", reasons());
  return answer(output, json, row + " deleted.");
}

}  // namespace mercato::cli
