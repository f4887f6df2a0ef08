// SPDX-License-Identifier: Apache-2.0
#include <sqlite3.h>
#include <unicode/uvernum.h>

#include "platform/store/session_pool.h"
#include "platform/store/sqlite/functions.h"
#include "tests/support/test_store.h"

namespace mercato::test {
namespace {

class SqliteStore : public TestStore {
 public:
  SqliteStore(std::string connection_string, std::filesystem::path file)
      : TestStore(std::move(connection_string)), file_(std::move(file)) {}

  std::string impatient() const override { return connection_string() + ";Busy Timeout=0"; }
  std::optional<std::filesystem::path> file() const override { return file_; }
  store::StoreDescription description() const override {
    store::StoreDescription description;
    description.engine = "SQLite";
    description.version = sqlite3_libversion();
    description.place = std::filesystem::canonical(file_).string();
    description.collation = "MERCATO, ICU " U_ICU_VERSION;
    description.text_search = "FTS5, trigrams";
    return description;
  }
  bool can_refuse() const override { return true; }
  void refuse(const Refusal& refusal) const override {
    const std::string row = refusal.operation == "DELETE" ? "OLD." : "NEW.";
    const std::string condition = refusal.column.empty() ? "" : " WHEN " + row + refusal.column + " = " + refusal.value;
    run("CREATE TRIGGER REFUSED_ROWS BEFORE " + refusal.operation + " ON " + refusal.table + condition +
        " BEGIN SELECT RAISE(ABORT, 'row refused on request'); END");
  }
  void refuse_no_more() const override { run("DROP TRIGGER REFUSED_ROWS"); }

 private:
  // In the engine's own SQL, past the library.
  void run(const std::string& sql) const {
    sqlite3* engine = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file_.c_str(), &engine, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    store::sqlite::register_functions(engine);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(engine, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << (message ? message : "");
    sqlite3_free(message);
    sqlite3_close(engine);
  }

  std::filesystem::path file_;
};

// Made once for the process, copied for each test.
const std::filesystem::path& file_with_tables() {
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

}  // namespace

TestStorePtr store_in_file(const std::filesystem::path& file) {
  return std::make_unique<SqliteStore>("Provider=SQLite;Data Source=" + file.string(), file);
}

TestStorePtr make_sqlite_store(const std::filesystem::path& folder, const std::string& name, Tables tables) {
  const std::filesystem::path file = folder / (name + ".db");
  if (tables == Tables::none)
    return std::make_unique<SqliteStore>("Provider=SQLite;Data Source=" + file.string() + ";Create=Yes", file);
  std::filesystem::copy_file(file_with_tables(), file);
  return store_in_file(file);
}

}  // namespace mercato::test
