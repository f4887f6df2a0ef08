// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/log.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "frame/contracts.h"
#include "mercato/object_context.h"
#include "mercato/settings.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

class LogTest : public test::StoreTest {
 protected:
  std::string log_to(const std::string& file) const {
    Settings changed = *settings();
    changed.log_file = file;
    set_settings(changed);
    return file;
  }
  std::string log_here() const { return log_to((folder() / "mercato.log").string()); }
  static std::string contents(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  // The file, each time stamp put as "<time>".
  static std::string timeless(const std::string& file) {
    static const std::regex stamp(R"((^|\n)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d )");
    return std::regex_replace(contents(file), stamp, "$1<time> ");
  }
  mercato::grundwerk::Log log_;
};

TEST_F(LogTest, AnEntryIsOneRecordWithItsTextSetIn) {
  const std::string file = log_here();
  log_.WriteEntry("Mercato.Unit.Delete",
                  "\r\nERROR 0x800400CA\r\n METHOD: Mercato.Unit.Delete\r\n DESC: Unit not found.\r\n", 0);
  log_.WriteEntry("Improper SQL", "Not an actual error", 1);
  log_.WriteEntryAlternate("Third", "by the other way", 0);
  EXPECT_EQ(timeless(file),
            "<time> error Mercato.Unit.Delete\n"
            "    ERROR 0x800400CA\n"
            "     METHOD: Mercato.Unit.Delete\n"
            "     DESC: Unit not found.\n"
            "<time> info Improper SQL\n"
            "    Not an actual error\n"
            "<time> error Third\n"
            "    by the other way\n");
}

TEST_F(LogTest, NoTextCanPassForARecord) {
  const std::string file = log_here();
  log_.WriteEntry("Source\n2026-07-01T08:30:00.000+00:00 error Forged",
                  "one\r2026-07-01T08:30:00.000+00:00 error Forged", 0);
  EXPECT_EQ(timeless(file),
            "<time> error Source\n"
            "    2026-07-01T08:30:00.000+00:00 error Forged\n"
            "    one\n"
            "    2026-07-01T08:30:00.000+00:00 error Forged\n");
}

// A text could steer the terminal that shows the log.
TEST_F(LogTest, ControlCharactersStandAsTheirNumbers) {
  const std::string file = log_here();
  log_.WriteEntry("Sour\x1b[2Jce",
                  "bell \a\tdelete \x7f null " + std::string(1, '\0') + " next \xc2\x85 e-acute \xc3\xa9", 0);
  log_.WriteEntry("Not UTF-8", "control \x9b and \xfc", 0);
  EXPECT_EQ(timeless(file),
            "<time> error Sour\\x1B[2Jce\n"
            "    bell \\x07\tdelete \\x7F null \\x00 next \\x85 e-acute \xc3\xa9\n"
            "<time> error Not UTF-8\n"
            "    control \\x9B and \\xFC\n");
}

// Each process used to turn the file over while the others wrote on into what was an older file by then.
TEST_F(LogTest, FourProcessesKeepTheFileWithinItsSizeAndLoseNothing) {
  const std::string file = log_here();
  constexpr std::size_t kProcesses = 4;
  constexpr std::size_t kEntries = 40;
  std::vector<pid_t> children;
  for (std::size_t process = 0; process < kProcesses; ++process) {
    children.push_back(::fork());
    if (children.back() != 0) continue;
    for (std::size_t entry = 0; entry < kEntries; ++entry) log_.WriteEntry("Entry", std::string(100'000, 'x'), 1);
    ::_exit(0);
  }
  for (const pid_t child : children) ::waitpid(child, nullptr, 0);
  std::size_t files = 0;
  std::size_t entries = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder())) {
    if (entry.path().extension() != ".log") continue;
    ++files;
    EXPECT_LE(entry.file_size(), 10'000'000u) << entry.path();
    std::ifstream lines(entry.path());
    for (std::string line; std::getline(lines, line);)
      if (line.ends_with(" info Entry")) ++entries;
  }
  EXPECT_EQ(files, 2u);
  EXPECT_EQ(entries, kProcesses * kEntries);
}

TEST_F(LogTest, BracesAndPercentSignsStayText) {
  const std::string file = log_here();
  log_.WriteEntry("{}", "100% of {0}", 0);
  EXPECT_EQ(timeless(file), "<time> error {}\n    100% of {0}\n");
}

TEST_F(LogTest, ArgumentsComeBackUnchangedAndTheResultIsEmpty) {
  log_here();
  std::vector<Variant> arguments{"Source", "Text", std::int32_t{0}};
  EXPECT_EQ(invoke(create_plain("Grundwerk.Log"), "writeentry", arguments), Variant());
  EXPECT_EQ(arguments, (std::vector<Variant>{"Source", "Text", std::int32_t{0}}));
}

TEST_F(LogTest, WithoutAFileEntriesAreDropped) {
  log_to("");
  log_.WriteEntry("Source", "Text", 0);
  EXPECT_FALSE(std::filesystem::exists(folder() / "mercato.log"));
}

TEST_F(LogTest, AFileThatCannotBeWrittenBreaksNoCall) {
  std::ofstream(folder() / "plain") << "a file, not a folder";
  log_to((folder() / "plain" / "mercato.log").string());
  EXPECT_NO_THROW(log_.WriteEntry("Source", "Text", 0));
  EXPECT_NO_THROW(log_.WriteEntry("Source", "Text", 0));
  const std::string file = log_here();
  log_.WriteEntry("Source", "Text", 0);
  EXPECT_EQ(timeless(file), "<time> error Source\n    Text\n");
}

TEST_F(LogTest, AReadingOfTheLibrarysClockIsNotUsedUp) {
  log_here();
  const Date start = Date::from_civil({2026, 7, 1, 8, 30, 0});
  clock::script_clock(start, 60);
  log_.WriteEntry("Source", "Text", 0);
  EXPECT_EQ(clock::now(), start);
}

}  // namespace
}  // namespace mercato::collaborators
