// SPDX-License-Identifier: Apache-2.0
// Patterns on a table with a text index find what reading finds: random tables of odd texts and random conditions, on a
// table with an index and on its twin without one.
//
// A few seconds of it, or as many pairs of a row and a condition as MERCATO_TEST_PAIRS says (random_rounds.h for the rest).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "platform/store/known_drivers.h"
#include "tests/platform/store/store_files.h"
#include "tests/support/hostile_texts.h"
#include "tests/support/random_rounds.h"
#include "values/text.h"

namespace mercato::store::test {
namespace {

using mercato::test::hostile_texts;
using mercato::test::RandomRounds;

// What texts and patterns are made of: few letters, so that they meet; signs that mean something to LIKE or to the query
// language of an index; letters that fold or compose in odd ways; bytes that are no characters.
const std::vector<std::string>& pieces(bool any_bytes) {
  static const std::vector<std::string> characters = {"a",
                                                      "b",
                                                      "c",
                                                      "A",
                                                      "B",
                                                      "1",
                                                      "2",
                                                      "12",
                                                      "abc",
                                                      "KT",
                                                      "INS",
                                                      "res",
                                                      " ",
                                                      "  ",
                                                      "-",
                                                      ".",
                                                      "/",
                                                      ",",
                                                      "%",
                                                      "_",
                                                      "[",
                                                      "]",
                                                      "^",
                                                      "!",
                                                      "'",
                                                      "\"",
                                                      "*",
                                                      "(",
                                                      ")",
                                                      ":",
                                                      "\\",
                                                      "+",
                                                      "{",
                                                      "}",
                                                      " AND ",
                                                      " OR ",
                                                      " NOT ",
                                                      "NEAR(",
                                                      "\t",
                                                      "\n",
                                                      "i",
                                                      "I",
                                                      "s",
                                                      "k",
                                                      "e",
                                                      "\xC3\xA9",
                                                      "e\xCC\x81",
                                                      "\xC3\x89",
                                                      "\xC3\xA4",
                                                      "a\xCC\x88",
                                                      "A\xCC\x8A",
                                                      "\xE2\x84\xAB",
                                                      "\xC3\x85",
                                                      "\xC3\x9F",
                                                      "ss",
                                                      "\xC5\xBF",
                                                      "\xC4\xB0",
                                                      "\xC4\xB1",
                                                      "i\xCC\x87",
                                                      "\xE2\x84\xA6",
                                                      "\xCF\x89",
                                                      "\xE2\x84\xAA",
                                                      "\xE2\x84\x83",
                                                      "\xCC\x81",
                                                      "\xCC\xA3",
                                                      "\xCD\x85",
                                                      "\xEF\xAC\x81",
                                                      "\xE2\x80\x8D",
                                                      "\xC2\xAD",
                                                      "\xC2\xA0",
                                                      "\xE2\x80\x99",
                                                      "\xF0\x9F\x98\x80",
                                                      "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xA7",
                                                      "\xE1\x84\x80\xE1\x85\xA1",
                                                      "\xEA\xB0\x80",
                                                      "\xE6\xBC\xA2",
                                                      "\xE5\xAD\x97"};
  static const std::vector<std::string> bytes = [] {
    std::vector<std::string> all = characters;
    for (const char* const stray : {"\xFF", "\xE2", "\x84", "\x83", "\xC3", "\xA9", "\x80"}) all.emplace_back(stray);
    all.emplace_back(1, '\0');
    return all;
  }();
  return any_bytes ? bytes : characters;
}

class TextSearches : public testing::Test {
 protected:
  void SetUp() override {
    session_ = driver_for(connection_string()).open(connection_string());
    any_bytes_ = stores_.store().file().has_value();
  }
  const std::string& connection_string() { return stores_.store().connection_string(); }

  unsigned below(unsigned limit) { return rounds_.below(limit); }
  template <class T>
  const T& one_of(const std::vector<T>& all) {
    return all[below(static_cast<unsigned>(all.size()))];
  }

