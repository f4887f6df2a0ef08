// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "platform/store/unit_of_work.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

bool colored_output = false;
bool colored_errors = false;

std::string painted(bool colored, std::string_view code, std::string_view text) {
  if (!colored) return std::string(text);
  return "\x1b[" + std::string(code) + "m" + std::string(text) + "\x1b[0m";
}

// In characters, without the codes of colours.
std::size_t width_of(std::string_view cell) {
  std::size_t width = text::length(cell);
  for (std::size_t begin = 0; (begin = cell.find('\x1b', begin)) != std::string_view::npos;) {
    const std::size_t end = std::min(cell.find('m', begin), cell.size() - 1) + 1;
    width -= end - begin;
    begin = end;
  }
  return width;
}

constexpr std::size_t kGap = 2;  // between two columns

// Of standard output; 0 when it is no terminal, or one that does not say.
std::size_t columns_of_terminal() {
  winsize size = {};
  return ::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// A number, a date or a time: the beginning of one says something else.
bool is_figure(std::string_view cell) { return cell.find_first_not_of("0123456789-+.,:/% ") == std::string_view::npos; }

struct Column {
  std::size_t width = 0;
  std::size_t least = 0;  // below which nobody can read it
  bool is_number = true;  // all cells, or empty ones
};

Column column_of(const std::string& heading, const std::vector<std::vector<std::string>>& rows, std::size_t place) {
  constexpr std::size_t kReadableHeading = 5;
  constexpr std::size_t kReadableText = 8;
  Column column;
  bool figures = true;
  for (const auto& row : rows) {
    column.width = std::max(column.width, width_of(row[place]));
    figures = figures && is_figure(row[place]);
    column.is_number = column.is_number && (row[place].empty() || text::parse_number(row[place]));
  }
  const std::size_t of_heading = std::min(width_of(heading), kReadableHeading);
  column.least = std::max(of_heading, figures ? column.width : std::min(column.width, kReadableText));
  column.width = std::max(column.width, width_of(heading));
  return column;
}

// Takes from the widest columns first. False when the line does not fit all the same.
bool narrow(std::vector<Column>& columns, std::size_t room) {
  std::size_t line = kGap * (columns.size() - 1);
  for (const Column& column : columns) line += column.width;
  for (; line > room; --line) {
    Column* widest = nullptr;
    for (Column& column : columns)
      if (column.width > column.least && (!widest || column.width > widest->width)) widest = &column;
    if (!widest) return false;
    --widest->width;
  }
  return true;
}

// The cell, or its beginning with "…"; codes of colours stay, and take no room.
std::string fitted(const std::string& cell, std::size_t width) {
  if (width_of(cell) <= width) return cell;
  std::string cut;
  std::size_t characters = 0;
  for (std::size_t at = 0, end = 0; at < cell.size(); at = end) {
    const bool is_code = cell[at] == '\x1b';
    end = at + 1;
    if (is_code) end = std::min(cell.find('m', at), cell.size() - 1) + 1;
    while (end < cell.size() && (static_cast<unsigned char>(cell[end]) & 0xC0U) == 0x80U) ++end;
    if (!is_code) ++characters;
    if (is_code || characters < width) cut += cell.substr(at, end - at);
    if (!is_code && characters == width) cut += "…";
  }
  return cut;
}

constexpr std::size_t kProgressStep = 20;  // what is less is done before anybody reads it

DateChoice date_choice = DateChoice::iso;

}  // namespace

void choose_dates(DateChoice choice) {
  date_choice = choice;
  if (choice == DateChoice::locale) std::setlocale(LC_TIME, "");
}

std::string date_text(const Date& date) {
  std::string text = date.iso_text();
  const bool is_day = text.ends_with("T00:00:00");
  if (date_choice == DateChoice::iso) return is_day ? text.substr(0, 10) : text.replace(10, 1, " ");
  const CivilTime parts = date.civil();
  std::tm local = {};
  local.tm_year = parts.year - 1900;
  local.tm_mon = parts.month - 1;
  local.tm_mday = parts.day;
  local.tm_hour = parts.hour;
  local.tm_min = parts.minute;
  local.tm_sec = parts.second;
  std::array<char, 128> written;
  return {written.data(), std::strftime(written.data(), written.size(), is_day ? "%x" : "%x %X", &local)};
}

