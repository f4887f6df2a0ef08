// SPDX-License-Identifier: Apache-2.0
// What goes to a terminal: colours when it is one, aligned tables, texts without control characters, a line of
// progress. Used by the main thread only.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/date.h"

namespace mercato::cli {

// Automatic: colours where the stream is a terminal and NO_COLOR is not set.
enum class ColorChoice { automatic, always, never };
void choose_colors(ColorChoice choice);

// Dates as 2026-07-01, or as the locale of the process writes them. The time stands behind a day that has one.
enum class DateChoice { iso, locale };
void choose_dates(DateChoice choice);
std::string date_text(const Date& date);

// For standard output.
std::string bold(std::string_view text);
std::string good(std::string_view text);
std::string bad(std::string_view text);
// For standard error.
std::string alarming(std::string_view text);

// Of standard output; 0 when it is no terminal, or one that does not say.
std::size_t columns_of_terminal();
// The most columns of a text in a cell: as many as a line of the terminal has; 60 elsewhere.
std::size_t widest_cell();
// On one line: control characters become blanks, a text that takes more than `longest` columns is cut and ends in "…".
std::string shown(std::string_view text, std::size_t longest = widest_cell());

// Rows below their headings, columns aligned, the last one ragged. Cells may have colours; an escape character stands
// for nothing else in them. Prints nothing without rows. On a terminal it fits into the lines, so that its widest
// columns are cut where they have to, never numbers and dates, and numbers end below each other; where even that does
// not fit, each row is a list of its cells, and long ones have several lines. A file or a pipe gets all of it.
class Table {
 public:
  explicit Table(std::vector<std::string> headings) : headings_(std::move(headings)) {}
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  bool empty() const { return rows_.empty(); }
  void print(std::ostream& out) const;
  // The same for lines of so many characters; 0 for whatever is no terminal.
  void print(std::ostream& out, std::size_t columns) const;

 private:
  void print_rows_one_by_one(std::ostream& out, std::size_t columns) const;

  std::vector<std::string> headings_;
  std::vector<std::vector<std::string>> rows_;
};

// A line on standard error that overwrites itself: on a terminal only, and only on one that takes its codes.
bool shows_progress();
// No longer than the line of the terminal.
void write_over(const std::string& words);
void wipe_line();
inline constexpr const char* kWipesRest = "\x1b[K";  // of the line
// "120 a second".
std::string rate_of(std::size_t done, std::chrono::steady_clock::duration time);

// A count that overwrites itself, with how many there are in a second and the time left once it takes longer than one.
class Progress {
 public:
  explicit Progress(std::size_t total);
  // Wipes the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void advance(std::size_t by = 1);
  // Whether one lives.
  static bool any();

 private:
  std::string pace(std::chrono::steady_clock::duration time) const;

  bool visible_;
  bool is_shown_ = false;
  std::size_t total_;
  std::size_t done_ = 0;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point shown_at_ = begin_;
};

// "1 record", "2 records".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace mercato::cli
