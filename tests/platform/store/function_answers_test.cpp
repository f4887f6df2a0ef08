// SPDX-License-Identifier: Apache-2.0
// What the functions of the dialect answer, on the store that the suites run on (test_store.h): the same on every one.
// Each case asks for an expression over a text that is stored, so that the store works it out itself.
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "platform/store/known_drivers.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/own_words.h"

namespace mercato::store::test {
namespace {

class FunctionAnswers : public testing::Test {
 protected:
  struct Case {
    const char* text;  // of the column T
    const char* expression;
    const char* answer;
  };

  FunctionAnswers() {
    const std::string connection_string = stores_.store().connection_string();
    session_ = driver_for(connection_string).open(connection_string);
    run(*session_,
        "CREATE TABLE CASES (ID int NOT NULL PRIMARY KEY, T nvarchar(200) NULL, D datetime NULL, M money NULL)");
    run(*session_, "INSERT INTO CASES VALUES (0, NULL, '7/1/2026 8:05:09 AM', 1234.565)");
  }

  void SetUp() override { MERCATO_NOT_WHERE_SERVERS_ANSWER(stores_.store(), "what its functions make of such values"); }

  // Null is "NULL"; a refused statement is the reason.
  std::string answer(const Case& each, int id) {
    try {
      const Variant value = query_one(
          *session_, std::string("SELECT ") + each.expression + " FROM CASES WHERE ID = " + std::to_string(id));
      return value.is_null() ? "NULL" : value.to_text();
    } catch (const Raised& raised) {
      constexpr std::string_view kRefused = "The store refused the statement: ";
      const std::string description = raised.error().Description;
      return description.starts_with(kRefused) ? description.substr(kRefused.size()) : "no refusal: " + description;
    }
  }

  void expect(std::initializer_list<Case> cases) {
    for (const Case& each : cases) {
      const int id = each.text == nullptr ? 0 : ++cases_;
      if (id > 0) {
        std::string text;
        for (const char* c = each.text; *c != '\0'; ++c) text += *c == '\'' ? "''" : std::string(1, *c);
        run(*session_, "INSERT INTO CASES (ID, T) VALUES (" + std::to_string(id) + ", N'" + text + "')");
      }
      EXPECT_EQ(answer(each, id), each.answer) << each.expression << " of '" << (each.text ? each.text : "NULL") << "'";
    }
  }

