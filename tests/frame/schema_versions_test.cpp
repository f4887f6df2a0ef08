// SPDX-License-Identifier: Apache-2.0
#include "frame/schema_versions.h"

#include <gtest/gtest.h>

#include <array>

#include "mercato/version.h"
#include "platform/clock/universal_time.h"
#include "tests/support/another_process.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

constexpr const char* kVersions = "SELECT VERSION, BY_RELEASE FROM MERCATO_SCHEMA ORDER BY VERSION";

using Rows = std::vector<std::vector<Variant>>;

Rows by_this_release(std::initializer_list<std::int32_t> versions) {
  Rows rows;
  for (const std::int32_t version : versions) rows.push_back({version, MERCATO_VERSION});
  return rows;
}

constexpr auto kTwoMoreSteps = std::to_array<SchemaUpgrade>({
    {1, ""},
    {2, ""},
    {3, ""},
    {4,
     "ALTER TABLE UNIT ADD SYMBOL nvarchar(5) NULL;\n"
     "UPDATE UNIT SET SYMBOL = 'u' WHERE UNITCODE = 'EA';\n"},
    {5, "UPDATE UNIT SET SYMBOL = SYMBOL + SYMBOL WHERE UNITCODE = 'EA';\n"},
});

class SchemaVersions : public StoreTest {
 protected:
  // The store as a release before versions were kept has left it.
  void forget_versions() const { execute({"DROP TABLE MERCATO_SCHEMA"}); }
  CreatedTables upgrade() const { return create_tables_by(kTwoMoreSteps, connection_string()); }
  std::int32_t version() const { return schema_version_of(*store::acquire_session(connection_string()).get()); }
};

TEST_F(SchemaVersions, ANewStoreHasTheNewestOneWithItsDateAndRelease) {
  const TestStorePtr another = ChosenStore::by_environment().make(folder(), "another", Tables::none);
  EXPECT_EQ(schema_version_of(*store::acquire_session(another->connection_string()).get()), 0);
  const Date before = clock::universal_time();
  const CreatedTables created = create_tables(another->connection_string());
  EXPECT_EQ(created.version, 3);
  EXPECT_EQ(created.version_before, 3);
  EXPECT_EQ(created.tables.size(), 38u);
  auto connection = open_connection(another->connection_string());
  const Rows rows = connection->Execute(Sql("SELECT VERSION, BY_RELEASE, APPLIED FROM MERCATO_SCHEMA"))->rows();
  EXPECT_EQ(rows, (Rows{{3, MERCATO_VERSION, rows.at(0).at(2)}}));
  EXPECT_GE(rows[0][2].to_date(), before);
  EXPECT_LE(rows[0][2].to_date(), clock::universal_time());
  connection->Close();
}

TEST_F(SchemaVersions, AStoreWithoutOneGetsItAndKeepsItsRows) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  forget_versions();
  const auto before = all_rows();
  EXPECT_EQ(version(), 0);
  const CreatedTables created = create_tables(connection_string());
  EXPECT_EQ(created.version, 3);
  EXPECT_EQ(created.version_before, 0);
  EXPECT_TRUE(created.tables.empty());
  EXPECT_TRUE(created.indexes.empty());
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3}));
  EXPECT_EQ(all_rows(), before);
  const CreatedTables again = create_tables(connection_string());
  EXPECT_EQ(again.version_before, 3);
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3}));
}

TEST_F(SchemaVersions, StepsAreTakenInTheirOrderAndOnce) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  forget_versions();
  CreatedTables done = upgrade();
  EXPECT_EQ(done.version_before, 0);
  EXPECT_EQ(done.version, 5);
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3, 4, 5}));
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT"), Variant("uu"));
  done = upgrade();
  EXPECT_EQ(done.version_before, 5);
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3, 4, 5}));
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT"), Variant("uu"));
}

TEST_F(SchemaVersions, AStoreStandsAtTheStepsThatItHasTaken) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  EXPECT_EQ(create_tables_by(std::span(kTwoMoreSteps).first(4), connection_string()).version, 4);
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT"), Variant("u"));
  EXPECT_EQ(upgrade().version_before, 4);
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT"), Variant("uu"));
}

