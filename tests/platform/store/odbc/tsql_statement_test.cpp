// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/tsql_statement.h"

#include <gtest/gtest.h>

#include <string>

#include "mercato/raised_error.h"
#include "tests/platform/failure_of.h"

namespace mercato::store::odbc {
namespace {

using dialect::StatementKind;
using mercato::test::failure_of;

StatementKind kind(const std::string& text) {
  dialect::LexedStatement lexed;
  dialect::lex(text, lexed);
  return kind_of(lexed);
}

TEST(TsqlStatement, IsKnownByItsFirstWord) {
  struct Case {
    const char* text;
    StatementKind kind;
  };
  for (const Case& each : {
           Case{"select * from T", StatementKind::query},
           {"INSERT T (A) VALUES (1);", StatementKind::insert},
           {"INSERT INTO T (A) SELECT A FROM U", StatementKind::insert},
           {"UPDATE T SET A = (SELECT MAX(A) FROM U)", StatementKind::update},
           {"DELETE T WHERE A IN (SELECT A FROM U)", StatementKind::remove},
           {"SELECT A FROM T UNION ALL SELECT A FROM U EXCEPT SELECT 1", StatementKind::query},
           {"SELECT \"DELETE\", [UPDATE], 'DROP TABLE T; DELETE T' FROM T -- DELETE", StatementKind::query},
           {"CREATE TABLE T (A int NULL)", StatementKind::definition},
           {"ALTER TABLE T DROP COLUMN A", StatementKind::definition},
           {"DROP INDEX T.I", StatementKind::definition},
           {"CREATE FULLTEXT INDEX ON T (A)", StatementKind::nothing},
           {"set TRANSACTION ISOLATION LEVEL READ COMMITTED", StatementKind::nothing},
       })
    EXPECT_EQ(kind(each.text), each.kind) << each.text;
}

TEST(TsqlStatement, ThatIsMoreThanOneOrChangesTheSessionIsRefused) {
  struct Case {
    const char* text;
    const char* refusal;
  };
  for (const Case& each : {
           Case{"DELETE T; DELETE T", "More than one statement (character 11)"},
           {"DELETE T DELETE T", "Incorrect syntax near 'DELETE' (character 10)"},
           {"SELECT 1 SELECT 2", "Incorrect syntax near 'SELECT' (character 10)"},
           {"INSERT T SELECT 1 SELECT 2", "Incorrect syntax near 'SELECT' (character 19)"},
           {"INSERT T EXEC P", "Incorrect syntax near 'EXEC' (character 10)"},
           {"UPDATE T SET A = 1 SET LANGUAGE German", "Incorrect syntax near 'SET' (character 20)"},
           {"SELECT * FROM T WHERE A = 1 drop table T", "Incorrect syntax near 'drop' (character 29)"},
           {"CREATE TABLE T (A int NULL); DROP TABLE U", "More than one statement (character 30)"},
           {"SET LANGUAGE German", "Incorrect syntax near 'SET' (character 1)"},
           {"SET TRANSACTION ISOLATION LEVEL READ COMMITTED, 1", "Incorrect syntax near ',' (character 47)"},
           {"BEGIN TRANSACTION", "Incorrect syntax near 'BEGIN' (character 1)"},
           {"EXEC P", "Incorrect syntax near 'EXEC' (character 1)"},
           {"USE master", "Incorrect syntax near 'USE' (character 1)"},
           {"", "The statement is empty"},
       }) {
    const RaisedError failure = failure_of([&] { kind(each.text); });
    EXPECT_EQ(failure.Number, error_number::kStatementRefused) << each.text;
    EXPECT_EQ(failure.Description, each.refusal) << each.text;
  }
}

TEST(TsqlStatement, IsSentAsItIsButForANameThatServersReserve) {
  const auto sent = [](const std::string& text) {
    dialect::LexedStatement lexed;
    dialect::lex(text, lexed);
    return sent_text(lexed);
  };
  EXPECT_EQ(sent("SELECT  A FROM T WHERE A=5AND B = N'external'"), "SELECT  A FROM T WHERE A=5AND B = N'external'");
  EXPECT_EQ(sent("SELECT propertyid FROM property WHERE external=1"),
            "SELECT propertyid FROM property WHERE \"external\"=1");
  EXPECT_EQ(
      sent("SELECT VALUE, EXTERNAL , P.EXTERNAL, \"EXTERNAL\", [EXTERNAL], EXTERNALS FROM PROPERTY P -- EXTERNAL"),
      "SELECT VALUE, \"EXTERNAL\" , P.\"EXTERNAL\", \"EXTERNAL\", [EXTERNAL], EXTERNALS FROM PROPERTY P -- EXTERNAL");
}

TEST(TsqlStatement, NamesTheOneTableThatItReads) {
  const auto read_by = [](const std::string& text) {
    dialect::LexedStatement lexed;
    dialect::lex(text, lexed);
    return table_read_by(lexed);
  };
  EXPECT_EQ(read_by("SELECT A FROM Unit WHERE B=5"), "Unit");
  EXPECT_EQ(read_by("SELECT U.A FROM UNIT U WHERE EXISTS (SELECT 1 FROM PRODUCT P WHERE P.A = U.A)"), "UNIT");
  EXPECT_EQ(read_by("SELECT A, (SELECT MAX(B) FROM PRODUCT) M FROM UNIT ORDER BY A"), "UNIT");
  for (const char* text : {"SELECT U.A FROM UNIT U, PRODUCT P", "SELECT U.A FROM UNIT U JOIN PRODUCT P ON P.A = U.A",
                           "SELECT A FROM UNIT UNION SELECT A FROM PRODUCT", "SELECT A FROM (SELECT A FROM UNIT) U",
                           "DELETE FROM UNIT", "SELECT A FROM UNIT WITH (SOMETHING)"})
    EXPECT_EQ(read_by(text), "") << text;
}

TEST(TsqlStatement, ShowsMoreColumnsBehindItsOwn) {
  const auto with_key = [](const std::string& text) {
    dialect::LexedStatement lexed;
    dialect::lex(text, lexed);
    return with_columns(lexed, ", \"K\"");
  };
  EXPECT_EQ(with_key("SELECT A FROM T"), "SELECT A , \"K\" FROM T");
  EXPECT_EQ(with_key("SELECT (SELECT MAX(A) FROM U) B FROM T WHERE 1=1"),
            "SELECT (SELECT MAX(A) FROM U) B , \"K\" FROM T WHERE 1=1");
}

}  // namespace
}  // namespace mercato::store::odbc
