// SPDX-License-Identifier: Apache-2.0
// What statements of the dialect answer on SQLite, where that differs from SQLite's own answers.
#include <gtest/gtest.h>

#include <climits>

#include "mercato/clock.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/store/dialect_store.h"

namespace mercato::store::dialect::test {
namespace {

class DialectTranslator : public testing::Test {
 protected:
  DialectTranslator() {
    store.run(
        "CREATE TABLE PART (ID int NOT NULL PRIMARY KEY, Name nvarchar(50) NULL, CODE nvarchar(20) NULL, QTY float "
        "NULL, PRICE money "
        "NULL, SINCE datetime NULL, ACTIVE bit NULL, KIND smallint NULL)");
    store.run("CREATE TABLE KINDS (KIND smallint NOT NULL PRIMARY KEY, LABEL nvarchar(20) NULL, \"ORDER\" int NULL)");
    store.run("INSERT INTO PART VALUES (1, 'Bolt', '007', 2.5, 0.1, '7/1/2026', 1, 10)");
    store.run("INSERT INTO PART VALUES (2, 'bolt  ', '42', 10, 19.99, '2026-07-01T08:30:00', 0, 10)");
    store.run("INSERT INTO PART VALUES (3, 'Bölt', '7', NULL, 0.2, '12/31/2025 11:00 PM', 1, 20)");
    store.run("INSERT INTO PART VALUES (4, NULL, NULL, 100, NULL, NULL, NULL, NULL)");
    store.run("INSERT INTO KINDS VALUES (10, 'fixing', 2)");
    store.run("INSERT INTO KINDS VALUES (20, 'other', 1)");
  }

  std::string ids(const std::string& condition) {
    return store.list("SELECT ID FROM PART WHERE " + condition + " ORDER BY ID");
  }

  struct Case {
    const char* text;
    const char* answer;
  };
  void expect_ids(std::initializer_list<Case> cases) {
    for (const Case& each : cases) EXPECT_EQ(ids(each.text), each.answer) << each.text;
  }
  void expect_values(std::initializer_list<Case> cases) {
    for (const Case& each : cases) EXPECT_EQ(store.one(std::string("SELECT ") + each.text), each.answer) << each.text;
  }
  void expect_refusals(std::initializer_list<Case> cases) {
    for (const Case& each : cases) EXPECT_EQ(store.refusal(each.text), each.answer) << each.text;
  }

  DialectStore store;
};

TEST_F(DialectTranslator, TextsAreComparedWithoutCaseAndTrailingBlanks) {
  expect_ids({
      {"Name = 'BOLT'", "1,2"},
      {"Name = 'bolt    '", "1,2"},
      {"'BOLT' = Name", "1,2"},
      {"Name = N'BÖLT'", "3"},
      {"Name <> 'bolt'", "3"},
      {"Name IN ('BOLT', 'x')", "1,2"},
      {"Name NOT IN ('BOLT')", "3"},
      {"Name BETWEEN 'BOLT' AND 'bolt'", "1,2"},
      {"UPPER(Name) = 'bolt'", "1,2"},
      {"'x' + Name = 'XBOLT'", "1,2"},
      {"ISNULL(Name, 'bolt') = 'BOLT'", "1,2,4"},
      {"Name IN (SELECT UPPER(Name) FROM PART WHERE ID = 1)", "1,2"},
      {"UPPER(Name) IN (SELECT Name FROM PART WHERE ID = 1)", "1,2"},
      {"CASE WHEN ID = 1 THEN Name ELSE 'BOLT' END = 'bolt'", "1,2,3,4"},
      {"CASE Name WHEN 'BOLT' THEN 1 ELSE 0 END = 1", "1,2"},
      {"NULLIF(Name, 'BOLT') IS NULL", "1,2,4"},
      {"Name = (SELECT MAX(UPPER(Name)) FROM PART WHERE ID < 3)", "1,2"},
      {"'a' = 'A '", "1,2,3,4"},
  });
}

TEST_F(DialectTranslator, TextsAreGroupedAndSortedTheSameWay) {
  EXPECT_EQ(store.one("SELECT COUNT(DISTINCT Name) FROM PART"), "2");
  EXPECT_EQ(store.one("SELECT COUNT(DISTINCT LOWER(Name)) FROM PART"), "2");
  EXPECT_EQ(store.run("SELECT DISTINCT Name FROM PART WHERE Name IS NOT NULL").size(), 2u);
  EXPECT_EQ(store.run("SELECT DISTINCT UPPER(Name) FROM PART WHERE ID < 4").size(), 2u);
  EXPECT_EQ(store.run("SELECT COUNT(*) FROM PART GROUP BY Name").size(), 3u);
  EXPECT_EQ(store.run("SELECT COUNT(*) FROM PART GROUP BY RTRIM(Name)").size(), 3u);
  EXPECT_EQ(store.run("SELECT Name FROM PART WHERE ID=1 UNION SELECT UPPER(Name) FROM PART WHERE ID=2").size(), 1u);
  EXPECT_EQ(store.list("SELECT ID FROM PART ORDER BY Name, ID"), "4,1,2,3");
  EXPECT_EQ(store.list("SELECT ID FROM PART ORDER BY LOWER(Name) DESC, ID"), "3,1,2,4");
  EXPECT_EQ(store.list("SELECT ID, UPPER(Name) AS N FROM PART ORDER BY N, ID DESC"), "4,2,1,3");
}

TEST_F(DialectTranslator, LikeFollowsTheServer) {
  expect_ids({
      {"Name LIKE 'BOLT'", "1"},
      {"Name LIKE 'bolt%'", "1,2"},
      {"Name LIKE '%o[k-m]%'", "1,2"},
      {"Name LIKE 'b[^o]lt'", "3"},
      {"Name NOT LIKE '%ö%'", "1,2"},
      {"NOT Name LIKE '%ö%'", "1,2"},
      {"NOT Name LIKE 'bolt%'", "3"},
      {"Name LIKE 'bolt%' OR ID = 4", "1,2,4"},
      {"Name LIKE N'BO%'", "1,2"},
      {"Name LIKE 'b_lt'", "1,3"},
      {"Name LIKE 'b' + '%'", "1,2,3"},
      {"Name LIKE ('b%')", "1,2,3"},
      {"CODE LIKE '0%'", "1"},
      {"ID LIKE '1'", "1"},
      {"Name LIKE 'B!_%' ESCAPE '!'", ""},
      {"'Bolt' LIKE Name", "1"},
      {"Name LIKE null", ""},
  });
}

TEST_F(DialectTranslator, TextAndNumberCompareAsNumbers) {
  expect_ids({
      {"CODE = 7", "1,3"},
      {"CODE = 7.0", "1,3"},
      {"CODE = -7", ""},
      {"CODE IN (7, 42)", "1,2,3"},
      {"CODE IN (7, '42')", "1,2,3"},
      {"CODE > 10", "2"},
      {"CODE BETWEEN 5 AND 8", "1,3"},
      {"CODE = ID + 4", "3"},
      {"CODE < ID", ""},
      {"CODE IN (SELECT 7)", "1,3"},
      {"ID = '1'", "1"},
      {"ID = ' 1 '", "1"},
      {"ID = N'01'", "1"},
      {"ID = ''", ""},
      {"ID IN ('1', '2')", "1,2"},
      {"'3' = ID", "3"},
      {"QTY = '2.5'", "1"},
      {"QTY = '2.50'", "1"},
      {"KIND = '20'", "3"},
      {"ID IN (SELECT CODE FROM PART WHERE ID = 3)", ""},
      {"ID + 4 IN (SELECT CODE FROM PART WHERE ID = 3)", "3"},
  });
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE ID = 'abc'"),
            "Conversion failed when converting the text value 'abc' to a number");
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE Name = 5"),
            "Conversion failed when converting the text value 'Bolt' to a number");
}

