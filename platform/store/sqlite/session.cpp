// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/session.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <thread>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/failures.h"
#include "platform/store/sqlite/cursor.h"
#include "platform/store/sqlite/failure.h"
#include "platform/store/sqlite/statement_printer.h"
#include "platform/store/sqlite/values.h"

namespace mercato::store::sqlite {
namespace {

// A run holds the write lock this long, and lets go of it this long: a little more than others sleep between two tries.
constexpr std::chrono::milliseconds kGroupTime{50};
constexpr std::chrono::microseconds kGroupPause{500};
constexpr int kGroupStatements = 2000;

constexpr std::size_t kMostRowWriters = 256;

// What is wrong with a single row is found before anything is written. Told so, the engine keeps no copy of each page to
// go back to when a trigger's part of the statement fails.
std::string insert_text(const TableInfo& table, std::span<const std::size_t> columns) {
  if (columns.empty()) return "INSERT INTO " + dialect::quoted_name(table.name) + " DEFAULT VALUES";
  std::string names;
  std::string values;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) {
      names += ", ";
      values += ", ";
    }
    names += dialect::quoted_name(table.columns[columns[i]].name);
    values += '?';
    values += std::to_string(i + 1);
  }
  return "INSERT INTO " + dialect::quoted_name(table.name) + " (" + names + ") VALUES (" + values + ")";
}

std::string update_text(const TableInfo& table, std::span<const std::size_t> columns) {
  std::string assignments;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) assignments += ", ";
    assignments += dialect::quoted_name(table.columns[columns[i]].name) + " = ?" + std::to_string(i + 1);
  }
  return "UPDATE OR FAIL " + dialect::quoted_name(table.name) + " SET " + assignments + " WHERE _rowid_ = ?" +
         std::to_string(columns.size() + 1);
}

// One state of the store for all queries that begin while it lives.
class Snapshot {
 public:
  explicit Snapshot(Database& database) : query_(database.prepare("SELECT 1 FROM sqlite_schema")) {
    if (const int code = sqlite3_step(query_.get()); code != SQLITE_ROW) database.raise(code);
  }

 private:
  StatementHandle query_;
};

std::string list_of(std::span<const std::int64_t> numbers) {
  std::string list = "[";
  for (const std::int64_t number : numbers) list.append(list.size() > 1 ? "," : "").append(std::to_string(number));
  return list += ']';
}

std::string lost_with_it(int statements) {
  return ". The last " + std::to_string(statements) + " statements of this run were lost with it";
}

}  // namespace

SqliteSession::~SqliteSession() { reset(); }

// Statements

// What a run has gathered for too long reaches the others with its next statement, whatever becomes of that one.
void SqliteSession::before_statement() {
  if (group_is_old()) commit_group();
}

Execution SqliteSession::run(const dialect::LexedStatement& statement, ExecuteOptions options) {
  const CachedStatementPtr cached = translated(statement, options.identified);
  switch (cached->translation.kind) {
    case dialect::StatementKind::nothing:
      return {.cursor = nullptr, .affected = 0, .nothing_to_do = true};
    case dialect::StatementKind::query:
      return {open_cursor(cached, statement, options.identified), 0};
    case dialect::StatementKind::definition:
      define(cached->translation);
      return {};
    case dialect::StatementKind::insert:
    case dialect::StatementKind::update:
    case dialect::StatementKind::remove:
      return {nullptr, change(cached, statement)};
  }
  raise(error_number::kInvalidArgument);
}

CachedStatementPtr SqliteSession::translated(const dialect::LexedStatement& lexed, bool identified, UsedSearches used) {
  if (CachedStatementPtr cached = statements_.find(lexed, identified, used)) return cached;
  // Somebody else may have defined the table that this one names.
  refresh_schema();
  auto statement = std::make_shared<CachedStatement>();
  statement->translation = translate(lexed, tables_, identified, used);
  refuse_beyond_bounds(statement->translation);
  if (statement->translation.kind == dialect::StatementKind::query)
    statement->layout = std::make_shared<const RowLayout>(statement->translation.result, statement->translation.table);
  else
    note_text_index(*statement);
  if (statement->translation.kind != dialect::StatementKind::definition)
    statements_.insert(statement, lexed, identified, statement->translation.depends_on_literals, used);
  return statement;
}

