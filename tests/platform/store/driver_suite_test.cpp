// SPDX-License-Identifier: Apache-2.0
// What every driver has to do, run against each store of the list below, and against the one that MERCATO_TEST_STORE
// names (test_store.h). A new driver adds its line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "platform/store/call_limit.h"
#include "platform/store/known_drivers.h"
#include "platform/store/statement_observer.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store::test {
namespace {

using namespace error_number;

using mercato::test::ChosenStore;
using mercato::test::Tables;
using mercato::test::TestStore;
using mercato::test::TestStorePtr;

struct StoreUnderTest {
  std::string name;
  TestStorePtr (*make)(const std::filesystem::path& folder);
};

void PrintTo(const StoreUnderTest& store, std::ostream* out) { *out << store.name; }

std::vector<StoreUnderTest> stores_under_test() {
  std::vector<StoreUnderTest> stores = {
      {"SqliteFile",
       [](const std::filesystem::path& folder) { return ChosenStore("sqlite").make(folder, "store", Tables::none); }},
      {"SqliteMemory",
       [](const std::filesystem::path&) {
         return std::make_unique<TestStore>("Provider=SQLite;Data Source=:memory:");
       }},
  };
  if (std::getenv("MERCATO_TEST_STORE"))
    stores.push_back({"ChosenStore", [](const std::filesystem::path& folder) {
                        return ChosenStore::by_environment().make(folder, "chosen", Tables::none);
                      }});
  return stores;
}

class DriverSuite : public testing::TestWithParam<StoreUnderTest> {
 protected:
  DriverSuite() {
    store_ = GetParam().make(folder_.path());
    connection_string_ = store_->connection_string();
    session_ = open();
    for (const char* table : {"SUITE", "PLAIN", "PRICELINE"}) drop(table);
    execute(
        "CREATE TABLE SUITE (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NAME nvarchar(10) NOT NULL, "
        "SMALL smallint NULL DEFAULT 0, FLAG bit NULL, AMOUNT float NULL, PRICE money NULL, DAY datetime NULL, "
        "REMARK ntext NULL)");
    execute("CREATE TABLE PLAIN (CODE nvarchar(5) NULL, N int NULL)");
    execute("CREATE TABLE PRICELINE (ID int NOT NULL, GROUPBY nvarchar(10) NULL, UNIQUE (ID, GROUPBY))");
  }
  ~DriverSuite() override {
    session_ = open();
    for (const char* table : {"SUITE", "PLAIN", "PRICELINE"}) drop(table);
  }

  std::unique_ptr<Session> open() const { return driver_for(connection_string_).open(connection_string_); }
  Execution execute(std::string text) { return run(*session_, std::move(text)); }
  Variant one(std::string text) { return query_one(*session_, std::move(text)); }
  void drop(const std::string& table) {
    if (session_->table(table)) execute("DROP TABLE " + table);
  }
  RowIdentity insert(const std::string& table, const std::vector<std::string>& columns,
                     const std::vector<Variant>& values) {
    const TableInfo* info = session_->table(table);
    std::vector<std::size_t> positions;
    for (const std::string& column : columns) positions.push_back(info->find(column).value());
    return session_->insert_row(*info, positions, values);
  }