TEST_F(DialectTranslator, DateAndTextCompareAsDates) {
  expect_ids({
      {"SINCE = '7/1/2026'", "1"},
      {"SINCE = '2026-07-01'", "1"},
      {"SINCE = '20260701'", "1"},
      {"SINCE = 'July 1, 2026'", "1"},
      {"SINCE > '7/1/2026'", "2"},
      {"SINCE <= '7/1/2026 8:30:00 AM'", "1,2,3"},
      {"'7/1/2026' <= SINCE", "1,2"},
      {"SINCE BETWEEN '1/1/2026' AND '7/1/2026'", "1"},
      {"SINCE IN ('7/1/2026', '1/1/2026')", "1"},
      {"SINCE = '7/' + '1/2026'", "1"},
      {"SINCE - 1 < '7/1/2026'", "1,2,3"},
      {"SINCE > 46000", "1,2,3"},
  });
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE SINCE = 'soon'"),
            "Conversion failed when converting date and/or time from character string");
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE SINCE = Name"),
            "Conversion failed when converting date and/or time from character string");
}

TEST_F(DialectTranslator, MoneyIsExact) {
  expect_ids({
      {"PRICE = 0.1", "1"},
      {"PRICE = '19.99'", "2"},
      {"PRICE + 0.2 = 0.3", "1"},
      {"PRICE > -5", "1,2,3"},
      {"PRICE < 1", "1,3"},
      {"PRICE IN (0.1, 0.2)", "1,3"},
      {"PRICE BETWEEN 0.1 AND 0.2", "1,3"},
      {"PRICE < ID", "1,3"},
      {"PRICE < QTY", "1"},
      {"PRICE * 2 = 0.2", "1"},
      {"PRICE * ID = 0.6", "3"},
      {"PRICE * 2.5 = 0.25", "1"},
      {"PRICE / 2 = 0.05", "1"},
      {"PRICE - PRICE = 0", "1,2,3"},
      {"-PRICE = -0.1", "1"},
      {"ABS(-PRICE) = 0.1", "1"},
      {"PRICE = CAST('0.1' AS money)", "1"},
  });
  EXPECT_EQ(store.run("SELECT SUM(PRICE), MIN(PRICE), MAX(PRICE), AVG(PRICE) FROM PART WHERE ID IN (1,3)").front(),
            (std::vector<std::string>{"3000", "1000", "2000", "1500"}));
  EXPECT_EQ(store.one("SELECT ROUND(PRICE, 1) FROM PART WHERE ID=2"), "200000");
  EXPECT_EQ(store.one("SELECT CAST(PRICE AS nvarchar(20)) FROM PART WHERE ID=2"), "19.99");
}

TEST_F(DialectTranslator, BooleansTakeTheirTexts) {
  expect_ids({{"ACTIVE = 1", "1,3"},
              {"ACTIVE = 'True'", "1,3"},
              {"ACTIVE = 'FALSE'", "2"},
              {"ACTIVE <> 0", "1,3"},
              {"ACTIVE = '1'", "1,3"},
              {"ACTIVE = 2", ""}});
}

