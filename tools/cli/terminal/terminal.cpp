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
#include "tools/cli/terminal/text_width.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

bool colored_output = false;
bool colored_errors = false;

std::string painted(bool colored, std::string_view code, std::string_view text) {
  if (!colored) return std::string(text);
  return "\x1b[" + std::string(code) + "m" + std::string(text) + "\x1b[0m";
}

constexpr std::size_t kGap = 2;  // between two columns

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

// One that knows no codes says so.
bool takes_codes() {
  const char* const kind = std::getenv("TERM");
  return kind == nullptr || std::string_view(kind) != "dumb";
}

using Clock = std::chrono::steady_clock;
constexpr Clock::duration kSoon = std::chrono::seconds(1);  // what is over by then needs no words
constexpr Clock::duration kBetweenCounts = std::chrono::milliseconds(100);
constexpr std::size_t kProgressStep = 20;  // in the first second

std::size_t progresses = 0;  // that live

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

std::size_t columns_of_terminal() {
  winsize size = {};
  return ::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

std::size_t widest_cell() {
  const std::size_t columns = columns_of_terminal();
  return columns == 0 ? 60 : columns;
}

void choose_colors(ColorChoice choice) {
  const char* no_color = std::getenv("NO_COLOR");
  const bool unwanted = no_color != nullptr && *no_color != '\0';
  const auto colors = [&](int stream) {
    return choice == ColorChoice::always ||
           (choice == ColorChoice::automatic && !unwanted && ::isatty(stream) == 1 && takes_codes());
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
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const auto next = static_cast<unsigned char>(at + 1 < text.size() ? text[at + 1] : '\0');
    const bool is_second_set = byte == 0xC2 && next >= 0x80 && next < 0xA0;  // U+0080 to U+009F
    if (is_second_set) ++at;
    line += is_second_set || byte < 0x20 || byte == 0x7F ? ' ' : text[at];
  }
  return fitted(line, longest);
}

void Table::print(std::ostream& out) const { print(out, columns_of_terminal()); }

void Table::print(std::ostream& out, std::size_t columns) const {
  if (rows_.empty()) return;
  std::vector<Column> form;
  for (std::size_t place = 0; place < headings_.size(); ++place)
    form.push_back(column_of(headings_[place], rows_, place));
  if (columns > 0 && !narrow(form, columns)) return print_rows_one_by_one(out, columns);
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

void Table::print_rows_one_by_one(std::ostream& out, std::size_t columns) const {
  std::size_t width = kGap;
  for (const std::string& heading : headings_) width = std::max(width, width_of(heading) + kGap);
  constexpr std::size_t kReadable = 8;
  const std::size_t room = std::max(columns, width + kReadable) - width;
  for (const auto& row : rows_) {
    if (&row != &rows_.front()) out << '\n';
    for (std::size_t place = 0; place < row.size(); ++place) {
      if (row[place].empty()) continue;
      out << bold(headings_[place]) << std::string(width - width_of(headings_[place]), ' ');
      const bool has_codes = row[place].find('\x1b') != std::string::npos;
      const auto lines = has_codes ? std::vector<std::string>{fitted(row[place], room)} : wrapped(row[place], room);
      for (const std::string& line : lines)
        out << (&line == &lines.front() ? "" : std::string(width, ' ')) << line << '\n';
    }
  }
}

bool shows_progress() { return ::isatty(STDERR_FILENO) == 1 && takes_codes(); }

void write_over(const std::string& words) {
  winsize size = {};
  const bool is_known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
  // Without a character in the last column no terminal begins another line.
  std::cerr << "\r" << (is_known ? fitted(words, size.ws_col - 1U) : words) << std::flush;
}

void wipe_line() { std::cerr << "\r" << kWipesRest << std::flush; }

std::string rate_of(std::size_t done, std::chrono::steady_clock::duration time) {
  return std::to_string(
             static_cast<std::size_t>(static_cast<double>(done) / std::chrono::duration<double>(time).count())) +
         " a second";
}

Progress::Progress(std::size_t total) : visible_(shows_progress()), total_(total) { ++progresses; }

Progress::~Progress() {
  --progresses;
  if (is_shown_) wipe_line();
}

bool Progress::any() { return progresses > 0; }

void Progress::advance(std::size_t by) {
  const bool is_next_step = (done_ + by) / kProgressStep != done_ / kProgressStep || done_ + by == total_;
  done_ += by;
  if (!visible_) return;
  const auto now = std::chrono::steady_clock::now();
  const bool is_soon = now - begin_ < kSoon;
  if (is_soon ? total_ < kProgressStep || !is_next_step : now - shown_at_ < kBetweenCounts && done_ != total_) return;
  store::UnitOfWork::before_waiting();  // the person at the terminal may have stopped its output
  is_shown_ = true;
  shown_at_ = now;
  const std::string count = std::to_string(done_) + " of " + std::to_string(std::max(total_, done_));
  write_over(is_soon ? count : count + pace(now - begin_) + kWipesRest);
}

std::string Progress::pace(std::chrono::steady_clock::duration time) const {
  const double left = static_cast<double>(total_ - std::min(done_, total_)) / static_cast<double>(done_) *
                      std::chrono::duration<double>(time).count();
  const auto seconds = static_cast<std::size_t>(std::ceil(left));
  const std::string rest = std::to_string(seconds % 60);
  return ", " + rate_of(done_, time) + ", " + std::to_string(seconds / 60) + ":" + (rest.size() < 2 ? "0" : "") + rest +
         " left";
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace mercato::cli