  Folder folder_;
  TestStorePtr store_;
  std::string connection_string_;
  std::unique_ptr<Session> session_;
};

TEST_P(DriverSuite, WholeRowsKeepTheirKeysAndThoseAssignedLaterLieBehindThem) {
  const std::vector<std::vector<Variant>> rows = {
      {41, "O'Neil \xC3\xA9 ", std::int16_t{-32768}, true, 1e300 / 3, Currency::from_scaled(INT64_MIN),
       Date::from_civil({1899, 12, 29, 6, 7, 8}), std::string(100'000, 'x')},
      {7, "", kNull, kNull, kNull, kNull, kNull, kNull},
  };
  const TableInfo suite = *session_->table("SUITE");
  session_->start_transaction();
  session_->copy_rows(suite, rows);
  session_->copy_rows(suite, {});
  session_->commit();
  const Execution query = execute("SELECT * FROM SUITE ORDER BY ID DESC");
  for (const std::vector<Variant>& row : rows) {
    std::vector<Variant> found;
    ASSERT_TRUE(query.cursor->next());
    query.cursor->read(found);
    EXPECT_EQ(found, row);
  }
  EXPECT_FALSE(query.cursor->next());
  EXPECT_EQ(insert("SUITE", {"NAME"}, {"next"}).number, 42);
  const std::vector<std::vector<Variant>> doubled = {{"A", 1}, {"A", 1}};
  session_->copy_rows(TableInfo(*session_->table("PLAIN")), doubled);
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(2));
}

TEST_P(DriverSuite, WholeRowsKeepWhateverStandsInTheirTexts) {
  const std::vector<std::vector<Variant>> rows = {{"\\", 1},   {"\\N", 2}, {"a\tb\nc", 3},
                                                  {"\r\n", 4}, {"", 5},    {kNull, 6}};
  session_->copy_rows(TableInfo(*session_->table("PLAIN")), rows);
  EXPECT_EQ(query(*session_, "SELECT * FROM PLAIN ORDER BY N"), rows);
}

TEST_P(DriverSuite, AWholeRowThatIsRefusedFailsAsAnyOther) {
  const TableInfo lines = *session_->table("PRICELINE"), plain = *session_->table("PLAIN");
  const std::vector<std::vector<Variant>> doubled = {{1, "a"}, {1, "A "}}, wide = {{"123456", 1}};
  session_->start_transaction();
  EXPECT_EQ(failure_of([&] { session_->copy_rows(lines, doubled); }).Number, kConstraintViolated);
  session_->rollback();
  session_->start_transaction();
  insert("PLAIN", {"N"}, {Variant(1)});
  EXPECT_EQ(failure_of([&] { session_->copy_rows(plain, wide); }).Number, kValueTooLong);
  insert("PLAIN", {"N"}, {Variant(2)});
  session_->commit();
  EXPECT_EQ(one("SELECT COUNT(*) FROM PRICELINE"), Variant(0));
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(2));
}

TEST_P(DriverSuite, AStoreSaysWhatItIs) {
  const StoreDescription told = driver_for(connection_string_).describe(connection_string_);
  EXPECT_FALSE(told.engine.empty());
  EXPECT_TRUE(told.version.find_first_of("0123456789") != std::string::npos) << told.version;
  EXPECT_FALSE(told.place.empty());
  EXPECT_FALSE(told.collation.empty());
  for (const auto& lacking : {told.lacking_rights, told.unreadable, told.unwritable})
    EXPECT_EQ(lacking, std::vector<std::string>());
  for (const char* table : {"SUITE", "PLAIN", "PRICELINE"})
    EXPECT_EQ(std::ranges::count(told.tables, table), 1) << table;
}

TEST_P(DriverSuite, ColumnsComeBackInTheirOwnTypes) {
  execute(
      "INSERT INTO SUITE (NAME, SMALL, FLAG, AMOUNT, PRICE, DAY, REMARK) "
      "VALUES ('bolt', 7, 1, 2.5, 12.34, '7/1/2026 8:30:00 AM', N'long')");
  const Execution found = session_->execute(Sql("SELECT * FROM SUITE"), {.identified = true});
  const auto rows = rows_of(*found.cursor);
  ASSERT_EQ(rows.size(), 1u);
  const std::vector<Variant> expected = {Variant(1),
                                         Variant("bolt"),
                                         Variant(std::int16_t{7}),
                                         Variant(true),
                                         Variant(2.5),
                                         Variant(Currency::from_scaled(123400)),
                                         Variant(Date::from_civil({2026, 7, 1, 8, 30, 0})),
                                         Variant("long")};
  EXPECT_EQ(rows[0], expected);
  EXPECT_EQ(found.cursor->layout()->table(), "SUITE");
  EXPECT_EQ(found.cursor->layout()->find("remark"), 7u);
}

TEST_P(DriverSuite, NullComesBackAsNullInEveryType) {
  execute("INSERT INTO SUITE (NAME, SMALL) VALUES ('x', null)");
  const auto row = query(*session_, "SELECT SMALL, FLAG, AMOUNT, PRICE, DAY, REMARK FROM SUITE").at(0);
  for (const Variant& value : row) EXPECT_TRUE(value.is_null());
}

TEST_P(DriverSuite, RowsThatUnionJoinsHaveTheTypesOfTheirColumnsWhereverANullStands) {
  execute(
      "INSERT INTO SUITE (NAME, SMALL, FLAG, AMOUNT, PRICE, DAY, REMARK) "
      "VALUES ('bolt', 7, 1, 2.5, 12.34, '7/1/2026 8:30:00 AM', N'long')");
  const std::string nulls = "SELECT NULL, NULL, NULL, NULL, NULL, NULL, NULL FROM SUITE";
  const std::string values = "SELECT ID, SMALL, FLAG, AMOUNT, PRICE, DAY, REMARK FROM SUITE";
  const std::vector<Variant> no_values(7, Variant(kNull));
  const std::vector<Variant> stored = {Variant(1),
                                       Variant(std::int16_t{7}),
                                       Variant(true),
                                       Variant(2.5),
                                       Variant(Currency::from_scaled(123400)),
                                       Variant(Date::from_civil({2026, 7, 1, 8, 30, 0})),
                                       Variant("long")};
  const std::string all = " UNION ALL ";
  EXPECT_EQ(query(*session_, nulls + all + nulls + all + values),
            (std::vector<std::vector<Variant>>{no_values, no_values, stored}));
  EXPECT_EQ(query(*session_, values + all + nulls + all + nulls),
            (std::vector<std::vector<Variant>>{stored, no_values, no_values}));
  EXPECT_EQ(query(*session_, nulls + " UNION " + nulls + " UNION " + values + " ORDER BY 1"),
            (std::vector<std::vector<Variant>>{no_values, stored}));
  EXPECT_EQ(query(*session_, nulls + all + nulls), (std::vector<std::vector<Variant>>{no_values, no_values}));
}

TEST_P(DriverSuite, BitsOfANumberAreThoseOfItsWholePart) {
  execute("INSERT INTO SUITE (NAME, SMALL, PRICE) VALUES ('12', 7, 12.34)");
  const auto rows = query(*session_, "SELECT PRICE | 2, PRICE & 4, SMALL | 8 FROM SUITE");
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0][0].to_double(), 14);
  EXPECT_EQ(rows[0][1].to_double(), 4);
  EXPECT_EQ(rows[0][2].to_double(), 15);
}

