// SPDX-License-Identifier: Apache-2.0
#include "tests/support/test_store.h"

#include <string>

#include "platform/store/known_drivers.h"
#include "tests/platform/store/store_files.h"

namespace mercato::test {
namespace {

using store::test::query_one;
using store::test::run;

std::string refusal_of(const std::string& choice) {
  try {
    ChosenStore{choice};
  } catch (const std::runtime_error& refused) {
    return refused.what();
  }
  return "taken";
}

Variant tables_of(const TestStore& made) {
  const auto session = store::driver_for(made.connection_string()).open(made.connection_string());
  return session->table("PRODUCT") ? query_one(*session, "SELECT COUNT(*) FROM PRODUCT") : Variant("none");
}

TEST(TestStores, AreFilesOfSqliteWithOrWithoutTables) {
  const TemporaryFolder folder;
  for (const char* kind : {"sqlite", "sqlite-on-disk"}) {
    const TestStorePtr with = ChosenStore(kind).make(folder.path(), std::string(kind) + "-with", Tables::all);
    EXPECT_EQ(with->connection_string(), "Provider=SQLite;Data Source=" + folder.path() + "/" + kind + "-with.db");
    EXPECT_EQ(with->impatient(), with->connection_string() + ";Busy Timeout=0");
    EXPECT_EQ(with->failure_source(), "SQLite store");
    EXPECT_EQ(with->file(), folder.path() + "/" + kind + "-with.db");
    EXPECT_EQ(tables_of(*with), Variant(0));
    EXPECT_EQ(tables_of(*ChosenStore(kind).make(folder.path(), std::string(kind) + "-none", Tables::none)),
              Variant("none"));
  }
  EXPECT_EQ(ChosenStore("sqlite").place(), Place::in_memory);
  EXPECT_EQ(ChosenStore("sqlite-on-disk").place(), Place::on_disk);
  EXPECT_EQ(folder_for_tests(Place::on_disk), std::filesystem::temp_directory_path());
}

TEST(TestStores, OfAConnectionStringGiveNothingAwayOfTheirEngine) {
  const TemporaryFolder folder;
  const ChosenStore chosen("Data Source={store};Create=Yes;File Mode=600");
  const TestStorePtr with = chosen.make(folder.path(), "with", Tables::all);
  EXPECT_EQ(with->connection_string(), "Data Source=" + folder.path() + "/with;Create=Yes;File Mode=600");
  EXPECT_EQ(with->impatient(), with->connection_string());
  EXPECT_EQ(with->file(), std::nullopt);
  EXPECT_EQ(tables_of(*with), Variant(0));
  EXPECT_EQ(tables_of(*chosen.make(folder.path(), "none", Tables::none)), Variant("none"));
}

TEST(TestStores, RefuseRowsWhileTheyAreTold) {
  store::test::Stores stores;
  const TestStore& made = stores.store();
  MERCATO_ONLY_WITH_REFUSALS(made);
  const auto session = store::driver_for(made.connection_string()).open(made.connection_string());
  for (const char* statement :
       {"CREATE TABLE PRODUCT (NAME nvarchar(9) NULL, N int NULL)", "INSERT INTO PRODUCT (NAME, N) VALUES ('bolt', 1)"})
    run(*session, statement);
  const std::pair<Refusal, std::pair<const char*, const char*>> refusals[] = {
      {{"INSERT", "PRODUCT", "NAME", "'nut'"},
       {"INSERT INTO PRODUCT (NAME, N) VALUES ('nut', 1)", "INSERT INTO PRODUCT (NAME, N) VALUES ('hex', 1)"}},
      {{"UPDATE", "PRODUCT", "N", "7"}, {"UPDATE PRODUCT SET N = 7", "UPDATE PRODUCT SET N = 8"}},
      {{"DELETE", "PRODUCT"}, {"DELETE FROM PRODUCT", "DELETE FROM PRODUCT WHERE N = 9"}}};
  for (const auto& [refusal, statements] : refusals) {
    SCOPED_TRACE(refusal.operation);
    {
      const RefusedRows refused(made, refusal);
      const RaisedError failure = failure_of([&, refused = statements.first] { run(*session, refused); });
      EXPECT_EQ(failure.Number, error_number::kConstraintViolated);
      EXPECT_NE(failure.Description.find("row refused on request"), std::string::npos) << failure.Description;
      run(*session, statements.second);
    }
    run(*session, statements.first);
  }
  EXPECT_EQ(query_one(*session, "SELECT COUNT(*) FROM PRODUCT"), Variant(0));
}

TEST(TestStores, OfAnUnknownNameAreRefusedWithTheKnownOnes) {
  EXPECT_EQ(refusal_of("nosuch"),
            "MERCATO_TEST_STORE is 'nosuch'. It has to be one of sqlite, sqlite-on-disk, postgresql, odbc, tsql, or a "
            "connection "
            "string with {store} in it");
  // Every test would work on the same store.
  EXPECT_EQ(refusal_of("Data Source=one.db"),
            "MERCATO_TEST_STORE is 'Data Source=one.db'. It has to be one of sqlite, sqlite-on-disk, postgresql, odbc, "
            "tsql, or a "
            "connection string with {store} in it");
}

}  // namespace
}  // namespace mercato::test
