// SPDX-License-Identifier: Apache-2.0
// What a shell offers behind `mercato` when its user asks for more. Main thread.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace mercato::cli {

struct Candidate {
  std::string word;
  std::string description;  // may be empty
};
struct Completion {
  std::vector<Candidate> candidates;
  bool files = false;  // the shell offers its files
};

// `words` stand behind the program's name; the last one is to be completed, and may be empty. Ids and names come from
// the store that the words name, when it is there and answers within a second.
Completion completion_of(const CLI::App& app, const std::vector<std::string>& words);

// The script that makes a shell ask: "bash", "zsh" or "fish".
std::string completion_script(const std::string& shell);

}  // namespace mercato::cli
