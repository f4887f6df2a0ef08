// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/session.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <numeric>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/postgres/cursor.h"
#include "platform/store/postgres_dialect/postgres_store.h"
#include "platform/store/postgres_dialect/row_texts.h"

namespace mercato::store::postgres {
namespace {

using dialect::quoted_name;

constexpr std::size_t kMostRowWriters = 256;

// In a run. A plan is made once for many executions: one that was made for a small table would read all of it while the
// run fills it, so where there is an index the plans of a run use it.
constexpr const char* kSettingsOfRun[] = {"SET synchronous_commit = off", "SET enable_seqscan = off", "DISCARD PLANS"};
constexpr const char* kSettingsBehindRun[] = {"RESET synchronous_commit", "RESET enable_seqscan", "DISCARD PLANS"};

std::int64_t number_of(std::string_view digits) {
  std::int64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

// Of a row that was returned.
RowIdentity identity_of(const PGresult* returned, const TableInfo& table) {
  RowIdentity identity;
  const auto text_at = [returned](int column) {
    return std::string_view(PQgetvalue(returned, 0, column),
                            static_cast<std::size_t>(PQgetlength(returned, 0, column)));
  };
  if (identity_kind(table) == IdentityKind::number) {
    identity.number = number_of(text_at(0));
    return identity;
  }
  for (const ColumnType type : key_types_of(table)) {
    const int column = static_cast<int>(identity.key.size());
    read_value(text_at(column), type, given_type(PQftype(returned, column)), identity.key.emplace_back());
  }
  return identity;
}

bool succeeded(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
}

}  // namespace

CachedStatement::~CachedStatement() {
  if (name.empty() || !dropped) return;
  try {
    dropped->push_back(std::move(name));
  } catch (const std::bad_alloc&) {
    // It stays prepared for as long as the connection lives.
  }
}

PostgresSession::~PostgresSession() { reset(); }

// Statements

Execution PostgresSession::run(const dialect::LexedStatement& statement, ExecuteOptions options) {
  failed_with_.clear();
  if (std::unique_ptr<Cursor> ahead = take_foreseen(statement, options)) return {std::move(ahead), 0};
  leave_queries();
  try {
    return run_once(statement, options);
  } catch (const Raised& failed) {
    note_lost_connection(failed);
    // What was known of the tables may have been the reason: somebody else has defined them anew. Nothing has happened.
    if (translated_anew_ || !is_about_tables(failed_with_)) throw;
  }
  forget_schema();
  return run_once(statement, options);
}

Execution PostgresSession::run_once(const dialect::LexedStatement& lexed, ExecuteOptions options) {
  SentValues values;
  const CachedStatementPtr statement = translated(lexed, options.identified, values);
  const dialect::Translation& translation = statement->translation.common;
  switch (translation.kind) {
    case dialect::StatementKind::nothing:
      return {.cursor = nullptr, .affected = 0, .nothing_to_do = true};
    case dialect::StatementKind::query:
      return {open_cursor(statement, values), 0};
    case dialect::StatementKind::definition:
      define(translation);
      return {};
    case dialect::StatementKind::insert:
    case dialect::StatementKind::update:
    case dialect::StatementKind::remove:
      break;
  }
  const ResultHandle changed =
      statement->translation.gives_key ? change_with_given_key(*statement, values) : change(*statement, values);
  return {nullptr, number_of(PQcmdTuples(changed.get()))};
}

CachedStatementPtr PostgresSession::translated(const dialect::LexedStatement& lexed, bool identified,
                                               SentValues& values) {
  translated_anew_ = false;
  CachedStatementPtr statement = statements_.find(lexed, identified);
  if (!statement) {
    // Somebody else may have defined the table that this one names.
    if (tables_.refresh()) forget_schema();
    statement = translate_anew(lexed, identified, false);
  }
  const Proposals proposals = text_proposals_.for_statement(statement->translation.searches, lexed);
  if (proposals.used != 0) {
    statement = statements_.find(lexed, identified, proposals.used);
    if (!statement) statement = translate_anew(lexed, identified, false, proposals.used);
  }
  if (bind_literals(statement->translation.bindings, lexed, values, proposals.matches)) return statement;
  statement = translate_anew(lexed, identified, true, proposals.used);
  bind_literals(statement->translation.bindings, lexed, values, proposals.matches);
  return statement;
}

CachedStatementPtr PostgresSession::translate_anew(const dialect::LexedStatement& lexed, bool identified,
                                                   bool for_these_literals, dialect::UsedSearches used) {
  translated_anew_ = true;
  auto statement = std::make_shared<CachedStatement>();
  statement->translation = translate(lexed, tables_, identified, Markers::numbered, used);
  statement->dropped = dropped_;
  const dialect::Translation& translation = statement->translation.common;
  if (translation.kind == dialect::StatementKind::query)
    statement->layout = std::make_shared<const RowLayout>(translation.result, translation.table);
  if (translation.identified) statement->key_types = key_types_of(*tables_.find(translation.table));
  if (translation.kind != dialect::StatementKind::definition)
    statements_.insert(statement, lexed, identified, for_these_literals || translation.depends_on_literals, used);
  return statement;
}

std::unique_ptr<Cursor> PostgresSession::open_cursor(const CachedStatementPtr& statement, const SentValues& values) {
  if (statement->translation.is_empty) return std::make_unique<PostgresCursor>(statement);
  send_command(*statement, values, false);
  connection_.stream_rows();
  return std::make_unique<PostgresCursor>(*this, statement);
}

// Tables and rows

const TableInfo* PostgresSession::table(std::string_view name) {
  if (std::exchange(stale_, false)) forget_schema();
  if (const TableInfo* const known = tables_.known(name)) return known;
  leave_queries();
  if (tables_.refresh()) forget_schema();
  return tables_.find(name);
}

bool PostgresSession::has_index(std::string_view table, std::string_view name) {
  leave_queries();
  return tables_.has_index(table, name);
}

std::vector<std::int64_t> PostgresSession::propose(const TableInfo& table, std::span<const std::string> words,
                                                   std::size_t most) {
  leave_queries();
  return text_proposals_.keys(table, words, most);
}

RowIdentity PostgresSession::insert(const TableInfo& table, std::span<const std::size_t> columns,
                                    std::span<const Variant> values) {
  const CachedStatementPtr writer = row_writer(table, false, columns);
  SentValues sent;
  for (const Variant& value : values) sent.push_back(sent_value(value));
  return identity_of(change(*writer, sent).get(), table);
}

void PostgresSession::update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                             std::span<const Variant> values) {
  const CachedStatementPtr writer = row_writer(table, true, columns);
  SentValues sent;
  for (const Variant& value : values) sent.push_back(sent_value(value));
  if (identity_kind(table) == IdentityKind::number)
    sent.emplace_back(std::to_string(row.number));
  else
    for (const Variant& value : row.key) sent.push_back(sent_value(value));
  const ResultHandle changed = change(*writer, sent);
  if (number_of(PQcmdTuples(changed.get())) == 0)
    raise_store_failure("The row to be changed is no longer in " + table.name);
  if (PQnfields(changed.get()) > 0) row = identity_of(changed.get(), table);
}

CachedStatementPtr PostgresSession::row_writer(const TableInfo& table, bool updates,
                                               std::span<const std::size_t> columns) {
  leave_queries();
  std::string text =
      updates ? update_text(table, columns, Markers::numbered) : insert_text(table, columns, Markers::numbered);
  if (const auto known = row_writers_.find(text); known != row_writers_.end()) return known->second;
  if (row_writers_.size() == kMostRowWriters) row_writers_.clear();
  auto statement = std::make_shared<CachedStatement>();
  statement->dropped = dropped_;
  statement->translation.common.table = table.name;
  statement->translation.common.statements = {text};
  return row_writers_.emplace(std::move(text), std::move(statement)).first->second;
}

// Commands

void PostgresSession::leave_queries() {
  if (streaming_ != nullptr) streaming_->drain();
  forget_foreseen();
}

// Queries that are known ahead

void PostgresSession::expect_nothing() { expected_.clear(); }

// One that is not prepared yet waits until it is executed, and so do those behind it.
void PostgresSession::expect(const dialect::LexedStatement& query) {
  const CachedStatementPtr statement = statements_.find(query, false);
  SentValues values;
  const bool is_ready = statement && !statement->name.empty() && !statement->translation.is_empty &&
                        statement->translation.common.kind == dialect::StatementKind::query &&
                        bind_literals(statement->translation.bindings, query, values);
  if (!is_ready) dialect::refuse("The query is not known yet");
  expected_.push_back({std::string(query.text), statement, std::move(values)});
}

// Each in a batch of its own, as if it were sent when the write has been answered.
void PostgresSession::send_expected() {
  // In a transaction one that failed would take it along.
  if (begun_) expected_.clear();
  for (Foreseen& query : std::exchange(expected_, {})) {
    connection_.run(query.statement->name, query.values);
    connection_.flush();
    foreseen_.push_back(std::move(query));
  }
}

std::unique_ptr<Cursor> PostgresSession::take_foreseen(const dialect::LexedStatement& lexed, ExecuteOptions options) {
  if (foreseen_.empty()) return nullptr;
  if (options.identified || foreseen_.front().text != lexed.text) return nullptr;
  if (streaming_ != nullptr) streaming_->drain();
  const CachedStatementPtr statement = std::move(foreseen_.front().statement);
  foreseen_.pop_front();
  connection_.stream_rows();
  return std::make_unique<PostgresCursor>(*this, statement);
}

void PostgresSession::forget_foreseen() {
  if (foreseen_.empty()) return;
  foreseen_.clear();
  while (connection_.has_batches()) connection_.finish_batch();
}

// Each in a batch of its own: what becomes of the command does not undo them.
std::size_t PostgresSession::send_settings() {
  std::size_t batches = 0;
  for (const char* const setting : std::exchange(settings_, {})) {
    connection_.send(setting);
    connection_.flush();
    ++batches;
  }
  if (dropped_->empty()) return batches;
  for (const std::string& name : std::exchange(*dropped_, {})) connection_.send(("DEALLOCATE " + name).c_str());
  connection_.flush();
  return batches + 1;
}

void PostgresSession::send_command(CachedStatement& statement, const SentValues& values, bool writes) {
  const std::size_t batches_before = send_settings();
  int commands_before = 0;
  const auto before = [&](const char* text) {
    connection_.send(text);
    ++commands_before;
  };
  opened_ = !begun_ && mode_ == Mode::transaction && writes;
  if (opened_) before("BEGIN");
  if (begun_) {
    if (std::exchange(saved_, false)) before("RELEASE SAVEPOINT mercato");
    before("SAVEPOINT mercato");
  }
  const int last_of_transaction = commands_before;
  const bool prepares = statement.name.empty();
  std::string name = prepares ? "m" + std::to_string(++prepared_) : statement.name;
  if (prepares) {
    std::vector<Oid> types;
    for (const Binding& binding : statement.translation.bindings) types.push_back(engine_type(binding.type));
    connection_.prepare(name, statement.translation.common.statements.front(), types);
    ++commands_before;
  }
  connection_.run(name, values);
  connection_.flush();
  for (std::size_t i = 0; i < batches_before; ++i)
    if (const ResultHandle failed = connection_.finish_batch()) fail_command(failed.get(), {});
  for (int i = 0; i < commands_before; ++i) {
    const ResultHandle done = connection_.finish_command();
    if (!succeeded(done.get())) fail_command(done.get(), statement.translation.common.table);
    if (i + 1 != last_of_transaction) continue;
    begun_ = true;
    saved_ = !opened_;
  }
  if (prepares) statement.name = std::move(name);
}

ResultHandle PostgresSession::change(CachedStatement& statement, const SentValues& values) {
  try {
    send_command(statement, values, true);
    send_expected();
    ResultHandle changed = connection_.finish_command();
    if (!succeeded(changed.get())) fail_command(changed.get(), statement.translation.common.table);
    end_command();
    if (mode_ == Mode::run) unflushed_ = true;
    // No lock is kept for nothing: a transaction may stay open for as long as its object lives.
    if (opened_ && number_of(PQcmdTuples(changed.get())) == 0) undo_command();
    return changed;
  } catch (const Raised& failed) {
    note_lost_connection(failed);
    throw;
  }
}

void PostgresSession::end_command() {
  // A single statement is committed at the end of its batch.
  if (const ResultHandle failed = connection_.finish_batch()) fail_command(failed.get(), {});
}

void PostgresSession::fail_command(const PGresult* failed, std::string_view table) {
  failed_with_ = state_of(failed);
  stale_ = is_about_tables(failed_with_);
  RaisedError failure = failure_of(failed, connection_.label(), tables_.known(table));
  foreseen_.clear();
  while (connection_.has_batches()) connection_.finish_batch();
  const bool loses_more = begun_ && !opened_ && (!saved_ || undoes_transaction(failed_with_));
  if (loses_more) opened_ = true;
  undo_command();
  if (loses_more && mode_ == Mode::transaction) lose_transaction(failure.Description);
  throw Raised(std::move(failure));
}

// The transaction is as it was before the command.
void PostgresSession::undo_command() {
  if (!begun_) return;
  if (!opened_) return connection_.finish("ROLLBACK TO SAVEPOINT mercato");
  begun_ = saved_ = opened_ = false;
  connection_.finish("ROLLBACK");
}

void PostgresSession::note_lost_connection(const Raised& failed) noexcept {
  if (connection_.is_usable() || !begun_) return;
  begun_ = saved_ = false;
  if (mode_ != Mode::transaction) return;
  try {
    lose_transaction(failed.error().Description);
  } catch (const std::bad_alloc&) {
    // Every later statement fails for the connection.
  }
}

template <class Work>
void PostgresSession::as_one(Work work) {
  const bool begins = !begun_;
  if (std::exchange(saved_, false)) connection_.control("RELEASE SAVEPOINT mercato");
  connection_.control(begins ? "BEGIN" : "SAVEPOINT mercato_step");
  begun_ = true;
  try {
    work();
    saved_ = false;
    if (!begins) return connection_.control("RELEASE SAVEPOINT mercato_step");
    if (mode_ == Mode::transaction) return;
    begun_ = false;
    connection_.finish("COMMIT");
    if (mode_ == Mode::run) unflushed_ = true;
  } catch (const Raised& failed) {
    note_lost_connection(failed);
    saved_ = false;
    const bool is_open = begun_;
    if (begins) begun_ = false;
    if (is_open) connection_.finish(begins ? "ROLLBACK" : "ROLLBACK TO SAVEPOINT mercato_step");
    throw;
  }
}

ResultHandle PostgresSession::change_with_given_key(CachedStatement& statement, const SentValues& values) {
  ResultHandle changed;
  as_one([&] {
    const TableInfo& table = *tables_.find(statement.translation.common.table);
    lock_for_given_keys(connection_, table);
    changed = change(statement, values);
    count_given_keys(connection_, table);
  });
  return changed;
}

void PostgresSession::insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows) {
  if (rows.empty()) return;
  leave_queries();
  as_one([&] {
    const bool gives_keys = std::ranges::any_of(table.columns, &Column::assigned);
    if (gives_keys) lock_for_given_keys(connection_, table);
    std::vector<std::size_t> columns(table.columns.size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    connection_.copy_in("COPY " + quoted_name(table.name) + " " + column_list(table, columns) + " FROM STDIN", rows,
                        tables_.known(table.name));
    if (gives_keys) count_given_keys(connection_, table);
  });
}

// All of a definition's statements, or none.
void PostgresSession::define(const dialect::Translation& definition) {
  as_one([&] { postgres::define(connection_, definition.statements); });
  defined_ = begun_;
  forget_schema();
}

// Transactions and runs

void PostgresSession::commit_transaction() {
  mode_ = Mode::single;
  if (!begun_) return;
  leave_queries();
  begun_ = saved_ = defined_ = false;
  connection_.send("COMMIT");
  connection_.flush(Ending::awaited);
  const ResultHandle done = connection_.finish_command();
  const ResultHandle failed = connection_.finish_batch();
  if (!succeeded(done.get())) throw Raised(failure_of(done.get(), connection_.label(), nullptr));
  if (failed) throw Raised(failure_of(failed.get(), connection_.label(), nullptr));
  if (std::string_view(PQcmdStatus(done.get())) != "COMMIT")
    raise_store_failure("Nothing of this transaction stands: " + connection_.label() + " undid it");
}

void PostgresSession::roll_back_transaction() {
  mode_ = Mode::single;
  if (!std::exchange(begun_, false)) return;
  saved_ = false;
  try {
    leave_queries();
    connection_.finish("ROLLBACK");
    if (std::exchange(defined_, false)) forget_schema();
  } catch (const Raised&) {
    // The server rolls back what a lost connection leaves.
  }
}

void PostgresSession::begin_run() {
  mode_ = Mode::run;
  unflushed_ = false;
  settings_.insert(settings_.end(), std::begin(kSettingsOfRun), std::end(kSettingsOfRun));
}

void PostgresSession::end_run() {
  mode_ = Mode::single;
  expected_.clear();
  leave_queries();
  constexpr std::size_t kSettings = std::size(kSettingsOfRun);
  // Nothing ran: they were not even sent.
  if (settings_.size() >= kSettings && settings_.back() == kSettingsOfRun[kSettings - 1] &&
      settings_[settings_.size() - kSettings] == kSettingsOfRun[0])
    return settings_.resize(settings_.size() - kSettings);
  settings_.insert(settings_.end(), std::begin(kSettingsBehindRun), std::end(kSettingsBehindRun));
  if (!std::exchange(unflushed_, false)) return;
  // A commit that is waited for: the log is one, so all that was committed before is on the disk with it.
  const std::size_t batches = send_settings();
  connection_.send("SELECT setval('mercato_flush', 1)");
  connection_.flush(Ending::awaited);
  for (std::size_t i = 0; i <= batches; ++i)
    if (const ResultHandle failed = connection_.finish_batch())
      throw Raised(failure_of(failed.get(), connection_.label(), nullptr));
}

bool PostgresSession::unused() const noexcept { return !begun_ && !has_lost_transaction() && streaming_ == nullptr; }

bool PostgresSession::end_use() noexcept {
  try {
    if (streaming_ != nullptr) streaming_->detach();
    if (mode_ == Mode::run) end_run();
    rollback();
    return connection_.is_idle();
  } catch (...) {
    return false;
  }
}

void PostgresSession::forget_schema() {
  tables_.forget();
  text_proposals_.forget();
  statements_.clear();
  row_writers_.clear();
}

}  // namespace mercato::store::postgres
