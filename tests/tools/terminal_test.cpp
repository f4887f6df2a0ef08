// SPDX-License-Identifier: Apache-2.0
// What the program shows on a terminal, and nowhere else.
#include "tools/cli/terminal/terminal.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <iostream>
#include <regex>
#include <sstream>
#include <thread>

#include "platform/store/row_observer.h"
#include "tests/tools/run_tool.h"
#include "tools/cli/terminal/row_progress.h"
#include "tools/cli/terminal/text_width.h"

namespace mercato::test {
namespace {

class OnATerminal : public testing::Test {
 protected:
  // A shell command with a terminal for its input, output and errors; everything that it showed.
  static std::string shown_by_shell(const std::string& command, winsize size = {}) {
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
      ::unsetenv("NO_COLOR");
      ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      ::_exit(127);
    }
    std::string shown;
    std::array<char, 4096> piece = {};
    for (ssize_t got; (got = ::read(terminal, piece.data(), piece.size())) > 0;)
      shown.append(piece.data(), static_cast<std::size_t>(got));
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 127) << shown;
    ::close(terminal);
    return shown;
  }
  std::string shown_by(const std::vector<std::string>& arguments) const {
    return shown_by_shell(tool_.command(arguments));
  }

  void write_document(int records, const std::string& description) const {
    std::string text = "<Products>";
    for (int record = 1; record <= records; ++record)
      text += "<Product buyfrompartnumber=\"P-" + std::to_string(record) + "\"><PARTNUMBER>M-" +
              std::to_string(record) + "</PARTNUMBER><PRODUCTDESCRIPTION>" + description +
              "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER></Product>";
    write_whole(tool_.folder() / "records.xml", text + "</Products>");
  }
  // What only stands there when the work takes longer than a second.
  static std::string without_pace(const std::string& shown) {
    static const std::regex pace(", [0-9]+ a second, [0-9]+:[0-9][0-9] left\x1b\\[K");
    return std::regex_replace(shown, pace, "");
  }
  std::string file(const std::string& name) const { return read_whole(tool_.folder() / name); }

  ToolFolder tool_;
};

const std::string kPlainPreview =
    "PART NUMBER  NAME  FIELD     VALUE\n"
    "P-1          Pen   UNITCODE  (missing)\n"
    "\n"
    "1 record: 0 valid, 1 invalid.\n";

TEST_F(OnATerminal, HeadingsAndCountsAreColoured) {
  write_document(1, "Pen");
  EXPECT_EQ(shown_by({"preview", "records.xml"}),
            "\x1b[1mPART NUMBER  NAME  FIELD     VALUE\x1b[0m\r\n"
            "P-1          Pen   UNITCODE  (missing)\r\n"
            "\r\n"
            "1 record: \x1b[32m0 valid\x1b[0m, \x1b[31m1 invalid\x1b[0m.\r\n");
}

TEST_F(OnATerminal, ColoursAreLeftOutOnRequest) {
  write_document(1, "Pen");
  std::string plain;
  for (const char character : kPlainPreview) plain += character == '\n' ? "\r\n" : std::string(1, character);
  EXPECT_EQ(shown_by({"preview", "records.xml", "--no-color"}), plain);
  EXPECT_EQ(shown_by({"preview", "records.xml", "--color", "never"}), plain);
  EXPECT_EQ(shown_by_shell("export NO_COLOR=1; " + tool_.command({"preview", "records.xml"})), plain);
  EXPECT_EQ(shown_by({"show", "99999", "--no-color"}), "mercato: There is no product 99999.\r\n");
}

TEST_F(OnATerminal, NothingOfItGoesThroughAPipe) {
  write_document(1, "Pen");
  EXPECT_EQ(shown_by_shell(tool_.command({"preview", "records.xml"}) + " | cat >piped"), "");
  EXPECT_EQ(file("piped"), kPlainPreview);
  const ToolRun uploaded = tool_.run({"upload", "records.xml"});
  EXPECT_EQ(uploaded.err, "");
  EXPECT_EQ(uploaded.out.find_first_of("\x1b\r"), std::string::npos) << uploaded.out;
  // Unless somebody asks for it.
  const ToolRun asked = tool_.run({"preview", "records.xml", "--color", "always"});
  EXPECT_NE(asked.out.find("\x1b[31m1 invalid\x1b[0m"), std::string::npos) << asked.out;
}

