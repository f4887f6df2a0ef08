// SPDX-License-Identifier: Apache-2.0
// mercato unspsc: what the commands say in words and as JSON, and why a code or a file is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/support/workbook_files.h"
#include "tests/tools/locked_store.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;
using Codes = std::vector<std::pair<std::string, std::string>>;

class UnspscCommands : public testing::Test {
 protected:
  ToolRun run(const Words& arguments, const std::string& input = {}) { return tool_.run(arguments, input); }
  void expect(const Words& arguments, int status, const std::string& out, const std::string& err = {}) {
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, status);
    EXPECT_EQ(done.out, out);
    EXPECT_EQ(done.err, err);
  }
  json answer(Words arguments, int status = 0) {
    arguments.emplace_back("--json");
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, status) << done.err;
    return json::parse(done.out);
  }
  std::string rows(const std::string& query) {
    const std::string out = run({"execute", "-"}, query).out;
    return out.substr(0, out.find("1 statement"));
  }
  std::string file(const std::string& name) const { return tool_.folder() / name; }
  void write_codes(const Codes& codes) const {
    write_workbook(file("codes.xlsx"), codes_content(codes));
    std::string items;
    for (const auto& [code, description] : codes)
      items += "<UNSPSC_ITEM><CODE>" + escaped(code) + "</CODE><DESCRIPTION>" + escaped(description) +
               "</DESCRIPTION></UNSPSC_ITEM>";
    write_whole(file("codes.xml"), "<UNSPSC_ITEMS>" + items + "</UNSPSC_ITEMS>");
  }

  ToolFolder tool_;
};

const Codes kToys = {
    {"91000000", "Toys"}, {"91100000", "Board games"}, {"91101500", "Games for two"}, {"92000000", "Sports"}};

TEST_F(UnspscCommands, CodesAreLoadedFromAWorkbookAndFromADocument) {
  write_codes(kToys);
  expect({"unspsc", "load", "codes.xlsx"}, 0, "4 codes read, 4 written, 0 refused.\n");
  expect({"unspsc", "load", "codes.xml", "--overwrite", "--commodities"}, 0, "4 codes read, 4 written, 0 refused.\n");
  EXPECT_EQ(rows("SELECT COMMODITYCODE FROM COMMODITY ORDER BY COMMODITYCODE"),
            "COMMODITYCODE\n91000000\n91100000\n91101500\n92000000\n");
}

TEST_F(UnspscCommands, RefusedCodesAreListedWithTheReason) {
  write_codes({{"91000000", "Toys"},
               {"91000000", "Toys again"},
               {"93101500", "Orphan"},
               {"9100", "Short"},
               {"92000000", std::string(501, 'x')}});
  const std::string refused =
      "Refused:\n"
      "ROW  CODE      DESCRIPTION                               REASON\n"
      "3    91000000  Toys again                                exists already; --overwrite gives it the new "
      "description\n"
      "4    93101500  Orphan                                    the code above it, 9310, is missing\n"
      "5    9100      Short                                     not a code: 8 or 10 digits, pairs of zeros at the end "
      "only\n"
      "6    92000000  " +
      std::string(39, 'x') + "…  DESCRIPTION takes at most 500 characters, not 501\n\n";
  expect({"unspsc", "load", "codes.xlsx"}, 3, refused + "5 codes read, 1 written, 4 refused.\n");
  EXPECT_EQ(rows("SELECT DESCRIPTION FROM UNSPSCCODES"), "DESCRIPTION\nToys\n");
}

TEST_F(UnspscCommands, CommodityThatExistsIsTold) {
  run({"execute", "-"}, "INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION) VALUES ('91000000', 'old')");
  write_codes({{"91000000", "Toys"}});
  EXPECT_EQ(
      answer({"unspsc", "load", "codes.xml", "--commodities"}, 3),
      json({{"read", 1},
            {"written", 0},
            {"refused", 1},
            {"refusals",
             {{{"item", 1},
               {"code", "91000000"},
               {"description", "Toys"},
               {"number", 3},
               {"reason", "written, but the commodity exists already; --overwrite gives it the new description"}}}}}));
  EXPECT_EQ(answer({"unspsc", "load", "codes.xml", "--commodities", "--overwrite"}),
            json({{"read", 1}, {"written", 1}, {"refused", 0}, {"refusals", json::array()}}));
}

