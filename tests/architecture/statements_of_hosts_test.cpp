// SPDX-License-Identifier: Apache-2.0
// Hosts ask the library: they have no statement of their own. Read from the sources themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace mercato::test {
namespace {

const std::vector<std::string>& hosts() {
  static const std::vector<std::string> places = {
      "server",
      "tools",
      "host",
  };
  return places;
}

// They run the statements of their user: the command and the gateway's method `execute`.
const std::set<std::string>& runners() {
  static const std::set<std::string> files = {"tools/cli/store/execute_command.cpp", "tools/gateway/object_calls.cpp"};
  return files;
}

// The source without its comments. What looks like a comment within a literal is none.
std::string without_comments(const std::string& source) {
  static const std::regex literal_or_comment(R"re(("(?:[^"\\\n]|\\.)*"|'(?:[^'\\\n]|\\.)*')|//[^\n]*)re");
  return std::regex_replace(source, literal_or_comment, "$1");
}

// A literal that begins as a statement does, or the type of which every statement is made.
bool has_statement(const std::string& source) {
  // Told from a sentence such as "Delete a unit" by the word behind the verb.
  static const std::regex literal(
      R"re((?:^|[^\\])"\s*(select\s|insert\s+into\s|insert\s+\w+\s*(\(|values\b)|update\s+[\w."\[\]]+\s+set\s|delete\s+from\s|delete\s+\w+\s+where\s|(select|insert|update|delete)\s+"))re",
      std::regex::icase);
  static const std::regex type(R"re(\b(Sql|LiteralPiece|query_rows|execute_and_close)\b)re");
  const std::string code = without_comments(source);
  return std::regex_search(code, literal) || std::regex_search(code, type);
}

std::vector<std::filesystem::path> sources_of(const std::filesystem::path& place) {
  if (std::filesystem::is_regular_file(place)) return {place};
  std::vector<std::filesystem::path> sources;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(place))
    if (const auto extension = entry.path().extension(); extension == ".h" || extension == ".cpp")
      sources.push_back(entry.path());
  return sources;
}

TEST(StatementsOfHosts, AreFoundInASource) {
  for (const char* statement :
       {R"c(query("SELECT UNITCODE FROM UNIT");)c", R"c(query("select * from UNIT");)c", R"c(query(" Select 1");)c",
        R"c(query("INSERT INTO UNIT VALUES ('BX')");)c", R"c(query("insert UNIT (UNITCODE) VALUES ('BX')");)c",
        R"c(query("UPDATE UNIT SET UNITCODE = 'BX'");)c", R"c(query("DELETE FROM UNIT");)c",
        R"c(query("delete UNIT WHERE 0=1");)c", R"c(query("UPDATE " + table);)c", "Sql sql;", "return Sql(text);",
        "Sql::verbatim(text)", "query(LiteralPiece(kText));"})
    EXPECT_TRUE(has_statement(statement)) << statement;
  for (const char* other :
       {R"c(add("delete", "Delete a unit");)c", R"c(add("Update20");)c", "// SELECT UNITCODE FROM UNIT",
        "Gen_QuoteSql(user);", R"c(add("https://host", "x"); // Sql)c",
        R"c(add("Insert and update the products of a document");)c",
        R"c(add("execute", "echo \"SELECT 1;\" | mercato execute -");)c"})
    EXPECT_FALSE(has_statement(other)) << other;
}

TEST(StatementsOfHosts, AreNone) {
  const std::filesystem::path root = MERCATO_SOURCE_DIR;
  for (const std::string& place : hosts()) {
    const auto sources = sources_of(root / place);
    EXPECT_FALSE(sources.empty()) << place;
    for (const std::filesystem::path& path : sources) {
      const std::string file = std::filesystem::relative(path, root).string();
      if (runners().contains(file)) continue;
      std::ifstream stream(path);
      const std::string source{std::istreambuf_iterator<char>(stream), {}};
      EXPECT_FALSE(has_statement(source)) << file << " has a statement";
    }
  }
}

}  // namespace
}  // namespace mercato::test
