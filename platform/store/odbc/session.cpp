// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/session.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <numeric>
#include <optional>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/lock_timeout.h"
#include "platform/store/odbc/cursor.h"
#include "values/text.h"

namespace mercato::store::odbc {
namespace {

struct KnownDialect {
  std::string_view name;
  FailureReader failure_of;
  std::unique_ptr<Engine> (*make)(Connection& connection, const bool& in_transaction);
};

// The first one is meant where none is named.
constexpr KnownDialect kKnownDialects[] = {
    {"TSQL", &failure_of_tsql, &make_tsql_engine},
    {"PostgreSQL", &failure_of_postgresql, &make_postgresql_engine},
};

const KnownDialect& dialect_of(const std::string& connection_string) {
  const auto name = connection_property(connection_string, "Dialect");
  if (!name) return kKnownDialects[0];
  std::string known;
  for (const KnownDialect& candidate : kKnownDialects) {
    if (text::equal_names(candidate.name, *name)) return candidate;
    known += (known.empty() ? "" : ", ") + std::string(candidate.name);
  }
  raise_store_failure("There is no dialect '" + *name + "'. Known dialects: " + known);
}

}  // namespace

OdbcSession::OdbcSession(const std::string& connection_string)
    : Session(kFailureSource),
      connection_(connection_string, dialect_of(connection_string).failure_of),
      engine_(dialect_of(connection_string).make(connection_, begun_)) {
  engine_->set_up(lock_timeout_of(connection_string, kFailureSource));
}

OdbcSession::~OdbcSession() { reset(); }

bool OdbcSession::outdated() const noexcept { return connection_.has_ended(); }

// Statements

Execution OdbcSession::run(const dialect::LexedStatement& statement, ExecuteOptions options) {
  leave_query();
  engine_->look_at_tables();
  Command command = engine_->command(statement, options.identified);
  switch (command.kind) {
    case dialect::StatementKind::nothing:
      return {.cursor = nullptr, .affected = 0, .nothing_to_do = true};
    case dialect::StatementKind::query:
      return {open_cursor(command), 0};
    case dialect::StatementKind::definition:
      as_one([&] { engine_->define(command); });
      engine_->tables().forget();
      return {};
    case dialect::StatementKind::insert:
    case dialect::StatementKind::update:
    case dialect::StatementKind::remove:
      break;
  }
  const auto write = [&] { return change(command.texts.front(), command.values, command.types, command.table); };
  if (!command.gives_key) {
    try {
      return {nullptr, write().affected};
    } catch (const Raised&) {
      command.table = has_lost_transaction() ? nullptr : engine_->table_of_refused_key(statement);
      if (command.table == nullptr) throw;
    }
  }
  Change changed;
  as_one([&] {
    engine_->begin_given_keys(*command.table);
    changed = write();
    engine_->end_given_keys(*command.table);
  });
  return {nullptr, changed.affected};
}

std::unique_ptr<Cursor> OdbcSession::open_cursor(const Command& command) {
  if (command.is_empty) return std::make_unique<OdbcCursor>(command.layout, command);
  send(command.texts.front(), command.values, command.types, nullptr, false);
  RowLayoutPtr layout = command.layout;
  if (!layout) {
    std::vector<Column> columns = connection_.columns();
    if (command.identified) columns.resize(columns.size() - command.identity.size());
    layout = std::make_shared<const RowLayout>(std::move(columns), command.result_table);
  }
  return std::make_unique<OdbcCursor>(*this, std::move(layout), command);
}

void OdbcSession::send(const std::string& text, const SentValues& values, std::span<const ValueType> types,
                       const TableInfo* table, bool writes) {
  opened_ = !begun_ && in_transaction_ && writes;
  try {
    const TransactionTexts& texts = engine_->transactions();
    if (opened_)
      connection_.control(texts.begin);
    else if (begun_ && *texts.save != '\0')
      connection_.control(texts.save);
    begun_ = begun_ || opened_;
    connection_.execute(text, values, types, table);
  } catch (const Raised& failed) {
    take_back(failed);
    throw;
  }
}

OdbcSession::Change OdbcSession::change(const std::string& text, const SentValues& values,
                                        std::span<const ValueType> types, const TableInfo* table,
                                        const IdentityColumns& returned) {
  send(text, values, types, table, true);
  Change change;
  try {
    // A trigger of the server's answers first, the statement last.
    do {
      if (!connection_.has_rows()) {
        change.affected = std::max(change.affected, connection_.changed());
        continue;
      }
      while (connection_.fetch()) {
        ++change.affected;
        if (change.has_row) continue;
        change.has_row = true;
        const std::vector<ColumnType> types_of_row =
            returned.is_number ? std::vector{ColumnType::unknown} : returned.types;
        for (std::size_t i = 0; i < types_of_row.size(); ++i)
          connection_.read(i, types_of_row[i], change.identity.key.emplace_back());
      }
    } while (connection_.next_answer());
    connection_.close();
  } catch (const Raised& failed) {
    take_back(failed);
    throw;
  }
  if (change.has_row && returned.is_number) {
    change.identity.number = static_cast<std::int64_t>(change.identity.key.front().to_double());
    change.identity.key.clear();
  }
  // No lock is kept for nothing: a transaction may stay open for as long as its object lives.
  if (opened_ && change.affected == 0) {
    begun_ = false;
    connection_.control(engine_->transactions().roll_back, Ending::awaited);
  }
  return change;
}

void OdbcSession::take_back(const Raised& failed) {
  if (!begun_) return;
  const std::string reason = failed.error().Description;
  const auto lose = [&] {
    begun_ = false;
    if (in_transaction_ && !opened_) lose_transaction(reason);
  };
  try {
    const TransactionTexts& texts = engine_->transactions();
    if (!connection_.is_usable()) return lose();
    if (!engine_->transaction_stands() || opened_) {
      lose();
      return connection_.control(texts.roll_back, Ending::awaited);
    }
    if (*texts.go_back != '\0') connection_.control(texts.go_back, Ending::awaited);
  } catch (const Raised&) {
    // Not even the way back was possible.
    lose();
  }
}

void OdbcSession::leave_query() {
  if (streaming_ != nullptr) streaming_->drain();
}

template <class Work>
void OdbcSession::as_one(Work work) {
  const TransactionTexts& texts = engine_->transactions();
  const bool begins = !begun_;
  connection_.control(begins ? texts.begin : texts.begin_step);
  begun_ = true;
  opened_ = false;
  try {
    work();
    if (!begins) {
      if (*texts.end_step != '\0') connection_.control(texts.end_step);
      return;
    }
    if (in_transaction_) return;
    begun_ = false;
    connection_.control(texts.commit, Ending::awaited);
  } catch (const Raised& failed) {
    const bool stands = connection_.is_usable() && begun_ && !begins && engine_->transaction_stands();
    if (stands) {
      connection_.control(texts.undo_step, Ending::awaited);
      throw;
    }
    const bool is_open = std::exchange(begun_, false);
    if (!begins && in_transaction_ && !has_lost_transaction()) lose_transaction(failed.error().Description);
    if (is_open && connection_.is_usable()) connection_.control(texts.roll_back, Ending::awaited);
    throw;
  }
}

// Tables and rows

const TableInfo* OdbcSession::table(std::string_view name) {
  if (const TableInfo* const known = engine_->tables().known(name)) return known;
  leave_query();
  engine_->look_at_tables();
  return engine_->tables().find(name);
}

bool OdbcSession::has_index(std::string_view table, std::string_view name) {
  leave_query();
  return engine_->has_index(table, name);
}

std::vector<std::int64_t> OdbcSession::propose(const TableInfo& table, std::span<const std::string> words,
                                               std::size_t most) {
  leave_query();
  return engine_->propose(table, words, most);
}

RowIdentity OdbcSession::insert(const TableInfo& table, std::span<const std::size_t> columns,
                                std::span<const Variant> values) {
  leave_query();
  const RowCommand row = engine_->insert(table, columns, values);
  Change inserted = change(row.text, row.values, row.types, &table, engine_->identity_of(table));
  if (inserted.has_row) return std::move(inserted.identity);
  RowIdentity identity;
  for (const std::size_t column : engine_->identifying_columns(table)) {
    const auto given = std::ranges::find(columns, column);
    identity.key.push_back(given == columns.end() ? kNull : values[static_cast<std::size_t>(given - columns.begin())]);
  }
  return identity;
}

void OdbcSession::update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                         std::span<const Variant> values) {
  leave_query();
  const RowCommand command = engine_->update(table, row, columns, values);
  Change changed = change(command.text, command.values, command.types, &table, engine_->identity_of(table));
  if (changed.affected == 0) raise_store_failure("The row to be changed is no longer in " + table.name);
  if (changed.has_row) {
    row = std::move(changed.identity);
    return;
  }
  const std::vector<std::size_t> identifying = engine_->identifying_columns(table);
  for (std::size_t i = 0; i < identifying.size(); ++i)
    if (const auto given = std::ranges::find(columns, identifying[i]); given != columns.end())
      row.key[i] = values[static_cast<std::size_t>(given - columns.begin())];
}

