// SPDX-License-Identifier: Apache-2.0
// What a user sees after bad input to the commands that load and draw UNSPSC codes and catalogues: one line that says
// what is wrong, where, and what to do. It shows no number of the engine, no statement and no position in one.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "tests/support/workbook_files.h"
#include "tests/tools/command_fixture.h"
#include "tests/tools/locked_store.h"

namespace mercato::test {
namespace {

class BadInputOfCodesAndCatalogs : public CommandTest {
 protected:
  std::string file(const std::string& name) const { return tool_.folder() / name; }
  void set_length(const std::string& name, std::uintmax_t bytes) const {
    write_whole(file(name), "");
    std::filesystem::resize_file(file(name), bytes);
  }
  void expect_line(const Words& arguments, const std::string& line, const std::string& first = {}, int status = 1) {
    SCOPED_TRACE(arguments[0] + " " + arguments[1]);
    const std::string before = whole_store();
    const ToolRun done = tool_.run(arguments, "", first);
    EXPECT_EQ(done.status, status);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "mercato: " + line + "\n");
    static const std::regex internals(
        "0x8|SELECT |INSERT |UPDATE |DELETE |near \"|[Cc]haracter [0-9]|SQLITE|\\bDESC:|Object variable|Overflow");
    EXPECT_FALSE(std::regex_search(done.err, internals)) << done.err;
    EXPECT_EQ(whole_store(), before);
  }
};

TEST_F(BadInputOfCodesAndCatalogs, FileOfCodes) {
  write_whole(file("words.xlsx"), "Code,Title\n");
  write_workbook(file("empty.xlsx"), WorkbookContent{});
  write_workbook(file("long.xlsx"),
                 WorkbookContent{row(1, text_cell("A1", "Code")) + row(32768, text_cell("A32768", "92000000"))});
  write_whole(file("cut.xml"), "<UNSPSC_ITEMS><UNSPSC_ITEM>");
  write_whole(file("other.xml"), "<UNSPSC_ITEMS><UNSPSC_ITEM/></UNSPSC_ITEMS>");
  write_whole(file("good.xml"), "<UNSPSC_ITEMS/>");
  write_whole(file("nowhere.toml"),
              "[connections]\nMercato = '" + tool_.connection_string() + "'\n[folders]\ninstall_dir = 'nowhere'\n");
  const struct {
    Words arguments;
    const char* line;
  } table[] = {
      {{"missing.xlsx"}, "The workbook \"missing.xlsx\" cannot be loaded: No such file or directory."},
      {{"words.xlsx"},
       "The workbook \"words.xlsx\" cannot be loaded: it is no zip archive. It has to be a workbook of the format "
       ".xlsx."},
      {{"empty.xlsx"}, "The first sheet of empty.xlsx is empty; it needs a heading and codes."},
      {{"long.xlsx"},
       "The used cells of long.xlsx reach beyond row or column 32,767, where the count ends; split the file, or delete "
       "what is not needed."},
      {{"missing.xml"}, "Cannot read the file \"missing.xml\": No such file or directory."},
      {{"http://127.0.0.1:1/codes.xml"}, "Cannot fetch \"http://127.0.0.1:1/codes.xml\": Couldn't connect to server."},
      {{"cut.xml"},
       "The document \"cut.xml\" cannot be loaded: Line 1, column 28: the element <UNSPSC_ITEM> is never closed."},
      {{"other.xml"},
       "The document other.xml does not fit its schema: Element 'UNSPSC_ITEM': Missing child element(s). Expected is ( "
       "CODE )."},
      {{"good.xml", "--config", "nowhere.toml"},
       "Cannot read the file \"nowhere/xmlschemas/UNSPSC_Schema.xml\": No such file or directory."},
  };
  for (const auto& [arguments, line] : table) {
    Words words = {"unspsc", "load"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    expect_line(words, line, "export no_proxy=127.0.0.1");
  }
}

TEST_F(BadInputOfCodesAndCatalogs, StoreForCodes) {
  write_workbook(file("codes.xlsx"), codes_content({{"91000000", "Toys"}}));
  const std::string begin = "Nothing of codes.xlsx was loaded, since the store cannot be written. ";
  const auto store = [](const std::string& name) { return "Provider=SQLite;Data Source=" + name; };
  expect_line({"unspsc", "load", "codes.xlsx", "--store", store("nowhere.db")},
              begin + "There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.", {},
              4);
  expect_line({"unspsc", "load", "codes.xlsx", "--store", store("empty.db") + ";Create=Yes"},
              begin + "The store has no table UNSPSCCODES: `mercato init` creates the tables that are missing.", {}, 4);
  expect_line({"unspsc", "load", "codes.xlsx", "--store", store("codes.xlsx")},
              begin + "'codes.xlsx' is not a store. Correct Data Source.", {}, 4);
}

TEST_F(BadInputOfCodesAndCatalogs, Code) {
  for (const std::string code : {"95000000", "9", "00", "9'", "%", "9; --", "'"})
    expect_line({"unspsc", "tree", code}, "There is no UNSPSC code " + code + ".");
}

TEST_F(BadInputOfCodesAndCatalogs, FileOfNodes) {
  write_whole(file("empty.csv"), "");
  write_whole(file("header.csv"), "id,parent,name\n");
  set_length("large.csv", (std::uintmax_t{64} << 20) + 1);
  write_whole(file("wide.csv"), "id,parent,name" + std::string(4'000'000, ',') + "\n");
  std::string rows = "id,parent,name\n";
  for (int row = 1; row <= 1'333'333; ++row) rows += "1,,a\n";
  write_whole(file("long.csv"), rows);
  const std::pair<const char*, const char*> table[] = {
      {"missing.csv", "Cannot read the file \"missing.csv\": No such file or directory."},
      {".", "Cannot read the file \".\": Is a directory."},
      {"empty.csv", "The file is empty."},
      {"header.csv", "The file has no nodes below its first line."},
      // 1 GiB of either took 3 GB.
      {"large.csv", "Cannot read the file \"large.csv\": it has more than 67108864 bytes."},
      {"wide.csv", "Line 1 has more than 16384 columns, which no table has: the separator may be another one."},
      {"long.csv", "Line 1333334: the file has more than 4000000 fields; load it in parts."},
  };
  for (const auto& [name, line] : table) expect_line({"catalog", "load", name, "--name", "New"}, line);
}

TEST_F(BadInputOfCodesAndCatalogs, Catalogue) {
  execute("INSERT INTO CATALOG (CATALOGNAME) VALUES ('House'); INSERT INTO CATALOG (CATALOGNAME) VALUES ('House')");
  expect_line({"catalog", "tree", "Nowhere"}, "There is no catalogue Nowhere.");
  expect_line({"catalog", "tree", "x'; --"}, "There is no catalogue x'; --.");
  expect_line({"catalog", "tree", "house"}, "The name house stands for more than one catalogue: use the id.");
  expect_line({"catalog", "tree", "1", "--user", "O'Neil"},
              "the library puts a user's id into its statements as it stands, so that it cannot ask for O'Neil, "
              "which has a quote.");
}

// What comes from outside is bounded before it is kept.
TEST_F(BadInputOfCodesAndCatalogs, ScriptAndSettingsWithoutAnEnd) {
  set_length("large.sql", (std::uintmax_t{256} << 20) + 1);
  expect_line({"execute", "large.sql"}, "Cannot read the file \"large.sql\": it has more than 268435456 bytes.");
  const ToolRun endless = tool_.run_line(little_memory(2000000) + "; mercato execute - </dev/zero");
  EXPECT_EQ(endless.status, 1);
  EXPECT_EQ(endless.err, "mercato: Cannot read the script: it has more than 268435456 bytes.\n");
  const ToolRun settings = run({"catalog", "list", "--config", "/dev/zero"});
  EXPECT_EQ(settings.status, 2);
  EXPECT_EQ(settings.err, "mercato: The settings file '/dev/zero' has more than 1048576 bytes.\n");
}

}  // namespace
}  // namespace mercato::test
