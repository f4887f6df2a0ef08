// SPDX-License-Identifier: Apache-2.0
// What one session of the gateway does with requests that wait, take long, or ask for much; and what it says of itself.
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "mercato/registry.h"
#include "mercato/server.h"
#include "tests/tools/rpc_session.h"
#include "tests/tools/run_tool.h"
#include "tools/gateway/describe.h"
#include "tools/gateway/header_comments.h"

namespace mercato::test {
namespace {

using nlohmann::json;

class Requests : public testing::Test {
 protected:
  // Ten rows, and a query that goes through a thousand million rows made of them.
  void write_digits() {
    std::string script = "CREATE TABLE DIGIT (N int NOT NULL);\n";
    for (int digit = 0; digit < 10; ++digit) script += "INSERT DIGIT (N) VALUES (" + std::to_string(digit) + ");\n";
    ASSERT_EQ(tool_.run({"execute", "-"}, script).status, 0);
  }
  static std::string request(int id, const std::string& method, const json& params) {
    return json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump();
  }
  static json endless() {
    return {{"sql",
             "SELECT COUNT(*) FROM DIGIT A, DIGIT B, DIGIT C, DIGIT D, DIGIT E, DIGIT F, DIGIT G, DIGIT H, "
             "DIGIT I, DIGIT J, DIGIT K"}};
  }

