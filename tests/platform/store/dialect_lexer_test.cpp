// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/store/dialect/dialect.h"
#include "tests/platform/failure_of.h"

namespace mercato::store::dialect {
namespace {

// "kind:text" for each token, joined by blanks.
std::string tokens_of(std::string_view text) {
  LexedStatement lexed;
  lex(text, lexed);
  std::string result;
  for (const Token& token : lexed.tokens) {
    if (token.kind == TokenKind::end) break;
    const char* const kinds[] = {"word:", "name:", "number:", "text:", "ntext:", ""};
    if (!result.empty()) result += ' ';
    result += kinds[static_cast<int>(token.kind)];
    result += text.substr(token.begin, token.end - token.begin);
  }
  return result;
}

std::string shape_of(std::string_view text) {
  LexedStatement lexed;
  lex(text, lexed);
  return lexed.shape;
}

RaisedError refusal_of(std::string_view text) {
  LexedStatement lexed;
  return mercato::test::failure_of([&] { lex(text, lexed); });
}

TEST(DialectLexer, CutsAStatementIntoTokens) {
  const struct {
    const char* text;
    const char* tokens;
  } cases[] = {
      {"", ""},
      {" \t\r\n", ""},
      {"SELECT*FROM T", "word:SELECT * word:FROM word:T"},
      {"A=5AND B=6OR C", "word:A = number:5 word:AND word:B = number:6 word:OR word:C"},
      {"1.5 .5 5. 1e3 1E-3 1.5e+3", "number:1.5 number:.5 number:5. number:1e3 number:1E-3 number:1.5e+3"},
      {"5E 5ELSE 5E+", "number:5 word:E number:5 word:ELSE number:5 word:E +"},
      {"'a''b'", "text:'a''b'"},
      {"''", "text:''"},
      {"''''", "text:''''"},
      {"'a'AND", "text:'a' word:AND"},
      {"N'x' n'y' N 'z' AN'w'", "ntext:N'x' ntext:n'y' word:N text:'z' word:AN text:'w'"},
      {"\"a b\" [c d] [e]]f] \"g\"\"h\"", "name:\"a b\" name:[c d] name:[e]]f] name:\"g\"\"h\""},
      {"<=<>!=", "< = < > ! ="},
      {"dbo.T.C", "word:dbo . word:T . word:C"},
      {"-5 - 5", "- number:5 - number:5"},
      {"Größe #t @v a$b _c", "word:Größe word:#t word:@v word:a$b word:_c"},
      {"A--note\nB", "word:A word:B"},
      {"A--note", "word:A"},
      {"A/*x/*y*/z*/B", "word:A word:B"},
  };
  for (const auto& each : cases) EXPECT_EQ(tokens_of(each.text), each.tokens) << each.text;
}

TEST(DialectLexer, StatementsOfOneShapeDifferInLiteralsOnly) {
  EXPECT_EQ(shape_of("A=5 AND B='x'"), shape_of("A=66 AND B='it''s'"));
  EXPECT_NE(shape_of("A=5"), shape_of("A=5.0"));
  EXPECT_NE(shape_of("A=5"), shape_of("A=-5"));
  EXPECT_NE(shape_of("A=5"), shape_of("A='5'"));
  EXPECT_NE(shape_of("A='5'"), shape_of("A=N'5'"));
  EXPECT_NE(shape_of("A=5"), shape_of("a=5"));
  // An index can be searched for the one and not for the other.
  EXPECT_NE(shape_of("A LIKE 'x%'"), shape_of("A LIKE '%x'"));
  EXPECT_NE(shape_of("A like N'x%'"), shape_of("A like N'[x]'"));
  EXPECT_EQ(shape_of("A LIKE 'x%'"), shape_of("A LIKE '7_8'"));
  EXPECT_EQ(shape_of("A = 'x%'"), shape_of("A = '%x'"));
  EXPECT_NE(shape_of("A=5"), shape_of("A=null"));
  EXPECT_NE(shape_of("A IN (1,2)"), shape_of("A IN (1,2,3)"));
}

TEST(DialectLexer, EqualShapesHaveEqualHashes) {
  LexedStatement first, second, other;
  lex("SELECT A FROM T WHERE B='x'", first);
  lex("SELECT A FROM T WHERE B='yyyyy'", second);
  lex("SELECT A FROM T WHERE C='x'", other);
  EXPECT_EQ(first.shape_hash, second.shape_hash);
  EXPECT_NE(first.shape_hash, other.shape_hash);
}

TEST(DialectLexer, ReusedStatementForgetsWhatItHeld) {
  LexedStatement lexed;
  lex("SELECT 'a', 2 -- note", lexed);
  lex("B", lexed);
  EXPECT_EQ(lexed.tokens.size(), 2u);
  EXPECT_TRUE(lexed.literals.empty());
  EXPECT_EQ(lexed.shape, "B");
  EXPECT_EQ(lexed.comment, LexedStatement::kNoComment);
}

TEST(DialectLexer, TextWithoutAnEndIsRefused) {
  const RaisedError failure = refusal_of("A='Ö' AND B='it''s");
  EXPECT_EQ(failure.Number, error_number::kStatementRefused);
  EXPECT_EQ(failure.Source, "SQLite store");
  EXPECT_EQ(failure.Description, "Unclosed quotation mark after the character string 'it''s' (character 13)");
}

TEST(DialectLexer, NameOrCommentWithoutAnEndIsRefused) {
  EXPECT_EQ(refusal_of("SELECT [a").Description,
            "Unclosed quotation mark after the character string 'a' (character 8)");
  EXPECT_EQ(refusal_of("\"a\"\"").Description,
            "Unclosed quotation mark after the character string 'a\"\"' (character 1)");
  EXPECT_EQ(refusal_of("A /* b").Description, "Missing end comment mark '*/' (character 3)");
}

// The marks of literals in a shape are such characters, so no statement may bring its own.
TEST(DialectLexer, ControlCharactersOutsideOfTextsAreRefused) {
  EXPECT_EQ(refusal_of("A=\x01").Description, "Incorrect syntax near '\x01' (character 3)");
  EXPECT_EQ(refusal_of(std::string_view("A\0", 2)).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal_of("A='\x01'").Number, 0);
}

TEST(DialectLexer, LiteralsHaveTheirValues) {
  const struct {
    const char* literal;
    Variant value;
  } cases[] = {
      {"5", std::int32_t{5}},
      {"2147483647", std::int32_t{2147483647}},
      {"2147483648", 2147483648.0},
      {"1.5", 1.5},
      {"5.", 5.0},
      {"1E2", 100.0},
      {"'a''b'", "a'b"},
      {"''", ""},
      {"N'ü'", "ü"},
  };
  for (const auto& each : cases) {
    LexedStatement lexed;
    lex(each.literal, lexed);
    EXPECT_EQ(literal_value(lexed, 0), each.value) << each.literal;
  }
}

TEST(DialectLexer, ParametersAreConverted) {
  const auto converted = [](std::string_view literal, Conversion conversion) {
    LexedStatement lexed;
    lex(literal, lexed);
    return parameter_value(lexed, {0, conversion});
  };
  EXPECT_EQ(converted("1.50", Conversion::text), Variant("1.50"));
  EXPECT_EQ(converted("' 12 '", Conversion::number), Variant(std::int32_t{12}));
  EXPECT_EQ(converted("''", Conversion::number), Variant(std::int32_t{0}));
  EXPECT_EQ(converted("'+1.5'", Conversion::number), Variant(1.5));
  EXPECT_EQ(converted("0.1", Conversion::money), Variant(Currency::from_scaled(1000)));
  EXPECT_EQ(converted("'1,234.5678'", Conversion::money), Variant(Currency::from_scaled(12345678)));
  EXPECT_EQ(converted("'True'", Conversion::boolean), Variant(true));
  EXPECT_EQ(converted("'false'", Conversion::boolean), Variant(false));
  EXPECT_EQ(converted("2", Conversion::boolean), Variant(true));
  EXPECT_EQ(converted("'0'", Conversion::boolean), Variant(false));
}

TEST(DialectLexer, DateLiteralsAreReadInEveryForm) {
  const struct {
    const char* literal;
    const char* date;
  } cases[] = {
      {"'7/1/2026'", "2026-07-01T00:00:00"},
      {"'7/1/2026 8:30:00 AM'", "2026-07-01T08:30:00"},
      {"'7/1/2026 8:30:00 PM'", "2026-07-01T20:30:00"},
      {"'2026-07-01'", "2026-07-01T00:00:00"},
      {"'2026-07-01 08:30:05'", "2026-07-01T08:30:05"},
      {"'2026-07-01T08:30:05'", "2026-07-01T08:30:05"},
      {"'2026-07-01T08:30:05.123'", "2026-07-01T08:30:05"},
      {"'20260701'", "2026-07-01T00:00:00"},
      {"'20260701 08:30'", "2026-07-01T08:30:00"},
      {"''", "1900-01-01T00:00:00"},
      {"'8:30'", "1900-01-01T08:30:00"},
      {"'12/30/1899'", "1899-12-30T00:00:00"},
  };
  for (const auto& each : cases) {
    LexedStatement lexed;
    lex(each.literal, lexed);
    EXPECT_EQ(parameter_value(lexed, {0, Conversion::date}).date_value().iso_text(), each.date) << each.literal;
  }
}

TEST(DialectLexer, UnreadableLiteralsAreRefused) {
  const auto refusal = [](std::string_view literal, Conversion conversion) {
    LexedStatement lexed;
    lex(literal, lexed);
    return mercato::test::failure_of([&] { parameter_value(lexed, {0, conversion}); });
  };
  EXPECT_EQ(refusal("'abc'", Conversion::number).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal("'abc'", Conversion::number).Description,
            "Conversion failed when converting the text value 'abc' to a number");
  EXPECT_EQ(refusal("'nan'", Conversion::number).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal("'+-5'", Conversion::number).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal("'&H10'", Conversion::money).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal("'13/13/2026'", Conversion::date).Description,
            "Conversion failed when converting date and/or time from character string");
  EXPECT_EQ(refusal("'2026-02-30'", Conversion::date).Number, error_number::kStatementRefused);
  EXPECT_EQ(refusal("'maybe'", Conversion::boolean).Description,
            "Conversion failed when converting the text value 'maybe' to data type bit");
  EXPECT_EQ(refusal("1e999", Conversion::none).Number, error_number::kStatementRefused);
}

TEST(DialectLexer, ScriptIsCutAtItsSemicolons) {
  const auto statements = split_script("-- first\nCREATE A (';');\n\n;B /* ; */ C;D");
  ASSERT_EQ(statements.size(), 3u);
  EXPECT_EQ(statements[0], "CREATE A (';')");
  EXPECT_EQ(statements[1], "B /* ; */ C");
  EXPECT_EQ(statements[2], "D");
}

// The fault of a script was told without its statement.
TEST(DialectLexer, WhatCannotBeReadInAScriptBelongsToItsLastStatement) {
  const struct {
    const char* script;
    std::vector<std::string_view> statements;
  } cases[] = {
      {"A; B 'c; D;\n", {"A", "B 'c; D;\n"}}, {"A;\n -- b\n 'c", {"A", "'c"}},  {"A; /* b; */ /* c;", {"A", "/* c;"}},
      {"A; B /* c;", {"A", "B /* c;"}},       {"A; \x01; B", {"A", "\x01; B"}}, {"[A", {"[A"}},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(split_script(each.script), each.statements) << each.script;
    EXPECT_EQ(refusal_of(std::string(each.statements.back())).Number, error_number::kStatementRefused) << each.script;
  }
}

}  // namespace
}  // namespace mercato::store::dialect
