// SPDX-License-Identifier: Apache-2.0
// Every file of cases/ is a session of `mercato rpc` on a fresh store with all tables: lines with ">" are requests,
// lines with
// "<" the answer that has to follow, byte for byte; a request without one is a notification. "# options:" gives the
// command's.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/tools/run_tool.h"
#include "values/text.h"

namespace mercato::test {
namespace {

const std::filesystem::path kCases = std::filesystem::path(MERCATO_SOURCE_DIR) / "tests/tools/cases";

std::vector<std::string> case_names() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kCases))
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

struct Case {
  std::vector<std::string> options;
  std::string requests;
  std::string answers;
};

Case read_case(const std::string& name) {
  Case session;
  std::istringstream lines(read_whole(kCases / (name + ".txt")));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("> ")) session.requests += line.substr(2) + "\n";
    if (line.starts_with("< ")) session.answers += line.substr(2) + "\n";
    if (line.starts_with("# options:")) {
      std::istringstream words(line.substr(10));
      for (std::string word; words >> word;) session.options.push_back(word);
    }
  }
  return session;
}

class GatewayCase : public testing::TestWithParam<std::string> {};

TEST_P(GatewayCase, IsAnsweredAsWritten) {
  const Case session = read_case(GetParam());
  ASSERT_NE(session.requests, "");
  const ToolFolder tool;
  std::vector<std::string> arguments = {"rpc"};
  arguments.insert(arguments.end(), session.options.begin(), session.options.end());
  const ToolRun run = tool.run(arguments, session.requests);
  EXPECT_EQ(run.out,
            text::replace_all(session.answers, "Provider=SQLite;Data Source=mercato.db", tool.connection_string()));
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Cases, GatewayCase, testing::ValuesIn(case_names()),
                         [](const auto& session) { return session.param; });

}  // namespace
}  // namespace mercato::test