TEST_F(DialectTranslator, WrittenValuesBecomeWhatTheirColumnKeeps) {
  store.run(
      "UPDATE PART SET Name = 5, CODE = 1.50, QTY = '7.5', PRICE = '1,234.5', SINCE = '2/29/2024', ACTIVE = 'true', "
      "KIND = '12' WHERE ID = 1");
  EXPECT_EQ(store.run("SELECT * FROM PART WHERE ID = 1"),
            (Rows{{"1", "5", "1.50", "7.5", "12345000", "2024-02-29T00:00:00", "1", "12"}}));
  store.run(
      "UPDATE PART SET Name = ID, CODE = PRICE, QTY = PRICE, PRICE = QTY, ACTIVE = ID, KIND = 2.9, SINCE = SINCE + 1 "
      "WHERE ID = 1");
  EXPECT_EQ(store.run("SELECT * FROM PART WHERE ID = 1"),
            (Rows{{"1", "1", "1234.50", "1234.5", "75000", "2024-03-01T00:00:00", "1", "2"}}));
  store.run("UPDATE PART SET Name = SINCE, CODE = -5, PRICE = -1.5, QTY = -2, KIND = -3 WHERE ID = 1");
  EXPECT_EQ(store.run("SELECT Name, CODE, PRICE, QTY, KIND FROM PART WHERE ID = 1"),
            (Rows{{"Mar  1 2024 12:00AM", "-5", "-15000", "-2.0", "-3"}}));
  EXPECT_EQ(store.refusal("UPDATE PART SET KIND = SINCE"),
            "Implicit conversion from data type datetime to float is not allowed");
  EXPECT_EQ(store.refusal("UPDATE PART SET KIND = 'x'"),
            "Conversion failed when converting the text value 'x' to a number");
}

TEST_F(DialectTranslator, RowsAreInsertedInEveryForm) {
  store.run("INSERT PART (id, name) VALUES (5, 'a'), (6, 'b')");
  store.run(
      "INSERT INTO dbo.PART (ID, Name, PRICE, SINCE, CODE) SELECT ID + 10, Name, QTY, SINCE, KIND FROM PART WHERE ID = "
      "1");
  EXPECT_EQ(store.run("SELECT ID, Name, PRICE, SINCE, CODE FROM PART WHERE ID > 4 ORDER BY ID"),
            (Rows{{"5", "a", "NULL", "NULL", "NULL"},
                  {"6", "b", "NULL", "NULL", "NULL"},
                  {"11", "Bolt", "25000", "2026-07-01T00:00:00", "10"}}));
  store.run("INSERT INTO PART (ID, Name) SELECT 20, 'u' UNION ALL SELECT 21, 5");
  EXPECT_EQ(store.list("SELECT ID FROM PART WHERE ID >= 20 ORDER BY ID"), "20,21");
  store.run("DELETE PART WHERE ID > 4");
  store.run("DELETE FROM part WHERE NOT EXISTS (SELECT * FROM KINDS WHERE KINDS.KIND = part.kind)");
  EXPECT_EQ(store.list("SELECT ID FROM PART"), "1,2,3");
  expect_refusals({
      {"INSERT INTO KINDS VALUES (1, 'x')", "Column name or number of supplied values does not match table definition"},
      {"INSERT INTO KINDS (KIND) SELECT KIND, LABEL FROM KINDS",
       "The select list for the INSERT statement has another number of items than the insert list"},
      {"INSERT INTO KINDS (KIND, kind) VALUES (1, 2)",
       "The column name 'kind' is specified more than once in the column list of an INSERT"},
      {"UPDATE KINDS SET LABEL = 'a', KIND = 1, label = 'b'",
       "The column name 'label' is specified more than once in the SET clause"},
      {"INSERT INTO KINDS (NOSUCH) VALUES (1)", "Invalid column name 'NOSUCH'"},
      {"INSERT INTO KINDS (KIND) VALUES (LABEL)", "Invalid column name 'LABEL'"},
  });
}

TEST_F(DialectTranslator, TopBoundsTheRows) {
  EXPECT_EQ(store.list("SELECT TOP 2 ID FROM PART ORDER BY ID DESC"), "4,3");
  EXPECT_EQ(store.list("SELECT TOP(2)ID FROM PART ORDER BY ID"), "1,2");
  EXPECT_EQ(store.list("select distinct\ttop   1\nID FROM PART ORDER BY ID"), "1");
  EXPECT_EQ(store.list("SELECT TOP 1ID FROM PART ORDER BY ID"), "1");
  EXPECT_EQ(store.list("SELECT TOP 0 ID FROM PART"), "");
  EXPECT_EQ(store.list("SELECT ID FROM PART WHERE ID IN (SELECT TOP 1 ID FROM PART ORDER BY ID DESC)"), "4");
  EXPECT_EQ(store.list("SELECT TOP 1 ID FROM PART UNION SELECT 9"), "1,9");
  EXPECT_EQ(store.refusal("SELECT TOP -1 ID FROM PART"), "Incorrect syntax near '-' (character 12)");
  EXPECT_EQ(store.refusal("SELECT TOP 1.5 ID FROM PART"), "Incorrect syntax near '1.5' (character 12)");
}

TEST_F(DialectTranslator, AColumnOfTheQueryAroundIsFoundBehindASourceOfItsTablesName) {
  EXPECT_EQ(store.list("SELECT ID FROM PART WHERE ID IN (SELECT TOP 1 ID FROM KINDS PART ORDER BY ID DESC)"),
            "1,2,3,4");
  EXPECT_EQ(store.list("SELECT ID FROM PART WHERE EXISTS (SELECT 1 FROM KINDS PART WHERE ID = 2) ORDER BY ID"), "2");
}

