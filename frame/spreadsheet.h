// SPDX-License-Identifier: Apache-2.0
// The spreadsheet component as the library sees it: a typed face over late-bound calls, like those of contracts.h.
#pragma once

#include <cstdint>
#include <string>

#include "frame/contracts.h"

namespace mercato {

class Spreadsheet : public ComponentContract {
 public:
  Spreadsheet() : ComponentContract("Spreadsheet.Reader") {}

  void Open(const std::string& file) {
    call("Open", {file});
    is_open_ = true;
  }
  // Whether Open has succeeded.
  bool is_open() const { return is_open_; }
  // First row, first column, last row, last column of the cells with content. Raises 91 when there are none.
  Array UsedArea() { return call("UsedArea", {}).to_array(); }
  // The displayed texts of the first so many cells of the area's next row that has content, as an array; Null at the
  // end.
  Variant ReadRow(std::int32_t columns) { return call("ReadRow", {columns}); }
  void Close() {
    call("Close", {});
    is_open_ = false;
  }

 private:
  bool is_open_ = false;
};

}  // namespace mercato
