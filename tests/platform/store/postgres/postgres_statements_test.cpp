// SPDX-License-Identifier: Apache-2.0
// Every statement that the dialect takes and SQLite prepares is also taken by a server: all of the library's, all that
// stand in the tests of the dialect, and random ones.
#include <cctype>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "mercato/table_creation.h"
#include "tests/platform/store/dialect_store.h"
#include "tests/platform/store/library_statements.h"
#include "tests/platform/store/postgres/dialect_on_server.h"
#include "tests/platform/store/postgres/own_cluster.h"
#include "tests/support/random_rounds.h"

namespace mercato::store::postgres::test {
namespace {

constexpr const char* kTables[] = {
    ("CREATE TABLE PART (ID int NOT NULL PRIMARY KEY, Name nvarchar(50) NULL, CODE nvarchar(20) NULL, QTY float NULL, "
     "PRICE money NULL, SINCE datetime NULL, ACTIVE bit NULL, KIND smallint NULL)"),
    "CREATE TABLE KINDS (KIND smallint NOT NULL PRIMARY KEY, LABEL nvarchar(20) NULL, \"ORDER\" int NULL)",
    "CREATE TABLE NOTES (ID int IDENTITY(1,1) NOT NULL PRIMARY KEY, TEXT ntext NULL)",
    "CREATE TABLE LOOSE (A nvarchar(10) NULL, N int NULL)",
};

class PostgresStatements : public OwnClusterTest {
 protected:
  void make_tables() {
    const auto session = open();
    for (const char* const table : kTables) {
      run(*session, table);
      sqlite_.run(table);
    }
    server_.emplace(store());
  }

  // Tries a statement that is no definition: what SQLite takes has to be taken by the server. False when it does not.
  bool try_statement(const std::string& statement) {
    try {
      if (sqlite_.kind_of(statement) == dialect::StatementKind::definition) return false;
    } catch (const Raised&) {
      return false;
    }
    std::string refusal;
    try {
      refusal = server_->refusal_of(statement);
    } catch (const Raised& raised) {
      refusal = "refused by the translation: " + raised.error().Description;
    }
    // One statement for each kind of refusal tells enough.
    if (!refusal.empty()) refusals_.emplace(refusal.substr(0, 40), statement + "\n" + refusal);
    return true;
  }
  void expect_no_refusals() const {
    for (const auto& [kind, refusal] : refusals_) ADD_FAILURE() << refusal;
  }

  std::map<std::string, std::string> refusals_;
  dialect::test::DialectStore sqlite_;
  std::optional<DialectOnServer> server_;
};

TEST_F(PostgresStatements, OfTheLibraryAreTaken) {
  create_tables(store());
  server_.emplace(store());
  for (const char* const statement : dialect::test::kLibraryStatements)
    EXPECT_EQ(server_->refusal_of(statement), "") << statement;
}

// All texts in quotes of a source, neighbours joined.
std::vector<std::string> literals_of(const std::filesystem::path& source) {
  std::ifstream file(source);
  const std::string code{std::istreambuf_iterator<char>(file), {}};
  std::vector<std::string> literals;
  bool joins = false;
  // The end of a quoted piece that begins there; what is in it is added to `into`.
  const auto end_of = [&code](std::size_t at, std::string& into) {
    for (const char quote = code[at++]; at < code.size() && code[at] != quote; ++at) {
      if (code[at] == '\\') ++at;
      into += code[at];
    }
    return at;
  };
  for (std::size_t at = 0; at < code.size(); ++at) {
    std::string character;
    if (code.compare(at, 2, "//") == 0) {
      at = std::min(code.find('\n', at), code.size());
    } else if (code[at] == '\'') {
      at = end_of(at, character);
      joins = false;
    } else if (code[at] == '"') {
      if (!joins) literals.emplace_back();
      at = end_of(at, literals.back());
      joins = true;
    } else if (code[at] != ' ' && code[at] != '\n') {
      joins = false;
    }
  }
  return literals;
}

TEST_F(PostgresStatements, OfTheTestsOfTheDialectAreTaken) {
  make_tables();
  int taken = 0;
  for (const auto& entry : std::filesystem::directory_iterator(MERCATO_SOURCE_DIR "/tests/platform/store")) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(".cpp") || !(name.starts_with("dialect_") || name.starts_with("function_answers"))) continue;
    for (const std::string& literal : literals_of(entry.path())) {
      // As a statement, a value, a condition.
      for (const std::string& statement :
           {literal, "SELECT " + literal, "SELECT " + literal + " FROM PART", "SELECT ID FROM PART WHERE " + literal})
        if (try_statement(statement)) ++taken;
    }
  }
  expect_no_refusals();
  EXPECT_GT(taken, 1500) << "the tests have far more statements than that";
}

