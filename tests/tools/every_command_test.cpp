// SPDX-License-Identifier: Apache-2.0
// What holds for every command: help, wrong use, failures as JSON, output that nobody takes, Ctrl-C.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>
#include <set>
#include <sstream>

#include "platform/store/statement_observer.h"
#include "tests/tools/command_fixture.h"
#include "tests/tools/every_command_samples.h"
#include "tests/tools/run_in_process.h"
#include "tools/cli/shell.h"

namespace mercato::test {
namespace {

class EveryCommand : public CommandTest {
 protected:
  // The words of each command, found by going down the help texts.
  static std::vector<Words> commands(const Words& group = {}) {
    Words help = {"help"};
    help.insert(help.end(), group.begin(), group.end());
    std::istringstream lines(InProcess::run(help).out);
    std::vector<Words> found;
    bool listed = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.empty()) listed = false;
      if (listed && line.starts_with("  ") && line[2] != ' ') {
        Words words = group;
        words.push_back(line.substr(2, line.find(' ', 2) - 2));
        const std::vector<Words> below = commands(words);
        found.insert(found.end(), below.begin(), below.end());
      }
      if (line == "Subcommands:") listed = true;
    }
    return found.empty() ? std::vector<Words>{group} : found;
  }
  static std::string line_of(const Words& words) {
    std::string line = "mercato";
    for (const std::string& word : words) line += " " + word;
    return line;
  }
  static Words words_of(const char* line) { return cli::words_of_line(line).value(); }

  // Each sample on this store, in order.
  void for_each_sample(const std::function<void(const CommandSample&)>& act) {
    for (const auto& [name, text] : kSampleFiles) write_file(name, text);
    const InProcess here(tool_.folder().path());
    for (const CommandSample& sample : kCommandSamples) {
      if (sample.kind == SampleKind::on_file && !tool_.store().file()) continue;
      SCOPED_TRACE(sample.works ? sample.works : sample.fails);
      act(sample);
    }
  }
};

TEST_F(EveryCommand, HasHelpWithExamplesAndSaysWhatItDoesNotKnow) {
  const InProcess here(tool_.folder().path());
  const std::vector<Words> all = commands();
  ASSERT_GE(all.size(), 100u);
  for (const Words& command : all) {
    SCOPED_TRACE(line_of(command));
    Words words = {"help"};
    words.insert(words.end(), command.begin(), command.end());
    const ToolRun help = InProcess::run(words);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.find("Usage: mercato " + command.front()), std::string::npos) << help.out;
    EXPECT_NE(help.out.find("\nExamples:\n  "), std::string::npos) << help.out;
    // Nothing of the parser's own making.
    for (const char* oddity : {"{", " in [", "->", ":INT", "DATE:DATE"})
      EXPECT_EQ(help.out.substr(0, help.out.find("Examples:")).find(oddity), std::string::npos) << oddity << help.out;

    words = command;
    words.insert(words.end(), {"--nosuchoption", "--json"});
    const ToolRun wrong = InProcess::run(words);
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.out, "");
    const json error = json::parse(wrong.err).at("error");
    EXPECT_EQ(error.at("status"), 2);
    EXPECT_NE(error.at("message"), "");
  }
}

TEST_F(EveryCommand, HasASample) {
  const InProcess here(tool_.folder().path());
  std::set<std::string> without;
  for (const Words& command : commands()) without.insert(line_of(command));
  for (const CommandSample& sample : kCommandSamples) {
    std::string line = "mercato";
    for (const std::string& word : words_of(sample.fails)) without.erase(line += " " + word);
  }
  EXPECT_EQ(without, std::set<std::string>());
}

// An error, or what came back with the reasons.
void expect_failure_as_json(const ToolRun& done, int status) {
  EXPECT_EQ(done.status, status);
  ASSERT_NE(done.out.empty(), done.err.empty()) << done.out << done.err;
  const json told = json::parse(done.out + done.err);
  if (!done.out.empty()) {
    EXPECT_TRUE(told.contains("reasons") || told.contains("suggestions") || told.contains("stoppedBy")) << told;
  } else if (told.contains("error")) {
    EXPECT_EQ(told.at("error").at("status"), status);
    EXPECT_NE(told.at("error").at("message"), "");
  } else {
    EXPECT_LT(told.at("code"), 0);  // of the gateway
  }
}