  std::string random_text() {
    if (below(30) == 0) {
      const std::string& hostile = one_of(hostile_texts());
      if (hostile.size() < 200 && (any_bytes_ || (text::is_valid(hostile) && hostile.find('\0') == std::string::npos)))
        return hostile;
    }
    std::string text;
    const unsigned count = below(10) == 0 ? below(100) : below(14);
    for (unsigned i = 0; i < count; ++i) text += one_of(pieces(any_bytes_));
    return std::string(text::left(text, 300));
  }
  Variant random_value() { return below(12) == 0 ? kNull : Variant(random_text()); }

  // A piece of a text that is there, or another one.
  std::string random_piece() {
    if (below(4) == 0 || texts_.empty()) return random_text();
    const std::string& text = one_of(texts_);
    const std::string_view rest = std::string_view(text).substr(text::left(text, below(20)).size());
    return std::string(text::left(rest, 2 + below(10)));
  }

  // As a literal; `escape`: the signs with a meaning are written as themselves.
  std::string random_pattern(bool& escape) {
    std::string pattern;
    escape = below(8) == 0;
    const unsigned count = 1 + below(10) / 8;
    if (below(10) > 0) pattern += '%';
    for (unsigned i = 0; i < count; ++i) {
      std::string piece = random_piece();
      if (below(3) == 0) piece = below(2) == 0 ? text::to_upper(piece) : text::to_lower(piece);
      if (escape)
        for (const char* const sign : {"!", "%", "_", "["})
          piece = text::replace_all(piece, sign, std::string("!") + sign);
      if (!escape && below(3) == 0 && piece.size() > 3) {
        static const std::vector<std::string> kInstead = {"_",
                                                          "%",
                                                          "[a-c]",
                                                          "[^a]",
                                                          "[1]",
                                                          "[-]",
                                                          "[",
                                                          "[]",
                                                          "[\xC3\xA9"
                                                          "e]"};
        piece.replace(below(static_cast<unsigned>(piece.size())), 1, one_of(kInstead));
        if (!any_bytes_ && !text::is_valid(piece)) piece = one_of(kInstead);
      }
      pattern += piece;
      if (i + 1 < count || below(10) > 0) pattern += '%';
    }
    return "'" + text::replace_all(pattern, "'", "''") + "'";
  }

  std::string random_like() {
    static const std::vector<std::string> kColumns = {"T.A", "T.A", "T.B", "T.B", "T.C", "T.D"};
    bool escape = false;
    const std::string pattern = random_pattern(escape);
    return one_of(kColumns) + (below(15) == 0 ? " NOT LIKE " : " LIKE ") + pattern + (escape ? " ESCAPE '!'" : "");
  }

  std::string random_condition(unsigned depth) {
    switch (depth == 0 ? 0 : below(9)) {
      case 1:
      case 2:
        return "(" + random_condition(depth - 1) + " OR " + random_condition(depth - 1) + ")";
      case 3:
        return random_condition(depth - 1) + " AND " + random_condition(depth - 1);
      case 4: {
        // The same pattern in several columns, as the library asks.
        bool escape = false;
        const std::string pattern = random_pattern(escape);
        const std::string end = " LIKE " + pattern + (escape ? " ESCAPE '!'" : "");
        return "(T.A" + end + " OR T.B" + end + " OR T.C" + end + ")";
      }
      case 5:
        return below(3) == 0 ? "NOT (" + random_condition(depth - 1) + ")" : random_condition(depth - 1);
      case 6:
        return "T.N < " + std::to_string(below(10)) + " AND " + random_condition(depth - 1);
      default:
        return random_like();
    }
  }

