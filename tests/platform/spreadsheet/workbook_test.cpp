// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/workbook.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "mercato/raised_error.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/workbook_files.h"

namespace mercato::test {
namespace {

using spreadsheet::Area;
using spreadsheet::Workbook;
using Rows = std::vector<std::vector<std::string>>;

class WorkbookTest : public testing::Test {
 protected:
  std::string written(const std::vector<ArchivePart>& parts) const {
    const std::string path = folder_ / "book.xlsx";
    write_archive(path, parts);
    return path;
  }
  static Rows rows_of(Workbook& workbook, std::size_t columns) {
    Rows rows;
    for (std::vector<std::string> texts; workbook.next_row(columns, texts);) rows.push_back(texts);
    return rows;
  }
  Rows shown(const WorkbookContent& content, std::size_t columns = 2) const {
    return shown(workbook_parts(content), columns);
  }
  Rows shown(const std::vector<ArchivePart>& parts, std::size_t columns = 2) const {
    Workbook workbook;
    EXPECT_TRUE(workbook.open(written(parts))) << workbook.error();
    return workbook.is_open() ? rows_of(workbook, columns) : Rows();
  }
  std::optional<Area> area(const std::string& rows) const {
    Workbook workbook;
    EXPECT_TRUE(workbook.open(written(workbook_parts({rows})))) << workbook.error();
    return workbook.used_area();
  }