void SqliteSession::note_text_index(CachedStatement& statement) const {
  const TableInfo* const table = tables_.find(statement.translation.table);
  if (table != nullptr && table->has_text_index()) statement.text_indexed = table;
}

std::unique_ptr<Cursor> SqliteSession::open_cursor(CachedStatementPtr statement, const dialect::LexedStatement& lexed,
                                                   bool identified) {
  for (;;) {
    // What is proposed and what is read are one state of the store.
    std::optional<Snapshot> snapshot;
    if (!statement->translation.searches.empty()) {
      snapshot.emplace(database_);
      if (refresh_schema()) statement = translated(lexed, identified);
    }
    const Proposals proposals = propose_rows(statement->translation.searches, lexed);
    RunningStatement running(database_,
                             proposals.used == 0 ? statement : translated(lexed, identified, proposals.used));
    bind_parameters(running, lexed, Lifetime::copied, proposals.rows);
    auto cursor = std::make_unique<SqliteCursor>(*this, std::move(running));
    // Prepared for the tables of an earlier day: the columns may be others by now.
    if (!cursor->was_reprepared() || !refresh_schema()) return cursor;
    statement = translated(lexed, identified);
  }
}

std::int64_t SqliteSession::change(const CachedStatementPtr& statement, const dialect::LexedStatement& lexed) {
  const RunningStatement running(database_, statement);
  bind_parameters(running, lexed, Lifetime::outlives_statement);
  before_write(running.cached().text_indexed);
  step_write(running);
  const std::int64_t affected = sqlite3_changes64(database_.engine());
  after_write();
  return affected;
}

SqliteSession::Proposals SqliteSession::propose_rows(std::span<const dialect::TextSearch> searches,
                                                     const dialect::LexedStatement& lexed) {
  Proposals proposals;
  for (const dialect::TextSearch& search : searches) {
    auto rows = proposed_rows(search, lexed);
    if (rows) proposals.used |= UsedSearches{1} << proposals.rows.size();
    proposals.rows.push_back(std::move(rows).value_or(""));
  }
  return proposals;
}

// Nothing where reading is faster: a row that is proposed costs some four times as much as one that is read, and a query
// that is at its end with a few rows reads only as far as it finds them. Other tables are looked at for rows that match.
std::optional<std::string> SqliteSession::proposed_rows(const dialect::TextSearch& search,
                                                        const dialect::LexedStatement& lexed) {
  constexpr std::int64_t kSmallTable = 500;
  constexpr double kAlwaysWorthIt = 5000;
  const auto match = dialect::match_of(search.condition, lexed, dialect::IndexedTrigrams::squeezed_and_signed);
  const TableInfo* const table = tables_.find(search.table);
  if (!match || table == nullptr) return std::nullopt;
  const std::int64_t rows = text_indexes_.most_rows(*table);
  if (rows < kSmallTable) return std::nullopt;
  double most = static_cast<double>(rows) / 8;
  if (search.limit != dialect::kNoLiteral) {
    const double wanted = dialect::parameter_value(lexed, {search.limit}).to_double();
    most = std::min(most, std::max(kAlwaysWorthIt, std::sqrt(wanted * static_cast<double>(rows) / 4)));
  }
  const auto limit = static_cast<std::size_t>(most);
  std::vector<std::int64_t> found = text_indexes_.find(*table, *match, limit + 1);
  if (found.size() > limit) return std::nullopt;
  const std::vector<std::int64_t> changed = text_indexes_.changed(*table);
  found.insert(found.end(), changed.begin(), changed.end());
  return list_of(found);
}

void SqliteSession::bind_parameters(const RunningStatement& running, const dialect::LexedStatement& lexed,
                                    Lifetime lifetime, std::span<const std::string> proposed_rows) {
  int position = 0;
  for (const dialect::Parameter& parameter : running.cached().translation.parameters) {
    ++position;
    const auto text = parameter.literal >= kProposedRows
                          ? std::optional<std::string_view>(proposed_rows[parameter.literal - kProposedRows])
                          : dialect::text_as_it_stands(lexed, parameter);
    const int code =
        text ? bind_text(running.get(), position, *text, lifetime)
             : bind_value(running.get(), position, dialect::parameter_value(lexed, parameter), Lifetime::copied);
    if (code != SQLITE_OK) throw Raised(failure(code));
  }
}