TEST_F(DialectTranslator, NamesAreFoundHoweverTheyAreWritten) {
  EXPECT_EQ(store.list("SELECT [id] FROM [dbo].\"part\" WHERE PART.Id=1AND Name='BOLT'OR\"ID\"=2ORDER BY ID"), "1,2");
  EXPECT_EQ(store.list("SELECT k.\"ORDER\" FROM kinds AS k WHERE k.LABEL='other'"), "1");
  EXPECT_EQ(
      store.list("SELECT dbo.PART.ID FROM dbo.PART, dbo.KINDS K WHERE dbo.PART.KIND = K.KIND AND K.LABEL = 'OTHER'"),
      "3");
  EXPECT_EQ(store.list("SELECT P.ID FROM PART P INNER JOIN KINDS K ON P.KIND = K.KIND LEFT OUTER JOIN PART Q ON Q.ID = "
                       "P.ID + 3 WHERE Q.ID IS NULL"),
            "2,3");
  EXPECT_EQ(store.list("SELECT P.ID FROM (KINDS K INNER JOIN PART P ON P.KIND = K.KIND) WHERE K.KIND = 20"), "3");
  EXPECT_EQ(store.list("SELECT X.N FROM (SELECT ID + 1 AS N, Name FROM PART) X WHERE X.Name = 'BÖLT'"), "4");
  EXPECT_EQ(store.list("SELECT COUNT(*) FROM PART CROSS JOIN KINDS"), "8");
  EXPECT_EQ(
      store.list("SELECT ID FROM PART P WHERE EXISTS (SELECT * FROM KINDS WHERE KIND = P.KIND AND LABEL = 'other')"),
      "3");
}

TEST_F(DialectTranslator, UnknownNamesAreRefused) {
  expect_refusals({
      {"SELECT * FROM NOSUCH", "Invalid object name 'NOSUCH'"},
      {"SELECT X, Y FROM NOSUCH WHERE Z = 1", "Invalid object name 'NOSUCH'"},
      {"SELECT NOSUCH FROM PART", "Invalid column name 'NOSUCH'"},
      {"SELECT PART.NOSUCH FROM PART", "Invalid column name 'NOSUCH'"},
      {"SELECT P.ID FROM PART", "The multi-part identifier \"P.ID\" could not be bound"},
      {"SELECT PART.ID FROM PART P", "The multi-part identifier \"PART.ID\" could not be bound"},
      {"SELECT P.* FROM PART",
       "The column prefix 'P' does not match with a table name or alias name used in the query"},
      {"SELECT KIND FROM PART, KINDS", "Ambiguous column name 'KIND'"},
      {"SELECT * FROM PART, PART",
       "The objects \"PART\" and \"PART\" in the FROM clause have the same exposed names. Use correlation names to "
       "distinguish them"},
      {"UPDATE NOSUCH SET A = 1", "Invalid object name 'NOSUCH'"},
      {"UPDATE PART SET NOSUCH = 1", "Invalid column name 'NOSUCH'"},
      {"DELETE FROM NOSUCH", "Invalid object name 'NOSUCH'"},
      {"INSERT NOSUCH VALUES (1)", "Invalid object name 'NOSUCH'"},
      {"SELECT NOSUCH(ID) FROM PART", "'NOSUCH' is not a recognized built-in function name"},
      {"SELECT * FROM sqlite_schema", "Invalid object name 'sqlite_schema'"},
      {"SELECT rowid FROM PART", "Invalid column name 'rowid'"},
      {"SELECT @x FROM PART", "Invalid column name '@x'"},
  });
}

TEST_F(DialectTranslator, WhatIsNoStatementIsRefused) {
  expect_refusals({
      {"", "The statement is empty"},
      {"  -- nothing", "The statement is empty"},
      {"EXEC sp_who", "Incorrect syntax near 'EXEC' (character 1)"},
      {"PRAGMA writable_schema=1", "Incorrect syntax near 'PRAGMA' (character 1)"},
      {"ATTACH 'x' AS y", "Incorrect syntax near 'ATTACH' (character 1)"},
      {"SELECT", "Incorrect syntax near 'SELECT' (character 1)"},
      {"SELECT FROM PART", "Incorrect syntax near 'FROM' (character 8)"},
      {"SELECT ID FROM", "Incorrect syntax near 'FROM' (character 11)"},
      {"SELECT ID, FROM PART", "Incorrect syntax near 'FROM' (character 12)"},
      {"SELECT ID FROM PART WHERE", "Incorrect syntax near 'WHERE' (character 21)"},
      {"SELECT ID FROM PART WHERE ID", "Incorrect syntax near 'ID' (character 27)"},
      {"SELECT ID FROM PART WHERE ID =", "Incorrect syntax near '=' (character 30)"},
      {"SELECT ID FROM PART WHERE (ID = 1", "Incorrect syntax near '1' (character 33)"},
      {"SELECT ID FROM PART WHERE ID = 1)", "Incorrect syntax near ')' (character 33)"},
      {"SELECT ID FROM PART WHERE ID = 1 ID = 2", "Incorrect syntax near 'ID' (character 34)"},
      {"SELECT ID FROM PART WHERE NOT ID", "Incorrect syntax near 'ID' (character 31)"},
      {"SELECT ID FROM PART WHERE (ID = 1) + 1 = 2", "Incorrect syntax near '+' (character 36)"},
      {"SELECT (ID = 1) FROM PART", "Incorrect syntax near 'FROM' (character 17)"},
      {"SELECT ID FROM PART; SELECT 1", "More than one statement (character 22)"},
      {"SELECT ID FROM PART SELECT 1", "Incorrect syntax near 'SELECT' (character 21)"},
      {"SELECT ID FROM PART WHERE ID == 1", "Incorrect syntax near '=' (character 31)"},
      {"SELECT ID FROM PART WHERE ID LIMIT 1", "Incorrect syntax near 'LIMIT' (character 30)"},
      {"SELECT ID || 'x' FROM PART", "Incorrect syntax near '|' (character 12)"},
      {"SELECT ID FROM main.PART", "Incorrect syntax near '.' (character 20)"},
      {"SELECT ID FROM PART ORDER BY 'x'", "Incorrect syntax near ''x'' (character 30)"},
      {"SELECT ID FROM PART GROUP BY 1", "Incorrect syntax near '1' (character 30)"},
      {"SELECT 1 UNION SELECT 1, 2",
       "All queries combined using a UNION operator must have an equal number of expressions in their target lists"},
      {"SELECT ID FROM PART WHERE ID IN (SELECT 1, 2)",
       "Only one expression can be specified in the select list when the subquery is not introduced with EXISTS"},
      {"SELECT P.Name, COUNT(*) FROM PART P",
       "Column 'P.Name' is invalid in the select list because it is not contained in either an aggregate function or "
       "the GROUP BY clause"},
      {"SELECT * FROM KINDS GROUP BY KIND",
       "Column 'KINDS.LABEL' is invalid in the select list because it is not contained in either an aggregate function "
       "or the GROUP BY clause"},
      {"SELECT *", "Must specify table to select from"},
      {"SELECT SUM(Name) FROM PART", "Operand data type nvarchar is invalid for sum operator"},
      {"UPDATE PART SET ID = 1 FROM KINDS", "Incorrect syntax near 'FROM' (character 24)"},
      {"SET ROWCOUNT 5", "Incorrect syntax near 'ROWCOUNT' (character 5)"},
      {"SELECT ID FROM PART ORDER BY 2",
       "The ORDER BY position number 2 is out of range of the number of items in the select list (character 30)"},
  });
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE ID = 1;"), "taken");
}

