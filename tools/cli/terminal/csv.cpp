// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/csv.h"

#include <algorithm>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

[[noreturn]] void fail(std::size_t line, const std::string& what) {
  raise(error_number::kInvalidArgument, {}, "Line " + std::to_string(line) + ": " + what);
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text_.starts_with(kByteOrderMark)) text_.remove_prefix(kByteOrderMark.size());
  }

  bool at_end() const { return text_.empty(); }
  CsvRow read_row() {
    CsvRow row{line_, {}};
    do {
      if (++fields_ > kMostCsvFields)
        fail(line_, "the file has more than " + std::to_string(kMostCsvFields) + " fields; load it in parts");
      row.fields.push_back(at('"') ? quoted() : plain());
    } while (take(','));
    end_line();
    for (const std::string& field : row.fields)
      if (!text::is_valid(field)) fail(row.line, "this is not UTF-8; save the file in that encoding");
    return row;
  }

 private:
  bool at(char wanted) const { return !text_.empty() && text_.front() == wanted; }
  bool at_line_end() const { return at_end() || at('\n') || text_.starts_with("\r\n"); }
  bool take(char wanted) {
    if (!at(wanted)) return false;
    text_.remove_prefix(1);
    if (wanted == '\n') ++line_;
    return true;
  }
  char next() {
    const char character = text_.front();
    take(character);
    return character;
  }
  std::string plain() {
    std::string field;
    while (!at(',') && !at_line_end()) {
      if (at('"')) fail(line_, "a quote stands inside a field; put the whole field in quotes and double those inside");
      field += next();
    }
    return field;
  }
  std::string quoted() {
    const std::size_t begin = line_;
    next();
    std::string field;
    for (;;) {
      if (at_end()) fail(begin, "a quote that is opened here is never closed");
      if (take('"') && !at('"')) break;
      field += next();
    }
    if (!at(',') && !at_line_end())
      fail(line_, "text follows a closing quote; put a comma between two fields and double a quote inside of one");
    return field;
  }
  void end_line() {
    if (text_.starts_with("\r\n")) text_.remove_prefix(1);
    take('\n');
  }

  std::string_view text_;
  std::size_t line_ = 1;
  std::size_t fields_ = 0;
};

}  // namespace

std::vector<CsvRow> read_csv(std::string_view text) {
  std::vector<CsvRow> rows;
  for (Reader reader(text); !reader.at_end();) {
    CsvRow row = reader.read_row();
    if (row.fields == std::vector<std::string>{""}) continue;
    if (!rows.empty() && row.fields.size() != rows.front().fields.size())
      fail(row.line, std::to_string(row.fields.size()) + " fields instead of " +
                         std::to_string(rows.front().fields.size()) +
                         " as in the header; put a field that has a comma in quotes");
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace mercato::cli