// All of a definition's statements, or none. The first one marks the store with its version.
void SqliteSession::define(const dialect::Translation& definition) {
  before_write();
  if (!begun_) begin_engine_transaction();
  const bool defined_before = std::exchange(defined_, true);
  database_.run("SAVEPOINT definition");
  try {
    for (const std::string& text : definition.statements) database_.run(text.c_str());
    if (database_.query_integer("PRAGMA user_version") == 0)
      database_.run(("PRAGMA user_version=" + std::to_string(kStoreVersion)).c_str());
    database_.run("RELEASE definition");
  } catch (const Raised& refused) {
    RaisedError failed = refused.error();
    note(failed);
    if (begun_) database_.run("ROLLBACK TO definition; RELEASE definition");
    defined_ = defined_before;
    forget_schema();
    if (mode_ == Mode::single) roll_back_engine_transaction();
    end_idle_transaction();
    throw Raised(std::move(failed));
  }
  forget_schema();
  if (mode_ == Mode::single)
    commit_engine_transaction();
  else
    after_write();
}

void SqliteSession::expect_rows(std::span<const ExpectedRows> expected) {
  dialect::Translation told;
  told.statements = statistics_sql(expected);
  define(told);
}

// Tables and rows

const TableInfo* SqliteSession::table(std::string_view name) {
  if (const TableInfo* known = tables_.find(name)) return known;
  return refresh_schema() ? tables_.find(name) : nullptr;
}

bool SqliteSession::has_index(std::string_view table, std::string_view name) { return tables_.has_index(table, name); }

std::vector<std::int64_t> SqliteSession::propose(const TableInfo& table, std::span<const std::string> words,
                                                 std::size_t most) {
  return text_indexes_.holding(table, words, most);
}

RowIdentity SqliteSession::insert(const TableInfo& table, std::span<const std::size_t> columns,
                                  std::span<const Variant> values) {
  const RunningStatement running = row_writer(table, false, columns);
  bind_row(running, values);
  before_write(running.cached().text_indexed);
  step_write(running);
  const std::int64_t number = sqlite3_last_insert_rowid(database_.engine());
  const auto key = std::ranges::find_if(table.columns, &Column::assigned);
  const bool fits = key == table.columns.end() || number <= std::numeric_limits<std::int32_t>::max();
  // The tables of an older store do not check the keys that they give.
  if (!fits)
    database_.run(
        ("DELETE FROM " + dialect::quoted_name(table.name) + " WHERE _rowid_ = " + std::to_string(number)).c_str());
  after_write();
  if (!fits) throw Raised(of_this_store(value_out_of_range(table, *key)));
  return {number, {}};
}

void SqliteSession::update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
                           std::span<const Variant> values) {
  const RunningStatement running = row_writer(table, true, columns);
  bind_row(running, values);
  sqlite3_bind_int64(running.get(), static_cast<int>(columns.size() + 1), row.number);
  before_write(running.cached().text_indexed);
  step_write(running);
  const bool found = sqlite3_changes64(database_.engine()) > 0;
  after_write();
  if (!found) raise_store_failure("The row to be changed is no longer in " + table.name);
}

RunningStatement SqliteSession::row_writer(const TableInfo& table, bool updates, std::span<const std::size_t> columns) {
  std::uint64_t hash = std::hash<std::string>()(table.name) + (updates ? 1 : 0);
  for (const std::size_t column : columns) hash = hash * 0x100000001B3u + column;
  const auto [first, last] = row_writers_.equal_range(hash);
  for (auto candidate = first; candidate != last; ++candidate) {
    const RowWriter& writer = candidate->second;
    if (writer.updates == updates && writer.table == table.name && std::ranges::equal(writer.columns, columns))
      return {database_, writer.statement};
  }
  if (row_writers_.size() == kMostRowWriters) row_writers_.clear();
  auto statement = std::make_shared<CachedStatement>();
  statement->translation.table = table.name;
  statement->translation.statements = {updates ? update_text(table, columns) : insert_text(table, columns)};
  note_text_index(*statement);
  row_writers_.emplace(hash, RowWriter{table.name, updates, {columns.begin(), columns.end()}, statement});
  return {database_, statement};
}

void SqliteSession::bind_row(const RunningStatement& running, std::span<const Variant> values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int code = bind_value(running.get(), static_cast<int>(i + 1), values[i], Lifetime::outlives_statement);
    if (code != SQLITE_OK) throw Raised(failure(code));
  }
}

