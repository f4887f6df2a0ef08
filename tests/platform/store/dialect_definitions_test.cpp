// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/platform/failure_of.h"
#include "tests/platform/store/dialect_store.h"

namespace mercato::store::dialect::test {
namespace {

TEST(DialectDefinitions, DeclaredTypesAreReadBack) {
  DialectStore store;
  store.run(
      "CREATE TABLE dbo.T (ID int IDENTITY(1,1) NOT NULL PRIMARY KEY, A int, B smallint NOT NULL, C bit, D float, E "
      "real, F money,"
      " G datetime, H nvarchar(50), I varchar(20), J nchar(5), K ntext, L nvarchar(max), M decimal(10,2), N text)");
  const TableInfo* table = store.find("t");
  ASSERT_NE(table, nullptr);
  const std::vector<std::pair<ColumnType, int>> expected = {
      {ColumnType::long_integer, 0}, {ColumnType::long_integer, 0}, {ColumnType::short_integer, 0},
      {ColumnType::boolean, 0},      {ColumnType::real, 0},         {ColumnType::real, 0},
      {ColumnType::money, 0},        {ColumnType::date, 0},         {ColumnType::text, 50},
      {ColumnType::text, 20},        {ColumnType::text, 5},         {ColumnType::text, 0},
      {ColumnType::text, 0},         {ColumnType::real, 0},         {ColumnType::text, 0}};
  ASSERT_EQ(table->columns.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(table->columns[i].type, expected[i].first) << table->columns[i].name;
    EXPECT_EQ(table->columns[i].width, expected[i].second) << table->columns[i].name;
    EXPECT_EQ(table->columns[i].assigned, i == 0);
    EXPECT_EQ(table->columns[i].nullable, i != 0 && i != 2);
  }
  EXPECT_EQ(table->key, std::vector<std::size_t>{0});
}

TEST(DialectDefinitions, UnknownDeclaredTypeIsUnknown) {
  EXPECT_EQ(sqlite::read_declared_type("GEOMETRY").type, ColumnType::unknown);
  EXPECT_EQ(sqlite::read_declared_type("").type, ColumnType::unknown);
  EXPECT_EQ(sqlite::read_declared_type("nvarchar(7)").width, 7);
}

TEST(DialectDefinitions, WidthsCountCharacters) {
  DialectStore store;
  store.run("CREATE TABLE T (A nvarchar(2))");
  EXPECT_EQ(store.refusal("INSERT INTO T VALUES (N'ß漢')"), "taken");
  EXPECT_EQ(store.refusal("INSERT INTO T VALUES (N'ß漢!')"), "CHECK constraint failed: width of A");
  EXPECT_EQ(store.refusal("UPDATE T SET A = 'abc'"), "CHECK constraint failed: width of A");
  EXPECT_EQ(store.refusal("INSERT INTO T VALUES (null)"), "taken");
}

TEST(DialectDefinitions, NumbersKeepTheirRange) {
  DialectStore store;
  store.run("CREATE TABLE T (A smallint, B int, C bit)");
  EXPECT_EQ(store.refusal("INSERT T (A) VALUES (32767)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T (A) VALUES (-32768)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T (A) VALUES (32768)"), "CHECK constraint failed: range of A");
  EXPECT_EQ(store.refusal("INSERT T (B) VALUES (2147483647)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T (B) VALUES (2147483648)"), "CHECK constraint failed: range of B");
  EXPECT_EQ(store.refusal("INSERT T (C) VALUES (1)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T (C) VALUES ('maybe')"),
            "Conversion failed when converting the text value 'maybe' to data type bit");
}

// Once ids went beyond what a long holds, and no call could name them.
TEST(DialectDefinitions, AssignedIdsKeepTheRangeOfTheirType) {
  DialectStore store;
  store.run("CREATE TABLE T (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, A int)");
  store.run("CREATE TABLE S (ID smallint NOT NULL IDENTITY(1,1) PRIMARY KEY, A int)");
  EXPECT_EQ(store.refusal("INSERT INTO T (ID, A) VALUES (2147483648, 1)"), "CHECK constraint failed: range of ID");
  EXPECT_EQ(store.refusal("INSERT INTO T (ID, A) VALUES (2147483647, 1)"), "taken");
  EXPECT_EQ(store.refusal("INSERT INTO T (A) VALUES (2)"), "CHECK constraint failed: range of ID");
  EXPECT_EQ(store.run("SELECT ID FROM T"), (Rows{{"2147483647"}}));
  EXPECT_EQ(store.refusal("INSERT INTO S (ID, A) VALUES (32767, 1)"), "taken");
  EXPECT_EQ(store.refusal("INSERT INTO S (A) VALUES (2)"), "CHECK constraint failed: range of ID");
}

TEST(DialectDefinitions, AssignedIdsAreNeverGivenTwice) {
  DialectStore store;
  store.run("CREATE TABLE T (ID int IDENTITY(1,1) NOT NULL, A int, CONSTRAINT PK_T PRIMARY KEY CLUSTERED (ID ASC))");
  store.run("INSERT INTO T VALUES (10)");
  store.run("INSERT INTO T (A) VALUES (20)");
  store.run("DELETE T WHERE ID = 2");
  store.run("INSERT INTO T VALUES (30)");
  EXPECT_EQ(store.run("SELECT * FROM T"), (Rows{{"1", "10"}, {"3", "30"}}));
  EXPECT_EQ(store.refusal("UPDATE T SET ID = 7"), "Cannot update identity column 'ID'");
}

TEST(DialectDefinitions, TwoNullsAreEqualInAUniqueKey) {
  DialectStore store;
  store.run("CREATE TABLE T (A int NOT NULL, B nvarchar(10) NULL, UNIQUE (A, B))");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, null)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, null)"), "UNIQUE constraint failed: index 'UQ_T_A_B'");
  EXPECT_EQ(store.refusal("INSERT T VALUES (2, null)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, '')"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, '  ')"), "UNIQUE constraint failed: index 'UQ_T_A_B'");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, 'x')"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, 'X ')"), "UNIQUE constraint failed: index 'UQ_T_A_B'");
}

