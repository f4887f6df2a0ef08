// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/whole_table.h"

#include <string>

#include "exchange/formats/csv_table.h"
#include "exchange/input/bytes.h"
#include "mercato/raised_error.h"

namespace mercato::exchange {

std::vector<TableRow> whole_table(std::string_view bytes) {
  BytesOfText source(bytes);
  Decoded text(source);
  CsvTable table(text, '\0', '\0');
  std::vector<TableRow> rows;
  std::size_t cells = 0;
  for (TableRow row; table.next(row); row = {}) {
    const auto fail = [&row](const std::string& what) {
      raise(error_number::kInvalidArgument, {}, "Line " + std::to_string(row.line) + ": " + what);
    };
    if (!row.fault.empty()) fail(row.fault);
    if (!rows.empty() && row.cells.size() != rows.front().cells.size())
      fail(std::to_string(row.cells.size()) + " fields instead of " + std::to_string(rows.front().cells.size()) +
           " as in the header; put a field that has a comma in quotes");
    cells += row.cells.size();
    if (cells > kMostCells) fail("the file has more than " + std::to_string(kMostCells) + " fields; load it in parts");
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace mercato::exchange