TEST_P(DriverSuite, RowsOfDifferentTypesThatUnionJoinsAreConvertedToTheHigherOne) {
  execute("INSERT INTO SUITE (NAME, SMALL, FLAG, PRICE, DAY) VALUES ('12', 7, 1, 12.34, '7/1/2026')");
  const auto joined = [this](const std::string& first, const std::string& second) {
    std::vector<Variant> values;
    for (const auto& row :
         query(*session_, "SELECT " + first + " FROM SUITE UNION ALL SELECT " + second + " FROM SUITE"))
      values.push_back(row.at(0));
    return values;
  };
  using Values = std::vector<Variant>;
  EXPECT_EQ(joined("NAME", "SMALL"), (Values{Variant(12.0), Variant(7.0)}));
  EXPECT_EQ(joined("SMALL", "'5'"), (Values{Variant(7.0), Variant(5.0)}));
  EXPECT_EQ(joined("PRICE", "SMALL"),
            (Values{Variant(Currency::from_scaled(123400)), Variant(Currency::from_scaled(70000))}));
  EXPECT_EQ(joined("FLAG", "SMALL"), (Values{Variant(std::int16_t{1}), Variant(std::int16_t{7})}));
  EXPECT_EQ(joined("SMALL", "100000"), (Values{Variant(7), Variant(100000)}));
  EXPECT_EQ(joined("DAY", "'2026-01-02'"), (Values{Variant(Date::from_civil({2026, 7, 1, 0, 0, 0})),
                                                   Variant(Date::from_civil({2026, 1, 2, 0, 0, 0}))}));
}

TEST_P(DriverSuite, WholeNumbersBeyondALongComeBackAsDouble) {
  EXPECT_EQ(one("SELECT 2147483647 + 0"), Variant(2147483647));
  execute("INSERT INTO PLAIN (N) VALUES (2147483647)");
  execute("INSERT INTO PLAIN (N) VALUES (2147483647)");
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(2));
}

TEST_P(DriverSuite, AWriteSaysHowManyRowsItChanged) {
  execute("INSERT INTO PLAIN (CODE, N) VALUES ('a', 1)");
  execute("INSERT INTO PLAIN (CODE, N) VALUES ('b', 1)");
  EXPECT_EQ(execute("UPDATE PLAIN SET N = 2").affected, 2);
  EXPECT_EQ(execute("UPDATE PLAIN SET N = 3 WHERE CODE = 'zz'").affected, 0);
  EXPECT_EQ(execute("DELETE FROM PLAIN WHERE CODE = 'a'").affected, 1);
  EXPECT_EQ(execute("DELETE FROM PLAIN").cursor, nullptr);
}

TEST_P(DriverSuite, StatementsOfOneShapeKeepTheirOwnLiterals) {
  for (int i = 0; i < 5; ++i)
    execute("INSERT INTO PLAIN (CODE, N) VALUES ('" + std::to_string(i) + "', " + std::to_string(i * 10) + ")");
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(one("SELECT N FROM PLAIN WHERE CODE = '" + std::to_string(i) + "'"), Variant(i * 10));
}

