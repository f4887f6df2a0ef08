// SPDX-License-Identifier: Apache-2.0
// A workbook is a zip archive of a few documents, of which only the sheet has a size. It is packed as it is written.
#include <archive.h>
#include <archive_entry.h>

#include <ctime>
#include <new>
#include <vector>

#include "exchange/writers/table_writers.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kMostRows = 1'048'576;
constexpr std::string_view kPartDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

// "A", "B", ... "AA".
std::string column_name(std::size_t place) {
  constexpr std::size_t kLetters = 26;
  std::string name;
  for (std::size_t rest = place + 1; rest > 0; rest = (rest - 1) / kLetters)
    name.insert(name.begin(), static_cast<char>('A' + (rest - 1) % kLetters));
  return name;
}

class XlsxWriter final : public TableWriter {
 public:
  XlsxWriter(Output& output, const std::string& sheet) : output_(output), archive_(::archive_write_new()) {
    if (!archive_) throw std::bad_alloc();
    ::archive_write_set_format_zip(archive_.get());
    ::archive_write_set_bytes_per_block(archive_.get(), 0);
    expect(::archive_write_open(archive_.get(), this, nullptr, take, nullptr));
    add("[Content_Types].xml",
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
        "<Override PartName=\"/xl/workbook.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
        "<Override PartName=\"/xl/worksheets/sheet1.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/></Types>");
    add("_rels/.rels",
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"rId1\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
        "Target=\"xl/workbook.xml\"/></Relationships>");
    std::string book =
        "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
        "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><sheets><sheet name=\"";
    append_escaped(book, sheet);
    add("xl/workbook.xml", book + "\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>");
    add("xl/_rels/workbook.xml.rels",
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"rId1\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
        "Target=\"worksheets/sheet1.xml\"/></Relationships>");
    begin("xl/worksheets/sheet1.xml");
    write(kPartDeclaration);
    write("<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>\n");
  }

  void row(std::span<const TableCell> cells) override {
    if (++rows_ > kMostRows)
      raise(error_number::kInvalidArgument, {},
            "A sheet has 1,048,576 rows, and there are more: write comma-separated text, or fewer records.");
    while (names_.size() < cells.size()) names_.push_back(column_name(names_.size()));
    const std::string number = std::to_string(rows_);
    text_ = "<row r=\"" + number + "\">";
    for (std::size_t place = 0; place < cells.size(); ++place) {
      const TableCell& cell = cells[place];
      if (cell.text.empty()) continue;
      text_ += "<c r=\"" + names_[place] + number;
      if (cell.is_number) {
        text_ += "\"><v>" + cell.text + "</v></c>";
        continue;
      }
      text_ += "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">";
      append_escaped(text_, cell.text);
      text_ += "</t></is></c>";
    }
    text_ += "</row>\n";
    write(text_);
  }

  void finish() override {
    write("</sheetData></worksheet>\n");
    expect(::archive_write_finish_entry(archive_.get()));
    expect(::archive_write_close(archive_.get()));
    pass_on();
    output_.finish();
  }

 private:
  struct Close {
    void operator()(::archive* packed) const {
      ::archive_write_fail(packed);  // what is not finished goes nowhere
      ::archive_write_free(packed);
    }
  };
  struct Free {
    void operator()(::archive_entry* entry) const { ::archive_entry_free(entry); }
  };

  // No failure passes through the archive's own code, so the bytes are kept until it has returned.
  static la_ssize_t take(::archive* /*packed*/, void* writer, const void* bytes, std::size_t size) {
    static_cast<XlsxWriter*>(writer)->packed_.append(static_cast<const char*>(bytes), size);
    return static_cast<la_ssize_t>(size);
  }
  void pass_on() {
    output_.write(packed_);
    packed_.clear();
  }

  void expect(la_ssize_t result) const {
    if (result < ARCHIVE_OK)
      raise(error_number::kPathFileAccess, {}, "The workbook cannot be packed: " + words(archive_.get()));
  }
  static std::string words(::archive* packed) {
    const char* const said = ::archive_error_string(packed);
    return said ? said : "no memory";
  }

  void begin(const char* name) {
    constexpr int kPlainFile = 0644;
    // Each file of the same rows has the same bytes.
    constexpr std::time_t kFirstDayOfZip = 315'532'800;
    const std::unique_ptr<::archive_entry, Free> entry(::archive_entry_new());
    ::archive_entry_set_pathname(entry.get(), name);
    ::archive_entry_set_filetype(entry.get(), AE_IFREG);
    ::archive_entry_set_perm(entry.get(), kPlainFile);
    ::archive_entry_set_mtime(entry.get(), kFirstDayOfZip, 0);
    expect(::archive_write_header(archive_.get(), entry.get()));
  }
  void write(std::string_view text) {
    expect(::archive_write_data(archive_.get(), text.data(), text.size()));
    pass_on();
  }
  void add(const char* name, const std::string& document) {
    begin(name);
    write(std::string(kPartDeclaration) + document);
    expect(::archive_write_finish_entry(archive_.get()));
  }

  Output& output_;
  std::string packed_;
  std::unique_ptr<::archive, Close> archive_;
  std::vector<std::string> names_;
  std::string text_;
  std::size_t rows_ = 0;
};

}  // namespace

std::unique_ptr<TableWriter> xlsx_writer(Output& output, const std::string& sheet) {
  return std::make_unique<XlsxWriter>(output, sheet);
}

}  // namespace mercato::exchange