std::size_t widest_cell() {
  const std::size_t columns = columns_of_terminal();
  return columns == 0 ? 60 : columns;
}

void choose_colors(ColorChoice choice) {
  const char* no_color = std::getenv("NO_COLOR");
  const bool unwanted = no_color != nullptr && *no_color != '\0';
  const auto colors = [&](int stream) {
    return choice == ColorChoice::always || (choice == ColorChoice::automatic && !unwanted && ::isatty(stream) == 1);
  };
  colored_output = colors(STDOUT_FILENO);
  colored_errors = colors(STDERR_FILENO);
}

std::string bold(std::string_view text) { return painted(colored_output, "1", text); }
std::string good(std::string_view text) { return painted(colored_output, "32", text); }
std::string bad(std::string_view text) { return painted(colored_output, "31", text); }
std::string alarming(std::string_view text) { return painted(colored_errors, "31", text); }

std::string shown(std::string_view text, std::size_t longest) {
  std::string line;
  const bool cut = text::length(text) > longest;
  for (const char character : cut ? text::left(text, longest - 1) : text) {
    const auto byte = static_cast<unsigned char>(character);
    line += byte < 0x20 || byte == 0x7F ? ' ' : character;
  }
  return cut ? line + "…" : line;
}

void Table::print(std::ostream& out) const { print(out, columns_of_terminal()); }

void Table::print(std::ostream& out, std::size_t columns) const {
  if (rows_.empty()) return;
  std::vector<Column> form;
  for (std::size_t place = 0; place < headings_.size(); ++place)
    form.push_back(column_of(headings_[place], rows_, place));
  if (columns > 0 && !narrow(form, columns)) return print_rows_one_by_one(out);
  const auto line = [&](const std::vector<std::string>& cells) {
    std::string joined;
    for (std::size_t place = 0; place < cells.size(); ++place) {
      const std::string cell = fitted(cells[place], form[place].width);
      const std::size_t blanks = form[place].width - width_of(cell);
      const bool to_the_right = columns > 0 && form[place].is_number;
      if (to_the_right) joined.append(blanks, ' ');
      joined += cell;
      if (place + 1 < cells.size()) joined.append((to_the_right ? 0 : blanks) + kGap, ' ');
    }
    return joined;
  };
  out << bold(line(headings_)) << '\n';
  for (const auto& row : rows_) out << line(row) << '\n';
}

void Table::print_rows_one_by_one(std::ostream& out) const {
  std::size_t width = 0;
  for (const std::string& heading : headings_) width = std::max(width, width_of(heading));
  for (const auto& row : rows_) {
    if (&row != &rows_.front()) out << '\n';
    for (std::size_t place = 0; place < row.size(); ++place)
      if (!row[place].empty())
        out << bold(headings_[place]) << std::string(width - width_of(headings_[place]) + kGap, ' ') << row[place]
            << '\n';
  }
}

Progress::Progress(std::size_t total)
    : visible_(total >= kProgressStep && ::isatty(STDERR_FILENO) == 1), total_(total) {}

Progress::~Progress() {
  if (visible_ && done_ > 0) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::advance(std::size_t by) {
  const bool is_next_step = (done_ + by) / kProgressStep != done_ / kProgressStep;
  done_ += by;
  if (!visible_ || (!is_next_step && done_ != total_)) return;
  store::UnitOfWork::before_waiting();  // the person at the terminal may have stopped its output
  std::cerr << "\r" << done_ << " of " << total_ << pace() << std::flush;
}

// Nothing in the first second; behind it stands what wipes the end of a longer line.
std::string Progress::pace() const {
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
  if (seconds < 1 || done_ == 0) return {};
  const double rate = static_cast<double>(done_) / seconds;
  const auto left = static_cast<std::size_t>(std::ceil(static_cast<double>(total_ - std::min(done_, total_)) / rate));
  const std::string rest = std::to_string(left % 60);
  return ", " + std::to_string(static_cast<std::size_t>(rate)) + " a second, " + std::to_string(left / 60) + ":" +
         (rest.size() < 2 ? "0" : "") + rest + " left\x1b[K";
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace mercato::cli