TEST_F(SchemaVersions, ANewStoreTakesNoStep) {
  const TestStorePtr another = ChosenStore::by_environment().make(folder(), "another", Tables::none);
  EXPECT_EQ(create_tables_by(kTwoMoreSteps, another->connection_string()).version_before, 5);
  auto connection = open_connection(another->connection_string());
  EXPECT_EQ(connection->Execute(Sql("SELECT VERSION FROM MERCATO_SCHEMA"))->rows(), (Rows{{5}}));
  EXPECT_EQ(connection->Execute(Sql("SELECT * FROM UNIT"))->FieldCount(), 2u) << "the schema's texts alone count";
  connection->Close();
}

TEST_F(SchemaVersions, AStepThatFailsLeavesTheStoreAsItWas) {
  constexpr auto kBroken = std::to_array<SchemaUpgrade>({
      {1, ""},
      {2, ""},
      {3, ""},
      {4, "ALTER TABLE UNIT ADD SYMBOL nvarchar(5) NULL;\n"},
      {5, "UPDATE UNIT SET NOSUCHCOLUMN = 1;\n"},
  });
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')", "DROP TABLE TAXCODES"});
  EXPECT_EQ(raised_by([&] { create_tables_by(kBroken, connection_string()); }).Description,
            "Invalid column name 'NOSUCHCOLUMN'");
  EXPECT_EQ(rows(kVersions), by_this_release({3}));
  EXPECT_EQ(missing_tables(connection_string()), Statements{"TAXCODES"});
  EXPECT_EQ(rows("SELECT * FROM UNIT"), (Rows{{"EA", kNull}}));
}

TEST_F(SchemaVersions, AStoreOfANewerReleaseIsRefusedAndLeftAlone) {
  execute({"INSERT INTO MERCATO_SCHEMA (VERSION, APPLIED, BY_RELEASE) VALUES (7, '2031-05-06', '9.0.0')",
           "DROP TABLE TAXCODES"});
  const RaisedError refused = raised_by([&] { create_tables(connection_string()); });
  EXPECT_EQ(refused.Number, error_number::kStoreFailure);
  EXPECT_EQ(refused.Description,
            "The tables of the store have version 7, and this release knows version 3 at most. Use the newer release");
  EXPECT_EQ(missing_tables(connection_string()), Statements{"TAXCODES"});
  EXPECT_EQ(version(), 7);
}

TEST_F(SchemaVersions, OfSeveralAtOnceOneTakesTheSteps) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  forget_versions();
  in_another_process([&] {
    std::vector<pid_t> others;
    for (int i = 0; i < 5; ++i) {
      const pid_t child = ::fork();
      if (child == 0) {
        try {
          upgrade();
        } catch (const Raised&) {
          ::_exit(1);
        }
        ::_exit(0);
      }
      others.push_back(child);
    }
    int failed = 0;
    for (const pid_t other : others) {
      int status = 0;
      ::waitpid(other, &status, 0);
      if (status != 0) ++failed;
    }
    // Told to the test by a row.
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('FAILED', '" + std::to_string(failed) + "')"});
  });
  EXPECT_EQ(value_of("SELECT UNITDESCRIPTION FROM UNIT WHERE UNITCODE = 'FAILED'"), Variant("0"));
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3, 4, 5}));
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT WHERE UNITCODE = 'EA'"), Variant("uu"));
}

TEST_F(SchemaVersions, AnUpgradeThatIsKilledIsWholeOrNotThere) {
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  forget_versions();
  unsigned statement = 1;
  for (bool killed = true; killed; ++statement) {
    ASSERT_LT(statement, 30u);
    const int status = in_another_process([&] {
      DeathAtAStatement death(statement);
      store::set_statement_observer(&death);
      upgrade();
    });
    killed = WIFSIGNALED(status);
    if (killed) {
      EXPECT_EQ(version(), 0) << statement;
    }
  }
  EXPECT_GT(statement, 8u) << "it was killed at every one of its statements";
  EXPECT_EQ(rows(kVersions), by_this_release({1, 2, 3, 4, 5}));
  EXPECT_EQ(value_of("SELECT SYMBOL FROM UNIT"), Variant("uu"));
}

}  // namespace
}  // namespace mercato::test
