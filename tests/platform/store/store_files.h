// SPDX-License-Identifier: Apache-2.0
// Helpers of the store tests: stores of their own for each test, statements and their rows.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/store/driver.h"
#include "platform/store/session_pool.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/test_store.h"

namespace mercato::store::test {

// A folder for files of SQLite; its sessions are closed before it goes.
class Folder {
 public:
  using Place = mercato::test::Place;
  explicit Folder(Place place = Place::in_memory) : folder_(place) {}
  ~Folder() { close_idle_sessions(); }
  std::string path(const std::string& name) const { return folder_ / name; }
  std::string path() const { return folder_.path(); }
  // The connection string of a SQLite store in this folder, which is created when it is opened first.
  std::string store(const std::string& name = "store.db") const {
    return "Provider=SQLite;Data Source=" + path(name) + ";Create=Yes";
  }

 private:
  mercato::test::TemporaryFolder folder_;
};

// Stores without tables, of the kind that the suites run on (test_store.h); their sessions are closed before they go.
class Stores {
 public:
  ~Stores() { close_idle_sessions(); }
  // The one of that name.
  const mercato::test::TestStore& store(const std::string& name = "store") {
    mercato::test::TestStorePtr& store = stores_[name];
    if (!store) store = chosen_.make(folder_.path(), name, mercato::test::Tables::none);
    return *store;
  }

 private:
  const mercato::test::ChosenStore& chosen_ = mercato::test::ChosenStore::by_environment();
  mercato::test::TemporaryFolder folder_{chosen_.place()};
  std::map<std::string, mercato::test::TestStorePtr> stores_;
};

inline Execution run(Session& session, std::string text) { return session.execute(Sql::verbatim(std::move(text))); }

inline std::vector<std::vector<Variant>> rows_of(Cursor& cursor) {
  std::vector<std::vector<Variant>> rows;
  while (cursor.next()) cursor.read(rows.emplace_back());
  return rows;
}

inline std::vector<std::vector<Variant>> query(Session& session, std::string text) {
  return rows_of(*run(session, std::move(text)).cursor);
}

// The first field of the first row.
inline Variant query_one(Session& session, std::string text) { return query(session, std::move(text)).at(0).at(0); }

using mercato::test::failure_of;

}  // namespace mercato::store::test
