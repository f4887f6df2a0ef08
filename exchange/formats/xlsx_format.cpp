// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/xlsx_format.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "exchange/formats/proposal.h"
#include "exchange/formats/table_reading.h"
#include "exchange/read_values.h"
#include "mercato/raised_error.h"
#include "platform/spreadsheet/workbook.h"

namespace mercato::exchange {
namespace {

// The directory of an archive stands at its end, so its bytes have to lie in a file.
class SpooledFile {
 public:
  explicit SpooledFile(Bytes& bytes)
      : path_((std::filesystem::temp_directory_path() / "mercato-sheet-XXXXXX").string()) {
    const int file = ::mkstemp(path_.data());
    if (file < 0) fail();
    std::uint64_t size = 0;
    bool good = true;
    for (std::string_view piece = bytes.next(); good && !piece.empty(); piece = bytes.next()) {
      size += piece.size();
      if (size > spreadsheet::Limits().max_file_bytes) break;  // the reader refuses it with its reason
      while (good && !piece.empty()) {
        const ssize_t written = ::write(file, piece.data(), piece.size());
        good = written > 0;
        if (good) piece.remove_prefix(static_cast<std::size_t>(written));
      }
    }
    good = ::ftruncate(file, static_cast<off_t>(size)) == 0 && good;
    good = ::close(file) == 0 && good;
    if (good) return;
    std::remove(path_.c_str());
    fail();
  }
  ~SpooledFile() { std::remove(path_.c_str()); }
  SpooledFile(const SpooledFile&) = delete;
  SpooledFile& operator=(const SpooledFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  [[noreturn]] void fail() const {
    raise(error_number::kPathFileAccess, {}, "The file \"" + path_ + "\" cannot be written.");
  }
  std::string path_;
};

class SheetTable final : public Table {
 public:
  SheetTable(Bytes& bytes, const ReadingOptions& options) : file_(bytes) {
    const bool told = !options.sheet.empty() || !options.mapping;
    if (!workbook_.open(file_.path(), told ? options.sheet : options.mapping->sheet)) {
      // The name of our own copy says nothing to anybody.
      const std::string& error = workbook_.error();
      raise(error_number::kInvalidArgument, {},
            "The workbook" + error.substr(std::min(error.find(" cannot"), error.size())));
    }
    if (const auto& area = workbook_.used_area())
      columns_ = static_cast<std::size_t>(area->last_column) - static_cast<std::size_t>(area->first_column) + 1;
  }

  bool next(TableRow& row) override {
    row.fault.clear();
    while (workbook_.next_row(columns_, row.cells, spreadsheet::Workbook::Cells::stored)) {
      row.line = static_cast<std::uint64_t>(workbook_.row_number());
      if (std::ranges::any_of(row.cells, [](const std::string& cell) { return !trimmed(cell).empty(); })) return true;
    }
    return false;
  }

 private:
  SpooledFile file_;
  spreadsheet::Workbook workbook_;
  std::size_t columns_ = 0;
};

}  // namespace

void read_xlsx(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  SheetTable table(bytes, options);
  read_table(table, options, sink, '.');
}

std::string propose_xlsx_mapping(Bytes& bytes, const ReadingOptions& options, std::string_view file) {
  SheetTable table(bytes, options);
  const SampledTable sampled(table);
  if (sampled.sample().empty()) raise(error_number::kInvalidArgument, {}, "The sheet has no rows.");
  return mapping_text(propose(sampled.sample()), sampled.sample(), file);
}

}  // namespace mercato::exchange