// Statements at random, of all that the grammar has; most of them mean something.
class RandomStatement {
 public:
  explicit RandomStatement(mercato::test::RandomRounds& random) : random_(random) {}

  std::string make() {
    switch (random_.below(12)) {
      case 0:
        return "UPDATE PART SET " + column() + " = " + expression(2) + where(2);
      case 1:
        return "DELETE FROM PART" + where(3);
      case 2:
        return "INSERT INTO PART (ID, " + column() + ") VALUES (" + number(1) + ", " + expression(2) + ")";
      case 3:
        return "INSERT INTO LOOSE (A, N) " + select(alike());
      case 4:
        return united();
      case 5:
      case 6:
        return grouped();
      default:
        return select(list(3, 1 + random_.below(3))) + order();
    }
  }

 private:
  bool one_in(unsigned n) { return random_.below(n) == 0; }
  template <std::size_t N>
  std::string one_of(const char* const (&choices)[N]) {
    return choices[random_.below(N)];
  }

  std::string column() { return one_of({"ID", "Name", "CODE", "QTY", "PRICE", "SINCE", "ACTIVE", "KIND"}); }
  std::string qualified() { return one_in(4) ? "P." + column() : column(); }
  std::string literal() {
    return one_of({"NULL", "1", "0", "-7", "2.5", "1e3", "'bolt'", "N'Bölt  '", "''", "'12'", "'0.5'", "'7/1/2026'",
                   "'2026-07-01T08:30:00'", "'x''y'", "'50%'", "'True'"});
  }

