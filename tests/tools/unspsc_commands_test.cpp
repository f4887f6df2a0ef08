// mercato unspsc: what the commands say in words and as JSON, and why a code or a file is refused.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/workbook_files.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;
using Codes = std::vector<std::pair<std::string, std::string>>;

class UnspscCommands : public testing::Test {
 protected:
  UnspscCommands() { EXPECT_EQ(run({"init"}).status, 0); }

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
      "CODE      DESCRIPTION                               REASON\n"
      "91000000  Toys again                                exists already; --overwrite gives it the new description\n"
      "93101500  Orphan                                    the code above it, 9310, is missing\n"
      "9100      Short                                     not a code: 8 or 10 digits, pairs of zeros at the end only\n"
      "92000000  " +
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
             {{{"code", "91000000"},
               {"description", "Toys"},
               {"number", 3},
               {"reason", "written, but the commodity exists already; --overwrite gives it the new description"}}}}}));
  EXPECT_EQ(answer({"unspsc", "load", "codes.xml", "--commodities", "--overwrite"}),
            json({{"read", 1}, {"written", 1}, {"refused", 0}, {"refusals", json::array()}}));
}

TEST_F(UnspscCommands, FileThatCannotBeReadIsRefusedWithTheReason) {
  write_whole(file("codes.xlsx"), "Code,Title\n");
  expect(
      {"unspsc", "load", "codes.xlsx"}, 1, "",
      "refused: The workbook \"codes.xlsx\" cannot be loaded: it is no zip archive.\nmercato: Unable to load XLS.\n");
  expect({"unspsc", "load", "missing.xml"}, 1, "",
         "refused: Cannot read the file \"missing.xml\": No such file or directory.\nmercato: Unable to load XML.\n");
  write_whole(file("codes.XML"), "<UNSPSC_ITEMS><UNSPSC_ITEM/></UNSPSC_ITEMS>");
  expect({"unspsc", "load", "codes.XML"}, 1, "",
         "refused: the document does not fit its schema\n"
         "mercato: Element 'UNSPSC_ITEM': Missing child element(s). Expected is ( CODE ).\n");
  write_workbook(file("codes.xlsx"), WorkbookContent{});
  expect({"unspsc", "load", "codes.xlsx"}, 1, "",
         "refused: the sheet has no used cells\nmercato: Object variable or With block variable not set.\n");
  write_workbook(file("codes.xlsx"),
                 WorkbookContent{row(1, text_cell("A1", "Code")) + row(32768, text_cell("A32768", "92000000"))});
  expect({"unspsc", "load", "codes.xlsx"}, 1, "",
         "refused: the used cells of the sheet reach beyond row or column 32,767, where the count ends\n"
         "mercato: Overflow.\n");
  write_whole(
      file("mercato.toml"),
      "[connections]\nMercato = 'Provider=SQLite;Data Source=mercato.db'\n[folders]\ninstall_dir = 'nowhere'\n");
  write_codes(kToys);
  expect({"unspsc", "load", "codes.xml"}, 1, "",
         "refused: Cannot read the file \"nowhere/xmlschemas/UNSPSC_Schema.xml\": No such file or directory.\n"
         "mercato: Schema not found.\n");
  EXPECT_EQ(rows("SELECT * FROM UNSPSCCODES"), "0 rows\n");
}

TEST_F(UnspscCommands, FullDiskLosesTheUploadAndSaysSo) {
  Codes many;
  for (int code = 10; code < 100; ++code) many.emplace_back(std::to_string(code) + "000000", std::string(400, 'x'));
  write_codes(many);
  const ToolRun done = tool_.run({"unspsc", "load", "codes.xlsx"}, {}, full_disk_after(100));
  EXPECT_NE(done.status, 0);
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
