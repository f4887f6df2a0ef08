// SPDX-License-Identifier: Apache-2.0
// The stores that tests work on, and the choice among them. MERCATO_TEST_STORE names what the suites run on:
//
//   sqlite           or nothing: files of SQLite, in memory where the machine has room there
//   sqlite-on-disk   the same on the disk
//   postgresql       databases of the PostgreSQL server that MERCATO_TEST_SERVER names, as a connection string without a
//                    database; of a cluster of their own (postgres_cluster) where it names none
//   odbc             the same databases through PostgreSQL's driver for ODBC
//   tsql             databases of a server that speaks T-SQL, which MERCATO_TEST_SERVER names as a connection string
//                    with any database; its user has to be allowed to create some
//   a connection string in which {store} stands for the path of a file that is there for one test only, such as
//                    'Provider=SQLite;Data Source={store};Create=Yes;Busy Timeout=500'; what such a store is, no test
//                    knows, so those that look past the library into its file are skipped
//
// Another engine is another line of the table below.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "mercato/table_creation.h"
#include "platform/store/driver.h"
#include "platform/store/store_description.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::test {

// The providers of this build, as a refusal lists them.
std::string known_providers();

// Which rows a store is to refuse: those that an INSERT, UPDATE or DELETE on the table is about to write or remove, or
// only those in which the column has the value, a literal.
struct Refusal {
  std::string operation;
  std::string table;
  std::string column = {};
  std::string value = {};
};

// A store of one test, gone with the object or with the test's folder.
class TestStore {
 public:
  explicit TestStore(std::string connection_string) : connection_string_(std::move(connection_string)) {}
  virtual ~TestStore() = default;
  TestStore(const TestStore&) = delete;
  TestStore& operator=(const TestStore&) = delete;

  const std::string& connection_string() const { return connection_string_; }
  // The same for somebody who does not wait for others, where the engine can be told so.
  virtual std::string impatient() const { return connection_string_; }
  // The file of SQLite that it is, or nothing.
  virtual std::optional<std::filesystem::path> file() const { return std::nullopt; }
  // The source of its failures.
  std::string failure_source() const {
    return store::connection_property(connection_string_, "Provider").value_or("SQLite") + " store";
  }
  // Engine, version, place and collation, as the engine itself tells them.
  virtual store::StoreDescription description() const { return {}; }
  // What the engine says itself, which stands in brackets behind the library's words.
  std::string words(const std::string& of_sqlite, const std::string& of_postgresql) const {
    return failure_source() == "SQLite store" ? of_sqlite : of_postgresql;
  }
  // Gives the numbers of rows that were refused or taken back to the rows that come next, as a file of SQLite does anyway.
  // A server does not: who is given a number there waits for nobody who was given one before.
  virtual void forget_lost_numbers() const {}
  // Lets the engine refuse such rows as violating a constraint, until the next call; RefusedRows calls both.
  // Only of a store whose engine is known.
  virtual bool can_refuse() const { return false; }
  virtual void refuse(const Refusal&) const {}
  virtual void refuse_no_more() const {}

 private:
  std::string connection_string_;
};
using TestStorePtr = std::unique_ptr<TestStore>;

// While it lives, the store refuses such rows in the words "row refused on request".
class RefusedRows {
 public:
  RefusedRows(const TestStore& store, const Refusal& refusal) : store_(store) { store_.refuse(refusal); }
  ~RefusedRows() { store_.refuse_no_more(); }
  RefusedRows(const RefusedRows&) = delete;
  RefusedRows& operator=(const RefusedRows&) = delete;

 private:
  const TestStore& store_;
};

enum class Tables : std::uint8_t { none, all };  // all: those of the library, without rows

// The store in a file of SQLite that is there.
TestStorePtr store_in_file(const std::filesystem::path& file);

// `name` tells the stores of a test apart.
TestStorePtr make_sqlite_store(const std::filesystem::path& folder, const std::string& name, Tables tables);
TestStorePtr make_postgresql_store(const std::filesystem::path& folder, const std::string& name, Tables tables);
TestStorePtr make_odbc_store(const std::filesystem::path& folder, const std::string& name, Tables tables);
TestStorePtr make_tsql_store(const std::filesystem::path& folder, const std::string& name, Tables tables);

struct TestStoreKind {
  std::string_view name;
  Place place;
  bool on_server;
  TestStorePtr (*make)(const std::filesystem::path& folder, const std::string& name, Tables tables);
};

inline constexpr TestStoreKind kTestStoreKinds[] = {
    {"sqlite", Place::in_memory, false, &make_sqlite_store},
    {"sqlite-on-disk", Place::on_disk, false, &make_sqlite_store},
    {"postgresql", Place::in_memory, true, &make_postgresql_store},
    {"odbc", Place::in_memory, true, &make_odbc_store},
    {"tsql", Place::in_memory, true, &make_tsql_store},
};

// What was chosen: one of the kinds, or a connection string.
class ChosenStore {
 public:
  // Throws for what is neither.
  explicit ChosenStore(std::string_view choice) {
    std::string known;
    for (const TestStoreKind& kind : kTestStoreKinds) {
      if (choice == kind.name) kind_ = &kind;
      known += std::string(kind.name) + ", ";
    }
    if (kind_) return;
    connection_string_ = choice;
    if (choice.find('=') == std::string_view::npos || choice.find(kPlace) == std::string_view::npos)
      throw std::runtime_error("MERCATO_TEST_STORE is '" + connection_string_ + "'. It has to be one of " + known +
                               "or a connection string with {store} in it");
  }
  static const ChosenStore& by_environment() {
    static const ChosenStore chosen = [] {
      const char* const choice = std::getenv("MERCATO_TEST_STORE");
      return ChosenStore(choice ? choice : kTestStoreKinds[0].name);
    }();
    return chosen;
  }

  bool on_server() const { return kind_ && kind_->on_server; }
  Place place() const { return kind_ ? kind_->place : Place::in_memory; }
  // A new one in that folder.
  TestStorePtr make(const std::filesystem::path& folder, const std::string& name, Tables tables) const {
    if (kind_) return kind_->make(folder, name, tables);
    std::string connection_string = connection_string_;
    connection_string.replace(connection_string.find(kPlace), kPlace.size(), (folder / name).string());
    if (tables == Tables::all) create_tables(connection_string);
    return std::make_unique<TestStore>(std::move(connection_string));
  }

 private:
  static constexpr std::string_view kPlace = "{store}";

  const TestStoreKind* kind_ = nullptr;
  std::string connection_string_;  // without a kind
};

// For a test in which the engine has to refuse a row.
#define MERCATO_ONLY_WITH_REFUSALS(store) \
  if (!(store).can_refuse()) GTEST_SKIP() << "nobody knows how to make this store refuse a row"

// For a test that looks past the library into the file of its store, or holds against the words of its engine.
#define MERCATO_ONLY_ON_SQLITE(store, reason) \
  if (!(store).file()) GTEST_SKIP() << "only on a file of SQLite: " << (reason)

}  // namespace mercato::test
