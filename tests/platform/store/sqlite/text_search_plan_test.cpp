// SPDX-License-Identifier: Apache-2.0
// How a query with patterns is written down for SQLite when the text index has proposed rows.
#include <gtest/gtest.h>

#include "platform/store/dialect/text_search.h"
#include "platform/store/sqlite/text_index.h"
#include "tests/platform/store/dialect_store.h"

namespace mercato::store::dialect::test {
namespace {

class TextSearchPlans : public testing::Test {
 protected:
  TextSearchPlans() {
    store_.run("CREATE TABLE PART (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NO nvarchar(50), NAME ntext, N int)");
    store_.run("CREATE TABLE LINK (PARTID int NOT NULL, NODE int NOT NULL)");
    store_.run("CREATE TABLE NODE (ID int NOT NULL, CATALOG int)");
    store_.run("CREATE FULLTEXT INDEX ON PART (NO, NAME)");
  }
  sqlite::Translation translated(const std::string& statement, UsedSearches used) {
    text_ = statement;
    lex(text_, lexed_);
    return sqlite::translate(lexed_, store_, false, used);
  }
  std::string sql(const std::string& statement, UsedSearches used = 1) {
    return translated(statement, used).statements.front();
  }
  // What FTS5 is asked for the condition; of each trigram the tokenizer makes one token.
  std::string match(const std::string& condition) {
    const sqlite::Translation found = translated("SELECT ID FROM PART WHERE " + condition, 0);
    if (found.searches.size() != 1) return "no search";
    const auto match = match_of(found.searches.front().condition, lexed_, IndexedTrigrams::squeezed_and_signed);
    return match ? written(*match, sqlite::kMatchWords) : "";
  }

  DialectStore store_;
  std::string text_;
  LexedStatement lexed_;
};

TEST_F(TextSearchPlans, ProposedRowsComeFirstAndThePatternDecides) {
  const std::string statement = "SELECT TOP 3 ID FROM PART WHERE NO LIKE '%abc%' OR NAME LIKE '%abc%'";
  EXPECT_EQ(sql(statement),
            R"(SELECT "PART"."ID" FROM "PART" AS "PART" WHERE "PART"._rowid_ IN (SELECT value FROM json_each(?)) AND )"
            R"((mercato_like(?, "PART"."NO") OR mercato_like(?, "PART"."NAME")) LIMIT ?)");
  EXPECT_EQ(sql(statement, 0), R"(SELECT "PART"."ID" FROM "PART" AS "PART" WHERE )"
                               R"(mercato_like(?, "PART"."NO") OR mercato_like(?, "PART"."NAME") LIMIT ?)");
}

TEST_F(TextSearchPlans, AJoinIsReadFromThemInAnOrderThatFollowsTheEqualities) {
  EXPECT_EQ(sql("SELECT L.NODE FROM NODE N INNER JOIN LINK L ON N.ID = L.NODE INNER JOIN PART P ON L.PARTID = P.ID "
                "WHERE N.CATALOG = 1 AND P.NAME LIKE '%abc%'"),
            R"(SELECT "L"."NODE" FROM "PART" AS "P" CROSS JOIN "LINK" AS "L" CROSS JOIN "NODE" AS "N" WHERE )"
            R"("P"._rowid_ IN (SELECT value FROM json_each(?)) AND ("N"."ID" = "L"."NODE") AND )"
            R"(("L"."PARTID" = "P"."ID") AND ("N"."CATALOG" = ? AND mercato_like(?, "P"."NAME")))");
}

TEST_F(TextSearchPlans, AnOuterJoinStaysAsItStands) {
  EXPECT_EQ(sql("SELECT P.ID FROM LINK L LEFT JOIN PART P ON L.PARTID = P.ID WHERE P.NAME LIKE '%abc%'"),
            R"(SELECT "P"."ID" FROM "LINK" AS "L" LEFT JOIN "PART" AS "P" ON "L"."PARTID" = "P"."ID" WHERE )"
            R"("P"._rowid_ IN (SELECT value FROM json_each(?)) AND (mercato_like(?, "P"."NAME")))");
}

TEST_F(TextSearchPlans, APatternAsksForThreeCharactersInARow) {
  EXPECT_EQ(match("NAME LIKE '%KT1%'"), R"("kt1")");
  EXPECT_EQ(match("NAME LIKE '%ab%c_d[e-f]g%'"), "");
  EXPECT_EQ(match("NAME LIKE '%ab[c]%'"), R"("abc")");
  EXPECT_EQ(match("NAME LIKE '%abc%def_'"), R"("abc" AND "def")");
  EXPECT_EQ(match("NAME LIKE '%abcdefghijklmnopqrstuvw%'"), R"("abc" AND "fgh" AND "klm" AND "pqr" AND "uvw")");
}

TEST_F(TextSearchPlans, SignsTellPatternsApart) {
  EXPECT_EQ(match("NAME LIKE '%KT-1%'"), R"("t-1" AND "kt1")");
  EXPECT_EQ(match("NAME LIKE '%-1a%'"), R"("-1a")");
  EXPECT_EQ(match("NAME LIKE '%4-s%'"), R"("4-s")");
  EXPECT_EQ(match("NAME LIKE '% old %'"), R"(" ol" AND "old")");
  EXPECT_EQ(match("NAME LIKE '%1/2\"x%'"), R"("1/2" AND "2""x" AND "12x")");
  EXPECT_EQ(match("NAME LIKE '%ab!%c%' ESCAPE '!'"), R"("b%c" AND "abc")");
  EXPECT_EQ(match("NAME LIKE '%c h%'"), "") << "a blank in the middle is nothing to look for";
}

TEST_F(TextSearchPlans, AllAndAnyOfSeveralPatterns) {
  EXPECT_EQ(match("NAME LIKE '%abc%' OR NO LIKE '%abc%'"), R"("abc")");
  EXPECT_EQ(match("NAME LIKE '%abc%' OR NO LIKE 'xyz%'"), R"("abc" OR "xyz")");
  EXPECT_EQ(match("NAME LIKE '%abc%' AND (NO LIKE '%xyz%' OR NO LIKE '%z%')"), R"("abc")");
  EXPECT_EQ(match("NAME LIKE '%abc%' AND N > 3 AND NO LIKE '%xyz%'"), R"("abc" AND "xyz")");
}

TEST_F(TextSearchPlans, ReadingIsLeftAlone) {
  EXPECT_EQ(match("NAME LIKE '%abc%' OR N = 3"), "no search");
  EXPECT_EQ(match("NOT NAME LIKE '%abc%'"), "no search");
  EXPECT_EQ(match("NAME NOT LIKE '%abc%'"), "no search");
  EXPECT_EQ(match("NAME LIKE '%' + NO"), "no search");
  EXPECT_EQ(match("NO LIKE 'abc%'"), "no search") << "an index is searched for the prefix";
  EXPECT_EQ(match("ID = 7 AND NAME LIKE '%abc%'"), "no search") << "one row is looked at";
  EXPECT_EQ(match("ID IN (7, 8) AND NAME LIKE '%abc%'"), "no search");
}

}  // namespace
}  // namespace mercato::store::dialect::test
