// SPDX-License-Identifier: Apache-2.0
// The rows of a worksheet's part as they stream by, before anything is looked up: positions, kinds and raw values of
// the cells that hold something. Private to this folder. One thread at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spreadsheet/part_parser.h"
#include "platform/spreadsheet/workbook_limits.h"

namespace mercato::spreadsheet {

enum class CellKind { number, shared_text, text, boolean, error, date };

struct RawCell {
  std::int32_t column = 0;  // counted from 1
  CellKind kind = CellKind::number;
  std::uint32_t style = 0;
  bool has_formula = false;
  std::string value;  // a shared text is named by its number
};

struct RawRow {
  std::int32_t number = 0;  // counted from 1
  std::vector<RawCell> cells;
};

class SheetReader : private PartHandler {
 public:
  SheetReader(PartStream stream, std::string part_name, const Limits& limits);

  // The next row with a cell that has a value or a formula; nothing at the end, when the whole part was read. Throws
  // Unreadable also for rows that are out of order, and rows or columns beyond those that a sheet can have.
  std::optional<RawRow> next();

  static constexpr std::int32_t kMostRows = 1048576;
  static constexpr std::int32_t kMostColumns = 16384;

 private:
  void open(const Element& element) override;
  void close(std::string_view name) override;
  void text(std::string_view piece) override;
  void open_row(const Element& element);
  void open_cell(const Element& element);
  [[noreturn]] void fail(const std::string& reason) const;

  // The element that the parser is in. Other elements of the sheet are passed over.
  bool in_rows_ = false;
  bool in_row_ = false;
  bool in_cell_ = false;
  bool in_inline_text_ = false;
  int phonetic_ = 0;  // depth in readings, which are written above a text and are no part of it
  bool takes_text_ = false;

  RawRow row_;
  RawCell cell_;
  std::deque<RawRow> ready_;
  std::string part_name_;
  const Limits limits_;
  PartParser parser_;  // last: it calls the others
};

// What escapes such as _x000D_ stand for in the texts of a workbook.
std::string unescaped(std::string_view text);

}  // namespace mercato::spreadsheet