TEST_P(DriverSuite, AStatementCanRunAgainWhileItStillRuns) {
  for (int i = 0; i < 4; ++i) execute("INSERT INTO PLAIN (N) VALUES (" + std::to_string(i) + ")");
  const Execution outer = execute("SELECT N FROM PLAIN WHERE N < 3");
  int pairs = 0;
  while (outer.cursor->next()) {
    const Execution inner = execute("SELECT N FROM PLAIN WHERE N < 2");
    while (inner.cursor->next()) ++pairs;
  }
  EXPECT_EQ(pairs, 6);
}

TEST_P(DriverSuite, AQueryKeepsItsRowsWhenTheSessionWrites) {
  for (int i = 0; i < 100; ++i) execute("INSERT INTO PLAIN (N) VALUES (" + std::to_string(i) + ")");
  const Execution walk = execute("SELECT N FROM PLAIN ORDER BY N");
  std::vector<Variant> row;
  int seen = 0;
  while (walk.cursor->next()) {
    walk.cursor->read(row);
    EXPECT_EQ(row.at(0), Variant(seen));
    execute("DELETE FROM PLAIN WHERE N = " + std::to_string(99 - seen));
    ++seen;
  }
  EXPECT_EQ(seen, 100);
  EXPECT_FALSE(walk.cursor->next());
}

TEST_P(DriverSuite, AWriteBetweenStepAndReadDoesNotDisturbTheRow) {
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  const Execution walk = execute("SELECT N FROM PLAIN");
  ASSERT_TRUE(walk.cursor->next());
  execute("UPDATE PLAIN SET N = 2");
  std::vector<Variant> row;
  walk.cursor->read(row);
  EXPECT_EQ(row.at(0), Variant(1));
  EXPECT_FALSE(walk.cursor->next());
}

TEST_P(DriverSuite, AQueryEndsWithItsSession) {
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  execute("INSERT INTO PLAIN (N) VALUES (2)");
  const Execution walk = execute("SELECT N FROM PLAIN");
  ASSERT_TRUE(walk.cursor->next());
  session_.reset();
  EXPECT_EQ(failure_of([&] { walk.cursor->next(); }).Number, kObjectClosed);
}

TEST_P(DriverSuite, ResetEndsQueriesAndTransactions) {
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  session_->start_transaction();
  execute("INSERT INTO PLAIN (N) VALUES (2)");
  const Execution walk = execute("SELECT N FROM PLAIN");
  EXPECT_TRUE(session_->reset());
  EXPECT_EQ(failure_of([&] { walk.cursor->next(); }).Number, kObjectClosed);
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(1));
}

TEST_P(DriverSuite, AnInsertedRowGivesItsAssignedKey) {
  EXPECT_EQ(insert("SUITE", {"NAME"}, {Variant("a")}).number, 1);
  const RowIdentity second = insert("SUITE", {"NAME", "PRICE"}, {Variant("b"), Variant(Currency::from_scaled(5))});
  EXPECT_EQ(second.number, 2);
  EXPECT_EQ(one("SELECT PRICE FROM SUITE WHERE ID = 2"), Variant(Currency::from_scaled(5)));
  EXPECT_EQ(one("SELECT SMALL FROM SUITE WHERE ID = 2"), Variant(std::int16_t{0}));
}

TEST_P(DriverSuite, ARowWithoutAKeyIsChangedByItsIdentity) {
  insert("PLAIN", {"CODE", "N"}, {Variant("a"), Variant(1)});
  insert("PLAIN", {"CODE", "N"}, {Variant("a"), Variant(1)});
  const Execution found = session_->execute(Sql("SELECT * FROM PLAIN"), {.identified = true});
  ASSERT_TRUE(found.cursor->next());
  RowIdentity first = found.cursor->identity();
  EXPECT_EQ(found.cursor->layout()->size(), 2u);
  const TableInfo* table = session_->table("plain");
  const std::size_t columns[] = {table->find("N").value()};
  const Variant values[] = {Variant(9)};
  session_->update_row(*table, first, columns, values);
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN WHERE N = 9"), Variant(1));
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN WHERE N = 1"), Variant(1));
}

TEST_P(DriverSuite, ARowIsFoundAgainAfterItsKeyWasChanged) {
  execute("CREATE TABLE KEYED (CODE nvarchar(5) NOT NULL PRIMARY KEY, N int NULL)");
  RowIdentity row = insert("KEYED", {"CODE", "N"}, {Variant("a"), Variant(1)});
  const TableInfo* table = session_->table("KEYED");
  const std::size_t code[] = {0}, n[] = {1};
  const Variant b[] = {Variant("b")}, two[] = {Variant(2)};
  session_->update_row(*table, row, code, b);
  session_->update_row(*table, row, n, two);
  EXPECT_EQ(query(*session_, "SELECT * FROM KEYED"), (std::vector<std::vector<Variant>>{{Variant("b"), Variant(2)}}));
  execute("DROP TABLE KEYED");
}

