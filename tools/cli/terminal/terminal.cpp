// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
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

}  // namespace

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

void Table::print(std::ostream& out) const {
  if (rows_.empty()) return;
  std::vector<std::size_t> widths;
  for (std::size_t column = 0; column < headings_.size(); ++column) {
    std::size_t width = width_of(headings_[column]);
    for (const auto& row : rows_) width = std::max(width, width_of(row[column]));
    widths.push_back(width);
  }
  const auto line = [&](const std::vector<std::string>& cells) {
    std::string joined;
    for (std::size_t column = 0; column < cells.size(); ++column) {
      joined += cells[column];
      if (column + 1 < cells.size()) joined.append(widths[column] - width_of(cells[column]) + 2, ' ');
    }
    return joined;
  };
  out << bold(line(headings_)) << '\n';
  for (const auto& row : rows_) out << line(row) << '\n';
}

Progress::Progress(std::size_t total) : visible_(::isatty(STDERR_FILENO) == 1), total_(total) {}

Progress::~Progress() {
  if (visible_ && done_ > 0) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::advance(std::size_t by) {
  constexpr std::size_t kStep = 20;
  const bool is_next_step = (done_ + by) / kStep != done_ / kStep;
  done_ += by;
  if (!visible_ || (!is_next_step && done_ != total_)) return;
  store::UnitOfWork::before_waiting();  // the person at the terminal may have stopped its output
  std::cerr << "\r" << done_ << " of " << total_ << std::flush;
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace mercato::cli
