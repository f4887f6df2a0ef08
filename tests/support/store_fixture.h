// SPDX-License-Identifier: Apache-2.0
// A store of its own for each test, with the library's own tables, in a folder that goes away with the test; and a record
// of what the library did: statements, log entries. Which engine the store is of, test_store.h says.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/lib_sql.h"
#include "frame/schema_texts.h"
#include "mercato/clock.h"
#include "mercato/connection.h"
#include "mercato/invoke.h"
#include "mercato/recordset.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/session_pool.h"
#include "platform/store/statement_observer.h"
#include "platform/store/unit_of_work.h"
#include "tests/support/test_store.h"

namespace mercato::test {

using Statements = std::vector<std::string>;

struct LogEntry {
  std::string source;
  std::string text;
  std::int32_t severity;
  bool operator==(const LogEntry&) const = default;
};

// One late-bound call: "Grundwerk.ReferentialChecker.CheckBeforeDelete" and its arguments.
struct ComponentCall {
  std::string method;
  std::vector<Variant> arguments;
  bool operator==(const ComponentCall&) const = default;
};

// Records this thread's statements of the library's own classes, the entries of Grundwerk.Log and all late-bound calls;
// refuses a statement, and answers or refuses calls, on request.
class Recorder : public store::StatementObserver, public CallObserver {
 public:
  Recorder() : previous_statements_(store::set_statement_observer(this)), previous_calls_(set_call_observer(this)) {}
  ~Recorder() override {
    store::set_statement_observer(previous_statements_);
    set_call_observer(previous_calls_);
  }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  Statements statements;
  std::vector<LogEntry> log;
  std::vector<ComponentCall> calls;
  // The next statement that contains this text is refused; then it is forgotten.
  std::string fail_on;
  // What calls are answered with, or raise, instead of reaching their component; by "ProgID.Method".
  std::map<std::string, Variant> answers;
  std::map<std::string, RaisedError> failures;

  void on_statement(std::string_view text, bool by_library) override {
    if (by_library) statements.emplace_back(text);
    if (fail_on.empty() || text.find(fail_on) == std::string_view::npos) return;
    fail_on.clear();
    raise(error_number::kStatementRefused, "Test", "refused on request");
  }
  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override {
    const std::string called = table.prog_id() + "." + method.name;
    calls.push_back({called, {arguments.begin(), arguments.end()}});
    if (called == "Grundwerk.Log.WriteEntry")
      log.push_back({arguments[0].to_text(), arguments[1].to_text(), arguments[2].to_long()});
    if (const auto failure = failures.find(called); failure != failures.end()) throw Raised(failure->second);
    const auto answer = answers.find(called);
    if (answer == answers.end()) return false;
    result = answer->second;
    return true;
  }

 private:
  store::StatementObserver* previous_statements_;
  CallObserver* previous_calls_;
};

// While it lives, the thread's statements are nobody's business: the fixture's own are no part of a record.
class Unobserved {
 public:
  Unobserved() : observer_(store::set_statement_observer(nullptr)) {}
  ~Unobserved() { store::set_statement_observer(observer_); }
  Unobserved(const Unobserved&) = delete;
  Unobserved& operator=(const Unobserved&) = delete;

