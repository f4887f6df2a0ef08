// SPDX-License-Identifier: Apache-2.0
#include "collaborators/spreadsheet/reader.h"

#include <utility>

namespace mercato::collaborators {

const ClassTable& SpreadsheetReader::table() {
  static const ClassTable table =
      ClassTable::of<SpreadsheetReader>("Spreadsheet.Reader", "{3F5A9D14-8C27-4E6B-A0D9-51B7C2E8466F}",
                                        TransactionAttribute::undeclared)
          .collaborator()
          .never_waits()
          .method("Open", &SpreadsheetReader::Open, {"sFile"})
          .method("UsedArea", &SpreadsheetReader::UsedArea)
          .method("ReadRow", &SpreadsheetReader::ReadRow, {"nColumns"})
          .method("Close", &SpreadsheetReader::Close);
  return table;
}

void SpreadsheetReader::Open(const std::string& sFile) {
  if (!workbook_.open(sFile)) raise(error_number::kPathFileAccess, {}, workbook_.error());
}

Array SpreadsheetReader::UsedArea() {
  const auto& area = workbook_.used_area();
  if (!area) raise(error_number::kObjectNotSet);
  return {area->first_row, area->first_column, area->last_row, area->last_column};
}

Variant SpreadsheetReader::ReadRow(std::int32_t nColumns) {
  if (nColumns < 0) raise(error_number::kInvalidArgument);
  std::vector<std::string> texts;
  if (!workbook_.next_row(static_cast<std::size_t>(nColumns), texts)) return kNull;
  Array row;
  row.items.assign(std::make_move_iterator(texts.begin()), std::make_move_iterator(texts.end()));
  return row;
}

void SpreadsheetReader::Close() { workbook_.close(); }

}  // namespace mercato::collaborators
