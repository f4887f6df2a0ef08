// Comma-separated text: quoted fields, in which quotes are doubled and line ends are text; lines that end with LF or
// CR LF; blank lines are passed over. Pure; any thread.
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

// So many fields are kept, of a node of a catalogue four as a rule: each costs many times the byte that it may have.
inline constexpr std::size_t kMostCsvFields = 4'000'000;

// All rows, the header first. Raises 5, naming the line, for a text that is not UTF-8, for a quote that is out of place
// or never closed, for a row with more or fewer fields than the first, and for more fields than are kept.
std::vector<CsvRow> read_csv(std::string_view text);

}  // namespace mercato::cli