  Stores stores_;
  std::unique_ptr<Session> session_;
  int cases_ = 0;
};

TEST_F(FunctionAnswers, TextsReadAsNumbers) {
  expect({
      {"42", "T + 0", "42"},
      {" -42 ", "T + 0", "-42"},
      {"+7", "T + 0", "7"},
      {"007", "T * 2", "14"},
      {"1.5e3", "CAST(T AS float)", "1500"},
      {".5", "CAST(T AS float)", "0.5"},
      {"5.", "CAST(T AS float)", "5"},
      {"\t 12 \r\n", "CAST(T AS float)", "12"},
      {"", "CAST(T AS float)", "0"},
      {"   ", "CAST(T AS float)", "0"},
      {"0e9999", "CAST(T AS float)", "0"},
      {"1e308", "CAST(T AS float)", "1E+308"},
      {"-", "CAST(T AS float)", "Conversion failed when converting the text value '-' to a number"},
      {"+-7", "CAST(T AS float)", "Conversion failed when converting the text value '+-7' to a number"},
      {" 1e", "CAST(T AS float)", "Conversion failed when converting the text value ' 1e' to a number"},
      {"1e309", "CAST(T AS float)", "Conversion failed when converting the text value '1e309' to a number"},
      {"1e-400", "CAST(T AS float)", "Conversion failed when converting the text value '1e-400' to a number"},
      {"0x10", "CAST(T AS float)", "Conversion failed when converting the text value '0x10' to a number"},
      {"inf", "CAST(T AS float)", "Conversion failed when converting the text value 'inf' to a number"},
      {"1,000", "CAST(T AS float)", "Conversion failed when converting the text value '1,000' to a number"},
      {"it's", "CAST(T AS float)", "Conversion failed when converting the text value 'it's' to a number"},
      {nullptr, "CAST(T AS float)", "NULL"},
  });
}

TEST_F(FunctionAnswers, TextsReadAsMoney) {
  expect({
      {"12.34", "CAST(T AS money)", "12.34"},
      {"1,234.5", "CAST(T AS money)", "1234.5"},
      {"$1,234.5", "CAST(T AS money)", "1234.5"},
      {"($1,234.5)", "CAST(T AS money)", "-1234.5"},
      {"1,234.5-", "CAST(T AS money)", "-1234.5"},
      {"- $1,234", "CAST(T AS money)", "-1234"},
      {"1,2E3", "CAST(T AS money)", "12000"},
      {"0.00005", "CAST(T AS money)", "0"},
      {"0.00015", "CAST(T AS money)", "0.0002"},
      {"0.000050000000001", "CAST(T AS money)", "0.0001"},
      {"-0.00015", "CAST(T AS money)", "-0.0002"},
      {"922337203685477.5807", "CAST(T AS money)", "922337203685477.5807"},
      {"-922337203685477.5808", "CAST(T AS money)", "-922337203685477.5808"},
      {"922337203685477.5808", "CAST(T AS money)",
       "Cannot convert a text value to money. The text has incorrect syntax"},
      {"", "CAST(T AS money)", "0"},
      {"$5", "CAST(T AS money)", "Cannot convert a text value to money. The text has incorrect syntax"},
      {"($-1,0)", "CAST(T AS money)", "Cannot convert a text value to money. The text has incorrect syntax"},
      {",5", "CAST(T AS money)", "Cannot convert a text value to money. The text has incorrect syntax"},
      {"five", "CAST(T AS money)", "Cannot convert a text value to money. The text has incorrect syntax"},
      {nullptr, "CAST(T AS money)", "NULL"},
  });
}

TEST_F(FunctionAnswers, TextsReadAsFlags) {
  expect({
      {"TRUE", "CAST(T AS bit)", "True"},
      {" false ", "CAST(T AS bit)", "False"},
      {"1", "CAST(T AS bit)", "True"},
      {"-0.5", "CAST(T AS bit)", "True"},
      {"0.0", "CAST(T AS bit)", "False"},
      {"", "CAST(T AS bit)", "False"},
      {"yes", "CAST(T AS bit)", "Conversion failed when converting the text value 'yes' to data type bit"},
      {nullptr, "CAST(T AS bit)", "NULL"},
  });
}

TEST_F(FunctionAnswers, TextsReadAsDates) {
  constexpr const char* kUnreadable = "Conversion failed when converting date and/or time from character string";
  expect({
      {"2026-07-01", "CAST(T AS datetime)", "7/1/2026"},
      {"2026-07-01T08:30:15", "CAST(T AS datetime)", "7/1/2026 8:30:15 AM"},
      {"20260701", "CAST(T AS datetime)", "7/1/2026"},
      {"20260701 14:00", "CAST(T AS datetime)", "7/1/2026 2:00:00 PM"},
      {"7/1/2026", "CAST(T AS datetime)", "7/1/2026"},
      {"13/1/2026", "CAST(T AS datetime)", "1/13/2026"},
      {"1.2.30", "CAST(T AS datetime)", "1/2/1930"},
      {"1-2-29", "CAST(T AS datetime)", "1/2/2029"},
      {"July 5, 2026 3 PM", "CAST(T AS datetime)", "7/5/2026 3:00:00 PM"},
      {"5 sept 99", "CAST(T AS datetime)", "9/5/1999"},
      {"2026 July 5", "CAST(T AS datetime)", "7/5/2026"},
      {"32 May 5", "CAST(T AS datetime)", "5/5/1932"},
      {"2/29/2024 12:00 am", "CAST(T AS datetime)", "2/29/2024"},
      {"7/1/2026 8:30:15.999", "CAST(T AS datetime)", "7/1/2026 8:30:15 AM"},
      {"8:30", "CAST(T AS datetime)", "1/1/1900 8:30:00 AM"},
      {"12/30/1899 8:30", "CAST(T AS datetime)", "8:30:00 AM"},
      {"", "CAST(T AS datetime)", "1/1/1900"},
      {" \t ", "CAST(T AS datetime)", "1/1/1900"},
      {"9999-12-31", "CAST(T AS datetime)", "12/31/9999"},
      {"0100-01-01", "CAST(T AS datetime)", "1/1/100"},
      {"0099-12-31", "CAST(T AS datetime)", kUnreadable},
      {"2/30/2026", "CAST(T AS datetime)", kUnreadable},
      {"7/1/2026 24:00", "CAST(T AS datetime)", kUnreadable},
      {"7/1/2026 13:00 PM", "CAST(T AS datetime)", kUnreadable},
      {"7/1", "CAST(T AS datetime)", kUnreadable},
      {"tomorrow", "CAST(T AS datetime)", kUnreadable},
      {"7\u00A0/1/2026", "CAST(T AS datetime)", kUnreadable},
      {"1/2/2026", "CONVERT(datetime, T, 103)", "2/1/2026"},
      {"1/2/2026", "CONVERT(datetime, T, 101)", "1/2/2026"},
      {"20260701", "CONVERT(datetime, T, 103)", "7/1/2026"},
      {nullptr, "CAST(T AS datetime)", "NULL"},
  });
}

TEST_F(FunctionAnswers, NumbersReadAsDates) {
  expect({
      {"1.5", "CAST(T + 0.0 AS datetime)", "1/2/1900 12:00:00 PM"},
      {"-3", "CAST(T + 0.0 AS datetime)", "12/29/1899"},
      {"0.00000578703", "CAST(T + 0.0 AS datetime)", "1/1/1900"},
      {"0.00000578704", "CAST(T + 0.0 AS datetime)", "1/1/1900 12:00:01 AM"},
      {"-657436", "CAST(T + 0.0 AS datetime)", "1/1/100"},
      {"-657437", "CAST(T + 0.0 AS datetime)", "Overflow"},
      {"2958463", "CAST(T + 0.0 AS datetime)", "12/31/9999"},
      {"2958464", "CAST(T + 0.0 AS datetime)", "Overflow"},
      {"1e300", "CAST(T + 0.0 AS datetime)", "Overflow"},
  });
}

TEST_F(FunctionAnswers, NumbersAreWrittenAsTexts) {
  expect({
      {"0.1", "CAST(CAST(T AS float) AS nvarchar(30))", "0.1"},
      {"-2.50", "CAST(CAST(T AS float) AS nvarchar(30))", "-2.5"},
      {"123456789.123456789", "CAST(CAST(T AS float) AS nvarchar(30))", "123456789.123457"},
      {"999999999999999", "CAST(CAST(T AS float) AS nvarchar(30))", "999999999999999"},
      {"1000000000000000", "CAST(CAST(T AS float) AS nvarchar(30))", "1E+15"},
      {"0.0001", "CAST(CAST(T AS float) AS nvarchar(30))", "0.0001"},
      {"0.00001234", "CAST(CAST(T AS float) AS nvarchar(30))", "1.234E-05"},
      {"-1.5e300", "CAST(CAST(T AS float) AS nvarchar(30))", "-1.5E+300"},
      {"-0", "CAST(CAST(T AS float) AS nvarchar(30))", "0"},
      {"12.5", "CAST(CAST(T AS money) AS nvarchar(30))", "12.50"},
      {"-0.001", "CAST(CAST(T AS money) AS nvarchar(30))", "-0.00"},
      {"0.125", "CAST(CAST(T AS money) AS nvarchar(30))", "0.12"},
      {"0.375", "CAST(CAST(T AS money) AS nvarchar(30))", "0.38"},
      {"1.005", "CAST(CAST(T AS money) AS nvarchar(30))", "1.00"},
      {"8.345", "CAST(CAST(T AS money) AS nvarchar(30))", "8.35"},
      {"922337203685477.5807", "CAST(CAST(T AS money) AS nvarchar(30))", "922337203685477.62"},
      {nullptr, "CAST(CAST(T AS float) AS nvarchar(30))", "NULL"},
  });
}

TEST_F(FunctionAnswers, DatesAreWrittenInTheStylesOfConvert) {
  expect({
      {nullptr, "CAST(D AS nvarchar(30))", "Jul  1 2026  8:05AM"},
      {nullptr, "CONVERT(nvarchar(30), DATEADD(hour, 4, D), 100)", "Jul  1 2026 12:05PM"},
      {nullptr, "CONVERT(nvarchar(30), DATEADD(hour, 16, D), 100)", "Jul  2 2026 12:05AM"},
      {nullptr, "CONVERT(nvarchar(30), DATEADD(day, 20, D), 0)", "Jul 21 2026  8:05AM"},
      {nullptr, "CONVERT(nvarchar(30), D, 1)", "07/01/26"},
      {nullptr, "CONVERT(nvarchar(30), D, 101)", "07/01/2026"},
      {nullptr, "CONVERT(nvarchar(30), D, 102)", "2026.07.01"},
      {nullptr, "CONVERT(nvarchar(30), D, 3)", "01/07/26"},
      {nullptr, "CONVERT(nvarchar(30), D, 103)", "01/07/2026"},
      {nullptr, "CONVERT(nvarchar(30), D, 104)", "01.07.2026"},
      {nullptr, "CONVERT(nvarchar(30), D, 105)", "01-07-2026"},
      {nullptr, "CONVERT(nvarchar(30), D, 8)", "08:05:09"},
      {nullptr, "CONVERT(nvarchar(30), D, 108)", "08:05:09"},
      {nullptr, "CONVERT(nvarchar(30), D, 110)", "07-01-2026"},
      {nullptr, "CONVERT(nvarchar(30), D, 111)", "2026/07/01"},
      {nullptr, "CONVERT(nvarchar(30), D, 112)", "20260701"},
      {nullptr, "CONVERT(nvarchar(30), D, 20)", "2026-07-01 08:05:09"},
      {nullptr, "CONVERT(nvarchar(30), D, 121)", "2026-07-01 08:05:09.000"},
      {nullptr, "CONVERT(nvarchar(30), D, 126)", "2026-07-01T08:05:09"},
      {nullptr, "CONVERT(nvarchar(30), DATEADD(year, -1900, D), 101)", "07/01/0126"},
      {nullptr, "CONVERT(nvarchar(30), D, 7)",
       "7 is not a valid style number when converting from datetime to a character string"},
  });
}

TEST_F(FunctionAnswers, DatesAreCountedByTheCalendar) {
  expect({
      {nullptr, "DATEADD(month, 1, '1/31/2024')", "2/29/2024"},
      {nullptr, "DATEADD(quarter, -1, '5/31/2026')", "2/28/2026"},
      {nullptr, "DATEADD(year, 1, '2/29/2024')", "2/28/2025"},
      {nullptr, "DATEADD(week, -1, D)", "6/24/2026 8:05:09 AM"},
      {nullptr, "DATEADD(weekday, 1, D)", "7/2/2026 8:05:09 AM"},
      {nullptr, "DATEADD(day, 1.9, D)", "7/2/2026 8:05:09 AM"},
      {nullptr, "DATEADD(day, -1.9, D)", "6/30/2026 8:05:09 AM"},
      {nullptr, "DATEADD(minute, -6, D)", "7/1/2026 7:59:09 AM"},
      {nullptr, "DATEADD(second, 51, D)", "7/1/2026 8:06:00 AM"},
      {nullptr, "DATEADD(month, 95682, D)", "Overflow"},
      {nullptr, "DATEADD(month, 95681, D)", "12/1/9999 8:05:09 AM"},
      {nullptr, "DATEADD(month, 99999999999, D)", "Overflow"},
      {nullptr, "DATEADD(day, -999999, D)", "Overflow"},
      {nullptr, "DATEADD(hour, NULL, D)", "NULL"},
      {nullptr, "D + 0.5", "7/1/2026 8:05:09 PM"},
      {nullptr, "D - 1", "6/30/2026 8:05:09 AM"},
      {nullptr, "D + 4000000", "Overflow"},
      {nullptr, "DATEDIFF(year, D, '1/1/2027')", "1"},
      {nullptr, "DATEDIFF(quarter, D, '6/30/2026')", "-1"},
      {nullptr, "DATEDIFF(month, D, '6/30/2025')", "-13"},
      {nullptr, "DATEDIFF(week, '7/4/2026', '7/5/2026')", "1"},
      {nullptr, "DATEDIFF(week, '12/27/1969', '1/5/1970')", "2"},
      {nullptr, "DATEDIFF(day, '12/31/1899 23:59', '1/1/1900')", "1"},
      {nullptr, "DATEDIFF(hour, D, '7/1/2026 7:59')", "-1"},
      {nullptr, "DATEDIFF(minute, D, '7/1/2026 8:06')", "1"},
      {nullptr, "DATEDIFF(second, '1/1/1900', '1/1/2100')", "6311433600"},
      {nullptr, "DATEPART(quarter, D)", "3"},
      {nullptr, "DATEPART(weekday, D)", "4"},
      {nullptr, "DATEPART(dayofyear, D)", "182"},
      {nullptr, "DATEPART(week, D)", "27"},
      {nullptr, "DATEPART(week, '1/1/2022')", "1"},
      {nullptr, "DATEPART(week, '1/2/2022')", "2"},
      {nullptr, "DATEPART(second, D)", "9"},
      {nullptr, "YEAR(D) * 10000 + MONTH(D) * 100 + DAY(D)", "20260701"},
  });
}

TEST_F(FunctionAnswers, OneLetterStaysOneLetterInTheOtherCase) {
  expect({
      {"Straße ä ﬁ", "UPPER(T)", "STRAßE Ä ﬁ"},
      {"ας ǆ", "UPPER(T)", "ΑΣ Ǆ"},
      {"\u1FB3\u1F80\u1F88", "UPPER(T)", "\u1FBC\u1F88\u1F88"},
      {"\u0390\u0149", "UPPER(T)", "\u0390\u0149"},
      {"ΑΣ ΣΑ", "LOWER(T)", "ασ σα"},
      {"\u0130I", "LOWER(T)", "ii"},
      {"ÄẞꭰᎠ", "LOWER(T)", "äßꭰꭰ"},
      {nullptr, "UPPER(T)", "NULL"},
      {nullptr, "LOWER(T)", "NULL"},
  });
}

TEST_F(FunctionAnswers, PartsOfTextsAreCountedInCharacters) {
  expect({
      {"äöü😀x", "SUBSTRING(T, 3, 2)", "ü😀"},
      {"abc", "SUBSTRING(T, -1, 3)", "a"},
      {"abc", "SUBSTRING(T, -9, 3)", ""},
      {"abc", "SUBSTRING(T, 2, 2147483647)", "bc"},
      {"abc", "SUBSTRING(T, 2147483647, 2147483647)", ""},
      {"abc", "SUBSTRING(T, 2, 99999999999)", "bc"},
      {"abc", "SUBSTRING(T, 99999999999, 1)", ""},
      {"abcdef", "SUBSTRING(T, 2.9, 2.9)", "bc"},
      {"abc", "SUBSTRING(T, 1, -0.9)", ""},
      {"abc", "SUBSTRING(T, 1, -1)", "Invalid length parameter passed to the substring function"},
      {"abc", "LEFT(T, 0)", ""},
      {"abc", "LEFT(T, -1)", "Invalid length parameter passed to the substring function"},
      {"äöü", "RIGHT(T, 2)", "öü"},
      {"abc", "RIGHT(T, 0)", ""},
      {"abc", "RIGHT(T, 99999999999)", "abc"},
      {"abc", "RIGHT(T, -1)", "Invalid length parameter passed to the right function"},
      {"äö😀  ", "LEN(T)", "3"},
      {nullptr, "SUBSTRING(T, 1, 1)", "NULL"},
      {nullptr, "RIGHT(T, 1)", "NULL"},
  });
}

TEST_F(FunctionAnswers, TextsAreFoundAsTheStoreComparesThem) {
  expect({
      {"Bolt bolt", "CHARINDEX('BOLT', T)", "1"},
      {"Bolt bolt", "CHARINDEX('BOLT', T, 2)", "6"},
      {"Bolt bolt", "CHARINDEX('BOLT', T, -5)", "1"},
      {"Bolt bolt", "CHARINDEX('BOLT', T, 99)", "0"},
      {"Bolt", "CHARINDEX('', T)", "0"},
      {"a b", "CHARINDEX('a ', T)", "1"},
      {"ab", "CHARINDEX('b ', T)", "0"},
      {"xΑΣ", "CHARINDEX(N'ας', T)", "2"},
      {"cafe\u0301", "CHARINDEX(N'é', T)", "0"},
      {"café", "CHARINDEX(N'E\u0301', T)", "4"},
      {"muller", "CHARINDEX(N'ü', T)", "0"},
      {"a\u200Bb", "CHARINDEX('ab', T)", "0"},
      {"aAbA", "REPLACE(T, 'a', 'xy')", "xyxybxy"},
      {"Größe GRÖßE größe", "REPLACE(T, N'größe', 'x')", "x x x"},
      {"abc", "REPLACE(T, '', 'x')", "abc"},
      {"aaa", "REPLACE(T, 'aa', '')", "a"},
      {"a.b$c\\", "REPLACE(T, '.', '\\1&')", "a\\1&b$c\\"},
      {nullptr, "CHARINDEX('a', T)", "NULL"},
      {"abc", "REPLACE(T, NULL, 'x')", "NULL"},
  });
}

TEST_F(FunctionAnswers, HalvesAreRoundedAwayFromZero) {
  expect({
      {"2.675", "ROUND(CAST(T AS float), 2)", "2.68"},
      {"-2.5", "ROUND(CAST(T AS float), 0)", "-3"},
      {"0.49999999999999994", "ROUND(CAST(T AS float), 0)", "1"},
      {"0.4999999999999", "ROUND(CAST(T AS float), 0)", "0"},
      {"-0.3", "ROUND(CAST(T AS float), 0)", "0"},
      {"1250", "ROUND(CAST(T AS float), -2)", "1300"},
      {"49", "ROUND(CAST(T AS float), -2)", "0"},
      {"0.4", "ROUND(CAST(T AS float), -2)", "0"},
      {"1.23456", "ROUND(CAST(T AS float), 99)", "1.23456"},
      {"1e20", "ROUND(CAST(T AS float), -3)", "1E+20"},
      {"1e300", "ROUND(CAST(T AS float), 15)", "1E+300"},
      {nullptr, "ROUND(M, 2)", "1234.57"},
      {nullptr, "ROUND(CAST(T AS float), 2)", "NULL"},
  });
}

// A pattern that is no literal is the store's own to read.
TEST_F(FunctionAnswers, LikeReadsPatternsFromColumns) {
  constexpr const char* kBoltIsLikeIt = "CASE WHEN N'Bölt M8' LIKE T THEN 1 ELSE 0 END";
  constexpr const char* kSignsAreLikeIt = "CASE WHEN 'a*.b%' LIKE T THEN 1 ELSE 0 END";
  expect({
      {"b_LT%", kBoltIsLikeIt, "1"},
      {"bO\u0308lt%", kBoltIsLikeIt, "1"},
      {"bo%", kBoltIsLikeIt, "0"},
      {"%[m-o][0-8]", kBoltIsLikeIt, "1"},
      {"%[n-o][0-8]", kBoltIsLikeIt, "0"},
      {"b[o-p]lt%", kBoltIsLikeIt, "1"},
      {"b[^o]lt%", kBoltIsLikeIt, "1"},
      {"b[^Ö]lt%", kBoltIsLikeIt, "0"},
      {"%[^]", kBoltIsLikeIt, "1"},
      {"%[]", kBoltIsLikeIt, "0"},
      {"%[8", kBoltIsLikeIt, "0"},
      {"Bölt M8 ", kBoltIsLikeIt, "0"},
      {"a*.b[%]", kSignsAreLikeIt, "1"},
      {"a[*][.]b_", kSignsAreLikeIt, "1"},
      {"a[*-z].%", kSignsAreLikeIt, "1"},
      {"a*.b", kSignsAreLikeIt, "0"},
      {"a..b%", kSignsAreLikeIt, "0"},
      {"a*.b!%", "CASE WHEN 'a*.b%' LIKE T ESCAPE '!' THEN 1 ELSE 0 END", "1"},
      {"a*.b!%", "CASE WHEN 'a*.bx' LIKE T ESCAPE '!' THEN 1 ELSE 0 END", "0"},
      {"x", "CASE WHEN 'x' LIKE T ESCAPE 'ab' THEN 1 ELSE 0 END",
       "The invalid escape character \"ab\" was specified in a LIKE predicate"},
      {nullptr, kBoltIsLikeIt, "0"},
  });
}

}  // namespace
}  // namespace mercato::store::test
