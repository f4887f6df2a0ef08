// SPDX-License-Identifier: Apache-2.0
// The real program with little memory: it says so and ends, or goes on.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;

class LittleMemory : public testing::Test {
 protected:
  void SetUp() override {
#ifdef MERCATO_SANITIZED
    GTEST_SKIP() << "A sanitizer takes more address space than any limit leaves";
#endif
  }

  // Runs the tool with that many kilobytes of address space.
  ToolRun run(int kilobytes, const std::vector<std::string>& arguments, const std::string& input = {}) const {
    return tool_.run(arguments, input, "ulimit -v " + std::to_string(kilobytes));
  }

  // The least memory with which the program does its simplest job; a few kilobytes less are not enough.
  int enough_to_start() const {
    int too_little = 1000, enough = 4 << 20;
    while (enough - too_little > 16) {
      const int middle = too_little + (enough - too_little) / 2;
      (run(middle, {"version"}).status == 0 ? enough : too_little) = middle;
    }
    return enough;
  }

  ToolFolder tool_;
};

// An allocation that failed while the command line was being set up ended the process with an abort.
TEST_F(LittleMemory, ProgramThatFindsNoneAtItsStartSaysSo) {
  const int enough = enough_to_start();
  for (int missing = 64; missing <= 256; missing += 32) {
    const ToolRun started = run(enough - missing, {"version"});
    EXPECT_EQ(started.status, 1) << missing;
    EXPECT_EQ(started.out, "") << missing;
    EXPECT_EQ(started.err, "mercato: Out of memory.\n") << missing;
  }
}

// A copy of a text that found no memory corrupted the heap.
TEST_F(LittleMemory, UploadThatFindsNoneIsRefusedWhateverItLacks) {
  std::string document = "<Products>";
  for (int number = 0; number < 40000; ++number)
    document += "<Product buyfrompartnumber=\"P-" + std::to_string(number) +
                "\"><PARTNUMBER>A</PARTNUMBER><PRODUCTDESCRIPTION>A description that is longer than a few "
                "letters</PRODUCTDESCRIPTION></Product>";
  write_whole(tool_.folder() / "large.xml", document + "</Products>");
  const int enough = enough_to_start();
  for (const int megabytes : {4, 8, 12, 16, 24}) {
    const ToolRun upload = run(enough + megabytes * 1024, {"preview", "large.xml"});
    EXPECT_EQ(upload.status, 1) << megabytes << ": " << upload.out.substr(0, 200);
    EXPECT_EQ(upload.err, "mercato: Out of memory.\n") << megabytes;
  }
}

// The gateway ended at the first line that found no memory.
TEST_F(LittleMemory, GatewayAnswersARequestThatFindsNoneAndServesTheNextOne) {
  const std::string small = R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"progId":"Mercato.Unit"}})";
  std::string ones = "1";
  for (int values = 1; values < 3000000; ++values) ones += ",1";
  const std::vector<std::string> large = {
      R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"method":"UnitExists","args":[")" +
          std::string(std::size_t{120} << 20, 'x') + "\"]}}",
      R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"method":"UnitExists","args":[[)" + ones + "]]}}",
  };
  const int enough = enough_to_start();
  for (const int megabytes : {24, 32, 40, 48, 64, 80}) {
    for (const std::string& line : large) {
      const ToolRun session = run(enough + megabytes * 1024, {"rpc"}, small + "\n" + line + "\n" + small + "\n");
      EXPECT_EQ(session.status, 0) << megabytes;
      std::istringstream answers(session.out);
      std::string first, second, third;
      std::getline(answers, first);
      std::getline(answers, second);
      std::getline(answers, third);
      EXPECT_EQ(first, R"({"jsonrpc":"2.0","id":1,"result":{"object":1}})") << megabytes;
      EXPECT_NE(second.find("Out of memory"), std::string::npos) << megabytes << ": " << second.substr(0, 300);
      EXPECT_TRUE(json::accept(second)) << megabytes;
      EXPECT_EQ(third, R"({"jsonrpc":"2.0","id":1,"result":{"object":2}})") << megabytes;
      EXPECT_EQ(session.err, "") << megabytes;
    }
  }
}

// 96 MB of products, of which a batch is held at a time.
TEST_F(LittleMemory, ExportStreams) {
  std::string script =
      "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTXML) VALUES ('P', 'S', 'Pen', '" +
      std::string(12'000, 'x') + "');\n";
  for (int doubling = 0; doubling < 13; ++doubling)
    script +=
        "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTXML) SELECT PARTNUMBER, "
        "BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTXML FROM PRODUCT;\n";
  ASSERT_EQ(tool_.run({"execute", "-"}, script).status, 0);
  constexpr int kRoom = 60'000;
  const int enough = enough_to_start() + kRoom;
  for (const std::string form : {"csv", "xlsx", "documents"}) {
    const ToolRun done = run(enough, {"export", "products", "--as", form, "-o", "products"});
    EXPECT_EQ(done.status, 0) << form;
    EXPECT_EQ(done.err, "8192 records in products.\n") << form;
  }
}

}  // namespace
}  // namespace mercato::test