// The failure used to be coloured whenever the output was a terminal, also on its way into a file.
TEST_F(OnATerminal, AFailureIsColouredOnlyWhereItIsRead) {
  EXPECT_EQ(shown_by({"show", "99999"}), "\x1b[31mmercato: \x1b[0mThere is no product 99999.\r\n");
  EXPECT_EQ(shown_by_shell(tool_.command({"show", "99999"}) + " 2>failure"), "");
  EXPECT_EQ(file("failure"), "mercato: There is no product 99999.\n");
  EXPECT_EQ(shown_by_shell(tool_.command({"show", "99999"}) + " >output"),
            "\x1b[31mmercato: \x1b[0mThere is no product 99999.\r\n");
}

TEST_F(OnATerminal, ProgressIsWrittenOverItselfAndWipedAtTheEnd) {
  write_document(45, "Pen");
  const std::string shown = without_pace(shown_by({"upload", "records.xml"}));
  const std::string progress = "\r20 of 45\r40 of 45\r45 of 45\r\x1b[K";
  EXPECT_EQ(shown.substr(0, progress.size()), progress);
  const std::string report = shown.substr(std::min(progress.size(), shown.size()));
  EXPECT_EQ(report.substr(0, report.find("\r\n")), "read           45  records of the document");
  EXPECT_EQ(report.find(" of 45"), std::string::npos);
  // Progress goes to standard error, so that a pipe gets none of it.
  EXPECT_EQ(
      without_pace(shown_by_shell(tool_.command({"upload", "--json", "--no-journal", "records.xml"}) + " >piped")),
      progress);
  EXPECT_EQ(file("piped").find_first_of("\x1b\r"), std::string::npos);
}

TEST_F(OnATerminal, ProgressIsShownOfPreviewsThatAreNoShortOnes) {
  write_document(45, "Pen");
  for (const Words& preview : {Words{"preview", "records.xml"}, Words{"preview", "--changes", "records.xml"}}) {
    const std::string shown = without_pace(shown_by_shell(tool_.command(preview) + " >piped"));
    EXPECT_EQ(shown, "\r20 of 45\r40 of 45\r45 of 45\r\x1b[K");
  }
}

TEST_F(OnATerminal, ProgressOfALibrarysCallIsCountedByTheRowsThatItWrites) {
  std::string nodes = "id,parent,name\n1,,Office\n";
  for (int node = 2; node <= 30; ++node) nodes += std::to_string(node) + ",1,Shelf " + std::to_string(node) + "\n";
  write_whole(tool_.folder() / "nodes.csv", nodes);
  tool_.run({"catalog", "load", "nodes.csv", "--name", "Office"});
  EXPECT_EQ(without_pace(shown_by_shell(tool_.command({"catalog", "copy", "Office"}) + " >piped")),
            "\r20 of 61\r40 of 61\r60 of 61\r\x1b[K");
  EXPECT_EQ(file("piped"), "catalogue 2 Copy Of Office created as a copy with 30 nodes; it is not active.\n");
}

TEST_F(OnATerminal, ATerminalThatKnowsNoCodesGetsNone) {
  write_document(45, "Pen");
  const std::string shown = shown_by_shell("export TERM=dumb; " + tool_.command({"upload", "records.xml"}));
  EXPECT_EQ(shown.find('\x1b'), std::string::npos) << shown;
  EXPECT_EQ(shown.substr(0, shown.find("\r\n")), "read           45  records of the document");
}

TEST_F(OnATerminal, HelpFitsIntoTheLinesUpToItsExamples) {
  std::istringstream help(shown_by_shell(tool_.command({"help", "uploads", "list"}), {0, 44, 0, 0}));
  std::size_t lines = 0;
  for (std::string line; std::getline(help, line) && line != "Examples:\r"; ++lines)
    EXPECT_LE(line.size(), 45u) << line;  // with the carriage return
  EXPECT_GT(lines, 20u);
}

// What the process shows that does this at a terminal.
template <class Deed>
std::string shown_by_deed(const Deed& deed) {
  std::fflush(stdout);  // what waits there is not the child's
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    ::unsetenv("TERM");
    deed();
    std::cout << std::flush;
    ::_exit(0);
  }
  std::string shown;
  std::array<char, 4096> piece = {};
  for (ssize_t got; (got = ::read(terminal, piece.data(), piece.size())) > 0;)
    shown.append(piece.data(), static_cast<std::size_t>(got));
  ::waitpid(child, nullptr, 0);
  ::close(terminal);
  static const std::regex rate("[0-9]+ a second");
  return std::regex_replace(shown, rate, "N a second");
}