// Writing

void SqliteSession::before_write(const TableInfo* text_indexed) {
  while (!cursors_.empty()) cursors_.back()->drain();
  if (!begun_) {
    // An earlier one that found no memory is made up for.
    roll_back_engine_transaction();
    if (database_.in_transaction()) throw std::bad_alloc();
    database_.settle_durability();
  }
  if (begun_ || (mode_ == Mode::single && text_indexed == nullptr)) return note_write(text_indexed);
  if (mode_ == Mode::run) {
    // Whoever waits for the lock gets a chance to take it, in every stretch of a group's time once.
    if (Clock::now() - paused_ >= kGroupTime) {
      std::this_thread::sleep_until(group_ended_ + kGroupPause);
      paused_ = Clock::now();
    }
    group_statements_ = 0;
  }
  begin_engine_transaction();
  group_began_ = Clock::now();
  note_write(text_indexed);
}

// Beforehand: a statement that stands does not fail for want of memory to note it.
void SqliteSession::note_write(const TableInfo* text_indexed) {
  if (text_indexed != nullptr) text_indexes_.before_write(*text_indexed);
}

void SqliteSession::step_write(const RunningStatement& running) {
  // The engine undoes the whole transaction with an ended statement, which in a run would take earlier statements
  // along.
  database_.set_interruptible(mode_ != Mode::run);
  int code = SQLITE_ROW;
  while (code == SQLITE_ROW) code = sqlite3_step(running.get());
  database_.set_interruptible(true);
  if (code == SQLITE_DONE) return;
  RaisedError failed = failure(code, running.cached().translation.table);
  sqlite3_reset(running.get());
  text_indexes_.after_failure();
  if (mode_ == Mode::single && begun_) roll_back_engine_transaction();
  end_idle_transaction();
  throw Raised(std::move(failed));
}

void SqliteSession::after_write() {
  try {
    text_indexes_.after_write();
  } catch (const std::bad_alloc&) {
    lose_unfound_rows({});
    throw;
  } catch (const Raised& failed) {
    throw Raised(lose_unfound_rows(failed.error()));
  }
  end_idle_transaction();
  if (mode_ == Mode::single) {
    if (begun_) return commit_engine_transaction();
    database_.after_commit();
  }
  if (mode_ != Mode::run) return;
  if (++group_statements_ >= kGroupStatements || group_is_old()) commit_group();
}

void SqliteSession::begin_engine_transaction() {
  if (!begin_) begin_ = database_.prepare("BEGIN IMMEDIATE");
  begun_.emplace(database_.engine());
  const int code = sqlite3_step(begin_.get());
  if (code != SQLITE_DONE) {
    RaisedError refused = database_.failure(code);
    begun_.reset();
    sqlite3_reset(begin_.get());
    throw Raised(std::move(refused));
  }
  sqlite3_reset(begin_.get());
  changes_before_ = sqlite3_total_changes64(database_.engine());
  text_indexes_.begin_transaction();
}

// Rows that searches would not find may not stand.
RaisedError SqliteSession::lose_unfound_rows(RaisedError failed) {
  if (database_.in_transaction()) sqlite3_exec(database_.engine(), "ROLLBACK", nullptr, nullptr, nullptr);
  note(failed);
  return failed;
}

// No lock is kept for nothing: a transaction may stay open for as long as its object lives.
void SqliteSession::end_idle_transaction() {
  if (mode_ == Mode::transaction && begun_ && !defined_ &&
      sqlite3_total_changes64(database_.engine()) == changes_before_)
    roll_back_engine_transaction();
}

void SqliteSession::commit_engine_transaction() {
  if (!commit_) commit_ = database_.prepare("COMMIT");
  try {
    database_.set_interruptible(false);
    text_indexes_.take_in(tables_, mode_ == Mode::run ? kManyWaitingInRun : kManyWaiting);
    database_.set_interruptible(true);
  } catch (...) {
    database_.set_interruptible(true);
    roll_back_engine_transaction();
    throw;
  }
  const int code = sqlite3_step(commit_.get());
  if (code != SQLITE_DONE) {
    RaisedError refused = database_.failure(code);
    sqlite3_reset(commit_.get());
    roll_back_engine_transaction();
    throw Raised(std::move(refused));
  }
  sqlite3_reset(commit_.get());
  begun_.reset();
  defined_ = false;
  database_.after_commit();
}

