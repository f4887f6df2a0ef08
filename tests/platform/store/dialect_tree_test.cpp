// SPDX-License-Identifier: Apache-2.0
// The tree between the text of a statement and the SQL of an engine: it holds all of the statement, and the first fault
// in the order of reading is the one that is told.
#include <gtest/gtest.h>

#include "tests/platform/store/dialect_printer.h"
#include "tests/platform/store/dialect_store.h"

namespace mercato::store::dialect::test {
namespace {

class DialectTree : public testing::Test {
 protected:
  DialectTree() {
    store.run("CREATE TABLE PART (ID int NOT NULL PRIMARY KEY, Name nvarchar(50), PRICE money, SINCE datetime)");
    store.run("CREATE TABLE KINDS (ID int IDENTITY(1,1) NOT NULL PRIMARY KEY, LABEL nvarchar(20))");
  }
  std::string printed_back(std::string_view statement) {
    LexedStatement lexed;
    lex(statement, lexed);
    return printed(lexed, store, false);
  }

  struct Case {
    const char* statement;
    const char* expected;
  };
  DialectStore store;
};

TEST_F(DialectTree, HoldsAllOfAStatement) {
  for (const Case& each : std::initializer_list<Case>{
           {"select distinct top (5) p.*, Name as [the \"name\"], ID AS 'text' from dbo.PART as p where ID=1AND Name "
            "IS NULL",
            "SELECT DISTINCT TOP 5 \"p\".*, \"Name\" AS \"the \"\"name\"\"\", \"ID\" AS 'text' FROM \"PART\" AS \"p\" "
            "WHERE "
            "\"ID\" = 1 AND \"Name\" IS NULL"},
           {"SELECT ID FROM PART UNION ALL SELECT 1 UNION SELECT 2 ORDER BY 1 DESC, ID ASC",
            "SELECT \"ID\" FROM \"PART\" UNION ALL SELECT 1 UNION SELECT 2 ORDER BY 1 DESC, \"ID\""},
           {"SELECT A.ID FROM (PART A JOIN PART B ON A.ID=B.ID) LEFT OUTER JOIN KINDS K ON K.ID=A.ID CROSS JOIN KINDS "
            "L, "
            "(SELECT 1 AS N) X",
            "SELECT \"A\".\"ID\" FROM (\"PART\" AS \"A\" INNER JOIN \"PART\" AS \"B\" ON \"A\".\"ID\" = \"B\".\"ID\") "
            "LEFT "
            "JOIN \"KINDS\" AS \"K\" ON \"K\".\"ID\" = \"A\".\"ID\" CROSS JOIN \"KINDS\" AS \"L\", (SELECT 1 AS \"N\") "
            "AS "
            "\"X\""},
           {"SELECT (1 + 2) * 3 - (4 - 5) - -(-6) + +PRICE % 7 FROM PART",
            "SELECT (1 + 2) * 3 - (4 - 5) - -(-6) + +\"PRICE\" % 7 FROM \"PART\""},
           {"SELECT COUNT(*), MAX(DISTINCT Name) FROM PART P GROUP BY ISNULL(Name, 'x') HAVING COUNT(ID) > 1",
            "SELECT COUNT(*), MAX(DISTINCT \"Name\") FROM \"PART\" AS \"P\" GROUP BY ISNULL(\"Name\", 'x') HAVING "
            "COUNT(\"ID\") > 1"},
           {"SELECT ID FROM PART WHERE NOT (Name LIKE N'a%' OR Name NOT LIKE '!%' ESCAPE '!') AND (ID = 1 OR ID = (2)) "
            "AND ID "
            "NOT BETWEEN 1 AND 2",
            "SELECT \"ID\" FROM \"PART\" WHERE NOT (\"Name\" LIKE N'a%' OR \"Name\" NOT LIKE '!%' ESCAPE '!') AND "
            "(\"ID\" = "
            "1 OR \"ID\" = (2)) AND \"ID\" NOT BETWEEN 1 AND 2"},
           {"SELECT ID FROM PART P WHERE EXISTS(SELECT * FROM KINDS WHERE ID = P.ID) OR ID IN (SELECT MAX(ID) FROM "
            "KINDS) OR "
            "ID NOT IN (1,'2',NULL)",
            "SELECT \"ID\" FROM \"PART\" AS \"P\" WHERE EXISTS (SELECT * FROM \"KINDS\" WHERE \"ID\" = \"P\".\"ID\") "
            "OR "
            "\"ID\" IN (SELECT MAX(\"ID\") FROM \"KINDS\") OR \"ID\" NOT IN (1, '2', NULL)"},
           {"SELECT CASE ID WHEN 1 THEN 'a' ELSE Name END, CASE WHEN ID=1 THEN SINCE END FROM PART ORDER BY (Name), "
            "(1+ID)",
            "SELECT CASE \"ID\" WHEN 1 THEN 'a' ELSE \"Name\" END, CASE WHEN \"ID\" = 1 THEN \"SINCE\" END FROM "
            "\"PART\" "
            "ORDER BY (\"Name\"), (1 + \"ID\")"},
           {"SELECT CAST(ID AS nvarchar(5)), CAST(ID AS nvarchar), CAST(Name AS decimal(10,2)), CONVERT(varchar(max), "
            "SINCE, "
            "101), DATEADD(dd, 1, SINCE), 1 + SINCE FROM PART",
            "SELECT CAST(\"ID\" AS NVARCHAR(5)), CAST(\"ID\" AS NVARCHAR), CAST(\"Name\" AS DECIMAL(10, 2)), "
            "CONVERT(VARCHAR(MAX), \"SINCE\", 101), DATEADD(day, 1, \"SINCE\"), 1 + \"SINCE\" FROM \"PART\""},
           {"INSERT PART (ID, PRICE) VALUES (1, -2.5), (2, NULL)",
            "INSERT INTO \"PART\" (\"ID\", \"PRICE\") VALUES (1, -2.5), (2, NULL)"},
           {"INSERT KINDS DEFAULT VALUES", "INSERT INTO \"KINDS\" DEFAULT VALUES"},
           {"INSERT INTO KINDS SELECT Name FROM PART", "INSERT INTO \"KINDS\" SELECT \"Name\" FROM \"PART\""},
           {"UPDATE PART SET Name=5, PRICE=PRICE*2 WHERE ID=(SELECT 1)",
            "UPDATE \"PART\" SET \"Name\" = 5, \"PRICE\" = \"PRICE\" * 2 WHERE \"ID\" = (SELECT 1)"},
           {"DELETE PART WHERE ID=1", "DELETE FROM \"PART\" WHERE \"ID\" = 1"},
           {"set nocount ON;", "SET nocount ON"},
           {"CREATE TABLE T (A int IDENTITY, B varchar(9) NOT NULL DEFAULT ('x'), C money DEFAULT -1, D datetime "
            "DEFAULT "
            "GETDATE(), CONSTRAINT K PRIMARY KEY (A), UNIQUE (B DESC, C))",
            "CREATE TABLE \"T\" (\"A\" INT IDENTITY NOT NULL, \"B\" VARCHAR(9) NOT NULL DEFAULT 'x', \"C\" MONEY NULL "
            "DEFAULT -1, \"D\" DATETIME NULL DEFAULT GETDATE(), CONSTRAINT \"K\" PRIMARY KEY (\"A\"), UNIQUE (\"B\" "
            "DESC, "
            "\"C\"))"},
           {"ALTER TABLE PART ADD N nvarchar(max)", "ALTER TABLE \"PART\" ADD \"N\" NTEXT NULL"},
           {"CREATE UNIQUE INDEX I ON PART (Name, ID DESC)",
            "CREATE UNIQUE INDEX \"I\" ON \"PART\" (\"Name\", \"ID\" DESC)"},
           {"DROP INDEX PART.I", "DROP INDEX \"PART\".\"I\""},
           {"DROP TABLE PART", "DROP TABLE \"PART\""},
       })
    EXPECT_EQ(printed_back(each.statement), each.expected);
}

// Nothing recurses along a chain; the engine refuses it, in its own words.
TEST_F(DialectTree, ALongChainOfOperatorsNeedsNoStack) {
  std::string chain = "SELECT SINCE";
  for (int i = 0; i < 19'000; ++i) chain += " + 1";
  const Translation translation = store.translate(chain + " FROM PART");
  EXPECT_EQ(translation.parameters.size(), 19'000u);
  EXPECT_TRUE(translation.statements.front().ends_with(", ?), ?) FROM \"PART\" AS \"PART\""));
}

TEST_F(DialectTree, WhatAPrinterLosesIsNoticed) {
  LexedStatement lexed;
  lex("SELECT ID FROM PART WHERE ID = 1 ORDER BY ID DESC", lexed);
  const auto without = [](std::string_view lost) {
    return [lost](const LexedStatement& statement, const TableDirectory& tables, bool identified) {
      return text::replace_all(printed(statement, tables, identified), lost, "");
    };
  };
  EXPECT_EQ(lost_in_the_tree(lexed, store, false, without("what it has not")), "");
  for (const char* lost : {" WHERE \"ID\" = 1", " DESC", "1", " ORDER BY \"ID\" DESC", "SELECT"})
    EXPECT_NE(lost_in_the_tree(lexed, store, false, without(lost)), "") << lost;
}

// One pass used to read and resolve; which fault of several is told must not depend on that there are two.
TEST_F(DialectTree, TheFirstFaultIsToldBeItOfGrammarOrOfMeaning) {
  for (const Case& each : std::initializer_list<Case>{
           {"SELECT SUM(Name), FROM PART", "Operand data type nvarchar is invalid for sum operator"},
           {"SELECT , SUM(Name) FROM PART", "Incorrect syntax near ',' (character 8)"},
           {"SELECT SUM(Name) FROM PART WHERE", "Operand data type nvarchar is invalid for sum operator"},
           {"SELECT SUM(Name) FROM PART,", "Incorrect syntax near ',' (character 27)"},
           {"SELECT ID FROM PART, PART WHERE",
            "The objects \"PART\" and \"PART\" in the FROM clause have the same exposed "
            "names. Use correlation names to distinguish them"},
           {"SELECT LEN() FROM PART WHERE ID = = 1", "The function LEN was called with a wrong number of arguments"},
           {"SELECT ID FROM PART WHERE ID = = 1 AND LEN() = 1", "Incorrect syntax near '=' (character 32)"},
           {"SELECT ID FROM PART WHERE PRICE = SINCE + SINCE )",
            "Two dates cannot be added or subtracted. Use DATEDIFF"},
           {"SELECT 1 UNION SELECT 1, 2 UNION SELECT",
            "All queries combined using a UNION operator must have an equal number of expressions in their target "
            "lists"},
           {"SELECT ID FROM PART GROUP BY 5 HAVING )", "Incorrect syntax near 'HAVING' (character 32)"},
           {"SELECT ID FROM PART WHERE Name LIKE 'a' ESCAPE ID AND )", "Incorrect syntax near 'AND' (character 51)"},
           {"SELECT ID FROM PART ORDER BY 3, )",
            "The ORDER BY position number 3 is out of range of the number of items in the select list (character 30)"},
           {"UPDATE NOSUCH SET", "Invalid object name 'NOSUCH'"},
           {"UPDATE KINDS SET ID = NOSUCH", "Cannot update identity column 'ID'"},
           {"UPDATE KINDS SET ID = NOSUCH WHERE", "Incorrect syntax near 'WHERE' (character 30)"},
           {"INSERT PART (ID, ID) VALUES",
            "The column name 'ID' is specified more than once in the column list of an INSERT"},
           {"INSERT PART (ID) VALUES (1, 2", "Incorrect syntax near '2' (character 29)"},
           {"SELECT NOSUCH FROM PART WHERE OTHER = 1", "Invalid column name 'NOSUCH'"},
           {"CREATE TABLE PART (A", "There is already an object named 'PART' in the database"},
       })
    EXPECT_EQ(store.refusal(each.statement), each.expected) << each.statement;
}

}  // namespace
}  // namespace mercato::store::dialect::test
