// SPDX-License-Identifier: Apache-2.0
// The year that docs/a-year.md tells: its commands are run one after the other, each on the day of its chapter, and say
// what stands there.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <regex>
#include <span>
#include <string>
#include <vector>

#include "mercato/clock.h"
#include "tests/tools/run_in_process.h"
#include "tools/cli/shell.h"
#include "values/text.h"

namespace mercato::test {
namespace {

constexpr const char* kYearPage = MERCATO_SOURCE_DIR "/docs/a-year.md";
constexpr std::string_view kIndent = "    ";
constexpr std::string_view kPrompt = "    $ ";
constexpr std::string_view kAnything = "…";

using Lines = std::vector<std::string>;

Lines lines_of(const std::string& text) {
  Lines lines = text::split(text, "\n");
  for (std::string& line : lines) line.erase(line.find_last_not_of(' ') + 1);  // a page has no blanks at its ends
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

std::string joined_lines(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// Whether the line is what was written, in which "…" stands for any text.
bool is_as_written(std::string_view line, std::string_view written) {
  const std::size_t wildcard = written.find(kAnything);
  if (wildcard == std::string_view::npos) return line == written;
  if (!line.starts_with(written.substr(0, wildcard))) return false;
  const std::string_view rest = written.substr(wildcard + kAnything.size());
  for (std::size_t begin = wildcard; begin <= line.size(); ++begin)
    if (is_as_written(line.substr(begin), rest)) return true;
  return false;
}

// A line of "…" alone stands for any lines.
bool are_as_written(std::span<const std::string> lines, std::span<const std::string> written) {
  if (written.empty()) return lines.empty();
  if (written.front() == kAnything)
    return are_as_written(lines, written.subspan(1)) || (!lines.empty() && are_as_written(lines.subspan(1), written));
  return !lines.empty() && is_as_written(lines.front(), written.front()) &&
         are_as_written(lines.subspan(1), written.subspan(1));
}

// What the page says, in its order.
struct PageStep {
  std::size_t line = 0;
  std::optional<Date> day = {};  // a chapter begins
  std::string file = {};         // its name, and its lines
  std::string command = {};      // the same, and what it says
  Lines lines = {};
  int status = 0;
};

std::optional<Date> day_of_chapter(const std::string& line) {
  static const std::regex chapter("## (\\d+ \\w+ \\d+): .+");
  std::smatch found;
  if (!std::regex_match(line, found, chapter)) return std::nullopt;
  return Date::parse(found[1].str());
}

// Raises for a block that is neither a file nor commands, since nothing would look at it.
std::vector<PageStep> steps_of_page(const Lines& page) {
  static const std::regex file_name("`([^`]+)`:");
  static const std::regex exit_status("\\(exit status (\\d+)\\)");
  std::vector<PageStep> steps;
  bool in_block = false;  // of the last step
  for (std::size_t at = 0; at < page.size(); ++at) {
    const std::string& line = page[at];
    std::smatch found;
    if (const auto day = day_of_chapter(line)) {
      steps.push_back({.line = at + 1, .day = day});
    } else if (std::regex_match(line, found, file_name)) {
      steps.push_back({.line = at + 1, .file = found[1].str()});
      in_block = true;
      continue;
    } else if (line.starts_with(kPrompt)) {
      steps.push_back({.line = at + 1, .command = line.substr(kPrompt.size())});
      in_block = true;
      continue;
    } else if (line.empty()) {
      if (in_block && !(steps.back().lines.empty())) steps.back().lines.emplace_back();
      continue;
    } else if (line.starts_with(kIndent)) {
      if (!in_block) throw std::runtime_error("line " + std::to_string(at + 1) + " is in a block of nothing");
      const std::string text = line.substr(kIndent.size());
      if (!steps.back().command.empty() && std::regex_match(text, found, exit_status))
        steps.back().status = std::stoi(found[1].str());
      else
        steps.back().lines.push_back(text);
      continue;
    }
    in_block = false;
  }
  for (PageStep& step : steps)
    while (!step.lines.empty() && step.lines.back().empty()) step.lines.pop_back();
  return steps;
}

class AYear : public testing::Test {
 protected:
  ~AYear() override { clock::restore_clock(); }

  ToolFolder tool_{Place::in_memory, Tables::none};
};

// A server gives the numbers of rows that were taken back to none that come later.
Lines without_numbers(Lines lines) {
  static const std::regex number("\\d+");
  for (std::string& line : lines) line = std::regex_replace(line, number, "0");
  return lines;
}

TEST_F(AYear, GoesAsThePageSays) {
  const std::vector<PageStep> steps = steps_of_page(lines_of(read_whole(kYearPage)));
  ASSERT_GE(std::ranges::count_if(steps, [](const PageStep& step) { return !step.command.empty(); }), 70);
  const InProcess here(tool_.folder().path());
  for (const PageStep& step : steps) {
    // A server is backed up and checked by its own means.
    if (!tool_.store().file() && step.command.starts_with("mercato store ")) continue;
    if (step.day) clock::script_clock(*step.day, 0);
    if (!step.file.empty()) write_whole(tool_.folder() / step.file, joined_lines(step.lines));
    if (step.command.empty()) continue;
    SCOPED_TRACE("docs/a-year.md, line " + std::to_string(step.line) + ": " + step.command);
    std::optional<Words> words = cli::words_of_line(step.command);
    ASSERT_TRUE(words && words->size() > 1 && words->front() == "mercato");
    ASSERT_NE((*words)[1], "execute");
    words->erase(words->begin());
    const ToolRun done = InProcess::run(*words, {}, Streams::together);
    EXPECT_EQ(done.status, step.status);
    const Lines lines = lines_of(done.out);
    const bool as_written = tool_.store().file() ? are_as_written(lines, step.lines)
                                                 : are_as_written(without_numbers(lines), without_numbers(step.lines));
    EXPECT_TRUE(as_written) << "It said:\n" << done.out;
  }
}

TEST(AYearPage, LeavesOutOnlyWhatItSays) {
  EXPECT_TRUE(is_as_written("started 2026-01-05, done", "started …, done"));
  EXPECT_TRUE(is_as_written("a b a c", "a … a c"));
  EXPECT_FALSE(is_as_written("started 2026-01-05, failed", "started …, done"));
  EXPECT_FALSE(is_as_written("done", "don"));
  EXPECT_TRUE(are_as_written(Lines{"1", "2", "3"}, Lines{"…", "3"}));
  EXPECT_FALSE(are_as_written(Lines{"1", "2", "3"}, Lines{"…", "2"}));
  EXPECT_FALSE(are_as_written(Lines{"1"}, Lines{}));
  EXPECT_THROW(steps_of_page({"Text.", "", "    a block"}), std::runtime_error);
}

}  // namespace
}  // namespace mercato::test
