// SPDX-License-Identifier: Apache-2.0
// Workbooks and other archives that tests write themselves: part by part, so that any part can be wrong.
#pragma once

#include <zip.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mercato::test {

struct ArchivePart {
  std::string name;
  std::string content;
};

// With a password every part is encrypted.
inline void write_archive(const std::string& path, const std::vector<ArchivePart>& parts,
                          const std::string& password = {}) {
  const auto require = [](bool done) {
    if (!done) throw std::runtime_error("the archive for the test was not written");
  };
  zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  require(archive != nullptr);
  for (const ArchivePart& part : parts) {
    zip_source_t* const source = zip_source_buffer(archive, part.content.data(), part.content.size(), 0);
    const zip_int64_t index = zip_file_add(archive, part.name.c_str(), source, 0);
    require(index >= 0);
    if (!password.empty())
      require(zip_file_set_encryption(archive, static_cast<zip_uint64_t>(index), ZIP_EM_AES_256, password.c_str()) ==
              0);
  }
  require(zip_close(archive) == 0);
}

inline std::string escaped(std::string_view text) {
  std::string markup;
  for (const char character : text) {
    if (character == '&')
      markup += "&amp;";
    else if (character == '<')
      markup += "&lt;";
    else if (character == '>')
      markup += "&gt;";
    else if (character == '"')
      markup += "&quot;";
    else
      markup += character;
  }
  return markup;
}

constexpr const char* kMainNamespace = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kOfficeNamespace = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kPackageNamespace = "http://schemas.openxmlformats.org/package/2006/relationships";

// A cell with a text of its own: <c r="B3" t="inlineStr">...
inline std::string text_cell(const std::string& reference, std::string_view text) {
  return "<c r=\"" + reference + "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">" + escaped(text) + "</t></is></c>";
}
inline std::string number_cell(const std::string& reference, const std::string& number, int style = 0) {
  return "<c r=\"" + reference + "\" s=\"" + std::to_string(style) + "\"><v>" + number + "</v></c>";
}
inline std::string row(int number, const std::string& cells) {
  return "<row r=\"" + std::to_string(number) + "\">" + cells + "</row>";
}

struct WorkbookContent {
  std::string rows;                        // of the first sheet
  std::vector<std::string> texts = {};     // shared ones, as markup inside <si>
  std::vector<std::string> formats = {};   // style 1 is the first of them; style 0 is General
  std::vector<int> built_in_formats = {};  // the styles behind those
  bool from_1904 = false;
};

inline std::string relationship(const std::string& id, const std::string& kind, const std::string& target,
                                const std::string& more = {}) {
  return "<Relationship Id=\"" + id + "\" Type=\"" + kOfficeNamespace + "/" + kind + "\" Target=\"" + escaped(target) +
         "\"" + more + "/>";
}
inline std::string relationships(const std::string& entries) {
  return std::string("<Relationships xmlns=\"") + kPackageNamespace + "\">" + entries + "</Relationships>";
}

inline std::vector<ArchivePart> workbook_parts(const WorkbookContent& content) {
  const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
  std::string texts;
  for (const std::string& text : content.texts) texts += "<si>" + text + "</si>";
  std::string formats;
  std::string styles = "<xf numFmtId=\"0\"/>";
  int id = 164;
  for (const std::string& format : content.formats) {
    formats += "<numFmt numFmtId=\"" + std::to_string(id) + "\" formatCode=\"" + escaped(format) + "\"/>";
    styles += "<xf numFmtId=\"" + std::to_string(id++) + "\"/>";
  }
  for (const int built_in : content.built_in_formats) styles += "<xf numFmtId=\"" + std::to_string(built_in) + "\"/>";
  const auto root = [&](const std::string& name, const std::string& inside) {
    return head + "<" + name + " xmlns=\"" + kMainNamespace + "\" xmlns:r=\"" + kOfficeNamespace + "\">" + inside +
           "</" + name + ">";
  };
  return {
      {"_rels/.rels", relationships(relationship("rId1", "officeDocument", "xl/workbook.xml"))},
      {"xl/workbook.xml",
       root("workbook", std::string("<workbookPr date1904=\"") + (content.from_1904 ? "1" : "0") +
                            "\"/><sheets><sheet name=\"First\" sheetId=\"7\" r:id=\"rId1\"/></sheets>")},
      {"xl/_rels/workbook.xml.rels", relationships(relationship("rId1", "worksheet", "worksheets/sheet1.xml") +
                                                   relationship("rId2", "sharedStrings", "sharedStrings.xml") +
                                                   relationship("rId3", "styles", "styles.xml"))},
      {"xl/worksheets/sheet1.xml", root("worksheet", "<sheetData>" + content.rows + "</sheetData>")},
      {"xl/sharedStrings.xml", root("sst", texts)},
      {"xl/styles.xml", root("styleSheet", "<numFmts>" + formats + "</numFmts><cellStyleXfs><xf numFmtId=\"9\"/>" +
                                               "</cellStyleXfs><cellXfs>" + styles + "</cellXfs>")},
  };
}
inline ArchivePart& part(std::vector<ArchivePart>& parts, const std::string& name) {
  const auto found = std::find_if(parts.begin(), parts.end(), [&](const ArchivePart& one) { return one.name == name; });
  if (found == parts.end()) throw std::runtime_error("no part " + name);
  return *found;
}
inline void write_workbook(const std::string& path, const WorkbookContent& content) {
  write_archive(path, workbook_parts(content));
}

// A heading, and a row for each pair, all as texts.
inline WorkbookContent codes_content(const std::vector<std::pair<std::string, std::string>>& codes) {
  WorkbookContent content;
  content.rows = row(1, text_cell("A1", "Code") + text_cell("B1", "Title"));
  int number = 1;
  for (const auto& [code, title] : codes) {
    const std::string place = std::to_string(++number);
    content.rows += row(number, text_cell("A" + place, code) + text_cell("B" + place, title));
  }
  return content;
}

}  // namespace mercato::test