  std::string number(unsigned depth) {
    if (depth == 0) return one_of({"ID", "QTY", "PRICE", "KIND", "ACTIVE", "1", "2.5", "-3", "NULL", "'4'"});
    switch (random_.below(9)) {
      case 0:
        return "(" + number(depth - 1) + one_of({" + ", " - ", " * ", " / ", " % "}) + number(depth - 1) + ")";
      case 1:
        return "LEN(" + text(depth - 1) + ")";
      case 2:
        return "CHARINDEX(" + text(depth - 1) + ", " + text(depth - 1) + ")";
      case 3:
        return "DATEDIFF(" + one_of({"day", "mm", "year", "hh"}) + ", " + date(depth - 1) + ", " + date(depth - 1) +
               ")";
      case 4:
        return "ISNULL(" + number(depth - 1) + ", " + number(depth - 1) + ")";
      case 5:
        return "CAST(" + expression(depth - 1) + " AS " +
               one_of({"int", "smallint", "float", "money", "bit", "decimal(10,2)"}) + ")";
      case 6:
        return one_of({"ROUND(", "ABS("}) + number(depth - 1) + (one_in(2) ? ", 1)" : ")");
      case 7:
        return "-" + number(depth - 1);
      default:
        return number(0);
    }
  }
  std::string text(unsigned depth) {
    if (depth == 0) return one_of({"Name", "CODE", "'bolt'", "N'ab'", "''", "NULL", "P.Name"});
    switch (random_.below(8)) {
      case 0:
        return "(" + text(depth - 1) + " + " + text(depth - 1) + ")";
      case 1:
        return one_of({"UPPER(", "LOWER(", "LTRIM(", "RTRIM("}) + text(depth - 1) + ")";
      case 2:
        return "SUBSTRING(" + text(depth - 1) + ", " + number(depth - 1) + ", " + number(depth - 1) + ")";
      case 3:
        return "CONVERT(nvarchar(20), " + expression(depth - 1) + (one_in(2) ? ", 120)" : ")");
      case 4:
        return "COALESCE(" + text(depth - 1) + ", " + text(depth - 1) + ", " + text(depth - 1) + ")";
      case 5:
        return "REPLACE(" + text(depth - 1) + ", " + text(depth - 1) + ", " + text(depth - 1) + ")";
      case 6:
        return one_of({"LEFT(", "RIGHT("}) + text(depth - 1) + ", " + number(depth - 1) + ")";
      default:
        return text(0);
    }
  }
  std::string date(unsigned depth) {
    if (depth == 0) return one_of({"SINCE", "'7/1/2026'", "GETDATE()", "NULL", "P.SINCE"});
    switch (random_.below(4)) {
      case 0:
        return "DATEADD(" + one_of({"dd", "month", "yy", "minute"}) + ", " + number(depth - 1) + ", " +
               date(depth - 1) + ")";
      case 1:
        return "CAST(" + expression(depth - 1) + " AS datetime)";
      case 2:
        return "ISNULL(" + date(depth - 1) + ", " + date(depth - 1) + ")";
      default:
        return date(0);
    }
  }
  std::string expression(unsigned depth) {
    if (depth == 0) return one_in(2) ? qualified() : literal();
    switch (random_.below(10)) {
      case 0:
        return "CASE WHEN " + condition(depth - 1) + " THEN " + expression(depth - 1) +
               (one_in(2) ? " ELSE " + expression(depth - 1) : "") + " END";
      case 1:
        return "CASE " + expression(depth - 1) + " WHEN " + expression(depth - 1) + " THEN " + expression(depth - 1) +
               " END";
      case 2:
        return one_of({"ISNULL(", "COALESCE(", "NULLIF("}) + expression(depth - 1) + ", " + expression(depth - 1) + ")";
      case 3:
        return "(" + expression(depth - 1) + one_of({" + ", " - ", " * "}) + expression(depth - 1) + ")";
      case 4:
        return "(SELECT " + one_of({"MAX(", "MIN(", "COUNT("}) + one_of({"LABEL", "K.KIND", "\"ORDER\""}) +
               ") FROM KINDS K" + (one_in(2) ? " WHERE K.KIND = P.KIND)" : ")");
      case 5:
        return date(depth);
      case 6:
        return text(depth);
      case 7:
        return number(depth);
      default:
        return expression(0);
    }
  }
  std::string condition(unsigned depth) {
    if (depth == 0) return expression(0) + comparison() + expression(0);
    switch (random_.below(11)) {
      case 0:
        return "(" + condition(depth - 1) + one_of({" AND ", " OR "}) + condition(depth - 1) + ")";
      case 1:
        return "NOT " + condition(depth - 1);
      case 2:
        return text(depth - 1) + one_of({" LIKE ", " NOT LIKE "}) +
               one_of({"'b%'", "'%o_t%'", "'[a-c]%'", "'50!%' ESCAPE '!'", "Name", "N'Ä%'", "''", "NULL"});
      case 3:
        return expression(depth - 1) + (one_in(2) ? " IN (" : " NOT IN (") + expression(depth - 1) + ", " +
               expression(0) + ", " + literal() + ")";
      case 4:
        return expression(depth - 1) + one_of({" IN (SELECT LABEL FROM KINDS)", " IN (SELECT KIND FROM KINDS)",
                                               " NOT IN (SELECT DISTINCT LABEL FROM KINDS WHERE KINDS.KIND > 1)"});
      case 5:
        return expression(depth - 1) + " BETWEEN " + expression(depth - 1) + " AND " + expression(0);
      case 6:
        return expression(depth - 1) + one_of({" IS NULL", " IS NOT NULL"});
      case 7:
        return "EXISTS (SELECT * FROM KINDS K WHERE K.KIND = P.KIND" +
               std::string(one_in(2) ? " AND LABEL = Name)" : ")");
      default:
        return expression(depth - 1) + comparison() + expression(depth - 1);
    }
  }
  std::string comparison() { return one_of({" = ", " <> ", " < ", " >= ", " > ", " <= "}); }
  std::string where(unsigned depth) {
    // The table of a change has no other name.
    if (one_in(5)) return {};
    std::string made = " WHERE " + condition(depth);
    for (std::size_t at = 0; (at = made.find("P.", at)) != std::string::npos;) made.replace(at, 2, "PART.");
    return made;
  }
  std::string list(unsigned depth, unsigned columns) {
    std::string made;
    for (unsigned i = 0; i < columns; ++i) made += (i > 0 ? ", " : "") + expression(depth);
    return made;
  }
  // Of any types: the queries are joined by the higher one of each column.
  std::string united() {
    const unsigned columns = 1 + random_.below(2);
    std::string made = select(list(2, columns));
    for (unsigned more = 1 + random_.below(3); more > 0; --more)
      made += (one_in(2) ? " UNION " : " UNION ALL ") + select(list(2, columns));
    return made + (one_in(3) ? " ORDER BY 1" : "");
  }
  // A text and a number.
  std::string alike() { return "('x' + " + text(2) + "), (1 + " + number(2) + ")"; }
  std::string select(const std::string& list) {
    const std::string from =
        one_of({" FROM PART P", " FROM PART P", " FROM PART P INNER JOIN KINDS ON P.KIND = KINDS.KIND",
                " FROM PART P LEFT JOIN KINDS L ON L.LABEL = P.Name"});
    std::string made = "SELECT " + one_of({"", "", "DISTINCT ", "TOP 3 ", "DISTINCT TOP 2 "}) + list + from;
    if (!one_in(3)) made += " WHERE " + condition(3);
    return made;
  }
  std::string order() {
    switch (random_.below(5)) {
      case 0:
        return " ORDER BY 1 DESC";
      case 1:
        return " ORDER BY " + qualified();
      case 2:
        return " ORDER BY " + expression(1) + " DESC, P.ID";
      default:
        return {};
    }
  }
  std::string grouped() {
    // The server whose dialect it is groups by no subquery.
    const std::string key = one_in(3) ? one_in(2) ? text(1) : number(1) : qualified();
    const std::string second = qualified();
    const bool two = one_in(3);
    const std::string aggregate = one_of({"COUNT(", "COUNT(DISTINCT ", "MAX(", "MIN(", "SUM(", "AVG("}) +
                                  (one_in(4) ? "(1 + " + number(1) + ")" : qualified()) + ")";
    std::string made = "SELECT " + one_of({"", "", "TOP 5 ", "DISTINCT "}) + key + ", " + (two ? second + ", " : "") +
                       aggregate + " AS N FROM PART P" + (one_in(2) ? " WHERE " + condition(2) : "") + " GROUP BY " +
                       key + (two ? ", " + second : "");
    if (one_in(3)) made += " HAVING " + (one_in(2) ? "COUNT(*) > 1" : key + comparison() + literal());
    if (one_in(3)) made += one_of({" ORDER BY 1", " ORDER BY COUNT(*) DESC", " ORDER BY N"});
    return made;
  }