// Ctrl-C at the first statement.
class InterruptAtOnce : public store::StatementObserver {
 public:
  void on_statement(std::string_view, bool) override {
    if (!std::exchange(done_, true)) ::raise(SIGINT);
  }
  bool done() const { return done_; }

 private:
  bool done_ = false;
};

// A process of its own ends with a summary, and by the signal or with its status.
void expect_summary_when_interrupted(const Words& words, const std::string& file) {
  constexpr int kNotInterrupted = 99;
  store::close_idle_sessions();
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGINT, SIG_DFL);
    ::dup2(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    InterruptAtOnce interruption;
    store::set_statement_observer(&interruption);
    const ToolRun done = InProcess::run(words);
    if (!interruption.done()) ::_exit(kNotInterrupted);
    write_whole(file, done.err + done.out);
    ::_exit(done.status);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGINT : WEXITSTATUS(status) == 130) << status;
  EXPECT_NE(read_whole(file), "");
}

// Takes nothing.
class FullDisk : public std::streambuf {};

TEST_F(EveryCommand, FailsAsJsonIsInterruptedWithASummaryAndSaysThatItsOutputIsLost) {
  for_each_sample([&](const CommandSample& sample) {
    Words fails = words_of(sample.fails);
    fails.emplace_back("--json");
    expect_failure_as_json(InProcess::run(fails), sample.failure);
    if (!sample.works) return;
    const Words works = words_of(sample.works);
    if (sample.kind == SampleKind::ordinary) expect_summary_when_interrupted(works, tool_.folder() / "said");
    FullDisk disk;
    const ToolRun lost = InProcess::run_into(disk, works);
    EXPECT_EQ(lost.status, 1);
    EXPECT_NE(lost.err.find("The output cannot be written; some of it is lost."), std::string::npos) << lost.err;
  });
}

// Standard output is a pipe without a reader while it lives.
class ClosedPipe {
 public:
  ClosedPipe() : before_(::dup(STDOUT_FILENO)) {
    std::cout.flush();
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe(ends.data()), 0);
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
  }
  ~ClosedPipe() {
    ::dup2(before_, STDOUT_FILENO);
    ::close(before_);
  }
  ClosedPipe(const ClosedPipe&) = delete;
  ClosedPipe& operator=(const ClosedPipe&) = delete;

 private:
  int before_;
};

TEST_F(EveryCommand, IsContentWhenItsReaderHasHadEnough) {
  for_each_sample([](const CommandSample& sample) {
    if (!sample.works) return;
    FullDisk nobody;
    ToolRun done;
    {
      const ClosedPipe pipe;
      done = InProcess::run_into(nobody, words_of(sample.works));
    }
    EXPECT_EQ(done.status, sample.success) << done.err;
    EXPECT_EQ(done.err.find("cannot be written"), std::string::npos) << done.err;
  });
}

struct Told {
  Words command;
  int status;
  const char* error;
};

