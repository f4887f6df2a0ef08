// SPDX-License-Identifier: Apache-2.0
// A password in a connection string is in nothing that the tool writes, whatever becomes of the command.
#include <filesystem>

#include "platform/store/hidden_passwords.h"
#include "tests/tools/command_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

// What stands in it would end a text of any format that it is written into.
constexpr const char* kPassword = R"(hidden-4711'"\%s{}%n</a>&=(x))";

class Secrets : public CommandTest {
 protected:
  Secrets() {
    std::string escaped;
    for (const char* sign = store_.c_str(); *sign != '\0'; ++sign)
      escaped += (*sign == '"' || *sign == '\\' ? "\\" : "") + std::string(1, *sign);
    write_file("mercato.toml", "[connections]\nMercato = \"" + escaped + "\"\n[log]\nfile = \"mercato.log\"\n");
  }
  // Expects that nothing it writes has a piece of the password; what it wrote.
  std::string expect_hidden(const Words& arguments, const std::string& input = {}) {
    const ToolRun done = run(arguments, input);
    std::string line;
    for (const std::string& argument : arguments) line += argument + " ";
    for (const char* const piece : {"hidden-", "4711", "%s{}"}) {
      EXPECT_EQ(done.out.find(piece), std::string::npos) << line << '\n' << done.out;
      EXPECT_EQ(done.err.find(piece), std::string::npos) << line << '\n' << done.err;
    }
    return done.out + done.err;
  }
  std::string with_password(const std::string& connection_string) const {
    return connection_string + ";Password=" + kPassword;
  }

  const std::string store_ = with_password(tool_.connection_string());
};

TEST_F(Secrets, AreInNoAnswerTraceOrLog) {
  write_file("bad.sql", "SELECT * FROM NOWHERE");
  write_file("records.xml",
             "<Products><Product buyfrompartnumber=\"P-1\"><PARTNUMBER>P1</PARTNUMBER><PRODUCTDESCRIPTION>Pen"
             "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER></Product></Products>");
  for (const Words& command : std::vector<Words>{{"init"},
                                                 {"store", "check"},
                                                 {"store", "copy", store_, "other.db"},
                                                 {"store", "copy", "other.db", store_},
                                                 {"store", "backup", "kept.db"},
                                                 {"store", "restore", "nowhere.db"},
                                                 {"describe"},
                                                 {"find", "pen"},
                                                 {"upload", "records.xml"},
                                                 {"execute", "bad.sql"},
                                                 {"product", "set", "1", "PARTNUMBER="},
                                                 {"call", "Mercato.Property", "GetNextPropertyPage", "1"},
                                                 {"call", "Mercato.Unit", "Nothing"}}) {
    for (const char* const option : {"", "--trace", "--json"}) {
      Words words = command;
      if (*option != '\0') words.emplace_back(option);
      expect_hidden(words);
    }
  }
  // A failure of the library itself, which the log has.
  execute("DROP TABLE UNIT");
  const std::string failed = expect_hidden({"call", "Mercato.Unit", "GetAllUnits", "--trace"});
  EXPECT_NE(failed.find("Invalid object name 'UNIT'"), std::string::npos) << failed;
  const std::string log = read_whole(tool_.folder() / "mercato.log");
  EXPECT_NE(log.find("Invalid object name 'UNIT'"), std::string::npos) << log;
  EXPECT_EQ(log.find("hidden-"), std::string::npos) << log;
  EXPECT_EQ(log.find("4711"), std::string::npos) << log;
}

TEST_F(Secrets, AreHiddenInTheRecordOfScriptedCalls) {
  const std::string answers = expect_hidden(
      {"rpc", "--scripted", "--trace"},
      R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"progId":"Mercato.Property"}})"
      "\n"
      R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"method":"GetPropertyData","args":[{"$":"nothing"},"",2,{"$":"missing"},"PROPERTYNAME"]}})"
      "\n"
      R"({"jsonrpc":"2.0","id":3,"method":"calls","params":{"progId":"Bauteil.DRecordset"}})"
      "\n");
  EXPECT_NE(answers.find("Password=...\""), std::string::npos) << answers;
}

TEST_F(Secrets, AreNotRepeatedWhenTheyStandInTheWrongPlace) {
  for (const Words& command :
       std::vector<Words>{{store_},
                          {"init", store_},
                          {"store", store_},
                          {"store", "check", store_},
                          {"store", "restore", store_},
                          {"find", "x", "--stor=" + store_},
                          {"find", "x", "--config", store_},
                          {"find", "x", "--store", with_password("Provider=Nope")},
                          {"find", "x", "--store", with_password("Provider=SQLite")},
                          {"find", "x", "--store", with_password("Data Source=nowhere.db")},
                          {"find", "x", "--store", with_password("Provider=PostgreSQL;Server=/nowhere")},
                          {"describe", store_},
                          {"execute", store_},
                          {"preview", store_},
                          {"upload", store_}})
    expect_hidden(command);
  EXPECT_EQ(run({"init", "Provider=SQLite;Data Source=a.db;Password=x;Create=Yes"}).err,
            "mercato: 'Provider=SQLite;Data Source=a.db;Password=...;Create=Yes' is more than `mercato init` takes; "
            "--help says more.\n");
}

TEST(WithoutPasswords, HidesWhatStandsBehindTheNameOfOne) {
  EXPECT_EQ(store::without_passwords("Server=a;Password=b=c;Port=1"), "Server=a;Password=...;Port=1");
  EXPECT_EQ(store::without_passwords("Server=a; pwd = b"), "Server=a; pwd =...");
  EXPECT_EQ(store::without_passwords("no 'a;Password=b' there"), "no 'a;Password=...");
  EXPECT_EQ(store::without_passwords("Correct User ID and Password; see Passwords=1;"),
            "Correct User ID and Password; see Passwords=1;");
}

}  // namespace
}  // namespace mercato::test