TEST_P(DriverSuite, ChangingARowThatIsGoneFails) {
  RowIdentity row = insert("PLAIN", {"N"}, {Variant(1)});
  execute("DELETE FROM PLAIN");
  const TableInfo* table = session_->table("PLAIN");
  const std::size_t columns[] = {1};
  const Variant values[] = {Variant(9)};
  EXPECT_EQ(failure_of([&] { session_->update_row(*table, row, columns, values); }).Number, kStoreFailure);
}

TEST_P(DriverSuite, TablesAreFoundInAnyCaseAndDescribed) {
  const TableInfo* table = session_->table("suite");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->name, "SUITE");
  EXPECT_EQ(table->key, std::vector<std::size_t>{0});
  EXPECT_TRUE(table->columns[0].assigned);
  EXPECT_FALSE(table->columns[0].nullable);
  EXPECT_EQ(table->columns[1].width, 10);
  EXPECT_FALSE(table->columns[1].nullable);
  EXPECT_TRUE(table->columns[2].nullable);
  const ColumnType types[] = {ColumnType::long_integer, ColumnType::text, ColumnType::short_integer,
                              ColumnType::boolean,      ColumnType::real, ColumnType::money,
                              ColumnType::date,         ColumnType::text};
  for (std::size_t i = 0; i < std::size(types); ++i) EXPECT_EQ(table->columns[i].type, types[i]) << i;
  EXPECT_EQ(session_->table("NOSUCHTABLE"), nullptr);
}

TEST_P(DriverSuite, AnIndexIsFoundInAnyCaseOnItsOwnTableOnly) {
  EXPECT_FALSE(session_->has_index("PLAIN", "IX_PLAIN_CODE"));
  execute("CREATE INDEX IX_PLAIN_CODE ON PLAIN (CODE)");
  EXPECT_TRUE(session_->has_index("plain", "ix_Plain_Code"));
  EXPECT_FALSE(session_->has_index("SUITE", "IX_PLAIN_CODE"));
  EXPECT_FALSE(session_->has_index("PLAIN", "PLAIN"));
  EXPECT_FALSE(session_->has_index("NOSUCHTABLE", "IX_PLAIN_CODE"));
  run(*open(), "DROP TABLE PLAIN");
  EXPECT_FALSE(session_->has_index("PLAIN", "IX_PLAIN_CODE"));
}

TEST_P(DriverSuite, AnIndexOfATransactionIsThereForItsOwnSession) {
  session_->start_transaction();
  execute("CREATE INDEX IX_PLAIN_CODE ON PLAIN (CODE)");
  EXPECT_TRUE(session_->has_index("PLAIN", "IX_PLAIN_CODE"));
  session_->rollback();
  EXPECT_FALSE(session_->has_index("PLAIN", "IX_PLAIN_CODE"));
}

TEST_P(DriverSuite, AnOverlongValueIsRefusedInCharacters) {
  EXPECT_EQ(execute("INSERT INTO SUITE (NAME) VALUES (N'äöüäöüäöüä')").affected, 1);
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO SUITE (NAME) VALUES ('12345678901')"); }).Number, kValueTooLong);
  EXPECT_EQ(failure_of([&] { insert("SUITE", {"NAME"}, {Variant("12345678901")}); }).Number, kValueTooLong);
  EXPECT_EQ(one("SELECT COUNT(*) FROM SUITE"), Variant(1));
}

TEST_P(DriverSuite, AMissingValueViolatesNotNull) {
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO SUITE (SMALL) VALUES (1)"); }).Number, kConstraintViolated);
  EXPECT_EQ(failure_of([&] { insert("SUITE", {"SMALL"}, {Variant(std::int16_t{1})}); }).Number, kConstraintViolated);
}

TEST_P(DriverSuite, ADoubledKeyViolatesItAndTwoNullsAreEqualInIt) {
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, null)");
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')");
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, null)"); }).Number,
            kConstraintViolated);
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'A')"); }).Number,
            kConstraintViolated);
}

TEST_P(DriverSuite, AnUnknownTableOrColumnIsARefusedStatement) {
  EXPECT_EQ(failure_of([&] { execute("SELECT * FROM NOSUCHTABLE"); }).Number, kStatementRefused);
  EXPECT_EQ(failure_of([&] { execute("SELECT NOSUCHCOLUMN FROM PLAIN"); }).Number, kStatementRefused);
  EXPECT_EQ(failure_of([&] { execute("SELECT FROM WHERE"); }).Number, kStatementRefused);
  EXPECT_EQ(failure_of([&] { execute("DELETE PLAIN; DELETE PLAIN"); }).Number, kStatementRefused);
}