TEST_F(EveryCommand, TellsItsFailuresAsJsonWhenItsAnswersAreJson) {
  execute(
      "INSERT INTO UNIT (UNITCODE) VALUES ('BX');\nINSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES "
      "('A1', 'Pen');");
  write_file("bad.toml", "[shop]\nname = \"x\"\n");
  for (const Told& told : std::vector<Told>{
           {{"product", "show", "999"},
            1,
            R"({"message":"There is no product 999.","status":1,"number":5,"source":"Mercato"})"},
           {{"product", "set", "1", "MINORDERQTY=ten"},
            1,
            R"({"message":"Type mismatch.","status":1,"number":13,"source":"Mercato",)"
            R"("reasons":["MINORDERQTY takes a number, not 'ten'"]})"},
           {{"execute", "nowhere.sql"},
            1,
            R"({"message":"Cannot read the file \"nowhere.sql\": No such file or directory.","status":1,"number":53,)"
            R"("source":"Mercato"})"},
           {{"find", "a", "--config", "bad.toml"},
            2,
            R"({"message":"bad.toml, line 1: unknown key 'shop'.","status":2})"},
           {{"find"}, 2, R"({"message":"WORDS is required; --help says more.","status":2})"},
           {{"find", "a", "--store", "nowhere.db"},
            4,
            R"({"message":"There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.",)"
            R"("status":4,"number":-2147467259,"source":"SQLite store"})"}}) {
    SCOPED_TRACE(line_of(told.command));
    Words words = told.command;
    words.emplace_back("--json");
    const ToolRun done = run(words);
    EXPECT_EQ(done.status, told.status);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "{\"error\":" + std::string(told.error) + "}\n");
  }
}