// Cells shown as 30,100,000 or 1E000000, and line breaks around a code, wrote over other codes or into segments of
// their own: the library takes whatever reads as a number for a code.
TEST_F(UnspscCommands, CodesInAnotherFormThanDigitsAreRefusedWithTheirRows) {
  write_workbook(file("codes.xlsx"),
                 WorkbookContent{row(2, text_cell("B2", "Code") + text_cell("C2", "Title")) +
                                 row(3, text_cell("B3", "10000000") + text_cell("C3", "Ten")) +
                                 row(7, text_cell("B7", "10,00,00") + text_cell("C7", "Commas")) +
                                 row(9, text_cell("B9", "1E000000") + text_cell("C9", "An exponent")) +
                                 row(10, text_cell("C10", "no code")) +
                                 row(11, text_cell("B11", "30,100,000") + text_cell("C11", "Thousands"))});
  const std::string reason =
      "not written in digits alone, without signs, blanks and line breaks; in a spreadsheet give the cell the format "
      "Text\n";
  expect({"unspsc", "load", "codes.xlsx", "--overwrite"}, 3,
         "Refused:\n"
         "ROW  CODE        DESCRIPTION  REASON\n"
         "7    10,00,00    Commas       " +
             reason + "9    1E000000    An exponent  " + reason + "11   30,100,000  Thousands    " + reason +
             "\n4 codes read, 1 written, 3 refused.\n");
  write_whole(file("codes.xml"),
              "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>\n1000000</CODE><DESCRIPTION>Broken</DESCRIPTION></UNSPSC_ITEM>"
              "<UNSPSC_ITEM><CODE> </CODE><DESCRIPTION>None</DESCRIPTION></UNSPSC_ITEM>"
              "<UNSPSC_ITEM><CODE> 20000000 </CODE><DESCRIPTION>Blanks</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>");
  const json refused = answer({"unspsc", "load", "codes.xml"}, 3);
  EXPECT_EQ(refused.at("refusals").at(0).at("item"), 1);
  EXPECT_EQ(refused.at("refusals").at(1).at("item"), 3);
  EXPECT_EQ(refused.at("refusals").at(1).at("reason").get<std::string>() + "\n", reason);
  EXPECT_EQ(rows("SELECT PARENTCODE, UNSPSCCODE, DESCRIPTION FROM UNSPSCCODES"),
            "PARENTCODE  UNSPSCCODE  DESCRIPTION\n            10          Ten\n");
}

// A store that was locked or read-only was told as thousands of codes that exist already, after minutes.
TEST_F(UnspscCommands, StoreThatCannotBeWrittenIsToldAtOnceAndInOneLine) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "one writer holds the whole store");
  write_codes(kToys);
  const std::string begin = "mercato: Nothing of codes.xlsx was loaded, since the store cannot be written. ";
  {
    const LockedStore locked(file("mercato.db"));
    const ToolRun done =
        run({"unspsc", "load", "codes.xlsx", "--store", "Provider=SQLite;Data Source=mercato.db;Busy Timeout=100"});
    EXPECT_EQ(done.status, 4);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, begin +
                            "Another process or connection holds the store 'mercato.db'. Wait until it is done, then "
                            "repeat the command.\n");
  }
  EXPECT_EQ(rows("SELECT * FROM UNSPSCCODES"), "0 rows\n");
}

// An upload passes over codes that it cannot write. When the store itself fails in the midst of it, nothing of the file
// is kept, and no code is said to exist.
TEST_F(UnspscCommands, StoreThatFailsInTheMidstOfAFileIsToldAndKeepsNothingOfIt) {
  write_codes(kToys);
  run({"execute", "-"}, "DROP TABLE COMMODITY");
  const ToolRun done = run({"unspsc", "load", "codes.xml", "--commodities"});
  EXPECT_EQ(done.status, 4);
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "mercato: Nothing of codes.xml was loaded, since the store cannot be written. The store has no table "
            "COMMODITY: `mercato init` creates the tables that are missing.\n");
  EXPECT_EQ(rows("SELECT * FROM UNSPSCCODES"), "0 rows\n");
}

