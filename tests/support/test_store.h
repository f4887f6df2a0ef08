// SPDX-License-Identifier: Apache-2.0
// The stores that tests work on, and the choice among them. MERCATO_TEST_STORE names what the suites run on:
//
//   sqlite           or nothing: files of SQLite, in memory where the machine has room there
//   sqlite-on-disk   the same on the disk
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
#include "platform/store/session_pool.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::test {

// A store of one test, gone with the object or with the test's folder.
class TestStore {
 public:
  explicit TestStore(std::string connection_string, std::optional<std::filesystem::path> file = std::nullopt)
      : connection_string_(std::move(connection_string)), file_(std::move(file)) {}
  virtual ~TestStore() = default;
  TestStore(const TestStore&) = delete;
  TestStore& operator=(const TestStore&) = delete;

  const std::string& connection_string() const { return connection_string_; }
  // The same for somebody who does not wait for others, where the engine can be told so.
  std::string impatient() const { return file_ ? connection_string_ + ";Busy Timeout=0" : connection_string_; }
  // The file of SQLite that it is, or nothing.
  const std::optional<std::filesystem::path>& file() const { return file_; }

 private:
  std::string connection_string_;
  std::optional<std::filesystem::path> file_;
};
using TestStorePtr = std::unique_ptr<TestStore>;

enum class Tables : std::uint8_t { none, all };  // all: those of the library, without rows

// Made once for the process, copied for each test.
inline const std::filesystem::path& sqlite_file_with_tables() {
  struct Template {
    TemporaryFolder folder;
    std::filesystem::path path = folder / "empty.db";
    Template() {
      create_tables("Provider=SQLite;Data Source=" + path.string());
      store::close_idle_sessions();
    }
  };
  static const Template made;
  return made.path;
}

inline TestStorePtr make_sqlite_store(const std::filesystem::path& folder, const std::string& name, Tables tables) {
  const std::filesystem::path file = folder / (name + ".db");
  const std::string connection_string = "Provider=SQLite;Data Source=" + file.string();
  if (tables == Tables::none) return std::make_unique<TestStore>(connection_string + ";Create=Yes", file);
  std::filesystem::copy_file(sqlite_file_with_tables(), file);
  return std::make_unique<TestStore>(connection_string, file);
}

struct TestStoreKind {
  std::string_view name;
  Place place;
  TestStorePtr (*make)(const std::filesystem::path& folder, const std::string& name, Tables tables);
};

inline constexpr TestStoreKind kTestStoreKinds[] = {
    {"sqlite", Place::in_memory, &make_sqlite_store},
    {"sqlite-on-disk", Place::on_disk, &make_sqlite_store},
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

// For a test that looks past the library into the file of its store, or holds against the words of its engine.
#define MERCATO_ONLY_ON_SQLITE(store, reason) \
  if (!(store).file()) GTEST_SKIP() << "only on a file of SQLite: " << (reason)

}  // namespace mercato::test
