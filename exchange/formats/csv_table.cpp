// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/csv_table.h"

#include <algorithm>
#include <array>
#include <map>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kBegin = std::size_t{256} * 1024;
constexpr std::array kSeparators = {',', ';', '\t', '|', '^'};

// How many cells each row has; the last row, which may be cut off, is left out.
std::vector<std::size_t> cell_counts(std::string_view begin, CsvShape shape) {
  std::vector<std::size_t> counts;
  std::size_t cells = 1;
  bool quoted = false;
  bool at_cell_start = true;
  bool blank = true;
  for (const char byte : begin) {
    if (quoted) {
      if (byte == shape.quote) quoted = false;  // a doubled one opens the cell again
      continue;
    }
    if (byte == shape.quote && at_cell_start) {
      quoted = true;
      blank = false;
    } else if (byte == shape.quote && !at_cell_start && shape.quote != 0) {
      quoted = true;  // the second half of a doubled one
    } else if (byte == shape.separator) {
      ++cells;
      at_cell_start = true;
      blank = false;
      continue;
    } else if (byte == '\n') {
      if (!blank) counts.push_back(cells);
      cells = 1;
      at_cell_start = true;
      blank = true;
      continue;
    } else if (byte != '\r' && byte != ' ') {
      blank = false;
    }
    at_cell_start = false;
  }
  if (counts.empty() && !blank) counts.push_back(cells);
  return counts;
}

// How many rows have the most usual number of cells, in thousandths; more cells win among equals. 0 for one cell.
std::size_t score(std::string_view begin, CsvShape shape) {
  const std::vector<std::size_t> counts = cell_counts(begin, shape);
  if (counts.empty()) return 0;
  std::map<std::size_t, std::size_t> rows_of;
  for (const std::size_t cells : counts) ++rows_of[cells];
  const auto usual = std::ranges::max_element(rows_of, {}, [](const auto& one) { return one.second; });
  if (usual->first == 1) return 0;
  return usual->second * 1000 / counts.size() * 1000 + std::min<std::size_t>(usual->first, 999);
}

}  // namespace

CsvShape csv_shape_of(std::string_view begin) {
  CsvShape best;
  std::size_t best_score = 0;
  for (const char separator : kSeparators) {
    const CsvShape shape{separator, best.quote};
    if (const std::size_t reached = score(begin, shape); reached > best_score) {
      best = shape;
      best_score = reached;
    }
  }
  return best;
}

CsvTable::CsvTable(Decoded& text, char separator, char quote) : text_(text) {
  while (begin_.size() < kBegin) {
    const std::string_view piece = text_.next();
    if (piece.empty()) break;
    begin_ += piece;
  }
  rest_ = begin_;
  shape_ = csv_shape_of(rest_.substr(0, kBegin));
  if (separator != 0) shape_.separator = separator;
  if (quote != 0) shape_.quote = quote == '\1' ? '\0' : quote;
}

bool CsvTable::fill() {
  if (!rest_.empty()) return true;
  if (!begin_is_read_) {
    begin_is_read_ = true;
    begin_ = {};
  }
  rest_ = text_.next();
  return !rest_.empty();
}

void CsvTable::count(std::size_t bytes, const TableRow& row) {
  row_bytes_ += bytes;
  if (row_bytes_ <= kLongestRow) return;
  raise(error_number::kInvalidArgument, {},
        "The row that begins on line " + std::to_string(row.line) + " has more than " + std::to_string(kLongestRow) +
            " bytes: a quote may not be closed there, or it is a file of another format.");
}

bool CsvTable::take_line_end() {
  if (!fill()) return true;
  const char byte = rest_.front();
  if (byte != '\n' && byte != '\r') return false;
  rest_.remove_prefix(1);
  if (byte == '\r' && fill() && rest_.front() == '\n') rest_.remove_prefix(1);
  ++line_;
  return true;
}

void CsvTable::read_plain(std::string& cell) {
  while (fill()) {
    const auto* const end = std::ranges::find_if(
        rest_, [this](char byte) { return byte == shape_.separator || byte == '\n' || byte == '\r'; });
    cell.append(rest_.begin(), end);
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
    if (!rest_.empty() || cell.size() > kLongestRow) return;
  }
}

void CsvTable::read_quoted(std::string& cell, TableRow& row) {
  const std::uint64_t opened = line_;
  while (fill()) {
    const std::string_view part = rest_.substr(0, rest_.find(shape_.quote));
    cell += part;
    line_ += static_cast<std::uint64_t>(std::ranges::count(part, '\n'));
    count(part.size(), row);
    rest_.remove_prefix(part.size());
    if (rest_.empty()) continue;
    rest_.remove_prefix(1);
    if (!fill() || rest_.front() != shape_.quote) return;
    cell += shape_.quote;
    rest_.remove_prefix(1);
  }
  raise(error_number::kInvalidArgument, {},
        "The quote that opens on line " + std::to_string(opened) + " is never closed.");
}

void CsvTable::skip_line() {
  std::string skipped;
  while (!take_line_end()) {
    if (rest_.front() == shape_.separator) rest_.remove_prefix(1);
    read_plain(skipped);
    skipped.clear();
  }
}

bool CsvTable::read_row(TableRow& row) {
  if (!fill()) return false;
  row.line = line_;
  row.fault.clear();
  row_bytes_ = 0;
  std::size_t cells = 0;
  while (true) {
    if (cells == kMostColumns)
      raise(error_number::kInvalidArgument, {},
            "Line " + std::to_string(row.line) + " has more than " + std::to_string(kMostColumns) +
                " columns, which no table has: the separator may be another one.");
    if (row.cells.size() == cells) row.cells.emplace_back();
    std::string& cell = row.cells[cells++];
    cell.clear();
    if (fill() && shape_.quote != 0 && rest_.front() == shape_.quote) {
      rest_.remove_prefix(1);
      read_quoted(cell, row);
    } else {
      read_plain(cell);
      count(cell.size(), row);
    }
    if (take_line_end()) break;
    if (rest_.front() != shape_.separator) {
      row.fault = "There is text behind the closing quote of cell " + std::to_string(cells) +
                  "; double a quote that belongs to the text.";
      skip_line();
      break;
    }
    rest_.remove_prefix(1);
  }
  row.cells.resize(cells);
  return true;
}

bool CsvTable::next(TableRow& row) {
  while (read_row(row))
    if (!row.fault.empty() || std::ranges::any_of(row.cells, [](const std::string& cell) {
          return cell.find_first_not_of(" \t") != std::string::npos;
        }))
      return true;
  return false;
}

}  // namespace mercato::exchange
