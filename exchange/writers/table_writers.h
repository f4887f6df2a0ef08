// SPDX-License-Identifier: Apache-2.0
// Tables as files, row by row: comma-separated text, and workbooks of one sheet. One thread.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "exchange/writers/written.h"

namespace mercato::exchange {

struct TableCell {
  std::string text;
  bool is_number = false;  // a workbook keeps it as one; a text stays as it is, whatever it looks like
};

class TableWriter {
 public:
  virtual ~TableWriter() = default;
  virtual void row(std::span<const TableCell> cells) = 0;
  // Finishes the output, too.
  virtual void finish() = 0;
};

// RFC 4180, but that lines end as they do in other text.
std::unique_ptr<TableWriter> csv_writer(Output& output);
// Texts stand in their cells, so that nothing is kept. Raises 5 at the row that no sheet has, which is 1,048,577.
std::unique_ptr<TableWriter> xlsx_writer(Output& output, const std::string& sheet);

}  // namespace mercato::exchange