  TemporaryFolder folder_;
};

std::string data_file(const std::string& name) {
  return std::string(MERCATO_SOURCE_DIR) + "/tests/classification/data/" + name;
}

TEST_F(WorkbookTest, CellsOfAnOfficeProgramAreShownAsItShowsThem) {
  Workbook workbook;
  ASSERT_TRUE(workbook.open(data_file("displayed.xlsx"))) << workbook.error();
  EXPECT_EQ(workbook.used_area(), (Area{3, 3, 22, 4}));
  EXPECT_EQ(rows_of(workbook, 2), (Rows{
                                      {"What", "Shown"},       {"general", "1234.5"},   {"long code", "9110150100"},
                                      {"zeros", "00101500"},   {"decimals", "2.68"},    {"thousands", "-1,234,567"},
                                      {"percent", "18.8%"},    {"date", "2026-07-01"},  {"stamp", "1 Jul 2026 18:30"},
                                      {"time", "6:05:09 PM"},  {"elapsed", "36:15"},    {"scientific", "1.23E-04"},
                                      {"literal", "No. 0042"}, {"text", "00123"},       {"formula", "42"},
                                      {"formula text", "a<b"}, {"truth", "TRUE"},       {"error", "#DIV/0!"},
                                      {"blanks", " x  y "},    {"rich", "café & 茶 😀"},
                                  }));
}

TEST_F(WorkbookTest, CodesOfAnOfficeProgramAreTheSameAsTextsAndAsNumbers) {
  for (const char* name : {"codes-as-text.xlsx", "codes-as-numbers.xlsx"}) {
    Workbook workbook;
    ASSERT_TRUE(workbook.open(data_file(name))) << workbook.error();
    EXPECT_EQ(workbook.used_area(), (Area{1, 1, 6, 2}));
    EXPECT_EQ(rows_of(workbook, 2), (Rows{{"Code", "Title"},
                                          {"91000000", "Toys"},
                                          {"91100000", "Board games"},
                                          {"91101500", "Games for two"},
                                          {"91101501", "Chess sets, wooden"},
                                          {"91101502", "Draughts"}}));
  }
}

TEST_F(WorkbookTest, EveryKindOfCellIsShown) {
  WorkbookContent content;
  content.texts = {"<t>shared</t>", "<r><t>ri</t></r><r><rPr><b/></rPr><t xml:space=\"preserve\">ch </t></r>",
                   "<t>茶</t><rPh sb=\"0\" eb=\"1\"><t>ちゃ</t></rPh>",
                   "<t>line_x000A_end _x005F_x0041_ _xD800_ _x41_</t>"};
  content.formats = {"00000000", "yyyy-mm-dd", "\"<\"@\">\""};
  content.built_in_formats = {10};
  content.rows =
      row(1,
          "<c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c><c r=\"C1\" t=\"s\"><v>2</v></c>"
          "<c r=\"D1\" t=\"s\"><v>3</v></c>") +
      row(2,
          "<c r=\"A2\" t=\"b\"><v>1</v></c><c r=\"B2\" t=\"b\"><v>0</v></c><c r=\"C2\" t=\"e\"><v>#N/A</v></c>"
          "<c r=\"D2\" t=\"str\"><f>A1&amp;\"x\"</f><v>shared&amp;x</v></c>") +
      row(3,
          "<c r=\"A3\"><f>1+1</f><v>2</v></c><c r=\"B3\" s=\"1\"><v>1234</v></c>"
          "<c r=\"C3\" s=\"2\"><v>46204</v></c><c r=\"D3\" t=\"d\" s=\"2\"><v>2026-07-01T00:00:00Z</v></c>") +
      row(4,
          "<c r=\"A4\" t=\"s\" s=\"3\"><v>0</v></c><c r=\"B4\" s=\"4\"><v>0.5</v></c>"
          "<c r=\"C4\" s=\"99\"><v>5</v></c><c r=\"D4\"><v>1.5e3</v></c>") +
      row(5,
          "<c r=\"A5\" t=\"inlineStr\"><is><r><t>in</t></r><r><t>line</t></r><rPh><t>no</t></rPh></is></c>"
          "<c r=\"B5\" t=\"n\"><v>nonsense</v></c><c r=\"C5\" s=\"1\" t=\"str\"><v>text</v></c>");
  EXPECT_EQ(shown(content, 4), (Rows{{"shared", "rich ", "茶", "line\nend _x0041_ _xD800_ _x41_"},
                                     {"TRUE", "FALSE", "#N/A", "shared&x"},
                                     {"2", "00001234", "2026-07-01", "2026-07-01"},
                                     {"<shared>", "50.00%", "5", "1500"},
                                     {"inline", "nonsense", "text", ""}}));
}

TEST_F(WorkbookTest, DatesCountFromWhatTheWorkbookSays) {
  WorkbookContent content;
  content.formats = {"yyyy-mm-dd"};
  content.rows = row(1, number_cell("A1", "44742", 1) + "<c r=\"B1\" t=\"d\" s=\"1\"><v>2026-07-01</v></c>");
  content.from_1904 = true;
  EXPECT_EQ(shown(content), (Rows{{"2026-07-01", "2026-07-01"}}));
  content.from_1904 = false;
  EXPECT_EQ(shown(content), (Rows{{"2022-06-30", "2026-07-01"}}));
}

TEST_F(WorkbookTest, AreaGoesFromTheFirstToTheLastContentInBothDirections) {
  EXPECT_EQ(area(row(3, number_cell("C3", "1")) + row(7, number_cell("B7", "2") + number_cell("F7", "3")) +
                 row(9, number_cell("D9", "4"))),
            (Area{3, 2, 9, 6}));
  EXPECT_EQ(area(row(1048576, number_cell("XFD1048576", "1"))), (Area{1048576, 16384, 1048576, 16384}));
  EXPECT_EQ(area(""), std::nullopt);
}

TEST_F(WorkbookTest, FormattedOrEmptyCellsAreNoContentAndAFormulaIs) {
  WorkbookContent content;
  content.texts = {"<t/>"};
  content.rows = row(1,
                     "<c r=\"A1\" s=\"0\"/><c r=\"B1\" t=\"s\"><v>0</v></c>"
                     "<c r=\"C1\" t=\"inlineStr\"><is><t/></is></c><c r=\"D1\"><v></v></c>") +
                 row(2, "<c r=\"D2\" t=\"str\"><f>\"\"</f><v></v></c>") + row(3, number_cell("C3", "1")) + row(4, "");
  Workbook workbook;
  ASSERT_TRUE(workbook.open(written(workbook_parts(content))));
  EXPECT_EQ(workbook.used_area(), (Area{2, 3, 3, 4}));
  EXPECT_EQ(rows_of(workbook, 2), (Rows{{"", ""}, {"1", ""}}));
}

TEST_F(WorkbookTest, CellsAreCountedFromTheAreaAndThoseBeyondItAreEmpty) {
  const WorkbookContent content{row(5, number_cell("E5", "5") + number_cell("C5", "3")) +
                                row(9, number_cell("D9", "4"))};
  EXPECT_EQ(shown(content, 5), (Rows{{"3", "", "5", "", ""}, {"", "4", "", "", ""}}));
  EXPECT_EQ(shown(content, 1), (Rows{{"3"}, {""}}));
  EXPECT_EQ(shown(content, 0), (Rows{{}, {}}));
}

TEST_F(WorkbookTest, CellsAndRowsWithoutAReferenceStandBehindTheOnesBefore) {
  const WorkbookContent content{
      "<row><c><v>1</v></c><c><v>2</v></c></row><row r=\"4\"><c r=\"B4\"><v>3</v></c>"
      "<c><v>4</v></c></row><row><c><v>5</v></c></row>"};
  EXPECT_EQ(shown(content, 3), (Rows{{"1", "2", ""}, {"", "3", "4"}, {"5", "", ""}}));
}

TEST_F(WorkbookTest, FirstSheetIsTheFirstOfTheWorkbookWhateverItsPartIsCalled) {
  auto parts = workbook_parts({row(1, text_cell("A1", "second"))});
  parts.push_back({"xl/worksheets/Sheet9.XML", std::string("<worksheet xmlns=\"") + kMainNamespace + "\"><sheetData>" +
                                                   row(1, text_cell("A1", "first")) + "</sheetData></worksheet>"});
  part(parts, "xl/workbook.xml").content =
      std::string("<w:workbook xmlns:w=\"") + kMainNamespace + "\" xmlns:q=\"" + kOfficeNamespace +
      "\"><w:extLst><other:sheet xmlns:other=\"urn:x\" q:id=\"rId1\"/></w:extLst>"
      "<w:sheets><w:sheet q:id=\"rId9\" state=\"hidden\"/><w:sheet q:id=\"rId1\"/></w:sheets></w:workbook>";
  part(parts, "xl/_rels/workbook.xml.rels").content =
      relationships(relationship("rId1", "worksheet", "worksheets/sheet1.xml") +
                    relationship("rId9", "worksheet", "/xl/./theme/../worksheets/sheet9.xml"));
  EXPECT_EQ(shown(parts, 1), (Rows{{"first"}}));
}

TEST_F(WorkbookTest, StrictEditionOfTheMarkupIsReadToo) {
  auto parts = workbook_parts({row(1, text_cell("A1", "strict"))});
  for (ArchivePart& one : parts)
    for (const auto& [from, to] :
         {std::pair<std::string, std::string>{kMainNamespace, "http://purl.oclc.org/ooxml/spreadsheetml/main"},
          {kOfficeNamespace, "http://purl.oclc.org/ooxml/officeDocument/relationships"}})
      for (std::size_t at = 0; (at = one.content.find(from, at)) != std::string::npos; at += to.size())
        one.content.replace(at, from.size(), to);
  EXPECT_EQ(shown(parts, 1), (Rows{{"strict"}}));
}

TEST_F(WorkbookTest, WorkbookWithoutSharedTextsAndStylesIsRead) {
  auto parts = workbook_parts({row(1, number_cell("A1", "5", 3))});
  part(parts, "xl/_rels/workbook.xml.rels").content =
      relationships(relationship("rId1", "worksheet", "worksheets/sheet1.xml"));
  EXPECT_EQ(shown(parts, 1), (Rows{{"5"}}));
}

TEST_F(WorkbookTest, MillionEmptyRowsArePassedOver) {
  std::string rows = row(1, text_cell("A1", "Code"));
  for (int number = 2; number < 1000000; ++number) rows += "<row r=\"" + std::to_string(number) + "\" ht=\"12.8\"/>";
  rows += row(1000000, text_cell("A1000000", "10000000"));
  Workbook workbook;
  ASSERT_TRUE(workbook.open(written(workbook_parts({rows})))) << workbook.error();
  EXPECT_EQ(workbook.used_area(), (Area{1, 1, 1000000, 1}));
  EXPECT_EQ(rows_of(workbook, 2), (Rows{{"Code", ""}, {"10000000", ""}}));
}

TEST_F(WorkbookTest, ManyRowsComeInTheirOrder) {
  std::string rows;
  for (int number = 1; number <= 30000; ++number)
    rows += row(number, number_cell("A" + std::to_string(number), std::to_string(number * 7)));
  const Rows all = shown(WorkbookContent{rows}, 1);
  ASSERT_EQ(all.size(), 30000u);
  for (std::size_t index = 0; index < all.size(); ++index) ASSERT_EQ(all[index][0], std::to_string((index + 1) * 7));
}

TEST_F(WorkbookTest, RowsAreKnownByTheirNumbers) {
  const std::string path = folder_ / "rows.xlsx";
  write_workbook(path, WorkbookContent{row(3, text_cell("B3", "a")) + row(4, "") + row(9, text_cell("B9", "b"))});
  spreadsheet::Workbook workbook;
  ASSERT_TRUE(workbook.open(path)) << workbook.error();
  EXPECT_EQ(workbook.row_number(), 0);
  std::vector<std::string> texts;
  ASSERT_TRUE(workbook.next_row(1, texts));
  EXPECT_EQ(workbook.row_number(), 3);
  ASSERT_TRUE(workbook.next_row(1, texts));
  EXPECT_EQ(workbook.row_number(), 9);
}

TEST_F(WorkbookTest, PathIsWrittenAsTheInterfaceDoesOrAsTheHostDoes) {
  std::string path = written(workbook_parts({row(1, number_cell("A1", "5"))}));
  Workbook workbook;
  EXPECT_TRUE(workbook.open(path));
  std::replace(path.begin(), path.end(), '/', '\\');
  EXPECT_TRUE(workbook.open(path)) << workbook.error();
}

TEST_F(WorkbookTest, ClosedWorkbookHasNoRows) {
  Workbook workbook;
  std::vector<std::string> texts;
  EXPECT_EQ(failure_of([&] { workbook.next_row(1, texts); }).Number, error_number::kObjectNotSet);
  EXPECT_EQ(failure_of([&] { workbook.used_area(); }).Number, error_number::kObjectNotSet);
  ASSERT_TRUE(workbook.open(written(workbook_parts({row(1, number_cell("A1", "5"))}))));
  EXPECT_TRUE(workbook.next_row(1, texts));
  EXPECT_FALSE(workbook.next_row(1, texts));
  EXPECT_FALSE(workbook.next_row(1, texts));
  workbook.close();
  EXPECT_FALSE(workbook.is_open());
  EXPECT_EQ(failure_of([&] { workbook.next_row(1, texts); }).Number, error_number::kObjectNotSet);
}

TEST_F(WorkbookTest, FileThatIsCutShortWhileItIsReadFails) {
  std::string rows;
  for (int number = 1; number <= 20000; ++number)
    rows += row(number, text_cell("A" + std::to_string(number), std::to_string(number * 7919 % 100003)));
  const std::string path = written(workbook_parts({rows}));
  Workbook workbook;
  ASSERT_TRUE(workbook.open(path));
  std::filesystem::resize_file(path, 1000);
  const RaisedError failure = failure_of([&] { rows_of(workbook, 1); });
  EXPECT_EQ(failure.Number, error_number::kPathFileAccess);
  EXPECT_TRUE(failure.Description.starts_with("The workbook cannot be read on: its part xl/worksheets/sheet1.xml "))
      << failure.Description;
}

}  // namespace
}  // namespace mercato::test
