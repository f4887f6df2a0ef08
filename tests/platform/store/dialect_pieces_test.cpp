// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/store/dialect/dialect.h"
#include "tests/platform/failure_of.h"

namespace mercato::store::dialect {
namespace {

// What the pieces of a statement are refused with; empty when they are not.
std::string refusal_of(const Sql& statement) {
  return mercato::test::failure_of([&] {
           LexedStatement lexed;
           lex(statement.text(), lexed);
           check_pieces(statement, lexed);
         })
      .Description;
}

std::string quoted_value(std::string_view text) {
  Sql sql;
  sql << "SELECT A FROM T WHERE B='" << value(text) << "' AND C=1";
  return refusal_of(sql);
}

std::string bare_value(std::string_view text) {
  Sql sql;
  sql << "SELECT A FROM T WHERE B=" << value(text) << " AND C=1";
  return refusal_of(sql);
}

std::string named(std::string_view text) {
  Sql sql;
  sql << "SELECT A FROM T WHERE " << name(text) << " = 1";
  return refusal_of(sql);
}

std::string with_clause(std::string_view text) {
  Sql sql;
  sql << "SELECT A FROM T WHERE (" << clause(text) << ")";
  return refusal_of(sql);
}

TEST(DialectPieces, ValueBetweenQuotesIsTakenAsLongAsItStaysThere) {
  for (const char* text : {"", "x", "it''s", "''", "''''", "a''", "''b", "-- no comment", "/* nor this */",
                           "; DROP TABLE T", "\"", "[", ")", "漢字", "%'' OR ''%"})
    EXPECT_EQ(quoted_value(text), "") << text;
}

TEST(DialectPieces, ValueThatEndsItsLiteralIsRefused) {
  for (const char* text :
       {"' OR '1'='1", "x' OR B='y", "x'; DELETE T; SELECT '", "'' OR ' --", "a'''; DROP TABLE T --", "' + '"})
    EXPECT_NE(quoted_value(text), "") << text;
  EXPECT_EQ(quoted_value("x' OR B='y"), "Incorrect syntax near 'x' OR B='y' (character 26)");
}

TEST(DialectPieces, StrayQuoteIsRefused) {
  EXPECT_EQ(quoted_value("it's"), "Unclosed quotation mark after the character string ' AND C=1' (character 30)");
  EXPECT_NE(quoted_value("'"), "");
  EXPECT_NE(quoted_value("'''"), "");
}

// Two quotes that meet at the border of two pieces would be read as one doubled one.
TEST(DialectPieces, BorderMayNotPartADoubledQuote) {
  Sql at_end;
  at_end << "SELECT A FROM T WHERE B='" << value("x'") << "' AND C='" << value(" OR 1=1") << "'";
  EXPECT_NE(refusal_of(at_end), "");
  Sql two_values;
  two_values << "SELECT A FROM T WHERE B='" << value("'") << value("'") << "'";
  EXPECT_NE(refusal_of(two_values), "");
  Sql at_begin;
  at_begin << "SELECT A FROM T WHERE B=''" << value("' OR '") << "''";
  EXPECT_NE(refusal_of(at_begin), "");
}

TEST(DialectPieces, NationalTextHoldsValuesToo) {
  Sql sql;
  sql << "SELECT A FROM T WHERE B=N'" << value("x''y") << "'";
  EXPECT_EQ(refusal_of(sql), "");
  Sql over_prefix;
  over_prefix << "SELECT A FROM T WHERE B=" << value("N") << "'x'";
  EXPECT_NE(refusal_of(over_prefix), "");
}

TEST(DialectPieces, BareValueIsOneLiteral) {
  for (const char* text : {"5", "-5", "+5", "- 5", " 5 ", "5.25", "-1E+5", "'x'", "N'a%b'", "'it''s'", "null", "NULL"})
    EXPECT_EQ(bare_value(text), "") << text;
  for (const char* text :
       {"5 OR 1=1", "A", "1,2", "(5)", "5)", "'x' OR 'y'", "- -5", "-null", "-'5'", "5;", "nullx", "GETDATE()"})
    EXPECT_NE(bare_value(text), "") << text;
  EXPECT_EQ(bare_value("5 OR 1=1"), "Incorrect syntax near '5 OR 1=1' (character 25)");
}

TEST(DialectPieces, EmptyBareValueIsLeftToTheGrammar) {
  EXPECT_EQ(bare_value(""), "");
  EXPECT_EQ(bare_value("  "), "");
}

TEST(DialectPieces, ValueDoesNotGrowTogetherWithItsNeighbours) {
  Sql digits;
  digits << "SELECT TOP 1" << value("5") << " A FROM T";
  EXPECT_NE(refusal_of(digits), "");
  Sql two_values;
  two_values << "SELECT A FROM T WHERE B=" << value("1") << value("2");
  EXPECT_NE(refusal_of(two_values), "");
  Sql text;
  text << "SELECT A FROM T WHERE B=" << value("'x'") << "'y'";
  EXPECT_NE(refusal_of(text), "");
}

TEST(DialectPieces, NumberMayBeFollowedByAWordAtOnce) {
  Sql sql;
  sql << "SELECT A FROM T WHERE B=" << 5 << "AND C='" << value("x") << "'AND D=" << 1.5;
  EXPECT_EQ(refusal_of(sql), "");
}

// A minus before a negative number would begin a comment, and swallow the rest.
TEST(DialectPieces, CommentsAreRefusedInBuiltStatements) {
  Sql minus;
  minus << "SELECT A FROM T WHERE B=C-" << -5 << " AND D=1";
  EXPECT_EQ(refusal_of(minus), "Incorrect syntax near '--' (character 26)");
  EXPECT_NE(with_clause("B=1 -- "), "");
  EXPECT_NE(with_clause("B=1 /* x */"), "");
  EXPECT_EQ(refusal_of(Sql::verbatim("SELECT 1 -- x")), "");
}

TEST(DialectPieces, NameIsOneName) {
  for (const char* text : {"PRODUCTID", "productid", "\"a b\"", "[a b]", " B ", "LEVEL", "VALUE"})
    EXPECT_EQ(named(text), "") << text;
  for (const char* text :
       {"", " ", "A B", "A.B", "A=1 OR B", "5", "'x'", "A--", "A;", "SELECT", "not", "(A)", "A)", "\"a\" \"b\""})
    EXPECT_NE(named(text), "") << text;
}

TEST(DialectPieces, NameBetweenQuotesStaysThere) {
  const auto inside = [](std::string_view text) {
    Sql sql;
    sql << "SELECT A FROM \"" << name(text) << "\"";
    return refusal_of(sql);
  };
  EXPECT_EQ(inside("a b"), "");
  EXPECT_EQ(inside("a\"\"b"), "");
  EXPECT_NE(inside(""), "");
  EXPECT_NE(inside("a\" B \"c"), "");
  EXPECT_NE(inside("a\""), "");
}

TEST(DialectPieces, NameDoesNotGrowTogetherWithItsNeighbours) {
  Sql sql;
  sql << "SELECT A" << name("B") << " FROM T";
  EXPECT_NE(refusal_of(sql), "");
}

TEST(DialectPieces, ClauseMayHoldAnythingThatStaysAClause) {
  for (const char* text : {"", "A=1", "A=1 OR (B IN (1,2) AND C LIKE '%;%')", "1,2,3", "A DESC", "B=');--'"})
    EXPECT_EQ(with_clause(text), "") << text;
}

TEST(DialectPieces, ClauseMayNotLeaveItsPlace) {
  EXPECT_EQ(with_clause("1=1) OR (1=1"), "Incorrect syntax near ')' (character 27)");
  EXPECT_EQ(with_clause("A=1; DROP TABLE T"), "Incorrect syntax near ';' (character 27)");
  EXPECT_NE(with_clause("(A=1"), "");
  EXPECT_NE(with_clause("A=1)"), "");
  EXPECT_NE(with_clause("A='"), "");
  EXPECT_NE(with_clause("A=\"x"), "");
}

TEST(DialectPieces, ClauseDoesNotGrowTogetherWithItsNeighbours) {
  Sql before;
  before << "SELECT A FROM T ORDER BY A" << clause("B");
  EXPECT_NE(refusal_of(before), "");
  Sql inside_text;
  inside_text << "SELECT A FROM T WHERE A='" << clause("x") << "'";
  EXPECT_NE(refusal_of(inside_text), "");
  Sql number;
  number << "SELECT A FROM T WHERE A=1" << clause("2");
  EXPECT_NE(refusal_of(number), "");
}

TEST(DialectPieces, StatementWithoutMarksIsNotLookedAt) { EXPECT_EQ(refusal_of(Sql("SELECT 1; SELECT 2 --")), ""); }

}  // namespace
}  // namespace mercato::store::dialect
