// SPDX-License-Identifier: Apache-2.0
// A transaction that the store cannot commit: the call fails, and nothing of it stands.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/platform/store/integrity.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;

class CommitFailure : public testing::Test {
 protected:
  // An enumerated property with values all over its table, so that their deletion writes more than a full disk takes.
  CommitFailure() {
    std::string script = "CREATE TABLE DIGIT (N int NOT NULL);\n";
    for (int digit = 0; digit < 10; ++digit) script += "INSERT DIGIT (N) VALUES (" + std::to_string(digit) + ");\n";
    script +=
        "INSERT PROPERTY (PROPERTYNAME, DATATYPE) VALUES ('colour', 3);\n"
        "INSERT PROPERTYENUM (PROPERTYID, SEQUENCEID, VALUE) "
        "SELECT P.N, A.N * 1000 + B.N * 100 + C.N * 10 + D.N, 'a value of thirty characters.' "
        "FROM DIGIT A, DIGIT B, DIGIT C, DIGIT D, DIGIT P WHERE A.N < 5 AND P.N > 0 AND P.N < 3 ORDER BY 2, 1;\n";
    EXPECT_EQ(tool_.run({"execute", "-"}, script).status, 0);
  }

  // The answers of a session.
  std::vector<json> answers(const std::vector<std::string>& requests, const std::string& first = {}) const {
    std::string lines;
    for (const std::string& request : requests) lines += R"({"jsonrpc":"2.0","id":1,)" + request + "}\n";
    const ToolRun run = tool_.run({"rpc"}, lines, first);
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<json> all;
    std::istringstream out(run.out);
    for (std::string line; std::getline(out, line);) all.push_back(json::parse(line));
    EXPECT_EQ(all.size(), requests.size());
    all.resize(requests.size());
    return all;
  }

  const std::string kCreate = R"("method":"create","params":{"progId":"Mercato.Property"})";
  const std::string kUpdate = R"("method":"call","params":{"object":1,"method":"Update","args":[1,"shade",1]})";
  const std::string kCount =
      R"("method":"execute","params":{"sql":"SELECT COUNT(*) FROM PROPERTYENUM WHERE PROPERTYID = 1"})";
  const std::string kRead = R"("method":"execute","params":{"sql":"SELECT PROPERTYNAME, DATATYPE FROM PROPERTY"})";

  ToolFolder tool_;
};

TEST_F(CommitFailure, IsTheFailureOfTheCallWhoseTransactionIsRolledBack) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "what is full is the disk of the process, which a server's files do not use");
  const std::vector<json> full = answers({kCreate, kUpdate, kCount, kRead}, full_disk_after(400));
  const json& error = full[1].at("error");
  const std::string store = tool_.folder() / "mercato.db";
  EXPECT_EQ(error.at("code"), -32000);
  EXPECT_EQ(error.at("message"),
            "The disk is full: the store 'mercato.db' cannot grow. Free some space, then repeat the call (disk "
            "I/O error)");
  EXPECT_EQ(error.at("data").at("number"), -2147467259);
  EXPECT_EQ(error.at("data").at("vote"), "commit");
  EXPECT_EQ(error.at("data").at("outcome"), "rolledback");
  EXPECT_EQ(error.at("data").at("log"), json::array());  // the methods themselves have succeeded
  EXPECT_EQ(error.at("data").at("args"), json({1, "shade", 1}));
  // The session goes on, and nothing of the call stands.
  EXPECT_EQ(full[2].at("result").at("rows"), json::parse("[[5000]]"));
  EXPECT_EQ(full[3].at("result").at("rows"), json::parse(R"([["colour",3]])"));
  EXPECT_EQ(store::test::integrity_of(store), "ok");
  // With room on the disk the same call is done.
  const std::vector<json> roomy = answers({kCreate, kUpdate, kCount, kRead});
  EXPECT_EQ(roomy[1].at("result").at("outcome"), "committed");
  EXPECT_EQ(roomy[2].at("result").at("rows"), json::parse("[[0]]"));
  EXPECT_EQ(roomy[3].at("result").at("rows"), json::parse(R"([["shade",1]])"));
}

}  // namespace
}  // namespace mercato::test