TEST(Terminal, ACommandThatTakesLongerThanASecondTellsTheRowsThatGoBy) {
  const std::string shown = shown_by_deed([] {
    const cli::WorkingLine working;
    store::observe_read_row();
    std::this_thread::sleep_for(std::chrono::milliseconds(1050));
    store::observe_written_rows(3);
    {
      const cli::Progress progress(5);  // the command's own
      store::observe_read_row();
    }
    std::cerr << "A message.\n";
    store::observe_read_row();  // the second begins anew
    std::cout << "A result.\n";
    std::this_thread::sleep_for(std::chrono::milliseconds(1050));
    store::observe_read_row();
  });
  EXPECT_EQ(shown, "\r1 rows read, 3 written, N a second\x1b[K\r\x1b[KA message.\r\nA result.\r\n");
}

TEST(Terminal, FewStepsAreCountedWhenTheyTakeLongerThanASecond) {
  const std::string shown = shown_by_deed([] {
    cli::Progress progress(3);
    progress.advance();
    std::this_thread::sleep_for(std::chrono::milliseconds(1050));
    progress.advance();
    progress.advance();
  });
  EXPECT_EQ(shown, "\r2 of 3, N a second, 0:01 left\x1b[K\r3 of 3, N a second, 0:00 left\x1b[K\r\x1b[K");
}

TEST_F(OnATerminal, ProgressIsWipedWhenTheUploadEndsEarly) {
  write_document(150, "");  // no product can be saved
  const std::string shown = shown_by_shell(tool_.command({"upload", "--json", "records.xml"}) + " >piped");
  EXPECT_EQ(shown.substr(0, 10), "\r20 of 150");
  EXPECT_EQ(shown.substr(shown.size() - 4), "\r\x1b[K");
}

std::string printed(const cli::Table& table, std::size_t columns) {
  std::ostringstream out;
  table.print(out, columns);
  return out.str();
}

TEST(Terminal, ATableFitsIntoTheLinesAndItsNumbersEndBelowEachOther) {
  cli::Table table({"ID", "NAME", "PRICE", "REMARK"});
  table.add({"7", "Pen", "4.2", "blue"});
  table.add({"1200", "A pencil \x1b[1mwith\x1b[0m a long name", "12.95", ""});
  // A file gets all of it, as it stands.
  EXPECT_EQ(printed(table, 0),
            "ID    NAME                       PRICE  REMARK\n"
            "7     Pen                        4.2    blue\n"
            "1200  A pencil \x1b[1mwith\x1b[0m a long name  12.95  \n");
  EXPECT_EQ(printed(table, 80),
            "  ID  NAME                       PRICE  REMARK\n"
            "   7  Pen                          4.2  blue\n"
            "1200  A pencil \x1b[1mwith\x1b[0m a long name  12.95  \n");
  EXPECT_EQ(printed(table, 36),
            "  ID  NAME             PRICE  REMARK\n"
            "   7  Pen                4.2  blue\n"
            "1200  A pencil \x1b[1mwith\x1b[0m …  12.95  \n");
}

TEST(Terminal, ATableNeverCutsFiguresAndListsItsRowsWhereTheyDoNotFit) {
  cli::Table table({"ID", "STARTED (UTC)", "WHAT", "UNCHANGED"});
  table.add({"7", "2026-07-01 08:30:00", "undo of 6", "12"});
  table.add({"6", "2026-06-08 09:00:00", "import", ""});
  EXPECT_EQ(printed(table, 42),
            "ID  STARTED (UTC)        WHAT      UNCHAN…\n"
            " 7  2026-07-01 08:30:00  undo of…       12\n"
            " 6  2026-06-08 09:00:00  import           \n");
  EXPECT_EQ(printed(table, 39),
            "ID             7\n"
            "STARTED (UTC)  2026-07-01 08:30:00\n"
            "WHAT           undo of 6\n"
            "UNCHANGED      12\n"
            "\n"
            "ID             6\n"
            "STARTED (UTC)  2026-06-08 09:00:00\n"
            "WHAT           import\n");
}

TEST(Terminal, RowsThatAreListedHaveTheirLongTextsInSeveralLines) {
  cli::Table table({"STARTED (UTC)", "FILE"});
  table.add({"2026-07-01 08:30:00", "the file of a supplier"});
  EXPECT_EQ(printed(table, 25),
            "STARTED (UTC)  2026-07-01\n"
            "               08:30:00\n"
            "FILE           the file\n"
            "               of a\n"
            "               supplier\n");
}