TEST(DialectDefinitions, UniqueIndexOfANullableColumnHoldsOneNull) {
  DialectStore store;
  store.run("CREATE TABLE T (A int NULL, B datetime NULL)");
  store.run("CREATE UNIQUE NONCLUSTERED INDEX IX_T ON dbo.T (A DESC, B)");
  EXPECT_EQ(store.refusal("INSERT T VALUES (null, null)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (null, null)"), "UNIQUE constraint failed: index 'IX_T'");
  EXPECT_EQ(store.refusal("INSERT T VALUES (null, '1/1/2026')"), "taken");
}

TEST(DialectDefinitions, KeysAreNeverNullAndComparedAsTexts) {
  DialectStore store;
  store.run("CREATE TABLE T (A nvarchar(10) PRIMARY KEY, B int UNIQUE NOT NULL)");
  EXPECT_EQ(store.refusal("INSERT T VALUES ('a', 1)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES ('A  ', 2)"), "UNIQUE constraint failed: T.A");
  EXPECT_EQ(store.refusal("INSERT T VALUES ('á', 3)"), "taken");
  EXPECT_EQ(store.refusal("INSERT T VALUES (null, 4)"), "NOT NULL constraint failed: T.A");
  EXPECT_EQ(store.refusal("INSERT T VALUES ('b', 3)"), "UNIQUE constraint failed: T.B");
}

TEST(DialectDefinitions, DefaultsAreKeptAsTheirColumnKeepsValues) {
  DialectStore store;
  store.run(
      "CREATE TABLE T (X int, A smallint DEFAULT 5, B int DEFAULT (-7), C bit DEFAULT ((1)), D money DEFAULT 1.25, E "
      "datetime DEFAULT "
      "'7/1/2026', F nvarchar(20) CONSTRAINT DF DEFAULT 'it''s', G nvarchar(20) DEFAULT 5, H float DEFAULT (.5), I int "
      "DEFAULT NULL,"
      " J datetime DEFAULT GETDATE())");
  store.run("INSERT INTO T (X) VALUES (1)");
  EXPECT_EQ(store.run("SELECT A,B,C,D,E,F,G,H,I FROM T"),
            (Rows{{"5", "-7", "1", "12500", "2026-07-01T00:00:00", "it's", "5", "0.5", "NULL"}}));
  EXPECT_EQ(store.one("SELECT LEN(CONVERT(nvarchar(30), J, 126)) FROM T"), "19");
}

TEST(DialectDefinitions, TablesAndIndicesComeAndGo) {
  DialectStore store;
  store.run("create table T (A int)");
  EXPECT_EQ(store.refusal("CREATE TABLE dbo.t (B int)"), "There is already an object named 't' in the database");
  store.run("ALTER TABLE T ADD B nvarchar(3) NULL");
  EXPECT_EQ(store.refusal("INSERT T VALUES (1, 'abcd')"), "CHECK constraint failed: width of B");
  store.run("CREATE INDEX IX1 ON T (A)");
  store.run("CREATE INDEX IX2 ON T (B)");
  store.run("DROP INDEX T.IX1");
  store.run("DROP INDEX IX2 ON T");
  store.run("DROP TABLE dbo.T");
  EXPECT_EQ(store.refusal("SELECT * FROM T"), "Invalid object name 'T'");
  EXPECT_EQ(store.refusal("DROP TABLE T"), "Invalid object name 'T'");
}

TEST(DialectDefinitions, UnsoundDefinitionsAreRefused) {
  DialectStore store;
  EXPECT_EQ(store.refusal("CREATE TABLE T (A geometry)"), "Column 'A': Cannot find data type geometry (character 19)");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int, a int)"),
            "Column names in each table must be unique. Column name 'a' is given more than once");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int, PRIMARY KEY (B))"),
            "Column name 'B' does not exist in the target table");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int,)"), "Incorrect syntax near ')' (character 23)");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int"), "Incorrect syntax near 'int' (character 19)");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A nvarchar(0))"), "The size (0) given to the column 'A' is out of range");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int DEFAULT 'x')"),
            "Conversion failed when converting the text value 'x' to a number");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A int CHECK (A > 5))"), "Incorrect syntax near 'CHECK' (character 23)");
  EXPECT_EQ(store.refusal("CREATE TABLE T (A nvarchar(5) IDENTITY)"),
            "Identity column 'A' must be of data type int or smallint");
  EXPECT_EQ(mercato::test::failure_of([&] { store.run("CREATE TABLE T (A int IDENTITY(5,1) PRIMARY KEY)"); }).Number,
            error_number::kFeatureNotAvailable);
  EXPECT_EQ(mercato::test::failure_of([&] { store.run("CREATE TABLE T (A int IDENTITY)"); }).Number,
            error_number::kFeatureNotAvailable);
}

}  // namespace
}  // namespace mercato::store::dialect::test