TEST_F(DialectTranslator, SettingsThatTheStoreKeepsAnywayDoNothing) {
  for (const char* setting : {"set TRANSACTION ISOLATION LEVEL READ COMMITTED",
                              "SET transaction isolation level serializable;", "SET NOCOUNT ON"}) {
    const Translation translation = store.translate(setting);
    EXPECT_EQ(translation.kind, StatementKind::nothing);
    EXPECT_TRUE(translation.statements.empty());
  }
}

TEST_F(DialectTranslator, ScalarFunctionsAnswerAsOnTheServer) {
  expect_values({
      {"ISNULL(NULL, 'x')", "x"},
      {"ISNULL(Name, 'none') FROM PART WHERE ID = 4", "none"},
      {"ISNULL(PRICE, 1.5) FROM PART WHERE ID = 4", "15000"},
      {"COALESCE(NULL, NULL, 5)", "5"},
      {"NULLIF(5, 5)", "NULL"},
      {"LEN('ab  ')", "2"},
      {"LEN(N'漢字')", "2"},
      {"LEN(123)", "3"},
      {"UPPER(N'straße ä')", "STRAßE Ä"},
      {"LOWER('ÄB')", "äb"},
      {"LTRIM('  a ') + '|'", "a |"},
      {"RTRIM(' a  ') + '|'", " a|"},
      {"SUBSTRING('abcdef', 2, 3)", "bcd"},
      {"SUBSTRING('abcdef', 0, 3)", "ab"},
      {"SUBSTRING('abcdef', -1, 3)", "a"},
      {"SUBSTRING('abcdef', 5, 100)", "ef"},
      {"SUBSTRING('abc', 9, 1)", ""},
      {"SUBSTRING('abc', 2, 0)", ""},
      {"SUBSTRING('abc', -5, 3)", ""},
      {"SUBSTRING(N'äöü', 2, 1)", "ö"},
      {"LEFT('abc', 2)", "ab"},
      {"LEFT('abc', 0)", ""},
      {"RIGHT('abc', 2)", "bc"},
      {"CHARINDEX('C', 'abcabc')", "3"},
      {"CHARINDEX('c', 'abcabc', 4)", "6"},
      {"CHARINDEX('x', 'abc')", "0"},
      {"CHARINDEX(N'Ü', N'aaü')", "3"},
      {"CHARINDEX('', 'abc')", "0"},
      {"CHARINDEX('b ', 'ab')", "0"},
      {"REPLACE('aAbA', 'a', 'x')", "xxbx"},
      {"REPLACE('abc', '', 'x')", "abc"},
      {"ABS(-5)", "5"},
      {"ROUND(2.675, 2)", "2.68"},
      {"ROUND(-2.5, 0)", "-3.0"},
      {"ROUND(1234, -2)", "1200"},
      {"'a' + 'b'", "ab"},
      {"Name + '-' + CODE FROM PART WHERE ID = 1", "Bolt-007"},
      {"'5' + 1", "6"},
      {"5 / 2", "2"},
      {"5 / 2.0", "2.5"},
      {"-7 % 3", "-1"},
      {"7 & 3", "3"},
      {"2 + 3 * 4", "14"},
      {"(2 + 3) * 4", "20"},
      {"10 - 3 - 2", "5"},
      {"- -5", "5"},
      {"CAST('12' AS int)", "12"},
      {"CAST(12.9 AS int)", "12"},
      {"CAST(12 AS nvarchar(10)) + 'x'", "12x"},
      {"CAST('abcdef' AS nvarchar(3))", "abc"},
      {"CAST(1.005 AS decimal(10,2))", "1.01"},
      {"CAST('1' AS bit)", "1"},
      {"CAST(NULL AS int)", "NULL"},
      {"CONVERT(int, '42')", "42"},
      {"CONVERT(datetime, '1/2/2026')", "2026-01-02T00:00:00"},
      {"CONVERT(datetime, '1/2/2026', 103)", "2026-02-01T00:00:00"},
      {"CASE WHEN 1=1 THEN 'a' ELSE 'b' END", "a"},
      {"CASE 5 WHEN 4 THEN 'a' WHEN 5 THEN 'b' END", "b"},
      {"CASE WHEN 1=0 THEN 1 END", "NULL"},
      {"COUNT(*) FROM PART", "4"},
      {"COUNT(Name) FROM PART", "3"},
      {"COUNT(DISTINCT KIND) FROM PART", "2"},
      {"AVG(ID) FROM PART", "2"},
      {"AVG(QTY) FROM PART", "37.5"},
      {"SUM(ID) FROM PART", "10"},
      {"MAX(Name) FROM PART", "Bölt"},
      {"MIN(SINCE) FROM PART", "2025-12-31T23:00:00"},
  });
  expect_refusals({
      {"SELECT LEN()", "The function LEN was called with a wrong number of arguments"},
      {"SELECT SUBSTRING('a', 1, -1)", "Invalid length parameter passed to the substring function"},
      {"SELECT CAST('x' AS int)", "Conversion failed when converting the text value 'x' to a number"},
      {"SELECT CAST('x' AS geometry)", "Type geometry is not a defined system type (character 20)"},
      {"SELECT ID FROM PART WHERE Name LIKE 'x' ESCAPE 'ab'",
       "The invalid escape character \"ab\" was specified in a LIKE predicate"},
  });
}