TEST_P(DriverSuite, ATableThatAnotherSessionDefinesIsFound) {
  EXPECT_EQ(failure_of([&] { execute("SELECT * FROM LATER"); }).Number, kStatementRefused);
  run(*open(), "CREATE TABLE LATER (N int NULL)");
  EXPECT_TRUE(query(*session_, "SELECT * FROM LATER").empty());
  EXPECT_NE(session_->table("LATER"), nullptr);
  execute("DROP TABLE LATER");
  EXPECT_EQ(session_->table("LATER"), nullptr);
}

TEST_P(DriverSuite, ATableThatAnotherSessionMadeAnewIsReadInItsNewForm) {
  execute("INSERT INTO PLAIN (CODE, N) VALUES ('a', 1)");
  EXPECT_EQ(query(*session_, "SELECT * FROM PLAIN").at(0).size(), 2u);
  {
    const std::unique_ptr<Session> other = open();
    run(*other, "DROP TABLE PLAIN");
    run(*other, "CREATE TABLE PLAIN (N money NULL, DAY datetime NULL, CODE nvarchar(5) NULL)");
    run(*other, "INSERT INTO PLAIN (N, DAY, CODE) VALUES (1.5, '1/2/2026', 'b')");
  }
  const std::vector<Variant> expected = {Variant(Currency::from_scaled(15000)), Variant(Date::from_civil({2026, 1, 2})),
                                         Variant("b")};
  EXPECT_EQ(query(*session_, "SELECT * FROM PLAIN").at(0), expected);
}

TEST_P(DriverSuite, ACommittedTransactionStandsAndARolledBackOneDoesNot) {
  session_->start_transaction();
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  insert("PLAIN", {"N"}, {Variant(2)});
  session_->commit();
  session_->start_transaction();
  execute("INSERT INTO PLAIN (N) VALUES (3)");
  session_->rollback();
  execute("INSERT INTO PLAIN (N) VALUES (4)");
  EXPECT_EQ(query(*open(), "SELECT N FROM PLAIN ORDER BY N"),
            (std::vector<std::vector<Variant>>{{Variant(1)}, {Variant(2)}, {Variant(4)}}));
}

TEST_P(DriverSuite, ATransactionIsSeenByOthersWhenItIsCommitted) {
  const std::unique_ptr<Session> other = open();
  session_->start_transaction();
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(1));
  EXPECT_EQ(query_one(*other, "SELECT COUNT(*) FROM PLAIN"), Variant(0));
  session_->commit();
  EXPECT_EQ(query_one(*other, "SELECT COUNT(*) FROM PLAIN"), Variant(1));
}

TEST_P(DriverSuite, ATransactionThatHasOnlyReadIsInNobodysWayAndDoesNotFailForIt) {
  const std::unique_ptr<Session> other = open();
  session_->start_transaction();
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(0));
  run(*other, "INSERT INTO PLAIN (N) VALUES (1)");
  execute("INSERT INTO PLAIN (N) VALUES (2)");
  session_->commit();
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(2));
}

TEST_P(DriverSuite, AnOpenQueryIsNoReasonForATransactionToFail) {
  const std::unique_ptr<Session> other = open();
  for (int i = 0; i < 3; ++i) execute("INSERT INTO PLAIN (N) VALUES (" + std::to_string(i) + ")");
  session_->start_transaction();
  const Execution walk = execute("SELECT N FROM PLAIN ORDER BY N");
  ASSERT_TRUE(walk.cursor->next());
  run(*other, "INSERT INTO PLAIN (N) VALUES (10)");
  execute("INSERT INTO PLAIN (N) VALUES (11)");
  EXPECT_TRUE(walk.cursor->next());
  EXPECT_TRUE(walk.cursor->next());
  EXPECT_FALSE(walk.cursor->next());
  session_->commit();
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(5));
}

