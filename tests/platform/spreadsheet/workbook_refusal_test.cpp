// SPDX-License-Identifier: Apache-2.0
// Files that are no readable workbooks: each is refused with its reason, and nothing is raised.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "platform/spreadsheet/workbook.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/workbook_files.h"

namespace mercato::test {
namespace {

using spreadsheet::Limits;
using spreadsheet::Workbook;

class WorkbookRefusal : public testing::Test {
 protected:
  std::string path() const { return folder_ / "book.xlsx"; }
  void expect_refused(const std::string& reason, const Limits& limits = {}) const {
    Workbook workbook(limits);
    EXPECT_FALSE(workbook.open(path()));
    EXPECT_FALSE(workbook.is_open());
    EXPECT_EQ(workbook.error(), "The workbook \"" + path() + "\" cannot be loaded: " + reason + ".");
  }
  void expect_refused(const std::vector<ArchivePart>& parts, const std::string& reason,
                      const Limits& limits = {}) const {
    write_archive(path(), parts);
    expect_refused(reason, limits);
  }
  void expect_bytes_refused(const std::string& bytes, const std::string& reason) const {
    std::ofstream(path(), std::ios::binary) << bytes;
    expect_refused(reason);
  }
  std::string bytes() const {
    std::ifstream file(path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::vector<ArchivePart> good() { return workbook_parts({row(1, number_cell("A1", "5"))}); }
  static std::vector<ArchivePart> with(const std::string& name, const std::string& content) {
    auto parts = good();
    part(parts, name).content = content;
    return parts;
  }
  static std::vector<ArchivePart> with_rows(const std::string& rows) { return workbook_parts({rows}); }
  static std::vector<ArchivePart> with_relationships(const std::string& entries) {
    return with("xl/_rels/workbook.xml.rels", relationships(entries));
  }

  TemporaryFolder folder_;
};

const std::string kSheet = "xl/worksheets/sheet1.xml";

TEST_F(WorkbookRefusal, WhatIsNoFile) {
  expect_refused("No such file or directory");
  std::filesystem::create_directory(path());
  expect_refused("it is no file");
  std::filesystem::remove(path());
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  expect_refused("it is no file");
  Workbook workbook;
  EXPECT_FALSE(workbook.open(std::string("a\0b.xlsx", 8)));
  EXPECT_FALSE(workbook.open(""));
}

TEST_F(WorkbookRefusal, WhatIsNoArchive) {
  expect_bytes_refused("", "it is no zip archive");
  expect_bytes_refused("Code,Title\n", "it is no zip archive");
  expect_bytes_refused("PK\x03\x04 but no more", "it is no whole zip archive: Not a zip archive");
  write_archive(path(), good());
  const std::string whole = bytes();
  expect_bytes_refused(whole.substr(0, whole.size() / 2), "it is no whole zip archive: Not a zip archive");
}

TEST_F(WorkbookRefusal, WhatIsProtectedByAPassword) {
  expect_bytes_refused("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(1000, '\0'),
                       "it is protected by a password, or of the old binary format");
  write_archive(path(), good(), "secret");
  expect_refused("it is encrypted");
}

TEST_F(WorkbookRefusal, WhatIsNoWorkbook) {
  expect_refused({{"readme.txt", "hello"}}, "it has no part _rels/.rels");
  expect_refused({{"_rels/.rels", relationships("")}}, "it is no workbook");
  expect_refused(with("xl/workbook.xml", "<html/>"), "it is no workbook");
  expect_refused(with("xl/workbook.xml", std::string("<workbook xmlns=\"") + kMainNamespace + "\"/>"),
                 "it has no sheet");
  expect_refused({{"_rels/.rels", relationships(relationship("rId1", "officeDocument", "xl/workbook.xml"))}},
                 "it has no part xl/workbook.xml");
  auto parts = good();
  parts.erase(parts.begin() + 3);
  expect_refused(parts, "it has no part " + kSheet);
}

TEST_F(WorkbookRefusal, WhatHasAChartForItsFirstSheet) {
  expect_refused(with_relationships(relationship("rId1", "chartsheet", "chartsheets/sheet1.xml")),
                 "its first sheet has no cells");
}

TEST_F(WorkbookRefusal, WhatLeadsOutOfTheArchive) {
  const auto leading_to = [](const std::string& target, const std::string& more = {}) {
    return with_relationships(relationship("rId1", "worksheet", target, more));
  };
  const auto out = [](const std::string& target) { return "it leads to \"" + target + "\", which is no part of it"; };
  for (const std::string target : {"../../etc/passwd", "/../etc/passwd", "..\\..\\sheet.xml", "file:///etc/passwd",
                                   "http://example.org/sheet.xml", "C:/sheet.xml"})
    expect_refused(leading_to(target), out(target));
  expect_refused(leading_to("http://example.org/sheet.xml", " TargetMode=\"External\""),
                 "it leads to a file outside of it");
  expect_refused(leading_to("/etc/passwd"), "it has no part etc/passwd");
}

TEST_F(WorkbookRefusal, WhatIsNoWellFormedMarkup) {
  const std::string head = "its part " + kSheet + " is no well-formed XML: ";
  write_archive(path(), with(kSheet, "<worksheet><sheetData>"));
  Workbook workbook;
  EXPECT_FALSE(workbook.open(path()));
  EXPECT_NE(workbook.error().find(head), std::string::npos) << workbook.error();
  for (const std::string content : {"", "text", "<a><b></a></b>", "<a>&undefined;</a>", "<a/><b/>", "<a x='1' x='2'/>",
                                    "<a>\xFF\xFE</a>", "<a>\x01</a>"}) {
    write_archive(path(), with(kSheet, content));
    EXPECT_FALSE(workbook.open(path())) << content;
    EXPECT_NE(workbook.error().find(head), std::string::npos) << workbook.error();
  }
  std::string deep;
  for (int level = 0; level < 100000; ++level) deep += "<a>";
  write_archive(path(), with(kSheet, deep));
  EXPECT_FALSE(workbook.open(path()));
  EXPECT_NE(workbook.error().find(head), std::string::npos) << workbook.error();
}

TEST_F(WorkbookRefusal, WhatDeclaresEntitiesInAnyPart) {
  const std::string laughs =
      "<!DOCTYPE a [<!ENTITY b \"bbbbbbbbbb\"><!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]><a>&c;</a>";
  const std::string elsewhere = "<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>";
  for (const std::string& content : {laughs, elsewhere})
    for (const std::string name : {"_rels/.rels", "xl/workbook.xml", "xl/_rels/workbook.xml.rels", kSheet.c_str(),
                                   "xl/sharedStrings.xml", "xl/styles.xml"})
      expect_refused(with(name, content), "its part " + name + " has a DOCTYPE");
}

TEST_F(WorkbookRefusal, WhatUnpacksToFarMoreThanTheFileCanHold) {
  const std::string far_more = "its part " + kSheet + " unpacks to far more than the file can hold";
  const std::vector<ArchivePart> bomb = with_rows(std::string(std::size_t{64} << 20, ' '));
  expect_refused(bomb, far_more);
  // The archive's directory lies: it says that the part is small.
  std::string archive = bytes();
  ASSERT_LT(archive.size(), std::size_t{1} << 20);
  for (std::size_t at = 0; (at = archive.find("PK\x01\x02", at)) != std::string::npos; ++at)
    if (archive.compare(at + 46, kSheet.size(), kSheet) == 0) archive.replace(at + 24, 4, std::string("\x10\0\0\0", 4));
  std::ofstream(path(), std::ios::binary) << archive;
  Workbook workbook;
  EXPECT_FALSE(workbook.open(path()));

  Limits limits;
  limits.free_part_bytes = 1000;
  limits.max_ratio = 1;
  expect_refused(with_rows(std::string(100000, ' ')), far_more, limits);
  auto texts = good();
  part(texts, "xl/sharedStrings.xml").content = "<sst>" + std::string(100000, ' ') + "</sst>";
  expect_refused(texts, "its part xl/sharedStrings.xml unpacks to far more than the file can hold", limits);
  limits.max_ratio = 1000;
  write_archive(path(), with_rows(row(1, number_cell("A1", "5")) + std::string(100000, ' ')));
  EXPECT_TRUE(Workbook(limits).open(path()));
}

TEST_F(WorkbookRefusal, WhatIsLargerThanItsLimits) {
  Limits limits;
  limits.max_file_bytes = 100;
  expect_refused(good(), "it has more than 100 bytes", limits);
  limits = {};
  limits.max_part_bytes = 1000;
  expect_refused(with_rows(std::string(100000, ' ')),
                 "its part " + kSheet + " unpacks to far more than the file can hold", limits);
  expect_refused(with_rows(row(1, text_cell("A1", std::string(200000, 'x')))),
                 "its part " + kSheet + " has a cell with too long a text");
  auto parts = good();
  part(parts, "xl/sharedStrings.xml").content =
      std::string("<sst xmlns=\"") + kMainNamespace + "\"><si><t>" + std::string(200000, 'x') + "</t></si></sst>";
  expect_refused(parts, "it has too long a text");
}

TEST_F(WorkbookRefusal, WhatHasMoreRowsOrColumnsThanASheet) {
  expect_refused(with_rows(row(1048577, number_cell("A1048577", "1"))), "its part " + kSheet + " has too many rows");
  expect_refused(with_rows("<row r=\"1048576\"/><row/>"), "its part " + kSheet + " has too many rows");
  expect_refused(with_rows(row(1, number_cell("XFE1", "1"))), "its part " + kSheet + " has too many columns");
  expect_refused(with_rows(row(1, number_cell("ZZZZZZZZZZZZ1", "1"))), "its part " + kSheet + " has too many columns");
  expect_refused(with_rows(row(1, number_cell("XFD1", "1") + "<c><v>1</v></c>")),
                 "its part " + kSheet + " has too many columns");
  std::string cells;
  for (int count = 0; count <= 16384; ++count) cells += number_cell("A1", "1");
  expect_refused(with_rows(row(1, cells)), "its part " + kSheet + " has a row with too many cells");
}

TEST_F(WorkbookRefusal, WhatHasRowsOutOfOrder) {
  const std::string reason = "its part " + kSheet + " has rows that are not in order";
  expect_refused(with_rows(row(2, "") + row(1, "")), reason);
  expect_refused(with_rows(row(2, "") + row(2, "")), reason);
  for (const std::string number : {"0", "-1", "x", "1.5", "99999999999"})
    expect_refused(with_rows("<row r=\"" + number + "\"/>"), reason);
  expect_refused(with_rows(row(1, "<c r=\"1\"><v>5</v></c>")), "its part " + kSheet + " has a cell without a column");
}

TEST_F(WorkbookRefusal, WhatRefersToATextThatItDoesNotHave) {
  for (const std::string number : {"0", "-1", "x", "99999999999999999999"})
    expect_refused(with_rows(row(1, "<c r=\"A1\" t=\"s\"><v>" + number + "</v></c>")),
                   "it refers to a text that it does not have");
}

TEST_F(WorkbookRefusal, WhatIsDamaged) {
  write_archive(path(), with_rows(row(1, text_cell("A1", std::string(1000, 'x')))));
  const std::string whole = bytes();
  int refused = 0;
  for (std::size_t at = 0; at < whole.size(); at += 7) {
    std::string damaged = whole;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
    std::ofstream(path(), std::ios::binary) << damaged;
    Workbook workbook;
    if (!workbook.open(path())) ++refused;
  }
  EXPECT_GT(refused, 50);
}

TEST_F(WorkbookRefusal, ReasonGoesWhenAWorkbookIsReadAfterwards) {
  Workbook workbook;
  EXPECT_FALSE(workbook.open(path()));
  write_archive(path(), good());
  EXPECT_TRUE(workbook.open(path()));
  EXPECT_EQ(workbook.error(), "");
  EXPECT_FALSE(workbook.open(folder_ / "missing.xlsx"));
  EXPECT_FALSE(workbook.is_open());
}

}  // namespace
}  // namespace mercato::test
