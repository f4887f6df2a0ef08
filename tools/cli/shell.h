// SPDX-License-Identifier: Apache-2.0
// A prompt for commands: lines with history and completion on a terminal, plain lines elsewhere. Main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/completion.h"

namespace mercato::cli {

// The words of a line as shells part them: blanks between them, quotes around them, a backslash before a character.
// Nothing when a quote is not closed.
std::optional<std::vector<std::string>> words_of_line(const std::string& line);

// Runs each line until "exit" or the end. Returns the status of the last command.
struct Shell {
  std::function<int(const std::vector<std::string>& words)> run;
  std::function<Completion(const std::vector<std::string>& words)> complete;
  std::string history;  // the file that keeps the lines; empty: none does
};
int run_shell(const Shell& shell);

}  // namespace mercato::cli
