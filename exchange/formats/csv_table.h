// SPDX-License-Identifier: Apache-2.0
// Comma-separated text, whatever it is separated by, as a table: quoted cells may hold separators, doubled quotes and
// line ends. One thread.
#pragma once

#include <string>
#include <string_view>

#include "exchange/formats/table.h"
#include "exchange/input/decoded.h"

namespace mercato::exchange {

struct CsvShape {
  char separator = ',';
  char quote = '"';  // 0: none
};

// What fits the beginning of a text best: the separator that cuts its rows into the same number of cells.
CsvShape csv_shape_of(std::string_view begin);

class CsvTable final : public Table {
 public:
  static constexpr std::size_t kLongestRow = std::size_t{4} << 20;

  // 0 stands for what is to be found out; of the quote, '\1' says that there is none. `text` must outlive this.
  CsvTable(Decoded& text, char separator, char quote);

  bool next(TableRow& row) override;
  const CsvShape& shape() const { return shape_; }

 private:
  bool fill();
  bool read_row(TableRow& row);
  // Up to the quote that ends the cell, which is taken.
  void read_quoted(std::string& cell, TableRow& row);
  void read_plain(std::string& cell);
  void skip_line();
  void count(std::size_t bytes, const TableRow& row);
  // Takes the end of a line, if one stands here.
  bool take_line_end();

  Decoded& text_;
  std::string begin_;      // what was looked at to find the shape out
  std::string_view rest_;  // of the piece at hand
  bool begin_is_read_ = false;
  CsvShape shape_;
  std::uint64_t line_ = 1;
  std::size_t row_bytes_ = 0;
};

}  // namespace mercato::exchange