TEST_F(DialectTranslator, DateFunctionsAnswerAsOnTheServer) {
  expect_values({
      {"DATEADD(day, 1, '2/28/2024')", "2024-02-29T00:00:00"},
      {"DATEADD(month, 1, '1/31/2026')", "2026-02-28T00:00:00"},
      {"DATEADD(mm, -2, '1/31/2026')", "2025-11-30T00:00:00"},
      {"DATEADD(yyyy, 1, '2/29/2024')", "2025-02-28T00:00:00"},
      {"DATEADD(quarter, 1, '11/30/2025')", "2026-02-28T00:00:00"},
      {"DATEADD(wk, 2, '1/1/2026')", "2026-01-15T00:00:00"},
      {"DATEADD(hh, 25, '1/1/2026')", "2026-01-02T01:00:00"},
      {"DATEADD(n, -1, '1/1/2026')", "2025-12-31T23:59:00"},
      {"DATEADD(ss, 61, '1/1/2026')", "2026-01-01T00:01:01"},
      {"DATEADD(hour, 1, '12/29/1899 23:30')", "1899-12-30T00:30:00"},
      {"DATEDIFF(day, '12/31/2025 23:59', '1/1/2026')", "1"},
      {"DATEDIFF(day, '1/1/2026', '12/31/2025')", "-1"},
      {"DATEDIFF(month, '1/31/2026', '2/1/2026')", "1"},
      {"DATEDIFF(year, '12/31/2025', '1/1/2026')", "1"},
      {"DATEDIFF(qq, '3/31/2026', '4/1/2026')", "1"},
      {"DATEDIFF(week, '1/3/2026', '1/4/2026')", "1"},
      {"DATEDIFF(week, '1/4/2026', '1/10/2026')", "0"},
      {"DATEDIFF(week, '1/1/1970', '1/5/1970')", "1"},
      {"DATEDIFF(week, '1/10/1970', '12/27/1969')", "-2"},
      {"DATEDIFF(hour, '1/1/2026 0:59', '1/1/2026 1:00')", "1"},
      {"DATEDIFF(minute, '1/1/2026 0:59', '1/1/2026 1:00')", "1"},
      {"DATEDIFF(second, '1/1/2026', '1/2/2026')", "86400"},
      {"DATEPART(dw, '1/4/2026')", "1"},
      {"DATEPART(dy, '3/1/2024')", "61"},
      {"DATEPART(week, '1/4/2026')", "2"},
      {"DATEPART(week, '1/4/1970')", "2"},
      {"DATEPART(qq, '4/1/2026')", "2"},
      {"YEAR('7/1/2026')", "2026"},
      {"MONTH(SINCE) FROM PART WHERE ID=1", "7"},
      {"DAY(SINCE) FROM PART WHERE ID=3", "31"},
      {"CONVERT(nvarchar(30), SINCE, 101) FROM PART WHERE ID=2", "07/01/2026"},
      {"CONVERT(nvarchar(30), SINCE, 103) FROM PART WHERE ID=2", "01/07/2026"},
      {"CONVERT(nvarchar(30), SINCE, 112) FROM PART WHERE ID=2", "20260701"},
      {"CONVERT(nvarchar(30), SINCE, 120) FROM PART WHERE ID=2", "2026-07-01 08:30:00"},
      {"CONVERT(nvarchar(30), SINCE, 126) FROM PART WHERE ID=2", "2026-07-01T08:30:00"},
      {"CONVERT(nvarchar(30), SINCE) FROM PART WHERE ID=2", "Jul  1 2026  8:30AM"},
      {"CONVERT(nvarchar(4), SINCE, 112) FROM PART WHERE ID=2", "2026"},
      {"DATEADD(day, NULL, SINCE) FROM PART WHERE ID=2", "NULL"},
      {"CAST(1.5 AS datetime)", "1900-01-02T12:00:00"},
      {"CAST(-3 AS datetime)", "1899-12-29T00:00:00"},
      {"SINCE + 0.5 FROM PART WHERE ID=1", "2026-07-01T12:00:00"},
  });
  expect_refusals({
      {"SELECT DATEADD(fortnight, 1, '1/1/2026')", "'fortnight' is not a recognized datepart (character 16)"},
      {"SELECT CONVERT(nvarchar(9), SINCE, 999) FROM PART",
       "999 is not a valid style number when converting from datetime to a character string"},
      {"SELECT DATEADD(year, 9999, '1/1/2026')", "Overflow"},
      {"SELECT GETDATE() + 1e300", "Overflow"},
      {"SELECT CAST(-1e9 AS datetime)", "Overflow"},
      {"SELECT DATEADD(second, 9999999999999, '1/1/2026')", "Overflow"},
  });
}