  // What the query finds on one of the twins, in an order of its own; or how it fails.
  std::vector<std::string> answer(const std::string& table, const std::string& query) {
    std::vector<std::string> lines;
    try {
      for (const auto& row : rows_of(*run(*session_, text::replace_all(query, "{T}", table)).cursor)) {
        std::string& line = lines.emplace_back();
        for (const Variant& value : row) line += (value.is_null() ? "Null" : "'" + value.to_text() + "'") + "|";
      }
    } catch (const Raised& failed) {
      lines.assign(1, "fails: " + failed.error().Description);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  void expect_the_same(const std::string& query) {
    pairs_ += next_key_;
    EXPECT_EQ(answer("PART", query), answer("BARE", query)) << query;
  }

  void compare(const std::string& condition) {
    static const std::vector<std::string> kQueries = {
        "SELECT T.K FROM {T} T WHERE #",
        "SELECT T.K FROM {T} T WHERE #",
        "SELECT * FROM {T} T WHERE #",
        "SELECT COUNT(*) FROM {T} T WHERE #",
        "SELECT COUNT(DISTINCT T.A) FROM {T} T WHERE #",
        "SELECT DISTINCT T.N FROM {T} T WHERE #",
        "SELECT TOP 5 T.K FROM {T} T WHERE # ORDER BY T.K",
        "SELECT T.N, COUNT(*) FROM {T} T WHERE # GROUP BY T.N",
        "SELECT T.K, L.M FROM LINK L INNER JOIN {T} T ON L.K = T.K WHERE # AND L.M < 3",
        "SELECT COUNT(DISTINCT L.K) FROM LINK L INNER JOIN {T} T ON L.K = T.K WHERE #",
        "SELECT T.K, L.M FROM {T} T LEFT JOIN LINK L ON L.K = T.K WHERE #",
        "SELECT L.K, T.A FROM LINK L LEFT JOIN {T} T ON L.K = T.K WHERE #",
        "SELECT L.K, T.A FROM LINK L LEFT JOIN {T} T ON L.K = T.K AND # WHERE L.M = 1",
        "SELECT L.K FROM LINK L WHERE L.K IN (SELECT T.K FROM {T} T WHERE #)",
        "SELECT L.K FROM LINK L WHERE EXISTS (SELECT 1 FROM {T} T WHERE T.K = L.K AND #)",
        "SELECT T.K FROM {T} T WHERE # UNION ALL SELECT L.K FROM LINK L INNER JOIN {T} T ON T.K = L.K WHERE #",
        "SELECT O.K FROM (SELECT T.K FROM {T} T WHERE #) O WHERE O.K > 100",
        "SELECT O.K FROM {T} O INNER JOIN {T} T ON O.N = T.N WHERE O.K < 5 AND #",
    };
    const std::string query = text::replace_all(one_of(kQueries), "#", condition);
    expect_the_same(query);
    if (below(20) > 0) return;
    // Any of the rows will do, if there are enough.
    const std::string some = "SELECT TOP 3 T.K FROM {T} T WHERE " + condition;
    const auto all = answer("BARE", "SELECT T.K FROM {T} T WHERE " + condition), found = answer("PART", some);
    EXPECT_EQ(found.size(), std::min<std::size_t>(all.size(), 3)) << some;
    for (const std::string& row : found) EXPECT_NE(std::ranges::find(all, row), all.end()) << row << "\n" << some;
  }

  void execute(const std::string& statement) { run(*session_, statement); }
  void on_both(const std::string& statement) {
    for (const char* const table : {"PART", "BARE"}) execute(text::replace_all(statement, "{T}", table));
  }
  void fails_on_both(const std::string& statement) {
    for (const char* const table : {"PART", "BARE"})
      EXPECT_EQ(failure_of([&] { execute(text::replace_all(statement, "{T}", table)); }).Number,
                error_number::kConstraintViolated);
  }

  void insert_row() {
    const std::vector<Variant> values = {next_key_++,    static_cast<std::int32_t>(below(10)),
                                         random_value(), random_value(),
                                         random_value(), random_value()};
    for (std::size_t i = 2; i < values.size(); ++i)
      if (values[i].is_text() && texts_.size() < 3000) texts_.push_back(values[i].text_value());
    const std::size_t columns[] = {1, 2, 3, 4, 5, 6};
    for (const char* const table : {"PART", "BARE"})
      session_->insert_row(TableInfo(*session_->table(table)), columns, values);
  }

  void change_something() {
    const std::string key = std::to_string(below(static_cast<unsigned>(next_key_)));
    const std::string text = "'" + text::replace_all(random_text(), "'", "''") + "'";
    switch (below(9)) {
      case 0:
        return on_both("DELETE FROM {T} WHERE K = " + key);
      case 1:
        return on_both("UPDATE {T} SET A = " + text + " WHERE K = " + key);
      case 2:
        return on_both("UPDATE {T} SET B = C, C = B, N = 4 WHERE N = 3");
      case 3:
        session_->start_transaction();
        on_both("UPDATE {T} SET A = " + text + ", B = NULL WHERE N = 5");
        on_both("DELETE FROM {T} WHERE N = 6");
        insert_row();
        compare(random_condition(2));
        return below(2) == 0 ? session_->rollback() : session_->commit();
      case 4:
        // Stops in the middle of its rows, alone and in a transaction.
        if (below(2) == 0) session_->start_transaction();
        fails_on_both("UPDATE {T} SET A = B + 'x', K = -1 WHERE N > 1");
        on_both("UPDATE {T} SET N = 1 WHERE K = " + key);
        return session_->commit();
      case 5:
        return on_both("UPDATE {T} SET C = C + '-' WHERE N = 2 AND LEN(C) < 100");
      default:
        return insert_row();
    }
  }

  // Twins with the same rows. One gets its index when it has rows; more follow.
  void make_tables() {
    for (const char* const table : {"PART", "BARE", "LINK"})
      if (session_->table(table)) execute(std::string("DROP TABLE ") + table);
    on_both(
        "CREATE TABLE {T} (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, K int NOT NULL UNIQUE, N int NULL, "
        "A nvarchar(400) NULL, B ntext NULL, C nvarchar(400) NULL, D ntext NULL)");
    execute("CREATE TABLE LINK (K int NOT NULL, M int NOT NULL, PRIMARY KEY (K, M))");
    texts_.clear();
    next_key_ = 0;
    session_->start_transaction();
    const unsigned rows = 500 + below(700), before = below(rows);
    for (unsigned i = 0; i < before; ++i) insert_row();
    execute("CREATE FULLTEXT INDEX ON PART (A, C, B)");
    for (unsigned i = before; i < rows; ++i) insert_row();
    for (unsigned i = 0; i < 60; ++i)
      execute("INSERT INTO LINK VALUES (" + std::to_string(i * 7) + ", " + std::to_string(i % 4) + ")");
    session_->commit();
  }

  Stores stores_;
  std::unique_ptr<Session> session_;
  RandomRounds rounds_{3};
  bool any_bytes_ = false;
  std::vector<std::string> texts_;
  std::int32_t next_key_ = 0;
  long pairs_ = 0;
};

TEST_F(TextSearches, FindWhatReadingFinds) {
  const char* const given = std::getenv("MERCATO_TEST_PAIRS");
  const long wanted = given ? std::atol(given) : 0;
  const auto goes_on = [&] { return (wanted > 0 ? pairs_ < wanted : rounds_.next()) && !HasFailure(); };
  long conditions = 0;
  while (goes_on()) {
    make_tables();
    for (int i = 0; i < 200 && goes_on(); ++i, ++conditions) {
      if (below(4) == 0) change_something();
      compare(random_condition(3));
    }
  }
  std::cout << "[  pairs   ] " << pairs_ << " of a row and a condition, of which there were " << conditions
            << std::endl;
}

}  // namespace
}  // namespace mercato::store::test
