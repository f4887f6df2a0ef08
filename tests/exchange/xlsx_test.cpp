// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exchange/formats/mapping.h"
#include "exchange/formats/xlsx_format.h"
#include "exchange/input/source.h"
#include "tests/exchange/told.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/workbook_files.h"

namespace mercato::exchange {
namespace {

using mercato::test::ArchivePart;
using mercato::test::number_cell;
using mercato::test::row;
using mercato::test::text_cell;
using mercato::test::WorkbookContent;

class Workbooks : public testing::Test {
 protected:
  std::string path() const { return folder_ / "book.xlsx"; }
  void write(const std::vector<ArchivePart>& parts) const { mercato::test::write_archive(path(), parts); }
  std::string read(const ReadingOptions& options = {}) const {
    Told sink;
    try {
      const std::unique_ptr<Bytes> bytes = open_source(path());
      EXPECT_EQ(format_of(bytes->peek()), format_named("xlsx"));
      read_xlsx(*bytes, options, sink);
    } catch (const Raised& raised) {
      return sink.text() + "raised " + raised.error().Description + "\n";
    }
    return sink.text();
  }

 private:
  mercato::test::TemporaryFolder folder_;
};

WorkbookContent price_list() {
  WorkbookContent content;
  content.formats = {"0.00", "yyyy\\-mm", "00000"};
  content.rows = row(1, text_cell("B1", "Prices of 2026")) +
                 row(3, text_cell("B3", "Item no") + text_cell("C3", "Description") + text_cell("D3", "Price") +
                            text_cell("E3", "Currency") + text_cell("F3", "Valid from")) +
                 row(4, number_cell("B4", "12", 3) + text_cell("C4", "Nut") + number_cell("D4", "0.0143", 1) +
                            text_cell("E4", "EUR") + number_cell("F4", "46115", 2)) +
                 row(5, number_cell("B5", "12345678901") + "<c r=\"C5\" t=\"str\"><f>1+1</f><v>Bolt</v></c>" +
                            number_cell("D5", "1.234", 1) + text_cell("E5", "EUR"));
  return content;
}

TEST_F(Workbooks, GiveNumbersAndDaysAsTheyAreStored) {
  write(mercato::test::workbook_parts(price_list()));
  EXPECT_EQ(read(),
            "headers is line 3\n"
            "decimal sign .\n"
            "header\n"
            "put 00012 @4\n"
            "  PRODUCTDESCRIPTION Nut\n"
            "  price 0.0143 in EUR since 2026-04-03\n"
            "put 12345678901 @5\n"
            "  PRODUCTDESCRIPTION Bolt\n"
            "  price 1.234 in EUR\n");
}

TEST_F(Workbooks, HaveSheetsByNameAndNumber) {
  std::vector<ArchivePart> parts = mercato::test::workbook_parts(price_list());
  WorkbookContent other;
  other.rows =
      row(1, text_cell("A1", "sku") + text_cell("B1", "name")) + row(2, text_cell("A2", "X") + text_cell("B2", "Y"));
  std::vector<ArchivePart> others = mercato::test::workbook_parts(other);
  parts.push_back({"xl/worksheets/sheet2.xml", mercato::test::part(others, "xl/worksheets/sheet1.xml").content});
  std::string& book = mercato::test::part(parts, "xl/workbook.xml").content;
  book.insert(book.find("</sheets>"), "<sheet name=\"Spare parts\" sheetId=\"9\" r:id=\"rId9\"/>");
  std::string& links = mercato::test::part(parts, "xl/_rels/workbook.xml.rels").content;
  links.insert(links.find("</Relationships>"),
               mercato::test::relationship("rId9", "worksheet", "worksheets/sheet2.xml"));
  write(parts);
  const std::string expected = "headers is line 1\ndecimal sign .\nheader\nput X @2\n  PRODUCTDESCRIPTION Y\n";
  ReadingOptions options;
  for (const char* sheet : {"2", "spare parts"}) {
    options.sheet = sheet;
    EXPECT_EQ(read(options), expected);
  }
  options.sheet.clear();
  const Mapping mapping = read_mapping("number='sku'\nsheet='Spare parts'\n[fields]\nPRODUCTDESCRIPTION='name'\n", "m");
  options.mapping = &mapping;
  EXPECT_EQ(read(options), expected);
  options.sheet = "Prices";
  EXPECT_EQ(read(options), "raised The workbook cannot be loaded: it has no sheet \"Prices\".\n");
}

TEST_F(Workbooks, ProposeAMapping) {
  write(mercato::test::workbook_parts(price_list()));
  const std::unique_ptr<Bytes> bytes = open_source(path());
  EXPECT_EQ(
      propose_xlsx_mapping(*bytes, {}, "book.xlsx"),
      "# Which column of book.xlsx is what. Proposed from its headers and its first 4 rows: read it before you use "
      "it.\n"
      "\n"
      "number = \"Item no\"  # such as \"00012\"\n"
      "\n"
      "[fields]\n"
      "PRODUCTDESCRIPTION = \"Description\"  # such as \"Nut\"\n"
      "\n"
      "[constants]  # of products for which the file says nothing\n"
      "# UNITCODE = \"PCE\"\n"
      "\n"
      "[[price]]\n"
      "amount = \"Price\"  # such as \"0.0143\"\n"
      "currency = \"Currency\"  # such as \"EUR\"\n"
      "from = \"Valid from\"  # such as \"2026-04-03\"\n");
}

TEST_F(Workbooks, ThatAreDamagedOrEmptyEndInOneSentence) {
  write({{"xl/nothing", "x"}});
  EXPECT_EQ(read(), "raised The workbook cannot be loaded: it has no part _rels/.rels.\n");
  write(mercato::test::workbook_parts({.rows = ""}));
  EXPECT_EQ(read(), "raised The file has no rows.\n");
}

}  // namespace
}  // namespace mercato::exchange