TEST_F(UnspscCommands, UploadBeyondTheCallLimitIsToldAndKeepsNothing) {
  Codes many;
  for (int code = 10; code < 100; ++code)
    for (int below = 0; below < 100; ++below)
      many.emplace_back(std::to_string(code) + (below < 10 ? "0" : "") + std::to_string(below) + "0000", "x");
  write_codes(many);
  tool_.write_settings("[limits]\ncall_seconds = 0.05\n");
  expect({"unspsc", "load", "codes.xml"}, 1, "",
         "mercato: Nothing of codes.xml was loaded: it takes longer than call_seconds of the settings allows.\n");
  EXPECT_EQ(rows("SELECT * FROM UNSPSCCODES"), "0 rows\n");
}

TEST_F(UnspscCommands, FullDiskLosesTheUploadAndSaysSo) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "what is full is the disk of the process, which a server's files do not use");
  Codes many;
  for (int code = 10; code < 100; ++code) many.emplace_back(std::to_string(code) + "000000", std::string(400, 'x'));
  write_codes(many);
  const ToolRun done = tool_.run({"unspsc", "load", "codes.xlsx"}, {}, full_disk_after(100));
  EXPECT_EQ(done.status, 4);
  EXPECT_EQ(done.out, "");
  EXPECT_NE(done.err.find("The disk is full: the store 'mercato.db' cannot grow."), std::string::npos) << done.err;
  EXPECT_EQ(rows("SELECT * FROM UNSPSCCODES"), "0 rows\n");
}

TEST_F(UnspscCommands, TreeIsShownFromTheTopOrBelowACode) {
  expect({"unspsc", "tree"}, 0, "There are no UNSPSC codes.\n");
  write_codes(kToys);
  ASSERT_EQ(run({"unspsc", "load", "codes.xlsx"}).status, 0);
  expect({"unspsc", "tree"}, 0, "CODE    DESCRIPTION\n91      Toys\n  9110  Board games\n92      Sports\n");
  expect({"unspsc", "tree", "--depth", "1"}, 0, "CODE  DESCRIPTION\n91    Toys\n92    Sports\n");
  expect({"unspsc", "tree", "91000000", "--depth", "4"}, 0,
         "CODE        DESCRIPTION\n91          Toys\n  9110      Board games\n    911015  Games for two\n");
  expect({"unspsc", "tree", "911015"}, 0, "CODE    DESCRIPTION\n911015  Games for two\n");
  EXPECT_EQ(answer({"unspsc", "tree", "91", "--depth", "2"}),
            json({{"codes",
                   {{{"code", "9110"},
                     {"description", "Board games"},
                     {"codes", {{{"code", "911015"}, {"description", "Games for two"}}}}}}}}));
  for (const std::string code : {"95000000", "9", "00"})
    expect({"unspsc", "tree", code}, 1, "", "mercato: There is no UNSPSC code " + code + ".\n");
  EXPECT_EQ(run({"unspsc", "tree", "9'; DELETE FROM UNSPSCCODES; --"}).status, 1);
  EXPECT_EQ(run({"unspsc", "tree", "--depth", "0"}).status, 2);
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM UNSPSCCODES"), "N\n4\n");
}

TEST_F(UnspscCommands, ExamplesOfTheHelpWork) {
  write_codes(kToys);
  EXPECT_EQ(run({"unspsc", "--help"}).status, 0);
  for (const std::string command : {"load", "tree"}) {
    const ToolRun help = run({"unspsc", command, "--help"});
    EXPECT_EQ(help.status, 0);
    std::size_t examples = 0;
    const std::string begin = "\n  mercato unspsc " + command;
    for (std::size_t at = help.out.find(begin); at != std::string::npos; at = help.out.find(begin, at + 1)) {
      ++examples;
      const std::string example = help.out.substr(at + 1, help.out.find('\n', at + 1) - at - 1);
      const ToolRun done = tool_.run_line(example);
      EXPECT_EQ(done.status, 0) << example << '\n' << done.err;
    }
    EXPECT_GE(examples, 2u);
  }
}

}  // namespace
}  // namespace mercato::test
