// SPDX-License-Identifier: Apache-2.0
#include "platform/store/driver.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/row_observer.h"
#include "platform/store/statement_observer.h"
#include "values/same_text.h"
#include "values/squeezed_text.h"
#include "values/text.h"

namespace mercato::store {

std::string Driver::means_of_upkeep(const std::string& /*connection_string*/) const {
  return "Its documentation names them";
}

Session::Session(std::string_view failure_source)
    : failure_source_(failure_source), lexed_(std::make_unique<dialect::LexedStatement>()) {}

Session::~Session() = default;

Execution Session::execute(const Sql& statement, ExecuteOptions options) {
  observe_statement(statement.text());
  check_call_limit_now();
  refuse_if_lost();
  before_statement();
  if (is_last_setting(statement)) return {};
  try {
    dialect::lex(statement.text(), *lexed_);
    dialect::check_pieces(statement, *lexed_);
    Execution execution = run(*lexed_, options);
    if (execution.nothing_to_do && statement.marks().empty()) last_setting_ = statement.text();
    observe_written_rows(execution.affected);
    return execution;
  } catch (const Raised& failed) {
    if (failed.error().Source != dialect::kRefusalSource || failure_source_ == dialect::kRefusalSource) throw;
    fail(failed.error().Number, failed.error().Description);
  }
}

bool Session::is_last_setting(const Sql& statement) const {
  return !last_setting_.empty() && statement.text() == last_setting_ && statement.marks().empty();
}

void Session::foresee(std::span<const Sql> queries) {
  if (!foresees()) return;
  expect_nothing();
  dialect::LexedStatement lexed;
  try {
    for (const Sql& query : queries) {
      dialect::lex(query.text(), lexed);
      dialect::check_pieces(query, lexed);
      expect(lexed);
    }
  } catch (const Raised&) {
    // One that is refused is refused when it is executed, and those behind it do not come.
  }
}

std::optional<std::vector<std::int64_t>> Session::proposals(const TableInfo& table, std::span<const std::string> words,
                                                            std::size_t most) {
  check_call_limit_now();
  refuse_if_lost();
  before_statement();
  if (!table.has_text_index() || std::ranges::none_of(table.columns, &Column::assigned)) return std::nullopt;
  std::vector<std::string> folded;
  for (const std::string& word : words)
    if (std::string each = text::folded(word); !text::Trigrams(each).next().empty()) folded.push_back(std::move(each));
  if (folded.empty()) return std::nullopt;
  return propose(table, folded, most);
}

std::vector<std::int64_t> Session::propose(const TableInfo&, std::span<const std::string>, std::size_t) {
  raise(error_number::kFeatureNotAvailable);
}

RowIdentity Session::insert_row(const TableInfo& table, std::span<const std::size_t> columns,
                                std::span<const Variant> values) {
  refuse_if_lost();
  refuse_assigned(table, columns, false);
  RowIdentity row = insert(table, columns, values);
  observe_written_rows(1);
  return row;
}

void Session::update_row(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                         std::span<const Variant> values) {
  refuse_if_lost();
  refuse_assigned(table, columns, true);
  update(table, row, columns, values);
  observe_written_rows(1);
}

void Session::copy_rows(const TableInfo& table, std::span<const std::vector<Variant>> rows) {
  check_call_limit_now();
  refuse_if_lost();
  insert_whole(table, rows);
  observe_written_rows(static_cast<std::int64_t>(rows.size()));
}

void Session::insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows) {
  std::vector<std::size_t> columns(table.columns.size());
  std::iota(columns.begin(), columns.end(), std::size_t{0});
  for (const std::vector<Variant>& row : rows) insert(table, columns, row);
}

// In the words of the server whose dialect the library writes.
void Session::refuse_assigned(const TableInfo& table, std::span<const std::size_t> columns, bool updates) const {
  for (const std::size_t column : columns) {
    if (!table.columns[column].assigned) continue;
    fail(error_number::kStatementRefused, updates ? "Cannot update identity column '" + table.columns[column].name + "'"
                                                  : "Cannot insert explicit value for identity column in table '" +
                                                        table.name + "' when IDENTITY_INSERT is set to OFF");
  }
}

void Session::commit() {
  if (!lost_.empty()) {
    const std::string reason = lost_;
    rollback();
    fail(error_number::kStoreFailure,
         "Nothing of this transaction stands: the store undid it after a failure. " + reason);
  }
  commit_transaction();
}

void Session::rollback() {
  roll_back_transaction();
  lost_.clear();
}

bool Session::reset() noexcept {
  const bool usable = end_use();
  lost_.clear();
  return usable;
}

void Session::refuse_if_lost() const {
  if (!lost_.empty())
    fail(error_number::kStoreFailure,
         "This transaction can only be rolled back: the store undid it after a failure. " + lost_);
}

void Session::fail(std::int32_t number, std::string description) const {
  raise(number, std::string(failure_source_), std::move(description));
}

std::optional<std::string> connection_property(std::string_view connection_string, std::string_view key) {
  for (std::size_t begin = 0; begin <= connection_string.size();) {
    const std::size_t end = std::min(connection_string.find(';', begin), connection_string.size());
    const std::string_view pair = connection_string.substr(begin, end - begin);
    if (const std::size_t equals = pair.find('=');
        equals != std::string_view::npos && text::equal_names(text::trim(pair.substr(0, equals)), key))
      return std::string(text::trim(pair.substr(equals + 1)));
    begin = end + 1;
  }
  return std::nullopt;
}

Variant to_column_type(const Variant& value, ColumnType type) {
  if (value.is_null() || value.is_empty()) return kNull;
  // What reads as a number elsewhere but is none: an empty text, which automation clients refuse too.
  switch (type) {
    case ColumnType::unknown:
      return value;
    case ColumnType::short_integer:
      // The flags are such columns, and statements compare them with 1.
      if (value.type() == Variant::Type::boolean) return static_cast<std::int16_t>(value.boolean_value());
      return value.to_short();
    case ColumnType::long_integer:
      return value.to_long();
    case ColumnType::boolean:
      return value.to_boolean();
    case ColumnType::real:
      return value.to_double();
    case ColumnType::money:
      return value.to_currency();
    case ColumnType::date:
      return value.to_date();
    case ColumnType::text:
      return value.is_text() ? value : Variant(value.to_text());
  }
  raise(error_number::kInvalidArgument);
}

}  // namespace mercato::store
