// SPDX-License-Identifier: Apache-2.0
// A database is kept for the tests that follow, with its tables if it had any; what stands in them is removed.
#include "tests/support/test_store.h"

#ifndef MERCATO_ODBC

namespace mercato::test {

TestStorePtr make_tsql_store(const std::filesystem::path&, const std::string&, Tables) {
  throw std::runtime_error("this build leaves out stores behind ODBC");
}

}  // namespace mercato::test

#else

#include <stdio.h>
#include <unistd.h>

#include <vector>

#include "platform/store/odbc/odbc_connection.h"
#include "platform/store/session_pool.h"
#include "values/text.h"

namespace mercato::test {
namespace {

using store::odbc::Connection;

std::string server() {
  if (const char* const given = std::getenv("MERCATO_TEST_SERVER")) return given;
  throw std::runtime_error("MERCATO_TEST_SERVER has to name a T-SQL server, as a connection string without a database");
}

// The same server, with another database.
std::string with_database(const std::string& name) {
  std::string text;
  for (const std::string& pair : text::split(server(), ";"))
    if (!text::equal_names(text::trim(std::string_view(pair).substr(0, pair.find('='))), "Database"))
      text += pair + ";";
  return text + "Database=" + name;
}

class Database {
 public:
  Database(std::string name, Tables tables) : name_(std::move(name)), tables_(tables) {
    Connection(server(), &store::odbc::failure_of_tsql).control("CREATE DATABASE " + name_);
    if (tables_ == Tables::all) create_tables(connection_string());
    connection_.emplace(connection_string(), &store::odbc::failure_of_tsql);
    made_ = table_names();
  }
  ~Database() {
    connection_.reset();
    store::close_idle_sessions();
    try {
      Connection(server(), &store::odbc::failure_of_tsql).control("DROP DATABASE " + name_);
    } catch (const std::exception& failure) {
      fprintf(stderr, "%s\n", failure.what());
    }
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  std::string connection_string() const { return with_database(name_); }
  Tables tables() const { return tables_; }
  // Removes what a test has left; false when the database cannot serve another one.
  bool clean() {
    store::close_idle_sessions();
    const std::vector<std::string> names = table_names();
    if (tables_ == Tables::none) {
      for (const std::string& name : names) connection_->control("DROP TABLE \"" + name + "\"");
      return true;
    }
    if (names != made_) return false;
    for (const std::string& name : names)
      if (!text::equal_names(name, "MERCATO_SCHEMA")) connection_->control("TRUNCATE TABLE \"" + name + "\"");
    return true;
  }

  bool is_free = false;

 private:
  std::vector<std::string> table_names() {
    std::vector<std::string> names;
    for (const store::SentValues& row : connection_->rows("SELECT name FROM sys.tables ORDER BY name"))
      names.push_back(row[0].value_or(""));
    return names;
  }

  std::string name_;
  Tables tables_;
  std::optional<Connection> connection_;
  std::vector<std::string> made_;
};

class TsqlStore : public TestStore {
 public:
  explicit TsqlStore(Database& database) : TestStore(database.connection_string()), database_(database) {}
  ~TsqlStore() override { database_.is_free = true; }

  std::string impatient() const override { return connection_string() + ";Lock Timeout=0"; }

 private:
  Database& database_;
};

}  // namespace

TestStorePtr make_tsql_store(const std::filesystem::path&, const std::string&, Tables tables) {
  static std::vector<std::unique_ptr<Database> > databases;
  static int made = 0;
  // A test may need several.
  for (auto database = databases.begin(); database != databases.end();) {
    if (!(*database)->is_free || (*database)->tables() != tables) {
      ++database;
    } else if ((*database)->clean()) {
      (*database)->is_free = false;
      return std::make_unique<TsqlStore>(**database);
    } else {
      database = databases.erase(database);
    }
  }
  const std::string name = "mercato_test_" + std::to_string(::getpid()) + "_" + std::to_string(++made);
  return std::make_unique<TsqlStore>(*databases.emplace_back(std::make_unique<Database>(name, tables)));
}

}  // namespace mercato::test

#endif
