// SPDX-License-Identifier: Apache-2.0
// Runs the real program in a folder of its own, on the store that was chosen for the tests.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/platform/temporary_folder.h"
#include "tests/platform/whole_files.h"
#include "tests/support/test_store.h"

namespace mercato::test {

using Words = std::vector<std::string>;

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

// A command of the shell that keeps files of the tool below so many blocks, as a full disk does.
inline std::string full_disk_after(int blocks) { return "trap '' XFSZ; ulimit -f " + std::to_string(blocks); }

// What the shell does first so that the tool gets no more than so many kilobytes of address space. Nothing under a
// sanitizer, which takes more than any limit leaves.
inline std::string little_memory([[maybe_unused]] int kilobytes) {
#ifdef MERCATO_SANITIZED
  return ":";
#else
  return "ulimit -v " + std::to_string(kilobytes);
#endif
}

// Commands that name no store work on the file mercato.db, as nothing else is said, or on the chosen store, which a
// settings file names.
class ToolFolder {
 public:
  explicit ToolFolder(Place place = Place::in_memory, Tables tables = Tables::all,
                      const ChosenStore& chosen = ChosenStore::by_environment())
      : folder_(place), store_(chosen.make(folder_.path(), "mercato", tables)) {
    if (!store_->file()) write_settings("");
  }

  // Works in the folder, without a terminal. `first` is what the shell does before.
  ToolRun run(const std::vector<std::string>& arguments, const std::string& input = {},
              const std::string& first = {}) const {
    write_whole(folder_ / ".in", input);
    return in_shell((first.empty() ? "" : first + "; ") + command(arguments) + " <.in");
  }
  // The same for a line as somebody types it: "mercato show 5   # a comment".
  ToolRun run_line(const std::string& line) const {
    return in_shell("PATH=$(dirname " + quoted(MERCATO_TOOL) + "):$PATH\n" + line);
  }
  // The same as a command of the shell, in which more can follow.
  std::string command(const std::vector<std::string>& arguments) const {
    std::string text = "cd " + quoted(folder_.path()) + " && " + quoted(MERCATO_TOOL);
    for (const std::string& argument : arguments) text += " " + quoted(argument);
    return text;
  }
  const TemporaryFolder& folder() const { return folder_; }
  const TestStore& store() const { return *store_; }
  // What a command is told of the store.
  std::string connection_string() const {
    return store_->file() ? "Provider=SQLite;Data Source=mercato.db" : store_->connection_string();
  }
  // Writes settings with which the commands work on the store.
  void write_settings(const std::string& others) const {
    write_whole(folder_ / "mercato.toml", "[connections]\nMercato = '" + connection_string() + "'\n" + others);
  }

 private:
  // Under a sanitizer each of many short processes would look for leaks when it ends, and keep the callers of each
  // allocation, which takes longer than its work. The commands run in the test program, too, which does both.
  ToolRun in_shell(const std::string& command) const {
    const int result = std::system(("export ASAN_OPTIONS=detect_leaks=0:malloc_context_size=1; cd " +
                                    quoted(folder_.path()) + " && {\n" + command + "\n} >.out 2>.err")
                                       .c_str());
    return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, read_whole(folder_ / ".out"), read_whole(folder_ / ".err")};
  }
  static std::string quoted(const std::string& text) {
    std::string shell = "'";
    for (const char character : text) shell += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return shell + "'";
  }

  TemporaryFolder folder_;
  TestStorePtr store_;
};

}  // namespace mercato::test
