// SPDX-License-Identifier: Apache-2.0
// Component "Spreadsheet.Reader": the displayed texts of the cells of a workbook's first sheet, row by row. It stands
// where other platforms have a spreadsheet application; a deployment may leave it out, or register another one in its
// place. One object reads one workbook at a time.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "platform/spreadsheet/workbook.h"

namespace mercato::collaborators {

class SpreadsheetReader : public ComponentOf<SpreadsheetReader> {
 public:
  static const ClassTable& table();

  // Raises 75 with the reason when the file is no readable workbook.
  void Open(const std::string& sFile);
  // First row, first column, last row, last column of the cells with content, counted from 1. Raises 91 when no cell
  // has any, or no workbook is open.
  Array UsedArea();
  // The texts of the first so many cells of the next row of that area that has content, the area's first row to begin
  // with; Null at the end. Raises 91 when no workbook is open, 5 for a negative number, 75 when the file has changed.
  Variant ReadRow(std::int32_t nColumns);
  // Harmless when nothing is open.
  void Close();

 private:
  spreadsheet::Workbook workbook_;
};

}  // namespace mercato::collaborators