TEST(Terminal, IdeographsTakeTwoColumnsAndMarksNone) {
  EXPECT_EQ(cli::width_of("用紙"), 4u);
  EXPECT_EQ(cli::width_of("Zoe\u0301"), 3u);
  EXPECT_EQ(cli::width_of("\x1b[1m📦\x1b[0m"), 2u);
  cli::Table table({"NAME", "ID"});
  table.add({"用紙", "1"});
  table.add({"Zoe\u0301", "2"});
  table.add({"コピー用紙 A4", "3"});
  EXPECT_EQ(printed(table, 80),
            "NAME           ID\n"
            "用紙            1\n"
            "Zoe\u0301             2\n"
            "コピー用紙 A4   3\n");
  EXPECT_EQ(printed(table, 12),
            "NAME      ID\n"
            "用紙       1\n"
            "Zoe\u0301        2\n"
            "コピー…    3\n");
}

TEST(Terminal, ATextIsCutBetweenCharacters) {
  EXPECT_EQ(cli::fitted("用紙 A4", 7), "用紙 A4");
  EXPECT_EQ(cli::fitted("用紙 A4", 6), "用紙 …");
  EXPECT_EQ(cli::fitted("用紙 A4", 4), "用…");
  EXPECT_EQ(cli::fitted("用紙 A4", 3), "用…");
  EXPECT_EQ(cli::fitted("Zoe\u0301 Zoe\u0301", 4), "Zoe\u0301…");
  EXPECT_EQ(cli::fitted("\x1b[1mPaper\x1b[0m", 3), "\x1b[1mPa…\x1b[0m");
}

TEST(Terminal, LinesAreBrokenAtBlanksAndLongWordsBetweenCharacters) {
  EXPECT_EQ(cli::wrapped("a pen and a pencil", 9), (std::vector<std::string>{"a pen and", "a pencil"}));
  EXPECT_EQ(cli::wrapped("再生紙500枚", 5), (std::vector<std::string>{"再生", "紙500", "枚"}));
  EXPECT_EQ(cli::wrapped("", 5), std::vector<std::string>{""});
  EXPECT_EQ(cli::wrapped_lines("Make a copy\n\n  --name  The name of it\n", 16, 4),
            "Make a copy\n\n  --name  The\n    name of it\n");
}

TEST_F(OnATerminal, WhatIsLongerThanTheScreenGoesThroughThePager) {
  const std::string line = tool_.command({"help"});
  const std::string numbered = "export MERCATO_PAGER='sed -n \"1s/^/paged: /p\"'; ";
  EXPECT_EQ(shown_by_shell(numbered + line, {10, 80, 0, 0}),
            "paged: Mercato: products, catalogues and their upload, from the command line\r\n");
  EXPECT_EQ(shown_by_shell(numbered + line, {100, 80, 0, 0}).substr(0, 8), "Mercato:");
  EXPECT_EQ(shown_by_shell(numbered + line + " --no-pager", {10, 80, 0, 0}).substr(0, 8), "Mercato:");
  EXPECT_EQ(shown_by_shell("export MERCATO_PAGER=; " + line, {10, 80, 0, 0}).substr(0, 8), "Mercato:");
  // A reader who has had enough is no failure.
  EXPECT_EQ(shown_by_shell("export MERCATO_PAGER=true; " + line + "; echo status $?", {10, 80, 0, 0}), "status 0\r\n");
}

TEST(Terminal, ADateIsWrittenAsTheIsoStandardDoes) {
  EXPECT_EQ(cli::date_text(*Date::parse("7/1/2026")), "2026-07-01");
  EXPECT_EQ(cli::date_text(*Date::parse("2026-07-01 08:30:05")), "2026-07-01 08:30:05");
}

TEST(Terminal, AShownTextHasOneLineAndNoControlCharacters) {
  EXPECT_EQ(cli::shown("a\nb\x1b[31mc\x7f"), "a b [31mc ");
  EXPECT_EQ(cli::shown("a\u009b31mb\u00a0c"), "a 31mb\u00a0c");
  EXPECT_EQ(cli::shown("äöüß", 4), "äöüß");
  EXPECT_EQ(cli::shown("äöüßx", 4), "äöü…");
}

}  // namespace
}  // namespace mercato::test