 private:
  store::StatementObserver* observer_;
};

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DllRegisterServer();
    folder_ = make_temporary_folder(place_);
    store_ = ChosenStore::by_environment().make(folder_, "mercato", Tables::all);
    collaborators::Settings settings;
    settings.connections["Mercato"] = connection_string();
    settings.web_root = (folder_ / "web").string();
    std::filesystem::create_directory(folder_ / "web");
    collaborators::set_settings(settings);
    forget_thread_state();
  }
  void TearDown() override {
    clock::restore_clock();
    forget_thread_state();
    store::close_idle_sessions();
    store_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  // For the constructor of a fixture whose tests want to meet the moments at which a real disk is waited for.
  void work_on_disk() { place_ = Place::on_disk; }

  const std::filesystem::path& folder() const { return folder_; }
  const TestStore& store() const { return *store_; }
  const std::string& connection_string() const { return store_->connection_string(); }
  // For tests that have said MERCATO_ONLY_ON_SQLITE.
  std::filesystem::path store_path() const { return store_->file().value(); }

  // Runs statements of the library's dialect, one after the other.
  void execute(std::initializer_list<std::string> statements) const { execute_on(connection_string(), statements); }
  static void execute_on(const std::string& store, std::initializer_list<std::string> statements) {
    const Unobserved unobserved;
    auto connection = open_connection(store);
    for (const std::string& statement : statements) connection->Execute(Sql::verbatim(statement));
    connection->Close();
  }
  // Runs a script of many statements in one transaction.
  void execute_script(const std::string& script) const {
    store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
    const store::UnitOfWork::Current current(&unit);
    const Unobserved unobserved;
    const auto connection = open_connection(connection_string());
    for (const std::string_view statement : store::dialect::split_script(script))
      connection->Execute(Sql::verbatim(std::string(statement)));
    connection->Close();
    unit.commit();
  }
  // Rows by the thousand: `into` is the table with its columns, `values(number)` what stands in the brackets of that
  // row, counted from 1.
  template <class Values>
  void insert_rows(const std::string& into, int count, Values values) const {
    constexpr int kAtOnce = 250;
    std::string script;
    for (int number = 1; number <= count; ++number)
      script += (number % kAtOnce == 1 ? ";INSERT INTO " + into + " VALUES (" : ", (") + values(number) + ")";
    execute_script(script);
  }
  // All rows of a query.
  std::vector<std::vector<Variant>> rows(const std::string& query) const {
    const Unobserved unobserved;
    auto connection = open_connection(connection_string());
    auto recordset = connection->Execute(Sql::verbatim(query));
    auto result = recordset->rows();
    connection->Close();
    return result;
  }
  // The first value of the first row; Missing without a row.
  Variant value_of(const std::string& query) const {
    const auto all = rows(query);
    return all.empty() ? Variant(kMissing) : all.front().front();
  }
  // The same in an order of their own: in which a store gives rows that nobody asked to be sorted, is its own affair.
  std::vector<std::vector<Variant>> sorted_rows(const std::string& query) const {
    std::multimap<std::string, std::vector<Variant>> sorted;
    for (std::vector<Variant>& row : rows(query)) {
      std::string texts;
      for (const Variant& value : row) {
        constexpr std::size_t kWidth = 12;  // texts end at one place, so that 9 stands before 10
        const std::string text = value.text_or_empty();
        texts += std::string(kWidth - std::min(kWidth, text.size()), ' ') + text + '\n';
      }
      sorted.emplace(std::move(texts), std::move(row));
    }
    std::vector<std::vector<Variant>> result;
    for (auto& [texts, row] : sorted) result.push_back(std::move(row));
    return result;
  }
  // The rows of every table, to show that something left all of them as they were.
  std::map<std::string, std::vector<std::vector<Variant>>> all_rows() const {
    std::map<std::string, std::vector<std::vector<Variant>>> tables;
    constexpr std::string_view kBegin = "CREATE TABLE ";
    for (const SchemaText& schema : schema_texts())
      for (std::size_t at = 0; (at = schema.text.find(kBegin, at)) != std::string_view::npos;) {
        at += kBegin.size();
        const std::string table(schema.text.substr(at, schema.text.find_first_of(" (", at) - at));
        tables[table] = sorted_rows("SELECT * FROM " + table);
      }
    return tables;
  }

  // What a piece of work raises; a test failure when it does not.
  template <class Work>
  static RaisedError raised_by(Work work) {
    try {
      work();
    } catch (const Raised& failure) {
      return failure.error();
    }
    ADD_FAILURE() << "nothing was raised";
    return {};
  }

 private:
  Place place_ = ChosenStore::by_environment().place();
  std::filesystem::path folder_;
  TestStorePtr store_;
};

}  // namespace mercato::test