// Once a transaction kept everybody from writing after a write of its own that had failed, or had found no row.
TEST_P(DriverSuite, ATransactionThatHasChangedNothingIsInNobodysWay) {
  const std::unique_ptr<Session> other = open();
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')");
  session_->start_transaction();
  EXPECT_TRUE(session_->unused());
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')"); }).Number,
            kConstraintViolated);
  run(*other, "INSERT INTO PRICELINE (ID, GROUPBY) VALUES (2, 'a')");
  EXPECT_EQ(failure_of([&] {
              insert("PRICELINE", {"ID", "GROUPBY"}, {Variant(1), Variant("a")});
            }).Number,
            kConstraintViolated);
  run(*other, "INSERT INTO PRICELINE (ID, GROUPBY) VALUES (3, 'a')");
  EXPECT_EQ(execute("DELETE FROM PRICELINE WHERE ID = 4").affected, 0);
  run(*other, "INSERT INTO PRICELINE (ID, GROUPBY) VALUES (4, 'a')");
  EXPECT_TRUE(session_->unused());
  EXPECT_EQ(failure_of([&] { execute("CREATE UNIQUE INDEX UQ ON PRICELINE (GROUPBY)"); }).Number, kConstraintViolated);
  run(*other, "INSERT INTO PRICELINE (ID, GROUPBY) VALUES (5, 'a')");
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (6, 'a')");
  EXPECT_FALSE(session_->unused());
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (6, 'a')"); }).Number,
            kConstraintViolated);
  session_->rollback();
  EXPECT_EQ(one("SELECT MAX(ID) FROM PRICELINE"), Variant(5));
}

TEST_P(DriverSuite, ASessionThatIsReadFromIsInUse) {
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  session_->start_transaction();
  {
    const Execution walk = execute("SELECT N FROM PLAIN");
    ASSERT_TRUE(walk.cursor->next());
    EXPECT_FALSE(session_->unused());
  }
  EXPECT_TRUE(session_->unused());
  session_->rollback();
}

TEST_P(DriverSuite, AFailedStatementLeavesTheRestOfItsTransaction) {
  session_->start_transaction();
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')");
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')"); }).Number,
            kConstraintViolated);
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (2, 'a')");
  session_->commit();
  EXPECT_EQ(one("SELECT COUNT(*) FROM PRICELINE"), Variant(2));
}

TEST_P(DriverSuite, ADefinitionIsPartOfItsTransaction) {
  session_->start_transaction();
  execute("CREATE TABLE LATER (N int NULL)");
  execute("INSERT INTO LATER (N) VALUES (1)");
  session_->rollback();
  EXPECT_EQ(session_->table("LATER"), nullptr);
}

TEST_P(DriverSuite, StatementsOfARunStandAtOnceForTheirSessionAndSoonForOthers) {
  const std::unique_ptr<Session> other = open();
  session_->begin_run();
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(1));
  session_->flush_run();
  EXPECT_EQ(query_one(*other, "SELECT COUNT(*) FROM PLAIN"), Variant(1));
  execute("INSERT INTO PLAIN (N) VALUES (2)");
  session_->end_run();
  EXPECT_EQ(query_one(*other, "SELECT COUNT(*) FROM PLAIN"), Variant(2));
  run(*other, "INSERT INTO PLAIN (N) VALUES (3)");
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(3));
}

TEST_P(DriverSuite, AForeseenQueryIsAnsweredAsItIsRightAfterTheWrite) {
  const std::string count = "SELECT COUNT(*) FROM PLAIN", largest = "SELECT MAX(N) FROM PLAIN";
  const auto foresee = [&](const std::vector<std::string>& texts) {
    std::vector<Sql> queries;
    for (const std::string& text : texts) queries.push_back(Sql::verbatim(text));
    session_->foresee(queries);
  };
  session_->begin_run();
  EXPECT_EQ(one(count), Variant(0));
  EXPECT_TRUE(one(largest).is_null());

  foresee({count, largest});
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  EXPECT_EQ(one(count), Variant(1));
  EXPECT_EQ(one(largest), Variant(1));
  EXPECT_EQ(one(count), Variant(1));

  // Something else comes.
  foresee({count, largest});
  insert("PLAIN", {"N"}, {Variant(2)});
  EXPECT_EQ(one(largest), Variant(2));
  EXPECT_EQ(one(count), Variant(2));
  foresee({count, largest});
  execute("INSERT INTO PLAIN (N) VALUES (3)");
  execute("INSERT INTO PLAIN (N) VALUES (4)");
  EXPECT_EQ(one(count), Variant(4));

  // A query that is still read when the foreseen one is executed keeps its rows.
  foresee({count});
  const Execution walk = execute("SELECT N FROM PLAIN ORDER BY N");
  ASSERT_TRUE(walk.cursor->next());
  execute("INSERT INTO PLAIN (N) VALUES (5)");
  EXPECT_EQ(one(count), Variant(5));
  EXPECT_EQ(rows_of(*walk.cursor).size(), 3U);

  // The write's failure is its own.
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')");
  foresee({count, largest});
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')"); }).Number,
            kConstraintViolated);
  EXPECT_EQ(one(count), Variant(5));
  foresee({"SELECT NOSUCH FROM PLAIN", "SELECT 'no end", count});
  execute("INSERT INTO PLAIN (N) VALUES (6)");
  EXPECT_EQ(failure_of([&] { execute("SELECT NOSUCH FROM PLAIN"); }).Number, kStatementRefused);
  EXPECT_EQ(one(count), Variant(6));
  // So is the foreseen query's, and the one behind it is answered all the same.
  const std::string five = "SELECT COUNT(*) FROM PLAIN WHERE CODE = 5";
  EXPECT_EQ(one(five), Variant(0));
  foresee({five, count});
  execute("INSERT INTO PLAIN (CODE, N) VALUES ('five', 7)");
  EXPECT_EQ(failure_of([&] { one(five); }).Number, kStatementRefused);
  EXPECT_EQ(one(count), Variant(7));
  execute("DELETE FROM PLAIN WHERE N = 7");
  foresee({count});
  session_->end_run();
  execute("INSERT INTO PLAIN (N) VALUES (7)");
  EXPECT_EQ(one(count), Variant(7));
}