  mercato::test::RandomRounds& random_;
};

// The statements of the tests and of the library, each as its tokens.
std::vector<std::vector<std::string>> known_statements() {
  std::vector<std::vector<std::string>> statements;
  const auto add = [&statements](const std::string& statement) {
    dialect::LexedStatement lexed;
    try {
      dialect::lex(statement, lexed);
    } catch (const Raised&) {
      return;
    }
    std::vector<std::string>& tokens = statements.emplace_back();
    for (const dialect::Token& token : lexed.tokens)
      if (token.end > token.begin) tokens.push_back(statement.substr(token.begin, token.end - token.begin));
    if (tokens.size() < 3) statements.pop_back();
  };
  for (const char* const statement : dialect::test::kLibraryStatements) add(statement);
  for (const char* const source :
       {"dialect_translator_test.cpp", "dialect_statements_test.cpp", "dialect_tree_test.cpp"})
    for (const std::string& literal : literals_of(std::string(MERCATO_SOURCE_DIR "/tests/platform/store/") + source))
      if (literal.find("PART") != std::string::npos) add(literal);
  return statements;
}

// A word, a number, a text, a sign.
char kind_of(const std::string& token) {
  const char first = token.front();
  return std::isalpha(static_cast<unsigned char>(first))   ? 'a'
         : std::isdigit(static_cast<unsigned char>(first)) ? '0'
         : first == '\''                                   ? first
                                                           : '+';
}

// What nobody would write: pieces of statements one behind the other, tokens that are lost, doubled or exchanged.
TEST_F(PostgresStatements, OfPiecesOfOthersAreTaken) {
  make_tables();
  const std::vector<std::vector<std::string>> known = known_statements();
  ASSERT_GT(known.size(), 300u);
  mercato::test::RandomRounds rounds(3);
  const auto any = [&rounds](const auto& all) -> const auto& {
    return all[rounds.below(static_cast<unsigned>(all.size()))];
  };
  int taken = 0;
  while (rounds.next())
    for (int i = 0; i < 200; ++i) {
      std::vector<std::string> tokens = any(known);
      for (unsigned changes = 1 + rounds.below(2); changes > 0; --changes) {
        const std::vector<std::string>& other = any(known);
        const auto at = tokens.begin() + rounds.below(static_cast<unsigned>(tokens.size()));
        const auto from = other.begin() + rounds.below(static_cast<unsigned>(other.size()));
        switch (rounds.below(6)) {
          default: {
            const auto alike = std::find_if(from, other.end(),
                                            [&](const std::string& token) { return kind_of(token) == kind_of(*at); });
            if (alike != other.end()) *at = *alike;
            break;
          }
          case 1:
            tokens.insert(at, from, from + std::min<std::ptrdiff_t>(other.end() - from, 1 + rounds.below(4)));
            break;
          case 2:
            if (tokens.size() > 1) tokens.erase(at);
            break;
          case 3:
            tokens.erase(at, tokens.end());
            tokens.insert(tokens.end(), from, other.end());
            break;
        }
      }
      std::string statement;
      for (const std::string& token : tokens) statement += token + " ";
      if (try_statement(statement)) ++taken;
    }
  expect_no_refusals();
  std::cout << "[  taken   ] " << taken << " of " << rounds.round() * 200 << std::endl;
  EXPECT_GT(taken, rounds.round()) << "nearly all are refused: the test tries too little";
}

TEST_F(PostgresStatements, AtRandomAreTaken) {
  make_tables();
  mercato::test::RandomRounds rounds(5);
  RandomStatement random(rounds);
  int taken = 0;
  while (rounds.next())
    for (int i = 0; i < 100; ++i)
      if (try_statement(random.make())) ++taken;
  expect_no_refusals();
  std::cout << "[  taken   ] " << taken << " of " << rounds.round() * 100 << std::endl;
  EXPECT_GT(taken, rounds.round() * 30) << "most are refused: the test tries too little";
}

}  // namespace
}  // namespace mercato::store::postgres::test