void SqliteSession::roll_back_engine_transaction() noexcept {
  // Fails only without memory; what comes next tries again.
  if (database_.in_transaction()) sqlite3_exec(database_.engine(), "ROLLBACK", nullptr, nullptr, nullptr);
  begun_.reset();
  if (std::exchange(defined_, false)) forget_schema();
}

// Transactions and runs

void SqliteSession::start_transaction() { mode_ = Mode::transaction; }

void SqliteSession::commit_transaction() {
  mode_ = Mode::single;
  if (begun_) commit_engine_transaction();
}

void SqliteSession::roll_back_transaction() {
  roll_back_engine_transaction();
  mode_ = Mode::single;
}

void SqliteSession::begin_run() {
  database_.set_durable_commits(false);
  mode_ = Mode::run;
  unflushed_ = false;
}

void SqliteSession::flush_run() {
  if (mode_ == Mode::run && begun_) commit_group();
}

void SqliteSession::end_run() {
  flush_run();
  mode_ = Mode::single;
  take_in_rest();
  database_.set_durable_commits(true);
  if (!std::exchange(unflushed_, false)) return;
  database_.flush_to_disk();
  database_.refuse_if_replaced();
}

// In a transaction of its own. What hinders it is no failure of the run: the next write tries again.
void SqliteSession::take_in_rest() {
  if (!text_indexes_.many_wait()) return;
  try {
    begin_engine_transaction();
    commit_engine_transaction();
  } catch (...) {
    roll_back_engine_transaction();
  }
}

bool SqliteSession::group_is_old() const {
  return mode_ == Mode::run && begun_ && Clock::now() - group_began_ >= kGroupTime;
}

void SqliteSession::commit_group() {
  const int statements = std::exchange(group_statements_, 0);
  try {
    commit_engine_transaction();
  } catch (Raised& failed) {
    RaisedError error = failed.error();
    error.Description += lost_with_it(statements);
    throw Raised(std::move(error));
  }
  unflushed_ = true;
  group_ended_ = Clock::now();
}

// Before the engine does so in its own words.
void SqliteSession::refuse_beyond_bounds(const dialect::Translation& translation) const {
  const auto most = [this](int bound) {
    return static_cast<std::size_t>(sqlite3_limit(database_.engine(), bound, -1));
  };
  if (const std::size_t values = most(SQLITE_LIMIT_VARIABLE_NUMBER); translation.parameters.size() > values)
    dialect::refuse("The statement has more than " + std::to_string(values) +
                    " values. Send them in several statements");
  if (const std::size_t queries = most(SQLITE_LIMIT_COMPOUND_SELECT); translation.most_united > queries)
    dialect::refuse("The statement joins more than " + std::to_string(queries) +
                    " queries with UNION. Send them in several statements");
}

RaisedError SqliteSession::failure(int code, std::string_view table) {
  RaisedError failed = database_.failure(code, tables_.known(table));
  note(failed);
  // The refusal may come from what was known of the tables.
  if (failed.Number == error_number::kStatementRefused) forget_schema();
  return failed;
}

void SqliteSession::note(RaisedError& failed) {
  if (begun_ && !database_.in_transaction()) {
    begun_.reset();
    if (std::exchange(defined_, false)) forget_schema();
    if (mode_ == Mode::transaction) lose_transaction(failed.Description);
    if (const int statements = std::exchange(group_statements_, 0); mode_ == Mode::run && statements > 0)
      failed.Description += lost_with_it(statements);
  }
}

bool SqliteSession::unused() const noexcept { return !begun_ && !has_lost_transaction() && cursors_.empty(); }

bool SqliteSession::end_use() noexcept {
  try {
    while (!cursors_.empty()) cursors_.back()->detach();
    if (mode_ == Mode::run) end_run();
    rollback();
    return !database_.in_transaction();  // without memory the engine cannot roll back; closing it does
  } catch (...) {
    return false;
  }
}

void SqliteSession::forget_schema() {
  tables_.forget();
  forget_statements();
}

void SqliteSession::forget_statements() {
  statements_.clear();
  row_writers_.clear();
  text_indexes_.forget();
}

bool SqliteSession::refresh_schema() {
  if (!tables_.refresh()) return false;
  forget_statements();
  return true;
}

}  // namespace mercato::store::sqlite
