// SPDX-License-Identifier: Apache-2.0
// The parts of a workbook besides its sheets: which sheet is meant, its texts, its number formats. Private to this
// folder. One thread at a time. All functions throw Unreadable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spreadsheet/number_format.h"
#include "platform/spreadsheet/package.h"

namespace mercato::spreadsheet {

// Names of parts, as the archive has them: "xl/worksheets/sheet1.xml". A name is empty when the workbook has no such
// part.
struct WorkbookParts {
  std::string sheet;
  std::string texts;
  std::string styles;
  DateSystem dates = DateSystem::from_1900;
};
// `sheet`: a name in any case, or else a number from 1; empty: the first one.
WorkbookParts find_parts(const Package& package, std::string_view sheet);

// The texts that cells share, one behind the other.
class SharedTexts {
 public:
  void read(const Package& package, const std::string& part, const Limits& limits);
  std::size_t size() const { return ends_.size(); }
  std::string_view operator[](std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(bytes_).substr(begin, ends_[index] - begin);
  }

 private:
  class Handler;
  std::string bytes_;
  std::vector<std::uint32_t> ends_;  // narrow, since there may be millions
};

// By the number that a cell has for its style. Numbers beyond the list have the format General.
std::vector<std::shared_ptr<const NumberFormat>> read_formats(const Package& package, const std::string& part);

}  // namespace mercato::spreadsheet