TEST_F(DialectTranslator, CurrentDateIsThatOfTheLibrarysClock) {
  clock::script_clock(*Date::parse("7/1/2026 8:30:00 AM"), 0);
  EXPECT_EQ(store.one("SELECT GETDATE()"), "2026-07-01T08:30:00");
  EXPECT_EQ(ids("SINCE < GETDATE()"), "1,3");
  EXPECT_EQ(ids("SINCE = getdate()"), "2");
  EXPECT_EQ(ids("SINCE > GETDATE() - 1"), "1,2");
  clock::restore_clock();
}

TEST_F(DialectTranslator, ResultColumnsHaveNamesAndTypes) {
  const auto described = [this](std::string_view statement) {
    std::string text;
    for (const Column& column : store.translate(statement).result)
      text += (text.empty() ? "" : ",") + column.name + ":" + std::to_string(static_cast<int>(column.type)) + ":" +
              std::to_string(column.width);
    return text;
  };
  // unknown 0, short 1, long 2, Boolean 3, real 4, money 5, date 6, text 7
  EXPECT_EQ(described("SELECT * FROM PART"),
            "ID:2:0,Name:7:50,CODE:7:20,QTY:4:0,PRICE:5:0,SINCE:6:0,ACTIVE:3:0,KIND:1:0");
  EXPECT_EQ(described("SELECT name, P.id AS Number, kind K FROM PART P"), "Name:7:50,Number:2:0,K:1:0");
  EXPECT_EQ(described("SELECT KINDS.*, PART.id FROM PART, KINDS"), "KIND:1:0,LABEL:7:20,ORDER:2:0,ID:2:0");
  EXPECT_EQ(described("SELECT COUNT(*) AS CNT, MAX(PRICE) M, MIN(KIND), SUM(PRICE), MAX(SINCE) FROM PART"),
            "CNT:2:0,M:5:0,:1:0,:5:0,:6:0");
  EXPECT_EQ(described("SELECT 5, 'x', NULL, N'y' AS \"a b\", 1.5"), ":2:0,:7:0,:0:0,a b:7:0,:4:0");
  EXPECT_EQ(described("SELECT PRICE FROM PART UNION SELECT QTY FROM PART"), "PRICE:4:0");
  EXPECT_EQ(described("SELECT NULL UNION SELECT NULL UNION SELECT SINCE FROM PART"), ":6:0");
  EXPECT_EQ(described("SELECT X.A FROM (SELECT SINCE AS A FROM PART) X"), "A:6:0");
  const Translation translation = store.translate("SELECT ID, Name FROM PART");
  EXPECT_FALSE(translation.result[0].nullable);
  EXPECT_TRUE(translation.result[1].nullable);
  EXPECT_EQ(translation.table, "PART");
  EXPECT_EQ(store.translate("SELECT PART.ID FROM PART, KINDS").table, "");
  EXPECT_EQ(store.translate("UPDATE part SET ID=1").table, "PART");
}

TEST_F(DialectTranslator, IdentifiedRowsCarryTheirNumber) {
  EXPECT_EQ(store.run("SELECT Name FROM PART P WHERE ID = 3", true), (Rows{{"Bölt", "3"}}));
  EXPECT_EQ(store.run("SELECT * FROM KINDS WHERE 0=1", true), Rows{});
  const Translation translation = store.translate("SELECT ID FROM PART", true);
  EXPECT_TRUE(translation.identified);
  EXPECT_EQ(translation.result.size(), 1u);
  for (const char* statement :
       {"SELECT PART.ID FROM PART, KINDS", "SELECT DISTINCT Name FROM PART", "SELECT COUNT(*) FROM PART",
        "SELECT DISTINCT P.CODE FROM PART P, KINDS K", "SELECT DISTINCT P.ID, K.LABEL FROM PART P, KINDS K",
        "SELECT DISTINCT P.ID, P.ID + 1 FROM PART P, KINDS K", "SELECT DISTINCT P.ID FROM PART P, PART Q",
        "SELECT ID FROM PART GROUP BY ID", "SELECT ID FROM PART UNION SELECT ID FROM PART", "SELECT 1",
        "SELECT A FROM (SELECT ID A FROM PART) X"})
    EXPECT_EQ(mercato::test::failure_of([&] { store.translate(statement, true); }).Number,
              error_number::kFeatureNotAvailable)
        << statement;
}

TEST_F(DialectTranslator, RowsOfAJoinCarryTheNumberOfTheTableThatTheyShowOnce) {
  const char* const join = "SELECT DISTINCT P.ID, P.Name FROM KINDS K, PART P WHERE P.ID < 3 OR K.KIND = 10";
  EXPECT_EQ(store.run(join, true),
            (Rows{{"1", "Bolt", "1"}, {"2", "bolt  ", "2"}, {"3", "Bölt", "3"}, {"4", "NULL", "4"}}));
  EXPECT_EQ(store.translate(join, true).table, "PART");
  EXPECT_EQ(store.translate(join).table, "");
  EXPECT_EQ(store.run("SELECT DISTINCT ID FROM PART WHERE ID > 2", true), (Rows{{"3", "3"}, {"4", "4"}}));
}

