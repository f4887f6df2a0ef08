// SPDX-License-Identifier: Apache-2.0
// What goes to a terminal: colours when it is one, aligned tables, texts without control characters, a line of
// progress. Used by the main thread only.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::cli {

// Automatic: colours where the stream is a terminal and NO_COLOR is not set.
enum class ColorChoice { automatic, always, never };
void choose_colors(ColorChoice choice);

// For standard output.
std::string bold(std::string_view text);
std::string good(std::string_view text);
std::string bad(std::string_view text);
// For standard error.
std::string alarming(std::string_view text);

// On one line: control characters become blanks, a text of more than `longest` characters is cut and ends in "…".
std::string shown(std::string_view text, std::size_t longest = 60);

// Rows below their headings, columns aligned, the last one ragged. Cells may have colours; an escape character stands
// for nothing else in them. Prints nothing without rows.
class Table {
 public:
  explicit Table(std::vector<std::string> headings) : headings_(std::move(headings)) {}
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  bool empty() const { return rows_.empty(); }
  void print(std::ostream& out) const;

 private:
  std::vector<std::string> headings_;
  std::vector<std::vector<std::string>> rows_;
};

// A count on standard error that overwrites itself. It is only shown on a terminal.
class Progress {
 public:
  explicit Progress(std::size_t total);
  // Wipes the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void advance(std::size_t by = 1);

 private:
  bool visible_;
  std::size_t total_;
  std::size_t done_ = 0;
};

// "1 record", "2 records".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace mercato::cli
