// SPDX-License-Identifier: Apache-2.0
#include "frame/store_copy.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "platform/store/known_drivers.h"
#include "tests/support/another_process.h"
#include "tests/support/random_rounds.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

constexpr std::int32_t kUnits = 1200;  // several batches

class StoreCopies : public StoreTest {
 protected:
  static constexpr std::int32_t kKeys[] = {3, 40, 1000};

  // The i-th of three values; the last one is Null where the column takes it.
  static Variant value_for(const store::Column& column, int i) {
    using enum store::ColumnType;
    const auto at = static_cast<std::size_t>(i);
    if (column.assigned) return kKeys[at];
    if (i == 2 && column.nullable) return kNull;
    switch (column.type) {
      case short_integer:
        return std::vector<Variant>{std::int16_t{-32768}, std::int16_t{32767}, std::int16_t{0}}[at];
      case long_integer:
        return std::vector<Variant>{INT32_MIN, INT32_MAX, 0}[at];
      case boolean:
        return i == 0;
      case real:
        return std::vector<Variant>{1.0 / 3, -1e300, 0.0}[at];
      case money:
        return std::vector<Variant>{Currency::from_scaled(INT64_MIN), Currency::from_scaled(INT64_MAX),
                                    Currency::from_scaled(1)}[at];
      case date:
        return std::vector<Variant>{Date::from_civil({1899, 12, 29, 6, 7, 8}),
                                    Date::from_civil({9999, 12, 31, 23, 59, 59}), Date::from_civil({100, 1, 1})}[at];
      default:
        if (column.width == 0) return std::vector<Variant>{std::string(70'000, '\n'), "", "x"}[at];
        if (column.width < 10) return std::vector<Variant>{"a ", "'", "\xC3\xA9"}[at];
        return std::vector<Variant>{"O'Neil \xF0\x9F\x98\x80 ", "", "e\xCC\x81;--\xE2\x80\x8B"}[at];
    }
  }
  // Three rows in every table, with what is hard to carry.
  void fill() const {
    const store::PooledSession session = store::acquire_session(connection_string());
    for (const SchemaDefinition& definition : schema_definitions()) {
      if (!definition.is_table) continue;
      const store::TableInfo table = *session->table(definition.name);
      std::vector<std::vector<Variant>> rows(3);
      for (int i = 0; i < 3; ++i)
        for (const store::Column& column : table.columns)
          rows[static_cast<std::size_t>(i)].push_back(value_for(column, i));
      session->copy_rows(table, rows);
    }
  }
  void add_units() const {
    const store::PooledSession session = store::acquire_session(connection_string());
    std::vector<std::vector<Variant>> rows;
    for (std::int32_t i = 0; i < kUnits; ++i) rows.push_back({"U" + std::to_string(i), "unit"});
    session->start_transaction();
    session->copy_rows(store::TableInfo(*session->table("UNIT")), rows);
    session->commit();
  }
  // Without tables.
  TestStorePtr another_store(const std::string& name = "another") const {
    return ChosenStore::by_environment().make(folder(), name, Tables::none);
  }
  // The rows of all tables as texts with their types, sorted.
  static std::map<std::string, std::vector<std::string>> contents(const std::string& store) {
    const Unobserved unobserved;
    auto connection = open_connection(store);
    std::map<std::string, std::vector<std::string>> tables;
    for (const SchemaDefinition& definition : schema_definitions()) {
      if (!definition.is_table) continue;
      std::vector<std::string>& texts = tables[definition.name];
      const auto recordset = connection->Execute(Sql("SELECT * FROM ") << name(definition.name));
      for (const auto& row : recordset->rows()) {
        std::string text;
        for (const Variant& value : row)
          text += std::string(value.type_name()) + ":" + (value.is_null() ? "" : value.to_text()) + "|";
        texts.push_back(text);
      }
      std::sort(texts.begin(), texts.end());
    }
    connection->Close();
    return tables;
  }
  StoreCopy copy_to(const TestStore& target, const CopyObserver& observer = {}) const {
    return copy_store(connection_string(), target.connection_string(), observer);
  }
  void expect_refused(const std::string& from, const std::string& to, const std::string& description) const {
    const RaisedError failure = raised_by([&] { copy_store(from, to); });
    EXPECT_EQ(failure.Number, error_number::kStoreFailure);
    EXPECT_EQ(failure.Description, description);
  }
  static std::string place(const std::string& store) { return store::driver_for(store).describe(store).place; }
  std::string source() const { return place(connection_string()); }
  static std::optional<std::string> unfinished(const TestStore& target) {
    return source_of_unfinished_copy(*store::acquire_session(target.connection_string()).get());
  }
};

TEST_F(StoreCopies, HaveEverythingAndGoOnBehindTheKeys) {
  fill();
  add_units();
  const TestStorePtr target = another_store();
  const auto before = contents(connection_string());
  const StoreCopy done = copy_to(*target);
  EXPECT_EQ(contents(target->connection_string()), before);
  EXPECT_EQ(contents(connection_string()), before);
  EXPECT_EQ(done.from, source());
  EXPECT_EQ(done.to, place(target->connection_string()));
  EXPECT_FALSE(done.continued);
  EXPECT_EQ(done.left, Statements());
  ASSERT_EQ(done.tables.size(), 38u);
  for (const CopiedTable& table : done.tables)
    EXPECT_EQ(table.rows, table.name == "UNIT" ? kUnits + 3 : 3) << table.name;
  EXPECT_EQ(unfinished(*target), std::nullopt);
  EXPECT_EQ(missing_tables(target->connection_string()), Statements());
  EXPECT_EQ(schema_version_of(*store::acquire_session(target->connection_string()).get()), 3);
  for (const char* table : {"CATALOG (CATALOGNAME", "PROPERTY (PROPERTYNAME"})
    execute_on(target->connection_string(), {std::string("INSERT INTO ") + table + ") VALUES ('next')"});
  auto connection = open_connection(target->connection_string());
  EXPECT_EQ(connection->Execute(Sql("SELECT CATALOGID FROM CATALOG WHERE CATALOGNAME = 'next'"))->rows().at(0).at(0),
            Variant(1001));
  EXPECT_EQ(connection->Execute(Sql("SELECT PROPERTYID FROM PROPERTY WHERE PROPERTYNAME = 'next'"))->rows().at(0).at(0),
            Variant(1001));
  connection->Close();
}

// So a store comes from any engine to any other and back.
TEST_F(StoreCopies, OfACopyAreTheSameAgain) {
  fill();
  const std::string file = "Provider=SQLite;Data Source=" + (folder() / "between.db").string();
  const TestStorePtr back = another_store();
  const StoreCopy there = copy_store(connection_string(), file);
  const StoreCopy again = copy_store(file, back->connection_string());
  EXPECT_EQ(there.tables, again.tables);
  EXPECT_EQ(contents(back->connection_string()), contents(connection_string()));
}

TEST_F(StoreCopies, HaveChecksumsThatKnowValuesAndNoOrder) {
  const auto sums = [&](const std::string& name, const Statements& statements) {
    const TestStorePtr store = another_store(name);
    create_tables(store->connection_string());
    for (const std::string& statement : statements) execute_on(store->connection_string(), {statement});
    const TestStorePtr target = another_store(name + "-copy");
    const StoreCopy done = copy_store(store->connection_string(), target->connection_string());
    return *std::ranges::find(done.tables, "CATALOGPRODUCTPRICE", &CopiedTable::name);
  };
  const auto line = [](const std::string& id, const std::string& values) {
    return "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, PRICE) VALUES (" + id +
           ", " + values + ")";
  };
  const std::string first = line("1", "'2031-01-01 10:00:00', 2.5, 'a', 3.25");
  const std::string second = line("2", "'2031-01-01', 2, NULL, NULL");
  const CopiedTable sum = sums("one", {first, second});
  EXPECT_EQ(sum.rows, 2);
  EXPECT_EQ(sums("two", {second, first}), sum);
  int number = 0;
  for (const std::string& other :
       {line("3", "'2031-01-01 10:00:00', 2.5, 'a', 3.25"), line("1", "'2031-01-01 10:00:01', 2.5, 'a', 3.25"),
        line("1", "'2031-01-01 10:00:00', 2.6, 'a', 3.25"), line("1", "'2031-01-01 10:00:00', 2.5, 'A', 3.25"),
        line("1", "'2031-01-01 10:00:00', 2.5, 'a ', 3.25"), line("1", "'2031-01-01 10:00:00', 2.5, '', 3.25"),
        line("1", "'2031-01-01 10:00:00', 2.5, NULL, 3.25"), line("1", "'2031-01-01 10:00:00', 2.5, 'a', 3.2501")}) {
    const CopiedTable changed = sums("other" + std::to_string(++number), {other, second});
    EXPECT_EQ(changed.rows, 2);
    EXPECT_NE(changed.checksum, sum.checksum) << other;
  }
}

TEST_F(StoreCopies, ThatWereKilledWithinATableBeginItAnewAndKeepTheOthers) {
  fill();
  add_units();
  const TestStorePtr target = another_store();
  const int status = in_another_process([&] {
    int batches = 0;
    copy_to(*target, [&](CopyStep, std::int64_t, std::int64_t) {
      // Tables of three rows are one batch each; the units are the first with more.
      if (++batches == 33) ::kill(::getpid(), SIGKILL);
    });
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(unfinished(*target), source());
  auto connection = open_connection(target->connection_string());
  EXPECT_EQ(connection->Execute(Sql("SELECT COUNT(*) FROM UNIT"))->rows().at(0).at(0), Variant(0));
  EXPECT_EQ(connection->Execute(Sql("SELECT COUNT(*) FROM PRODUCT"))->rows().at(0).at(0), Variant(3));
  connection->Close();
  Statements begun;
  {
    Recorder recorder;
    EXPECT_TRUE(copy_to(*target).continued);
    for (const std::string& statement : recorder.statements)
      if (statement.starts_with("DELETE FROM ")) begun.push_back(statement);
  }
  EXPECT_EQ(begun, (Statements{"DELETE FROM UNIT", "DELETE FROM HAZARDOUSCLASS", "DELETE FROM UNSPSCCODES",
                               "DELETE FROM MERCATO_UPLOAD", "DELETE FROM MERCATO_UPLOAD_PART",
                               "DELETE FROM MERCATO_UPLOAD_ROW", "DELETE FROM MERCATO_UPLOAD_FINDING"}));
  EXPECT_EQ(contents(target->connection_string()), contents(connection_string()));
  EXPECT_EQ(unfinished(*target), std::nullopt);
}

TEST_F(StoreCopies, ThatAreKilledAtAnyStatementAreFinishedByTheNext) {
  fill();
  add_units();
  const auto expected = contents(connection_string());
  RandomRounds rounds(3);
  while (rounds.next()) {
    const TestStorePtr target = another_store("target" + std::to_string(rounds.round()));
    int kills = 0;
    for (bool killed = true; killed;) {
      // A whole copy has some 500 statements.
      const unsigned statement = 1 + rounds.below(600);
      const int status = in_another_process([&] {
        DeathAtAStatement death(statement);
        store::set_statement_observer(&death);
        copy_to(*target);
      });
      killed = WIFSIGNALED(status);
      if (killed) ++kills;
      ASSERT_LT(kills, 100);
    }
    EXPECT_EQ(contents(target->connection_string()), expected) << kills << " kills";
    EXPECT_EQ(unfinished(*target), std::nullopt);
  }
}

TEST_F(StoreCopies, OfSeveralAtOnceDoubleNoRow) {
  add_units();
  const TestStorePtr target = another_store();
  in_another_process([&] {
    std::vector<pid_t> others;
    for (int i = 0; i < 3; ++i) {
      const pid_t child = ::fork();
      if (child == 0) {
        try {
          copy_to(*target);
        } catch (const Raised&) {
        }
        ::_exit(0);
      }
      others.push_back(child);
    }
    for (const pid_t other : others) ::waitpid(other, nullptr, 0);
  });
  // When they hindered each other, the next one goes on.
  if (unfinished(*target)) copy_to(*target);
  EXPECT_EQ(contents(target->connection_string()), contents(connection_string()));
}

TEST_F(StoreCopies, OfASourceThatChangesAreToldAndBegunAnewWhereTheyDiffer) {
  add_units();
  const TestStorePtr target = another_store();
  bool changed = false;
  const RaisedError failure = raised_by([&] {
    copy_to(*target, [&](CopyStep step, std::int64_t, std::int64_t) {
      if (step == CopyStep::comparing || changed) return;
      changed = true;
      execute({"INSERT INTO UNIT (UNITCODE) VALUES ('late')", "INSERT INTO CATALOG (CATALOGNAME) VALUES ('late')"});
    });
  });
  EXPECT_EQ(failure.Number, error_number::kStoreFailure);
  EXPECT_EQ(failure.Description,
            "The two stores differ in CATALOG, UNIT: somebody writes to one of them. Copy again when nobody does; what "
            "differs is then begun anew");
  EXPECT_TRUE(copy_to(*target).continued);
  EXPECT_EQ(contents(target->connection_string()), contents(connection_string()));
}

TEST_F(StoreCopies, GoIntoNoStoreThatHasRowsOfItsOwn) {
  const TestStorePtr target = another_store();
  create_tables(target->connection_string());
  execute_on(target->connection_string(), {"INSERT INTO UNIT (UNITCODE) VALUES ('dear')", "DROP TABLE TAXCODES"});
  const auto refused = "'" + place(target->connection_string()) +
                       "' has rows already, in the table UNIT. Copy into a store without rows";
  expect_refused(connection_string(), target->connection_string(), refused);
  EXPECT_EQ(missing_tables(target->connection_string()), Statements{"TAXCODES"}) << "nothing was created there";
  EXPECT_EQ(unfinished(*target), std::nullopt);
  execute_on(target->connection_string(), {"DELETE FROM UNIT"});
  EXPECT_EQ(copy_to(*target).tables.size(), 38u) << "tables without rows are no hindrance";
  execute({"INSERT INTO UNIT (UNITCODE) VALUES ('EA')"});
  const TestStorePtr second = another_store("second");
  copy_to(*second);
  expect_refused(connection_string(), second->connection_string(),
                 "'" + place(second->connection_string()) +
                     "' has rows already, in the table UNIT. Copy into a store without rows");
}

TEST_F(StoreCopies, GoIntoNoRestOfACopyOfAnotherStore) {
  add_units();
  const TestStorePtr target = another_store();
  in_another_process([&] { copy_to(*target, [](CopyStep, std::int64_t, std::int64_t) { ::_exit(0); }); });
  const TestStorePtr other = another_store("other");
  create_tables(other->connection_string());
  expect_refused(other->connection_string(), target->connection_string(),
                 "'" + place(target->connection_string()) + "' holds an unfinished copy of '" + source() +
                     "'. Finish that one, or copy into a store without rows");
  expect_refused(target->connection_string(), other->connection_string(),
                 "'" + place(target->connection_string()) + "' cannot be copied: it is itself an unfinished copy of '" +
                     source() + "'. Finish that one first");
}

TEST_F(StoreCopies, OfUnfitSourcesAreRefused) {
  const TestStorePtr target = another_store();
  expect_refused(connection_string(), connection_string(),
                 "'" + source() + "' cannot be copied to itself. Name another store");
  execute({"ALTER TABLE UNIT ADD COLOUR nvarchar(5) NULL"});
  expect_refused(connection_string(), target->connection_string(),
                 "'" + source() + "' cannot be copied: its table UNIT has a column COLOUR, which is not the library's");
  execute({"DROP TABLE UNIT"});
  expect_refused(connection_string(), target->connection_string(),
                 "'" + source() +
                     "' cannot be copied: it has no table UNIT. `mercato init` creates the tables that are "
                     "missing");
  execute({"DROP TABLE MERCATO_SCHEMA"});
  expect_refused(connection_string(), target->connection_string(),
                 "'" + source() +
                     "' cannot be copied: The tables of the store have version 0, and this release needs "
                     "version 3. `mercato init` brings them up to date");
}

TEST_F(StoreCopies, LeaveTablesThatAreNotTheLibrarysAndSaySo) {
  execute({"CREATE TABLE NOTES (N int NULL)", "INSERT INTO NOTES (N) VALUES (1)"});
  const TestStorePtr target = another_store();
  EXPECT_EQ(copy_to(*target).left, Statements{"NOTES"});
  EXPECT_EQ(store::acquire_session(target->connection_string())->table("NOTES"), nullptr);
}

}  // namespace
}  // namespace mercato::test