TEST_F(DialectTranslator, OnlyWhatStandsInTheTextDependsOnLiterals) {
  EXPECT_FALSE(store.translate("SELECT TOP 5 ID FROM PART WHERE Name LIKE '%x%' AND ID IN (1,2) ORDER BY ID")
                   .depends_on_literals);
  EXPECT_FALSE(store.translate("SELECT CAST(ID AS nvarchar(5)), CONVERT(nvarchar(9), SINCE, 112) FROM PART")
                   .depends_on_literals);
  EXPECT_TRUE(store.translate("SELECT ID, Name FROM PART ORDER BY 2").depends_on_literals);
  EXPECT_TRUE(store.translate("SELECT ID AS 'x' FROM PART").depends_on_literals);
  EXPECT_EQ(store.list("SELECT ID, Name FROM PART ORDER BY 2, 1 DESC"), "4,2,1,3");
}

TEST_F(DialectTranslator, LongChainsAndListsAreTaken) {
  std::string chain = "ID = 0", list = "-1";
  for (int i = 1; i <= 5000; ++i) chain += " OR ID = " + std::to_string(i);
  for (int i = 2; i <= 40000; ++i) list += "," + std::to_string(i);
  EXPECT_EQ(ids(chain), "1,2,3,4");
  EXPECT_EQ(ids("ID IN (" + list + ")"), "2,3,4");
}

// Numbered parameters are looked up in a list of them all: a list of 40,000 codes used to cost its square.
TEST_F(DialectTranslator, ParametersHaveNoNumbersAndAreBoundByTheirPlaces) {
  const Translation list = store.prepare("SELECT TOP 2 ID FROM PART WHERE ID IN (7, 8) AND Name = 'x'");
  EXPECT_EQ(std::count(list.statements.front().begin(), list.statements.front().end(), '?'), 4);
  EXPECT_EQ(list.statements.front().find("?1"), std::string::npos);
  std::vector<std::uint32_t> literals;
  for (const Parameter& parameter : list.parameters) literals.push_back(parameter.literal);
  EXPECT_EQ(literals, (std::vector<std::uint32_t>{1, 2, 3, 0}));  // the limit stands at the end
}

TEST_F(DialectTranslator, ValuesThatTheEngineWantsInAnotherOrderOrTwiceKeepTheirPlaces) {
  EXPECT_EQ(store.one("SELECT TOP 1 CASE 'b' WHEN 'a' THEN 'first' WHEN 'b' THEN 'second' ELSE 'none' END"), "second");
  EXPECT_EQ(store.one("SELECT CASE WHEN 'abc' LIKE 'a%' AND 'x' IN ('y', 'x') THEN 'yes' ELSE 'no' END"), "yes");
  EXPECT_EQ(store.one("SELECT CASE WHEN CASE WHEN 'q' IN ('p', 'q') THEN 'abc' END LIKE 'ab_' THEN 1 ELSE 0 END"), "1");
  EXPECT_EQ(store.one("SELECT 'it''s' AS \"a?1 \"\"b\" FROM PART WHERE ID = 1"), "it's");
}

TEST_F(DialectTranslator, NestingIsBounded) {
  const auto nested = [](int depth) {
    return "SELECT ID FROM PART WHERE " + std::string(static_cast<std::size_t>(depth), '(') + "ID = 1" +
           std::string(static_cast<std::size_t>(depth), ')');
  };
  EXPECT_EQ(store.list(nested(28)), "1");
  EXPECT_EQ(store.refusal(nested(100000)), "Some part of the statement is nested too deeply (character 58)");
  std::string subselects = "1";
  for (int i = 0; i < 14; ++i)
    subselects = "(SELECT MAX(ID) FROM PART WHERE ID = 1 AND (ID <> 2 OR ID IN (" + subselects + ")))";
  EXPECT_EQ(store.refusal("SELECT ID FROM PART WHERE ID = " + subselects).substr(0, 20), "Some part of the sta");
  for (const char* opener : {"UPPER(", "CASE WHEN ", "(SELECT ", "EXISTS (SELECT ", "NOT (", "- ", "CAST("}) {
    std::string statement = "SELECT ID FROM PART WHERE ";
    for (int i = 0; i < 20000; ++i) statement += opener;
    EXPECT_NE(store.refusal(statement), "taken") << opener;
  }
  std::string tables = "SELECT * FROM ";
  for (int i = 0; i < 20000; ++i) tables += "(";
  EXPECT_NE(store.refusal(tables), "taken");
}

TEST_F(DialectTranslator, TextsOfAllKindsComeThroughUnchanged) {
  for (const std::string text : {"it's", "%_[", "\"x\"", "--", "/*", ";", "\xC3\xA4\xF0\x9F\x98\x80", "?1", ":a", "\\",
                                 "\x01\x02", "line\r\nbreak"}) {
    std::string literal = text::replace_all(text, "'", "''");
    EXPECT_EQ(store.one("SELECT N'" + literal + "'"), text);
    store.run("UPDATE PART SET Name = '" + literal + "' WHERE ID = 1");
    EXPECT_EQ(store.one("SELECT Name FROM PART WHERE ID = 1"), text);
    EXPECT_EQ(ids("Name = N'" + literal + "'"), "1");
  }
}

}  // namespace
}  // namespace mercato::store::dialect::test