// As many rows in one statement as the server takes.
void OdbcSession::insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows) {
  if (rows.empty()) return;
  leave_query();
  std::vector<std::size_t> columns(table.columns.size());
  std::iota(columns.begin(), columns.end(), std::size_t{0});
  const std::vector<ValueType> types_of_row = value_types(table, columns);
  std::string names;
  for (const Column& column : table.columns) names += (names.empty() ? "" : ", ") + dialect::quoted_name(column.name);
  std::string places;
  for (std::size_t i = 0; i < columns.size(); ++i) places += i == 0 ? "?" : ", ?";
  const std::size_t most = std::max<std::size_t>(
      1, std::min(engine_->most_rows(), engine_->most_values() / std::max<std::size_t>(columns.size(), 1)));
  const bool gives_keys = std::ranges::any_of(table.columns, &Column::assigned);
  as_one([&] {
    if (gives_keys) engine_->begin_given_keys(table);
    for (std::size_t first = 0; first < rows.size(); first += most) {
      std::string text = "INSERT INTO " + dialect::quoted_name(table.name) + " (" + names + ") VALUES ";
      SentValues values;
      std::vector<ValueType> types;
      for (std::size_t row = first; row < std::min(first + most, rows.size()); ++row) {
        text += (row == first ? "(" : ", (") + places + ")";
        for (const Variant& value : rows[row]) values.push_back(sent_value(value));
        types.insert(types.end(), types_of_row.begin(), types_of_row.end());
      }
      connection_.execute(text, values, types, &table);
      while (connection_.next_answer()) {
      }
      connection_.close();
    }
    if (gives_keys) engine_->end_given_keys(table);
  });
}

// Transactions

void OdbcSession::commit_transaction() {
  in_transaction_ = false;
  if (!begun_) return;
  leave_query();
  begun_ = false;
  connection_.control(engine_->transactions().commit, Ending::awaited);
}

void OdbcSession::roll_back_transaction() {
  in_transaction_ = false;
  if (!std::exchange(begun_, false)) return;
  try {
    leave_query();
    connection_.control(engine_->transactions().roll_back, Ending::awaited);
    engine_->tables().forget();
  } catch (const Raised&) {
    // The server rolls back what a lost connection leaves.
  }
}

bool OdbcSession::unused() const noexcept { return !begun_ && !has_lost_transaction() && streaming_ == nullptr; }

bool OdbcSession::end_use() noexcept {
  try {
    if (streaming_ != nullptr) streaming_->detach();
    rollback();
    return connection_.is_usable();
  } catch (...) {
    return false;
  }
}

}  // namespace mercato::store::odbc
