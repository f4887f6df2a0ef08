// SPDX-License-Identifier: Apache-2.0
// Comma-separated text. Inside a quoted field quotes are doubled and line ends are text. Lines end with LF or CR LF;
// blank lines are passed over. Pure; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::cli {

struct CsvRow {
  std::size_t line;  // on which it begins, counted from 1
  std::vector<std::string> fields;
};

// A bound for memory: a field takes much more of it than the one byte that it may have in the text. A node of a
// catalogue has four fields as a rule.
inline constexpr std::size_t kMostCsvFields = 4'000'000;

// All rows, the header first. Raises 5, naming the line, for a text that is not UTF-8, for a quote that is out of place
// or never closed, for a row with more or fewer fields than the first, and for more fields than are kept.
std::vector<CsvRow> read_csv(std::string_view text);

}  // namespace mercato::cli
