// Writing commands that are killed at a random moment: the store is in order, and its sums are right.
#include "tests/support/random_rounds.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

constexpr int kRecords = 300;
constexpr int kUnits = 200;
constexpr int kNodes = 150;

class KilledCommands : public CommandTest {
 protected:
  KilledCommands() {
    std::string records;
    for (int i = 0; i < kRecords; ++i) {
      const std::string key = std::to_string(i);
      records += "<Product buyfrompartnumber=\"P" + key + "\"><PARTNUMBER>M" + key +
                 "</PARTNUMBER><PRODUCTDESCRIPTION>About it</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>"
                 "<COLOUR>red</COLOUR></Product>";
    }
    write_file("records.xml", "<Products>" + records + "</Products>");
    std::string nodes = "id,parent,name\n0,,root\n";
    for (int i = 1; i < kNodes; ++i)
      nodes += std::to_string(i) + "," + std::to_string(i / 2) + ",node " + std::to_string(i) + "\n";
    write_file("nodes.csv", nodes);
  }
  // All of it or nothing.
  void write_script(int round) {
    std::string script;
    for (int i = 0; i < kUnits; ++i) {
      const std::string code = "'" + std::to_string(round) + "-" + std::to_string(i) + "'";
      script +=
          "INSERT UNIT (UNITCODE) VALUES (" + code + ");\nINSERT HAZARDOUSCLASS (CLASSCODE) VALUES (" + code + ");\n";
    }
    write_file("script.sql", script);
  }
  void kill_after(unsigned milliseconds, const std::string& command) {
    const std::string seconds =
        std::to_string(milliseconds / 1000) + "." + std::to_string(1000 + milliseconds % 1000).substr(1);
    tool_.run_line(command + " & p=$!; sleep " + seconds + "; kill -9 $p; wait $p");
  }
  int number_of(const std::string& from) {
    const json done = json::parse(run({"execute", "--json", "-"}, "SELECT COUNT(*) AS N FROM " + from + ";").out);
    return done.at("results").at(0).at("rows").at(0).at(0).get<int>();
  }
};

TEST_F(KilledCommands, LeaveAStoreInOrderWithRightSums) {
  RandomRounds rounds(6);
  int products = 0;
  while (rounds.next()) {
    write_script(rounds.round());
    const char* const commands[] = {"mercato upload --key k records.xml", "mercato execute script.sql",
                                    "mercato catalog load --name C nodes.csv"};
    const unsigned which = rounds.below(3);
    const unsigned milliseconds = 20 + rounds.below(500);
    SCOPED_TRACE(std::string(commands[which]) + ", killed after " + std::to_string(milliseconds) + " ms");
    kill_after(milliseconds, commands[which]);
    expect_done({"store", "check"}, "The store is in order.\n");
    EXPECT_EQ(number_of("UNIT") % kUnits, 0);
    EXPECT_EQ(number_of("UNIT"), number_of("HAZARDOUSCLASS"));
    EXPECT_EQ(number_of("CATALOGNODE"), kNodes * number_of("CATALOG"));
    EXPECT_GE(number_of("PRODUCT"), products) << "what was in the store stays";
    products = number_of("PRODUCT");
    EXPECT_LE(number_of("PRODUCTPROPVALUE"), products);
  }
  const ToolRun rest = run({"upload", "--key", "k", "records.xml"});
  EXPECT_EQ(rest.status, 0) << rest.out << rest.err;
  EXPECT_EQ(number_of("PRODUCT"), kRecords);
  EXPECT_EQ(number_of("PRODUCTPROPVALUE"), kRecords);
}

}  // namespace
}  // namespace mercato::test