TEST_F(EveryCommand, FailsOnARealFullDiskAndNotOnARealClosedPipe) {
  execute("INSERT INTO UNIT (UNITCODE) VALUES ('BX');\nINSERT INTO CATALOG (CATALOGNAME) VALUES ('House');");
  for (const char* line : {"unit list", "store check", "--version"}) {
    SCOPED_TRACE(line);
    const ToolRun full = tool_.run_line("mercato " + std::string(line) + " --json >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(full.err.find("The output cannot be written; some of it is lost."), std::string::npos) << full.err;
    const ToolRun enough = tool_.run_line("{ mercato " + std::string(line) + "; echo status $? >&2; } | true");
    EXPECT_EQ(enough.err, "status 0\n");
  }
}

TEST_F(EveryCommand, EndsWithASummaryWhenItIsInterrupted) {
  std::string script = "CREATE TABLE DIGIT (N int NOT NULL);\n";
  for (int digit = 0; digit < 10; ++digit) script += "INSERT DIGIT (N) VALUES (" + std::to_string(digit) + ");\n";
  execute(script);
  write_file("long.sql",
             "DELETE DIGIT WHERE N = 0;\nSELECT COUNT(*) FROM DIGIT A, DIGIT B, DIGIT C, DIGIT D, DIGIT E, DIGIT F, "
             "DIGIT G, DIGIT H, DIGIT I, DIGIT J, DIGIT K;\n");
  const ToolRun ended = tool_.run_line("timeout --foreground --preserve-status -s INT 1 mercato execute long.sql");
  EXPECT_EQ(ended.status, 130);
  EXPECT_EQ(ended.err, "mercato: Interrupted: what was under way was taken back; what was done before it stands.\n");
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM DIGIT"), "N\n10\n");
}

// Shell, completion, manual

TEST_F(EveryCommand, CanBeGivenAtAPrompt) {
  const ToolRun done = run({"shell"},
                           "unit list\n# a comment\n\nproduct new A1 'Pen, blue'\nmercato product new A2 \"Ink\"\n"
                           "show 99\nproduct new 'A3\n");
  EXPECT_EQ(done.out, "There are no units.\nproduct 1 created.\nproduct 2 created.\n");
  EXPECT_EQ(done.err, "mercato: There is no product 99.\nmercato: A quote is opened and never closed.\n");
  EXPECT_EQ(done.status, 2);
  EXPECT_EQ(rows("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = 1"), "PRODUCTDESCRIPTION\nPen, blue\n");
  EXPECT_EQ(run({"shell"}, "show 99\nexit\nnosuch\n").status, 1);
}

TEST_F(EveryCommand, WorksOnTheStoreThatItsLineOfAPromptNames) {
  ASSERT_EQ(run({"init", "--store", "other.db"}).status, 0);
  const ToolRun done = run({"shell"}, "product new A1 Pen\nproduct new B1 Ink --store other.db\nproduct new A2 Ink\n");
  EXPECT_EQ(done.out, "product 1 created.\nproduct 1 created.\nproduct 2 created.\n") << done.err;
}

TEST_F(EveryCommand, IsCompletedWithItsOptionsChoicesAndNamesOfTheStore) {
  execute(
      "INSERT INTO USERS (USERID, USERNAME) VALUES ('ann', 'Ann O''Neil');\n"
      "INSERT INTO USERS (USERID, USERNAME) VALUES ('BEN', 'Ben');\n"
      "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES ('B', 'Quill & Co');\n"
      "INSERT INTO CATALOG (CATALOGNAME) VALUES ('House of 2026');\n"
      "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Writing');");
  const auto offered = [&](Words words) {
    words.insert(words.begin(), {"__complete", "--"});
    const ToolRun done = run(words);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    return done.out;
  };
  EXPECT_EQ(offered({"unit", ""}), "list\tList the unit codes\ndelete\tDelete a unit\n");
  EXPECT_EQ(offered({"rights", "show", "A"}), "ann\tAnn O'Neil\n");
  EXPECT_EQ(offered({"find", "pen", "--user", "b"}), "BEN\tBen\n");
  EXPECT_EQ(offered({"find", "--user=b"}), "--user=BEN\tBen\n");
  EXPECT_EQ(offered({"catalog", "tree", "ho"}), "House of 2026\t1\n");
  EXPECT_EQ(offered({"catalog", "tree", "1"}), "1\tHouse of 2026\n");
  EXPECT_EQ(offered({"category", "delete", "W"}), "Writing\t1\n");
  EXPECT_EQ(offered({"--color", "a"}), "auto\nalways\n");
  EXPECT_EQ(offered({"upload", "--on-errors", ""}), "write\nskip\n");
  EXPECT_EQ(offered({"execute", ""}), ":files\n");
  EXPECT_EQ(offered({"version", "x"}), "");
  EXPECT_NE(offered({"price", "set", "1", "--to"}).find("--to-quantity\tThe largest quantity"), std::string::npos);
  // Without a store there is nothing to offer, and nothing to say.
  EXPECT_EQ(offered({"rights", "--store", "nowhere.db", "show", "a"}), "");
  EXPECT_FALSE(std::filesystem::exists(tool_.folder() / "nowhere.db"));
  for (const char* shell : {"bash", "zsh", "fish"})
    EXPECT_NE(run({"completion", shell}).out.find("__complete"), std::string::npos);
  const ToolRun completed = tool_.run_line(
      "bash -c 'source <(mercato completion bash); COMP_WORDS=(mercato catalog tree Ho); COMP_CWORD=3; _mercato; "
      "printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
  EXPECT_EQ(completed.out, "House\\ of\\ 2026\n");
}

TEST_F(EveryCommand, StandsInTheManual) {
  const std::string manual = run({"manual"}).out;
  EXPECT_EQ(manual.substr(0, 16), ".TH MERCATO 1 \"\"");
  const InProcess here(tool_.folder().path());
  for (const Words& command : commands()) {
    std::string words;
    for (const std::string& word : command) words += (words.empty() ? "" : " ") + word;
    EXPECT_NE(manual.find("\n.SS " + words + "\n"), std::string::npos) << words;
  }
  std::istringstream lines(manual);
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(".")) {
      const std::string macro = line.substr(0, line.find(' '));
      EXPECT_TRUE(macro == ".TH" || macro == ".SH" || macro == ".SS" || macro == ".TP" || macro == ".PP" ||
                  macro == ".nf" || macro == ".fi")
          << line;
    }
  const std::string one = run({"manual", "price", "for"}).out;
  EXPECT_EQ(one.substr(0, 26), ".TH MERCATO-PRICE-FOR 1 \"\"");
  EXPECT_NE(one.find("\\fB\\-\\-quantity\\fR \\fIN\\fR\nThe quantity\n"), std::string::npos) << one;
  EXPECT_NE(one.find(".SH EXIT STATUS\n.TP\n\\fB0\\fR\ndone\n"), std::string::npos);
}

}  // namespace
}  // namespace mercato::test
