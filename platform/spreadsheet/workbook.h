// SPDX-License-Identifier: Apache-2.0
// Spreadsheets (.xlsx): the cells of one of a workbook's sheets as they are displayed, or as they are stored. Open this header first; it is the
// only one that others include. One thread at a time; different workbooks are independent.
//
// Rows are streamed: what is kept in memory is the texts that cells share, and some rows. Nothing outside the file is
// ever read, no formula is evaluated (the values that the file has for them are shown), no macro is run.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spreadsheet/workbook_limits.h"

namespace mercato::spreadsheet {

// From the first to the last row and column with a cell that has content: a value, or a formula. Counted from 1.
struct Area {
  std::int32_t first_row = 0;
  std::int32_t first_column = 0;
  std::int32_t last_row = 0;
  std::int32_t last_column = 0;
  bool operator==(const Area&) const = default;
};

class Workbook {
 public:
  Workbook() : Workbook(Limits{}) {}
  explicit Workbook(const Limits& limits);
  ~Workbook();
  Workbook(Workbook&&) noexcept;
  Workbook& operator=(Workbook&&) noexcept;

  // Reads a sheet once from end to end, so that whatever is wrong with it is found here. Answers whether the
  // file, a path in the interface's or the host's form, is a readable workbook; when not, nothing is open, and `error`
  // has the reason as one sentence. No input makes it raise. Replaces what was open.
  // `sheet`: its name in any case, or its number from 1; empty: the first one.
  bool open(std::string_view file, std::string_view sheet = {});
  bool is_open() const { return state_ != nullptr; }
  void close();
  // Empty after a successful open.
  const std::string& error() const { return error_; }

  // Nothing when no cell of the sheet has content. Raises 91 when no workbook is open.
  const std::optional<Area>& used_area() const;

  // Goes on to the next row in which some cell of the area has content, and gives the displayed texts of its first
  // `columns` cells, counted from the area's first column; a cell without content, and one beyond the area, shows
  // nothing. Rows without content are passed over; the first call gives the area's first row. False at the end. Raises
  // 91 when no workbook is open, 75 when the file has changed under the reader.
  // With `Cells::stored` numbers come with all their digits, whatever their format shows, and days as 2026-04-03; a
  // number that is shown by digits alone, such as 00012, stays as it is shown.
  enum class Cells : std::uint8_t { displayed, stored };
  bool next_row(std::size_t columns, std::vector<std::string>& texts, Cells cells = Cells::displayed);
  // The number of the row that next_row gave last, counted from 1; 0 before the first.
  std::int32_t row_number() const { return row_number_; }

 private:
  struct State;
  Limits limits_;
  std::string error_;
  std::int32_t row_number_ = 0;
  std::unique_ptr<State> state_;
};

}  // namespace mercato::spreadsheet