TEST_P(DriverSuite, AFailedStatementOfARunLeavesTheOthersStanding) {
  session_->begin_run();
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')");
  EXPECT_EQ(failure_of([&] { execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (1, 'a')"); }).Number,
            kConstraintViolated);
  EXPECT_EQ(failure_of([&] { execute("DELETE FROM NOSUCHTABLE"); }).Number, kStatementRefused);
  execute("INSERT INTO PRICELINE (ID, GROUPBY) VALUES (2, 'a')");
  session_->end_run();
  EXPECT_EQ(query_one(*open(), "SELECT COUNT(*) FROM PRICELINE"), Variant(2));
}

TEST_P(DriverSuite, ASessionWithARunLeftOpenEndsItOnReset) {
  session_->begin_run();
  execute("INSERT INTO PLAIN (N) VALUES (1)");
  EXPECT_TRUE(session_->reset());
  EXPECT_EQ(query_one(*open(), "SELECT COUNT(*) FROM PLAIN"), Variant(1));
}

class Recorder : public StatementObserver {
 public:
  Recorder() : previous_(set_statement_observer(this)) {}
  ~Recorder() override { set_statement_observer(previous_); }
  void on_statement(std::string_view text, bool by_library) override {
    seen.push_back((by_library ? "library: " : "other: ") + std::string(text));
    if (text.find("REFUSED") != std::string_view::npos) raise(4711, "observer", "refused on request");
  }
  std::vector<std::string> seen;

 private:
  StatementObserver* previous_;
};

TEST_P(DriverSuite, EveryStatementIsSeenAsItWasBuiltBeforeItRunsAndRowWritesAreNot) {
  Recorder recorder;
  execute("INSERT PLAIN (N) VALUES (1)");
  EXPECT_EQ(failure_of([&] { execute("SELECT 'no end"); }).Number, kStatementRefused);
  {
    const StatementOrigin collaborator(false);
    execute("SELECT N FROM PLAIN");
  }
  insert("PLAIN", {"N"}, {Variant(2)});
  session_->start_transaction();
  session_->commit();
  EXPECT_EQ(recorder.seen, (std::vector<std::string>{"library: INSERT PLAIN (N) VALUES (1)", "library: SELECT 'no end",
                                                     "other: SELECT N FROM PLAIN"}));
}

TEST_P(DriverSuite, AnObserversRaiseIsTheStatementsFailureAndItDoesNotRun) {
  Recorder recorder;
  const RaisedError failure = failure_of([&] { execute("INSERT INTO PLAIN (CODE) VALUES ('REFUSED')"); });
  EXPECT_EQ(failure, (RaisedError{4711, "observer", "refused on request", {}, 0}));
  EXPECT_EQ(one("SELECT COUNT(*) FROM PLAIN"), Variant(0));
}

TEST_P(DriverSuite, AStatementThatRunsBeyondTheCallLimitIsEnded) {
  session_->start_transaction();
  for (int i = 0; i < 300; ++i) execute("INSERT INTO PLAIN (N) VALUES (" + std::to_string(i) + ")");
  session_->commit();
  const CallLimit limit(0.05);
  const RaisedError failure = failure_of([&] {
    execute("SELECT COUNT(*) FROM PLAIN A, PLAIN B, PLAIN C, PLAIN D, PLAIN E WHERE A.N + B.N + C.N + D.N + E.N = -1");
  });
  EXPECT_EQ(failure.Number, kTimeout);
  EXPECT_EQ(failure.Description, "Timeout expired: the call ran longer than its limit of 0.05 seconds");
}

INSTANTIATE_TEST_SUITE_P(Stores, DriverSuite, testing::ValuesIn(stores_under_test()),
                         [](const testing::TestParamInfo<StoreUnderTest>& store) { return store.param.name; });

}  // namespace
}  // namespace mercato::store::test