  ToolFolder tool_;
};

TEST_F(Requests, ThatRunAreCancelledByOneThatIsAnsweredAtOnce) {
  write_digits();
  RpcSession session(tool_.command({"rpc"}));
  session.send(request(1, "execute", endless()));
  session.send(request(2, "execute", {{"sql", "SELECT 1 AS ONE"}}));
  session.send(request(3, "execute", endless()));
  // The first one may not have begun, or run already: it is cancelled in both cases.
  session.send(request(4, "cancel", {{"id", 3}}));
  EXPECT_EQ(session.next_answer(), json::parse(R"({"jsonrpc":"2.0","id":4,"result":true})"));
  session.send(request(5, "cancel", {{"id", 1}}));
  EXPECT_EQ(session.next_answer(), json::parse(R"({"jsonrpc":"2.0","id":5,"result":true})"));
  const auto expect_cancelled = [&](int id) {
    const json answer = session.next_answer();
    EXPECT_EQ(answer.at("id"), id);
    EXPECT_EQ(answer.at("error").at("message"), "Timeout expired: the call was cancelled");
    EXPECT_EQ(answer.at("error").at("data").at("number"), -2147217871);
  };
  expect_cancelled(1);
  EXPECT_EQ(session.next_answer().at("result").at("rows"), json::parse("[[1]]"));
  expect_cancelled(3);
  // It was done before, so there is nobody to cancel.
  session.send(request(6, "cancel", {{"id", 1}}));
  EXPECT_EQ(session.next_answer(), json::parse(R"({"jsonrpc":"2.0","id":6,"result":false})"));
}

TEST_F(Requests, OfAGatewayWhoseAnswersNobodyReadsEndIt) {
  // The input stays open, so that only the lost answer can end the program.
  const ToolRun ended = tool_.run_line(
      "{ echo '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"describe\"}'; sleep 60 & echo $! >sleeper; wait; } |"
      "{ mercato rpc; echo status $? >&2; kill $(cat sleeper); } | true");
  EXPECT_EQ(ended.err, "status 0\n");
}

TEST_F(Requests, ForManyRowsByPagesTakeNoMoreMemoryThanAPage) {
#ifdef MERCATO_SANITIZED
  GTEST_SKIP() << "A sanitizer keeps freed memory";
#endif
  write_digits();
  // A hundred thousand rows of two hundred letters.
  const std::string query =
      "SELECT A.N AS A, '" + std::string(200, 'x') + "' AS TEXT FROM DIGIT A, DIGIT B, DIGIT C, DIGIT D, DIGIT E";
  const auto megabytes = [](const RpcSession& session) {
    std::istringstream lines(read_whole("/proc/" + std::to_string(session.process()) + "/status"));
    for (std::string word; lines >> word;)
      if (word == "VmHWM:") {
        int kilobytes = 0;
        lines >> kilobytes;
        return kilobytes / 1024;
      }
    return 0;
  };
  std::string command = tool_.command({"rpc"});
  RpcSession session(command.insert(command.find("&& ") + 3, "exec "));
  session.answer("execute", {{"sql", "SELECT 1 AS ONE"}});
  const int before = megabytes(session);
  ASSERT_GT(before, 0);
  json page = session.answer("execute", {{"sql", query}, {"rows", 1000}}).at("result");
  std::size_t rows = page.at("rows").size();
  while (!page.at("cursor").is_null()) {
    page = session.answer("fetch", {{"cursor", page.at("cursor")}}).at("result");
    rows += page.at("rows").size();
  }
  EXPECT_EQ(rows, 100000u);
  EXPECT_LT(megabytes(session) - before, 16);
}

TEST_F(Requests, ForMoreCursorsThanTheGatewayKeepsAreRefused) {
  write_digits();
  RpcSession session(tool_.command({"rpc"}));
  const json query = {{"sql", "SELECT N FROM DIGIT"}, {"rows", 1}};
  for (int cursor = 1; cursor <= 16; ++cursor)
    EXPECT_EQ(session.answer("execute", query).at("result").at("cursor"), cursor);
  EXPECT_EQ(session.answer("execute", query).at("error").at("message"),
            "There are 16 cursors: fetch the rest of one, or release it");
  session.answer("release", {{"cursor", 5}});
  EXPECT_EQ(session.answer("execute", query).at("result").at("cursor"), 17);
}

TEST(Describe, SaysOfEveryClassMethodAndArgumentWhatTheHeadersSay) {
  ASSERT_EQ(DllRegisterServer(), kOk);
  const gateway::Json all = gateway::describe({}, gateway::Detail::whole);
  EXPECT_EQ(all.at("classes").size(), 16u);
  for (const gateway::Json& one : all.at("classes")) {
    const std::string name = one.at("progId");
    EXPECT_NE(one.at("description"), "") << name;
    for (const gateway::Json& method : one.at("methods")) {
      EXPECT_NE(method.at("description"), "") << name << '.' << method.at("name");
      EXPECT_EQ(method.contains("replacedBy"), method.at("deprecated").get<bool>()) << name << '.' << method.at("name");
      for (const gateway::Json& argument : method.at("arguments"))
        EXPECT_NE(argument.at("description"), "") << name << '.' << method.at("name") << ' ' << argument.at("name");
    }
  }
}

TEST(Describe, ShowsOneMethodWithItsFailuresAndArguments) {
  ASSERT_EQ(DllRegisterServer(), kOk);
  const gateway::Json product = gateway::describe("Mercato.Product", gateway::Detail::whole).at("classes").at(0);
  gateway::Json found;
  for (const gateway::Json& method : product.at("methods"))
    if (method.at("name") == "GetCatalogProductsByPartNumber") found = method;
  EXPECT_EQ(found.at("failures").dump(), R"(["Raises 6 for a maximum of 2147483647."])");
  EXPECT_EQ(found.at("arguments").at(1).at("description"),
            "At most `i_lMaxNumberOfRows`, 0 and above, are in the dictionary; `o_bMoreRowsAvailable` tells whether "
            "there are more, and keeps its value when the call fails.");
  EXPECT_EQ(found.at("arguments").at(3).at("description"), "catalog string");
  const gateway::Json unit = gateway::describe("Mercato.Unit", gateway::Detail::whole).at("classes").at(0);
  EXPECT_EQ(unit.at("methods").at(0).at("replacedBy"), "Mercato.TUnit.Delete");
  EXPECT_EQ(unit.at("methods").at(4).at("name"), "IReferentialIntegrity_Exists");
}

TEST(HeaderComments, AreReadWithTheirParagraphsPointsAndArguments) {
  constexpr std::string_view kHeader =
      "/// Things. They are kept\n/// in order.\n///\n/// Each one:\n/// - has a name;\n///   a long one.\n"
      "class MERCATO_API Thing : public ComponentOf<Thing> {\n public:\n"
      "  // Not said to anybody.\n\n"
      "  /// Takes one away. Raises 5\n  /// without one.\n"
      "  /// @param iName    The name of\n  ///                 the one.\n"
      "  /// @param i_bHard  Whether for ever.\n"
      "  bool TakeAway(const std::string& iName,\n                bool i_bHard);\n"
      "  void Unsaid();\n};\n";
  const gateway::ClassComments comments = gateway::read_comments({&kHeader, 1});
  ASSERT_EQ(comments.size(), 1u);
  const gateway::ClassComment& thing = comments.at("Thing");
  EXPECT_EQ(thing.text, "Things. They are kept in order.\nEach one:\n- has a name; a long one.");
  const gateway::MethodComment& method = thing.methods.at("takeaway");
  EXPECT_EQ(method.text, "Takes one away. Raises 5 without one.");
  EXPECT_EQ(gateway::description_of_argument(method, "iName"), "The name of the one.");
  EXPECT_EQ(gateway::description_of_argument(method, "i_bHard"), "Whether for ever.");
  EXPECT_EQ(gateway::description_of_argument(method, "o_lProductID"), "product ID");
  EXPECT_EQ(gateway::failures_in(method.text), std::vector<std::string>{"Raises 5 without one."});
  EXPECT_EQ(thing.methods.at("unsaid").text, "");
}

}  // namespace
}  // namespace mercato::test
